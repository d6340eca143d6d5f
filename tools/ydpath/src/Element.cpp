// SPDX-License-Identifier: MIT

#include "Element.h"

#include <algorithm>

namespace ydpath {

namespace {

YdPoint Lerp(const YdPoint& a, const YdPoint& b, double t) {
    return YdPoint(a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t);
}

double CurveParam(const YdBSplineCurve& c, double t) {
    const double a = c.startParam();
    const double b = c.endParam();
    return a + (b - a) * t;
}

}  // namespace

const char* KindName(ElementKind kind) {
    switch (kind) {
        case ElementKind::Line:
            return "line";
        case ElementKind::Arc:
            return "arc";
        case ElementKind::Curve:
            return "curve";
        case ElementKind::Transition:
            return "transition";
        case ElementKind::ProgramArc:
            return "program-arc";
    }
    return "?";
}

bool CarriesCurve(ElementKind kind) {
    return kind == ElementKind::Curve || kind == ElementKind::Transition;
}

bool CarriesArc(ElementKind kind) {
    return kind == ElementKind::Arc || kind == ElementKind::ProgramArc;
}

YdPoint Element::PointAt(double t) const {
    if (t <= 0.0) {
        return start;
    }
    if (t >= 1.0) {
        return end;
    }
    switch (kind) {
        case ElementKind::Line:
            return Lerp(start, end, t);
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.PointAt(t);
        case ElementKind::Curve:
        case ElementKind::Transition:
            return curve->Evaluate(CurveParam(*curve, t));
    }
    return start;
}

YdVector Element::TangentAt(double t) const {
    t = std::clamp(t, 0.0, 1.0);
    switch (kind) {
        case ElementKind::Line:
            return Unit(end - start);
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.TangentAt(t);
        case ElementKind::Curve:
        case ElementKind::Transition:
            return CurveTangent(*curve, CurveParam(*curve, t));
    }
    return YdVector();
}

double Element::CurvatureAt(double t) const {
    t = std::clamp(t, 0.0, 1.0);
    switch (kind) {
        case ElementKind::Line:
            return 0.0;
        case ElementKind::Arc:
        case ElementKind::ProgramArc:
            return arc.Curvature();
        case ElementKind::Curve:
        case ElementKind::Transition:
            return CurveCurvature(*curve, CurveParam(*curve, t));
    }
    return 0.0;
}

}  // namespace ydpath
