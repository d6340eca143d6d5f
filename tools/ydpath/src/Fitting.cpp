// SPDX-License-Identifier: MIT

#include "Fitting.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Geometry.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;
// The library's fits use at least 5 and at most 500 control points.
constexpr int kFewestControlPoints = 5;
constexpr int kMostControlPoints = 500;
// Fits by count tried for one run at most: the count grows by half while the fit stays too far
// from the input, and is bisected once a count ripples too much.
constexpr int kCountTries = 6;
// After an accepted fit, the next guess of the same kind aims this much lower.
constexpr double kRatioDecay = 0.9;

// Fit points with `parts` - 1 more points on every chord of the input.
std::vector<YdPoint> AlongChords(const std::vector<YdPoint>& pts, int parts) {
    std::vector<YdPoint> out;
    out.reserve((pts.size() - 1) * parts + 1);
    for (size_t k = 0; k + 1 < pts.size(); ++k) {
        out.push_back(pts[k]);
        for (int j = 1; j < parts; ++j) {
            const double t = static_cast<double>(j) / parts;
            out.emplace_back(pts[k][0] + (pts[k + 1][0] - pts[k][0]) * t,
                             pts[k][1] + (pts[k + 1][1] - pts[k][1]) * t,
                             pts[k][2] + (pts[k + 1][2] - pts[k][2]) * t);
        }
    }
    out.push_back(pts.back());
    return out;
}

std::unique_ptr<YdBSplineCurve> FitWithFilter(YdCurveFitFilter& filter, double tol2) {
    if (!filter.doFit(tol2)) {
        return nullptr;
    }
    return std::unique_ptr<YdBSplineCurve>(filter.getCurve());
}

}  // namespace

WorkElement MakeLineElement(const std::vector<YdPoint>& points, int first, int last) {
    WorkElement w;
    w.e.kind = ElementKind::Line;
    w.e.start = points[first];
    w.e.end = points[last];
    w.e.firstPoint = first;
    w.e.lastPoint = last;
    w.length = Distance(points[first], points[last]);
    return w;
}

RunFitter::RunFitter(const std::vector<YdPoint>& points, const SmoothOptions& options,
                     const DeviationMeter& meter)
    : p_(points), opt_(options), meter_(meter) {}

std::vector<WorkElement> RunFitter::FitRuns(const std::vector<Run>& runs,
                                            const std::function<void(int)>& done) {
    std::vector<WorkElement> out;
    out.reserve(2 * runs.size());
    for (const Run& r : runs) {
        if (r.kind == Run::Kind::Line) {
            out.push_back(MakeLineElement(p_, r.first, r.last));
            continue;
        }
        const YdBSplineCurve* previous = nullptr;
        if (r.continuation && !out.empty() && out.back().e.kind == ElementKind::Curve &&
            out.back().e.lastPoint == r.first) {
            previous = out.back().fitted.get();
        }
        Fit(r.first, r.last, previous, out);
        if (done) {
            done(r.last);
        }
    }
    return out;
}

// One fit by the library's own search of the control-point count.
std::unique_ptr<YdBSplineCurve> RunFitter::Attempt(Method method, int first, int last,
                                                   const YdBSplineCurve* previous) const {
    std::vector<YdPoint> pts(p_.begin() + first, p_.begin() + last + 1);
    const double tol2 = opt_.tolerance * opt_.tolerance;
    switch (method) {
        case Method::Continuation:
        case Method::CloseContinuation: {
            if (previous == nullptr) {
                return nullptr;
            }
            // Leaves with the previous curve's end tangent, so that the two meet smoothly. Such
            // a fit has no fairing and bulges more between the points: the second try aims
            // the points closer.
            YdBSplineCurve copy(*previous);
            const double scale = method == Method::Continuation ? 1.0 : 0.5;
            return std::unique_ptr<YdBSplineCurve>(
                YdCurveFitFilter::fitConnectCurve(&copy, pts, scale * tol2));
        }
        case Method::Plain: {
            YdCurveFitFilter filter(pts);
            return FitWithFilter(filter, tol2);
        }
        case Method::FilterDensified: {
            YdCurveFitFilter filter(pts, static_cast<int>(pts.size()));
            return FitWithFilter(filter, tol2);
        }
        case Method::Chords2:
        case Method::Chords4: {
            YdCurveFitFilter filter(AlongChords(pts, method == Method::Chords2 ? 2 : 4));
            return FitWithFilter(filter, tol2);
        }
    }
    return nullptr;
}

// The library's own search tries about eight control-point counts, each judged at the fit
// points only. Here the count is chosen from the count per fit point that the last accepted fit
// of the same kind needed, and raised while only the distance is too large: one or two fits
// where the guess is good, each judged by the deviation measure.
bool RunFitter::FitByCount(Method method, int first, int last, WorkElement& w) {
    const std::vector<YdPoint> run(p_.begin() + first, p_.begin() + last + 1);
    const std::vector<YdPoint> pts =
        method == Method::Plain ? run : AlongChords(run, method == Method::Chords2 ? 2 : 4);
    const int m = static_cast<int>(pts.size());
    double& ratio = countRatio_[static_cast<int>(method)];
    // Counts below lo stay too far from the input; counts from hi up ripple too much.
    int lo = kFewestControlPoints - 1;
    int hi = std::min(kMostControlPoints, m) + 1;
    int n = std::clamp(static_cast<int>(std::lround(ratio * m)), lo + 1, hi - 1);
    for (int attempt = 0; attempt < kCountTries && hi - lo > 1; ++attempt) {
        std::unique_ptr<YdBSplineCurve> curve(
            YdBSplineCurve::CreateApproximateCurve(pts, {0, m - 1}, n, false));
        const Verdict v = curve ? Judge(std::move(curve), first, last, w) : Verdict::TooFar;
        if (v == Verdict::Accepted) {
            // Aim a little lower next time, so that the guess follows the input down as well.
            ratio = kRatioDecay * n / m;
            return true;
        }
        if (v == Verdict::TooFar) {
            lo = n;
            n = hi > std::min(kMostControlPoints, m) ? std::min(hi - 1, n + std::max(2, n / 2))
                                                     : (lo + hi) / 2;
        } else {
            hi = n;
            n = (lo + hi) / 2;
        }
    }
    return false;
}

RunFitter::Verdict RunFitter::Judge(std::unique_ptr<YdBSplineCurve> curve, int first, int last,
                                    WorkElement& w) const {
    SnapCurveEnds(*curve, &p_[first], &p_[last]);
    const Shape shape = Shape::Curve(*curve, curve->startParam(), curve->endParam());
    w.samples = meter_.Sample(shape);
    if (!meter_.TurnsLikeInput(w.samples, first, last)) {
        return Verdict::Loops;
    }
    const double limit = meter_.AcceptLimit(opt_.tolerance);
    if (!(meter_.PathToInput(shape, w.samples, first, last, limit) <= limit)) {
        return Verdict::TooFar;
    }
    w.pointU.clear();
    for (int i = first; i <= last; ++i) {
        const VertexDistance d =
            meter_.VertexToShape(i, shape, w.samples, shape.begin(), shape.end(), limit);
        if (!(d.distance <= limit)) {
            return Verdict::TooFar;
        }
        w.pointU.push_back(d.t);
    }
    w.e.kind = ElementKind::Curve;
    w.e.start = p_[first];
    w.e.end = p_[last];
    w.e.firstPoint = first;
    w.e.lastPoint = last;
    w.e.fittedPoints = last - first + 1;
    w.uStart = curve->startParam();
    w.uEnd = curve->endParam();
    w.length = CurveLength(*curve, w.uStart, w.uEnd);
    w.fitted = std::move(curve);
    return Verdict::Accepted;
}

// A kink of the run: a vertex turning clearly more than the run does on average, where both
// parts keep at least the shortest fitted run's points; -1 when there is none. No smooth curve
// should bend through it.
int RunFitter::KinkVertex(int first, int last) const {
    const int lo = first + opt_.minCurvePoints - 1;
    const int hi = last - opt_.minCurvePoints + 1;
    int best = -1;
    double bestTurn = 0.0;
    double sum = 0.0;
    for (int k = first + 1; k < last; ++k) {
        const double t = AngleBetween(p_[k] - p_[k - 1], p_[k + 1] - p_[k]);
        sum += t;
        if (k >= lo && k <= hi && t > bestTurn) {
            bestTurn = t;
            best = k;
        }
    }
    const double mean = sum / std::max(1, last - first - 1);
    return bestTurn > 4.0 * mean && bestTurn > 5.0 * kPi / 180.0 ? best : -1;
}

// A run no curve fits closely enough and too short to split: its segments stay lines (merged
// where straight within half the tolerance), and their corners are rounded like any others.
void RunFitter::AddLines(int first, int last, std::vector<WorkElement>& out) const {
    int from = first;
    for (int to = first + 1; to <= last; ++to) {
        if (to == last || !StraightWithin(p_, from, to + 1, 0.5 * opt_.tolerance)) {
            out.push_back(MakeLineElement(p_, from, to));
            from = to;
        }
    }
}

// How far a smooth curve through the vertices first..last would stand off the chords: over a
// chord of length c between vertices turning by a and b, an arc through both ends turning
// (a + b) / 2 on the way stands c (a + b) / 16 off the chord.
double RunFitter::ChordBulge(int first, int last) const {
    std::vector<double> turn(last - first + 1, 0.0);
    for (int k = first + 1; k < last; ++k) {
        turn[k - first] = AngleBetween(p_[k] - p_[k - 1], p_[k + 1] - p_[k]);
    }
    double bulge = 0.0;
    for (int k = first; k < last; ++k) {
        bulge = std::max(
            bulge, Distance(p_[k], p_[k + 1]) * (turn[k - first] + turn[k + 1 - first]) / 16.0);
    }
    return bulge;
}

// Whether the curve fit filter's densifying would add points: it cuts the gaps longer than
// 1.5 times the average gap.
bool RunFitter::HasLongGap(int first, int last) const {
    double sum = 0.0;
    double longest = 0.0;
    for (int k = first; k < last; ++k) {
        const double d = Distance(p_[k], p_[k + 1]);
        sum += d;
        longest = std::max(longest, d);
    }
    return longest > 1.5 * (sum / (last - first));
}

bool RunFitter::FitWhole(int first, int last, const YdBSplineCurve* previous,
                         const std::vector<Method>& methods, std::vector<WorkElement>& out) {
    for (Method method : methods) {
        if (method == Method::FilterDensified && !HasLongGap(first, last)) {
            continue;  // the filter would densify nothing: the plain fit again
        }
        WorkElement w;
        const bool byCount =
            method == Method::Plain || method == Method::Chords2 || method == Method::Chords4;
        bool accepted = byCount && FitByCount(method, first, last, w);
        // A fit's distance does not always fall as control points are added: where the guess
        // missed at the densest fit points, the library's own search may still find a count.
        if (!accepted && (!byCount || method == Method::Chords4)) {
            if (std::unique_ptr<YdBSplineCurve> curve = Attempt(method, first, last, previous)) {
                accepted = Judge(std::move(curve), first, last, w) == Verdict::Accepted;
            }
        }
        if (accepted) {
            out.push_back(std::move(w));
            return true;
        }
    }
    return false;
}

// Fits the two parts of a run cut at `mid`, the second leaving with the first one's end
// tangent where it can.
void RunFitter::FitParts(int first, int mid, int last, std::vector<WorkElement>& out) {
    Fit(first, mid, nullptr, out);
    const bool curveBefore = out.back().e.kind == ElementKind::Curve;
    Fit(mid, last, curveBefore ? out.back().fitted.get() : nullptr, out);
}

// Remedies in order: a fit of the points themselves; a cut at a kink, which no smooth curve
// should bend through; fits densified along the chords, which hug a coarse polyline; a cut in
// the middle; lines.
void RunFitter::Fit(int first, int last, const YdBSplineCurve* previous,
                    std::vector<WorkElement>& out) {
    // A fit of the vertices alone can at best halve the bulge between vertices and chords:
    // where that still leaves more than the tolerance, it is not worth trying.
    const bool coarse = ChordBulge(first, last) > 2.0 * opt_.tolerance;
    if (!coarse && FitWhole(first, last, previous,
                            {Method::Continuation, Method::CloseContinuation, Method::Plain,
                             Method::FilterDensified},
                            out)) {
        return;
    }
    const int kink = KinkVertex(first, last);
    if (kink >= 0) {
        FitParts(first, kink, last, out);
        return;
    }
    if (FitWhole(first, last, previous, {Method::Chords2, Method::Chords4}, out)) {
        return;
    }
    if (last - first + 1 >= 2 * opt_.minCurvePoints - 1) {
        FitParts(first, first + (last - first) / 2, last, out);
        return;
    }
    AddLines(first, last, out);
}

}  // namespace ydpath
