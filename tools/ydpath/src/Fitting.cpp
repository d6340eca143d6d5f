#include "Fitting.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Geometry.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;

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
                                            const std::function<void(int)>& done) const {
    std::vector<WorkElement> out;
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

bool RunFitter::Accept(const YdBSplineCurve& curve, int first, int last, ShapeSamples& samples,
                       std::vector<double>& pointU) const {
    const Shape shape = Shape::Curve(curve, curve.startParam(), curve.endParam());
    samples = meter_.Sample(shape);
    if (!meter_.TurnsLikeInput(samples, first, last)) {
        return false;
    }
    const double limit = meter_.AcceptLimit(opt_.tolerance);
    if (!(meter_.PathToInput(shape, samples, first, last, limit) <= limit)) {
        return false;
    }
    pointU.clear();
    for (int i = first; i <= last; ++i) {
        const VertexDistance d =
            meter_.VertexToShape(i, shape, samples, shape.begin(), shape.end(), limit);
        if (!(d.distance <= limit)) {
            return false;
        }
        pointU.push_back(d.t);
    }
    return true;
}

// Where to cut a run that no single curve fits: at a kink (a vertex turning clearly more than
// the run does on average), so that neither part has to bend through it, else in the middle.
// Both parts keep at least the shortest fitted run's points.
int RunFitter::SplitVertex(int first, int last) const {
    const int lo = first + opt_.minCurvePoints - 1;
    const int hi = last - opt_.minCurvePoints + 1;
    int best = first + (last - first) / 2;
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
    if (bestTurn > 4.0 * mean && bestTurn > 5.0 * kPi / 180.0) {
        return best;
    }
    return first + (last - first) / 2;
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

void RunFitter::Fit(int first, int last, const YdBSplineCurve* previous,
                    std::vector<WorkElement>& out) const {
    // A fit of the vertices alone can at best halve that bulge between vertices and chords:
    // where that still leaves more than the tolerance, only fits densified along the chords
    // are worth trying.
    const bool coarse = ChordBulge(first, last) > 2.0 * opt_.tolerance;
    for (Method method : {Method::Continuation, Method::CloseContinuation, Method::Plain,
                          Method::FilterDensified, Method::Chords2, Method::Chords4}) {
        if (coarse && method != Method::Chords2 && method != Method::Chords4) {
            continue;
        }
        if (method == Method::FilterDensified && !HasLongGap(first, last)) {
            continue;  // the filter would densify nothing: the plain fit again
        }
        std::unique_ptr<YdBSplineCurve> curve = Attempt(method, first, last, previous);
        if (!curve) {
            continue;
        }
        SnapCurveEnds(*curve, &p_[first], &p_[last]);
        WorkElement w;
        if (!Accept(*curve, first, last, w.samples, w.pointU)) {
            continue;
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
        out.push_back(std::move(w));
        return;
    }
    if (last - first + 1 >= 2 * opt_.minCurvePoints - 1) {
        const int mid = SplitVertex(first, last);
        Fit(first, mid, nullptr, out);
        const bool curveBefore = out.back().e.kind == ElementKind::Curve;
        Fit(mid, last, curveBefore ? out.back().fitted.get() : nullptr, out);
        return;
    }
    AddLines(first, last, out);
}

}  // namespace ydpath
