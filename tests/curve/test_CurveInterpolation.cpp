// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
#include "YdTestSupport.h"

namespace {

using CurvePtr = std::unique_ptr<YdBSplineCurve>;
using Derivs = std::vector<std::pair<int, YdVector>>;

// Points on a wavy 3-D path, with uneven spacing so that chord lengths differ.
std::vector<YdPoint> WavyPoints(int m, unsigned seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> step(0.5, 1.5);
    std::vector<YdPoint> pts;
    double t = 0.0;
    for (int i = 0; i < m; ++i) {
        pts.emplace_back(10 * std::cos(t), 7 * std::sin(1.3 * t), 0.5 * t);
        t += 0.4 * step(rng);
    }
    return pts;
}

// Points around an ellipse (for closed curves): the first point is not repeated at the end.
std::vector<YdPoint> LoopPoints(int m) {
    std::vector<YdPoint> pts;
    const double twoPi = 2 * std::acos(-1.0);
    for (int i = 0; i < m; ++i) {
        const double a = twoPi * (i + 0.3 * std::sin(i)) / m;
        pts.emplace_back(5 * std::cos(a), 3 * std::sin(a), std::sin(2 * a));
    }
    return pts;
}

double Scale(const std::vector<YdPoint>& pts) {
    double s = 1.0;
    for (const YdPoint& p : pts) {
        s = std::max({s, std::fabs(p[0]), std::fabs(p[1]), std::fabs(p[2])});
    }
    return s;
}

struct Eval {
    YdPoint pt;
    std::vector<YdVector> d;
};

Eval EvalAt(const YdBSplineCurve& c, double u, int n) {
    Eval e;
    c.Evaluate(u, n, e.pt, e.d);
    return e;
}

// Writes N[order] at u (negated if asked) into row `row` of the dense matrix, by plain stores.
void DenseBasisRow(YdMatrix& A, int row, const YdKnotVec& kv, int p, int order, double u,
                   bool negate) {
    std::vector<std::vector<double>> N;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(kv, p, order, u, N, span);
    for (int j = 0; j <= p; ++j) {
        const double v = N[static_cast<size_t>(order)][static_cast<size_t>(j)];
        A[row][span - p + j] = negate ? -v : v;
    }
}

// The interpolation system of a finished curve, assembled densely row by row from its knots
// and parameters and solved with YdMatrix's pivoted pair: the reference for the compact
// solver. Closure rows that would fall below the system are left out, as the factories do.
std::vector<YdPoint> DenseSolve(const YdBSplineCurve& c, const std::vector<YdPoint>& points,
                                const std::vector<double>& params, const Derivs& derivs) {
    const int p = c.Degree();
    const YdKnotVec& kv = c.KnotVec();
    const int n = kv.GetCount() - p - 1;
    const int m = static_cast<int>(points.size());
    YdMatrix A(n, n);
    std::vector<YdPoint> rhs(static_cast<size_t>(n), YdPoint(0, 0, 0));
    for (int i = 0; i < m; ++i) {
        DenseBasisRow(A, i, kv, p, 0, params[static_cast<size_t>(i)], false);
        rhs[static_cast<size_t>(i)] = points[static_cast<size_t>(i)];
    }
    if (c.IsClosed()) {
        for (int r = 0; r < p && m + r < n; ++r) {
            DenseBasisRow(A, m + r, kv, p, r, 0.0, false);
            DenseBasisRow(A, m + r, kv, p, r, 1.0, true);
        }
    }
    for (size_t k = 0; k < derivs.size(); ++k) {
        DenseBasisRow(A, m + static_cast<int>(k), kv, p, 1,
                      params[static_cast<size_t>(derivs[k].first)], false);
        const YdVector& v = derivs[k].second;
        rhs[static_cast<size_t>(m) + k] = YdPoint(v[0], v[1], v[2]);
    }
    std::vector<int> pivots(static_cast<size_t>(n), 0);
    EXPECT_TRUE(A.LUDecompose(pivots));
    EXPECT_TRUE(A.GetSolutionAfterLUDecompose(pivots, rhs));
    return rhs;
}

void ExpectSameControlPoints(const YdBSplineCurve& c, const std::vector<YdPoint>& expected,
                             const char* what) {
    ASSERT_EQ(static_cast<size_t>(c.GetNumOfCtrlPnts()), expected.size()) << what;
    for (size_t i = 0; i < expected.size(); ++i) {
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(c.CtrlPoints()[i][k], expected[i][k])
                << what << ": control point " << i << ", coordinate " << k;
        }
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(CurveInterpolation, TwoPointsGiveAStraightLineOfDegreeOne) {
    const std::vector<YdPoint> pts = {YdPoint(1, 2, 3), YdPoint(4, 6, 3)};
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 1);
    EXPECT_EQ(c->KnotVec().GetKnots(), (std::vector<double>{0, 0, 1, 1}));
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 2);
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[0], pts[0], 0.0));
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[1], pts[1], 0.0));
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(0.5), YdPoint(2.5, 4, 3), 1e-15));
}

TEST(CurveInterpolation, ThreePointsGiveDegreeTwoAndFourGiveDegreeThree) {
    const std::vector<YdPoint> pts = WavyPoints(6, 1);
    CurvePtr c3(YdBSplineCurve::CreateInterpolateCurve({pts[0], pts[1], pts[2]}, false));
    ASSERT_NE(c3, nullptr);
    EXPECT_EQ(c3->Degree(), 2);
    EXPECT_EQ(c3->GetNumOfCtrlPnts(), 3);
    for (int m = 4; m <= 6; ++m) {
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(
            std::vector<YdPoint>(pts.begin(), pts.begin() + m), false));
        ASSERT_NE(c, nullptr) << m << " points";
        EXPECT_EQ(c->Degree(), 3) << m << " points";
    }
}

TEST(CurveInterpolation, TwoPointsClosedKeepTheirMismatchedKnots) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(2, 0, 0)};
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, true));
    ASSERT_NE(c, nullptr);
    EXPECT_TRUE(c->IsClosed());
    EXPECT_EQ(c->Degree(), 1);
    EXPECT_EQ(c->KnotVec().GetKnots(), (std::vector<double>{0, 0, 0.5, 1, 1}));
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 2);
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[0], pts[0], 0.0));
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[1], pts[1], 0.0));
    // The knots ask for three control points: evaluation refuses to read a third one.
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(0.75), YdPoint(0, 0, 0), 0.0));
}

TEST(CurveInterpolation, OpenCurvePassesThroughEveryPointAtItsParameter) {
    for (int m : {4, 5, 7, 12, 40, 333}) {
        const std::vector<YdPoint> pts = WavyPoints(m, static_cast<unsigned>(m));
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
        ASSERT_NE(c, nullptr) << m << " points";
        EXPECT_EQ(c->GetNumOfCtrlPnts(), m);
        EXPECT_EQ(c->KnotVec().GetCount(), m + 4);
        ASSERT_EQ(c->GetPointsParams().size(), static_cast<size_t>(m));
        EXPECT_FALSE(c->IsClosed());
        const double tol = 1e-9 * Scale(pts);
        for (int i = 0; i < m; ++i) {
            EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->GetPointParam(i)),
                                           pts[static_cast<size_t>(i)], tol))
                << m << " points, point " << i;
        }
    }
}

TEST(CurveInterpolation, ClosedCurveJoinsWithEqualDerivatives) {
    for (int m : {4, 5, 9, 24, 200}) {
        const std::vector<YdPoint> pts = LoopPoints(m);
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, true));
        ASSERT_NE(c, nullptr) << m << " points";
        EXPECT_TRUE(c->IsClosed());
        EXPECT_EQ(c->Degree(), 3);
        EXPECT_EQ(c->GetNumOfCtrlPnts(), m + 3) << m << " points";
        ASSERT_EQ(c->GetPointsParams().size(), static_cast<size_t>(m + 1));
        const Eval a = EvalAt(*c, 0.0, 2);
        const Eval b = EvalAt(*c, 1.0, 2);
        const double s = Scale(pts);
        EXPECT_TRUE(ydtest::PointsNear(a.pt, b.pt, 1e-9 * s)) << m << " points";
        EXPECT_TRUE(ydtest::VectorsNear(a.d[0], b.d[0], 1e-9 * (s + a.d[0].Magnitude())))
            << m << " points";
        EXPECT_TRUE(ydtest::VectorsNear(a.d[1], b.d[1], 1e-9 * (s + a.d[1].Magnitude())))
            << m << " points";
        for (int i = 0; i < m; ++i) {
            EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->GetPointParam(i)),
                                           pts[static_cast<size_t>(i)], 1e-9 * s))
                << m << " points, point " << i;
        }
        EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(1.0), pts[0], 1e-9 * s));
    }
}

TEST(CurveInterpolation, ClosedThreePointsGiveAQuadraticWithEqualSlopesAtTheSeam) {
    const std::vector<YdPoint> pts = LoopPoints(3);
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, true));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 2);
    EXPECT_EQ(c->GetNumOfCtrlPnts(), 5);
    const Eval a = EvalAt(*c, 0.0, 1);
    const Eval b = EvalAt(*c, 1.0, 1);
    EXPECT_TRUE(ydtest::PointsNear(a.pt, b.pt, 1e-12));
    EXPECT_TRUE(ydtest::VectorsNear(a.d[0], b.d[0], 1e-10));
}

TEST(CurveInterpolation, TangentsAlongTheChordGiveEvenlySpacedControlPoints) {
    const YdPoint p0(1, 1, 1);
    const YdPoint p1(4, 5, 1);
    const YdVector d(0.6, 0.8, 0.0);
    CurvePtr c(YdBSplineCurve::CreateByEndPointsAndTangents(p0, p1, d, d));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 3);
    EXPECT_EQ(c->KnotVec().GetKnots(), (std::vector<double>{0, 0, 0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(c->GetPointsParams(), (std::vector<double>{0, 1}));
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 4);
    for (int i = 0; i < 4; ++i) {
        const YdPoint expected = p0 + (p1 - p0) * (i / 3.0);
        EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[static_cast<size_t>(i)], expected, 1e-14))
            << "control point " << i;
    }
}

TEST(CurveInterpolation, ThreePointsWithP1OnP0FallBackToTheTwoPointSegment) {
    const YdPoint p0(0, 0, 0);
    const YdPoint p2(3, 1, 0);
    const YdVector t0(1, 0, 0);
    const YdVector t2(0, 1, 0);
    CurvePtr c(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p0, p2, t0, t2));
    CurvePtr ref(YdBSplineCurve::CreateByEndPointsAndTangents(p0, p2, t0, t2));
    ASSERT_NE(c, nullptr);
    ASSERT_NE(ref, nullptr);
    EXPECT_EQ(c->KnotVec().GetKnots(), ref->KnotVec().GetKnots());
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[static_cast<size_t>(i)],
                                       ref->CtrlPoints()[static_cast<size_t>(i)], 0.0));
    }
    // The same with p1 on p2.
    CurvePtr d(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p2, p2, t0, t2));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->GetNumOfCtrlPnts(), 4);
}

// ---------------------------------------------------------------------------------------------
// Closed-form cubics: independent truths

TEST(CurveInterpolation, EndPointsAndTangentsGiveTheEndDerivatives) {
    const YdPoint p0(0, 0, 0);
    const YdPoint p1(2, 1, -1);
    const YdVector t0(3, 0, 0);
    const YdVector t1(0, -2, 1);
    CurvePtr c(YdBSplineCurve::CreateByEndPointsAndTangents(p0, p1, t0, t1));
    ASSERT_NE(c, nullptr);
    const Eval a = EvalAt(*c, 0.0, 1);
    const Eval b = EvalAt(*c, 1.0, 1);
    EXPECT_TRUE(ydtest::PointsNear(a.pt, p0, 1e-15));
    EXPECT_TRUE(ydtest::PointsNear(b.pt, p1, 1e-15));
    EXPECT_TRUE(ydtest::VectorsNear(a.d[0], t0, 1e-14));
    EXPECT_TRUE(ydtest::VectorsNear(b.d[0], t1, 1e-14));
}

TEST(CurveInterpolation, ThreePointsAndEndTangentsPassThroughTheMiddlePoint) {
    const YdPoint p0(0, 0, 0);
    const YdPoint p1(1, 2, 0.5);
    const YdPoint p2(4, 1, -1);
    const YdVector t0(2, 3, 0);
    const YdVector t2(3, -2, -1);
    CurvePtr c(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p1, p2, t0, t2));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 3);
    EXPECT_FALSE(c->IsClosed());
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 5);
    const double a = p0.DistanceToPoint(p1);
    const double t = a / (a + p1.DistanceToPoint(p2));
    ASSERT_EQ(c->KnotVec().GetCount(), 9);
    EXPECT_NEAR(c->KnotVec().GetKnots()[4], t, 1e-15);
    ASSERT_EQ(c->GetPointsParams().size(), 3u);
    EXPECT_NEAR(c->GetPointParam(1), t, 1e-15);
    ASSERT_EQ(c->FitPoints().size(), 3u);
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(t), p1, 1e-12));
    const Eval s = EvalAt(*c, 0.0, 1);
    const Eval e = EvalAt(*c, 1.0, 1);
    EXPECT_TRUE(ydtest::PointsNear(s.pt, p0, 1e-14));
    EXPECT_TRUE(ydtest::PointsNear(e.pt, p2, 1e-14));
    EXPECT_TRUE(ydtest::VectorsNear(s.d[0], t0, 1e-12));
    EXPECT_TRUE(ydtest::VectorsNear(e.d[0], t2, 1e-12));
}

TEST(CurveInterpolation, PointsOnALineGiveThatLine) {
    std::vector<YdPoint> pts;
    for (double s : {0.0, 0.3, 1.1, 1.5, 2.9, 3.0, 4.4}) {
        pts.emplace_back(1 + 2 * s, -1 + s, 0.5 * s);
    }
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
    ASSERT_NE(c, nullptr);
    const YdVector dir = pts.back() - pts.front();
    for (int i = 0; i <= 50; ++i) {
        const YdVector off = c->Evaluate(i / 50.0) - pts.front();
        EXPECT_NEAR((off * dir).Magnitude() / dir.Magnitude(), 0.0, 1e-12) << "at u = " << i / 50.0;
    }
}

// ---------------------------------------------------------------------------------------------
// Derivative constraints

TEST(CurveInterpolation, DerivativeConstraintsAreMetAtTheirPoints) {
    const std::vector<YdPoint> pts = WavyPoints(8, 3);
    const Derivs derivs = {
        {0, YdVector(20, 0, 0)}, {3, YdVector(0, 25, 1)}, {7, YdVector(-5, 5, 5)}};
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, derivs, false));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 3);
    EXPECT_EQ(c->GetNumOfCtrlPnts(), 8 + 3);
    const double s = Scale(pts);
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->GetPointParam(i)),
                                       pts[static_cast<size_t>(i)], 1e-9 * s))
            << "point " << i;
    }
    for (const auto& d : derivs) {
        const Eval e = EvalAt(*c, c->GetPointParam(d.first), 1);
        EXPECT_TRUE(ydtest::VectorsNear(e.d[0], d.second, 1e-9 * (s + d.second.Magnitude())))
            << "derivative at point " << d.first;
    }
}

TEST(CurveInterpolation, DerivativeCountRaisesTheDegreeOfShortLists) {
    const std::vector<YdPoint> pts = WavyPoints(3, 4);
    // m + k - 1 = 2 + 1: three points and one derivative give a cubic.
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{0, YdVector(1, 1, 0)}}, false));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 3);
    CurvePtr q(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{}, false));
    ASSERT_NE(q, nullptr);
    EXPECT_EQ(q->Degree(), 2);
}

TEST(CurveInterpolation, TwoPointsWithDerivativesIgnoreTheDerivatives) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 1, 1)};
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{0, YdVector(5, 0, 0)}}, false));
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 2);
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[0], pts[0], 0.0));
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[1], pts[1], 0.0));
}

TEST(CurveInterpolation, TwoPointsIgnoreEvenDerivativeIndicesOutsideTheList) {
    // With two points the derivatives are not used at all, so their indices cannot matter.
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 1, 1)};
    for (bool closed : {false, true}) {
        CurvePtr c(
            YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{5, YdVector(5, 0, 0)}}, closed));
        ASSERT_NE(c, nullptr) << (closed ? "closed" : "open");
        ASSERT_EQ(c->GetNumOfCtrlPnts(), 2);
        EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[0], pts[0], 0.0));
        EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[1], pts[1], 0.0));
    }
    CurvePtr d(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{-1, YdVector(1, 0, 0)}}, false));
    EXPECT_NE(d, nullptr);
}

TEST(CurveInterpolation, DerivativeIndexOutsideThePointsGivesNull) {
    const std::vector<YdPoint> pts = WavyPoints(6, 5);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{6, YdVector(1, 0, 0)}}, false),
              nullptr);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{-1, YdVector(1, 0, 0)}}, true),
              nullptr);
}

// ---------------------------------------------------------------------------------------------
// Caller's degree, parameters and knots

TEST(CurveInterpolation, GivenKnotsAndParametersAreUsedAsTheyStand) {
    const std::vector<YdPoint> pts = WavyPoints(6, 6);
    const std::vector<double> params = {0.0, 0.1, 0.3, 0.55, 0.8, 1.0};
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 0.25, 0.6, 1, 1, 1, 1});
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, 3, params, kv, false));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->KnotVec().GetKnots(), kv.GetKnots());
    EXPECT_TRUE(c->GetPointsParams().empty());
    EXPECT_EQ(c->FitPoints().size(), 6u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(params[static_cast<size_t>(i)]),
                                       pts[static_cast<size_t>(i)], 1e-9 * Scale(pts)))
            << "point " << i;
    }
}

TEST(CurveInterpolation, GivenKnotsWithTwoOrThreePointsTakeThePointsAsControlPoints) {
    const std::vector<YdPoint> pts = WavyPoints(3, 7);
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0.5, 1, 1, 1});
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, 2, {0, 0.5, 1}, kv, true));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->Degree(), 2);
    EXPECT_TRUE(c->IsClosed());
    EXPECT_EQ(c->KnotVec().GetKnots(), kv.GetKnots());
    ASSERT_EQ(c->GetNumOfCtrlPnts(), 3);
    EXPECT_TRUE(ydtest::PointsNear(c->CtrlPoints()[2], pts[2], 0.0));
}

TEST(CurveInterpolation, GivenDataThatCannotFormTheSystemGiveNull) {
    const std::vector<YdPoint> pts = WavyPoints(6, 8);
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 0.25, 0.6, 1, 1, 1, 1});
    const std::vector<double> params = {0.0, 0.1, 0.3, 0.55, 0.8, 1.0};
    // Too few parameters.
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, 3, {0, 0.5, 1}, kv, false), nullptr);
    // More points than unknowns.
    YdKnotVec shortKv;
    shortKv.SetKnots({0, 0, 0, 0, 0.5, 1, 1, 1, 1});
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, 3, params, shortKv, false), nullptr);
    // Knots too short for the degree, and a negative degree.
    YdKnotVec tiny;
    tiny.SetKnots({0, 1});
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, 3, params, tiny, false), nullptr);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, -1, params, kv, false), nullptr);
    // More unknowns than rows: a zero row makes the system singular.
    YdKnotVec longKv;
    longKv.SetKnots({0, 0, 0, 0, 0.2, 0.4, 0.6, 1, 1, 1, 1});
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, 3, params, longKv, false), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Bad input: null and nothing leaked (the sanitizer build checks the leaks)

TEST(CurveInterpolation, FewerThanTwoPointsGiveNull) {
    const std::vector<YdPoint> none;
    const std::vector<YdPoint> one = {YdPoint(1, 1, 1)};
    YdKnotVec kv;
    kv.SetKnots({0, 0, 1, 1});
    for (bool closed : {false, true}) {
        EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(none, closed), nullptr);
        EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(one, closed), nullptr);
        EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(none, Derivs{}, closed), nullptr);
        EXPECT_EQ(
            YdBSplineCurve::CreateInterpolateCurve(one, Derivs{{0, YdVector(1, 0, 0)}}, closed),
            nullptr);
        EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(none, 1, {}, kv, closed), nullptr);
        EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(one, 1, {0.0}, kv, closed), nullptr);
    }
}

TEST(CurveInterpolation, CoincidentPointsGiveNull) {
    std::vector<YdPoint> pts = WavyPoints(6, 9);
    pts[3] = pts[2];
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, false), nullptr);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, true), nullptr);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{{0, YdVector(1, 0, 0)}}, false),
              nullptr);
    const std::vector<YdPoint> same(5, YdPoint(2, 2, 2));
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(same, false), nullptr);
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(same, true), nullptr);
}

TEST(CurveInterpolation, SingularGivenSystemGivesNull) {
    // Two equal parameters make two equal rows.
    const std::vector<YdPoint> pts = WavyPoints(6, 10);
    YdKnotVec kv;
    kv.SetKnots({0, 0, 0, 0, 0.25, 0.6, 1, 1, 1, 1});
    EXPECT_EQ(YdBSplineCurve::CreateInterpolateCurve(pts, 3, {0, 0.2, 0.2, 0.5, 0.8, 1}, kv, false),
              nullptr);
}

// ---------------------------------------------------------------------------------------------
// The compact solver against the dense one, bit for bit

TEST(CurveInterpolation, ControlPointsEqualThoseOfTheDenseSolveOpen) {
    for (int m : {4, 5, 13, 64}) {
        const std::vector<YdPoint> pts = WavyPoints(m, static_cast<unsigned>(100 + m));
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
        ASSERT_NE(c, nullptr);
        ExpectSameControlPoints(*c, DenseSolve(*c, pts, c->GetPointsParams(), {}), "open");
    }
}

TEST(CurveInterpolation, ControlPointsEqualThoseOfTheDenseSolveClosed) {
    for (int m : {3, 4, 5, 11, 50}) {
        const std::vector<YdPoint> pts = LoopPoints(m);
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, true));
        ASSERT_NE(c, nullptr);
        ExpectSameControlPoints(*c, DenseSolve(*c, pts, c->GetPointsParams(), {}), "closed");
    }
}

TEST(CurveInterpolation, ControlPointsEqualThoseOfTheDenseSolveWithDerivatives) {
    const std::vector<YdPoint> pts = WavyPoints(9, 200);
    const Derivs ends = {{0, YdVector(3, 1, 0)}, {8, YdVector(0, -2, 1)}};
    const Derivs inner = {{2, YdVector(1, 4, 0)}, {5, YdVector(-3, 0, 1)}, {6, YdVector(0, 0, 2)}};
    for (const Derivs* d : {&ends, &inner}) {
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, *d, false));
        ASSERT_NE(c, nullptr);
        ExpectSameControlPoints(*c, DenseSolve(*c, pts, c->GetPointsParams(), *d),
                                "open with derivatives");
    }
}

TEST(CurveInterpolation, ControlPointsEqualThoseOfTheDenseSolveWithGivenKnots) {
    for (bool closed : {false, true}) {
        const std::vector<YdPoint> pts = closed ? LoopPoints(9) : WavyPoints(9, 400);
        std::vector<double> params;
        YdNurbsHelper::Parameterize(pts, closed, params);
        YdKnotVec kv;
        kv.InterpolateFix(params, 3, closed);
        CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, 3, params, kv, closed));
        ASSERT_NE(c, nullptr) << (closed ? "closed" : "open");
        EXPECT_EQ(c->KnotVec().GetKnots(), kv.GetKnots());
        EXPECT_EQ(c->GetNumOfCtrlPnts(), closed ? 9 + 3 : 9);
        ExpectSameControlPoints(*c, DenseSolve(*c, pts, params, {}),
                                closed ? "given knots, closed" : "given knots, open");
    }
}

TEST(CurveInterpolation, ClosedDerivativeRowsOverwriteTheClosureRows) {
    // Two derivative rows over three closure rows: rows m and m + 1 mix both, row m + 2 keeps
    // the closure of the second derivatives.
    const std::vector<YdPoint> pts = LoopPoints(10);
    const Derivs d = {{2, YdVector(-1, 2, 0)}, {6, YdVector(1, -1, 0.5)}};
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, d, true));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetNumOfCtrlPnts(), 10 + 1 + 2);
    ExpectSameControlPoints(*c, DenseSolve(*c, pts, c->GetPointsParams(), d),
                            "closed with derivatives");
    // The row that no derivative overwrote still joins the second derivatives at the seam.
    const Eval a = EvalAt(*c, 0.0, 2);
    const Eval b = EvalAt(*c, 1.0, 2);
    EXPECT_TRUE(ydtest::VectorsNear(a.d[1], b.d[1], 1e-9 * (1 + a.d[1].Magnitude())));
}

TEST(CurveInterpolation, ClosedWithoutDerivativesThroughTheConstraintOverloadClosesInPosition) {
    // With no derivative rows the system has room for the position closure only.
    const std::vector<YdPoint> pts = LoopPoints(8);
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, Derivs{}, true));
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->GetNumOfCtrlPnts(), 9);
    ExpectSameControlPoints(*c, DenseSolve(*c, pts, c->GetPointsParams(), {}),
                            "closed, no derivatives");
    EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(0.0), c->Evaluate(1.0), 1e-9));
    for (int i = 0; i < 8; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c->Evaluate(c->GetPointParam(i)),
                                       pts[static_cast<size_t>(i)], 1e-9 * Scale(pts)))
            << "point " << i;
    }
}

TEST(CurveInterpolation, LargeOpenInterpolationStillPassesThroughItsPoints) {
    const int m = 5000;
    const std::vector<YdPoint> pts = WavyPoints(m, 300);
    CurvePtr c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
    ASSERT_NE(c, nullptr);
    ASSERT_EQ(c->GetNumOfCtrlPnts(), m);
    const double tol = 1e-9 * Scale(pts);
    for (int i = 0; i < m; i += 7) {
        EXPECT_TRUE(
            ydtest::PointsNear(c->Evaluate(c->GetPointParam(i)), pts[static_cast<size_t>(i)], tol))
            << "point " << i;
    }
}
