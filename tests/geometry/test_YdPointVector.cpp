// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <random>

#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdSegment.h"
#include "YdNurbsLib/geometry/YdTolerances.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdTestSupport.h"

namespace {
constexpr double kPi = 3.141592653589793;
}

// ---------------------------------------------------------------------------------------------
// Layout: hosts read these classes directly, so field order and widths are pinned.

TEST(Layout, PointFieldOrder) {
    EXPECT_EQ(offsetof(YdPoint, m_angle), 0u);
    EXPECT_EQ(offsetof(YdPoint, m_dAttr1), 8u);
    EXPECT_EQ(offsetof(YdPoint, m_dAttr2), 16u);
    EXPECT_EQ(offsetof(YdPoint, m_dAttr3), 24u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr1), 32u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr2), 36u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr3), 40u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr4), 44u);
    EXPECT_EQ(offsetof(YdPoint, m_bFlag), 48u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr5), 52u);
    EXPECT_EQ(offsetof(YdPoint, m_nAttr6), 56u);
    EXPECT_EQ(offsetof(YdPoint, m_dAttr4), 64u);
    EXPECT_EQ(offsetof(YdPoint, m_dAttr8), 96u);
    EXPECT_EQ(offsetof(YdPoint, m_xyz), 104u);
    EXPECT_EQ(sizeof(YdPoint), 128u);
}

TEST(Layout, VectorIsThreeDoubles) {
    EXPECT_EQ(offsetof(YdVector, m_xyz), 0u);
    EXPECT_EQ(sizeof(YdVector), 3 * sizeof(double));
}

TEST(Layout, SegmentFieldOrder) {
    EXPECT_EQ(offsetof(YdSegment, m_start), 0u);
    EXPECT_EQ(offsetof(YdSegment, m_end), sizeof(YdPoint));
    EXPECT_EQ(offsetof(YdSegment, m_dir), 2 * sizeof(YdPoint));
    EXPECT_EQ(offsetof(YdSegment, m_length), 2 * sizeof(YdPoint) + sizeof(YdVector));
    EXPECT_EQ(sizeof(YdSegment), 2 * sizeof(YdPoint) + sizeof(YdVector) + sizeof(double));
}

// ---------------------------------------------------------------------------------------------
// Vectors

TEST(YdVector, IsZeroIsStrictAtTolerance) {
    EXPECT_TRUE(YdVector(0, 0, 9e-8).IsZero());
    EXPECT_FALSE(YdVector(0, 0, 1e-7).IsZero());
    EXPECT_FALSE(YdVector(-1e-7, 0, 0).IsZero());
}

TEST(YdVector, NormalizeZeroGivesUnitX) {
    YdVector v(0, 0, 0);
    v.Normalize();
    EXPECT_EQ(v[0], 1.0);
    EXPECT_EQ(v[1], 0.0);
    EXPECT_EQ(v[2], 0.0);
}

TEST(YdVector, NormalizeDividesByMagnitude) {
    YdVector v(3, 0, 4);
    v.Normalize();
    EXPECT_EQ(v[0], 3.0 / 5.0);
    EXPECT_EQ(v[1], 0.0);
    EXPECT_EQ(v[2], 4.0 / 5.0);
}

TEST(YdVector, OppositeDirectionsAreParallel) {
    EXPECT_TRUE(YdVector(1, 0, 0).IsParallelTo(YdVector(-2, 0, 0)));
}

TEST(YdVector, ZeroVectorIsParallelToUnitX) {
    EXPECT_TRUE(YdVector(0, 0, 0).IsParallelTo(YdVector(5, 0, 0)));
    EXPECT_FALSE(YdVector(0, 0, 0).IsParallelTo(YdVector(0, 5, 0)));
}

TEST(YdVector, AngleWithIsUnsigned) {
    EXPECT_DOUBLE_EQ(YdVector(1, 0, 0).AngleWith(YdVector(0, 1, 0)), kPi / 2);
    EXPECT_DOUBLE_EQ(YdVector(1, 0, 0).AngleWith(YdVector(-1, 0, 0)), kPi);
    EXPECT_EQ(YdVector(0, 0, 0).AngleWith(YdVector(0, 1, 0)), 0.0);
}

TEST(YdVector, AngleWithReferenceGivesFullTurn) {
    EXPECT_DOUBLE_EQ(YdVector(1, 0, 0).AngleWith(YdVector(0, 1, 0), YdVector(0, 0, -1)),
                     3 * kPi / 2);
    EXPECT_DOUBLE_EQ(YdVector(1, 0, 0).AngleWith(YdVector(0, 1, 0), YdVector(0, 0, 1)), kPi / 2);
    // A reference in the plane gives a product of exactly 0: the unsigned angle stays.
    EXPECT_DOUBLE_EQ(YdVector(1, 0, 0).AngleWith(YdVector(0, 1, 0), YdVector(1, 0, 0)), kPi / 2);
}

TEST(YdVector, DivideByZeroGivesInfinity) {
    YdVector v(1, -1, 0);
    v /= 0.0;
    EXPECT_TRUE(std::isinf(v[0]));
    EXPECT_TRUE(std::isinf(v[1]));
    EXPECT_TRUE(std::isnan(v[2]));  // 0 * inf
}

TEST(YdVector, DivideIsOneDivisionThenMultiplications) {
    YdVector v(1.0, 2.0, 10.0);
    v /= 3.0;
    const double r = 1.0 / 3.0;
    EXPECT_EQ(v[0], 1.0 * r);
    EXPECT_EQ(v[1], 2.0 * r);
    EXPECT_EQ(v[2], 10.0 * r);
}

TEST(YdVector, EqualityUsesWidenedFloatTolerance) {
    const YdVector a(1, 2, 3);
    EXPECT_TRUE(a == YdVector(1 + 1e-7, 2, 3));  // 1e-7 < kTol1e7f
    EXPECT_FALSE(a == YdVector(1 + 1.1e-7, 2, 3));
    EXPECT_FALSE(a == YdVector(1, 2, 3 + 2e-7));
}

TEST(YdVector, CrossAndDotProducts) {
    const YdVector x(1, 0, 0);
    const YdVector y(0, 1, 0);
    EXPECT_TRUE(ydtest::VectorsNear(x * y, YdVector(0, 0, 1), 0.0));
    EXPECT_EQ(YdVector(1, 2, 3) % YdVector(4, -5, 6), 12.0);
    EXPECT_TRUE(ydtest::VectorsNear(-YdVector(1, -2, 3), YdVector(-1, 2, -3), 0.0));
    YdVector f(1, -2, 3);
    f.Flip();
    EXPECT_TRUE(ydtest::VectorsNear(f, YdVector(-1, 2, -3), 0.0));
}

TEST(YdVector, CrossProductIsOrthogonalOnRandomVectors) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> d(-10.0, 10.0);
    for (int i = 0; i < 200; ++i) {
        const YdVector a(d(rng), d(rng), d(rng));
        const YdVector b(d(rng), d(rng), d(rng));
        const YdVector c = a * b;
        const double scale = a.Magnitude() * b.Magnitude() * c.Magnitude() + 1.0;
        EXPECT_NEAR(c % a, 0.0, 1e-13 * scale) << "at sample " << i;
        EXPECT_NEAR(c % b, 0.0, 1e-13 * scale) << "at sample " << i;
        // |a x b|^2 + (a.b)^2 = |a|^2 |b|^2 (Lagrange's identity).
        EXPECT_NEAR(c.Length2() + (a % b) * (a % b), a.Length2() * b.Length2(),
                    1e-12 * a.Length2() * b.Length2())
            << "at sample " << i;
    }
}

// ---------------------------------------------------------------------------------------------
// Points

TEST(YdPoint, AngleOfStraightContinuationIsZero) {
    YdPoint holder;
    EXPECT_EQ(holder.AngleWithTwoPoint(YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(3, 0, 0)), 0.0);
    EXPECT_EQ(holder.m_angle, 0.0);
    // Off the axes the unit legs' dot product rounds just below 1, and acos magnifies that
    // to about sqrt(2 * 2^-53) ~ 2e-8: that is the expected accuracy.
    EXPECT_NEAR(holder.AngleWithTwoPoint(YdPoint(0, 0, 0), YdPoint(1, 1, 0), YdPoint(2, 2, 0)), 0.0,
                3e-8);
}

TEST(YdPoint, AngleOfFullReversalIsPi) {
    YdPoint holder(5, 5, 5);
    const YdPoint a(0, 0, 0);
    const YdPoint b(1, 0, 0);
    EXPECT_DOUBLE_EQ(holder.AngleWithTwoPoint(a, b, a), kPi);
    EXPECT_DOUBLE_EQ(holder.m_angle, kPi);
    EXPECT_EQ(holder[0], 5.0);  // its own coordinates are not used or changed
}

TEST(YdPoint, PlusAssignResetsIntAttributesAndFlag) {
    YdPoint p(1, 2, 3);
    p.m_nAttr1 = 1;
    p.m_nAttr2 = 2;
    p.m_nAttr3 = 3;
    p.m_nAttr4 = 4;
    p.m_nAttr5 = 5;
    p.m_nAttr6 = 6;
    p.m_bFlag = true;
    p.m_dAttr1 = 7.5;
    p += YdPoint(1, 1, 1);
    EXPECT_EQ(p.m_nAttr1, 0);
    EXPECT_EQ(p.m_nAttr2, 0);
    EXPECT_EQ(p.m_nAttr3, 0);
    EXPECT_EQ(p.m_nAttr4, 0);
    EXPECT_EQ(p.m_nAttr6, 0);
    EXPECT_FALSE(p.m_bFlag);
    EXPECT_EQ(p.m_nAttr5, 5);    // Set leaves it
    EXPECT_EQ(p.m_dAttr1, 7.5);  // Set leaves the double attributes
    EXPECT_TRUE(ydtest::PointsNear(p, YdPoint(2, 3, 4), 0.0));
}

TEST(YdPoint, AssignmentKeepsAngleAndTwoAttributes) {
    YdPoint p(0, 0, 0);
    p.m_angle = 0.25;
    p.m_dAttr2 = 2.0;
    p.m_dAttr3 = 3.0;
    YdPoint q(1, 2, 3);
    q.m_angle = 9.0;
    q.m_dAttr1 = 11.0;
    q.m_dAttr2 = 12.0;
    q.m_dAttr3 = 13.0;
    q.m_dAttr4 = 14.0;
    q.m_dAttr8 = 18.0;
    q.m_nAttr1 = 21;
    q.m_nAttr5 = 25;
    q.m_nAttr6 = 26;
    q.m_bFlag = true;
    p = q;
    EXPECT_EQ(p.m_angle, 0.25);
    EXPECT_EQ(p.m_dAttr2, 2.0);
    EXPECT_EQ(p.m_dAttr3, 3.0);
    EXPECT_EQ(p.m_dAttr1, 11.0);
    EXPECT_EQ(p.m_dAttr4, 14.0);
    EXPECT_EQ(p.m_dAttr8, 18.0);
    EXPECT_EQ(p.m_nAttr1, 21);
    EXPECT_EQ(p.m_nAttr5, 25);
    EXPECT_EQ(p.m_nAttr6, 26);
    EXPECT_TRUE(p.m_bFlag);
    EXPECT_TRUE(ydtest::PointsNear(p, q, 0.0));
}

TEST(YdPoint, CopyConstructionCopiesEverything) {
    YdPoint q(1, 2, 3);
    q.m_angle = 9.0;
    q.m_dAttr2 = 12.0;
    const YdPoint c(q);
    EXPECT_EQ(c.m_angle, 9.0);
    EXPECT_EQ(c.m_dAttr2, 12.0);
}

TEST(YdPoint, EqualityIsStrictDistance) {
    EXPECT_TRUE(YdPoint(0, 0, 0) == YdPoint(9e-8, 0, 0));
    EXPECT_FALSE(YdPoint(0, 0, 0) == YdPoint(1e-7, 0, 0));
    EXPECT_FALSE(YdPoint(0, 0, 0) == YdPoint(6e-8, 6e-8, 6e-8));  // distance ~1.04e-7
}

TEST(YdPoint, OperatorsAndDistances) {
    const YdPoint a(1, 2, 3);
    const YdPoint b(4, 6, 3);
    EXPECT_EQ(a.SquareDistanceToPoint(b), 25.0);
    EXPECT_EQ(a.DistanceToPoint(b), 5.0);
    EXPECT_TRUE(ydtest::VectorsNear(b - a, YdVector(3, 4, 0), 0.0));
    YdPoint withAttr(a);
    withAttr.m_nAttr1 = 5;
    const YdPoint s = withAttr + YdVector(1, 1, 1);
    EXPECT_EQ(s.m_nAttr1, 0);  // built fresh
    EXPECT_TRUE(ydtest::PointsNear(s, YdPoint(2, 3, 4), 0.0));
    YdPoint m(2, 4, 6);
    m *= 0.5;
    EXPECT_TRUE(ydtest::PointsNear(m, a, 0.0));
    m /= 0.5;
    EXPECT_TRUE(ydtest::PointsNear(m, YdPoint(2, 4, 6), 0.0));
    m -= a;
    EXPECT_TRUE(ydtest::PointsNear(m, a, 0.0));
    const YdVector v = a;
    EXPECT_TRUE(ydtest::VectorsNear(v, YdVector(1, 2, 3), 0.0));
}

// ---------------------------------------------------------------------------------------------
// Segments

TEST(YdSegment, RatePointOutsideRangeLeavesOut) {
    const YdSegment s(YdPoint(0, 0, 0), YdPoint(8, 0, 0));
    YdPoint out(7, 7, 7);
    EXPECT_FALSE(s.getRatePoint(1.5, out));
    EXPECT_TRUE(ydtest::PointsNear(out, YdPoint(7, 7, 7), 0.0));
    EXPECT_FALSE(s.getRatePoint(-0.1, out));
    EXPECT_TRUE(ydtest::PointsNear(out, YdPoint(7, 7, 7), 0.0));
}

TEST(YdSegment, RatePointOnTinySegmentGivesEnd) {
    const YdSegment s(YdPoint(1, 1, 1), YdPoint(1 + 5e-8, 1, 1));
    YdPoint out(7, 7, 7);
    EXPECT_FALSE(s.getRatePoint(0.5, out));
    EXPECT_TRUE(ydtest::PointsNear(out, YdPoint(1 + 5e-8, 1, 1), 0.0));
}

TEST(YdSegment, TinySegmentIsTestedBeforeTheRange) {
    // The length test comes first: even an out-of-range fraction hands out the end point.
    YdPoint end(3, 0, 0);
    end.m_nAttr2 = 8;
    const YdSegment s(YdPoint(3 - 5e-8, 0, 0), end);
    YdPoint out(7, 7, 7);
    EXPECT_FALSE(s.getRatePoint(1.5, out));
    EXPECT_TRUE(ydtest::PointsNear(out, end, 0.0));
    EXPECT_EQ(out.m_nAttr2, 8);
}

TEST(YdSegment, RatePointIsBuiltFresh) {
    YdPoint a(0, 0, 0);
    a.m_nAttr1 = 3;
    a.m_bFlag = true;
    const YdSegment s(a, YdPoint(4, 0, 0));
    YdPoint out(1, 1, 1);
    out.m_nAttr4 = 9;
    out.m_nAttr6 = 9;
    out.m_bFlag = true;
    ASSERT_TRUE(s.getRatePoint(0.0, out));
    EXPECT_TRUE(ydtest::PointsNear(out, a, 0.0));
    EXPECT_EQ(out.m_nAttr1, 0);
    EXPECT_EQ(out.m_nAttr4, 0);
    EXPECT_EQ(out.m_nAttr6, 0);
    EXPECT_FALSE(out.m_bFlag);
}

TEST(YdSegment, RatePointInside) {
    const YdSegment s(YdPoint(0, 0, 0), YdPoint(8, 4, 0));
    YdPoint out;
    EXPECT_TRUE(s.getRatePoint(0.25, out));
    EXPECT_TRUE(ydtest::PointsNear(out, YdPoint(2, 1, 0), 0.0));
    EXPECT_TRUE(s.getRatePoint(1.0, out));
    EXPECT_TRUE(ydtest::PointsNear(out, YdPoint(8, 4, 0), 0.0));
}

TEST(YdSegment, RemainingLengthAfterQuarter) {
    const YdSegment s(YdPoint(0, 0, 0), YdPoint(8, 0, 0));
    EXPECT_EQ(s.getRatePointToEnd(0.25), 6.0);
}

TEST(YdSegment, FieldsAndDistanceToCarrierLine) {
    const YdSegment s(YdPoint(1, 0, 0), YdPoint(1, 3, 4));
    EXPECT_EQ(s.m_length, 5.0);
    EXPECT_TRUE(ydtest::VectorsNear(s.m_dir, YdVector(0, 3, 4), 0.0));
    // Beyond the end: the distance is to the infinite line, not to the end point.
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(3, 6, 8)), 2.0);
    YdSegment d;
    EXPECT_EQ(d.m_length, 0.0);
    d = s;
    EXPECT_EQ(d.m_length, 5.0);
}
