// SPDX-License-Identifier: MIT

#pragma once

// An element while the pipeline builds it: the output element and what the later stages need
// to know about it. Internal to the smoothing stages.

#include <memory>
#include <vector>

#include "Deviation.h"
#include "Element.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace ydpath {

struct WorkElement {
    /// The element: kind, current start and end, the input vertices it stands for. A line's
    /// start and end move when joins cut it back.
    Element e;
    /// Curve only: the fitted curve before the joins cut its ends away, the part of it that is
    /// kept, the parameter on it of each input vertex e.firstPoint..e.lastPoint, and its
    /// samples (which the joins check the kept part against).
    std::unique_ptr<YdBSplineCurve> fitted;
    double uStart = 0.0;
    double uEnd = 0.0;
    std::vector<double> pointU;
    ShapeSamples samples;
    /// Length before any cut.
    double length = 0.0;
};

}  // namespace ydpath
