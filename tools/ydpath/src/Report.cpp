// SPDX-License-Identifier: MIT

#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>

#include "Deviation.h"

namespace ydpath {

namespace {

using Json = nlohmann::ordered_json;

constexpr double kPi = 3.14159265358979323846;

Json PointJson(const YdPoint& p) {
    return Json::array({p[0], p[1], p[2]});
}

int SourceLine(const SmoothedPath& path, int vertex) {
    if (vertex < 0 || vertex >= static_cast<int>(path.lines.size())) {
        return 0;
    }
    return path.lines[vertex];
}

void AddDeviation(Json& j, const char* larger, const TwoSidedDeviation& d, const char* toInput,
                  const char* toPath) {
    j[larger] = d.Larger();
    j[toInput] = d.pathToInput;
    j[toPath] = d.inputToPath;
}

void AddCurveJson(Json& j, const Element& e) {
    const YdBSplineCurve& c = *e.curve;
    if (e.kind == ElementKind::Curve) {
        j["fittedPoints"] = e.fittedPoints;
    }
    j["degree"] = c.Degree();
    j["parameterRange"] = Json::array({c.startParam(), c.endParam()});
    Json cps = Json::array();
    for (const YdPoint& p : c.CtrlPoints()) {
        cps.push_back(PointJson(p));
    }
    j["controlPoints"] = std::move(cps);
    j["knots"] = c.KnotVec().GetKnots();
    Json peaks = Json::array();
    for (const CurvaturePeak& p : e.peaks) {
        peaks.push_back({{"u", p.u},
                         {"curvature", p.curvature},
                         {"point", PointJson(p.point)},
                         {"significant", p.significant}});
    }
    j["localCurvatureMaxima"] = std::move(peaks);
    if (!e.exportFile.empty()) {
        j["export"] = e.exportFile;
        j["exportSamples"] = ExportSampleCount(e);
    }
}

Json ElementJson(const SmoothedPath& path, const Element& e, int index) {
    Json j;
    j["index"] = index;
    j["kind"] = KindName(e.kind);
    j["start"] = PointJson(e.start);
    j["end"] = PointJson(e.end);
    j["length"] = e.length;
    AddDeviation(j, "deviation", e.deviation, "pathToInput", "inputToPath");
    if (e.firstPoint >= 0) {
        j["inputPoints"] = Json::array({e.firstPoint, e.lastPoint});
        j["sourceLines"] =
            Json::array({SourceLine(path, e.firstPoint), SourceLine(path, e.lastPoint)});
    }
    j["maxCurvature"] = e.maxCurvature;
    if (e.kind != ElementKind::Line) {
        j["maxCurvatureAt"] = e.maxCurvatureU;
        j["minRadius"] = e.maxCurvature > 0.0 ? Json(1.0 / e.maxCurvature) : Json(nullptr);
    }
    if (CarriesArc(e.kind)) {
        j["center"] = PointJson(e.arc.center);
        j["radius"] = 0.5 * (e.arc.radiusStart + e.arc.radiusEnd);
        j["sweepDegrees"] = e.arc.sweep * 180.0 / kPi;
    }
    if (CarriesCurve(e.kind)) {
        AddCurveJson(j, e);
    }
    return j;
}

Json PathJson(const SmoothedPath& path, int index) {
    Json jp;
    jp["index"] = index;
    jp["kind"] = path.programArc ? "program-arc" : "polyline";
    jp["sourceLines"] = Json::array({path.firstLine, path.lastLine});
    jp["pointsIn"] = static_cast<int>(path.points.size());
    jp["segmentsIn"] = path.programArc ? 0 : path.segmentsIn();
    jp["inputLength"] = path.inputLength;
    double outLength = 0.0;
    for (const Element& e : path.elements) {
        outLength += e.length;
    }
    jp["outputLength"] = outLength;
    AddDeviation(jp, "maxDeviation", path.deviation, "maxPathToInput", "maxInputToPath");
    Json elements = Json::array();
    for (size_t i = 0; i < path.elements.size(); ++i) {
        elements.push_back(ElementJson(path, path.elements[i], static_cast<int>(i) + 1));
    }
    jp["elements"] = std::move(elements);
    Json joins = Json::array();
    for (const Join& j : path.joins) {
        joins.push_back({{"vertex", j.vertex},
                         {"sourceLine", SourceLine(path, j.vertex)},
                         {"turnDegrees", j.turnDegrees},
                         {"how", JoinKindName(j.kind)},
                         {"element", j.element >= 0 ? Json(j.element + 1) : Json(nullptr)}});
    }
    jp["joins"] = std::move(joins);
    return jp;
}

Json SummaryJson(const InputProgram& program, const SmoothResult& result, const RunInfo& info) {
    Json summary;
    summary["paths"] = program.polylineCount();
    summary["programArcs"] = program.arcCount();
    summary["segmentsIn"] = result.segmentsIn();
    summary["curves"] = result.count(ElementKind::Curve);
    summary["transitions"] = result.count(ElementKind::Transition);
    summary["lines"] = result.count(ElementKind::Line);
    summary["arcs"] = result.count(ElementKind::Arc);
    summary["stops"] = result.stops();
    AddDeviation(summary, "maxDeviation", result.deviation, "maxPathToInput", "maxInputToPath");
    summary["seconds"] = info.seconds;
    return summary;
}

Json WalkJson(const WalkResult& w) {
    return {{"step", w.step},
            {"points", static_cast<long>(w.points.size())},
            {"maxChordDeviation", w.maxChordDeviation},
            {"maxChordAt", {{"path", w.maxChordPath + 1}, {"element", w.maxChordElement + 1}}},
            {"shortestFullStep", w.shortestStep},
            {"longestFullStep", w.longestStep},
            {"arcLengthFallbacks", w.fallbacks},
            {"file", "walk.txt"}};
}

std::string Fixed(double v, int decimals) {
    char buf[64];
    std::snprintf(buf, sizeof(buf), "%.*f", decimals, v);
    return buf;
}

std::string Pad(const std::string& s, size_t width, bool right = true) {
    if (s.size() >= width) {
        return s;
    }
    return right ? std::string(width - s.size(), ' ') + s : s + std::string(width - s.size(), ' ');
}

std::string Number(double v) {
    char buf[64];
    std::snprintf(buf, sizeof(buf), "%.4g", v);
    return buf;
}

// One row of the summary table: the numbers of one path, or of all of them.
struct TableRow {
    std::string label;
    std::string source;
    long segments = 0;
    int curves = 0;
    int transitions = 0;
    int lines = 0;
    int arcs = 0;
    int stops = 0;
    TwoSidedDeviation deviation;
    double maxCurvature = 0.0;
};

const std::vector<std::pair<std::string, size_t>>& TableColumns() {
    static const std::vector<std::pair<std::string, size_t>> columns = {
        {"path", 5},         {"src lines", 13},  {"segments", 9},   {"curves", 7},
        {"transitions", 12}, {"lines", 6},       {"arcs", 5},       {"stops", 6},
        {"path>input", 11},  {"input>path", 11}, {"min radius", 11}};
    return columns;
}

void PrintRow(std::ostream& out, const TableRow& r) {
    const std::vector<std::string> cells = {
        r.label,
        r.source,
        std::to_string(r.segments),
        std::to_string(r.curves),
        std::to_string(r.transitions),
        std::to_string(r.lines),
        std::to_string(r.arcs),
        std::to_string(r.stops),
        Number(r.deviation.pathToInput),
        Number(r.deviation.inputToPath),
        r.maxCurvature > 0.0 ? Number(1.0 / r.maxCurvature) : "-"};
    const auto& columns = TableColumns();
    for (size_t c = 0; c < cells.size(); ++c) {
        out << Pad(cells[c], columns[c].second, c != 1) << " ";
    }
    out << "\n";
}

TableRow PathRow(const SmoothedPath& path, int index) {
    TableRow r;
    r.label = std::to_string(index);
    r.source = std::to_string(path.firstLine) + "-" + std::to_string(path.lastLine);
    r.segments = path.segmentsIn();
    r.curves = path.count(ElementKind::Curve);
    r.transitions = path.count(ElementKind::Transition);
    r.lines = path.count(ElementKind::Line);
    r.arcs = path.count(ElementKind::Arc);
    r.stops = path.count(JoinKind::Stop);
    r.deviation = path.deviation;
    for (const Element& e : path.elements) {
        r.maxCurvature = std::max(r.maxCurvature, e.maxCurvature);
    }
    return r;
}

TableRow TotalRow(const SmoothResult& result) {
    TableRow r;
    r.label = "total";
    r.segments = result.segmentsIn();
    r.curves = result.count(ElementKind::Curve);
    r.transitions = result.count(ElementKind::Transition);
    r.lines = result.count(ElementKind::Line);
    r.arcs = result.count(ElementKind::Arc);
    r.stops = result.stops();
    r.deviation = result.deviation;
    for (const SmoothedPath& path : result.paths) {
        if (!path.programArc) {
            r.maxCurvature = std::max(r.maxCurvature, PathRow(path, 0).maxCurvature);
        }
    }
    return r;
}

void PrintTable(std::ostream& out, const SmoothResult& result) {
    const auto& columns = TableColumns();
    for (size_t c = 0; c < columns.size(); ++c) {
        out << Pad(columns[c].first, columns[c].second, c != 1) << " ";
    }
    out << "\n";
    const size_t shown = result.paths.size() > 40 ? 30 : result.paths.size();
    for (size_t i = 0; i < shown; ++i) {
        if (!result.paths[i].programArc) {
            PrintRow(out, PathRow(result.paths[i], static_cast<int>(i) + 1));
        }
    }
    if (shown < result.paths.size()) {
        out << "  ... " << result.paths.size() - shown << " more pieces in report.json\n";
    }
    PrintRow(out, TotalRow(result));
    out << "\n";
}

}  // namespace

int ExportSampleCount(const Element& e) {
    const int cps = CarriesCurve(e.kind) ? e.curve->GetNumOfCtrlPnts() : 0;
    return std::clamp(8 * cps, 50, 2000);
}

int AssignExportFiles(SmoothResult& result) {
    int count = 0;
    for (size_t p = 0; p < result.paths.size(); ++p) {
        std::vector<Element>& elements = result.paths[p].elements;
        for (size_t i = 0; i < elements.size(); ++i) {
            Element& e = elements[i];
            if (!CarriesCurve(e.kind)) {
                continue;
            }
            char name[96];
            std::snprintf(name, sizeof(name), "curves/p%03d-e%03d-%s.txt", static_cast<int>(p) + 1,
                          static_cast<int>(i) + 1, KindName(e.kind));
            e.exportFile = name;
            ++count;
        }
    }
    return count;
}

nlohmann::ordered_json BuildReport(const InputProgram& program, const SmoothResult& result,
                                   const RunInfo& info) {
    Json root;
    root["tool"] = "ydpath";
    root["input"] = info.input;
    root["bundledSample"] = info.bundled;
    root["format"] = program.gcode ? "gcode" : "points";
    root["unit"] = info.unit;
    const SmoothOptions& o = info.options;
    root["options"] = {{"tolerance", o.tolerance},           {"cornerTolerance", o.cornerTol()},
                       {"maxSegment", o.maxSegment},         {"maxTurnDegrees", o.maxTurnDegrees},
                       {"minCurvePoints", o.minCurvePoints}, {"maxCurvePoints", o.maxCurvePoints}};
    root["summary"] = SummaryJson(program, result, info);
    root["deviationMeaning"] = DeviationMeaning();
    root["warnings"] = program.warnings;
    Json paths = Json::array();
    for (size_t p = 0; p < result.paths.size(); ++p) {
        paths.push_back(PathJson(result.paths[p], static_cast<int>(p) + 1));
    }
    root["paths"] = std::move(paths);
    if (info.walk != nullptr) {
        root["walk"] = WalkJson(*info.walk);
    }
    return root;
}

void PrintSummary(std::ostream& out, const InputProgram& program, const SmoothResult& result,
                  const RunInfo& info) {
    const std::string unit = info.unit.empty() ? "" : " " + info.unit;
    out << "ydpath: " << info.input << (info.bundled ? " (bundled sample)" : "") << ", "
        << program.polylineCount() << " path" << (program.polylineCount() == 1 ? "" : "s");
    if (program.arcCount() > 0) {
        out << " and " << program.arcCount() << " programmed arc"
            << (program.arcCount() == 1 ? "" : "s") << " (kept)";
    }
    out << ", tolerance " << Number(info.options.tolerance) << unit << "\n\n";
    PrintTable(out, result);
    out << "largest deviation " << Number(result.maxDeviation()) << unit << " (path to input "
        << Number(result.deviation.pathToInput) << ", input to path "
        << Number(result.deviation.inputToPath) << "; tolerance " << Number(info.options.tolerance)
        << unit << ")";
    if (result.maxDeviation() > info.options.tolerance * (1.0 + 1e-9)) {
        out << "  ** above the tolerance: see report.json **";
    }
    out << "\n";
    if (program.arcCount() > 0) {
        out << program.arcCount() << " programmed arc"
            << (program.arcCount() == 1 ? " was" : "s were") << " kept as programmed\n";
    }
    if (info.walk != nullptr) {
        out << "walk: " << info.walk->points.size() << " points at steps of "
            << Number(info.walk->step) << unit << ", largest chord deviation "
            << Number(info.walk->maxChordDeviation) << unit << "\n";
    }
    out << "time taken: " << Fixed(info.seconds, 2) << " s\n";
}

}  // namespace ydpath
