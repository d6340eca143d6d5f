// SPDX-License-Identifier: MIT

#pragma once

// One piece of a program after smoothing: its input polyline (or programmed arc), the elements
// that replace it, the joins between them and how far the result lies from the input.

#include <vector>

#include "Element.h"
#include "Join.h"
#include "TwoSidedDeviation.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydpath {

struct SmoothedPath {
    int pieceIndex = 0;
    bool programArc = false;
    int firstLine = 0;
    int lastLine = 0;
    std::vector<YdPoint> points;  ///< input vertices
    std::vector<int> lines;       ///< source line of each vertex
    std::vector<Element> elements;
    std::vector<Join> joins;
    double inputLength = 0.0;
    /// The largest deviation of its elements, each way round.
    TwoSidedDeviation deviation;

    /// The larger of the two directions of `deviation`.
    double maxDeviation() const { return deviation.Larger(); }
    int segmentsIn() const { return points.empty() ? 0 : static_cast<int>(points.size()) - 1; }
    int count(ElementKind kind) const;
    int count(JoinKind kind) const;
};

}  // namespace ydpath
