// SPDX-License-Identifier: MIT

#include "YdDenseReference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <unordered_map>

namespace ydtest {

namespace {

// The n + 1 evenly spaced sample positions over [a, b].
double SampleAt(double a, double b, int i, int n) {
    return a + (b - a) * i / n;
}

}  // namespace

Sample DenseMinimum(const std::function<double(double)>& f, double a, double b, int n) {
    Sample best{a, std::numeric_limits<double>::infinity()};
    for (int i = 0; i <= n; ++i) {
        const double x = SampleAt(a, b, i, n);
        const double v = f(x);
        if (v < best.value) {
            best = Sample{x, v};
        }
    }
    return best;
}

double GoldenSection(const std::function<double(double)>& f, double lo, double hi, bool maximum,
                     double width, int maxRounds) {
    const double g = (std::sqrt(5.0) - 1.0) / 2.0;
    double x1 = hi - g * (hi - lo);
    double x2 = lo + g * (hi - lo);
    double f1 = f(x1);
    double f2 = f(x2);
    for (int i = 0; i < maxRounds && hi - lo > width; ++i) {
        const bool keepLeft = maximum ? (f1 > f2) : (f1 < f2);
        if (keepLeft) {
            hi = x2;
            x2 = x1;
            f2 = f1;
            x1 = hi - g * (hi - lo);
            f1 = f(x1);
        } else {
            lo = x1;
            x1 = x2;
            f1 = f2;
            x2 = lo + g * (hi - lo);
            f2 = f(x2);
        }
    }
    return (lo + hi) / 2;
}

std::vector<double> SampledExtremes(const std::function<double(double)>& f, double a, double b,
                                    int n, bool maximum, double width) {
    std::vector<double> x(static_cast<std::size_t>(n) + 1);
    std::vector<double> v(x.size());
    for (int i = 0; i <= n; ++i) {
        x[static_cast<std::size_t>(i)] = SampleAt(a, b, i, n);
        v[static_cast<std::size_t>(i)] = f(x[static_cast<std::size_t>(i)]);
    }
    std::vector<double> out;
    for (std::size_t i = 1; i + 1 < x.size(); ++i) {
        const bool isMax = v[i] > v[i - 1] && v[i] >= v[i + 1];
        const bool isMin = v[i] < v[i - 1] && v[i] <= v[i + 1];
        if (maximum ? isMax : isMin) {
            out.push_back(GoldenSection(f, x[i - 1], x[i + 1], maximum, width));
        }
    }
    return out;
}

CurvePointNearest DenseNearestPoint(const YdBSplineCurve& c, const YdPoint& P, int samples) {
    const double a = c.startParam();
    const double b = c.endParam();
    const auto distance = [&c, &P](double u) { return (c.Evaluate(u) - P).Magnitude(); };
    const Sample best = DenseMinimum(distance, a, b, samples);
    const double step = (b - a) / samples;
    const double lo = std::max(a, best.x - step);
    const double hi = std::min(b, best.x + step);
    const double u = GoldenSection(distance, lo, hi, false);
    const double d = distance(u);
    if (d < best.value) {
        return CurvePointNearest{u, d};
    }
    return CurvePointNearest{best.x, best.value};
}

double DenseMaxSquaredDistance(const YdBSplineCurve& c, const std::vector<YdPoint>& pts,
                               double reach, int samples) {
    const double a = c.startParam();
    const double b = c.endParam();
    std::vector<double> us(static_cast<std::size_t>(samples) + 1);
    std::vector<YdPoint> ps(us.size());
    for (int i = 0; i <= samples; ++i) {
        us[static_cast<std::size_t>(i)] = SampleAt(a, b, i, samples);
        ps[static_cast<std::size_t>(i)] = c.Evaluate(us[static_cast<std::size_t>(i)]);
    }
    const auto key = [reach](double x, double y, double z) {
        const long long ix = static_cast<long long>(std::floor(x / reach)) & 0x1fffff;
        const long long iy = static_cast<long long>(std::floor(y / reach)) & 0x1fffff;
        const long long iz = static_cast<long long>(std::floor(z / reach)) & 0x1fffff;
        return (ix << 42) | (iy << 21) | iz;
    };
    std::unordered_map<long long, std::vector<int>> grid;
    for (std::size_t i = 0; i < ps.size(); ++i) {
        grid[key(ps[i][0], ps[i][1], ps[i][2])].push_back(static_cast<int>(i));
    }
    double worst = 0.0;
    for (const YdPoint& p : pts) {
        int best = -1;
        double bestD2 = std::numeric_limits<double>::infinity();
        for (int dx = -1; dx <= 1; ++dx) {
            for (int dy = -1; dy <= 1; ++dy) {
                for (int dz = -1; dz <= 1; ++dz) {
                    const auto it =
                        grid.find(key(p[0] + dx * reach, p[1] + dy * reach, p[2] + dz * reach));
                    if (it == grid.end()) {
                        continue;
                    }
                    for (int s : it->second) {
                        const double d2 = p.SquareDistanceToPoint(ps[static_cast<std::size_t>(s)]);
                        if (d2 < bestD2) {
                            bestD2 = d2;
                            best = s;
                        }
                    }
                }
            }
        }
        if (best < 0) {
            return std::numeric_limits<double>::infinity();
        }
        const double lo = us[static_cast<std::size_t>(std::max(best - 1, 0))];
        const double hi = us[static_cast<std::size_t>(std::min(best + 1, samples))];
        const auto d2 = [&c, &p](double u) { return p.SquareDistanceToPoint(c.Evaluate(u)); };
        const double refined = d2(GoldenSection(d2, lo, hi, false));
        worst = std::max(worst, std::min(refined, bestD2));
    }
    return worst;
}

}  // namespace ydtest
