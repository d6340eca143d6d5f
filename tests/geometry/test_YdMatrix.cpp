// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <utility>
#include <vector>

#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdTolerances.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdTestAccess.h"
#include "YdTestSupport.h"

namespace {

constexpr double kPi = 3.141592653589793;

YdMatrix FromRows(int rows, int cols, std::vector<double> values) {
    YdMatrix m;
    m.Set(rows, cols, values.data());
    return m;
}

/// True when the row table points into the data block row after row.
::testing::AssertionResult StorageConsistent(const YdMatrix& m) {
    const double* data = YdMatrixTestAccess::Data(m);
    double* const* rows = YdMatrixTestAccess::Rows(m);
    if (m.GetRow() == 0 || m.GetCol() == 0) {
        if (m.GetRow() != 0 || m.GetCol() != 0 || data != nullptr || rows != nullptr) {
            return ::testing::AssertionFailure() << "an empty matrix must be 0 x 0 with null "
                                                    "storage, got "
                                                 << m.GetRow() << " x " << m.GetCol();
        }
        return ::testing::AssertionSuccess();
    }
    for (int i = 0; i < m.GetRow(); ++i) {
        if (rows[i] != data + static_cast<std::ptrdiff_t>(i) * m.GetCol()) {
            return ::testing::AssertionFailure() << "row pointer " << i << " is off";
        }
    }
    return ::testing::AssertionSuccess();
}

YdMatrix RandomMatrix(int rows, int cols, std::mt19937& rng) {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    YdMatrix m(rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            m[i][j] = u(rng);
        }
    }
    return m;
}

/// A random matrix pushed towards good conditioning by a strong diagonal.
YdMatrix RandomWellConditioned(int n, std::mt19937& rng) {
    YdMatrix m = RandomMatrix(n, n, rng);
    for (int i = 0; i < n; ++i) {
        m[i][i] += (i % 2 == 0 ? 1.0 : -1.0) * n;
    }
    return m;
}

double MaxAbs(const YdMatrix& m) {
    double big = 0.0;
    for (int i = 0; i < m.GetRow(); ++i) {
        for (int j = 0; j < m.GetCol(); ++j) {
            big = std::max(big, std::fabs(m[i][j]));
        }
    }
    return big;
}

/// max |A x - b| / (max |A| * max |x| * n): the relative residual of a solve.
double RelativeResidual(const YdMatrix& a, const std::vector<double>& x,
                        const std::vector<double>& b) {
    const int n = a.GetRow();
    double worst = 0.0;
    double xmax = 0.0;
    for (int i = 0; i < n; ++i) {
        double s = 0.0;
        for (int j = 0; j < n; ++j) {
            s += a[i][j] * x[j];
        }
        worst = std::max(worst, std::fabs(s - b[i]));
        xmax = std::max(xmax, std::fabs(x[i]));
    }
    return worst / (MaxAbs(a) * xmax * n);
}

double Det3(const YdMatrix& m) {
    return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
           m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
           m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Exact cases

TEST(YdMatrix, IsIdentityAcceptsOffDiagonalAtTolerance) {
    YdMatrix m(3, 3);
    m.SetIdentity();
    m[0][2] = 1e-9;
    EXPECT_TRUE(m.IsIdentity());
    m[0][2] = -1e-9;
    EXPECT_TRUE(m.IsIdentity());
    m[0][2] = 1.1e-9;
    EXPECT_FALSE(m.IsIdentity());
}

TEST(YdMatrix, IsIdentityNeedsExactOnesOnDiagonal) {
    YdMatrix m(3, 3);
    m.SetIdentity();
    m[1][1] = 1.0000000001;
    EXPECT_FALSE(m.IsIdentity());
    m[1][1] = 1.0;
    EXPECT_TRUE(m.IsIdentity());
}

TEST(YdMatrix, IsIdentityRejectsNaNOnTheDiagonalOnly) {
    YdMatrix m(3, 3);
    m.SetIdentity();
    m[2][2] = std::nan("");
    EXPECT_FALSE(m.IsIdentity());
    m[2][2] = 1.0;
    // Off the diagonal the test is "not above 1e-9", and a NaN is not above anything.
    m[2][0] = std::nan("");
    EXPECT_TRUE(m.IsIdentity());
    m[0][1] = 2e-9;
    EXPECT_FALSE(m.IsIdentity());
}

TEST(YdMatrix, PivotedLUOfSwapMatrix) {
    YdMatrix m = FromRows(2, 2, {0, 1, 1, 0});
    std::vector<int> pivots(2, -7);
    ASSERT_TRUE(m.LUDecompose(pivots));
    EXPECT_EQ(pivots[0], 1);
    EXPECT_EQ(pivots[1], 1);
    double b[2] = {2, 3};
    ASSERT_TRUE(m.GetSolutionAfterLUDecompose(pivots, b));
    EXPECT_EQ(b[0], 3.0);
    EXPECT_EQ(b[1], 2.0);
}

TEST(YdMatrix, PivotedLUFailsOnZeroRowBeforeElimination) {
    const std::vector<double> values = {4, 1, 2, 0, 0, 0, 1, 3, 5};
    YdMatrix m = FromRows(3, 3, values);
    std::vector<int> pivots(3, -7);
    EXPECT_FALSE(m.LUDecompose(pivots));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(pivots[i], -7) << "pivot " << i << " was written";
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(m[i][j], values[i * 3 + j]) << "element (" << i << ", " << j << ") moved";
        }
    }
}

TEST(YdMatrix, InverseOfSingularMatrixFailsAndKeepsIt) {
    const std::vector<double> values = {1, 2, 3, 2, 4, 6, 0, 1, 1};
    YdMatrix m = FromRows(3, 3, values);
    EXPECT_FALSE(m.Inverse());
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(m[i][j], values[i * 3 + j]) << "at (" << i << ", " << j << ")";
        }
    }
}

TEST(YdMatrix, JacobiOfDiagonalMatrixReturnsAtOnce) {
    YdMatrix m = FromRows(2, 2, {3, 0, 0, 1});
    YdMatrix vectors(2, 2);
    vectors[0][1] = 5.0;  // must be overwritten by the identity
    double values[2] = {0, 0};
    ASSERT_TRUE(m.JacobiEigen(values, vectors));
    EXPECT_EQ(values[0], 3.0);
    EXPECT_EQ(values[1], 1.0);
    EXPECT_TRUE(vectors.IsIdentity());
    EXPECT_EQ(vectors[0][1], 0.0);
}

TEST(YdMatrix, JacobiOfTwoByTwoConvergesInOneRotation) {
    YdMatrix m = FromRows(2, 2, {2, 1, 1, 2});
    YdMatrix vectors(2, 2);
    double values[2] = {0, 0};
    ASSERT_TRUE(m.JacobiEigen(values, vectors));
    EXPECT_NEAR(values[0], 3.0, 1e-15);
    EXPECT_NEAR(values[1], 1.0, 1e-15);
    // One rotation zeroes the off-diagonal pair outright and leaves a 45-degree rotation.
    EXPECT_EQ(m[0][1], 0.0);
    EXPECT_EQ(m[1][0], 0.0);
    const double h = std::sqrt(0.5);
    for (int i = 0; i < 2; ++i) {
        for (int j = 0; j < 2; ++j) {
            EXPECT_NEAR(std::fabs(vectors[i][j]), h, 1e-15) << "at (" << i << ", " << j << ")";
        }
    }
    // Column 0 belongs to 3: (1, 1) / sqrt(2) up to sign.
    EXPECT_NEAR(vectors[0][0], vectors[1][0], 1e-15);
    EXPECT_NEAR(vectors[0][1], -vectors[1][1], 1e-15);
}

TEST(YdMatrix, RotationAboutZByQuarterTurnMapsXToY) {
    const YdMatrix r = YdMatrix::s_GetRotationMatrix(YdVector(0, 0, 1), kPi / 2);
    ASSERT_EQ(r.GetRow(), 3);
    ASSERT_EQ(r.GetCol(), 3);
    EXPECT_TRUE(ydtest::VectorsNear(r * YdVector(1, 0, 0), YdVector(0, 1, 0), 1e-15));
    EXPECT_TRUE(ydtest::PointsNear(r * YdPoint(1, 0, 0), YdPoint(0, 1, 0), 1e-15));
}

TEST(YdMatrix, RotationBetweenOppositeDirectionsIsReflection) {
    const YdMatrix r = YdMatrix::s_GetRotationMatrix(YdVector(1, 0, 0), YdVector(-1, 0, 0));
    ASSERT_EQ(r.GetRow(), 3);
    ASSERT_EQ(r.GetCol(), 3);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const double expected = i != j ? 0.0 : (i == 2 ? -1.0 : 1.0);
            EXPECT_EQ(r[i][j], expected) << "at (" << i << ", " << j << ")";
        }
    }
}

TEST(YdMatrix, ToArrayWritesColumnMajor) {
    YdMatrix m(4, 4);
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            m[r][c] = 10.0 * r + c;
        }
    }
    double out[16];
    m.ToArray(out);
    EXPECT_EQ(out[4], m[0][1]);
    for (int r = 0; r < 4; ++r) {
        for (int c = 0; c < 4; ++c) {
            EXPECT_EQ(out[c * 4 + r], m[r][c]) << "at (" << r << ", " << c << ")";
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Storage and element-wise members

TEST(YdMatrix, DefaultIsEmpty) {
    const YdMatrix m;
    EXPECT_EQ(m.GetRow(), 0);
    EXPECT_EQ(m.GetCol(), 0);
    EXPECT_TRUE(StorageConsistent(m));
}

TEST(YdMatrix, ConstructorZeroFillsAndBuildsRowTable) {
    const YdMatrix m(3, 5);
    EXPECT_EQ(m.GetRow(), 3);
    EXPECT_EQ(m.GetCol(), 5);
    EXPECT_TRUE(StorageConsistent(m));
    EXPECT_EQ(MaxAbs(m), 0.0);
}

TEST(YdMatrix, NonPositiveDimensionsGiveEmptyMatrix) {
    for (const auto& dims : std::vector<std::pair<int, int>>{{0, 3}, {3, 0}, {-1, 2}, {2, -4}}) {
        YdMatrix m(dims.first, dims.second);
        EXPECT_EQ(m.GetRow(), 0) << dims.first << " x " << dims.second;
        EXPECT_EQ(m.GetCol(), 0) << dims.first << " x " << dims.second;
        EXPECT_TRUE(StorageConsistent(m));
        double junk[4] = {1, 2, 3, 4};
        m.Set(dims.first, dims.second, junk);
        EXPECT_EQ(m.GetRow(), 0);
        EXPECT_TRUE(StorageConsistent(m));
    }
    YdMatrix m(2, 2);
    m.Set(-3, 2, nullptr);
    EXPECT_EQ(m.GetRow(), 0);
    EXPECT_EQ(m.GetCol(), 0);
    EXPECT_TRUE(StorageConsistent(m));
}

TEST(YdMatrix, CopyAndAssignmentAreDeep) {
    YdMatrix a = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    YdMatrix b(a);
    YdMatrix c(7, 1);
    c = a;
    a[1][2] = -1.0;
    EXPECT_EQ(b[1][2], 6.0);
    EXPECT_EQ(c[1][2], 6.0);
    EXPECT_EQ(c.GetRow(), 2);
    EXPECT_EQ(c.GetCol(), 3);
    EXPECT_TRUE(StorageConsistent(b));
    EXPECT_TRUE(StorageConsistent(c));
    const YdMatrix& self = c;
    c = self;
    EXPECT_EQ(c[0][1], 2.0);
    YdMatrix empty;
    c = empty;
    EXPECT_TRUE(StorageConsistent(c));
    EXPECT_EQ(c.GetRow(), 0);
}

TEST(YdMatrix, SetCopiesRowMajorOrZeroFills) {
    double data[6] = {1, 2, 3, 4, 5, 6};
    YdMatrix m(1, 1);
    m.Set(3, 2, data);
    EXPECT_TRUE(StorageConsistent(m));
    EXPECT_EQ(m[0][1], 2.0);
    EXPECT_EQ(m[2][0], 5.0);
    m.Set(2, 2, nullptr);
    EXPECT_EQ(MaxAbs(m), 0.0);
    EXPECT_EQ(m.GetRow(), 2);
}

TEST(YdMatrix, SetFromItsOwnElementsReadsThemBeforeReleasing) {
    // The source may be the matrix's own storage (a reshape): it is read before the old
    // block is freed.
    YdMatrix m = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    m.Set(3, 2, m[0]);
    ASSERT_EQ(m.GetRow(), 3);
    ASSERT_EQ(m.GetCol(), 2);
    EXPECT_TRUE(StorageConsistent(m));
    const double want[6] = {1, 2, 3, 4, 5, 6};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 2; ++j) {
            EXPECT_EQ(m[i][j], want[i * 2 + j]) << "at (" << i << ", " << j << ")";
        }
    }
    m.Set(1, 2, m[1]);
    ASSERT_EQ(m.GetRow(), 1);
    EXPECT_EQ(m[0][0], 3.0);
    EXPECT_EQ(m[0][1], 4.0);
}

TEST(YdMatrix, TransposeSwapsDimensions) {
    YdMatrix m = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    m.Transpose();
    ASSERT_EQ(m.GetRow(), 3);
    ASSERT_EQ(m.GetCol(), 2);
    EXPECT_TRUE(StorageConsistent(m));
    EXPECT_EQ(m[0][1], 4.0);
    EXPECT_EQ(m[2][0], 3.0);
    EXPECT_EQ(m[2][1], 6.0);
}

TEST(YdMatrix, PlusAndScale) {
    YdMatrix a = FromRows(2, 2, {1, 2, 3, 4});
    YdMatrix b = FromRows(2, 2, {10, 20, 30, 40});
    const YdMatrix sum = a + b;
    EXPECT_EQ(sum[1][0], 33.0);
    EXPECT_EQ(a[1][0], 3.0);
    const YdMatrix scaled = a * -0.5;
    EXPECT_EQ(scaled[1][1], -2.0);
    EXPECT_EQ(scaled.GetRow(), 2);
}

TEST(YdMatrix, PlusOfMismatchedSizesAddsOverlap) {
    YdMatrix a = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    YdMatrix b = FromRows(3, 2, {10, 20, 30, 40, 50, 60});
    const YdMatrix sum = a + b;
    ASSERT_EQ(sum.GetRow(), 2);
    ASSERT_EQ(sum.GetCol(), 3);
    EXPECT_EQ(sum[0][0], 11.0);
    EXPECT_EQ(sum[1][1], 45.0);
    EXPECT_EQ(sum[0][2], 3.0);
    EXPECT_EQ(sum[1][2], 6.0);
    const YdMatrix other = b + a;
    ASSERT_EQ(other.GetRow(), 3);
    EXPECT_EQ(other[2][1], 60.0);
    YdMatrix empty;
    EXPECT_EQ((empty + a).GetRow(), 0);
}

TEST(YdMatrix, SetIdentityOnNonSquareSetsExistingDiagonal) {
    YdMatrix wide = FromRows(2, 3, {5, 5, 5, 5, 5, 5});
    wide.SetIdentity();
    EXPECT_EQ(wide[1][1], 1.0);
    EXPECT_EQ(wide[1][2], 0.0);
    YdMatrix tall = FromRows(3, 2, {5, 5, 5, 5, 5, 5});
    tall.SetIdentity();
    EXPECT_EQ(tall[1][1], 1.0);
    EXPECT_EQ(tall[2][0], 0.0);
    EXPECT_EQ(tall[2][1], 0.0);
}

TEST(YdMatrix, ToArrayOfSmallMatrixZeroFills) {
    YdMatrix m = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    double out[16];
    std::fill(out, out + 16, 99.0);
    m.ToArray(out);
    EXPECT_EQ(out[0], 1.0);
    EXPECT_EQ(out[1], 4.0);
    EXPECT_EQ(out[4], 2.0);
    EXPECT_EQ(out[8], 3.0);
    EXPECT_EQ(out[9], 6.0);
    for (int k : {2, 3, 6, 7, 10, 11, 12, 13, 14, 15}) {
        EXPECT_EQ(out[k], 0.0) << "at out[" << k << "]";
    }
    const YdMatrix empty;
    std::fill(out, out + 16, 99.0);
    empty.ToArray(out);
    for (int k = 0; k < 16; ++k) {
        EXPECT_EQ(out[k], 0.0) << "at out[" << k << "]";
    }
}

// ---------------------------------------------------------------------------------------------
// Free products

TEST(YdMatrixProducts, FourRowMatrixTranslatesPoints) {
    YdMatrix m(4, 4);
    m.SetIdentity();
    m[0][3] = 1.0;
    m[1][3] = -2.0;
    m[2][3] = 3.0;
    m[3][0] = 100.0;  // the fourth row is ignored
    EXPECT_TRUE(ydtest::PointsNear(m * YdPoint(1, 1, 1), YdPoint(2, -1, 4), 0.0));
    // Directions take no translation.
    EXPECT_TRUE(ydtest::VectorsNear(m * YdVector(1, 1, 1), YdVector(1, 1, 1), 0.0));
}

TEST(YdMatrixProducts, ThreeRowMatrixHasNoTranslation) {
    YdMatrix m = FromRows(3, 4, {0, -1, 0, 7, 1, 0, 0, 7, 0, 0, 2, 7});
    EXPECT_TRUE(ydtest::PointsNear(m * YdPoint(1, 2, 3), YdPoint(-2, 1, 6), 0.0));
}

TEST(YdMatrixProducts, OtherRowCountsGiveOrigin) {
    YdPoint p(1, 2, 3);
    p.m_nAttr1 = 5;
    for (int rows : {0, 1, 2, 5}) {
        YdMatrix m(rows, 4);
        for (int i = 0; i < rows; ++i) {
            m[i][i % 4] = 3.0;
        }
        const YdPoint q = m * p;
        EXPECT_TRUE(ydtest::PointsNear(q, YdPoint(0, 0, 0), 0.0)) << "rows = " << rows;
        EXPECT_EQ(q.m_nAttr1, 0);
    }
}

TEST(YdMatrixProducts, SmallMatricesCountMissingElementsAsZero) {
    YdMatrix m = FromRows(4, 2, {1, 2, 3, 4, 5, 6, 7, 8});
    EXPECT_TRUE(ydtest::PointsNear(m * YdPoint(1, 1, 1), YdPoint(3, 7, 11), 0.0));
    YdMatrix two = FromRows(2, 2, {1, 2, 3, 4});
    EXPECT_TRUE(ydtest::VectorsNear(two * YdVector(1, 1, 1), YdVector(3, 7, 0), 0.0));
    const YdMatrix empty;
    EXPECT_TRUE(ydtest::VectorsNear(empty * YdVector(1, 1, 1), YdVector(0, 0, 0), 0.0));
}

TEST(YdMatrixProducts, MatrixProductByHand) {
    const YdMatrix a = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    const YdMatrix b = FromRows(3, 2, {7, 8, 9, 10, 11, 12});
    const YdMatrix c = a * b;
    ASSERT_EQ(c.GetRow(), 2);
    ASSERT_EQ(c.GetCol(), 2);
    EXPECT_EQ(c[0][0], 58.0);
    EXPECT_EQ(c[0][1], 64.0);
    EXPECT_EQ(c[1][0], 139.0);
    EXPECT_EQ(c[1][1], 154.0);
}

TEST(YdMatrixProducts, MismatchedInnerDimensionUsesOverlap) {
    const YdMatrix a = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    const YdMatrix b = FromRows(2, 2, {1, 0, 0, 1});
    const YdMatrix c = a * b;
    ASSERT_EQ(c.GetRow(), 2);
    ASSERT_EQ(c.GetCol(), 2);
    EXPECT_EQ(c[0][0], 1.0);
    EXPECT_EQ(c[1][1], 5.0);
    const YdMatrix d = b * a;  // inner 2 vs 2: an ordinary product
    EXPECT_EQ(d[1][2], 6.0);
    const YdMatrix e = a * YdMatrix();
    EXPECT_EQ(e.GetRow(), 0);
    EXPECT_EQ(e.GetCol(), 0);
}

TEST(YdMatrixProducts, RotationComposition) {
    const YdMatrix r1 = YdMatrix::s_GetRotationMatrix(YdVector(1, 2, 3), 0.4);
    const YdMatrix r2 = YdMatrix::s_GetRotationMatrix(YdVector(1, 2, 3), 0.7);
    const YdMatrix r = YdMatrix::s_GetRotationMatrix(YdVector(1, 2, 3), 1.1);
    const YdMatrix prod = r1 * r2;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(prod[i][j], r[i][j], 1e-15) << "at (" << i << ", " << j << ")";
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Unpivoted pair

TEST(YdMatrixUnpivoted, SolvesDiagonallyDominantSystems) {
    std::mt19937 rng(11);
    for (int n = 1; n <= 30; n += 3) {
        const YdMatrix a = RandomWellConditioned(n, rng);
        YdMatrix lu(a);
        ASSERT_TRUE(lu.LUDecompose()) << "n = " << n;
        std::vector<double> b(n);
        std::vector<double> x(n, 0.0);
        std::uniform_real_distribution<double> u(-5.0, 5.0);
        for (double& v : b) {
            v = u(rng);
        }
        ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(b.data(), x.data())) << "n = " << n;
        EXPECT_LT(RelativeResidual(a, x, b), 1e-14) << "n = " << n;
    }
}

TEST(YdMatrixUnpivoted, FactorsMultiplyBack) {
    const YdMatrix a = FromRows(3, 3, {4, 3, 2, 2, 5, 1, 1, 2, 6});
    YdMatrix lu(a);
    ASSERT_TRUE(lu.LUDecompose());
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            double s = 0.0;
            for (int k = 0; k <= std::min(i, j); ++k) {
                const double l = k == i ? 1.0 : lu[i][k];
                s += l * lu[k][j];
            }
            EXPECT_NEAR(s, a[i][j], 1e-14) << "at (" << i << ", " << j << ")";
        }
    }
}

TEST(YdMatrixUnpivoted, SmallLeadingPivotFails) {
    YdMatrix m = FromRows(2, 2, {1e-10, 1, 1, 1});
    EXPECT_FALSE(m.LUDecompose());
}

TEST(YdMatrixUnpivoted, LastPivotIsLeftToTheSolve) {
    YdMatrix m = FromRows(2, 2, {1, 2, 2, 4});
    ASSERT_TRUE(m.LUDecompose());
    EXPECT_EQ(m[1][1], 0.0);
    double b[2] = {1, 1};
    double x[2] = {7, 7};
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(b, x));
    EXPECT_EQ(x[1], 7.0);
}

TEST(YdMatrixUnpivoted, PointSolveWorksPerCoordinate) {
    const YdMatrix a = FromRows(3, 3, {4, 1, 0, 1, 4, 1, 0, 1, 4});
    YdMatrix lu(a);
    ASSERT_TRUE(lu.LUDecompose());
    const std::vector<YdPoint> expected = {YdPoint(1, 2, 3), YdPoint(-1, 0, 2), YdPoint(5, 1, 1)};
    std::vector<YdPoint> b(3);
    for (int i = 0; i < 3; ++i) {
        for (int c = 0; c < 3; ++c) {
            double s = 0.0;
            for (int k = 0; k < 3; ++k) {
                s += a[i][k] * expected[k][c];
            }
            b[i][c] = s;
        }
    }
    std::vector<YdPoint> x(3);
    x[1].m_nAttr2 = 9;
    ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(b, x));
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(ydtest::PointsNear(x[i], expected[i], 1e-14)) << "at point " << i;
    }
    EXPECT_EQ(x[1].m_nAttr2, 9);
}

TEST(YdMatrixUnpivoted, BadSizesFail) {
    YdMatrix a = FromRows(2, 2, {2, 1, 1, 2});
    ASSERT_TRUE(a.LUDecompose());
    std::vector<YdPoint> b(2);
    std::vector<YdPoint> shortX(1);
    EXPECT_FALSE(a.GetSolutionAfterLUDecompose(b, shortX));
    std::vector<YdPoint> shortB(1);
    std::vector<YdPoint> x(2);
    EXPECT_FALSE(a.GetSolutionAfterLUDecompose(shortB, x));

    YdMatrix wide = FromRows(2, 3, {2, 1, 1, 1, 2, 1});
    EXPECT_TRUE(wide.LUDecompose());
    double bd[3] = {1, 1, 1};
    double xd[3] = {5, 5, 5};
    EXPECT_FALSE(wide.GetSolutionAfterLUDecompose(bd, xd));
    EXPECT_EQ(xd[0], 5.0);
    YdMatrix tall = FromRows(3, 2, {2, 1, 1, 2, 1, 1});
    EXPECT_TRUE(tall.LUDecompose());
    EXPECT_FALSE(tall.GetSolutionAfterLUDecompose(bd, xd));

    YdMatrix empty;
    EXPECT_TRUE(empty.LUDecompose());
    EXPECT_TRUE(empty.GetSolutionAfterLUDecompose(bd, xd));
}

// ---------------------------------------------------------------------------------------------
// Pivoted pair

TEST(YdMatrixPivoted, SolvesRandomWellConditionedSystems) {
    std::mt19937 rng(5);
    for (int n = 1; n <= 60; n += 7) {
        const YdMatrix a = RandomMatrix(n, n, rng);
        YdMatrix check(a);
        ASSERT_TRUE(check.Inverse()) << "n = " << n;  // random matrices are regular
        YdMatrix lu(a);
        std::vector<int> pivots(n);
        ASSERT_TRUE(lu.LUDecompose(pivots)) << "n = " << n;
        std::vector<double> b(n);
        std::uniform_real_distribution<double> u(-5.0, 5.0);
        for (double& v : b) {
            v = u(rng);
        }
        std::vector<double> x(b);
        ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(pivots, x.data()));
        EXPECT_LT(RelativeResidual(a, x, b), 1e-12) << "n = " << n;
    }
}

TEST(YdMatrixPivoted, PointSolveMatchesScalarSolves) {
    std::mt19937 rng(8);
    const int n = 9;
    YdMatrix lu = RandomWellConditioned(n, rng);
    std::vector<int> pivots(n);
    ASSERT_TRUE(lu.LUDecompose(pivots));
    std::vector<YdPoint> pts(n);
    std::vector<std::vector<double>> coords(3, std::vector<double>(n));
    std::uniform_real_distribution<double> u(-5.0, 5.0);
    for (int i = 0; i < n; ++i) {
        pts[i] = YdPoint(u(rng), u(rng), u(rng));
        pts[i].m_nAttr3 = i;
        for (int c = 0; c < 3; ++c) {
            coords[c][i] = pts[i][c];
        }
    }
    ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(pivots, pts));
    for (int c = 0; c < 3; ++c) {
        ASSERT_TRUE(lu.GetSolutionAfterLUDecompose(pivots, coords[c].data()));
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(pts[i][c], coords[c][i]) << "coordinate " << c << " of point " << i;
        }
    }
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(pts[i].m_nAttr3, i) << "host attribute of point " << i << " moved";
    }
}

TEST(YdMatrixPivoted, TiesGoToTheLaterRow) {
    YdMatrix m = FromRows(2, 2, {1, 0, 1, 1});
    std::vector<int> pivots(2);
    ASSERT_TRUE(m.LUDecompose(pivots));
    EXPECT_EQ(pivots[0], 1);
    EXPECT_EQ(m[0][0], 1.0);
    EXPECT_EQ(m[0][1], 1.0);
    double b[2] = {2, 5};  // x = (2, 3)
    ASSERT_TRUE(m.GetSolutionAfterLUDecompose(pivots, b));
    EXPECT_EQ(b[0], 2.0);
    EXPECT_EQ(b[1], 3.0);
}

TEST(YdMatrixPivoted, ScaledSearchPrefersRelativelyLargerEntry) {
    // Unscaled, row 0 would win (10 > 1); scaled by the row maxima, row 1 wins (1 > 0.1).
    YdMatrix m = FromRows(2, 2, {10, 100, 1, 0.5});
    std::vector<int> pivots(2);
    ASSERT_TRUE(m.LUDecompose(pivots));
    EXPECT_EQ(pivots[0], 1);
}

TEST(YdMatrixPivoted, SingularMatrixFails) {
    YdMatrix m = FromRows(3, 3, {1, 2, 3, 2, 4, 6, 1, 0, 1});
    std::vector<int> pivots(3);
    EXPECT_FALSE(m.LUDecompose(pivots));
}

TEST(YdMatrixPivoted, TinyPivotIsNotReplaced) {
    YdMatrix m = FromRows(2, 2, {1, 1, 1, 1 + 1e-12});
    std::vector<int> pivots(2);
    EXPECT_FALSE(m.LUDecompose(pivots));
}

TEST(YdMatrixPivoted, NonSquareFailsUntouched) {
    YdMatrix m = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    std::vector<int> pivots(3, -1);
    EXPECT_FALSE(m.LUDecompose(pivots));
    EXPECT_EQ(m[0][0], 1.0);
    EXPECT_EQ(pivots[0], -1);
    double b[3] = {1, 2, 3};
    std::vector<int> fine = {0, 1, 2};
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(fine, b));
    EXPECT_EQ(b[0], 1.0);
}

TEST(YdMatrixPivoted, ShortOrBadPivotsFail) {
    YdMatrix m = FromRows(2, 2, {2, 1, 1, 2});
    std::vector<int> shortPivots(1);
    EXPECT_FALSE(m.LUDecompose(shortPivots));
    EXPECT_EQ(m[0][0], 2.0);
    std::vector<int> pivots(2);
    ASSERT_TRUE(m.LUDecompose(pivots));
    double b[2] = {3, 3};
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(shortPivots, b));
    std::vector<int> wild = {0, 2};
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(wild, b));
    std::vector<int> negative = {-1, 1};
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(negative, b));
    EXPECT_EQ(b[0], 3.0);
    std::vector<YdPoint> shortB(1);
    EXPECT_FALSE(m.GetSolutionAfterLUDecompose(pivots, shortB));
    ASSERT_TRUE(m.GetSolutionAfterLUDecompose(pivots, b));
    EXPECT_NEAR(b[0], 1.0, 1e-15);
    EXPECT_NEAR(b[1], 1.0, 1e-15);
}

TEST(YdMatrixPivoted, SolveSkipsTinyLeadingEntries) {
    // L has the multiplier 0.5 under the first pivot. The leading 1e-11 is not above the
    // threshold, so it is kept as it is but left out of the second row's sum: x1 comes out
    // as exactly 1 instead of 1 - 0.5e-11.
    YdMatrix m = FromRows(2, 2, {1, 0, 0.5, 1});
    std::vector<int> pivots(2);
    ASSERT_TRUE(m.LUDecompose(pivots));
    ASSERT_EQ(pivots[0], 0);
    EXPECT_EQ(m[1][0], 0.5);
    double b[2] = {1e-11, 1};
    ASSERT_TRUE(m.GetSolutionAfterLUDecompose(pivots, b));
    EXPECT_EQ(b[0], 1e-11);
    EXPECT_EQ(b[1], 1.0);
    double c[2] = {2e-10, 1};  // above the threshold: taken into the sum
    ASSERT_TRUE(m.GetSolutionAfterLUDecompose(pivots, c));
    EXPECT_EQ(c[1], 1.0 - 0.5 * 2e-10);
}

TEST(YdMatrixPivoted, EmptyMatrixSucceeds) {
    YdMatrix m;
    std::vector<int> pivots;
    EXPECT_TRUE(m.LUDecompose(pivots));
    EXPECT_TRUE(m.GetSolutionAfterLUDecompose(pivots, static_cast<double*>(nullptr)));
    EXPECT_TRUE(m.Inverse());
}

// ---------------------------------------------------------------------------------------------
// Inverse

TEST(YdMatrixInverse, InverseTimesOriginalIsIdentity) {
    std::mt19937 rng(21);
    for (int n = 1; n <= 25; n += 4) {
        const YdMatrix a = RandomWellConditioned(n, rng);
        YdMatrix inv(a);
        ASSERT_TRUE(inv.Inverse()) << "n = " << n;
        const YdMatrix left = inv * a;
        const YdMatrix right = a * inv;
        for (int i = 0; i < n; ++i) {
            for (int j = 0; j < n; ++j) {
                const double e = i == j ? 1.0 : 0.0;
                EXPECT_NEAR(left[i][j], e, 1e-13) << "n = " << n << " at (" << i << ", " << j;
                EXPECT_NEAR(right[i][j], e, 1e-13) << "n = " << n << " at (" << i << ", " << j;
            }
        }
    }
}

TEST(YdMatrixInverse, RotationInverseIsTranspose) {
    YdMatrix r = YdMatrix::s_GetRotationMatrix(YdVector(0.3, -1, 2), 2.2);
    YdMatrix t(r);
    t.Transpose();
    ASSERT_TRUE(r.Inverse());
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_NEAR(r[i][j], t[i][j], 1e-15) << "at (" << i << ", " << j << ")";
        }
    }
}

TEST(YdMatrixInverse, NonSquareAndZeroRowFailUnchanged) {
    YdMatrix wide = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    EXPECT_FALSE(wide.Inverse());
    EXPECT_EQ(wide.GetCol(), 3);
    EXPECT_EQ(wide[1][2], 6.0);
    YdMatrix zeroRow = FromRows(2, 2, {0, 0, 1, 1});
    EXPECT_FALSE(zeroRow.Inverse());
    EXPECT_EQ(zeroRow[1][0], 1.0);
}

// ---------------------------------------------------------------------------------------------
// Normal matrix

TEST(YdMatrixNormal, FullProductWithoutLimits) {
    std::mt19937 rng(3);
    YdMatrix a = RandomMatrix(7, 4, rng);
    double maxAbs = -1.0;
    const YdMatrix n = a.GetNormalMatrix(nullptr, nullptr, &maxAbs);
    ASSERT_EQ(n.GetRow(), 4);
    ASSERT_EQ(n.GetCol(), 4);
    double big = 0.0;
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            double s = 0.0;
            for (int k = 0; k < 7; ++k) {
                s += a[k][i] * a[k][j];
            }
            EXPECT_EQ(n[i][j], s) << "at (" << i << ", " << j << ")";
            EXPECT_EQ(n[i][j], n[j][i]);
            big = std::max(big, std::fabs(s));
        }
    }
    EXPECT_EQ(maxAbs, big);
}

TEST(YdMatrixNormal, BandLimitsGiveTheSameProduct) {
    // A collocation-like matrix: column j is non-zero in rows j .. j + 2 only.
    std::mt19937 rng(4);
    std::uniform_real_distribution<double> u(0.1, 1.0);
    const int m = 8;
    const int n = 6;
    YdMatrix a(m, n);
    std::vector<int> first(n);
    std::vector<int> last(n);
    for (int j = 0; j < n; ++j) {
        first[j] = j;
        last[j] = j + 2;
        for (int k = first[j]; k <= last[j]; ++k) {
            a[k][j] = u(rng);
        }
    }
    const YdMatrix full = a.GetNormalMatrix(nullptr, nullptr, nullptr);
    double maxAbs = 0.0;
    const YdMatrix banded = a.GetNormalMatrix(first.data(), last.data(), &maxAbs);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            EXPECT_EQ(banded[i][j], full[i][j]) << "at (" << i << ", " << j << ")";
        }
    }
    EXPECT_EQ(banded[0][4], 0.0);
    EXPECT_GT(maxAbs, 0.0);
}

TEST(YdMatrixNormal, LimitsOutsideTheRowsAreClamped) {
    std::mt19937 rng(6);
    YdMatrix a = RandomMatrix(5, 3, rng);
    std::vector<int> first = {-4, -1, 0};
    std::vector<int> last = {4, 50, 1000};
    const YdMatrix full = a.GetNormalMatrix(nullptr, nullptr, nullptr);
    const YdMatrix clamped = a.GetNormalMatrix(first.data(), last.data(), nullptr);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            EXPECT_EQ(clamped[i][j], full[i][j]) << "at (" << i << ", " << j << ")";
        }
    }
    std::vector<int> onlyFirst = {1, 1, 1};
    const YdMatrix partial = a.GetNormalMatrix(onlyFirst.data(), nullptr, nullptr);
    double s = 0.0;
    for (int k = 1; k < 5; ++k) {
        s += a[k][0] * a[k][2];
    }
    EXPECT_EQ(partial[0][2], s);
}

TEST(YdMatrixNormal, EmptyMatrixGivesEmptyResult) {
    YdMatrix a;
    double maxAbs = -1.0;
    const YdMatrix n = a.GetNormalMatrix(nullptr, nullptr, &maxAbs);
    EXPECT_EQ(n.GetRow(), 0);
    EXPECT_EQ(maxAbs, 0.0);
}

// ---------------------------------------------------------------------------------------------
// Jacobi

TEST(YdMatrixJacobi, RandomSymmetricEigenpairs) {
    std::mt19937 rng(13);
    for (int trial = 0; trial < 50; ++trial) {
        YdMatrix a = RandomMatrix(3, 3, rng);
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < i; ++j) {
                a[j][i] = a[i][j];
            }
        }
        YdMatrix work(a);
        YdMatrix v(3, 3);
        double values[3];
        ASSERT_TRUE(work.JacobiEigen(values, v)) << "trial " << trial;
        for (int k = 0; k < 3; ++k) {
            const YdVector col(v[0][k], v[1][k], v[2][k]);
            EXPECT_NEAR(col.Magnitude(), 1.0, 1e-12) << "trial " << trial << " vector " << k;
            EXPECT_EQ(values[k], work[k][k]);
            const YdVector av = a * col;
            EXPECT_TRUE(ydtest::VectorsNear(av, col * values[k], 1e-5))
                << "trial " << trial << " eigenpair " << k;
        }
        // The eigenvectors are mutually orthogonal and the values keep the trace.
        for (int k = 0; k < 3; ++k) {
            for (int l = k + 1; l < 3; ++l) {
                const double dot = v[0][k] * v[0][l] + v[1][k] * v[1][l] + v[2][k] * v[2][l];
                EXPECT_NEAR(dot, 0.0, 1e-12) << "trial " << trial;
            }
        }
        EXPECT_NEAR(values[0] + values[1] + values[2], a[0][0] + a[1][1] + a[2][2], 1e-12);
    }
}

TEST(YdMatrixJacobi, GivesUpAfterSixtyRotations) {
    // A dense 20 x 20 symmetric matrix has 190 off-diagonal pairs; 60 rotations cannot bring
    // them all below the bound.
    std::mt19937 rng(17);
    YdMatrix a = RandomMatrix(20, 20, rng);
    for (int i = 0; i < 20; ++i) {
        for (int j = 0; j < i; ++j) {
            a[j][i] = a[i][j];
        }
    }
    YdMatrix v(20, 20);
    std::vector<double> values(20, 42.0);
    EXPECT_FALSE(a.JacobiEigen(values.data(), v));
    for (double x : values) {
        EXPECT_EQ(x, 42.0);
    }
}

TEST(YdMatrixJacobi, SixtyRotationsAreAllowedSixtyOneAreNot) {
    // Independent 2 x 2 blocks [[2, h], [h, 2]] each need exactly one rotation, which zeroes
    // the pair outright and touches no other block.
    for (int blocks : {60, 61}) {
        const int n = 2 * blocks;
        YdMatrix a(n, n);
        for (int b = 0; b < blocks; ++b) {
            a[2 * b][2 * b] = 2.0;
            a[2 * b + 1][2 * b + 1] = 2.0;
            a[2 * b][2 * b + 1] = a[2 * b + 1][2 * b] = 1.0 + 0.01 * b;
        }
        YdMatrix v(n, n);
        std::vector<double> values(n, 0.0);
        EXPECT_EQ(a.JacobiEigen(values.data(), v), blocks == 60) << blocks << " blocks";
        if (blocks == 60) {
            EXPECT_NEAR(values[0] + values[1], 4.0, 1e-14);
            EXPECT_NEAR(std::fabs(values[118] - values[119]), 2.0 * (1.0 + 0.59), 1e-14);
        }
    }
}

TEST(YdMatrixJacobi, BadShapesFailUntouched) {
    YdMatrix wide = FromRows(2, 3, {1, 2, 3, 4, 5, 6});
    YdMatrix v3(3, 3);
    double values[3] = {7, 7, 7};
    EXPECT_FALSE(wide.JacobiEigen(values, v3));
    YdMatrix sq = FromRows(2, 2, {2, 1, 1, 2});
    YdMatrix v3b(3, 3);
    EXPECT_FALSE(sq.JacobiEigen(values, v3b));
    EXPECT_EQ(values[0], 7.0);
    EXPECT_EQ(sq[0][1], 1.0);
    EXPECT_EQ(v3b[0][0], 0.0);
}

// ---------------------------------------------------------------------------------------------
// Rotations

TEST(YdMatrixRotation, AxisAngleIsOrthonormalWithUnitDeterminant) {
    std::mt19937 rng(23);
    std::uniform_real_distribution<double> u(-2.0, 2.0);
    for (int trial = 0; trial < 100; ++trial) {
        const YdVector axis(u(rng), u(rng), u(rng));
        const double angle = 4.0 * u(rng);
        const YdMatrix r = YdMatrix::s_GetRotationMatrix(axis, angle);
        YdMatrix rt(r);
        rt.Transpose();
        const YdMatrix p = rt * r;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_NEAR(p[i][j], i == j ? 1.0 : 0.0, 1e-14) << "trial " << trial;
            }
        }
        EXPECT_NEAR(Det3(r), 1.0, 1e-14) << "trial " << trial;
        // The axis is fixed, and the turn about it is counter-clockwise by angle.
        YdVector unitAxis(axis);
        unitAxis.Normalize();
        EXPECT_TRUE(ydtest::VectorsNear(r * unitAxis, unitAxis, 1e-14)) << "trial " << trial;
        YdVector ortho = unitAxis * YdVector(1, 0, 0);
        if (ortho.Magnitude() < 0.1) {
            ortho = unitAxis * YdVector(0, 1, 0);
        }
        ortho.Normalize();
        const YdVector turned = r * ortho;
        EXPECT_NEAR(turned % ortho, std::cos(angle), 1e-14) << "trial " << trial;
        EXPECT_NEAR((ortho * turned) % unitAxis, std::sin(angle), 1e-14) << "trial " << trial;
    }
}

TEST(YdMatrixRotation, ZeroAxisGivesIdentity) {
    const YdMatrix r = YdMatrix::s_GetRotationMatrix(YdVector(0, 5e-8, 0), 1.0);
    EXPECT_TRUE(r.IsIdentity());
    EXPECT_EQ(r.GetRow(), 3);
}

TEST(YdMatrixRotation, FromToMapsDirectionOntoDirection) {
    std::mt19937 rng(29);
    std::uniform_real_distribution<double> u(-3.0, 3.0);
    for (int trial = 0; trial < 50; ++trial) {
        const YdVector from(u(rng), u(rng), u(rng));
        const YdVector to(u(rng), u(rng), u(rng));
        const YdMatrix r = YdMatrix::s_GetRotationMatrix(from, to);
        YdVector image = r * from;
        image.Normalize();
        YdVector target(to);
        target.Normalize();
        EXPECT_TRUE(ydtest::VectorsNear(image, target, 1e-13)) << "trial " << trial;
        EXPECT_NEAR(Det3(r), 1.0, 1e-14) << "trial " << trial;
    }
}

TEST(YdMatrixRotation, FromToOfParallelDirectionsIsIdentity) {
    const YdMatrix same = YdMatrix::s_GetRotationMatrix(YdVector(0, 2, 0), YdVector(0, 5, 0));
    EXPECT_TRUE(same.IsIdentity());
    // Short inputs count as parallel sooner: the cross product is tested unnormalised.
    const YdMatrix shortOnes =
        YdMatrix::s_GetRotationMatrix(YdVector(1e-4, 0, 0), YdVector(0, 1e-4, 0));
    EXPECT_TRUE(shortOnes.IsIdentity());
    const YdMatrix opposite = YdMatrix::s_GetRotationMatrix(YdVector(0, 0, 3), YdVector(0, 0, -1));
    EXPECT_EQ(opposite[2][2], -1.0);
    EXPECT_EQ(opposite[0][0], 1.0);
    EXPECT_EQ(opposite[1][1], 1.0);
}
