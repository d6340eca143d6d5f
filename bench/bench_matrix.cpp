// SPDX-License-Identifier: MIT

// Dense pivoted LU against the compact banded-and-bordered LU on the system of a closed cubic
// interpolation (collocation band of 4, seam rows in a border of 4). The dense matrix is
// timed at 500 unknowns only: at 10000 it would need 800 MB and hours.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <random>
#include <utility>
#include <vector>

#include "YdNurbsLib/geometry/YdMatrix.h"

// The compact solver is internal to the library (its symbols are not exported), so the
// benchmark compiles its own copy.
#include "../src/geometry/YdBorderedBandLU.cpp"

namespace {

constexpr int kDegree = 3;

/// Entries (row, column, value) of the test system with n unknowns.
std::vector<std::pair<std::pair<int, int>, double>> ClosedCubicSystem(int n) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(0.8, 1.2);
    const double basis[kDegree + 1] = {1.0 / 6.0, 2.0 / 3.0, 1.0 / 6.0, 0.0};
    std::vector<std::pair<std::pair<int, int>, double>> entries;
    for (int i = 0; i < n - kDegree; ++i) {
        for (int k = 0; k <= kDegree; ++k) {
            entries.push_back({{i, i + k}, basis[k] * u(rng)});
        }
    }
    for (int k = 0; k < kDegree; ++k) {
        entries.push_back({{n - kDegree + k, k}, 1.0});
        entries.push_back({{n - kDegree + k, n - kDegree + k}, -1.0});
    }
    return entries;
}

std::vector<double> RightHandSide(int n) {
    std::vector<double> b(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) {
        b[i] = (i % 7) - 3.0;
    }
    return b;
}

void BM_DensePivotedLU(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto entries = ClosedCubicSystem(n);
    const std::vector<double> rhs = RightHandSide(n);
    for (auto _ : state) {
        YdMatrix a(n, n);
        for (const auto& e : entries) {
            a[e.first.first][e.first.second] = e.second;
        }
        std::vector<int> pivots(static_cast<std::size_t>(n));
        std::vector<double> b(rhs);
        const bool ok = a.LUDecompose(pivots) && a.GetSolutionAfterLUDecompose(pivots, b.data());
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(b.data());
    }
}

void BM_CompactPivotedLU(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    const auto entries = ClosedCubicSystem(n);
    const std::vector<double> rhs = RightHandSide(n);
    for (auto _ : state) {
        YdBorderedBandLU a(n, kDegree + 1);
        for (const auto& e : entries) {
            a.Set(e.first.first, e.first.second, e.second);
        }
        std::vector<int> pivots(static_cast<std::size_t>(n));
        std::vector<double> b(rhs);
        const bool ok = a.LUDecompose(pivots) && a.GetSolutionAfterLUDecompose(pivots, b.data());
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(b.data());
    }
}

}  // namespace

BENCHMARK(BM_DensePivotedLU)->Arg(500)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CompactPivotedLU)->Arg(500)->Arg(10000)->Unit(benchmark::kMillisecond);
