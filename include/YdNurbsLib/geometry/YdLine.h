// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// An infinite line: a point and a unit direction. Coordinates are in the host's length unit.
/// Every constructor except the default one, and Set, normalise the direction with
/// YdVector::Normalize, so a (near-)zero direction becomes (1, 0, 0). A given point is stored
/// through YdPoint assignment (by the constructors as by Set and operator=): its host
/// attributes travel with it, its per-slot m_angle, m_dAttr2 and m_dAttr3 do not (they stay
/// 0.0 in a line's point).
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdLine {
  public:
    /// Point (0, 0, 0) and direction (0, 0, 0), deliberately not normalised: a default line
    /// has no direction until Set is called.
    YdLine();
    /// The line through p along d (normalised).
    YdLine(const YdPoint& p, const YdVector& d);
    /// The line through a along b - a (normalised); a == b gives direction (1, 0, 0).
    YdLine(const YdPoint& a, const YdPoint& b);
    /// The same for two positions given as vectors: point (a.x, a.y, a.z), direction b - a
    /// (normalised).
    YdLine(const YdVector& a, const YdVector& b);
    /// Copies point and direction.
    YdLine(const YdLine& other);
    /// Copies point and direction (through YdPoint assignment, so the point's m_angle,
    /// m_dAttr2 and m_dAttr3 are not copied).
    YdLine& operator=(const YdLine& other);
    /// Virtual so that callers can delete lines handed out by LeastSquareFit through a base
    /// pointer; the only virtual member.
    virtual ~YdLine();

    /// As the point-vector constructor: point p, direction d normalised.
    void Set(const YdPoint& p, const YdVector& d);
    /// A point on the line.
    const YdPoint& Point() const { return m_point; }
    /// The unit direction ((0, 0, 0) only for a default-constructed line).
    const YdVector& Direction() const { return m_direction; }

    /// Orthogonal projection of q: with t = (q - Point()) % Direction() (the signed distance
    /// along the line, a length), returns Point() + t * Direction(), a new point with fresh
    /// attributes. t is written to *t when t is not null.
    YdPoint ProjectPoint(const YdPoint& q, double* t) const;
    /// ProjectPoint for a position given as a vector v: with P = Point() as a vector,
    /// t = (v - P) % Direction(), stored in *t when requested; returns P + t * Direction().
    YdVector ProjectVector(const YdVector& v, double* t) const;
    /// Distance (a length) from q to its projection on the line.
    double DistanceToPoint(const YdPoint& q) const;
    /// Closest point, not a true intersection test. Returns false, out untouched, when the
    /// directions are parallel by vector equality (equal or opposite within kTol1e7f per
    /// component). Otherwise out = the point of this line closest to the other line (for
    /// crossing lines the intersection, for skew lines the foot of the common perpendicular on
    /// this line) and true; the distance between the lines is not tested.
    bool Intersect(const YdLine& other, YdPoint& out) const;
    /// A line fitted to pts: through their centroid, along the mean of the offsets p - centroid
    /// after flipping every offset that points away from the offset of the farthest point
    /// (the first farthest wins), normalised. A sign-aligned mean direction, not an
    /// eigen-decomposition. Returns a new line owned by the caller (delete it), or null for
    /// fewer than two points. Points that all coincide have no farthest point: the result is
    /// then the line through the centroid with direction (1, 0, 0).
    static YdLine* LeastSquareFit(const std::vector<YdPoint>& pts);

  private:
    YdPoint m_point;
    YdVector m_direction;
};
