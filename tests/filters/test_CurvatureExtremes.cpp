// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "YdAllocationCounter.h"
#include "YdDenseReference.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestAccess.h"
#include "YdTestSupport.h"

// The curvature searches evaluate thousands of curvatures per span; this program counts heap
// allocations to check that those evaluations allocate nothing.

using Bracket = std::pair<double, double>;
using BracketList = std::vector<Bracket>;

namespace {

using Access = YdCurveFitFilterTestAccess;
constexpr double kPi = 3.141592653589793;

// ---------------------------------------------------------------------------------------------
// Curves and an independent curvature oracle

// Curvature from the curve's derivatives, computed here: |C' x C''| / |C'|^3 (the cube by
// pow, as the library takes it, so that values compare exactly).
double Kappa(const YdBSplineCurve& c, double u) {
    YdPoint p;
    std::vector<YdVector> d;
    c.Evaluate(u, 2, p, d);
    const YdVector x = d[0] * d[1];
    return x.Magnitude() / std::pow(d[0].Magnitude(), 3.0);
}

std::unique_ptr<YdBSplineCurve> Ellipse(int n, double a, double b) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < n; ++i) {
        const double t = 2 * kPi * i / n;
        pts.emplace_back(a * std::cos(t), b * std::sin(t), 0.0);
    }
    return std::unique_ptr<YdBSplineCurve>(YdBSplineCurve::CreateInterpolateCurve(pts, true));
}

std::unique_ptr<YdBSplineCurve> Sine(int n, double xmax) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= n; ++i) {
        const double x = xmax * i / n;
        pts.emplace_back(x, std::sin(x), 0.1 * x);
    }
    return std::unique_ptr<YdBSplineCurve>(YdBSplineCurve::CreateInterpolateCurve(pts, false));
}

std::unique_ptr<YdBSplineCurve> FromKnots(const std::vector<double>& knots,
                                          const std::vector<YdPoint>& ctrl, int degree = 3) {
    YdKnotVec kv;
    kv.SetKnots(knots);
    return std::make_unique<YdBSplineCurve>(kv, ctrl, degree, false);
}

// A symmetric arch: one cubic span whose curvature peaks at u = 0.5.
std::unique_ptr<YdBSplineCurve> Arch(double a = 0.0, double b = 1.0) {
    return FromKnots({a, a, a, a, b, b, b, b},
                     {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, 2, 0), YdPoint(3, 0, 0)});
}

// A straight cubic along x with a linear parameterisation: curvature exactly 0 everywhere.
std::unique_ptr<YdBSplineCurve> StraightLine() {
    return FromKnots({0, 0, 0, 0, 0.5, 1, 1, 1, 1},
                     {YdPoint(0, 0, 0), YdPoint(0.5, 0, 0), YdPoint(1.5, 0, 0), YdPoint(2.5, 0, 0),
                      YdPoint(3, 0, 0)});
}

// The interior local extremes of curvature found by dense sampling and refined.
std::vector<double> DenseExtremes(const YdBSplineCurve& c, bool maximum, int n = 20000) {
    return ydtest::SampledExtremes([&c](double u) { return Kappa(c, u); }, c.startParam(),
                                   c.endParam(), n, maximum);
}

// The keys of a map, with keys closer than `merge` to the previous kept one dropped (one
// extreme bracketed by a span and by the interval around its knot is found twice).
std::vector<double> DistinctKeys(const std::map<double, double>& m, double merge) {
    std::vector<double> out;
    for (const auto& e : m) {
        if (out.empty() || e.first - out.back() > merge) {
            out.push_back(e.first);
        }
    }
    return out;
}

::testing::AssertionResult SameExtremes(const std::vector<double>& found,
                                        const std::vector<double>& truth, double tol) {
    for (double f : found) {
        double best = std::numeric_limits<double>::infinity();
        for (double t : truth) {
            best = std::min(best, std::fabs(f - t));
        }
        if (!(best <= tol)) {
            return ::testing::AssertionFailure()
                   << "found extreme at u = " << f << " is " << best << " from every true one";
        }
    }
    for (double t : truth) {
        double best = std::numeric_limits<double>::infinity();
        for (double f : found) {
            best = std::min(best, std::fabs(f - t));
        }
        if (!(best <= tol)) {
            return ::testing::AssertionFailure()
                   << "true extreme at u = " << t << " was not found (nearest " << best << ")";
        }
    }
    return ::testing::AssertionSuccess();
}

YdCurveFitFilter FilterOn(YdBSplineCurve* c) {
    YdCurveFitFilter f(std::vector<YdPoint>{});
    f.setCurve(c);
    return f;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Against dense sampling

TEST(CurvatureExtremes, ClosedEllipseMatchesDenseSampling) {
    auto c = Ellipse(48, 3.0, 1.5);
    ASSERT_NE(c, nullptr);
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    const std::vector<double> maxima = DenseExtremes(*c, true);
    const std::vector<double> minima = DenseExtremes(*c, false);
    ASSERT_FALSE(maxima.empty());
    ASSERT_EQ(minima.size(), 2u);
    EXPECT_TRUE(SameExtremes(DistinctKeys(f.getLocalMaxCurvatures(), 2e-6), maxima, 1e-6));
    EXPECT_TRUE(SameExtremes(DistinctKeys(f.getLocalMinCurvatures(), 2e-6), minima, 1e-6));
    // The ellipse's own shape: the flattest points are the ends of the minor axis (a quarter
    // and three quarters of the way round), the sharpest one is at the end of the major axis.
    EXPECT_NEAR(minima[0], 0.25, 1e-3);
    EXPECT_NEAR(minima[1], 0.75, 1e-3);
    double u = -1.0;
    double k = 0.0;
    ASSERT_TRUE(f.getMaxCurvature(u, k));
    EXPECT_NEAR(u, 0.5, 1e-3);
    // Near the true ellipse's a / b^2 and b / a^2 (interpolation with 48 points is within 3 %).
    EXPECT_NEAR(k, 3.0 / (1.5 * 1.5), 0.04);
    EXPECT_EQ(k, Kappa(*c, u));
    for (const auto& e : f.getLocalMinCurvatures()) {
        EXPECT_NEAR(e.second, 1.5 / (3.0 * 3.0), 0.002) << "at u = " << e.first;
    }
}

TEST(CurvatureExtremes, OpenSineMatchesDenseSampling) {
    auto c = Sine(30, 7.5);
    ASSERT_NE(c, nullptr);
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    const std::vector<double> maxima = DenseExtremes(*c, true);
    const std::vector<double> minima = DenseExtremes(*c, false);
    ASSERT_GE(maxima.size(), 2u);
    ASSERT_GE(minima.size(), 2u);
    EXPECT_TRUE(SameExtremes(DistinctKeys(f.getLocalMaxCurvatures(), 2e-6), maxima, 1e-6));
    EXPECT_TRUE(SameExtremes(DistinctKeys(f.getLocalMinCurvatures(), 2e-6), minima, 1e-6));
    for (const auto& e : f.getLocalMaxCurvatures()) {
        EXPECT_EQ(e.second, Kappa(*c, e.first)) << "at u = " << e.first;
    }
    for (const auto& e : f.getLocalMinCurvatures()) {
        EXPECT_EQ(e.second, Kappa(*c, e.first)) << "at u = " << e.first;
        EXPECT_LT(e.second, 1e-3) << "at u = " << e.first;  // the inflections
    }
}

TEST(CurvatureExtremes, DenserSineMatchesDenseSampling) {
    auto c = Sine(60, 12.0);
    ASSERT_NE(c, nullptr);
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    EXPECT_TRUE(
        SameExtremes(DistinctKeys(f.getLocalMaxCurvatures(), 2e-6), DenseExtremes(*c, true), 1e-6));
    EXPECT_TRUE(SameExtremes(DistinctKeys(f.getLocalMinCurvatures(), 2e-6),
                             DenseExtremes(*c, false), 1e-6));
}

TEST(CurvatureExtremes, FittedCurveExtremesAreTrueExtremes) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 200; ++i) {
        const double t = 2 * kPi * i / 200;
        pts.emplace_back(10 * std::cos(t) * std::cos(2 * t), 10 * std::sin(t) * std::cos(2 * t),
                         0.0);
    }
    std::unique_ptr<YdBSplineCurve> c(YdBSplineCurve::CreateApproximateCurve(pts, false, 1e-4));
    ASSERT_NE(c, nullptr);
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    ASSERT_FALSE(f.getLocalMaxCurvatures().empty());
    // Every reported maximum is a local maximum of the curvature: nothing nearby is larger.
    for (const auto& e : f.getLocalMaxCurvatures()) {
        for (double d : {1e-5, 1e-4}) {
            EXPECT_GE(e.second, Kappa(*c, e.first - d) - 1e-9) << "at u = " << e.first;
            EXPECT_GE(e.second, Kappa(*c, e.first + d) - 1e-9) << "at u = " << e.first;
        }
    }
    for (const auto& e : f.getLocalMinCurvatures()) {
        for (double d : {1e-5, 1e-4}) {
            EXPECT_LE(e.second, Kappa(*c, e.first - d) + 1e-9) << "at u = " << e.first;
            EXPECT_LE(e.second, Kappa(*c, e.first + d) + 1e-9) << "at u = " << e.first;
        }
    }
    // The global maximum is the largest local maximum, and as large as dense sampling finds
    // away from the two open ends.
    double u = -1.0;
    double k = 0.0;
    ASSERT_TRUE(f.getMaxCurvature(u, k));
    double dense = 0.0;
    for (double v : DenseExtremes(*c, true)) {
        dense = std::max(dense, Kappa(*c, v));
    }
    EXPECT_NEAR(k, dense, 1e-6 * dense);
}

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(CurvatureExtremes, SingleSpanCubicHasOneCandidateTheWholeRange) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    BracketList brackets;
    ASSERT_TRUE(Access::RoughMax(f, brackets));
    ASSERT_EQ(brackets.size(), 1u);
    EXPECT_EQ(brackets[0], Bracket(0.0, 1.0));
    ASSERT_TRUE(f.computeExtremeCurvatures());
    ASSERT_EQ(f.getLocalMaxCurvatures().size(), 1u);
    EXPECT_NEAR(f.getLocalMaxCurvatures().begin()->first, 0.5, 1e-6);
    // The arch's curvature only falls away from its middle: no minimum inside.
    EXPECT_TRUE(f.getLocalMinCurvatures().empty());
}

TEST(CurvatureExtremes, ConstantCurvatureYieldsNoEntries) {
    auto c = StraightLine();
    for (double u : {0.0, 0.1, 0.5, 0.77, 1.0}) {
        ASSERT_EQ(Kappa(*c, u), 0.0) << "at u = " << u;
    }
    YdCurveFitFilter f = FilterOn(c.get());
    BracketList brackets;
    ASSERT_TRUE(Access::RoughMax(f, brackets));
    EXPECT_TRUE(brackets.empty());
    ASSERT_TRUE(Access::RoughMin(f, brackets));
    EXPECT_TRUE(brackets.empty());
    EXPECT_TRUE(f.computeExtremeCurvatures());
    EXPECT_TRUE(f.getLocalMaxCurvatures().empty());
    EXPECT_TRUE(f.getLocalMinCurvatures().empty());
}

TEST(CurvatureExtremes, MaxCurvatureOfStraightLineIsZeroWithParameterUntouched) {
    auto c = StraightLine();
    YdCurveFitFilter f = FilterOn(c.get());
    double u = 123.0;
    double k = -7.0;
    EXPECT_TRUE(f.getMaxCurvature(u, k));
    EXPECT_EQ(k, 0.0);
    EXPECT_EQ(u, 123.0);
}

TEST(CurvatureExtremes, PeakAtAnInteriorKnotIsBracketedByTheIntervalAroundIt) {
    // The arch with a knot inserted at its peak: two spans, and the small interval of 5h = 5e-5
    // on either side of the knot between them. The curvature rises through the first span and
    // falls through the second, so neither span brackets the peak; only the interval does.
    auto c = FromKnots({0, 0, 0, 0, 0.5, 1, 1, 1, 1},
                       {YdPoint(0, 0, 0), YdPoint(0.5, 1, 0), YdPoint(1.5, 2, 0),
                        YdPoint(2.5, 1, 0), YdPoint(3, 0, 0)});
    auto arch = Arch();
    for (double u : {0.1, 0.3, 0.5, 0.7}) {
        ASSERT_NEAR(Kappa(*c, u), Kappa(*arch, u), 1e-12) << "the same curve, at u = " << u;
    }
    YdCurveFitFilter f = FilterOn(c.get());
    BracketList brackets;
    ASSERT_TRUE(Access::RoughMax(f, brackets));
    ASSERT_EQ(brackets.size(), 1u);
    const double h = 1e-5;
    EXPECT_EQ(brackets[0], Bracket(0.5 - 5 * h, 0.5 + 5 * h));
    ASSERT_TRUE(f.computeExtremeCurvatures());
    ASSERT_EQ(f.getLocalMaxCurvatures().size(), 1u);
    EXPECT_NEAR(f.getLocalMaxCurvatures().begin()->first, 0.5, 1e-6);
}

TEST(CurvatureExtremes, NoIntervalAroundTheEndOfTheCurve) {
    // The arch's left half as a single span: its curvature rises all the way to the end, and
    // the polynomial continued past the end is the arch's falling right half. An interval
    // around the end parameter would bracket that peak; the rough stage builds none there.
    auto c = FromKnots({0, 0, 0, 0, 1, 1, 1, 1}, {YdPoint(0, 0, 0), YdPoint(0.5, 1, 0),
                                                  YdPoint(1, 1.5, 0), YdPoint(1.5, 1.5, 0)});
    const double h = 1e-5;
    ASSERT_GT(Kappa(*c, 1 - 4 * h), Kappa(*c, 1 - 5 * h)) << "rises into the omitted interval";
    ASSERT_FALSE(Kappa(*c, 1 + 5 * h) > Kappa(*c, 1 + 4 * h)) << "falls out of it";
    YdCurveFitFilter f = FilterOn(c.get());
    BracketList brackets;
    ASSERT_TRUE(Access::RoughMax(f, brackets));
    EXPECT_TRUE(brackets.empty());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    EXPECT_TRUE(f.getLocalMaxCurvatures().empty());
}

TEST(CurvatureExtremes, GetMaxCurvatureKeepsTheFirstOfEqualPeaks) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    Access::MutableMaxMap(f) = {{0.4, 1.0}, {0.3, 5.0}, {0.2, 5.0}, {0.1, 2.0}};
    double u = -1.0;
    double k = -1.0;
    ASSERT_TRUE(f.getMaxCurvature(u, k));
    EXPECT_EQ(k, 5.0);
    EXPECT_EQ(u, 0.2);  // ascending parameter order, strictly greater only
    // A filled map is used as it stands (not recomputed): nothing above 0.0 leaves u alone.
    Access::MutableMaxMap(f) = {{0.1, 0.0}, {0.2, -3.0}};
    u = 9.0;
    ASSERT_TRUE(f.getMaxCurvature(u, k));
    EXPECT_EQ(k, 0.0);
    EXPECT_EQ(u, 9.0);
    EXPECT_EQ(Access::MaxMap(f).size(), 2u);
}

TEST(CurvatureExtremes, EverythingFailsWithoutACurve) {
    YdCurveFitFilter f(std::vector<YdPoint>{});
    EXPECT_FALSE(f.computeExtremeCurvatures());
    EXPECT_TRUE(f.getLocalMaxCurvatures().empty());
    EXPECT_TRUE(f.getLocalMinCurvatures().empty());
    double u = 1.0;
    double k = 2.0;
    EXPECT_FALSE(f.getMaxCurvature(u, k));
    EXPECT_EQ(u, 1.0);
    EXPECT_EQ(k, 2.0);
    BracketList b;
    EXPECT_FALSE(Access::RoughMax(f, b));
    EXPECT_FALSE(Access::RoughMin(f, b));
    EXPECT_FALSE(Access::ExactMax(f, {Bracket(0, 1)}));
    EXPECT_FALSE(Access::ExactMin(f, {Bracket(0, 1)}));
    Bracket r(5, 6);
    EXPECT_FALSE(Access::ShrinkMax(f, Bracket(0, 1), r, true));
    EXPECT_FALSE(Access::ShrinkMin(f, Bracket(0, 1), r, false));
    EXPECT_EQ(r, Bracket(5, 6));
}

TEST(CurvatureExtremes, GettersReturnTheMapsWithoutCurveUntouched) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(f.computeExtremeCurvatures());
    const std::map<double, double> before = f.getLocalMaxCurvatures();
    ASSERT_FALSE(before.empty());
    f.setCurve(nullptr);
    EXPECT_EQ(f.getLocalMaxCurvatures(), before);
    EXPECT_FALSE(f.computeExtremeCurvatures());
}

TEST(CurvatureExtremes, GettersComputeLazilyOnlyWhenEmpty) {
    auto arch = Arch();
    auto sine = Sine(30, 7.5);
    YdCurveFitFilter f = FilterOn(arch.get());
    // First use computes.
    const std::map<double, double> archMax = f.getLocalMaxCurvatures();
    ASSERT_EQ(archMax.size(), 1u);
    // A new curve does not clear the maps: the getter returns the old result.
    f.setCurve(sine.get());
    EXPECT_EQ(f.getLocalMaxCurvatures(), archMax);
    // The arch has no minimum, so the minimum getter computes on the new curve.
    EXPECT_FALSE(f.getLocalMinCurvatures().empty());
    // Refreshing recomputes both.
    ASSERT_TRUE(f.computeExtremeCurvatures());
    EXPECT_NE(f.getLocalMaxCurvatures(), archMax);
    EXPECT_GE(f.getLocalMaxCurvatures().size(), 2u);
}

TEST(CurvatureExtremes, GetMaxCurvaturePicksTheLargestEntry) {
    auto c = Sine(30, 7.5);
    YdCurveFitFilter f = FilterOn(c.get());
    double u = -1.0;
    double k = 0.0;
    ASSERT_TRUE(f.getMaxCurvature(u, k));
    double best = 0.0;
    double bestU = -2.0;
    for (const auto& e : f.getLocalMaxCurvatures()) {
        if (e.second > best) {
            best = e.second;
            bestU = e.first;
        }
    }
    EXPECT_EQ(k, best);
    EXPECT_EQ(u, bestU);
}

TEST(CurvatureExtremes, CurveWithoutUsableKnotsFails) {
    YdBSplineCurve empty;
    YdCurveFitFilter f = FilterOn(&empty);
    EXPECT_FALSE(f.computeExtremeCurvatures());
    double u = 0.0;
    double k = 0.0;
    EXPECT_FALSE(f.getMaxCurvature(u, k));

    auto nanKnot = FromKnots(
        {0, 0, 0, 0, std::nan(""), 1, 1, 1, 1},
        {YdPoint(0, 0, 0), YdPoint(1, 1, 0), YdPoint(2, 0, 0), YdPoint(3, 1, 0), YdPoint(4, 0, 0)});
    YdCurveFitFilter g = FilterOn(nanKnot.get());
    EXPECT_FALSE(g.computeExtremeCurvatures());
}

// ---------------------------------------------------------------------------------------------
// The exact stage

TEST(CurvatureExtremes, BracketNarrowerThanTheWidthRecordsItsMidpoint) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    const Bracket narrow(0.3, 0.3 + 5e-7);
    ASSERT_TRUE(Access::ExactMax(f, {narrow}));
    ASSERT_EQ(f.getLocalMaxCurvatures().size(), 1u);
    const double mid = (narrow.first + narrow.second) / 2;
    EXPECT_EQ(f.getLocalMaxCurvatures().begin()->first, mid);
    EXPECT_EQ(f.getLocalMaxCurvatures().begin()->second, Kappa(*c, mid));

    const Bracket exact(0.6, 0.6 + 1e-6);
    ASSERT_TRUE(Access::ExactMin(f, {exact, Bracket(0.2, 0.2)}));
    ASSERT_EQ(f.getLocalMinCurvatures().size(), 2u);
    EXPECT_EQ(f.getLocalMinCurvatures().count((exact.first + exact.second) / 2), 1u);
    EXPECT_EQ(f.getLocalMinCurvatures().count(0.2), 1u);
}

TEST(CurvatureExtremes, ExactStageNarrowsToTheMaximumAndKeepsTheFirstKey) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(Access::ExactMax(f, {Bracket(0.0, 1.0), Bracket(0.0, 1.0)}));
    ASSERT_EQ(f.getLocalMaxCurvatures().size(), 1u);  // the same key is inserted once
    EXPECT_NEAR(f.getLocalMaxCurvatures().begin()->first, 0.5, 1e-6);
    // The exact stage starts from a cleared map.
    ASSERT_TRUE(Access::ExactMax(f, {}));
    EXPECT_TRUE(Access::MaxMap(f).empty());
    ASSERT_TRUE(Access::ExactMin(f, {Bracket(0.1, 0.4)}));
    ASSERT_TRUE(Access::ExactMin(f, {}));
    EXPECT_TRUE(Access::MinMap(f).empty());
}

TEST(CurvatureExtremes, MinimumSearchFollowsAMonotoneCurvatureToTheLowEnd) {
    // On the arch's right half the curvature falls: a minimum search over it runs to the right
    // end, over the left half (curvature rising) to the left end.
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    ASSERT_TRUE(Access::ExactMin(f, {Bracket(0.6, 0.9), Bracket(0.1, 0.4)}));
    ASSERT_EQ(f.getLocalMinCurvatures().size(), 2u);
    EXPECT_NEAR(f.getLocalMinCurvatures().begin()->first, 0.1, 1e-6);
    EXPECT_NEAR(f.getLocalMinCurvatures().rbegin()->first, 0.9, 1e-6);
    ASSERT_TRUE(Access::ExactMax(f, {Bracket(0.6, 0.9), Bracket(0.1, 0.4)}));
    EXPECT_NEAR(f.getLocalMaxCurvatures().begin()->first, 0.4, 1e-6);
    EXPECT_NEAR(f.getLocalMaxCurvatures().rbegin()->first, 0.6, 1e-6);
}

// ---------------------------------------------------------------------------------------------
// The shrink walk

TEST(CurvatureExtremes, ShrinkWalkStopsJustPastTheTurn) {
    auto c = Sine(30, 7.5);
    const std::vector<double> minima = DenseExtremes(*c, false);
    ASSERT_GE(minima.size(), 2u);
    const double m = minima[1];
    YdCurveFitFilter f = FilterOn(c.get());
    // Around a minimum the curvature falls and then rises: the maximum walk stops at the
    // first rise, the first step past the minimum.
    Bracket r;
    ASSERT_TRUE(Access::ShrinkMax(f, Bracket(m - 0.01, m + 0.01), r, true));
    EXPECT_EQ(r.second, m + 0.01);
    EXPECT_GT(r.first, m - 1e-6);
    EXPECT_LT(r.first, m + 2e-5);
    ASSERT_TRUE(Access::ShrinkMax(f, Bracket(m - 0.01, m + 0.01), r, false));
    EXPECT_EQ(r.first, m - 0.01);
    EXPECT_LT(r.second, m + 1e-6);
    EXPECT_GT(r.second, m - 2e-5);

    const std::vector<double> maxima = DenseExtremes(*c, true);
    ASSERT_FALSE(maxima.empty());
    const double x = maxima[0];
    ASSERT_TRUE(Access::ShrinkMin(f, Bracket(x - 0.01, x + 0.01), r, true));
    EXPECT_GT(r.first, x - 1e-6);
    EXPECT_LT(r.first, x + 2e-5);
    ASSERT_TRUE(Access::ShrinkMin(f, Bracket(x - 0.01, x + 0.01), r, false));
    EXPECT_LT(r.second, x + 1e-6);
    EXPECT_GT(r.second, x - 2e-5);
}

TEST(CurvatureExtremes, ShrinkWalkWithoutTurnFailsAndLeavesTheResult) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    Bracket r(-1, -2);
    // Curvature falls monotonically on [0.6, 0.9]: no rise either way for the maximum walk
    // going forward, and no fall for the minimum walk going backward.
    EXPECT_FALSE(Access::ShrinkMax(f, Bracket(0.6, 0.9), r, true));
    EXPECT_FALSE(Access::ShrinkMin(f, Bracket(0.6, 0.9), r, false));
    EXPECT_EQ(r, Bracket(-1, -2));
    // An empty or reversed range runs no step.
    EXPECT_FALSE(Access::ShrinkMax(f, Bracket(0.5, 0.5), r, true));
    EXPECT_FALSE(Access::ShrinkMin(f, Bracket(0.9, 0.1), r, false));
    EXPECT_EQ(r, Bracket(-1, -2));
}

TEST(CurvatureExtremes, WalkAndNarrowingAllocateNothingPerEvaluation) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    const BracketList one = {Bracket(0.0, 1.0)};
    Bracket r;
    const long before = ydtest::g_allocationCount.load();
    // About 30000 curvature evaluations without a turn.
    EXPECT_FALSE(Access::ShrinkMax(f, Bracket(0.6, 0.9), r, true));
    EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0);
    const long mid = ydtest::g_allocationCount.load();
    ASSERT_TRUE(Access::ExactMax(f, one));
    // Only the map node of the one extreme found.
    EXPECT_LE(ydtest::g_allocationCount.load() - mid, 1);
    EXPECT_EQ(Access::MaxMap(f).size(), 1u);
}

TEST(CurvatureExtremes, KnotsFarFromZeroDoNotHang) {
    // At 1e12 the walk's 1e-5 step cannot move the parameter and a bracket cannot be narrowed
    // to 1e-6; both stop instead of looping.
    auto c = Arch(1e12, 1e12 + 1.0);
    YdCurveFitFilter f = FilterOn(c.get());
    EXPECT_TRUE(f.computeExtremeCurvatures());
    Bracket r(0, 0);
    EXPECT_FALSE(Access::ShrinkMax(f, Bracket(1e12, 1e12 + 0.5), r, true));
    EXPECT_FALSE(Access::ShrinkMin(f, Bracket(1e12, 1e12 + 0.5), r, false));
}

// ---------------------------------------------------------------------------------------------
// Extremes from a list

TEST(CurvatureExtremes, MaxFromExtremesIsStrictFromZero) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    double k = -1.0;
    double u = -1.0;
    EXPECT_FALSE(Access::FromExtremesMax(f, {}, k, u));
    EXPECT_EQ(k, -1.0);
    ASSERT_TRUE(Access::FromExtremesMax(f, {{0.1, 2.0}, {0.2, 5.0}, {0.3, 5.0}, {0.4, 1.0}}, k, u));
    EXPECT_EQ(k, 5.0);
    EXPECT_EQ(u, 0.2);  // the first of two equal values
    u = 9.0;
    ASSERT_TRUE(Access::FromExtremesMax(f, {{0.1, 0.0}, {0.2, -3.0}}, k, u));
    EXPECT_EQ(k, 0.0);
    EXPECT_EQ(u, 9.0);
}

TEST(CurvatureExtremes, MinFromExtremesStartsAtTheLargestFloat) {
    auto c = Arch();
    YdCurveFitFilter f = FilterOn(c.get());
    double k = -1.0;
    double u = -1.0;
    EXPECT_FALSE(Access::FromExtremesMin(f, {}, k, u));
    ASSERT_TRUE(Access::FromExtremesMin(f, {{0.1, 2.0}, {0.2, 0.5}, {0.3, 0.5}, {0.4, 1.0}}, k, u));
    EXPECT_EQ(k, 0.5);
    EXPECT_EQ(u, 0.2);
    u = 9.0;
    ASSERT_TRUE(Access::FromExtremesMin(f, {{0.1, 3.4028234663852886e+38}, {0.2, 1e39}}, k, u));
    EXPECT_EQ(k, 3.4028234663852886e+38);
    EXPECT_EQ(u, 9.0);
}
