// SPDX-License-Identifier: MIT

#pragma once

// The first stage of smoothing: cuts a polyline into runs. Runs of short segments that turn
// gently are to be fitted with curves (long ones cut into chunks, each chunk to leave with the
// previous one's end tangent); runs that are straight within half the tolerance, and every long
// segment, stay lines, and neighbouring lines that are collinear within half the tolerance are
// merged. Every vertex where two runs meet is a corner for the join stage.

#include <vector>

#include "SmoothOptions.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydpath {

struct Run {
    enum class Kind { Curve, Line };
    Kind kind = Kind::Line;
    int first = 0;  ///< first input vertex
    int last = 0;   ///< last input vertex (shared with the next run)
    /// A chunk of a longer curve run that is to leave with the previous chunk's end tangent.
    bool continuation = false;
};

/// The runs of the polyline through `points` (at least two), in order, covering every segment.
std::vector<Run> SegmentPolyline(const std::vector<YdPoint>& points, const SmoothOptions& options);

/// True when the vertices first..last lie within `limit` of the chord from first to last.
bool StraightWithin(const std::vector<YdPoint>& points, int first, int last, double limit);

}  // namespace ydpath
