#pragma once

// Shared helpers of the test programs: point comparison with a location in the message, and
// access to the real tool paths kept beside the project (absent in a user's clone).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

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

/// The folder of real tool paths, or "" when it is not there.
inline std::string RealPathsDir() {
#ifdef YDNURBS_REALPATHS_DIR
    std::ifstream probe(std::string(YDNURBS_REALPATHS_DIR) + "/README.md");
    if (probe.good()) {
        return YDNURBS_REALPATHS_DIR;
    }
#endif
    return "";
}

/// Every point file (*.txt) of the real tool paths, sorted by name; empty when the folder is
/// not there. Tests pick runs by position or by property, never by name.
inline std::vector<std::string> RealPathFiles() {
    std::vector<std::string> files;
    const std::string dir = RealPathsDir();
    if (dir.empty()) {
        return files;
    }
    std::error_code ec;
    for (const auto& entry : std::filesystem::directory_iterator(dir, ec)) {
        if (entry.is_regular_file() && entry.path().extension() == ".txt") {
            files.push_back(entry.path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// Reads an "x y z" point file; empty when it cannot be read.
inline std::vector<YdPoint> LoadPointFile(const std::string& path) {
    std::vector<YdPoint> pts;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream ls(line);
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        if (ls >> x >> y >> z) {
            pts.emplace_back(x, y, z);
        }
    }
    return pts;
}

}  // namespace ydtest
