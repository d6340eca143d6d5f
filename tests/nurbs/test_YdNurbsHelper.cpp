// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"
#include "YdTestSupport.h"

namespace {

using Rows = std::vector<std::vector<double>>;

YdKnotVec Knots(const std::vector<double>& k) {
    YdKnotVec kv;
    kv.SetKnots(k);
    return kv;
}

// A clamped knot vector on [0, 1] with `interior` distinct random interior knots (no two
// closer than 1e-3, so that finite differences can stay inside one span).
std::vector<double> RandomClampedKnots(std::mt19937& rng, int degree, int interior) {
    std::uniform_real_distribution<double> dist(0.02, 0.98);
    std::vector<double> in;
    while (static_cast<int>(in.size()) < interior) {
        const double v = dist(rng);
        bool farEnough = true;
        for (double w : in) {
            farEnough = farEnough && std::fabs(w - v) > 1e-3;
        }
        if (farEnough) {
            in.push_back(v);
        }
    }
    std::sort(in.begin(), in.end());
    std::vector<double> k(static_cast<size_t>(degree + 1), 0.0);
    k.insert(k.end(), in.begin(), in.end());
    k.insert(k.end(), static_cast<size_t>(degree + 1), 1.0);
    return k;
}

// The triangular-table recurrence written out plainly, step by step, on YdMatrix tables that
// start as zeros: the reference for the optimised kernel, which must give the same numbers bit
// for bit (same operations in the same order).
Rows PlainBasis(const YdKnotVec& kv, int p, int n, double u, int& span) {
    const std::vector<double>& U = kv.GetKnots();
    span = kv.FindSpan(p, u);
    const int nd = std::min(n, p);
    Rows ders(static_cast<size_t>(nd + 1), std::vector<double>(static_cast<size_t>(p + 1), 0.0));
    std::vector<double> left(static_cast<size_t>(p + 1), 0.0);
    std::vector<double> right(static_cast<size_t>(p + 1), 0.0);
    YdMatrix ndu(p + 1, p + 1);
    YdMatrix a(2, p + 1);
    ndu[0][0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        left[static_cast<size_t>(j)] = u - U[static_cast<size_t>(span + 1 - j)];
        right[static_cast<size_t>(j)] = U[static_cast<size_t>(span + j)] - u;
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            ndu[j][r] = right[static_cast<size_t>(r + 1)] + left[static_cast<size_t>(j - r)];
            const double temp = ndu[r][j - 1] / ndu[j][r];
            ndu[r][j] = saved + right[static_cast<size_t>(r + 1)] * temp;
            saved = left[static_cast<size_t>(j - r)] * temp;
        }
        ndu[j][j] = saved;
    }
    for (int j = 0; j <= p; ++j) {
        ders[0][static_cast<size_t>(j)] = ndu[j][p];
    }
    for (int r = 0; r <= p; ++r) {
        int s1 = 0;
        int s2 = 1;
        a[0][0] = 1.0;
        for (int k = 1; k <= nd; ++k) {
            double d = 0.0;
            const int rk = r - k;
            const int pk = p - k;
            if (r >= k) {
                a[s2][0] = a[s1][0] / ndu[pk + 1][rk];
                d = a[s2][0] * ndu[rk][pk];
            }
            const int j1 = rk >= -1 ? 1 : -rk;
            const int j2 = (r - 1 <= pk) ? k - 1 : p - r;
            for (int j = j1; j <= j2; ++j) {
                a[s2][j] = (a[s1][j] - a[s1][j - 1]) / ndu[pk + 1][rk + j];
                d += a[s2][j] * ndu[rk + j][pk];
            }
            if (r <= pk) {
                a[s2][k] = -a[s1][k - 1] / ndu[pk + 1][r];
                d += a[s2][k] * ndu[r][pk];
            }
            ders[static_cast<size_t>(k)][static_cast<size_t>(r)] = d;
            std::swap(s1, s2);
        }
    }
    // Integer falling factorials: exact in a double up to degree 17.
    long long f = p;
    for (int k = 1; k <= nd; ++k) {
        for (int j = 0; j <= p; ++j) {
            ders[static_cast<size_t>(k)][static_cast<size_t>(j)] *= static_cast<double>(f);
        }
        f *= p - k;
    }
    return ders;
}

double Binomial(int n, int k) {
    double r = 1.0;
    for (int i = 1; i <= k; ++i) {
        r = r * (n - k + i) / i;
    }
    return r;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(BasisFunctions, QuadraticBezierAtHalfGivesValuesAndSlopes) {
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 0, 1, 1, 1}), 2, 1, 0.5, ders, span);
    EXPECT_EQ(span, 2);
    ASSERT_EQ(ders.size(), 2u);
    ASSERT_EQ(ders[0].size(), 3u);
    ASSERT_EQ(ders[1].size(), 3u);
    EXPECT_DOUBLE_EQ(ders[0][0], 0.25);
    EXPECT_DOUBLE_EQ(ders[0][1], 0.5);
    EXPECT_DOUBLE_EQ(ders[0][2], 0.25);
    EXPECT_DOUBLE_EQ(ders[1][0], -1.0);
    EXPECT_NEAR(ders[1][1], 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(ders[1][2], 1.0);
}

TEST(BasisFunctions, AtLastKnotTheLastBasisFunctionIsOne) {
    const YdKnotVec kv = Knots({0, 0, 0, 0, 0.3, 0.7, 1, 1, 1, 1});
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(kv, 3, 0, 1.0, ders, span);
    EXPECT_EQ(span, kv.GetCount() - 3 - 2);
    ASSERT_EQ(ders.size(), 1u);
    ASSERT_EQ(ders[0].size(), 4u);
    EXPECT_DOUBLE_EQ(ders[0][3], 1.0);
    for (int j = 0; j < 3; ++j) {
        EXPECT_DOUBLE_EQ(ders[0][static_cast<size_t>(j)], 0.0) << "function " << j;
    }
}

TEST(BasisFunctions, MoreDerivativesThanTheDegreeGiveDegreePlusOneRows) {
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 0, 0.5, 1, 1, 1}), 2, 7, 0.25, ders, span);
    ASSERT_EQ(ders.size(), 3u);
    for (const std::vector<double>& row : ders) {
        EXPECT_EQ(row.size(), 3u);
    }
    // The second derivatives of a quadratic are constant and sum to zero.
    EXPECT_NEAR(ders[2][0] + ders[2][1] + ders[2][2], 0.0, 1e-12);
}

TEST(BasisFunctions, ParameterOutsideTheKnotsUsesTheEndSpans) {
    const YdKnotVec kv = Knots({0, 0, 0, 0.4, 1, 1, 1});
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(kv, 2, 0, -0.5, ders, span);
    EXPECT_EQ(span, 2);
    YdNurbsHelper::GetBasisFunctionValue(kv, 2, 0, 1.5, ders, span);
    EXPECT_EQ(span, 3);
    // The extended polynomials still form a partition of unity.
    EXPECT_NEAR(ders[0][0] + ders[0][1] + ders[0][2], 1.0, 1e-12);
}

TEST(BasisFunctions, OldRowsAreReplaced) {
    Rows ders(5, std::vector<double>(9, 42.0));
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 1, 1}), 1, 0, 0.25, ders, span);
    ASSERT_EQ(ders.size(), 1u);
    ASSERT_EQ(ders[0].size(), 2u);
    EXPECT_DOUBLE_EQ(ders[0][0], 0.75);
    EXPECT_DOUBLE_EQ(ders[0][1], 0.25);
}

TEST(BasisFunctions, DegreeZeroIsTheSpanIndicator) {
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0.5, 1}), 0, 2, 0.7, ders, span);
    EXPECT_EQ(span, 1);
    ASSERT_EQ(ders.size(), 1u);
    ASSERT_EQ(ders[0].size(), 1u);
    EXPECT_EQ(ders[0][0], 1.0);
}

TEST(BasisFunctions, ValuesAndDerivativesAreThoseOfThePlainRecurrenceBitForBit) {
    std::mt19937 rng(4321);
    std::uniform_real_distribution<double> uni(-0.2, 1.2);
    // Degrees with their own compiled copy, the general one, and one above the inline size;
    // knots with doubled interior values as well as distinct ones.
    const int degrees[] = {1, 2, 3, 4, 5, 6, 9, 17};
    for (int trial = 0; trial < 64; ++trial) {
        const int p = degrees[trial % 8];
        std::vector<double> k = RandomClampedKnots(rng, p, static_cast<int>(rng() % 7));
        if (trial % 3 == 0 && k.size() > 2 * static_cast<size_t>(p) + 2) {
            k.insert(k.begin() + p + 1, k[static_cast<size_t>(p) + 1]);
        }
        const YdKnotVec kv = Knots(k);
        for (int s = 0; s < 12; ++s) {
            const double u = s == 0 ? 1.0 : (s == 1 ? 0.0 : uni(rng));
            for (int n = 0; n <= p + 1; ++n) {
                Rows got;
                int span = -1;
                YdNurbsHelper::GetBasisFunctionValue(kv, p, n, u, got, span);
                int refSpan = -2;
                const Rows ref = PlainBasis(kv, p, n, u, refSpan);
                ASSERT_EQ(span, refSpan) << "degree " << p << " at u = " << u;
                ASSERT_EQ(got.size(), ref.size()) << "degree " << p << ", " << n << " derivatives";
                for (size_t r = 0; r < ref.size(); ++r) {
                    ASSERT_EQ(got[r].size(), ref[r].size());
                    for (size_t j = 0; j < ref[r].size(); ++j) {
                        EXPECT_EQ(got[r][j], ref[r][j])
                            << "row " << r << ", function " << j << ", degree " << p << ", " << n
                            << " derivatives, at u = " << u;
                    }
                }
            }
        }
    }
}

TEST(BasisFunctions, NegativeDerivativeCountGivesTheValuesOnly) {
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 0, 1, 1, 1}), 2, -3, 0.5, ders, span);
    ASSERT_EQ(ders.size(), 1u);
    EXPECT_DOUBLE_EQ(ders[0][1], 0.5);
}

TEST(BasisFunctions, NegativeDegreeGivesNoRows) {
    Rows ders(2, std::vector<double>(2, 1.0));
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 1, 1}), -1, 1, 0.5, ders, span);
    EXPECT_TRUE(ders.empty());
    EXPECT_EQ(span, 0);
}

TEST(BasisFunctions, KnotsTooShortForTheDegreeGiveZerosWithoutReadingOutside) {
    Rows ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(Knots({0, 0, 1}), 3, 1, 0.5, ders, span);
    EXPECT_EQ(span, 3);
    ASSERT_EQ(ders.size(), 2u);
    for (const std::vector<double>& row : ders) {
        ASSERT_EQ(row.size(), 4u);
        for (double v : row) {
            EXPECT_EQ(v, 0.0);
        }
    }
    YdNurbsHelper::GetBasisFunctionValue(YdKnotVec(), 2, 0, 0.5, ders, span);
    ASSERT_EQ(ders.size(), 1u);
    EXPECT_EQ(ders[0][0], 0.0);
}

// ---------------------------------------------------------------------------------------------
// Independent truths

TEST(BasisFunctions, BezierKnotsGiveBinomialPolynomials) {
    // Degree 17 also exercises the storage taken when the degree is too high for the stack.
    for (int p : {1, 2, 3, 5, 17}) {
        std::vector<double> k(static_cast<size_t>(p + 1), 0.0);
        k.insert(k.end(), static_cast<size_t>(p + 1), 1.0);
        const YdKnotVec kv = Knots(k);
        for (double u : {0.0, 0.1, 0.37, 0.5, 0.93, 1.0}) {
            Rows ders;
            int span = -1;
            YdNurbsHelper::GetBasisFunctionValue(kv, p, 1, u, ders, span);
            ASSERT_EQ(span, p);
            for (int j = 0; j <= p; ++j) {
                const double b = Binomial(p, j) * std::pow(u, j) * std::pow(1 - u, p - j);
                EXPECT_NEAR(ders[0][static_cast<size_t>(j)], b, 1e-12)
                    << "degree " << p << ", function " << j << ", at u = " << u;
                // d/du of C(p, j) u^j (1 - u)^(p - j): p (B(p-1, j-1) - B(p-1, j)).
                const double lower =
                    j >= 1 ? Binomial(p - 1, j - 1) * std::pow(u, j - 1) * std::pow(1 - u, p - j)
                           : 0.0;
                const double upper =
                    j <= p - 1 ? Binomial(p - 1, j) * std::pow(u, j) * std::pow(1 - u, p - 1 - j)
                               : 0.0;
                EXPECT_NEAR(ders[1][static_cast<size_t>(j)], p * (lower - upper),
                            1e-10 * Binomial(p, p / 2) * p)
                    << "degree " << p << ", function " << j << ", at u = " << u;
            }
        }
    }
}

TEST(BasisFunctions, RandomClampedKnotsGiveANonNegativePartitionOfUnity) {
    std::mt19937 rng(1234);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    for (int trial = 0; trial < 200; ++trial) {
        const int p = 1 + trial % 5;
        const int interior = static_cast<int>(rng() % 12);
        const YdKnotVec kv = Knots(RandomClampedKnots(rng, p, interior));
        for (int s = 0; s < 20; ++s) {
            const double u = s == 0 ? 1.0 : uni(rng);
            Rows ders;
            int span = -1;
            YdNurbsHelper::GetBasisFunctionValue(kv, p, p, u, ders, span);
            ASSERT_GE(span, p);
            ASSERT_LE(span, kv.GetCount() - p - 2);
            double sum = 0.0;
            for (double v : ders[0]) {
                EXPECT_GE(v, 0.0) << "degree " << p << " at u = " << u;
                sum += v;
            }
            EXPECT_NEAR(sum, 1.0, 1e-13) << "degree " << p << " at u = " << u;
            // The derivatives of a partition of unity sum to zero.
            for (int k = 1; k <= p; ++k) {
                double dsum = 0.0;
                double scale = 1.0;
                for (double v : ders[static_cast<size_t>(k)]) {
                    dsum += v;
                    scale = std::max(scale, std::fabs(v));
                }
                EXPECT_NEAR(dsum, 0.0, 1e-11 * scale)
                    << "derivative " << k << ", degree " << p << " at u = " << u;
            }
        }
    }
}

TEST(BasisFunctions, DerivativeRowsMatchCentralDifferencesOfTheRowBelow) {
    std::mt19937 rng(99);
    for (int trial = 0; trial < 60; ++trial) {
        const int p = 1 + trial % 5;
        const std::vector<double> k = RandomClampedKnots(rng, p, 1 + static_cast<int>(rng() % 6));
        const YdKnotVec kv = Knots(k);
        for (int s = 0; s < 10; ++s) {
            // A parameter well inside a non-empty span, so that u +- h stays in it.
            const size_t spanIdx =
                static_cast<size_t>(p) + rng() % (k.size() - 2 * static_cast<size_t>(p) - 1);
            const double a = k[spanIdx];
            const double b = k[spanIdx + 1];
            const double u =
                a + (0.2 + 0.6 * std::uniform_real_distribution<double>()(rng)) * (b - a);
            const double h = 1e-6 * (b - a);
            Rows d0;
            Rows dm;
            Rows dp;
            int s0 = -1;
            int sm = -1;
            int sp = -1;
            YdNurbsHelper::GetBasisFunctionValue(kv, p, p, u, d0, s0);
            YdNurbsHelper::GetBasisFunctionValue(kv, p, p, u - h, dm, sm);
            YdNurbsHelper::GetBasisFunctionValue(kv, p, p, u + h, dp, sp);
            ASSERT_EQ(s0, sm);
            ASSERT_EQ(s0, sp);
            for (int r = 1; r <= p; ++r) {
                double scale = 1.0;
                for (double v : d0[static_cast<size_t>(r)]) {
                    scale = std::max(scale, std::fabs(v));
                }
                for (int j = 0; j <= p; ++j) {
                    const double fd = (dp[static_cast<size_t>(r - 1)][static_cast<size_t>(j)] -
                                       dm[static_cast<size_t>(r - 1)][static_cast<size_t>(j)]) /
                                      (2 * h);
                    EXPECT_NEAR(d0[static_cast<size_t>(r)][static_cast<size_t>(j)], fd,
                                1e-5 * scale)
                        << "derivative " << r << " of function " << j << ", degree " << p
                        << " at u = " << u;
                }
            }
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Chord-length parameters

TEST(Parameterize, ThreeCollinearPointsOpenAndClosed) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(3, 0, 0)};
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    ASSERT_EQ(params.size(), 3u);
    EXPECT_EQ(params[0], 0.0);
    EXPECT_DOUBLE_EQ(params[1], 1.0 / 3.0);
    EXPECT_EQ(params[2], 1.0);

    YdNurbsHelper::Parameterize(pts, true, params);
    ASSERT_EQ(params.size(), 4u);
    EXPECT_EQ(params[0], 0.0);
    EXPECT_DOUBLE_EQ(params[1], 1.0 / 6.0);
    EXPECT_DOUBLE_EQ(params[2], 0.5);
    EXPECT_EQ(params[3], 1.0);
}

TEST(Parameterize, TwoPointsGiveZeroAndOne) {
    std::vector<double> params = {7, 7, 7, 7};
    YdNurbsHelper::Parameterize({YdPoint(1, 2, 3), YdPoint(4, -2, 3)}, false, params);
    ASSERT_EQ(params.size(), 2u);
    EXPECT_EQ(params[0], 0.0);
    EXPECT_EQ(params[1], 1.0);
}

TEST(Parameterize, ParametersFollowTheChordLengths) {
    // Chords 3, 4 (a 3-4-5 corner) and 12 (a 5-12-13 leg) in 3-D.
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(3, 0, 0), YdPoint(3, 4, 0),
                                      YdPoint(3, 4, 12)};
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    ASSERT_EQ(params.size(), 4u);
    EXPECT_NEAR(params[1], 3.0 / 19.0, 1e-15);
    EXPECT_NEAR(params[2], 7.0 / 19.0, 1e-15);
    EXPECT_EQ(params[3], 1.0);
}

TEST(Parameterize, LastParameterIsExactlyOneAfterManyChords) {
    std::vector<YdPoint> pts;
    for (int i = 0; i < 1000; ++i) {
        pts.emplace_back(std::cos(0.01 * i), std::sin(0.01 * i), 0.1 * i);
    }
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    ASSERT_EQ(params.size(), 1000u);
    EXPECT_EQ(params.back(), 1.0);
    for (size_t i = 1; i < params.size(); ++i) {
        EXPECT_GT(params[i], params[i - 1]) << "at i = " << i;
    }
}

TEST(Parameterize, CoincidentNeighboursGetEqualParameters) {
    const std::vector<YdPoint> pts = {YdPoint(0, 0, 0), YdPoint(1, 0, 0), YdPoint(1, 0, 0),
                                      YdPoint(2, 0, 0)};
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    ASSERT_EQ(params.size(), 4u);
    EXPECT_EQ(params[1], params[2]);
    EXPECT_DOUBLE_EQ(params[1], 0.5);
}

TEST(Parameterize, NoPointsGiveNoParameters) {
    std::vector<double> params = {1, 2, 3};
    YdNurbsHelper::Parameterize({}, false, params);
    EXPECT_TRUE(params.empty());
    params = {1, 2};
    YdNurbsHelper::Parameterize({}, true, params);
    EXPECT_TRUE(params.empty());
}

TEST(Parameterize, AllPointsEqualGiveZerosAndAFinalOne) {
    const std::vector<YdPoint> pts(4, YdPoint(2, 2, 2));
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    EXPECT_EQ(params, (std::vector<double>{0.0, 0.0, 0.0, 1.0}));
    YdNurbsHelper::Parameterize(pts, true, params);
    EXPECT_EQ(params, (std::vector<double>{0.0, 0.0, 0.0, 0.0, 1.0}));
}

TEST(Parameterize, SinglePointGetsTheFinalParameterOnly) {
    std::vector<double> params;
    YdNurbsHelper::Parameterize({YdPoint(1, 1, 1)}, false, params);
    EXPECT_EQ(params, (std::vector<double>{1.0}));
    YdNurbsHelper::Parameterize({YdPoint(1, 1, 1)}, true, params);
    EXPECT_EQ(params, (std::vector<double>{0.0, 1.0}));
}
