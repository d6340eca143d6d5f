// SPDX-License-Identifier: MIT

// Reference: Crout's method with implicit row scaling and partial pivoting (Press et al., Numerical
// Recipes, section 2.3), performed on a band-plus-border store.

#include "YdBorderedBandLU.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "IndexCast.h"
#include "YdNurbsLib/geometry/YdTolerances.h"

using yd_detail::idx;

YdBorderedBandLU::YdBorderedBandLU(int n, int borderWidth)
    : m_n(std::max(n, 0)), m_borderWidth(0), m_borderStart(0) {
    m_borderWidth = std::min(std::max(borderWidth, 0), m_n);
    m_borderStart = m_n - m_borderWidth;
    m_rows.resize(idx(m_n));
    for (int i = 0; i < m_n; ++i) {
        Row& r = m_rows[i];
        r.lo = m_borderStart;
        r.border.assign(idx(m_borderWidth), 0.0);
        r.id = i;
    }
}

int YdBorderedBandLU::Size() const {
    return m_n;
}

void YdBorderedBandLU::Set(int i, int j, double v) {
    if (i < 0 || i >= m_n || j < 0 || j >= m_n) {
        return;
    }
    Row& r = m_rows[i];
    if (j >= m_borderStart) {
        r.border[j - m_borderStart] = v;
        return;
    }
    if (r.band.empty()) {
        r.lo = j;
        r.band.push_back(v);
        return;
    }
    if (j < r.lo) {
        r.band.insert(r.band.begin(), idx(r.lo - j), 0.0);
        r.lo = j;
    } else if (j >= r.Hi()) {
        r.band.resize(idx(j - r.lo + 1), 0.0);
    }
    r.band[j - r.lo] = v;
}

double YdBorderedBandLU::Get(int i, int j) const {
    if (i < 0 || i >= m_n || j < 0 || j >= m_n) {
        return 0.0;
    }
    const Row& r = m_rows[i];
    if (j >= m_borderStart) {
        return r.border[j - m_borderStart];
    }
    if (j < r.lo || j >= r.Hi()) {
        return 0.0;
    }
    return r.band[j - r.lo];
}

double YdBorderedBandLU::Stored(const Row& r, int k) const {
    return k >= m_borderStart ? r.border[k - m_borderStart] : r.band[k - r.lo];
}

double& YdBorderedBandLU::Stored(Row& r, int k) {
    return k >= m_borderStart ? r.border[k - m_borderStart] : r.band[k - r.lo];
}

// The bookkeeping of one factorisation.
struct YdBorderedBandLU::Elimination {
    std::vector<double> scale;                    // implicit row scales, by position
    std::vector<std::pair<int, int>> activation;  // (first column, row id), ascending
    std::size_t nextActivation = 0;               // next entry of activation to take
    std::vector<int> posOfRow;                    // current position of each row id
    // firstReach[c]: the smallest pivot position k < c whose band holds column c (c when
    // none does yet). Rows above it hold exact zeros in column c.
    std::vector<int> firstReach;
    std::vector<int> active;     // positions of active rows, ascending
    std::vector<double> scaled;  // scaled candidate magnitudes, parallel to active
};

// The elimination follows the dense Crout loop column by column. For column j:
//  - the U entries of rows above j were computed when each of those rows became the pivot
//    row (same inputs, same order of subtractions as the dense loop, which computes them
//    only at column j);
//  - the candidates are the rows not yet used as pivots whose band starts at or before j
//    ("active" rows, kept sorted by position). Every other candidate holds an exact zero in
//    column j, which only matters for the tie rule when no candidate is non-zero;
//  - after the pivot swap, the pivot row's U part is computed at once, its band grown to
//    the farthest band of the earlier rows it combines with.
bool YdBorderedBandLU::LUDecompose(std::vector<int>& pivots) {
    if (pivots.size() < idx(m_n)) {
        return false;
    }
    Elimination e;
    if (!ComputeRowScales(e.scale)) {
        return false;
    }
    PrepareElimination(e);
    for (int j = 0; j < m_n; ++j) {
        ActivateRows(e, j);
        const int imax = ChoosePivotRow(e, j);
        const bool rowJActive = !e.active.empty() && e.active.front() == j;
        SwapPivotRow(e, j, imax);
        pivots[j] = imax;
        const double pivot = PivotValue(j);
        if (std::fabs(pivot) < kTol1e10) {
            return false;
        }
        RetirePivotRow(e, j, imax, rowJActive);
        if (j != m_n - 1) {
            ScaleColumn(e, j, pivot);
        }
        ComputePivotRowU(e.firstReach, j);
    }
    return true;
}

// The steps below are defined inline: they run once per column or per stored entry of the
// elimination, and the split into phases is to cost nothing against the single loop.

// Implicit row scaling, 1 / (largest |entry|) of each row; false for a row whose largest
// entry is below 1e-10. The maximum does not depend on the order of visit.
bool YdBorderedBandLU::ComputeRowScales(std::vector<double>& scale) const {
    scale.assign(idx(m_n), 0.0);
    for (int i = 0; i < m_n; ++i) {
        const Row& r = m_rows[i];
        double big = 0.0;
        for (double v : r.band) {
            const double a = std::fabs(v);
            if (a > big) {
                big = a;
            }
        }
        for (double v : r.border) {
            const double a = std::fabs(v);
            if (a > big) {
                big = a;
            }
        }
        if (big < kTol1e10) {
            return false;
        }
        scale[i] = 1.0 / big;
    }
    return true;
}

// Rows become active at the column their band starts in (an empty band: the border).
void YdBorderedBandLU::PrepareElimination(Elimination& e) const {
    e.activation.reserve(idx(m_n));
    e.posOfRow.resize(idx(m_n));
    for (int i = 0; i < m_n; ++i) {
        e.activation.emplace_back(m_rows[i].lo, m_rows[i].id);
        e.posOfRow[m_rows[i].id] = i;
    }
    std::sort(e.activation.begin(), e.activation.end());
    e.firstReach.resize(idx(m_borderStart));
    for (int c = 0; c < m_borderStart; ++c) {
        e.firstReach[c] = c;
    }
}

inline void YdBorderedBandLU::ActivateRows(Elimination& e, int j) const {
    while (e.nextActivation < e.activation.size() && e.activation[e.nextActivation].first <= j) {
        const int pos = e.posOfRow[e.activation[e.nextActivation].second];
        e.active.insert(std::upper_bound(e.active.begin(), e.active.end(), pos), pos);
        ++e.nextActivation;
    }
}

// The candidates of column j in position order: each one's entry reduced by the earlier
// pivot rows, the largest scaled magnitude winning (ties go to the later row).
inline int YdBorderedBandLU::ChoosePivotRow(Elimination& e, int j) {
    e.scaled.resize(e.active.size());
    double big = 0.0;
    int imax = j;
    for (std::size_t t = 0; t < e.active.size(); ++t) {
        const int pos = e.active[t];
        const double s = EliminateCandidate(m_rows[pos], j, e.firstReach);
        const double d = e.scale[pos] * std::fabs(s);
        e.scaled[t] = d;
        if (d >= big) {
            big = d;
            imax = pos;
        }
    }
    if (!(big > 0.0)) {
        imax = TiePivotRow(e, j);
    }
    return imax;
}

// No non-zero candidate. The dense search then settles on the last row whose scaled
// magnitude is not NaN, counting the exact zeros of inactive rows.
inline int YdBorderedBandLU::TiePivotRow(const Elimination& e, int j) const {
    std::ptrdiff_t t = static_cast<std::ptrdiff_t>(e.active.size()) - 1;
    for (int p = m_n - 1; p >= j; --p) {
        if (t >= 0 && e.active[t] == p) {
            if (e.scaled[t] >= 0.0) {
                return p;
            }
            --t;
        } else {
            return p;
        }
    }
    return j;
}

// Candidate row r's entry in column j, reduced by the pivot rows above j and stored back.
inline double YdBorderedBandLU::EliminateCandidate(Row& r, int j,
                                                   const std::vector<int>& firstReach) {
    if (j >= m_borderStart) {
        const double s = ReducedBorderEntry(r, j, j);
        r.border[j - m_borderStart] = s;
        return s;
    }
    if (r.Hi() <= j) {
        r.band.resize(idx(j - r.lo + 1), 0.0);
    }
    const double s = ReducedBandEntry(r, j, j, firstReach[j]);
    r.band[j - r.lo] = s;
    return s;
}

// Row r's stored band entry in column c less its products with the U entries of the pivot
// rows from..kEnd-1 whose band reaches c; c is inside r's band.
inline double YdBorderedBandLU::ReducedBandEntry(const Row& r, int c, int kEnd, int from) const {
    double s = r.band[c - r.lo];
    for (int k = std::max(r.lo, from); k < kEnd; ++k) {
        const Row& rk = m_rows[k];
        if (rk.Hi() > c) {
            s -= r.band[k - r.lo] * rk.band[c - rk.lo];
        }
    }
    return s;
}

// Row r's border entry in column c less its products with the U entries of the pivot rows
// above kEnd: band columns first, then border columns, in column order.
inline double YdBorderedBandLU::ReducedBorderEntry(const Row& r, int c, int kEnd) const {
    const int nb = m_borderStart;
    const int bc = c - nb;
    double s = r.border[bc];
    const int bandEnd = std::min(kEnd, nb);
    for (int k = r.lo; k < bandEnd; ++k) {
        s -= r.band[k - r.lo] * m_rows[k].border[bc];
    }
    for (int k = nb; k < kEnd; ++k) {
        s -= r.border[k - nb] * m_rows[k].border[bc];
    }
    return s;
}

// Whole rows swap (as the dense code copies them); no sign of the permutation is kept.
inline void YdBorderedBandLU::SwapPivotRow(Elimination& e, int j, int imax) {
    if (imax == j) {
        return;
    }
    std::swap(m_rows[imax], m_rows[j]);
    e.posOfRow[m_rows[imax].id] = imax;
    e.posOfRow[m_rows[j].id] = j;
    e.scale[imax] = e.scale[j];
}

// The pivot A[j][j] after the swap; an entry outside the store is an exact zero.
inline double YdBorderedBandLU::PivotValue(int j) const {
    const Row& pr = m_rows[j];
    const bool pivotStored = j >= m_borderStart || (pr.lo <= j && j < pr.Hi());
    return pivotStored ? Stored(pr, j) : 0.0;
}

// The pivot row leaves the active set; the row it displaced keeps position imax.
inline void YdBorderedBandLU::RetirePivotRow(Elimination& e, int j, int imax, bool rowJActive) {
    if (imax == j || rowJActive) {
        e.active.erase(e.active.begin());
    } else {
        e.active.erase(std::lower_bound(e.active.begin(), e.active.end(), imax));
    }
}

// The L entries of column j: the remaining candidates times 1 / pivot.
inline void YdBorderedBandLU::ScaleColumn(const Elimination& e, int j, double pivot) {
    const double rcp = 1.0 / pivot;
    for (int pos : e.active) {
        Stored(m_rows[pos], j) *= rcp;
    }
}

// U part of the pivot row, columns j + 1 .. n - 1: the band (grown to reach as far as the
// bands of the rows it combines with), then the border.
inline void YdBorderedBandLU::ComputePivotRowU(std::vector<int>& firstReach, int j) {
    const int nb = m_borderStart;
    Row& pr = m_rows[j];
    if (j < nb) {
        int newHi = pr.Hi();
        for (int k = pr.lo; k < j; ++k) {
            newHi = std::max(newHi, m_rows[k].Hi());
        }
        newHi = std::min(newHi, nb);
        if (newHi > pr.Hi()) {
            pr.band.resize(idx(newHi - pr.lo), 0.0);
        }
        for (int c = j + 1; c < newHi; ++c) {
            pr.band[c - pr.lo] = ReducedBandEntry(pr, c, j, firstReach[c]);
            if (firstReach[c] == c) {
                firstReach[c] = j;
            }
        }
    }
    for (int c = std::max(nb, j + 1); c < m_n; ++c) {
        pr.border[c - nb] = ReducedBorderEntry(pr, c, j);
    }
}

bool YdBorderedBandLU::PivotsUsable(const std::vector<int>& pivots) const {
    if (pivots.size() < idx(m_n)) {
        return false;
    }
    for (int i = 0; i < m_n; ++i) {
        if (pivots[i] < 0 || pivots[i] >= m_n) {
            return false;
        }
    }
    return true;
}

void YdBorderedBandLU::SolveInPlace(const std::vector<int>& pivots, double* b) const {
    const int n = m_n;
    const int nb = m_borderStart;
    int first = -1;
    for (int i = 0; i < n; ++i) {
        const int p = pivots[i];
        double s = b[p];
        b[p] = b[i];
        if (first >= 0) {
            const Row& r = m_rows[i];
            const int bandEnd = std::min(std::min(r.Hi(), i), nb);
            for (int k = std::max(first, r.lo); k < bandEnd; ++k) {
                s -= r.band[k - r.lo] * b[k];
            }
            for (int k = std::max(first, nb); k < i; ++k) {
                s -= r.border[k - nb] * b[k];
            }
        } else if (std::fabs(s) > kTol1e10) {
            first = i;
        }
        b[i] = s;
    }
    for (int i = n - 1; i >= 0; --i) {
        const Row& r = m_rows[i];
        double s = b[i];
        const int bandEnd = std::min(r.Hi(), nb);
        for (int k = std::max(i + 1, r.lo); k < bandEnd; ++k) {
            s -= r.band[k - r.lo] * b[k];
        }
        for (int k = std::max(i + 1, nb); k < n; ++k) {
            s -= r.border[k - nb] * b[k];
        }
        b[i] = s / Get(i, i);
    }
}

bool YdBorderedBandLU::GetSolutionAfterLUDecompose(const std::vector<int>& pivots,
                                                   double* b) const {
    if (!PivotsUsable(pivots)) {
        return false;
    }
    SolveInPlace(pivots, b);
    return true;
}

bool YdBorderedBandLU::GetSolutionAfterLUDecompose(const std::vector<int>& pivots,
                                                   std::vector<YdPoint>& b) const {
    if (!PivotsUsable(pivots) || b.size() < idx(m_n)) {
        return false;
    }
    std::vector<double> coord(idx(m_n));
    for (int c = 0; c < 3; ++c) {
        for (int i = 0; i < m_n; ++i) {
            coord[i] = b[i][c];
        }
        SolveInPlace(pivots, coord.data());
        for (int i = 0; i < m_n; ++i) {
            b[i][c] = coord[i];
        }
    }
    return true;
}
