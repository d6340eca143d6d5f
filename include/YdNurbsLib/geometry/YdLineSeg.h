// SPDX-License-Identifier: MIT

#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A bounded straight segment between two points; direction and length are computed on
/// demand (nothing is cached). Coordinates and results are in the host's length unit. Point
/// equality is distance < kTol1e7 (YdPoint operator==).
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdLineSeg {
  public:
    /// Both ends at (0, 0, 0).
    YdLineSeg();
    /// The segment from a to b; both points are copied with every field.
    YdLineSeg(const YdPoint& a, const YdPoint& b);
    /// Member-wise copy of both end points (every field, m_angle included).
    YdLineSeg(const YdLineSeg&) = default;
    /// Copies both end points (through YdPoint assignment).
    YdLineSeg& operator=(const YdLineSeg& o);
    /// The same operation as the copy assignment.
    YdLineSeg& operator=(YdLineSeg&& o);

    /// The start point, as stored.
    const YdPoint& GetStartPoint() const { return m_startPoint; }
    /// The end point, as stored.
    const YdPoint& GetEndPoint() const { return m_endPoint; }
    /// Replaces the start point through YdPoint assignment (m_angle, m_dAttr2 and m_dAttr3 of
    /// the stored point are kept).
    void SetStartPoint(const YdPoint& p) { m_startPoint = p; }
    /// Replaces the end point through YdPoint assignment (as SetStartPoint).
    void SetEndPoint(const YdPoint& p) { m_endPoint = p; }

    /// Unit vector from start to end; a (near-)zero-length segment gives (1, 0, 0).
    YdVector Direction() const;
    /// Distance from end to start (a length).
    double GetLength() const;
    /// True when p equals an end point (also for a zero-length segment), or when the segment
    /// is at least kTol1e7 long and p lies on it: the direction from start to p is within
    /// kTol1e7 of the segment's in cosine, p is nearer to start than the segment's length
    /// (strict), and DistanceToPoint(p) < kTol1e7. False otherwise.
    bool IsContain(const YdPoint& p) const;
    /// Projection of p onto the segment. r = ((p - start) % d) / |d|^2 with d = end - start,
    /// the unclamped segment parameter (0 at start, 1 at end), is written to *t when t is not
    /// null. Returns a full copy of the start point (attributes included) when r <= 0, of the
    /// end point when r >= 1, else the new point start + d * r. Not guarded: on a segment of
    /// zero length r is 0 / 0, so *t and the returned coordinates are NaN (non-finite results
    /// are passed on, as everywhere in the library).
    YdPoint ProjectPoint(const YdPoint& p, double* t) const;
    /// Distance (a length) from p to the segment: to the foot on the carrier line when the
    /// foot lies between the ends, else to the nearer end (start when the foot is before
    /// start). A zero-length segment gives the distance to its start.
    double DistanceToPoint(const YdPoint& p) const;
    /// True when o has the same end points as this segment, in either order (point equality).
    bool IsCoincidence(const YdLineSeg& o) const;
    /// Segment-segment intersection test by cross products (touching counts as
    /// intersecting). A cross product counts as non-zero when its length is greater than
    /// 1.1754943508222875e-38, the smallest normal single-precision value; sign tests use
    /// kTol1e7 on dot products of cross products. For collinear segments only the start points
    /// are examined: true when A's start lies between B's ends, else whether B's start lies
    /// between A's ends. So two collinear segments that overlap only with each start outside
    /// the other (A from 0 to 2, B from 3 to 1) report false; hosts rely on this rule.
    bool IsIntersectWithLineSeg(const YdLineSeg& o) const;
    /// Intersection with o; result codes:
    ///  1: one intersection point in out; also when this segment or o is shorter than kTol1e7
    ///     and its start lies on the other (IsContain), out is then that start;
    ///  0: no intersection, out untouched;
    /// -1: parallel segments (|cos^2 - 1| < kTol1e8) sharing a point; out is the first hit of:
    ///     this contains o's start, this contains o's end, o contains this start, o contains
    ///     this end.
    /// For non-parallel segments the closest points of the two carrier lines are computed and
    /// accepted when both segment parameters lie in [-1e-8, 1.00000001] (a slack for
    /// crossings at an end); out is the point on this segment. The gap between non-coplanar
    /// segments is not tested: callers work in a plane.
    int IntersectNew(const YdLineSeg& o, YdPoint& out) const;
    /// Exactly IntersectNew, as a bool: true for results 1 and -1, false for 0.
    bool Intersect(const YdLineSeg& o, YdPoint& out) const;

  private:
    YdPoint m_startPoint;
    YdPoint m_endPoint;
};
