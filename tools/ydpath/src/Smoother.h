// SPDX-License-Identifier: MIT

#pragma once

// The smoothing pipeline: what a controller's host program does with a tool path, stage by
// stage, for each polyline piece of a program:
//  1. Segmentation: runs of short, gently turning segments are to become curves; long segments
//     and straight runs stay lines (Segmentation.h).
//  2. Fitting: every curve run becomes one or more fitted cubics within the tolerance, or lines
//     where no curve is (Fitting.h).
//  3. Joins: every vertex where the direction changes gets a tangent arc, a transition curve or
//     a bridging cubic within the corner tolerance; reversals stay sharp stops (Joins.h).
//  4. Measurement: each element's length and curvature (Measurement.h), and its deviation from
//     the input both ways round (Deviation.h).
// Programmed arcs (G2/G3) are kept as they are.

#include <functional>

#include "Element.h"
#include "Join.h"
#include "PathReader.h"
#include "SmoothOptions.h"
#include "SmoothResult.h"
#include "SmoothedPath.h"

namespace ydpath {

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
