// SPDX-License-Identifier: MIT

// Speed of the path filters: rounding one corner and walking the arc, and the curvature
// extremes search on a fitted tool path.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace {

constexpr double kPi = 3.141592653589793;

// A three-petal rose r = 10 cos(3t) sampled at n points over one traversal.
std::vector<YdPoint> RosePath(int n) {
    std::vector<YdPoint> pts;
    pts.reserve(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        const double t = kPi * (0.02 + 0.96 * i / (n - 1));
        const double r = 10.0 * std::cos(3.0 * t);
        pts.emplace_back(r * std::cos(t), r * std::sin(t), 0.0);
    }
    return pts;
}

// The rose fitted with 60 control points; interpolation through 60 of its points when the fit
// is not available.
std::unique_ptr<YdBSplineCurve> RoseCurve() {
    const std::vector<YdPoint> pts = RosePath(400);
    std::unique_ptr<YdBSplineCurve> c(
        YdBSplineCurve::CreateApproximateCurve(pts, std::vector<int>(), 60, false));
    if (c == nullptr) {
        c.reset(YdBSplineCurve::CreateInterpolateCurve(RosePath(60), false));
    }
    return c;
}

void BM_ArcFitAndWalk(benchmark::State& state) {
    const YdPoint a(10.0, 0.0, 0.0);
    const YdPoint b(0.0, 0.0, 0.0);
    const YdPoint c(-4.0, 9.0, 1.0);
    long long steps = 0;
    for (auto _ : state) {
        YdArcFitFilter f(a, b, c);
        f.doFitArc(0.5);
        YdPoint q;
        f.getp1(q);
        YdPoint next;
        while (f.interpolate(q, 0.01, next, true)) {
            q = next;
            ++steps;
        }
        benchmark::DoNotOptimize(next);
    }
    state.counters["steps/iter"] =
        benchmark::Counter(static_cast<double>(steps), benchmark::Counter::kAvgIterations);
}
BENCHMARK(BM_ArcFitAndWalk);

void BM_ComputeExtremeCurvatures(benchmark::State& state) {
    std::unique_ptr<YdBSplineCurve> curve = RoseCurve();
    if (curve == nullptr) {
        state.SkipWithError("no rose curve");
        return;
    }
    YdCurveFitFilter f(std::vector<YdPoint>{});
    f.setCurve(curve.get());
    std::size_t found = 0;
    for (auto _ : state) {
        f.computeExtremeCurvatures();
        found = f.getLocalMaxCurvatures().size() + f.getLocalMinCurvatures().size();
        benchmark::DoNotOptimize(found);
    }
    state.counters["ctrl"] = curve->GetNumOfCtrlPnts();
    state.counters["extremes"] = static_cast<double>(found);
}
BENCHMARK(BM_ComputeExtremeCurvatures)->Unit(benchmark::kMillisecond);

void BM_CurvatureEvaluation(benchmark::State& state) {
    std::unique_ptr<YdBSplineCurve> curve = RoseCurve();
    if (curve == nullptr) {
        state.SkipWithError("no rose curve");
        return;
    }
    double u = 0.0;
    for (auto _ : state) {
        double k = 0.0;
        curve->CalculateCurvature(u, k);
        benchmark::DoNotOptimize(k);
        u += 1e-5;
        if (u > 1.0) {
            u = 0.0;
        }
    }
}
BENCHMARK(BM_CurvatureEvaluation);

}  // namespace
