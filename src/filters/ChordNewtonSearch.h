// SPDX-License-Identifier: MIT

#pragma once

// Internal (not installed): the chord-distance Newton search behind
// YdCurveFitFilter::interpolateByNewtonIter and the transition curves' parameter search.

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace yd_detail {

/// One Newton step on f(u) = |C(u) - from|^2 - distanceSquared (YdCurveFitFilter's own).
using NewtonStep = bool (*)(YdBSplineCurve* curve, const YdPoint& from, double u,
                            double distanceSquared, double& next);

/// The parameter whose point lies at the chord distance `distance` from C(u0), to within
/// `tolerance`, by Newton steps from the start value `start` (clamped into the curve's range; a
/// NaN start, from 0 / 0 at a stationary point, becomes u0). Each step is clamped to
/// [lower, endParam], as `if below / else if above` or, with clampMinMax, as
/// min(max(next, lower), endParam) (the same parameter either way). At most ten steps can
/// succeed: the error of the step that passes the limit is deliberately not tested, as hosts
/// expect. On success u and point receive the parameter and its curve point; on failure (a
/// failed or NaN step, or no convergence) neither is written.
bool ChordNewtonSearch(YdBSplineCurve& curve, double u0, double start, double distance,
                       double tolerance, double lower, bool clampMinMax, NewtonStep step, double& u,
                       YdPoint& point);

}  // namespace yd_detail
