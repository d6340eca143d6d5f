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

// The elimination below follows the dense Crout loop column by column. For column j:
//  - the U entries of rows above j were computed when each of those rows became the pivot
//    row (same inputs, same order of subtractions as the dense loop, which computes them
//    only at column j);
//  - the candidates are the rows not yet used as pivots whose band starts at or before j
//    ("active" rows, kept sorted by position). Every other candidate holds an exact zero in
//    column j, which only matters for the tie rule when no candidate is non-zero;
//  - after the pivot swap, the pivot row's U part is computed at once, its band grown to
//    the farthest band of the earlier rows it combines with.
bool YdBorderedBandLU::LUDecompose(std::vector<int>& pivots) {
    const int n = m_n;
    if (pivots.size() < idx(n)) {
        return false;
    }
    const int nb = m_borderStart;

    // Implicit row scaling; the maximum does not depend on the order of visit.
    std::vector<double> scale(idx(n));
    for (int i = 0; i < n; ++i) {
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

    // Rows become active at the column their band starts in (an empty band: the border).
    std::vector<std::pair<int, int>> activation;  // (first column, row id)
    activation.reserve(idx(n));
    std::vector<int> posOfRow(idx(n));
    for (int i = 0; i < n; ++i) {
        activation.emplace_back(m_rows[i].lo, m_rows[i].id);
        posOfRow[m_rows[i].id] = i;
    }
    std::sort(activation.begin(), activation.end());
    std::size_t nextActivation = 0;

    // firstReach[c]: the smallest pivot position k < c whose band holds column c (c when
    // none does yet). Rows above it hold exact zeros in column c.
    std::vector<int> firstReach(idx(nb));
    for (int c = 0; c < nb; ++c) {
        firstReach[c] = c;
    }

    std::vector<int> active;     // positions of active rows, ascending
    std::vector<double> scaled;  // scaled candidate magnitudes, parallel to active

    for (int j = 0; j < n; ++j) {
        while (nextActivation < activation.size() && activation[nextActivation].first <= j) {
            const int pos = posOfRow[activation[nextActivation].second];
            active.insert(std::upper_bound(active.begin(), active.end(), pos), pos);
            ++nextActivation;
        }

        // Candidates of column j, in position order.
        scaled.resize(active.size());
        double big = 0.0;
        int imax = j;
        for (std::size_t t = 0; t < active.size(); ++t) {
            const int pos = active[t];
            Row& r = m_rows[pos];
            double s = 0.0;
            if (j < nb) {
                if (r.Hi() <= j) {
                    r.band.resize(idx(j - r.lo + 1), 0.0);
                }
                s = r.band[j - r.lo];
                for (int k = std::max(r.lo, firstReach[j]); k < j; ++k) {
                    const Row& rk = m_rows[k];
                    if (rk.Hi() > j) {
                        s -= r.band[k - r.lo] * rk.band[j - rk.lo];
                    }
                }
                r.band[j - r.lo] = s;
            } else {
                const int bj = j - nb;
                s = r.border[bj];
                for (int k = r.lo; k < nb; ++k) {
                    s -= r.band[k - r.lo] * m_rows[k].border[bj];
                }
                for (int k = nb; k < j; ++k) {
                    s -= r.border[k - nb] * m_rows[k].border[bj];
                }
                r.border[bj] = s;
            }
            const double d = scale[pos] * std::fabs(s);
            scaled[t] = d;
            if (d >= big) {  // ties go to the later row
                big = d;
                imax = pos;
            }
        }
        if (!(big > 0.0)) {
            // No non-zero candidate. The dense search then settles on the last row whose
            // scaled magnitude is not NaN, counting the exact zeros of inactive rows.
            imax = j;
            std::ptrdiff_t t = static_cast<std::ptrdiff_t>(active.size()) - 1;
            for (int p = n - 1; p >= j; --p) {
                if (t >= 0 && active[t] == p) {
                    if (scaled[t] >= 0.0) {
                        imax = p;
                        break;
                    }
                    --t;
                } else {
                    imax = p;
                    break;
                }
            }
        }

        const bool rowJActive = !active.empty() && active.front() == j;
        if (imax != j) {
            std::swap(m_rows[imax], m_rows[j]);
            posOfRow[m_rows[imax].id] = imax;
            posOfRow[m_rows[j].id] = j;
            scale[imax] = scale[j];
        }
        pivots[j] = imax;

        Row& pr = m_rows[j];
        const bool pivotStored = j >= nb || (pr.lo <= j && j < pr.Hi());
        const double pivot = pivotStored ? Stored(pr, j) : 0.0;
        if (std::fabs(pivot) < kTol1e10) {
            return false;
        }

        // The pivot row leaves the active set; the row it displaced keeps position imax.
        if (imax == j || rowJActive) {
            active.erase(active.begin());
        } else {
            active.erase(std::lower_bound(active.begin(), active.end(), imax));
        }

        if (j != n - 1) {
            const double rcp = 1.0 / pivot;
            for (int pos : active) {
                Stored(m_rows[pos], j) *= rcp;
            }
        }

        // U part of the pivot row, columns j + 1 .. n - 1.
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
                double s = pr.band[c - pr.lo];
                for (int k = std::max(pr.lo, firstReach[c]); k < j; ++k) {
                    const Row& rk = m_rows[k];
                    if (rk.Hi() > c) {
                        s -= pr.band[k - pr.lo] * rk.band[c - rk.lo];
                    }
                }
                pr.band[c - pr.lo] = s;
                if (firstReach[c] == c) {
                    firstReach[c] = j;
                }
            }
            for (int c = nb; c < n; ++c) {
                const int bc = c - nb;
                double s = pr.border[bc];
                for (int k = pr.lo; k < j; ++k) {
                    s -= pr.band[k - pr.lo] * m_rows[k].border[bc];
                }
                pr.border[bc] = s;
            }
        } else {
            for (int c = j + 1; c < n; ++c) {
                const int bc = c - nb;
                double s = pr.border[bc];
                for (int k = pr.lo; k < nb; ++k) {
                    s -= pr.band[k - pr.lo] * m_rows[k].border[bc];
                }
                for (int k = nb; k < j; ++k) {
                    s -= pr.border[k - nb] * m_rows[k].border[bc];
                }
                pr.border[bc] = s;
            }
        }
    }
    return true;
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
