// SPDX-License-Identifier: MIT

#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A directed straight move with a cached direction and length, used to step along it by
/// ratio. Field order is part of the exported interface.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdSegment {
  public:
    /// Both ends at the origin, zero direction, length 0.
    YdSegment();
    /// set(a, b).
    YdSegment(const YdPoint& a, const YdPoint& b);
    /// Member-wise copy (the points with every field, m_angle included).
    YdSegment(const YdSegment&) = default;
    /// Copies all four fields (the points through YdPoint::operator=).
    YdSegment& operator=(const YdSegment& s);

    /// m_start = a, m_end = b, m_dir = b - a, m_length = distance from b to a.
    void set(const YdPoint& a, const YdPoint& b);
    /// The point at fraction t in [0, 1] of the way from m_start to m_end, built fresh (its
    /// int attributes and flag are reset); true. A segment shorter than kTol1e7: out =
    /// m_end and false. t outside [0, 1]: false, out untouched.
    bool getRatePoint(double t, YdPoint& out) const;
    /// Remaining length after the fraction t, computed as m_length - m_length * t.
    double getRatePointToEnd(double t) const;
    /// Distance from p to the infinite line through the segment (not clamped to the ends).
    /// No guard: a zero-length segment divides by zero.
    double DistanceToPoint(const YdPoint& p) const;

    YdPoint m_start;  ///< start point
    YdPoint m_end;    ///< end point
    YdVector m_dir;   ///< m_end - m_start, not normalised
    double m_length;  ///< distance from m_start to m_end
};
