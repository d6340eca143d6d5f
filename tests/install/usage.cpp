// SPDX-License-Identifier: MIT

#include <YdNurbsLib/YdNurbsLib.h>

#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    // A quarter circle of radius 10, as a run of tool-path points.
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 40; ++i) {
        const double a = 1.5707963267948966 * i / 40;
        pts.push_back(YdPoint(10.0 * std::cos(a), 10.0 * std::sin(a), 0.0));
    }
    // The fitting tolerance is a squared distance: 1e-4 keeps every point within 0.01.
    YdBSplineCurve* curve = YdBSplineCurve::CreateApproximateCurve(pts, false, 1e-4);
    if (curve == nullptr) {
        return 1;
    }
    const YdPoint mid = curve->Evaluate(0.5);
    std::printf("%d control points, length %.3f, C(0.5) = (%.3f, %.3f, %.3f)\n",
                curve->GetNumOfCtrlPnts(), curve->Length(0.0, 1.0, true), mid[0], mid[1], mid[2]);
    delete curve;  // every factory hands out a new object; the caller deletes it
    return 0;
}
