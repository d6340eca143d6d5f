#pragma once

// Curves that several test programs build: clamped curves from control points and interior
// knots, and random cubics on a random walk.

#include <algorithm>
#include <cstddef>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

namespace ydtest {

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

}  // namespace ydtest
