// SPDX-License-Identifier: MIT

#pragma once

// A dense brute-force check of how far a smoothed path lies from its input, both ways round,
// for the tests of the path smoother. It shares nothing with the tool's own measure: every
// element is evaluated from its own geometry (lines from their end points, corner arcs from the
// arc filter's centre and tangent points, curves only through Evaluate) at points a fixed small
// arc length apart, every distance is taken segment by segment, and the largest (or smallest)
// ones are refined by golden-section search.
//
// What it checks is the tool's promise: each element answers for its own part of the input,
// the vertices firstPoint..lastPoint with the segment on either side (the polyline through
// firstPoint - 1 .. lastPoint + 1). pathToInput is the largest distance of a point of the
// element from that polyline; inputToPath the largest distance of one of its vertices from the
// elements whose own part holds the vertex. Programmed arcs are their own input.

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "Element.h"
#include "SmoothedPath.h"

namespace ydtest {

inline YdVector Diff(const YdPoint& a, const YdPoint& b) {
    return YdVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

inline double Dot(const YdVector& a, const YdVector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double Len(const YdVector& v) {
    return std::sqrt(Dot(v, v));
}

inline YdVector Scale(const YdVector& v, double s) {
    return YdVector(v[0] * s, v[1] * s, v[2] * s);
}

inline YdVector Normalised(const YdVector& v) {
    const double n = Len(v);
    return n > 0.0 ? Scale(v, 1.0 / n) : v;
}

inline double Dist(const YdPoint& a, const YdPoint& b) {
    const double dx = a[0] - b[0];
    const double dy = a[1] - b[1];
    const double dz = a[2] - b[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
}

inline double Angle(const YdVector& a, const YdVector& b) {
    const double c = Dot(Normalised(a), Normalised(b));
    const YdVector x(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                     a[0] * b[1] - a[1] * b[0]);
    return std::atan2(Len(x) / (Len(a) * Len(b)), c);
}

inline double SegDist(const YdPoint& p, const YdPoint& a, const YdPoint& b) {
    double ab[3];
    double ap[3];
    for (int k = 0; k < 3; ++k) {
        ab[k] = b[k] - a[k];
        ap[k] = p[k] - a[k];
    }
    const double l2 = ab[0] * ab[0] + ab[1] * ab[1] + ab[2] * ab[2];
    double t = l2 > 0.0 ? (ap[0] * ab[0] + ap[1] * ab[1] + ap[2] * ab[2]) / l2 : 0.0;
    t = std::min(1.0, std::max(0.0, t));
    double d2 = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double d = ap[k] - ab[k] * t;
        d2 += d * d;
    }
    return std::sqrt(d2);
}

/// The point of an element at t in [0, 1], computed from its geometry (no shortcut at the
/// ends, so that joins are really compared).
inline YdPoint GeomAt(const ydpath::Element& e, double t) {
    using K = ydpath::ElementKind;
    switch (e.kind) {
        case K::Line:
            return YdPoint(e.start[0] + (e.end[0] - e.start[0]) * t,
                           e.start[1] + (e.end[1] - e.start[1]) * t,
                           e.start[2] + (e.end[2] - e.start[2]) * t);
        case K::Arc: {
            // From the filter: rotate p1 about the centre towards p2.
            const YdPoint c = e.arcFilter->getCenter();
            YdPoint p1;
            YdPoint p2;
            e.arcFilter->getTangentPoint(p1, p2);
            const YdVector a = Diff(p1, c);
            const YdVector b = Diff(p2, c);
            const double r = Len(a);
            const YdVector u = Normalised(a);
            const YdVector w =
                Normalised(Diff(YdPoint(b[0], b[1], b[2]),
                                YdPoint(u[0] * Dot(b, u), u[1] * Dot(b, u), u[2] * Dot(b, u))));
            const double phi = Angle(a, b) * t;
            return YdPoint(c[0] + r * (std::cos(phi) * u[0] + std::sin(phi) * w[0]),
                           c[1] + r * (std::cos(phi) * u[1] + std::sin(phi) * w[1]),
                           c[2] + r * (std::cos(phi) * u[2] + std::sin(phi) * w[2]));
        }
        case K::ProgramArc:
            return e.arc.PointAt(t);
        case K::Curve:
        case K::Transition: {
            const double a = e.curve->startParam();
            const double b = e.curve->endParam();
            return e.curve->Evaluate(a + (b - a) * t);
        }
    }
    return YdPoint();
}

/// One element's deviation as the oracle finds it.
struct OracleElement {
    double pathToInput = 0.0;
    double inputToPath = 0.0;
};

struct OracleResult {
    double pathToInput = 0.0;
    double inputToPath = 0.0;
    std::vector<OracleElement> elements;  ///< one per element of the path
    int worstElement = -1;                ///< element with the largest pathToInput
    int worstVertex = -1;                 ///< vertex with the largest inputToPath
    double Larger() const { return std::max(pathToInput, inputToPath); }
};

class PathOracle {
  public:
    /// `step`: the arc length between samples of an element.
    PathOracle(const ydpath::SmoothedPath& path, double step) : path_(path), step_(step) {}

    OracleResult Measure() const {
        OracleResult r;
        const int n = static_cast<int>(path_.elements.size());
        r.elements.assign(n, OracleElement());
        if (path_.programArc) {
            return r;
        }
        // Element by element: its distance from its part, and every vertex of its part's
        // distance from it (each vertex keeps the least over the elements that hold it).
        const int nv = static_cast<int>(path_.points.size());
        std::vector<double> vertex(nv, std::numeric_limits<double>::infinity());
        for (int k = 0; k < n; ++k) {
            const ydpath::Element& e = path_.elements[k];
            const std::vector<double> ts = SampleParams(e);
            std::vector<YdPoint> pts;
            pts.reserve(ts.size());
            for (double t : ts) {
                pts.push_back(GeomAt(e, t));
            }
            r.elements[k].pathToInput = PathToInput(e, ts, pts);
            const std::vector<double> spans = BlockSpans(pts);
            if (r.elements[k].pathToInput > r.pathToInput) {
                r.pathToInput = r.elements[k].pathToInput;
                r.worstElement = k;
            }
            for (int i = std::max(e.firstPoint - 1, 0); i <= std::min(e.lastPoint + 1, nv - 1);
                 ++i) {
                vertex[i] = std::min(vertex[i], VertexDistance(e, ts, pts, spans, path_.points[i]));
            }
        }
        for (int k = 0; k < n; ++k) {
            const ydpath::Element& e = path_.elements[k];
            for (int i = std::max(e.firstPoint, 0); i <= std::min(e.lastPoint, nv - 1); ++i) {
                r.elements[k].inputToPath = std::max(r.elements[k].inputToPath, vertex[i]);
            }
        }
        for (int i = 0; i < nv; ++i) {
            if (!(vertex[i] <= r.inputToPath)) {
                r.inputToPath = vertex[i];
                r.worstVertex = i;
            }
        }
        return r;
    }

  private:
    // Parameters a fixed arc length apart (at least 64 samples).
    std::vector<double> SampleParams(const ydpath::Element& e) const {
        double length = 0.0;
        YdPoint last = GeomAt(e, 0.0);
        for (int i = 1; i <= 64; ++i) {
            const YdPoint p = GeomAt(e, i / 64.0);
            length += Dist(last, p);
            last = p;
        }
        const double wanted = std::ceil(1.05 * length / step_);
        const int count = wanted > 64 ? (wanted < 4e6 ? static_cast<int>(wanted) : 4000000) : 64;
        std::vector<double> ts(count + 1);
        for (int i = 0; i <= count; ++i) {
            ts[i] = static_cast<double>(i) / count;
        }
        return ts;
    }

    double ToPart(const ydpath::Element& e, const YdPoint& p) const {
        const int nv = static_cast<int>(path_.points.size());
        const int lo = std::max(e.firstPoint - 1, 0);
        const int hi = std::min(e.lastPoint + 1, nv - 1);
        double best = Dist(p, path_.points[lo]);
        for (int k = lo; k < hi; ++k) {
            best = std::min(best, SegDist(p, path_.points[k], path_.points[k + 1]));
        }
        return best;
    }

    template <typename F>
    static double GoldenMax(F f, double lo, double hi) {
        const double g = 0.5 * (std::sqrt(5.0) - 1.0);
        for (int it = 0; it < 60; ++it) {
            const double x1 = hi - g * (hi - lo);
            const double x2 = lo + g * (hi - lo);
            if (f(x1) > f(x2)) {
                hi = x2;
            } else {
                lo = x1;
            }
        }
        return f(0.5 * (lo + hi));
    }

    double PathToInput(const ydpath::Element& e, const std::vector<double>& ts,
                       const std::vector<YdPoint>& pts) const {
        const int n = static_cast<int>(ts.size());
        std::vector<double> f(n);
        double worst = 0.0;
        for (int i = 0; i < n; ++i) {
            f[i] = ToPart(e, pts[i]);
            worst = std::max(worst, f[i]);
        }
        // Refine the highest sampled peaks (a peak rises above the sample before it, so a flat
        // stretch counts once, where it starts): the largest distance lies at one of them
        // unless it is narrower than the sample spacing.
        std::vector<std::pair<double, int>> peaks;
        for (int i = 0; i < n; ++i) {
            if ((i == 0 || f[i] > f[i - 1]) && (i + 1 == n || f[i] >= f[i + 1])) {
                peaks.emplace_back(f[i], i);
            }
        }
        const size_t refined = std::min<size_t>(peaks.size(), 8);
        std::partial_sort(peaks.begin(), peaks.begin() + refined, peaks.end(),
                          [](const auto& a, const auto& b) { return a.first > b.first; });
        auto at = [&](double t) { return ToPart(e, GeomAt(e, t)); };
        for (size_t k = 0; k < refined; ++k) {
            const int i = peaks[k].second;
            const double lo = ts[std::max(i - 1, 0)];
            const double hi = ts[std::min(i + 1, n - 1)];
            worst = std::max(worst, GoldenMax(at, lo, hi));
        }
        return worst;
    }

    // The nearest sample, found block by block: a block of samples is searched only when its
    // first sample, less the length of the chords the block spans, could still be nearer than
    // the nearest found. Then a golden-section search around it on the element itself.
    double VertexDistance(const ydpath::Element& e, const std::vector<double>& ts,
                          const std::vector<YdPoint>& pts, const std::vector<double>& spans,
                          const YdPoint& v) const {
        const int n = static_cast<int>(ts.size());
        int bestI = 0;
        double best = std::numeric_limits<double>::infinity();
        for (int b = 0; b < n; b += kBlock) {
            if (Dist(v, pts[b]) - spans[b / kBlock] >= best) {
                continue;
            }
            for (int i = b; i < std::min(b + kBlock, n); ++i) {
                const double d = Dist(v, pts[i]);
                if (d < best) {
                    best = d;
                    bestI = i;
                }
            }
        }
        auto negative = [&](double t) { return -Dist(v, GeomAt(e, t)); };
        const double lo = ts[std::max(bestI - 1, 0)];
        const double hi = ts[std::min(bestI + 1, n - 1)];
        return std::min(best, -GoldenMax(negative, lo, hi));
    }

    // The arc length each block of kBlock samples spans (as chords, a lower bound of it).
    static std::vector<double> BlockSpans(const std::vector<YdPoint>& pts) {
        std::vector<double> spans;
        for (size_t b = 0; b < pts.size(); b += kBlock) {
            double span = 0.0;
            for (size_t i = b + 1; i < std::min(b + kBlock, pts.size()); ++i) {
                span += Dist(pts[i - 1], pts[i]);
            }
            spans.push_back(span);
        }
        return spans;
    }

    static constexpr int kBlock = 32;
    const ydpath::SmoothedPath& path_;
    double step_;
};

/// The two-sided deviation of a smoothed path, sampled every `step` of arc length.
inline OracleResult MeasureTwoSided(const ydpath::SmoothedPath& path, double step) {
    return PathOracle(path, step).Measure();
}

}  // namespace ydtest
