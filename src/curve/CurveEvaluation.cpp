// SPDX-License-Identifier: MIT

// Reference: curve points and derivatives as sums of control points weighted by the basis functions
// and their derivatives (Piegl and Tiller, The NURBS Book, 2nd ed., algorithms A3.1 and A3.2).

#include <algorithm>

#include "../geometry/IndexCast.h"
#include "../nurbs/BasisKernel.h"
#include "CurveEvalKernel.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

using yd_detail::idx;

static_assert(yd_detail::kMaxStackDegree == yd_detail::kBasisStackDegree,
              "the curve kernel and the basis kernel must agree on their inline degree");

namespace {

// The point (x, y, z) as YdPoint(x, y, z) would make it, written field by field: the
// constructors live in the library's exported (interposable) code and cost calls on the
// hottest path. `like` is any point; only its storage is reused.
inline YdPoint FreshPoint(const YdPoint& like, double x, double y, double z) {
    YdPoint r(like);
    r.m_angle = 0.0;
    r.m_dAttr1 = 0.0;
    r.m_dAttr2 = 0.0;
    r.m_dAttr3 = 0.0;
    r.m_nAttr1 = 0;
    r.m_nAttr2 = 0;
    r.m_nAttr3 = 0;
    r.m_nAttr4 = 0;
    r.m_bFlag = false;
    r.m_nAttr5 = 0;
    r.m_nAttr6 = 0;
    r.m_dAttr4 = 0.0;
    r.m_dAttr5 = 0.0;
    r.m_dAttr6 = 0.0;
    r.m_dAttr7 = 0.0;
    r.m_dAttr8 = 0.0;
    r.m_xyz[0] = x;
    r.m_xyz[1] = y;
    r.m_xyz[2] = z;
    return r;
}

// pt = YdPoint(x, y, z), written field by field: the fields that assignment copies take the
// values of a fresh point; m_angle, m_dAttr2 and m_dAttr3 stay, as assignment leaves them.
inline void AssignFresh(YdPoint& pt, double x, double y, double z) {
    pt.m_xyz[0] = x;
    pt.m_xyz[1] = y;
    pt.m_xyz[2] = z;
    pt.m_nAttr1 = 0;
    pt.m_nAttr2 = 0;
    pt.m_nAttr3 = 0;
    pt.m_nAttr4 = 0;
    pt.m_dAttr1 = 0.0;
    pt.m_dAttr4 = 0.0;
    pt.m_dAttr5 = 0.0;
    pt.m_dAttr6 = 0.0;
    pt.m_dAttr7 = 0.0;
    pt.m_bFlag = false;
    pt.m_nAttr6 = 0;
    pt.m_nAttr5 = 0;
    pt.m_dAttr8 = 0.0;
}

// The sums of the basis functions times the control points, for a degree fixed at compile
// time (kP >= 0; the loops unroll, the operations and their order stay the same) or taken
// from p (kP < 0).
template <int kP, int kNd = -1>
void SumOnSpan(const std::vector<double>& U, const YdPoint* base, int span, int pArg, int ndArg,
               int numDerivs, double u, double* xyz, YdVector* derivs) {
    const int p = kP >= 0 ? kP : pArg;
    const int nd = kNd >= 0 ? kNd : ndArg;
    const int q = p + 1;
    // A fixed degree needs only its own small table.
    yd_detail::BasisWorkspaceT<(kP >= 0 ? kP : yd_detail::kBasisStackDegree)> ws(p, nd);
    yd_detail::BasisDersOnSpanT<kP, kNd>(U.data(), span, p, nd, u, ws.Scratch(), ws.Result());
    const double* N = ws.Result();

    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (int j = 0; j <= p; ++j) {
        x += N[j] * base[j].m_xyz[0];
        y += N[j] * base[j].m_xyz[1];
        z += N[j] * base[j].m_xyz[2];
    }
    xyz[0] = x;
    xyz[1] = y;
    xyz[2] = z;

    for (int k = 1; k <= nd; ++k) {
        const double* Nk = N + k * q;
        double dx = 0.0;
        double dy = 0.0;
        double dz = 0.0;
        for (int j = 0; j <= p; ++j) {
            dx += Nk[j] * base[j].m_xyz[0];
            dy += Nk[j] * base[j].m_xyz[1];
            dz += Nk[j] * base[j].m_xyz[2];
        }
        double* out = derivs[k - 1].m_xyz;
        out[0] = dx;
        out[1] = dy;
        out[2] = dz;
    }
    // A polynomial of degree p has no derivatives of higher order.
    for (int k = nd + 1; k <= numDerivs; ++k) {
        double* out = derivs[k - 1].m_xyz;
        out[0] = 0.0;
        out[1] = 0.0;
        out[2] = 0.0;
    }
}

// Point and derivatives as plain coordinates; false (nothing written) when the curve has no
// span that can be evaluated without reading outside its knots or control points.
// numDerivs >= 0.
bool EvaluateCoords(const YdBSplineCurve& curve, double u, int numDerivs, double* xyz,
                    YdVector* derivs) {
    const int p = curve.Degree();
    const std::vector<double>& U = curve.KnotVec().GetKnots();
    const std::vector<YdPoint>& P = curve.CtrlPoints();
    const int knotCount = static_cast<int>(U.size());
    // The span search returns at most knotCount - p - 2, the last control point it touches.
    if (!yd_detail::BasisKnotsUsable(knotCount, p) ||
        static_cast<int>(P.size()) < knotCount - p - 1) {
        return false;
    }
    const int nd = std::min(numDerivs, p);
    const int span = curve.KnotVec().FindSpan(p, u);
    const YdPoint* base = P.data() + (span - p);
    // The cubic, the library's working degree, gets a copy per derivative count.
    if (p == 3) {
        switch (nd) {
            case 0:
                SumOnSpan<3, 0>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
                break;
            case 1:
                SumOnSpan<3, 1>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
                break;
            case 2:
                SumOnSpan<3, 2>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
                break;
            default:
                SumOnSpan<3, 3>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
                break;
        }
        return true;
    }
    switch (p) {
        case 1:
            SumOnSpan<1>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
            break;
        case 2:
            SumOnSpan<2>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
            break;
        default:
            SumOnSpan<-1>(U, base, span, p, nd, numDerivs, u, xyz, derivs);
            break;
    }
    return true;
}

}  // namespace

namespace yd_detail {

void EvaluateCurve(const YdBSplineCurve& curve, double u, int numDerivs, YdPoint& pt,
                   YdVector* derivs) {
    numDerivs = std::max(0, numDerivs);
    double xyz[3];
    if (EvaluateCoords(curve, u, numDerivs, xyz, derivs)) {
        AssignFresh(pt, xyz[0], xyz[1], xyz[2]);
        return;
    }
    AssignFresh(pt, 0.0, 0.0, 0.0);
    for (int k = 0; k < numDerivs; ++k) {
        derivs[k].Set(0.0, 0.0, 0.0);
    }
}

}  // namespace yd_detail

YdPoint YdBSplineCurve::Evaluate(double u) const {
    double xyz[3];
    if (EvaluateCoords(*this, u, 0, xyz, nullptr)) {
        // A curve that could be evaluated has control points to copy the layout from.
        return FreshPoint(m_ctrlPnts.front(), xyz[0], xyz[1], xyz[2]);
    }
    return YdPoint(0.0, 0.0, 0.0);
}

bool YdBSplineCurve::Evaluate(double u, int numDerivs, YdPoint& pt,
                              std::vector<YdVector>& derivs) const {
    // A negative count asks for no derivatives (resizing to it would throw).
    numDerivs = std::max(0, numDerivs);
    derivs.resize(idx(numDerivs));
    yd_detail::EvaluateCurve(*this, u, numDerivs, pt, derivs.data());
    return true;
}
