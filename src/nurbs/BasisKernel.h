// SPDX-License-Identifier: MIT

#pragma once

// Reference: the non-zero B-spline basis functions and their derivatives by the Cox-de Boor
// recurrence in triangular form (Piegl and Tiller, The NURBS Book, 2nd ed., algorithms A2.2 and
// A2.3).
//
// Internal (not installed): the allocation-free core of the B-spline basis functions. Both
// YdNurbsHelper::GetBasisFunctionValue and curve evaluation run this one routine, so the two
// give the same numbers, bit for bit.

#include <cstddef>
#include <memory>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

namespace yd_detail {

/// Largest degree whose scratch and result fit in a BasisWorkspace's inline storage; higher
/// degrees take one heap block per workspace.
constexpr int kBasisStackDegree = 15;

/// Doubles of scratch the kernel needs for degree p: the (p + 1) x (p + 1) triangle table,
/// two rows of derivative coefficients and the left/right knot differences.
constexpr int BasisScratchSize(int p) {
    return (p + 1) * (p + 1) + 4 * (p + 1);
}

/// Doubles of result for degree p and nd derivatives: nd + 1 rows of p + 1 values.
constexpr int BasisResultSize(int p, int nd) {
    return (nd + 1) * (p + 1);
}

/// True when a knot vector of knotCount knots has at least one span for degree p, so that the
/// span search and the kernel read only inside it (degree >= 0 and at least 2p + 2 knots).
inline bool BasisKnotsUsable(int knotCount, int p) {
    return p >= 0 && static_cast<long long>(knotCount) >= 2LL * p + 2;
}

/// The recurrence behind BasisDersOnSpan, written once. kP >= 0 fixes the degree and kNd >= 0
/// the derivative count at compile time (the loops then unroll; the operations and their order
/// are the same); negative values take them from the arguments.
template <int kP, int kNd = -1>
inline void BasisDersOnSpanT(const double* U, int span, int pArg, int ndArg, double u,
                             double* scratch, double* out) {
    const int p = kP >= 0 ? kP : pArg;
    const int nd = kNd >= 0 ? kNd : ndArg;
    const int q = p + 1;
    // ndu[i][j] at ndu[i * q + j]: the upper triangle holds basis values of rising degree,
    // the lower one the knot differences they were divided by (reused for the derivatives).
    double* ndu = scratch;
    double* a = ndu + q * q;  // two rows of q derivative coefficients, used alternately
    double* left = a + 2 * q;
    double* right = left + q;

    ndu[0] = 1.0;
    for (int j = 1; j <= p; ++j) {
        left[j] = u - U[span + 1 - j];
        right[j] = U[span + j] - u;
        double saved = 0.0;
        for (int r = 0; r < j; ++r) {
            ndu[j * q + r] = right[r + 1] + left[j - r];
            const double temp = ndu[r * q + j - 1] / ndu[j * q + r];
            ndu[r * q + j] = saved + right[r + 1] * temp;
            saved = left[j - r] * temp;
        }
        ndu[j * q + j] = saved;
    }
    for (int j = 0; j <= p; ++j) {
        out[j] = ndu[j * q + p];
    }
    if (nd <= 0) {
        return;
    }

    // The coefficient rows start from zeros once per call, so that whatever the recurrence
    // reads is a defined value, as it would be in a freshly made table.
    for (int i = 0; i < 2 * q; ++i) {
        a[i] = 0.0;
    }
    for (int r = 0; r <= p; ++r) {
        int s1 = 0;
        int s2 = 1;
        a[0] = 1.0;
        for (int k = 1; k <= nd; ++k) {
            double d = 0.0;
            const int rk = r - k;
            const int pk = p - k;
            double* as1 = a + s1 * q;
            double* as2 = a + s2 * q;
            if (r >= k) {
                as2[0] = as1[0] / ndu[(pk + 1) * q + rk];
                d = as2[0] * ndu[rk * q + pk];
            }
            const int j1 = rk >= -1 ? 1 : -rk;
            const int j2 = (r - 1 <= pk) ? k - 1 : p - r;
            for (int j = j1; j <= j2; ++j) {
                as2[j] = (as1[j] - as1[j - 1]) / ndu[(pk + 1) * q + rk + j];
                d += as2[j] * ndu[(rk + j) * q + pk];
            }
            if (r <= pk) {
                as2[k] = -as1[k - 1] / ndu[(pk + 1) * q + r];
                d += as2[k] * ndu[r * q + pk];
            }
            out[k * q + r] = d;
            const int t = s1;
            s1 = s2;
            s2 = t;
        }
    }

    // Falling factorials p, p (p - 1), ... turn the recurrence into true derivatives.
    double f = p;
    for (int k = 1; k <= nd; ++k) {
        for (int j = 0; j <= p; ++j) {
            out[k * q + j] *= f;
        }
        f *= p - k;
    }
}

/// The values (row 0) and derivatives 1..nd (rows 1..nd, nd <= p) of the p + 1 basis functions
/// that are non-zero on knot span `span`, at u: out[k * (p + 1) + j] is the k-th derivative of
/// N(span - p + j). U must hold the span's neighbourhood U[span - p + 1 .. span + p] (the
/// caller has checked BasisKnotsUsable and taken span from FindSpan). scratch holds at least
/// BasisScratchSize(p) doubles. No denominator is guarded: a zero-length knot difference that
/// is divided by gives non-finite values, which are passed on. Degrees 1 to 5 run on
/// compile-time copies of the same recurrence.
void BasisDersOnSpan(const double* U, int span, int p, int nd, double u, double* scratch,
                     double* out);

/// Scratch and result storage for one degree and derivative count: inline for degrees up to
/// kCapDegree (no heap traffic), one heap block above.
template <int kCapDegree>
class BasisWorkspaceT {
  public:
    BasisWorkspaceT(int p, int nd) {
        if (p <= kCapDegree) {
            m_base = m_inline;
        } else {
            // Sized in size_t: the table grows with the square of the degree.
            const std::size_t q = idx(p) + 1;
            const std::size_t need = q * q + 4 * q + (idx(nd) + 1) * q;
            m_heap.reset(new double[need]);
            m_base = m_heap.get();
        }
        m_result = m_base + (idx(p) + 1) * (idx(p) + 1) + 4 * (idx(p) + 1);
    }
    BasisWorkspaceT(const BasisWorkspaceT&) = delete;
    BasisWorkspaceT& operator=(const BasisWorkspaceT&) = delete;

    double* Scratch() { return m_base; }
    double* Result() { return m_result; }

  private:
    static constexpr int kInlineSize =
        BasisScratchSize(kCapDegree) + BasisResultSize(kCapDegree, kCapDegree);

    // Deliberately left uninitialised: the kernel writes every entry before it reads it.
    double m_inline[kInlineSize];
    std::unique_ptr<double[]> m_heap;
    double* m_base = nullptr;
    double* m_result = nullptr;
};

/// The general workspace; a caller that knows its degree at compile time may use the exact
/// size instead.
using BasisWorkspace = BasisWorkspaceT<kBasisStackDegree>;

}  // namespace yd_detail
