// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
#include "YdTestSupport.h"

namespace {

using CurvePtr = std::unique_ptr<YdBSplineCurve>;

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

// A curve of the given degree on the given knots, with control points on a bent space path so
// that every knot insertion has something to get wrong.
CurvePtr MakeCurve(const std::vector<double>& knots, int degree, double phase = 0.0) {
    const int n = static_cast<int>(knots.size()) - degree - 1;
    std::vector<YdPoint> ctrl;
    for (int i = 0; i < n; ++i) {
        const double x = i * 1.5 + phase;
        ctrl.emplace_back(x, 2.0 * (i % 3) - phase, 0.5 * i * i - 3.0 * phase);
    }
    return CurvePtr(new YdBSplineCurve(Knots(knots), ctrl, degree, false));
}

std::vector<YdPoint> Sample(const YdBSplineCurve& c, int count = 101) {
    std::vector<YdPoint> out;
    for (int i = 0; i <= count - 1; ++i) {
        out.push_back(c.Evaluate(static_cast<double>(i) / (count - 1)));
    }
    return out;
}

void ExpectSameShape(const std::vector<YdPoint>& before, const YdBSplineCurve& after,
                     const char* which) {
    const std::vector<YdPoint> now = Sample(after, static_cast<int>(before.size()));
    for (std::size_t i = 0; i < before.size(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(before[i], now[i], 1e-10))
            << which << " at u = " << static_cast<double>(i) / (before.size() - 1);
    }
}

void ExpectUntouched(const YdBSplineCurve& c, const std::vector<double>& knots,
                     const std::vector<YdPoint>& ctrl) {
    EXPECT_EQ(c.KnotVec().GetKnots(), knots);
    ASSERT_EQ(c.CtrlPoints().size(), ctrl.size());
    for (std::size_t i = 0; i < ctrl.size(); ++i) {
        EXPECT_TRUE(ydtest::PointsNear(c.CtrlPoints()[i], ctrl[i], 0.0)) << "control point " << i;
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(MakeCurvesCompatible, EmptyListIsTrue) {
    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({}));
}

TEST(MakeCurvesCompatible, OneCurveIsTrueAndUnchanged) {
    CurvePtr c = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    const std::vector<double> knots = c->KnotVec().GetKnots();
    const std::vector<YdPoint> ctrl = c->CtrlPoints();
    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({c.get()}));
    ExpectUntouched(*c, knots, ctrl);
}

TEST(MakeCurvesCompatible, TwoCubicsGetTheUnionOfTheirKnots) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.25, 1, 1, 1, 1}, 3, 0.7);
    const std::vector<YdPoint> shapeA = Sample(*a);
    const std::vector<YdPoint> shapeB = Sample(*b);

    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));

    const std::vector<double> expected{0, 0, 0, 0, 0.25, 0.5, 1, 1, 1, 1};
    EXPECT_EQ(a->KnotVec().GetKnots(), expected);
    EXPECT_EQ(b->KnotVec().GetKnots(), expected);
    EXPECT_EQ(a->GetNumOfCtrlPnts(), 6);
    EXPECT_EQ(b->GetNumOfCtrlPnts(), 6);
    ExpectSameShape(shapeA, *a, "first curve");
    ExpectSameShape(shapeB, *b, "second curve");
}

TEST(MakeCurvesCompatible, CubicAndQuadraticAreRefusedUntouched) {
    CurvePtr cubic = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr quad = MakeCurve({0, 0, 0, 0.25, 1, 1, 1}, 2);
    const std::vector<double> kc = cubic->KnotVec().GetKnots();
    const std::vector<double> kq = quad->KnotVec().GetKnots();
    const std::vector<YdPoint> pc = cubic->CtrlPoints();
    const std::vector<YdPoint> pq = quad->CtrlPoints();

    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({cubic.get(), quad.get()}));
    ExpectUntouched(*cubic, kc, pc);
    ExpectUntouched(*quad, kq, pq);
}

TEST(MakeCurvesCompatible, DegreeMismatchLaterInTheListChangesNoEarlierCurve) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.25, 1, 1, 1, 1}, 3);
    CurvePtr quad = MakeCurve({0, 0, 0, 0.75, 1, 1, 1}, 2);
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();

    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get(), quad.get()}));
    ExpectUntouched(*a, ka, pa);
}

TEST(MakeSurfacesCompatible, AlwaysFalse) {
    EXPECT_FALSE(YdNurbsHelper::MakeSurfacesCompatible({}));
    EXPECT_FALSE(YdNurbsHelper::MakeSurfacesCompatible({nullptr}));
    EXPECT_FALSE(YdNurbsHelper::MakeSurfacesCompatible({nullptr, nullptr}));
}

// ---------------------------------------------------------------------------------------------
// Tolerant matching and multiplicities

TEST(MakeCurvesCompatible, KnotsWithinTheToleranceCountAsOne) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.5 + 5e-8, 1, 1, 1, 1}, 3);
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<double> kb = b->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();
    const std::vector<YdPoint> pb = b->CtrlPoints();

    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    ExpectUntouched(*a, ka, pa);
    ExpectUntouched(*b, kb, pb);
}

TEST(MakeCurvesCompatible, KnotsJustBeyondTheToleranceAreInserted) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.5 + 1e-6, 1, 1, 1, 1}, 3);
    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    EXPECT_EQ(a->KnotVec().GetCount(), 10);
    EXPECT_EQ(b->KnotVec().GetCount(), 10);
}

TEST(MakeCurvesCompatible, KnotWithinTheToleranceOfAnExistingKnotIsSnappedOntoIt) {
    // The first curve holds 0.5 and 0.5 + 5e-8 (two knots as far as it is concerned); the
    // second lacks the latter, whose insertion then snaps onto its 0.5: a double 0.5.
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 0.5 + 5e-8, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3, 0.3);
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();
    const std::vector<YdPoint> shapeB = Sample(*b);

    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    ExpectUntouched(*a, ka, pa);
    EXPECT_EQ(b->KnotVec().GetKnots(), (std::vector<double>{0, 0, 0, 0, 0.5, 0.5, 1, 1, 1, 1}));
    EXPECT_EQ(b->GetNumOfCtrlPnts(), 6);
    ExpectSameShape(shapeB, *b, "second curve");
}

TEST(MakeCurvesCompatible, MultiplicitiesAreNotEqualised) {
    // The union holds 0.5 twice; the single 0.5 of the second curve cannot be raised because an
    // existing knot is never inserted again here. Still true, and both shapes stay.
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3, 0.3);
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<double> kb = b->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();
    const std::vector<YdPoint> pb = b->CtrlPoints();

    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    ExpectUntouched(*a, ka, pa);
    ExpectUntouched(*b, kb, pb);
}

// ---------------------------------------------------------------------------------------------
// Bad input: refused before anything changes

TEST(MakeCurvesCompatible, NullEntryIsRefusedBeforeAnyChange) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.25, 1, 1, 1, 1}, 3);
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();
    const std::vector<double> kb = b->KnotVec().GetKnots();
    const std::vector<YdPoint> pb = b->CtrlPoints();

    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({a.get(), nullptr, b.get()}));
    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({nullptr, a.get()}));
    ExpectUntouched(*a, ka, pa);
    ExpectUntouched(*b, kb, pb);
}

TEST(MakeCurvesCompatible, SingleNullEntryHasNothingToDo) {
    // Fewer than two curves is decided first: nothing is touched, so nothing can go wrong.
    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({nullptr}));
}

TEST(MakeCurvesCompatible, MalformedCurveIsRefusedBeforeAnyChange) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    // Knots that cannot carry the control points (and an empty curve) would send the knot
    // search out of range.
    std::vector<YdPoint> ctrl{YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0)};
    CurvePtr bad(new YdBSplineCurve(Knots({0, 0, 0, 0, 0.25, 1, 1, 1, 1}), ctrl, 3, false));
    CurvePtr empty(new YdBSplineCurve(Knots({}), {}, 3, false));
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();

    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({a.get(), bad.get()}));
    EXPECT_FALSE(YdNurbsHelper::MakeCurvesCompatible({a.get(), empty.get()}));
    ExpectUntouched(*a, ka, pa);
}

// ---------------------------------------------------------------------------------------------
// Properties: one knot vector afterwards, every shape unchanged

TEST(MakeCurvesCompatible, SeveralCurvesShareOneKnotVectorAndKeepTheirShapes) {
    std::vector<CurvePtr> curves;
    curves.push_back(MakeCurve({0, 0, 0, 0, 0.2, 0.6, 1, 1, 1, 1}, 3, 0.0));
    curves.push_back(MakeCurve({0, 0, 0, 0, 0.1, 0.45, 0.9, 1, 1, 1, 1}, 3, 1.0));
    curves.push_back(MakeCurve({0, 0, 0, 0, 0.6, 0.75, 1, 1, 1, 1}, 3, -2.0));
    curves.push_back(MakeCurve({0, 0, 0, 0, 1, 1, 1, 1}, 3, 0.5));
    std::vector<YdBSplineCurve*> raw;
    std::vector<std::vector<YdPoint>> shapes;
    for (const CurvePtr& c : curves) {
        raw.push_back(c.get());
        shapes.push_back(Sample(*c));
    }

    ASSERT_TRUE(YdNurbsHelper::MakeCurvesCompatible(raw));

    const std::vector<double> expected{0, 0, 0, 0, 0.1, 0.2, 0.45, 0.6, 0.75, 0.9, 1, 1, 1, 1};
    for (std::size_t i = 0; i < curves.size(); ++i) {
        EXPECT_EQ(curves[i]->KnotVec().GetKnots(), expected) << "curve " << i;
        EXPECT_EQ(curves[i]->GetNumOfCtrlPnts(), static_cast<int>(expected.size()) - 4)
            << "curve " << i;
        ExpectSameShape(shapes[i], *curves[i], "curve");
    }
}

TEST(MakeCurvesCompatible, QuadraticsWorkToo) {
    CurvePtr a = MakeCurve({0, 0, 0, 0.3, 0.7, 1, 1, 1}, 2);
    CurvePtr b = MakeCurve({0, 0, 0, 0.5, 1, 1, 1}, 2, 0.4);
    const std::vector<YdPoint> shapeA = Sample(*a);
    const std::vector<YdPoint> shapeB = Sample(*b);
    ASSERT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    const std::vector<double> expected{0, 0, 0, 0.3, 0.5, 0.7, 1, 1, 1};
    EXPECT_EQ(a->KnotVec().GetKnots(), expected);
    EXPECT_EQ(b->KnotVec().GetKnots(), expected);
    ExpectSameShape(shapeA, *a, "first quadratic");
    ExpectSameShape(shapeB, *b, "second quadratic");
}

TEST(MakeCurvesCompatible, RunningItTwiceChangesNothingMore) {
    CurvePtr a = MakeCurve({0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 3);
    CurvePtr b = MakeCurve({0, 0, 0, 0, 0.25, 1, 1, 1, 1}, 3);
    ASSERT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    const std::vector<double> ka = a->KnotVec().GetKnots();
    const std::vector<YdPoint> pa = a->CtrlPoints();
    EXPECT_TRUE(YdNurbsHelper::MakeCurvesCompatible({a.get(), b.get()}));
    ExpectUntouched(*a, ka, pa);
}
