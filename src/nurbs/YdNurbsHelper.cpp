// SPDX-License-Identifier: MIT

// Reference: chord-length parameterisation of points (Piegl and Tiller, The NURBS Book, 2nd ed.,
// chapter 9); the basis functions through the Cox-de Boor kernel.

#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

#include <algorithm>

#include "../geometry/IndexCast.h"
#include "BasisKernel.h"

using yd_detail::idx;

void YdNurbsHelper::GetBasisFunctionValue(const YdKnotVec& knots, int degree, int numDerivs,
                                          double u, std::vector<std::vector<double>>& ders,
                                          int& span) {
    // A negative degree has no basis functions: no rows, and a span that indexes nothing
    // dangerous.
    if (degree < 0) {
        span = 0;
        ders.clear();
        return;
    }
    const int nd = std::max(0, std::min(numDerivs, degree));
    const int q = degree + 1;

    // The rows keep their capacity from call to call; every entry is rewritten below.
    ders.resize(idx(nd) + 1);
    for (std::vector<double>& row : ders) {
        row.assign(idx(q), 0.0);
    }

    // A knot vector too short to hold one span for this degree would make the span search
    // and the recurrence read outside it: the first span is reported and every value is 0.
    if (!yd_detail::BasisKnotsUsable(knots.GetCount(), degree)) {
        span = degree;
        return;
    }
    span = knots.FindSpan(degree, u);

    yd_detail::BasisWorkspace ws(degree, nd);
    yd_detail::BasisDersOnSpan(knots.GetKnots().data(), span, degree, nd, u, ws.Scratch(),
                               ws.Result());
    const double* res = ws.Result();
    for (int k = 0; k <= nd; ++k) {
        std::copy(res + k * q, res + (k + 1) * q, ders[idx(k)].begin());
    }
}

void YdNurbsHelper::Parameterize(const std::vector<YdPoint>& points, bool closed,
                                 std::vector<double>& params) {
    const size_t count = points.size();
    if (count == 0) {
        params.clear();
        return;
    }
    const size_t chords = closed ? count : count - 1;
    params.resize(chords + 1);
    params[0] = 0.0;

    // The chord lengths are parked in params[1..] and turned into parameters in place.
    double total = 0.0;
    for (size_t i = 0; i < chords; ++i) {
        const double d = points[i].DistanceToPoint(points[(i + 1) % count]);
        params[i + 1] = d;
        total += d;
    }
    if (total == 0.0) {
        // All points coincide: 0 / 0 would fill the list with NaN.
        for (size_t i = 0; i < chords; ++i) {
            params[i] = 0.0;
        }
    } else {
        for (size_t i = 0; i + 1 < chords; ++i) {
            params[i + 1] = params[i] + params[i + 1] / total;
        }
    }
    // Set, not accumulated: rounding must never leave the end short of 1.
    params[chords] = 1.0;
}
