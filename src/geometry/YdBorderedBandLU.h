// SPDX-License-Identifier: MIT

#pragma once

// Internal (not installed): a compact store for the square systems of curve interpolation
// and approximation, and the pivoted LU pair of YdMatrix performed on it.
//
// The systems are banded (each collocation row holds p + 1 neighbouring non-zeros) and
// bordered (a few constraint columns at the right and rows at the bottom touch far columns).
// Each row keeps a growing contiguous band plus a dense copy of the last `borderWidth`
// columns. The elimination is the very one of YdMatrix::LUDecompose(std::vector<int>&)
// (Crout order, implicit row scaling, partial pivoting with ties to the later row, the same
// sequence of subtractions), applied to the stored entries only: an entry outside the store
// is an exact zero and contributes nothing, so the factors, the pivots and the solution are
// bit for bit those of the dense matrix, at a fraction of the time and memory.
//
// "Bit for bit" holds for finite arithmetic; the only difference a skipped zero term can make
// is the sign of a zero, which compares equal and never reaches a non-zero result. Once an
// overflow produces an infinity or a NaN the two codes may differ (both then give non-finite
// numbers).
//
// Cost: memory about n * (band + borderWidth) doubles, time about n * (band + borderWidth)^2,
// where band is the widest row band after fill-in (a row's band reaches as far right as the
// band of any earlier row it is combined with). A row with entries both near column 0 and in
// the middle of the matrix (not in the border) makes its band, and the bands it fills, long;
// put such far columns in the border instead.

#include <vector>

#include "YdNurbsLib/geometry/YdPoint.h"

class YdBorderedBandLU {
  public:
    /// An n x n zero system whose last borderWidth columns are stored densely in every row.
    /// A negative n gives the empty system; borderWidth is clamped to [0, n].
    YdBorderedBandLU(int n, int borderWidth);

    /// The order n of the system (0 for the empty one).
    int Size() const;
    /// Stores A[i][j] = v (a store, not an addition); the row's band grows to hold column j.
    /// Indices outside [0, Size()) are ignored. Meant for filling before LUDecompose.
    void Set(int i, int j, double v);
    /// A[i][j]; 0.0 outside the store or outside the matrix. After LUDecompose: the
    /// factors, rows in their pivoted positions (as in the dense matrix).
    double Get(int i, int j) const;

    /// The pivoted factorisation, identical to YdMatrix::LUDecompose(pivots) on the dense
    /// matrix; pivots must hold Size() entries (false otherwise, nothing touched). False on a
    /// zero row (before any elimination) or a pivot below 1e-10; pivots[0 .. j] are then
    /// written as the dense code writes them, up to the failing column j.
    bool LUDecompose(std::vector<int>& pivots);
    /// The pivoted in-place solve, identical to the dense one. False, with b untouched, when
    /// pivots is too short or holds an index outside [0, Size()).
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, double* b) const;
    /// The same per coordinate x, y, z (only coordinates move). Also false, with b
    /// untouched, when b holds fewer than Size() points.
    bool GetSolutionAfterLUDecompose(const std::vector<int>& pivots, std::vector<YdPoint>& b) const;

  private:
    struct Row {
        int lo = 0;                  // first stored band column (the border start when empty)
        std::vector<double> band;    // columns lo .. lo + band.size() - 1, all below the border
        std::vector<double> border;  // columns n - borderWidth .. n - 1
        int id = 0;                  // index of the row before any pivoting
        int Hi() const { return lo + static_cast<int>(band.size()); }
    };

    /// The bookkeeping of one factorisation (defined with it).
    struct Elimination;

    // The phases of LUDecompose, in the order it runs them.
    bool ComputeRowScales(std::vector<double>& scale) const;
    void PrepareElimination(Elimination& e) const;
    void ActivateRows(Elimination& e, int j) const;
    int ChoosePivotRow(Elimination& e, int j);
    int TiePivotRow(const Elimination& e, int j) const;
    double EliminateCandidate(Row& r, int j, const std::vector<int>& firstReach);
    double ReducedBandEntry(const Row& r, int c, int kEnd, int from) const;
    double ReducedBorderEntry(const Row& r, int c, int kEnd) const;
    void SwapPivotRow(Elimination& e, int j, int imax);
    double PivotValue(int j) const;
    void RetirePivotRow(Elimination& e, int j, int imax, bool rowJActive);
    void ScaleColumn(const Elimination& e, int j, double pivot);
    void ComputePivotRowU(std::vector<int>& firstReach, int j);

    bool PivotsUsable(const std::vector<int>& pivots) const;
    /// Forward and back substitution of one right-hand side in place.
    void SolveInPlace(const std::vector<int>& pivots, double* b) const;
    /// Row r's element in column k, which the caller knows to be stored.
    double Stored(const Row& r, int k) const;
    double& Stored(Row& r, int k);

    int m_n;
    int m_borderWidth;
    int m_borderStart;        // n - borderWidth: first border column
    std::vector<Row> m_rows;  // rows in their current (pivoted) positions
};
