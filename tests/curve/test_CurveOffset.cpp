#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestSupport.h"

namespace {

constexpr double kPi = 3.141592653589793;

using CurvePtr = std::unique_ptr<YdBSplineCurve>;

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

std::vector<YdPoint> CirclePoints(double radius, int count, bool counterClockwise) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < count; ++i) {
        const double a = 2.0 * kPi * i / count * (counterClockwise ? 1.0 : -1.0);
        pts.emplace_back(radius * std::cos(a), radius * std::sin(a), 0.0);
    }
    return pts;
}

// A closed cubic fitted to a circle of the given radius about the origin in the xy plane.
CurvePtr FittedCircle(double radius, bool counterClockwise = true) {
    return CurvePtr(YdBSplineCurve::CreateApproximateCurve(
        CirclePoints(radius, 48, counterClockwise), true, 1e-8));
}

// An open cubic that is not closed and not planar.
CurvePtr OpenSpaceCurve() {
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0),   YdPoint(2, 1, 0.5), YdPoint(4, 3, 1.0),
                              YdPoint(6, 2, 2.0), YdPoint(8, 0, 2.5), YdPoint(10, 1, 3.0)};
    return CurvePtr(new YdBSplineCurve(Knots({0, 0, 0, 0, 0.3, 0.6, 1, 1, 1, 1}), ctrl, 3, false));
}

double DistanceToCurve(const YdBSplineCurve& c, const YdPoint& p) {
    double u = 0.0;
    YdPoint nearest;
    if (!c.FindNearestPoint(p, u, nearest)) {
        return 1e300;
    }
    return p.DistanceToPoint(nearest);
}

// Largest distance from samples of `from` to the curve `to`.
double OneWayDeviation(const YdBSplineCurve& from, const YdBSplineCurve& to, int samples = 200) {
    double worst = 0.0;
    for (int i = 0; i <= samples; ++i) {
        const double u = from.startParam() + (from.endParam() - from.startParam()) * i / samples;
        worst = std::max(worst, DistanceToCurve(to, from.Evaluate(u)));
    }
    return worst;
}

bool AllFinite(const YdBSplineCurve& c) {
    for (const YdPoint& p : c.CtrlPoints()) {
        if (!std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2])) {
            return false;
        }
    }
    for (double k : c.KnotVec().GetKnots()) {
        if (!std::isfinite(k)) {
            return false;
        }
    }
    return true;
}

// Largest deviation of the curve from the circle of radius R about the origin (xy plane).
double RadialDeviation(const YdBSplineCurve& c, double R) {
    double worst = 0.0;
    for (int i = 0; i <= 1000; ++i) {
        const YdPoint q = c.Evaluate(i / 1000.0);
        worst = std::max(worst, std::fabs(std::hypot(q[0], q[1]) - R));
    }
    return worst;
}

int NonEmptySpans(const YdBSplineCurve& c) {
    const std::vector<double>& U = c.KnotVec().GetKnots();
    int spans = 0;
    for (std::size_t i = 1; i < U.size(); ++i) {
        if (U[i] != U[i - 1]) {
            ++spans;
        }
    }
    return spans;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Offset: exact cases

TEST(OffSetCurve, CircleOffsetLiesAtTheDistanceTowardsTheCentre) {
    const double R = 10.0;
    const double d = 1.5;
    const double tol = 1e-6;  // squared: the offset fit meets its points within 1e-3
    for (bool ccw : {true, false}) {
        CurvePtr circle = FittedCircle(R, ccw);
        ASSERT_NE(circle, nullptr);
        ASSERT_TRUE(circle->IsClosed());
        const double circleError = RadialDeviation(*circle, R);
        ASSERT_LT(circleError, 1e-3) << "the base curve should be a good circle";
        CurvePtr offset(circle->OffSetCurve(d, tol));
        ASSERT_NE(offset, nullptr) << "ccw = " << ccw;
        EXPECT_TRUE(offset->IsClosed());
        // The offset points themselves lie at the distance from the base curve (the transport
        // keeps the offset vector's length and keeps it normal to the tangent).
        for (const YdPoint& q : offset->FitPoints()) {
            EXPECT_NEAR(DistanceToCurve(*circle, q), d, 1e-5) << "ccw = " << ccw;
        }
        // The fitted offset stays within the fit tolerance of them (a little slack between the
        // points, where the fit is not measured), on the centre's side, in the plane.
        const double fitSlack = 1.2 * std::sqrt(tol);
        for (int i = 0; i <= 400; ++i) {
            const double u = i / 400.0;
            const YdPoint q = offset->Evaluate(u);
            EXPECT_NEAR(DistanceToCurve(*circle, q), d, fitSlack)
                << "ccw = " << ccw << " at u = " << u;
            EXPECT_NEAR(std::hypot(q[0], q[1]), R - d, circleError + fitSlack)
                << "ccw = " << ccw << " at u = " << u;
            EXPECT_NEAR(q[2], 0.0, 1e-9) << "ccw = " << ccw << " at u = " << u;
        }
    }
}

TEST(OffSetCurve, NegativeDistanceGoesAwayFromTheCentre) {
    const double R = 10.0;
    const double tol = 1e-6;
    CurvePtr circle = FittedCircle(R);
    ASSERT_NE(circle, nullptr);
    const double circleError = RadialDeviation(*circle, R);
    CurvePtr offset(circle->OffSetCurve(-2.0, tol));
    ASSERT_NE(offset, nullptr);
    for (int i = 0; i <= 200; ++i) {
        const double u = i / 200.0;
        const YdPoint q = offset->Evaluate(u);
        EXPECT_NEAR(std::hypot(q[0], q[1]), R + 2.0, circleError + 1.2 * std::sqrt(tol))
            << "at u = " << u;
    }
}

TEST(OffSetCurve, EveryNonEmptySpanGivesTenSamplesWhateverTheTolerance) {
    // A double knot at 0.6 makes one empty span, which is skipped. The offset points are the fit
    // points of the returned curve.
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(3, 3, 0),
                              YdPoint(5, 2, 0), YdPoint(6, 0, 0), YdPoint(8, -1, 0),
                              YdPoint(9, 1, 0)};
    CurvePtr c(new YdBSplineCurve(Knots({0, 0, 0, 0, 0.25, 0.6, 0.6, 1, 1, 1, 1}), ctrl, 3, false));
    ASSERT_EQ(NonEmptySpans(*c), 3);
    for (double tol : {1e-9, 1e-4, 0.01, 0.5, 100.0}) {
        CurvePtr offset(c->OffSetCurve(0.0, tol));
        ASSERT_NE(offset, nullptr) << "tol = " << tol;
        EXPECT_EQ(offset->FitPoints().size(), 3u * 10u + 1u) << "tol = " << tol;
    }
}

TEST(OffSetCurve, SamplesAreTenthsOfEachSpan) {
    // With a zero distance the offset points are the curve points at the samples themselves.
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0),  YdPoint(1, 2, 1), YdPoint(3, 3, 0),
                              YdPoint(5, 2, -1), YdPoint(6, 0, 0), YdPoint(8, -1, 2)};
    const std::vector<double> knots{0, 0, 0, 0, 0.3, 0.7, 1, 1, 1, 1};
    CurvePtr c(new YdBSplineCurve(Knots(knots), ctrl, 3, false));
    CurvePtr offset(c->OffSetCurve(0.0, 1e-6));
    ASSERT_NE(offset, nullptr);
    const std::vector<YdPoint>& q = offset->FitPoints();
    ASSERT_EQ(q.size(), 31u);
    std::size_t k = 0;
    EXPECT_TRUE(ydtest::PointsNear(q[k++], c->Evaluate(0.0), 1e-12));
    for (int span = 0; span < 3; ++span) {
        const double a = knots[3 + span];
        const double b = knots[4 + span];
        for (int j = 1; j <= 10; ++j, ++k) {
            const double u = a + (b - a) * j / 10.0;
            EXPECT_TRUE(ydtest::PointsNear(q[k], c->Evaluate(u), 1e-9))
                << "sample " << k << " at u = " << u;
        }
    }
    EXPECT_TRUE(ydtest::PointsNear(q.back(), c->Evaluate(1.0), 1e-12));
}

TEST(OffSetCurve, ZeroOrNegativeToleranceStillSamplesTenPerSpan) {
    CurvePtr c = OpenSpaceCurve();
    for (double tol : {0.0, -1.0}) {
        CurvePtr offset(c->OffSetCurve(0.5, tol));
        // Such a tolerance cannot be met; the least-error fit is still made from 31 points.
        ASSERT_NE(offset, nullptr) << "tol = " << tol;
        EXPECT_EQ(offset->FitPoints().size(), 31u) << "tol = " << tol;
        EXPECT_TRUE(AllFinite(*offset)) << "tol = " << tol;
    }
}

TEST(OffSetCurve, StaticFormMatchesTheMember) {
    CurvePtr circle = FittedCircle(5.0);
    ASSERT_NE(circle, nullptr);
    CurvePtr a(circle->OffSetCurve(0.5, 1e-6));
    CurvePtr b(YdBSplineCurve::CreateOffSetBSpline(*circle, 0.5, 1e-6));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(a->KnotVec().GetKnots(), b->KnotVec().GetKnots());
    ASSERT_EQ(a->GetNumOfCtrlPnts(), b->GetNumOfCtrlPnts());
    for (int i = 0; i < a->GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(a->CtrlPoints()[i], b->CtrlPoints()[i], 0.0)) << i;
    }
}

// ---------------------------------------------------------------------------------------------
// Offset: properties

TEST(OffSetCurve, SpaceCurveOffsetPointsStayAtTheDistance) {
    // The transported offset vector stays perpendicular to the tangent and keeps its length, so
    // every offset point lies at the distance from the curve (well inside the radius of
    // curvature), also without a fixed plane.
    std::vector<YdPoint> helix;
    for (int i = 0; i <= 60; ++i) {
        const double a = 4.0 * kPi * i / 60.0;
        helix.emplace_back(8.0 * std::cos(a), 8.0 * std::sin(a), 1.5 * a);
    }
    CurvePtr c(YdBSplineCurve::CreateApproximateCurve(helix, false, 1e-8));
    ASSERT_NE(c, nullptr);
    const double d = 0.75;
    CurvePtr offset(c->OffSetCurve(d, 1e-6));
    ASSERT_NE(offset, nullptr);
    const std::vector<YdPoint>& q = offset->FitPoints();
    ASSERT_GT(q.size(), 10u);
    for (std::size_t i = 0; i < q.size(); ++i) {
        EXPECT_NEAR(DistanceToCurve(*c, q[i]), d, 1e-6) << "offset point " << i;
    }
    // And the fitted offset follows them within the fit tolerance (1e-3 in length).
    for (int i = 0; i <= 200; ++i) {
        const double u = i / 200.0;
        EXPECT_NEAR(DistanceToCurve(*c, offset->Evaluate(u)), d, 2e-3) << "at u = " << u;
    }
}

TEST(OffSetCurve, OpenPlanarArcOffsetStaysOnTheConcaveSide) {
    // A quarter circle of radius 6 fitted through many points, offset by 1 towards its centre.
    std::vector<YdPoint> arc;
    for (int i = 0; i <= 30; ++i) {
        const double a = 0.5 * kPi * i / 30.0;
        arc.emplace_back(6.0 * std::cos(a), 6.0 * std::sin(a), 0.0);
    }
    CurvePtr c(YdBSplineCurve::CreateApproximateCurve(arc, false, 1e-10));
    ASSERT_NE(c, nullptr);
    const double tol = 1e-7;
    CurvePtr offset(c->OffSetCurve(1.0, tol));
    ASSERT_NE(offset, nullptr);
    EXPECT_FALSE(offset->IsClosed());
    const double arcError = RadialDeviation(*c, 6.0);
    for (int i = 0; i <= 100; ++i) {
        const double u = i / 100.0;
        const YdPoint q = offset->Evaluate(u);
        EXPECT_NEAR(DistanceToCurve(*c, q), 1.0, 1.2 * std::sqrt(tol)) << "at u = " << u;
        EXPECT_NEAR(std::hypot(q[0], q[1]), 5.0, arcError + 1.2 * std::sqrt(tol)) << "at u = " << u;
    }
}

// ---------------------------------------------------------------------------------------------
// Offset: degenerate input

TEST(OffSetCurve, StraightStartGivesZeroOffsetNotNaN) {
    // No principal normal on a straight line: the offset vector is zero and the transport keeps
    // it zero, so the offset coincides with the line.
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0), YdPoint(1, 1, 0), YdPoint(2, 2, 0),
                              YdPoint(3, 3, 0)};
    CurvePtr line(new YdBSplineCurve(Knots({0, 0, 0, 0, 1, 1, 1, 1}), ctrl, 3, false));
    CurvePtr offset(line->OffSetCurve(2.0, 1e-6));
    ASSERT_NE(offset, nullptr);
    ASSERT_TRUE(AllFinite(*offset));
    for (int i = 0; i <= 20; ++i) {
        const double u = i / 20.0;
        const YdPoint q = offset->Evaluate(u);
        EXPECT_NEAR(q[0], q[1], 1e-6) << "at u = " << u;
        EXPECT_NEAR(q[2], 0.0, 1e-9) << "at u = " << u;
    }
}

TEST(OffSetCurve, CurveWithoutKnotsGivesNull) {
    YdBSplineCurve empty;
    EXPECT_EQ(empty.OffSetCurve(1.0, 1e-4), nullptr);
    CurvePtr shortKnots(new YdBSplineCurve(Knots({0, 0, 1}), {YdPoint(0, 0, 0)}, 3, false));
    EXPECT_EQ(shortKnots->OffSetCurve(1.0, 1e-4), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Rotate: exact cases

TEST(Rotate, ZeroOnAClosedCurveIsTrueAndUnchanged) {
    CurvePtr circle = FittedCircle(4.0);
    ASSERT_NE(circle, nullptr);
    const YdBSplineCurve before(*circle);
    for (double u : {0.0, 9.9e-8, -9.9e-8}) {
        EXPECT_TRUE(circle->Rotate(u)) << "u = " << u;
        EXPECT_EQ(circle->KnotVec().GetKnots(), before.KnotVec().GetKnots()) << "u = " << u;
        ASSERT_EQ(circle->GetNumOfCtrlPnts(), before.GetNumOfCtrlPnts());
        for (int i = 0; i < before.GetNumOfCtrlPnts(); ++i) {
            EXPECT_TRUE(ydtest::PointsNear(circle->CtrlPoints()[i], before.CtrlPoints()[i], 0.0))
                << "u = " << u << ", control point " << i;
        }
    }
}

TEST(Rotate, OpenCurveIsRefusedUnchanged) {
    CurvePtr c = OpenSpaceCurve();
    const YdBSplineCurve before(*c);
    for (double u : {0.0, 0.4}) {
        EXPECT_FALSE(c->Rotate(u)) << "u = " << u;
    }
    EXPECT_EQ(c->KnotVec().GetKnots(), before.KnotVec().GetKnots());
    for (int i = 0; i < before.GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[i], before.CtrlPoints()[i], 0.0)) << i;
    }
}

TEST(Rotate, StartsAtTheOldPointAndCountsThePiecesControlPoints) {
    CurvePtr circle = FittedCircle(4.0);
    ASSERT_NE(circle, nullptr);
    for (double u : {0.137, 0.5, 0.81}) {
        YdBSplineCurve c(*circle);
        const YdPoint oldPoint = c.Evaluate(u);
        CurvePtr a(c.ExtractSubCurve(u, 1.0));
        CurvePtr b(c.ExtractSubCurve(0.0, u));
        ASSERT_NE(a, nullptr);
        ASSERT_NE(b, nullptr);

        ASSERT_TRUE(c.Rotate(u)) << "u = " << u;
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.0), oldPoint, 1e-9)) << "u = " << u;
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(1.0), oldPoint, 1e-9)) << "u = " << u;
        EXPECT_EQ(c.GetNumOfCtrlPnts(), a->GetNumOfCtrlPnts() + b->GetNumOfCtrlPnts() - 1)
            << "u = " << u;
        EXPECT_EQ(c.KnotVec().GetCount(), c.GetNumOfCtrlPnts() + c.Degree() + 1) << "u = " << u;
        EXPECT_TRUE(c.IsClosed());
    }
}

TEST(Rotate, JointKnotSplitsTheRangeByArcLength) {
    CurvePtr circle = FittedCircle(4.0);
    ASSERT_NE(circle, nullptr);
    const double u = 0.3;
    CurvePtr a(circle->ExtractSubCurve(u, 1.0));
    CurvePtr b(circle->ExtractSubCurve(0.0, u));
    ASSERT_NE(a, nullptr);
    ASSERT_NE(b, nullptr);
    const double la = a->Length(0.0, 1.0, true);
    const double lb = b->Length(0.0, 1.0, true);
    const double r = la / (la + lb);

    ASSERT_TRUE(circle->Rotate(u));
    const std::vector<double>& k = circle->KnotVec().GetKnots();
    const int p = circle->Degree();
    EXPECT_EQ(std::count_if(k.begin(), k.end(), [r](double x) { return std::fabs(x - r) < 1e-12; }),
              p)
        << "the joint knot " << r << " keeps multiplicity p";
    EXPECT_DOUBLE_EQ(k.front(), 0.0);
    EXPECT_DOUBLE_EQ(k.back(), 1.0);
    EXPECT_TRUE(std::is_sorted(k.begin(), k.end()));
    // Arc length up to the joint is the first piece's.
    EXPECT_NEAR(circle->Length(0.0, r, true), la, 1e-9 * (la + lb));
}

// ---------------------------------------------------------------------------------------------
// Rotate: properties and bad input

TEST(Rotate, TracesTheSameShape) {
    // A closed curve that is not a circle, so a wrong joint would show.
    std::vector<YdPoint> pts;
    for (int i = 0; i < 40; ++i) {
        const double a = 2.0 * kPi * i / 40;
        pts.emplace_back(6.0 * std::cos(a) + std::cos(3 * a), 3.0 * std::sin(a),
                         0.5 * std::sin(2 * a));
    }
    CurvePtr original(YdBSplineCurve::CreateApproximateCurve(pts, true, 1e-6));
    ASSERT_NE(original, nullptr);
    for (double u : {0.21, 0.64}) {
        YdBSplineCurve rotated(*original);
        ASSERT_TRUE(rotated.Rotate(u)) << "u = " << u;
        EXPECT_LT(OneWayDeviation(rotated, *original), 1e-7) << "rotated onto original, u = " << u;
        EXPECT_LT(OneWayDeviation(*original, rotated), 1e-7) << "original onto rotated, u = " << u;
        EXPECT_NEAR(rotated.Length(0.0, 1.0, true), original->Length(0.0, 1.0, true), 1e-9)
            << "u = " << u;
    }
}

TEST(Rotate, ParameterOutsideTheRangeIsRefusedUnchanged) {
    CurvePtr circle = FittedCircle(4.0);
    ASSERT_NE(circle, nullptr);
    const YdBSplineCurve before(*circle);
    for (double u : {1.0, 1.5, -0.5}) {
        EXPECT_FALSE(circle->Rotate(u)) << "u = " << u;
        EXPECT_EQ(circle->KnotVec().GetKnots(), before.KnotVec().GetKnots()) << "u = " << u;
        ASSERT_EQ(circle->GetNumOfCtrlPnts(), before.GetNumOfCtrlPnts()) << "u = " << u;
    }
}

TEST(Rotate, CurveOfZeroLengthKeepsFiniteKnots) {
    // The one-point curve is closed and has no length to share out; the parameter itself then
    // places the joint.
    YdBSplineCurve dot(YdPoint(1, 2, 3));
    ASSERT_TRUE(dot.Rotate(0.4));
    EXPECT_TRUE(AllFinite(dot));
    EXPECT_TRUE(ydtest::PointsNear(dot.Evaluate(0.7), YdPoint(1, 2, 3), 1e-12));
    EXPECT_EQ(dot.KnotVec().GetCount(), dot.GetNumOfCtrlPnts() + 4);
}
