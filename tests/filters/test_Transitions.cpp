// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestAccess.h"
#include "YdTestSupport.h"

namespace {

using Access = YdCurveFitFilterTestAccess;
using CurvePtr = std::unique_ptr<YdBSplineCurve>;

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

CurvePtr Bezier(const std::vector<YdPoint>& ctrl) {
    return CurvePtr(new YdBSplineCurve(Knots({0, 0, 0, 0, 1, 1, 1, 1}), ctrl, 3, false));
}

// A two-span cubic from (10, 2, 0) that heads right and up and then bends.
CurvePtr CurveFromTenTwo() {
    std::vector<YdPoint> ctrl{YdPoint(10, 2, 0), YdPoint(12, 3, 0), YdPoint(14, 3, 0),
                              YdPoint(16, 2, 0), YdPoint(17, 0, 1)};
    return CurvePtr(new YdBSplineCurve(Knots({0, 0, 0, 0, 0.5, 1, 1, 1, 1}), ctrl, 3, false));
}

YdVector Derivative(const YdBSplineCurve& c, double u) {
    YdPoint p;
    std::vector<YdVector> d;
    c.Evaluate(u, 1, p, d);
    return d.at(0);
}

YdVector Unit(const YdVector& v) {
    const double m = v.Magnitude();
    return YdVector(v[0] / m, v[1] / m, v[2] / m);
}

bool AllFinite(const YdBSplineCurve& c) {
    for (const YdPoint& p : c.CtrlPoints()) {
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            return false;
        }
    }
    return true;
}

void ExpectSameCurve(const YdBSplineCurve& a, const YdBSplineCurve& b, double tol) {
    for (int i = 0; i <= 50; ++i) {
        const double u = i / 50.0;
        EXPECT_TRUE(ydtest::PointsNear(a.Evaluate(u), b.Evaluate(u), tol)) << "at u = " << u;
    }
}

// Sentinels so that a test can see whether an out-parameter was written.
const YdPoint kUnset(-999, -999, -999);
YdBSplineCurve* const kUnsetCurve = reinterpret_cast<YdBSplineCurve*>(0x1);

// The outcome of one line-and-curve join, owning the curves it handed out. The new segment
// ends start as kUnset, so a test can see that they were written.
struct LineCurveJoin {
    bool ok = false;
    YdPoint start = kUnset;
    YdPoint end = kUnset;
    CurvePtr transition;
    CurvePtr rest;
};

LineCurveJoin JoinLineAndCurve(const YdPoint& a, const YdPoint& b, YdBSplineCurve* c,
                               double tolerance) {
    LineCurveJoin j;
    YdBSplineCurve* tr = nullptr;
    YdBSplineCurve* rest = nullptr;
    j.ok = YdCurveFitFilter::fitCurveToConnectLineAndCurve(a, b, c, tolerance, j.start, j.end, &tr,
                                                           &rest);
    j.transition.reset(tr);
    j.rest.reset(rest);
    return j;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Line into curve: exact cases

TEST(LineAndCurve, CurveStartingAtLineEndMakesTheSegmentVanish) {
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c =
        Bezier({YdPoint(10, 0, 0), YdPoint(12, 1, 0), YdPoint(13, 3, 0), YdPoint(13, 6, 0)});
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 0.5);
    ASSERT_TRUE(join.ok);
    const YdPoint& s = join.start;
    const YdPoint& e = join.end;
    YdBSplineCurve* tr = join.transition.get();
    YdBSplineCurve* rest = join.rest.get();
    EXPECT_TRUE(ydtest::PointsNear(s, A, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, A, 0.0));
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), A, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 0, 0), 1e-12));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 0.0), B - A, 1e-12));
    ASSERT_NE(rest, nullptr);
    ExpectSameCurve(*rest, *c, 1e-12);
}

TEST(LineAndCurve, CornerSharperThanToleranceCutsTheSegmentBack) {
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c = CurveFromTenTwo();
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 0.5);
    ASSERT_TRUE(join.ok);
    const YdPoint& s = join.start;
    const YdPoint& e = join.end;
    YdBSplineCurve* tr = join.transition.get();
    YdBSplineCurve* rest = join.rest.get();

    const double d = 20.0 / std::sqrt(104.0);  // distance of B from the line A -> (10, 2, 0)
    EXPECT_NEAR(d, 1.961, 1e-3);
    const double r = 0.5 / d;
    EXPECT_NEAR(r, 0.255, 1e-3);
    const YdPoint P(10.0 * (1.0 - r), 0, 0);
    EXPECT_NEAR(P[0], 7.45, 0.005);

    EXPECT_TRUE(ydtest::PointsNear(s, A, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, P, 1e-12));
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), P, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));
    // Leaves along the line with derivative B - P; arrives along the curve with the length of
    // the gap Q - B.
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 0.0), B - P, 1e-12));
    const YdVector expectedEnd = Unit(Derivative(*c, 0.0)) * 2.0;
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 1.0), expectedEnd, 1e-12));
    // The rest is the whole curve (the join is at its start parameter).
    ASSERT_NE(rest, nullptr);
    ASSERT_EQ(rest->GetNumOfCtrlPnts(), c->GetNumOfCtrlPnts());
    for (int i = 0; i < c->GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(rest->CtrlPoints()[i], c->CtrlPoints()[i], 1e-12)) << i;
    }
    EXPECT_EQ(rest->KnotVec().GetKnots(), c->KnotVec().GetKnots());
}

TEST(LineAndCurve, TangentSearchAlwaysJoinsAtTheStartParameter) {
    // The curve starts off the line and heads backwards; later parts of it would line up better
    // with the segment, but every round of the search looks at the start, so the join is there.
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c =
        Bezier({YdPoint(10, 3, 0), YdPoint(8, 6, 0), YdPoint(14, 6, 0), YdPoint(20, 1, 0)});
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 0.1);
    ASSERT_TRUE(join.ok);
    YdBSplineCurve* tr = join.transition.get();
    YdBSplineCurve* rest = join.rest.get();
    ASSERT_NE(tr, nullptr);
    ASSERT_NE(rest, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 3, 0), 1e-12));
    ExpectSameCurve(*rest, *c, 1e-12);
}

TEST(LineAndCurve, NullOutPointersAreAllowed) {
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c = CurveFromTenTwo();
    YdPoint s = kUnset;
    YdPoint e = kUnset;
    // Both null: nothing is handed out (and nothing may leak).
    ASSERT_TRUE(YdCurveFitFilter::fitCurveToConnectLineAndCurve(A, B, c.get(), 0.5, s, e, nullptr,
                                                                nullptr));
    EXPECT_TRUE(ydtest::PointsNear(s, A, 0.0));
    EXPECT_NEAR(e[0], 10.0 * (1.0 - 0.5 / (20.0 / std::sqrt(104.0))), 1e-12);

    // One of the two null.
    YdBSplineCurve* tr = nullptr;
    ASSERT_TRUE(
        YdCurveFitFilter::fitCurveToConnectLineAndCurve(A, B, c.get(), 0.5, s, e, &tr, nullptr));
    CurvePtr trOwn(tr);
    EXPECT_NE(tr, nullptr);
    YdBSplineCurve* rest = nullptr;
    ASSERT_TRUE(
        YdCurveFitFilter::fitCurveToConnectLineAndCurve(A, B, c.get(), 5.0, s, e, nullptr, &rest));
    CurvePtr restOwn(rest);
    EXPECT_NE(rest, nullptr);
}

TEST(LineAndCurve, NullCurveIsFalseAndWritesNothing) {
    YdPoint s = kUnset;
    YdPoint e = kUnset;
    YdBSplineCurve* tr = kUnsetCurve;
    YdBSplineCurve* rest = kUnsetCurve;
    EXPECT_FALSE(YdCurveFitFilter::fitCurveToConnectLineAndCurve(YdPoint(0, 0, 0), YdPoint(1, 0, 0),
                                                                 nullptr, 0.5, s, e, &tr, &rest));
    EXPECT_TRUE(ydtest::PointsNear(s, kUnset, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, kUnset, 0.0));
    EXPECT_EQ(tr, kUnsetCurve);
    EXPECT_EQ(rest, kUnsetCurve);
}

TEST(LineAndCurve, WithinToleranceTheTransitionReplacesTheSegment) {
    // B lies 1.961 from the line A -> C(start); a tolerance of 2 accepts that.
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c = CurveFromTenTwo();
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 2.0);
    ASSERT_TRUE(join.ok);
    const YdPoint& s = join.start;
    const YdPoint& e = join.end;
    YdBSplineCurve* tr = join.transition.get();
    EXPECT_TRUE(ydtest::PointsNear(s, A, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, A, 0.0));
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), A, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 0.0), B - A, 1e-12));
}

TEST(LineAndCurve, OutputsMayAliasTheInputs) {
    YdPoint A(0, 0, 0);
    YdPoint B(10, 0, 0);
    CurvePtr c = CurveFromTenTwo();
    ASSERT_TRUE(YdCurveFitFilter::fitCurveToConnectLineAndCurve(A, B, c.get(), 0.5, A, B, nullptr,
                                                                nullptr));
    EXPECT_TRUE(ydtest::PointsNear(A, YdPoint(0, 0, 0), 0.0));
    EXPECT_NEAR(B[0], 10.0 * (1.0 - 0.5 / (20.0 / std::sqrt(104.0))), 1e-12);
}

// ---------------------------------------------------------------------------------------------
// Line into curve: degenerate input

TEST(LineAndCurve, ZeroLengthLineGivesAFiniteTransition) {
    // A == B: the distance test sees no corner, so the transition runs from the point to the
    // curve with a zero start derivative; the segment has vanished.
    const YdPoint A(5, 0, 0);
    CurvePtr c = CurveFromTenTwo();
    const LineCurveJoin join = JoinLineAndCurve(A, A, c.get(), 0.5);
    ASSERT_TRUE(join.ok);
    const YdPoint& s = join.start;
    const YdPoint& e = join.end;
    YdBSplineCurve* tr = join.transition.get();
    YdBSplineCurve* rest = join.rest.get();
    EXPECT_TRUE(ydtest::PointsNear(s, A, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, A, 0.0));
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(AllFinite(*tr));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), A, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 0.0), YdVector(), 1e-12));
    ASSERT_NE(rest, nullptr);
}

TEST(LineAndCurve, ZeroDerivativeAtTheCurveStartGivesAFiniteTransition) {
    // The first two control points coincide, so the curve starts with zero speed: the arrival
    // derivative of the transition is then zero rather than an invented direction.
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c =
        Bezier({YdPoint(10, 2, 0), YdPoint(10, 2, 0), YdPoint(14, 3, 0), YdPoint(16, 2, 0)});
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 0.5);
    ASSERT_TRUE(join.ok);
    YdBSplineCurve* tr = join.transition.get();
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(AllFinite(*tr));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*tr, 1.0), YdVector(), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));
}

TEST(LineAndCurve, CurveStartingAtLineStartDoesNotCrash) {
    // The line through lineStart and the curve start is undefined; the result must stay finite.
    const YdPoint A(0, 0, 0);
    const YdPoint B(10, 0, 0);
    CurvePtr c = Bezier({YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(3, 3, 0), YdPoint(6, 3, 0)});
    const LineCurveJoin join = JoinLineAndCurve(A, B, c.get(), 0.5);
    ASSERT_TRUE(join.ok);
    YdBSplineCurve* tr = join.transition.get();
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(AllFinite(*tr));
}

TEST(LineAndCurve, CurveWithoutSpanDoesNotCrash) {
    // An empty curve has no range: the join still answers, with no rest to hand out.
    YdBSplineCurve empty;
    YdPoint s;
    YdPoint e;
    YdBSplineCurve* tr = nullptr;
    YdBSplineCurve* rest = kUnsetCurve;
    EXPECT_TRUE(YdCurveFitFilter::fitCurveToConnectLineAndCurve(YdPoint(0, 0, 0), YdPoint(1, 0, 0),
                                                                &empty, 0.5, s, e, &tr, &rest));
    CurvePtr trOwn(tr);
    EXPECT_EQ(rest, nullptr);
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(AllFinite(*tr));
}

// ---------------------------------------------------------------------------------------------
// Line into curve: property over several shapes

TEST(LineAndCurve, TransitionJoinsBothPiecesWithMatchingTangents) {
    const YdPoint A(-3, 1, 0);
    const YdPoint B(10, 0, 0);
    const std::vector<std::vector<YdPoint>> shapes{
        {YdPoint(10, 2, 0), YdPoint(12, 3, 0), YdPoint(14, 3, 0), YdPoint(16, 2, 0)},
        {YdPoint(10.5, -1, 0.5), YdPoint(12, -3, 1), YdPoint(13, -6, 1), YdPoint(12, -9, 0)},
        {YdPoint(11, 0.2, 0), YdPoint(13, 0.5, 0), YdPoint(15, 2, 0), YdPoint(16, 5, 0)},
        {YdPoint(10, 0.01, 0), YdPoint(11, 0.02, 0), YdPoint(12, 1, 0), YdPoint(12, 3, 0)}};
    for (double tol : {0.001, 0.05, 0.5}) {
        for (std::size_t k = 0; k < shapes.size(); ++k) {
            CurvePtr c = Bezier(shapes[k]);
            YdPoint s;
            YdPoint e;
            YdBSplineCurve* tr = nullptr;
            YdBSplineCurve* rest = nullptr;
            ASSERT_TRUE(YdCurveFitFilter::fitCurveToConnectLineAndCurve(A, B, c.get(), tol, s, e,
                                                                        &tr, &rest));
            CurvePtr trOwn(tr);
            CurvePtr restOwn(rest);
            ASSERT_NE(tr, nullptr);
            ASSERT_NE(rest, nullptr);
            const bool vanished = ydtest::PointsNear(s, e, 0.0);
            // Starts where the segment now ends, leaving along the segment's direction.
            EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), e, 1e-12))
                << "shape " << k << " tol " << tol;
            EXPECT_TRUE(ydtest::VectorsNear(Unit(Derivative(*tr, 0.0)), Unit(B - A), 1e-12))
                << "shape " << k << " tol " << tol;
            if (!vanished) {
                // The remaining segment lies on the original line, within the original.
                EXPECT_TRUE(ydtest::VectorsNear(Unit(e - s), Unit(B - A), 1e-12))
                    << "shape " << k << " tol " << tol;
                EXPECT_LE(s.DistanceToPoint(e), A.DistanceToPoint(B)) << "shape " << k;
            }
            // Ends where the rest begins, arriving along the rest's direction.
            EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), rest->Evaluate(0.0), 1e-12))
                << "shape " << k << " tol " << tol;
            EXPECT_TRUE(
                ydtest::VectorsNear(Unit(Derivative(*tr, 1.0)), Unit(Derivative(*rest, 0.0)), 1e-9))
                << "shape " << k << " tol " << tol;
            // Where lineEnd lies farther than the tolerance from the line through lineStart and
            // the curve's start, the segment is cut back by the fraction tol / d of its length;
            // otherwise it vanishes.
            const YdVector toStart = shapes[k].front() - A;
            const double d = ((B - A) * toStart).Magnitude() / toStart.Magnitude();
            if (d > tol) {
                EXPECT_NEAR(e.DistanceToPoint(B), tol / d * A.DistanceToPoint(B), 1e-9)
                    << "shape " << k << " tol " << tol;
            } else {
                EXPECT_TRUE(vanished) << "shape " << k << " tol " << tol;
            }
            EXPECT_TRUE(AllFinite(*tr));
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Curve into line

TEST(CurveAndLine, MirrorOfTheLineJoin) {
    // The worked line join run backwards: the curve ends at (10, 2, 0) and the segment runs from
    // (10, 0, 0) to the origin.
    CurvePtr forward = CurveFromTenTwo();
    YdBSplineCurve c(*forward);
    c.Reverse();
    const YdBSplineCurve before(c);
    ASSERT_TRUE(ydtest::PointsNear(c.Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));

    const YdPoint lineStart(10, 0, 0);
    const YdPoint lineEnd(0, 0, 0);
    YdPoint s = kUnset;
    YdPoint e = kUnset;
    YdBSplineCurve* tr = nullptr;
    YdBSplineCurve* rest = nullptr;
    ASSERT_TRUE(YdCurveFitFilter::fitCurveToConnectCurveAndLine(&c, lineStart, lineEnd, 0.5, &rest,
                                                                &tr, s, e));
    CurvePtr trOwn(tr);
    CurvePtr restOwn(rest);

    const double r = 0.5 / (20.0 / std::sqrt(104.0));
    const YdPoint P(10.0 * (1.0 - r), 0, 0);
    EXPECT_TRUE(ydtest::PointsNear(e, lineEnd, 0.0)) << "the far end stays";
    EXPECT_TRUE(ydtest::PointsNear(s, P, 1e-12)) << "the segment now begins at the cut";

    ASSERT_NE(tr, nullptr);
    ASSERT_NE(rest, nullptr);
    // rest is the leading part of the curve, in the curve's own direction.
    EXPECT_TRUE(ydtest::PointsNear(rest->Evaluate(0.0), c.Evaluate(0.0), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(rest->Evaluate(1.0), YdPoint(10, 2, 0), 1e-12));
    // The transition runs from the curve's end to the cut, in the direction of travel.
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(0.0), YdPoint(10, 2, 0), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), P, 1e-12));
    EXPECT_TRUE(
        ydtest::VectorsNear(Unit(Derivative(*tr, 0.0)), Unit(Derivative(*rest, 1.0)), 1e-9));
    EXPECT_TRUE(ydtest::VectorsNear(Unit(Derivative(*tr, 1.0)), Unit(lineEnd - lineStart), 1e-12));

    // The caller's curve is only read.
    EXPECT_EQ(c.KnotVec().GetKnots(), before.KnotVec().GetKnots());
    for (int i = 0; i < c.GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[i], before.CtrlPoints()[i], 0.0)) << i;
    }
}

TEST(CurveAndLine, NullOutPointersAreAllowed) {
    CurvePtr c = CurveFromTenTwo();
    c->Reverse();
    YdPoint s = kUnset;
    YdPoint e = kUnset;
    EXPECT_TRUE(YdCurveFitFilter::fitCurveToConnectCurveAndLine(
        c.get(), YdPoint(10, 0, 0), YdPoint(0, 0, 0), 0.5, nullptr, nullptr, s, e));
    EXPECT_TRUE(ydtest::PointsNear(e, YdPoint(0, 0, 0), 0.0));
    YdBSplineCurve* rest = nullptr;
    EXPECT_TRUE(YdCurveFitFilter::fitCurveToConnectCurveAndLine(
        c.get(), YdPoint(10, 0, 0), YdPoint(0, 0, 0), 0.5, &rest, nullptr, s, e));
    CurvePtr restOwn(rest);
    EXPECT_NE(rest, nullptr);
}

TEST(CurveAndLine, NullCurveIsFalseAndWritesNothing) {
    YdPoint s = kUnset;
    YdPoint e = kUnset;
    YdBSplineCurve* tr = kUnsetCurve;
    YdBSplineCurve* rest = kUnsetCurve;
    EXPECT_FALSE(YdCurveFitFilter::fitCurveToConnectCurveAndLine(
        nullptr, YdPoint(0, 0, 0), YdPoint(1, 0, 0), 0.5, &rest, &tr, s, e));
    EXPECT_TRUE(ydtest::PointsNear(s, kUnset, 0.0));
    EXPECT_EQ(tr, kUnsetCurve);
    EXPECT_EQ(rest, kUnsetCurve);
}

TEST(CurveAndLine, ZeroLengthLineGivesAFiniteTransition) {
    CurvePtr c = CurveFromTenTwo();
    c->Reverse();
    const YdPoint L(5, 0, 0);
    YdPoint s;
    YdPoint e;
    YdBSplineCurve* tr = nullptr;
    YdBSplineCurve* rest = nullptr;
    ASSERT_TRUE(
        YdCurveFitFilter::fitCurveToConnectCurveAndLine(c.get(), L, L, 0.5, &rest, &tr, s, e));
    CurvePtr trOwn(tr);
    CurvePtr restOwn(rest);
    ASSERT_NE(tr, nullptr);
    EXPECT_TRUE(AllFinite(*tr));
    EXPECT_TRUE(ydtest::PointsNear(tr->Evaluate(1.0), L, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(s, L, 0.0));
    EXPECT_TRUE(ydtest::PointsNear(e, L, 0.0));
}

// ---------------------------------------------------------------------------------------------
// Curve into curve

TEST(BetweenCurves, NullCurvesGiveNull) {
    CurvePtr c = CurveFromTenTwo();
    EXPECT_EQ(YdCurveFitFilter::fitCurveBetweenSplineCurves(nullptr, c.get()), nullptr);
    EXPECT_EQ(YdCurveFitFilter::fitCurveBetweenSplineCurves(c.get(), nullptr), nullptr);
    EXPECT_EQ(YdCurveFitFilter::fitCurveBetweenSplineCurves(nullptr, nullptr), nullptr);
    const YdPoint via(1, 1, 1);
    EXPECT_EQ(YdCurveFitFilter::fitCurveBetweenSplineCurves(nullptr, c.get(), via), nullptr);
    EXPECT_EQ(YdCurveFitFilter::fitCurveBetweenSplineCurves(c.get(), nullptr, via), nullptr);
}

TEST(BetweenCurves, JoinsEndToStartWithTangentsScaledToTheGap) {
    CurvePtr first =
        Bezier({YdPoint(0, 0, 0), YdPoint(2, 1, 0), YdPoint(4, 1, 0), YdPoint(6, 0, 0)});
    CurvePtr second =
        Bezier({YdPoint(9, -2, 1), YdPoint(10, -4, 1), YdPoint(12, -5, 1), YdPoint(14, -5, 1)});
    CurvePtr join(YdCurveFitFilter::fitCurveBetweenSplineCurves(first.get(), second.get()));
    ASSERT_NE(join, nullptr);
    const YdPoint P = first->Evaluate(1.0);
    const YdPoint Q = second->Evaluate(0.0);
    const double gap = P.DistanceToPoint(Q);
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(0.0), P, 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(1.0), Q, 1e-12));
    EXPECT_TRUE(
        ydtest::VectorsNear(Derivative(*join, 0.0), Unit(Derivative(*first, 1.0)) * gap, 1e-12));
    EXPECT_TRUE(
        ydtest::VectorsNear(Derivative(*join, 1.0), Unit(Derivative(*second, 0.0)) * gap, 1e-12));
}

TEST(BetweenCurves, ThroughAPointKeepsEndsAndTangents) {
    CurvePtr first =
        Bezier({YdPoint(0, 0, 0), YdPoint(2, 1, 0), YdPoint(4, 1, 0), YdPoint(6, 0, 0)});
    CurvePtr second =
        Bezier({YdPoint(9, -2, 1), YdPoint(10, -4, 1), YdPoint(12, -5, 1), YdPoint(14, -5, 1)});
    const YdPoint via(7.5, -0.5, 0.5);
    CurvePtr join(YdCurveFitFilter::fitCurveBetweenSplineCurves(first.get(), second.get(), via));
    ASSERT_NE(join, nullptr);
    const YdPoint P = first->Evaluate(1.0);
    const YdPoint Q = second->Evaluate(0.0);
    const double gap = P.DistanceToPoint(Q);
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(0.0), P, 1e-9));
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(1.0), Q, 1e-9));
    EXPECT_TRUE(
        ydtest::VectorsNear(Derivative(*join, 0.0), Unit(Derivative(*first, 1.0)) * gap, 1e-9));
    EXPECT_TRUE(
        ydtest::VectorsNear(Derivative(*join, 1.0), Unit(Derivative(*second, 0.0)) * gap, 1e-9));
    // Passes through via at its parameter.
    ASSERT_EQ(join->GetPointsParams().size(), 3u);
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(join->GetPointParam(1)), via, 1e-9));
}

TEST(BetweenCurves, TouchingCurvesGiveAFiniteJoin) {
    // No gap: the scaled tangents are zero and the join collapses onto the shared point.
    CurvePtr first =
        Bezier({YdPoint(0, 0, 0), YdPoint(2, 1, 0), YdPoint(4, 1, 0), YdPoint(6, 0, 0)});
    CurvePtr second =
        Bezier({YdPoint(6, 0, 0), YdPoint(8, -1, 0), YdPoint(9, -1, 0), YdPoint(10, 0, 0)});
    CurvePtr join(YdCurveFitFilter::fitCurveBetweenSplineCurves(first.get(), second.get()));
    ASSERT_NE(join, nullptr);
    EXPECT_TRUE(AllFinite(*join));
    EXPECT_TRUE(ydtest::PointsNear(join->Evaluate(0.5), YdPoint(6, 0, 0), 1e-12));
}

// ---------------------------------------------------------------------------------------------
// Continuing and prescribed-tangent fits

TEST(ConnectCurve, NullCurveOrTooFewPointsGiveNull) {
    std::vector<YdPoint> pts{YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0)};
    EXPECT_EQ(YdCurveFitFilter::fitConnectCurve(nullptr, pts, 1e-4), nullptr);
    CurvePtr c = CurveFromTenTwo();
    std::vector<YdPoint> none;
    EXPECT_EQ(YdCurveFitFilter::fitConnectCurve(c.get(), none, 1e-4), nullptr);
    std::vector<YdPoint> one{YdPoint(1, 1, 1)};
    EXPECT_EQ(YdCurveFitFilter::fitConnectCurve(c.get(), one, 1e-4), nullptr);
}

TEST(ConnectCurve, LeavesWithTheCurvesEndDerivative) {
    CurvePtr c = Bezier({YdPoint(0, 0, 0), YdPoint(2, 1, 0), YdPoint(4, 1, 0), YdPoint(6, 0, 0)});
    const YdPoint end = c->Evaluate(1.0);
    const YdVector endDeriv = Derivative(*c, 1.0);
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 12; ++i) {
        const double x = 6.0 + i * 0.5;
        pts.emplace_back(x, -0.2 * i - 0.02 * i * i, 0.0);
    }
    ASSERT_TRUE(ydtest::PointsNear(pts[0], end, 1e-12));
    CurvePtr next(YdCurveFitFilter::fitConnectCurve(c.get(), pts, 1e-4));
    ASSERT_NE(next, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(next->Evaluate(next->startParam()), pts.front(), 1e-9));
    EXPECT_TRUE(ydtest::PointsNear(next->Evaluate(next->endParam()), pts.back(), 1e-9));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*next, next->startParam()), endDeriv, 1e-7));
}

TEST(FitCurve, MeetsBothEndsWithThePrescribedDerivatives) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 15; ++i) {
        const double a = i / 15.0 * 1.2;
        pts.emplace_back(10.0 * std::cos(a), 10.0 * std::sin(a), 0.3 * i);
    }
    const YdVector head(-1.0, 12.0, 4.5);
    const YdVector tail(-11.0, 4.0, 4.5);
    CurvePtr c(YdCurveFitFilter::fitCurve(pts, head, tail, 1e-3));
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->startParam()), pts.front(), 1e-9));
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->endParam()), pts.back(), 1e-9));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*c, c->startParam()), head, 1e-7));
    EXPECT_TRUE(ydtest::VectorsNear(Derivative(*c, c->endParam()), tail, 1e-7));
}

TEST(FitCurve, TooFewPointsGiveNull) {
    EXPECT_EQ(YdCurveFitFilter::fitCurve({}, YdVector(1, 0, 0), YdVector(1, 0, 0), 1e-4), nullptr);
    EXPECT_EQ(
        YdCurveFitFilter::fitCurve({YdPoint(1, 2, 3)}, YdVector(1, 0, 0), YdVector(1, 0, 0), 1e-4),
        nullptr);
}

// ---------------------------------------------------------------------------------------------
// Split

TEST(SplitCurve, NullCurveGivesAnEmptyList) {
    EXPECT_TRUE(YdCurveFitFilter::splitCurve(nullptr, 0.5).empty());
}

TEST(SplitCurve, PiecesMeetAtTheSplitPoint) {
    CurvePtr c = CurveFromTenTwo();
    std::vector<YdBSplineCurve*> pieces = YdCurveFitFilter::splitCurve(c.get(), 0.3);
    std::vector<CurvePtr> own;
    for (YdBSplineCurve* p : pieces) {
        own.emplace_back(p);
    }
    ASSERT_EQ(pieces.size(), 2u);
    EXPECT_TRUE(ydtest::PointsNear(pieces[0]->Evaluate(0.0), c->Evaluate(0.0), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(pieces[0]->Evaluate(1.0), c->Evaluate(0.3), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(pieces[1]->Evaluate(0.0), c->Evaluate(0.3), 1e-12));
    EXPECT_TRUE(ydtest::PointsNear(pieces[1]->Evaluate(1.0), c->Evaluate(1.0), 1e-12));
}

// ---------------------------------------------------------------------------------------------
// Parameter steps on a given curve

TEST(FindInitialInterpolate, FirstOrderStep) {
    // A straight cubic with speed 10 everywhere.
    CurvePtr line = Bezier(
        {YdPoint(0, 0, 0), YdPoint(10.0 / 3, 0, 0), YdPoint(20.0 / 3, 0, 0), YdPoint(10, 0, 0)});
    double u = -1.0;
    ASSERT_TRUE(Access::findInitialInterpolate(line.get(), 0.2, 3.0, u, 123.0));
    EXPECT_NEAR(u, 0.5, 1e-12);
    // Not clamped to the range.
    ASSERT_TRUE(Access::findInitialInterpolate(line.get(), 0.9, 5.0, u, 0.0));
    EXPECT_NEAR(u, 1.4, 1e-12);
}

TEST(FindInitialInterpolate, BadInputIsFalseAndLeavesU) {
    CurvePtr line =
        Bezier({YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 0, 0), YdPoint(3, 0, 0)});
    double u = -7.0;
    EXPECT_FALSE(Access::findInitialInterpolate(nullptr, 0.0, 1.0, u, 1e-4));
    EXPECT_FALSE(Access::findInitialInterpolate(line.get(), 0.0, -1.0, u, 1e-4));
    EXPECT_EQ(u, -7.0);
}

TEST(FindInitialInterpolate, StationaryPointGivesAnUnboundedStep) {
    // The first two control points coincide: the curve leaves its start with zero speed. The
    // step distance / |C'(u0)| is not guarded: infinite for a positive distance, 0 / 0 for a
    // zero one; the Newton search that uses it clamps the former to the end of the curve.
    CurvePtr cusp =
        Bezier({YdPoint(0, 0, 0), YdPoint(0, 0, 0), YdPoint(4, 3, 0), YdPoint(8, 0, 0)});
    double u = -7.0;
    ASSERT_TRUE(Access::findInitialInterpolate(cusp.get(), 0.0, 2.0, u, 1e-4));
    EXPECT_EQ(u, std::numeric_limits<double>::infinity());
    u = -7.0;
    ASSERT_TRUE(Access::findInitialInterpolate(cusp.get(), 0.0, 0.0, u, 1e-4));
    EXPECT_TRUE(std::isnan(u));
}

TEST(FindInterpolateParam, FindsTheChordDistance) {
    CurvePtr c = CurveFromTenTwo();
    for (double u0 : {0.0, 0.2, 0.55}) {
        for (double dist : {0.05, 0.4, 1.5}) {
            double u = -1.0;
            ASSERT_TRUE(Access::findInterpolateParam(c.get(), u0, dist, u, 1e-9))
                << "u0 = " << u0 << ", distance = " << dist;
            EXPECT_NEAR(c->Evaluate(u0).DistanceToPoint(c->Evaluate(u)), dist, 1e-9)
                << "u0 = " << u0 << ", distance = " << dist;
            EXPECT_GT(u, u0);
        }
    }
}

TEST(FindInterpolateParam, ExactStartValueNeedsNoStep) {
    CurvePtr line = Bezier(
        {YdPoint(0, 0, 0), YdPoint(10.0 / 3, 0, 0), YdPoint(20.0 / 3, 0, 0), YdPoint(10, 0, 0)});
    double u = -1.0;
    ASSERT_TRUE(Access::findInterpolateParam(line.get(), 0.1, 2.5, u, 1e-12));
    EXPECT_NEAR(u, 0.35, 1e-14);
}

TEST(FindInterpolateParam, FailuresLeaveUUntouched) {
    CurvePtr c = CurveFromTenTwo();
    double u = -7.0;
    EXPECT_FALSE(Access::findInterpolateParam(nullptr, 0.0, 1.0, u, 1e-6));
    EXPECT_FALSE(Access::findInterpolateParam(c.get(), -0.1, 1.0, u, 1e-6));
    EXPECT_FALSE(Access::findInterpolateParam(c.get(), 1.1, 1.0, u, 1e-6));
    EXPECT_FALSE(Access::findInterpolateParam(c.get(), 0.5, -1.0, u, 1e-6));
    // Farther than the curve reaches: the steps stop at the end and the search gives up.
    EXPECT_FALSE(Access::findInterpolateParam(c.get(), 0.5, 100.0, u, 1e-6));
    EXPECT_EQ(u, -7.0);
    // At the end parameter the error is the whole distance and cannot shrink.
    EXPECT_FALSE(Access::findInterpolateParam(c.get(), 1.0, 0.5, u, 1e-6));
    EXPECT_EQ(u, -7.0);
    // A curve lying at one point never reaches the distance: the infinite start value is
    // clamped to the end and no Newton step moves it from there.
    CurvePtr dot = Bezier({YdPoint(1, 1, 1), YdPoint(1, 1, 1), YdPoint(1, 1, 1), YdPoint(1, 1, 1)});
    EXPECT_FALSE(Access::findInterpolateParam(dot.get(), 0.5, 1.0, u, 1e-6));
    EXPECT_EQ(u, -7.0);
}

TEST(FindInterpolateParam, StartsFromTheEndWhereTheCurveHasNoSpeed) {
    // Zero speed at u0: the first-order start value is infinite and clamped to the end of the
    // curve, from where the Newton steps come back to the point at the chord distance.
    CurvePtr cusp =
        Bezier({YdPoint(0, 0, 0), YdPoint(0, 0, 0), YdPoint(4, 3, 0), YdPoint(8, 0, 0)});
    double u = -7.0;
    ASSERT_TRUE(Access::findInterpolateParam(cusp.get(), 0.0, 2.0, u, 1e-9));
    EXPECT_NEAR(cusp->Evaluate(0.0).DistanceToPoint(cusp->Evaluate(u)), 2.0, 1e-9);
    EXPECT_GT(u, 0.0);
    EXPECT_LT(u, 1.0);
    // A zero distance there is 0 / 0: the search starts, and ends, at u0.
    u = -7.0;
    ASSERT_TRUE(Access::findInterpolateParam(cusp.get(), 0.0, 0.0, u, 1e-9));
    EXPECT_EQ(u, 0.0);
    // A NaN start parameter is refused.
    u = -7.0;
    EXPECT_FALSE(Access::findInterpolateParam(cusp.get(), std::nan(""), 1.0, u, 1e-9));
    EXPECT_EQ(u, -7.0);
}

TEST(FindInterpolateParam, ToleranceAtLeastTheDistanceAcceptsTheEnd) {
    CurvePtr c = CurveFromTenTwo();
    double u = -7.0;
    ASSERT_TRUE(Access::findInterpolateParam(c.get(), 1.0, 0.5, u, 0.5));
    EXPECT_EQ(u, 1.0);
}

TEST(FindInterpolateParam, StepsMayGoBackBehindTheStartParameter) {
    // The curve bends back towards its start. From u0 = 0.25 the Newton steps overshoot below u0;
    // the clamp is the whole parameter range, so the search settles on the point at the chord
    // distance behind u0 (a clamp to [u0, end] would make this search fail).
    CurvePtr loop =
        Bezier({YdPoint(0, 0, 0), YdPoint(10, 0, 0), YdPoint(10, 6, 0), YdPoint(1, 1, 0)});
    double u = -7.0;
    ASSERT_TRUE(Access::findInterpolateParam(loop.get(), 0.25, 3.0, u, 1e-9));
    EXPECT_LT(u, 0.25);
    EXPECT_NEAR(loop->Evaluate(0.25).DistanceToPoint(loop->Evaluate(u)), 3.0, 1e-9);
    EXPECT_NEAR(u, 0.1008716560149, 1e-9);
}
