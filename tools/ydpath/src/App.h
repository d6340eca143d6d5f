// SPDX-License-Identifier: MIT

#pragma once

// One whole run of the tool, as the command line starts it: read, smooth, walk, write.

#include <iosfwd>
#include <string>
#include <vector>

#include "PathReader.h"
#include "Report.h"
#include "Smoother.h"
#include "Walk.h"

namespace ydpath {

struct AppOptions {
    std::string input;  ///< empty: the bundled sample
    InputFormat format = InputFormat::Auto;
    SmoothOptions smooth;
    std::string outDir = "ydpath-out";
    double walkStep = 0.0;  ///< 0: no walk
};

struct AppOutcome {
    InputProgram program;
    SmoothResult result;
    RunInfo info;  ///< its walk pointer is null on return; the walk is in `walk`
    WalkResult walk;
    std::vector<std::string> written;  ///< top-level entries written into the output folder
    int exportedCurves = 0;
};

/// Reads the input. Throws InputError, also for an input with nothing to smooth.
InputProgram ReadInput(const AppOptions& options);

/// Runs the whole tool: reads, smooths, walks, writes every output (all or nothing) and prints
/// the summary to `summary`. Progress goes to `progress` when it is not null. Throws InputError
/// for unreadable input and std::runtime_error (or a filesystem error) when the output cannot
/// be written; nothing is left half-written then.
AppOutcome RunApp(const AppOptions& options, std::ostream& summary, std::ostream* progress);

}  // namespace ydpath
