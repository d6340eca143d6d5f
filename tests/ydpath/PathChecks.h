// SPDX-License-Identifier: MIT

#pragma once

// Independent checks of a smoothed path: its deviation from the input by the dense oracle of
// the test support (nothing of the tool's own measure), and its continuity from the elements'
// own geometry.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include <unistd.h>

#include "Smoother.h"
#include "YdPathOracle.h"

namespace ydtest {

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

/// Consecutive elements meet in position (to posTol) and direction (to angTol radians),
/// except in direction at the vertices kept sharp on purpose ("stop"), which are counted.
inline int ExpectContinuous(const ydpath::SmoothedPath& path, double posTol = 1e-9,
                            double angTol = 1e-6) {
    std::vector<YdPoint> stopVertices;
    for (const ydpath::Join& j : path.joins) {
        if (j.kind == ydpath::JoinKind::Stop) {
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

/// Distance from p to an element: dense samples, then golden-section search around the best.
inline double DistanceTo(const ydpath::Element& e, const YdPoint& p, int samples = 400) {
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

/// The oracle's sample spacing for a tolerance: between samples the distance can rise by at
/// most a quarter of the tolerance, and every sampled peak is refined.
inline double OracleStep(double tol) {
    return 0.5 * tol;
}

/// The smoothed path lies within tol of its input both ways round as the oracle measures it
/// (no slack beyond a relative 1e-9), and every deviation the tool reports is an honest upper
/// bound of what the oracle finds, and a tight one (its precision is 1/1000 of the tolerance;
/// the oracle's own sampling may miss up to a hundredth).
inline OracleResult ExpectWithinTolerance(const ydpath::SmoothedPath& path, double tol) {
    const OracleResult o = MeasureTwoSided(path, OracleStep(tol));
    EXPECT_LE(o.pathToInput, tol * (1 + 1e-9))
        << "element " << o.worstElement + 1 << " leaves its part of the input";
    EXPECT_LE(o.inputToPath, tol * (1 + 1e-9))
        << "input vertex " << o.worstVertex << " is off the smoothed path";
    // The tool and the oracle round differently: by a few units in the last place of the
    // coordinates.
    double scale = 0.0;
    for (const YdPoint& p : path.points) {
        scale = std::max({scale, std::fabs(p[0]), std::fabs(p[1]), std::fabs(p[2])});
    }
    const double rounding = 1e-9 * tol + 64.0 * std::numeric_limits<double>::epsilon() * scale;
    for (size_t k = 0; k < path.elements.size(); ++k) {
        const ydpath::TwoSidedDeviation& d = path.elements[k].deviation;
        const OracleElement& oe = o.elements[k];
        EXPECT_GE(d.pathToInput, oe.pathToInput - rounding) << "element " << k + 1;
        EXPECT_GE(d.inputToPath, oe.inputToPath - rounding) << "element " << k + 1;
        EXPECT_LE(d.pathToInput, oe.pathToInput + 0.01 * tol) << "element " << k + 1;
        EXPECT_LE(d.inputToPath, oe.inputToPath + 0.01 * tol) << "element " << k + 1;
    }
    EXPECT_LE(path.maxDeviation(), tol * (1 + 1e-9));
    return o;
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
