// SPDX-License-Identifier: MIT

// How long ydpath takes to smooth tool paths: a long synthetic contour, the bundled sample, and
// the whole set of real tool paths beside the project (../shared/realpaths, 117 files) with the
// bundled sample, in one process. Run: build/release/tools/ydpath/bench_ydpath

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <sstream>
#include <string>
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

struct NamedProgram {
    std::string name;
    ydpath::InputProgram program;
};

// Every real tool path (read once, not timed) and the bundled sample.
std::vector<NamedProgram> RealPathSet() {
    std::vector<NamedProgram> set;
    std::error_code ec;
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(YDNURBS_REALPATHS_DIR, ec)) {
        if (entry.path().extension() == ".txt") {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& f : files) {
        set.push_back({f.stem().string(), ydpath::ReadPathFile(f.string())});
    }
    std::istringstream in(ydpath::BundledSampleText());
    set.push_back({"bundled sample", ydpath::ReadGcode(in, ydpath::BundledSampleName())});
    return set;
}

// The whole set smoothed in one go, as the tool would, file after file. Counters: the time per
// 1000 input moves, the slowest file (named in the label), output elements per input move
// (compactness), and the largest deviation found (it must stay within the tolerance).
void BM_SmoothRealPathSet(benchmark::State& state) {
    const std::vector<NamedProgram> set = RealPathSet();
    const ydpath::SmoothOptions opt;
    long moves = 0;
    long elements = 0;
    double deviation = 0.0;
    double worstMs = 0.0;
    double totalMs = 0.0;
    std::string worst;
    for (auto _ : state) {
        moves = 0;
        elements = 0;
        for (const NamedProgram& p : set) {
            const auto t0 = std::chrono::steady_clock::now();
            const ydpath::SmoothResult r = ydpath::SmoothProgram(p.program, opt);
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - t0)
                    .count();
            totalMs += ms;
            if (ms > worstMs) {
                worstMs = ms;
                worst = p.name;
            }
            moves += r.segmentsIn();
            for (const ydpath::SmoothedPath& path : r.paths) {
                elements += static_cast<long>(path.elements.size());
            }
            deviation = std::max(deviation, r.maxDeviation());
        }
    }
    state.counters["files"] = static_cast<double>(set.size());
    state.counters["moves"] = static_cast<double>(moves);
    state.counters["ms_per_1000_moves"] =
        totalMs / static_cast<double>(state.iterations()) / (static_cast<double>(moves) / 1000.0);
    state.counters["elements_per_move"] =
        static_cast<double>(elements) / static_cast<double>(moves);
    state.counters["worst_file_ms"] = worstMs;
    state.counters["max_deviation"] = deviation;
    state.SetLabel("slowest: " + worst);
}

// Registered only when the real tool paths are beside the project.
const bool kRealPathSetRegistered = [] {
    std::error_code ec;
    if (!std::filesystem::exists(std::filesystem::path(YDNURBS_REALPATHS_DIR) / "README.md", ec)) {
        return false;
    }
    benchmark::RegisterBenchmark("BM_SmoothRealPathSet", BM_SmoothRealPathSet)
        ->Unit(benchmark::kMillisecond)
        ->Iterations(3);
    return true;
}();

}  // namespace
