// SPDX-License-Identifier: MIT

// Speed of the least-squares approximation with fairing on smooth open paths, and of the
// chord-distance Newton step along a fitted curve.
//
// Counters: ctrl_pts is the control-point count the search settles on, max_dist the largest
// point distance measured as the search measures it (a length; the tolerance 1e-4 is a
// squared distance, so the bound is 0.01), peak_rss_MB the process's peak resident size so
// far (run one size alone with --benchmark_filter to read its own peak).

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdTestCurves.h"

namespace {

// A three-petal rose about 100 units across with a gentle z wave, open (0.9 of the full
// sweep), with optional uniform noise: the tests' rose path.
std::vector<YdPoint> RosePath(int m, double noise) {
    return ydtest::RosePath(m, 0.9 * ydtest::kPi, noise, 12345);
}

// The largest point distance as the search measures it.
double MaxDistance(const YdBSplineCurve& c, const std::vector<YdPoint>& pts) {
    return std::sqrt(ydtest::SearchMaxSquaredError(c, pts));
}

double PeakRssMB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

// Arguments: point count, noise in thousandths (0 or 2).
void BM_CreateApproximateCurve(benchmark::State& state) {
    const int m = static_cast<int>(state.range(0));
    const double noise = static_cast<double>(state.range(1)) * 1e-3;
    const std::vector<YdPoint> pts = RosePath(m, noise);
    int count = 0;
    double maxDist = 0.0;
    for (auto _ : state) {
        YdBSplineCurve* c = YdBSplineCurve::CreateApproximateCurve(pts, false, 1e-4);
        benchmark::DoNotOptimize(c);
        if (c != nullptr) {
            count = c->GetNumOfCtrlPnts();
            state.PauseTiming();
            maxDist = MaxDistance(*c, pts);
            state.ResumeTiming();
        }
        delete c;
    }
    state.counters["ctrl_pts"] = count;
    state.counters["max_dist"] = maxDist;
    state.counters["peak_rss_MB"] = PeakRssMB();
}
BENCHMARK(BM_CreateApproximateCurve)
    ->Args({200, 0})
    ->Args({200, 2})
    ->Args({1000, 0})
    ->Args({1000, 2})
    ->Args({10000, 0})
    ->Args({10000, 2})
    ->Unit(benchmark::kMillisecond);

// One Newton step of 0.1 along a fitted curve; the walk restarts at the start at the end.
void BM_InterpolateByNewtonIter(benchmark::State& state) {
    const std::vector<YdPoint> pts = RosePath(1000, 0.0);
    YdCurveFitFilter filter(pts);
    if (!filter.doFit(1e-4)) {
        state.SkipWithError("fit failed");
        return;
    }
    double u = filter.getCurve()->startParam();
    long steps = 0;
    long restarts = 0;
    for (auto _ : state) {
        double next = 0.0;
        if (filter.interpolateByNewtonIter(u, 0.1, next, 1e-6)) {
            u = next;
        } else {
            u = filter.getCurve()->startParam();
            ++restarts;
        }
        ++steps;
        benchmark::DoNotOptimize(u);
    }
    state.counters["restarts"] = static_cast<double>(restarts);
    delete filter.getCurve();
}
BENCHMARK(BM_InterpolateByNewtonIter);

}  // namespace
