// SPDX-License-Identifier: MIT

// Reference: global curve interpolation by a collocation system with chord-length parameters and
// averaged knots, with first-derivative constraints (Piegl and Tiller, The NURBS Book, 2nd ed.,
// section 9.2); single cubic segments from end points and end tangents in Bezier form.

#include <algorithm>
#include <memory>
#include <utility>

#include "../geometry/IndexCast.h"
#include "../geometry/PointChecks.h"
#include "../geometry/YdBorderedBandLU.h"
#include "../nurbs/BasisKernel.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

using yd_detail::idx;

// The interpolation systems are square, n x n, with n up to the tens of thousands. They are
// stored compactly (a band per row plus, for closed curves, the last p + 1 columns that the
// closure rows reach) and factorised with the very pivoted elimination of YdMatrix, so the
// control points are those of the dense solve, without its n^2 memory.

namespace {

using Rows = std::vector<std::vector<double>>;

// Row `row` of A receives sign * (derivative `order` of the basis functions at u) in the
// columns of the span. Plain stores: where two writes meet, the later one wins.
void SetBasisRow(YdBorderedBandLU& A, int row, const YdKnotVec& knots, int p, int order, double u,
                 bool negate, Rows& N) {
    int span = 0;
    YdNurbsHelper::GetBasisFunctionValue(knots, p, order, u, N, span);
    const std::vector<double>& r = N[idx(std::min(order, p))];
    for (int j = 0; j <= p; ++j) {
        const double v = r[idx(j)];
        A.Set(row, span - p + j, negate ? -v : v);
    }
}

// One row per point: C(params[i]) = points[i].
void SetPointRows(YdBorderedBandLU& A, std::vector<YdPoint>& rhs,
                  const std::vector<YdPoint>& points, const std::vector<double>& params,
                  const YdKnotVec& knots, int p, Rows& N) {
    for (size_t i = 0; i < points.size(); ++i) {
        SetBasisRow(A, static_cast<int>(i), knots, p, 0, params[i], false, N);
        rhs[i] = points[i];
    }
}

// Rows m .. m + p - 1 ask for equal derivatives of orders 0 .. p - 1 at the parameters 0 and
// 1 (fixed values, not the knot range); their right-hand side stays zero. A row that would
// fall outside the system is left out (the literal placement would write past its end).
void SetClosureRows(YdBorderedBandLU& A, int m, const YdKnotVec& knots, int p, Rows& N) {
    for (int r = 0; r < p && m + r < A.Size(); ++r) {
        SetBasisRow(A, m + r, knots, p, r, 0.0, false, N);
        SetBasisRow(A, m + r, knots, p, r, 1.0, true, N);
    }
}

// Factorises and solves in place; on success the control points are the solution.
bool SolveInto(YdBorderedBandLU& A, std::vector<YdPoint>& rhs, std::vector<YdPoint>& ctrl) {
    std::vector<int> pivots(idx(A.Size()), 0);
    if (!A.LUDecompose(pivots)) {
        return false;
    }
    if (!A.GetSolutionAfterLUDecompose(pivots, rhs)) {
        return false;
    }
    // A NaN passes every pivot test: a system of basis values divided by zero-length spans
    // (coincident parameters) is singular, not solved.
    if (!yd_detail::AllFinitePoints(rhs)) {
        return false;
    }
    ctrl.resize(rhs.size());
    for (size_t i = 0; i < rhs.size(); ++i) {
        ctrl[i] = rhs[i];
    }
    return true;
}

// Closure rows reach the last p + 1 columns from the bottom of the system.
int BorderWidth(bool closed, int p) {
    return closed ? p + 1 : 0;
}

}  // namespace

YdBSplineCurve* YdBSplineCurve::CreateInterpolateCurve(const std::vector<YdPoint>& points,
                                                       bool closed) {
    const int m = static_cast<int>(points.size());
    if (m < 2) {
        return nullptr;
    }
    const int degree = m == 2 ? 1 : (m == 3 ? 2 : 3);
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve(points, degree, closed));
    YdNurbsHelper::Parameterize(points, closed, curve->m_pointParams);
    curve->m_knotVec.InterpolateFix(curve->m_pointParams, degree, closed);
    if (m == 2) {
        // A straight line through both points, also when closed (its knots then have one
        // entry more than the two control points need; kept as hosts expect).
        curve->m_ctrlPnts = points;
        return curve.release();
    }

    const int n = curve->m_knotVec.GetCount() - degree - 1;
    if (n < m) {
        return nullptr;
    }
    curve->m_ctrlPnts.resize(idx(n));
    YdBorderedBandLU A(n, BorderWidth(closed, degree));
    std::vector<YdPoint> rhs(idx(n), YdPoint(0.0, 0.0, 0.0));
    Rows N;
    SetPointRows(A, rhs, points, curve->m_pointParams, curve->m_knotVec, degree, N);
    if (closed) {
        SetClosureRows(A, m, curve->m_knotVec, degree, N);
    }
    if (!SolveInto(A, rhs, curve->m_ctrlPnts)) {
        return nullptr;
    }
    return curve.release();
}

YdBSplineCurve* YdBSplineCurve::CreateInterpolateCurve(
    const std::vector<YdPoint>& points, const std::vector<std::pair<int, YdVector>>& derivs,
    bool closed) {
    const int m = static_cast<int>(points.size());
    if (m < 2) {
        return nullptr;
    }
    const int k = static_cast<int>(derivs.size());
    std::vector<int> indices;
    indices.reserve(derivs.size());
    for (const std::pair<int, YdVector>& d : derivs) {
        indices.push_back(d.first);
    }
    const int degree = std::min(3, m + k - 1);
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve(points, degree, closed));
    YdNurbsHelper::Parameterize(points, closed, curve->m_pointParams);
    curve->m_knotVec.makeBasis(curve->m_pointParams, degree, indices);
    if (m == 2) {
        // Two points make the line through them; the derivatives are not used.
        curve->m_ctrlPnts = points;
        return curve.release();
    }
    for (int i : indices) {
        // An index that names no point would read past the parameters (the knot placement
        // above only compares indices, it never reads through them).
        if (i < 0 || i >= m) {
            return nullptr;
        }
    }

    const int n = curve->m_knotVec.GetCount() - degree - 1;
    if (n < m + k || !yd_detail::BasisKnotsUsable(curve->m_knotVec.GetCount(), degree)) {
        return nullptr;
    }
    curve->m_ctrlPnts.resize(idx(n));
    YdBorderedBandLU A(n, BorderWidth(closed, degree));
    std::vector<YdPoint> rhs(idx(n), YdPoint(0.0, 0.0, 0.0));
    Rows N;
    SetPointRows(A, rhs, points, curve->m_pointParams, curve->m_knotVec, degree, N);
    if (closed) {
        SetClosureRows(A, m, curve->m_knotVec, degree, N);
    }
    // Written after the closure rows and into the same rows m .. m + k - 1: for a closed
    // curve with constraints a derivative row overwrites the closure entries it meets and
    // keeps the others, a mix hosts rely on.
    for (int c = 0; c < k; ++c) {
        const int i = derivs[idx(c)].first;
        SetBasisRow(A, m + c, curve->m_knotVec, degree, 1, curve->m_pointParams[idx(i)], false, N);
        const YdVector& v = derivs[idx(c)].second;
        rhs[idx(m + c)] = YdPoint(v[0], v[1], v[2]);
    }
    if (!SolveInto(A, rhs, curve->m_ctrlPnts)) {
        return nullptr;
    }
    return curve.release();
}

YdBSplineCurve* YdBSplineCurve::CreateInterpolateCurve(const std::vector<YdPoint>& points,
                                                       int degree,
                                                       const std::vector<double>& params,
                                                       const YdKnotVec& knots, bool closed) {
    const int m = static_cast<int>(points.size());
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve(points, degree, closed));
    curve->m_knotVec = knots;
    if (m < 2) {
        return nullptr;
    }
    if (m == 2 || m == 3) {
        curve->m_ctrlPnts = points;
        return curve.release();
    }

    // The caller's data must describe a square system that holds every point row: a degree
    // with at least one span, one parameter per point and no more points than unknowns.
    const int count = knots.GetCount();
    if (!yd_detail::BasisKnotsUsable(count, degree) || params.size() < points.size()) {
        return nullptr;
    }
    const int n = count - degree - 1;
    if (n < m) {
        return nullptr;
    }
    curve->m_ctrlPnts.resize(idx(n));
    YdBorderedBandLU A(n, BorderWidth(closed, degree));
    std::vector<YdPoint> rhs(idx(n), YdPoint(0.0, 0.0, 0.0));
    Rows N;
    SetPointRows(A, rhs, points, params, curve->m_knotVec, degree, N);
    if (closed) {
        SetClosureRows(A, m, curve->m_knotVec, degree, N);
    }
    if (!SolveInto(A, rhs, curve->m_ctrlPnts)) {
        return nullptr;
    }
    return curve.release();
}

YdBSplineCurve* YdBSplineCurve::CreateByEndPointsAndTangents(const YdPoint& p0, const YdPoint& p1,
                                                             const YdVector& t0,
                                                             const YdVector& t1) {
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve({p0, p1}, 3, false));
    YdNurbsHelper::Parameterize(curve->m_fitPnts, false, curve->m_pointParams);
    curve->m_knotVec.SetKnots({0.0, 0.0, 0.0, 0.0, 1.0, 1.0, 1.0, 1.0});

    YdVector d = p1 - p0;
    d.Normalize();
    curve->m_ctrlPnts.resize(4);
    curve->m_ctrlPnts[0] = p0;
    if (t0 == d && t1 == d) {
        // Tangents along the chord: a straight segment with evenly spaced control points.
        const double L = p0.DistanceToPoint(p1) / 3;
        curve->m_ctrlPnts[1] = p0 + t0 * L;
        curve->m_ctrlPnts[2] = p1 + -(t1 * L);
    } else {
        // Otherwise the tangents are derivatives with respect to the parameter.
        curve->m_ctrlPnts[1] = p0 + t0 * (1.0 / 3);
        curve->m_ctrlPnts[2] = p1 + -(t1 * (1.0 / 3));
    }
    curve->m_ctrlPnts[3] = p1;
    return curve.release();
}

YdBSplineCurve* YdBSplineCurve::CreateByThreePointsAndEndTangents(const YdPoint& p0,
                                                                  const YdPoint& p1,
                                                                  const YdPoint& p2,
                                                                  const YdVector& t0,
                                                                  const YdVector& t2) {
    const double a = p0.DistanceToPoint(p1) / 3;
    const double b = p1.DistanceToPoint(p2) / 3;
    // p1 sits at its chord-length parameter, which becomes the one interior knot. When p1 is
    // so close to an end that t rounds onto it, the solve for C2 below would divide by zero:
    // p1 then counts as coinciding with that end.
    const double t = a / (a + b);
    if (a == 0 || b == 0 || t == 0.0 || t == 1.0) {
        return CreateByEndPointsAndTangents(p0, p2, t0, t2);
    }
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve());
    curve->m_degree = 3;
    curve->m_closed = false;

    curve->m_knotVec.SetKnots({0.0, 0.0, 0.0, 0.0, t, 1.0, 1.0, 1.0, 1.0});

    const YdPoint c1 = p0 + t0 * (t / 3);
    const YdPoint c3 = p2 + -(t2 * ((1 - t) / 3));
    // Solved from C(t) = (1 - t)^2 C1 + 2 t (1 - t) C2 + t^2 C3 = p1.
    const double s = 1 - t;
    const double den = 2 * t * s;
    const YdPoint c2((p1[0] - s * s * c1[0] - t * t * c3[0]) / den,
                     (p1[1] - s * s * c1[1] - t * t * c3[1]) / den,
                     (p1[2] - s * s * c1[2] - t * t * c3[2]) / den);
    curve->m_ctrlPnts = {p0, c1, c2, c3, p2};
    curve->m_pointParams = {0.0, t, 1.0};
    curve->m_fitPnts = {p0, p1, p2};
    return curve.release();
}
