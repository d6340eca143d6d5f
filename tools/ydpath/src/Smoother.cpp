#include "Smoother.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <sstream>
#include <utility>

#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Below this change of direction (radians) two elements already meet tangentially.
constexpr double kTangentTurn = 1e-6;
// A made join must be tangent to this (radians) on both sides.
constexpr double kJoinAngle = 1e-6;
// Turning back by more than this is a reversal: no smooth path stays near the input there.
constexpr double kStopTurn = 179.0 * kPi / 180.0;
// End points of fitted curves are met by a linear solve, so only to rounding; joins closer
// than this are made exact.
constexpr double kSnapDistance = 1e-7;
// Rounding a corner: the first try and how much each retry shrinks it.
constexpr int kJoinTries = 30;
constexpr double kJoinShrink = 0.6;
// Samples of a join element and of the replaced curve parts used to check a join.
constexpr int kJoinSamples = 64;

YdPoint Lerp(const YdPoint& a, const YdPoint& b, double t) {
    return YdPoint(a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t);
}

YdVector Sub(const YdPoint& a, const YdPoint& b) {
    return YdVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

YdPoint Along(const YdPoint& p, const YdVector& dir, double s) {
    return YdPoint(p[0] + dir[0] * s, p[1] + dir[1] * s, p[2] + dir[2] * s);
}

bool Finite(const YdPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

double PolylinePointDistance(const YdPoint& p, const std::vector<YdPoint>& poly) {
    return PolylineDistance(p, poly, 0, static_cast<int>(poly.size()) - 1);
}

/// Makes the curve start and end exactly at the given points when it already does to within
/// rounding: a clamped cubic starts at its first control point and ends at its last.
void SnapEnds(YdBSplineCurve& curve, const YdPoint* start, const YdPoint* end) {
    std::vector<YdPoint>& cp = curve.CtrlPoints();
    if (cp.empty()) {
        return;
    }
    if (start != nullptr && Distance(curve.Evaluate(curve.startParam()), *start) < kSnapDistance &&
        Distance(cp.front(), *start) < kSnapDistance) {
        cp.front() = *start;
    }
    if (end != nullptr && Distance(curve.Evaluate(curve.endParam()), *end) < kSnapDistance &&
        Distance(cp.back(), *end) < kSnapDistance) {
        cp.back() = *end;
    }
}

/// The size of a cut around a corner that turns by `turn`: a tangent cubic from a point t
/// before the corner to a point t after it passes about 2 t sin(turn/2) (1/2 - cos(turn/2)/4)
/// from the corner, so this t keeps it at 90 % of the tolerance.
double InitialCut(double turn, double tolerance) {
    const double s = std::sin(0.5 * turn);
    const double c = std::cos(0.5 * turn);
    const double k = 2.0 * s * (0.5 - 0.25 * c);
    return k > 0.0 ? 0.9 * tolerance / k : std::numeric_limits<double>::infinity();
}

// The working state of one element while the joins are made.
struct Work {
    Element e;
    std::unique_ptr<YdBSplineCurve> orig;  // the fitted curve before its ends are cut away
    double uStart = 0.0;                   // the part of orig that is kept
    double uEnd = 0.0;
    std::vector<double> pointU;  // parameter on orig of each fitted input point
    double origLength = 0.0;
};

struct RunSpan {
    bool curve = false;
    int first = 0;
    int last = 0;
    bool continuation = false;
};

class PolylineSmoother {
  public:
    PolylineSmoother(const std::vector<YdPoint>& points, const SmoothOptions& options,
                     const std::function<void(int)>& fitted)
        : p_(points),
          opt_(options),
          tol_(options.tolerance),
          ctol_(options.cornerTol()),
          fitted_(fitted) {
        if (!p_.empty()) {
            YdPoint lo = p_.front();
            YdPoint hi = p_.front();
            for (const YdPoint& p : p_) {
                for (int k = 0; k < 3; ++k) {
                    lo[k] = std::min(lo[k], p[k]);
                    hi[k] = std::max(hi[k], p[k]);
                }
            }
            size_ = Distance(lo, hi);
        }
    }

    SmoothedPath Smooth() {
        SmoothedPath out;
        out.points = p_;
        for (size_t i = 1; i < p_.size(); ++i) {
            out.inputLength += Distance(p_[i - 1], p_[i]);
        }
        if (p_.size() < 2) {
            return out;
        }
        BuildElements(Partition());
        MakeJoins(out.joins);
        Finish(out);
        return out;
    }

  private:
    // Progress: stage 0 fits the runs, 1 joins them, 2 measures the elements; each stage
    // counts for a third of the input's segments and reports how far along the path it is.
    void Report(int stage, int vertex) const {
        if (fitted_) {
            const int n = static_cast<int>(p_.size()) - 1;
            fitted_((stage * n + std::min(vertex, n)) / 3);
        }
    }

    // ---------------------------------------------------------------------------------------
    // Runs

    bool StraightWithin(int first, int last, double limit) const {
        for (int i = first + 1; i < last; ++i) {
            if (SegmentDistance(p_[i], p_[first], p_[last]) > limit) {
                return false;
            }
        }
        return true;
    }

    std::vector<RunSpan> Partition() const {
        const int n = static_cast<int>(p_.size()) - 1;
        std::vector<double> len(n);
        for (int i = 0; i < n; ++i) {
            len[i] = Distance(p_[i], p_[i + 1]);
        }
        const double maxTurn = opt_.maxTurnDegrees * kPi / 180.0;
        auto turnAt = [&](int k) {
            return AngleBetween(Sub(p_[k], p_[k - 1]), Sub(p_[k + 1], p_[k]));
        };

        std::vector<RunSpan> runs;
        int i = 0;
        while (i < n) {
            if (len[i] <= opt_.maxSegment) {
                int j = i;
                while (j + 1 < n && len[j + 1] <= opt_.maxSegment && turnAt(j + 1) <= maxTurn) {
                    ++j;
                }
                const int count = j - i + 2;
                if (count >= opt_.minCurvePoints) {
                    AddCurveRun(i, j + 1, runs);
                } else {
                    for (int s = i; s <= j; ++s) {
                        runs.push_back({false, s, s + 1, false});
                    }
                }
                i = j + 1;
            } else {
                runs.push_back({false, i, i + 1, false});
                ++i;
            }
        }
        return MergeLines(runs);
    }

    void AddCurveRun(int first, int last, std::vector<RunSpan>& runs) const {
        if (StraightWithin(first, last, 0.5 * tol_)) {
            runs.push_back({false, first, last, false});
            return;
        }
        const int m = last - first + 1;
        const int maxPts = std::max(opt_.maxCurvePoints, opt_.minCurvePoints);
        const int chunks = m <= maxPts ? 1 : (m - 1 + maxPts - 2) / (maxPts - 1);
        int from = first;
        for (int c = 1; c <= chunks; ++c) {
            const int to = c == chunks ? last
                                       : first + static_cast<int>(std::lround(
                                                     static_cast<double>(c) * (m - 1) / chunks));
            runs.push_back({true, from, to, c > 1});
            from = to;
        }
    }

    std::vector<RunSpan> MergeLines(const std::vector<RunSpan>& runs) const {
        std::vector<RunSpan> merged;
        for (const RunSpan& r : runs) {
            if (!r.curve && !merged.empty() && !merged.back().curve &&
                StraightWithin(merged.back().first, r.last, 0.5 * tol_)) {
                merged.back().last = r.last;
            } else {
                merged.push_back(r);
            }
        }
        return merged;
    }

    // ---------------------------------------------------------------------------------------
    // Elements

    Work MakeLine(int first, int last) const {
        Work w;
        w.e.kind = ElementKind::Line;
        w.e.start = p_[first];
        w.e.end = p_[last];
        w.e.firstPoint = first;
        w.e.lastPoint = last;
        for (int i = first + 1; i < last; ++i) {
            w.e.deviation = std::max(w.e.deviation, SegmentDistance(p_[i], p_[first], p_[last]));
        }
        w.origLength = Distance(p_[first], p_[last]);
        return w;
    }

    // Largest distance from the fitted points to the curve, measured with the library's point
    // inversion (started from each point's own parameter, and from its own start values when
    // that is not clearly close). Each found point is a curve point, so the result never
    // understates the true distance.
    double FitDeviation(const YdBSplineCurve& c, const std::vector<YdPoint>& pts,
                        std::vector<double>& pointU) const {
        const std::vector<double>& params = c.GetPointsParams();
        const bool haveParams = params.size() == pts.size();
        pointU.assign(pts.size(), c.startParam());
        double worst = 0.0;
        for (size_t i = 0; i < pts.size(); ++i) {
            double best = std::numeric_limits<double>::infinity();
            double u = 0.0;
            YdPoint q;
            if (haveParams) {
                double u0 = params[i];
                if (c.FindNearestPoint(pts[i], u, q, &u0) && Finite(q)) {
                    best = Distance(pts[i], q);
                    pointU[i] = u;
                }
            }
            if (!(best <= 0.5 * tol_)) {
                if (c.FindNearestPoint(pts[i], u, q, nullptr) && Finite(q) &&
                    Distance(pts[i], q) < best) {
                    best = Distance(pts[i], q);
                    pointU[i] = u;
                }
            }
            if (!std::isfinite(best)) {
                best = CurveDistance(c, pts[i]);
            }
            worst = std::max(worst, best);
        }
        return worst;
    }

    // Where to cut a run that no single curve fits: at a kink (a vertex turning clearly more
    // than the run does on average), so that neither part has to bend through it, else in the
    // middle. Both parts keep at least the shortest fitted run's points.
    int SplitVertex(int first, int last) const {
        const int lo = first + opt_.minCurvePoints - 1;
        const int hi = last - opt_.minCurvePoints + 1;
        int best = first + (last - first) / 2;
        double bestTurn = 0.0;
        double sum = 0.0;
        for (int k = first + 1; k < last; ++k) {
            const double t = AngleBetween(Sub(p_[k], p_[k - 1]), Sub(p_[k + 1], p_[k]));
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

    void FitRun(int first, int last, const Work* previous, std::vector<Work>& out) const {
        std::vector<YdPoint> pts(p_.begin() + first, p_.begin() + last + 1);
        const double tol2 = tol_ * tol_;
        std::unique_ptr<YdBSplineCurve> curve;
        std::vector<double> pointU;
        double dev = std::numeric_limits<double>::infinity();
        if (previous != nullptr && previous->orig) {
            // Leave with the previous chunk's end tangent, so the two meet smoothly.
            curve.reset(YdCurveFitFilter::fitConnectCurve(previous->orig.get(), pts, tol2));
            if (curve) {
                SnapEnds(*curve, &pts.front(), &pts.back());
                dev = FitDeviation(*curve, pts, pointU);
                if (!(dev <= tol_)) {
                    curve.reset();
                }
            }
        }
        if (!curve) {
            YdCurveFitFilter filter(pts);
            if (filter.doFit(tol2)) {
                curve.reset(filter.getCurve());
                SnapEnds(*curve, &pts.front(), &pts.back());
                dev = FitDeviation(*curve, pts, pointU);
            }
        }
        const int m = last - first + 1;
        if ((!curve || !(dev <= tol_)) && m >= 2 * opt_.minCurvePoints - 1) {
            // Too much for one curve: fit two parts, and let a join connect them.
            const int mid = SplitVertex(first, last);
            FitRun(first, mid, nullptr, out);
            FitRun(mid, last, nullptr, out);
            return;
        }
        if (!curve || !(dev <= tol_)) {
            // A run too short to split that no curve fits closely enough: its segments stay
            // lines, and their corners are rounded like any others.
            for (int s = first; s < last; ++s) {
                out.push_back(MakeLine(s, s + 1));
            }
            return;
        }
        Work w;
        w.e.kind = ElementKind::Curve;
        w.e.start = p_[first];
        w.e.end = p_[last];
        w.e.firstPoint = first;
        w.e.lastPoint = last;
        w.e.fittedPoints = m;
        w.e.deviation = dev;
        w.uStart = curve->startParam();
        w.uEnd = curve->endParam();
        w.origLength = CurveLength(*curve, w.uStart, w.uEnd);
        w.pointU = std::move(pointU);
        w.orig = std::move(curve);
        out.push_back(std::move(w));
    }

    void BuildElements(const std::vector<RunSpan>& runs) {
        for (const RunSpan& r : runs) {
            if (!r.curve) {
                work_.push_back(MakeLine(r.first, r.last));
                continue;
            }
            const Work* previous = nullptr;
            if (r.continuation && !work_.empty() && work_.back().e.kind == ElementKind::Curve &&
                work_.back().e.lastPoint == r.first) {
                previous = &work_.back();
            }
            std::vector<Work> fitted;
            FitRun(r.first, r.last, previous, fitted);
            for (Work& w : fitted) {
                work_.push_back(std::move(w));
            }
            Report(0, r.last);
        }
    }

    // ---------------------------------------------------------------------------------------
    // Joins

    YdVector EndTangent(const Work& w) const {
        if (w.orig) {
            return CurveTangent(*w.orig, w.uEnd);
        }
        return Unit(Sub(w.e.end, w.e.start));
    }

    YdVector StartTangent(const Work& w) const {
        if (w.orig) {
            return CurveTangent(*w.orig, w.uStart);
        }
        return Unit(Sub(w.e.end, w.e.start));
    }

    // What a join is checked against: the input vertices it replaces (they must stay within
    // the tolerance of the join), and the old path there (the join must not wander from it).
    struct Check {
        std::vector<YdPoint> zone;
        std::vector<std::vector<YdPoint>> reference;

        /// `kept` are the parts of the neighbouring lines that stay: a vertex merged into a
        /// line may be closest to them or to the join.
        double Deviation(const std::vector<YdPoint>& joinSamples,
                         const std::vector<std::vector<YdPoint>>& kept = {}) const {
            double dev = 0.0;
            for (const YdPoint& p : zone) {
                double d = PolylinePointDistance(p, joinSamples);
                for (const std::vector<YdPoint>& k : kept) {
                    d = std::min(d, PolylinePointDistance(p, k));
                }
                dev = std::max(dev, d);
            }
            for (const YdPoint& s : joinSamples) {
                double best = std::numeric_limits<double>::infinity();
                for (const std::vector<YdPoint>& ref : reference) {
                    best = std::min(best, PolylinePointDistance(s, ref));
                }
                dev = std::max(dev, best);
            }
            return dev;
        }
    };

    static std::vector<YdPoint> SampleCurve(const YdBSplineCurve& c, double a, double b, int n) {
        std::vector<YdPoint> pts;
        pts.reserve(n + 1);
        for (int i = 0; i <= n; ++i) {
            pts.push_back(c.Evaluate(a + (b - a) * i / n));
        }
        return pts;
    }

    // Adds to the check the part of a curve element beyond `cut` (towards the joint when
    // `atEnd`, else before `cut` from the start): its input points that now lie in the joint's
    // zone, and the replaced piece of curve itself.
    void AddCurveSide(const Work& w, double cut, bool atEnd, Check& check, int& lo, int& hi) const {
        const int n = static_cast<int>(w.pointU.size());
        for (int i = 0; i < n; ++i) {
            const int idx = w.e.firstPoint + i;
            const bool inZone = atEnd ? w.pointU[i] > cut : w.pointU[i] < cut;
            if (inZone && idx != w.e.lastPoint && idx != w.e.firstPoint) {
                check.zone.push_back(p_[idx]);
                lo = std::min(lo, idx - 1);
                hi = std::max(hi, idx + 1);
            }
        }
        const double a = atEnd ? cut : w.uStart;
        const double b = atEnd ? w.uEnd : cut;
        if (b > a) {
            check.reference.push_back(SampleCurve(*w.orig, a, b, kJoinSamples));
        }
    }

    Check MakeCheck(const Work& a, double cutA, const Work& b, double cutB) const {
        Check check;
        const int v = a.e.lastPoint;
        check.zone.push_back(p_[v]);
        int lo = v;
        int hi = v;
        if (a.orig) {
            AddCurveSide(a, cutA, true, check, lo, hi);
        } else {
            lo = a.e.firstPoint;
            for (int i = a.e.firstPoint + 1; i < a.e.lastPoint; ++i) {
                check.zone.push_back(p_[i]);  // vertices merged into the line
            }
        }
        if (b.orig) {
            AddCurveSide(b, cutB, false, check, lo, hi);
        } else {
            hi = b.e.lastPoint;
            for (int i = b.e.firstPoint + 1; i < b.e.lastPoint; ++i) {
                check.zone.push_back(p_[i]);
            }
        }
        lo = std::max(lo, 0);
        hi = std::min(hi, static_cast<int>(p_.size()) - 1);
        check.reference.emplace_back(p_.begin() + lo, p_.begin() + hi + 1);
        return check;
    }

    bool JoinLines(Work& a, Work& b, double budgetA, double budgetB, Work& out, double& dev) {
        const YdPoint v = a.e.end;
        const double availA = std::min(Distance(a.e.start, v), budgetA);
        const double availB = std::min(Distance(v, b.e.end), budgetB);
        const YdPoint legA = Along(v, Unit(Sub(a.e.start, v)), availA);
        const YdPoint legB = Along(v, Unit(Sub(b.e.end, v)), availB);
        const Check check = MakeCheck(a, 0.0, b, 0.0);
        // The arc passes the corner at the corner tolerance; a merged line beside it may
        // already sit off the input, so the arc is made tighter until the whole stays inside.
        double cornerTol = ctol_;
        std::unique_ptr<YdArcFitFilter> best;
        double bestDev = std::numeric_limits<double>::infinity();
        for (int attempt = 0; attempt < 8; ++attempt) {
            auto filter = std::make_unique<YdArcFitFilter>(legA, v, legB);
            filter->doFitArc(cornerTol);
            YdPoint p1;
            YdPoint p2;
            filter->getTangentPoint(p1, p2);
            const YdPoint center = filter->getCenter();
            const double radius = filter->getRadius();
            if (!Finite(p1) || !Finite(p2) || !Finite(center) || !std::isfinite(radius) ||
                !(radius > 0.0) || Distance(p1, v) > availA * (1.0 + 1e-9) + 1e-12 ||
                Distance(p2, v) > availB * (1.0 + 1e-9) + 1e-12) {
                break;
            }
            const ArcShape shape = ArcShape::FromTangentPoints(center, p1, p2);
            std::vector<YdPoint> samples{p1};
            for (int i = 1; i < kJoinSamples; ++i) {
                samples.push_back(shape.PointAt(static_cast<double>(i) / kJoinSamples));
            }
            samples.push_back(p2);
            const double d =
                check.Deviation(samples, {{p_[a.e.firstPoint], p1}, {p2, p_[b.e.lastPoint]}});
            if (d < bestDev) {
                bestDev = d;
                best = std::move(filter);
            }
            if (d <= ctol_ * (1.0 + 1e-12)) {
                break;
            }
            cornerTol *= 0.95 * ctol_ / d;
        }
        if (!best) {
            return false;
        }
        YdPoint p1;
        YdPoint p2;
        best->getTangentPoint(p1, p2);
        out.e.kind = ElementKind::Arc;
        out.e.start = p1;
        out.e.end = p2;
        out.e.arc = ArcShape::FromTangentPoints(best->getCenter(), p1, p2);
        out.e.arcFilter = std::move(best);
        out.e.firstPoint = a.e.lastPoint;
        out.e.lastPoint = a.e.lastPoint;
        dev = bestDev;
        out.e.deviation = dev;
        a.e.end = p1;
        b.e.start = p2;
        return true;
    }

    // One candidate join between a and b, cutting `cut` off each side.
    struct Candidate {
        std::unique_ptr<YdBSplineCurve> curve;
        YdPoint lineEnd;    // new end of a when a is a line
        YdPoint lineStart;  // new start of b when b is a line
        double uA = 0.0;    // new end parameter of a when a is a curve
        double uB = 0.0;    // new start parameter of b when b is a curve
        double dev = std::numeric_limits<double>::infinity();
    };

    bool MakeCandidate(const Work& a, const Work& b, double cut, double budgetA, double budgetB,
                       Candidate& c) const {
        const YdPoint v = a.e.end;
        if (!a.orig && !b.orig) {
            return false;
        }
        if (!a.orig) {
            // Line into curve.
            c.uB = ParamAtLengthFromStart(*b.orig, std::min(cut, budgetB));
            std::unique_ptr<YdBSplineCurve> sub(b.orig->ExtractSubCurve(c.uB, b.uEnd));
            if (!sub) {
                return false;
            }
            const YdPoint lineStart =
                Along(v, Unit(Sub(a.e.start, v)), std::min({cut, budgetA, Distance(a.e.start, v)}));
            YdPoint newStart;
            YdPoint newEnd;
            YdBSplineCurve* transition = nullptr;
            YdBSplineCurve* rest = nullptr;
            const bool ok = YdCurveFitFilter::fitCurveToConnectLineAndCurve(
                lineStart, v, sub.get(), ctol_, newStart, newEnd, &transition, &rest);
            delete rest;
            c.curve.reset(transition);
            if (!ok || !c.curve) {
                return false;
            }
            c.lineEnd = newEnd;
            const YdPoint q = b.orig->Evaluate(c.uB);
            SnapEnds(*c.curve, &c.lineEnd, &q);
        } else if (!b.orig) {
            // Curve into line.
            c.uA = ParamAtLengthFromEnd(*a.orig, std::min(cut, budgetA));
            std::unique_ptr<YdBSplineCurve> sub(a.orig->ExtractSubCurve(a.uStart, c.uA));
            if (!sub) {
                return false;
            }
            const YdPoint lineEnd =
                Along(v, Unit(Sub(b.e.end, v)), std::min({cut, budgetB, Distance(v, b.e.end)}));
            YdPoint newStart;
            YdPoint newEnd;
            YdBSplineCurve* transition = nullptr;
            YdBSplineCurve* rest = nullptr;
            const bool ok = YdCurveFitFilter::fitCurveToConnectCurveAndLine(
                sub.get(), v, lineEnd, ctol_, &rest, &transition, newStart, newEnd);
            delete rest;
            c.curve.reset(transition);
            if (!ok || !c.curve) {
                return false;
            }
            c.lineStart = newStart;
            const YdPoint q = a.orig->Evaluate(c.uA);
            SnapEnds(*c.curve, &q, &c.lineStart);
        } else {
            // Curve into curve.
            c.uA = ParamAtLengthFromEnd(*a.orig, std::min(cut, budgetA));
            c.uB = ParamAtLengthFromStart(*b.orig, std::min(cut, budgetB));
            std::unique_ptr<YdBSplineCurve> first(a.orig->ExtractSubCurve(a.uStart, c.uA));
            std::unique_ptr<YdBSplineCurve> second(b.orig->ExtractSubCurve(c.uB, b.uEnd));
            if (!first || !second) {
                return false;
            }
            c.curve.reset(YdCurveFitFilter::fitCurveBetweenSplineCurves(first.get(), second.get()));
            if (!c.curve) {
                return false;
            }
            const YdPoint qa = a.orig->Evaluate(c.uA);
            const YdPoint qb = b.orig->Evaluate(c.uB);
            SnapEnds(*c.curve, &qa, &qb);
        }
        if (!Joins(a, b, c)) {
            return false;
        }
        const Check check = MakeCheck(a, c.uA, b, c.uB);
        std::vector<std::vector<YdPoint>> kept;
        // The far ends of the lines as they were: a join at the other end answers for the
        // vertices there.
        if (!a.orig) {
            kept.push_back({p_[a.e.firstPoint], c.lineEnd});
        }
        if (!b.orig) {
            kept.push_back({c.lineStart, p_[b.e.lastPoint]});
        }
        c.dev = check.Deviation(
            SampleCurve(*c.curve, c.curve->startParam(), c.curve->endParam(), kJoinSamples), kept);
        if (!std::isfinite(c.dev)) {
            return false;
        }
        return true;
    }

    // The candidate must meet both sides where they now end, in position and in direction.
    bool Joins(const Work& a, const Work& b, const Candidate& c) const {
        const YdBSplineCurve& t = *c.curve;
        const YdPoint head = t.Evaluate(t.startParam());
        const YdPoint tail = t.Evaluate(t.endParam());
        const YdPoint aEnd = a.orig ? a.orig->Evaluate(c.uA) : c.lineEnd;
        const YdPoint bStart = b.orig ? b.orig->Evaluate(c.uB) : c.lineStart;
        const YdVector aDir = a.orig ? CurveTangent(*a.orig, c.uA) : Unit(Sub(a.e.end, a.e.start));
        const YdVector bDir = b.orig ? CurveTangent(*b.orig, c.uB) : Unit(Sub(b.e.end, b.e.start));
        if (!a.orig && SegmentDistance(c.lineEnd, a.e.start, a.e.end) > kSnapDistance) {
            return false;
        }
        if (!b.orig && SegmentDistance(c.lineStart, b.e.start, b.e.end) > kSnapDistance) {
            return false;
        }
        return Distance(head, aEnd) < kSnapDistance && Distance(tail, bStart) < kSnapDistance &&
               AngleBetween(aDir, CurveTangent(t, t.startParam())) <= kJoinAngle &&
               AngleBetween(CurveTangent(t, t.endParam()), bDir) <= kJoinAngle;
    }

    bool JoinWithCurve(Work& a, Work& b, double turn, double budgetA, double budgetB, Work& out,
                       double& dev) {
        double cut = std::min({InitialCut(turn, ctol_), budgetA, budgetB});
        Candidate best;
        bool haveBest = false;
        for (int attempt = 0; attempt < kJoinTries && cut > 0.0; ++attempt, cut *= kJoinShrink) {
            Candidate c;
            if (!MakeCandidate(a, b, cut, budgetA, budgetB, c)) {
                continue;
            }
            const bool within = c.dev <= ctol_;
            if (!haveBest || c.dev < best.dev || within) {
                best = std::move(c);
                haveBest = true;
            }
            if (within) {
                break;
            }
        }
        if (!haveBest) {
            return false;
        }
        out.e.kind = ElementKind::Transition;
        out.e.firstPoint = a.e.lastPoint;
        out.e.lastPoint = a.e.lastPoint;
        out.e.deviation = best.dev;
        out.e.start = best.curve->Evaluate(best.curve->startParam());
        out.e.end = best.curve->Evaluate(best.curve->endParam());
        out.e.curve = std::move(best.curve);
        if (a.orig) {
            a.uEnd = best.uA;
        } else {
            a.e.end = best.lineEnd;
        }
        if (b.orig) {
            b.uStart = best.uB;
        } else {
            b.e.start = best.lineStart;
        }
        dev = best.dev;
        return true;
    }

    void MakeJoins(std::vector<Join>& joins) {
        const int n = static_cast<int>(work_.size());
        std::vector<double> turn(n + 1, 0.0);
        std::vector<bool> needs(n + 1, false);
        for (int k = 1; k < n; ++k) {
            turn[k] = AngleBetween(EndTangent(work_[k - 1]), StartTangent(work_[k]));
            needs[k] = turn[k] > kTangentTurn && turn[k] < kStopTurn;
        }
        std::vector<double> budgetStart(n, 0.0);
        std::vector<double> budgetEnd(n, 0.0);
        for (int e = 0; e < n; ++e) {
            const double len =
                work_[e].orig ? work_[e].origLength : Distance(work_[e].e.start, work_[e].e.end);
            const bool both = needs[e] && needs[e + 1];
            budgetStart[e] = needs[e] ? (both ? 0.45 : 0.9) * len : 0.0;
            budgetEnd[e] = needs[e + 1] ? (both ? 0.45 : 0.9) * len : 0.0;
        }
        std::vector<Work> inserted(n);
        std::vector<bool> hasInserted(n, false);
        for (int k = 1; k < n; ++k) {
            Work& a = work_[k - 1];
            Work& b = work_[k];
            Join join;
            join.vertex = a.e.lastPoint;
            join.turnDegrees = turn[k] * 180.0 / kPi;
            if (turn[k] <= kTangentTurn) {
                join.how = "tangent";
            } else if (!needs[k]) {
                join.how = "stop";
            } else {
                double dev = 0.0;
                bool ok = false;
                Work w;
                if (!a.orig && !b.orig) {
                    ok = JoinLines(a, b, budgetEnd[k - 1], budgetStart[k], w, dev);
                    join.how = "arc";
                } else {
                    ok = JoinWithCurve(a, b, turn[k], budgetEnd[k - 1], budgetStart[k], w, dev);
                    join.how = a.orig && b.orig ? "bridge" : "transition";
                }
                if (ok) {
                    join.deviation = dev;
                    inserted[k] = std::move(w);
                    hasInserted[k] = true;
                } else {
                    join.how = "stop";
                }
            }
            joins.push_back(join);
            if (k % 64 == 0) {
                Report(1, a.e.lastPoint);
            }
        }
        std::vector<Work> all;
        for (int k = 0; k < n; ++k) {
            if (hasInserted[k]) {
                all.push_back(std::move(inserted[k]));
            }
            all.push_back(std::move(work_[k]));
        }
        work_ = std::move(all);
    }

    // ---------------------------------------------------------------------------------------
    // Results

    void Measure(Element& e) const {
        switch (e.kind) {
            case ElementKind::Line:
                e.length = Distance(e.start, e.end);
                break;
            case ElementKind::Arc:
            case ElementKind::ProgramArc:
                e.length = e.kind == ElementKind::Arc && e.arcFilter ? e.arcFilter->getArcLength()
                                                                     : e.arc.Length();
                e.maxCurvature = e.arc.Curvature();
                e.maxCurvatureU = 0.5;
                break;
            case ElementKind::Curve:
            case ElementKind::Transition: {
                YdBSplineCurve& c = *e.curve;
                e.length = PreciseCurveLength(c, c.startParam(), c.endParam());
                YdCurveFitFilter filter{std::vector<YdPoint>()};
                filter.setCurve(&c);
                double u = c.startParam();
                double k = 0.0;
                if (filter.getMaxCurvature(u, k)) {
                    e.maxCurvature = k;
                    e.maxCurvatureU = u;
                }
                // How far each maximum rises above the lowest curvature between it and its
                // neighbouring maxima (or the curve's ends), sampled: the library's own minimum
                // search walks in fixed small steps and would double the cost.
                const std::map<double, double>& maxima = filter.getLocalMaxCurvatures();
                std::vector<double> stops{c.startParam()};
                for (const auto& peak : maxima) {
                    stops.push_back(peak.first);
                }
                stops.push_back(c.endParam());
                std::vector<double> lowest(stops.size() - 1, 0.0);
                for (size_t k = 0; k + 1 < stops.size(); ++k) {
                    double low = std::numeric_limits<double>::infinity();
                    for (int i = 0; i <= 32; ++i) {
                        low = std::min(low, CurveCurvature(c, stops[k] + (stops[k + 1] - stops[k]) *
                                                                             i / 32.0));
                    }
                    lowest[k] = low;
                }
                size_t index = 0;
                for (const auto& peak : maxima) {
                    CurvaturePeak pk{peak.first, peak.second, c.Evaluate(peak.first), false};
                    const double base = std::max(lowest[index], lowest[index + 1]);
                    pk.significant =
                        peak.second - base >= 0.25 * peak.second && peak.second * size_ >= 1.0;
                    e.peaks.push_back(pk);
                    ++index;
                }
                // The ends are not local maxima, but a curve may bend most there.
                for (double end : {c.startParam(), c.endParam()}) {
                    const double ke = CurveCurvature(c, end);
                    if (ke > e.maxCurvature) {
                        e.maxCurvature = ke;
                        e.maxCurvatureU = end;
                    }
                }
                filter.setCurve(nullptr);
                break;
            }
        }
    }

    void Finish(SmoothedPath& out) {
        for (Work& w : work_) {
            if (w.e.kind == ElementKind::Curve && w.orig) {
                if (w.uStart > w.orig->startParam() || w.uEnd < w.orig->endParam()) {
                    std::unique_ptr<YdBSplineCurve> sub(w.orig->ExtractSubCurve(w.uStart, w.uEnd));
                    if (sub) {
                        w.e.curve = std::move(sub);
                    } else {
                        w.e.curve = std::move(w.orig);
                    }
                } else {
                    w.e.curve = std::move(w.orig);
                }
                w.e.start = w.e.curve->Evaluate(w.e.curve->startParam());
                w.e.end = w.e.curve->Evaluate(w.e.curve->endParam());
            }
        }
        // Make every joint exact.
        for (size_t i = 1; i < work_.size(); ++i) {
            Element& prev = work_[i - 1].e;
            Element& next = work_[i].e;
            if (Distance(prev.end, next.start) >= kSnapDistance) {
                continue;  // a stop or a failed join: left as it is, and visible in the report
            }
            if (next.curve) {
                SnapEnds(*next.curve, &prev.end, nullptr);
            }
            next.start = prev.end;
        }
        for (Work& w : work_) {
            if (w.e.curve) {
                SnapEnds(*w.e.curve, &w.e.start, &w.e.end);
            }
        }
        for (size_t i = 0; i < work_.size(); ++i) {
            Work& w = work_[i];
            if (w.e.kind == ElementKind::Line && Distance(w.e.start, w.e.end) == 0.0) {
                continue;  // used up by the joins around it
            }
            Measure(w.e);
            if (i % 16 == 0) {
                Report(2, std::max(w.e.lastPoint, 0));
            }
            out.maxDeviation = std::max(out.maxDeviation, w.e.deviation);
            out.elements.push_back(std::move(w.e));
        }
        for (const Join& j : out.joins) {
            out.maxDeviation = std::max(out.maxDeviation, j.deviation);
        }
    }

    const std::vector<YdPoint>& p_;
    const SmoothOptions& opt_;
    const double tol_;
    const double ctol_;
    const std::function<void(int)>& fitted_;
    double size_ = 0.0;  // diagonal of the path's bounding box
    std::vector<Work> work_;
};

}  // namespace

std::string SmoothOptions::Check() const {
    std::ostringstream os;
    if (!(tolerance > 0.0) || !std::isfinite(tolerance)) {
        os << "the tolerance must be a positive distance";
    } else if (!(cornerTolerance >= 0.0) || !std::isfinite(cornerTolerance)) {
        os << "the corner tolerance must be a positive distance";
    } else if (!(maxSegment > 0.0)) {
        os << "the longest fitted segment must be a positive length";
    } else if (!(maxTurnDegrees >= 0.0 && maxTurnDegrees < 180.0)) {
        os << "the largest turn must lie in [0, 180) degrees";
    } else if (minCurvePoints < 5) {
        os << "a fitted run needs at least 5 points";
    } else if (maxCurvePoints < minCurvePoints || maxCurvePoints > 500) {
        os << "the longest fitted run must lie between the shortest one and 500 points";
    }
    return os.str();
}

const char* KindName(ElementKind kind) {
    switch (kind) {
        case ElementKind::Line:
            return "line";
        case ElementKind::Arc:
            return "arc";
        case ElementKind::Curve:
            return "curve";
        case ElementKind::Transition:
            return "transition";
        case ElementKind::ProgramArc:
            return "program-arc";
    }
    return "?";
}

const char* DeviationMeaning(ElementKind kind) {
    switch (kind) {
        case ElementKind::Line:
            return "largest distance of the input vertices it replaces from the line";
        case ElementKind::Arc:
        case ElementKind::Transition:
            return "largest distance between the corner and the element, either way round";
        case ElementKind::Curve:
            return "largest distance of its input points from the fitted curve";
        case ElementKind::ProgramArc:
            return "kept as programmed";
    }
    return "";
}

YdPoint Element::PointAt(double t) const {
    if (t <= 0.0) {
        return start;
    }
    if (t >= 1.0) {
        return end;
    }
    switch (kind) {
        case ElementKind::Line:
            return Lerp(start, end, t);
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.PointAt(t);
        case ElementKind::Curve:
        case ElementKind::Transition: {
            const double a = curve->startParam();
            const double b = curve->endParam();
            return curve->Evaluate(a + (b - a) * t);
        }
    }
    return start;
}

YdVector Element::TangentAt(double t) const {
    t = std::clamp(t, 0.0, 1.0);
    switch (kind) {
        case ElementKind::Line:
            return Unit(Sub(end, start));
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.TangentAt(t);
        case ElementKind::Curve:
        case ElementKind::Transition: {
            const double a = curve->startParam();
            const double b = curve->endParam();
            return CurveTangent(*curve, a + (b - a) * t);
        }
    }
    return YdVector();
}

double Element::CurvatureAt(double t) const {
    t = std::clamp(t, 0.0, 1.0);
    switch (kind) {
        case ElementKind::Line:
            return 0.0;
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.Curvature();
        case ElementKind::Curve:
        case ElementKind::Transition: {
            const double a = curve->startParam();
            const double b = curve->endParam();
            return CurveCurvature(*curve, a + (b - a) * t);
        }
    }
    return 0.0;
}

int SmoothedPath::count(ElementKind kind) const {
    return static_cast<int>(std::count_if(elements.begin(), elements.end(),
                                          [kind](const Element& e) { return e.kind == kind; }));
}

int SmoothResult::count(ElementKind kind) const {
    int n = 0;
    for (const SmoothedPath& p : paths) {
        n += p.count(kind);
    }
    return n;
}

long SmoothResult::segmentsIn() const {
    long n = 0;
    for (const SmoothedPath& p : paths) {
        if (!p.programArc) {
            n += p.segmentsIn();
        }
    }
    return n;
}

int SmoothResult::stops() const {
    int n = 0;
    for (const SmoothedPath& p : paths) {
        for (const Join& j : p.joins) {
            n += j.how == "stop" ? 1 : 0;
        }
    }
    return n;
}

SmoothedPath SmoothPolyline(const std::vector<YdPoint>& points, const SmoothOptions& options,
                            const std::function<void(int)>& fitted) {
    return PolylineSmoother(points, options, fitted).Smooth();
}

SmoothResult SmoothProgram(const InputProgram& program, const SmoothOptions& options,
                           const ProgressFn& progress) {
    SmoothResult result;
    const int total = static_cast<int>(program.pieces.size());
    const long segments = program.segmentCount();
    long done = 0;
    for (int i = 0; i < total; ++i) {
        const InputPiece& piece = program.pieces[i];
        SmoothedPath path;
        if (piece.kind == InputPiece::Kind::Polyline) {
            std::vector<YdPoint> pts;
            pts.reserve(piece.points.size());
            for (const Point3& p : piece.points) {
                pts.push_back(ToYd(p));
            }
            std::function<void(int)> fitted;
            if (progress) {
                fitted = [&](int segs) { progress(i, total, done + segs, segments); };
            }
            path = SmoothPolyline(pts, options, fitted);
            path.lines = piece.lines;
            done += path.segmentsIn();
        } else {
            path.programArc = true;
            path.points = {ToYd(piece.arc.start), ToYd(piece.arc.end)};
            path.lines = {piece.firstLine, piece.lastLine};
            Element e;
            e.kind = ElementKind::ProgramArc;
            e.start = path.points[0];
            e.end = path.points[1];
            e.arc = ArcShape::FromProgramArc(piece.arc);
            e.firstPoint = 0;
            e.lastPoint = 1;
            e.length = e.arc.Length();
            e.maxCurvature = e.arc.Curvature();
            e.maxCurvatureU = 0.5;
            path.inputLength = e.length;
            path.elements.push_back(std::move(e));
        }
        path.pieceIndex = i;
        path.firstLine = piece.firstLine;
        path.lastLine = piece.lastLine;
        result.maxDeviation = std::max(result.maxDeviation, path.maxDeviation);
        result.paths.push_back(std::move(path));
        if (progress) {
            progress(i + 1, total, done, segments);
        }
    }
    return result;
}

}  // namespace ydpath
