// SPDX-License-Identifier: MIT

#include "Smoother.h"

#include <algorithm>
#include <utility>

#include "Deviation.h"
#include "Fitting.h"
#include "Geometry.h"
#include "Joins.h"
#include "Measurement.h"
#include "Segmentation.h"
#include "WorkElement.h"

namespace ydpath {

namespace {

// Progress of one polyline: each of the three stages (fitting, joining, measuring) counts for
// a third of its segments.
std::function<void(int)> StageProgress(const std::function<void(int)>& fitted, int segments,
                                       int stage) {
    if (!fitted) {
        return std::function<void(int)>();
    }
    return [fitted, segments, stage](int vertex) {
        fitted((stage * segments + std::clamp(vertex, 0, segments)) / 3);
    };
}

double PathSize(const std::vector<YdPoint>& points) {
    YdPoint lo = points.front();
    YdPoint hi = points.front();
    for (const YdPoint& p : points) {
        for (int k = 0; k < 3; ++k) {
            lo[k] = std::min(lo[k], p[k]);
            hi[k] = std::max(hi[k], p[k]);
        }
    }
    return Distance(lo, hi);
}

// A fitted curve becomes the part of it that the joins left.
void CutCurve(WorkElement& w) {
    const YdBSplineCurve& c = *w.fitted;
    if (w.uStart > c.startParam() || w.uEnd < c.endParam()) {
        std::unique_ptr<YdBSplineCurve> sub(c.ExtractSubCurve(w.uStart, w.uEnd));
        if (sub) {
            w.e.curve = std::move(sub);
        }
    }
    if (!w.e.curve) {
        w.e.curve = std::move(w.fitted);
    }
    w.e.start = w.e.curve->Evaluate(w.e.curve->startParam());
    w.e.end = w.e.curve->Evaluate(w.e.curve->endParam());
}

// The elements as they are output: curves cut to what the joins left, every joint exact, and
// the join entries pointing at the final element list.
std::vector<Element> Assemble(std::vector<WorkElement>& work, std::vector<Join>& joins) {
    for (WorkElement& w : work) {
        if (w.e.kind == ElementKind::Curve) {
            CutCurve(w);
        }
        w.samples = ShapeSamples();  // only the joins needed them
    }
    for (size_t i = 1; i < work.size(); ++i) {
        const Element& prev = work[i - 1].e;
        Element& next = work[i].e;
        if (Distance(prev.end, next.start) >= kSnapDistance) {
            continue;  // not expected; left as it is, and visible in the report
        }
        if (CarriesCurve(next.kind)) {
            SnapCurveEnds(*next.curve, &prev.end, nullptr);
        }
        next.start = prev.end;
    }
    std::vector<int> index(work.size(), -1);
    std::vector<Element> elements;
    elements.reserve(work.size());
    for (size_t i = 0; i < work.size(); ++i) {
        Element& e = work[i].e;
        if (CarriesCurve(e.kind)) {
            SnapCurveEnds(*e.curve, &e.start, &e.end);
        }
        if (e.kind == ElementKind::Line && Distance(e.start, e.end) == 0.0) {
            continue;  // used up by the joins around it
        }
        index[i] = static_cast<int>(elements.size());
        elements.push_back(std::move(e));
    }
    for (Join& j : joins) {
        if (j.element >= 0) {
            j.element = index[j.element];
        }
    }
    return elements;
}

SmoothedPath ProgramArcPath(const InputPiece& piece) {
    SmoothedPath path;
    path.programArc = true;
    path.points = {ToYd(piece.arc.start), ToYd(piece.arc.end)};
    path.lines = {piece.firstLine, piece.lastLine};
    Element e;
    e.kind = ElementKind::ProgramArc;
    e.start = path.points[0];
    e.end = path.points[1];
    e.arc = ArcShape::FromProgramArc(piece.arc);
    e.firstPoint = 0;
    e.lastPoint = 1;
    MeasureElement(e, 0.0);
    path.inputLength = e.length;
    path.elements.push_back(std::move(e));
    return path;
}

}  // namespace

SmoothedPath SmoothPolyline(const std::vector<YdPoint>& points, const SmoothOptions& options,
                            const std::function<void(int)>& fitted) {
    SmoothedPath out;
    out.points = points;
    for (size_t i = 1; i < points.size(); ++i) {
        out.inputLength += Distance(points[i - 1], points[i]);
    }
    if (points.size() < 2) {
        return out;
    }
    const int segments = static_cast<int>(points.size()) - 1;
    const DeviationMeter meter(points, options.tolerance);
    const std::vector<Run> runs = SegmentPolyline(points, options);
    std::vector<WorkElement> work =
        RunFitter(points, options, meter).FitRuns(runs, StageProgress(fitted, segments, 0));
    work = Joiner(points, options, meter)
               .JoinAll(std::move(work), out.joins, StageProgress(fitted, segments, 1));
    out.elements = Assemble(work, out.joins);
    const double size = PathSize(points);
    const std::function<void(int)> measured = StageProgress(fitted, segments, 2);
    for (size_t i = 0; i < out.elements.size(); ++i) {
        MeasureElement(out.elements[i], size);
        if (measured && i % 16 == 0) {
            measured(std::max(out.elements[i].lastPoint, 0));
        }
    }
    out.deviation = meter.MeasurePath(out.elements);
    return out;
}

SmoothResult SmoothProgram(const InputProgram& program, const SmoothOptions& options,
                           const ProgressFn& progress) {
    SmoothResult result;
    const int total = static_cast<int>(program.pieces.size());
    const long segments = program.segmentCount();
    long done = 0;
    for (int i = 0; i < total; ++i) {
        const InputPiece& piece = program.pieces[i];
        SmoothedPath path;
        if (piece.kind == InputPiece::Kind::Polyline) {
            std::vector<YdPoint> pts;
            pts.reserve(piece.points.size());
            for (const Point3& p : piece.points) {
                pts.push_back(ToYd(p));
            }
            std::function<void(int)> fitted;
            if (progress) {
                fitted = [&](int segs) { progress(i, total, done + segs, segments); };
            }
            path = SmoothPolyline(pts, options, fitted);
            path.lines = piece.lines;
            done += path.segmentsIn();
        } else {
            path = ProgramArcPath(piece);
        }
        path.pieceIndex = i;
        path.firstLine = piece.firstLine;
        path.lastLine = piece.lastLine;
        result.deviation.Include(path.deviation);
        result.paths.push_back(std::move(path));
        if (progress) {
            progress(i + 1, total, done, segments);
        }
    }
    return result;
}

}  // namespace ydpath
