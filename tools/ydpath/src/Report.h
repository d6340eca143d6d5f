// SPDX-License-Identifier: MIT

#pragma once

// What a run produced, as report.json, as the summary table, and as the sampled export of
// every fitted curve.

#include <iosfwd>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "PathReader.h"
#include "Smoother.h"
#include "Walk.h"

namespace ydpath {

struct RunInfo {
    std::string input;     ///< as shown to the user
    bool bundled = false;  ///< the bundled sample
    std::string unit;      ///< "mm", or empty for a unitless point file
    SmoothOptions options;
    double seconds = 0.0;  ///< time taken by the smoothing
    const WalkResult* walk = nullptr;
};

/// Names the export file of every curve and transition ("curves/p001-e003-curve.txt") and
/// returns how many there are.
int AssignExportFiles(SmoothResult& result);
/// Samples per exported curve.
int ExportSampleCount(const Element& e);

nlohmann::ordered_json BuildReport(const InputProgram& program, const SmoothResult& result,
                                   const RunInfo& info);

/// The table printed on stdout.
void PrintSummary(std::ostream& out, const InputProgram& program, const SmoothResult& result,
                  const RunInfo& info);

}  // namespace ydpath
