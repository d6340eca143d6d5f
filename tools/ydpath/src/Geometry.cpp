// SPDX-License-Identifier: MIT

#include "Geometry.h"

#include <algorithm>
#include <cmath>

namespace ydpath {

namespace {

YdVector Scaled(const YdVector& v, double s) {
    return YdVector(v[0] * s, v[1] * s, v[2] * s);
}

YdVector Sum(const YdVector& a, const YdVector& b) {
    return YdVector(a[0] + b[0], a[1] + b[1], a[2] + b[2]);
}

double Dot(const YdVector& a, const YdVector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

YdVector Cross(const YdVector& a, const YdVector& b) {
    return YdVector(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                    a[0] * b[1] - a[1] * b[0]);
}

YdVector Diff(const YdPoint& a, const YdPoint& b) {
    return YdVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

YdPoint Plus(const YdPoint& p, const YdVector& v) {
    return YdPoint(p[0] + v[0], p[1] + v[1], p[2] + v[2]);
}

double Norm(const YdVector& v) {
    return std::sqrt(Dot(v, v));
}

}  // namespace

YdPoint ToYd(const Point3& p) {
    return YdPoint(p.x, p.y, p.z);
}

int CountWithin(double estimate, int lo, int hi) {
    if (!(estimate > lo)) {
        return lo;
    }
    if (!(estimate < hi)) {
        return hi;
    }
    return static_cast<int>(estimate);
}

double Distance(const YdPoint& a, const YdPoint& b) {
    return Norm(Diff(a, b));
}

YdVector Unit(const YdVector& v) {
    const double n = Norm(v);
    return n > 0.0 ? Scaled(v, 1.0 / n) : YdVector();
}

double AngleBetween(const YdVector& a, const YdVector& b) {
    const double na = Norm(a);
    const double nb = Norm(b);
    if (na == 0.0 || nb == 0.0) {
        return 0.0;
    }
    return std::atan2(Norm(Cross(a, b)), Dot(a, b));
}

double SegmentDistance(const YdPoint& p, const YdPoint& a, const YdPoint& b) {
    const YdVector ab = Diff(b, a);
    const double len2 = Dot(ab, ab);
    if (len2 == 0.0) {
        return Distance(p, a);
    }
    const double t = std::clamp(Dot(Diff(p, a), ab) / len2, 0.0, 1.0);
    return Distance(p, Plus(a, Scaled(ab, t)));
}

YdPoint ArcShape::PointAt(double t) const {
    const double angle = t * sweep;
    const double r = radiusStart + (radiusEnd - radiusStart) * t;
    return Plus(center,
                Sum(Sum(Scaled(axisU, r * std::cos(angle)), Scaled(axisV, r * std::sin(angle))),
                    Scaled(rise, t)));
}

YdVector ArcShape::TangentAt(double t) const {
    const double angle = t * sweep;
    const double r = radiusStart + (radiusEnd - radiusStart) * t;
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const YdVector radial = Sum(Scaled(axisU, c), Scaled(axisV, s));
    const YdVector along = Sum(Scaled(axisU, -s), Scaled(axisV, c));
    return Unit(Sum(Sum(Scaled(radial, radiusEnd - radiusStart), Scaled(along, r * sweep)), rise));
}

double ArcShape::Length() const {
    const double r = 0.5 * (radiusStart + radiusEnd);
    const double planar = r * sweep;
    const double h = Norm(rise);
    return std::sqrt(planar * planar + h * h);
}

double ArcShape::Curvature() const {
    const double r = 0.5 * (radiusStart + radiusEnd);
    if (r <= 0.0) {
        return 0.0;
    }
    // A helix of radius r and pitch per radian c bends by r / (r^2 + c^2).
    const double c = sweep > 0.0 ? Norm(rise) / sweep : 0.0;
    return r / (r * r + c * c);
}

ArcShape ArcShape::FromTangentPoints(const YdPoint& center, const YdPoint& p1, const YdPoint& p2) {
    ArcShape arc;
    arc.center = center;
    const YdVector a = Diff(p1, center);
    const YdVector b = Diff(p2, center);
    arc.radiusStart = Norm(a);
    arc.radiusEnd = Norm(b);
    arc.axisU = Unit(a);
    const YdVector bu = Unit(b);
    arc.axisV =
        Unit(Diff(YdPoint(bu[0], bu[1], bu[2]),
                  YdPoint(arc.axisU[0] * Dot(bu, arc.axisU), arc.axisU[1] * Dot(bu, arc.axisU),
                          arc.axisU[2] * Dot(bu, arc.axisU))));
    arc.sweep = AngleBetween(a, b);
    return arc;
}

ArcShape ArcShape::FromProgramArc(const ProgramArc& in) {
    ArcShape arc;
    YdVector normal(0.0, 0.0, 1.0);
    if (in.plane == 18) {
        normal = YdVector(0.0, 1.0, 0.0);
    } else if (in.plane == 19) {
        normal = YdVector(1.0, 0.0, 0.0);
    }
    const YdPoint start = ToYd(in.start);
    const YdPoint end = ToYd(in.end);
    arc.center = ToYd(in.center);
    const YdVector toStart = Diff(start, arc.center);
    const YdVector toEnd = Diff(end, arc.center);
    const YdVector endInPlane =
        Diff(YdPoint(toEnd[0], toEnd[1], toEnd[2]),
             YdPoint(normal[0] * Dot(toEnd, normal), normal[1] * Dot(toEnd, normal),
                     normal[2] * Dot(toEnd, normal)));
    arc.radiusStart = Norm(toStart);
    arc.radiusEnd = Norm(endInPlane);
    arc.axisU = Unit(toStart);
    const YdVector w = in.clockwise ? Scaled(normal, -1.0) : normal;
    arc.axisV = Cross(w, arc.axisU);
    arc.rise = Scaled(normal, Dot(toEnd, normal));
    arc.sweep = in.sweep;
    return arc;
}

void SnapCurveEnds(YdBSplineCurve& curve, const YdPoint* start, const YdPoint* end) {
    std::vector<YdPoint>& cp = curve.CtrlPoints();
    if (cp.empty()) {
        return;
    }
    if (start != nullptr && Distance(curve.Evaluate(curve.startParam()), *start) < kSnapDistance &&
        Distance(cp.front(), *start) < kSnapDistance) {
        cp.front() = *start;
    }
    if (end != nullptr && Distance(curve.Evaluate(curve.endParam()), *end) < kSnapDistance &&
        Distance(cp.back(), *end) < kSnapDistance) {
        cp.back() = *end;
    }
}

double SnapToKnot(const YdBSplineCurve& curve, double u) {
    // Twice the library's 1e-7 knot tolerance: safely outside it or exactly on the knot.
    const double reach = 2e-7;
    for (double k : curve.KnotVec().GetKnots()) {
        if (std::fabs(k - u) < reach) {
            return k;
        }
    }
    return u;
}

YdVector CurveTangent(const YdBSplineCurve& curve, double u) {
    YdPoint p;
    std::vector<YdVector> d;
    if (!curve.Evaluate(u, 1, p, d) || d.empty()) {
        return YdVector();
    }
    return Unit(d[0]);
}

double CurveCurvature(const YdBSplineCurve& curve, double u) {
    double k = 0.0;
    if (!curve.CalculateCurvature(u, k) || !std::isfinite(k)) {
        return 0.0;
    }
    return k;
}

double CurveLength(const YdBSplineCurve& curve, double a, double b) {
    if (!(b > a)) {
        return 0.0;
    }
    return curve.Length(a, b, true);
}

double PreciseCurveLength(const YdBSplineCurve& curve, double a, double b) {
    if (!(b > a)) {
        return 0.0;
    }
    const int parts = 16;
    double sum = 0.0;
    for (int i = 0; i < parts; ++i) {
        const double u0 = a + (b - a) * i / parts;
        const double u1 = i + 1 == parts ? b : a + (b - a) * (i + 1) / parts;
        sum += curve.Length(u0, u1, true);
    }
    return sum;
}

namespace {

// The knot span boundaries of the curve that lie strictly inside (a, b), with a and b, in
// order (descending when `backward`).
std::vector<double> SpanStops(const YdBSplineCurve& curve, double a, double b, bool backward) {
    std::vector<double> stops{a};
    for (double k : curve.KnotVec().GetKnots()) {
        if (k > stops.back() && k < b) {
            stops.push_back(k);
        }
    }
    stops.push_back(b);
    if (backward) {
        std::reverse(stops.begin(), stops.end());
    }
    return stops;
}

// Bisects [lo, hi] for the parameter where length(from, u) reaches s (from = lo going forward,
// from = hi going backward).
double BisectLength(const YdBSplineCurve& curve, double lo, double hi, double s, bool backward) {
    // A cut needs no more than a billionth of a span: it is a choice, not a measurement.
    for (int i = 0; i < 30 && hi - lo > 1e-13 * std::max(1.0, std::fabs(hi)); ++i) {
        const double mid = 0.5 * (lo + hi);
        const double len = backward ? CurveLength(curve, mid, hi) : CurveLength(curve, lo, mid);
        if (backward) {
            if (len < s) {
                hi = mid;
                s -= len;
            } else {
                lo = mid;
            }
        } else {
            if (len < s) {
                lo = mid;
                s -= len;
            } else {
                hi = mid;
            }
        }
    }
    return 0.5 * (lo + hi);
}

double ParamAtLength(const YdBSplineCurve& curve, double a, double b, double s, bool backward) {
    if (!(b > a)) {
        return a;
    }
    if (!(s > 0.0)) {
        return backward ? b : a;
    }
    const std::vector<double> stops = SpanStops(curve, a, b, backward);
    for (size_t i = 1; i < stops.size(); ++i) {
        const double lo = std::min(stops[i - 1], stops[i]);
        const double hi = std::max(stops[i - 1], stops[i]);
        const double len = CurveLength(curve, lo, hi);
        if (len >= s) {
            return BisectLength(curve, lo, hi, s, backward);
        }
        s -= len;
    }
    return backward ? a : b;
}

}  // namespace

double ParamAtLengthFrom(const YdBSplineCurve& curve, double a, double b, double s) {
    return ParamAtLength(curve, a, b, s, false);
}

double ParamAtLengthTo(const YdBSplineCurve& curve, double a, double b, double s) {
    return ParamAtLength(curve, a, b, s, true);
}

}  // namespace ydpath
