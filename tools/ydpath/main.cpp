// SPDX-License-Identifier: MIT

// ydpath: smooths a tool path (G-code or a point file) with YdNurbsLib and shows what it did.

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "App.h"

namespace {

// The command line: every option writes straight into `opt`, `format` and `quietProgress`.
void AddOptions(CLI::App& app, ydpath::AppOptions& opt, std::string& format, bool& quietProgress) {
    app.description(
        "ydpath: smooths a tool path with YdNurbsLib the way a motion controller's host does.\n"
        "Runs of short moves become fitted B-spline curves, long moves stay lines, sharp corners\n"
        "between lines get tangent arcs, and curves meet lines through transition curves, all\n"
        "within a distance tolerance both ways round. Writes a summary to stdout and\n"
        "report.json, plot.svg and the sampled curves into the output folder. Without INPUT it\n"
        "runs on a bundled sample.");
    app.add_option("INPUT", opt.input,
                   "G-code (.nc .ngc .gcode .tap) or point file (one 'x y z' line per point)")
        ->check(CLI::ExistingFile);
    app.add_option("--format", format, "how to read INPUT: auto (by extension), gcode or points")
        ->check(CLI::IsMember({"auto", "gcode", "points"}))
        ->capture_default_str();
    app.add_option("--tol", opt.smooth.tolerance,
                   "largest deviation between the smoothed path and the input, either way round, "
                   "a distance (mm for G-code)")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--corner-tol", opt.smooth.cornerTolerance,
                   "largest distance of a rounded corner from the input corner, at most --tol "
                   "(default: --tol)")
        ->check(CLI::PositiveNumber);
    app.add_option("--max-seg", opt.smooth.maxSegment,
                   "longest segment that may become part of a fitted curve; longer ones stay lines")
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_option("--max-turn", opt.smooth.maxTurnDegrees,
                   "largest turn (degrees) between two segments of one fitted curve; sharper "
                   "turns are corners")
        ->check(CLI::Range(0.0, 179.0))
        ->capture_default_str();
    app.add_option("--min-points", opt.smooth.minCurvePoints,
                   "shortest run of points fitted with a curve")
        ->check(CLI::Range(5, 500))
        ->capture_default_str();
    app.add_option("--max-points", opt.smooth.maxCurvePoints,
                   "longest run of points fitted by a single curve (longer runs are chained)")
        ->check(CLI::Range(5, 500))
        ->capture_default_str();
    app.add_option("-o,--out", opt.outDir, "output folder")->capture_default_str();
    app.add_option("--walk", opt.walkStep,
                   "also write walk.txt: the points visited stepping this distance along the "
                   "smoothed path")
        ->check(CLI::PositiveNumber);
    app.add_flag("--no-progress", quietProgress, "no progress on stderr even on a terminal");
    app.set_version_flag("--version", "ydpath 0.1.0");
}

}  // namespace

int main(int argc, char** argv) {
    ydpath::AppOptions opt;
    CLI::App app{"", "ydpath"};
    std::string format = "auto";
    bool quietProgress = false;
    AddOptions(app, opt, format, quietProgress);
    const std::map<std::string, ydpath::InputFormat> formats = {
        {"auto", ydpath::InputFormat::Auto},
        {"gcode", ydpath::InputFormat::Gcode},
        {"points", ydpath::InputFormat::Points}};
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e);
    }
    opt.format = formats.at(format);

    std::ostream* progress = (!quietProgress && ::isatty(fileno(stderr))) ? &std::cerr : nullptr;
    try {
        ydpath::RunApp(opt, std::cout, progress);
    } catch (const ydpath::InputError& e) {
        std::cerr << "ydpath: error: " << e.what() << "\n";
        return 1;
    } catch (const std::filesystem::filesystem_error& e) {
        std::cerr << "ydpath: error: cannot write the output: " << e.what() << "\n";
        return 1;
    } catch (const std::invalid_argument& e) {
        std::cerr << "ydpath: error: " << e.what() << "\n";
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "ydpath: error: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
