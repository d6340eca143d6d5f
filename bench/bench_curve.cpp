// SPDX-License-Identifier: MIT

// Speed of curve evaluation, basis functions and global interpolation.
// Targets on the reference machine: Evaluate(u) median <= 50 ns, with two derivatives
// <= 100 ns; interpolation of 1000 points <= 10 ms, of 10000 points <= 100 ms and 100 MB peak.

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

constexpr int kParamCount = 4096;

// A clamped cubic with 100 control points and uniform interior knots.
YdBSplineCurve MakeCubic() {
    const int n = 100;
    const int p = 3;
    std::vector<double> k(p + 1, 0.0);
    for (int i = 1; i < n - p; ++i) {
        k.push_back(static_cast<double>(i) / (n - p));
    }
    k.insert(k.end(), p + 1, 1.0);
    YdKnotVec kv;
    kv.SetKnots(k);
    std::mt19937 rng(17);
    std::uniform_real_distribution<double> uni(-10.0, 10.0);
    std::vector<YdPoint> pts;
    for (int i = 0; i < n; ++i) {
        pts.emplace_back(uni(rng), uni(rng), uni(rng));
    }
    return YdBSplineCurve(kv, pts, p, false);
}

std::vector<double> RandomParams() {
    std::mt19937 rng(23);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    std::vector<double> u(kParamCount);
    for (double& v : u) {
        v = uni(rng);
    }
    return u;
}

std::vector<YdPoint> PathPoints(int m) {
    std::vector<YdPoint> pts;
    pts.reserve(static_cast<size_t>(m));
    for (int i = 0; i < m; ++i) {
        const double t = 0.01 * i;
        pts.emplace_back(50 * std::cos(t) + 0.3 * t, 30 * std::sin(1.7 * t), 0.05 * t);
    }
    return pts;
}

void BM_Evaluate(benchmark::State& state) {
    const YdBSplineCurve c = MakeCubic();
    const std::vector<double> u = RandomParams();
    size_t i = 0;
    for (auto _ : state) {
        YdPoint pt = c.Evaluate(u[i]);
        benchmark::DoNotOptimize(pt);
        i = (i + 1) % u.size();
    }
}
BENCHMARK(BM_Evaluate)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_EvaluateTwoDerivatives(benchmark::State& state) {
    const YdBSplineCurve c = MakeCubic();
    const std::vector<double> u = RandomParams();
    std::vector<YdVector> derivs(2);
    YdPoint pt;
    size_t i = 0;
    for (auto _ : state) {
        c.Evaluate(u[i], 2, pt, derivs);
        benchmark::DoNotOptimize(pt);
        benchmark::DoNotOptimize(derivs.data());
        i = (i + 1) % u.size();
    }
}
BENCHMARK(BM_EvaluateTwoDerivatives)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_BasisFunctionValues(benchmark::State& state) {
    const YdBSplineCurve c = MakeCubic();
    const std::vector<double> u = RandomParams();
    const int numDerivs = static_cast<int>(state.range(0));
    std::vector<std::vector<double>> ders;
    int span = 0;
    size_t i = 0;
    for (auto _ : state) {
        YdNurbsHelper::GetBasisFunctionValue(c.KnotVec(), 3, numDerivs, u[i], ders, span);
        benchmark::DoNotOptimize(ders.data());
        i = (i + 1) % u.size();
    }
}
BENCHMARK(BM_BasisFunctionValues)->Arg(0)->Arg(2)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_CreateInterpolateCurve(benchmark::State& state) {
    const std::vector<YdPoint> pts = PathPoints(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        std::unique_ptr<YdBSplineCurve> c(YdBSplineCurve::CreateInterpolateCurve(pts, false));
        benchmark::DoNotOptimize(c.get());
        if (!c) {
            state.SkipWithError("interpolation failed");
            break;
        }
    }
    // Peak resident memory of the whole process so far (the largest size runs last).
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    state.counters["peak_MB"] = static_cast<double>(usage.ru_maxrss) / 1024.0;
}
BENCHMARK(BM_CreateInterpolateCurve)
    ->Arg(200)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
