// SPDX-License-Identifier: MIT

#include "Outputs.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

#include "Plot.h"
#include "Walk.h"
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

bool Always(const OutputContext&) {
    return true;
}

bool Walked(const OutputContext& c) {
    return c.info.walk != nullptr;
}

bool HasCurves(const OutputContext& c) {
    for (const SmoothedPath& path : c.result.paths) {
        for (const Element& e : path.elements) {
            if (!e.exportFile.empty()) {
                return true;
            }
        }
    }
    return false;
}

void WriteReportFile(const OutputContext& c) {
    WriteTextFile(c.out.Stage("report.json"), BuildReport(c.program, c.result, c.info).dump(2));
}

void WritePlotFile(const OutputContext& c) {
    std::ostringstream svg;
    WritePlot(svg, c.program, c.result, c.info);
    WriteTextFile(c.out.Stage("plot.svg"), svg.str());
}

void WriteWalkFile(const OutputContext& c) {
    std::ostringstream walk;
    WriteWalk(walk, *c.info.walk, c.info.unit);
    WriteTextFile(c.out.Stage("walk.txt"), walk.str());
}

// The sampled export of every curve, by the library's own export.
void WriteCurveFiles(const OutputContext& c) {
    for (const SmoothedPath& path : c.result.paths) {
        for (const Element& e : path.elements) {
            if (e.exportFile.empty()) {
                continue;
            }
            const std::filesystem::path file = c.out.Stage(e.exportFile);
            YdCurveFitFilter::exportCurve(e.curve.get(), file.string(), ExportSampleCount(e));
            // The export reports nothing; a file that is not there was not written.
            if (!std::filesystem::exists(file)) {
                throw std::runtime_error("cannot write " + (c.out.dir() / e.exportFile).string());
            }
        }
    }
}

}  // namespace

const std::vector<OutputWriter>& OutputWriters() {
    static const std::vector<OutputWriter> writers = {
        {"report.json", Always, WriteReportFile},
        {"plot.svg", Always, WritePlotFile},
        {"walk.txt", Walked, WriteWalkFile},
        {"curves/", HasCurves, WriteCurveFiles},
    };
    return writers;
}

}  // namespace ydpath
