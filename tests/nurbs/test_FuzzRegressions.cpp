// SPDX-License-Identifier: MIT

// Inputs the fuzz targets found that broke a documented result of the knot placement rules.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

::testing::AssertionResult NonDecreasing(const std::vector<double>& k) {
    for (std::size_t i = 1; i < k.size(); ++i) {
        if (!(k[i - 1] <= k[i])) {
            return ::testing::AssertionFailure()
                   << "knot " << i << " = " << k[i] << " is below knot " << i - 1 << " = "
                   << k[i - 1] << " (difference " << k[i - 1] - k[i] << ")";
        }
    }
    return ::testing::AssertionSuccess();
}

// A closed path whose last point repeats its first: the closing chord is zero, and the
// accumulated parameter of the last point comes out one ulp above the final 1.
const std::vector<YdPoint> kClosedWithRepeatedStart = {
    YdPoint(0.0, 0.0, 0.0), YdPoint(-17.5, 0.25, 0.0), YdPoint(-18.25, 2.0, -18.5),
    YdPoint(-10.5, -0.25, -0.24999999999999997), YdPoint(0.0, 0.0, 0.0)};

TEST(FuzzRegressions, ChordParametersCanRoundAboveTheLastOne) {
    std::vector<double> params;
    YdNurbsHelper::Parameterize(kClosedWithRepeatedStart, true, params);
    ASSERT_EQ(params.size(), 6u);
    EXPECT_EQ(params[5], 1.0);
    EXPECT_GT(params[4], 1.0) << "the case below no longer exercises the clamp";
}

TEST(FuzzRegressions, ClosedInterpolationKnotsStayInOrder) {
    std::vector<double> params;
    YdNurbsHelper::Parameterize(kClosedWithRepeatedStart, true, params);
    for (int p = 1; p <= 3; ++p) {
        YdKnotVec kv;
        kv.InterpolateFix(params, p, true);
        ASSERT_EQ(kv.GetCount(), 6 + 2 * p) << "at p = " << p;
        EXPECT_TRUE(NonDecreasing(kv.GetKnots())) << "at p = " << p;
        EXPECT_EQ(kv.GetKnots()[static_cast<std::size_t>(4 + p)], 1.0)
            << "the parameter above 1 is clamped onto the back knot, at p = " << p;
    }
}

TEST(FuzzRegressions, OpenInterpolationKnotsStayInOrder) {
    // Parameters as a path ending in repeated points gives them: the averages of the last
    // interior knots run a few ulps above the back knot.
    const std::vector<double> params = {
        0.0, 0.25, 0.5, 1.0000000000000002, 1.0000000000000002, 1.0000000000000002, 1.0};
    for (int p = 1; p <= 3; ++p) {
        YdKnotVec open;
        open.InterpolateFix(params, p, false);
        EXPECT_EQ(open.GetCount(), 7 + p + 1) << "at p = " << p;
        EXPECT_TRUE(NonDecreasing(open.GetKnots())) << "open, at p = " << p;
        for (std::vector<int> ends :
             {std::vector<int>{0}, std::vector<int>{6}, std::vector<int>{0, 6}}) {
            YdKnotVec constrained;
            constrained.InterpolateFix(params, p, ends);
            EXPECT_TRUE(NonDecreasing(constrained.GetKnots()))
                << "with " << ends.size() << " end derivatives (first at " << ends[0]
                << "), at p = " << p;
        }
    }
}

TEST(FuzzRegressions, OrderedParametersAreNeverClamped) {
    const std::vector<double> params = {0.0, 0.1, 0.3, 0.35, 0.6, 0.9, 1.0};
    YdKnotVec kv;
    kv.InterpolateFix(params, 3, false);
    const std::vector<double> want = {
        0.0, 0.0, 0.0, 0.0, (0.1 + 0.3 + 0.35) / 3, (0.3 + 0.35 + 0.6) / 3, (0.35 + 0.6 + 0.9) / 3,
        1.0, 1.0, 1.0, 1.0};
    ASSERT_EQ(kv.GetKnots().size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        EXPECT_EQ(kv.GetKnots()[i], want[i]) << "at knot " << i;
    }
}

TEST(FuzzRegressions, ApproximationKnotsOfRepeatedParametersStayInOrder) {
    // Eight repeated points: the groups hold two and three copies of 0.7, whose means are
    // rounded by different divisors (the mean of three copies is one ulp below 0.7).
    std::vector<double> params = {0.0};
    params.insert(params.end(), 8, 0.7);
    params.push_back(1.0);
    YdKnotVec kv;
    kv.ApproximateFix(params, 4, 1);
    const std::vector<double> want = {0.0, 0.0, 0.7, 0.7, 1.0, 1.0};
    ASSERT_EQ(kv.GetKnots().size(), want.size());
    EXPECT_TRUE(NonDecreasing(kv.GetKnots()));
    for (std::size_t i = 0; i < want.size(); ++i) {
        EXPECT_EQ(kv.GetKnots()[i], want[i]) << "at knot " << i;
    }
}

}  // namespace
