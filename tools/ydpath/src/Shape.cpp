// SPDX-License-Identifier: MIT

#include "Shape.h"

#include <algorithm>

#include "PointMath.h"

namespace ydpath {

Shape Shape::Segment(const Point3& a, const Point3& b) {
    Shape s;
    s.kind_ = Kind::Segment;
    s.a_ = a;
    s.b_ = b;
    return s;
}

Shape Shape::Arc(const ArcShape& arc) {
    Shape s;
    s.kind_ = Kind::Arc;
    s.arc_ = arc;
    return s;
}

Shape Shape::Curve(const YdBSplineCurve& curve, double u0, double u1) {
    Shape s;
    s.kind_ = Kind::Curve;
    s.curve_ = &curve;
    s.t0_ = u0;
    s.t1_ = std::max(u0, u1);
    return s;
}

Shape Shape::Of(const Element& e) {
    if (CarriesCurve(e.kind)) {
        return Curve(*e.curve, e.curve->startParam(), e.curve->endParam());
    }
    if (CarriesArc(e.kind)) {
        return Arc(e.arc);
    }
    return Segment(ToPoint3(e.start), ToPoint3(e.end));
}

Point3 Shape::At(double t) const {
    t = std::clamp(t, t0_, t1_);
    switch (kind_) {
        case Kind::Segment:
            return Lerp(a_, b_, t);
        case Kind::Arc:
            return ToPoint3(arc_.PointAt(t));
        case Kind::Curve:
            return ToPoint3(curve_->Evaluate(t));
    }
    return a_;
}

}  // namespace ydpath
