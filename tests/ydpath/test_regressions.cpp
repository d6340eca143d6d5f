// SPDX-License-Identifier: MIT

// One test per defect found in the smoother: a sparse wave whose fit bulged between its points,
// an out-and-back pass measured against the wrong half, a fitted curve that looped, huge
// numbers in the input, and a walk step too small for the path.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "App.h"
#include "PathChecks.h"
#include "Smoother.h"
#include "Walk.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace {

namespace fs = std::filesystem;
using ydpath::ElementKind;
using ydpath::SmoothedPath;
using ydpath::SmoothOptions;

constexpr double kPi = 3.14159265358979323846;
constexpr double kTol = 0.01;

SmoothedPath Smooth(const std::vector<YdPoint>& pts) {
    SmoothOptions opt;
    opt.tolerance = kTol;
    return ydpath::SmoothPolyline(pts, opt);
}

// The polyline's own fit by the library, as one element answering for all of its points.
ydpath::Element PlainFit(const std::vector<YdPoint>& pts) {
    YdCurveFitFilter filter(pts);
    EXPECT_TRUE(filter.doFit(kTol * kTol));
    ydpath::Element e;
    e.kind = ElementKind::Curve;
    e.curve.reset(filter.getCurve());
    e.start = pts.front();
    e.end = pts.back();
    e.firstPoint = 0;
    e.lastPoint = static_cast<int>(pts.size()) - 1;
    return e;
}

// How much an element turns, summed over fine chords of it.
double Turning(const ydpath::Element& e) {
    const int n = 2000;
    double turning = 0.0;
    for (int i = 1; i < n; ++i) {
        const YdPoint a = ydtest::GeomAt(e, (i - 1.0) / n);
        const YdPoint b = ydtest::GeomAt(e, static_cast<double>(i) / n);
        const YdPoint c = ydtest::GeomAt(e, (i + 1.0) / n);
        turning += ydtest::Angle(ydtest::Diff(b, a), ydtest::Diff(c, b));
    }
    return turning;
}

double InputTurning(const std::vector<YdPoint>& p, int first, int last) {
    double turning = 0.0;
    for (int i = std::max(first, 1); i <= std::min(last, static_cast<int>(p.size()) - 2); ++i) {
        turning += ydtest::Angle(ydtest::Diff(p[i], p[i - 1]), ydtest::Diff(p[i + 1], p[i]));
    }
    return turning;
}

// A sine wave sampled every 0.8 along x: a fit through its points stays within the tolerance
// of every point but stands 0.0146 off the chords between them. It used to be accepted.
TEST(Regression, SparseWaveDoesNotBulgeBetweenItsPoints) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 16; ++i) {
        pts.emplace_back(0.8 * i, std::sin(2.0 * kPi * 0.8 * i / 12.0), 0.0);
    }
    SmoothedPath fit;
    fit.points = pts;
    fit.elements.push_back(PlainFit(pts));
    const ydtest::OracleResult bulge = ydtest::MeasureTwoSided(fit, ydtest::OracleStep(kTol));
    ASSERT_LE(bulge.inputToPath, kTol) << "the points are within the tolerance of the fit";
    ASSERT_GT(bulge.pathToInput, 1.4 * kTol) << "and the fit bulges between them";

    const SmoothedPath path = Smooth(pts);
    ydtest::ExpectWithinTolerance(path, kTol);
    EXPECT_EQ(ydtest::ExpectContinuous(path), 0);
    ASSERT_EQ(path.elements.size(), 1u) << "still one curve";
    EXPECT_EQ(path.elements[0].kind, ElementKind::Curve);
}

// A V-carve pass runs out and comes back 0.015 beside itself, turning by 176 degrees at the far
// end. Each half must stay near its own half of the input: near the other half is not enough.
TEST(Regression, OutAndBackPassStaysNearItsOwnHalf) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 60; ++i) {
        const double x = 0.05 * i;
        pts.emplace_back(x, 0.0, -0.2 * std::sin(x));
    }
    const YdPoint far = pts.back();
    const double back = 4.0 * kPi / 180.0;  // the return pass leaves at 176 degrees
    for (int i = 1; i <= 60; ++i) {
        const double s = 0.05 * i;
        const double y = std::min(0.015, s * std::tan(back));
        pts.emplace_back(far[0] - s, y, -0.2 * std::sin(far[0] - s));
    }
    const int turn = 60;
    const SmoothedPath path = Smooth(pts);
    ydtest::ExpectWithinTolerance(path, kTol);
    ydtest::ExpectContinuous(path);
    // Measured against its own half only, each element of the outgoing half stays within the
    // tolerance; the other half lies 0.015 away at most and would hide a drift towards it.
    for (const ydpath::Element& e : path.elements) {
        if (e.lastPoint > turn) {
            continue;
        }
        for (int k = 0; k <= 200; ++k) {
            const YdPoint p = ydtest::GeomAt(e, k / 200.0);
            double d = std::numeric_limits<double>::infinity();
            for (int i = 0; i < turn; ++i) {
                d = std::min(d, ydtest::SegDist(p, pts[i], pts[i + 1]));
            }
            EXPECT_LE(d, kTol * (1 + 1e-9)) << ydpath::KindName(e.kind) << " at t = " << k / 200.0;
        }
    }
}

// Three tiny segments that turn by 16 degrees, then a gentle bend of long ones: the library's
// fit of these points loops at the start, turning 180 degrees where the input turns 53.
std::vector<YdPoint> HookedBend() {
    const double lengths[] = {0.015, 0.05, 0.05, 0.85, 0.7, 0.5, 1.5, 0.9,
                              1.7,   1.5,  1.5,  1.4,  1.4, 1.3, 1.9, 0.6};
    const double headings[] = {125, 109, 108, 109, 111, 118, 119, 124,
                               126, 130, 132, 137, 137, 141, 143, 144};
    std::vector<YdPoint> pts{YdPoint(0, 0, 0)};
    for (int i = 0; i < 16; ++i) {
        const double a = headings[i] * kPi / 180.0;
        const YdPoint& q = pts.back();
        pts.emplace_back(q[0] + lengths[i] * std::cos(a), q[1] + lengths[i] * std::sin(a), 0.0);
    }
    return pts;
}

TEST(Regression, CurveThatWouldLoopIsNotAccepted) {
    const std::vector<YdPoint> pts = HookedBend();
    const double input = InputTurning(pts, 0, static_cast<int>(pts.size()) - 1);
    ASSERT_GT(Turning(PlainFit(pts)), input + kPi / 2) << "the plain fit loops";

    const SmoothedPath path = Smooth(pts);
    ydtest::ExpectWithinTolerance(path, kTol);
    EXPECT_EQ(ydtest::ExpectContinuous(path), 0);
    for (const ydpath::Element& e : path.elements) {
        EXPECT_LE(Turning(e), 1.5 * InputTurning(pts, e.firstPoint, e.lastPoint) + kPi / 6)
            << ydpath::KindName(e.kind) << " for input points " << e.firstPoint << "-"
            << e.lastPoint;
    }
}

// The error an input raises, or "" when it reads.
template <typename Read>
std::string ErrorOf(Read read, int* line) {
    try {
        read();
    } catch (const ydpath::InputError& e) {
        *line = e.line();
        return e.what();
    }
    return "";
}

std::string GcodeError(const std::string& text, int* line) {
    return ErrorOf(
        [&] {
            std::istringstream in(text);
            ydpath::ReadGcode(in, "big.ngc");
        },
        line);
}

std::string PointError(const std::string& text, int* line) {
    return ErrorOf(
        [&] {
            std::istringstream in(text);
            ydpath::ReadPointFile(in, "big.txt");
        },
        line);
}

TEST(Regression, HugeNumbersAreRefusedWithTheirLine) {
    int line = 0;
    // 320 digits do not fit a double.
    std::string err = GcodeError("G1 X1 Y1\nG1 X1" + std::string(319, '0') + " Y2\n", &line);
    EXPECT_EQ(line, 2);
    EXPECT_NE(err.find("big.ngc:2: number '1000"), std::string::npos) << err;
    EXPECT_NE(err.find("(320 characters)' after 'X' is out of range"), std::string::npos) << err;
    // 1e160 fits, but no machine reaches it and its square overflows.
    err = GcodeError("G1 X1\nY2\nZ1" + std::string(160, '0') + "\n", &line);
    EXPECT_EQ(line, 3);
    EXPECT_NE(err.find("big.ngc:3: coordinate 1e+160 mm is out of range"), std::string::npos)
        << err;
    err = GcodeError("G20\nG1 X1\nG91 X999999999\n", &line);
    EXPECT_EQ(line, 3) << "in inches and relative, the position is what counts";
    err = GcodeError("G99999999999 X1\n", &line);
    EXPECT_NE(err.find("unsupported G-code G1e+11"), std::string::npos) << err;
    err = PointError("1 2 3\n4 1e160 6\n", &line);
    EXPECT_EQ(line, 2);
    EXPECT_NE(err.find("big.txt:2: coordinate 1e+160 is out of range"), std::string::npos) << err;
    err = PointError("1 2 3\n4 5 1" + std::string(400, '0') + "\n", &line);
    EXPECT_EQ(line, 2);
    EXPECT_NE(err.find("is not finite"), std::string::npos) << err;
}

TEST(Regression, LargeButReachableCoordinatesAreSmoothed) {
    // A wave 1e8 from the origin: still far within what a double resolves to the tolerance.
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 200; ++i) {
        pts.emplace_back(1e8 + 0.25 * i, -1e8 + 3.0 * std::sin(0.02 * i), 5e7);
    }
    const SmoothedPath path = Smooth(pts);
    ydtest::ExpectWithinTolerance(path, kTol);
    EXPECT_EQ(ydtest::ExpectContinuous(path), 0);
}

// A path of 5000 mm, mostly curves.
ydpath::SmoothResult LongPath() {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 2000; ++i) {
        const double a = 2.0 * kPi * i / 2000.0;
        pts.emplace_back(795.0 * std::cos(a), 795.0 * std::sin(a), 0.0);
    }
    ydpath::SmoothResult result;
    result.paths.push_back(Smooth(pts));
    return result;
}

TEST(Regression, TinyWalkStepIsRefusedAtOnce) {
    const ydpath::SmoothResult result = LongPath();
    double length = 0.0;
    for (const ydpath::Element& e : result.paths[0].elements) {
        length += e.length;
    }
    ASSERT_GT(length, 4900.0);
    // Refused before a single step is taken (a walk of 5e12 points would run for hours).
    try {
        ydpath::WalkPaths(result, 1e-9);
        FAIL() << "a walk of 5e12 points was started";
    } catch (const std::invalid_argument& e) {
        EXPECT_NE(std::string(e.what()).find("choose a larger --walk step"), std::string::npos)
            << e.what();
    }
    EXPECT_THROW(ydpath::WalkPaths(result, std::nan("")), std::invalid_argument);
    EXPECT_THROW(ydpath::WalkPaths(result, -1.0), std::invalid_argument);
    EXPECT_THROW(ydpath::WalkPaths(result, HUGE_VAL), std::invalid_argument);
    // The limit itself is generous: a step of 0.01 mm walks this path.
    EXPECT_GT(ydpath::WalkPaths(result, 0.01).points.size(), 490000u);
}

TEST(Regression, TinyWalkStepWritesNothing) {
    const fs::path dir = ydtest::TempDir("tiny-walk");
    {
        std::ofstream f(dir / "line.txt");
        f << "0 0 0\n5000 0 0\n";
    }
    ydpath::AppOptions opt;
    opt.input = (dir / "line.txt").string();
    opt.outDir = (dir / "out").string();
    opt.walkStep = 1e-9;
    std::ostringstream summary;
    EXPECT_THROW(ydpath::RunApp(opt, summary, nullptr), std::invalid_argument);
    EXPECT_FALSE(fs::exists(dir / "out"));
    fs::remove_all(dir);
}

}  // namespace
