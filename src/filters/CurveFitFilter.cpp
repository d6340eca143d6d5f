// SPDX-License-Identifier: MIT

// Reference: the parameter a chord distance ahead by Newton's method on the squared distance,
// started from a first-order Taylor step; densifying by cutting long gaps into equal pieces.
//
// The curve fit filter's fields, fitting and the queries a motion controller makes while it
// travels along the fitted curve: points, directions, radii, lengths and the parameter a given
// distance ahead.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "../curve/CurveEvalKernel.h"
#include "../geometry/IndexCast.h"
#include "ChordNewtonSearch.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

using yd_detail::idx;

namespace {

// A point farther than this from the curve has no radius of curvature on it.
constexpr double kOnCurveDistance = 0.001;

}  // namespace

YdCurveFitFilter::YdCurveFitFilter() : preprocess(false), curve(nullptr) {}

YdCurveFitFilter::YdCurveFitFilter(const std::vector<YdPoint>& points)
    : preprocess(false), fitPoints(points), curve(nullptr) {}

YdCurveFitFilter::YdCurveFitFilter(const std::vector<YdPoint>& points, int count)
    : preprocess(true), curve(nullptr) {
    const std::size_t take = std::min(points.size(), idx(std::max(count, 0)));
    fitPoints.assign(points.begin(), points.begin() + static_cast<std::ptrdiff_t>(take));
}

YdCurveFitFilter::YdCurveFitFilter(const YdCurveFitFilter& other)
    : preprocess(other.preprocess),
      fitPoints(other.fitPoints),
      curve(other.curve),
      localMaxCurvatures(other.localMaxCurvatures),
      localMinCurvatures(other.localMinCurvatures) {}

YdCurveFitFilter& YdCurveFitFilter::operator=(const YdCurveFitFilter& other) {
    if (this != &other) {
        preprocess = other.preprocess;
        fitPoints = other.fitPoints;
        curve = other.curve;
        localMaxCurvatures = other.localMaxCurvatures;
        localMinCurvatures = other.localMinCurvatures;
    }
    return *this;
}

// The curve belongs to the host: it is deliberately not deleted here.
YdCurveFitFilter::~YdCurveFitFilter() {}

void YdCurveFitFilter::setPreprocess(bool on) {
    preprocess = on;
}

bool YdCurveFitFilter::doFit(double tolerance) {
    if (preprocess) {
        preprocessFitPoints();
    }
    // A curve held before is the host's and is not deleted.
    curve = YdBSplineCurve::CreateApproximateCurve(fitPoints, false, tolerance);
    return curve != nullptr;
}

void YdCurveFitFilter::preprocessFitPoints() {
    const std::vector<YdPoint> copy = fitPoints;
    fitPoints.clear();
    fitPoints.reserve(copy.size() * 2);
    const int n = static_cast<int>(copy.size()) - 1;
    if (n <= 0) {
        // A single point has no segment: nothing is appended, not even the point itself.
        return;
    }
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        sum += copy[idx(i)].DistanceToPoint(copy[idx(i) + 1]);
    }
    const double avg = sum / n;
    // Without a positive, finite average gap (all points equal, or gaps so small that the
    // average underflows) there is no spacing to densify to: the points are kept as they are.
    const bool densify = avg > 0.0 && std::isfinite(avg);
    const double limit = avg * 1.5;
    for (int i = 0; i < n; ++i) {
        const YdPoint& a = copy[idx(i)];
        const YdPoint& b = copy[idx(i) + 1];
        const double d = b.DistanceToPoint(a);
        if (densify && d > limit) {
            const int k = static_cast<int>(std::ceil(d / avg));
            fitPoints.push_back(a);
            for (int j = 1; j < k; ++j) {
                const double t = static_cast<double>(j) / k;
                fitPoints.emplace_back(a[0] * (1 - t) + b[0] * t, a[1] * (1 - t) + b[1] * t,
                                       a[2] * (1 - t) + b[2] * t);
            }
        } else {
            fitPoints.push_back(a);
        }
        if (i == n - 1) {
            fitPoints.push_back(b);
        }
    }
}

YdPoint YdCurveFitFilter::getPoint(double u) {
    if (curve == nullptr) {
        return YdPoint(0.0, 0.0, 0.0);
    }
    return curve->Evaluate(u);
}

double YdCurveFitFilter::getCurveLength(double u0, double u1, double tolerance) const {
    // The end test reads "endParam > u1": a range that ends inside the curve yields 0.0. Hosts
    // rely on this, so it is kept. Negated comparisons also turn NaN arguments away.
    if (curve == nullptr || !(u0 < u1) || tolerance == 0.0 || !(curve->startParam() <= u0) ||
        !(curve->endParam() <= u1)) {
        return 0.0;
    }
    return curve->Length(u0, u1, tolerance);
}

YdVector YdCurveFitFilter::getDirection(double u) {
    YdVector dir;
    if (curve == nullptr || !(curve->startParam() <= u && u <= curve->endParam())) {
        return dir;
    }
    // Through the evaluation kernel: the one derivative needs no heap-allocated list, and the
    // direction is asked at every step of a walk.
    YdPoint pt;
    YdVector d1;
    yd_detail::EvaluateCurve(*curve, u, 1, pt, &d1);
    dir = d1;
    dir.Normalize();
    return dir;
}

YdVector YdCurveFitFilter::getHeadDirection() {
    if (curve == nullptr) {
        return YdVector();
    }
    return getDirection(curve->startParam());
}

YdVector YdCurveFitFilter::getTailDirection() {
    if (curve == nullptr) {
        return YdVector();
    }
    return getDirection(curve->endParam());
}

double YdCurveFitFilter::getRadiusOfCurvature(double u) const {
    if (curve == nullptr || !(curve->startParam() <= u && u <= curve->endParam())) {
        return -1.0;
    }
    return curve->CalcRadiusOfCurvature(u);
}

double YdCurveFitFilter::getRadiusOfCurvature(const YdPoint& p) const {
    if (curve == nullptr) {
        return -1.0;
    }
    double u = 0.0;
    YdPoint nearest;
    if (!curve->FindNearestPoint(p, u, nearest, nullptr)) {
        return -1.0;
    }
    if (!(std::fabs(p.DistanceToPoint(nearest)) <= kOnCurveDistance)) {
        return -1.0;
    }
    return getRadiusOfCurvature(u);
}

bool YdCurveFitFilter::interpolate(const YdPoint& from, double distance, bool direction, double& u,
                                   YdPoint& point, double tolerance) const {
    // A NaN distance or tolerance is refused like a negative distance or a zero tolerance:
    // the length bisection could not converge on it.
    if (curve == nullptr || !(distance >= 0.0) || tolerance == 0.0 || std::isnan(tolerance)) {
        return false;
    }
    return curve->locatePoint(from, distance, direction, u, point, tolerance);
}

bool YdCurveFitFilter::interpolateByTaylor1Order(double u0, double distance, double& u) const {
    if (curve == nullptr || !(distance >= 0.0)) {
        return false;
    }
    YdPoint pt;
    YdVector d1;
    yd_detail::EvaluateCurve(*curve, u0, 1, pt, &d1);
    u = u0 + distance / d1.Magnitude();
    return true;
}

bool YdCurveFitFilter::iterateFunction(YdBSplineCurve* curve, const YdPoint& from, double u,
                                       double distanceSquared, double& next) {
    if (curve == nullptr) {
        return false;
    }
    YdPoint c;
    YdVector d1;
    yd_detail::EvaluateCurve(*curve, u, 1, c, &d1);
    const double dx = c[0] - from[0];
    const double dy = c[1] - from[1];
    const double dz = c[2] - from[2];
    const double f = dx * dx + dy * dy + dz * dz - distanceSquared;
    const double df = 2 * dx * d1[0] + 2 * dy * d1[1] + 2 * dz * d1[2];
    next = u - f / df;
    return true;
}

namespace {

// The search of both public forms: the first-order start, then Newton steps that never go
// back behind u0. clampMinMax selects the min(max(next, u0), b) form of the clamp; both give
// the same parameter.
bool NewtonChordSearch(const YdCurveFitFilter& filter, YdBSplineCurve* curve, double u0,
                       double distance, double tolerance, double& u, YdPoint& point,
                       yd_detail::NewtonStep step, bool clampMinMax) {
    if (curve == nullptr || std::isnan(tolerance)) {
        return false;
    }
    if (!(u0 >= curve->startParam() && u0 <= curve->endParam())) {
        return false;
    }
    double t = 0.0;
    if (!filter.interpolateByTaylor1Order(u0, distance, t)) {
        return false;
    }
    return yd_detail::ChordNewtonSearch(*curve, u0, t, distance, tolerance, u0, clampMinMax, step,
                                        u, point);
}

}  // namespace

bool YdCurveFitFilter::interpolateByNewtonIter(double u0, double distance, double& u,
                                               double tolerance) const {
    YdPoint point;
    return NewtonChordSearch(*this, curve, u0, distance, tolerance, u, point, &iterateFunction,
                             false);
}

bool YdCurveFitFilter::interpolateByNewtonIterW(double u0, double distance, double& u,
                                                YdPoint& point, double tolerance) const {
    return NewtonChordSearch(*this, curve, u0, distance, tolerance, u, point, &iterateFunction,
                             true);
}
