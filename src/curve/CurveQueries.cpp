// SPDX-License-Identifier: MIT

// Reference: arc length by Gauss-Legendre quadrature over the knot spans and by Romberg
// extrapolation of chord-length sums; point inversion by Newton's method (Piegl and Tiller, The
// NURBS Book, 2nd ed., section 6.1); the point at an arc length by bisection; the curvature
// |C' x C''| / |C'|^3 and the Frenet frame of differential geometry.
//
// Read-only geometric queries of YdBSplineCurve: arc length, point inversion, the point at a
// given arc length, curvature, the Frenet frame, the arc-length midpoint and sampling.
//
// Point inversion and curvature sit on hot paths of the fit filters (the approximation measures
// every fit point with FindNearestPoint, the curvature search samples the curve densely), so
// they evaluate through the allocation-free kernel with derivatives held on the stack.

#include <cmath>
#include <cstddef>
#include <vector>

#include "../nurbs/BasisKernel.h"
#include "CurveEvalKernel.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdFrame.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

// Stopping cosine of the Newton inversion. The argument is 89.5 radians, not degrees (about
// 0.0353832 instead of 0.0087265): hosts tuned their fit tolerances against this looser
// perpendicularity test, so it is kept as it stands.
const double kNewtonCosTol = std::cos(89.5);

constexpr double kNewtonEps = 1e-7;
constexpr int kMaxNewtonSteps = 5;
constexpr int kMaxStartValues = 5;
constexpr int kSamplesPerSpan = 6;
constexpr int kRombergLevels = 15;
constexpr double kLocateLengthTol = 1e-7;
// A bisection on [0, 1] reaches the spacing of doubles long before this; the cap only matters
// when the length can never come within kLocateLengthTol (a negative or unreachable distance,
// or a Romberg tolerance too loose for it).
constexpr int kMaxLocateHalvings = 200;
// Wrapping a runaway Newton parameter on a closed curve: reduce by fmod when it is many
// periods away, and never loop more than this many times per direction.
constexpr double kWrapReducePeriods = 16.0;
constexpr int kMaxWrapSteps = 64;

// True when the curve has the shape the queries need: a degree of at least 0, at least one
// span index (n > p), the knot count that n and p call for, and a parameter range of non-zero
// width. Anything else has no start value for the point inversion.
bool HasSpans(const YdBSplineCurve& c) {
    const int p = c.Degree();
    const int n = c.GetNumOfCtrlPnts();
    const std::vector<double>& U = c.KnotVec().GetKnots();
    if (p < 0 || n <= p || static_cast<int>(U.size()) != n + p + 1) {
        return false;
    }
    return U[n] > U[p];
}

// The curve point at u on knot span `span`, which the caller has checked holds u (so the span
// search would return it): the same basis routine and the same sums, in the same order, as the
// evaluation kernel, so the point is bit for bit the one Evaluate gives. Skipping the search
// halves the cost of the coarse sampling behind the start values.
void PointOnKnownSpan(const YdBSplineCurve& c, int span, double u, yd_detail::BasisWorkspace& ws,
                      double xyz[3]) {
    const int p = c.Degree();
    yd_detail::BasisDersOnSpan(c.KnotVec().GetKnots().data(), span, p, 0, u, ws.Scratch(),
                               ws.Result());
    const double* N = ws.Result();
    const YdPoint* base = c.CtrlPoints().data() + (span - p);
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (int j = 0; j <= p; ++j) {
        x += N[j] * base[j][0];
        y += N[j] * base[j][1];
        z += N[j] * base[j][2];
    }
    xyz[0] = x;
    xyz[1] = y;
    xyz[2] = z;
}

// |C - P| with the operations of the point difference and YdVector::Magnitude, in their order.
double DistanceTo(const double xyz[3], const YdPoint& P) {
    const double dx = xyz[0] - P[0];
    const double dy = xyz[1] - P[1];
    const double dz = xyz[2] - P[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// Up to five start values for the inversion of P, ordered by ascending distance with equal
// distances in span order (the order an ordered multimap keyed by distance gives), written to
// out; returns how many. Fixed storage: the inversion allocates nothing.
int CollectStartValues(const YdBSplineCurve& c, const YdPoint& P, double out[kMaxStartValues]) {
    if (!HasSpans(c)) {
        return 0;
    }
    const int p = c.Degree();
    const int n = c.GetNumOfCtrlPnts();
    const std::vector<double>& U = c.KnotVec().GetKnots();

    double bestDist[kMaxStartValues];
    int count = 0;
    YdPoint C;
    yd_detail::BasisWorkspace ws(p, 0);
    for (int s = p; s < n; ++s) {
        const double step = (U[s + 1] - U[s]) / kSamplesPerSpan;
        double least = 1e10;
        double leastU = 1e10;
        for (int j = 0; j < kSamplesPerSpan; ++j) {
            double u = U[s] + j * step;
            if (u > U[s + 1]) {
                u = U[s + 1];
            }
            double xyz[3];
            if (U[s] <= u && u < U[s + 1]) {
                PointOnKnownSpan(c, s, u, ws, xyz);
            } else {
                // An empty span, or a last sample rounded onto the next knot.
                yd_detail::EvaluateCurve(c, u, 0, C, nullptr);
                xyz[0] = C[0];
                xyz[1] = C[1];
                xyz[2] = C[2];
            }
            const double d = DistanceTo(xyz, P);
            if (d < least) {
                least = d;
                leastU = u;
            }
        }
        // Stable insertion: a new entry goes after every entry whose distance is not greater,
        // so equal distances stay in span order; entries past the fifth are dropped.
        int pos = 0;
        while (pos < count && !(bestDist[pos] > least)) {
            ++pos;
        }
        if (pos >= kMaxStartValues) {
            continue;
        }
        const int last = (count < kMaxStartValues) ? count : kMaxStartValues - 1;
        for (int k = last; k > pos; --k) {
            bestDist[k] = bestDist[k - 1];
            out[k] = out[k - 1];
        }
        bestDist[pos] = least;
        out[pos] = leastU;
        if (count < kMaxStartValues) {
            ++count;
        }
    }
    return count;
}

// Brings a Newton parameter of a closed curve back into [umin, umax] by whole periods. False
// when it cannot (a non-finite value): the caller then ends that start value's iteration.
bool WrapParameter(double& u, double umin, double umax) {
    if (!std::isfinite(u)) {
        return false;
    }
    const double period = umax - umin;
    if (u < umin - kWrapReducePeriods * period || u > umax + kWrapReducePeriods * period) {
        u = umin + std::fmod(u - umin, period);
    }
    for (int i = 0; i < kMaxWrapSteps && u < umin; ++i) {
        u += period;
    }
    for (int i = 0; i < kMaxWrapSteps && u > umax; ++i) {
        u -= period;
    }
    // Only a period lost in the rounding of umin can leave u outside; clamp then.
    if (u < umin) {
        u = umin;
    } else if (u > umax) {
        u = umax;
    }
    return true;
}

// Where one start value's Newton iteration ended: the parameter and the distance of the point
// last evaluated.
struct NewtonRun {
    double u;
    double d;
};

// The Newton point inversion of P from one start value: at most five steps, stopping when the
// point is within eps, when the tangent is nearly perpendicular to the difference (the cosine
// test), or when a step moves the point by at most eps. The parameter is wrapped (closed) or
// clamped (open) into [umin, umax]. C receives the point last evaluated. After a stop by the
// step test or by running out of steps the parameter is one update ahead of that point; hosts
// rely on this pairing, so it is kept.
NewtonRun InvertFrom(const YdBSplineCurve& c, const YdPoint& P, double start, double umin,
                     double umax, YdPoint& C) {
    double uc = start;
    double d = 1e16;
    YdVector der[2];
    for (int step = 0; step < kMaxNewtonSteps; ++step) {
        yd_detail::EvaluateCurve(c, uc, 2, C, der);
        const YdVector diff = C - P;
        d = diff.Magnitude();
        if (d <= kNewtonEps) {
            break;
        }
        const double num = der[0] % diff;
        const double speed = der[0].Magnitude();
        if (std::fabs(num) / (speed * d) <= kNewtonCosTol) {
            break;
        }
        const double denom = der[1] % diff + der[0] % der[0];
        // A zero denominator (a vanishing first derivative, for instance) would make the
        // parameter NaN; the start value's iteration ends here instead.
        if (denom == 0.0) {
            break;
        }
        double uNew = uc - num / denom;
        if (std::isnan(uNew)) {
            break;
        }
        if (c.IsClosed()) {
            if (!WrapParameter(uNew, umin, umax)) {
                break;
            }
        } else if (uNew < umin) {
            uNew = umin;
        } else if (uNew > umax) {
            uNew = umax;
        }
        if (std::fabs((uNew - uc) * speed) <= kNewtonEps) {
            uc = uNew;
            break;
        }
        uc = uNew;
    }
    return NewtonRun{uc, d};
}

// Gauss-Legendre length of one piece [t0, t1]: h times the weighted sum of the speed at the
// mapped abscissae.
double GaussPiece(const YdBSplineCurve& c, double t0, double t1, const std::vector<double>& nodes,
                  const std::vector<double>& weights) {
    const double h = (t1 - t0) / 2.0;
    const double mid = (t1 + t0) / 2.0;
    double sum = 0.0;
    YdPoint C;
    YdVector d1[1];
    for (std::size_t g = 0; g < nodes.size(); ++g) {
        yd_detail::EvaluateCurve(c, h * nodes[g] + mid, 1, C, d1);
        sum += weights[g] * d1[0].Magnitude();
    }
    return h * sum;
}

struct Xyz {
    double x;
    double y;
    double z;
};

Xyz PointAt(const YdBSplineCurve& c, double u) {
    YdPoint C;
    yd_detail::EvaluateCurve(c, u, 0, C, nullptr);
    return Xyz{C[0], C[1], C[2]};
}

double Chord(const Xyz& a, const Xyz& b) {
    const YdVector v(b.x - a.x, b.y - a.y, b.z - a.z);
    return v.Magnitude();
}

}  // namespace

double YdBSplineCurve::Length(double a, double b, bool signedLength) const {
    double sign = 1.0;
    if (a > b) {
        const double t = a;
        a = b;
        b = t;
        if (signedLength) {
            sign = -1.0;
        }
    }
    if (a == b) {
        return 0.0;
    }

    std::vector<double> nodes;
    std::vector<double> weights;
    YdNurbsHelper::GetGaussWeightsAndKnots(7, nodes, weights);

    // Break points a, the knots strictly inside (a, b) in order (repeated ones as often as they
    // occur, giving empty pieces), then b; summed piece by piece in that order.
    double sum = 0.0;
    double prev = a;
    for (double k : m_knotVec.GetKnots()) {
        if (!(k < b)) {
            break;
        }
        if (k > a) {
            sum += GaussPiece(*this, prev, k, nodes, weights);
            prev = k;
        }
    }
    sum += GaussPiece(*this, prev, b, nodes, weights);
    return sum * sign;
}

double YdBSplineCurve::Length(double a, double b, double tol) const {
    // Every chord of an empty interval is zero and no level would ever meet the relative test;
    // the answer is known without the fifteen levels.
    if (a == b) {
        return 0.0;
    }
    double R[kRombergLevels][kRombergLevels];
    std::vector<Xyz> pts;
    std::vector<Xyz> next;
    std::vector<double> chords;
    pts.push_back(PointAt(*this, a));
    pts.push_back(PointAt(*this, b));
    R[0][0] = Chord(pts[0], pts[1]);

    for (int i = 1; i < kRombergLevels; ++i) {
        const std::size_t k = pts.size();
        const double h = (b - a) / static_cast<double>(2 * k - 2);
        next.resize(2 * k - 1);
        for (std::size_t j = 0; j < k; ++j) {
            next[2 * j] = pts[j];
        }
        for (std::size_t j = 0; j + 1 < k; ++j) {
            next[2 * j + 1] = PointAt(*this, a + static_cast<double>(2 * j + 1) * h);
        }
        pts.swap(next);

        // Pairwise summation of the 2^i chords.
        std::size_t m = pts.size() - 1;
        chords.resize(m);
        for (std::size_t t = 0; t < m; ++t) {
            chords[t] = Chord(pts[t], pts[t + 1]);
        }
        while (m > 1) {
            m /= 2;
            for (std::size_t t = 0; t < m; ++t) {
                chords[t] = chords[2 * t] + chords[2 * t + 1];
            }
        }
        R[i][0] = chords[0];

        double f = 0.0;
        for (int j = 1; j <= i; ++j) {
            f = 4.0 * f + 3.0;
            R[i][j] = R[i][j - 1] + (R[i][j - 1] - R[i - 1][j - 1]) / f;
        }
        if (tol * R[i][i] > std::fabs(R[i][i] - R[i - 1][i - 1])) {
            return R[i][i];
        }
    }
    return R[kRombergLevels - 1][kRombergLevels - 1];
}

void YdBSplineCurve::DetermineUInitial(YdPoint P, std::vector<double>& starts) const {
    double found[kMaxStartValues];
    const int count = CollectStartValues(*this, P, found);
    for (int i = 0; i < count; ++i) {
        starts.push_back(found[i]);
    }
}

bool YdBSplineCurve::FindNearestPoint(const YdPoint& P, double& u, YdPoint& nearest,
                                      double* u0) const {
    if (!HasSpans(*this)) {
        return false;
    }
    // P and the out-parameters may be the same objects as the caller's; work on copies.
    const YdPoint target(P);
    double starts[kMaxStartValues];
    int numStarts = 0;
    if (u0 == nullptr) {
        numStarts = CollectStartValues(*this, target, starts);
    } else {
        starts[0] = *u0;
        numStarts = 1;
    }

    const std::vector<double>& U = m_knotVec.GetKnots();
    const double umin = U[m_degree];
    const double umax = U[GetNumOfCtrlPnts()];

    double best = 1e16;
    bool found = false;
    double bestU = 0.0;
    YdPoint bestPoint;
    YdPoint C;
    for (int si = 0; si < numStarts; ++si) {
        const NewtonRun run = InvertFrom(*this, target, starts[si], umin, umax, C);
        if (best > run.d) {
            found = true;
            best = run.d;
            bestU = run.u;
            bestPoint = C;
        }
    }
    if (found) {
        u = bestU;
        nearest = bestPoint;
    }
    return found;
}

bool YdBSplineCurve::locatePoint(const YdPoint& P, double dist, bool forward, double& u,
                                 YdPoint& point, double tol) const {
    double u0 = 0.0;
    YdPoint projected;
    if (!FindNearestPoint(P, u0, projected, nullptr)) {
        return false;
    }
    double lo = 0.0;
    double hi = 0.0;
    if (forward) {
        const double L = Length(u0, 1.0, tol);
        if (dist > L) {
            u = 1.0;
            point = Evaluate(1.0);
            return false;
        }
        lo = u0;
        hi = 1.0;
    } else {
        const double L = Length(0.0, u0, tol);
        if (dist > L) {
            u = 0.0;
            point = Evaluate(0.0);
            return false;
        }
        lo = 0.0;
        hi = u0;
    }

    double mid = (lo + hi) * 0.5;
    for (int i = 0; i < kMaxLocateHalvings; ++i) {
        mid = (lo + hi) * 0.5;
        // Once the bracket is two neighbouring doubles, every further round gives this same
        // mid; stopping here changes no result and spares the remaining length evaluations.
        if (mid == lo || mid == hi) {
            break;
        }
        const double e = forward ? Length(u0, mid, tol) - dist : Length(mid, u0, tol) - dist;
        if (std::fabs(e) < kLocateLengthTol) {
            break;
        }
        // Forward the length grows with mid, backward it shrinks.
        if ((e >= 0.0) == forward) {
            hi = mid;
        } else {
            lo = mid;
        }
    }
    u = mid;
    point = Evaluate(mid);
    return true;
}

bool YdBSplineCurve::CalculateCurvature(double u, double& k) const {
    // A curve without a span has no curvature to report: false, so that the radius is the
    // documented -1.0 rather than a NaN from the zero derivatives.
    if (!HasSpans(*this)) {
        return false;
    }
    YdPoint C;
    YdVector der[2];
    yd_detail::EvaluateCurve(*this, u, 2, C, der);
    k = (der[0] * der[1]).Magnitude() / std::pow(der[0].Magnitude(), 3.0);
    return true;
}

double YdBSplineCurve::CalcRadiusOfCurvature(double u) const {
    double k = 0.0;
    if (!CalculateCurvature(u, k)) {
        return -1.0;
    }
    return 1.0 / k;
}

bool YdBSplineCurve::FrenetFrame(double u, YdFrame& frame) const {
    if (!HasSpans(*this)) {
        return false;
    }
    YdPoint C;
    YdVector der[2];
    yd_detail::EvaluateCurve(*this, u, 2, C, der);
    const YdVector binormal = der[0] * der[1];
    frame.SetOrigin(C);
    frame.SetFrame(binormal, der[0]);
    return true;
}

void YdBSplineCurve::GetMiddlePoint(YdPoint& point, double& u) const {
    const double half = Length(0.0, 1.0, true) / 2.0;
    double lo = 0.0;
    double hi = 1.0;
    u = 0.5;
    for (int round = 0; round < 100; ++round) {
        const double e = Length(0.0, u, true) - half;
        if (std::fabs(e) <= 1e-5) {
            break;
        }
        if (e > 1e-5) {
            hi = u;
            u = (u + lo) / 2.0;
        } else {
            lo = u;
            u = (hi + u) / 2.0;
        }
    }
    point = Evaluate(u);
}

void YdBSplineCurve::Sampling(int n, std::vector<YdPoint>& out, double a, double b) const {
    if (n < 1) {
        return;
    }
    for (int i = 0; i <= n; ++i) {
        out.push_back(Evaluate(a + static_cast<double>(i) * (b - a) / n));
    }
}
