// SPDX-License-Identifier: MIT

#pragma once

// Internal (not installed): the allocation-free evaluation kernel behind
// YdBSplineCurve::Evaluate. Queries on hot paths (point inversion, curvature, Newton steps)
// call it directly so that they allocate nothing per evaluation.

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

namespace yd_detail {

/// Largest degree evaluated with stack scratch; higher degrees fall back to the heap.
constexpr int kMaxStackDegree = 15;

/// The curve point at u into pt and derivatives 1..numDerivs into derivs[0..numDerivs-1]
/// (derivs may be null when numDerivs is 0). Exactly the arithmetic of
/// YdBSplineCurve::Evaluate(u, numDerivs, pt, derivs): orders above the degree are zero
/// vectors, and a curve without a non-empty span gives the zero point and zero derivatives.
void EvaluateCurve(const YdBSplineCurve& curve, double u, int numDerivs, YdPoint& pt,
                   YdVector* derivs);

}  // namespace yd_detail
