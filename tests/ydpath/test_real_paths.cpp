// SPDX-License-Identifier: MIT

// The smoothing of every real tool path kept beside the project (skipped when they are absent):
// within the tolerance both ways round as the dense oracle measures it, continuous, sharp only
// at reversals, and never turning much more than the input.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "PathChecks.h"
#include "PathReader.h"
#include "Smoother.h"
#include "YdTestSupport.h"

namespace {

constexpr double kTol = 0.01;
constexpr double kPi = 3.14159265358979323846;

// How much an element turns, summed over fine chords of it.
double ElementTurning(const ydpath::Element& e) {
    if (e.kind == ydpath::ElementKind::Line) {
        return 0.0;
    }
    const int n = 400;
    double turning = 0.0;
    YdPoint a = ydtest::GeomAt(e, 0.0);
    YdPoint b = ydtest::GeomAt(e, 1.0 / n);
    for (int i = 2; i <= n; ++i) {
        const YdPoint c = ydtest::GeomAt(e, static_cast<double>(i) / n);
        if (ydtest::Dist(a, b) > 0.0 && ydtest::Dist(b, c) > 0.0) {
            turning += ydtest::Angle(ydtest::Diff(b, a), ydtest::Diff(c, b));
        }
        a = b;
        b = c;
    }
    return turning;
}

// How much the input turns at the vertices first..last.
double InputTurning(const std::vector<YdPoint>& p, int first, int last) {
    double turning = 0.0;
    for (int i = std::max(first, 1); i <= std::min(last, static_cast<int>(p.size()) - 2); ++i) {
        turning += ydtest::Angle(ydtest::Diff(p[i], p[i - 1]), ydtest::Diff(p[i + 1], p[i]));
    }
    return turning;
}

class RealPath : public ::testing::TestWithParam<std::string> {};

TEST_P(RealPath, SmoothedWithinToleranceBothWays) {
    const ydpath::InputProgram program = ydpath::ReadPathFile(GetParam());
    ASSERT_EQ(program.pieces.size(), 1u);
    std::vector<YdPoint> pts;
    for (const ydpath::Point3& p : program.pieces[0].points) {
        pts.emplace_back(p.x, p.y, p.z);
    }
    ydpath::SmoothOptions opt;
    opt.tolerance = kTol;
    const ydpath::SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
    ASSERT_FALSE(path.elements.empty());
    ydtest::ExpectWithinTolerance(path, kTol);
    ydtest::ExpectContinuous(path);
    for (const ydpath::Join& j : path.joins) {
        if (j.kind == ydpath::JoinKind::Stop) {
            EXPECT_GE(j.turnDegrees, 179.0) << "sharp stop at input point " << j.vertex;
        }
    }
    // No loops: an element turns at most half as much again as its part of the input, plus
    // 30 degrees.
    for (size_t k = 0; k < path.elements.size(); ++k) {
        const ydpath::Element& e = path.elements[k];
        const double input = InputTurning(pts, e.firstPoint, e.lastPoint);
        EXPECT_LE(ElementTurning(e), 1.5 * input + kPi / 6.0 + 1e-9)
            << "element " << k + 1 << " (" << ydpath::KindName(e.kind) << ", input points "
            << e.firstPoint << "-" << e.lastPoint << ")";
    }
}

std::string TestName(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = std::filesystem::path(info.param).stem().string();
    for (char& c : name) {
        if (!std::isalnum(static_cast<unsigned char>(c))) {
            c = '_';
        }
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Files, RealPath, ::testing::ValuesIn(ydtest::RealPathFiles()), TestName);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(RealPath);

TEST(RealPaths, AreBesideTheProject) {
    if (ydtest::RealPathFiles().empty()) {
        GTEST_SKIP() << "no real tool paths beside the project: their tests do not run";
    }
    EXPECT_GE(ydtest::RealPathFiles().size(), 100u);
}

}  // namespace
