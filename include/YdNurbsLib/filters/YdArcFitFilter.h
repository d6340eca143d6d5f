// SPDX-License-Identifier: MIT

#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

struct YdArcFitFilterTestAccess;

/// Rounds one corner of a polyline tool path with a circular arc tangent to both legs, inside
/// a corner tolerance, and steps along that arc by arc length.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them. The field order (the unused
/// `spare` included) is part of the interface too.
class YDNURBSLIB_EXPORT YdArcFitFilter {
  public:
    /// Default-constructed points, vectors and matrix; radius, angle and spare are 0.0.
    YdArcFitFilter();
    /// point0 = a (start of the incoming leg), point1 = b (the corner), point2 = c (end of the
    /// outgoing leg); the rest as the default constructor. Call doFitArc next.
    YdArcFitFilter(const YdPoint& a, const YdPoint& b, const YdPoint& c);
    /// Member-wise copy of all twelve fields, in declaration order.
    YdArcFitFilter(const YdArcFitFilter& other);
    /// Member-wise assignment of all twelve fields, in declaration order (the points through
    /// YdPoint's assignment).
    YdArcFitFilter& operator=(const YdArcFitFilter& other);
    /// Non-virtual: the filter is a value class and is not derived from.
    ~YdArcFitFilter();

    /// Replaces the three path points. Does not refit: the fitted arc stays as it was until
    /// doFitArc runs again.
    void SetPoint(const YdPoint& a, const YdPoint& b, const YdPoint& c);
    /// Fits the arc tangent to both legs whose midpoint lies `tolerance` (a length, >= 0) from
    /// the corner. When a leg is shorter than the distance from the corner to the tangent
    /// points, the arc is shrunk to end at the shorter leg's far end and then lies closer to
    /// the corner than the tolerance. Always true: degenerate corners are not refused, they
    /// give the numbers the formulas give (collinear points a huge but finite radius, the
    /// shorter leg times tan(pi / 2) in doubles; a full reversal or a zero tolerance a zero
    /// radius; the zero vectors normalised to (1, 0, 0) on the way), and the host is expected
    /// to judge them.
    bool doFitArc(double tolerance);
    /// Centre of the fitted arc.
    const YdPoint& getCenter() const { return center; }
    /// Radius of the fitted arc (a length).
    double getRadius() const { return radius; }
    /// a = p1 (arc start, on the incoming leg), b = p2 (arc end, on the outgoing leg).
    void getTangentPoint(YdPoint& a, YdPoint& b) const;
    /// a = p1. Not const, as the exported interface declares it.
    void getp1(YdPoint& a);
    /// a = p2. Not const, as the exported interface declares it.
    void getp2(YdPoint& a);
    /// Arc length radius x (pi - corner angle), with pi = 3.141592653589793 (a length).
    double getArcLength() const;
    /// One step of arc length `step` (>= 0) along the fitted arc from `current`, which must
    /// lie on the arc between p1 and p2 (it is not projected onto it). Forward moves from p1
    /// toward p2, backward from p2 toward p1. When the step runs strictly past the end of the
    /// arc, next = that end's tangent point and the result is false; otherwise next is the
    /// point reached, mapped from the arc's local frame, and the result is true (a step that
    /// exactly reaches the end still goes through the mapping and returns true). The two
    /// directions are deliberately asymmetric, as hosts expect: forward measures the angle
    /// left only against the end direction; backward tests against the start direction but
    /// positions from the end direction. A zero radius divides by zero and passes the
    /// non-finite result on. Not const, as the exported interface declares it.
    bool interpolate(const YdPoint& current, double step, YdPoint& next, bool forward);

  private:
    friend struct YdArcFitFilterTestAccess;

    YdPoint point0;         ///< start of the incoming leg
    YdPoint point1;         ///< the corner
    YdPoint point2;         ///< end of the outgoing leg
    double spare;           ///< set by the constructors and copied; never read (layout slot)
    YdPoint center;         ///< centre of the fitted arc
    double radius;          ///< radius of the fitted arc
    YdPoint p1;             ///< arc start, on the incoming leg
    YdPoint p2;             ///< arc end, on the outgoing leg
    double angle;           ///< corner angle between the legs, in [0, pi] (pi: straight path)
    YdVector dir1;          ///< unit vector from center to p1
    YdVector dir2;          ///< unit vector from center to p2
    YdMatrix localToWorld;  ///< arc frame (origin center, X along dir2, Y toward dir1) to world
};
