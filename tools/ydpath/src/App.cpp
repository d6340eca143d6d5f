#include "App.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <ostream>
#include <sstream>
#include <stdexcept>

#include "Output.h"
#include "Plot.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

void WriteTextFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
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
    const InputProgram& program = outcome.program;

    RunInfo& info = outcome.info;
    info.input = options.input.empty() ? BundledSampleName() : options.input;
    info.bundled = options.input.empty();
    info.unit = program.unit;
    info.options = options.smooth;

    ProgressFn report;
    auto lastShown = std::chrono::steady_clock::now() - std::chrono::seconds(1);
    if (progress != nullptr) {
        // At most ten updates a second: a terminal is slow to draw.
        report = [progress, &lastShown](int done, int total, long segDone, long segTotal) {
            const auto now = std::chrono::steady_clock::now();
            if (now - lastShown < std::chrono::milliseconds(100) && segDone < segTotal) {
                return;
            }
            lastShown = now;
            const long percent = segTotal > 0 ? 100 * segDone / segTotal : 100;
            *progress << "\rydpath: smoothing piece " << std::min(done + 1, total) << "/" << total
                      << " of " << segTotal << " segments, " << percent << " %" << std::flush;
        };
    }
    const auto t0 = std::chrono::steady_clock::now();
    outcome.result = SmoothProgram(program, options.smooth, report);
    info.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    if (progress != nullptr) {
        *progress << "\r\033[K" << std::flush;
    }
    if (options.walkStep > 0.0) {
        outcome.walk = WalkPaths(outcome.result, options.walkStep);
        info.walk = &outcome.walk;
    }

    StagedOutput out(options.outDir);
    outcome.exportedCurves = AssignExportFiles(outcome.result);
    for (const SmoothedPath& path : outcome.result.paths) {
        for (const Element& e : path.elements) {
            if (e.exportFile.empty()) {
                continue;
            }
            const std::filesystem::path file = out.Stage(e.exportFile);
            YdCurveFitFilter::exportCurve(e.curve.get(), file.string(), ExportSampleCount(e));
            // The export reports nothing; a file that is not there was not written.
            if (!std::filesystem::exists(file)) {
                throw std::runtime_error("cannot write " + (out.dir() / e.exportFile).string());
            }
        }
    }
    WriteTextFile(out.Stage("report.json"), BuildReport(program, outcome.result, info).dump(2));
    {
        std::ostringstream svg;
        WritePlot(svg, program, outcome.result, info);
        WriteTextFile(out.Stage("plot.svg"), svg.str());
    }
    if (info.walk != nullptr) {
        std::ostringstream walk;
        WriteWalk(walk, outcome.walk, info.unit);
        WriteTextFile(out.Stage("walk.txt"), walk.str());
    }
    out.Commit({"walk.txt", "curves"});
    outcome.written = {"report.json", "plot.svg"};
    if (info.walk != nullptr) {
        outcome.written.push_back("walk.txt");
    }
    if (outcome.exportedCurves > 0) {
        outcome.written.push_back("curves/");
    }

    PrintSummary(summary, program, outcome.result, info);
    for (const std::string& w : program.warnings) {
        summary << "note: " << w << "\n";
    }
    summary << "wrote " << options.outDir << "/: ";
    for (size_t i = 0; i < outcome.written.size(); ++i) {
        summary << (i ? ", " : "") << outcome.written[i];
    }
    if (outcome.exportedCurves > 0) {
        summary << " (" << outcome.exportedCurves << " sampled curves)";
    }
    summary << "\n";
    info.walk = nullptr;  // the outcome may be moved on return, and the pointer would not follow
    return outcome;
}

}  // namespace ydpath
