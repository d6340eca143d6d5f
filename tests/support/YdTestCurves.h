// SPDX-License-Identifier: MIT

#pragma once

// Curves, paths and measures that several test programs and benchmarks share: clamped curves
// from control points and interior knots, random cubics on a random walk, a rose and a circle
// as point lists, and the worst point distance as the approximation's search measures it.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

namespace ydtest {

constexpr double kPi = 3.14159265358979323846;

/// A clamped curve on [0, 1] with the given interior knots.
inline YdBSplineCurve MakeCurve(const std::vector<YdPoint>& ctrl,
                                const std::vector<double>& interior, int degree,
                                bool closed = false) {
    std::vector<double> k(static_cast<std::size_t>(degree) + 1, 0.0);
    k.insert(k.end(), interior.begin(), interior.end());
    k.insert(k.end(), static_cast<std::size_t>(degree) + 1, 1.0);
    YdKnotVec kv;
    kv.SetKnots(k);
    return YdBSplineCurve(kv, ctrl, degree, closed);
}

/// A cubic with n control points on a random walk and random interior knots.
inline YdBSplineCurve RandomCubic(std::mt19937& rng, int n) {
    std::uniform_real_distribution<double> step(-3.0, 3.0);
    std::uniform_real_distribution<double> unit(0.02, 0.98);
    std::vector<YdPoint> ctrl;
    YdPoint p(0.0, 0.0, 0.0);
    for (int i = 0; i < n; ++i) {
        p = YdPoint(p[0] + 2.0 + step(rng), p[1] + step(rng), p[2] + 0.5 * step(rng));
        ctrl.push_back(p);
    }
    std::vector<double> interior;
    for (int i = 0; i < n - 4; ++i) {
        interior.push_back(unit(rng));
    }
    std::sort(interior.begin(), interior.end());
    return MakeCurve(ctrl, interior, 3);
}

/// A three-petal rose about 100 units across with a gentle z wave, as an open path of m points
/// over the angle range [0, sweep], optionally with uniform noise of the given amplitude
/// (drawn from a generator seeded with seed, x, y, z of each point in turn).
inline std::vector<YdPoint> RosePath(int m, double sweep = 0.9 * kPi, double noise = 0.0,
                                     unsigned seed = 7) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> jitter(-noise, noise);
    std::vector<YdPoint> pts;
    pts.reserve(static_cast<std::size_t>(std::max(m, 0)));
    for (int i = 0; i < m; ++i) {
        const double t = sweep * i / (m - 1);
        const double r = 50.0 * std::cos(3.0 * t);
        YdPoint p(r * std::cos(t), r * std::sin(t), 2.0 * std::sin(2.0 * t));
        if (noise > 0.0) {
            p[0] += jitter(rng);
            p[1] += jitter(rng);
            p[2] += jitter(rng);
        }
        pts.push_back(p);
    }
    return pts;
}

/// count points evenly spaced on the circle of the given radius about the origin in the xy
/// plane, starting on the x axis, counter-clockwise or clockwise; the first point is not
/// repeated at the end.
inline std::vector<YdPoint> CirclePoints(int count, double radius, bool counterClockwise = true) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < count; ++i) {
        double t = 2.0 * kPi * i / count;
        if (!counterClockwise) {
            t = -t;
        }
        pts.emplace_back(radius * std::cos(t), radius * std::sin(t), 0.0);
    }
    return pts;
}

/// The largest squared distance from the points to the curve as the approximation's search
/// measures a trial: point inversion from each point's own parameter, points whose inversion
/// fails skipped.
inline double SearchMaxSquaredError(const YdBSplineCurve& c, const std::vector<YdPoint>& pts) {
    double worst = 0.0;
    for (std::size_t i = 0; i < pts.size(); ++i) {
        double u0 = c.GetPointParam(static_cast<int>(i));
        double u = 0.0;
        YdPoint q;
        if (c.FindNearestPoint(pts[i], u, q, &u0)) {
            worst = std::max(worst, pts[i].SquareDistanceToPoint(q));
        }
    }
    return worst;
}

}  // namespace ydtest
