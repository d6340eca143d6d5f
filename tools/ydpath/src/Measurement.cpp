#include "Measurement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Geometry.h"

namespace ydpath {

namespace {

constexpr int kCurvatureSamplesPerSpan = 16;
constexpr int kGoldenSteps = 40;

// The parameter of the largest curvature on [lo, hi], by golden section.
CurvatureMaximum RefineMaximum(const YdBSplineCurve& c, double lo, double hi) {
    const double g = 0.5 * (std::sqrt(5.0) - 1.0);
    double x1 = hi - g * (hi - lo);
    double x2 = lo + g * (hi - lo);
    double f1 = CurveCurvature(c, x1);
    double f2 = CurveCurvature(c, x2);
    for (int i = 0; i < kGoldenSteps; ++i) {
        if (f1 > f2) {
            hi = x2;
            x2 = x1;
            f2 = f1;
            x1 = hi - g * (hi - lo);
            f1 = CurveCurvature(c, x1);
        } else {
            lo = x1;
            x1 = x2;
            f1 = f2;
            x2 = lo + g * (hi - lo);
            f2 = CurveCurvature(c, x2);
        }
    }
    return f1 > f2 ? CurvatureMaximum{x1, f1} : CurvatureMaximum{x2, f2};
}

// Curvature sampled along the curve, span by span, in increasing parameter.
void SampleCurvature(const YdBSplineCurve& c, std::vector<double>& u, std::vector<double>& k) {
    const double a = c.startParam();
    const double b = c.endParam();
    std::vector<double> stops{a};
    for (double knot : c.KnotVec().GetKnots()) {
        if (knot > stops.back() && knot < b) {
            stops.push_back(knot);
        }
    }
    stops.push_back(b);
    u.push_back(a);
    k.push_back(CurveCurvature(c, a));
    for (size_t s = 1; s < stops.size(); ++s) {
        for (int i = 1; i <= kCurvatureSamplesPerSpan; ++i) {
            const double t =
                i == kCurvatureSamplesPerSpan
                    ? stops[s]
                    : stops[s - 1] + (stops[s] - stops[s - 1]) * i / kCurvatureSamplesPerSpan;
            u.push_back(t);
            k.push_back(CurveCurvature(c, t));
        }
    }
}

void MeasureCurve(Element& e, double pathSize) {
    const YdBSplineCurve& c = *e.curve;
    e.length = PreciseCurveLength(c, c.startParam(), c.endParam());
    std::vector<double> lowest;
    const std::vector<CurvatureMaximum> maxima = CurvatureMaxima(c, lowest);
    e.maxCurvature = 0.0;
    e.maxCurvatureU = c.startParam();
    for (size_t i = 0; i < maxima.size(); ++i) {
        const CurvatureMaximum& m = maxima[i];
        CurvaturePeak pk{m.u, m.curvature, c.Evaluate(m.u), false};
        const double base = std::max(lowest[i], lowest[i + 1]);
        pk.significant = m.curvature - base >= 0.25 * m.curvature && m.curvature * pathSize >= 1.0;
        e.peaks.push_back(pk);
        if (m.curvature > e.maxCurvature) {
            e.maxCurvature = m.curvature;
            e.maxCurvatureU = m.u;
        }
    }
    // The ends are not local maxima, but a curve may bend most there.
    for (double end : {c.startParam(), c.endParam()}) {
        const double k = CurveCurvature(c, end);
        if (k > e.maxCurvature) {
            e.maxCurvature = k;
            e.maxCurvatureU = end;
        }
    }
}

}  // namespace

std::vector<CurvatureMaximum> CurvatureMaxima(const YdBSplineCurve& curve,
                                              std::vector<double>& lowest) {
    std::vector<double> u;
    std::vector<double> k;
    SampleCurvature(curve, u, k);
    std::vector<CurvatureMaximum> maxima;
    lowest.assign(1, std::numeric_limits<double>::infinity());
    const size_t n = u.size();
    for (size_t i = 0; i < n; ++i) {
        lowest.back() = std::min(lowest.back(), k[i]);
        if (i == 0 || i + 1 == n || !(k[i] > k[i - 1] && k[i] >= k[i + 1])) {
            continue;
        }
        const CurvatureMaximum m = RefineMaximum(curve, u[i - 1], u[i + 1]);
        maxima.push_back(m.curvature >= k[i] ? m : CurvatureMaximum{u[i], k[i]});
        lowest.push_back(k[i]);
    }
    return maxima;
}

void MeasureElement(Element& e, double pathSize) {
    e.peaks.clear();
    switch (e.kind) {
        case ElementKind::Line:
            e.length = Distance(e.start, e.end);
            e.maxCurvature = 0.0;
            e.maxCurvatureU = 0.0;
            break;
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            e.length = e.kind == ElementKind::Arc && e.arcFilter ? e.arcFilter->getArcLength()
                                                                 : e.arc.Length();
            e.maxCurvature = e.arc.Curvature();
            e.maxCurvatureU = 0.5;
            break;
        case ElementKind::Curve:
        case ElementKind::Transition:
            MeasureCurve(e, pathSize);
            break;
    }
}

}  // namespace ydpath
