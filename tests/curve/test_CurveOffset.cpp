// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdTestCurves.h"
#include "YdTestSupport.h"

namespace {

constexpr double kPi = 3.141592653589793;

using CurvePtr = std::unique_ptr<YdBSplineCurve>;

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

// A closed cubic fitted to a circle of the given radius about the origin in the xy plane.
CurvePtr FittedCircle(double radius, bool counterClockwise = true) {
    return CurvePtr(YdBSplineCurve::CreateApproximateCurve(
        ydtest::CirclePoints(48, radius, counterClockwise), true, 1e-8));
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

// The offset points written straight from their definition, with the public members only: ten
// samples per non-empty span by repeated addition of a tenth, the last one set to the end knot;
// unit tangents there; the start offset d ((T x A) x T) from the unit first and second
// derivatives at the parameter 0.0 (which also gives the first point); then each offset vector
// carried to the next sample by the rotation that turns one tangent into the next. Meant for
// curves whose second derivative at 0.0 is not zero.
std::vector<YdPoint> ReferenceOffsetPoints(const YdBSplineCurve& c, double d) {
    const int p = c.Degree();
    const std::vector<double>& U = c.KnotVec().GetKnots();
    const int K = static_cast<int>(U.size());
    std::vector<double> params{U[static_cast<std::size_t>(p)]};
    for (int i = p + 1; i < K - p; ++i) {
        const double delta = U[static_cast<std::size_t>(i)] - U[static_cast<std::size_t>(i) - 1];
        if (delta == 0.0) {
            continue;
        }
        double u = U[static_cast<std::size_t>(i) - 1];
        for (int j = 1; j <= 10; ++j) {
            u += delta / 10;
            params.push_back(u);
        }
    }
    params.back() = U[static_cast<std::size_t>(K - p - 1)];

    const std::size_t n = params.size();
    std::vector<YdPoint> P(n);
    std::vector<YdVector> T(n);
    std::vector<YdVector> der;
    for (std::size_t i = 0; i < n; ++i) {
        c.Evaluate(params[i], 1, P[i], der);
        T[i] = der[0];
        T[i].Normalize();
    }
    c.Evaluate(0.0, 2, P[0], der);
    YdVector t = der[0];
    t.Normalize();
    YdVector a = der[1];
    a.Normalize();
    const YdVector normal = (t * a) * t;
    std::vector<YdPoint> Q(n);
    Q[0] = P[0] + normal * d;
    for (std::size_t i = 1; i < n; ++i) {
        const YdMatrix R = YdMatrix::s_GetRotationMatrix(T[i - 1], T[i]);
        Q[i] = P[i] + R * ((Q[i - 1] + (P[i] - P[i - 1])) - P[i]);
    }
    return Q;
}

// The length of the start offset vector d ((T x A) x T), with T and A the unit first and second
// derivatives at the parameter 0.0: d times the sine of the angle between them. The transport
// keeps this length, so every offset point lies this far from the curve.
double StartOffsetLength(const YdBSplineCurve& c, double d) {
    YdPoint pt;
    std::vector<YdVector> der;
    c.Evaluate(0.0, 2, pt, der);
    YdVector t = der[0];
    t.Normalize();
    YdVector a = der[1];
    a.Normalize();
    return std::fabs(d) * ((t * a) * t).Magnitude();
}

void ExpectSamePoints(const std::vector<YdPoint>& got, const std::vector<YdPoint>& want,
                      const char* what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (std::size_t i = 0; i < got.size(); ++i) {
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(got[i][k], want[i][k]) << what << ", point " << i << ", coord " << k;
        }
    }
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

TEST(OffSetCurve, StartOffsetIsDistanceTimesBinormalCrossTangent) {
    // A Bezier whose second derivative at the start leans 45 degrees along the tangent:
    // C'(0) = (3, 0, 0), C''(0) = (6, 6, 0). With unit T = (1, 0, 0) and A = (1, 1, 0) / sqrt 2,
    // (T x A) x T = (0, 1 / sqrt 2, 0): the start offset is d / sqrt 2 along y, not d.
    CurvePtr c(new YdBSplineCurve(
        Knots({0, 0, 0, 0, 1, 1, 1, 1}),
        {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(3, 1, 0), YdPoint(4, 3, 0)}, 3, false));
    const double d = 2.0;
    CurvePtr offset(c->OffSetCurve(d, 1e-6));
    ASSERT_NE(offset, nullptr);
    ASSERT_EQ(offset->FitPoints().size(), 11u);
    const YdPoint q0 = offset->FitPoints().front();
    EXPECT_TRUE(ydtest::PointsNear(q0, YdPoint(0.0, d / std::sqrt(2.0), 0.0), 1e-15));
}

TEST(OffSetCurve, OffsetPointsFollowTheTransportExactly) {
    struct Case {
        CurvePtr curve;
        double d;
        const char* what;
    };
    std::vector<Case> cases;
    cases.push_back({OpenSpaceCurve(), 0.8, "open space curve"});
    // A knot range that does not start at 0 and a double knot: the start frame is still taken
    // at the parameter 0.0, and the empty span gives no samples.
    cases.push_back(
        {CurvePtr(new YdBSplineCurve(
             Knots({0.2, 0.2, 0.2, 0.2, 0.5, 0.9, 0.9, 1.4, 1.4, 1.4, 1.4}),
             {YdPoint(0, 0, 0), YdPoint(2, 1, 0.5), YdPoint(4, 3, 1.0), YdPoint(6, 2, 2.0),
              YdPoint(8, 0, 2.5), YdPoint(9, 2, 3.0), YdPoint(10, 1, 3.0)},
             3, false)),
         -0.6, "shifted knot range"});
    cases.push_back({FittedCircle(7.0), 1.25, "closed circle"});
    for (Case& k : cases) {
        ASSERT_NE(k.curve, nullptr) << k.what;
        CurvePtr offset(k.curve->OffSetCurve(k.d, 1e-6));
        ASSERT_NE(offset, nullptr) << k.what;
        ExpectSamePoints(offset->FitPoints(), ReferenceOffsetPoints(*k.curve, k.d), k.what);
    }
}

// ---------------------------------------------------------------------------------------------
// Offset: properties

TEST(OffSetCurve, SpaceCurveOffsetPointsStayAtTheDistance) {
    // The transported offset vector stays perpendicular to the tangent and keeps its length, so
    // every offset point lies as far from the curve as the start offset (well inside the radius
    // of curvature), also without a fixed plane. The open fit's speed varies at the start, so
    // that length is d times the sine of the angle between C' and C'' there, a little below d.
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
    const double reach = StartOffsetLength(*c, d);
    ASSERT_GT(reach, 0.99 * d);
    ASSERT_LT(reach, d);
    const std::vector<YdPoint>& q = offset->FitPoints();
    ASSERT_GT(q.size(), 10u);
    for (std::size_t i = 0; i < q.size(); ++i) {
        EXPECT_NEAR(DistanceToCurve(*c, q[i]), reach, 1e-6) << "offset point " << i;
    }
    // And the fitted offset follows them within the fit tolerance (1e-3 in length).
    for (int i = 0; i <= 200; ++i) {
        const double u = i / 200.0;
        EXPECT_NEAR(DistanceToCurve(*c, offset->Evaluate(u)), reach, 2e-3) << "at u = " << u;
    }
}

TEST(OffSetCurve, OpenPlanarArcOffsetStaysOnTheConcaveSide) {
    // A quarter circle of radius 6 fitted through many points, offset towards its centre by 1
    // times the sine of the angle between C' and C'' at the start (the open fit's speed varies
    // there, so this is a little below 1).
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
    const double reach = StartOffsetLength(*c, 1.0);
    ASSERT_GT(reach, 0.99);
    for (int i = 0; i <= 100; ++i) {
        const double u = i / 100.0;
        const YdPoint q = offset->Evaluate(u);
        EXPECT_NEAR(DistanceToCurve(*c, q), reach, 1.2 * std::sqrt(tol)) << "at u = " << u;
        EXPECT_NEAR(std::hypot(q[0], q[1]), 6.0 - reach, arcError + 1.2 * std::sqrt(tol))
            << "at u = " << u;
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

TEST(OffSetCurve, StartAccelerationAlongTheTangentGivesNoOffset) {
    // A straight cubic with unevenly spaced control points: C'' is not zero at the start but
    // lies along C', so (T x A) x T vanishes and the offset points stay on the line.
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0), YdPoint(0.5, 1, 0), YdPoint(2, 4, 0),
                              YdPoint(3, 6, 0)};
    CurvePtr line(new YdBSplineCurve(Knots({0, 0, 0, 0, 1, 1, 1, 1}), ctrl, 3, false));
    CurvePtr offset(line->OffSetCurve(2.0, 1e-6));
    ASSERT_NE(offset, nullptr);
    for (const YdPoint& q : offset->FitPoints()) {
        EXPECT_NEAR(2.0 * q[0] - q[1], 0.0, 1e-12) << "at (" << q[0] << ", " << q[1] << ")";
        EXPECT_EQ(q[2], 0.0);
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

TEST(Rotate, KnotsAndControlPointsAreThePiecesJoinedExactly) {
    // The new knots are the first piece's without its last knot, scaled by r = LA / (LA + LB),
    // then the second piece's from index p + 1 on, mapped by r + (1 - r) k, and the whole
    // normalised; the control points are the first piece's and then the second piece's from
    // its second one on.
    std::vector<YdPoint> pts;
    for (int i = 0; i < 36; ++i) {
        const double a = 2.0 * kPi * i / 36;
        pts.emplace_back(5.0 * std::cos(a) + 0.7 * std::cos(2 * a), 3.0 * std::sin(a),
                         0.4 * std::sin(3 * a));
    }
    CurvePtr original(YdBSplineCurve::CreateApproximateCurve(pts, true, 1e-6));
    ASSERT_NE(original, nullptr);
    for (double u : {0.37, 0.9}) {
        CurvePtr a(original->ExtractSubCurve(u, 1.0));
        CurvePtr b(original->ExtractSubCurve(0.0, u));
        ASSERT_NE(a, nullptr) << "u = " << u;
        ASSERT_NE(b, nullptr) << "u = " << u;
        const int p = original->Degree();
        const double la = a->Length(0.0, 1.0, true);
        const double lb = b->Length(0.0, 1.0, true);
        const double r = la / (la + lb);
        std::vector<double> knots(a->KnotVec().GetKnots().begin(),
                                  a->KnotVec().GetKnots().end() - 1);
        for (double& k : knots) {
            k *= r;
        }
        const double joint = knots.back();
        const std::vector<double>& bk = b->KnotVec().GetKnots();
        for (std::size_t i = static_cast<std::size_t>(p) + 1; i < bk.size(); ++i) {
            knots.push_back(joint + (1.0 - joint) * bk[i]);
        }
        YdKnotVec expectedKnots = Knots(knots);
        expectedKnots.Normalize();
        std::vector<YdPoint> ctrl = a->CtrlPoints();
        ctrl.insert(ctrl.end(), b->CtrlPoints().begin() + 1, b->CtrlPoints().end());

        YdBSplineCurve rotated(*original);
        ASSERT_TRUE(rotated.Rotate(u)) << "u = " << u;
        EXPECT_EQ(rotated.KnotVec().GetKnots(), expectedKnots.GetKnots()) << "u = " << u;
        ExpectSamePoints(rotated.CtrlPoints(), ctrl, "rotated control points");
        EXPECT_EQ(rotated.FitPoints().size(), original->FitPoints().size()) << "u = " << u;
        EXPECT_EQ(rotated.GetPointsParams(), original->GetPointsParams()) << "u = " << u;
    }
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
