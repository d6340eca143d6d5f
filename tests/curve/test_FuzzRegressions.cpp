// SPDX-License-Identifier: MIT

// Inputs the fuzz targets found that broke a documented result of the curve factories.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace {

using Curve = std::unique_ptr<YdBSplineCurve>;

std::string Describe(const std::vector<YdPoint>& pts) {
    std::string s;
    for (const YdPoint& p : pts) {
        s += "(" + std::to_string(p[0]) + ", " + std::to_string(p[1]) + ", " +
             std::to_string(p[2]) + ") ";
    }
    return s;
}

bool AllFinite(const std::vector<YdPoint>& pts) {
    for (const YdPoint& p : pts) {
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            return false;
        }
    }
    return true;
}

TEST(FuzzRegressions, MiddlePointRoundingOntoTheEndFallsBackToTwoPoints) {
    // p1 lies 5e-63 from p2: its chord-length parameter a / (a + b) rounds to exactly 1.
    const YdPoint p0(-29.5, 0.0, 23.25);
    const YdPoint p1(-4.861730685829017e-63, 0.0, 0.0);
    const YdPoint p2(0.0, 0.0, 0.0);
    const YdVector t0(1.0, 2.0, 0.0);
    const YdVector t2(0.0, 1.0, 3.0);
    Curve c(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p1, p2, t0, t2));
    Curve two(YdBSplineCurve::CreateByEndPointsAndTangents(p0, p2, t0, t2));
    ASSERT_NE(c, nullptr);
    ASSERT_TRUE(AllFinite(c->CtrlPoints())) << Describe(c->CtrlPoints());
    ASSERT_EQ(c->CtrlPoints().size(), two->CtrlPoints().size());
    for (std::size_t i = 0; i < two->CtrlPoints().size(); ++i) {
        EXPECT_EQ(c->CtrlPoints()[i].DistanceToPoint(two->CtrlPoints()[i]), 0.0)
            << "at control point " << i;
    }
    EXPECT_EQ(c->KnotVec().GetKnots(), two->KnotVec().GetKnots());
}

TEST(FuzzRegressions, MiddlePointCloseToAnEndStillGetsItsKnot) {
    // A ratio of 1e-12 leaves t inside (0, 1): the two-span curve through p1 is kept.
    const YdPoint p0(0.0, 0.0, 0.0);
    const YdPoint p1(30.0, 0.0, 0.0);
    const YdPoint p2(30.0, 3e-11, 0.0);
    Curve c(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p1, p2, YdVector(1, 0, 0),
                                                              YdVector(0, 1, 0)));
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 5);
    EXPECT_TRUE(AllFinite(c->CtrlPoints())) << Describe(c->CtrlPoints());
    const double t = c->KnotVec().GetKnots()[4];
    EXPECT_LT(t, 1.0);
    EXPECT_LT(c->Evaluate(t).DistanceToPoint(p1), 1e-6) << "at u = " << t;
}

TEST(FuzzRegressions, InterpolationOfRepeatedPointsIsNullNotNaN) {
    const YdPoint a(0, 0, 0), b(1, 0, 0), c(2, 1, 0), d(3, 0, 0), e(4, 2, 0);
    const std::vector<std::vector<YdPoint>> lists = {
        {a, b, b, c, d, e},
        {a, b, b, b, c, d, e},
        {a, b, c, d, e, e},
        {a, b, c, d, e, e, e},
        {a, b, c, d, e, a},
        {YdPoint(0, 0, 0), YdPoint(-17.5, 0.25, 0), YdPoint(-18.25, 2, -18.5),
         YdPoint(-10.5, -0.25, -0.24999999999999997), YdPoint(0, 0, 0)}};
    for (const std::vector<YdPoint>& pts : lists) {
        for (bool closed : {false, true}) {
            Curve curve(YdBSplineCurve::CreateInterpolateCurve(pts, closed));
            EXPECT_TRUE(curve == nullptr || AllFinite(curve->CtrlPoints()))
                << (closed ? "closed " : "open ") << Describe(pts);
        }
    }
    // The fuzz case: closed, the last point repeating the first.
    Curve closed(YdBSplineCurve::CreateInterpolateCurve(lists.back(), true));
    EXPECT_EQ(closed, nullptr) << "coincident parameters make the system singular";
}

TEST(FuzzRegressions, ApproximationOfEqualPointsIsNullAlsoWhenClosed) {
    for (int m = 3; m <= 8; ++m) {
        const std::vector<YdPoint> pts(static_cast<std::size_t>(m), YdPoint(2.0, -1.0, 0.5));
        for (bool closed : {false, true}) {
            Curve c(YdBSplineCurve::CreateApproximateCurve(pts, closed, 1e-4));
            EXPECT_EQ(c, nullptr) << m << " equal points, " << (closed ? "closed" : "open");
            Curve withIdx(YdBSplineCurve::CreateApproximateCurve(pts, {0, m - 1}, closed, 1e-4));
            EXPECT_EQ(withIdx, nullptr)
                << m << " equal points, interpolated ends, " << (closed ? "closed" : "open");
        }
    }
}

}  // namespace
