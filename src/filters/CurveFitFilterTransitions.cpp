// SPDX-License-Identifier: MIT

// Reference: transition curves as cubic Hermite segments in Bezier form (end points and end
// derivatives; Farin, Curves and Surfaces for CAGD), and constrained approximation or interpolation
// through given points.
//
// Transition curves that join straight moves and fitted curves, and the helpers that continue or
// split curves. Every curve made here is new and belongs to the caller.

#include <cmath>
#include <utility>
#include <vector>

#include "ChordNewtonSearch.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdLine.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

namespace {

// The unit direction of v, or the zero vector when v has no direction (a stationary point of
// the curve). A zero derivative then stays zero instead of turning into an invented direction
// or into NaN, so the joining cubic simply starts or ends with zero speed there.
YdVector UnitOrZero(const YdVector& v) {
    const double m = v.Magnitude();
    if (!(m > 0.0) || !std::isfinite(m)) {
        return YdVector();
    }
    return YdVector(v[0] / m, v[1] / m, v[2] / m);
}

// a * s + b * (1 - s), through the point operators (as a weighted sum, not a lerp from a).
YdPoint Blend(const YdPoint& a, const YdPoint& b, double s) {
    YdPoint pa(a[0], a[1], a[2]);
    pa *= s;
    YdPoint pb(b[0], b[1], b[2]);
    pb *= (1.0 - s);
    pa += pb;
    return pa;
}

// The start value of the Newton search on a caller's curve is taken with this tolerance (which
// the first-order step does not use).
constexpr double kInitialStepTol = 0.0001;

// Rounds of the tangent search of the line-and-curve join; the search normally ends by itself
// after ten or eleven rounds, this only bounds it when the step no longer moves the parameter.
constexpr int kMaxTangentRounds = 64;

// Where the line-and-curve join meets the curve: the parameter and the point the tangent
// search settles on. ok is false when the curve gives no derivative.
struct JoinStart {
    bool ok;
    double u;
    YdPoint point;
};

// Tangent search over the first half of the curve for the best cosine between the curve's
// tangent and the chord from lineStart. Every round evaluates at the start parameter, not at
// u, so the first round decides (u = s, point = C(s)); hosts rely on that join. The initial
// values give the same answer when no round runs or no cosine can be formed (a curve starting
// at lineStart, or a zero derivative).
JoinStart SearchJoinStart(const YdBSplineCurve& curve, const YdPoint& A) {
    const double s = curve.startParam();
    const double t = curve.endParam();
    const double mid = (s + t) * 0.5;
    const double step = (mid - s) / 10.0;
    double best = -1.0;
    double u = s;
    std::vector<YdVector> derivs;
    YdPoint startPoint;
    if (!curve.Evaluate(s, 1, startPoint, derivs) || derivs.empty()) {
        return JoinStart{false, s, startPoint};
    }
    double bestU = s;
    YdPoint bestPoint(startPoint);
    for (int round = 0; mid > u && round < kMaxTangentRounds; ++round) {
        YdPoint c0;
        if (!curve.Evaluate(s, 1, c0, derivs) || derivs.empty()) {
            return JoinStart{false, s, startPoint};
        }
        const YdVector v = c0 - A;
        const double c = (v % derivs[0]) / (v.Magnitude() * derivs[0].Magnitude());
        if (c > best) {
            best = c;
            bestU = u;
            bestPoint = c0;
        }
        const double next = u + step;
        if (!(next > u)) {
            break;
        }
        u = next;
    }
    return JoinStart{true, bestU, bestPoint};
}

// The transition from `from`, leaving along B - from, to the curve point at u, arriving along
// the curve's unit tangent scaled to the distance of that point from B. Null when the caller
// does not want it.
YdBSplineCurve* JoinTransition(const YdBSplineCurve& curve, double u, const YdPoint& from,
                               const YdPoint& B, bool wanted) {
    if (!wanted) {
        return nullptr;
    }
    YdPoint Q;
    std::vector<YdVector> derivs;
    curve.Evaluate(u, 1, Q, derivs);
    const YdVector D = UnitOrZero(derivs[0]) * (Q - B).Magnitude();
    return YdBSplineCurve::CreateByEndPointsAndTangents(from, Q, B - from, D);
}

}  // namespace

bool YdCurveFitFilter::fitCurveToConnectLineAndCurve(const YdPoint& lineStart,
                                                     const YdPoint& lineEnd, YdBSplineCurve* curve,
                                                     double tolerance, YdPoint& newLineStart,
                                                     YdPoint& newLineEnd,
                                                     YdBSplineCurve** transition,
                                                     YdBSplineCurve** rest) {
    if (curve == nullptr) {
        return false;
    }
    // Copies, so that out-parameters aliasing the inputs cannot change them half-way.
    const YdPoint A(lineStart);
    const YdPoint B(lineEnd);
    const double s = curve->startParam();
    const double t = curve->endParam();

    const JoinStart start = SearchJoinStart(*curve, A);
    if (!start.ok) {
        return false;
    }
    const double d = YdLine(A, start.point).DistanceToPoint(B);

    YdBSplineCurve* made = nullptr;
    double restFrom = start.u;
    if (d > tolerance && d > 0.0) {
        // The corner at lineEnd is sharper than the tolerance allows: cut the segment back to the
        // fraction r of the way from lineEnd to lineStart and join from there.
        const double r = tolerance / d;
        const YdPoint P = Blend(A, B, r);
        restFrom = s + (start.u - s) * r;
        made = JoinTransition(*curve, restFrom, P, B, transition != nullptr);
        newLineStart = A;
        newLineEnd = P;
    } else {
        // lineEnd lies within the tolerance of the line: the transition replaces the segment.
        made = JoinTransition(*curve, start.u, A, B, transition != nullptr);
        newLineStart = A;
        newLineEnd = A;
    }
    if (transition != nullptr) {
        *transition = made;
    }
    if (rest != nullptr) {
        *rest = curve->ExtractSubCurve(restFrom, t);
    }
    return true;
}

bool YdCurveFitFilter::fitCurveToConnectCurveAndLine(YdBSplineCurve* curve,
                                                     const YdPoint& lineStart,
                                                     const YdPoint& lineEnd, double tolerance,
                                                     YdBSplineCurve** rest,
                                                     YdBSplineCurve** transition,
                                                     YdPoint& newLineStart, YdPoint& newLineEnd) {
    if (curve == nullptr) {
        return false;
    }
    // The mirror image of the line-and-curve join, on a private reversed copy: the caller's curve
    // is only read.
    YdBSplineCurve reversed(*curve);
    reversed.Reverse();
    const bool ok = fitCurveToConnectLineAndCurve(lineEnd, lineStart, &reversed, tolerance,
                                                  newLineEnd, newLineStart, transition, rest);
    if (ok) {
        if (transition != nullptr && *transition != nullptr) {
            (*transition)->Reverse();
        }
        if (rest != nullptr && *rest != nullptr) {
            (*rest)->Reverse();
        }
    }
    return ok;
}

namespace {

// The gap between the end of `first` and the start of `second`: its end points P and Q and the
// curves' unit tangents there scaled to the gap's length, so that the bridge is well
// proportioned. False when either curve is null or cannot give a derivative.
bool BridgeEnds(YdBSplineCurve* first, YdBSplineCurve* second, YdPoint& P, YdPoint& Q, YdVector& t1,
                YdVector& t2) {
    if (first == nullptr || second == nullptr) {
        return false;
    }
    std::vector<YdVector> T1;
    std::vector<YdVector> T2;
    first->Evaluate(first->endParam(), 1, P, T1);
    second->Evaluate(second->startParam(), 1, Q, T2);
    if (T1.empty() || T2.empty()) {
        return false;
    }
    const double d = (P - Q).Magnitude();
    t1 = UnitOrZero(T1[0]) * d;
    t2 = UnitOrZero(T2[0]) * d;
    return true;
}

}  // namespace

YdBSplineCurve* YdCurveFitFilter::fitCurveBetweenSplineCurves(YdBSplineCurve* first,
                                                              YdBSplineCurve* second) {
    YdPoint P;
    YdPoint Q;
    YdVector t1;
    YdVector t2;
    if (!BridgeEnds(first, second, P, Q, t1, t2)) {
        return nullptr;
    }
    return YdBSplineCurve::CreateByEndPointsAndTangents(P, Q, t1, t2);
}

YdBSplineCurve* YdCurveFitFilter::fitCurveBetweenSplineCurves(YdBSplineCurve* first,
                                                              YdBSplineCurve* second,
                                                              const YdPoint& via) {
    YdPoint P;
    YdPoint Q;
    YdVector t1;
    YdVector t2;
    if (!BridgeEnds(first, second, P, Q, t1, t2)) {
        return nullptr;
    }
    const std::vector<YdPoint> points{P, via, Q};
    const std::vector<std::pair<int, YdVector>> constraints{{0, t1}, {2, t2}};
    return YdBSplineCurve::CreateInterpolateCurve(points, constraints, false);
}

YdBSplineCurve* YdCurveFitFilter::fitConnectCurve(YdBSplineCurve* curve,
                                                  std::vector<YdPoint>& points, double tolerance) {
    // Fewer than two points name no last point to meet exactly.
    if (curve == nullptr || points.size() < 2) {
        return nullptr;
    }
    YdPoint end;
    std::vector<YdVector> derivs;
    curve->Evaluate(curve->endParam(), 1, end, derivs);
    if (derivs.empty()) {
        return nullptr;
    }
    const std::vector<int> exact{0, static_cast<int>(points.size()) - 1};
    const std::vector<std::pair<int, YdVector>> constraints{{0, derivs[0]}};
    return YdBSplineCurve::CreateApproximateCurve(points, exact, constraints, false, tolerance);
}

YdBSplineCurve* YdCurveFitFilter::fitCurve(const std::vector<YdPoint>& points,
                                           const YdVector& headTangent, const YdVector& tailTangent,
                                           double tolerance) {
    // Fewer than two points name no last point to meet exactly.
    if (points.size() < 2) {
        return nullptr;
    }
    const int last = static_cast<int>(points.size()) - 1;
    const std::vector<int> exact{0, last};
    const std::vector<std::pair<int, YdVector>> constraints{{0, headTangent}, {last, tailTangent}};
    return YdBSplineCurve::CreateApproximateCurve(points, exact, constraints, false, tolerance);
}

std::vector<YdBSplineCurve*> YdCurveFitFilter::splitCurve(YdBSplineCurve* curve, double u) {
    if (curve == nullptr) {
        return {};
    }
    return curve->SplitCurve(u);
}

bool YdCurveFitFilter::findInitialInterpolate(YdBSplineCurve* curve, double u0, double distance,
                                              double& u, double tolerance) {
    (void)tolerance;  // the first-order step has no accuracy to meet
    if (curve == nullptr || !(distance >= 0.0)) {
        return false;
    }
    YdPoint pt;
    std::vector<YdVector> derivs;
    curve->Evaluate(u0, 1, pt, derivs);
    if (derivs.empty()) {
        return false;
    }
    // A stationary point is not guarded: the step is then infinite (the Newton search clamps
    // it to the end of the curve) or, for a zero distance, 0 / 0.
    u = u0 + distance / derivs[0].Magnitude();
    return true;
}

bool YdCurveFitFilter::findInterpolateParam(YdBSplineCurve* curve, double u0, double distance,
                                            double& u, double tolerance) {
    if (curve == nullptr) {
        return false;
    }
    const double a = curve->startParam();
    // Written so that a NaN start parameter is refused too.
    if (!(u0 >= a && u0 <= curve->endParam())) {
        return false;
    }
    double t = 0.0;
    if (!findInitialInterpolate(curve, u0, distance, t, kInitialStepTol)) {
        return false;
    }
    // Unlike the filter's own search, steps may go back behind u0: the whole range counts.
    YdPoint point;
    return yd_detail::ChordNewtonSearch(*curve, u0, t, distance, tolerance, a, false,
                                        &iterateFunction, u, point);
}
