// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <vector>

#include "YdAllocationCounter.h"
#include "YdDenseReference.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdFrame.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
#include "YdTestAccess.h"
#include "YdTestCurves.h"
#include "YdTestSupport.h"

// Point inversion and curvature sit on hot paths: this program counts heap allocations
// through replaced global allocation functions to show that they make none.

namespace {

using ydtest::PointsNear;
using ydtest::VectorsNear;

constexpr double kPi = 3.14159265358979323846;

using ydtest::CirclePoints;
using ydtest::MakeCurve;
using ydtest::RandomCubic;

// An interpolated curve through samples of a random low-frequency space path over about 20
// length units: the kind of curve a tool path gives (gently bent, radius of curvature of a few
// units and more).
std::unique_ptr<YdBSplineCurve> SmoothCurve(std::mt19937& rng, int samples) {
    std::uniform_real_distribution<double> amp(-1.0, 1.0);
    std::uniform_real_distribution<double> phase(0.0, 2.0 * kPi);
    const double ax = amp(rng);
    const double ay = 1.5 * amp(rng);
    const double by = 0.5 * amp(rng);
    const double az = amp(rng);
    const double px = phase(rng);
    const double py = phase(rng);
    const double qy = phase(rng);
    const double pz = phase(rng);
    std::vector<YdPoint> pts;
    for (int i = 0; i < samples; ++i) {
        const double t = static_cast<double>(i) / (samples - 1);
        const double w = 2.0 * kPi * t;
        pts.emplace_back(20.0 * t + ax * std::sin(w + px),
                         ay * std::sin(w + py) + by * std::sin(2.0 * w + qy),
                         az * std::sin(w + pz));
    }
    return std::unique_ptr<YdBSplineCurve>(YdBSplineCurve::CreateInterpolateCurve(pts, false));
}

// Control points of a straight cubic: unevenly spaced on one line, so the speed varies.
YdBSplineCurve StraightCubic() {
    const YdVector dir(1.0, 2.0, -2.0);
    const std::vector<double> at = {0.0, 0.3, 1.5, 2.0, 4.0, 4.2};
    std::vector<YdPoint> ctrl;
    for (double t : at) {
        ctrl.push_back(YdPoint(1.0, -1.0, 0.5) + dir * t);
    }
    return MakeCurve(ctrl, {0.3, 0.55}, 3);
}

double Distance(const YdPoint& a, const YdPoint& b) {
    return (a - b).Magnitude();
}

// First and second derivatives by central differences of the curve points.
void CentralDifferences(const YdBSplineCurve& c, double u, double h, YdVector& d1, YdVector& d2) {
    const YdPoint a = c.Evaluate(u - h);
    const YdPoint m = c.Evaluate(u);
    const YdPoint b = c.Evaluate(u + h);
    d1 = (b - a) * (1.0 / (2.0 * h));
    d2 = ((b - m) - (m - a)) * (1.0 / (h * h));
}

bool NearAKnot(const YdBSplineCurve& c, double u, double gap) {
    for (double k : c.KnotVec().GetKnots()) {
        if (std::fabs(k - u) < gap) {
            return true;
        }
    }
    return false;
}

class CircleCurve : public ::testing::Test {
  protected:
    static constexpr double kRadius = 10.0;
    static constexpr int kPoints = 96;

    void SetUp() override {
        circle_.reset(YdBSplineCurve::CreateInterpolateCurve(CirclePoints(kPoints, kRadius), true));
        ASSERT_NE(circle_, nullptr);
        ASSERT_TRUE(circle_->IsClosed());
        // How far the interpolant strays from the true circle: the yardstick of the checks.
        maxRadialError_ = 0.0;
        for (int i = 0; i <= 20000; ++i) {
            const YdPoint p = circle_->Evaluate(i / 20000.0);
            const double r = std::hypot(p[0], p[1]);
            maxRadialError_ = std::max(maxRadialError_, std::fabs(r - kRadius) + std::fabs(p[2]));
        }
        ASSERT_LT(maxRadialError_, 1e-4) << "the interpolant should be a close circle";
    }

    std::unique_ptr<YdBSplineCurve> circle_;
    double maxRadialError_ = 0.0;
};

// The Gauss length written straight from its definition: break points a, the knots strictly
// inside (a, b) as often as they occur, b; the 4-point rule on each piece, summed in order.
double ReferenceGaussLength(const YdBSplineCurve& c, double a, double b, bool signedLength) {
    double sign = 1.0;
    if (a > b) {
        std::swap(a, b);
        if (signedLength) {
            sign = -1.0;
        }
    }
    if (a == b) {
        return 0.0;
    }
    std::vector<double> breaks{a};
    for (double k : c.KnotVec().GetKnots()) {
        if (!(k < b)) {
            break;
        }
        if (a < k) {
            breaks.push_back(k);
        }
    }
    breaks.push_back(b);
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(7, nodes, weights);
    double sum = 0.0;
    YdPoint pt;
    std::vector<YdVector> der;
    for (std::size_t i = 0; i + 1 < breaks.size(); ++i) {
        const double h = (breaks[i + 1] - breaks[i]) / 2;
        const double mid = (breaks[i + 1] + breaks[i]) / 2;
        double piece = 0.0;
        for (std::size_t g = 0; g < nodes.size(); ++g) {
            c.Evaluate(h * nodes[g] + mid, 1, pt, der);
            piece += weights[g] * der[0].Magnitude();
        }
        sum += h * piece;
    }
    return sum * sign;
}

// The Romberg length written straight from its definition; level receives the level at which
// it stopped (15 when it ran through all of them).
double ReferenceRomberg(const YdBSplineCurve& c, double a, double b, double tol, int& level) {
    std::vector<YdPoint> pts{c.Evaluate(a), c.Evaluate(b)};
    double R[15][15];
    R[0][0] = (pts[1] - pts[0]).Magnitude();
    for (int i = 1; i < 15; ++i) {
        const std::size_t k = pts.size();
        const double h = (b - a) / static_cast<double>(2 * k - 2);
        std::vector<YdPoint> next(2 * k - 1);
        for (std::size_t j = 0; j < k; ++j) {
            next[2 * j] = pts[j];
        }
        for (std::size_t j = 0; j + 1 < k; ++j) {
            next[2 * j + 1] = c.Evaluate(a + static_cast<double>(2 * j + 1) * h);
        }
        pts = next;
        std::vector<double> chords;
        for (std::size_t t = 0; t + 1 < pts.size(); ++t) {
            chords.push_back((pts[t + 1] - pts[t]).Magnitude());
        }
        while (chords.size() > 1) {
            std::vector<double> half(chords.size() / 2);
            for (std::size_t t = 0; t < half.size(); ++t) {
                half[t] = chords[2 * t] + chords[2 * t + 1];
            }
            chords = half;
        }
        R[i][0] = chords[0];
        double f = 0.0;
        for (int j = 1; j <= i; ++j) {
            f = 4 * f + 3;
            R[i][j] = R[i][j - 1] + (R[i][j - 1] - R[i - 1][j - 1]) / f;
        }
        if (tol * R[i][i] > std::fabs(R[i][i] - R[i - 1][i - 1])) {
            level = i;
            return R[i][i];
        }
    }
    level = 15;
    return R[14][14];
}

// ------------------------------------------------------------------------------------------
// Length

TEST(CurveLength, SignedLengthOfReversedIntervalIsNegated) {
    std::mt19937 rng(11);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    const double a = 0.17;
    const double b = 0.83;
    const double forward = c.Length(a, b, true);
    EXPECT_GT(forward, 0.0);
    EXPECT_EQ(c.Length(b, a, true), -forward);
}

TEST(CurveLength, UnsignedLengthOfReversedIntervalIsTheSame) {
    std::mt19937 rng(12);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    EXPECT_EQ(c.Length(0.9, 0.05, false), c.Length(0.05, 0.9, false));
    EXPECT_GT(c.Length(0.9, 0.05, false), 0.0);
    // Romberg chords are lengths whichever way the interval runs.
    EXPECT_NEAR(c.Length(0.9, 0.05, 1e-8), c.Length(0.05, 0.9, 1e-8),
                1e-7 * c.Length(0.05, 0.9, 1e-8));
    EXPECT_GT(c.Length(0.9, 0.05, 1e-8), 0.0);
}

TEST(CurveLength, EmptyIntervalHasZeroLength) {
    std::mt19937 rng(13);
    const YdBSplineCurve c = RandomCubic(rng, 7);
    for (double u : {0.0, 0.4, 1.0}) {
        EXPECT_EQ(c.Length(u, u, true), 0.0) << "at u = " << u;
        EXPECT_EQ(c.Length(u, u, false), 0.0) << "at u = " << u;
        EXPECT_EQ(c.Length(u, u, 1e-6), 0.0) << "at u = " << u;
    }
}

TEST(CurveLength, GaussLengthOfStraightCubicEqualsChord) {
    const YdBSplineCurve c = StraightCubic();
    // Along a line the speed is a polynomial of degree 2 on each span, which the 4-point rule
    // integrates exactly up to the 12-digit table.
    for (const auto& ab : std::vector<std::pair<double, double>>{{0.0, 1.0}, {0.1, 0.7}}) {
        const double chord = Distance(c.Evaluate(ab.first), c.Evaluate(ab.second));
        EXPECT_NEAR(c.Length(ab.first, ab.second, true), chord, 1e-10 * chord)
            << "on [" << ab.first << ", " << ab.second << "]";
    }
}

TEST(CurveLength, RombergLengthOfStraightCubicIsChord) {
    const YdBSplineCurve c = StraightCubic();
    const double chord = Distance(c.Evaluate(0.0), c.Evaluate(1.0));
    EXPECT_NEAR(c.Length(0.0, 1.0, 1e-6), chord, 1e-12 * chord);
}

TEST(CurveLength, RombergOfStraightCubicStopsAtLevelOneOrTwo) {
    const YdBSplineCurve c = StraightCubic();
    for (double tol : {1e-6, 1e-10}) {
        int level = 0;
        const double want = ReferenceRomberg(c, 0.0, 1.0, tol, level);
        EXPECT_GE(level, 1) << "tol " << tol;
        EXPECT_LE(level, 2) << "tol " << tol;
        EXPECT_EQ(c.Length(0.0, 1.0, tol), want) << "tol " << tol;
    }
}

TEST(CurveLength, RombergFollowsTheLevelsExactly) {
    // Levels, point insertion, pairwise summation, the factors 3, 15, 63, ... and the relative
    // stop test, against the reference on curves and tolerances that stop at many levels.
    std::mt19937 rng(18);
    int deepest = 0;
    for (int trial = 0; trial < 4; ++trial) {
        const YdBSplineCurve c = RandomCubic(rng, 6 + 2 * trial);
        for (double tol : {1e-2, 1e-5, 1e-9, 0.0}) {
            for (const auto& ab : std::vector<std::pair<double, double>>{{0.0, 1.0}, {0.8, 0.15}}) {
                int level = 0;
                const double want = ReferenceRomberg(c, ab.first, ab.second, tol, level);
                deepest = std::max(deepest, level);
                EXPECT_EQ(c.Length(ab.first, ab.second, tol), want)
                    << "trial " << trial << ", tol " << tol << " on [" << ab.first << ", "
                    << ab.second << "], stopped at level " << level;
            }
        }
    }
    EXPECT_EQ(deepest, 15) << "a zero tolerance runs through every level";
}

TEST(CurveLength, GaussLengthSumsFourPointPiecesBetweenBreakPoints) {
    // A double and a triple interior knot give empty pieces; intervals that start or end on a
    // knot, inside a span, and reversed.
    std::mt19937 rng(19);
    std::vector<YdPoint> ctrl;
    for (int i = 0; i < 10; ++i) {
        ctrl.emplace_back(1.5 * i, std::sin(1.3 * i) * 2.0, 0.3 * i * std::cos(0.7 * i));
    }
    const YdBSplineCurve c = MakeCurve(ctrl, {0.2, 0.45, 0.45, 0.7, 0.7, 0.7}, 3);
    const std::vector<std::pair<double, double>> ranges = {
        {0.0, 1.0}, {0.1, 0.6}, {0.45, 0.7}, {0.3, 0.45}, {0.71, 0.99}, {0.9, 0.05}, {0.5, 0.5}};
    for (const auto& ab : ranges) {
        for (bool sgn : {true, false}) {
            EXPECT_EQ(c.Length(ab.first, ab.second, sgn),
                      ReferenceGaussLength(c, ab.first, ab.second, sgn))
                << "on [" << ab.first << ", " << ab.second << "], signed " << sgn;
        }
    }
}

TEST(CurveLength, RombergStopsAtFirstLevelWhenChordsAgree) {
    // x runs evenly over [0, 3]; y = u (u - 0.5) (u - 1) vanishes at u = 0, 0.5 and 1. The
    // first two levels see only those points, agree exactly and end the extrapolation, so the
    // result is the chord although the curve is longer: nothing deeper was sampled.
    const std::vector<YdPoint> ctrl = {YdPoint(0.0, 0.0, 0.0), YdPoint(1.0, 1.0 / 6.0, 0.0),
                                       YdPoint(2.0, -1.0 / 6.0, 0.0), YdPoint(3.0, 0.0, 0.0)};
    const YdBSplineCurve c = MakeCurve(ctrl, {}, 3);
    ASSERT_EQ(c.Evaluate(0.5)[1], 0.0);
    EXPECT_NEAR(c.Length(0.0, 1.0, 1e-6), 3.0, 1e-12);
    EXPECT_GT(c.Length(0.0, 1.0, true), 3.0 + 1e-3);
}

TEST(CurveLength, RombergWithZeroToleranceEndsAfterLastLevel) {
    std::mt19937 rng(14);
    const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 14);
    ASSERT_NE(curve, nullptr);
    const YdBSplineCurve& c = *curve;
    const double romberg = c.Length(0.0, 1.0, 0.0);
    const double gauss = c.Length(0.0, 1.0, true);
    ASSERT_TRUE(std::isfinite(romberg));
    EXPECT_NEAR(romberg, gauss, 1e-8 * gauss);
}

TEST(CurveLength, GaussAndRombergAgreeOnSmoothCurves) {
    std::mt19937 rng(15);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    for (int trial = 0; trial < 10; ++trial) {
        const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 12 + 2 * trial);
        ASSERT_NE(curve, nullptr);
        const YdBSplineCurve& c = *curve;
        double a = unit(rng);
        double b = unit(rng);
        if (a > b) {
            std::swap(a, b);
        }
        const double gauss = c.Length(a, b, true);
        const double romberg = c.Length(a, b, 1e-10);
        EXPECT_NEAR(gauss, romberg, 1e-7 * gauss)
            << "trial " << trial << " on [" << a << ", " << b << "]";
    }
}

TEST(CurveLength, RombergMatchesDenseChordSumOnWildCurves) {
    // Random control polygons make spans with sharp bends, where four Gauss points per span are
    // only good to about 1e-3; the chords are not fooled by them.
    std::mt19937 rng(17);
    for (int trial = 0; trial < 4; ++trial) {
        const YdBSplineCurve c = RandomCubic(rng, 6 + 2 * trial);
        double dense = 0.0;
        YdPoint prev = c.Evaluate(0.0);
        const int chords = 200000;
        for (int i = 1; i <= chords; ++i) {
            const YdPoint next = c.Evaluate(static_cast<double>(i) / chords);
            dense += Distance(prev, next);
            prev = next;
        }
        EXPECT_NEAR(c.Length(0.0, 1.0, 1e-10), dense, 1e-8 * dense) << "trial " << trial;
        EXPECT_NEAR(c.Length(0.0, 1.0, true), dense, 5e-3 * dense) << "trial " << trial;
    }
}

TEST(CurveLength, LengthIsAdditiveOverAnInteriorPoint) {
    std::mt19937 rng(16);
    const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 15);
    ASSERT_NE(curve, nullptr);
    const YdBSplineCurve& c = *curve;
    const double whole = c.Length(0.0, 1.0, true);
    const double parts = c.Length(0.0, 0.37, true) + c.Length(0.37, 1.0, true);
    EXPECT_NEAR(whole, parts, 1e-9 * whole);
}

TEST_F(CircleCurve, LengthIsCircumferenceWithinApproximationError) {
    const double circumference = 2.0 * kPi * kRadius;
    // A radial deviation e changes the length by at most about 2 pi e.
    const double bound = 2.0 * kPi * maxRadialError_ * 1.5 + 1e-9;
    EXPECT_NEAR(circle_->Length(0.0, 1.0, true), circumference, bound);
    EXPECT_NEAR(circle_->Length(0.0, 1.0, 1e-10), circumference, bound);
}

TEST_F(CircleCurve, CurvatureIsInverseRadius) {
    for (int i = 0; i < 200; ++i) {
        const double u = (i + 0.5) / 200.0;
        double k = 0.0;
        ASSERT_TRUE(circle_->CalculateCurvature(u, k));
        EXPECT_NEAR(k, 1.0 / kRadius, 2e-3 / kRadius) << "at u = " << u;
        EXPECT_NEAR(circle_->CalcRadiusOfCurvature(u), kRadius, 2e-3 * kRadius) << "at u = " << u;
    }
}

TEST_F(CircleCurve, FrenetFrameHasTangentBinormalAndInwardNormal) {
    for (double u : {0.05, 0.3, 0.61, 0.9}) {
        YdFrame f;
        ASSERT_TRUE(circle_->FrenetFrame(u, f));
        const YdPoint c = circle_->Evaluate(u);
        EXPECT_TRUE(PointsNear(f.GetOrigin(), c, 0.0)) << "at u = " << u;
        // Counter-clockwise in the xy plane: binormal +z, tangent along C', normal to the centre.
        const double t = std::atan2(c[1], c[0]);
        EXPECT_TRUE(VectorsNear(f.DirX(), YdVector(0.0, 0.0, 1.0), 1e-9)) << "at u = " << u;
        EXPECT_TRUE(VectorsNear(f.DirY(), YdVector(-std::sin(t), std::cos(t), 0.0), 1e-4))
            << "at u = " << u;
        EXPECT_TRUE(VectorsNear(f.DirZ(), YdVector(-std::cos(t), -std::sin(t), 0.0), 1e-4))
            << "at u = " << u;
    }
}

TEST_F(CircleCurve, PointNearSeamIsFoundAcrossSeam) {
    // Just before the seam (angle slightly below 2 pi) the nearest parameter is close to 1.
    const double angle = -0.01;
    const YdPoint P((kRadius + 0.5) * std::cos(angle), (kRadius + 0.5) * std::sin(angle), 0.0);
    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(circle_->FindNearestPoint(P, u, q));
    EXPECT_GT(u, 0.99);
    EXPECT_LE(u, 1.0);
    EXPECT_NEAR(Distance(P, q), 0.5, 1e-3);

    // Started on the other side of the seam, the Newton step runs below 0 and wraps.
    double u0 = 0.004;
    ASSERT_TRUE(circle_->FindNearestPoint(P, u, q, &u0));
    EXPECT_GT(u, 0.99) << "the parameter should wrap to the end of the range";
    EXPECT_LE(u, 1.0);
    EXPECT_NEAR(Distance(P, q), 0.5, 1e-3);
}

TEST_F(CircleCurve, OpenCopyClampsAtStartInsteadOfWrapping) {
    const YdBSplineCurve open(circle_->KnotVec(), circle_->CtrlPoints(), circle_->Degree(), false);
    const double angle = -0.01;
    const YdPoint P((kRadius + 0.5) * std::cos(angle), (kRadius + 0.5) * std::sin(angle), 0.0);
    double u0 = 0.004;
    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(open.FindNearestPoint(P, u, q, &u0));
    EXPECT_EQ(u, 0.0);
}

// ------------------------------------------------------------------------------------------
// Start values and point inversion

TEST(CurveStartValues, ThreeSpansGiveThreeStartValues) {
    std::mt19937 rng(21);
    const YdBSplineCurve c = RandomCubic(rng, 6);
    std::vector<double> starts;
    YdBSplineCurveTestAccess::DetermineUInitial(c, YdPoint(3.0, 1.0, 0.0), starts);
    EXPECT_EQ(starts.size(), 3u);
}

TEST(CurveStartValues, SevenSpansGiveFiveStartValues) {
    std::mt19937 rng(22);
    const YdBSplineCurve c = RandomCubic(rng, 10);
    std::vector<double> starts;
    YdBSplineCurveTestAccess::DetermineUInitial(c, YdPoint(3.0, 1.0, 0.0), starts);
    EXPECT_EQ(starts.size(), 5u);
}

// The best of six samples per span by Evaluate, sorted stably by distance: the reference for
// the start values.
std::vector<double> ReferenceStarts(const YdBSplineCurve& c, const YdPoint& P) {
    const std::vector<double>& U = c.KnotVec().GetKnots();
    const int p = c.Degree();
    std::vector<std::pair<double, double>> perSpan;
    for (int s = p; s < c.GetNumOfCtrlPnts(); ++s) {
        double least = 1e10;
        double leastU = 1e10;
        for (int j = 0; j < 6; ++j) {
            const double u = std::min(U[s] + j * ((U[s + 1] - U[s]) / 6), U[s + 1]);
            const double d = Distance(c.Evaluate(u), P);
            if (d < least) {
                least = d;
                leastU = u;
            }
        }
        perSpan.emplace_back(least, leastU);
    }
    std::stable_sort(perSpan.begin(), perSpan.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<double> out;
    for (std::size_t i = 0; i < perSpan.size() && i < 5; ++i) {
        out.push_back(perSpan[i].second);
    }
    return out;
}

// The point inversion written straight from its definition with public members: the start
// values above (or the one given), eps 1e-7, the stopping cosine cos(89.5) of 89.5 radians, at
// most five Newton steps, the parameter wrapped (closed) or clamped (open) into [U[p], U[n]],
// and the best start value kept by a strict comparison with the point last evaluated. For
// well-behaved queries only (the plain wrap loops would not end on a non-finite step).
bool ReferenceNearest(const YdBSplineCurve& c, const YdPoint& P, double& u, YdPoint& nearest,
                      const double* u0) {
    const std::vector<double> starts =
        u0 != nullptr ? std::vector<double>{*u0} : ReferenceStarts(c, P);
    const std::vector<double>& U = c.KnotVec().GetKnots();
    const double umin = U[static_cast<std::size_t>(c.Degree())];
    const double umax = U[static_cast<std::size_t>(c.GetNumOfCtrlPnts())];
    const double cosTol = std::cos(89.5);
    double best = 1e16;
    bool found = false;
    for (double s : starts) {
        double uc = s;
        double d = 1e16;
        YdPoint C;
        std::vector<YdVector> der;
        for (int step = 0; step < 5; ++step) {
            c.Evaluate(uc, 2, C, der);
            const YdVector diff = C - P;
            d = diff.Magnitude();
            if (d <= 1e-7) {
                break;
            }
            const double num = der[0] % diff;
            if (std::fabs(num) / (der[0].Magnitude() * d) <= cosTol) {
                break;
            }
            double uNew = uc - num / (der[1] % diff + der[0] % der[0]);
            if (c.IsClosed()) {
                while (uNew < umin) {
                    uNew += umax - umin;
                }
                while (uNew > umax) {
                    uNew -= umax - umin;
                }
            } else {
                uNew = std::min(std::max(uNew, umin), umax);
            }
            if (std::fabs((uNew - uc) * der[0].Magnitude()) <= 1e-7) {
                uc = uNew;
                break;
            }
            uc = uNew;
        }
        if (best > d) {
            found = true;
            best = d;
            u = uc;
            nearest = C;
        }
    }
    return found;
}

TEST(CurveStartValues, OrderedByDistanceAndAppended) {
    std::mt19937 rng(23);
    const YdBSplineCurve c = RandomCubic(rng, 12);
    const YdPoint P(7.0, -2.0, 1.0);
    std::vector<double> starts = {42.0};
    YdBSplineCurveTestAccess::DetermineUInitial(c, P, starts);
    ASSERT_EQ(starts.size(), 6u);
    EXPECT_EQ(starts[0], 42.0) << "existing entries are kept";
    const std::vector<double> expected = ReferenceStarts(c, P);
    EXPECT_EQ(std::vector<double>(starts.begin() + 1, starts.end()), expected);
}

TEST(CurveStartValues, MatchEvaluateBasedSamplingExactly) {
    // Also over an empty span (a double knot), whose samples all sit on the knot.
    std::mt19937 rng(24);
    std::uniform_real_distribution<double> box(-5.0, 30.0);
    YdBSplineCurve c = RandomCubic(rng, 11);
    ASSERT_TRUE(c.InsertKnot(c.KnotVec().GetKnots()[6], true));
    for (int q = 0; q < 60; ++q) {
        const YdPoint P(box(rng), 0.3 * box(rng), 0.1 * box(rng));
        std::vector<double> starts;
        YdBSplineCurveTestAccess::DetermineUInitial(c, P, starts);
        EXPECT_EQ(starts, ReferenceStarts(c, P)) << "query " << q;
    }
}

TEST(CurveStartValues, EqualDistancesKeepSpanOrder) {
    // A curve collapsed onto the origin, in four spans: every sample is exactly as far from P,
    // so the first sample of each span wins, and the spans keep their order.
    const std::vector<YdPoint> ctrl(7, YdPoint(0.0, 0.0, 0.0));
    const YdBSplineCurve c = MakeCurve(ctrl, {0.25, 0.5, 0.75}, 3);
    std::vector<double> starts;
    YdBSplineCurveTestAccess::DetermineUInitial(c, YdPoint(1.0, 2.0, 3.0), starts);
    EXPECT_EQ(starts, (std::vector<double>{0.0, 0.25, 0.5, 0.75}));
}

TEST(CurveNearestPoint, StopsAtStartValueWithinTheRadianCosine) {
    // A line x = 10 u. The start value sees C' at about 88.85 degrees to C - P: within the
    // stopping cosine cos(89.5) taken in radians (0.0354), though not within cos(89.5 deg),
    // so no Newton step is taken and the start value comes back unchanged.
    const YdBSplineCurve line = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(10.0 / 3.0, 0, 0), YdPoint(20.0 / 3.0, 0, 0), YdPoint(10, 0, 0)},
        {}, 3);
    const YdPoint P(5.0, 1.0, 0.0);
    double u0 = 0.502;
    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(line.FindNearestPoint(P, u, q, &u0));
    EXPECT_EQ(u, 0.502);
    EXPECT_TRUE(PointsNear(q, line.Evaluate(0.502), 0.0));

    // Further off (cosine about 0.05) a Newton step is taken and lands on the foot point.
    u0 = 0.505;
    ASSERT_TRUE(line.FindNearestPoint(P, u, q, &u0));
    EXPECT_NEAR(u, 0.5, 1e-12);
    EXPECT_TRUE(PointsNear(q, YdPoint(5.0, 0.0, 0.0), 1e-12));
}

TEST(CurveNearestPoint, AgreesWithBruteForceOnRandomPoints) {
    std::mt19937 rng(31);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_real_distribution<double> off(-1.0, 1.0);
    for (int trial = 0; trial < 6; ++trial) {
        const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 10 + 4 * trial);
        ASSERT_NE(curve, nullptr);
        const YdBSplineCurve& c = *curve;
        for (int q = 0; q < 25; ++q) {
            YdPoint P;
            if (q < 17) {
                // Near the curve, within a unit or so.
                const YdPoint on = c.Evaluate(unit(rng));
                P = YdPoint(on[0] + off(rng), on[1] + off(rng), on[2] + off(rng));
            } else {
                // Beyond an end: out along the end tangent, a little to the side.
                const double end = (q % 2 == 0) ? 0.0 : 1.0;
                std::vector<YdVector> der;
                YdPoint e;
                c.Evaluate(end, 1, e, der);
                const YdVector out = der[0] * ((end == 0.0 ? -1.0 : 1.0) / der[0].Magnitude());
                P = e + out * (0.5 + 3.0 * unit(rng)) +
                    YdVector(0.2 * off(rng), 0.2 * off(rng), 0.2 * off(rng));
            }
            double u = -1.0;
            YdPoint nearest;
            ASSERT_TRUE(c.FindNearestPoint(P, u, nearest));
            const ydtest::CurvePointNearest ref = ydtest::DenseNearestPoint(c, P);
            const double uRef = ref.u;
            const double dRef = ref.distance;
            const double dFound = Distance(P, nearest);
            // The stopping cosine 0.0354 bounds the excess distance by about 6.3e-4 of it.
            EXPECT_LE(dFound, dRef * (1.0 + 1e-3) + 1e-9)
                << "trial " << trial << " query " << q << " u = " << u << " ref u = " << uRef;
            EXPECT_GE(dFound, dRef - 1e-9) << "trial " << trial << " query " << q;
            EXPECT_GE(u, 0.0);
            EXPECT_LE(u, 1.0);
            EXPECT_LE(Distance(P, c.Evaluate(u)), dRef * (1.0 + 1e-3) + 1e-9)
                << "trial " << trial << " query " << q;
            if (q >= 17) {
                EXPECT_NEAR(u, uRef, 1e-12)
                    << "trial " << trial << " query " << q << " beyond an end";
            }
        }
    }
}

TEST(CurveNearestPoint, FollowsTheNewtonSchemeExactly) {
    // Bit for bit the reference, with and without a start value, on open and closed curves.
    // The reported point is the one last evaluated, so after a stop by the step test or after
    // the fifth step it lags the parameter by one update; some queries must show that.
    std::mt19937 rng(36);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_real_distribution<double> off(-2.0, 2.0);
    std::vector<std::unique_ptr<YdBSplineCurve>> curves;
    curves.push_back(SmoothCurve(rng, 14));
    curves.push_back(std::make_unique<YdBSplineCurve>(RandomCubic(rng, 12)));
    curves.push_back(std::unique_ptr<YdBSplineCurve>(
        YdBSplineCurve::CreateInterpolateCurve(CirclePoints(24, 6.0), true)));
    int lagging = 0;
    int queries = 0;
    for (std::size_t ci = 0; ci < curves.size(); ++ci) {
        ASSERT_NE(curves[ci], nullptr);
        const YdBSplineCurve& c = *curves[ci];
        for (int q = 0; q < 60; ++q) {
            const double uOn = unit(rng);
            const YdPoint on = c.Evaluate(uOn);
            const YdPoint P(on[0] + off(rng), on[1] + off(rng), on[2] + 0.25 * off(rng));
            double u0 = uOn + 0.05 * off(rng);
            for (const double* start :
                 {static_cast<const double*>(nullptr), static_cast<const double*>(&u0)}) {
                double u = -7.0;
                YdPoint got;
                double uRef = -9.0;
                YdPoint want;
                const bool ok = c.FindNearestPoint(P, u, got, const_cast<double*>(start));
                ASSERT_EQ(ok, ReferenceNearest(c, P, uRef, want, start));
                ASSERT_TRUE(ok);
                ++queries;
                EXPECT_EQ(u, uRef) << "curve " << ci << ", query " << q;
                EXPECT_TRUE(PointsNear(got, want, 0.0)) << "curve " << ci << ", query " << q;
                if (!PointsNear(got, c.Evaluate(u), 0.0)) {
                    ++lagging;
                }
            }
        }
    }
    EXPECT_GT(lagging, 0) << "of " << queries << " queries";
}

TEST(CurveNearestPoint, PointsBeyondEndsProjectOntoEnds) {
    std::mt19937 rng(32);
    const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 16);
    ASSERT_NE(curve, nullptr);
    const YdBSplineCurve& c = *curve;
    std::vector<YdVector> der;
    YdPoint pt;
    c.Evaluate(0.0, 1, pt, der);
    const YdPoint before = pt + der[0] * (-2.0 / der[0].Magnitude());
    c.Evaluate(1.0, 1, pt, der);
    const YdPoint after = pt + der[0] * (2.0 / der[0].Magnitude());

    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(c.FindNearestPoint(before, u, q));
    EXPECT_EQ(u, 0.0);
    EXPECT_TRUE(PointsNear(q, c.Evaluate(0.0), 1e-12));
    ASSERT_TRUE(c.FindNearestPoint(after, u, q));
    EXPECT_EQ(u, 1.0);
    EXPECT_TRUE(PointsNear(q, c.Evaluate(1.0), 1e-12));
}

TEST_F(CircleCurve, NearestPointAgreesWithBruteForceAroundSeam) {
    std::mt19937 rng(33);
    std::uniform_real_distribution<double> angle(-0.2, 0.2);
    std::uniform_real_distribution<double> radius(kRadius - 3.0, kRadius + 3.0);
    for (int q = 0; q < 20; ++q) {
        const double t = angle(rng);
        const double r = radius(rng);
        const YdPoint P(r * std::cos(t), r * std::sin(t), 0.5 * angle(rng));
        double u = -1.0;
        YdPoint nearest;
        ASSERT_TRUE(circle_->FindNearestPoint(P, u, nearest));
        const double dRef = ydtest::DenseNearestPoint(*circle_, P).distance;
        EXPECT_LE(Distance(P, nearest), dRef * (1.0 + 1e-3) + 1e-9) << "query " << q;
        EXPECT_GE(Distance(P, nearest), dRef - 1e-9) << "query " << q;
        // The angle of the foot point is the angle of the query point.
        const double footAngle = std::atan2(nearest[1], nearest[0]);
        // The stopping cosine leaves the foot point up to 0.0354 d off along the curve.
        EXPECT_NEAR(footAngle, t, 0.02) << "query " << q;
        if (std::fabs(t) > 0.02) {
            EXPECT_TRUE((t > 0.0 && u < 0.5) || (t < 0.0 && u > 0.5))
                << "query " << q << " at angle " << t << " gave u = " << u;
        }
    }
}

TEST(CurveNearestPoint, GoodStartValueConvergesToFootPoint) {
    std::mt19937 rng(34);
    const YdBSplineCurve c = RandomCubic(rng, 10);
    const double uTrue = 0.4321;
    const YdPoint on = c.Evaluate(uTrue);
    double u0 = uTrue + 0.01;
    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(c.FindNearestPoint(on, u, q, &u0));
    EXPECT_NEAR(u, uTrue, 1e-7);
    EXPECT_LE(Distance(q, on), 1e-7);
}

TEST(CurveNearestPoint, OutParametersMayAliasTheQueryPoint) {
    std::mt19937 rng(35);
    const YdBSplineCurve c = RandomCubic(rng, 7);
    const YdPoint P(4.0, 1.0, -1.0);
    double u = -1.0;
    YdPoint expected;
    ASSERT_TRUE(c.FindNearestPoint(P, u, expected));
    YdPoint inout = P;
    double u2 = -1.0;
    ASSERT_TRUE(c.FindNearestPoint(inout, u2, inout));
    EXPECT_EQ(u2, u);
    EXPECT_TRUE(PointsNear(inout, expected, 0.0));
}

// ------------------------------------------------------------------------------------------
// Point at a distance

TEST(CurveLocatePoint, ForwardThenBackwardReturnsToStart) {
    std::mt19937 rng(41);
    for (int trial = 0; trial < 3; ++trial) {
        const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 10 + 3 * trial);
        ASSERT_NE(curve, nullptr);
        const YdBSplineCurve& c = *curve;
        const double uStart = 0.3 + 0.1 * trial;
        const YdPoint P = c.Evaluate(uStart);
        const double dist = 0.3 * c.Length(uStart, 1.0, true);
        double u1 = -1.0;
        YdPoint p1;
        ASSERT_TRUE(c.locatePoint(P, dist, true, u1, p1, 1e-9)) << "trial " << trial;
        EXPECT_GT(u1, uStart);
        EXPECT_NEAR(c.Length(uStart, u1, 1e-9), dist, 1e-6) << "trial " << trial;
        EXPECT_TRUE(PointsNear(p1, c.Evaluate(u1), 0.0));
        double u2 = -1.0;
        YdPoint p2;
        ASSERT_TRUE(c.locatePoint(p1, dist, false, u2, p2, 1e-9)) << "trial " << trial;
        EXPECT_NEAR(u2, uStart, 1e-6) << "trial " << trial;
        EXPECT_TRUE(PointsNear(p2, P, 1e-5)) << "trial " << trial;
    }
}

TEST(CurveLocatePoint, BisectsTheBracketOnTheProjectionsSide) {
    // The bisection written out: forward on [u0, 1] (a length above dist moves the upper end),
    // backward on [0, u0] (a length above dist moves the lower end), until the Romberg length
    // is within 1e-7 of dist.
    std::mt19937 rng(44);
    for (int trial = 0; trial < 3; ++trial) {
        const std::unique_ptr<YdBSplineCurve> curve = SmoothCurve(rng, 11 + 2 * trial);
        ASSERT_NE(curve, nullptr);
        const YdBSplineCurve& c = *curve;
        const YdPoint P = c.Evaluate(0.35 + 0.1 * trial) + YdVector(0.0, 0.0, 0.3);
        double u0 = 0.0;
        YdPoint foot;
        ASSERT_TRUE(c.FindNearestPoint(P, u0, foot));
        for (bool forward : {true, false}) {
            const double tol = 1e-8;
            const double dist = 0.4 * (forward ? c.Length(u0, 1.0, tol) : c.Length(0.0, u0, tol));
            double lo = forward ? u0 : 0.0;
            double hi = forward ? 1.0 : u0;
            double mid = 0.0;
            for (int round = 0; round < 2000; ++round) {
                mid = (lo + hi) * 0.5;
                const double e = (forward ? c.Length(u0, mid, tol) : c.Length(mid, u0, tol)) - dist;
                if (std::fabs(e) < 1e-7) {
                    break;
                }
                if (forward) {
                    if (e >= 0.0) {
                        hi = mid;
                    } else {
                        lo = mid;
                    }
                } else if (e >= 0.0) {
                    lo = mid;
                } else {
                    hi = mid;
                }
            }
            double u = -1.0;
            YdPoint pt;
            ASSERT_TRUE(c.locatePoint(P, dist, forward, u, pt, tol)) << "trial " << trial;
            EXPECT_EQ(u, mid) << "trial " << trial << ", forward " << forward;
            EXPECT_TRUE(PointsNear(pt, c.Evaluate(mid), 0.0)) << "trial " << trial;
            EXPECT_EQ(forward, u > u0) << "trial " << trial;
        }
    }
}

TEST(CurveLocatePoint, DistanceBeyondEndReportsEnd) {
    std::mt19937 rng(42);
    const YdBSplineCurve c = RandomCubic(rng, 8);
    const YdPoint P = c.Evaluate(0.6);
    const double total = c.Length(0.0, 1.0, true);
    double u = -1.0;
    YdPoint pt;
    EXPECT_FALSE(c.locatePoint(P, total, true, u, pt, 1e-6));
    EXPECT_EQ(u, 1.0);
    EXPECT_TRUE(PointsNear(pt, c.Evaluate(1.0), 0.0));
    EXPECT_FALSE(c.locatePoint(P, total, false, u, pt, 1e-6));
    EXPECT_EQ(u, 0.0);
    EXPECT_TRUE(PointsNear(pt, c.Evaluate(0.0), 0.0));
}

TEST(CurveLocatePoint, NegativeDistanceEndsAfterBoundedBisection) {
    // The length error can never fall below 1e-7 for a negative distance; the bisection stops
    // after its cap with the parameter squeezed onto the projection.
    std::mt19937 rng(43);
    const YdBSplineCurve c = RandomCubic(rng, 6);
    const YdPoint P = c.Evaluate(0.4);
    double u = -1.0;
    YdPoint pt;
    EXPECT_TRUE(c.locatePoint(P, -1.0, true, u, pt, 1e-3));
    EXPECT_NEAR(u, 0.4, 1e-6);
}

// ------------------------------------------------------------------------------------------
// Curvature, frame, midpoint, sampling

TEST(CurveCurvature, MatchesFiniteDifferenceFormula) {
    std::mt19937 rng(51);
    std::uniform_real_distribution<double> unit(0.01, 0.99);
    for (int trial = 0; trial < 4; ++trial) {
        const YdBSplineCurve c = RandomCubic(rng, 6 + 3 * trial);
        int checked = 0;
        while (checked < 20) {
            const double u = unit(rng);
            const double h = 1e-4;
            if (NearAKnot(c, u, 3.0 * h)) {
                continue;
            }
            ++checked;
            YdVector d1;
            YdVector d2;
            CentralDifferences(c, u, h, d1, d2);
            const double expected = (d1 * d2).Magnitude() / std::pow(d1.Magnitude(), 3.0);
            double k = -1.0;
            ASSERT_TRUE(c.CalculateCurvature(u, k));
            EXPECT_NEAR(k, expected, 1e-5 * expected + 1e-12)
                << "trial " << trial << " at u = " << u;
            EXPECT_EQ(c.CalcRadiusOfCurvature(u), 1.0 / k) << "at u = " << u;
        }
    }
}

TEST(CurveCurvature, IsTheCrossProductOverTheCubedSpeed) {
    std::mt19937 rng(56);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    for (double u : {0.0, 0.13, 0.5, 0.77, 1.0}) {
        YdPoint pt;
        std::vector<YdVector> der;
        c.Evaluate(u, 2, pt, der);
        double k = -1.0;
        ASSERT_TRUE(c.CalculateCurvature(u, k)) << "at u = " << u;
        EXPECT_EQ(k, (der[0] * der[1]).Magnitude() / std::pow(der[0].Magnitude(), 3.0))
            << "at u = " << u;
    }
}

TEST(CurveCurvature, StraightCurveHasZeroCurvatureAndInfiniteRadius) {
    const YdBSplineCurve c = StraightCubic();
    for (double u : {0.0, 0.2, 0.55, 1.0}) {
        double k = -1.0;
        ASSERT_TRUE(c.CalculateCurvature(u, k));
        EXPECT_LT(k, 1e-12) << "at u = " << u;
    }
    // Exactly straight on an axis: the cross product is exactly zero.
    const YdBSplineCurve axis = MakeCurve(
        {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(1.5, 0, 0), YdPoint(4, 0, 0)}, {}, 3);
    double k = -1.0;
    ASSERT_TRUE(axis.CalculateCurvature(0.3, k));
    EXPECT_EQ(k, 0.0);
    const double r = axis.CalcRadiusOfCurvature(0.3);
    EXPECT_TRUE(std::isinf(r) && r > 0.0) << "radius " << r;
}

TEST(CurveFrenetFrame, AxesFollowDerivatives) {
    std::mt19937 rng(52);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    for (double u : {0.1, 0.45, 0.8}) {
        YdFrame f;
        ASSERT_TRUE(c.FrenetFrame(u, f));
        std::vector<YdVector> der;
        YdPoint pt;
        c.Evaluate(u, 2, pt, der);
        YdVector b = der[0] * der[1];
        b = b * (1.0 / b.Magnitude());
        const YdVector t = der[0] * (1.0 / der[0].Magnitude());
        EXPECT_TRUE(PointsNear(f.GetOrigin(), pt, 0.0)) << "at u = " << u;
        EXPECT_TRUE(VectorsNear(f.DirX(), b, 1e-12)) << "at u = " << u;
        EXPECT_TRUE(VectorsNear(f.DirY(), t, 1e-12)) << "at u = " << u;
        // The principal normal points to the side C'' bends to.
        EXPECT_GT(f.DirZ() % der[1], 0.0) << "at u = " << u;
    }
}

TEST(CurveMiddlePoint, HalvesTheGaussLength) {
    std::mt19937 rng(53);
    const YdBSplineCurve c = RandomCubic(rng, 9);
    YdPoint pt;
    double u = -1.0;
    c.GetMiddlePoint(pt, u);
    const double half = c.Length(0.0, 1.0, true) / 2.0;
    EXPECT_LE(std::fabs(c.Length(0.0, u, true) - half), 1e-5);
    EXPECT_TRUE(PointsNear(pt, c.Evaluate(u), 0.0));
}

TEST(CurveMiddlePoint, BisectsInAtMostAHundredRounds) {
    // The rounds written out: half of the Gauss length of [0, 1]; from u = 0.5 the parameter
    // moves half-way towards the bracket end on the far side of the target until the length
    // error is at most 1e-5.
    std::mt19937 rng(57);
    for (int trial = 0; trial < 3; ++trial) {
        const YdBSplineCurve c = RandomCubic(rng, 7 + 3 * trial);
        const double half = c.Length(0.0, 1.0, true) / 2.0;
        double lo = 0.0;
        double hi = 1.0;
        double want = 0.5;
        for (int round = 0; round < 100; ++round) {
            const double e = c.Length(0.0, want, true) - half;
            if (std::fabs(e) <= 1e-5) {
                break;
            }
            if (e > 1e-5) {
                hi = want;
                want = (want + lo) / 2;
            } else {
                lo = want;
                want = (hi + want) / 2;
            }
        }
        YdPoint pt;
        double u = -1.0;
        c.GetMiddlePoint(pt, u);
        EXPECT_EQ(u, want) << "trial " << trial;
        EXPECT_TRUE(PointsNear(pt, c.Evaluate(want), 0.0)) << "trial " << trial;
    }
}

TEST(CurveMiddlePoint, SymmetricCurveHasMiddleNearHalf) {
    const YdBSplineCurve c =
        MakeCurve({YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(3, 2, 0), YdPoint(4, 0, 0)}, {}, 3);
    YdPoint pt;
    double u = -1.0;
    c.GetMiddlePoint(pt, u);
    // Only the quadrature error of the one-span half against the whole keeps it off 0.5.
    EXPECT_NEAR(u, 0.5, 1e-4);
    EXPECT_TRUE(PointsNear(pt, c.Evaluate(u), 0.0));
}

TEST(CurveSampling, FourIntervalsAppendFivePoints) {
    std::mt19937 rng(54);
    const YdBSplineCurve c = RandomCubic(rng, 7);
    std::vector<YdPoint> pts = {YdPoint(9, 9, 9)};
    c.Sampling(4, pts, 0.0, 1.0);
    ASSERT_EQ(pts.size(), 6u);
    EXPECT_TRUE(PointsNear(pts[0], YdPoint(9, 9, 9), 0.0)) << "output is not cleared";
    for (int i = 0; i <= 4; ++i) {
        EXPECT_TRUE(PointsNear(pts[i + 1], c.Evaluate(i / 4.0), 0.0)) << "sample " << i;
    }
}

TEST(CurveSampling, SubRangeAndNoIntervals) {
    std::mt19937 rng(55);
    const YdBSplineCurve c = RandomCubic(rng, 7);
    std::vector<YdPoint> pts;
    c.Sampling(3, pts, 0.2, 0.5);
    ASSERT_EQ(pts.size(), 4u);
    for (int i = 0; i <= 3; ++i) {
        EXPECT_TRUE(PointsNear(pts[i], c.Evaluate(0.2 + i * (0.5 - 0.2) / 3), 0.0))
            << "sample " << i;
    }
    c.Sampling(0, pts, 0.0, 1.0);
    c.Sampling(-3, pts, 0.0, 1.0);
    EXPECT_EQ(pts.size(), 4u);
}

// ------------------------------------------------------------------------------------------
// Bad input

TEST(CurveQueriesBadInput, CurveWithoutSpans) {
    const YdBSplineCurve empty;
    double u = 0.25;
    YdPoint q(7, 8, 9);
    EXPECT_FALSE(empty.FindNearestPoint(YdPoint(1, 2, 3), u, q));
    EXPECT_EQ(u, 0.25) << "out-parameters untouched";
    EXPECT_TRUE(PointsNear(q, YdPoint(7, 8, 9), 0.0));
    double u0 = 0.5;
    EXPECT_FALSE(empty.FindNearestPoint(YdPoint(1, 2, 3), u, q, &u0));

    std::vector<double> starts;
    YdBSplineCurveTestAccess::DetermineUInitial(empty, YdPoint(1, 2, 3), starts);
    EXPECT_TRUE(starts.empty());

    EXPECT_EQ(empty.Length(0.0, 1.0, true), 0.0);
    EXPECT_EQ(empty.Length(0.0, 1.0, 1e-6), 0.0);
    YdPoint pt(5, 5, 5);
    EXPECT_FALSE(empty.locatePoint(YdPoint(1, 2, 3), 1.0, true, u, pt, 1e-6));
    EXPECT_EQ(u, 0.25);

    // A curve without spans has no curvature and no frame: false, out-parameters untouched,
    // and the documented radius -1.0.
    double k = 0.75;
    EXPECT_FALSE(empty.CalculateCurvature(0.5, k));
    EXPECT_EQ(k, 0.75);
    EXPECT_EQ(empty.CalcRadiusOfCurvature(0.5), -1.0);
    YdFrame frame(YdPoint(1, 2, 3), YdVector(1, 0, 0), YdVector(0, 1, 0));
    EXPECT_FALSE(empty.FrenetFrame(0.5, frame));
    EXPECT_TRUE(PointsNear(frame.GetOrigin(), YdPoint(1, 2, 3), 0.0));

    std::vector<YdPoint> pts;
    empty.Sampling(2, pts, 0.0, 1.0);
    ASSERT_EQ(pts.size(), 3u);
    EXPECT_TRUE(PointsNear(pts[1], YdPoint(0, 0, 0), 0.0));

    YdPoint mid(1, 1, 1);
    double um = -1.0;
    empty.GetMiddlePoint(mid, um);
    EXPECT_EQ(um, 0.5);
    EXPECT_TRUE(PointsNear(mid, YdPoint(0, 0, 0), 0.0));
}

TEST(CurveQueriesBadInput, KnotCountNotMatchingDegree) {
    std::vector<double> k = {0, 0, 0, 0, 1, 1, 1};  // one knot short for 4 points and degree 3
    YdKnotVec kv;
    kv.SetKnots(k);
    const YdBSplineCurve c(
        kv, {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(2, 1, 0), YdPoint(3, 0, 0)}, 3, false);
    double u = 0.25;
    YdPoint q;
    EXPECT_FALSE(c.FindNearestPoint(YdPoint(1, 1, 0), u, q));
    EXPECT_EQ(u, 0.25);
    std::vector<double> starts;
    YdBSplineCurveTestAccess::DetermineUInitial(c, YdPoint(1, 1, 0), starts);
    EXPECT_TRUE(starts.empty());
}

TEST(CurveQueriesBadInput, OnePointCurve) {
    const YdPoint p(1.0, -2.0, 3.0);
    const YdBSplineCurve c(p);
    // The derivative basis cancels only up to rounding.
    EXPECT_LT(c.Length(0.0, 1.0, true), 1e-12);
    EXPECT_LT(c.Length(0.0, 1.0, 1e-6), 1e-12);

    double u = -1.0;
    YdPoint q;
    ASSERT_TRUE(c.FindNearestPoint(YdPoint(4, 4, 4), u, q));
    EXPECT_TRUE(std::isfinite(u));
    EXPECT_GE(u, 0.0);
    EXPECT_LE(u, 1.0);
    EXPECT_TRUE(PointsNear(q, p, 1e-12));

    YdPoint pt;
    EXPECT_FALSE(c.locatePoint(YdPoint(4, 4, 4), 1.0, true, u, pt, 1e-6));
    EXPECT_EQ(u, 1.0);
    EXPECT_TRUE(PointsNear(pt, p, 0.0));
    EXPECT_TRUE(c.locatePoint(YdPoint(4, 4, 4), 0.0, false, u, pt, 1e-6));
    EXPECT_TRUE(PointsNear(pt, p, 0.0));

    YdPoint mid;
    double um = -1.0;
    c.GetMiddlePoint(mid, um);
    EXPECT_TRUE(PointsNear(mid, p, 0.0));
}

TEST(CurveQueriesBadInput, CollapsedCurveEndsNewtonOnZeroDenominator) {
    // All control points at the origin: both derivatives are exactly zero, so every Newton
    // denominator is zero. The iteration ends at the first start value, u = 0, with no NaN.
    const YdBSplineCurve c = MakeCurve(std::vector<YdPoint>(6, YdPoint(0, 0, 0)), {0.3, 0.6}, 3);
    double u = -1.0;
    YdPoint q(5, 5, 5);
    ASSERT_TRUE(c.FindNearestPoint(YdPoint(1, 2, 2), u, q));
    EXPECT_EQ(u, 0.0);
    EXPECT_TRUE(PointsNear(q, YdPoint(0, 0, 0), 0.0));
    double u0 = 0.45;
    ASSERT_TRUE(c.FindNearestPoint(YdPoint(1, 2, 2), u, q, &u0));
    EXPECT_EQ(u, 0.45);

    double k = 0.0;
    EXPECT_TRUE(c.CalculateCurvature(0.5, k));
    EXPECT_TRUE(std::isnan(k)) << "0 / 0 is passed on";
    EXPECT_TRUE(std::isnan(c.CalcRadiusOfCurvature(0.5)));
}

TEST(CurveQueriesBadInput, NonFiniteQueryPointNeitherHangsNorInventsAResult) {
    std::mt19937 rng(61);
    const YdBSplineCurve c = RandomCubic(rng, 7);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    double u = 0.25;
    YdPoint q(7, 8, 9);
    EXPECT_FALSE(c.FindNearestPoint(YdPoint(nan, 0, 0), u, q));
    EXPECT_EQ(u, 0.25);
    const double inf = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(std::isfinite(c.Length(0.0, inf, true)));
    EXPECT_FALSE(std::isfinite(c.Length(nan, 1.0, 1e-6)));
}

TEST(CurveQueriesBadInput, RunawayParameterOnClosedCurveWraps) {
    // A closed curve whose derivative is tiny at the start value throws the Newton step far
    // away; the wrap brings it back without looping for ever.
    const YdBSplineCurve c = MakeCurve({YdPoint(0, 0, 0), YdPoint(0, 0, 0), YdPoint(1, 1, 0),
                                        YdPoint(2, 0, 0), YdPoint(0, 0, 0), YdPoint(0, 0, 0)},
                                       {0.4, 0.6}, 3, true);
    for (double u0 : {0.0, 1e-9, 1.0, 0.5}) {
        double u = -1.0;
        YdPoint q;
        ASSERT_TRUE(c.FindNearestPoint(YdPoint(-1.0, 5.0, 0.0), u, q, &u0)) << "from " << u0;
        EXPECT_GE(u, 0.0) << "from " << u0;
        EXPECT_LE(u, 1.0) << "from " << u0;
    }
}

// ------------------------------------------------------------------------------------------
// Hot paths

TEST(CurveQueriesHotPath, CountingAllocatorIsInUse) {
    const long before = ydtest::g_allocationCount.load();
    std::unique_ptr<std::vector<double>> v(new std::vector<double>(10, 1.0));
    EXPECT_GE(ydtest::g_allocationCount.load() - before, 2);
}

TEST(CurveQueriesHotPath, InversionAndCurvatureAllocateNothing) {
    std::mt19937 rng(71);
    const YdBSplineCurve c = RandomCubic(rng, 40);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<YdPoint> queries;
    for (int i = 0; i < 50; ++i) {
        const YdPoint on = c.Evaluate(unit(rng));
        queries.emplace_back(on[0] + 0.3, on[1] - 0.2, on[2] + 0.1);
    }
    double sink = 0.0;
    const long before = ydtest::g_allocationCount.load();
    for (const YdPoint& P : queries) {
        double u = 0.0;
        YdPoint q;
        ASSERT_TRUE(c.FindNearestPoint(P, u, q));
        double u0 = u;
        ASSERT_TRUE(c.FindNearestPoint(P, u, q, &u0));
        double k = 0.0;
        ASSERT_TRUE(c.CalculateCurvature(u, k));
        sink += u + k + c.CalcRadiusOfCurvature(u);
    }
    EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0);
    EXPECT_TRUE(std::isfinite(sink));
}

}  // namespace
