// SPDX-License-Identifier: MIT

// Reference: offset curves by transporting the offset vector with the rotation that turns each unit
// tangent into the next (a discrete rotation-minimising frame, after Bishop, "There is more than
// one way to frame a curve", 1975) and fitting the offset points; the seam of a closed curve moved
// by extracting and joining its two pieces.
//
// Offset curves (constant distance, offset vector transported along the tangents) and moving the
// seam of a closed curve.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

using yd_detail::idx;

namespace {

// Each non-empty knot span is cut into this many pieces. The count derived from the tolerance
// below is clamped so that it always ends here: hosts rely on the sampling not depending on
// the tolerance.
constexpr double kSamplesPerSpan = 10.0;

// Below this |u| Rotate leaves the seam where it is.
constexpr double kSeamTol = 1e-7;

// The subdivision count of a span of width delta. The clamp min(5, .) then max(10, .) always
// yields ten; it is written out so the rule stays visible. Doubles keep a zero or negative
// tolerance (an infinite or NaN ratio) well defined.
int SpanSubdivisions(double delta, double tolerance) {
    double k = std::trunc(delta / tolerance);
    k = std::min(5.0, k);
    k = std::max(kSamplesPerSpan, k);
    return static_cast<int>(k);
}

}  // namespace

YdBSplineCurve* YdBSplineCurve::OffSetCurve(double distance, double tolerance) const {
    return CreateOffSetBSpline(*this, distance, tolerance);
}

YdBSplineCurve* YdBSplineCurve::CreateOffSetBSpline(const YdBSplineCurve& curve, double distance,
                                                    double tolerance) {
    const int p = curve.m_degree;
    const std::vector<double>& U = curve.m_knotVec.GetKnots();
    const int K = static_cast<int>(U.size());
    // Without a clamped start and end there is no parameter range to sample.
    if (p < 0 || K < 2 * (p + 1)) {
        return nullptr;
    }

    // 1. Sample parameters: ten per non-empty span, accumulated by repeated addition.
    std::vector<double> params;
    params.push_back(U[p]);
    for (int i = p + 1; i < K - p; ++i) {
        const double delta = U[i] - U[i - 1];
        if (delta == 0.0) {
            continue;
        }
        const int count = SpanSubdivisions(delta, tolerance);
        const double step = delta / count;
        double u = U[i - 1];
        for (int j = 1; j <= count; ++j) {
            u += step;
            params.push_back(u);
        }
    }
    params.back() = U[K - p - 1];

    // 2. Points and unit tangents at the samples.
    const std::size_t n = params.size();
    std::vector<YdPoint> P(n);
    std::vector<YdVector> T(n);
    std::vector<YdVector> derivs;
    for (std::size_t i = 0; i < n; ++i) {
        curve.Evaluate(params[i], 1, P[i], derivs);
        T[i] = derivs[0];
        T[i].Normalize();
    }

    // 3. Start offset d n with n = (T x A) x T from the unit first and second derivatives at
    // the parameter 0.0 itself (the range [0, 1] is taken literally). n is not normalised: the
    // offset is the full distance where C'' is perpendicular to C' (constant speed) and shorter
    // by the sine of their angle elsewhere; the offset points are kept exactly as hosts expect
    // them. A second derivative that IsZero (a straight start) has no principal normal: rather
    // than the fallback direction (1, 0, 0) that normalising it would give, the offset vector
    // is then zero and the transport keeps it zero.
    curve.Evaluate(0.0, 2, P[0], derivs);
    YdVector tangent = derivs[0];
    tangent.Normalize();
    YdVector normal;
    if (!derivs[1].IsZero()) {
        YdVector accel = derivs[1];
        accel.Normalize();
        const YdVector binormal = tangent * accel;
        normal = binormal * tangent;
    }
    std::vector<YdPoint> Q(n);
    Q[0] = P[0] + normal * distance;

    // 4. Transport the offset vector with the rotation that turns each tangent into the next, so
    // that it stays consistent on space curves without a fixed plane.
    for (std::size_t i = 1; i < n; ++i) {
        const YdMatrix R = YdMatrix::s_GetRotationMatrix(T[i - 1], T[i]);
        const YdVector previous = (Q[i - 1] + (P[i] - P[i - 1])) - P[i];
        Q[i] = P[i] + R * previous;
    }

    // 5. Fit the offset points; no point is met exactly.
    return CreateApproximateCurve(Q, std::vector<int>(), curve.m_closed, tolerance);
}

bool YdBSplineCurve::Rotate(double u) {
    if (!m_closed || m_degree < 0) {
        return false;
    }
    if (std::fabs(u) < kSeamTol) {
        return true;
    }
    YdBSplineCurve* A = ExtractSubCurve(u, 1.0);
    YdBSplineCurve* B = ExtractSubCurve(0.0, u);
    // Pieces without a clamped knot vector cannot be joined (checked before anything changes).
    const int p = m_degree;
    const auto wellFormed = [p](const YdBSplineCurve* c) {
        return c != nullptr && c->m_knotVec.GetCount() >= p + 2 && !c->m_ctrlPnts.empty();
    };
    if (!wellFormed(A) || !wellFormed(B)) {
        delete A;
        delete B;
        return false;
    }

    // Share [0, 1] between the pieces in proportion to their arc lengths. A curve of zero length
    // (all control points at one spot) has no lengths to compare; the parameter itself then
    // decides, which keeps the knots finite.
    const double LA = A->Length(0.0, 1.0, true);
    const double LB = B->Length(0.0, 1.0, true);
    double r = LA / (LA + LB);
    if (!(LA + LB > 0.0) || !std::isfinite(r)) {
        r = u;
    }

    std::vector<double> knots = A->m_knotVec.GetKnots();
    knots.pop_back();
    for (double& k : knots) {
        k *= r;
    }
    m_knotVec.SetKnots(knots);
    // The joint keeps multiplicity p: A's end knots minus one, scaled to r.
    const double joint = m_knotVec.GetKnots().back();
    const std::vector<double>& bKnots = B->m_knotVec.GetKnots();
    for (std::size_t i = idx(p) + 1; i < bKnots.size(); ++i) {
        m_knotVec.AddKnot(joint + (1.0 - joint) * bKnots[i]);
    }
    m_knotVec.Normalize();

    // B's first control point is A's last (both are the old seam point).
    std::vector<YdPoint> ctrl = A->m_ctrlPnts;
    ctrl.insert(ctrl.end(), B->m_ctrlPnts.begin() + 1, B->m_ctrlPnts.end());
    m_ctrlPnts.swap(ctrl);

    delete A;
    delete B;
    return true;
}
