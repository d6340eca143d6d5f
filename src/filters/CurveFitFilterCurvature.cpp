// SPDX-License-Identifier: MIT

// Reference: extremes of curvature bracketed knot span by knot span, then narrowed by interval
// reduction (the midpoint compared with two inner points, a dichotomous search).
//
// Curvature extremes of the fitted curve: every local maximum and minimum of curvature, found
// in two stages. The rough stage brackets each extreme, knot span by knot span (plus a small
// interval around every interior knot, where the curvature of a cubic may have a kink); the
// exact stage narrows each bracket to 1e-6 in parameter.
//
// Every curvature value comes from YdBSplineCurve::CalculateCurvature, which allocates
// nothing, so the searches below (thousands of evaluations per span) allocate only for the
// bracket lists and the result maps.
//
// Guards against input the searches were not written for (none of them changes a result on a
// curve whose knots are finite and span a range of moderate width, such as the [0, 1] of every
// curve the library builds):
// - a negative degree, or a knot vector with a non-finite value, gives false from the rough
//   stage: there are no spans to search;
// - the shrink walk stops, without a result, when its 1e-5 step no longer moves the
//   parameter (knots beyond about 1e11) and after at most kMaxWalkSteps steps. A walk over a
//   range of width w takes w / 1e-5 steps, so the cap first bites for knot ranges wider than
//   1e3; it bounds the time a curve with a huge knot range can take;
// - the exact stage stops narrowing a bracket once a round no longer changes it (brackets
//   whose width cannot shrink below 1e-6 at the parameters' magnitude).

#include <cmath>
#include <cstddef>
#include <map>
#include <utility>
#include <vector>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

using yd_detail::idx;

namespace {

using Bracket = std::pair<double, double>;

// Fixed step of the walk that looks for the turn of the curvature inside a range.
constexpr double kWalkStep = 1e-5;
// Largest step count of one walk: 1e3 / 1e-5, so that no walk inside a knot range up to 1e3
// wide is cut short.
constexpr long long kMaxWalkSteps = 100000000LL;
// Width to which the exact stage narrows each bracket.
constexpr double kBracketWidth = 1e-6;
// Start value of the minimum search: the largest single-precision float, as hosts expect.
constexpr double kMinSearchStart = 3.4028234663852886e+38;

// Curvature at u. The success flag is not consulted (the search takes whatever value comes
// back, as hosts expect); k starts at 0.0 so that it is never read uninitialised.
double Curvature(const YdBSplineCurve& c, double u) {
    double k = 0.0;
    c.CalculateCurvature(u, k);
    return k;
}

// The shrink walk of both searches: steps of 1e-5 into `range` (forward from its lower end,
// backward from its upper end) until the curvature turns upward (`upward`, for a maximum
// beyond) or downward (for a minimum), comparing each curvature with the one tested just
// before it. The result runs from the turn to the far end of the range; false, result
// untouched, when the walk reaches that end without a turn.
bool WalkToTurn(const YdBSplineCurve& c, const Bracket& range, Bracket& result, bool forward,
                bool upward) {
    const double l = range.first;
    const double r = range.second;
    const double step = forward ? kWalkStep : -kWalkStep;
    double x = forward ? l + step : r + step;
    double previous = Curvature(c, x - step);
    for (long long steps = 0; forward ? (r > x) : (x > l); ++steps) {
        if (steps >= kMaxWalkSteps) {
            return false;
        }
        const double kx = Curvature(c, x);
        if (upward ? (kx > previous) : (previous > kx)) {
            result = forward ? Bracket(x, r) : Bracket(l, x);
            return true;
        }
        const double nextX = x + step;
        if (nextX == x) {
            // The step no longer moves the parameter: the walk would repeat this test forever.
            return false;
        }
        x = nextX;
        previous = kx;
    }
    return false;
}

// The candidate intervals of the rough stage: every non-empty or empty span [U[i], U[i+1]] of
// the curve, and a small interval around each interior knot. False when the knot vector offers
// no span to search (negative degree, too few knots, a non-finite knot).
bool CandidateIntervals(const YdBSplineCurve& c, std::vector<Bracket>& out) {
    const std::vector<double>& knots = c.KnotVec().GetKnots();
    const long long p = c.Degree();
    const long long n = static_cast<long long>(knots.size());
    if (p < 0 || n < p + 1) {
        return false;
    }
    for (double k : knots) {
        if (!std::isfinite(k)) {
            return false;
        }
    }
    const long long reserve = (n - 2 * p) * 2;
    if (reserve > 0) {
        out.reserve(idx(reserve));
    }
    for (long long i = p; i < n - p - 1; ++i) {
        const double lo = knots[idx(i)];
        const double hi = knots[idx(i + 1)];
        double h = 1e-5;
        if (h > hi - lo) {
            h = (hi - lo) / 3;
        }
        out.emplace_back(lo, hi);
        if (i + 1 != n - p - 1) {
            out.emplace_back(hi - 5 * h, hi + 5 * h);
        }
    }
    return true;
}

}  // namespace

bool YdCurveFitFilter::computeExtremeCurvatures() {
    if (curve == nullptr) {
        return false;
    }
    localMaxCurvatures.clear();
    if (!computeLocalMaxCurvature()) {
        return false;
    }
    localMinCurvatures.clear();
    return computeLocalMinCurvature();
}

std::map<double, double>& YdCurveFitFilter::getLocalMaxCurvatures() {
    if (localMaxCurvatures.empty()) {
        computeLocalMaxCurvature();
    }
    return localMaxCurvatures;
}

std::map<double, double>& YdCurveFitFilter::getLocalMinCurvatures() {
    if (localMinCurvatures.empty()) {
        computeLocalMinCurvature();
    }
    return localMinCurvatures;
}

bool YdCurveFitFilter::getMaxCurvature(double& u, double& curvature) {
    if (localMaxCurvatures.empty() && !computeLocalMaxCurvature()) {
        return false;
    }
    curvature = 0.0;
    for (const auto& entry : localMaxCurvatures) {
        if (entry.second > curvature) {
            curvature = entry.second;
            u = entry.first;
        }
    }
    return true;
}

bool YdCurveFitFilter::computeLocalMaxCurvature() {
    std::vector<Bracket> brackets;
    if (!roughSearchLocaMaxCvt(brackets)) {
        return false;
    }
    return exzactSearchLocalMaxCvt(brackets);
}

bool YdCurveFitFilter::computeLocalMinCurvature() {
    std::vector<Bracket> brackets;
    if (!roughSearchLocaMinCvt(brackets)) {
        return false;
    }
    return exzactSearchLocalMinCvt(brackets);
}

bool YdCurveFitFilter::roughSearchLocaMaxCvt(std::vector<std::pair<double, double>>& brackets) {
    if (curve == nullptr) {
        return false;
    }
    std::vector<Bracket> candidates;
    if (!CandidateIntervals(*curve, candidates)) {
        return false;
    }
    const YdBSplineCurve& c = *curve;
    for (const Bracket& iv : candidates) {
        const double a = iv.first;
        const double b = iv.second;
        double h = 1e-5;
        if (h > b - a) {
            h = (b - a) / 3;
        }
        const double ka = Curvature(c, a);
        const double kah = Curvature(c, a + h);
        const double kbh = Curvature(c, b - h);
        const double kb = Curvature(c, b);
        const bool risesAtStart = kah > ka;
        const bool fallsAtEnd = !(kb > kbh);

        if (risesAtStart && fallsAtEnd) {
            brackets.emplace_back(a, b);
        } else if (!risesAtStart && fallsAtEnd) {
            const double m = (a + b) / 2;
            if (Curvature(c, m + h) > Curvature(c, m)) {
                brackets.emplace_back(m + h, b - h);
            } else {
                Bracket r;
                if (shrinkRangeForFindingLocalMaxCvt(Bracket(a + h, b - h), r, true)) {
                    brackets.push_back(r);
                }
            }
        } else if (risesAtStart && !fallsAtEnd) {
            const double m = (a + b) / 2;
            if (Curvature(c, m - h) > Curvature(c, m)) {
                brackets.emplace_back(a + h, m - h);
            } else {
                Bracket r;
                if (shrinkRangeForFindingLocalMaxCvt(Bracket(a + h, b - h), r, false)) {
                    brackets.push_back(r);
                }
            }
        }
        // Falling at the start and rising at the end: no maximum inside.
    }
    return true;
}

bool YdCurveFitFilter::roughSearchLocaMinCvt(std::vector<std::pair<double, double>>& brackets) {
    if (curve == nullptr) {
        return false;
    }
    std::vector<Bracket> candidates;
    if (!CandidateIntervals(*curve, candidates)) {
        return false;
    }
    const YdBSplineCurve& c = *curve;
    for (const Bracket& iv : candidates) {
        const double a = iv.first;
        const double b = iv.second;
        double h = 1e-5;
        if (h > b - a) {
            h = (b - a) / 3;
        }
        const double ka = Curvature(c, a);
        const double kah = Curvature(c, a + h);
        const double kbh = Curvature(c, b - h);
        const double kb = Curvature(c, b);
        const bool risesAtStart = kah > ka;
        const bool fallsAtEnd = !(kb > kbh);

        if (!risesAtStart && !fallsAtEnd) {
            brackets.emplace_back(a, b);
        } else if (risesAtStart && !fallsAtEnd) {
            const double m = (a + b) / 2;
            if (Curvature(c, m) > Curvature(c, m + h)) {
                brackets.emplace_back(m + h, b - h);
            } else {
                Bracket r;
                if (shrinkRangeForFindingLocalMinCvt(Bracket(a + h, b - h), r, true)) {
                    brackets.push_back(r);
                }
            }
        } else if (!risesAtStart && fallsAtEnd) {
            const double m = (a + b) / 2;
            if (Curvature(c, m) > Curvature(c, m - h)) {
                brackets.emplace_back(a + h, m - h);
            } else {
                Bracket r;
                if (shrinkRangeForFindingLocalMinCvt(Bracket(a + h, b - h), r, false)) {
                    brackets.push_back(r);
                }
            }
        }
        // Rising at the start and falling at the end: no minimum inside.
    }
    return true;
}

bool YdCurveFitFilter::shrinkRangeForFindingLocalMaxCvt(const std::pair<double, double>& range,
                                                        std::pair<double, double>& result,
                                                        bool forward) {
    return curve != nullptr && WalkToTurn(*curve, range, result, forward, true);
}

bool YdCurveFitFilter::shrinkRangeForFindingLocalMinCvt(const std::pair<double, double>& range,
                                                        std::pair<double, double>& result,
                                                        bool forward) {
    return curve != nullptr && WalkToTurn(*curve, range, result, forward, false);
}

bool YdCurveFitFilter::exzactSearchLocalMaxCvt(
    const std::vector<std::pair<double, double>>& brackets) {
    if (curve == nullptr) {
        return false;
    }
    const YdBSplineCurve& c = *curve;
    localMaxCurvatures.clear();
    for (const Bracket& br : brackets) {
        double lo = br.first;
        double hi = br.second;
        double m = 0.0;
        double km = 0.0;
        bool narrowed = false;
        while (std::fabs(hi - lo) > kBracketWidth) {
            m = (lo + hi) / 2;
            const double q = (hi - lo) / 10;
            const double left = m - q;
            const double right = m + q;
            const double kl = Curvature(c, left);
            const double kr = Curvature(c, right);
            km = Curvature(c, m);
            narrowed = true;
            const double oldLo = lo;
            const double oldHi = hi;
            if (km >= kl && km >= kr) {
                lo = left;
                hi = right;
            } else if (km >= kl && kr >= km) {
                lo = m;
            } else {
                hi = m;
            }
            if (lo == oldLo && hi == oldHi) {
                break;  // no representable progress at this magnitude
            }
        }
        if (!narrowed) {
            // A bracket already 1e-6 wide or narrower runs no round: its midpoint stands for it.
            m = (lo + hi) / 2;
            km = Curvature(c, m);
        }
        localMaxCurvatures.emplace(m, km);  // an existing key is kept
    }
    return true;
}

bool YdCurveFitFilter::exzactSearchLocalMinCvt(
    const std::vector<std::pair<double, double>>& brackets) {
    if (curve == nullptr) {
        return false;
    }
    const YdBSplineCurve& c = *curve;
    localMinCurvatures.clear();
    for (const Bracket& br : brackets) {
        double lo = br.first;
        double hi = br.second;
        double m = 0.0;
        double km = 0.0;
        bool narrowed = false;
        while (std::fabs(hi - lo) > kBracketWidth) {
            m = (lo + hi) / 2;
            const double q = (hi - lo) / 10;
            const double left = m - q;
            const double right = m + q;
            const double kl = Curvature(c, left);
            const double kr = Curvature(c, right);
            km = Curvature(c, m);
            narrowed = true;
            const double oldLo = lo;
            const double oldHi = hi;
            if (kl >= km && kr >= km) {
                lo = left;
                hi = right;
            } else if (kl >= km && km > kr) {
                // Strict on the right, unlike the maximum search: kept as hosts expect.
                lo = m;
            } else {
                hi = m;
            }
            if (lo == oldLo && hi == oldHi) {
                break;
            }
        }
        if (!narrowed) {
            m = (lo + hi) / 2;
            km = Curvature(c, m);
        }
        localMinCurvatures.emplace(m, km);
    }
    return true;
}

bool YdCurveFitFilter::findMaxCurvatureFromExtremes(
    const std::vector<std::pair<double, double>>& extremes, double& curvature, double& u) {
    if (extremes.empty()) {
        return false;
    }
    curvature = 0.0;
    for (const Bracket& e : extremes) {
        if (e.second > curvature) {
            curvature = e.second;
            u = e.first;
        }
    }
    return true;
}

bool YdCurveFitFilter::findMinCurvatureFromExtremes(
    const std::vector<std::pair<double, double>>& extremes, double& curvature, double& u) {
    if (extremes.empty()) {
        return false;
    }
    curvature = kMinSearchStart;
    for (const Bracket& e : extremes) {
        if (e.second < curvature) {
            curvature = e.second;
            u = e.first;
        }
    }
    return true;
}
