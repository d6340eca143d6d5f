#pragma once

// The smoothing pipeline: what a controller's host program does with a tool path.
//
// Per polyline piece:
//  1. Runs of short segments that turn gently become one fitted cubic each (long runs are cut
//     into chunks, each chunk leaving with the previous one's end tangent). Runs that are
//     straight within half the tolerance, and every long segment, stay lines; neighbouring
//     lines that are collinear within half the tolerance are merged.
//  2. Every vertex where the direction changes gets a join: a tangent arc between two lines
//     (the corner arc filter), a transition curve between a line and a curve, or a bridging
//     cubic between two curves. Each join is checked against the input path and made smaller
//     until it stays inside the tolerance. Near-reversals (turning by more than 179 degrees)
//     are kept as sharp stops.
//  3. Each element is measured: length, deviation from the input, curvature and its local
//     maxima.
// Programmed arcs (G2/G3) are kept as they are.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Geometry.h"
#include "PathReader.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"

namespace ydpath {

struct SmoothOptions {
    double tolerance = 0.01;       ///< largest deviation from the input path (a distance)
    double cornerTolerance = 0.0;  ///< corner rounding tolerance; 0 means `tolerance`
    double maxSegment = 2.0;       ///< longest segment that may be part of a fitted curve
    double maxTurnDegrees = 25.0;  ///< largest turn between two segments of a fitted run
    int minCurvePoints = 5;        ///< shortest run (in points) fitted with a curve
    int maxCurvePoints = 150;      ///< longest run (in points) fitted by a single curve

    double cornerTol() const { return cornerTolerance > 0.0 ? cornerTolerance : tolerance; }
    /// Empty when the options make sense, else what is wrong with them.
    std::string Check() const;
};

enum class ElementKind { Line, Arc, Curve, Transition, ProgramArc };
const char* KindName(ElementKind kind);

struct CurvaturePeak {
    double u = 0.0;
    double curvature = 0.0;
    YdPoint point;
    /// Stands out: rises at least a quarter above the lowest curvature on both sides (between
    /// it and the next maximum or the curve's end), and bends tighter than the path's own size
    /// (radius below its bounding-box diagonal). The others are ripples of a fit along nearly
    /// constant curvature.
    bool significant = false;
};

/// One piece of the smoothed path.
struct Element {
    ElementKind kind = ElementKind::Line;
    YdPoint start;
    YdPoint end;
    std::unique_ptr<YdBSplineCurve> curve;      ///< Curve and Transition
    ArcShape arc;                               ///< Arc and ProgramArc
    std::unique_ptr<YdArcFitFilter> arcFilter;  ///< Arc: the filter that rounded the corner
    int firstPoint = -1;  ///< input vertices this element stands for (indices into the path)
    int lastPoint = -1;
    int fittedPoints = 0;    ///< Curve: number of input points fitted
    double deviation = 0.0;  ///< see DeviationMeaning()
    double length = 0.0;
    double maxCurvature = 0.0;
    double maxCurvatureU = 0.0;
    std::vector<CurvaturePeak> peaks;  ///< local curvature maxima (curves and transitions)
    std::string exportFile;            ///< file name of the sampled export, if any

    /// t in [0, 1] from start to end.
    YdPoint PointAt(double t) const;
    YdVector TangentAt(double t) const;
    double CurvatureAt(double t) const;
};

/// What `Element::deviation` measures for each kind, for reports.
const char* DeviationMeaning(ElementKind kind);

/// What happened at a vertex where two elements meet.
struct Join {
    int vertex = -1;           ///< input vertex index
    double turnDegrees = 0.0;  ///< change of direction before smoothing
    std::string how;           ///< "arc", "transition", "bridge", "tangent" or "stop"
    double deviation = 0.0;    ///< distance of the input around the vertex from the result
};

struct SmoothedPath {
    int pieceIndex = 0;
    bool programArc = false;
    int firstLine = 0;
    int lastLine = 0;
    std::vector<YdPoint> points;  ///< input vertices
    std::vector<int> lines;       ///< source line of each vertex
    std::vector<Element> elements;
    std::vector<Join> joins;
    double inputLength = 0.0;
    double maxDeviation = 0.0;

    int segmentsIn() const { return points.empty() ? 0 : static_cast<int>(points.size()) - 1; }
    int count(ElementKind kind) const;
};

struct SmoothResult {
    std::vector<SmoothedPath> paths;
    double maxDeviation = 0.0;
    int count(ElementKind kind) const;
    long segmentsIn() const;
    int stops() const;
};

/// Called as the work goes on with (pieces done, pieces in all, segments done, segments in
/// all).
using ProgressFn = std::function<void(int, int, long, long)>;

/// Smooths one polyline given as points (any unit). `fitted`, when given, is called as the
/// work goes on with how far it got, counted in segments of the input (fitting the runs, joining
/// them and measuring the result each take a third of that count).
SmoothedPath SmoothPolyline(const std::vector<YdPoint>& points, const SmoothOptions& options,
                            const std::function<void(int)>& fitted = std::function<void(int)>());
/// Smooths every piece of a program.
SmoothResult SmoothProgram(const InputProgram& program, const SmoothOptions& options,
                           const ProgressFn& progress = ProgressFn());

}  // namespace ydpath
