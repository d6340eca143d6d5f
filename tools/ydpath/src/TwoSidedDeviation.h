// SPDX-License-Identifier: MIT

#pragma once

// How far a piece of smoothed path lies from its input, both ways round (see Deviation.h for
// what exactly is measured and how).

#include <algorithm>

namespace ydpath {

struct TwoSidedDeviation {
    /// Largest distance of a point of the smoothed path from its part of the input polyline.
    double pathToInput = 0.0;
    /// Largest distance of an input vertex from the smoothed path near it.
    double inputToPath = 0.0;

    /// The deviation: the larger of the two directions.
    double Larger() const { return std::max(pathToInput, inputToPath); }
    /// Takes the larger value of each direction.
    void Include(const TwoSidedDeviation& other) {
        pathToInput = std::max(pathToInput, other.pathToInput);
        inputToPath = std::max(inputToPath, other.inputToPath);
    }
};

}  // namespace ydpath
