#pragma once

// Independent checks of a smoothed path. Nothing here uses the tool's own distance or
// sampling helpers, nor the library's point inversion: distances come from dense sampling
// of each element followed by a golden-section refinement, arcs are evaluated from the
// filter's centre and tangent points, and curves only through Evaluate.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <unistd.h>

#include "Smoother.h"

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
    return Len(Diff(a, b));
}

inline double Angle(const YdVector& a, const YdVector& b) {
    const double c = Dot(Normalised(a), Normalised(b));
    const YdVector x(a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2],
                     a[0] * b[1] - a[1] * b[0]);
    return std::atan2(Len(x) / (Len(a) * Len(b)), c);
}

inline double SegDist(const YdPoint& p, const YdPoint& a, const YdPoint& b) {
    const YdVector ab = Diff(b, a);
    const double l2 = Dot(ab, ab);
    double t = l2 > 0.0 ? Dot(Diff(p, a), ab) / l2 : 0.0;
    t = std::min(1.0, std::max(0.0, t));
    return Dist(p, YdPoint(a[0] + ab[0] * t, a[1] + ab[1] * t, a[2] + ab[2] * t));
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
            const double sweep = Angle(a, b);
            const double phi = sweep * t;
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

/// Unit direction of travel at t, from the geometry.
inline YdVector GeomTangent(const ydpath::Element& e, double t) {
    using K = ydpath::ElementKind;
    switch (e.kind) {
        case K::Line:
            return Normalised(Diff(e.end, e.start));
        case K::Curve:
        case K::Transition: {
            const double a = e.curve->startParam();
            const double b = e.curve->endParam();
            YdPoint p;
            std::vector<YdVector> d;
            e.curve->Evaluate(a + (b - a) * t, 1, p, d);
            return d.empty() ? YdVector() : Normalised(d[0]);
        }
        case K::Arc: {
            // Perpendicular to the radius, in the arc's plane, turning from p1 towards p2.
            const YdPoint c = e.arcFilter->getCenter();
            YdPoint p1;
            YdPoint p2;
            e.arcFilter->getTangentPoint(p1, p2);
            const YdVector a = Diff(p1, c);
            const YdVector b = Diff(p2, c);
            const YdVector u = Normalised(a);
            const YdVector w =
                Normalised(Diff(YdPoint(b[0], b[1], b[2]),
                                YdPoint(u[0] * Dot(b, u), u[1] * Dot(b, u), u[2] * Dot(b, u))));
            const double phi = Angle(a, b) * t;
            return YdVector(-std::sin(phi) * u[0] + std::cos(phi) * w[0],
                            -std::sin(phi) * u[1] + std::cos(phi) * w[1],
                            -std::sin(phi) * u[2] + std::cos(phi) * w[2]);
        }
        case K::ProgramArc: {
            const double h = 1e-7;
            const double t0 = std::max(0.0, t - h);
            const double t1 = std::min(1.0, t + h);
            return Normalised(Diff(GeomAt(e, t1), GeomAt(e, t0)));
        }
    }
    return YdVector();
}

/// Distance from p to an element: dense samples, then golden-section search around the best.
inline double DistanceTo(const ydpath::Element& e, const YdPoint& p, int samples = 400) {
    if (e.kind == ydpath::ElementKind::Line) {
        return SegDist(p, e.start, e.end);
    }
    int bestI = 0;
    double best = std::numeric_limits<double>::infinity();
    for (int i = 0; i <= samples; ++i) {
        const double d = Dist(p, GeomAt(e, static_cast<double>(i) / samples));
        if (d < best) {
            best = d;
            bestI = i;
        }
    }
    double lo = std::max(0.0, (bestI - 1.0) / samples);
    double hi = std::min(1.0, (bestI + 1.0) / samples);
    const double g = 0.5 * (std::sqrt(5.0) - 1.0);
    for (int it = 0; it < 80; ++it) {
        const double x1 = hi - g * (hi - lo);
        const double x2 = lo + g * (hi - lo);
        if (Dist(p, GeomAt(e, x1)) < Dist(p, GeomAt(e, x2))) {
            hi = x2;
        } else {
            lo = x1;
        }
    }
    return std::min(best, Dist(p, GeomAt(e, 0.5 * (lo + hi))));
}

struct ElementBox {
    YdPoint lo;
    YdPoint hi;
};

inline ElementBox BoxOf(const ydpath::Element& e, double grow) {
    ElementBox b{GeomAt(e, 0.0), GeomAt(e, 0.0)};
    for (int i = 1; i <= 64; ++i) {
        const YdPoint p = GeomAt(e, i / 64.0);
        for (int k = 0; k < 3; ++k) {
            b.lo[k] = std::min(b.lo[k], p[k]);
            b.hi[k] = std::max(b.hi[k], p[k]);
        }
    }
    // 64 samples of a curve may miss a bulge; grow by a margin that covers it.
    for (int k = 0; k < 3; ++k) {
        b.lo[k] -= grow;
        b.hi[k] += grow;
    }
    return b;
}

inline bool Inside(const ElementBox& b, const YdPoint& p) {
    for (int k = 0; k < 3; ++k) {
        if (p[k] < b.lo[k] || p[k] > b.hi[k]) {
            return false;
        }
    }
    return true;
}

/// Largest distance of the input vertices from the smoothed path. Only elements whose box,
/// grown by `reach`, holds a vertex are measured for it: distances up to `reach` are exact.
inline double InputToPathDistance(const ydpath::SmoothedPath& path, int* worstVertex = nullptr,
                                  double reach = 1.0) {
    std::vector<ElementBox> boxes;
    for (const ydpath::Element& e : path.elements) {
        boxes.push_back(BoxOf(e, reach + 0.05 * e.length));
    }
    double worst = 0.0;
    for (size_t i = 0; i < path.points.size(); ++i) {
        double best = std::numeric_limits<double>::infinity();
        for (size_t k = 0; k < path.elements.size(); ++k) {
            if (Inside(boxes[k], path.points[i]) ||
                best == std::numeric_limits<double>::infinity()) {
                best = std::min(best, DistanceTo(path.elements[k], path.points[i]));
            }
        }
        if (best > worst) {
            worst = best;
            if (worstVertex != nullptr) {
                *worstVertex = static_cast<int>(i);
            }
        }
    }
    return worst;
}

/// Every fitted curve keeps its own input points within tol (its ends may have been handed to
/// the transitions beside it, so those count too).
inline void ExpectFittedCurvesWithin(const ydpath::SmoothedPath& path, double tol) {
    for (size_t k = 0; k < path.elements.size(); ++k) {
        const ydpath::Element& e = path.elements[k];
        if (e.kind != ydpath::ElementKind::Curve) {
            continue;
        }
        for (int i = e.firstPoint; i <= e.lastPoint; ++i) {
            double d = DistanceTo(e, path.points[i]);
            for (size_t n : {k - 1, k + 1}) {
                if (n < path.elements.size()) {
                    d = std::min(d, DistanceTo(path.elements[n], path.points[i]));
                }
            }
            EXPECT_LE(d, tol * (1.0 + 1e-9))
                << "input point " << i << " of curve element " << k + 1 << " (points "
                << e.firstPoint << "-" << e.lastPoint << ")";
        }
    }
}

/// Consecutive elements meet in position (to posTol) and direction (to angTol radians),
/// except in direction at the vertices kept sharp on purpose ("stop"), which are counted.
inline int ExpectContinuous(const ydpath::SmoothedPath& path, double posTol = 1e-9,
                            double angTol = 1e-6) {
    std::vector<YdPoint> stopVertices;
    for (const ydpath::Join& j : path.joins) {
        if (j.how == "stop") {
            stopVertices.push_back(path.points[j.vertex]);
        }
    }
    for (size_t k = 1; k < path.elements.size(); ++k) {
        const ydpath::Element& a = path.elements[k - 1];
        const ydpath::Element& b = path.elements[k];
        const YdPoint pa = GeomAt(a, 1.0);
        const YdPoint pb = GeomAt(b, 0.0);
        EXPECT_LE(Dist(pa, pb), posTol)
            << "gap between elements " << k << " (" << ydpath::KindName(a.kind) << ") and " << k + 1
            << " (" << ydpath::KindName(b.kind) << ")";
        bool stop = false;
        for (const YdPoint& v : stopVertices) {
            stop = stop || Dist(v, pa) <= posTol;
        }
        if (!stop) {
            EXPECT_LE(Angle(GeomTangent(a, 1.0), GeomTangent(b, 0.0)), angTol)
                << "kink between elements " << k << " (" << ydpath::KindName(a.kind) << ") and "
                << k + 1 << " (" << ydpath::KindName(b.kind) << ")";
        }
    }
    return static_cast<int>(stopVertices.size());
}

/// Largest distance of the smoothed path from the input polyline (it must not wander off).
inline double PathToInputDistance(const ydpath::SmoothedPath& path) {
    double worst = 0.0;
    for (const ydpath::Element& e : path.elements) {
        for (int i = 0; i <= 50; ++i) {
            const YdPoint p = GeomAt(e, i / 50.0);
            double best = std::numeric_limits<double>::infinity();
            for (size_t v = 1; v < path.points.size(); ++v) {
                best = std::min(best, SegDist(p, path.points[v - 1], path.points[v]));
            }
            worst = std::max(worst, best);
        }
    }
    return worst;
}

/// A fresh empty folder for one test.
inline std::filesystem::path TempDir(const std::string& name) {
    const std::filesystem::path dir = std::filesystem::temp_directory_path() /
                                      ("ydpath-test-" + std::to_string(::getpid()) + "-" + name);
    std::filesystem::remove_all(dir);
    std::filesystem::create_directories(dir);
    return dir;
}

}  // namespace ydtest
