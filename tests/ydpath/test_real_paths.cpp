// The smoothing on real tool paths kept beside the project (skipped when they are absent):
// the first run of each program family that is small enough for a sanitizer build.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "PathChecks.h"
#include "PathReader.h"
#include "Smoother.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> SmallRunPerFamily(size_t maxPoints) {
    std::vector<fs::path> files;
    const fs::path dir = YDNURBS_REALPATHS_DIR;
    if (!fs::exists(dir / "README.md")) {
        return files;
    }
    std::vector<fs::path> all;
    for (const fs::directory_entry& e : fs::directory_iterator(dir)) {
        if (e.path().extension() == ".txt") {
            all.push_back(e.path());
        }
    }
    std::sort(all.begin(), all.end());
    std::map<std::string, bool> taken;
    for (const fs::path& p : all) {
        const std::string name = p.filename().string();
        const std::string family = name.substr(0, name.rfind('_'));
        if (taken[family]) {
            continue;
        }
        std::ifstream in(p);
        const size_t lines = static_cast<size_t>(
            std::count(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>(), '\n'));
        if (lines <= maxPoints) {
            files.push_back(p);
            taken[family] = true;
        }
    }
    return files;
}

TEST(RealPaths, SmoothedWithinToleranceAndContinuous) {
    const std::vector<fs::path> files = SmallRunPerFamily(1500);
    if (files.empty()) {
        GTEST_SKIP() << "no real tool paths beside the project";
    }
    ydpath::SmoothOptions opt;
    opt.tolerance = 0.01;
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.filename().string());
        const ydpath::InputProgram program = ydpath::ReadPathFile(file.string());
        ASSERT_EQ(program.pieces.size(), 1u);
        std::vector<YdPoint> pts;
        for (const ydpath::Point3& p : program.pieces[0].points) {
            pts.emplace_back(p.x, p.y, p.z);
        }
        const ydpath::SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
        ASSERT_FALSE(path.elements.empty());
        int worst = -1;
        const double dev = ydtest::InputToPathDistance(path, &worst);
        EXPECT_LE(dev, opt.tolerance * (1 + 1e-9)) << "input point " << worst;
        EXPECT_LE(path.maxDeviation, opt.tolerance * (1 + 1e-9));
        ydtest::ExpectFittedCurvesWithin(path, opt.tolerance);
        const int stops = ydtest::ExpectContinuous(path);
        // Sharp stops are only for reversals.
        for (const ydpath::Join& j : path.joins) {
            if (j.how == "stop") {
                EXPECT_GE(j.turnDegrees, 179.0) << "at input point " << j.vertex;
            }
        }
        EXPECT_LE(stops, static_cast<int>(path.joins.size()));
    }
}

}  // namespace
