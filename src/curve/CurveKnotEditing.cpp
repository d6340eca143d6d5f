// SPDX-License-Identifier: MIT

// Reference: knot insertion by Boehm's algorithm (Piegl and Tiller, The NURBS Book, 2nd ed.,
// algorithm A5.1); knot removal within a distance tolerance (ibid., algorithm A5.8); splitting and
// sub-curves by inserting knots up to full multiplicity.
//
// Knot editing of YdBSplineCurve that keeps the shape: single knot insertion, removal of one
// knot within a distance tolerance, and the split and sub-curve operations built on insertion.
// All of them assume a clamped knot vector on [0, 1], which every construction routine of the
// library produces; index ranges are checked so that other input fails instead of reading out
// of bounds.

#include <cmath>
#include <cstddef>
#include <vector>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

using yd_detail::idx;

namespace {

// Insertion treats knots closer than this as one knot.
constexpr double kInsertSnapTol = 1e-7;
// Removal recognises a knot a hundred times more loosely than insertion does: hosts pass
// parameters that were rounded on their way through the controller.
constexpr double kRemoveMatchTol = 1e-5;
// Split and sub-curve extraction count knots within this distance as the split value.
constexpr double kSplitTol = 1e-7;

// True when degree, control-point count and knot count fit together (knots = points + p + 1,
// at least one span) and the knot range is not empty.
bool IsWellFormed(int p, int n, const std::vector<double>& U) {
    if (p < 0 || n <= p || static_cast<int>(U.size()) != n + p + 1) {
        return false;
    }
    return U.front() < U.back();
}

// a * P + b * Q as a fresh point (the host attributes of a computed point start at zero).
YdPoint Combine(double a, const YdPoint& P, double b, const YdPoint& Q) {
    return YdPoint(a * P[0] + b * Q[0], a * P[1] + b * Q[1], a * P[2] + b * Q[2]);
}

// (P - w Q) / d: the control point that, blended with Q, gave P.
YdPoint Unblend(const YdPoint& P, double w, const YdPoint& Q, double d) {
    return YdPoint((P[0] - w * Q[0]) / d, (P[1] - w * Q[1]) / d, (P[2] - w * Q[2]) / d);
}

// Maps the knots linearly so that the first becomes 0 and the last 1.
std::vector<double> MapToUnit(const std::vector<double>& K) {
    std::vector<double> out(K.size());
    const double first = K.front();
    const double span = K.back() - first;
    for (std::size_t i = 0; i < K.size(); ++i) {
        out[i] = (K[i] - first) / span;
    }
    return out;
}

YdKnotVec MakeKnotVec(const std::vector<double>& K) {
    YdKnotVec kv;
    kv.SetKnots(K);
    return kv;
}

// Where a sub-range [u1, u2] sits among the interior knots (indices 1 .. N - 2): how many
// knots lie within 1e-7 of each bound, the first knot above u1 and the last knot below u2
// (-1 when there is none), each not within 1e-7 of its bound.
struct SubRangeKnots {
    int s1;
    int s2;
    int a;
    int b;
};

SubRangeKnots ScanSubRange(const std::vector<double>& U, double u1, double u2) {
    SubRangeKnots scan{0, 0, -1, -1};
    const int N = static_cast<int>(U.size());
    for (int i = 1; i <= N - 2; ++i) {
        const double k = U[i];
        const bool near1 = std::fabs(k - u1) < kSplitTol;
        const bool near2 = std::fabs(k - u2) < kSplitTol;
        if (near1) {
            ++scan.s1;
        }
        if (near2) {
            ++scan.s2;
        }
        if (scan.a < 0 && k > u1 && !near1) {
            scan.a = i;
        }
        if (k < u2 && !near2) {
            scan.b = i;
        }
    }
    return scan;
}

// The knots of the piece over [u1, u2]: p + 1 copies of u1, the knots strictly between, p + 1
// copies of u2, each mapped by (k - u1) / (u2 - u1).
std::vector<double> SubCurveKnots(const std::vector<double>& U, int p, double u1, double u2,
                                  const SubRangeKnots& scan) {
    std::vector<double> K(idx(p) + 1, u1);
    if (scan.a <= scan.b) {
        K.insert(K.end(), U.begin() + scan.a, U.begin() + (scan.b + 1));
    }
    K.insert(K.end(), idx(p) + 1, u2);
    for (double& k : K) {
        k = (k - u1) / (u2 - u1);
    }
    return K;
}

}  // namespace

bool YdBSplineCurve::InsertKnot(double u, bool allowExisting) {
    // The bounds are the fixed numbers 0 and 1, not the end knots: every curve of the library
    // runs over [0, 1]. Written so that NaN is refused too.
    if (!(u > 0.0 && u < 1.0)) {
        return false;
    }
    const int p = m_degree;
    const int n = GetNumOfCtrlPnts();
    const std::vector<double>& U = m_knotVec.GetKnots();
    // A knot outside the curve's own range would break the order of the knots.
    if (!IsWellFormed(p, n, U) || u <= U.front() || u >= U.back()) {
        return false;
    }

    const int k = m_knotVec.FindSpan(p, u);
    // Exact equality on purpose: a value 1e-8 away from a knot is not "existing" here, it
    // snaps onto the knot below.
    if (u == U[k] && !allowExisting) {
        return false;
    }
    int s = 0;
    for (int i = k - p; i <= k; ++i) {
        if (std::fabs(u - U[i]) < kInsertSnapTol) {
            ++s;
            u = U[i];
        }
    }
    // At multiplicity p the curve already interpolates a control point there; more would
    // break the curve apart.
    if (s >= p) {
        return false;
    }

    std::vector<double> newKnots(U);
    newKnots.insert(newKnots.begin() + (k + 1), u);

    const std::vector<YdPoint>& P = m_ctrlPnts;
    std::vector<YdPoint> Q(idx(n) + 1);
    for (int i = 0; i <= k - p; ++i) {
        Q[i] = P[i];
    }
    for (int i = k - s + 1; i <= n; ++i) {
        Q[i] = P[i - 1];
    }
    for (int i = k - p + 1; i <= k - s; ++i) {
        const double alpha = (u - U[i]) / (U[i + p] - U[i]);
        Q[i] = Combine(alpha, P[i], 1.0 - alpha, P[i - 1]);
    }

    m_knotVec.SetKnots(newKnots);
    m_ctrlPnts.swap(Q);
    return true;
}

bool YdBSplineCurve::RemoveKnot(double u, double tol) {
    if (!(u > 0.0 && u < 1.0)) {
        return false;
    }
    const int p = m_degree;
    const int n = GetNumOfCtrlPnts();
    std::vector<double>& U = m_knotVec.GetKnots();
    if (!IsWellFormed(p, n, U) || p < 1) {
        return false;
    }

    const int r = m_knotVec.FindSpan(p, u);
    int s = 0;
    for (int i = r - p + 1; i <= r; ++i) {
        if (std::fabs(u - U[i]) < kRemoveMatchTol) {
            ++s;
            u = U[i];
        }
    }
    if (s == 0) {
        return false;
    }
    // Only an interior knot can go: a value that snapped onto an end knot (u within 1e-5 of
    // the start) would need control points before the first one.
    if (u <= U[p] || u >= U[n]) {
        return false;
    }

    const int first = r - p;
    const int last = r - s;
    const std::vector<YdPoint>& P = m_ctrlPnts;
    std::vector<YdPoint> T(idx(last - first) + 3);
    T[0] = P[first - 1];
    T[last - first + 2] = P[last + 1];

    int i = first;
    int j = last;
    int ii = 1;
    int jj = last - first + 1;
    while (j - i >= 1) {
        const double alfi = (u - U[i]) / (U[i + p + 1] - U[i]);
        const double alfj = (u - U[j]) / (U[j + p + 1] - U[j]);
        T[ii] = Unblend(P[i], 1.0 - alfi, T[ii - 1], alfi);
        T[jj] = Unblend(P[j], alfj, T[jj + 1], 1.0 - alfj);
        ++i;
        ++ii;
        --j;
        --jj;
    }

    bool removable = false;
    if (j < i) {
        removable = tol >= T[ii - 1].DistanceToPoint(T[jj + 1]);
    } else {
        const double alfi = (u - U[i]) / (U[i + p + 1] - U[i]);
        const YdPoint blend = Combine(alfi, T[ii + 1], 1.0 - alfi, T[ii - 1]);
        removable = tol >= P[i].DistanceToPoint(blend);
    }
    if (!removable) {
        return false;
    }

    i = first;
    j = last;
    while (j - i >= 1) {
        m_ctrlPnts[i] = T[i - first + 1];
        m_ctrlPnts[j] = T[j - first + 1];
        ++i;
        --j;
    }
    U.erase(U.begin() + r);
    const int f = (2 * r - s - p) / 2;
    m_ctrlPnts.erase(m_ctrlPnts.begin() + f);
    return true;
}

std::vector<YdBSplineCurve*> YdBSplineCurve::SplitCurve(double u) {
    std::vector<YdBSplineCurve*> result;
    const int p = m_degree;
    const std::vector<double>& U0 = m_knotVec.GetKnots();
    // At or beyond the ends, or on a curve that cannot be split, the result is one copy.
    if (!IsWellFormed(p, GetNumOfCtrlPnts(), U0) || !(u > U0.front() && u < U0.back())) {
        result.push_back(new YdBSplineCurve(m_knotVec, m_ctrlPnts, m_degree, m_closed));
        return result;
    }

    YdBSplineCurve c(*this);
    const int N = static_cast<int>(U0.size());
    int s = 0;
    for (int i = 1; i <= N - 2; ++i) {
        if (std::fabs(U0[i] - u) < kSplitTol) {
            ++s;
        }
    }
    bool inserted = true;
    for (int t = 0; t < p - s && inserted; ++t) {
        inserted = c.InsertKnot(u, true);
    }

    // A knot goes to a piece when its difference from u is at least 1e-7: the complement of
    // the count above, so a knot counted as u is dropped from both pieces. (Comparing the knot
    // with u - 1e-7 or u + 1e-7 rounds differently and can hand such a knot to a piece.)
    const std::vector<double>& U = c.m_knotVec.GetKnots();
    std::vector<double> KL;
    std::vector<double> KR(idx(p) + 1, u);
    for (double k : U) {
        if (u - k >= kSplitTol) {
            KL.push_back(k);
        }
    }
    KL.insert(KL.end(), idx(p) + 1, u);
    for (double k : U) {
        if (k - u >= kSplitTol) {
            KR.push_back(k);
        }
    }

    const int nc = c.GetNumOfCtrlPnts();
    const int nl = static_cast<int>(KL.size()) - p - 1;
    const int nr = static_cast<int>(KR.size()) - p - 1;
    // A refused insertion (u within 1e-7 of an end knot, or a knot range other than [0, 1])
    // or a piece without a span of its own cannot give two curves: one copy instead.
    if (!inserted || nl <= p || nr <= p || nl > nc || nr > nc) {
        result.push_back(new YdBSplineCurve(m_knotVec, m_ctrlPnts, m_degree, m_closed));
        return result;
    }

    const std::vector<YdPoint>& CP = c.m_ctrlPnts;
    std::vector<YdPoint> left(CP.begin(), CP.begin() + nl);
    std::vector<YdPoint> right(CP.end() - nr, CP.end());
    result.push_back(new YdBSplineCurve(MakeKnotVec(MapToUnit(KL)), left, p, false));
    result.push_back(new YdBSplineCurve(MakeKnotVec(MapToUnit(KR)), right, p, false));
    return result;
}

YdBSplineCurve* YdBSplineCurve::ExtractSubCurve(double u1, double u2) const {
    const int p = m_degree;
    const std::vector<double>& U0 = m_knotVec.GetKnots();
    if (!IsWellFormed(p, GetNumOfCtrlPnts(), U0)) {
        return nullptr;
    }
    if (u1 < U0.front()) {
        u1 = U0.front();
    }
    if (u2 > U0.back()) {
        u2 = U0.back();
    }
    // Also refuses NaN bounds.
    if (!(u1 < u2)) {
        return nullptr;
    }

    const SubRangeKnots scan = ScanSubRange(U0, u1, u2);
    if (scan.a < 0 || scan.b < 0) {
        return nullptr;
    }
    const std::vector<double> K = SubCurveKnots(U0, p, u1, u2, scan);

    YdBSplineCurve c(*this);
    bool inserted = true;
    for (int t = 0; t < p - scan.s1 && inserted; ++t) {
        inserted = c.InsertKnot(u1, true);
    }
    for (int t = 0; t < p - scan.s2 && inserted; ++t) {
        inserted = c.InsertKnot(u2, true);
    }

    // Indices in the refined copy: u1 now ends at a' - 1 with multiplicity p, u2 at b'.
    const int aRefined = scan.a - scan.s1;
    const int bRefined = scan.b + (p - scan.s1) + p;
    const int lo = aRefined - 1;
    const int hi = bRefined - p;
    const int count = hi - lo + 1;
    // A refused insertion or knots crowding the bounds (closer than 1e-7) leave counts that do
    // not fit together; there is then no well-formed piece to hand out.
    if (!inserted || lo < 0 || hi >= c.GetNumOfCtrlPnts() ||
        count != static_cast<int>(K.size()) - p - 1) {
        return nullptr;
    }
    std::vector<YdPoint> pts(c.m_ctrlPnts.begin() + lo, c.m_ctrlPnts.begin() + (hi + 1));
    return new YdBSplineCurve(MakeKnotVec(K), pts, p, false);
}

YdBSplineCurve* YdBSplineCurve::ExtractSubCurve(const YdPoint& p1, const YdPoint& p2) const {
    double t1 = 0.0;
    double t2 = 0.0;
    YdPoint q1;
    YdPoint q2;
    if (!FindNearestPoint(p1, t1, q1, nullptr)) {
        return nullptr;
    }
    if (!FindNearestPoint(p2, t2, q2, nullptr)) {
        return nullptr;
    }
    // Taken in the order of the points: a first point projecting at or beyond the second gives
    // no piece (null from the parameter overload).
    return ExtractSubCurve(t1, t2);
}
