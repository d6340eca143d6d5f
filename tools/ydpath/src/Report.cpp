#include "Report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace ydpath {

namespace {

using Json = nlohmann::ordered_json;

Json PointJson(const YdPoint& p) {
    return Json::array({p[0], p[1], p[2]});
}

int SourceLine(const SmoothedPath& path, int vertex) {
    if (vertex < 0 || vertex >= static_cast<int>(path.lines.size())) {
        return 0;
    }
    return path.lines[vertex];
}

Json ElementJson(const SmoothedPath& path, const Element& e, int index) {
    Json j;
    j["index"] = index;
    j["kind"] = KindName(e.kind);
    j["start"] = PointJson(e.start);
    j["end"] = PointJson(e.end);
    j["length"] = e.length;
    j["deviation"] = e.deviation;
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
    if (e.kind == ElementKind::Arc || e.kind == ElementKind::ProgramArc) {
        j["center"] = PointJson(e.arc.center);
        j["radius"] = 0.5 * (e.arc.radiusStart + e.arc.radiusEnd);
        j["sweepDegrees"] = e.arc.sweep * 180.0 / 3.14159265358979323846;
    }
    if (e.curve) {
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
        Json knots = Json::array();
        for (double k : c.KnotVec().GetKnots()) {
            knots.push_back(k);
        }
        j["knots"] = std::move(knots);
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
    return j;
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

}  // namespace

int ExportSampleCount(const Element& e) {
    const int cps = e.curve ? e.curve->GetNumOfCtrlPnts() : 0;
    return std::clamp(8 * cps, 50, 2000);
}

int AssignExportFiles(SmoothResult& result) {
    int count = 0;
    for (size_t p = 0; p < result.paths.size(); ++p) {
        std::vector<Element>& elements = result.paths[p].elements;
        for (size_t i = 0; i < elements.size(); ++i) {
            Element& e = elements[i];
            if (!e.curve) {
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
    Json summary;
    summary["paths"] = program.polylineCount();
    summary["programArcs"] = program.arcCount();
    summary["segmentsIn"] = result.segmentsIn();
    summary["curves"] = result.count(ElementKind::Curve);
    summary["transitions"] = result.count(ElementKind::Transition);
    summary["lines"] = result.count(ElementKind::Line);
    summary["arcs"] = result.count(ElementKind::Arc);
    summary["stops"] = result.stops();
    summary["maxDeviation"] = result.maxDeviation;
    summary["seconds"] = info.seconds;
    root["summary"] = std::move(summary);
    Json meaning;
    for (ElementKind k : {ElementKind::Curve, ElementKind::Transition, ElementKind::Arc,
                          ElementKind::Line, ElementKind::ProgramArc}) {
        meaning[KindName(k)] = DeviationMeaning(k);
    }
    root["deviationMeaning"] = std::move(meaning);
    root["warnings"] = program.warnings;

    Json paths = Json::array();
    for (size_t p = 0; p < result.paths.size(); ++p) {
        const SmoothedPath& path = result.paths[p];
        Json jp;
        jp["index"] = static_cast<int>(p) + 1;
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
        jp["maxDeviation"] = path.maxDeviation;
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
                             {"how", j.how},
                             {"deviation", j.deviation}});
        }
        jp["joins"] = std::move(joins);
        paths.push_back(std::move(jp));
    }
    root["paths"] = std::move(paths);

    if (info.walk != nullptr) {
        const WalkResult& w = *info.walk;
        root["walk"] = {
            {"step", w.step},
            {"points", static_cast<long>(w.points.size())},
            {"maxChordDeviation", w.maxChordDeviation},
            {"maxChordAt", {{"path", w.maxChordPath + 1}, {"element", w.maxChordElement + 1}}},
            {"shortestFullStep", w.shortestStep},
            {"longestFullStep", w.longestStep},
            {"arcLengthFallbacks", w.fallbacks},
            {"file", "walk.txt"}};
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

    const std::vector<std::pair<std::string, size_t>> cols = {
        {"path", 5},  {"lines", 13}, {"segments", 9}, {"curves", 7},   {"transitions", 12},
        {"lines", 6}, {"arcs", 5},   {"stops", 6},    {"max dev", 10}, {"min radius", 11}};
    for (size_t c = 0; c < cols.size(); ++c) {
        out << Pad(c == 1 ? "src lines" : cols[c].first, cols[c].second, c != 1) << " ";
    }
    out << "\n";
    const size_t shown = result.paths.size() > 40 ? 30 : result.paths.size();
    int index = 0;
    for (const SmoothedPath& path : result.paths) {
        ++index;
        if (path.programArc || static_cast<size_t>(index) > shown) {
            continue;
        }
        double maxK = 0.0;
        for (const Element& e : path.elements) {
            maxK = std::max(maxK, e.maxCurvature);
        }
        int stops = 0;
        for (const Join& j : path.joins) {
            stops += j.how == "stop" ? 1 : 0;
        }
        const std::string src =
            std::to_string(path.firstLine) + "-" + std::to_string(path.lastLine);
        out << Pad(std::to_string(index), 5) << " " << Pad(src, 13, false) << " "
            << Pad(std::to_string(path.segmentsIn()), 9) << " "
            << Pad(std::to_string(path.count(ElementKind::Curve)), 7) << " "
            << Pad(std::to_string(path.count(ElementKind::Transition)), 12) << " "
            << Pad(std::to_string(path.count(ElementKind::Line)), 6) << " "
            << Pad(std::to_string(path.count(ElementKind::Arc)), 5) << " "
            << Pad(std::to_string(stops), 6) << " " << Pad(Number(path.maxDeviation), 10) << " "
            << Pad(maxK > 0.0 ? Number(1.0 / maxK) : "-", 11) << "\n";
    }
    if (shown < result.paths.size()) {
        out << "  ... " << result.paths.size() - shown << " more pieces in report.json\n";
    }
    double maxK = 0.0;
    for (const SmoothedPath& path : result.paths) {
        if (path.programArc) {
            continue;
        }
        for (const Element& e : path.elements) {
            maxK = std::max(maxK, e.maxCurvature);
        }
    }
    out << Pad("total", 5) << " " << Pad("", 13) << " "
        << Pad(std::to_string(result.segmentsIn()), 9) << " "
        << Pad(std::to_string(result.count(ElementKind::Curve)), 7) << " "
        << Pad(std::to_string(result.count(ElementKind::Transition)), 12) << " "
        << Pad(std::to_string(result.count(ElementKind::Line)), 6) << " "
        << Pad(std::to_string(result.count(ElementKind::Arc)), 5) << " "
        << Pad(std::to_string(result.stops()), 6) << " " << Pad(Number(result.maxDeviation), 10)
        << " " << Pad(maxK > 0.0 ? Number(1.0 / maxK) : "-", 11) << "\n\n";

    out << "largest deviation " << Number(result.maxDeviation) << unit << " (tolerance "
        << Number(info.options.tolerance) << unit << ")";
    if (result.maxDeviation > info.options.tolerance * (1.0 + 1e-9)) {
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
