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

/// Walks every path with the given step (a length > 0).
WalkResult WalkPaths(const SmoothResult& result, double step);

/// Writes the walk as a point file: "x y z" lines, paths separated by comment lines.
void WriteWalk(std::ostream& out, const WalkResult& walk, const std::string& unit);

}  // namespace ydpath
