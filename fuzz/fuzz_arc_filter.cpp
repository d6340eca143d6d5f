// SPDX-License-Identifier: MIT

// The corner arc filter: any three points and tolerance are fitted (always true), then the arc
// is stepped along forward or backward until its end.

#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ydfuzz::FuzzInput in(data, size);
    in.AllowNonFinite(in.Byte() % 8 == 0);
    const YdPoint a = in.Point();
    const YdPoint b = in.Point();
    const YdPoint c = in.Point();
    YdArcFitFilter filter(a, b, c);
    if (in.Bool()) {
        filter.SetPoint(in.Point(), in.Point(), in.Point());
    }
    FUZZ_CHECK(filter.doFitArc(in.Coord()), "doFitArc: false");
    YdArcFitFilter copy(filter);
    copy = filter;

    YdPoint p1;
    YdPoint p2;
    filter.getTangentPoint(p1, p2);
    YdPoint q1;
    YdPoint q2;
    filter.getp1(q1);
    filter.getp2(q2);
    FUZZ_CHECK(ydfuzz::Same(p1, q1) && ydfuzz::Same(p2, q2), "getp1/getp2 differ from the pair");
    (void)filter.getArcLength();
    (void)filter.getCenter();
    (void)filter.getRadius();

    // Walk the arc: a step past the end delivers that end's tangent point and false.
    const bool forward = in.Bool();
    const double step = in.Coord();
    YdPoint current = forward ? p1 : p2;
    for (int i = 0; i < 64; ++i) {
        YdPoint next(-1.0, -1.0, -1.0);
        if (!filter.interpolate(current, step, next, forward)) {
            FUZZ_CHECK(ydfuzz::Same(next, forward ? p2 : p1),
                       "interpolate: false but not at the end point");
            break;
        }
        current = next;
    }
    return 0;
}
