// SPDX-License-Identifier: MIT

#pragma once

// Shared helpers of the test programs: point comparison with a location in the message, and
// (through YdRealPaths.h) the real tool paths kept beside the project.

#include <gtest/gtest.h>

#include <cmath>

#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdRealPaths.h"

namespace ydtest {

/// Success when every coordinate of a and b differs by at most tol.
inline ::testing::AssertionResult PointsNear(const YdPoint& a, const YdPoint& b, double tol) {
    for (int i = 0; i < 3; ++i) {
        if (!(std::fabs(a[i] - b[i]) <= tol)) {
            return ::testing::AssertionFailure()
                   << "(" << a[0] << ", " << a[1] << ", " << a[2] << ") vs (" << b[0] << ", "
                   << b[1] << ", " << b[2] << ") differ in coordinate " << i << " by "
                   << std::fabs(a[i] - b[i]) << " > " << tol;
        }
    }
    return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult VectorsNear(const YdVector& a, const YdVector& b, double tol) {
    return PointsNear(YdPoint(a[0], a[1], a[2]), YdPoint(b[0], b[1], b[2]), tol);
}

}  // namespace ydtest
