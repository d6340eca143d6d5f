// SPDX-License-Identifier: MIT

#pragma once

// What the smoothing may do with a path, in the input's length unit.

#include <string>

namespace ydpath {

struct SmoothOptions {
    /// Largest deviation of the smoothed path from the input, either way round (a distance).
    double tolerance = 0.01;
    /// Largest distance of a rounded corner from the input corner (a distance, at most
    /// `tolerance`); 0 means `tolerance`.
    double cornerTolerance = 0.0;
    /// Longest segment that may be part of a fitted curve; longer ones stay lines.
    double maxSegment = 2.0;
    /// Largest turn (degrees) between two segments of a fitted run; sharper turns are corners.
    double maxTurnDegrees = 25.0;
    /// Shortest run (in points) fitted with a curve.
    int minCurvePoints = 5;
    /// Longest run (in points) fitted by a single curve; longer runs are chained.
    int maxCurvePoints = 150;

    /// The corner tolerance in effect.
    double cornerTol() const { return cornerTolerance > 0.0 ? cornerTolerance : tolerance; }
    /// Empty when the options make sense, else what is wrong with them.
    std::string Check() const;
};

}  // namespace ydpath
