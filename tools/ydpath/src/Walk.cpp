// SPDX-License-Identifier: MIT

#include "Walk.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

// Sub-samples used to measure how far the path runs from a step's chord.
constexpr int kChordSamples = 8;

class Walker {
  public:
    Walker(double step, WalkResult& out) : step_(step), out_(out) {}

    void WalkPath(const SmoothedPath& path, int pathIndex) {
        path_ = pathIndex;
        started_ = false;
        for (size_t i = 0; i < path.elements.size(); ++i) {
            element_ = static_cast<int>(i);
            const Element& e = path.elements[i];
            Emit(e.start, false);
            switch (e.kind) {
                case ElementKind::Line:
                    WalkLine(e);
                    break;
                case ElementKind::Arc:
                    WalkCornerArc(e);
                    break;
                case ElementKind::ProgramArc:
                    WalkProgramArc(e);
                    break;
                case ElementKind::Curve:
                case ElementKind::Transition:
                    WalkCurve(e);
                    break;
            }
            Emit(e.end, false);
        }
    }

  private:
    // Adds a point unless it repeats the last one; `fullStep` marks points one whole step
    // from the previous one, which count for the step statistics.
    void Emit(const YdPoint& p, bool fullStep) {
        if (started_ && Distance(last_, p) == 0.0) {
            return;
        }
        if (started_ && fullStep) {
            const double d = Distance(last_, p);
            if (out_.shortestStep == 0.0 || d < out_.shortestStep) {
                out_.shortestStep = d;
            }
            out_.longestStep = std::max(out_.longestStep, d);
        }
        out_.points.push_back({p, path_, element_});
        last_ = p;
        started_ = true;
    }

    void Chord(double deviation) {
        if (deviation > out_.maxChordDeviation) {
            out_.maxChordDeviation = deviation;
            out_.maxChordPath = path_;
            out_.maxChordElement = element_;
        }
    }

    void WalkLine(const Element& e) {
        const double len = Distance(e.start, e.end);
        const int steps = CountWithin(std::floor(len / step_), 0, kMaxWalkPoints);
        for (int k = 1; k <= steps; ++k) {
            const double t = k * step_ / len;
            if (t < 1.0) {
                Emit(e.PointAt(t), true);
            }
        }
    }

    void WalkCornerArc(const Element& e) {
        if (!e.arcFilter) {
            return;
        }
        YdArcFitFilter filter = *e.arcFilter;
        const double r = filter.getRadius();
        YdPoint current = e.start;
        // A quarter turn per step at most would take 4 steps for a right angle; the limit only
        // guards against a filter that never reports the end.
        const int limit = CountWithin(std::ceil(e.length / step_), 0, kMaxWalkPoints) + 8;
        for (int k = 0; k < limit; ++k) {
            YdPoint next;
            const bool inside = filter.interpolate(current, step_, next, true);
            const double c = Distance(current, next);
            if (r > 0.0 && c <= 2.0 * r) {
                Chord(r - std::sqrt(std::max(0.0, r * r - 0.25 * c * c)));
            }
            if (!inside) {
                break;
            }
            Emit(next, true);
            current = next;
        }
    }

    void WalkProgramArc(const Element& e) {
        const double len = e.arc.Length();
        const int steps = CountWithin(std::floor(len / step_), 0, kMaxWalkPoints);
        double prevT = 0.0;
        for (int k = 1; k <= steps + 1; ++k) {
            const double t = std::min(1.0, k * step_ / len);
            MeasureChord(e, prevT, t);
            if (t < 1.0) {
                Emit(e.PointAt(t), true);
            }
            prevT = t;
            if (t >= 1.0) {
                break;
            }
        }
    }

    void MeasureChord(const Element& e, double t0, double t1) {
        const YdPoint a = e.PointAt(t0);
        const YdPoint b = e.PointAt(t1);
        double worst = 0.0;
        for (int i = 1; i < kChordSamples; ++i) {
            const double t = t0 + (t1 - t0) * i / kChordSamples;
            worst = std::max(worst, SegmentDistance(e.PointAt(t), a, b));
        }
        Chord(worst);
    }

    void MeasureCurveChord(const YdBSplineCurve& c, double u0, double u1) {
        const YdPoint a = c.Evaluate(u0);
        const YdPoint b = c.Evaluate(u1);
        double worst = 0.0;
        for (int i = 1; i < kChordSamples; ++i) {
            const double u = u0 + (u1 - u0) * i / kChordSamples;
            worst = std::max(worst, SegmentDistance(c.Evaluate(u), a, b));
        }
        Chord(worst);
    }

    void WalkCurve(const Element& e) {
        YdBSplineCurve& c = *e.curve;
        YdCurveFitFilter filter{std::vector<YdPoint>()};
        filter.setCurve(&c);
        const double a = c.startParam();
        const double b = c.endParam();
        const YdPoint endPoint = c.Evaluate(b);
        double u = a;
        // Each step moves forward by a whole step of chord, so the count is bounded by the
        // curve's length; the limit only guards against a search that stalls.
        const int limit = CountWithin(std::ceil(e.length / step_), 0, kMaxWalkPoints) * 2 + 16;
        for (int k = 0; k < limit; ++k) {
            const YdPoint here = c.Evaluate(u);
            if (Distance(here, endPoint) <= step_ && CurveLength(c, u, b) <= step_ * 1.000001) {
                MeasureCurveChord(c, u, b);
                break;
            }
            double next = u;
            bool ok = filter.interpolateByNewtonIter(u, step_, next, step_ * 1e-6) && next > u;
            if (!ok) {
                // Past the chord search's reach: step by arc length instead.
                YdPoint pt;
                ok = filter.interpolate(here, step_, true, next, pt, 1e-9) && next > u;
                ++out_.fallbacks;
            }
            if (!ok) {
                MeasureCurveChord(c, u, b);
                break;
            }
            MeasureCurveChord(c, u, next);
            Emit(c.Evaluate(next), true);
            u = next;
            if (u >= b) {
                break;
            }
        }
        filter.setCurve(nullptr);
    }

    const double step_;
    WalkResult& out_;
    int path_ = 0;
    int element_ = 0;
    bool started_ = false;
    YdPoint last_;
};

}  // namespace

double EstimateWalkPoints(const SmoothResult& result, double step) {
    double points = 0.0;
    for (const SmoothedPath& path : result.paths) {
        for (const Element& e : path.elements) {
            points += std::ceil(e.length / step) + 1.0;
        }
    }
    return points;
}

WalkResult WalkPaths(const SmoothResult& result, double step) {
    if (!(step > 0.0) || !std::isfinite(step)) {
        throw std::invalid_argument("the walk step must be a positive length");
    }
    const double estimate = EstimateWalkPoints(result, step);
    if (!(estimate <= kMaxWalkPoints)) {
        std::ostringstream os;
        os.precision(3);
        os << "a walk in steps of " << step << " would visit about " << estimate
           << " points, more than the " << kMaxWalkPoints
           << " a walk may have: choose a larger --walk step";
        throw std::invalid_argument(os.str());
    }
    WalkResult out;
    out.step = step;
    Walker walker(step, out);
    for (size_t i = 0; i < result.paths.size(); ++i) {
        walker.WalkPath(result.paths[i], static_cast<int>(i));
    }
    return out;
}

void WriteWalk(std::ostream& out, const WalkResult& walk, const std::string& unit) {
    out << "# ydpath walk: one point per step of " << walk.step << (unit.empty() ? "" : " ") << unit
        << " along the smoothed path\n";
    out << "# largest chord deviation " << walk.maxChordDeviation << "\n";
    out << std::fixed << std::setprecision(6);
    int path = -1;
    for (const WalkPoint& p : walk.points) {
        if (p.path != path) {
            path = p.path;
            out << "# path " << path + 1 << "\n";
        }
        out << p.point[0] << ' ' << p.point[1] << ' ' << p.point[2] << '\n';
    }
}

}  // namespace ydpath
