// SPDX-License-Identifier: MIT

// The curve fit filter: fitting (with and without densifying), the queries a controller asks
// while walking the curve (points, directions, radii, lengths, the parameter a distance
// ahead), the curvature extremes, and the static transition curves between lines and curves.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "FuzzInput.h"

namespace {

using ydfuzz::FuzzInput;
using ydfuzz::Same;

constexpr int kMaxPoints = 200;

// The filter never deletes its curve: the fuzzer owns every curve it hands in or gets back.
struct Curves {
    std::vector<std::unique_ptr<YdBSplineCurve>> owned;
    YdBSplineCurve* Keep(YdBSplineCurve* c) {
        owned.emplace_back(c);
        return c;
    }
};

double Param(FuzzInput& in, const YdBSplineCurve* c) {
    if (c == nullptr || in.Byte() % 8 == 0) {
        return in.Coord();
    }
    const double a = c->startParam();
    const double b = c->endParam();
    return a + (b - a) * (in.Unit() * 1.4 - 0.2);
}

void CheckCurve(const YdBSplineCurve* c, bool finiteInput, const char* what) {
    if (c == nullptr) {
        return;
    }
    FUZZ_CHECK(ydfuzz::NonDecreasing(c->KnotVec().GetKnots()), "%s: knots decrease", what);
    if (finiteInput) {
        ydfuzz::CheckBuiltCurve(*c, what);
    }
}

void Queries(FuzzInput& in, YdCurveFitFilter& f) {
    const YdBSplineCurve* c = f.getCurve();
    const double u = Param(in, c);
    const double u1 = Param(in, c);
    (void)f.getPoint(u);
    const YdVector dir = f.getDirection(u);
    const double m = dir.Magnitude();
    if (c == nullptr || !(u >= c->startParam() && u <= c->endParam())) {
        FUZZ_CHECK(m == 0.0, "getDirection: |%g| outside the range", m);
        FUZZ_CHECK(f.getRadiusOfCurvature(u) == -1.0, "getRadiusOfCurvature: not -1 outside");
    }
    (void)f.getHeadDirection();
    (void)f.getTailDirection();
    (void)f.getRadiusOfCurvature(in.Point());

    const double tol = in.Bool() ? 0.0 : std::pow(10.0, -in.Int(1, 8));
    const double len = f.getCurveLength(u, u1, tol);
    if (c == nullptr || !(u < u1) || tol == 0.0 || c->startParam() > u || c->endParam() > u1) {
        FUZZ_CHECK(len == 0.0, "getCurveLength: %g where the rule gives 0", len);
    }

    // Searches: false leaves the out-parameters as they were.
    const double dist = in.Coord();
    double out = -321.0;
    YdPoint pt(5.0, 6.0, 7.0);
    const YdPoint pt0 = pt;
    if (!f.interpolateByTaylor1Order(u, dist, out)) {
        FUZZ_CHECK(out == -321.0, "interpolateByTaylor1Order: false but wrote");
    }
    out = -321.0;
    const double ntol = std::pow(10.0, -in.Int(0, 9));
    if (f.interpolateByNewtonIter(u, dist, out, ntol)) {
        FUZZ_CHECK(c != nullptr && out >= u && out <= c->endParam(),
                   "interpolateByNewtonIter: u = %.17g outside [%.17g, end]", out, u);
        const double err = std::fabs(c->Evaluate(u).DistanceToPoint(c->Evaluate(out)) - dist);
        FUZZ_CHECK(!(err > ntol), "interpolateByNewtonIter: error %g above %g", err, ntol);
    } else {
        FUZZ_CHECK(out == -321.0, "interpolateByNewtonIter: false but wrote");
    }
    out = -321.0;
    if (!f.interpolateByNewtonIterW(u, dist, out, pt, ntol)) {
        FUZZ_CHECK(out == -321.0 && Same(pt, pt0), "interpolateByNewtonIterW: false but wrote");
    }
    out = -321.0;
    pt = pt0;
    const bool forward = in.Bool();
    if (!f.interpolate(in.Point(), dist, forward, out, pt, tol)) {
        if (c == nullptr || !(dist >= 0.0) || !(tol != 0.0) || std::isnan(tol)) {
            FUZZ_CHECK(out == -321.0 && Same(pt, pt0), "interpolate: refused but wrote");
        }
    }
}

// The rough stage walks monotone stretches of curvature in steps of 1e-5, some hundred
// thousand evaluations on [0, 1]. Curvature does not change when the parameter is scaled, so
// most inputs search the same curve on [0, 1/16].
void Extremes(FuzzInput& in, YdCurveFitFilter& f, Curves& curves) {
    YdBSplineCurve* c = f.getCurve();
    if (c == nullptr || !(c->endParam() - c->startParam() <= 1.0)) {
        return;
    }
    if (in.Byte() % 8 != 0) {
        YdBSplineCurve* scaled = curves.Keep(new YdBSplineCurve(*c));
        for (double& k : scaled->KnotVec().GetKnots()) {
            k /= 16.0;
        }
        f.setCurve(scaled);
    }
    if (in.Bool()) {
        f.computeExtremeCurvatures();
    }
    const std::map<double, double>& maxima = f.getLocalMaxCurvatures();
    (void)f.getLocalMinCurvatures();
    double u = -99.0;
    double k = -99.0;
    if (!f.getMaxCurvature(u, k)) {
        FUZZ_CHECK(u == -99.0 && k == -99.0, "getMaxCurvature: false but wrote");
        return;
    }
    bool above = false;
    for (const auto& e : maxima) {
        above = above || e.second > 0.0;
    }
    if (!above) {
        FUZZ_CHECK(k == 0.0 && u == -99.0, "getMaxCurvature: no maximum above 0 but wrote u");
    }
}

// Every curve handed in is finite (doFit's), so the joins are finite unless the input gave
// a non-finite point or tolerance.
void Transitions(FuzzInput& in, Curves& curves, YdBSplineCurve* c) {
    const YdPoint a = in.Point();
    const YdPoint b = in.Point();
    const double e = in.Coord();
    const bool finite = !in.SawNonFinite();
    YdPoint ns(1.0, 1.0, 1.0);
    YdPoint ne(2.0, 2.0, 2.0);
    YdBSplineCurve* t = nullptr;
    YdBSplineCurve* r = nullptr;
    const bool wantT = in.Bool();
    const bool wantR = in.Bool();
    const bool lineFirst = in.Bool();
    const bool ok = lineFirst ? YdCurveFitFilter::fitCurveToConnectLineAndCurve(
                                    a, b, c, e, ns, ne, wantT ? &t : nullptr, wantR ? &r : nullptr)
                              : YdCurveFitFilter::fitCurveToConnectCurveAndLine(
                                    c, a, b, e, wantR ? &r : nullptr, wantT ? &t : nullptr, ns, ne);
    curves.Keep(t);
    curves.Keep(r);
    FUZZ_CHECK(ok == (c != nullptr), "line-and-curve join: %d for a %s curve", ok,
               c != nullptr ? "given" : "null");
    if (!ok) {
        FUZZ_CHECK(t == nullptr && r == nullptr && ns[0] == 1.0 && ne[0] == 2.0,
                   "line-and-curve join: false but wrote");
        return;
    }
    // The curve-then-line join works on a reversed copy, and reversal keeps the two middle
    // interior knots of an even count in place (as hosts expect), which leaves four or more
    // interior knots out of order; the pieces cut from that copy inherit it.
    YdBSplineCurve reversed(*c);
    reversed.Reverse();
    if (lineFirst || ydfuzz::NonDecreasing(reversed.KnotVec().GetKnots())) {
        CheckCurve(t, finite, "line-and-curve transition");
        CheckCurve(r, finite, "line-and-curve rest");
    } else {
        for (const YdBSplineCurve* piece : {t, r}) {
            FUZZ_CHECK(piece == nullptr || !finite || ydfuzz::AllFinite(piece->CtrlPoints()),
                       "curve-and-line join: non-finite control points");
        }
    }

    YdBSplineCurve* other = in.Bool() ? c : nullptr;
    YdBSplineCurve* between =
        in.Bool()
            ? curves.Keep(YdCurveFitFilter::fitCurveBetweenSplineCurves(c, other))
            : curves.Keep(YdCurveFitFilter::fitCurveBetweenSplineCurves(c, other, in.Point()));
    if (other == nullptr) {
        FUZZ_CHECK(between == nullptr, "fitCurveBetweenSplineCurves: a curve from a null one");
    }
    CheckCurve(between, finite && !in.SawNonFinite(), "fitCurveBetweenSplineCurves");

    std::vector<YdPoint> pts = in.Points(40);
    YdBSplineCurve* joined =
        in.Bool() ? curves.Keep(YdCurveFitFilter::fitConnectCurve(c, pts, 1e-4))
                  : curves.Keep(YdCurveFitFilter::fitCurve(pts, in.Vector(), in.Vector(), 1e-4));
    if (pts.size() < 2) {
        FUZZ_CHECK(joined == nullptr, "fitConnectCurve/fitCurve: a curve from %zu points",
                   pts.size());
    }
    CheckCurve(joined, true, "fitConnectCurve/fitCurve");

    for (YdBSplineCurve* piece :
         YdCurveFitFilter::splitCurve(in.Bool() ? c : nullptr, Param(in, c))) {
        curves.Keep(piece);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    in.AllowNonFinite(in.Byte() % 8 == 0);
    const std::vector<YdPoint> pts = in.Points(kMaxPoints);
    Curves curves;

    // The points the filter fits: all of them, the first `count`, or none.
    const int mode = in.Byte() % 3;
    const int count = in.Int(-2, kMaxPoints + 2);
    std::vector<YdPoint> used;
    if (mode == 0) {
        used = pts;
    } else if (mode == 1) {
        used.assign(pts.begin(),
                    pts.begin() + std::min<std::ptrdiff_t>(
                                      std::max(count, 0), static_cast<std::ptrdiff_t>(pts.size())));
    }
    YdCurveFitFilter f = mode == 0   ? YdCurveFitFilter(pts)
                         : mode == 1 ? YdCurveFitFilter(pts, count)
                                     : YdCurveFitFilter();
    if (in.Bool()) {
        f.setPreprocess(in.Bool());
    }
    const double tolerance = std::pow(10.0, -in.Int(0, 10));
    const bool fitted = f.doFit(tolerance);
    curves.Keep(f.getCurve());
    FUZZ_CHECK(fitted == (f.getCurve() != nullptr), "doFit: %d with curve %p", fitted,
               static_cast<void*>(f.getCurve()));
    if (!ydfuzz::AllFinite(used) || used.size() < 2) {
        FUZZ_CHECK(!fitted, "doFit: a curve from bad input (%zu points)", used.size());
    }
    CheckCurve(f.getCurve(), true, "doFit");

    YdCurveFitFilter copy(f);
    bool searched = false;
    for (int step = 0; step < 4 && !in.Empty(); ++step) {
        switch (in.Byte() % 3) {
            case 0:
                Queries(in, copy);
                break;
            case 1:
                if (!searched) {
                    YdCurveFitFilter other(copy);
                    Extremes(in, other, curves);
                    searched = true;
                }
                break;
            default:
                Transitions(in, curves, copy.getCurve());
                break;
        }
    }
    return 0;
}
