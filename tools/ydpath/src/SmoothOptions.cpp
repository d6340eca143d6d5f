// SPDX-License-Identifier: MIT

#include "SmoothOptions.h"

#include <cmath>

namespace ydpath {

std::string SmoothOptions::Check() const {
    if (!(tolerance > 0.0) || !std::isfinite(tolerance)) {
        return "the tolerance must be a positive distance";
    }
    if (!(cornerTolerance >= 0.0) || !std::isfinite(cornerTolerance)) {
        return "the corner tolerance must be a positive distance";
    }
    if (cornerTolerance > tolerance) {
        // The whole path stays within the tolerance, rounded corners included.
        return "the corner tolerance cannot be larger than the tolerance";
    }
    if (!(maxSegment > 0.0) || !std::isfinite(maxSegment)) {
        return "the longest fitted segment must be a positive length";
    }
    if (!(maxTurnDegrees >= 0.0 && maxTurnDegrees < 180.0)) {
        return "the largest turn must lie in [0, 180) degrees";
    }
    if (minCurvePoints < 5) {
        return "a fitted run needs at least 5 points";
    }
    if (maxCurvePoints < minCurvePoints || maxCurvePoints > 500) {
        return "the longest fitted run must lie between the shortest one and 500 points";
    }
    return "";
}

}  // namespace ydpath
