// SPDX-License-Identifier: MIT

#pragma once

// Internal (not installed): finiteness of points, the one test the factories and the
// least-squares fit apply to coordinates before they build anything from them.

#include <cmath>
#include <vector>

#include "YdNurbsLib/geometry/YdPoint.h"

namespace yd_detail {

/// True when x, y and z are all finite (no NaN, no infinity).
inline bool IsFinitePoint(const YdPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// True when every point of the list is finite; true for an empty list.
inline bool AllFinitePoints(const std::vector<YdPoint>& points) {
    for (const YdPoint& p : points) {
        if (!IsFinitePoint(p)) {
            return false;
        }
    }
    return true;
}

}  // namespace yd_detail
