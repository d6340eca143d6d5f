// SPDX-License-Identifier: MIT

#pragma once

// The real tool paths kept beside the project (../shared/realpaths, absent in a user's clone):
// where they are, which files they are, and reading one. No test framework needed, so the
// benchmarks read them through this header too.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydtest {

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
