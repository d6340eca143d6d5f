// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

struct YdMatrixTestAccess;

/// A heap-allocated dense row-major matrix of doubles with two LU factor/solve pairs (never to
/// be mixed), an inverse, a banded normal-matrix product, a Jacobi eigen-solver and 3 x 3
/// rotation factories. Matrices apply to column vectors; a 4 x 4 transform keeps its
/// translation in column 3.
///
/// Storage: m_pData holds m_nRow * m_nCol doubles row after row; m_ppRow[i] always points at
/// m_pData + i * m_nCol (a row swap copies elements, it never swaps pointers). The empty
/// matrix is 0 x 0 with both pointers null. The field order is part of the exported layout.
///
/// Sums inside the factorisations and solves are formed as sequential subtractions from the
/// element (s = a; s -= x0 * y0; s -= x1 * y1; ...), in ascending index order. Results are
/// reproducible bit for bit, and the compact banded solver of the curve code relies on
/// exactly this order.
///
/// The factorisations overwrite the matrix: after a LUDecompose the object holds the factors
/// (a partial factorisation after a false result), and only the matching solve may be used.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdMatrix {
  public:
    /// The empty matrix: 0 x 0, null storage.
    YdMatrix();
    /// A rows x cols matrix filled with 0.0. A zero or negative dimension gives the empty
    /// 0 x 0 matrix (never a half-empty one).
    YdMatrix(int rows, int cols);
    /// Deep copy: same dimensions, every element copied.
    YdMatrix(const YdMatrix& m);
    /// Frees the row table and the data.
    ~YdMatrix();
    /// Deep copy (self-assignment is a no-op): frees the old storage, takes m's dimensions
    /// and copies every element.
    YdMatrix& operator=(const YdMatrix& m);

    /// Number of rows.
    int GetRow() const { return m_nRow; }
    /// Number of columns.
    int GetCol() const { return m_nCol; }
    /// Row i (element (i, j) is (*this)[i][j]); i must be in [0, GetRow()), not checked.
    double* operator[](int i) const { return m_ppRow[i]; }

    /// A copy of *this with b added element by element. Dimensions are not required to
    /// match: the result has *this's dimensions and b is added over the part both matrices
    /// have (elements of *this outside b are copied unchanged).
    YdMatrix operator+(const YdMatrix& b);
    /// A new matrix of the same size with every element multiplied by s.
    YdMatrix operator*(double s);

    /// Reallocates for rows x cols and copies rows * cols doubles from data (row-major), or
    /// zero-fills when data is null. data may point into this matrix's own elements (it is
    /// read before the old storage is freed). A zero or negative dimension leaves the empty
    /// 0 x 0 matrix (data is not read).
    void Set(int rows, int cols, double* data);
    /// Zero-fills, then puts 1.0 on the main diagonal. Meant for square matrices; on a
    /// non-square one only the diagonal elements that exist are set.
    void SetIdentity();
    /// True when every main-diagonal element is exactly 1.0 and no other element has an
    /// absolute value above kTol1e9 (1e-9 itself passes). A NaN on the diagonal fails; a NaN
    /// off the diagonal is not above the bound and passes (the test is kept in this form
    /// because hosts rely on its results). A non-square matrix is judged element by element
    /// in the same way; the empty matrix is the identity.
    bool IsIdentity() const;
    /// Replaces *this by its GetCol() x GetRow() transpose.
    void Transpose();
    /// Writes 16 doubles to out (column-major 4 x 4, the layout graphics interfaces expect):
    /// out[c * 4 + r] = element (r, c). All 16 are zero-filled first, so a matrix smaller
    /// than 4 x 4 leaves zeros where it has no element; elements beyond row or column 3 are
    /// not written.
    void ToArray(double* const out) const;

    /// Unpivoted Doolittle factorisation in place (L with a unit diagonal below, U on and
    /// above the diagonal). False when a pivot of rows 0 .. n-2 is below kTol1e9 in absolute
    /// value; the last pivot is tested by the solve instead. Row i's multipliers are taken
    /// over the columns (the matrices given are square); on a non-square matrix rows that do
    /// not exist are skipped, so nothing is read out of range.
    bool LUDecompose();
    /// Solves with the factors of LUDecompose(): b (GetRow() values) is read, x (GetRow()
    /// values) receives the solution. False at a diagonal below kTol1e9 in absolute value
    /// (x is then partly written from the bottom up). A non-square matrix gives false with
    /// nothing written.
    bool GetSolutionAfterLUDecompose(double* b, double* x);
    /// The same for three right-hand sides at once, coordinate x, then y, then z of every
    /// point. x must already hold GetRow() points (it is never resized); only the
    /// coordinates of x are written. False at the first small diagonal, or when b or x holds
    /// fewer than GetRow() points or the matrix is not square (then nothing is written).
    bool GetSolutionAfterLUDecompose(const std::vector<YdPoint>& b, std::vector<YdPoint>& x);

    /// Crout factorisation in place with implicit row scaling (each row weighed by 1 / its
    /// largest absolute element) and partial pivoting. Ties in the scaled pivot search go to
    /// the later row. Rows are swapped by copying their elements; pivots[j] receives the
    /// row swapped with row j (it is never resized and must hold GetRow() entries). No sign
    /// of the permutation is kept and no tiny pivot is replaced. False when the matrix is
    /// not square or pivots is too short (nothing touched), when a row's largest absolute
    /// element is below kTol1e10 (before any elimination), or at a pivot below kTol1e10 in
    /// absolute value (the matrix then holds a partial factorisation).
    bool LUDecompose(std::vector<int>& pivots);
    /// Solves in place with the factors and pivots of LUDecompose(pivots): b holds the
    /// right-hand side (GetRow() values) on entry and the solution on return. Leading
    /// permuted entries of absolute value up to kTol1e10 are stored unchanged and skipped in
    /// later sums. The diagonal is not tested here (the factorisation did). False, with b
    /// untouched, when the matrix is not square, pivots is too short or holds an index
    /// outside [0, GetRow()).
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, double* b);
    /// The same, in place, for coordinate x, then y, then z of every point (only the
    /// coordinates move; each point keeps its host attributes). Also false, with b untouched,
    /// when b holds fewer than GetRow() points.
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, std::vector<YdPoint>& b);

    /// Replaces *this by its inverse, computed column by column with the pivoted pair on a
    /// copy. False, with *this unchanged, when that factorisation fails (singular, a zero
    /// row, or not square).
    bool Inverse();
    /// The GetCol() x GetCol() product A^T A of this GetRow() x GetCol() matrix A, whose
    /// rows are samples and whose columns are unknowns. first[j] and last[j] are the first
    /// and last rows in which column j can be non-zero: element (i, j) sums A[k][i] * A[k][j]
    /// for k from max(first[i], first[j]) to min(last[i], last[j]), so a banded collocation
    /// matrix costs time linear in its band. A null first means 0 for every column, a null
    /// last means GetRow() - 1; given limits are also clamped to the existing rows. The full
    /// square is computed. When maxAbs is not null it receives the largest absolute element
    /// of the result (0.0 for an all-zero result).
    YdMatrix GetNormalMatrix(int* first, int* last, double* maxAbs);
    /// Eigenvalues and eigenvectors of a symmetric n x n matrix by classical Jacobi
    /// rotations (always the largest strictly-lower element, the first one in row-major
    /// order on ties). Although const, it overwrites the matrix's elements (its diagonal
    /// ends up holding the eigenvalues): callers pass a scratch copy. On success values[k]
    /// (n doubles) is an eigenvalue, column k of vectors its unit eigenvector, in diagonal
    /// order, unsorted; converged means every off-diagonal element below kTol1e6. False
    /// after 60 rotations without convergence (values untouched). Also false, with nothing
    /// touched, when the matrix is not square or vectors is not already n x n.
    bool JacobiEigen(double* const values, YdMatrix& vectors) const;

    /// The 3 x 3 matrix rotating column vectors counter-clockwise (right-hand rule) by angle
    /// radians about axis through the origin (any length). An axis that IsZero gives the
    /// identity.
    static YdMatrix s_GetRotationMatrix(const YdVector& axis, double angle);
    /// The 3 x 3 matrix turning direction from onto direction to, a rotation about
    /// from x to by the angle between them. When from x to IsZero (an absolute test on the
    /// unnormalised product, so short vectors count as parallel sooner) the result is the
    /// identity, or for opposite directions (from . to < 0) the reflection diag(1, 1, -1)
    /// rather than a half turn: hosts rely on that result, so it is kept.
    static YdMatrix s_GetRotationMatrix(const YdVector& from, const YdVector& to);

  private:
    friend struct YdMatrixTestAccess;

    /// Allocates zero-filled storage for rows x cols (empty when either is not positive);
    /// the old storage must have been released.
    void Allocate(int rows, int cols);
    /// Frees both blocks and leaves the empty matrix.
    void Release();

    int m_nRow;
    int m_nCol;
    double* m_pData;
    double** m_ppRow;
};

/// Affine transform of a point as a column vector. A 4-row matrix gives component r (r = 0,
/// 1, 2) = m[r][0] x + m[r][1] y + m[r][2] z + m[r][3] (the fourth row is ignored, no division
/// by w); a 3-row matrix the same without the translation term; any other row count the
/// origin. Columns the matrix lacks count as zero. The result's host attributes are fresh.
YDNURBSLIB_EXPORT YdPoint operator*(const YdMatrix& m, const YdPoint& p);
/// A direction times the upper-left 3 x 3 block: component r = m[r][0] x + m[r][1] y +
/// m[r][2] z for r = 0, 1, 2, whatever the matrix size (directions take no translation).
/// Rows or columns the matrix lacks count as zero.
YDNURBSLIB_EXPORT YdVector operator*(const YdMatrix& m, const YdVector& v);
/// The ordinary product: a GetRow() x b GetCol() matrix, element (i, j) the sum over k of
/// a[i][k] * b[k][j]. When a's columns and b's rows differ in number, k runs over the ones
/// both have (the extra columns or rows count as zero); an empty factor gives an empty or
/// zero result, never an out-of-range read.
YDNURBSLIB_EXPORT YdMatrix operator*(const YdMatrix& a, const YdMatrix& b);
