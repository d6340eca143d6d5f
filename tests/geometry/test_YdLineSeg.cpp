// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <utility>

#include "YdDenseReference.h"
#include "YdNurbsLib/geometry/YdLineSeg.h"
#include "YdTestSupport.h"

using ydtest::PointsNear;
using ydtest::VectorsNear;

namespace {

YdLineSeg Seg(double x0, double y0, double z0, double x1, double y1, double z1) {
    return YdLineSeg(YdPoint(x0, y0, z0), YdPoint(x1, y1, z1));
}

YdPoint WithAttributes(double x, double y, double z, int tag) {
    YdPoint p(x, y, z);
    p.m_angle = 0.25 * tag;
    p.m_dAttr1 = 1.5 * tag;
    p.m_nAttr1 = tag;
    p.m_nAttr6 = 2 * tag;
    p.m_bFlag = true;
    p.m_dAttr8 = 3.0 * tag;
    return p;
}

// --- Exact planar predicates on integer coordinates (the independent oracle) ---

struct IP {
    long long x;
    long long y;
};

long long Cross(IP o, IP a, IP b) {
    return (a.x - o.x) * (b.y - o.y) - (a.y - o.y) * (b.x - o.x);
}

int Sign(long long v) {
    return (v > 0) - (v < 0);
}

bool Same(IP a, IP b) {
    return a.x == b.x && a.y == b.y;
}

// p lies on the closed segment [a, b] (a point segment when a == b).
bool OnSegment(IP p, IP a, IP b) {
    if (Same(a, b)) {
        return Same(p, a);
    }
    return Cross(a, b, p) == 0 && std::min(a.x, b.x) <= p.x && p.x <= std::max(a.x, b.x) &&
           std::min(a.y, b.y) <= p.y && p.y <= std::max(a.y, b.y);
}

YdPoint ToPoint(IP p) {
    return YdPoint(static_cast<double>(p.x), static_cast<double>(p.y), 0.0);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Accessors, direction, length

TEST(YdLineSeg, DefaultIsZeroLengthAtOrigin) {
    const YdLineSeg s;
    EXPECT_TRUE(PointsNear(s.GetStartPoint(), YdPoint(0, 0, 0), 0.0));
    EXPECT_TRUE(PointsNear(s.GetEndPoint(), YdPoint(0, 0, 0), 0.0));
    EXPECT_EQ(s.GetLength(), 0.0);
}

TEST(YdLineSeg, AccessorsAndAssignment) {
    YdLineSeg s;
    s.SetStartPoint(YdPoint(1, 2, 3));
    s.SetEndPoint(YdPoint(4, 6, 3));
    EXPECT_TRUE(PointsNear(s.GetStartPoint(), YdPoint(1, 2, 3), 0.0));
    EXPECT_TRUE(PointsNear(s.GetEndPoint(), YdPoint(4, 6, 3), 0.0));
    EXPECT_DOUBLE_EQ(s.GetLength(), 5.0);
    EXPECT_TRUE(VectorsNear(s.Direction(), YdVector(0.6, 0.8, 0), 1e-15));

    YdLineSeg copy;
    copy = s;
    EXPECT_TRUE(PointsNear(copy.GetStartPoint(), YdPoint(1, 2, 3), 0.0));
    EXPECT_TRUE(PointsNear(copy.GetEndPoint(), YdPoint(4, 6, 3), 0.0));
    YdLineSeg moved;
    moved = std::move(copy);
    EXPECT_TRUE(PointsNear(moved.GetStartPoint(), YdPoint(1, 2, 3), 0.0));
    EXPECT_TRUE(PointsNear(moved.GetEndPoint(), YdPoint(4, 6, 3), 0.0));
}

TEST(YdLineSeg, AssignmentFollowsPointAssignment) {
    // End points are assigned, not copy-constructed: m_angle stays the target's own.
    YdLineSeg target(WithAttributes(0, 0, 0, 1), WithAttributes(1, 0, 0, 1));
    const YdLineSeg source(WithAttributes(5, 0, 0, 3), WithAttributes(6, 0, 0, 3));
    target = source;
    EXPECT_EQ(target.GetStartPoint().m_nAttr1, 3);
    EXPECT_EQ(target.GetStartPoint().m_dAttr1, 4.5);
    EXPECT_EQ(target.GetStartPoint().m_angle, 0.25);
}

TEST(YdLineSeg, ZeroLengthDirectionIsXAxis) {
    EXPECT_TRUE(VectorsNear(Seg(1, 1, 1, 1, 1, 1).Direction(), YdVector(1, 0, 0), 0.0));
    EXPECT_TRUE(VectorsNear(Seg(1, 1, 1, 1, 1, 1 + 5e-8).Direction(), YdVector(1, 0, 0), 0.0));
}

// ---------------------------------------------------------------------------------------------
// IsContain

TEST(YdLineSeg, IsContainOwnEndPointOfZeroLengthSegment) {
    const YdLineSeg s = Seg(2, 3, 4, 2, 3, 4);
    EXPECT_TRUE(s.IsContain(YdPoint(2, 3, 4)));
    EXPECT_TRUE(s.IsContain(YdPoint(2, 3, 4 + 5e-8)));
    EXPECT_FALSE(s.IsContain(YdPoint(2, 3, 5)));
}

TEST(YdLineSeg, IsContainPointOffBySmallDistanceIsFalse) {
    const YdLineSeg s = Seg(0, 0, 0, 2, 0, 0);
    EXPECT_FALSE(s.IsContain(YdPoint(1, 1e-6, 0)));
    EXPECT_TRUE(s.IsContain(YdPoint(1, 5e-8, 0)));
}

TEST(YdLineSeg, IsContainEndsAndInterior) {
    const YdLineSeg s = Seg(0, 0, 0, 2, 2, 2);
    EXPECT_TRUE(s.IsContain(YdPoint(0, 0, 0)));
    EXPECT_TRUE(s.IsContain(YdPoint(2, 2, 2)));
    EXPECT_TRUE(s.IsContain(YdPoint(0.5, 0.5, 0.5)));
    EXPECT_FALSE(s.IsContain(YdPoint(-0.5, -0.5, -0.5)));
    EXPECT_FALSE(s.IsContain(YdPoint(2.5, 2.5, 2.5)));
    // Just past the end, beyond point equality: farther than the length.
    EXPECT_FALSE(s.IsContain(YdPoint(2 + 1e-6, 2 + 1e-6, 2 + 1e-6)));
}

TEST(YdLineSeg, IsContainOnShortSegmentNeedsEquality) {
    // Shorter than 1e-7 but not a point: only the ends count.
    const YdLineSeg s = Seg(0, 0, 0, 8e-8, 0, 0);
    EXPECT_TRUE(s.IsContain(YdPoint(0, 0, 0)));
    EXPECT_TRUE(s.IsContain(YdPoint(1.5e-7, 0, 0)));  // within 1e-7 of the end
    EXPECT_FALSE(s.IsContain(YdPoint(2e-7, 0, 0)));
}

// ---------------------------------------------------------------------------------------------
// ProjectPoint

TEST(YdLineSeg, ProjectPointBeyondEndReturnsEndWithAttributes) {
    const YdLineSeg s(WithAttributes(0, 0, 0, 1), WithAttributes(2, 0, 0, 2));
    double t = 0.0;
    const YdPoint r = s.ProjectPoint(YdPoint(3, 1, 0), &t);
    EXPECT_GT(t, 1.0);
    EXPECT_DOUBLE_EQ(t, 1.5);
    EXPECT_TRUE(PointsNear(r, YdPoint(2, 0, 0), 0.0));
    EXPECT_EQ(r.m_nAttr1, 2);
    EXPECT_EQ(r.m_nAttr6, 4);
    EXPECT_EQ(r.m_dAttr1, 3.0);
    EXPECT_EQ(r.m_dAttr8, 6.0);
    EXPECT_TRUE(r.m_bFlag);
}

TEST(YdLineSeg, ProjectPointBeforeStartReturnsStartWithAttributes) {
    const YdLineSeg s(WithAttributes(0, 0, 0, 1), WithAttributes(2, 0, 0, 2));
    double t = 0.0;
    const YdPoint r = s.ProjectPoint(YdPoint(-1, 5, 0), &t);
    EXPECT_DOUBLE_EQ(t, -0.5);
    EXPECT_TRUE(PointsNear(r, YdPoint(0, 0, 0), 0.0));
    EXPECT_EQ(r.m_nAttr1, 1);
    EXPECT_TRUE(r.m_bFlag);
    // On the start itself (r = 0) it is still the start point.
    const YdPoint r0 = s.ProjectPoint(YdPoint(0, 3, 0), &t);
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(r0.m_nAttr1, 1);
}

TEST(YdLineSeg, ProjectPointInteriorIsFreshPoint) {
    const YdLineSeg s(WithAttributes(0, 0, 0, 1), WithAttributes(4, 0, 0, 2));
    double t = 0.0;
    const YdPoint r = s.ProjectPoint(YdPoint(1, 7, -2), &t);
    EXPECT_DOUBLE_EQ(t, 0.25);
    EXPECT_TRUE(PointsNear(r, YdPoint(1, 0, 0), 0.0));
    EXPECT_EQ(r.m_nAttr1, 0);
    EXPECT_FALSE(r.m_bFlag);
    EXPECT_TRUE(PointsNear(s.ProjectPoint(YdPoint(3, 1, 1), nullptr), YdPoint(3, 0, 0), 0.0));
}

TEST(YdLineSeg, ProjectPointOnZeroLengthSegmentPassesNaNOn) {
    // No guard on purpose: the parameter is 0 / 0, and the NaN reaches both the parameter and
    // the returned point instead of a made-up answer.
    const YdLineSeg s(WithAttributes(1, 2, 3, 5), WithAttributes(1, 2, 3, 6));
    double t = 42.0;
    const YdPoint r = s.ProjectPoint(YdPoint(9, 9, 9), &t);
    EXPECT_TRUE(std::isnan(t));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(std::isnan(r[i])) << "coordinate " << i;
    }
    EXPECT_TRUE(std::isnan(s.ProjectPoint(YdPoint(1, 2, 3), nullptr)[0]));
}

// ---------------------------------------------------------------------------------------------
// DistanceToPoint

TEST(YdLineSeg, DistanceBeyondStartIsDistanceToStart) {
    const YdLineSeg s = Seg(0, 0, 0, 4, 0, 0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(-3, 4, 0)), 5.0);
}

TEST(YdLineSeg, DistanceBeyondEndIsDistanceToEnd) {
    const YdLineSeg s = Seg(0, 0, 0, 4, 0, 0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(7, 0, 4)), 5.0);
}

TEST(YdLineSeg, DistanceBesideSegmentIsPerpendicular) {
    const YdLineSeg s = Seg(0, 0, 0, 4, 0, 0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(1, 3, 4)), 5.0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(4, 2, 0)), 2.0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(2, 0, 0)), 0.0);
}

TEST(YdLineSeg, DistanceAgreesWithBruteForce) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> uni(-3.0, 3.0);
    for (int trial = 0; trial < 200; ++trial) {
        const YdLineSeg s = Seg(uni(rng), uni(rng), uni(rng), uni(rng), uni(rng), uni(rng));
        const YdPoint p(uni(rng), uni(rng), uni(rng));
        const YdVector d = s.GetEndPoint() - s.GetStartPoint();
        const double best =
            ydtest::DenseMinimum(
                [&](double t) { return p.DistanceToPoint(s.GetStartPoint() + d * t); }, 0.0, 1.0,
                20000)
                .value;
        const double got = s.DistanceToPoint(p);
        EXPECT_LE(got, best + 1e-12) << "at trial " << trial;
        EXPECT_GE(got, best - d.Magnitude() / 20000.0) << "at trial " << trial;
    }
}

TEST(YdLineSeg, DistanceToZeroLengthSegmentIsDistanceToStart) {
    const YdLineSeg s = Seg(1, 1, 1, 1, 1, 1);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(1, 4, 5)), 5.0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(-2, 1, 5)), 5.0);
    EXPECT_DOUBLE_EQ(s.DistanceToPoint(YdPoint(4, 1, 5)), 5.0);
}

// ---------------------------------------------------------------------------------------------
// IsCoincidence

TEST(YdLineSeg, IsCoincidenceEitherOrder) {
    const YdLineSeg s = Seg(0, 0, 0, 1, 2, 3);
    EXPECT_TRUE(s.IsCoincidence(Seg(0, 0, 0, 1, 2, 3)));
    EXPECT_TRUE(s.IsCoincidence(Seg(1, 2, 3, 0, 0, 0)));
    EXPECT_TRUE(s.IsCoincidence(Seg(5e-8, 0, 0, 1, 2, 3 - 5e-8)));
    EXPECT_FALSE(s.IsCoincidence(Seg(0, 0, 0, 1, 2, 3.001)));
    EXPECT_FALSE(s.IsCoincidence(Seg(0, 0, 0, 0, 0, 0)));
}

// ---------------------------------------------------------------------------------------------
// IsIntersectWithLineSeg

TEST(YdLineSeg, IsIntersectCrossingAndDisjoint) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(1, -1, 0, 1, 1, 0)));
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(1, 1, 0, 1, 2, 0)));
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(3, -1, 0, 3, 1, 0)));
}

TEST(YdLineSeg, IsIntersectTouchingCounts) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(1, 0, 0, 1, 1, 0)));   // T at o's start
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(1, 1, 0, 1, 0, 0)));   // T at o's end
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(2, 0, 0, 3, 1, 0)));   // end to start
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(0, -1, 0, 0, 1, 0)));  // through this start
}

TEST(YdLineSeg, IsIntersectEndOnCarrierLineOutsideSegment) {
    const YdLineSeg a = Seg(0, 0, 0, 1, 0, 0);
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(5, 0, 0, 5, 1, 0)));
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(6, 1, 0, 5, 0, 0)));
}

TEST(YdLineSeg, IsIntersectCollinearExaminesStartPointsOnly) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    // A's start inside B.
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(-1, 0, 0, 1, 0, 0)));
    // A's start outside B, B's start inside A.
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(1, 0, 0, 3, 0, 0)));
    // Overlap with both starts outside the other segment: false, as hosts expect.
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(3, 0, 0, 1, 0, 0)));
    // Disjoint.
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(3, 0, 0, 4, 0, 0)));
    // Touching end to start.
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(2, 0, 0, 4, 0, 0)));
}

TEST(YdLineSeg, IsIntersectTinyCrossProductBound) {
    // o lies beyond this segment, raised by a tiny offset. At 1e-30 the cross products are
    // longer than the single-precision bound, so the side tests decide; their dot products are
    // far below 1e-7, so the segments count as touching.
    const YdLineSeg a = Seg(0, 0, 0, 1, 0, 0);
    EXPECT_TRUE(a.IsIntersectWithLineSeg(Seg(3, 1e-30, 0, 5, 1e-30, 0)));
    // At 1e-39 the cross products count as zero: the collinear rule applies, and it sees o
    // beyond this segment.
    EXPECT_FALSE(a.IsIntersectWithLineSeg(Seg(3, 1e-39, 0, 5, 1e-39, 0)));
}

TEST(YdLineSeg, IsIntersectZeroLengthSegments) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    const YdLineSeg on = Seg(1, 0, 0, 1, 0, 0);
    const YdLineSeg off = Seg(1, 1, 0, 1, 1, 0);
    EXPECT_TRUE(a.IsIntersectWithLineSeg(on));
    EXPECT_TRUE(on.IsIntersectWithLineSeg(a));
    // A point beside this segment: both cross products are the same non-zero vector, so it
    // lies on one side.
    EXPECT_FALSE(a.IsIntersectWithLineSeg(off));
    // Seen from the point segment every cross product is zero, so the collinear rule answers
    // on the start points alone: (a0 - p) . (a1 - p) = (-1, -1) . (1, -1) = 0 is not above
    // 1e-7, which reports an intersection although the point is off the other segment.
    EXPECT_TRUE(off.IsIntersectWithLineSeg(a));
    EXPECT_TRUE(off.IsIntersectWithLineSeg(off));
    EXPECT_FALSE(off.IsIntersectWithLineSeg(Seg(3, 1, 0, 4, 1, 0)));
    EXPECT_TRUE(YdLineSeg().IsIntersectWithLineSeg(YdLineSeg()));
}

TEST(YdLineSeg, IsIntersectAgreesWithExactTestOffCollinearCases) {
    std::mt19937 rng(2024);
    std::uniform_int_distribution<int> coord(-8, 8);
    int hits = 0;
    int misses = 0;
    for (int trial = 0; trial < 20000; ++trial) {
        const IP a0{coord(rng), coord(rng)};
        const IP a1{coord(rng), coord(rng)};
        const IP b0{coord(rng), coord(rng)};
        const IP b1{coord(rng), coord(rng)};
        if (Same(a0, a1) || Same(b0, b1)) {
            continue;
        }
        if (Cross(a0, a1, b0) == 0 && Cross(a0, a1, b1) == 0) {
            continue;  // collinear: its own rule, tested above
        }
        const int o1 = Sign(Cross(a0, a1, b0));
        const int o2 = Sign(Cross(a0, a1, b1));
        const int o3 = Sign(Cross(b0, b1, a0));
        const int o4 = Sign(Cross(b0, b1, a1));
        const bool exact = o1 * o2 <= 0 && o3 * o4 <= 0;
        const YdLineSeg A(ToPoint(a0), ToPoint(a1));
        const YdLineSeg B(ToPoint(b0), ToPoint(b1));
        ASSERT_EQ(A.IsIntersectWithLineSeg(B), exact)
            << "A (" << a0.x << "," << a0.y << ")-(" << a1.x << "," << a1.y << ") B (" << b0.x
            << "," << b0.y << ")-(" << b1.x << "," << b1.y << ")";
        (exact ? hits : misses)++;
    }
    EXPECT_GT(hits, 1000);
    EXPECT_GT(misses, 1000);
}

// ---------------------------------------------------------------------------------------------
// IntersectNew and Intersect

TEST(YdLineSeg, IntersectNewCrossing) {
    YdPoint out(9, 9, 9);
    EXPECT_EQ(Seg(0, 0, 0, 2, 0, 0).IntersectNew(Seg(1, -1, 0, 1, 1, 0), out), 1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 1e-15));
}

TEST(YdLineSeg, IntersectNewCollinearOverlapGivesFirstSharedPoint) {
    YdPoint out(9, 9, 9);
    EXPECT_EQ(Seg(0, 0, 0, 2, 0, 0).IntersectNew(Seg(1, 0, 0, 3, 0, 0), out), -1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 0.0));
}

TEST(YdLineSeg, IntersectNewParallelOrderOfTests) {
    const YdLineSeg a = Seg(0, 0, 0, 4, 0, 0);
    YdPoint out;
    // o's start outside, o's end inside: the end is reported.
    EXPECT_EQ(a.IntersectNew(Seg(-1, 0, 0, 1, 0, 0), out), -1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 0.0));
    // o covers this segment: this start is reported.
    EXPECT_EQ(a.IntersectNew(Seg(-1, 0, 0, 5, 0, 0), out), -1);
    EXPECT_TRUE(PointsNear(out, YdPoint(0, 0, 0), 0.0));
    // Opposite direction, o covers only this end.
    EXPECT_EQ(Seg(0, 0, 0, 4, 0, 0).IntersectNew(Seg(6, 0, 0, 4, 0, 0), out), -1);
    EXPECT_TRUE(PointsNear(out, YdPoint(4, 0, 0), 0.0));
    EXPECT_EQ(Seg(0, 0, 0, 4, 0, 0).IntersectNew(Seg(6, 0, 0, 3, 0, 0), out), -1);
    EXPECT_TRUE(PointsNear(out, YdPoint(3, 0, 0), 0.0));
}

TEST(YdLineSeg, IntersectNewParallelApartGivesZero) {
    YdPoint out(9, 9, 9);
    EXPECT_EQ(Seg(0, 0, 0, 4, 0, 0).IntersectNew(Seg(0, 1, 0, 4, 1, 0), out), 0);
    EXPECT_EQ(Seg(0, 0, 0, 4, 0, 0).IntersectNew(Seg(5, 0, 0, 6, 0, 0), out), 0);
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
}

TEST(YdLineSeg, IntersectNewCrossingJustPastEndCounts) {
    // The crossing lies at parameter 1.000000005 of this segment: inside the slack.
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    YdPoint out;
    EXPECT_EQ(a.IntersectNew(Seg(2.00000001, -1, 0, 2.00000001, 1, 0), out), 1);
    EXPECT_NEAR(out[0], 2.00000001, 1e-12);
    // At 1.00000002 it is outside.
    EXPECT_EQ(a.IntersectNew(Seg(2.00000004, -1, 0, 2.00000004, 1, 0), out), 0);
    // The same slack applies to o's parameter, and below zero.
    EXPECT_EQ(a.IntersectNew(Seg(1, 1, 0, 1, 5e-9, 0), out), 1);
    EXPECT_EQ(a.IntersectNew(Seg(1, 1, 0, 1, 1e-6, 0), out), 0);
    EXPECT_EQ(a.IntersectNew(Seg(-1e-8, -1, 0, -1e-8, 1, 0), out), 1);
    EXPECT_EQ(a.IntersectNew(Seg(-1e-7, -1, 0, -1e-7, 1, 0), out), 0);
}

TEST(YdLineSeg, IntersectNewDisjointGivesZeroAndLeavesOut) {
    YdPoint out(9, 9, 9);
    EXPECT_EQ(Seg(0, 0, 0, 2, 0, 0).IntersectNew(Seg(3, -1, 0, 3, 1, 0), out), 0);
    EXPECT_EQ(Seg(0, 0, 0, 2, 0, 0).IntersectNew(Seg(1, 1, 0, 1, 2, 0), out), 0);
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
}

TEST(YdLineSeg, IntersectNewZeroLengthSegments) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    const YdLineSeg on(WithAttributes(1, 0, 0, 7), WithAttributes(1, 0, 0, 7));
    const YdLineSeg off = Seg(1, 1, 0, 1, 1, 0);
    YdPoint out(9, 9, 9);
    EXPECT_EQ(on.IntersectNew(a, out), 1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 0.0));
    EXPECT_EQ(out.m_nAttr1, 7);
    out = YdPoint(9, 9, 9);
    EXPECT_EQ(a.IntersectNew(on, out), 1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 0.0));
    out = YdPoint(9, 9, 9);
    EXPECT_EQ(off.IntersectNew(a, out), 0);
    EXPECT_EQ(a.IntersectNew(off, out), 0);
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));
    // Two point segments: equal points meet, others do not.
    EXPECT_EQ(on.IntersectNew(Seg(1, 0, 0, 1, 0, 0), out), 1);
    EXPECT_EQ(on.IntersectNew(off, out), 0);
    // Shorter than 1e-7 counts as a point.
    EXPECT_EQ(Seg(1, 0, 0, 1, 5e-8, 0).IntersectNew(a, out), 1);
}

TEST(YdLineSeg, IntersectNewSkewSegmentsReportPointOnThis) {
    // The gap between the carrier lines is not tested.
    YdPoint out;
    EXPECT_EQ(Seg(0, 0, 0, 2, 0, 0).IntersectNew(Seg(1, -1, 3, 1, 1, 3), out), 1);
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 1e-15));
}

TEST(YdLineSeg, IntersectIsIntersectNewAsBool) {
    const YdLineSeg a = Seg(0, 0, 0, 2, 0, 0);
    YdPoint out;
    EXPECT_TRUE(a.Intersect(Seg(1, -1, 0, 1, 1, 0), out));
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 1e-15));
    EXPECT_TRUE(a.Intersect(Seg(1, 0, 0, 3, 0, 0), out));
    EXPECT_TRUE(PointsNear(out, YdPoint(1, 0, 0), 0.0));
    out = YdPoint(9, 9, 9);
    EXPECT_FALSE(a.Intersect(Seg(3, -1, 0, 3, 1, 0), out));
    EXPECT_TRUE(PointsNear(out, YdPoint(9, 9, 9), 0.0));

    std::mt19937 rng(8);
    std::uniform_real_distribution<double> uni(-2.0, 2.0);
    for (int trial = 0; trial < 2000; ++trial) {
        const YdLineSeg s = Seg(uni(rng), uni(rng), 0, uni(rng), uni(rng), 0);
        const YdLineSeg t = Seg(uni(rng), uni(rng), 0, uni(rng), uni(rng), 0);
        YdPoint p1(7, 7, 7);
        YdPoint p2(7, 7, 7);
        const int code = s.IntersectNew(t, p1);
        ASSERT_EQ(s.Intersect(t, p2), code != 0) << "at trial " << trial;
        ASSERT_TRUE(PointsNear(p1, p2, 0.0)) << "at trial " << trial;
    }
}

TEST(YdLineSeg, IntersectNewAgreesWithExactPlanarTest) {
    std::mt19937 rng(99);
    std::uniform_int_distribution<int> coord(-20, 20);
    int ones = 0;
    int zeros = 0;
    int overlaps = 0;
    for (int trial = 0; trial < 40000; ++trial) {
        // Small coordinates make collinear and touching pairs common.
        const bool small = trial % 2 == 0;
        auto pick = [&]() { return small ? coord(rng) / 5 : coord(rng); };
        const IP a0{pick(), pick()};
        const IP a1{pick(), pick()};
        const IP b0{pick(), pick()};
        const IP b1{pick(), pick()};
        const YdLineSeg A(ToPoint(a0), ToPoint(a1));
        const YdLineSeg B(ToPoint(b0), ToPoint(b1));
        YdPoint out(1e9, 1e9, 1e9);
        const int code = A.IntersectNew(B, out);
        const auto where = [&]() {
            return ::testing::Message()
                   << "A (" << a0.x << "," << a0.y << ")-(" << a1.x << "," << a1.y << ") B ("
                   << b0.x << "," << b0.y << ")-(" << b1.x << "," << b1.y << ")";
        };

        if (Same(a0, a1)) {
            ASSERT_EQ(code, OnSegment(a0, b0, b1) ? 1 : 0) << where();
            if (code == 1) {
                ASSERT_TRUE(PointsNear(out, ToPoint(a0), 0.0)) << where();
            }
            continue;
        }
        if (Same(b0, b1)) {
            ASSERT_EQ(code, OnSegment(b0, a0, a1) ? 1 : 0) << where();
            if (code == 1) {
                ASSERT_TRUE(PointsNear(out, ToPoint(b0), 0.0)) << where();
            }
            continue;
        }
        const long long denom =
            (a1.x - a0.x) * (b1.y - b0.y) - (a1.y - a0.y) * (b1.x - b0.x);  // dA x dB
        if (denom == 0) {
            // Parallel: the first shared end point in the fixed order, or nothing.
            IP first{0, 0};
            bool shared = true;
            if (OnSegment(b0, a0, a1)) {
                first = b0;
            } else if (OnSegment(b1, a0, a1)) {
                first = b1;
            } else if (OnSegment(a0, b0, b1)) {
                first = a0;
            } else if (OnSegment(a1, b0, b1)) {
                first = a1;
            } else {
                shared = false;
            }
            ASSERT_EQ(code, shared ? -1 : 0) << where();
            if (shared) {
                ASSERT_TRUE(PointsNear(out, ToPoint(first), 0.0)) << where();
                ++overlaps;
            }
            continue;
        }
        // Not parallel: exact parameters sNum / denom on A and uNum / denom on B.
        const long long wx = b0.x - a0.x;
        const long long wy = b0.y - a0.y;
        const long long sNum = wx * (b1.y - b0.y) - wy * (b1.x - b0.x);
        const long long uNum = wx * (a1.y - a0.y) - wy * (a1.x - a0.x);
        const auto inUnit = [denom](long long num) {
            return denom > 0 ? (num >= 0 && num <= denom) : (num <= 0 && num >= denom);
        };
        const bool meet = inUnit(sNum) && inUnit(uNum);
        ASSERT_EQ(code, meet ? 1 : 0) << where();
        if (meet) {
            const double s = static_cast<double>(sNum) / static_cast<double>(denom);
            const YdPoint want(a0.x + s * (a1.x - a0.x), a0.y + s * (a1.y - a0.y), 0.0);
            // The closest-point solve divides by sin^2 of the crossing angle: scale the
            // tolerance by its inverse.
            const double lenA = std::hypot(a1.x - a0.x, a1.y - a0.y);
            const double lenB = std::hypot(b1.x - b0.x, b1.y - b0.y);
            const double sine = std::fabs(static_cast<double>(denom)) / (lenA * lenB);
            ASSERT_TRUE(PointsNear(out, want, 1e-13 / (sine * sine))) << where();
            ++ones;
        } else {
            ASSERT_TRUE(PointsNear(out, YdPoint(1e9, 1e9, 1e9), 0.0)) << where();
            ++zeros;
        }
    }
    EXPECT_GT(ones, 1000);
    EXPECT_GT(zeros, 1000);
    EXPECT_GT(overlaps, 100);
}
