// SPDX-License-Identifier: MIT

#include "Measurement.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "Geometry.h"

namespace ydpath {

namespace {

// A cubic span's curvature has few extrema: this many samples of it separate them, and every
// sampled maximum is then refined by interpolation.
constexpr int kCurvatureSamplesPerSpan = 8;
constexpr int kParabolaSteps = 4;

// The largest curvature near a sampled maximum k1 at u1 between its neighbours (u0, k0) and
// (u2, k2): a few steps of parabolic interpolation, each through the three best points so far.
// Curvature is smooth there, so each step gains several digits; the value reported is one
// actually evaluated.
CurvatureMaximum RefineMaximum(const YdBSplineCurve& c, double u0, double k0, double u1, double k1,
                               double u2, double k2) {
    for (int i = 0; i < kParabolaSteps; ++i) {
        const double a = (u1 - u0) * (k1 - k2);
        const double b = (u1 - u2) * (k1 - k0);
        const double den = 2.0 * (a - b);
        if (!(den != 0.0)) {
            break;
        }
        const double u = u1 - ((u1 - u0) * a - (u1 - u2) * b) / den;
        if (!(u > u0 && u < u2) || u == u1) {
            break;
        }
        const double k = CurveCurvature(c, u);
        if (!(k > k1)) {
            // The peak lies between u and u1: keep bracketing it.
            (u < u1 ? u0 : u2) = u;
            (u < u1 ? k0 : k2) = k;
            continue;
        }
        // u is the new best; its neighbours are u1 and the old bracket end beyond u.
        if (u < u1) {
            u2 = u1;
            k2 = k1;
        } else {
            u0 = u1;
            k0 = k1;
        }
        u1 = u;
        k1 = k;
    }
    return CurvatureMaximum{u1, k1};
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
        maxima.push_back(RefineMaximum(curve, u[i - 1], k[i - 1], u[i], k[i], u[i + 1], k[i + 1]));
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
