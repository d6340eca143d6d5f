// SPDX-License-Identifier: MIT

#pragma once

// Everything a run writes into the output folder, one row per output. A new output is one
// writer (in its own file) plus one row in the table of Outputs.cpp.

#include <string>
#include <vector>

#include "Output.h"
#include "PathReader.h"
#include "Report.h"
#include "SmoothResult.h"

namespace ydpath {

/// What the writers get to see.
struct OutputContext {
    const InputProgram& program;
    const SmoothResult& result;
    const RunInfo& info;  ///< info.walk is set when the run walked the path
    StagedOutput& out;
};

struct OutputWriter {
    /// The top-level entry it writes in the output folder; a folder ends with '/'.
    const char* name;
    /// Whether this run has it (an output a run does not have is removed from the folder).
    bool (*wanted)(const OutputContext&);
    /// Writes it into the staging folder; throws when it cannot.
    void (*write)(const OutputContext&);
};

/// The outputs in the order they are listed to the user.
const std::vector<OutputWriter>& OutputWriters();

}  // namespace ydpath
