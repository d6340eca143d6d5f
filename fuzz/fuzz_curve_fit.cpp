// SPDX-License-Identifier: MIT

// Point lists into every interpolation and approximation factory of the curve class. Whatever
// comes back is checked: null where the contract says null, otherwise non-decreasing knots
// and, from finite input, finite control points; the curve is then evaluated.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "FuzzInput.h"

namespace {

using ydfuzz::FuzzInput;
using TangentList = std::vector<std::pair<int, YdVector>>;

constexpr int kMaxPoints = 200;

// Point indices, ascending; now and then one outside the list.
std::vector<int> Indices(FuzzInput& in, int m, bool& outside) {
    std::vector<int> idx;
    const int count = in.Int(0, 4);
    int next = 0;
    for (int i = 0; i < count; ++i) {
        next += in.Int(0, m > 0 ? m : 1);
        idx.push_back(next);
        if (next >= m) {
            outside = true;
        }
        ++next;
    }
    return idx;
}

TangentList Tangents(FuzzInput& in, int m, bool& outside) {
    TangentList t;
    for (int i : Indices(in, m, outside)) {
        t.emplace_back(i, in.Vector());
    }
    return t;
}

bool AllEqual(const std::vector<YdPoint>& pts) {
    for (const YdPoint& p : pts) {
        if (!(p[0] == pts[0][0] && p[1] == pts[0][1] && p[2] == pts[0][2])) {
            return false;
        }
    }
    return true;
}

// A squared-distance tolerance, 0 and negative included.
double Tolerance(FuzzInput& in) {
    const int e = in.Int(-12, 2);
    return in.Bool() ? std::pow(10.0, e) : (e < -10 ? 0.0 : -std::pow(10.0, e));
}

// Checks a returned curve and evaluates it across its range. (Beyond the range the end spans
// are extended, and an end span of zero length, which coincident points give, divides by
// zero there as documented.)
void CheckCurve(const YdBSplineCurve* c, bool finiteInput, const char* what) {
    if (c == nullptr || !finiteInput) {
        return;
    }
    ydfuzz::CheckBuiltCurve(*c, what);
    const double a = c->startParam();
    const double b = c->endParam();
    std::vector<YdVector> d;
    for (int i = 0; i <= 8; ++i) {
        const double u = a + (b - a) * i / 8.0;
        YdPoint pt;
        c->Evaluate(u, 2, pt, d);
        FUZZ_CHECK(ydfuzz::Finite(pt) && ydfuzz::Same(pt, c->Evaluate(u)),
                   "%s: evaluation at u = %.17g", what, u);
    }
}

void Interpolate(FuzzInput& in, const std::vector<YdPoint>& pts, bool finite) {
    const bool closed = in.Bool();
    std::unique_ptr<YdBSplineCurve> c(YdBSplineCurve::CreateInterpolateCurve(pts, closed));
    if (pts.size() < 2) {
        FUZZ_CHECK(c == nullptr, "CreateInterpolateCurve: a curve from %zu points", pts.size());
    }
    CheckCurve(c.get(), finite, "CreateInterpolateCurve");
}

void InterpolateWithDerivatives(FuzzInput& in, const std::vector<YdPoint>& pts, bool finite) {
    const bool closed = in.Bool();
    const int m = static_cast<int>(pts.size());
    bool outside = false;
    const TangentList derivs = Tangents(in, m, outside);
    std::unique_ptr<YdBSplineCurve> c(YdBSplineCurve::CreateInterpolateCurve(pts, derivs, closed));
    if (m < 2 || (m >= 3 && outside)) {
        FUZZ_CHECK(c == nullptr, "CreateInterpolateCurve(derivs): a curve from %d points", m);
    }
    if (c == nullptr || !finite || in.SawNonFinite()) {
        return;
    }
    // The knot placement of this interpolation is documented to leave a slot at 0.0 for some
    // requests (unbalanced slot counts); only a solved system is promised then.
    if (ydfuzz::NonDecreasing(c->KnotVec().GetKnots())) {
        CheckCurve(c.get(), true, "CreateInterpolateCurve(derivs)");
    } else {
        FUZZ_CHECK(ydfuzz::AllFinite(c->CtrlPoints()),
                   "CreateInterpolateCurve(derivs): non-finite control points");
    }
}

void InterpolateWithKnots(FuzzInput& in, const std::vector<YdPoint>& pts, bool finite) {
    const bool closed = in.Bool();
    const int m = static_cast<int>(pts.size());
    const int p = in.Int(-1, 5);
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, false, params);
    YdKnotVec knots;
    const int variant = in.Byte() % 3;
    if (variant == 0) {
        knots.InterpolateFix(params, p, closed);
    } else if (variant == 1) {
        knots.ApproximateFix(params, in.Int(1, m + 2), p);
    } else {
        for (int i = in.Int(0, m + 8); i > 0; --i) {
            knots.AddKnot(in.Coord());  // anything, unordered included: must not crash
        }
    }
    if (in.Bool() && !params.empty()) {
        params.pop_back();
    }
    std::unique_ptr<YdBSplineCurve> c(
        YdBSplineCurve::CreateInterpolateCurve(pts, p, params, knots, closed));
    // Two or three points are the control points as they stand, whatever else was given.
    if (m < 2 || (m >= 4 && (p < 0 || params.size() < pts.size()))) {
        FUZZ_CHECK(c == nullptr, "CreateInterpolateCurve(knots): a curve from bad input");
    }
    // The caller's knots are used as given: only the library's own placement promises order.
    if (variant != 2) {
        CheckCurve(c.get(), finite, "CreateInterpolateCurve(knots)");
    }
}

void EndTangents(FuzzInput& in, bool finite) {
    const YdPoint p0 = in.Point();
    const YdPoint p1 = in.Point();
    const YdPoint p2 = in.Point();
    const YdVector t0 = in.Vector();
    const YdVector t1 = in.Vector();
    const bool ok = finite && !in.SawNonFinite();
    std::unique_ptr<YdBSplineCurve> c;
    if (in.Bool()) {
        c.reset(YdBSplineCurve::CreateByEndPointsAndTangents(p0, p1, t0, t1));
        FUZZ_CHECK(c != nullptr, "CreateByEndPointsAndTangents: null");
        CheckCurve(c.get(), ok, "CreateByEndPointsAndTangents");
    } else {
        c.reset(YdBSplineCurve::CreateByThreePointsAndEndTangents(p0, p1, p2, t0, t1));
        FUZZ_CHECK(c != nullptr, "CreateByThreePointsAndEndTangents: null");
        CheckCurve(c.get(), ok, "CreateByThreePointsAndEndTangents");
    }
}

void Approximate(FuzzInput& in, const std::vector<YdPoint>& pts, bool finite) {
    const bool closed = in.Bool();
    const int m = static_cast<int>(pts.size());
    bool outside = false;
    std::unique_ptr<YdBSplineCurve> c;
    const char* what = "CreateApproximateCurve";
    const int variant = in.Byte() % 5;
    const bool searching = variant <= 2;
    switch (variant) {
        case 0:
            c.reset(YdBSplineCurve::CreateApproximateCurve(pts, closed, Tolerance(in)));
            break;
        case 1: {
            const std::vector<int> idx = Indices(in, m, outside);
            c.reset(YdBSplineCurve::CreateApproximateCurve(pts, idx, closed, Tolerance(in)));
            what = "CreateApproximateCurve(interpIdx)";
            break;
        }
        case 2: {
            const std::vector<int> idx = Indices(in, m, outside);
            const TangentList t = Tangents(in, m, outside);
            c.reset(YdBSplineCurve::CreateApproximateCurve(pts, idx, t, closed, Tolerance(in)));
            what = "CreateApproximateCurve(tangents)";
            break;
        }
        case 3: {
            const std::vector<int> idx = Indices(in, m, outside);
            const int n = in.Int(-1, m + 4);
            c.reset(YdBSplineCurve::CreateApproximateCurve(pts, idx, n, closed));
            what = "CreateApproximateCurve(numCtrlPnts)";
            if (n < 4 || outside || !finite) {
                FUZZ_CHECK(c == nullptr, "%s: a curve from %d control points", what, n);
            }
            break;
        }
        default: {
            const std::vector<int> idx = Indices(in, m, outside);
            std::vector<double> params;
            YdNurbsHelper::Parameterize(pts, closed, params);
            YdKnotVec kv;
            kv.ApproximateFix(params, in.Int(4, m + 4), 3);
            c.reset(YdBSplineCurve::CreateApproximateCurveWithKnot(pts, kv.GetKnots(), idx, closed,
                                                                   Tolerance(in)));
            what = "CreateApproximateCurveWithKnot";
            if (outside || !finite) {
                FUZZ_CHECK(c == nullptr, "%s: a curve from bad input", what);
            }
            break;
        }
    }
    // The searching factories give null for non-finite coordinates, too few points and all
    // points equal; so do bad indices once the search runs (five points and more).
    if (searching && (m < 2 || !finite || (m >= 5 && outside) || (m >= 3 && AllEqual(pts)))) {
        FUZZ_CHECK(c == nullptr, "%s: a curve from bad input (%d points)", what, m);
    }
    // A fit that is handed out solved to finite control points, whatever came in.
    CheckCurve(c.get(), true, what);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    const std::uint8_t mode = in.Byte();
    in.AllowNonFinite((mode & 0x80) != 0);
    const std::vector<YdPoint> pts = in.Points(kMaxPoints);
    const bool finite = ydfuzz::AllFinite(pts);
    switch (mode % 5) {
        case 0:
            Interpolate(in, pts, finite);
            break;
        case 1:
            InterpolateWithDerivatives(in, pts, finite);
            break;
        case 2:
            InterpolateWithKnots(in, pts, finite);
            break;
        case 3:
            EndTangents(in, finite);
            break;
        default:
            Approximate(in, pts, finite);
            break;
    }
    return 0;
}
