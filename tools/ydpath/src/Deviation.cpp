// SPDX-License-Identifier: MIT

#include "Deviation.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "PointMath.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;
// A reported deviation lies at most this fraction of the tolerance above a distance attained.
constexpr double kPrecision = 1e-3;
// The first sampling keeps every interval within this fraction of the tolerance of its chord,
// so that only the intervals near the largest distance need halving.
constexpr double kSampleBound = 1.0 / 16.0;
// Samples per knot span at most: a span that bends so much keeps a larger (honest) bound.
constexpr int kMaxPartsPerSpan = 1024;
// Degrees above this are sampled without a curvature bound (never produced by the library).
constexpr int kMaxDegree = 8;
// Splits per measured element beyond one per sample (and a few per input segment): the search
// ends by then with a bound that is still an upper bound, only a looser one.
constexpr int kExtraSplits = 64;
// A split at an input vertex keeps at least this fraction of the interval on either side.
constexpr double kSplitMargin = 0.02;
// Halvings allowed per input segment of the part measured against.
constexpr int kSplitsPerSegment = 8;
// Sample chords up to this many are searched one by one rather than through a box tree.
constexpr int kDirectChords = 32;
// Golden-section steps of a local search: the bracket shrinks below 1e-9 of its width.
constexpr int kGoldenSteps = 44;
// An element may turn at most this much more than the input it replaces. A loop adds a full
// turn and a cusp half of one, while a fit that hugs a coarse polyline only ripples around it.
constexpr double kTurnRatio = 1.5;
constexpr double kTurnMargin = kPi / 6.0;

double Dist(const Point3& a, const Point3& b) {
    return std::sqrt(Distance2(a, b));
}

// Intervals of a span: enough that |C''| h^2 / 8 stays below target.
int PartsFor(double m2, double width, double target) {
    if (!(m2 > 0.0)) {
        return 1;
    }
    const double n = std::ceil(width * std::sqrt(m2 / (8.0 * target)));
    if (!(n < kMaxPartsPerSpan)) {
        return kMaxPartsPerSpan;
    }
    return std::max(1, static_cast<int>(n));
}

// The largest |C''| on the knot span [U[s], U[s+1]) of a B-spline of degree p: the second
// derivative is a B-spline whose control points bound it there (convex hull).
double SecondDerivativeBound(const std::vector<double>& U, const std::vector<YdPoint>& P, int p,
                             int s) {
    if (p < 2) {
        return 0.0;
    }
    if (p > kMaxDegree) {
        return std::numeric_limits<double>::infinity();
    }
    Point3 q[kMaxDegree];
    for (int i = s - p; i <= s - 1; ++i) {
        const double w = p / (U[i + p + 1] - U[i + 1]);
        const Point3 d = Minus(ToPoint3(P[i + 1]), ToPoint3(P[i]));
        q[i - (s - p)] = Point3{d.x * w, d.y * w, d.z * w};
    }
    double m = 0.0;
    for (int i = s - p; i <= s - 2; ++i) {
        const double w = (p - 1) / (U[i + p + 1] - U[i + 2]);
        m = std::max(m, Norm(Minus(q[i + 1 - (s - p)], q[i - (s - p)])) * w);
    }
    return std::isfinite(m) ? m : std::numeric_limits<double>::infinity();
}

void Push(ShapeSamples& s, double t, const Point3& p, double boundBefore) {
    if (!s.t.empty()) {
        s.bound.push_back(std::isfinite(boundBefore) ? boundBefore
                                                     : std::numeric_limits<double>::infinity());
    }
    s.t.push_back(t);
    s.points.push_back(p);
}

void SampleUniform(const Shape& shape, int parts, double m2, ShapeSamples& s) {
    const double a = shape.begin();
    const double b = shape.end();
    const double h = (b - a) / parts;
    const double bound = m2 * h * h / 8.0;
    Push(s, a, shape.At(a), 0.0);
    for (int i = 1; i <= parts; ++i) {
        const double t = i == parts ? b : a + (b - a) * i / parts;
        Push(s, t, shape.At(t), bound);
    }
}

void SampleCurve(const Shape& shape, double target, ShapeSamples& s) {
    const YdBSplineCurve& c = shape.curve();
    const std::vector<double>& U = c.KnotVec().GetKnots();
    const std::vector<YdPoint>& P = c.CtrlPoints();
    const int p = c.Degree();
    const int n = static_cast<int>(P.size());
    if (p < 1 || n < p + 1 || static_cast<int>(U.size()) != n + p + 1) {
        // Not a curve the library makes: sampled, but with no bound to certify anything.
        SampleUniform(shape, 64, std::numeric_limits<double>::infinity(), s);
        return;
    }
    const double u0 = shape.begin();
    const double u1 = shape.end();
    Push(s, u0, shape.At(u0), 0.0);
    for (int span = p; span < n; ++span) {
        const double a = std::max(U[span], u0);
        const double b = std::min(U[span + 1], u1);
        if (!(b > a)) {
            continue;
        }
        const double m2 = SecondDerivativeBound(U, P, p, span);
        const int parts = PartsFor(m2, b - a, target);
        const double h = (b - a) / parts;
        const double bound = m2 * h * h / 8.0;
        for (int i = 1; i <= parts; ++i) {
            const double t = i == parts ? b : a + (b - a) * i / parts;
            Push(s, t, shape.At(t), bound);
        }
    }
}

double ChordTurning(const std::vector<Point3>& pts) {
    double turning = 0.0;
    Point3 previous{0.0, 0.0, 0.0};
    bool have = false;
    for (size_t k = 1; k < pts.size(); ++k) {
        const Point3 chord = Minus(pts[k], pts[k - 1]);
        if (Dot(chord, chord) == 0.0) {
            continue;
        }
        if (have) {
            turning += Angle(previous, chord);
        }
        previous = chord;
        have = true;
    }
    return turning;
}

}  // namespace

const char* DeviationMeaning() {
    return "Each element answers for its own part of the input polyline (the vertices it "
           "replaces, with the segment on either side). pathToInput is the largest distance of "
           "any point of the element from that part; inputToPath is the largest distance of its "
           "vertices from the smoothed path near them (the elements whose part holds the "
           "vertex). Both are upper bounds, measured by sampling whose step bounds the error and "
           "refined where the largest distance could be; deviation and maxDeviation are the "
           "larger of the two.";
}

const PolylineIndex& ShapeSamples::Index() const {
    if (!indexed_) {
        index_ = PolylineIndex(points);
        indexed_ = true;
    }
    return index_;
}

struct DeviationMeter::Interval {
    double ta;
    double tb;
    Point3 pa;
    Point3 pb;
    double fa;  // distance of pa from the input part
    double fb;
    int ja;  // input segment nearest to pa
    int jb;
    double bound;  // the shape on [ta, tb] stays within this of the chord pa-pb
    double upper;  // bound of the shape's distance from the input part on [ta, tb]

    bool operator<(const Interval& other) const { return upper < other.upper; }
};

struct DeviationMeter::Measured {
    Element* element;
    Shape shape;
    ShapeSamples samples;
};

DeviationMeter::DeviationMeter(const std::vector<YdPoint>& input, double tolerance)
    : tolerance_(tolerance),
      precision_(kPrecision * tolerance),
      sampleBound_(kSampleBound * tolerance) {
    input_.reserve(input.size());
    for (const YdPoint& p : input) {
        input_.push_back(ToPoint3(p));
    }
    index_ = PolylineIndex(input_);
    const int n = static_cast<int>(input_.size());
    turnSum_.assign(static_cast<size_t>(n) + 1, 0.0);
    for (int i = 0; i < n; ++i) {
        double turn = 0.0;
        if (i > 0 && i + 1 < n) {
            turn = Angle(Minus(input_[i], input_[i - 1]), Minus(input_[i + 1], input_[i]));
        }
        turnSum_[i + 1] = turnSum_[i] + turn;
    }
}

ShapeSamples DeviationMeter::Sample(const Shape& shape) const {
    ShapeSamples s;
    switch (shape.kind()) {
        case Shape::Kind::Segment:
            SampleUniform(shape, 1, 0.0, s);
            break;
        case Shape::Kind::Arc: {
            // |P''| of a (possibly helical) arc: r sweep^2 from the bend, 2 |dr| sweep from a
            // radius changing along it; the rise is linear.
            const ArcShape& a = shape.arc();
            const double sweep = std::fabs(a.sweep);
            const double r = std::max(std::fabs(a.radiusStart), std::fabs(a.radiusEnd));
            const double m2 =
                r * sweep * sweep + 2.0 * std::fabs(a.radiusEnd - a.radiusStart) * sweep;
            SampleUniform(shape, PartsFor(m2, 1.0, sampleBound_), m2, s);
            break;
        }
        case Shape::Kind::Curve:
            SampleCurve(shape, sampleBound_, s);
            break;
    }
    s.turning = ChordTurning(s.points);
    return s;
}

double DeviationMeter::SegmentDistance(const Point3& p, int segment) const {
    return std::sqrt(SegmentDistance2(p, input_[segment], input_[segment + 1]));
}

double DeviationMeter::IntervalUpper(const Interval& iv) const {
    if (iv.ja == iv.jb) {
        return std::max(iv.fa, iv.fb) + iv.bound;
    }
    const double viaA = std::max(iv.fa, SegmentDistance(iv.pb, iv.ja));
    const double viaB = std::max(SegmentDistance(iv.pa, iv.jb), iv.fb);
    return std::min(viaA, viaB) + iv.bound;
}

DeviationMeter::Interval DeviationMeter::Split(const Shape& shape, Interval& iv, int s0,
                                               int s1) const {
    // Split where the chord passes the input vertex between the ends' nearest segments: both
    // halves then end near that vertex and are bounded by one segment each. Else halve it.
    double tm = 0.5 * (iv.ta + iv.tb);
    if (iv.ja != iv.jb) {
        const Point3& corner = input_[iv.ja < iv.jb ? iv.ja + 1 : iv.ja];
        const double frac = SegmentFraction(corner, iv.pa, iv.pb);
        if (frac > kSplitMargin && frac < 1.0 - kSplitMargin) {
            tm = iv.ta + (iv.tb - iv.ta) * frac;
        }
    }
    const Point3 pm = shape.At(tm);
    const PolylineIndex::Hit hit = index_.Nearest(input_, pm, s0, s1, iv.ja);
    const double fm = std::sqrt(hit.distance2);
    // The chord bound shrinks with the square of the step.
    const double f = (tm - iv.ta) / (iv.tb - iv.ta);
    const double scale = shape.kind() == Shape::Kind::Segment ? 0.0 : iv.bound;
    Interval right{tm, iv.tb, pm, iv.pb, fm, iv.fb, hit.segment, iv.jb, scale * (1 - f) * (1 - f),
                   0.0};
    iv = Interval{iv.ta, tm, iv.pa, pm, iv.fa, fm, iv.ja, hit.segment, scale * f * f, 0.0};
    iv.upper = IntervalUpper(iv);
    right.upper = IntervalUpper(right);
    return right;
}

double DeviationMeter::PathToInput(const Shape& shape, const ShapeSamples& samples, int first,
                                   int last, double giveUpAbove) const {
    const int nv = static_cast<int>(input_.size());
    const int n = static_cast<int>(samples.points.size());
    if (nv == 0 || n == 0) {
        return 0.0;
    }
    const int s0 = std::clamp(first - 1, 0, std::max(nv - 2, 0));
    const int s1 = std::clamp(std::min(last + 1, nv - 1) - 1, s0, std::max(nv - 2, 0));
    std::vector<double> f(n);
    std::vector<int> j(n);
    double best = 0.0;
    int hint = -1;
    for (int k = 0; k < n; ++k) {
        const PolylineIndex::Hit hit = index_.Nearest(input_, samples.points[k], s0, s1, hint);
        f[k] = std::sqrt(hit.distance2);
        j[k] = hit.segment;
        hint = hit.segment;
        best = std::max(best, f[k]);
        if (!(best <= giveUpAbove)) {
            return best;
        }
    }
    // Branch and bound: halve the intervals that could still hide a larger distance.
    double settled = best;  // largest bound of the intervals no longer searched
    std::vector<Interval> heap;
    for (int k = 0; k + 1 < n; ++k) {
        Interval iv{samples.t[k],
                    samples.t[k + 1],
                    samples.points[k],
                    samples.points[k + 1],
                    f[k],
                    f[k + 1],
                    j[k],
                    j[k + 1],
                    samples.bound[k],
                    0.0};
        iv.upper = IntervalUpper(iv);
        if (iv.upper > best + precision_) {
            heap.push_back(iv);
        } else {
            settled = std::max(settled, iv.upper);
        }
    }
    std::make_heap(heap.begin(), heap.end());
    const int budget = kExtraSplits + n + kSplitsPerSegment * (s1 - s0 + 1);
    for (int left = budget; !heap.empty() && left > 0; --left) {
        std::pop_heap(heap.begin(), heap.end());
        Interval iv = heap.back();
        heap.pop_back();
        if (iv.upper <= best + precision_) {
            settled = std::max(settled, iv.upper);
            break;  // the largest one left is within the precision: so are all the others
        }
        Interval right = Split(shape, iv, s0, s1);
        best = std::max(best, iv.fb);
        if (!(best <= giveUpAbove)) {
            return best;
        }
        for (const Interval* half : {&iv, &right}) {
            if (half->upper > best + precision_) {
                heap.push_back(*half);
                std::push_heap(heap.begin(), heap.end());
            } else {
                settled = std::max(settled, half->upper);
            }
        }
    }
    const double open = heap.empty() ? 0.0 : heap.front().upper;
    return std::max({best, settled, open});
}

double DeviationMeter::Refine(const Point3& v, const Shape& shape, double lo, double hi,
                              double& t) const {
    const double g = 0.5 * (std::sqrt(5.0) - 1.0);
    double x1 = hi - g * (hi - lo);
    double x2 = lo + g * (hi - lo);
    double f1 = Distance2(v, shape.At(x1));
    double f2 = Distance2(v, shape.At(x2));
    for (int i = 0; i < kGoldenSteps; ++i) {
        if (f1 < f2) {
            hi = x2;
            x2 = x1;
            f2 = f1;
            x1 = hi - g * (hi - lo);
            f1 = Distance2(v, shape.At(x1));
        } else {
            lo = x1;
            x1 = x2;
            f1 = f2;
            x2 = lo + g * (hi - lo);
            f2 = Distance2(v, shape.At(x2));
        }
    }
    t = f1 < f2 ? x1 : x2;
    return std::sqrt(std::min(f1, f2));
}

VertexDistance DeviationMeter::VertexToShape(int vertex, const Shape& shape,
                                             const ShapeSamples& samples, double ta, double tb,
                                             double enough) const {
    const Point3& v = input_[vertex];
    const std::vector<double>& T = samples.t;
    const std::vector<Point3>& P = samples.points;
    const int n = static_cast<int>(T.size());
    if (n == 0) {
        return VertexDistance();
    }
    ta = std::clamp(ta, T.front(), T.back());
    tb = std::clamp(tb, ta, T.back());
    if (n == 1 || !(tb > ta)) {
        return VertexDistance{Dist(v, n == 1 ? P[0] : shape.At(ta)), ta};
    }
    // The chords k0..k1-1 cover [ta, tb]; the first and the last are cut to it. A piece of an
    // interval stays within the interval's bound of its own chord.
    const int k0 = std::clamp(
        static_cast<int>(std::upper_bound(T.begin(), T.end(), ta) - T.begin()) - 1, 0, n - 2);
    const int k1 = std::clamp(
        static_cast<int>(std::lower_bound(T.begin(), T.end(), tb) - T.begin()), k0 + 1, n - 1);
    struct Chord {
        Point3 a;
        Point3 b;
        double ta;
        double tb;
        int k;
    };
    const Point3 pa = ta > T[k0] ? shape.At(ta) : P[k0];
    const Point3 pb = tb < T[k1] ? shape.At(tb) : P[k1];
    Chord best{pa, k1 == k0 + 1 ? pb : P[k0 + 1], ta, k1 == k0 + 1 ? tb : T[k0 + 1], k0};
    double best2 = SegmentDistance2(v, best.a, best.b);
    if (k1 > k0 + 1) {
        const Chord tail{P[k1 - 1], pb, T[k1 - 1], tb, k1 - 1};
        const double d2 = SegmentDistance2(v, tail.a, tail.b);
        if (d2 < best2) {
            best = tail;
            best2 = d2;
        }
    }
    // The chords between: one by one when they are few, else through the box tree.
    PolylineIndex::Hit hit{best2, -1};
    if (k1 - 2 - (k0 + 1) < kDirectChords) {
        for (int k = k0 + 1; k <= k1 - 2; ++k) {
            const double d2 = SegmentDistance2(v, P[k], P[k + 1]);
            if (d2 < hit.distance2) {
                hit = PolylineIndex::Hit{d2, k};
            }
        }
    } else {
        hit = samples.Index().Nearest(P, v, k0 + 1, k1 - 2, -1);
    }
    if (hit.segment >= 0 && hit.distance2 < best2) {
        best = Chord{P[hit.segment], P[hit.segment + 1], T[hit.segment], T[hit.segment + 1],
                     hit.segment};
        best2 = hit.distance2;
    }
    const double frac = SegmentFraction(v, best.a, best.b);
    VertexDistance result{std::sqrt(best2) + samples.bound[best.k],
                          best.ta + (best.tb - best.ta) * frac};
    if (result.distance <= enough || samples.bound[best.k] == 0.0) {
        return result;
    }
    // Where it matters, search the shape itself around that chord.
    const double lo = std::max(ta, T[std::max(best.k - 1, 0)]);
    const double hi = std::min(tb, T[std::min(best.k + 2, n - 1)]);
    double t = result.t;
    const double d = Refine(v, shape, lo, hi, t);
    if (d < result.distance) {
        result = VertexDistance{d, t};
    }
    return result;
}

double DeviationMeter::InputTurning(int first, int last) const {
    const int n = static_cast<int>(input_.size());
    first = std::clamp(first, 0, n);
    last = std::clamp(last + 1, first, n);
    return turnSum_[last] - turnSum_[first];
}

bool DeviationMeter::TurnsLikeInput(const ShapeSamples& samples, int first, int last) const {
    return samples.turning <= kTurnRatio * InputTurning(first, last) + kTurnMargin;
}

double DeviationMeter::RefineVertex(int vertex, const std::vector<Measured>& measured,
                                    int firstElement, int lastElement) const {
    double best = std::numeric_limits<double>::infinity();
    for (int k = firstElement; k <= lastElement; ++k) {
        const Measured& m = measured[k];
        if (vertex < m.element->firstPoint - 1 || vertex > m.element->lastPoint + 1) {
            continue;
        }
        const VertexDistance d =
            VertexToShape(vertex, m.shape, m.samples, m.shape.begin(), m.shape.end(), 0.0);
        best = std::min(best, d.distance);
    }
    return best;
}

double DeviationMeter::InputToElement(const Measured& m, std::vector<double>& upper,
                                      std::vector<char>& exact,
                                      const std::vector<Measured>& measured,
                                      const std::vector<int>& firstElement,
                                      const std::vector<int>& lastElement) const {
    const int nv = static_cast<int>(input_.size());
    std::vector<std::pair<double, int>> heap;
    for (int i = std::max(m.element->firstPoint, 0); i <= std::min(m.element->lastPoint, nv - 1);
         ++i) {
        heap.emplace_back(upper[i], i);
    }
    std::make_heap(heap.begin(), heap.end());
    double best = 0.0;
    while (!heap.empty()) {
        std::pop_heap(heap.begin(), heap.end());
        const int i = heap.back().second;
        heap.pop_back();
        // Every vertex left is bounded by this one's value: done when it is attained or within
        // the precision of the largest attained.
        if (exact[i] || upper[i] <= best + precision_) {
            return std::max(best, upper[i]);
        }
        upper[i] = std::min(upper[i], RefineVertex(i, measured, firstElement[i], lastElement[i]));
        exact[i] = 1;
        heap.emplace_back(upper[i], i);
        std::push_heap(heap.begin(), heap.end());
    }
    return best;
}

TwoSidedDeviation DeviationMeter::MeasurePath(std::vector<Element>& elements) const {
    std::vector<Measured> measured;
    for (Element& e : elements) {
        e.deviation = TwoSidedDeviation();
        if (e.kind == ElementKind::ProgramArc) {
            continue;
        }
        Measured m{&e, Shape::Of(e), ShapeSamples()};
        m.samples = Sample(m.shape);
        e.deviation.pathToInput = PathToInput(m.shape, m.samples, e.firstPoint, e.lastPoint);
        measured.push_back(std::move(m));
    }
    // Bounds from the chords for every vertex and element whose part holds it.
    const int nv = static_cast<int>(input_.size());
    std::vector<double> upper(nv, std::numeric_limits<double>::infinity());
    std::vector<char> exact(nv, 0);
    std::vector<int> firstElement(nv, static_cast<int>(measured.size()));
    std::vector<int> lastElement(nv, -1);
    for (int k = 0; k < static_cast<int>(measured.size()); ++k) {
        const Measured& m = measured[k];
        const int lo = std::max(m.element->firstPoint - 1, 0);
        const int hi = std::min(m.element->lastPoint + 1, nv - 1);
        for (int i = lo; i <= hi; ++i) {
            const VertexDistance d =
                VertexToShape(i, m.shape, m.samples, m.shape.begin(), m.shape.end(),
                              std::numeric_limits<double>::infinity());
            upper[i] = std::min(upper[i], d.distance);
            firstElement[i] = std::min(firstElement[i], k);
            lastElement[i] = std::max(lastElement[i], k);
        }
    }
    TwoSidedDeviation total;
    for (Measured& m : measured) {
        m.element->deviation.inputToPath =
            InputToElement(m, upper, exact, measured, firstElement, lastElement);
        total.Include(m.element->deviation);
    }
    return total;
}

}  // namespace ydpath
