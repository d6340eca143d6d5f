// SPDX-License-Identifier: MIT

// Curve export: a sampled polyline of a curve written to a plain text file, one "x y z" line
// per point.
//
// The points are written as they are sampled rather than first collected into a list. The
// file holds exactly the same bytes either way (the curve is only read, evaluation cannot
// fail, and the file is opened before the first write in both cases), but a list of a count
// the caller chose freely, up to the largest int, could exhaust memory before anything was
// written; streaming needs one point at a time.

#include <fstream>
#include <ios>
#include <string>

#include "YdNurbsLib/filters/YdCurveFitFilter.h"

void YdCurveFitFilter::exportCurve(YdBSplineCurve* curve, const std::string& path, int count) {
    if (curve == nullptr) {
        // Nothing to sample: the file is left exactly as it was.
        return;
    }

    // Mode out only (no append): an existing file is truncated, a missing one created. An
    // unopenable path leaves the stream failed and every write below is silently dropped.
    std::ofstream out(path, std::ios::out);
    if (count < 0) {
        // A negative count makes the step negative and the sampling would never end; the file
        // is only created or truncated.
        return;
    }

    const double a = curve->startParam();
    const double b = curve->endParam();
    // count == 0 gives an infinite step: only the first sample is written.
    const double step = (b - a) / count;
    const double eps = 1e-8;

    double u = a + eps;
    while (b - eps >= u) {
        const YdPoint p = curve->Evaluate(u);
        out << p[0] << " " << p[1] << " " << p[2] << std::endl;
        // The step is accumulated, not recomputed from the index, as hosts expect. A step too
        // small to move u (parameters far from zero, or an infinite end) would repeat the same
        // point forever: the walk ends there instead.
        const double nextU = u + step;
        if (nextU == u) {
            break;
        }
        u = nextU;
    }
}
