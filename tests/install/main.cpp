// SPDX-License-Identifier: MIT

// Builds against the installed headers and library only, and checks a few results.
#include <YdNurbsLib/YdNurbsLib.h>

#include <cmath>
#include <cstdio>

int main() {
    YdVector v(3.0, 0.0, 4.0);
    v.Normalize();
    const YdPoint a(0.0, 0.0, 0.0);
    const YdPoint b(1.0, 2.0, 2.0);
    const bool ok = std::fabs(v[0] - 0.6) < 1e-15 && std::fabs(v[2] - 0.8) < 1e-15 &&
                    std::fabs(a.DistanceToPoint(b) - 3.0) < 1e-15 && kTol1e7 == 1e-7;
    std::printf("YdNurbsLib consumer: %s\n", ok ? "ok" : "FAILED");
    return ok ? 0 : 1;
}
