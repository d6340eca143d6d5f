// SPDX-License-Identifier: MIT

// Reference: the smallest control-point count that meets a tolerance, by bisection on the count;
// each trial is judged by Newton point inversion of its fit points.
//
// The approximation factories: choosing the number of control points by a binary search and
// judging each trial by its worst squared point distance.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "../geometry/IndexCast.h"
#include "../geometry/PointChecks.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

using yd_detail::idx;

namespace {

using TangentList = std::vector<std::pair<int, YdVector>>;

// Every factory fits cubics with this weight of the fairing term.
constexpr double kLambda = 0.2;
// The binary search runs between these control-point counts.
constexpr int kMinCtrlPnts = 5;
constexpr int kMaxCtrlPnts = 500;

// The largest squared distance from each point to the curve, searched from the point's own
// parameter. A point whose search fails is skipped. A NaN distance makes the result NaN, so
// that such a curve counts neither as within tolerance nor as the least-error one.
double MaxSquaredError(const YdBSplineCurve& curve, const std::vector<YdPoint>& points) {
    double maxErr = 0.0;
    const int m = static_cast<int>(points.size());
    for (int i = 0; i < m; ++i) {
        double u0 = curve.GetPointParam(i);
        double u = 0.0;
        YdPoint nearest;
        if (!curve.FindNearestPoint(points[idx(i)], u, nearest, &u0)) {
            continue;
        }
        const double d2 = points[idx(i)].SquareDistanceToPoint(nearest);
        if (!std::isnan(maxErr) && !(d2 <= maxErr)) {
            maxErr = d2;
        }
    }
    return maxErr;
}

struct Candidate {
    std::unique_ptr<YdBSplineCurve> curve;
    double maxErr;
};

// The choice among the trials: the smallest within tolerance (the earliest on ties), else the
// least error (the earliest on ties). The count is compared strictly against a start value of
// 500, so a within-tolerance trial with exactly 500 control points is never taken; hosts rely
// on this cap. -1 when nothing can be chosen.
int ChooseCandidate(const std::vector<Candidate>& candidates, double tolerance) {
    int bestCount = kMaxCtrlPnts;
    double bestErr = 1e16;
    int idxTol = -1;
    int idxErr = -1;
    for (std::size_t k = 0; k < candidates.size(); ++k) {
        const Candidate& c = candidates[k];
        if (tolerance > c.maxErr) {
            if (c.curve != nullptr && c.curve->GetNumOfCtrlPnts() < bestCount) {
                bestCount = c.curve->GetNumOfCtrlPnts();
                idxTol = static_cast<int>(k);
            }
        } else if (bestErr > c.maxErr) {
            bestErr = c.maxErr;
            idxErr = static_cast<int>(k);
        }
    }
    return idxTol >= 0 ? idxTol : idxErr;
}

// The binary search on the control-point count. fit(curve, n) makes one fit on the working
// curve, which already holds the points and their parameters. Each trial is kept as a copy;
// all but the chosen one (and the working curve) are released on every path.
template <class FitFn>
YdBSplineCurve* SearchControlPointCount(YdBSplineCurve& work, const std::vector<YdPoint>& points,
                                        double tolerance, FitFn fit) {
    const int m = static_cast<int>(points.size());
    int lo = kMinCtrlPnts;
    int hi = std::min(kMaxCtrlPnts, m);
    if (hi < lo) {
        hi = lo;
    }
    int mid = (lo + hi) / 2;
    std::vector<Candidate> candidates;
    for (;;) {
        const bool fitted = fit(work, mid);
        bool within = false;
        if (fitted) {
            const double maxErr = MaxSquaredError(work, points);
            within = tolerance > maxErr;
            candidates.push_back(Candidate{std::make_unique<YdBSplineCurve>(work), maxErr});
        }
        if (within) {
            hi = mid;
        } else if (fitted) {
            lo = mid;
        } else {
            hi = mid;
        }
        const int next = (lo + hi + 1) / 2;
        if (next == mid) {
            break;
        }
        mid = next;
    }
    const int chosen = ChooseCandidate(candidates, tolerance);
    if (chosen < 0) {
        return nullptr;
    }
    return candidates[idx(chosen)].curve.release();
}

// The cases that need no search: null for fewer than two points or a coordinate that is not a
// number (no fit of them can be judged), a straight cubic for two points, interpolation for
// three or four. handled tells whether the caller is done.
YdBSplineCurve* SmallCase(const std::vector<YdPoint>& points, bool closed, bool& handled) {
    handled = true;
    const std::size_t m = points.size();
    if (m < 2 || !yd_detail::AllFinitePoints(points)) {
        return nullptr;
    }
    // Three or more points at one place have no shape to fit. Open fits of them are singular;
    // a closed fit with its closing rows is not always, and would hand out a curve.
    if (m >= 3 && std::all_of(points.begin(), points.end(), [&points](const YdPoint& p) {
            return p[0] == points[0][0] && p[1] == points[0][1] && p[2] == points[0][2];
        })) {
        return nullptr;
    }
    if (m == 2) {
        YdVector t = points[1] - points[0];
        t.Normalize();
        return YdBSplineCurve::CreateByEndPointsAndTangents(points[0], points[1], t, t);
    }
    if (m == 3 || m == 4) {
        return YdBSplineCurve::CreateInterpolateCurve(points, closed);
    }
    handled = false;
    return nullptr;
}

}  // namespace

YdBSplineCurve* YdBSplineCurve::CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                       bool closed, double tolerance) {
    std::vector<int> interpIdx;
    if (!points.empty()) {
        interpIdx.push_back(0);
        interpIdx.push_back(static_cast<int>(points.size()) - 1);
    }
    return CreateApproximateCurve(points, interpIdx, closed, tolerance);
}

YdBSplineCurve* YdBSplineCurve::CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                       const std::vector<int>& interpIdx,
                                                       bool closed, double tolerance) {
    bool handled = false;
    YdBSplineCurve* small = SmallCase(points, closed, handled);
    if (handled) {
        return small;
    }
    std::unique_ptr<YdBSplineCurve> work(new YdBSplineCurve(points, 3, closed));
    YdNurbsHelper::Parameterize(points, closed, work->m_pointParams);
    return SearchControlPointCount(
        *work, points, tolerance, [&interpIdx, closed](YdBSplineCurve& c, int n) {
            return closed ? c.LeastSquareFitClosed(n, interpIdx, false, kLambda)
                          : c.LeastSquareFitOpen(n, interpIdx, false, kLambda);
        });
}

YdBSplineCurve* YdBSplineCurve::CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                       const std::vector<int>& interpIdx,
                                                       const TangentList& tangents, bool closed,
                                                       double tolerance) {
    bool handled = false;
    YdBSplineCurve* small = SmallCase(points, closed, handled);
    if (handled) {
        return small;
    }
    std::unique_ptr<YdBSplineCurve> work(new YdBSplineCurve(points, 3, closed));
    YdNurbsHelper::Parameterize(points, closed, work->m_pointParams);
    return SearchControlPointCount(
        *work, points, tolerance, [&interpIdx, &tangents, closed](YdBSplineCurve& c, int n) {
            return closed ? c.LeastSquareFitClosed(n, tangents, interpIdx, false, kLambda)
                          : c.LeastSquareFitSpecial(n, tangents, interpIdx);
        });
}

YdBSplineCurve* YdBSplineCurve::CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                       const std::vector<int>& interpIdx,
                                                       int numCtrlPnts, bool closed) {
    std::unique_ptr<YdBSplineCurve> curve(new YdBSplineCurve(points, 3, closed));
    YdNurbsHelper::Parameterize(points, closed, curve->m_pointParams);
    const bool fitted = closed ? curve->LeastSquareFitClosed(numCtrlPnts, interpIdx, false, kLambda)
                               : curve->LeastSquareFitOpen(numCtrlPnts, interpIdx, false, kLambda);
    return fitted ? curve.release() : nullptr;
}

YdBSplineCurve* YdBSplineCurve::CreateApproximateCurveWithKnot(const std::vector<YdPoint>& points,
                                                               const std::vector<double>& knots,
                                                               const std::vector<int>& interpIdx,
                                                               bool closed, double tolerance) {
    std::unique_ptr<YdBSplineCurve> work(new YdBSplineCurve(points, 3, closed));
    work->m_knotVec.SetKnots(knots);
    YdNurbsHelper::Parameterize(points, closed, work->m_pointParams);
    const int n = static_cast<int>(knots.size()) - 3 - 1;
    const bool fitted = closed ? work->LeastSquareFitClosed(n, interpIdx, true, kLambda)
                               : work->LeastSquareFitOpen(n, interpIdx, true, kLambda);
    // The one fit is handed out whenever it meets the tolerance, whatever its control-point
    // count: the search's bound of 500 belongs to the search, and a caller who chose the knots
    // chose the count.
    if (!fitted || !(tolerance > MaxSquaredError(*work, points))) {
        return nullptr;
    }
    return work.release();
}
