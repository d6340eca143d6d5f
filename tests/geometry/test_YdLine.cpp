// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <type_traits>
#include <vector>

#include "YdNurbsLib/geometry/YdLine.h"
#include "YdTestSupport.h"

using ydtest::PointsNear;
using ydtest::VectorsNear;

static_assert(std::has_virtual_destructor<YdLine>::value, "lines are deleted through pointers");

namespace {

YdVector Unit(double x, double y, double z) {
    YdVector v(x, y, z);
    v.Normalize();
    return v;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Construction

TEST(YdLine, DefaultHasZeroDirection) {
    const YdLine line;
    EXPECT_TRUE(PointsNear(line.Point(), YdPoint(0, 0, 0), 0.0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(0, 0, 0), 0.0));
}

TEST(YdLine, PointVectorConstructorNormalises) {
    const YdLine line(YdPoint(1, 2, 3), YdVector(3, 0, 4));
    EXPECT_TRUE(PointsNear(line.Point(), YdPoint(1, 2, 3), 0.0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(0.6, 0, 0.8), 1e-15));
}

TEST(YdLine, TwoPointConstructor) {
    const YdLine line(YdPoint(1, 1, 1), YdPoint(1, 1, 6));
    EXPECT_TRUE(PointsNear(line.Point(), YdPoint(1, 1, 1), 0.0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(0, 0, 1), 0.0));
}

TEST(YdLine, TwoVectorConstructor) {
    const YdLine line(YdVector(1, 2, 3), YdVector(1, 0, 3));
    EXPECT_TRUE(PointsNear(line.Point(), YdPoint(1, 2, 3), 0.0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(0, -1, 0), 0.0));
}

TEST(YdLine, ZeroDirectionBecomesXAxis) {
    EXPECT_TRUE(
        VectorsNear(YdLine(YdPoint(1, 2, 3), YdVector(0, 0, 0)).Direction(), YdVector(1, 0, 0), 0));
    EXPECT_TRUE(
        VectorsNear(YdLine(YdPoint(1, 2, 3), YdPoint(1, 2, 3)).Direction(), YdVector(1, 0, 0), 0));
    EXPECT_TRUE(VectorsNear(YdLine(YdVector(4, 4, 4), YdVector(4, 4, 4)).Direction(),
                            YdVector(1, 0, 0), 0));
    YdLine line;
    line.Set(YdPoint(0, 0, 0), YdVector(5e-8, 0, 0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(1, 0, 0), 0));
}

TEST(YdLine, SetNormalises) {
    YdLine line;
    line.Set(YdPoint(0, 1, 0), YdVector(0, -2, 0));
    EXPECT_TRUE(PointsNear(line.Point(), YdPoint(0, 1, 0), 0.0));
    EXPECT_TRUE(VectorsNear(line.Direction(), YdVector(0, -1, 0), 0.0));
}

TEST(YdLine, ConstructorsStoreThePointAsSetDoes) {
    // The point goes in through point assignment, as in Set: the host attributes travel, the
    // per-slot m_angle, m_dAttr2 and m_dAttr3 do not.
    YdPoint p(1, 2, 3);
    p.m_angle = 0.75;
    p.m_dAttr1 = 1.5;
    p.m_dAttr2 = 2.5;
    p.m_dAttr3 = 3.5;
    p.m_nAttr1 = 4;
    p.m_bFlag = true;
    YdLine viaSet;
    viaSet.Set(p, YdVector(0, 1, 0));
    const YdLine viaVector(p, YdVector(0, 1, 0));
    const YdLine viaPoints(p, YdPoint(1, 3, 3));
    for (const YdLine* line : {static_cast<const YdLine*>(&viaSet), &viaVector, &viaPoints}) {
        const YdPoint& q = line->Point();
        EXPECT_TRUE(PointsNear(q, p, 0.0));
        EXPECT_EQ(q.m_dAttr1, 1.5);
        EXPECT_EQ(q.m_nAttr1, 4);
        EXPECT_TRUE(q.m_bFlag);
        EXPECT_EQ(q.m_angle, 0.0);
        EXPECT_EQ(q.m_dAttr2, 0.0);
        EXPECT_EQ(q.m_dAttr3, 0.0);
    }
}

TEST(YdLine, CopyAndAssign) {
    const YdLine a(YdPoint(1, 2, 3), YdVector(0, 1, 0));
    const YdLine b(a);
    YdLine c;
    c = a;
    EXPECT_TRUE(PointsNear(b.Point(), a.Point(), 0.0));
    EXPECT_TRUE(VectorsNear(b.Direction(), a.Direction(), 0.0));
    EXPECT_TRUE(PointsNear(c.Point(), a.Point(), 0.0));
    EXPECT_TRUE(VectorsNear(c.Direction(), a.Direction(), 0.0));
}

// ---------------------------------------------------------------------------------------------
// Projection and distance

TEST(YdLine, ProjectPointGivesSignedDistance) {
    const YdLine line(YdPoint(1, 0, 0), YdVector(2, 0, 0));
    double t = 0.0;
    const YdPoint f = line.ProjectPoint(YdPoint(-2, 5, 7), &t);
    EXPECT_DOUBLE_EQ(t, -3.0);
    EXPECT_TRUE(PointsNear(f, YdPoint(-2, 0, 0), 1e-15));
    const YdPoint g = line.ProjectPoint(YdPoint(4, -1, 0), nullptr);
    EXPECT_TRUE(PointsNear(g, YdPoint(4, 0, 0), 1e-15));
}

TEST(YdLine, ProjectPointIsOrthogonal) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> uni(-10.0, 10.0);
    for (int i = 0; i < 200; ++i) {
        const YdLine line(YdPoint(uni(rng), uni(rng), uni(rng)),
                          YdVector(uni(rng), uni(rng), uni(rng)));
        const YdPoint q(uni(rng), uni(rng), uni(rng));
        double t = 0.0;
        const YdPoint f = line.ProjectPoint(q, &t);
        EXPECT_NEAR((q - f) % line.Direction(), 0.0, 1e-12) << "at trial " << i;
        EXPECT_NEAR(line.Point().DistanceToPoint(f), std::fabs(t), 1e-12) << "at trial " << i;
        EXPECT_NEAR(line.DistanceToPoint(q), ((q - line.Point()) * line.Direction()).Magnitude(),
                    1e-11)
            << "at trial " << i;
    }
}

TEST(YdLine, ProjectVectorMatchesProjectPoint) {
    const YdLine line(YdPoint(1, 2, 3), YdVector(1, 1, 0));
    double tv = 0.0;
    double tp = 0.0;
    const YdVector pv = line.ProjectVector(YdVector(4, -1, 9), &tv);
    const YdPoint pp = line.ProjectPoint(YdPoint(4, -1, 9), &tp);
    EXPECT_DOUBLE_EQ(tv, tp);
    EXPECT_TRUE(VectorsNear(pv, YdVector(pp[0], pp[1], pp[2]), 1e-15));
    EXPECT_TRUE(VectorsNear(line.ProjectVector(YdVector(1, 2, 3), nullptr), YdVector(1, 2, 3), 0));
}

TEST(YdLine, ProjectedPointHasFreshAttributes) {
    YdPoint base(0, 0, 0);
    base.m_nAttr1 = 9;
    base.m_bFlag = true;
    const YdLine line(base, YdVector(1, 0, 0));
    const YdPoint f = line.ProjectPoint(YdPoint(2, 3, 0), nullptr);
    EXPECT_EQ(f.m_nAttr1, 0);
    EXPECT_FALSE(f.m_bFlag);
}

TEST(YdLine, DistanceToPoint) {
    const YdLine line(YdPoint(0, 0, 0), YdVector(0, 0, 1));
    EXPECT_DOUBLE_EQ(line.DistanceToPoint(YdPoint(3, 4, -100)), 5.0);
    EXPECT_DOUBLE_EQ(line.DistanceToPoint(YdPoint(0, 0, 7)), 0.0);
}

// ---------------------------------------------------------------------------------------------
// Intersect

TEST(YdLine, IntersectXAxisWithRaisedYLine) {
    const YdLine x(YdPoint(0, 0, 0), YdVector(1, 0, 0));
    const YdLine y(YdPoint(0, 1, 1), YdVector(0, 1, 0));
    YdPoint out(9, 9, 9);
    EXPECT_TRUE(x.Intersect(y, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(0, 0, 0), 1e-15));
}

TEST(YdLine, OppositeDirectionsDoNotIntersect) {
    const YdLine a(YdPoint(0, 0, 0), YdVector(1, 0, 0));
    const YdLine b(YdPoint(0, 1, 0), YdVector(-1, 0, 0));
    YdPoint out(9, 9, 9);
    EXPECT_FALSE(a.Intersect(b, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
}

TEST(YdLine, EqualDirectionsDoNotIntersect) {
    const YdLine a(YdPoint(0, 0, 0), YdVector(0, 1, 1));
    const YdLine b(YdPoint(5, 0, 0), YdVector(0, 2, 2));
    YdPoint out(9, 9, 9);
    EXPECT_FALSE(a.Intersect(b, out));
    // Same line: still parallel, out untouched.
    EXPECT_FALSE(a.Intersect(a, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
}

TEST(YdLine, ParallelTestUsesVectorEquality) {
    // Directions 5e-8 apart per component compare equal as vectors.
    const YdLine a(YdPoint(0, 0, 0), YdVector(1, 0, 0));
    YdLine b;
    b.Set(YdPoint(0, 1, 0), YdVector(1, 5e-8, 0));
    YdPoint out(9, 9, 9);
    EXPECT_FALSE(a.Intersect(b, out));
    // 1e-6 apart: not parallel, a far-away crossing is reported.
    b.Set(YdPoint(0, 1, 0), YdVector(1, 1e-6, 0));
    EXPECT_TRUE(a.Intersect(b, out));
    EXPECT_NEAR(out[0], -1e6, 1e4);
}

TEST(YdLine, IntersectCrossingLines) {
    const YdLine a(YdPoint(0, 0, 0), YdPoint(4, 4, 0));
    const YdLine b(YdPoint(4, 0, 0), YdPoint(0, 4, 0));
    YdPoint out;
    ASSERT_TRUE(a.Intersect(b, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(2, 2, 0), 1e-14));
}

TEST(YdLine, SkewLinesGiveFootOfCommonPerpendicular) {
    const YdLine a(YdPoint(0, 0, 0), YdVector(1, 0, 0));
    const YdLine b(YdPoint(3, 0, 5), YdVector(0, 1, 1));
    YdPoint out;
    ASSERT_TRUE(a.Intersect(b, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(3, 0, 0), 1e-14));
}

TEST(YdLine, IntersectRandomSkewLinesIsCommonPerpendicular) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> uni(-5.0, 5.0);
    int checked = 0;
    for (int i = 0; i < 300; ++i) {
        const YdLine a(YdPoint(uni(rng), uni(rng), uni(rng)),
                       YdVector(uni(rng), uni(rng), uni(rng)));
        const YdLine b(YdPoint(uni(rng), uni(rng), uni(rng)),
                       YdVector(uni(rng), uni(rng), uni(rng)));
        const double c = a.Direction() % b.Direction();
        if (1.0 - std::fabs(c) < 1e-3) {
            continue;  // nearly parallel: the foot is ill-conditioned
        }
        YdPoint out;
        ASSERT_TRUE(a.Intersect(b, out)) << "at trial " << i;
        EXPECT_LT(a.DistanceToPoint(out), 1e-9) << "at trial " << i;
        const YdPoint q = b.ProjectPoint(out, nullptr);
        const YdVector gap = out - q;
        EXPECT_NEAR(gap % a.Direction(), 0.0, 1e-9) << "at trial " << i;
        EXPECT_NEAR(gap % b.Direction(), 0.0, 1e-9) << "at trial " << i;
        ++checked;
    }
    EXPECT_GT(checked, 250);
}

TEST(YdLine, IntersectWithDefaultLineDoesNotCrash) {
    const YdLine zero;
    const YdLine x(YdPoint(1, 0, 0), YdVector(1, 0, 0));
    YdPoint out(9, 9, 9);
    EXPECT_FALSE(zero.Intersect(zero, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
    // A zero direction is orthogonal to everything: the closest point is the line's own point.
    EXPECT_TRUE(zero.Intersect(x, out));
    EXPECT_TRUE(PointsNear(out, YdPoint(0, 0, 0), 0.0));
}

// ---------------------------------------------------------------------------------------------
// LeastSquareFit

TEST(YdLine, LeastSquareFitThreeCollinearPoints) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 0, 0)};
    std::unique_ptr<YdLine> line(YdLine::LeastSquareFit(pts));
    ASSERT_NE(line, nullptr);
    EXPECT_TRUE(PointsNear(line->Point(), YdPoint(1, 0, 0), 1e-15));
    // The first of the two farthest points, (0, 0, 0), fixes the sign.
    EXPECT_TRUE(VectorsNear(line->Direction(), YdVector(-1, 0, 0), 1e-15));
}

TEST(YdLine, LeastSquareFitSignFollowsFarthestPoint) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(3, 0, 0)};
    std::unique_ptr<YdLine> line(YdLine::LeastSquareFit(pts));
    ASSERT_NE(line, nullptr);
    EXPECT_TRUE(PointsNear(line->Point(), YdPoint(4.0 / 3.0, 0, 0), 1e-15));
    EXPECT_TRUE(VectorsNear(line->Direction(), YdVector(1, 0, 0), 1e-15));
}

TEST(YdLine, LeastSquareFitTooFewPoints) {
    EXPECT_EQ(YdLine::LeastSquareFit({}), nullptr);
    EXPECT_EQ(YdLine::LeastSquareFit({YdPoint(1, 2, 3)}), nullptr);
}

TEST(YdLine, LeastSquareFitTwoPoints) {
    std::unique_ptr<YdLine> line(YdLine::LeastSquareFit({YdPoint(1, 1, 0), YdPoint(3, 1, 0)}));
    ASSERT_NE(line, nullptr);
    EXPECT_TRUE(PointsNear(line->Point(), YdPoint(2, 1, 0), 1e-15));
    EXPECT_TRUE(VectorsNear(line->Direction(), YdVector(-1, 0, 0), 1e-15));
}

TEST(YdLine, LeastSquareFitCoincidentPointsGiveXAxisThroughCentroid) {
    const std::vector<YdPoint> pts(4, YdPoint(2, -1, 5));
    std::unique_ptr<YdLine> line(YdLine::LeastSquareFit(pts));
    ASSERT_NE(line, nullptr);
    EXPECT_TRUE(PointsNear(line->Point(), YdPoint(2, -1, 5), 1e-15));
    EXPECT_TRUE(VectorsNear(line->Direction(), YdVector(1, 0, 0), 0.0));
}

TEST(YdLine, LeastSquareFitRecoversExactLine) {
    std::mt19937 rng(21);
    std::uniform_real_distribution<double> uni(-5.0, 5.0);
    for (int trial = 0; trial < 100; ++trial) {
        const YdPoint p0(uni(rng), uni(rng), uni(rng));
        const YdVector d = Unit(uni(rng), uni(rng), uni(rng));
        std::vector<YdPoint> pts;
        double sx = 0.0;
        double sy = 0.0;
        double sz = 0.0;
        for (int i = 0; i < 7; ++i) {
            pts.push_back(p0 + uni(rng) * d);
            sx += pts.back()[0];
            sy += pts.back()[1];
            sz += pts.back()[2];
        }
        std::unique_ptr<YdLine> line(YdLine::LeastSquareFit(pts));
        ASSERT_NE(line, nullptr);
        const YdPoint c(sx / 7, sy / 7, sz / 7);
        EXPECT_TRUE(PointsNear(line->Point(), c, 1e-12)) << "at trial " << trial;
        EXPECT_NEAR(std::fabs(line->Direction() % d), 1.0, 1e-12) << "at trial " << trial;
        for (const YdPoint& p : pts) {
            EXPECT_LT(line->DistanceToPoint(p), 1e-10) << "at trial " << trial;
        }
        // The direction points towards the farthest point.
        std::size_t far = 0;
        for (std::size_t i = 1; i < pts.size(); ++i) {
            if (pts[i].DistanceToPoint(c) > pts[far].DistanceToPoint(c)) {
                far = i;
            }
        }
        EXPECT_GT(line->Direction() % (pts[far] - c), 0.0) << "at trial " << trial;
    }
}

TEST(YdLine, LeastSquareFitNoisyPointsFollowTheTrend) {
    // Points scattered about the line y = 2: the fitted direction stays close to the x axis.
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 20; ++i) {
        pts.emplace_back(i, 2.0 + ((i % 3) - 1) * 0.01, 0.0);
    }
    std::unique_ptr<YdLine> line(YdLine::LeastSquareFit(pts));
    ASSERT_NE(line, nullptr);
    EXPECT_GT(std::fabs(line->Direction()[0]), 0.9999);
    EXPECT_LT(line->DistanceToPoint(YdPoint(10, 2, 0)), 0.02);
}

TEST(YdLine, DeleteThroughPointer) {
    YdLine* line = YdLine::LeastSquareFit({YdPoint(0, 0, 0), YdPoint(0, 1, 0)});
    ASSERT_NE(line, nullptr);
    delete line;
}
