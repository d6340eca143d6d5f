// SPDX-License-Identifier: MIT

// Knot vectors and basis functions: the knot placement rules on parameters from point lists,
// span search, merging, normalising, the basis functions and the quadrature table.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "FuzzInput.h"

namespace {

using ydfuzz::FuzzInput;

constexpr int kMaxPoints = 200;

// Parameters as the curve factories make them: chord lengths of a point list.
std::vector<double> ChordParams(FuzzInput& in, bool closed) {
    const std::vector<YdPoint> pts = in.Points(kMaxPoints);
    std::vector<double> params;
    YdNurbsHelper::Parameterize(pts, closed, params);
    const std::size_t expected = pts.empty() ? 0 : pts.size() + (closed ? 1 : 0);
    FUZZ_CHECK(params.size() == expected, "Parameterize: %zu parameters for %zu points",
               params.size(), pts.size());
    if (!params.empty()) {
        // A single parameter is the last one, and the last is 1.
        FUZZ_CHECK((params.size() == 1 || params.front() == 0.0) && params.back() == 1.0,
                   "Parameterize: range [%g, %g]", params.front(), params.back());
    }
    return params;
}

// A clamped knot vector of degree p on [a, b] with interior knots from the input.
std::vector<double> ClampedKnots(FuzzInput& in, int p, double a, double b) {
    std::vector<double> k(static_cast<std::size_t>(p + 1), a);
    const int interior = in.Int(0, 24);
    std::vector<double> inner;
    for (int i = 0; i < interior; ++i) {
        inner.push_back(a + (b - a) * in.Unit());
    }
    std::sort(inner.begin(), inner.end());
    k.insert(k.end(), inner.begin(), inner.end());
    k.insert(k.end(), static_cast<std::size_t>(p + 1), b);
    return k;
}

std::vector<double> ClampedKnots(FuzzInput& in, int p) {
    const double a = in.Coord();
    return ClampedKnots(in, p, a, a + in.Unit() * 16.0);
}

void CheckPlacement(FuzzInput& in) {
    const bool closed = in.Bool();
    const std::vector<double> params = ChordParams(in, closed);
    const int m = static_cast<int>(params.size());
    const int p = in.Int(-1, 6);
    YdKnotVec kv;
    switch (in.Byte() % 4) {
        case 0: {
            kv.InterpolateFix(params, p, closed);
            if (m > 0 && p >= 1) {
                const int expected = closed ? m + 2 * p : m + p + 1;
                FUZZ_CHECK(kv.GetCount() == expected, "InterpolateFix: %d knots", kv.GetCount());
                FUZZ_CHECK(ydfuzz::NonDecreasing(kv.GetKnots()), "InterpolateFix: knots decrease");
            } else {
                FUZZ_CHECK(kv.GetCount() == 0, "InterpolateFix: degenerate input gave knots");
            }
            break;
        }
        case 1: {
            std::vector<int> ends;
            const int which = in.Int(0, 2);
            if (m > 0 && which != 1) {
                ends.push_back(0);
            }
            if (m > 0 && which != 0) {
                ends.push_back(m - 1);
            }
            kv.InterpolateFix(params, p, ends);
            if (m > 0 && p >= 1 && m >= p + 1) {
                const int k = static_cast<int>(ends.size());
                FUZZ_CHECK(kv.GetCount() == m + k + p + 1, "InterpolateFix(ends): %d knots",
                           kv.GetCount());
                FUZZ_CHECK(ydfuzz::NonDecreasing(kv.GetKnots()),
                           "InterpolateFix(ends): knots decrease");
            }
            break;
        }
        case 2: {
            const int n = in.Int(-1, kMaxPoints + 4);
            kv.ApproximateFix(params, n, p);
            if (n >= 1 && p >= 1) {
                FUZZ_CHECK(kv.GetCount() == n + p + 1, "ApproximateFix: %d knots", kv.GetCount());
                FUZZ_CHECK(ydfuzz::NonDecreasing(kv.GetKnots()), "ApproximateFix: knots decrease");
                FUZZ_CHECK(kv.GetKnots().front() == 0.0 && kv.GetKnots().back() == 1.0,
                           "ApproximateFix: range is not [0, 1]");
            } else {
                FUZZ_CHECK(kv.GetCount() == 0, "ApproximateFix: degenerate input gave knots");
            }
            break;
        }
        default: {
            std::vector<int> idx;
            for (int i = 0; i < m; ++i) {
                if (in.Byte() % 4 == 0) {
                    idx.push_back(i);
                }
            }
            kv.makeBasis(params, p, idx);
            if (m < 2 || p < 0) {
                FUZZ_CHECK(kv.GetCount() == 0, "makeBasis: degenerate input gave knots");
            } else {
                const int expected = m + static_cast<int>(idx.size()) + p + 1;
                FUZZ_CHECK(kv.GetCount() == expected, "makeBasis: %d knots, expected %d",
                           kv.GetCount(), expected);
            }
            break;
        }
    }
}

void CheckSpanAndBasis(FuzzInput& in) {
    const int p = in.Int(0, 5);
    YdKnotVec kv;
    kv.SetKnots(ClampedKnots(in, p));
    const std::vector<double>& U = kv.GetKnots();
    const int count = kv.GetCount();
    const int high = count - p - 1;
    for (int round = 0; round < 4; ++round) {
        const double u = U.front() + (U.back() - U.front()) * (in.Unit() * 1.5 - 0.25);
        const int s = kv.FindSpan(p, u);
        FUZZ_CHECK(s >= p && s <= high - 1, "FindSpan: %d outside [%d, %d]", s, p, high - 1);
        if (u >= U[static_cast<std::size_t>(p)] && u < U[static_cast<std::size_t>(high)]) {
            FUZZ_CHECK(
                U[static_cast<std::size_t>(s)] <= u && u < U[static_cast<std::size_t>(s) + 1],
                "FindSpan: u = %.17g not in span %d", u, s);
        }
        const int nd = in.Int(-1, 7);
        std::vector<std::vector<double>> ders;
        int span = -1;
        YdNurbsHelper::GetBasisFunctionValue(kv, p, nd, u, ders, span);
        FUZZ_CHECK(span == s, "GetBasisFunctionValue: span %d, FindSpan %d", span, s);
        const int rows = std::min(std::max(nd, 0), p) + 1;
        FUZZ_CHECK(static_cast<int>(ders.size()) == rows, "GetBasisFunctionValue: %zu rows",
                   ders.size());
        for (const std::vector<double>& row : ders) {
            FUZZ_CHECK(static_cast<int>(row.size()) == p + 1, "GetBasisFunctionValue: row size");
        }
        // The values of the basis functions on a span of positive length form a partition of
        // unity inside the knot range.
        const double lo = U[static_cast<std::size_t>(s)];
        const double hi = U[static_cast<std::size_t>(s) + 1];
        if (lo < hi && u >= U.front() && u <= U.back()) {
            double sum = 0.0;
            for (double v : ders[0]) {
                FUZZ_CHECK(v >= -1e-9, "basis value %g < 0 at u = %.17g", v, u);
                sum += v;
            }
            FUZZ_CHECK(std::fabs(sum - 1.0) < 1e-9, "basis values sum to %.17g at u = %.17g", sum,
                       u);
        }
    }
}

void CheckMergeAndNormalize(FuzzInput& in) {
    const int p = in.Int(0, 5);
    // Merging places each missing knot by span search, which keeps the order for knots inside
    // this vector's range: the curves being made compatible share one range.
    const double lo = in.Coord();
    const double hi = lo + in.Unit() * 16.0;
    YdKnotVec a;
    a.SetKnots(ClampedKnots(in, p, lo, hi));
    YdKnotVec b;
    b.SetKnots(ClampedKnots(in, p, lo, hi));
    a.Merge(b, p);
    FUZZ_CHECK(ydfuzz::NonDecreasing(a.GetKnots()), "Merge: knots decrease");
    a.Normalize();
    FUZZ_CHECK(ydfuzz::NonDecreasing(a.GetKnots()), "Normalize: knots decrease");
    // s * k - a * s in exactly that form: the first knot maps to 0 exactly, the others carry
    // the rounding of two products of the size of a / (b - a).
    if (lo < hi) {
        FUZZ_CHECK(a.GetKnots().front() == 0.0, "Normalize: first knot %.17g",
                   a.GetKnots().front());
        const double slack = 8.0 * 2.220446049250313e-16 * (1.0 + std::fabs(lo) / (hi - lo));
        for (double u : a.GetKnots()) {
            FUZZ_CHECK(u >= 0.0 && u <= 1.0 + slack, "Normalize: knot %.17g", u);
        }
    }
    const int before = a.GetCount();
    a.InsertAfter(in.Int(-3, before + 3), in.Unit());
    FUZZ_CHECK(a.GetCount() == before + 1, "InsertAfter: %d knots after %d", a.GetCount(), before);
}

void CheckGauss(FuzzInput& in) {
    const int order = in.Int(-4, 40);
    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(order, nodes, weights);
    const std::size_t k = static_cast<std::size_t>(std::max(order, 2) / 2 + 1);
    FUZZ_CHECK(nodes.size() == k && weights.size() == k, "Gauss: %zu/%zu entries for order %d",
               nodes.size(), weights.size(), order);
    double sum = 0.0;
    for (double w : weights) {
        sum += w;
    }
    if (order <= 21) {
        FUZZ_CHECK(std::fabs(sum - 2.0) < 1e-9, "Gauss: weights sum to %.17g", sum);
    } else {
        FUZZ_CHECK(sum == 0.0, "Gauss: order %d wrote a rule", order);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    switch (in.Byte() % 4) {
        case 0:
            CheckPlacement(in);
            break;
        case 1:
            CheckSpanAndBasis(in);
            break;
        case 2:
            CheckMergeAndNormalize(in);
            break;
        default:
            CheckGauss(in);
            break;
    }
    return 0;
}
