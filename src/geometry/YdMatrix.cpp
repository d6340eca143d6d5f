// SPDX-License-Identifier: MIT

// Reference: LU factorisation without pivoting (Doolittle) and Crout's method with implicit row
// scaling and partial pivoting (Press et al., Numerical Recipes, section 2.3); the classical Jacobi
// eigenvalue method, which rotates away the largest off-diagonal element (Golub and Van Loan,
// Matrix Computations, section 8.5); rotation matrices by Rodrigues' formula.

#include "YdNurbsLib/geometry/YdMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "IndexCast.h"
#include "YdNurbsLib/geometry/YdTolerances.h"

using yd_detail::idx;

namespace {

constexpr int kJacobiMaxRotations = 60;

/// Element (r, c), or 0.0 when the matrix has no such element.
double ElementOrZero(const YdMatrix& m, int r, int c) {
    if (r < m.GetRow() && c < m.GetCol()) {
        return m[r][c];
    }
    return 0.0;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Storage

YdMatrix::YdMatrix() : m_nRow(0), m_nCol(0), m_pData(nullptr), m_ppRow(nullptr) {}

YdMatrix::YdMatrix(int rows, int cols) : m_nRow(0), m_nCol(0), m_pData(nullptr), m_ppRow(nullptr) {
    Allocate(rows, cols);
}

YdMatrix::YdMatrix(const YdMatrix& m) : m_nRow(0), m_nCol(0), m_pData(nullptr), m_ppRow(nullptr) {
    Allocate(m.m_nRow, m.m_nCol);
    if (m_pData != nullptr) {
        std::memcpy(m_pData, m.m_pData, idx(m_nRow) * idx(m_nCol) * sizeof(double));
    }
}

YdMatrix::~YdMatrix() {
    Release();
}

YdMatrix& YdMatrix::operator=(const YdMatrix& m) {
    if (this != &m) {
        Release();
        Allocate(m.m_nRow, m.m_nCol);
        if (m_pData != nullptr) {
            std::memcpy(m_pData, m.m_pData, idx(m_nRow) * idx(m_nCol) * sizeof(double));
        }
    }
    return *this;
}

void YdMatrix::Allocate(int rows, int cols) {
    if (rows <= 0 || cols <= 0) {
        // A matrix with no elements is always the canonical empty one, so no member ever
        // sees a row count with no rows behind it.
        m_nRow = 0;
        m_nCol = 0;
        m_pData = nullptr;
        m_ppRow = nullptr;
        return;
    }
    const std::size_t count = idx(rows) * idx(cols);
    double* data = new double[count]();
    double** table = nullptr;
    try {
        table = new double*[idx(rows)];
    } catch (...) {
        delete[] data;
        throw;
    }
    for (int i = 0; i < rows; ++i) {
        table[i] = data + idx(i) * idx(cols);
    }
    m_nRow = rows;
    m_nCol = cols;
    m_pData = data;
    m_ppRow = table;
}

void YdMatrix::Release() {
    delete[] m_ppRow;
    delete[] m_pData;
    m_ppRow = nullptr;
    m_pData = nullptr;
    m_nRow = 0;
    m_nCol = 0;
}

// ---------------------------------------------------------------------------------------------
// Element-wise operations

YdMatrix YdMatrix::operator+(const YdMatrix& b) {
    YdMatrix result(*this);
    const int rows = std::min(m_nRow, b.m_nRow);
    const int cols = std::min(m_nCol, b.m_nCol);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j) {
            result.m_ppRow[i][j] += b.m_ppRow[i][j];
        }
    }
    return result;
}

YdMatrix YdMatrix::operator*(double s) {
    YdMatrix result(m_nRow, m_nCol);
    for (int i = 0; i < m_nRow; ++i) {
        for (int j = 0; j < m_nCol; ++j) {
            result.m_ppRow[i][j] = m_ppRow[i][j] * s;
        }
    }
    return result;
}

void YdMatrix::Set(int rows, int cols, double* data) {
    // The new block is filled before the old one is freed, so data may point into this
    // matrix's own elements.
    YdMatrix fresh(rows, cols);
    if (data != nullptr && fresh.m_pData != nullptr) {
        std::memcpy(fresh.m_pData, data, idx(fresh.m_nRow) * idx(fresh.m_nCol) * sizeof(double));
    }
    Release();
    m_nRow = fresh.m_nRow;
    m_nCol = fresh.m_nCol;
    m_pData = fresh.m_pData;
    m_ppRow = fresh.m_ppRow;
    fresh.m_nRow = 0;
    fresh.m_nCol = 0;
    fresh.m_pData = nullptr;
    fresh.m_ppRow = nullptr;
}

void YdMatrix::SetIdentity() {
    for (int i = 0; i < m_nRow; ++i) {
        for (int j = 0; j < m_nCol; ++j) {
            m_ppRow[i][j] = 0.0;
        }
    }
    const int diag = std::min(m_nRow, m_nCol);
    for (int i = 0; i < diag; ++i) {
        m_ppRow[i][i] = 1.0;
    }
}

bool YdMatrix::IsIdentity() const {
    for (int i = 0; i < m_nRow; ++i) {
        for (int j = 0; j < m_nCol; ++j) {
            const double v = m_ppRow[i][j];
            // Written as the two rejections: a diagonal that is not exactly 1 (a NaN is not),
            // an off-diagonal above the bound (a NaN is not above it, so it passes).
            if (i == j) {
                if (v != 1.0) {
                    return false;
                }
            } else if (std::fabs(v) > kTol1e9) {
                return false;
            }
        }
    }
    return true;
}

void YdMatrix::Transpose() {
    YdMatrix t(m_nCol, m_nRow);
    for (int i = 0; i < m_nRow; ++i) {
        for (int j = 0; j < m_nCol; ++j) {
            t.m_ppRow[j][i] = m_ppRow[i][j];
        }
    }
    *this = t;
}

void YdMatrix::ToArray(double* const out) const {
    for (int k = 0; k < 16; ++k) {
        out[k] = 0.0;
    }
    const int rows = std::min(m_nRow, 4);
    const int cols = std::min(m_nCol, 4);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < cols; ++c) {
            out[c * 4 + r] = m_ppRow[r][c];
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Unpivoted pair

bool YdMatrix::LUDecompose() {
    double** a = m_ppRow;
    for (int i = 0; i < m_nRow; ++i) {
        // U part of row i.
        for (int j = i; j < m_nCol; ++j) {
            double s = a[i][j];
            for (int k = 0; k < i; ++k) {
                s -= a[i][k] * a[k][j];
            }
            a[i][j] = s;
        }
        // L part of column i. The bound is the column count on purpose (the matrices given
        // are square); rows that do not exist are skipped. The pivot is tested only when a
        // multiplier is due, so the last diagonal is left to the solve. Here the products are
        // summed first and the sum subtracted once, unlike the U part: the two orders differ
        // in the last bit, and hosts compare factors made this way.
        for (int j = i + 1; j < m_nCol; ++j) {
            if (std::fabs(a[i][i]) < kTol1e9) {
                return false;
            }
            if (j >= m_nRow) {
                continue;
            }
            double s = 0.0;
            for (int k = 0; k < i; ++k) {
                s += a[j][k] * a[k][i];
            }
            a[j][i] = (a[j][i] - s) / a[i][i];
        }
    }
    return true;
}

bool YdMatrix::GetSolutionAfterLUDecompose(double* b, double* x) {
    if (m_nRow != m_nCol) {
        return false;
    }
    const int n = m_nRow;
    double** a = m_ppRow;
    std::vector<double> y(idx(n));
    for (int i = 0; i < n; ++i) {
        double s = b[i];
        for (int k = 0; k < i; ++k) {
            s -= a[i][k] * y[k];
        }
        y[i] = s;
    }
    for (int i = n - 1; i >= 0; --i) {
        if (std::fabs(a[i][i]) < kTol1e9) {
            return false;
        }
        double s = y[i];
        for (int k = i + 1; k < n; ++k) {
            s -= a[i][k] * x[k];
        }
        x[i] = s / a[i][i];
    }
    return true;
}

bool YdMatrix::GetSolutionAfterLUDecompose(const std::vector<YdPoint>& b, std::vector<YdPoint>& x) {
    if (m_nRow != m_nCol || b.size() < idx(m_nRow) || x.size() < idx(m_nRow)) {
        return false;
    }
    const int n = m_nRow;
    double** a = m_ppRow;
    for (int c = 0; c < 3; ++c) {
        std::vector<double> y(idx(n));
        for (int i = 0; i < n; ++i) {
            double s = b[i][c];
            for (int k = 0; k < i; ++k) {
                s -= a[i][k] * y[k];
            }
            y[i] = s;
        }
        for (int i = n - 1; i >= 0; --i) {
            if (std::fabs(a[i][i]) < kTol1e9) {
                return false;
            }
            double s = y[i];
            for (int k = i + 1; k < n; ++k) {
                s -= a[i][k] * x[k][c];
            }
            x[i][c] = s / a[i][i];
        }
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// Pivoted pair

bool YdMatrix::LUDecompose(std::vector<int>& pivots) {
    if (m_nRow != m_nCol || pivots.size() < idx(m_nRow)) {
        return false;
    }
    const int n = m_nRow;
    double** a = m_ppRow;

    std::vector<double> scale(idx(n));
    for (int i = 0; i < n; ++i) {
        double big = 0.0;
        for (int j = 0; j < n; ++j) {
            const double v = std::fabs(a[i][j]);
            if (v > big) {
                big = v;
            }
        }
        if (big < kTol1e10) {
            return false;
        }
        scale[i] = 1.0 / big;
    }

    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < j; ++i) {
            double s = a[i][j];
            for (int k = 0; k < i; ++k) {
                s -= a[i][k] * a[k][j];
            }
            a[i][j] = s;
        }
        double big = 0.0;
        int imax = j;
        for (int i = j; i < n; ++i) {
            double s = a[i][j];
            for (int k = 0; k < j; ++k) {
                s -= a[i][k] * a[k][j];
            }
            a[i][j] = s;
            const double d = scale[i] * std::fabs(s);
            if (d >= big) {  // ties go to the later row
                big = d;
                imax = i;
            }
        }
        if (imax != j) {
            std::swap_ranges(a[imax], a[imax] + n, a[j]);
            scale[imax] = scale[j];
        }
        pivots[j] = imax;
        if (std::fabs(a[j][j]) < kTol1e10) {
            return false;
        }
        if (j != n - 1) {
            const double r = 1.0 / a[j][j];
            for (int i = j + 1; i < n; ++i) {
                a[i][j] *= r;
            }
        }
    }
    return true;
}

namespace {

/// True when the matrix is square and pivots holds n indices in [0, n).
bool PivotsUsable(int rows, int cols, const std::vector<int>& pivots) {
    if (rows != cols || pivots.size() < idx(rows)) {
        return false;
    }
    for (int i = 0; i < rows; ++i) {
        if (pivots[i] < 0 || pivots[i] >= rows) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool YdMatrix::GetSolutionAfterLUDecompose(const std::vector<int>& pivots, double* b) {
    if (!PivotsUsable(m_nRow, m_nCol, pivots)) {
        return false;
    }
    const int n = m_nRow;
    double** a = m_ppRow;
    int first = -1;
    for (int i = 0; i < n; ++i) {
        const int p = pivots[i];
        double s = b[p];
        b[p] = b[i];
        if (first >= 0) {
            for (int k = first; k < i; ++k) {
                s -= a[i][k] * b[k];
            }
        } else if (std::fabs(s) > kTol1e10) {
            first = i;
        }
        b[i] = s;
    }
    for (int i = n - 1; i >= 0; --i) {
        double s = b[i];
        for (int k = i + 1; k < n; ++k) {
            s -= a[i][k] * b[k];
        }
        b[i] = s / a[i][i];
    }
    return true;
}

bool YdMatrix::GetSolutionAfterLUDecompose(const std::vector<int>& pivots,
                                           std::vector<YdPoint>& b) {
    if (!PivotsUsable(m_nRow, m_nCol, pivots) || b.size() < idx(m_nRow)) {
        return false;
    }
    const int n = m_nRow;
    double** a = m_ppRow;
    for (int c = 0; c < 3; ++c) {
        int first = -1;
        for (int i = 0; i < n; ++i) {
            const int p = pivots[i];
            double s = b[p][c];
            b[p][c] = b[i][c];
            if (first >= 0) {
                for (int k = first; k < i; ++k) {
                    s -= a[i][k] * b[k][c];
                }
            } else if (std::fabs(s) > kTol1e10) {
                first = i;
            }
            b[i][c] = s;
        }
        for (int i = n - 1; i >= 0; --i) {
            double s = b[i][c];
            for (int k = i + 1; k < n; ++k) {
                s -= a[i][k] * b[k][c];
            }
            b[i][c] = s / a[i][i];
        }
    }
    return true;
}

bool YdMatrix::Inverse() {
    YdMatrix lu(*this);
    std::vector<int> pivots(idx(m_nRow));
    if (!lu.LUDecompose(pivots)) {
        return false;
    }
    const int n = m_nRow;
    std::vector<double> column(idx(n));
    for (int c = 0; c < n; ++c) {
        std::fill(column.begin(), column.end(), 0.0);
        column[c] = 1.0;
        lu.GetSolutionAfterLUDecompose(pivots, column.data());
        for (int r = 0; r < n; ++r) {
            m_ppRow[r][c] = column[r];
        }
    }
    return true;
}

// ---------------------------------------------------------------------------------------------
// Normal matrix, eigen-solver, rotations

YdMatrix YdMatrix::GetNormalMatrix(int* first, int* last, double* maxAbs) {
    const int m = m_nRow;
    const int n = m_nCol;
    std::vector<int> defaultFirst;
    std::vector<int> defaultLast;
    if (first == nullptr) {
        defaultFirst.assign(idx(n), 0);
        first = defaultFirst.data();
    }
    if (last == nullptr) {
        defaultLast.assign(idx(n), m - 1);
        last = defaultLast.data();
    }
    YdMatrix result(n, n);
    double biggest = 0.0;
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            // Limits outside the existing rows are clamped: they would only add exact
            // zeros, or read past the matrix.
            const int lo = std::max(std::max(first[i], first[j]), 0);
            const int hi = std::min(std::min(last[i], last[j]), m - 1);
            double& nij = result.m_ppRow[i][j];
            for (int k = lo; k <= hi; ++k) {
                nij += m_ppRow[k][i] * m_ppRow[k][j];
            }
            const double v = std::fabs(nij);
            if (v > biggest) {
                biggest = v;
            }
        }
    }
    if (maxAbs != nullptr) {
        *maxAbs = biggest;
    }
    return result;
}

bool YdMatrix::JacobiEigen(double* const values, YdMatrix& vectors) const {
    const int n = m_nCol;
    if (m_nRow != n || vectors.m_nRow != n || vectors.m_nCol != n) {
        return false;
    }
    double** a = m_ppRow;
    double** v = vectors.m_ppRow;
    vectors.SetIdentity();
    int count = 1;
    for (;;) {
        double maxOff = 0.0;
        int p = 0;
        int q = 0;
        for (int r = 1; r < n; ++r) {
            for (int c = 0; c < r; ++c) {
                const double e = std::fabs(a[r][c]);
                if (e > maxOff) {
                    maxOff = e;
                    p = r;
                    q = c;
                }
            }
        }
        if (maxOff < kTol1e6) {
            for (int i = 0; i < n; ++i) {
                values[i] = a[i][i];
            }
            return true;
        }
        if (count > kJacobiMaxRotations) {
            return false;
        }
        const double x = -a[p][q];
        const double y = (a[q][q] - a[p][p]) / 2.0;
        double w = x / std::sqrt(x * x + y * y);
        if (y < 0.0) {
            w = -w;
        }
        const double sn = w / std::sqrt(2.0 * (1.0 + std::sqrt(1.0 - w * w)));
        const double cs = std::sqrt(1.0 - sn * sn);
        const double app = a[p][p];
        const double apq = a[p][q];
        a[p][p] = app * cs * cs + a[q][q] * sn * sn + apq * w;
        a[q][q] = app * sn * sn + a[q][q] * cs * cs - apq * w;
        a[p][q] = 0.0;
        a[q][p] = 0.0;
        for (int j = 0; j < n; ++j) {
            if (j == p || j == q) {
                continue;
            }
            const double t = a[p][j];
            a[p][j] = t * cs + a[q][j] * sn;
            a[q][j] = -t * sn + a[q][j] * cs;
        }
        for (int i = 0; i < n; ++i) {
            if (i == p || i == q) {
                continue;
            }
            const double t = a[i][p];
            a[i][p] = t * cs + a[i][q] * sn;
            a[i][q] = -t * sn + a[i][q] * cs;
        }
        for (int i = 0; i < n; ++i) {
            const double t = v[i][p];
            v[i][p] = t * cs + v[i][q] * sn;
            v[i][q] = -t * sn + v[i][q] * cs;
        }
        ++count;
    }
}

YdMatrix YdMatrix::s_GetRotationMatrix(const YdVector& axis, double angle) {
    YdMatrix r(3, 3);
    if (axis.IsZero()) {
        r.SetIdentity();
        return r;
    }
    YdVector u(axis);
    u.Normalize();
    const double x = u[0];
    const double y = u[1];
    const double z = u[2];
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const double t = 1.0 - c;
    r[0][0] = t * x * x + c;
    r[0][1] = t * x * y - s * z;
    r[0][2] = t * x * z + s * y;
    r[1][0] = t * x * y + s * z;
    r[1][1] = t * y * y + c;
    r[1][2] = t * y * z - s * x;
    r[2][0] = t * x * z - s * y;
    r[2][1] = t * y * z + s * x;
    r[2][2] = t * z * z + c;
    return r;
}

YdMatrix YdMatrix::s_GetRotationMatrix(const YdVector& from, const YdVector& to) {
    YdVector n = from * to;
    if (n.IsZero()) {
        YdMatrix r(3, 3);
        r.SetIdentity();
        if (from % to < 0.0) {
            // Opposite directions: a reflection in the xy plane rather than a half turn,
            // kept because hosts rely on it.
            r[2][2] = -1.0;
        }
        return r;
    }
    n.Normalize();
    return s_GetRotationMatrix(n, from.AngleWith(to));
}

// ---------------------------------------------------------------------------------------------
// Free products

YdPoint operator*(const YdMatrix& m, const YdPoint& p) {
    const double x = p[0];
    const double y = p[1];
    const double z = p[2];
    double out[3] = {0.0, 0.0, 0.0};
    if (m.GetRow() == 4) {
        for (int r = 0; r < 3; ++r) {
            out[r] = ElementOrZero(m, r, 0) * x + ElementOrZero(m, r, 1) * y +
                     ElementOrZero(m, r, 2) * z + ElementOrZero(m, r, 3);
        }
    } else if (m.GetRow() == 3) {
        for (int r = 0; r < 3; ++r) {
            out[r] = ElementOrZero(m, r, 0) * x + ElementOrZero(m, r, 1) * y +
                     ElementOrZero(m, r, 2) * z;
        }
    }
    return YdPoint(out[0], out[1], out[2]);
}

YdVector operator*(const YdMatrix& m, const YdVector& v) {
    const double x = v[0];
    const double y = v[1];
    const double z = v[2];
    double out[3];
    for (int r = 0; r < 3; ++r) {
        out[r] =
            ElementOrZero(m, r, 0) * x + ElementOrZero(m, r, 1) * y + ElementOrZero(m, r, 2) * z;
    }
    return YdVector(out[0], out[1], out[2]);
}

YdMatrix operator*(const YdMatrix& a, const YdMatrix& b) {
    const int rows = a.GetRow();
    const int cols = b.GetCol();
    const int inner = std::min(a.GetCol(), b.GetRow());
    YdMatrix result(rows, cols);
    for (int i = 0; i < result.GetRow(); ++i) {
        for (int j = 0; j < result.GetCol(); ++j) {
            double s = 0.0;
            for (int k = 0; k < inner; ++k) {
                s += a[i][k] * b[k][j];
            }
            result[i][j] = s;
        }
    }
    return result;
}
