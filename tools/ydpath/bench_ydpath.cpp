// How long ydpath takes to smooth long paths: 10000 short moves should take a few seconds at
// most. Run: build/release/tools/ydpath/bench_ydpath

#include <benchmark/benchmark.h>

#include <cmath>
#include <sstream>
#include <vector>

#include "PathReader.h"
#include "Smoother.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

// A wavy contour of n short moves (0.3 long, rounded to 4 decimals like a post-processor's
// output), with a sharp corner every 2000 moves and a long straight move after each corner.
std::vector<YdPoint> WavyPath(int n) {
    std::vector<YdPoint> pts;
    double x = 0.0;
    double y = 0.0;
    double heading = 0.0;
    for (int i = 0; i <= n; ++i) {
        if (i > 0 && i % 2000 == 0) {
            heading += 0.5 * kPi;  // a sharp corner, then a long straight move
            x += 15.0 * std::cos(heading);
            y += 15.0 * std::sin(heading);
            pts.emplace_back(std::round(x * 1e4) / 1e4, std::round(y * 1e4) / 1e4, 0.0);
        }
        const double bend = 0.04 * std::sin(i * 2.0 * kPi / 300.0);
        heading += bend;
        x += 0.3 * std::cos(heading);
        y += 0.3 * std::sin(heading);
        pts.emplace_back(std::round(x * 1e4) / 1e4, std::round(y * 1e4) / 1e4, 0.0);
    }
    return pts;
}

void BM_SmoothShortMoves(benchmark::State& state) {
    const std::vector<YdPoint> pts = WavyPath(static_cast<int>(state.range(0)));
    ydpath::SmoothOptions opt;
    opt.tolerance = 0.01;
    size_t elements = 0;
    double deviation = 0.0;
    for (auto _ : state) {
        const ydpath::SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
        elements = path.elements.size();
        deviation = path.maxDeviation();
        benchmark::DoNotOptimize(elements);
    }
    state.counters["segments"] = static_cast<double>(pts.size() - 1);
    state.counters["elements"] = static_cast<double>(elements);
    state.counters["maxDeviation"] = deviation;
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(pts.size() - 1));
}
BENCHMARK(BM_SmoothShortMoves)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_SmoothBundledSample(benchmark::State& state) {
    std::istringstream in(ydpath::BundledSampleText());
    const ydpath::InputProgram program = ydpath::ReadGcode(in, ydpath::BundledSampleName());
    ydpath::SmoothOptions opt;
    for (auto _ : state) {
        const ydpath::SmoothResult result = ydpath::SmoothProgram(program, opt);
        benchmark::DoNotOptimize(result.maxDeviation());
    }
    state.counters["segments"] = static_cast<double>(program.segmentCount());
}
BENCHMARK(BM_SmoothBundledSample)->Unit(benchmark::kMillisecond);

void BM_ReadBundledSample(benchmark::State& state) {
    for (auto _ : state) {
        std::istringstream in(ydpath::BundledSampleText());
        const ydpath::InputProgram program = ydpath::ReadGcode(in, ydpath::BundledSampleName());
        benchmark::DoNotOptimize(program.pieces.size());
    }
}
BENCHMARK(BM_ReadBundledSample)->Unit(benchmark::kMicrosecond);

}  // namespace
