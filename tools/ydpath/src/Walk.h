// SPDX-License-Identifier: MIT

#pragma once

// Stepping along the smoothed path the way a controller interpolates it: a fixed distance per
// control cycle. Curves are stepped with the curve filter's distance-ahead search, rounded
// corners with the arc filter's own stepping, lines and programmed arcs directly.

#include <iosfwd>
#include <string>
#include <vector>

#include "Smoother.h"

namespace ydpath {

struct WalkPoint {
    YdPoint point;
    int path = 0;     ///< index into SmoothResult::paths
    int element = 0;  ///< index into that path's elements
};

struct WalkResult {
    double step = 0.0;
    std::vector<WalkPoint> points;
    /// Largest distance between a step's chord and the path it cuts short.
    double maxChordDeviation = 0.0;
    int maxChordPath = -1;
    int maxChordElement = -1;
    /// Steps where the chord-distance search failed and the arc-length search took over.
    int fallbacks = 0;
    /// Shortest and longest full step taken (the last step of an element may be shorter).
    double shortestStep = 0.0;
    double longestStep = 0.0;
};

/// The most points a walk may visit: a step far too small for the path (1e-9 over metres) is
/// refused rather than left to run for hours and fill the memory.
constexpr long kMaxWalkPoints = 2000000;

/// About how many points a walk of the path with this step visits (at least one per element).
double EstimateWalkPoints(const SmoothResult& result, double step);

/// Walks every path with the given step (a length > 0). Throws std::invalid_argument, naming
/// the problem, for a step that is not a positive finite length or that would visit more than
/// kMaxWalkPoints points.
WalkResult WalkPaths(const SmoothResult& result, double step);

/// Writes the walk as a point file: "x y z" lines, paths separated by comment lines.
void WriteWalk(std::ostream& out, const WalkResult& walk, const std::string& unit);

}  // namespace ydpath
