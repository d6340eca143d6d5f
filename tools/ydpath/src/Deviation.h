// SPDX-License-Identifier: MIT

#pragma once

// The one deviation measure of the tool: how far the smoothed path lies from its input, both
// ways round. Fitting and joins accept a candidate only through it, and every deviation the tool
// reports was measured by it.
//
// What is measured. Every output element answers for its own part of the input: the vertices
// firstPoint..lastPoint of the input polyline (the run it replaces), with the segment on either
// side of them. Its deviation has two directions:
//  - path to input: the largest distance of any point of the element from that part of the
//    input polyline;
//  - input to path: the largest distance of its input vertices from the smoothed path near
//    them, that is from the elements whose own part holds the vertex.
// A path's deviation in each direction is the largest of its elements'; its deviation is the
// larger of the two. Because the measure is local, a pass that runs out and back must stay near
// its own half of the input, not merely near the other half.
//
// How. An element is sampled with a step from its curvature: between two samples it stays
// within |C''| h^2 / 8 of their chord (h the parameter step, |C''| bounded span by span from the
// curve's second-derivative control points). Along a chord the distance from one input segment
// is convex, so the distance of the element from the input on that interval is at most the
// larger of its ends' distances from the segment nearest to either end, plus the chord bound.
// Intervals whose bound could exceed the largest distance found by more than the precision
// (1/1000 of the tolerance) are halved until none can: the result is an upper bound of the true
// distance and lies within the precision of a distance actually attained. Input vertices are
// measured to the sample chords (which bounds their distance from the element within the chord
// bound either way) and, where that is not clearly small enough, by a local search on the element
// itself (an attained distance, so again an upper bound). Nearest input segments and nearest
// chords come from box trees (PolylineIndex), so a path of n moves is measured in O(n log n).

#include <limits>
#include <vector>

#include "Element.h"
#include "PathReader.h"
#include "PolylineIndex.h"
#include "Shape.h"
#include "TwoSidedDeviation.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydpath {

/// What the reported deviations mean, in one sentence for readers of the report.
const char* DeviationMeaning();

/// Samples of a shape, each interval between two samples known to stay near its chord.
struct ShapeSamples {
    std::vector<double> t;       ///< parameters of the shape, increasing
    std::vector<Point3> points;  ///< the shape at t
    /// bound[k]: the shape between samples k and k + 1 stays within this distance of their
    /// chord (one entry fewer than samples).
    std::vector<double> bound;
    double turning = 0.0;  ///< how much the chords turn in all (radians)

    /// The box tree over the sample chords, built when first asked for (many candidates are
    /// turned down before any vertex is measured against them). Not thread-safe.
    const PolylineIndex& Index() const;

  private:
    mutable PolylineIndex index_;
    mutable bool indexed_ = false;
};

/// How far an input vertex lies from a shape, and the parameter of the shape where that is.
struct VertexDistance {
    double distance = std::numeric_limits<double>::infinity();  ///< an upper bound
    double t = 0.0;
};

class DeviationMeter {
  public:
    /// The measure for one input polyline (any length unit) and tolerance (a distance > 0).
    DeviationMeter(const std::vector<YdPoint>& input, double tolerance);

    double tolerance() const { return tolerance_; }
    /// How far a reported deviation may lie above a distance actually attained.
    double precision() const { return precision_; }
    /// The largest measured deviation a candidate may have to be accepted against `limit`: the
    /// limit less the precision, so that the final measurement, sampled afresh, still stays
    /// within the limit.
    double AcceptLimit(double limit) const { return limit - precision_; }
    const std::vector<Point3>& input() const { return input_; }

    /// Samples a shape with the step the measure needs.
    ShapeSamples Sample(const Shape& shape) const;

    /// Path to input: an upper bound of the largest distance of the shape from the input
    /// polyline through the vertices first - 1 .. last + 1. Stops early, returning a distance
    /// attained above it, once the result exceeds `giveUpAbove`.
    double PathToInput(const Shape& shape, const ShapeSamples& samples, int first, int last,
                       double giveUpAbove = std::numeric_limits<double>::infinity()) const;

    /// Input to path for one vertex: an upper bound of its distance from the part [ta, tb] of
    /// the shape. Searched on the shape itself only when the bound from the chords is above
    /// `enough`.
    VertexDistance VertexToShape(int vertex, const Shape& shape, const ShapeSamples& samples,
                                 double ta, double tb, double enough) const;

    /// True when the sampled shape turns at most a little more than the input it replaces
    /// (the vertices first..last): no loop, no cusp.
    bool TurnsLikeInput(const ShapeSamples& samples, int first, int last) const;

    /// Measures every element of a smoothed path of this input (both directions, stored in
    /// each element) and returns the path's deviation. Programmed arcs are their own input and
    /// are not measured.
    TwoSidedDeviation MeasurePath(std::vector<Element>& elements) const;

  private:
    struct Interval;
    struct Measured;

    double InputTurning(int first, int last) const;
    double IntervalUpper(const Interval& iv) const;
    Interval Split(const Shape& shape, Interval& iv, int s0, int s1) const;
    double SegmentDistance(const Point3& p, int segment) const;
    double Refine(const Point3& v, const Shape& shape, double lo, double hi, double& t) const;
    double RefineVertex(int vertex, const std::vector<Measured>& measured, int firstElement,
                        int lastElement) const;
    double InputToElement(const Measured& m, std::vector<double>& upper, std::vector<char>& exact,
                          const std::vector<Measured>& measured,
                          const std::vector<int>& firstElement,
                          const std::vector<int>& lastElement) const;

    std::vector<Point3> input_;
    PolylineIndex index_;
    std::vector<double> turnSum_;  // turnSum_[i]: turning of the input at vertices 1..i-1
    double tolerance_;
    double precision_;
    double sampleBound_;  // largest chord bound of a first sampling
};

}  // namespace ydpath
