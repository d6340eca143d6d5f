// SPDX-License-Identifier: MIT

// Reference: knot span search by bisection (Piegl and Tiller, The NURBS Book, 2nd ed., algorithm
// A2.1); knots by averaging of parameters for global interpolation and by grouped averaging for
// least-squares approximation (ibid., chapter 9); merging of knot vectors as for knot refinement
// (ibid., chapter 5).

#include "YdNurbsLib/nurbs/YdKnotVec.h"

#include <algorithm>
#include <climits>
#include <cstddef>

#include "../geometry/IndexCast.h"

using yd_detail::idx;

namespace {

// Two knots closer than this are the same knot when vectors are merged.
constexpr double kMergeTol = 1e-7;

// True when a knot count can be held and reported through the int interface.
bool CountFits(long long count) {
    return count >= 0 && count <= static_cast<long long>(INT_MAX);
}

// Mean of params[first..last], both ends included; the caller keeps the range valid.
double MeanOf(const std::vector<double>& params, int first, int last) {
    double sum = 0.0;
    for (int i = first; i <= last; ++i) {
        sum += params[idx(i)];
    }
    return sum / static_cast<double>(last - first + 1);
}

// Mean of the `count` values starting at values[first].
double AverageRun(const std::vector<double>& values, int first, int count) {
    double sum = 0.0;
    for (int i = first; i < first + count; ++i) {
        sum += values[idx(i)];
    }
    return sum / static_cast<double>(count);
}

// The layout of the knots for interpolation with derivative constraints at listed points.
struct ConstrainedKnotPlan {
    int m = 0;          // parameters
    int k = 0;          // constraints
    int order = 0;      // p + 1
    int half = 0;       // order / 2
    int e = 0;          // m + k: position of the first back knot
    int startMult = 1;  // 2 when the first point carries a constraint
    int endMult = 1;    // 2 when the last point carries a constraint
    int a = 0;          // interior points left out at the start
    int b = 0;          // interior points left out at the end
    double front = 0.0;
    double back = 0.0;
};

ConstrainedKnotPlan PlanConstrainedKnots(const std::vector<double>& params, int m, int p,
                                         const std::vector<int>& derivIndices) {
    ConstrainedKnotPlan plan;
    const int k = static_cast<int>(derivIndices.size());
    plan.m = m;
    plan.k = k;
    plan.order = p + 1;
    plan.half = plan.order / 2;
    plan.e = m + k;
    plan.startMult = (k > 0 && derivIndices[0] == 0) ? 2 : 1;
    plan.endMult = (k > 0 && derivIndices[idx(k - 1)] == m - 1) ? 2 : 1;
    plan.a = std::max(0, plan.half - plan.startMult);
    plan.b = std::max(0, plan.half - plan.endMult);
    plan.front = params.front();
    plan.back = params[idx(m - 1)];
    return plan;
}

// Writes knots front to back. Interior writes are bounded by the vector: degenerate requests
// (unsorted or repeated constraint indices) could otherwise run past its end.
class ConstrainedKnotWriter {
  public:
    ConstrainedKnotWriter(std::vector<double>& knots, const std::vector<int>& derivIndices)
        : m_U(knots.data()),
          m_size(static_cast<int>(knots.size())),
          m_indices(derivIndices),
          m_k(static_cast<int>(derivIndices.size())) {}

    void Put(double value) {
        if (m_w < m_size) {
            m_U[m_w] = value;
        }
        ++m_w;
    }
    // Writes the knot that follows point j; a constrained point doubles it, once for each
    // constraint listed at j. The constraint cursor stops at the end of the list.
    void PutAfterPoint(double value, int j) {
        Put(value);
        --m_w;
        while (m_c < m_k && m_indices[idx(m_c)] == j) {
            ++m_w;
            if (m_w < m_size) {
                m_U[m_w] = m_U[m_w - 1];
            }
            ++m_c;
        }
        ++m_w;
    }
    // Passes over the constraint at the first point, which has no interior knot to double.
    void SkipConstraint() { ++m_c; }

  private:
    double* m_U;
    int m_size;
    const std::vector<int>& m_indices;
    int m_k;
    int m_w = 0;  // next position to write
    int m_c = 0;  // next constraint
};

// Odd order (even degree): midpoints of neighbouring parameters, with knots spaced evenly
// towards the neighbour where an end carries a constraint.
void WriteEvenDegreeInterior(const ConstrainedKnotPlan& pl, const std::vector<double>& params,
                             ConstrainedKnotWriter& out) {
    const auto P = [&params](int i) { return params[idx(i)]; };
    if (pl.startMult > 1) {
        out.SkipConstraint();
    }
    if (pl.startMult - pl.half > 0) {
        const int cnt = pl.startMult - pl.half;
        const double step = (P(1) - pl.front) / static_cast<double>(cnt + 1);
        for (int i = 1; i <= cnt; ++i) {
            out.Put(pl.front + static_cast<double>(i) * step);
        }
    }
    for (int j = pl.startMult + pl.a; j < pl.m - pl.endMult - pl.b; ++j) {
        out.PutAfterPoint(0.5 * (P(j) + P(j + 1)), j);
    }
    if (pl.endMult - pl.half > 0) {
        const int cnt = pl.endMult - pl.half;
        const double step = (pl.back - P(pl.m - 2)) / static_cast<double>(cnt + 1);
        for (int i = 1; i <= cnt; ++i) {
            out.Put(P(pl.m - 2) + static_cast<double>(i) * step);
        }
    }
}

// Even order (odd degree): the parameters themselves, with repeated knots between the end
// and its neighbour where an end carries a constraint.
void WriteOddDegreeInterior(const ConstrainedKnotPlan& pl, const std::vector<double>& params,
                            ConstrainedKnotWriter& out) {
    const auto P = [&params](int i) { return params[idx(i)]; };
    double s1 = 0.5 * (P(1) + pl.front);
    double s2 = 0.5 * (P(pl.m - 2) + pl.back);
    if (s1 == s2) {
        s1 = (P(1) + 2.0 * pl.front) / 3.0;
        s2 = (P(pl.m - 2) + 2.0 * pl.back) / 3.0;
    }
    if (pl.startMult > 1) {
        out.SkipConstraint();
    }
    for (int i = 0; i < pl.startMult - pl.half; ++i) {
        out.Put(s1);
    }
    for (int j = pl.a + 1; j < pl.m - 1 - pl.b; ++j) {
        out.PutAfterPoint(P(j), j);
    }
    for (int i = 0; i < pl.endMult - pl.half; ++i) {
        out.Put(s2);
    }
}

// Clamps the interior knots (all but p + 1 at each end) into [front, back]. Chord-length
// parameters are accumulated and only the last is set to exactly 1, so when the last chords
// are tiny the ones before it can round a few ulps above it; clamped, the knots stay in order.
// Knots placed from ordered parameters already lie in the range and are never moved.
void ClampInterior(std::vector<double>& knots, int p, double front, double back) {
    for (std::size_t i = idx(p) + 1; i + idx(p) + 1 < knots.size(); ++i) {
        knots[i] = std::min(back, std::max(front, knots[i]));
    }
}

}  // namespace

YdKnotVec::YdKnotVec() = default;

YdKnotVec::YdKnotVec(const YdKnotVec& other) = default;

YdKnotVec& YdKnotVec::operator=(const YdKnotVec& other) {
    if (this != &other) {
        m_knots = other.m_knots;
    }
    return *this;
}

YdKnotVec::~YdKnotVec() = default;

void YdKnotVec::SetKnots(const std::vector<double>& knots) {
    if (&knots != &m_knots) {
        m_knots = knots;
    }
}

void YdKnotVec::AllocateMemory(int n) {
    m_knots.clear();
    if (n > 0) {
        m_knots.resize(idx(n), 0.0);
    }
}

void YdKnotVec::AddKnot(double u) {
    m_knots.push_back(u);
}

void YdKnotVec::InsertAfter(int i, double u) {
    // Positions outside the vector are clamped so that a bad index never writes out of range.
    long long pos = static_cast<long long>(i) + 1;
    pos = std::max(0LL, std::min(pos, static_cast<long long>(m_knots.size())));
    m_knots.insert(m_knots.begin() + static_cast<std::ptrdiff_t>(pos), u);
}

int YdKnotVec::FindSpan(int degree, double u) const {
    const int count = GetCount();
    if (degree < 0 || static_cast<long long>(count) < 2LL * (static_cast<long long>(degree) + 1)) {
        // Too short to hold a single span of this degree: the search below would read outside
        // the vector. Answer the degree clamped into the vector instead.
        if (count == 0 || degree < 0) {
            return 0;
        }
        return std::min(degree, count - 1);
    }

    const double* knots = m_knots.data();
    int low = degree;
    int high = count - degree - 1;
    int mid = (low + high) / 2;

    // Exact comparison on purpose: the end parameter of the curve belongs to the last
    // non-empty span, not to the empty span after it.
    if (u == knots[high]) {
        return high - 1;
    }

    for (;;) {
        if (knots[mid] <= u && u < knots[mid + 1]) {
            break;
        }
        if (knots[mid] <= u) {
            low = mid;
        } else {
            high = mid;
        }
        const int next = (low + high) / 2;
        // An unchanged midpoint is what ends the search for u outside the knot range (and for
        // a NaN): below the range the answer is the first span, above it the last.
        if (next == mid) {
            break;
        }
        mid = next;
    }
    return mid;
}

void YdKnotVec::Merge(const YdKnotVec& other, int degree) {
    // Set difference over the two sorted sequences with a tolerant order: a precedes b when
    // a < b - 1e-7. Multiplicities count, so a double knot there matched by a single knot
    // here leaves one copy to insert.
    const std::vector<double>& theirs = other.m_knots;
    std::vector<double> kept;
    std::size_t o = 0;
    std::size_t t = 0;
    while (o < theirs.size()) {
        if (t >= m_knots.size()) {
            kept.insert(kept.end(), theirs.begin() + static_cast<std::ptrdiff_t>(o), theirs.end());
            break;
        }
        if (theirs[o] < m_knots[t] - kMergeTol) {
            kept.push_back(theirs[o]);
            ++o;
        } else {
            if (!(m_knots[t] < theirs[o] - kMergeTol)) {
                ++o;
            }
            ++t;
        }
    }

    for (double u : kept) {
        const int count = GetCount();
        std::size_t pos = 0;
        if (degree >= 0 &&
            static_cast<long long>(count) >= 2LL * (static_cast<long long>(degree) + 1)) {
            pos = idx(FindSpan(degree, u)) + 1;
        } else {
            // No span structure yet: keep the vector sorted, after knots equal to u.
            pos = idx(std::upper_bound(m_knots.begin(), m_knots.end(), u) - m_knots.begin());
        }
        m_knots.insert(m_knots.begin() + static_cast<std::ptrdiff_t>(pos), u);
    }
}

void YdKnotVec::Normalize() {
    if (m_knots.empty()) {
        return;
    }
    const double a = m_knots.front();
    const double b = m_knots.back();
    if (b - a == 0.0) {
        // A zero-length range has no linear map onto [0, 1]; the knots stay as they are.
        return;
    }
    const double s = 1.0 / (b - a);
    for (double& k : m_knots) {
        // Written as s * k - a * s so that results match the host bit for bit.
        k = s * k - a * s;
    }
}

void YdKnotVec::InterpolateFix(const std::vector<double>& params, int degree, bool closed) {
    const int m = static_cast<int>(std::min(params.size(), idx(INT_MAX)));
    const int p = degree;
    if (m < 1 || p < 1) {
        m_knots.clear();
        return;
    }
    const double front = params.front();
    const double back = params[idx(m - 1)];

    if (!closed) {
        const long long size = static_cast<long long>(m) + p + 1;
        if (!CountFits(size)) {
            m_knots.clear();
            return;
        }
        m_knots.resize(idx(size));
        double* U = m_knots.data();
        for (int i = 0; i <= p; ++i) {
            U[i] = front;
            U[m + i] = back;
        }
        for (int i = 1; i <= m - p - 1; ++i) {
            U[i + p] = AverageRun(params, i, p);
        }
        ClampInterior(m_knots, p, front, back);
        return;
    }

    // Closed: the interior knots are the parameters themselves and the vector stays clamped,
    // so a closed curve has m + p - 1 control points.
    const long long size = static_cast<long long>(m) + 2LL * p;
    if (!CountFits(size)) {
        m_knots.clear();
        return;
    }
    m_knots.resize(idx(size));
    double* U = m_knots.data();
    for (int i = 0; i <= p; ++i) {
        U[i] = front;
        U[m + 2 * p - 1 - i] = back;
    }
    for (int i = 1; i <= m - 2; ++i) {
        U[i + p] = params[idx(i)];
    }

    ClampInterior(m_knots, p, front, back);
}

void YdKnotVec::InterpolateFix(const std::vector<double>& params, int degree,
                               std::vector<int>& derivIndices) {
    if (derivIndices.empty()) {
        // No constraint at all: the plain open interpolation knots.
        InterpolateFix(params, degree, false);
        return;
    }
    const int m = static_cast<int>(std::min(params.size(), idx(INT_MAX)));
    const int p = degree;
    const long long k = static_cast<long long>(derivIndices.size());
    const long long size = static_cast<long long>(m) + k + p + 1;
    if (m < 1 || p < 1 || !CountFits(size)) {
        m_knots.clear();
        return;
    }
    const double front = params.front();
    const double back = params[idx(m - 1)];
    const int kk = static_cast<int>(k);

    m_knots.resize(idx(size));
    double* U = m_knots.data();
    if (kk > 2) {
        // Not a valid request; the slots the rules below leave unwritten get the back value so
        // the vector stays non-decreasing.
        std::fill(m_knots.begin(), m_knots.end(), back);
    }
    for (int i = 0; i <= p; ++i) {
        U[i] = front;
        U[m + kk + i] = back;
    }
    if (kk == 2) {
        for (int i = 0; i <= m - p; ++i) {
            U[i + p + 1] = AverageRun(params, i, p);
        }
    } else if (derivIndices[0] != 0) {
        for (int i = 1; i <= m - p; ++i) {
            U[i + p] = AverageRun(params, i, p);
        }
    } else {
        for (int i = 0; i <= m - p - 1; ++i) {
            U[i + p + 1] = AverageRun(params, i, p);
        }
    }

    ClampInterior(m_knots, p, front, back);
}

void YdKnotVec::ApproximateFix(const std::vector<double>& params, int numCtrlPnts, int degree) {
    const int n = numCtrlPnts;
    const int p = degree;
    const long long size = static_cast<long long>(n) + p + 1;
    m_knots.clear();
    if (n < 1 || p < 1 || !CountFits(size)) {
        return;
    }
    m_knots.resize(idx(size));
    double* U = m_knots.data();
    for (int i = 0; i <= p; ++i) {
        U[i] = 0.0;
        U[n + i] = 1.0;
    }

    const int m = static_cast<int>(std::min(params.size(), idx(INT_MAX)));
    if (m < 1) {
        // No parameters to place interior knots from: they stay 0.0.
        return;
    }

    // Group the m parameters into n groups by rounding a running position.
    std::vector<double> g(idx(n));
    const double d = static_cast<double>(m) / static_cast<double>(n);
    double x = -1.0;
    int prev = 0;
    for (int j = 0; j < n; ++j) {
        x += d;
        const int k = static_cast<int>(x + 0.5);
        // With m >= n the group [prev, k] is always inside the parameters; with fewer
        // parameters than groups it is clamped into range.
        const int first = std::min(prev, m - 1);
        const int last = std::max(first, std::min(k, m - 1));
        g[idx(j)] = MeanOf(params, first, last);
        prev = k + 1;
    }

    for (int i = 1; i <= n - p - 1; ++i) {
        // Clamped into [previous knot, 1]: the knot range is [0, 1] whatever the parameters'
        // range, and parameters inside [0, 1] are never moved by this. The lower bound is the
        // previous knot because group means of repeated parameters (duplicate points) are
        // rounded by different divisors and can come out an ulp below an earlier mean.
        const double knot = AverageRun(g, i, p);
        U[i + p] = std::min(1.0, std::max(U[i + p - 1], knot));
    }
}

void YdKnotVec::makeBasis(const std::vector<double>& params, int degree,
                          const std::vector<int>& derivIndices) {
    const int m = static_cast<int>(std::min(params.size(), idx(INT_MAX)));
    const int p = degree;
    const long long size =
        static_cast<long long>(m) + static_cast<long long>(derivIndices.size()) + p + 1;
    m_knots.clear();
    if (m < 2 || p < 0 || !CountFits(size)) {
        return;
    }
    const ConstrainedKnotPlan plan = PlanConstrainedKnots(params, m, p, derivIndices);
    m_knots.assign(idx(size), 0.0);
    ConstrainedKnotWriter out(m_knots, derivIndices);
    for (int i = 0; i < plan.order; ++i) {
        out.Put(plan.front);
    }
    if (plan.order % 2 == 1) {
        WriteEvenDegreeInterior(plan, params, out);
    } else {
        WriteOddDegreeInterior(plan, params, out);
    }
    double* U = m_knots.data();
    for (int i = 0; i < plan.order; ++i) {
        U[plan.e + i] = plan.back;
    }
}
