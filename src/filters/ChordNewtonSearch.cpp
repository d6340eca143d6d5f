// SPDX-License-Identifier: MIT

// Reference: Newton's method on f(u) = |C(u) - C(u0)|^2 - d^2, each step clamped into the search
// range.

#include "ChordNewtonSearch.h"

#include <algorithm>
#include <cmath>

namespace yd_detail {

namespace {
constexpr int kMaxNewtonSteps = 10;
}

bool ChordNewtonSearch(YdBSplineCurve& curve, double u0, double start, double distance,
                       double tolerance, double lower, bool clampMinMax, NewtonStep step, double& u,
                       YdPoint& point) {
    const double a = curve.startParam();
    const double b = curve.endParam();
    double t = std::isnan(start) ? u0 : start;
    if (t < a) {
        t = a;
    } else if (t > b) {
        t = b;
    }
    const double s2 = distance * distance;
    const YdPoint p0 = curve.Evaluate(u0);
    YdPoint p = curve.Evaluate(t);
    double err = std::fabs(p0.DistanceToPoint(p) - distance);
    int count = 0;
    double current = t;
    for (;;) {
        if (!(err > tolerance)) {
            u = current;
            point = p;
            return true;
        }
        double next = 0.0;
        // A flat distance function (zero slope at a zero residual) leaves no step to take.
        if (!step(&curve, p0, current, s2, next) || std::isnan(next)) {
            return false;
        }
        if (clampMinMax) {
            next = std::min(std::max(next, lower), b);
        } else if (next < lower) {
            next = lower;
        } else if (next > b) {
            next = b;
        }
        current = next;
        p = curve.Evaluate(current);
        err = std::fabs(p0.DistanceToPoint(p) - distance);
        ++count;
        if (count > kMaxNewtonSteps) {
            return false;
        }
    }
}

}  // namespace yd_detail
