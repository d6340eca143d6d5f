// SPDX-License-Identifier: MIT

// The dense-sampling references of tests/support against answers known in closed form: the
// other tests trust them as their independent truth, so they are checked on their own here.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "YdDenseReference.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdTestCurves.h"

namespace {

using ydtest::kPi;

// A straight cubic from (0, 0, 0) to (3, 0, 0) with evenly spaced control points: C(u) is
// (3u, 0, 0) exactly on [0, 1].
YdBSplineCurve StraightCubic() {
    return ydtest::MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 0, 0), YdPoint(3, 0, 0)}, {}, 3);
}

}  // namespace

TEST(DenseReference, DenseMinimumTakesTheFirstOfEqualSamples) {
    const ydtest::Sample s =
        ydtest::DenseMinimum([](double x) { return (x - 0.25) * (x - 0.25); }, 0.0, 1.0, 8);
    EXPECT_EQ(s.x, 0.25);
    EXPECT_EQ(s.value, 0.0);
    // |x - 0.5| has its two smallest samples at 0.4 and 0.6 for n = 5: the first one wins.
    const ydtest::Sample t = ydtest::DenseMinimum(
        [](double x) { return std::fabs(std::fabs(x - 0.5) - 0.1); }, 0.0, 1.0, 5);
    EXPECT_NEAR(t.x, 0.4, 1e-15);
}

TEST(DenseReference, GoldenSectionFindsMinimaAndMaxima) {
    const double xMin = ydtest::GoldenSection([](double x) { return (x - 0.3) * (x - 0.3); }, 0.0,
                                              1.0, false, 1e-12);
    EXPECT_NEAR(xMin, 0.3, 1e-6);  // the value is flat to 1e-12 within 1e-6 of the minimum
    const double xMax =
        ydtest::GoldenSection([](double x) { return std::sin(x); }, 0.0, 3.0, true, 1e-12);
    EXPECT_NEAR(xMax, kPi / 2, 1e-6);
    // The width ends the search: a wide bracket after one round is still wide.
    const double rough = ydtest::GoldenSection([](double x) { return x; }, 0.0, 1.0, false, 0.0, 1);
    EXPECT_GT(rough, 0.1);
}

TEST(DenseReference, SampledExtremesOfASine) {
    const auto f = [](double x) { return std::sin(x); };
    const std::vector<double> maxima = ydtest::SampledExtremes(f, 0.0, 4.0 * kPi, 1000, true);
    const std::vector<double> minima = ydtest::SampledExtremes(f, 0.0, 4.0 * kPi, 1000, false);
    ASSERT_EQ(maxima.size(), 2u);
    ASSERT_EQ(minima.size(), 2u);
    EXPECT_NEAR(maxima[0], kPi / 2, 1e-6);
    EXPECT_NEAR(maxima[1], 5 * kPi / 2, 1e-6);
    EXPECT_NEAR(minima[0], 3 * kPi / 2, 1e-6);
    EXPECT_NEAR(minima[1], 7 * kPi / 2, 1e-6);
    // The ends are not interior extremes.
    EXPECT_TRUE(ydtest::SampledExtremes([](double x) { return x; }, 0.0, 1.0, 100, true).empty());
}

TEST(DenseReference, NearestPointOnAStraightCubicIsTheFoot) {
    const YdBSplineCurve c = StraightCubic();
    for (double x : {-1.0, 0.0, 0.7, 1.5, 2.999, 4.0}) {
        const YdPoint P(x, 2.0, -1.0);
        const ydtest::CurvePointNearest n = ydtest::DenseNearestPoint(c, P, 1000);
        const double foot = std::min(3.0, std::max(0.0, x));
        // The distance is flat to rounding within about 1e-8 of the foot (it rises with the
        // square of the offset), so the parameter is known to that and the distance exactly.
        EXPECT_NEAR(n.u, foot / 3.0, 1e-7) << "at x = " << x;
        EXPECT_NEAR(n.distance, std::hypot(x - foot, std::sqrt(5.0)), 1e-12) << "at x = " << x;
    }
}

TEST(DenseReference, MaxSquaredDistanceOfOffsetPoints) {
    const YdBSplineCurve c = StraightCubic();
    const std::vector<YdPoint> pts{YdPoint(0.5, 0.1, 0.0), YdPoint(1.2, 0.0, -0.3),
                                   YdPoint(2.9, 0.2, 0.0)};
    EXPECT_NEAR(ydtest::DenseMaxSquaredDistance(c, pts, 1.0, 2000), 0.09, 1e-15);
    // A point farther than the buckets reach has no sample near it.
    EXPECT_EQ(ydtest::DenseMaxSquaredDistance(c, {YdPoint(1.0, 5.0, 0.0)}, 1.0, 2000),
              std::numeric_limits<double>::infinity());
}
