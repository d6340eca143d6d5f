// SPDX-License-Identifier: MIT

#pragma once

// One piece of the smoothed path: a line, a rounded corner, a fitted curve, a transition curve
// or an arc kept as programmed. Every element states its kind; only the kinds that carry a
// curve or an arc have one.

#include <memory>
#include <string>
#include <vector>

#include "Geometry.h"
#include "TwoSidedDeviation.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"

namespace ydpath {

enum class ElementKind { Line, Arc, Curve, Transition, ProgramArc };

/// "line", "arc", "curve", "transition" or "program-arc".
const char* KindName(ElementKind kind);
/// Curve and Transition carry a B-spline curve.
bool CarriesCurve(ElementKind kind);
/// Arc and ProgramArc carry a circular arc.
bool CarriesArc(ElementKind kind);

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

struct Element {
    ElementKind kind = ElementKind::Line;
    YdPoint start;
    YdPoint end;
    std::unique_ptr<YdBSplineCurve> curve;      ///< Curve and Transition only
    ArcShape arc;                               ///< Arc and ProgramArc only
    std::unique_ptr<YdArcFitFilter> arcFilter;  ///< Arc only: the filter that rounded the corner
    /// Its own part of the input: the vertices firstPoint..lastPoint (indices into the path's
    /// points) that it replaces and answers for.
    int firstPoint = -1;
    int lastPoint = -1;
    int fittedPoints = 0;  ///< Curve only: input points it was fitted to
    TwoSidedDeviation deviation;
    double length = 0.0;
    double maxCurvature = 0.0;
    double maxCurvatureU = 0.0;        ///< parameter of the curve, or t in [0, 1] of an arc
    std::vector<CurvaturePeak> peaks;  ///< local curvature maxima (curves and transitions)
    std::string exportFile;            ///< file name of the sampled export, if any

    /// The point at t in [0, 1] from start to end.
    YdPoint PointAt(double t) const;
    /// Unit direction of travel at t in [0, 1].
    YdVector TangentAt(double t) const;
    /// Curvature (1 / length) at t in [0, 1].
    double CurvatureAt(double t) const;
};

}  // namespace ydpath
