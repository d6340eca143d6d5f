// SPDX-License-Identifier: MIT

#pragma once

// The last stage of smoothing: what a controller needs to know of each element. Its length, its
// largest curvature and where that is, and the local curvature maxima of curves (where a machine
// must slow down). The deviation is measured separately, by the deviation measure.

#include <vector>

#include "Element.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace ydpath {

/// Measures the element's length and curvature. `pathSize` (the diagonal of the path's
/// bounding box) decides which curvature maxima are significant.
void MeasureElement(Element& e, double pathSize);

/// A local maximum of curvature: its parameter and curvature.
struct CurvatureMaximum {
    double u = 0.0;
    double curvature = 0.0;
};

/// The local curvature maxima of a curve, in order. Curvature is sampled 8 times per knot
/// span and every sampled maximum refined by parabolic interpolation: a cubic span's curvature
/// has few extrema, so this finds them without walking the curve in fixed tiny steps.
/// `lowest` receives, for each gap between the curve's start, its maxima and its end, the
/// lowest curvature sampled there (one entry more than maxima).
std::vector<CurvatureMaximum> CurvatureMaxima(const YdBSplineCurve& curve,
                                              std::vector<double>& lowest);

}  // namespace ydpath
