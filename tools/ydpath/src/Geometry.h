// SPDX-License-Identifier: MIT

#pragma once

// Small geometric helpers of the tool: conversions, distances to segments and polylines,
// the circular-arc shape used for rounded corners and programmed arcs, and parameter searches
// on curves by arc length.

#include <vector>

#include "PathReader.h"
#include "PointMath.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

namespace ydpath {

YdPoint ToYd(const Point3& p);

/// A count from a floating-point estimate, kept within [lo, hi] before it is converted (NaN
/// gives lo), so that no estimate can overflow the conversion to int.
int CountWithin(double estimate, int lo, int hi);

double Distance(const YdPoint& a, const YdPoint& b);
YdVector Unit(const YdVector& v);  ///< the zero vector stays zero
/// Angle in radians between two directions, in [0, pi]; 0 when either is zero.
double AngleBetween(const YdVector& a, const YdVector& b);

/// Distance from p to the segment a-b (to a when a == b).
double SegmentDistance(const YdPoint& p, const YdPoint& a, const YdPoint& b);

/// A circular arc, possibly helical: start at center + radiusStart * axisU, turning by sweep
/// radians towards axisV, while rising by `rise` along the normal.
struct ArcShape {
    YdPoint center;
    YdVector axisU;
    YdVector axisV;
    YdVector rise;
    double radiusStart = 0.0;
    double radiusEnd = 0.0;
    double sweep = 0.0;

    /// t in [0, 1] from start to end.
    YdPoint PointAt(double t) const;
    /// Unit tangent in the direction of travel.
    YdVector TangentAt(double t) const;
    double Length() const;
    double Curvature() const;

    /// The arc from p1 to p2 about center (a rounded corner; p1 and p2 equally far from it).
    static ArcShape FromTangentPoints(const YdPoint& center, const YdPoint& p1, const YdPoint& p2);
    /// A programmed G2/G3 move.
    static ArcShape FromProgramArc(const ProgramArc& arc);
};

/// Fitted curves meet their end points through a linear solve, so only to rounding: ends
/// closer than this are made exact.
constexpr double kSnapDistance = 1e-7;
/// Makes the curve start and end exactly at the given points (either may be null) when it
/// already does to within kSnapDistance: a clamped curve starts at its first control point and
/// ends at its last.
void SnapCurveEnds(YdBSplineCurve& curve, const YdPoint* start, const YdPoint* end);

/// u moved onto a knot of the curve when it lies closer to one than the library's knot
/// insertion tells apart (it would snap there itself), so that a piece extracted from u starts
/// exactly where the curve is evaluated at u.
double SnapToKnot(const YdBSplineCurve& curve, double u);

/// Unit tangent of a curve at u (the zero vector when it cannot be evaluated).
YdVector CurveTangent(const YdBSplineCurve& curve, double u);
/// Curvature at u (0 when it cannot be evaluated).
double CurveCurvature(const YdBSplineCurve& curve, double u);
/// Arc length of the curve between a and b (a <= b): the library's Gauss rule, span by span.
double CurveLength(const YdBSplineCurve& curve, double a, double b);
/// The same to about 1e-9 relative: the Gauss rule on 16 equal parts of [a, b]. A single-span
/// transition whose speed changes a lot along it needs this for a length worth reporting.
double PreciseCurveLength(const YdBSplineCurve& curve, double a, double b);
/// The parameter in [a, b] whose arc length from a is s (clamped to [a, b]). Walks the knot
/// spans from a and bisects only within the span where s is reached.
double ParamAtLengthFrom(const YdBSplineCurve& curve, double a, double b, double s);
/// The parameter in [a, b] whose arc length to b is s (clamped to [a, b]).
double ParamAtLengthTo(const YdBSplineCurve& curve, double a, double b, double s);

}  // namespace ydpath
