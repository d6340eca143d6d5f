// SPDX-License-Identifier: MIT

#pragma once

// plot.svg: the input polyline and points, the smoothed path coloured by element kind (one
// <path> per output element, nothing else drawn as <path>), markers at curvature maxima,
// magnified views of a few joins, and the curvature along the path's arc length.

#include <iosfwd>
#include <string>

#include "PathReader.h"
#include "Report.h"
#include "Smoother.h"

namespace ydpath {

void WritePlot(std::ostream& out, const InputProgram& program, const SmoothResult& result,
               const RunInfo& info);

}  // namespace ydpath
