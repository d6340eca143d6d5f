// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestCurves.h"
#include "YdTestSupport.h"

namespace {

using ydtest::PointsNear;

using ydtest::MakeCurve;
using ydtest::RandomCubic;

// A parameter away from every knot of c.
double NonKnot(std::mt19937& rng, const YdBSplineCurve& c) {
    std::uniform_real_distribution<double> unit(0.03, 0.97);
    for (;;) {
        const double u = unit(rng);
        bool clear = true;
        for (double k : c.KnotVec().GetKnots()) {
            clear = clear && std::fabs(k - u) > 1e-3;
        }
        if (clear) {
            return u;
        }
    }
}

// Largest distance between a(t) and the original at map(t) over many t in [0, 1].
template <typename Map>
double MaxDeviation(const YdBSplineCurve& piece, const YdBSplineCurve& original, Map map) {
    double worst = 0.0;
    for (int i = 0; i <= 400; ++i) {
        const double t = i / 400.0;
        worst = std::max(worst, (piece.Evaluate(t) - original.Evaluate(map(t))).Magnitude());
    }
    return worst;
}

void ExpectSameCurve(const YdBSplineCurve& a, const YdBSplineCurve& b) {
    EXPECT_EQ(a.Degree(), b.Degree());
    EXPECT_EQ(a.KnotVec().GetKnots(), b.KnotVec().GetKnots());
    ASSERT_EQ(a.GetNumOfCtrlPnts(), b.GetNumOfCtrlPnts());
    for (int i = 0; i < a.GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(PointsNear(a.CtrlPoints()[i], b.CtrlPoints()[i], 0.0)) << "point " << i;
    }
}

struct CurveList {
    std::vector<YdBSplineCurve*> curves;
    explicit CurveList(std::vector<YdBSplineCurve*> c) : curves(std::move(c)) {}
    ~CurveList() {
        for (YdBSplineCurve* c : curves) {
            delete c;
        }
    }
    CurveList(const CurveList&) = delete;
    CurveList& operator=(const CurveList&) = delete;
};

// ------------------------------------------------------------------------------------------
// Insertion

TEST(CurveInsertKnot, InsertThenRemoveRestoresControlPoints) {
    std::mt19937 rng(101);
    for (int trial = 0; trial < 8; ++trial) {
        const YdBSplineCurve original = RandomCubic(rng, 6 + trial);
        YdBSplineCurve c(original);
        const double u = NonKnot(rng, c);
        ASSERT_TRUE(c.InsertKnot(u, false)) << "trial " << trial << " at u = " << u;
        EXPECT_EQ(c.GetNumOfCtrlPnts(), original.GetNumOfCtrlPnts() + 1);
        ASSERT_TRUE(c.RemoveKnot(u, 1e-9)) << "trial " << trial << " at u = " << u;
        EXPECT_EQ(c.KnotVec().GetKnots(), original.KnotVec().GetKnots()) << "trial " << trial;
        ASSERT_EQ(c.GetNumOfCtrlPnts(), original.GetNumOfCtrlPnts());
        for (int i = 0; i < c.GetNumOfCtrlPnts(); ++i) {
            EXPECT_TRUE(PointsNear(c.CtrlPoints()[i], original.CtrlPoints()[i], 1e-12))
                << "trial " << trial << " point " << i;
        }
    }
}

TEST(CurveInsertKnot, NewKnotTakesThreeInsertionsThenIsRefused) {
    std::mt19937 rng(102);
    YdBSplineCurve c = RandomCubic(rng, 7);
    const double u = NonKnot(rng, c);
    const int n = c.GetNumOfCtrlPnts();
    EXPECT_TRUE(c.InsertKnot(u, false));
    EXPECT_TRUE(c.InsertKnot(u, true));
    EXPECT_TRUE(c.InsertKnot(u, true));
    EXPECT_FALSE(c.InsertKnot(u, true)) << "multiplicity 3 is the limit of a cubic";
    EXPECT_EQ(c.GetNumOfCtrlPnts(), n + 3);
    EXPECT_EQ(std::count(c.KnotVec().GetKnots().begin(), c.KnotVec().GetKnots().end(), u), 3);
    // At full multiplicity the curve passes through a control point.
    bool interpolated = false;
    for (const YdPoint& p : c.CtrlPoints()) {
        interpolated = interpolated || (p - c.Evaluate(u)).Magnitude() < 1e-12;
    }
    EXPECT_TRUE(interpolated);
}

TEST(CurveInsertKnot, EndsOfUnitRangeAreRefused) {
    std::mt19937 rng(103);
    YdBSplineCurve c = RandomCubic(rng, 6);
    const YdBSplineCurve before(c);
    EXPECT_FALSE(c.InsertKnot(0.0, true));
    EXPECT_FALSE(c.InsertKnot(1.0, true));
    EXPECT_FALSE(c.InsertKnot(-0.5, true));
    EXPECT_FALSE(c.InsertKnot(1.5, true));
    EXPECT_FALSE(c.InsertKnot(std::numeric_limits<double>::quiet_NaN(), true));
    ExpectSameCurve(c, before);
}

TEST(CurveInsertKnot, InsertionLeavesEveryPointInPlace) {
    std::mt19937 rng(104);
    for (int trial = 0; trial < 8; ++trial) {
        const YdBSplineCurve original = RandomCubic(rng, 5 + trial);
        YdBSplineCurve c(original);
        for (int k = 0; k < 4; ++k) {
            ASSERT_TRUE(c.InsertKnot(NonKnot(rng, c), true)) << "trial " << trial;
        }
        // Also an existing interior knot, when there is one.
        if (original.KnotVec().GetCount() > 8) {
            ASSERT_TRUE(c.InsertKnot(original.KnotVec().GetKnots()[4], true));
        }
        for (int i = 0; i <= 500; ++i) {
            const double u = i / 500.0;
            EXPECT_TRUE(PointsNear(c.Evaluate(u), original.Evaluate(u), 1e-12))
                << "trial " << trial << " at u = " << u;
        }
    }
}

TEST(CurveInsertKnot, ExistingKnotRefusedOnlyWhenExactlyEqual) {
    YdBSplineCurve c = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, -1, 1), YdPoint(3, 1, 0), YdPoint(4, 0, 2)},
        {0.4}, 3);
    EXPECT_FALSE(c.InsertKnot(0.4, false));
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 5);
    // 5e-8 above the knot is not "equal", but it snaps onto it.
    EXPECT_TRUE(c.InsertKnot(0.4 + 5e-8, false));
    const std::vector<double> expected = {0, 0, 0, 0, 0.4, 0.4, 1, 1, 1, 1};
    EXPECT_EQ(c.KnotVec().GetKnots(), expected);
    // 2e-7 away is a knot of its own.
    EXPECT_TRUE(c.InsertKnot(0.4 + 2e-7, false));
    EXPECT_EQ(c.KnotVec().GetKnots()[6], 0.4 + 2e-7);
}

TEST(CurveInsertKnot, ValueJustBelowAKnotDoesNotSnapOntoIt) {
    // The snap looks at the knots of u's own span and below: a knot 5e-8 above u is not one of
    // them, so u becomes a knot of its own.
    YdBSplineCurve c = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, -1, 1), YdPoint(3, 1, 0), YdPoint(4, 0, 2)},
        {0.4}, 3);
    const double u = 0.4 - 5e-8;
    ASSERT_TRUE(c.InsertKnot(u, false));
    const std::vector<double> expected = {0, 0, 0, 0, u, 0.4, 1, 1, 1, 1};
    EXPECT_EQ(c.KnotVec().GetKnots(), expected);
}

TEST(CurveInsertKnot, FitPointsAreLeftAsTheyAre) {
    std::unique_ptr<YdBSplineCurve> c(YdBSplineCurve::CreateInterpolateCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 1, 0), YdPoint(2, 0, 0), YdPoint(3, 1, 0), YdPoint(4, 0, 0)},
        false));
    ASSERT_NE(c, nullptr);
    const std::vector<double> params = c->GetPointsParams();
    const std::size_t fit = c->FitPoints().size();
    ASSERT_TRUE(c->InsertKnot(0.77, false));
    EXPECT_EQ(c->GetPointsParams(), params);
    EXPECT_EQ(c->FitPoints().size(), fit);
}

TEST(CurveInsertKnot, MalformedCurvesAreRefused) {
    YdBSplineCurve empty;
    EXPECT_FALSE(empty.InsertKnot(0.5, true));

    // Knot count one short of what four points of a cubic need.
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 1, 1, 1});
    YdBSplineCurve mismatch(
        kv, {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0), YdPoint(3, 0, 0)}, 3, false);
    EXPECT_FALSE(mismatch.InsertKnot(0.5, true));
    EXPECT_EQ(mismatch.GetNumOfCtrlPnts(), 4);

    // A knot range inside [0, 1] that does not hold u.
    kv.SetKnots({0, 0, 0, 0, 0.5, 0.5, 0.5, 0.5});
    YdBSplineCurve shortRange(
        kv, {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0), YdPoint(3, 0, 0)}, 3, false);
    EXPECT_FALSE(shortRange.InsertKnot(0.7, true));
    EXPECT_EQ(shortRange.KnotVec().GetCount(), 8);
}

TEST(CurveInsertKnot, WorksWithoutInteriorKnots) {
    const YdBSplineCurve bezier =
        MakeCurve({YdPoint(0, 0, 0), YdPoint(1, 3, 0), YdPoint(3, 3, 1), YdPoint(4, 0, 0)}, {}, 3);
    YdBSplineCurve c(bezier);
    ASSERT_TRUE(c.InsertKnot(0.3, false));
    for (int i = 0; i <= 100; ++i) {
        EXPECT_TRUE(PointsNear(c.Evaluate(i / 100.0), bezier.Evaluate(i / 100.0), 1e-12))
            << "at u = " << i / 100.0;
    }
}

// ------------------------------------------------------------------------------------------
// Removal

TEST(CurveRemoveKnot, DistanceEqualToToleranceIsAccepted) {
    // Dyadic knots and integer points: insertion and removal are exact, the removal distance
    // is exactly zero and a tolerance of zero accepts it (the test is tol >= distance).
    const YdBSplineCurve original = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(4, 8, 0), YdPoint(8, -4, 4), YdPoint(12, 4, 0)}, {0.5}, 2);
    YdBSplineCurve c(original);
    ASSERT_TRUE(c.InsertKnot(0.25, false));
    EXPECT_FALSE(c.RemoveKnot(0.25, -1e-300)) << "no distance is below a negative tolerance";
    ASSERT_TRUE(c.RemoveKnot(0.25, 0.0));
    ExpectSameCurve(c, original);
}

TEST(CurveRemoveKnot, ShapeChangeAboveToleranceIsRefusedAndCurveUnchanged) {
    std::mt19937 rng(111);
    YdBSplineCurve c = RandomCubic(rng, 9);
    const YdBSplineCurve before(c);
    const double knot = c.KnotVec().GetKnots()[5];
    EXPECT_FALSE(c.RemoveKnot(knot, 1e-6));
    ExpectSameCurve(c, before);
    // A generous tolerance lets it go, with the curve moved by less than that.
    ASSERT_TRUE(c.RemoveKnot(knot, 1e3));
    EXPECT_EQ(c.KnotVec().GetCount(), before.KnotVec().GetCount() - 1);
    EXPECT_EQ(c.GetNumOfCtrlPnts(), before.GetNumOfCtrlPnts() - 1);
}

TEST(CurveRemoveKnot, NotAKnotIsRefused) {
    std::mt19937 rng(112);
    YdBSplineCurve c = RandomCubic(rng, 8);
    const YdBSplineCurve before(c);
    EXPECT_FALSE(c.RemoveKnot(NonKnot(rng, c), 1e3));
    ExpectSameCurve(c, before);
}

TEST(CurveRemoveKnot, OutsideUnitIntervalIsRefused) {
    std::mt19937 rng(113);
    YdBSplineCurve c = RandomCubic(rng, 8);
    const YdBSplineCurve before(c);
    for (double u : {0.0, 1.0, -0.1, 1.1}) {
        EXPECT_FALSE(c.RemoveKnot(u, 1e3)) << "at u = " << u;
    }
    // Within 1e-5 of the start the value would match the clamped end knots: refused.
    EXPECT_FALSE(c.RemoveKnot(5e-6, 1e3));
    EXPECT_FALSE(c.RemoveKnot(std::numeric_limits<double>::quiet_NaN(), 1e3));
    EXPECT_FALSE(c.RemoveKnot(1.0 - 5e-6, 1e3));
    ExpectSameCurve(c, before);
}

TEST(CurveRemoveKnot, RemovesOneOccurrencePerCall) {
    std::mt19937 rng(114);
    const YdBSplineCurve original = RandomCubic(rng, 7);
    YdBSplineCurve c(original);
    const double u = NonKnot(rng, c);
    ASSERT_TRUE(c.InsertKnot(u, false));
    ASSERT_TRUE(c.InsertKnot(u, true));
    const auto count = [&c, u]() {
        return std::count(c.KnotVec().GetKnots().begin(), c.KnotVec().GetKnots().end(), u);
    };
    ASSERT_EQ(count(), 2);
    ASSERT_TRUE(c.RemoveKnot(u, 1e-9));
    EXPECT_EQ(count(), 1);
    ASSERT_TRUE(c.RemoveKnot(u, 1e-9));
    EXPECT_EQ(count(), 0);
    for (int i = 0; i <= 200; ++i) {
        EXPECT_TRUE(PointsNear(c.Evaluate(i / 200.0), original.Evaluate(i / 200.0), 1e-11))
            << "at u = " << i / 200.0;
    }
}

TEST(CurveRemoveKnot, MatchesKnotWithinLooseToleranceFromAboveOnly) {
    std::mt19937 rng(115);
    const YdBSplineCurve original = RandomCubic(rng, 7);
    const double u = NonKnot(rng, original);
    YdBSplineCurve c(original);
    ASSERT_TRUE(c.InsertKnot(u, false));
    // Just below the knot the span search lands in the span before it: no match.
    EXPECT_FALSE(c.RemoveKnot(u - 5e-6, 1e-9));
    // Just above, 1e-5 is loose enough to find it.
    ASSERT_TRUE(c.RemoveKnot(u + 5e-6, 1e-9));
    EXPECT_EQ(c.KnotVec().GetKnots(), original.KnotVec().GetKnots());
}

TEST(CurveRemoveKnot, MultiplicityCountsChainedMatchesFromOneAboveTheSpanStart) {
    // Four knots 3e-6 apart: looking from the last one, the loose 1e-5 match walks up through
    // the three knots at r - p + 1 .. r (each snap moving u onto the next), but never looks at
    // the knot at r - p. So s = 3: first = last = 4, the single test point is P[4] and it is
    // P[4] that goes, unchanged neighbours around it.
    std::vector<YdPoint> pts;
    for (int i = 0; i < 8; ++i) {
        pts.emplace_back(i, (i % 3) - 1.0, 0.25 * i * i);
    }
    YdBSplineCurve c = MakeCurve(pts, {0.5, 0.500003, 0.500006, 0.500009}, 3);
    std::vector<double> knots = c.KnotVec().GetKnots();
    ASSERT_TRUE(c.RemoveKnot(0.500009, 1e3));
    knots.erase(knots.begin() + 7);
    EXPECT_EQ(c.KnotVec().GetKnots(), knots);
    pts.erase(pts.begin() + 4);
    ASSERT_EQ(c.GetNumOfCtrlPnts(), 7);
    for (int i = 0; i < 7; ++i) {
        EXPECT_TRUE(PointsNear(c.CtrlPoints()[i], pts[static_cast<std::size_t>(i)], 0.0))
            << "control point " << i;
    }
}

TEST(CurveRemoveKnot, CurvesWithoutInteriorKnotsOrMalformed) {
    YdBSplineCurve bezier =
        MakeCurve({YdPoint(0, 0, 0), YdPoint(1, 3, 0), YdPoint(3, 3, 1), YdPoint(4, 0, 0)}, {}, 3);
    EXPECT_FALSE(bezier.RemoveKnot(0.5, 1e3));
    EXPECT_FALSE(bezier.RemoveKnot(1e-6, 1e3));
    EXPECT_EQ(bezier.GetNumOfCtrlPnts(), 4);

    YdBSplineCurve empty;
    EXPECT_FALSE(empty.RemoveKnot(0.5, 1e3));

    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 0.5, 1, 1, 1});
    YdBSplineCurve mismatch(
        kv, {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0), YdPoint(3, 0, 0)}, 3, false);
    EXPECT_FALSE(mismatch.RemoveKnot(0.5, 1e3));
    EXPECT_EQ(mismatch.KnotVec().GetCount(), 8);
}

// ------------------------------------------------------------------------------------------
// Split

TEST(CurveSplit, NonKnotGivesTwoOpenCubicsMeetingAtTheCurvePoint) {
    std::mt19937 rng(121);
    YdBSplineCurve c = RandomCubic(rng, 8);
    const double u = NonKnot(rng, c);
    const int n = c.GetNumOfCtrlPnts();
    const YdPoint at = c.Evaluate(u);
    CurveList parts(c.SplitCurve(u));
    ASSERT_EQ(parts.curves.size(), 2u);
    const YdBSplineCurve& left = *parts.curves[0];
    const YdBSplineCurve& right = *parts.curves[1];
    for (const YdBSplineCurve* piece : parts.curves) {
        EXPECT_EQ(piece->Degree(), 3);
        EXPECT_FALSE(piece->IsClosed());
        EXPECT_EQ(piece->startParam(), 0.0);
        EXPECT_EQ(piece->endParam(), 1.0);
        EXPECT_TRUE(piece->FitPoints().empty());
        EXPECT_EQ(piece->KnotVec().GetCount(), piece->GetNumOfCtrlPnts() + 4);
    }
    EXPECT_EQ(left.GetNumOfCtrlPnts() + right.GetNumOfCtrlPnts(), n + 3 + 1);
    EXPECT_TRUE(PointsNear(left.CtrlPoints().back(), right.CtrlPoints().front(), 0.0));
    EXPECT_TRUE(PointsNear(left.CtrlPoints().back(), at, 1e-12));
    // The original is untouched.
    EXPECT_EQ(c.GetNumOfCtrlPnts(), n);
}

TEST(CurveSplit, PiecesReproduceTheCurveAfterReparameterisation) {
    std::mt19937 rng(122);
    for (int trial = 0; trial < 8; ++trial) {
        YdBSplineCurve c = RandomCubic(rng, 5 + trial);
        // Alternate between a fresh value and an existing interior knot.
        const double u = (trial % 2 == 0 || c.KnotVec().GetCount() <= 8)
                             ? NonKnot(rng, c)
                             : c.KnotVec().GetKnots()[4];
        CurveList parts(c.SplitCurve(u));
        ASSERT_EQ(parts.curves.size(), 2u) << "trial " << trial;
        EXPECT_LT(MaxDeviation(*parts.curves[0], c, [u](double t) { return t * u; }), 1e-10)
            << "trial " << trial << " left of u = " << u;
        EXPECT_LT(MaxDeviation(*parts.curves[1], c, [u](double t) { return u + t * (1.0 - u); }),
                  1e-10)
            << "trial " << trial << " right of u = " << u;
    }
}

TEST(CurveSplit, KnotWithinTheToleranceBelowTheSplitValueIsDroppedFromBothPieces) {
    // 0.778 + 1e-7 lies less than 1e-7 above the knot 0.778 in double arithmetic, while
    // (0.778 + 1e-7) - 1e-7 rounds back onto 0.778: the knot counts as the split value itself
    // and belongs to neither piece, however the bound is rounded.
    const double knot = 0.778;
    const double u = knot + 1e-7;
    ASSERT_LT(std::fabs(knot - u), 1e-7);
    ASSERT_LE(knot, u - 1e-7);
    const YdBSplineCurve c = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, -1, 1), YdPoint(3, 1, 0), YdPoint(4, 0, 2)},
        {knot}, 3);
    YdBSplineCurve work(c);
    CurveList parts(work.SplitCurve(u));
    ASSERT_EQ(parts.curves.size(), 2u);
    const YdBSplineCurve& left = *parts.curves[0];
    const YdBSplineCurve& right = *parts.curves[1];
    const std::vector<double> bezier = {0, 0, 0, 0, 1, 1, 1, 1};
    EXPECT_EQ(left.KnotVec().GetKnots(), bezier);
    EXPECT_EQ(right.KnotVec().GetKnots(), bezier);
    ASSERT_EQ(left.GetNumOfCtrlPnts(), 4);
    ASSERT_EQ(right.GetNumOfCtrlPnts(), 4);
    EXPECT_TRUE(PointsNear(left.CtrlPoints().back(), right.CtrlPoints().front(), 0.0));
    // The pieces follow the curve up to the 1e-7 shift of the split point.
    EXPECT_LT(MaxDeviation(left, c, [u](double t) { return t * u; }), 1e-5);
    EXPECT_LT(MaxDeviation(right, c, [u](double t) { return u + t * (1.0 - u); }), 1e-5);
}

TEST(CurveSplit, KnotWithinTheToleranceAboveTheSplitValueIsDroppedFromBothPieces) {
    const double knot = 0.778;
    const double u = knot - 1e-7;
    ASSERT_LT(std::fabs(knot - u), 1e-7);
    ASSERT_GE(knot, u + 1e-7);
    const YdBSplineCurve c = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, -1, 1), YdPoint(3, 1, 0), YdPoint(4, 0, 2)},
        {knot}, 3);
    YdBSplineCurve work(c);
    CurveList parts(work.SplitCurve(u));
    ASSERT_EQ(parts.curves.size(), 2u);
    const YdBSplineCurve& left = *parts.curves[0];
    const YdBSplineCurve& right = *parts.curves[1];
    const std::vector<double> bezier = {0, 0, 0, 0, 1, 1, 1, 1};
    EXPECT_EQ(left.KnotVec().GetKnots(), bezier);
    EXPECT_EQ(right.KnotVec().GetKnots(), bezier);
    ASSERT_EQ(left.GetNumOfCtrlPnts(), 4);
    ASSERT_EQ(right.GetNumOfCtrlPnts(), 4);
    EXPECT_TRUE(PointsNear(left.CtrlPoints().back(), right.CtrlPoints().front(), 0.0));
    EXPECT_LT(MaxDeviation(left, c, [u](double t) { return t * u; }), 1e-5);
    EXPECT_LT(MaxDeviation(right, c, [u](double t) { return u + t * (1.0 - u); }), 1e-5);
}

TEST(CurveSplit, AtOrBeyondEndsGivesOneCopy) {
    std::mt19937 rng(123);
    YdBSplineCurve c = RandomCubic(rng, 7);
    for (double u : {0.0, 1.0, -0.5, 2.0, 5e-8, std::numeric_limits<double>::quiet_NaN()}) {
        CurveList parts(c.SplitCurve(u));
        ASSERT_EQ(parts.curves.size(), 1u) << "at u = " << u;
        ExpectSameCurve(*parts.curves[0], c);
        EXPECT_TRUE(parts.curves[0]->FitPoints().empty());
    }
}

TEST(CurveSplit, ClosedCurveGivesOpenPieces) {
    std::mt19937 rng(124);
    const YdBSplineCurve r = RandomCubic(rng, 7);
    YdBSplineCurve c(r.KnotVec(), r.CtrlPoints(), 3, true);
    CurveList parts(c.SplitCurve(0.5));
    ASSERT_EQ(parts.curves.size(), 2u);
    EXPECT_FALSE(parts.curves[0]->IsClosed());
    EXPECT_FALSE(parts.curves[1]->IsClosed());
    CurveList whole(c.SplitCurve(1.0));
    ASSERT_EQ(whole.curves.size(), 1u);
    EXPECT_TRUE(whole.curves[0]->IsClosed()) << "the one copy keeps the closed flag";
}

TEST(CurveSplit, CurveWithoutInteriorKnotsSplits) {
    YdBSplineCurve bezier =
        MakeCurve({YdPoint(0, 0, 0), YdPoint(1, 3, 0), YdPoint(3, 3, 1), YdPoint(4, 0, 0)}, {}, 3);
    CurveList parts(bezier.SplitCurve(0.5));
    ASSERT_EQ(parts.curves.size(), 2u);
    EXPECT_EQ(parts.curves[0]->GetNumOfCtrlPnts(), 4);
    EXPECT_EQ(parts.curves[1]->GetNumOfCtrlPnts(), 4);
    EXPECT_LT(MaxDeviation(*parts.curves[0], bezier, [](double t) { return 0.5 * t; }), 1e-12);
}

TEST(CurveSplit, MalformedCurveGivesOneCopy) {
    YdBSplineCurve empty;
    CurveList parts(empty.SplitCurve(0.5));
    ASSERT_EQ(parts.curves.size(), 1u);
    EXPECT_EQ(parts.curves[0]->GetNumOfCtrlPnts(), 0);
}

// ------------------------------------------------------------------------------------------
// Sub-curve

TEST(CurveExtract, FullRangeReproducesControlPointsAndKnots) {
    std::mt19937 rng(131);
    for (int n : {4, 6, 11}) {
        const YdBSplineCurve c = RandomCubic(rng, n);
        std::unique_ptr<YdBSplineCurve> piece(c.ExtractSubCurve(0.0, 1.0));
        ASSERT_NE(piece, nullptr) << n << " points";
        ExpectSameCurve(*piece, c);
        EXPECT_FALSE(piece->IsClosed());
        // Bounds beyond the range are clamped onto it.
        std::unique_ptr<YdBSplineCurve> clamped(c.ExtractSubCurve(-3.0, 7.0));
        ASSERT_NE(clamped, nullptr);
        ExpectSameCurve(*clamped, c);
    }
}

TEST(CurveExtract, PieceReproducesTheCurveOnItsRange) {
    std::mt19937 rng(132);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 10; ++trial) {
        const YdBSplineCurve c = RandomCubic(rng, 5 + trial);
        double a = unit(rng);
        double b = unit(rng);
        if (a > b) {
            std::swap(a, b);
        }
        if (trial == 3) {
            a = 0.0;
        }
        if (trial == 4) {
            b = 1.0;
        }
        if (trial == 5 && c.KnotVec().GetCount() > 9) {
            a = c.KnotVec().GetKnots()[4];
            b = c.KnotVec().GetKnots()[5];
        }
        std::unique_ptr<YdBSplineCurve> piece(c.ExtractSubCurve(a, b));
        ASSERT_NE(piece, nullptr) << "trial " << trial << " on [" << a << ", " << b << "]";
        EXPECT_EQ(piece->startParam(), 0.0);
        EXPECT_EQ(piece->endParam(), 1.0);
        EXPECT_EQ(piece->KnotVec().GetCount(), piece->GetNumOfCtrlPnts() + 4);
        EXPECT_LT(MaxDeviation(*piece, c, [a, b](double t) { return a + t * (b - a); }), 1e-10)
            << "trial " << trial << " on [" << a << ", " << b << "]";
    }
}

TEST(CurveExtract, ReversedOrEmptyRangeGivesNull) {
    std::mt19937 rng(133);
    const YdBSplineCurve c = RandomCubic(rng, 8);
    EXPECT_EQ(c.ExtractSubCurve(0.7, 0.2), nullptr);
    EXPECT_EQ(c.ExtractSubCurve(0.4, 0.4), nullptr);
    EXPECT_EQ(c.ExtractSubCurve(1.5, 2.0), nullptr) << "clamped to [1, 1]";
    EXPECT_EQ(c.ExtractSubCurve(std::numeric_limits<double>::quiet_NaN(), 0.5), nullptr);
}

TEST(CurveExtract, CurveWithoutInteriorKnots) {
    const YdBSplineCurve bezier =
        MakeCurve({YdPoint(0, 0, 0), YdPoint(1, 3, 0), YdPoint(3, 3, 1), YdPoint(4, 0, 0)}, {}, 3);
    std::unique_ptr<YdBSplineCurve> piece(bezier.ExtractSubCurve(0.25, 0.6));
    ASSERT_NE(piece, nullptr);
    EXPECT_EQ(piece->GetNumOfCtrlPnts(), 4);
    EXPECT_LT(MaxDeviation(*piece, bezier, [](double t) { return 0.25 + t * 0.35; }), 1e-12);
}

TEST(CurveExtract, BoundsCrowdingAKnotGiveNull) {
    // Both bounds within 1e-7 of the same knot: the second insertion snaps onto the knot and is
    // refused, and the counts no longer describe a piece. Null rather than a malformed curve.
    const YdBSplineCurve c = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(2, -1, 1), YdPoint(3, 1, 0), YdPoint(4, 0, 2)},
        {0.4}, 3);
    EXPECT_EQ(std::unique_ptr<YdBSplineCurve>(c.ExtractSubCurve(0.4 - 4e-8, 0.4 + 4e-8)), nullptr);
    // Within 1e-7 of the end of the range no interior knot lies above the lower bound.
    EXPECT_EQ(std::unique_ptr<YdBSplineCurve>(c.ExtractSubCurve(1.0 - 5e-8, 1.0)), nullptr);
    // The same at the start, below the upper bound.
    EXPECT_EQ(std::unique_ptr<YdBSplineCurve>(c.ExtractSubCurve(0.0, 5e-8)), nullptr);
}

TEST(CurveExtract, MalformedCurveGivesNull) {
    const YdBSplineCurve empty;
    EXPECT_EQ(empty.ExtractSubCurve(0.2, 0.8), nullptr);
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 1, 1, 1});
    const YdBSplineCurve mismatch(
        kv, {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0), YdPoint(3, 0, 0)}, 3, false);
    EXPECT_EQ(mismatch.ExtractSubCurve(0.2, 0.8), nullptr);
    EXPECT_EQ(empty.ExtractSubCurve(YdPoint(0, 0, 0), YdPoint(1, 1, 1)), nullptr);
}

TEST(CurveExtract, ByPointsBetweenTheirProjections) {
    std::mt19937 rng(134);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    const YdPoint p1 = c.Evaluate(0.2);
    const YdPoint p2 = c.Evaluate(0.7);
    std::unique_ptr<YdBSplineCurve> piece(c.ExtractSubCurve(p1, p2));
    ASSERT_NE(piece, nullptr);
    EXPECT_TRUE(PointsNear(piece->Evaluate(0.0), p1, 1e-6));
    EXPECT_TRUE(PointsNear(piece->Evaluate(1.0), p2, 1e-6));
    EXPECT_LT(MaxDeviation(*piece, c, [](double t) { return 0.2 + t * 0.5; }), 1e-5);
    // In the other order the first point projects beyond the second.
    EXPECT_EQ(c.ExtractSubCurve(p2, p1), nullptr);
}

}  // namespace
