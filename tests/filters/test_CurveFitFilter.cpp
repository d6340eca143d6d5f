// SPDX-License-Identifier: MIT

// The curve fit filter: its fields and copying, fitting with and without densifying, and the
// queries along the fitted curve (points, directions, radii, lengths, the parameter a given
// distance ahead). This program counts heap allocations to check that the queries a
// controller makes at every step allocate nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "YdAllocationCounter.h"
#include "YdDenseReference.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestAccess.h"
#include "YdTestCurves.h"
#include "YdTestSupport.h"

using Access = YdCurveFitFilterTestAccess;

namespace {

constexpr double kPi = 3.14159265358979323846;
const double kNaN = std::numeric_limits<double>::quiet_NaN();

using ydtest::RosePath;

// Points on an arc of the circle of radius r about the origin in the xy plane.
std::vector<YdPoint> ArcPoints(int m, double r, double sweep) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < m; ++i) {
        const double t = sweep * i / (m - 1);
        pts.emplace_back(r * std::cos(t), r * std::sin(t), 0.0);
    }
    return pts;
}

std::vector<YdPoint> LinePoints(const std::vector<double>& xs) {
    std::vector<YdPoint> pts;
    for (double x : xs) {
        pts.emplace_back(x, 0.0, 0.0);
    }
    return pts;
}

// Owns the curve a filter fitted, as the host would.
struct FittedFilter {
    YdCurveFitFilter filter;
    std::unique_ptr<YdBSplineCurve> owned;
    FittedFilter(const std::vector<YdPoint>& pts, double tol) : filter(pts) {
        if (filter.doFit(tol)) {
            owned.reset(filter.getCurve());
        }
    }
    YdBSplineCurve* curve() const { return owned.get(); }
};

YdVector FirstDerivative(const YdBSplineCurve& c, double u) {
    YdPoint pt;
    std::vector<YdVector> d;
    c.Evaluate(u, 1, pt, d);
    return d[0];
}

}  // namespace

// =============================================================================================
// Fields, construction and ownership

TEST(CurveFitFilter, EmptyFilterAnswersWithNeutralValues) {
    YdCurveFitFilter f;
    EXPECT_EQ(f.getCurve(), nullptr);
    EXPECT_FALSE(Access::Preprocess(f));
    EXPECT_TRUE(Access::Points(f).empty());
    EXPECT_TRUE(ydtest::PointsNear(f.getPoint(0.5), YdPoint(0, 0, 0), 0.0));
    EXPECT_TRUE(ydtest::VectorsNear(f.getDirection(0.5), YdVector(), 0.0));
    EXPECT_TRUE(ydtest::VectorsNear(f.getHeadDirection(), YdVector(), 0.0));
    EXPECT_TRUE(ydtest::VectorsNear(f.getTailDirection(), YdVector(), 0.0));
    EXPECT_EQ(f.getRadiusOfCurvature(0.5), -1.0);
    EXPECT_EQ(f.getRadiusOfCurvature(YdPoint(1, 2, 3)), -1.0);
    EXPECT_EQ(f.getCurveLength(0.0, 1.0, 1e-6), 0.0);
    double u = 42.0;
    YdPoint p(7, 7, 7);
    EXPECT_FALSE(f.interpolate(YdPoint(0, 0, 0), 1.0, true, u, p, 1e-6));
    EXPECT_FALSE(f.interpolateByTaylor1Order(0.0, 1.0, u));
    EXPECT_FALSE(f.interpolateByNewtonIter(0.0, 1.0, u, 1e-6));
    EXPECT_FALSE(f.interpolateByNewtonIterW(0.0, 1.0, u, p, 1e-6));
    EXPECT_EQ(u, 42.0);
    EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(7, 7, 7), 0.0));
    double next = 0.0;
    EXPECT_FALSE(Access::Step(nullptr, YdPoint(0, 0, 0), 0.0, 1.0, next));
    // No points: nothing to fit.
    EXPECT_FALSE(f.doFit(1e-4));
    EXPECT_EQ(f.getCurve(), nullptr);
}

TEST(CurveFitFilter, ConstructorsTakeThePointsAndTheDensifyFlag) {
    const std::vector<YdPoint> pts = RosePath(10);
    YdCurveFitFilter all(pts);
    EXPECT_FALSE(Access::Preprocess(all));
    EXPECT_EQ(Access::Points(all).size(), 10u);
    EXPECT_EQ(all.getCurve(), nullptr);

    YdCurveFitFilter first(pts, 4);
    EXPECT_TRUE(Access::Preprocess(first));
    ASSERT_EQ(Access::Points(first).size(), 4u);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(Access::Points(first)[i], pts[i], 0.0)) << "point " << i;
    }
    first.setPreprocess(false);
    EXPECT_FALSE(Access::Preprocess(first));
}

TEST(CurveFitFilter, CountBeyondTheVectorTakesItAllAndANegativeCountNone) {
    const std::vector<YdPoint> pts = RosePath(10);
    YdCurveFitFilter more(pts, 25);
    EXPECT_EQ(Access::Points(more).size(), 10u);
    YdCurveFitFilter none(pts, -3);
    EXPECT_TRUE(Access::Points(none).empty());
    YdCurveFitFilter zero(pts, 0);
    EXPECT_TRUE(Access::Points(zero).empty());
}

TEST(CurveFitFilter, CopiesShareTheCurveAndCopyTheMaps) {
    FittedFilter ff(RosePath(200), 1e-3);
    ASSERT_NE(ff.curve(), nullptr);
    Access::MaxMap(ff.filter)[0.25] = 3.0;
    Access::MinMap(ff.filter)[0.5] = 0.1;
    ff.filter.setPreprocess(true);
    {
        YdCurveFitFilter copy(ff.filter);
        EXPECT_EQ(copy.getCurve(), ff.curve());
        EXPECT_TRUE(Access::Preprocess(copy));
        EXPECT_EQ(Access::Points(copy).size(), 200u);
        EXPECT_EQ(Access::MaxMap(copy), Access::MaxMap(ff.filter));
        EXPECT_EQ(Access::MinMap(copy), Access::MinMap(ff.filter));

        YdCurveFitFilter assigned(RosePath(7));
        assigned = ff.filter;
        EXPECT_EQ(assigned.getCurve(), ff.curve());
        EXPECT_EQ(Access::Points(assigned).size(), 200u);
        EXPECT_EQ(Access::MaxMap(assigned), Access::MaxMap(ff.filter));
        // Self-assignment through a reference, as a host's generic code would reach it (and
        // as compilers do not flag it).
        const YdCurveFitFilter& same = assigned;
        assigned = same;
        EXPECT_EQ(assigned.getCurve(), ff.curve());
    }
    // Both copies are gone; the curve is still the host's and still usable.
    EXPECT_TRUE(ydtest::PointsNear(ff.curve()->Evaluate(0.0), RosePath(200).front(), 1e-9));
}

TEST(CurveFitFilter, SetCurveAndRefitNeverDeleteTheOldCurve) {
    const std::vector<YdPoint> pts = RosePath(100);
    std::unique_ptr<YdBSplineCurve> a(YdBSplineCurve::CreateApproximateCurve(pts, false, 1e-2));
    std::unique_ptr<YdBSplineCurve> b(YdBSplineCurve::CreateApproximateCurve(pts, false, 1e-3));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    {
        YdCurveFitFilter f(pts);
        Access::MaxMap(f)[0.5] = 1.0;
        f.setCurve(a.get());
        f.setCurve(b.get());
        EXPECT_EQ(f.getCurve(), b.get());
        EXPECT_EQ(Access::MaxMap(f).size(), 1u);
        // A refit replaces the pointer; the old curve stays with its owner.
        ASSERT_TRUE(f.doFit(1e-3));
        std::unique_ptr<YdBSplineCurve> fitted(f.getCurve());
        EXPECT_NE(fitted.get(), b.get());
        f.setCurve(nullptr);
    }
    // Both curves survived the filter (the sanitizer reports any double deletion).
    EXPECT_GT(a->GetNumOfCtrlPnts(), 0);
    EXPECT_GT(b->GetNumOfCtrlPnts(), 0);
}

// =============================================================================================
// Fitting and densifying

TEST(CurveFitFilter, DoFitWithoutDensifyingFitsThePointsAsGiven) {
    const std::vector<YdPoint> pts = RosePath(300);
    FittedFilter ff(pts, 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    EXPECT_EQ(Access::Points(ff.filter).size(), 300u);
    EXPECT_TRUE(ydtest::PointsNear(ff.curve()->Evaluate(0.0), pts.front(), 1e-9));
    EXPECT_TRUE(ydtest::PointsNear(ff.curve()->Evaluate(1.0), pts.back(), 1e-9));
    for (std::size_t i = 0; i < pts.size(); ++i) {
        double u0 = ff.curve()->GetPointParam(static_cast<int>(i));
        double u = 0.0;
        YdPoint q;
        ASSERT_TRUE(ff.curve()->FindNearestPoint(pts[i], u, q, &u0));
        EXPECT_LT(pts[i].SquareDistanceToPoint(q), 1e-4) << "point " << i;
    }
}

TEST(CurveFitFilter, DoFitReturnsTrueEvenWhenNoTrialMeetsTheTolerance) {
    FittedFilter ff(RosePath(60), 0.0);
    EXPECT_NE(ff.curve(), nullptr);
}

TEST(CurveFitFilter, DoFitWithDensifyingSplitsTheLongGap) {
    // Gaps 1, 1, 1, 5: average 2, limit 3, so the 5-long gap becomes ceil(5 / 2) = 3 pieces.
    YdCurveFitFilter f(LinePoints({0, 1, 2, 3, 8}), 5);
    ASSERT_TRUE(f.doFit(1e-6));
    std::unique_ptr<YdBSplineCurve> owned(f.getCurve());
    const std::vector<double> want = {0, 1, 2, 3, 3 + 5.0 / 3, 3 + 10.0 / 3, 8};
    const std::vector<YdPoint>& got = Access::Points(f);
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t i = 0; i < want.size(); ++i) {
        EXPECT_NEAR(got[i][0], want[i], 1e-12) << "point " << i;
        EXPECT_EQ(got[i][1], 0.0) << "point " << i;
    }
    EXPECT_EQ(owned->FitPoints().size(), 7u);
}

TEST(CurveFitFilter, DensifyingASinglePointLeavesNoPoints) {
    YdCurveFitFilter f(LinePoints({4}), 1);
    Access::Densify(f);
    EXPECT_TRUE(Access::Points(f).empty());
    YdCurveFitFilter empty(std::vector<YdPoint>(), 0);
    Access::Densify(empty);
    EXPECT_TRUE(Access::Points(empty).empty());
    EXPECT_FALSE(empty.doFit(1e-4));
}

TEST(CurveFitFilter, DensifyingEqualPointsKeepsThemWithoutDividingByZero) {
    const std::vector<YdPoint> same(6, YdPoint(1, 2, 3));
    YdCurveFitFilter f(same, 6);
    Access::Densify(f);
    ASSERT_EQ(Access::Points(f).size(), 6u);
    for (const YdPoint& p : Access::Points(f)) {
        EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(1, 2, 3), 0.0));
    }
    YdCurveFitFilter two(LinePoints({0, 5}), 2);
    Access::Densify(two);
    EXPECT_EQ(Access::Points(two).size(), 2u);
}

TEST(CurveFitFilter, DensifyingKeepsEveryPointAndEvensOutTheGaps) {
    const std::vector<double> xs = {0, 0.5, 0.7, 4.0, 4.2, 4.3, 9.0, 9.5, 9.6, 15.0, 15.1};
    const std::vector<YdPoint> pts = LinePoints(xs);
    YdCurveFitFilter f(pts, static_cast<int>(pts.size()));
    Access::Densify(f);
    const std::vector<YdPoint>& out = Access::Points(f);
    const double avg = 15.1 / 10;
    // Every original point is there, in order, and no gap is longer than 1.5 times the average.
    std::size_t next = 0;
    for (std::size_t i = 0; i < out.size(); ++i) {
        if (next < xs.size() && out[i][0] == xs[next]) {
            ++next;
        }
        if (i > 0) {
            EXPECT_GT(out[i][0], out[i - 1][0]) << "at " << i;
            EXPECT_LE(out[i][0] - out[i - 1][0], 1.5 * avg + 1e-12) << "at " << i;
        }
    }
    EXPECT_EQ(next, xs.size());
    EXPECT_LE(out.size(), 2 * pts.size());
}

TEST(CurveFitFilter, DensifyingKeepsTheHostAttributesOfTheGivenPoints) {
    std::vector<YdPoint> pts = LinePoints({0, 1, 2, 3, 8});
    for (std::size_t i = 0; i < pts.size(); ++i) {
        pts[i].m_nAttr1 = static_cast<int>(i) + 10;
    }
    YdCurveFitFilter f(pts, 5);
    Access::Densify(f);
    const std::vector<YdPoint>& out = Access::Points(f);
    ASSERT_EQ(out.size(), 7u);
    EXPECT_EQ(out[3].m_nAttr1, 13);
    EXPECT_EQ(out[6].m_nAttr1, 14);
    // The inserted points are computed ones.
    EXPECT_EQ(out[4].m_nAttr1, 0);
}

// =============================================================================================
// Queries

TEST(CurveFitFilter, PointAndDirectionFollowTheCurve) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    for (double u : {0.0, 0.1, 0.37, 0.5, 0.92, 1.0}) {
        EXPECT_TRUE(ydtest::PointsNear(ff.filter.getPoint(u), ff.curve()->Evaluate(u), 0.0))
            << "at u = " << u;
        const YdVector d = ff.filter.getDirection(u);
        EXPECT_NEAR(d.Magnitude(), 1.0, 1e-12) << "at u = " << u;
        YdVector want = FirstDerivative(*ff.curve(), u);
        want.Normalize();
        EXPECT_TRUE(ydtest::VectorsNear(d, want, 1e-15)) << "at u = " << u;
    }
    EXPECT_TRUE(
        ydtest::VectorsNear(ff.filter.getHeadDirection(), ff.filter.getDirection(0.0), 0.0));
    EXPECT_TRUE(
        ydtest::VectorsNear(ff.filter.getTailDirection(), ff.filter.getDirection(1.0), 0.0));
    for (double u : {-1e-9, 1.0 + 1e-9, kNaN}) {
        EXPECT_TRUE(ydtest::VectorsNear(ff.filter.getDirection(u), YdVector(), 0.0))
            << "at u = " << u;
    }
}

TEST(CurveFitFilter, RadiusOfCurvatureOfAnArcIsItsRadius) {
    FittedFilter ff(ArcPoints(200, 20.0, kPi), 1e-6);
    ASSERT_NE(ff.curve(), nullptr);
    for (double u : {0.2, 0.5, 0.8}) {
        EXPECT_NEAR(ff.filter.getRadiusOfCurvature(u), 20.0, 0.2) << "at u = " << u;
        EXPECT_EQ(ff.filter.getRadiusOfCurvature(u), ff.curve()->CalcRadiusOfCurvature(u))
            << "at u = " << u;
    }
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(-0.01), -1.0);
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(1.01), -1.0);
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(kNaN), -1.0);
}

TEST(CurveFitFilter, RadiusAtAPointOnlyWithinAThousandthOfTheCurve) {
    FittedFilter ff(ArcPoints(200, 20.0, kPi), 1e-6);
    ASSERT_NE(ff.curve(), nullptr);
    const YdPoint on = ff.curve()->Evaluate(0.4);
    // Outward from the arc's centre (the origin) is the normal direction of the curve.
    const double r = std::hypot(on[0], on[1]);
    auto offset = [&](double d) {
        return YdPoint(on[0] * (1 + d / r), on[1] * (1 + d / r), on[2]);
    };
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(offset(0.002)), -1.0);
    const YdPoint near = offset(0.0005);
    double u = 0.0;
    YdPoint q;
    ASSERT_TRUE(ff.curve()->FindNearestPoint(near, u, q, nullptr));
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(near), ff.filter.getRadiusOfCurvature(u));
    EXPECT_NEAR(ff.filter.getRadiusOfCurvature(near), 20.0, 0.2);
    EXPECT_EQ(ff.filter.getRadiusOfCurvature(YdPoint(kNaN, 0, 0)), -1.0);
}

TEST(CurveFitFilter, CurveLengthIsMeasuredOnlyToTheEndOfTheCurve) {
    FittedFilter ff(ArcPoints(300, 10.0, kPi / 2), 1e-6);
    ASSERT_NE(ff.curve(), nullptr);
    const double a = ff.curve()->startParam();
    const double b = ff.curve()->endParam();
    EXPECT_EQ(ff.filter.getCurveLength(a, (a + b) / 2, 1e-6), 0.0);
    const double full = ff.filter.getCurveLength(a, b, 1e-6);
    EXPECT_EQ(full, ff.curve()->Length(a, b, 1e-6));
    EXPECT_NEAR(full, 10.0 * kPi / 2, 1e-3);
    // From an inner parameter to the end is measured.
    EXPECT_NEAR(ff.filter.getCurveLength(0.5, b, 1e-6), ff.curve()->Length(0.5, b, true), 1e-4);
    EXPECT_EQ(ff.filter.getCurveLength(b, a, 1e-6), 0.0);
    EXPECT_EQ(ff.filter.getCurveLength(a, b, 0.0), 0.0);
    EXPECT_EQ(ff.filter.getCurveLength(a - 0.1, b, 1e-6), 0.0);
    EXPECT_EQ(ff.filter.getCurveLength(kNaN, b, 1e-6), 0.0);
    EXPECT_EQ(ff.filter.getCurveLength(a, kNaN, 1e-6), 0.0);
}

TEST(CurveFitFilter, InterpolateLocatesTheArcLengthStep) {
    FittedFilter ff(ArcPoints(300, 10.0, kPi), 1e-6);
    ASSERT_NE(ff.curve(), nullptr);
    const YdPoint from = ff.curve()->Evaluate(0.25);
    double u = 0.0;
    YdPoint p;
    ASSERT_TRUE(ff.filter.interpolate(from, 2.0, true, u, p, 1e-8));
    double uRef = 0.0;
    YdPoint pRef;
    ASSERT_TRUE(ff.curve()->locatePoint(from, 2.0, true, uRef, pRef, 1e-8));
    EXPECT_EQ(u, uRef);
    EXPECT_TRUE(ydtest::PointsNear(p, pRef, 0.0));
    EXPECT_NEAR(ff.curve()->Length(0.25, u, true), 2.0, 1e-5);

    double untouched = 9.0;
    EXPECT_FALSE(ff.filter.interpolate(from, -1.0, true, untouched, p, 1e-8));
    EXPECT_FALSE(ff.filter.interpolate(from, 1.0, true, untouched, p, 0.0));
    EXPECT_FALSE(ff.filter.interpolate(from, kNaN, true, untouched, p, 1e-8));
    EXPECT_FALSE(ff.filter.interpolate(from, 1.0, true, untouched, p, kNaN));
    EXPECT_EQ(untouched, 9.0);
}

TEST(CurveFitFilter, TaylorStepDividesTheDistanceByTheSpeed) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    double u = 0.0;
    ASSERT_TRUE(ff.filter.interpolateByTaylor1Order(0.3, 0.5, u));
    EXPECT_EQ(u, 0.3 + 0.5 / FirstDerivative(*ff.curve(), 0.3).Magnitude());
    // Not clamped to the range.
    ASSERT_TRUE(ff.filter.interpolateByTaylor1Order(1.0, 50.0, u));
    EXPECT_GT(u, 1.0);
    double untouched = 7.0;
    EXPECT_FALSE(ff.filter.interpolateByTaylor1Order(0.3, -0.1, untouched));
    EXPECT_FALSE(ff.filter.interpolateByTaylor1Order(0.3, kNaN, untouched));
    EXPECT_EQ(untouched, 7.0);
}

TEST(CurveFitFilter, NewtonStepMovesByMinusFOverItsDerivative) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    const YdPoint from = ff.curve()->Evaluate(0.2);
    const double u = 0.21;
    double next = 0.0;
    ASSERT_TRUE(Access::Step(ff.curve(), from, u, 0.25, next));
    YdPoint c;
    std::vector<YdVector> d;
    ff.curve()->Evaluate(u, 1, c, d);
    const double dx = c[0] - from[0];
    const double dy = c[1] - from[1];
    const double dz = c[2] - from[2];
    const double f = dx * dx + dy * dy + dz * dz - 0.25;
    const double df = 2 * dx * d[0][0] + 2 * dy * d[0][1] + 2 * dz * d[0][2];
    EXPECT_EQ(next, u - f / df);
}

TEST(CurveFitFilter, NewtonSearchLandsAtTheChordDistance) {
    FittedFilter ff(RosePath(1000), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    const double tol = 1e-6;
    int found = 0;
    int tried = 0;
    for (double u0 = 0.0; u0 < 0.98; u0 += 0.0137) {
        for (double d : {0.01, 0.1, 1.0, 3.0}) {
            ++tried;
            double u = -1.0;
            YdPoint p;
            if (!ff.filter.interpolateByNewtonIter(u0, d, u, tol)) {
                continue;
            }
            ++found;
            const YdPoint p0 = ff.curve()->Evaluate(u0);
            EXPECT_LE(std::fabs(p0.DistanceToPoint(ff.curve()->Evaluate(u)) - d), tol)
                << "from u0 = " << u0 << ", d = " << d;
            EXPECT_GE(u, u0) << "from u0 = " << u0 << ", d = " << d;
            double uw = -1.0;
            ASSERT_TRUE(ff.filter.interpolateByNewtonIterW(u0, d, uw, p, tol))
                << "from u0 = " << u0 << ", d = " << d;
            EXPECT_EQ(uw, u);
            EXPECT_TRUE(ydtest::PointsNear(p, ff.curve()->Evaluate(u), 0.0));
        }
    }
    // On a smooth curve far from its end every step converges.
    EXPECT_EQ(found, tried);
}

TEST(CurveFitFilter, WalkingTheCurveVisitsPointsAllTheStepApart) {
    FittedFilter ff(RosePath(1000), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    const double d = 0.5;
    const double tol = 1e-7;
    double u = ff.curve()->startParam();
    YdPoint prev = ff.curve()->Evaluate(u);
    int steps = 0;
    for (;;) {
        double next = 0.0;
        YdPoint p;
        if (!ff.filter.interpolateByNewtonIterW(u, d, next, p, tol)) {
            break;
        }
        ASSERT_GT(next, u) << "step " << steps;
        EXPECT_NEAR(prev.DistanceToPoint(p), d, tol) << "step " << steps << " at u = " << next;
        prev = p;
        u = next;
        ++steps;
        ASSERT_LT(steps, 100000);
    }
    // The walk stops only when less than one step is left to the end.
    const YdPoint end = ff.curve()->Evaluate(ff.curve()->endParam());
    EXPECT_LT(prev.DistanceToPoint(end), d + tol);
    const double length = ff.curve()->Length(0.0, 1.0, true);
    EXPECT_GE(steps, static_cast<int>(length / d) - 1);
}

TEST(CurveFitFilter, NewtonSearchFromTheEndFailsUnlessTheToleranceCoversTheDistance) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    const double b = ff.curve()->endParam();
    double u = 5.0;
    YdPoint p(1, 1, 1);
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(b, 0.5, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIterW(b, 0.5, u, p, 1e-6));
    EXPECT_EQ(u, 5.0);
    EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(1, 1, 1), 0.0));
    ASSERT_TRUE(ff.filter.interpolateByNewtonIter(b, 0.5, u, 0.5));
    EXPECT_EQ(u, b);
    ASSERT_TRUE(ff.filter.interpolateByNewtonIterW(b, 0.5, u, p, 0.5));
    EXPECT_EQ(u, b);
    EXPECT_TRUE(ydtest::PointsNear(p, ff.curve()->Evaluate(b), 0.0));
}

TEST(CurveFitFilter, NewtonSearchFromTheEndFailsJustBelowTheFullDistance) {
    // From the end every step is clamped back to the end, so the error stays the full
    // distance: a tolerance one ulp below it never succeeds, the distance itself at once.
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    const double b = ff.curve()->endParam();
    double u = 5.0;
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(b, 0.5, u, std::nextafter(0.5, 0.0)));
    EXPECT_EQ(u, 5.0);
    ASSERT_TRUE(ff.filter.interpolateByNewtonIter(b, 0.0, u, 0.0));
    EXPECT_EQ(u, b);
}

namespace {

// A U-shaped cubic: the chord distance from its start rises to a peak inside the curve and
// falls again towards its end.
std::unique_ptr<YdBSplineCurve> UCurve() {
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 1, 1, 1, 1});
    return std::make_unique<YdBSplineCurve>(
        kv,
        std::vector<YdPoint>{YdPoint(0, 0, 0), YdPoint(10, 0, 0), YdPoint(10, 10, 0),
                             YdPoint(0, 10, 0)},
        3, false);
}

}  // namespace

TEST(CurveFitFilter, NewtonSearchLetsAtMostTenStepsSucceed) {
    // Asking for exactly the peak chord distance makes |C(u) - C(0)|^2 - d^2 touch zero
    // without crossing it, so every Newton step only halves the way to the peak and the error
    // shrinks slowly. The search is replayed here step by step (start value, Newton step,
    // clamp into [u0, end]) to pick tolerances that the tenth or only the eleventh step meets.
    std::unique_ptr<YdBSplineCurve> c = UCurve();
    YdCurveFitFilter f;
    f.setCurve(c.get());
    const double u0 = 0.0;
    const YdPoint p0 = c->Evaluate(u0);
    // The peak of the chord distance, by golden-section search.
    const auto chord = [&c, &p0](double u) { return p0.DistanceToPoint(c->Evaluate(u)); };
    const double d = chord(ydtest::GoldenSection(chord, 0.5, 1.0, true, 1e-15));
    ASSERT_GT(d, 10.0);  // above the end's distance: the peak is inside

    double t = 0.0;
    ASSERT_TRUE(f.interpolateByTaylor1Order(u0, d, t));
    t = std::min(std::max(t, u0), 1.0);
    std::vector<double> us{t};
    std::vector<double> errs{std::fabs(p0.DistanceToPoint(c->Evaluate(t)) - d)};
    for (int k = 1; k <= 11; ++k) {
        double next = 0.0;
        ASSERT_TRUE(Access::Step(c.get(), p0, us.back(), d * d, next));
        next = std::min(std::max(next, u0), 1.0);
        us.push_back(next);
        errs.push_back(std::fabs(p0.DistanceToPoint(c->Evaluate(next)) - d));
        ASSERT_LT(errs[k], errs[k - 1]) << "the replayed error must fall at step " << k;
    }
    ASSERT_GT(errs[11], 0.0);

    // Met first by the eleventh step, whose error is not tested: the search fails.
    double u = -5.0;
    YdPoint p(7, 7, 7);
    EXPECT_FALSE(f.interpolateByNewtonIter(u0, d, u, errs[11]));
    EXPECT_FALSE(f.interpolateByNewtonIterW(u0, d, u, p, errs[11]));
    EXPECT_EQ(u, -5.0);
    EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(7, 7, 7), 0.0));
    // Met by the tenth step: success there.
    ASSERT_TRUE(f.interpolateByNewtonIter(u0, d, u, errs[10]));
    EXPECT_EQ(u, us[10]);
    ASSERT_TRUE(f.interpolateByNewtonIterW(u0, d, u, p, errs[10]));
    EXPECT_EQ(u, us[10]);
    EXPECT_TRUE(ydtest::PointsNear(p, c->Evaluate(us[10]), 0.0));
    // Met already by the start value: no step at all.
    ASSERT_TRUE(f.interpolateByNewtonIter(u0, d, u, errs[0]));
    EXPECT_EQ(u, us[0]);
}

namespace {

// The chord-distance search replayed from its description: first-order start value clamped
// into [a, b], then Newton steps clamped into [low, b], at most ten of them tested. Gives
// true and u on success; wentBelow tells whether some step, before its clamp, fell below u0.
bool ReplayNewton(const YdCurveFitFilter& f, YdBSplineCurve* c, double u0, double d, double tol,
                  double low, double& u, bool& wentBelow) {
    wentBelow = false;
    const double b = c->endParam();
    double t = 0.0;
    if (!f.interpolateByTaylor1Order(u0, d, t)) {
        return false;
    }
    t = std::min(std::max(t, c->startParam()), b);
    const YdPoint p0 = c->Evaluate(u0);
    for (int k = 0; k <= 10; ++k) {
        if (!(std::fabs(p0.DistanceToPoint(c->Evaluate(t)) - d) > tol)) {
            u = t;
            return true;
        }
        double next = 0.0;
        if (!Access::Step(c, p0, t, d * d, next)) {
            return false;
        }
        wentBelow = wentBelow || next < u0;
        t = std::min(std::max(next, low), b);
    }
    return false;
}

}  // namespace

TEST(CurveFitFilter, NewtonStepsAreClampedToTheStartParameter) {
    // A cubic that bends back towards its start: from u0 = 0.25 the second Newton step for the
    // chord distance 3 overshoots below u0. The filter's search clamps it to u0 (it never
    // searches behind the start) and goes on to the point ahead; a clamp to the whole range
    // would settle on the point behind u0 instead.
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 1, 1, 1, 1});
    YdBSplineCurve loop(
        kv, {YdPoint(0, 0, 0), YdPoint(10, 0, 0), YdPoint(10, 6, 0), YdPoint(1, 1, 0)}, 3, false);
    YdCurveFitFilter f;
    f.setCurve(&loop);
    const double u0 = 0.25;
    const double d = 3.0;
    const double tol = 1e-9;

    double wantU = -1.0;
    bool wentBelow = false;
    const bool want = ReplayNewton(f, &loop, u0, d, tol, u0, wantU, wentBelow);
    ASSERT_TRUE(wentBelow) << "a step must overshoot behind u0 for this test to mean much";
    ASSERT_TRUE(want);
    EXPECT_GT(wantU, u0);
    double wholeU = -1.0;
    ASSERT_TRUE(ReplayNewton(f, &loop, u0, d, tol, 0.0, wholeU, wentBelow));
    ASSERT_LT(wholeU, u0);

    double u = -1.0;
    ASSERT_TRUE(f.interpolateByNewtonIter(u0, d, u, tol));
    EXPECT_EQ(u, wantU);
    EXPECT_NEAR(loop.Evaluate(u0).DistanceToPoint(loop.Evaluate(u)), d, tol);
    double uw = -1.0;
    YdPoint p;
    ASSERT_TRUE(f.interpolateByNewtonIterW(u0, d, uw, p, tol));
    EXPECT_EQ(uw, wantU);
    EXPECT_TRUE(ydtest::PointsNear(p, loop.Evaluate(wantU), 0.0));
}

TEST(CurveFitFilter, NewtonSearchRefusesBadArguments) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    double u = 3.0;
    YdPoint p;
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(-0.1, 0.5, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(1.1, 0.5, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(kNaN, 0.5, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(0.5, -0.5, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(0.5, kNaN, u, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIter(0.5, 0.5, u, kNaN));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIterW(kNaN, 0.5, u, p, 1e-6));
    EXPECT_FALSE(ff.filter.interpolateByNewtonIterW(0.5, kNaN, u, p, 1e-6));
    EXPECT_EQ(u, 3.0);
    // A zero distance is reached where it starts.
    ASSERT_TRUE(ff.filter.interpolateByNewtonIter(0.5, 0.0, u, 1e-9));
    EXPECT_EQ(u, 0.5);
}

TEST(CurveFitFilter, NewtonSearchOnAPointCurveEndsWithoutNotANumber) {
    // A curve lying at one point has no speed: the Taylor start is 0 / 0 for a zero distance
    // and infinite otherwise.
    YdBSplineCurve point(YdPoint(1, 2, 3));
    YdCurveFitFilter f;
    f.setCurve(&point);
    double u = 0.25;
    EXPECT_TRUE(f.interpolateByNewtonIter(0.25, 0.0, u, 1e-9));
    EXPECT_EQ(u, 0.25);
    EXPECT_FALSE(f.interpolateByNewtonIter(0.25, 1.0, u, 1e-9));
    EXPECT_EQ(u, 0.25);
}

TEST(CurveFitFilter, StepQueriesAllocateNothing) {
    FittedFilter ff(RosePath(300), 1e-4);
    ASSERT_NE(ff.curve(), nullptr);
    double sink = 0.0;
    const long before = ydtest::g_allocationCount.load();
    for (double u = 0.0; u < 0.95; u += 0.05) {
        double next = 0.0;
        YdPoint p;
        ASSERT_TRUE(ff.filter.interpolateByNewtonIterW(u, 0.5, next, p, 1e-7)) << "at u = " << u;
        ASSERT_TRUE(ff.filter.interpolateByNewtonIter(u, 0.5, next, 1e-7)) << "at u = " << u;
        ASSERT_TRUE(ff.filter.interpolateByTaylor1Order(u, 0.5, next)) << "at u = " << u;
        sink += ff.filter.getPoint(u)[0] + ff.filter.getDirection(u)[1] +
                ff.filter.getHeadDirection()[0] + ff.filter.getTailDirection()[0] + next;
    }
    EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0);
    EXPECT_TRUE(std::isfinite(sink));
}

TEST(CurveFitFilter, RealToolPathsAreFittedAndWalked) {
    const std::vector<std::string> files = ydtest::RealPathFiles();
    if (files.empty()) {
        GTEST_SKIP() << "real tool paths not available";
    }
    // The first run (in name order) whose first 300 points fit within 1e-3: a smooth stretch
    // of a real path, walked as a controller would.
    std::unique_ptr<FittedFilter> found;
    for (const std::string& name : files) {
        std::vector<YdPoint> run = ydtest::LoadPointFile(name);
        if (run.size() < 50) {
            continue;
        }
        run.resize(std::min<std::size_t>(run.size(), 300));
        auto candidate = std::make_unique<FittedFilter>(run, 1e-3);
        if (candidate->curve() != nullptr &&
            ydtest::SearchMaxSquaredError(*candidate->curve(), run) < 1e-3) {
            found = std::move(candidate);
            break;
        }
    }
    ASSERT_NE(found, nullptr) << "no real run fits within 1e-3";
    FittedFilter& ff = *found;
    double u = 0.0;
    int steps = 0;
    YdPoint prev = ff.curve()->Evaluate(0.0);
    double next = 0.0;
    YdPoint p;
    while (ff.filter.interpolateByNewtonIterW(u, 0.2, next, p, 1e-6) && steps < 100000) {
        EXPECT_NEAR(prev.DistanceToPoint(p), 0.2, 1e-6) << "step " << steps;
        prev = p;
        u = next;
        ++steps;
    }
    EXPECT_GT(steps, 10);
}
