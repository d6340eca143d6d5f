// SPDX-License-Identifier: MIT

#pragma once

// Plain references for the library's searches, written without any of its search code:
// dense sampling of a function or of a curve, refined by golden-section search. Slow on
// purpose and independent of the point inversion, the curvature search and the Newton steps
// they check. Shared by the test programs and the benchmarks; no test framework needed.

#include <functional>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydtest {

/// A sample of a function: where it was taken and the value there.
struct Sample {
    double x;
    double value;
};

/// The smallest of f over the n + 1 evenly spaced points a + (b - a) i / n, i = 0 .. n (the
/// first one on ties). n >= 1.
Sample DenseMinimum(const std::function<double(double)>& f, double a, double b, int n);

/// Golden-section search for a minimum (or, with maximum, a maximum) of f inside [lo, hi],
/// which must bracket one. One new value a round: the bracket shrinks by the golden ratio
/// until it is at most `width` wide or `maxRounds` rounds have run. Returns the midpoint of the
/// last bracket.
double GoldenSection(const std::function<double(double)>& f, double lo, double hi, bool maximum,
                     double width = 0.0, int maxRounds = 200);

/// The interior local maxima (or minima) of f found among n + 1 evenly spaced samples over
/// [a, b], each refined by golden section between its neighbouring samples to `width`. A sample
/// is a maximum when it is above its left neighbour and not below its right one (a minimum
/// likewise), so a plateau counts once.
std::vector<double> SampledExtremes(const std::function<double(double)>& f, double a, double b,
                                    int n, bool maximum, double width = 1e-12);

/// The parameter and the distance of the curve point nearest to P.
struct CurvePointNearest {
    double u;
    double distance;
};

/// The curve point nearest to P: the best of `samples` + 1 evenly spaced parameters over the
/// curve's range, refined by golden section between the neighbouring samples; the refined
/// point is taken only when it is nearer than the best sample.
CurvePointNearest DenseNearestPoint(const YdBSplineCurve& c, const YdPoint& P, int samples = 20000);

/// The largest squared distance from the points to the curve by the same sampling, for many
/// points at once: the samples are bucketed in cubes of side `reach`, and each point looks at
/// the samples in its own and the neighbouring cubes. Infinity when a point has no sample
/// within that neighbourhood.
double DenseMaxSquaredDistance(const YdBSplineCurve& c, const std::vector<YdPoint>& pts,
                               double reach, int samples = 20000);

}  // namespace ydtest
