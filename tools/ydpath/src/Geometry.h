#pragma once

// Small geometric helpers of the tool: conversions, distances to segments and polylines,
// the circular-arc shape used for rounded corners and programmed arcs, and parameter searches
// on curves by arc length.

#include <vector>

#include "PathReader.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

namespace ydpath {

YdPoint ToYd(const Point3& p);
Point3 ToPoint3(const YdPoint& p);

double Distance(const YdPoint& a, const YdPoint& b);
YdVector Unit(const YdVector& v);  ///< the zero vector stays zero
/// Angle in radians between two directions, in [0, pi]; 0 when either is zero.
double AngleBetween(const YdVector& a, const YdVector& b);

/// Distance from p to the segment a-b (to a when a == b).
double SegmentDistance(const YdPoint& p, const YdPoint& a, const YdPoint& b);
/// Distance from p to the polyline through pts[first..last] (inclusive indices).
double PolylineDistance(const YdPoint& p, const std::vector<YdPoint>& pts, int first, int last);

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

/// Unit tangent of a curve at u (the zero vector when it cannot be evaluated).
YdVector CurveTangent(const YdBSplineCurve& curve, double u);
/// Curvature at u (0 when it cannot be evaluated).
double CurveCurvature(const YdBSplineCurve& curve, double u);
/// Arc length of the curve between a and b (a <= b): the library's Gauss rule, span by span.
double CurveLength(const YdBSplineCurve& curve, double a, double b);
/// The same to about 1e-9 relative: the Gauss rule on 16 equal parts of [a, b]. A single-span
/// transition whose speed changes a lot along it needs this for a length worth reporting.
double PreciseCurveLength(const YdBSplineCurve& curve, double a, double b);
/// The parameter whose arc length from the start is s (clamped to the curve).
double ParamAtLengthFromStart(const YdBSplineCurve& curve, double s);
/// The parameter whose arc length to the end is s (clamped to the curve).
double ParamAtLengthFromEnd(const YdBSplineCurve& curve, double s);
/// Distance from p to the curve: dense sampling, then a local golden-section refinement.
/// Independent of the library's own point inversion, so that it can check it.
double CurveDistance(const YdBSplineCurve& curve, const YdPoint& p, int samplesPerSpan = 16);

}  // namespace ydpath
