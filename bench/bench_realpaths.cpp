// SPDX-License-Identifier: MIT

// Real tool paths, fitted and walked the way a controller's host uses the library: each run is
// cut into pieces of at most kPiece points, every piece is fitted at a distance of 0.01
// (squared tolerance 1e-4) and then walked in steps of 0.5 length units. The paths live beside
// the project (../shared/realpaths); without them no benchmark is registered.
//
// Counters: pts (points fitted), ctrl (control points of all pieces), maxdist (largest
// distance of a point from its piece's curve), steps (walk steps per iteration).

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdRealPaths.h"
#include "YdTestCurves.h"

namespace {

constexpr std::size_t kPiece = 300;
constexpr double kTolerance = 1e-4;  // squared: a distance of 0.01
constexpr double kStep = 0.5;

std::vector<std::vector<YdPoint>> Pieces(const std::vector<YdPoint>& run) {
    std::vector<std::vector<YdPoint>> pieces;
    for (std::size_t i = 0; i + 1 < run.size(); i += kPiece - 1) {
        const std::size_t end = std::min(run.size(), i + kPiece);
        pieces.emplace_back(run.begin() + static_cast<std::ptrdiff_t>(i),
                            run.begin() + static_cast<std::ptrdiff_t>(end));
    }
    return pieces;
}

// The largest point distance as the search measures it.
double MaxDistance(const YdBSplineCurve& c, const std::vector<YdPoint>& pts) {
    return std::sqrt(ydtest::SearchMaxSquaredError(c, pts));
}

void BM_FitRealRun(benchmark::State& state, const std::string& path) {
    const std::vector<std::vector<YdPoint>> pieces = Pieces(ydtest::LoadPointFile(path));
    double ctrl = 0.0;
    double pts = 0.0;
    double maxdist = 0.0;
    for (auto _ : state) {
        ctrl = 0.0;
        pts = 0.0;
        maxdist = 0.0;
        for (const std::vector<YdPoint>& piece : pieces) {
            std::unique_ptr<YdBSplineCurve> c(
                YdBSplineCurve::CreateApproximateCurve(piece, false, kTolerance));
            benchmark::DoNotOptimize(c.get());
            if (c) {
                ctrl += c->GetNumOfCtrlPnts();
                pts += static_cast<double>(piece.size());
                state.PauseTiming();
                maxdist = std::max(maxdist, MaxDistance(*c, piece));
                state.ResumeTiming();
            }
        }
    }
    state.counters["pts"] = pts;
    state.counters["ctrl"] = ctrl;
    state.counters["maxdist"] = maxdist;
    state.SetLabel(std::filesystem::path(path).stem().string());
}

void BM_WalkRealRun(benchmark::State& state, const std::string& path) {
    std::vector<std::unique_ptr<YdBSplineCurve>> curves;
    for (const std::vector<YdPoint>& piece : Pieces(ydtest::LoadPointFile(path))) {
        curves.emplace_back(YdBSplineCurve::CreateApproximateCurve(piece, false, kTolerance));
    }
    double steps = 0.0;
    for (auto _ : state) {
        steps = 0.0;
        for (const std::unique_ptr<YdBSplineCurve>& c : curves) {
            if (!c) {
                continue;
            }
            YdCurveFitFilter filter;
            filter.setCurve(c.get());
            double u = c->startParam();
            double next = u;
            while (filter.interpolateByNewtonIter(u, kStep, next, 1e-6) && next > u) {
                u = next;
                steps += 1.0;
            }
            filter.setCurve(nullptr);
        }
        benchmark::DoNotOptimize(steps);
    }
    state.counters["steps"] = steps;
    state.SetLabel(std::filesystem::path(path).stem().string());
}

// Every fourth run in name order: each kind of program is represented, and a full run of this
// program stays within a few minutes.
int RegisterRealRuns() {
    const std::vector<std::string> files = ydtest::RealPathFiles();
    int registered = 0;
    for (std::size_t i = 0; i < files.size(); i += 4) {
        const std::string name = "run" + std::to_string(i);
        benchmark::RegisterBenchmark(("BM_FitRealRun/" + name).c_str(), BM_FitRealRun, files[i])
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("BM_WalkRealRun/" + name).c_str(), BM_WalkRealRun, files[i])
            ->Unit(benchmark::kMillisecond);
        ++registered;
    }
    return registered;
}

const int kRegistered = RegisterRealRuns();

}  // namespace
