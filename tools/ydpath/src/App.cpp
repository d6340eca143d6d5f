// SPDX-License-Identifier: MIT

#include "App.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "Outputs.h"

namespace ydpath {

namespace {

ProgressFn ProgressReporter(std::ostream* progress) {
    if (progress == nullptr) {
        return ProgressFn();
    }
    // At most ten updates a second: a terminal is slow to draw.
    auto lastShown = std::make_shared<std::chrono::steady_clock::time_point>(
        std::chrono::steady_clock::now() - std::chrono::seconds(1));
    return [progress, lastShown](int done, int total, long segDone, long segTotal) {
        const auto now = std::chrono::steady_clock::now();
        if (now - *lastShown < std::chrono::milliseconds(100) && segDone < segTotal) {
            return;
        }
        *lastShown = now;
        const long percent = segTotal > 0 ? 100 * segDone / segTotal : 100;
        *progress << "\rydpath: smoothing piece " << std::min(done + 1, total) << "/" << total
                  << " of " << segTotal << " segments, " << percent << " %" << std::flush;
    };
}

// Writes every output of the table (all or nothing) and lists what was written.
std::vector<std::string> WriteOutputs(const AppOutcome& outcome, const std::string& dir) {
    StagedOutput out(dir);
    const OutputContext context{outcome.program, outcome.result, outcome.info, out};
    std::vector<std::string> written;
    std::vector<std::string> stale;
    for (const OutputWriter& w : OutputWriters()) {
        std::string name = w.name;
        if (w.wanted(context)) {
            w.write(context);
            written.push_back(name);
        } else {
            if (!name.empty() && name.back() == '/') {
                name.pop_back();
            }
            stale.push_back(name);
        }
    }
    out.Commit(stale);
    return written;
}

void PrintOutcome(std::ostream& summary, const AppOutcome& outcome, const std::string& dir) {
    PrintSummary(summary, outcome.program, outcome.result, outcome.info);
    for (const std::string& w : outcome.program.warnings) {
        summary << "note: " << w << "\n";
    }
    summary << "wrote " << dir << "/: ";
    for (size_t i = 0; i < outcome.written.size(); ++i) {
        summary << (i ? ", " : "") << outcome.written[i];
    }
    if (outcome.exportedCurves > 0) {
        summary << " (" << outcome.exportedCurves << " sampled curves)";
    }
    summary << "\n";
}

}  // namespace

InputProgram ReadInput(const AppOptions& options) {
    InputProgram program;
    if (options.input.empty()) {
        std::istringstream in(BundledSampleText());
        program = ReadGcode(in, BundledSampleName());
    } else {
        program = ReadPathFile(options.input, options.format);
    }
    if (program.pieces.empty()) {
        throw InputError(program.name, 0,
                         program.gcode ? "no cutting moves (G1, G2 or G3) to smooth"
                                       : "fewer than two distinct points: nothing to smooth");
    }
    return program;
}

AppOutcome RunApp(const AppOptions& options, std::ostream& summary, std::ostream* progress) {
    const std::string problem = options.smooth.Check();
    if (!problem.empty()) {
        throw std::invalid_argument(problem);
    }
    AppOutcome outcome;
    outcome.program = ReadInput(options);
    RunInfo& info = outcome.info;
    info.input = options.input.empty() ? BundledSampleName() : options.input;
    info.bundled = options.input.empty();
    info.unit = outcome.program.unit;
    info.options = options.smooth;

    const auto t0 = std::chrono::steady_clock::now();
    outcome.result = SmoothProgram(outcome.program, options.smooth, ProgressReporter(progress));
    info.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (progress != nullptr) {
        *progress << "\r\033[K" << std::flush;
    }
    if (options.walkStep > 0.0) {
        outcome.walk = WalkPaths(outcome.result, options.walkStep);
        info.walk = &outcome.walk;
    }
    outcome.exportedCurves = AssignExportFiles(outcome.result);
    outcome.written = WriteOutputs(outcome, options.outDir);
    PrintOutcome(summary, outcome, options.outDir);
    info.walk = nullptr;  // the outcome may be moved on return, and the pointer would not follow
    return outcome;
}

}  // namespace ydpath
