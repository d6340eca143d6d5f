// SPDX-License-Identifier: MIT

#pragma once

// A whole program after smoothing: one smoothed path per piece, in program order.

#include <vector>

#include "SmoothedPath.h"

namespace ydpath {

struct SmoothResult {
    std::vector<SmoothedPath> paths;
    /// The largest deviation of all paths, each way round.
    TwoSidedDeviation deviation;

    /// The larger of the two directions of `deviation`.
    double maxDeviation() const { return deviation.Larger(); }
    int count(ElementKind kind) const;
    /// Straight segments of the polyline pieces (programmed arcs are not counted).
    long segmentsIn() const;
    int stops() const;
};

}  // namespace ydpath
