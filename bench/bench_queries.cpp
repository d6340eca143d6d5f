// SPDX-License-Identifier: MIT

// Speed of the curve queries on a cubic with 100 control points: point inversion with and
// without a start value, the two arc lengths and the curvature.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// A tool-path-like cubic: 100 points of a gently winding space path, interpolated, which gives
// exactly 100 control points.
std::unique_ptr<YdBSplineCurve> MakeCurve() {
    std::vector<YdPoint> pts;
    const int count = 100;
    for (int i = 0; i < count; ++i) {
        const double t = static_cast<double>(i) / (count - 1);
        const double w = 2.0 * kPi * t;
        pts.emplace_back(100.0 * t + 3.0 * std::sin(3.0 * w), 8.0 * std::sin(2.0 * w + 0.3),
                         2.0 * std::cos(5.0 * w));
    }
    return std::unique_ptr<YdBSplineCurve>(YdBSplineCurve::CreateInterpolateCurve(pts, false));
}

struct Query {
    YdPoint point;
    double param;
};

// Points within about a unit of the curve, with the parameter they were made from.
std::vector<Query> MakeQueries(const YdBSplineCurve& c) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::uniform_real_distribution<double> off(-0.5, 0.5);
    std::vector<Query> queries;
    for (int i = 0; i < 256; ++i) {
        const double u = unit(rng);
        const YdPoint on = c.Evaluate(u);
        queries.push_back({YdPoint(on[0] + off(rng), on[1] + off(rng), on[2] + off(rng)), u});
    }
    return queries;
}

void BM_FindNearestPoint_NoStart(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    const std::vector<Query> queries = MakeQueries(*c);
    std::size_t i = 0;
    for (auto _ : state) {
        double u = 0.0;
        YdPoint q;
        const bool ok = c->FindNearestPoint(queries[i].point, u, q);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(u);
        i = (i + 1) % queries.size();
    }
}
BENCHMARK(BM_FindNearestPoint_NoStart);

void BM_FindNearestPoint_GoodStart(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    const std::vector<Query> queries = MakeQueries(*c);
    // Start values as a caller walking the curve has them: the projection found a moment ago.
    std::vector<double> starts;
    for (const Query& q : queries) {
        double u = 0.0;
        YdPoint p;
        c->FindNearestPoint(q.point, u, p);
        starts.push_back(u);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        double u = 0.0;
        YdPoint q;
        double u0 = starts[i];
        const bool ok = c->FindNearestPoint(queries[i].point, u, q, &u0);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(u);
        i = (i + 1) % queries.size();
    }
}
BENCHMARK(BM_FindNearestPoint_GoodStart);

void BM_FindNearestPoint_NearbyStart(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    const std::vector<Query> queries = MakeQueries(*c);
    std::size_t i = 0;
    for (auto _ : state) {
        double u = 0.0;
        YdPoint q;
        // The parameter the query was made from: near, but not the foot point.
        double u0 = queries[i].param;
        const bool ok = c->FindNearestPoint(queries[i].point, u, q, &u0);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(u);
        i = (i + 1) % queries.size();
    }
}
BENCHMARK(BM_FindNearestPoint_NearbyStart);

void BM_Length_Gauss(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    for (auto _ : state) {
        benchmark::DoNotOptimize(c->Length(0.0, 1.0, true));
    }
}
BENCHMARK(BM_Length_Gauss)->Unit(benchmark::kMicrosecond);

void BM_Length_Romberg(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    for (auto _ : state) {
        benchmark::DoNotOptimize(c->Length(0.0, 1.0, 1e-6));
    }
}
BENCHMARK(BM_Length_Romberg)->Unit(benchmark::kMicrosecond);

void BM_CalculateCurvature(benchmark::State& state) {
    const std::unique_ptr<YdBSplineCurve> c = MakeCurve();
    std::vector<double> params;
    for (int i = 0; i < 1024; ++i) {
        params.push_back((i + 0.5) / 1024.0);
    }
    std::size_t i = 0;
    for (auto _ : state) {
        double k = 0.0;
        const bool ok = c->CalculateCurvature(params[i], k);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(k);
        i = (i + 1) % params.size();
    }
}
BENCHMARK(BM_CalculateCurvature);

}  // namespace
