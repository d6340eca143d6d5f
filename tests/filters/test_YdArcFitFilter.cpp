// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "YdNurbsLib/filters/YdArcFitFilter.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdTestAccess.h"
#include "YdTestSupport.h"

namespace {

using Access = YdArcFitFilterTestAccess;
using ydtest::PointsNear;
using ydtest::VectorsNear;

constexpr double kPi = 3.141592653589793;

double Clamp(double x) {
    return std::max(std::min(x, 1.0), -1.0);
}

YdPoint P(double x, double y, double z) {
    return YdPoint(x, y, z);
}

double Dist(const YdPoint& a, const YdPoint& b) {
    return a.DistanceToPoint(b);
}

// The arc length s whose angle s / r is exactly `angle`, and the next longer length, whose
// angle exceeds it: the two sides of the strict end test of a step.
void ExactAndLongerStep(double angle, double r, double& s, double& longer) {
    s = angle * r;
    while (s / r > angle) {
        s = std::nextafter(s, 0.0);
    }
    while (s / r < angle) {
        s = std::nextafter(s, 1.0);
    }
    longer = std::nextafter(s, 1.0);
    while (!(longer / r > angle)) {
        longer = std::nextafter(longer, 1.0);
    }
}

bool SameBits(const YdPoint& a, const YdPoint& b) {
    return a[0] == b[0] && a[1] == b[1] && a[2] == b[2];
}

YdVector Unit(const YdVector& v) {
    YdVector u(v);
    u.Normalize();
    return u;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Construction, copying and layout

TEST(YdArcFitFilter, FieldsAreInDeclarationOrder) {
    const YdArcFitFilter f;
    const std::vector<const void*> addr = Access::FieldAddresses(f);
    for (std::size_t i = 1; i < addr.size(); ++i) {
        EXPECT_LT(reinterpret_cast<std::uintptr_t>(addr[i - 1]),
                  reinterpret_cast<std::uintptr_t>(addr[i]))
            << "field " << i;
    }
}

TEST(YdArcFitFilter, DefaultConstructionZeroesNumbersAndPoints) {
    YdArcFitFilter f;
    EXPECT_EQ(f.getRadius(), 0.0);
    EXPECT_EQ(Access::Angle(f), 0.0);
    EXPECT_EQ(Access::Spare(f), 0.0);
    EXPECT_EQ(f.getArcLength(), 0.0);
    EXPECT_TRUE(PointsNear(f.getCenter(), P(0, 0, 0), 0.0));
    YdPoint a(1, 1, 1);
    YdPoint b(2, 2, 2);
    f.getTangentPoint(a, b);
    EXPECT_TRUE(PointsNear(a, P(0, 0, 0), 0.0));
    EXPECT_TRUE(PointsNear(b, P(0, 0, 0), 0.0));
    EXPECT_EQ(Access::LocalToWorld(f).GetRow(), 0);
}

TEST(YdArcFitFilter, ThreePointConstructorStoresThePoints) {
    const YdArcFitFilter f(P(1, 2, 3), P(4, 5, 6), P(7, 8, 9));
    EXPECT_TRUE(PointsNear(Access::Point0(f), P(1, 2, 3), 0.0));
    EXPECT_TRUE(PointsNear(Access::Point1(f), P(4, 5, 6), 0.0));
    EXPECT_TRUE(PointsNear(Access::Point2(f), P(7, 8, 9), 0.0));
    EXPECT_EQ(f.getRadius(), 0.0);
    EXPECT_EQ(Access::Spare(f), 0.0);
}

TEST(YdArcFitFilter, CopyAndAssignmentCopyEveryField) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.1));
    Access::Spare(f) = 42.0;

    const YdArcFitFilter copy(f);
    YdArcFitFilter assigned;
    assigned = f;
    for (const YdArcFitFilter* g : {static_cast<const YdArcFitFilter*>(&copy),
                                    static_cast<const YdArcFitFilter*>(&assigned)}) {
        EXPECT_EQ(Access::Spare(*g), 42.0);
        EXPECT_EQ(g->getRadius(), f.getRadius());
        EXPECT_EQ(Access::Angle(*g), Access::Angle(f));
        EXPECT_TRUE(SameBits(g->getCenter(), f.getCenter()));
        EXPECT_TRUE(VectorsNear(Access::Dir1(*g), Access::Dir1(f), 0.0));
        EXPECT_TRUE(VectorsNear(Access::Dir2(*g), Access::Dir2(f), 0.0));
        EXPECT_TRUE(SameBits(Access::Point0(*g), Access::Point0(f)));
        const YdMatrix& m = Access::LocalToWorld(*g);
        const YdMatrix& mf = Access::LocalToWorld(f);
        ASSERT_EQ(m.GetRow(), mf.GetRow());
        ASSERT_EQ(m.GetCol(), mf.GetCol());
        for (int r = 0; r < m.GetRow(); ++r) {
            for (int c = 0; c < m.GetCol(); ++c) {
                EXPECT_EQ(m[r][c], mf[r][c]) << "at (" << r << ", " << c << ")";
            }
        }
    }
    // The copies step along the arc exactly as the original does.
    YdPoint start;
    f.getp1(start);
    YdPoint a;
    YdPoint b;
    YdArcFitFilter g(copy);
    EXPECT_TRUE(f.interpolate(start, 0.05, a, true));
    EXPECT_TRUE(g.interpolate(start, 0.05, b, true));
    EXPECT_TRUE(SameBits(a, b));
}

TEST(YdArcFitFilter, SetPointDoesNotRefit) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.1));
    const double r = f.getRadius();
    const YdPoint c = f.getCenter();
    f.SetPoint(P(0, 0, 0), P(5, 5, 5), P(10, 0, 0));
    EXPECT_TRUE(PointsNear(Access::Point1(f), P(5, 5, 5), 0.0));
    EXPECT_EQ(f.getRadius(), r);
    EXPECT_TRUE(SameBits(f.getCenter(), c));
    ASSERT_TRUE(f.doFitArc(0.1));
    EXPECT_NE(f.getRadius(), r);
}

// ---------------------------------------------------------------------------------------------
// Fitting: exact cases

TEST(YdArcFitFilter, RightAngleCornerWithLongLegs) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    EXPECT_TRUE(f.doFitArc(0.1));
    const double s = std::sin(kPi / 4);
    const double r = 0.1 * s / (1 - s);
    EXPECT_NEAR(r, 0.1 * (std::sqrt(2.0) + 1.0), 1e-15);  // 0.2414...
    EXPECT_NEAR(f.getRadius(), r, 1e-15);
    EXPECT_NEAR(Access::Angle(f), kPi / 2, 1e-15);
    const double d = r / std::tan(kPi / 4);
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(d, 0, 0), 1e-15));
    EXPECT_TRUE(PointsNear(p2, P(0, d, 0), 1e-15));
    const double h = (r + 0.1) / std::sqrt(2.0);
    EXPECT_TRUE(PointsNear(f.getCenter(), P(h, h, 0), 1e-15));
    EXPECT_NEAR(Dist(f.getCenter(), P(0, 0, 0)), r + 0.1, 1e-15);
    EXPECT_NEAR(f.getArcLength(), r * kPi / 2, 1e-15);
    EXPECT_TRUE(VectorsNear(Access::Dir1(f), YdVector(0, -1, 0), 1e-15));
    EXPECT_TRUE(VectorsNear(Access::Dir2(f), YdVector(-1, 0, 0), 1e-15));
}

TEST(YdArcFitFilter, ShortLegShrinksTheArcToItsEnd) {
    // The incoming leg (0.1 long) is shorter than the tangent distance 0.2414.
    YdArcFitFilter f(P(0.1, 0, 0), P(0, 0, 0), P(0, 10, 0));
    EXPECT_TRUE(f.doFitArc(0.1));
    const double r = 0.1 * std::tan(kPi / 4);
    EXPECT_NEAR(f.getRadius(), r, 1e-16);
    YdPoint p1;
    YdPoint p2;
    f.getp1(p1);
    f.getp2(p2);
    EXPECT_TRUE(PointsNear(p1, P(0.1, 0, 0), 1e-16));  // the shorter leg's far end
    EXPECT_TRUE(PointsNear(p2, P(0, 0.1, 0), 1e-16));
    EXPECT_TRUE(PointsNear(f.getCenter(), P(0.1, 0.1, 0), 1e-16));
    // The arc now passes closer to the corner than the tolerance.
    const double gap = Dist(f.getCenter(), P(0, 0, 0)) - f.getRadius();
    EXPECT_LT(gap, 0.1);
    EXPECT_NEAR(gap, 0.1 * (std::sqrt(2.0) - 1.0), 1e-15);
}

TEST(YdArcFitFilter, ShortOutgoingLegShrinksToThatLeg) {
    YdArcFitFilter f(P(-10, 0, 0), P(0, 0, 0), P(0.05, 0.05, 0));
    EXPECT_TRUE(f.doFitArc(1.0));
    const double len2 = std::sqrt(0.005);
    const double theta = Access::Angle(f);
    EXPECT_NEAR(theta, 3 * kPi / 4, 1e-15);
    EXPECT_NEAR(f.getRadius(), len2 * std::tan(theta / 2), 1e-16);
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p2, P(0.05, 0.05, 0), 1e-16));
    EXPECT_TRUE(PointsNear(p1, P(-len2, 0, 0), 1e-16));
}

TEST(YdArcFitFilter, EqualShortLegsTakeTheFirstLeg) {
    YdArcFitFilter f(P(0.1, 0, 0), P(0, 0, 0), P(0, 0.1, 0));
    EXPECT_TRUE(f.doFitArc(1.0));
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(0.1, 0, 0), 1e-16));
    EXPECT_TRUE(PointsNear(p2, P(0, 0.1, 0), 1e-16));
    EXPECT_NEAR(f.getRadius(), 0.1 * std::tan(kPi / 4), 1e-16);
}

TEST(YdArcFitFilter, CollinearPointsShrinkToAHugeFiniteRadius) {
    YdArcFitFilter f(P(-5, 0, 0), P(0, 0, 0), P(3, 0, 0));
    EXPECT_TRUE(f.doFitArc(0.1));
    const double theta = std::acos(-1.0);
    EXPECT_EQ(Access::Angle(f), theta);
    EXPECT_EQ(f.getRadius(), 3.0 * std::tan(theta * 0.5));
    EXPECT_TRUE(std::isfinite(f.getRadius()));
    EXPECT_GT(f.getRadius(), 1e15);
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(-3, 0, 0), 0.0));
    EXPECT_TRUE(PointsNear(p2, P(3, 0, 0), 0.0));
    // The zero bisector normalises to (1, 0, 0): the centre runs off along x, to 3 / cos of a
    // value next to pi / 2. There cos is a tiny difference (about 6.1e-17) that C runtimes do
    // not agree on: the expected value may be folded at compile time (correctly rounded) while
    // the library calls the runtime's cos, and MinGW's (x87 fsincos, which reduces by a 66-bit pi)
    // is 3.3e-5 off in relative terms. 1e-4 still tells any other formula apart.
    const double centreX = 3.0 / std::cos(theta * 0.5);
    EXPECT_NEAR(f.getCenter()[0], centreX, 1e-4 * centreX);
    EXPECT_EQ(f.getCenter()[1], 0.0);
    EXPECT_EQ(f.getArcLength(), 0.0);
}

TEST(YdArcFitFilter, CollinearPointsWithZeroToleranceStillSucceed) {
    YdArcFitFilter f(P(0, 0, -2), P(0, 0, 0), P(0, 0, 2));
    EXPECT_TRUE(f.doFitArc(0.0));
    EXPECT_EQ(f.getRadius(), 2.0 * std::tan(std::acos(-1.0) * 0.5));
}

TEST(YdArcFitFilter, FullReversalGivesAZeroRadiusOnTheShorterLeg) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(4, 0, 0));
    EXPECT_TRUE(f.doFitArc(0.1));
    EXPECT_EQ(Access::Angle(f), 0.0);
    EXPECT_EQ(f.getRadius(), 0.0);
    EXPECT_TRUE(PointsNear(f.getCenter(), P(4, 0, 0), 0.0));
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(4, 0, 0), 0.0));
    EXPECT_TRUE(PointsNear(p2, P(4, 0, 0), 0.0));
    EXPECT_EQ(f.getArcLength(), 0.0);
    // Stepping on a collapsed arc divides by the zero radius; it must not crash.
    YdPoint next;
    f.interpolate(p1, 0.01, next, true);
    f.interpolate(p1, 0.01, next, false);
}

TEST(YdArcFitFilter, ZeroToleranceCollapsesTheArcOntoTheCorner) {
    YdArcFitFilter f(P(10, 0, 0), P(1, 1, 1), P(1, 10, 1));
    EXPECT_TRUE(f.doFitArc(0.0));
    EXPECT_EQ(f.getRadius(), 0.0);
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(1, 1, 1), 0.0));
    EXPECT_TRUE(PointsNear(p2, P(1, 1, 1), 0.0));
    EXPECT_TRUE(PointsNear(f.getCenter(), P(1, 1, 1), 0.0));
    EXPECT_EQ(f.getArcLength(), 0.0);
    // A positive step over a zero radius is an infinite angle: past the end at once.
    YdPoint next(7, 7, 7);
    EXPECT_FALSE(f.interpolate(p1, 0.01, next, true));
    EXPECT_TRUE(PointsNear(next, p2, 0.0));
    EXPECT_FALSE(f.interpolate(p2, 0.01, next, false));
    EXPECT_TRUE(PointsNear(next, p1, 0.0));
    // A zero step over a zero radius is 0 / 0: the NaN is passed on, nothing crashes.
    f.interpolate(p1, 0.0, next, true);
}

TEST(YdArcFitFilter, ZeroLengthLegCollapsesTheArcOntoTheCorner) {
    YdArcFitFilter f(P(2, 3, 4), P(2, 3, 4), P(2, 9, 4));
    EXPECT_TRUE(f.doFitArc(0.1));
    // The zero leg normalises to (1, 0, 0): a right angle with the outgoing leg.
    EXPECT_NEAR(Access::Angle(f), kPi / 2, 1e-15);
    EXPECT_EQ(f.getRadius(), 0.0);
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    EXPECT_TRUE(PointsNear(p1, P(2, 3, 4), 0.0));
    EXPECT_TRUE(PointsNear(p2, P(2, 3, 4), 0.0));
    EXPECT_TRUE(PointsNear(f.getCenter(), P(2, 3, 4), 0.0));
}

TEST(YdArcFitFilter, AllThreePointsEqualStillSucceeds) {
    YdArcFitFilter f(P(1, 1, 1), P(1, 1, 1), P(1, 1, 1));
    EXPECT_TRUE(f.doFitArc(0.5));
    EXPECT_EQ(Access::Angle(f), 0.0);
    EXPECT_EQ(f.getRadius(), 0.0);
    EXPECT_TRUE(PointsNear(f.getCenter(), P(1, 1, 1), 0.0));
}

TEST(YdArcFitFilter, ArcLengthUsesTheHostsPi) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(-10, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.2));
    EXPECT_EQ(f.getArcLength(), f.getRadius() * (3.141592653589793 - Access::Angle(f)));
}

// ---------------------------------------------------------------------------------------------
// Stepping: exact cases

TEST(YdArcFitFilter, StepExactlyToTheEndGoesThroughTheMatrix) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.1));
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    const double r = f.getRadius();
    // The angle interpolate computes from p1 to p2.
    YdVector v = p1 - f.getCenter();
    v.Normalize();
    const double alpha = std::acos(Clamp(v % Access::Dir2(f)));
    double s = 0.0;
    double longer = 0.0;
    ExactAndLongerStep(alpha, r, s, longer);
    ASSERT_EQ(s / r, alpha);
    ASSERT_LT(longer - s, 1e-15);

    YdPoint next;
    EXPECT_TRUE(f.interpolate(p1, s, next, true));
    EXPECT_TRUE(PointsNear(next, p2, 1e-15));
    EXPECT_FALSE(f.interpolate(p1, longer, next, true));
    EXPECT_TRUE(SameBits(next, p2));
}

TEST(YdArcFitFilter, StepExactlyBackToTheStartGoesThroughTheMatrix) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(7, 7, 0));
    ASSERT_TRUE(f.doFitArc(0.3));
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    const double r = f.getRadius();
    YdVector v = p2 - f.getCenter();
    v.Normalize();
    const double beta = std::acos(Clamp(v % Access::Dir1(f)));
    double s = 0.0;
    double longer = 0.0;
    ExactAndLongerStep(beta, r, s, longer);
    ASSERT_EQ(s / r, beta);
    YdPoint next;
    EXPECT_TRUE(f.interpolate(p2, s, next, false));
    EXPECT_TRUE(PointsNear(next, p1, 1e-14));
    EXPECT_FALSE(f.interpolate(p2, longer, next, false));
    EXPECT_TRUE(SameBits(next, p1));
}

TEST(YdArcFitFilter, ZeroStepStaysInPlace) {
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.1));
    YdPoint p1;
    YdPoint p2;
    f.getTangentPoint(p1, p2);
    YdPoint next;
    EXPECT_TRUE(f.interpolate(p1, 0.0, next, true));
    EXPECT_TRUE(PointsNear(next, p1, 1e-15));
    EXPECT_TRUE(f.interpolate(p2, 0.0, next, false));
    EXPECT_TRUE(PointsNear(next, p2, 1e-15));
}

TEST(YdArcFitFilter, BackwardPositionsFromTheEndDirection) {
    // From the arc's midpoint a backward step of a quarter of the arc lands three quarters of
    // the way from p2 (measured from p2), which is a quarter of the way from p1.
    YdArcFitFilter f(P(10, 0, 0), P(0, 0, 0), P(0, 10, 0));
    ASSERT_TRUE(f.doFitArc(0.1));
    const double r = f.getRadius();
    const YdPoint& c = f.getCenter();
    const YdVector mid = Unit(Access::Dir1(f) + Access::Dir2(f));
    const YdPoint m = c + mid * r;
    const double quarterArc = f.getArcLength() / 4;
    YdPoint next;
    ASSERT_TRUE(f.interpolate(m, quarterArc, next, false));
    const double phi = 3 * kPi / 8;  // three quarters of the right-angle sweep from p2
    const YdPoint expected =
        c + Access::Dir2(f) * (r * std::cos(phi)) + Access::Dir1(f) * (r * std::sin(phi));
    EXPECT_TRUE(PointsNear(next, expected, 1e-14));
    ASSERT_TRUE(f.interpolate(m, quarterArc, next, true));
    const YdPoint fwd =
        c + Access::Dir2(f) * (r * std::cos(kPi / 8)) + Access::Dir1(f) * (r * std::sin(kPi / 8));
    EXPECT_TRUE(PointsNear(next, fwd, 1e-14));
}

// ---------------------------------------------------------------------------------------------
// Properties on random corners

namespace {

struct Corner {
    YdPoint a;
    YdPoint b;
    YdPoint c;
    double tol;
};

// A corner with legs of 5 to 20 length units at a random angle in 3-D, drawn again until both
// legs are longer than the tangent distance its tolerance needs.
Corner RandomCorner(std::mt19937& rng) {
    std::uniform_real_distribution<double> pos(-50.0, 50.0);
    std::uniform_real_distribution<double> dir(-1.0, 1.0);
    std::uniform_real_distribution<double> len(5.0, 20.0);
    std::uniform_real_distribution<double> tol(0.001, 0.5);
    std::uniform_real_distribution<double> ang(0.2, 2.9);
    for (;;) {
        const YdPoint b(pos(rng), pos(rng), pos(rng));
        YdVector u(dir(rng), dir(rng), dir(rng));
        u.Normalize();
        YdVector w(dir(rng), dir(rng), dir(rng));
        w = Unit(w - u * (w % u));
        const double theta = ang(rng);
        const YdVector v = u * std::cos(theta) + w * std::sin(theta);
        const double la = len(rng);
        const double lc = len(rng);
        const double e = tol(rng);
        // Tangent distance: the centre lies (r + e) from the corner on the bisector.
        const double r = e * std::sin(theta / 2) / (1 - std::sin(theta / 2));
        const double need = (r + e) * std::cos(theta / 2);
        if (la > need * 1.01 && lc > need * 1.01) {
            return Corner{b + u * la, b, b + v * lc, e};
        }
    }
}

}  // namespace

TEST(YdArcFitFilter, RandomCornersGiveTangentArcsAtTheTolerance) {
    std::mt19937 rng(2024);
    for (int i = 0; i < 300; ++i) {
        const Corner k = RandomCorner(rng);
        YdArcFitFilter f(k.a, k.b, k.c);
        ASSERT_TRUE(f.doFitArc(k.tol)) << "corner " << i;
        const double r = f.getRadius();
        const YdPoint& c = f.getCenter();
        YdPoint p1;
        YdPoint p2;
        f.getTangentPoint(p1, p2);
        const YdVector legA = Unit(k.a - k.b);
        const YdVector legB = Unit(k.c - k.b);
        const double scale = 1e-12 * (1.0 + r);
        // Both tangent points lie on the radius circle, on their legs, at one distance from
        // the corner.
        EXPECT_NEAR(Dist(p1, c), r, scale) << "corner " << i;
        EXPECT_NEAR(Dist(p2, c), r, scale) << "corner " << i;
        EXPECT_NEAR(((p1 - k.b) * legA).Magnitude(), 0.0, 1e-12) << "corner " << i;
        EXPECT_NEAR(((p2 - k.b) * legB).Magnitude(), 0.0, 1e-12) << "corner " << i;
        EXPECT_GT((p1 - k.b) % legA, 0.0) << "corner " << i;
        EXPECT_NEAR(Dist(p1, k.b), Dist(p2, k.b), 1e-12) << "corner " << i;
        // Tangency: the radius at each tangent point is perpendicular to its leg.
        EXPECT_NEAR((p1 - c) % legA, 0.0, scale) << "corner " << i;
        EXPECT_NEAR((p2 - c) % legB, 0.0, scale) << "corner " << i;
        // The arc's midpoint lies at the tolerance from the corner.
        const YdPoint mid = c + Unit(Access::Dir1(f) + Access::Dir2(f)) * r;
        EXPECT_NEAR(Dist(mid, k.b), k.tol, 1e-11) << "corner " << i;
        // The sweep is pi minus the corner angle.
        const double sweep = std::acos(Clamp(Access::Dir1(f) % Access::Dir2(f)));
        EXPECT_NEAR(sweep, kPi - Access::Angle(f), 1e-7) << "corner " << i;
        EXPECT_NEAR(f.getArcLength(), r * sweep, 1e-7 * (1.0 + r)) << "corner " << i;
    }
}

TEST(YdArcFitFilter, SteppingForwardFromStartReachesEndOnTheCircle) {
    std::mt19937 rng(77);
    for (int i = 0; i < 40; ++i) {
        const Corner k = RandomCorner(rng);
        YdArcFitFilter f(k.a, k.b, k.c);
        ASSERT_TRUE(f.doFitArc(k.tol));
        const double r = f.getRadius();
        const YdPoint c = f.getCenter();
        YdPoint p1;
        YdPoint p2;
        f.getTangentPoint(p1, p2);
        const YdVector normal = Unit(Access::Dir1(f) * Access::Dir2(f));
        const double len = f.getArcLength();
        const double step = len / 97.3;
        YdPoint q = p1;
        int steps = 0;
        double travelled = 0.0;
        for (;;) {
            YdPoint next;
            const bool more = f.interpolate(q, step, next, true);
            ASSERT_NEAR(Dist(next, c), r, 1e-12 * (1.0 + r)) << "corner " << i << " step " << steps;
            ASSERT_NEAR((next - c) % normal, 0.0, 1e-12 * (1.0 + r))
                << "corner " << i << " step " << steps;
            if (!more) {
                EXPECT_TRUE(SameBits(next, p2)) << "corner " << i;
                break;
            }
            // Each step advances by the requested arc length.
            const double chord = Dist(q, next);
            EXPECT_NEAR(chord, 2 * r * std::sin(step / (2 * r)), 1e-9 * (1.0 + r))
                << "corner " << i << " step " << steps;
            travelled += step;
            q = next;
            ASSERT_LT(++steps, 1000) << "corner " << i;
        }
        EXPECT_EQ(steps, 97) << "corner " << i;
        EXPECT_LE(travelled, len + 1e-9);
    }
}

TEST(YdArcFitFilter, SteppingBackwardFromEndReachesStartOnTheCircle) {
    std::mt19937 rng(78);
    for (int i = 0; i < 40; ++i) {
        const Corner k = RandomCorner(rng);
        YdArcFitFilter f(k.a, k.b, k.c);
        ASSERT_TRUE(f.doFitArc(k.tol));
        const double r = f.getRadius();
        const YdPoint c = f.getCenter();
        YdPoint p1;
        YdPoint p2;
        f.getTangentPoint(p1, p2);
        const double step = f.getArcLength() / 50.5;
        YdPoint q = p2;
        int steps = 0;
        for (;;) {
            YdPoint next;
            const bool more = f.interpolate(q, step, next, false);
            ASSERT_NEAR(Dist(next, c), r, 1e-12 * (1.0 + r)) << "corner " << i << " step " << steps;
            if (!more) {
                EXPECT_TRUE(SameBits(next, p1)) << "corner " << i;
                break;
            }
            // Moving backward brings the point closer to p1.
            EXPECT_LT(Dist(next, p1), Dist(q, p1) + 1e-12) << "corner " << i << " step " << steps;
            q = next;
            ASSERT_LT(++steps, 1000) << "corner " << i;
        }
        EXPECT_EQ(steps, 50) << "corner " << i;
    }
}

TEST(YdArcFitFilter, RandomDegenerateCornersNeverFail) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> pos(-3.0, 3.0);
    std::uniform_int_distribution<int> kind(0, 4);
    for (int i = 0; i < 500; ++i) {
        YdPoint a(pos(rng), pos(rng), pos(rng));
        YdPoint b(pos(rng), pos(rng), pos(rng));
        YdPoint c(pos(rng), pos(rng), pos(rng));
        double tol = std::fabs(pos(rng));
        switch (kind(rng)) {
            case 0:
                a = b;  // zero-length incoming leg
                break;
            case 1:
                c = b + (b - a) * 0.5;  // collinear
                break;
            case 2:
                c = b + (a - b) * 0.3;  // full reversal
                break;
            case 3:
                tol = 0.0;
                break;
            default:
                c = b;  // zero-length outgoing leg
                break;
        }
        YdArcFitFilter f(a, b, c);
        EXPECT_TRUE(f.doFitArc(tol)) << "case " << i;
        YdPoint p1;
        YdPoint p2;
        f.getTangentPoint(p1, p2);
        YdPoint next;
        f.interpolate(p1, 0.01, next, true);
        f.interpolate(p2, 0.01, next, false);
        (void)f.getArcLength();
    }
}
