// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdTestSupport.h"

// The compact solver is internal to the library (its symbols are not exported), so the test
// program compiles its own copy.
#include "../../src/geometry/YdBorderedBandLU.cpp"

namespace {

/// A square system held both densely and compactly, entry for entry.
struct System {
    YdMatrix dense;
    YdBorderedBandLU compact;
    System(int n, int borderWidth) : dense(n, n), compact(n, borderWidth) {}
    void Set(int i, int j, double v) {
        dense[i][j] = v;
        compact.Set(i, j, v);
    }
};

/// Factors and solves both forms and requires bit-identical pivots, results, factors and
/// solutions. `what` names the case in failure messages.
/// Counts of the cases compared, to keep the random suites honest.
struct Tally {
    int factored = 0;
    int failed = 0;
};

void ExpectIdentical(System& sys, std::mt19937& rng, const std::string& what,
                     Tally* tally = nullptr) {
    const int n = sys.dense.GetRow();
    std::vector<int> densePivots(n, -1);
    std::vector<int> compactPivots(n, -1);
    const bool denseOk = sys.dense.LUDecompose(densePivots);
    const bool compactOk = sys.compact.LUDecompose(compactPivots);
    ASSERT_EQ(denseOk, compactOk) << what;
    for (int i = 0; i < n; ++i) {
        ASSERT_EQ(densePivots[i], compactPivots[i]) << what << ": pivot " << i;
    }
    if (tally != nullptr) {
        ++(denseOk ? tally->factored : tally->failed);
    }
    if (!denseOk) {
        return;
    }
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            ASSERT_EQ(sys.dense[i][j], sys.compact.Get(i, j))
                << what << ": factor (" << i << ", " << j << ")";
        }
    }
    std::uniform_real_distribution<double> u(-10.0, 10.0);
    std::vector<double> denseB(n);
    for (double& v : denseB) {
        v = u(rng);
    }
    // Tiny leading entries exercise the solve's skip of leading near-zeros.
    denseB[0] = 1e-12;
    if (n > 1) {
        denseB[1] = 0.0;
    }
    std::vector<double> compactB(denseB);
    ASSERT_TRUE(sys.dense.GetSolutionAfterLUDecompose(densePivots, denseB.data())) << what;
    ASSERT_TRUE(sys.compact.GetSolutionAfterLUDecompose(compactPivots, compactB.data())) << what;
    for (int i = 0; i < n; ++i) {
        ASSERT_EQ(denseB[i], compactB[i]) << what << ": solution " << i;
    }
    std::vector<YdPoint> densePts(n);
    for (YdPoint& p : densePts) {
        p = YdPoint(u(rng), u(rng), u(rng));
    }
    std::vector<YdPoint> compactPts(densePts);
    ASSERT_TRUE(sys.dense.GetSolutionAfterLUDecompose(densePivots, densePts)) << what;
    ASSERT_TRUE(sys.compact.GetSolutionAfterLUDecompose(compactPivots, compactPts)) << what;
    for (int i = 0; i < n; ++i) {
        for (int c = 0; c < 3; ++c) {
            ASSERT_EQ(densePts[i][c], compactPts[i][c])
                << what << ": point " << i << " coordinate " << c;
        }
    }
}

/// Draws an entry: random reals, or small integers (which make exact ties and exact
/// cancellations to zero likely).
double Draw(std::mt19937& rng, bool integers) {
    if (integers) {
        return static_cast<double>(std::uniform_int_distribution<int>(-2, 3)(rng));
    }
    return std::uniform_real_distribution<double>(-1.0, 1.0)(rng);
}

/// A banded matrix (row i holds `band` entries starting near column i) with a dense border of
/// the last `borderWidth` columns in some rows, and `wideRows` rows at the bottom whose
/// entries sit at the start and in the border. Rows are shuffled when asked, so bands start
/// anywhere.
void FillBandedBordered(System& sys, int band, int borderWidth, int wideRows, bool integers,
                        bool shuffle, std::mt19937& rng) {
    const int n = sys.dense.GetRow();
    std::vector<int> order(n);
    for (int i = 0; i < n; ++i) {
        order[i] = i;
    }
    if (shuffle) {
        std::shuffle(order.begin(), order.end(), rng);
    }
    std::bernoulli_distribution coin(0.3);
    const int bandRows = n - wideRows;
    for (int r = 0; r < n; ++r) {
        const int i = order[r];
        if (r < bandRows) {
            const int start = std::max(
                0,
                std::min(n - band, r - band / 2 + std::uniform_int_distribution<int>(0, 1)(rng)));
            for (int j = start; j < start + band && j < n; ++j) {
                sys.Set(i, j, Draw(rng, integers));
            }
            if (borderWidth > 0 && coin(rng)) {
                for (int j = n - borderWidth; j < n; ++j) {
                    sys.Set(i, j, Draw(rng, integers));
                }
            }
        } else {
            for (int j = 0; j < std::min(band, n); ++j) {
                sys.Set(i, j, Draw(rng, integers));
            }
            for (int j = std::max(0, n - borderWidth); j < n; ++j) {
                sys.Set(i, j, Draw(rng, integers));
            }
        }
    }
}

/// The shape of a closed interpolation of degree p: n - p collocation rows with p + 1
/// consecutive positive basis values, then p rows at the bottom (derivative continuity at the
/// seam) with entries in the first p + 1 and the last p + 1 columns.
void FillClosedInterpolation(System& sys, int p, std::mt19937& rng) {
    const int n = sys.dense.GetRow();
    std::uniform_real_distribution<double> u(0.05, 1.0);
    for (int i = 0; i < n - p; ++i) {
        std::vector<double> vals(p + 1);
        double sum = 0.0;
        for (double& v : vals) {
            v = u(rng);
            sum += v;
        }
        for (int k = 0; k <= p; ++k) {
            sys.Set(i, i + k, vals[k] / sum);
        }
    }
    for (int r = 0; r < p; ++r) {
        const int i = n - p + r;
        for (int k = 0; k <= p; ++k) {
            sys.Set(i, k, u(rng) * (k % 2 == 0 ? 1.0 : -1.0));
            sys.Set(i, n - p - 1 + k, -u(rng) * (k % 2 == 0 ? 1.0 : -1.0));
        }
    }
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Bit-for-bit agreement with the dense pivoted pair

TEST(YdBorderedBandLU, RandomBandedBorderedSystemsMatchDense) {
    std::mt19937 rng(101);
    Tally tally;
    const int sizes[] = {5, 6, 9, 17, 40, 83, 150, 300};
    for (int n : sizes) {
        for (int band : {1, 2, 3, 4, 6}) {
            for (int borderWidth : {0, 1, 3, 5}) {
                if (band > n || borderWidth > n) {
                    continue;
                }
                for (int wideRows : {0, 2}) {
                    for (int variant = 0; variant < 4; ++variant) {
                        // The large sizes cost a dense factorisation each: sample a quarter
                        // of their combinations.
                        if (n >= 100 && (band + borderWidth + wideRows + variant) % 4 != 0) {
                            continue;
                        }
                        const bool integers = (variant & 1) != 0;
                        const bool shuffle = (variant & 2) != 0;
                        System sys(n, borderWidth);
                        FillBandedBordered(sys, band, borderWidth, wideRows, integers, shuffle,
                                           rng);
                        const std::string what =
                            "n = " + std::to_string(n) + ", band " + std::to_string(band) +
                            ", border " + std::to_string(borderWidth) + ", wide rows " +
                            std::to_string(wideRows) + ", variant " + std::to_string(variant);
                        ExpectIdentical(sys, rng, what, &tally);
                        if (HasFatalFailure()) {
                            return;
                        }
                    }
                }
            }
        }
    }
    // Both outcomes must be well represented for the comparison to mean something.
    EXPECT_GT(tally.factored, 400);
    EXPECT_GT(tally.failed, 100);
}

TEST(YdBorderedBandLU, ClosedInterpolationShapeMatchesDense) {
    std::mt19937 rng(202);
    Tally tally;
    for (int p : {1, 2, 3, 4, 5}) {
        for (int n : {p + 3, 12, 31, 64, 200}) {
            System sys(n, p + 1);
            FillClosedInterpolation(sys, p, rng);
            ExpectIdentical(sys, rng, "degree " + std::to_string(p) + ", n = " + std::to_string(n),
                            &tally);
            if (HasFatalFailure()) {
                return;
            }
        }
    }
    EXPECT_GT(tally.factored, 15);
}

TEST(YdBorderedBandLU, BorderWiderThanNeededAndWholeMatrixMatchDense) {
    std::mt19937 rng(303);
    for (int borderWidth : {8, 20}) {
        System sys(20, borderWidth);
        FillBandedBordered(sys, 3, 2, 1, false, true, rng);
        ExpectIdentical(sys, rng, "border " + std::to_string(borderWidth));
    }
    // A fully dense matrix stored as one wide border.
    System dense(12, 12);
    for (int i = 0; i < 12; ++i) {
        for (int j = 0; j < 12; ++j) {
            dense.Set(i, j, Draw(rng, (i + j) % 3 == 0));
        }
    }
    ExpectIdentical(dense, rng, "all border");
}

TEST(YdBorderedBandLU, StoredZerosAndBorderOnlyRowsMatchDense) {
    std::mt19937 rng(404);
    Tally tally;
    for (int trial = 0; trial < 40; ++trial) {
        const int n = 10 + trial;
        System sys(n, 3);
        FillBandedBordered(sys, 3, 3, 1, (trial % 2) == 0, (trial % 3) == 0, rng);
        // Explicit zeros widen a band without changing the matrix.
        const int i = trial % n;
        sys.Set(i, std::max(0, i - 4), 0.0);
        // A row with entries in the border only.
        const int k = (7 * trial + 3) % n;
        for (int j = 0; j < n; ++j) {
            sys.Set(k, j, 0.0);
        }
        sys.Set(k, n - 1, 2.0);
        sys.Set(k, n - 2, -1.0);
        ExpectIdentical(sys, rng, "trial " + std::to_string(trial), &tally);
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GT(tally.factored, 10);
}

TEST(YdBorderedBandLU, SingularSystemsFailLikeDense) {
    std::mt19937 rng(505);
    Tally tally;
    for (int trial = 0; trial < 60; ++trial) {
        const int n = 6 + trial % 30;
        System sys(n, 2);
        FillBandedBordered(sys, 3, 2, 0, (trial % 2) == 0, (trial % 4) < 2, rng);
        // Make row b a copy of row a: singular, found at some pivot of the elimination.
        const int a = trial % n;
        const int b = (a + 1 + trial % 3) % n;
        for (int j = 0; j < n; ++j) {
            sys.Set(b, j, sys.dense[a][j]);
        }
        const std::string what = "trial " + std::to_string(trial);
        ExpectIdentical(sys, rng, what, &tally);
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GT(tally.failed, 50);
}

TEST(YdBorderedBandLU, EmptyColumnFailsLikeDense) {
    // Column 2 is zero everywhere: no candidate is non-zero there, and both codes settle on
    // the same (last) row before failing.
    std::mt19937 rng(606);
    System sys(8, 2);
    for (int i = 0; i < 8; ++i) {
        for (int j = std::max(0, i - 1); j <= std::min(7, i + 1); ++j) {
            if (j != 2) {
                sys.Set(i, j, 1.0 + i + 0.5 * j);
            }
        }
    }
    ExpectIdentical(sys, rng, "empty column");
}

TEST(YdBorderedBandLU, ZeroRowFailsBeforeElimination) {
    std::mt19937 rng(707);
    System sys(9, 2);
    FillBandedBordered(sys, 3, 2, 0, false, false, rng);
    for (int j = 0; j < 9; ++j) {
        sys.Set(4, j, 0.0);
    }
    std::vector<int> pivots(9, -3);
    EXPECT_FALSE(sys.compact.LUDecompose(pivots));
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(pivots[i], -3) << "pivot " << i << " was written";
    }
    ExpectIdentical(sys, rng, "zero row");
}

TEST(YdBorderedBandLU, TinyPivotFailsLikeDense) {
    std::mt19937 rng(808);
    System sys(4, 1);
    sys.Set(0, 0, 1.0);
    sys.Set(0, 1, 1.0);
    sys.Set(1, 0, 1.0);
    sys.Set(1, 1, 1.0 + 1e-12);
    sys.Set(2, 2, 1.0);
    sys.Set(3, 3, 1.0);
    ExpectIdentical(sys, rng, "tiny pivot");
    std::vector<int> pivots(4);
    YdBorderedBandLU again(4, 1);
    again.Set(0, 0, 1.0);
    again.Set(0, 1, 1.0);
    again.Set(1, 0, 1.0);
    again.Set(1, 1, 1.0 + 1e-12);
    again.Set(2, 2, 1.0);
    again.Set(3, 3, 1.0);
    EXPECT_FALSE(again.LUDecompose(pivots));
}

// ---------------------------------------------------------------------------------------------
// Large systems and the store itself

TEST(YdBorderedBandLU, TenThousandUnknownsSolveToSmallResidual) {
    // A closed cubic interpolation with 10000 unknowns, far beyond a dense matrix:
    // collocation rows with the uniform cubic basis values (1/6, 2/3, 1/6) somewhat
    // perturbed, and three seam rows tying the first control points to the last ones.
    const int n = 10000;
    const int p = 3;
    std::mt19937 rng(909);
    YdBorderedBandLU lu(n, p + 1);
    std::vector<std::vector<std::pair<int, double>>> rows(n);
    std::uniform_real_distribution<double> u(0.8, 1.2);
    const double basis[p + 1] = {1.0 / 6.0, 2.0 / 3.0, 1.0 / 6.0, 0.0};
    for (int i = 0; i < n - p; ++i) {
        for (int k = 0; k <= p; ++k) {
            rows[i].emplace_back(i + k, basis[k] * u(rng));
        }
    }
    for (int k = 0; k < p; ++k) {
        const int i = n - p + k;
        rows[i].emplace_back(k, 1.0);
        rows[i].emplace_back(n - p + k, -1.0);
    }
    for (int i = 0; i < n; ++i) {
        for (const auto& e : rows[i]) {
            lu.Set(i, e.first, e.second);
        }
    }
    std::vector<double> x(n);
    std::uniform_real_distribution<double> ux(-3.0, 3.0);
    for (double& v : x) {
        v = ux(rng);
    }
    std::vector<double> b(n, 0.0);
    for (int i = 0; i < n; ++i) {
        for (const auto& e : rows[i]) {
            b[i] += e.second * x[e.first];
        }
    }
    std::vector<int> pivots(n);
    ASSERT_TRUE(lu.LUDecompose(pivots));
    std::vector<double> sol(b);
    ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(pivots, sol.data()));
    double worstResidual = 0.0;
    for (int i = 0; i < n; ++i) {
        double s = 0.0;
        for (const auto& e : rows[i]) {
            s += e.second * sol[e.first];
        }
        worstResidual = std::max(worstResidual, std::fabs(s - b[i]));
    }
    EXPECT_LT(worstResidual, 1e-11);
    double worstError = 0.0;
    for (int i = 0; i < n; ++i) {
        worstError = std::max(worstError, std::fabs(sol[i] - x[i]));
    }
    EXPECT_LT(worstError, 1e-8);
}

TEST(YdBorderedBandLU, SetAndGetRespectTheStore) {
    YdBorderedBandLU lu(6, 2);
    EXPECT_EQ(lu.Size(), 6);
    lu.Set(1, 3, 2.5);
    lu.Set(1, 1, -1.0);  // grows the band to the left
    lu.Set(1, 5, 4.0);   // border
    lu.Set(1, 3, 3.5);   // a store, not an addition
    EXPECT_EQ(lu.Get(1, 1), -1.0);
    EXPECT_EQ(lu.Get(1, 2), 0.0);
    EXPECT_EQ(lu.Get(1, 3), 3.5);
    EXPECT_EQ(lu.Get(1, 4), 0.0);
    EXPECT_EQ(lu.Get(1, 5), 4.0);
    EXPECT_EQ(lu.Get(1, 0), 0.0);
    EXPECT_EQ(lu.Get(0, 0), 0.0);
    // Out of range: ignored on Set, 0.0 on Get.
    lu.Set(-1, 0, 1.0);
    lu.Set(0, 6, 1.0);
    lu.Set(6, 0, 1.0);
    EXPECT_EQ(lu.Get(-1, 0), 0.0);
    EXPECT_EQ(lu.Get(0, 6), 0.0);
    EXPECT_EQ(lu.Get(6, 6), 0.0);
}

TEST(YdBorderedBandLU, BadPivotsAndSizesFail) {
    YdBorderedBandLU lu(3, 1);
    for (int i = 0; i < 3; ++i) {
        lu.Set(i, i, 2.0);
    }
    std::vector<int> shortPivots(2);
    EXPECT_FALSE(lu.LUDecompose(shortPivots));
    std::vector<int> pivots(3);
    ASSERT_TRUE(lu.LUDecompose(pivots));
    double b[3] = {2, 4, 6};
    EXPECT_FALSE(lu.GetSolutionAfterLUDecompose(shortPivots, b));
    std::vector<int> wild = {0, 3, 2};
    EXPECT_FALSE(lu.GetSolutionAfterLUDecompose(wild, b));
    EXPECT_EQ(b[1], 4.0);
    std::vector<YdPoint> shortPts(2);
    EXPECT_FALSE(lu.GetSolutionAfterLUDecompose(pivots, shortPts));
    ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(pivots, b));
    EXPECT_EQ(b[0], 1.0);
    EXPECT_EQ(b[1], 2.0);
    EXPECT_EQ(b[2], 3.0);
}

TEST(YdBorderedBandLU, DegenerateSizes) {
    YdBorderedBandLU empty(0, 3);
    EXPECT_EQ(empty.Size(), 0);
    std::vector<int> none;
    EXPECT_TRUE(empty.LUDecompose(none));
    EXPECT_TRUE(empty.GetSolutionAfterLUDecompose(none, static_cast<double*>(nullptr)));
    YdBorderedBandLU negative(-5, -2);
    EXPECT_EQ(negative.Size(), 0);
    // A border wider than the matrix is clamped to the whole matrix.
    YdBorderedBandLU one(1, 4);
    one.Set(0, 0, 4.0);
    std::vector<int> pivots(1);
    ASSERT_TRUE(one.LUDecompose(pivots));
    double b = 2.0;
    ASSERT_TRUE(one.GetSolutionAfterLUDecompose(pivots, &b));
    EXPECT_EQ(b, 0.5);
    YdBorderedBandLU zero(1, 0);
    EXPECT_FALSE(zero.LUDecompose(pivots));
}
