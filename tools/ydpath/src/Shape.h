// SPDX-License-Identifier: MIT

#pragma once

// A piece of path as the deviation measure sees it: a straight segment, a circular arc, or a
// parameter range of a B-spline curve, evaluated by one parameter t in [begin(), end()].
// A shape owns nothing: the curve it refers to must outlive it.

#include "Element.h"
#include "Geometry.h"
#include "PathReader.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace ydpath {

class Shape {
  public:
    enum class Kind { Segment, Arc, Curve };

    /// The straight segment from a to b, t in [0, 1].
    static Shape Segment(const Point3& a, const Point3& b);
    /// A circular arc, t in [0, 1].
    static Shape Arc(const ArcShape& arc);
    /// The curve between the parameters u0 <= u1; t is the curve's own parameter.
    static Shape Curve(const YdBSplineCurve& curve, double u0, double u1);
    /// The shape of an element as it stands.
    static Shape Of(const Element& e);

    Kind kind() const { return kind_; }
    double begin() const { return t0_; }
    double end() const { return t1_; }
    /// The point at t (clamped to the range).
    Point3 At(double t) const;
    const YdBSplineCurve& curve() const { return *curve_; }
    const ArcShape& arc() const { return arc_; }

  private:
    Kind kind_ = Kind::Segment;
    Point3 a_;
    Point3 b_;
    ArcShape arc_;
    const YdBSplineCurve* curve_ = nullptr;
    double t0_ = 0.0;
    double t1_ = 1.0;
};

}  // namespace ydpath
