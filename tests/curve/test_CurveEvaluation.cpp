// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
#include "YdTestAccess.h"
#include "YdTestSupport.h"

namespace {

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

// A clamped curve of the given degree on [0, 1] with `interior` sorted random interior knots
// and random control points in the unit cube times 10.
YdBSplineCurve RandomCurve(std::mt19937& rng, int degree, int interior) {
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    std::vector<double> in;
    for (int i = 0; i < interior; ++i) {
        in.push_back(0.05 + 0.9 * uni(rng));
    }
    std::sort(in.begin(), in.end());
    std::vector<double> k(static_cast<size_t>(degree + 1), 0.0);
    k.insert(k.end(), in.begin(), in.end());
    k.insert(k.end(), static_cast<size_t>(degree + 1), 1.0);
    std::vector<YdPoint> pts;
    for (int i = 0; i < degree + 1 + interior; ++i) {
        pts.emplace_back(10 * uni(rng), 10 * uni(rng), 10 * uni(rng));
    }
    return YdBSplineCurve(Knots(k), pts, degree, false);
}

YdPoint Lerp(const YdPoint& a, const YdPoint& b, double t) {
    return YdPoint(a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1]), a[2] + t * (b[2] - a[2]));
}

// The point of a single Bezier segment by repeated linear interpolation of its polygon: an
// evaluation that shares no code with the basis-function route.
YdPoint RepeatedLerp(std::vector<YdPoint> pts, double u) {
    for (size_t level = 1; level < pts.size(); ++level) {
        for (size_t i = 0; i + level < pts.size(); ++i) {
            pts[i] = Lerp(pts[i], pts[i + 1], u);
        }
    }
    return pts[0];
}

// A 4 x 4 rigid motion: rotation by `angle` about `axis`, then translation t.
YdMatrix RigidMotion(const YdVector& axis, double angle, const YdVector& t) {
    const YdMatrix r = YdMatrix::s_GetRotationMatrix(axis, angle);
    YdMatrix m(4, 4);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            m[i][j] = r[i][j];
        }
        m[i][3] = t[i];
    }
    m[3][3] = 1.0;
    return m;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(CurveObject, OnePointConstructorMakesAClosedCubicAtThePoint) {
    const YdPoint p(1.5, -2.0, 3.25);
    const YdBSplineCurve c(p);
    EXPECT_TRUE(c.IsClosed());
    EXPECT_EQ(c.Degree(), 3);
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 4);
    EXPECT_EQ(c.KnotVec().GetKnots(), (std::vector<double>{0, 0, 0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(c.GetPointsParams(), (std::vector<double>{0, 0, 0, 0, 1, 1, 1, 1}));
    EXPECT_EQ(c.FitPoints().size(), 4u);
    for (double u : {-0.5, 0.0, 0.25, 0.5, 0.9, 1.0, 2.0}) {
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(u), p, 1e-14)) << "at u = " << u;
    }
}

TEST(CurveEvaluation, EndParametersGiveTheEndControlPoints) {
    std::mt19937 rng(7);
    for (int degree = 1; degree <= 5; ++degree) {
        const YdBSplineCurve c = RandomCurve(rng, degree, 4);
        EXPECT_EQ(c.startParam(), 0.0);
        EXPECT_EQ(c.endParam(), 1.0);
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(c.startParam()), c.CtrlPoints().front(), 1e-13))
            << "degree " << degree;
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(c.endParam()), c.CtrlPoints().back(), 1e-13))
            << "degree " << degree;
    }
}

TEST(CurveEvaluation, NoDerivativesGiveAnEmptyListAndTrue) {
    std::mt19937 rng(8);
    const YdBSplineCurve c = RandomCurve(rng, 3, 2);
    std::vector<YdVector> derivs(3, YdVector(1, 2, 3));
    YdPoint pt;
    EXPECT_TRUE(c.Evaluate(0.4, 0, pt, derivs));
    EXPECT_TRUE(derivs.empty());
    EXPECT_TRUE(ydtest::PointsNear(pt, c.Evaluate(0.4), 0.0));
}

TEST(CurveObject, ReverseReflectsASingleInteriorKnot) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < 5; ++i) {
        pts.emplace_back(i, i * i, 0);
    }
    YdBSplineCurve c(Knots({0, 0, 0, 0, 0.25, 1, 1, 1, 1}), pts, 3, false);
    c.Reverse();
    EXPECT_EQ(c.KnotVec().GetKnots(), (std::vector<double>{0, 0, 0, 0, 0.75, 1, 1, 1, 1}));
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[static_cast<size_t>(i)],
                                       pts[static_cast<size_t>(4 - i)], 0.0))
            << "control point " << i;
    }
}

TEST(CurveObject, ReverseWithTwoInteriorKnotsKeepsTheKnotsAndReversesThePoints) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < 6; ++i) {
        pts.emplace_back(i, 2 * i, -i);
    }
    const std::vector<double> knots = {0, 0, 0, 0, 0.3, 0.6, 1, 1, 1, 1};
    YdBSplineCurve c(Knots(knots), pts, 3, false);
    c.Reverse();
    ASSERT_EQ(c.KnotVec().GetCount(), 10);
    for (size_t i = 0; i < knots.size(); ++i) {
        // Reflected twice: back to the old value up to the rounding of 1 - (1 - x).
        EXPECT_NEAR(c.KnotVec().GetKnots()[i], knots[i], 1e-15) << "knot " << i;
    }
    for (int i = 0; i < 6; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[static_cast<size_t>(i)],
                                       pts[static_cast<size_t>(5 - i)], 0.0))
            << "control point " << i;
    }
}

TEST(CurveObject, TransformWithTheIdentityLeavesTheCurveUnchanged) {
    std::mt19937 rng(9);
    YdBSplineCurve c = RandomCurve(rng, 3, 3);
    const YdBSplineCurve before = c;
    YdMatrix id(4, 4);
    id.SetIdentity();
    c.Transform(id);
    EXPECT_EQ(c.KnotVec().GetKnots(), before.KnotVec().GetKnots());
    for (int i = 0; i < c.GetNumOfCtrlPnts(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[static_cast<size_t>(i)],
                                       before.CtrlPoints()[static_cast<size_t>(i)], 0.0))
            << "control point " << i;
    }
    for (double u = 0.0; u <= 1.0; u += 0.125) {
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(u), before.Evaluate(u), 0.0)) << "at u = " << u;
    }
}

TEST(CurveObject, DefaultCurveIsEmptyOpenDegreeZero) {
    const YdBSplineCurve c;
    EXPECT_EQ(c.Degree(), 0);
    EXPECT_FALSE(c.IsClosed());
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 0);
    EXPECT_EQ(c.KnotVec().GetCount(), 0);
    EXPECT_TRUE(c.FitPoints().empty());
    EXPECT_TRUE(c.GetPointsParams().empty());
    EXPECT_EQ(c.startParam(), 0.0);
    EXPECT_EQ(c.endParam(), 0.0);
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.5), YdPoint(0, 0, 0), 0.0));
}

TEST(CurveObject, FitPointConstructorStoresOnlyPointsDegreeAndFlag) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 1, 0), YdPoint(2, 0, 0)};
    const YdBSplineCurve c(pts, 2, true);
    EXPECT_EQ(c.Degree(), 2);
    EXPECT_TRUE(c.IsClosed());
    ASSERT_EQ(c.FitPoints().size(), 3u);
    EXPECT_TRUE(ydtest::PointsNear(c.FitPoints()[1], pts[1], 0.0));
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 0);
    EXPECT_EQ(c.KnotVec().GetCount(), 0);
    EXPECT_TRUE(c.GetPointsParams().empty());
}

TEST(CurveObject, KnotConstructorStoresKnotsAndPointsOnly) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 1, 0)};
    const YdBSplineCurve c(Knots({0.2, 0.2, 0.9, 0.9}), pts, 1, false);
    EXPECT_EQ(c.Degree(), 1);
    EXPECT_FALSE(c.IsClosed());
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 2);
    EXPECT_EQ(c.startParam(), 0.2);
    EXPECT_EQ(c.endParam(), 0.9);
    EXPECT_TRUE(c.FitPoints().empty());
    EXPECT_TRUE(c.GetPointsParams().empty());
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.55), YdPoint(0.5, 0.5, 0), 1e-15));
}

TEST(CurveObject, CopyAndAssignmentCopyAllMembers) {
    YdBSplineCurve a(YdPoint(1, 2, 3));
    const YdBSplineCurve b(a);
    EXPECT_EQ(b.Degree(), 3);
    EXPECT_TRUE(b.IsClosed());
    EXPECT_EQ(b.KnotVec().GetKnots(), a.KnotVec().GetKnots());
    EXPECT_EQ(b.GetPointsParams(), a.GetPointsParams());
    EXPECT_EQ(b.FitPoints().size(), 4u);
    EXPECT_EQ(b.GetNumOfCtrlPnts(), 4);

    YdBSplineCurve c;
    c = a;
    EXPECT_EQ(c.Degree(), 3);
    EXPECT_TRUE(c.IsClosed());
    EXPECT_EQ(c.GetPointsParams().size(), 8u);
    const YdBSplineCurve& alias = c;
    c = alias;  // self-assignment keeps everything
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 4);
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.3), YdPoint(1, 2, 3), 1e-14));

    // Deep copies: editing the copy leaves the original alone.
    c.CtrlPoints()[0] = YdPoint(9, 9, 9);
    c.KnotVec().GetKnots()[4] = 0.5;
    EXPECT_TRUE(ydtest::PointsNear(a.CtrlPoints()[0], YdPoint(1, 2, 3), 0.0));
    EXPECT_EQ(a.KnotVec().GetKnots()[4], 1.0);
}

TEST(CurveObject, AllocateMemorySetsDegreePointsAndZeroKnots) {
    YdBSplineCurve c(YdPoint(1, 1, 1));
    c.AllocateMemory(2, 5, true);
    EXPECT_EQ(c.Degree(), 2);
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 5);
    for (const YdPoint& p : c.CtrlPoints()) {
        EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(0, 0, 0), 0.0));
    }
    EXPECT_EQ(c.KnotVec().GetKnots(), std::vector<double>(8, 0.0));

    c.AllocateMemory(3, 2, false);
    EXPECT_EQ(c.Degree(), 3);
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 2);
    EXPECT_EQ(c.KnotVec().GetCount(), 8);  // knots untouched

    c.AllocateMemory(3, -4, true);
    EXPECT_EQ(c.GetNumOfCtrlPnts(), 0);
    EXPECT_EQ(c.KnotVec().GetCount(), 0);
}

TEST(CurveObject, DetermineKnotVectorUsesTheOpenRuleEvenForClosedCurves) {
    const std::vector<double> params = {0, 0.1, 0.35, 0.6, 0.8, 1};
    YdBSplineCurve c(std::vector<YdPoint>(6, YdPoint()), 3, true);
    YdBSplineCurveTestAccess::Params(c) = params;
    YdBSplineCurveTestAccess::DetermineKnotVector(c, true);
    YdKnotVec expected;
    expected.InterpolateFix(params, 3, false);
    EXPECT_EQ(c.KnotVec().GetKnots(), expected.GetKnots());

    c.AllocateMemory(3, 5, false);
    YdBSplineCurveTestAccess::DetermineKnotVector(c, false);
    YdKnotVec approx;
    approx.ApproximateFix(params, 5, 3);
    EXPECT_EQ(c.KnotVec().GetKnots(), approx.GetKnots());
}

TEST(CurveEvaluation, DerivativesAboveTheDegreeAreZeroVectors) {
    std::mt19937 rng(11);
    const YdBSplineCurve c = RandomCurve(rng, 2, 3);
    std::vector<YdVector> derivs;
    YdPoint pt;
    EXPECT_TRUE(c.Evaluate(0.3, 5, pt, derivs));
    ASSERT_EQ(derivs.size(), 5u);
    EXPECT_FALSE(derivs[1].IsZero());  // the second derivative of a quadratic span is constant
    for (size_t k = 2; k < 5; ++k) {
        EXPECT_EQ(derivs[k][0], 0.0) << "order " << k + 1;
        EXPECT_EQ(derivs[k][1], 0.0) << "order " << k + 1;
        EXPECT_EQ(derivs[k][2], 0.0) << "order " << k + 1;
    }
}

TEST(CurveEvaluation, NegativeDerivativeCountGivesAnEmptyList) {
    std::mt19937 rng(12);
    const YdBSplineCurve c = RandomCurve(rng, 3, 1);
    std::vector<YdVector> derivs(2);
    YdPoint pt;
    EXPECT_TRUE(c.Evaluate(0.3, -2, pt, derivs));
    EXPECT_TRUE(derivs.empty());
    EXPECT_TRUE(ydtest::PointsNear(pt, c.Evaluate(0.3), 0.0));
}

TEST(CurveEvaluation, CurvesWithoutASpanGiveTheZeroPointAndZeroDerivatives) {
    const std::vector<YdPoint> four(4, YdPoint(1, 1, 1));
    std::vector<YdBSplineCurve> bad;
    bad.emplace_back(Knots({0, 0, 1}), four, 3, false);  // too few knots
    bad.emplace_back(Knots({0, 0, 0, 0, 1, 1, 1, 1}), std::vector<YdPoint>(3, YdPoint(1, 1, 1)), 3,
                     false);                                 // too few control points
    bad.emplace_back(Knots({0, 0, 1, 1}), four, -1, false);  // negative degree
    bad.emplace_back(Knots({0, 0, 0.5, 1, 1}), std::vector<YdPoint>(2, YdPoint(1, 1, 1)), 1,
                     true);  // one knot too many
    for (size_t i = 0; i < bad.size(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(bad[i].Evaluate(0.5), YdPoint(0, 0, 0), 0.0))
            << "curve " << i;
        std::vector<YdVector> derivs(1, YdVector(5, 5, 5));
        YdPoint pt(4, 4, 4);
        EXPECT_TRUE(bad[i].Evaluate(1.0, 2, pt, derivs)) << "curve " << i;
        EXPECT_TRUE(ydtest::PointsNear(pt, YdPoint(0, 0, 0), 0.0)) << "curve " << i;
        ASSERT_EQ(derivs.size(), 2u);
        for (const YdVector& d : derivs) {
            EXPECT_TRUE(ydtest::VectorsNear(d, YdVector(0, 0, 0), 0.0)) << "curve " << i;
        }
    }
}

TEST(CurveEvaluation, ExtraControlPointsBeyondTheKnotsAreIgnored) {
    // More control points than the knots use is read only where the knots reach.
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(2, 0, 0), YdPoint(7, 7, 7)};
    const YdBSplineCurve c(Knots({0, 0, 1, 1}), pts, 1, false);
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.25), YdPoint(0.5, 0, 0), 1e-15));
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(1.0), YdPoint(2, 0, 0), 1e-15));
}

TEST(CurveEvaluation, EvaluatedPointsAreFreshPointsWhateverTheControlPointsCarry) {
    std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0)};
    for (YdPoint& q : pts) {
        q.m_nAttr1 = 7;
        q.m_nAttr5 = 8;
        q.m_dAttr1 = 1.5;
        q.m_dAttr8 = 2.5;
        q.m_bFlag = true;
        q.m_angle = 0.3;
    }
    const YdBSplineCurve c(Knots({0, 0, 0, 1, 1, 1}), pts, 2, false);
    const YdPoint r = c.Evaluate(0.5);
    EXPECT_EQ(r.m_nAttr1, 0);
    EXPECT_EQ(r.m_nAttr5, 0);
    EXPECT_EQ(r.m_dAttr1, 0.0);
    EXPECT_EQ(r.m_dAttr8, 0.0);
    EXPECT_FALSE(r.m_bFlag);
    EXPECT_EQ(r.m_angle, 0.0);

    // The out-parameter is assigned a fresh point: what assignment copies is reset, what it
    // leaves (the angle and two host slots) stays.
    YdPoint pt(9, 9, 9);
    pt.m_nAttr2 = 3;
    pt.m_dAttr4 = 4.0;
    pt.m_angle = 1.25;
    pt.m_dAttr2 = 2.0;
    pt.m_dAttr3 = 3.0;
    std::vector<YdVector> d;
    c.Evaluate(0.5, 1, pt, d);
    EXPECT_EQ(pt.m_nAttr2, 0);
    EXPECT_EQ(pt.m_dAttr4, 0.0);
    EXPECT_EQ(pt.m_angle, 1.25);
    EXPECT_EQ(pt.m_dAttr2, 2.0);
    EXPECT_EQ(pt.m_dAttr3, 3.0);
    EXPECT_TRUE(ydtest::PointsNear(pt, r, 0.0));
}

// ---------------------------------------------------------------------------------------------
// Independent truths

TEST(CurveEvaluation, BezierCurvesMatchRepeatedInterpolationAlsoOutsideTheRange) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<double> uni(-1.0, 1.0);
    // Degree 16 and above run on heap scratch; the result must not change.
    for (int p : {1, 2, 3, 4, 7, 15, 16, 20}) {
        std::vector<YdPoint> pts;
        for (int i = 0; i <= p; ++i) {
            pts.emplace_back(uni(rng), uni(rng), uni(rng));
        }
        std::vector<double> k(static_cast<size_t>(p + 1), 0.0);
        k.insert(k.end(), static_cast<size_t>(p + 1), 1.0);
        const YdBSplineCurve c(Knots(k), pts, p, false);
        for (double u : {-0.25, 0.0, 0.2, 0.5, 0.77, 1.0, 1.25}) {
            EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(u), RepeatedLerp(pts, u), 1e-11))
                << "degree " << p << " at u = " << u;
        }
    }
}

TEST(CurveEvaluation, QuadraticBezierDerivativesAreExact) {
    const YdPoint p0(0, 0, 0);
    const YdPoint p1(1, 2, 0);
    const YdPoint p2(3, 0, 1);
    const YdBSplineCurve c(Knots({0, 0, 0, 1, 1, 1}), {p0, p1, p2}, 2, false);
    for (double u : {0.0, 0.3, 0.5, 1.0}) {
        std::vector<YdVector> d;
        YdPoint pt;
        ASSERT_TRUE(c.Evaluate(u, 2, pt, d));
        const YdVector d1 = (p1 - p0) * (2 * (1 - u)) + (p2 - p1) * (2 * u);
        const YdVector d2 = ((p2 - p1) - (p1 - p0)) * 2.0;
        EXPECT_TRUE(ydtest::VectorsNear(d[0], d1, 1e-14)) << "at u = " << u;
        EXPECT_TRUE(ydtest::VectorsNear(d[1], d2, 1e-14)) << "at u = " << u;
    }
}

TEST(CurveEvaluation, PointAndDerivativesUseTheBasisFunctionsBitForBit) {
    std::mt19937 rng(31);
    std::uniform_real_distribution<double> uni(-0.1, 1.1);
    // Degrees with their own compiled copy of the recurrence, the general one, and one above
    // the inline scratch size.
    const int degrees[] = {1, 2, 3, 4, 5, 6, 7, 16};
    for (int trial = 0; trial < 48; ++trial) {
        const int p = degrees[trial % 8];
        const YdBSplineCurve c = RandomCurve(rng, p, trial % 7);
        for (int s = 0; s < 10; ++s) {
            const double u = uni(rng);
            const YdPoint plain = c.Evaluate(u);
            // Every derivative count, since each may run on its own compiled copy.
            for (int nd = 1; nd <= p; ++nd) {
                std::vector<std::vector<double>> N;
                int span = -1;
                YdNurbsHelper::GetBasisFunctionValue(c.KnotVec(), p, nd, u, N, span);
                std::vector<YdVector> d;
                YdPoint pt;
                c.Evaluate(u, nd, pt, d);
                for (int k = 0; k <= nd; ++k) {
                    double x[3] = {0.0, 0.0, 0.0};
                    for (int j = 0; j <= p; ++j) {
                        const YdPoint& P = c.CtrlPoints()[static_cast<size_t>(span - p + j)];
                        for (int i = 0; i < 3; ++i) {
                            x[i] += N[static_cast<size_t>(k)][static_cast<size_t>(j)] * P[i];
                        }
                    }
                    for (int i = 0; i < 3; ++i) {
                        if (k == 0) {
                            EXPECT_EQ(pt[i], x[i]) << "degree " << p << " at u = " << u;
                            EXPECT_EQ(plain[i], x[i]) << "degree " << p << " at u = " << u;
                        } else {
                            EXPECT_EQ(d[static_cast<size_t>(k - 1)][i], x[i])
                                << "derivative " << k << " of " << nd << ", degree " << p
                                << " at u = " << u;
                        }
                    }
                }
            }
        }
    }
}

TEST(CurveEvaluation, DerivativesMatchCentralDifferences) {
    std::mt19937 rng(41);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    for (int trial = 0; trial < 30; ++trial) {
        const int p = 2 + trial % 4;
        const YdBSplineCurve c = RandomCurve(rng, p, 1 + trial % 6);
        const std::vector<double>& U = c.KnotVec().GetKnots();
        for (int s = 0; s < 10; ++s) {
            const double u = uni(rng);
            const double h = 1e-6;
            // Keep u +- h inside one span: the derivatives jump at knots.
            bool nearKnot = false;
            for (double k : U) {
                nearKnot = nearKnot || std::fabs(k - u) < 10 * h;
            }
            if (nearKnot) {
                continue;
            }
            std::vector<YdVector> d0;
            std::vector<YdVector> dm;
            std::vector<YdVector> dp;
            YdPoint p0;
            YdPoint pm;
            YdPoint pp;
            c.Evaluate(u, 2, p0, d0);
            c.Evaluate(u - h, 2, pm, dm);
            c.Evaluate(u + h, 2, pp, dp);
            const YdVector fd1 = (pp - pm) * (1.0 / (2 * h));
            const YdVector fd2 = (dp[0] - dm[0]) * (1.0 / (2 * h));
            const double s1 = std::max(1.0, d0[0].Magnitude());
            const double s2 = std::max(1.0, d0[1].Magnitude());
            EXPECT_TRUE(ydtest::VectorsNear(d0[0], fd1, 1e-6 * s1 + 1e-7 * s2))
                << "first derivative, degree " << p << " at u = " << u;
            EXPECT_TRUE(ydtest::VectorsNear(d0[1], fd2, 1e-5 * s2))
                << "second derivative, degree " << p << " at u = " << u;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Round trips

TEST(CurveObject, RigidMotionMovesEveryEvaluatedPointByThatMotion) {
    std::mt19937 rng(51);
    YdBSplineCurve c = RandomCurve(rng, 3, 5);
    const YdBSplineCurve before = c;
    const YdMatrix m = RigidMotion(YdVector(1, -2, 0.5), 0.7, YdVector(3, -1, 2));
    c.Transform(m);
    EXPECT_EQ(c.KnotVec().GetKnots(), before.KnotVec().GetKnots());
    for (int i = 0; i <= 40; ++i) {
        const double u = i / 40.0;
        EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(u), m * before.Evaluate(u), 1e-12))
            << "at u = " << u;
        // A rigid motion turns derivatives without translating them.
        std::vector<YdVector> d;
        std::vector<YdVector> d0;
        YdPoint pt;
        c.Evaluate(u, 1, pt, d);
        before.Evaluate(u, 1, pt, d0);
        EXPECT_TRUE(ydtest::VectorsNear(d[0], m * d0[0], 1e-10 * (1 + d0[0].Magnitude())))
            << "at u = " << u;
    }
}

TEST(CurveObject, TransformAlsoMovesTheFitPoints) {
    YdBSplineCurve c(YdPoint(1, 0, 0));
    const YdMatrix m = RigidMotion(YdVector(0, 0, 1), std::acos(-1.0) / 2, YdVector(0, 0, 5));
    c.Transform(m);
    for (const YdPoint& p : c.FitPoints()) {
        EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(0, 1, 5), 1e-15));
    }
    EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(0.5), YdPoint(0, 1, 5), 1e-15));
}

TEST(CurveObject, ReverseTwiceRestoresTheCurve) {
    std::mt19937 rng(61);
    for (int interior = 0; interior <= 7; ++interior) {
        YdBSplineCurve c = RandomCurve(rng, 3, interior);
        const YdBSplineCurve before = c;
        c.Reverse();
        c.Reverse();
        ASSERT_EQ(c.KnotVec().GetCount(), before.KnotVec().GetCount());
        for (int i = 0; i < c.KnotVec().GetCount(); ++i) {
            EXPECT_NEAR(c.KnotVec().GetKnots()[static_cast<size_t>(i)],
                        before.KnotVec().GetKnots()[static_cast<size_t>(i)], 1e-15)
                << interior << " interior knots, knot " << i;
        }
        for (int i = 0; i < c.GetNumOfCtrlPnts(); ++i) {
            EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[static_cast<size_t>(i)],
                                           before.CtrlPoints()[static_cast<size_t>(i)], 0.0))
                << interior << " interior knots, control point " << i;
        }
        for (int i = 0; i <= 20; ++i) {
            EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(i / 20.0), before.Evaluate(i / 20.0), 1e-12))
                << interior << " interior knots at u = " << i / 20.0;
        }
    }
}

TEST(CurveObject, ReverseWithAnOddNumberOfInteriorKnotsTracesTheCurveBackwards) {
    std::mt19937 rng(71);
    for (int interior : {1, 3, 5, 7}) {
        for (int p : {2, 3}) {
            YdBSplineCurve c = RandomCurve(rng, p, interior);
            const YdBSplineCurve before = c;
            c.Reverse();
            for (int i = 0; i <= 50; ++i) {
                const double u = i / 50.0;
                EXPECT_TRUE(ydtest::PointsNear(c.Evaluate(u), before.Evaluate(1.0 - u), 1e-11))
                    << "degree " << p << ", " << interior << " interior knots at u = " << u;
            }
        }
    }
}

TEST(CurveObject, ReverseWithFourInteriorKnotsPutsTheMiddlePairBack) {
    std::vector<YdPoint> pts(8, YdPoint(0, 0, 0));
    YdBSplineCurve c(Knots({0, 0, 0, 0, 0.2, 0.3, 0.6, 0.9, 1, 1, 1, 1}), pts, 3, false);
    c.Reverse();
    const std::vector<double> expected = {0, 0, 0, 0, 0.1, 0.3, 0.6, 0.8, 1, 1, 1, 1};
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NEAR(c.KnotVec().GetKnots()[i], expected[i], 1e-15) << "knot " << i;
    }
}

TEST(CurveObject, ReverseOfADegenerateCurveTouchesOnlyWhatExists) {
    YdBSplineCurve empty;
    empty.Reverse();
    EXPECT_EQ(empty.GetNumOfCtrlPnts(), 0);
    YdBSplineCurve negative(Knots({0, 0.5, 1}), {YdPoint(1, 0, 0), YdPoint(2, 0, 0)}, -2, false);
    negative.Reverse();
    EXPECT_EQ(negative.KnotVec().GetKnots(), (std::vector<double>{0, 0.5, 1}));
    EXPECT_TRUE(ydtest::PointsNear(negative.CtrlPoints()[0], YdPoint(2, 0, 0), 0.0));
}
