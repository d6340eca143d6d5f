// SPDX-License-Identifier: MIT

// Reference: least-squares curve approximation with interpolated points and derivatives as
// Lagrange-multiplier constraints (Piegl and Tiller, The NURBS Book, 2nd ed., section 9.4), with a
// fairing term: the bending energy, the integral of |C''|^2, integrated span by span by
// Gauss-Legendre quadrature.
//
// One constrained least-squares fit of a cubic to the curve's own fit points: the basis matrix
// with its band limits, the fairing (bending-energy) matrix, the blended and bordered system
// and its pivoted LU solution.
//
// The systems are assembled in compact form. The basis matrix has p + 1 non-zeros per row, the
// normal and energy matrices are banded with half-bandwidth p, and the constraint rows and
// columns sit in a border; so the fit keeps one row of basis values per fit point, two
// n x (2p + 1) bands and a bordered band store. Every stored number is computed by the very
// operations, in the very order, of the dense products (rows ascending, exact zeros skipped,
// which adds nothing), and the bordered LU repeats the dense pivoted elimination on the stored
// entries only, so the control points are bit for bit those of the dense assembly. The dense
// forms remain available through CalucalteErrorMatrix and CalculateEnergyMatrix.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "../geometry/IndexCast.h"
#include "../geometry/PointChecks.h"
#include "../geometry/YdBorderedBandLU.h"
#include "../nurbs/BasisKernel.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

using yd_detail::idx;

namespace {

using TangentList = std::vector<std::pair<int, YdVector>>;

// The band limits of the basis matrix from the knot span of each fit point: for column i the
// rows first[i]..last[i] are the only ones in which it can be non-zero. Entries are written
// only inside [0, n), so short or odd inputs cannot write out of range.
void ComputeBandLimits(const std::vector<int>& spans, int m, int n, int p, int* first, int* last) {
    for (int i = 0; i <= p && i < n; ++i) {
        first[i] = 0;
    }
    int prevSpan = p;
    int nf = p + 1;
    int nl = 0;
    for (int r = 0; r < m; ++r) {
        const int span = spans[idx(r)];
        if (span > prevSpan) {
            for (int t = 0; t < span - prevSpan; ++t) {
                if (nf >= 0 && nf < n) {
                    first[nf] = r;
                }
                if (nl >= 0 && nl < n) {
                    last[nl] = r - 1;
                }
                ++nf;
                ++nl;
            }
            prevSpan = span;
        }
    }
    for (int i = std::max(nf, 0); i < n; ++i) {
        first[i] = m - 1;
    }
    for (int i = std::max(nl, 0); i < n; ++i) {
        last[i] = m - 1;
    }
}

// The p + 1 non-zero basis values of every fit point and its knot span. False when a value is
// not finite (a knot vector with an empty span where one must be divided by): the dense
// products would then mix 0 * inf into every sum, and no usable curve can come of it.
bool ComputeBasisRows(const YdKnotVec& knots, int p, const std::vector<double>& params, int m,
                      std::vector<int>& spans, std::vector<double>& values) {
    const int q = p + 1;
    spans.resize(idx(m));
    values.resize(idx(m) * idx(q));
    const double* U = knots.GetKnots().data();
    yd_detail::BasisWorkspace ws(p, 0);
    for (int r = 0; r < m; ++r) {
        const double u = params[idx(r)];
        const int span = knots.FindSpan(p, u);
        yd_detail::BasisDersOnSpan(U, span, p, 0, u, ws.Scratch(), ws.Result());
        spans[idx(r)] = span;
        double* row = values.data() + idx(r) * idx(q);
        for (int j = 0; j < q; ++j) {
            const double v = ws.Result()[j];
            if (!std::isfinite(v)) {
                return false;
            }
            row[j] = v;
        }
    }
    return true;
}

// The integrals of products of derivOrder-th basis derivatives, span by span with the Gauss
// rule for the degree, handed to add(i, j, value) in the order in which the dense matrix
// accumulates them. Empty spans are skipped: they add nothing. Orders above the degree have
// vanishing derivatives and add nothing either.
template <class AddFn>
void AccumulateEnergy(const YdKnotVec& knots, int p, int n, int r, AddFn add) {
    const std::vector<double>& U = knots.GetKnots();
    const int knotCount = knots.GetCount();
    if (r < 0 || r > p || n < 1 || !yd_detail::BasisKnotsUsable(knotCount, p) ||
        knotCount < n + p + 1) {
        return;
    }
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(p, nodes, weights);
    const int q = p + 1;
    yd_detail::BasisWorkspace ws(p, r);
    std::vector<double> acc(idx(q));
    for (int i = 0; i < n; ++i) {
        const int sHi = std::min(i + p, n - 1);
        for (int s = std::max(p, i); s <= sHi; ++s) {
            const double h = (U[idx(s) + 1] - U[idx(s)]) / 2;
            if (h == 0.0) {
                continue;
            }
            const double c = (U[idx(s) + 1] + U[idx(s)]) / 2;
            std::fill(acc.begin(), acc.end(), 0.0);
            for (std::size_t g = 0; g < nodes.size(); ++g) {
                const double u = h * nodes[g] + c;
                const int span = knots.FindSpan(p, u);
                yd_detail::BasisDersOnSpan(U.data(), span, p, r, u, ws.Scratch(), ws.Result());
                const double* d = ws.Result() + r * q;
                for (int j = 0; j < q; ++j) {
                    acc[idx(j)] += weights[g] * d[i + p - s] * d[j];
                }
            }
            const int cHi = std::min(s, n - 1);
            for (int c2 = std::max(0, s - p); c2 <= cHi; ++c2) {
                add(i, c2, h * acc[idx(c2 + p - s)]);
            }
        }
    }
}

// An n x n matrix that is zero outside |i - j| <= p.
class BandMatrix {
  public:
    BandMatrix(int n, int p)
        : m_n(n), m_p(p), m_w(2 * p + 1), m_data(idx(n) * idx(2 * p + 1), 0.0) {}
    double& At(int i, int j) { return m_data[idx(i) * idx(m_w) + idx(j - i + m_p)]; }
    double Get(int i, int j) const {
        if (j - i > m_p || i - j > m_p) {
            return 0.0;
        }
        return m_data[idx(i) * idx(m_w) + idx(j - i + m_p)];
    }
    // Largest |entry| over the whole square, or over j >= i only; comparisons as the dense
    // code makes them (a NaN never becomes the maximum).
    double MaxAbs(bool upperOnly) const {
        double biggest = 0.0;
        for (int i = 0; i < m_n; ++i) {
            for (int j = std::max(0, i - m_p); j <= std::min(m_n - 1, i + m_p); ++j) {
                if (upperOnly && j < i) {
                    continue;
                }
                const double v = std::fabs(Get(i, j));
                if (v > biggest) {
                    biggest = v;
                }
            }
        }
        return biggest;
    }

  private:
    int m_n;
    int m_p;
    int m_w;
    std::vector<double> m_data;
};

// Everything one fit reads. Points and parameters are the curve's own.
struct FitSetup {
    int p = 3;
    int n = 0;
    const YdKnotVec* knots = nullptr;
    const std::vector<YdPoint>* points = nullptr;
    const std::vector<double>* params = nullptr;
    const std::vector<int>* interpIdx = nullptr;
    const TangentList* tangents = nullptr;
    bool closed = false;
    // Smoothed: the lambda blend of the banded normal matrix and the fairing term. Plain: the
    // full normal matrix without weight or fairing.
    bool smoothed = true;
    double lambda = 0.2;
};

// The sizes of one fit, known once its setup has been checked.
struct FitShape {
    int p = 0;  // degree
    int n = 0;  // control points
    int m = 0;  // fit points
    int I = 0;  // interpolated points
    int T = 0;  // prescribed first derivatives
    int S = 0;  // order of the square system: n + I + T (+ p when closed)
    int q = 0;  // basis values per row, p + 1
};

// Validate: a setup that no curve can come of is refused before anything is built.
bool CheckFit(const FitSetup& f, const TangentList& tangents, FitShape& shape) {
    const int p = f.p;
    const int n = f.n;
    const YdKnotVec& knots = *f.knots;
    const std::vector<YdPoint>& pts = *f.points;
    // A clamped curve needs p + 1 control points and n + p + 1 knots; the basis kernel needs
    // p >= 1 to deliver the first derivatives of the constraints.
    if (p < 1 || n < p + 1 || knots.GetCount() != n + p + 1 ||
        !yd_detail::BasisKnotsUsable(knots.GetCount(), p)) {
        return false;
    }
    // Every point needs its parameter, and row counts are kept in ints.
    if (pts.size() > f.params->size() || pts.size() > std::size_t{1} << 30) {
        return false;
    }
    const int m = static_cast<int>(pts.size());
    if (!yd_detail::AllFinitePoints(pts)) {
        return false;
    }
    // Indices outside the point list would read out of range; such a fit cannot be made.
    for (int i : *f.interpIdx) {
        if (i < 0 || i >= m) {
            return false;
        }
    }
    for (const std::pair<int, YdVector>& t : tangents) {
        if (t.first < 0 || t.first >= m) {
            return false;
        }
    }
    const int I = static_cast<int>(f.interpIdx->size());
    const int T = static_cast<int>(tangents.size());
    shape = FitShape{p, n, m, I, T, n + I + T + (f.closed ? p : 0), p + 1};
    return true;
}

// The compact form of the m x n basis matrix: the p + 1 non-zero values and the knot span of
// every fit point, and the band limits of every column.
struct BasisRows {
    std::vector<int> spans;
    std::vector<double> values;  // m rows of q values
    std::vector<int> first;      // n entries
    std::vector<int> last;       // n entries
};

// Basis rows: false when a basis value is not finite.
bool BuildBasisRows(const FitSetup& f, const FitShape& s, BasisRows& rows) {
    if (!ComputeBasisRows(*f.knots, s.p, *f.params, s.m, rows.spans, rows.values)) {
        return false;
    }
    rows.first.resize(idx(s.n));
    rows.last.resize(idx(s.n));
    ComputeBandLimits(rows.spans, s.m, s.n, s.p, rows.first.data(), rows.last.data());
    return true;
}

// N^T N (banded) and N^T Q, the basis-weighted sums of the points (n rows of x, y, z).
struct NormalEquations {
    NormalEquations(int n, int p) : ntn(n, p), rhs(idx(n) * 3, 0.0) {}
    BandMatrix ntn;
    std::vector<double> rhs;
};

// Normal matrix, rows ascending. The smoothed fit sums only inside the band limits, as the
// banded product does; the plain fit over every row, as the full product does.
void AccumulateNormal(const FitSetup& f, const FitShape& s, const BasisRows& rows,
                      NormalEquations& eq) {
    const int p = s.p;
    const int q = s.q;
    const std::vector<YdPoint>& pts = *f.points;
    for (int r = 0; r < s.m; ++r) {
        const int base = rows.spans[idx(r)] - p;
        const double* v = rows.values.data() + idx(r) * idx(q);
        const YdPoint& pt = pts[idx(r)];
        for (int a = 0; a < q; ++a) {
            const int i = base + a;
            const bool inI = !f.smoothed || (rows.first[idx(i)] <= r && r <= rows.last[idx(i)]);
            if (inI) {
                double* b = eq.rhs.data() + idx(i) * 3;
                b[0] += v[a] * pt[0];
                b[1] += v[a] * pt[1];
                b[2] += v[a] * pt[2];
            }
            for (int c = 0; c < q; ++c) {
                const int j = base + c;
                if (f.smoothed) {
                    const int lo = std::max(rows.first[idx(i)], rows.first[idx(j)]);
                    const int hi = std::min(rows.last[idx(i)], rows.last[idx(j)]);
                    if (r < lo || r > hi) {
                        continue;
                    }
                }
                eq.ntn.At(i, j) += v[a] * v[c];
            }
        }
    }
}

// The bending energy and the weight that puts it on the scale of the normal matrix (the plain
// fit has neither).
struct Fairing {
    Fairing(int n, int p) : energy(n, p) {}
    BandMatrix energy;
    double weight = 0.0;
};

// Fairing weight: lambda * (normalMax / energyMax). False when there is no bending energy at
// all (every span empty) to scale by, or the weight is not finite.
bool ComputeFairing(const FitSetup& f, const FitShape& s, const BandMatrix& ntn, Fairing& fair) {
    if (!f.smoothed) {
        return true;
    }
    const double normalMax = ntn.MaxAbs(false);
    BandMatrix& energy = fair.energy;
    AccumulateEnergy(*f.knots, s.p, s.n, 2,
                     [&energy](int i, int j, double v) { energy.At(i, j) += v; });
    const double energyMax = energy.MaxAbs(true);
    if (!(energyMax > 0.0)) {
        return false;
    }
    fair.weight = f.lambda * (normalMax / energyMax);
    return std::isfinite(fair.weight);
}

// The square system and its right-hand side. The n x n block is banded; the constraint
// columns n..S-1 and the columns n-1-p..n-1 that the closing rows reach lie in the border.
struct FitSystem {
    explicit FitSystem(const FitShape& s)
        : A(s.S, std::min(s.S, s.S - s.n + s.p + 1)), B(idx(s.S), YdPoint(0.0, 0.0, 0.0)) {}
    YdBorderedBandLU A;
    std::vector<YdPoint> B;
};

// Square system: the lambda blend of fairing and normal matrix, or the plain normal matrix.
void FillNormalBlock(const FitSetup& f, const FitShape& s, const NormalEquations& eq,
                     const Fairing& fair, FitSystem& sys) {
    const int n = s.n;
    const int p = s.p;
    for (int i = 0; i < n; ++i) {
        const int jHi = std::min(n - 1, i + p);
        for (int j = std::max(0, i - p); j <= jHi; ++j) {
            if (f.smoothed) {
                sys.A.Set(i, j,
                          fair.weight * fair.energy.Get(i, j) + (1 - f.lambda) * eq.ntn.Get(i, j));
            } else {
                sys.A.Set(i, j, eq.ntn.Get(i, j));
            }
        }
    }
}

// Rows and columns n..n+I-1: the curve meets the interpolated points.
void AddInterpolationRows(const FitSetup& f, const FitShape& s, yd_detail::BasisWorkspace& ws,
                          FitSystem& sys) {
    const YdKnotVec& knots = *f.knots;
    const double* U = knots.GetKnots().data();
    const int p = s.p;
    for (int k = 0; k < s.I; ++k) {
        const int i = (*f.interpIdx)[idx(k)];
        const double u = (*f.params)[idx(i)];
        const int span = knots.FindSpan(p, u);
        yd_detail::BasisDersOnSpan(U, span, p, 0, u, ws.Scratch(), ws.Result());
        for (int j = 0; j <= p; ++j) {
            const int c = span - p + j;
            const double v = ws.Result()[j];
            sys.A.Set(c, s.n + k, v);
            sys.A.Set(s.n + k, c, v);
        }
        const YdPoint& pt = (*f.points)[idx(i)];
        sys.B[idx(s.n + k)] = YdPoint(pt[0], pt[1], pt[2]);
    }
}

// Rows and columns n+I..n+I+T-1: the first derivative at the listed points, as given.
void AddDerivativeRows(const FitSetup& f, const TangentList& tangents, const FitShape& s,
                       yd_detail::BasisWorkspace& ws, FitSystem& sys) {
    const YdKnotVec& knots = *f.knots;
    const double* U = knots.GetKnots().data();
    const int p = s.p;
    for (int k = 0; k < s.T; ++k) {
        const std::pair<int, YdVector>& t = tangents[idx(k)];
        const double u = (*f.params)[idx(t.first)];
        const int span = knots.FindSpan(p, u);
        yd_detail::BasisDersOnSpan(U, span, p, 1, u, ws.Scratch(), ws.Result());
        for (int j = 0; j <= p; ++j) {
            const int c = span - p + j;
            const double v = ws.Result()[s.q + j];
            sys.A.Set(c, s.n + s.I + k, v);
            sys.A.Set(s.n + s.I + k, c, v);
        }
        sys.B[idx(s.n + s.I + k)] = YdPoint(t.second[0], t.second[1], t.second[2]);
    }
}

// The last p rows and columns of a closed fit: derivatives 0..p-1 at the start minus those at
// the end vanish. Every write is a store, made in exactly this order: when n <= 2p + 1 the
// start and end groups overlap and a later store replaces an earlier one, so the column and
// row parts then differ. Hosts depend on the systems (and the failures) this gives, so it is
// kept.
void AddClosingRows(const FitSetup& f, const FitShape& s, yd_detail::BasisWorkspace& ws,
                    FitSystem& sys) {
    const YdKnotVec& knots = *f.knots;
    const double* U = knots.GetKnots().data();
    const int p = s.p;
    const int q = s.q;
    const int n = s.n;
    const int S = s.S;
    const double us = U[p];
    const double ue = U[n];
    std::vector<double> Ds(idx(q) * idx(p));
    std::vector<double> De(idx(q) * idx(p));
    const int spanS = knots.FindSpan(p, us);
    yd_detail::BasisDersOnSpan(U, spanS, p, p - 1, us, ws.Scratch(), ws.Result());
    std::copy(ws.Result(), ws.Result() + Ds.size(), Ds.begin());
    const int spanE = knots.FindSpan(p, ue);
    yd_detail::BasisDersOnSpan(U, spanE, p, p - 1, ue, ws.Scratch(), ws.Result());
    std::copy(ws.Result(), ws.Result() + De.size(), De.begin());
    auto ds = [&Ds, q](int k, int j) { return Ds[idx(k * q + j)]; };
    auto de = [&De, q](int k, int j) { return De[idx(k * q + j)]; };
    for (int j = 0; j <= p; ++j) {
        for (int k = 0; k < p; ++k) {
            sys.A.Set(j, S - p + k, ds(k, j));
        }
    }
    for (int t = p; t >= 0; --t) {
        for (int k = 0; k < p; ++k) {
            sys.A.Set(n - 1 - t, S - p + k, -de(k, p - t));
        }
    }
    for (int t = p - 1; t >= 0; --t) {
        const int k = p - 1 - t;
        for (int j = 0; j <= p; ++j) {
            sys.A.Set(S - 1 - t, j, ds(k, j));
            sys.A.Set(S - 1 - t, n - 1 - p + j, -de(k, j));
        }
    }
}

// Constraint rows, in the order interpolation, derivatives, closure.
void AddConstraintRows(const FitSetup& f, const TangentList& tangents, const FitShape& s,
                       FitSystem& sys) {
    yd_detail::BasisWorkspace ws(s.p, s.p);
    AddInterpolationRows(f, s, ws, sys);
    AddDerivativeRows(f, tangents, s, ws, sys);
    if (f.closed) {
        AddClosingRows(f, s, ws, sys);
    }
}

// Right-hand side of rows 0..n-1: (1 - lambda) N^T Q, or N^T Q for the plain fit.
void FillRightHandSide(const FitSetup& f, const FitShape& s, const NormalEquations& eq,
                       FitSystem& sys) {
    for (int i = 0; i < s.n; ++i) {
        const double* b = eq.rhs.data() + idx(i) * 3;
        if (f.smoothed) {
            const double w = 1 - f.lambda;
            sys.B[idx(i)] = YdPoint(w * b[0], w * b[1], w * b[2]);
        } else {
            sys.B[idx(i)] = YdPoint(b[0], b[1], b[2]);
        }
    }
}

// Solve: one pivoted factorisation for the three coordinates; the first n unknowns go to
// ctrl (the multipliers are dropped), and only when every one of them is finite.
bool SolveSystem(const FitShape& s, FitSystem& sys, std::vector<YdPoint>& ctrl) {
    std::vector<int> pivots(idx(s.S));
    if (!sys.A.LUDecompose(pivots)) {
        return false;
    }
    if (!sys.A.GetSolutionAfterLUDecompose(pivots, sys.B)) {
        return false;
    }
    for (int i = 0; i < s.n; ++i) {
        if (!yd_detail::IsFinitePoint(sys.B[idx(i)])) {
            return false;
        }
    }
    for (int i = 0; i < s.n; ++i) {
        const YdPoint& x = sys.B[idx(i)];
        ctrl[idx(i)] = YdPoint(x[0], x[1], x[2]);
    }
    return true;
}

// Assembles and solves one fit; on success the first n unknowns go to ctrl (already sized n).
bool SolveFit(const FitSetup& f, std::vector<YdPoint>& ctrl) {
    static const TangentList kNoTangents;
    const TangentList& tangents = f.tangents != nullptr ? *f.tangents : kNoTangents;
    FitShape shape;
    if (!CheckFit(f, tangents, shape)) {
        return false;
    }
    BasisRows rows;
    if (!BuildBasisRows(f, shape, rows)) {
        return false;
    }
    NormalEquations eq(shape.n, shape.p);
    AccumulateNormal(f, shape, rows, eq);
    Fairing fair(f.smoothed ? shape.n : 0, shape.p);
    if (!ComputeFairing(f, shape, eq.ntn, fair)) {
        return false;
    }
    FitSystem sys(shape);
    FillNormalBlock(f, shape, eq, fair, sys);
    AddConstraintRows(f, tangents, shape, sys);
    FillRightHandSide(f, shape, eq, sys);
    return SolveSystem(shape, sys, ctrl);
}

}  // namespace

bool YdBSplineCurve::LeastSquareFitOpen(int numCtrlPnts, const std::vector<int>& interpIdx,
                                        bool keepKnots, double lambda) {
    return LeastSquareFitOpen(numCtrlPnts, TangentList(), interpIdx, keepKnots, lambda);
}

bool YdBSplineCurve::LeastSquareFitOpen(int numCtrlPnts, const TangentList& tangents,
                                        const std::vector<int>& interpIdx, bool keepKnots,
                                        double lambda) {
    AllocateMemory(m_degree, numCtrlPnts, !keepKnots);
    if (!keepKnots) {
        DetermineKnotVector(false);
    }
    return SolveFit(FitSetup{m_degree, numCtrlPnts, &m_knotVec, &m_fitPnts, &m_pointParams,
                             &interpIdx, &tangents, false, true, lambda},
                    m_ctrlPnts);
}

bool YdBSplineCurve::LeastSquareFitClosed(int numCtrlPnts, const std::vector<int>& interpIdx,
                                          bool keepKnots, double lambda) {
    return LeastSquareFitClosed(numCtrlPnts, TangentList(), interpIdx, keepKnots, lambda);
}

bool YdBSplineCurve::LeastSquareFitClosed(int numCtrlPnts, const TangentList& tangents,
                                          const std::vector<int>& interpIdx, bool keepKnots,
                                          double lambda) {
    AllocateMemory(m_degree, numCtrlPnts, !keepKnots);
    if (!keepKnots) {
        DetermineKnotVector(false);
    }
    return SolveFit(FitSetup{m_degree, numCtrlPnts, &m_knotVec, &m_fitPnts, &m_pointParams,
                             &interpIdx, &tangents, true, true, lambda},
                    m_ctrlPnts);
}

bool YdBSplineCurve::LeastSquareFitSpecial(int numCtrlPnts, const TangentList& tangents,
                                           const std::vector<int>& interpIdx) {
    AllocateMemory(m_degree, numCtrlPnts, true);
    DetermineKnotVector(false);
    return SolveFit(FitSetup{m_degree, numCtrlPnts, &m_knotVec, &m_fitPnts, &m_pointParams,
                             &interpIdx, &tangents, false, false},
                    m_ctrlPnts);
}

void YdBSplineCurve::CalucalteErrorMatrix(YdMatrix& N, int* first, int* last, int numCtrlPnts) {
    const int p = m_degree;
    const int n = numCtrlPnts;
    const int m = static_cast<int>(std::min(m_fitPnts.size(), m_pointParams.size()));
    std::vector<int> spans(idx(std::max(m, 0)), p);
    if (p >= 0 && yd_detail::BasisKnotsUsable(m_knotVec.GetCount(), p)) {
        std::vector<std::vector<double>> ders;
        for (int r = 0; r < m; ++r) {
            int span = p;
            YdNurbsHelper::GetBasisFunctionValue(m_knotVec, p, 0, m_pointParams[idx(r)], ders,
                                                 span);
            spans[idx(r)] = span;
            if (r >= N.GetRow()) {
                continue;
            }
            for (int j = 0; j <= p; ++j) {
                const int c = span - p + j;
                if (c >= 0 && c < N.GetCol()) {
                    N[r][c] = ders[0][idx(j)];
                }
            }
        }
    }
    if (first != nullptr && last != nullptr && n > 0) {
        ComputeBandLimits(spans, m, n, p, first, last);
    }
}

void YdBSplineCurve::CalculateEnergyMatrix(int derivOrder, YdMatrix& K, double& maxAbs) {
    const int n = GetNumOfCtrlPnts();
    AccumulateEnergy(m_knotVec, m_degree, n, derivOrder, [&K](int i, int j, double v) {
        if (i < K.GetRow() && j < K.GetCol()) {
            K[i][j] += v;
        }
    });
    double biggest = 0.0;
    for (int i = 0; i < K.GetRow(); ++i) {
        for (int j = i; j < K.GetCol(); ++j) {
            const double v = std::fabs(K[i][j]);
            if (v > biggest) {
                biggest = v;
            }
        }
    }
    maxAbs = biggest;
}
