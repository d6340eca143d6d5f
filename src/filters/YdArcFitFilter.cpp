// SPDX-License-Identifier: MIT

// Reference: corner rounding by the circle tangent to both legs whose midpoint lies the tolerance e
// from the corner (radius e s / (1 - s) with s = sin(theta / 2)), stepped along by arc length in
// the arc's local frame.

#include "YdNurbsLib/filters/YdArcFitFilter.h"

#include <algorithm>
#include <cmath>

#include "YdNurbsLib/geometry/YdFrame.h"

namespace {

// The value of pi the host uses for arc lengths; kept as a literal so that lengths agree with
// the host's to the last bit.
constexpr double kPi = 3.141592653589793;

double ClampCosine(double x) {
    return std::max(std::min(x, 1.0), -1.0);
}

}  // namespace

YdArcFitFilter::YdArcFitFilter()
    : point0(),
      point1(),
      point2(),
      spare(0.0),
      center(),
      radius(0.0),
      p1(),
      p2(),
      angle(0.0),
      dir1(),
      dir2(),
      localToWorld() {}

YdArcFitFilter::YdArcFitFilter(const YdPoint& a, const YdPoint& b, const YdPoint& c)
    : point0(a),
      point1(b),
      point2(c),
      spare(0.0),
      center(),
      radius(0.0),
      p1(),
      p2(),
      angle(0.0),
      dir1(),
      dir2(),
      localToWorld() {}

YdArcFitFilter::YdArcFitFilter(const YdArcFitFilter& other) = default;

YdArcFitFilter& YdArcFitFilter::operator=(const YdArcFitFilter& other) = default;

YdArcFitFilter::~YdArcFitFilter() = default;

void YdArcFitFilter::SetPoint(const YdPoint& a, const YdPoint& b, const YdPoint& c) {
    point0 = a;
    point1 = b;
    point2 = c;
}

bool YdArcFitFilter::doFitArc(double tolerance) {
    const double e = tolerance;

    YdVector a = point0 - point1;
    const double len1 = a.Magnitude();
    a.Normalize();
    YdVector b = point2 - point1;
    const double len2 = b.Magnitude();
    b.Normalize();

    // Inward bisector of the corner.
    YdVector bis = a + b;
    bis.Normalize();

    double c = a % b;
    c = std::min(c, 1.0);
    c = std::max(c, -1.0);
    angle = std::acos(c);

    // The centre lies r / s from the corner, so r / s - r = e places the arc's midpoint at the
    // tolerance from the corner.
    const double s = std::sin(angle * 0.5);
    radius = s * e / (1.0 - s);
    double d = radius / std::tan(angle * 0.5);

    // Written so that a NaN distance (full reversal) falls to the shrink branch.
    if (len1 >= d && len2 >= d) {
        center = point1 + bis * (radius + e);
        p1 = point1 + a * d;
        p2 = point1 + b * d;
    } else {
        // A leg is too short for the tolerance: end the arc at the shorter leg's far end.
        d = (len1 <= len2) ? len1 : len2;
        radius = d * std::tan(angle * 0.5);
        center = point1 + bis * (d / std::cos(angle * 0.5));
        p1 = point1 + a * d;
        p2 = point1 + b * d;
    }

    dir1 = p1 - center;
    dir1.Normalize();
    dir2 = p2 - center;
    dir2.Normalize();

    YdVector n = dir2 * dir1;
    n.Normalize();
    YdVector y = n * dir2;
    y.Normalize();

    const YdFrame arcFrame(center, dir2, y);
    const YdFrame world(YdPoint(0.0, 0.0, 0.0), YdVector(1.0, 0.0, 0.0), YdVector(0.0, 1.0, 0.0));
    // arcFrame -> world maps world coordinates into the arc frame; its inverse takes local
    // arc coordinates to world ones. A degenerate arc frame cannot be inverted and the matrix
    // is then kept as it is: the arc has collapsed and there is nothing meaningful to map.
    localToWorld = arcFrame.GetTransformToNewFrame(world);
    localToWorld.Inverse();
    return true;
}

void YdArcFitFilter::getTangentPoint(YdPoint& a, YdPoint& b) const {
    a = p1;
    b = p2;
}

void YdArcFitFilter::getp1(YdPoint& a) {
    a = p1;
}

void YdArcFitFilter::getp2(YdPoint& a) {
    a = p2;
}

double YdArcFitFilter::getArcLength() const {
    return radius * (kPi - angle);
}

bool YdArcFitFilter::interpolate(const YdPoint& current, double step, YdPoint& next, bool forward) {
    YdVector v = current - center;
    v.Normalize();
    const double delta = step / radius;

    if (forward) {
        const double toEnd = std::acos(ClampCosine(v % dir2));
        if (delta > toEnd) {
            next = p2;
            return false;
        }
        const double phi = toEnd - delta;
        next = localToWorld * YdPoint(radius * std::cos(phi), radius * std::sin(phi), 0.0);
        return true;
    }

    // Backward: the end test is against the start direction, the position is measured from
    // the end direction (the asymmetry hosts expect).
    const double toStart = std::acos(ClampCosine(v % dir1));
    const double fromEnd = std::acos(ClampCosine(v % dir2));
    if (delta > toStart) {
        next = p1;
        return false;
    }
    const double phi = fromEnd + delta;
    next = localToWorld * YdPoint(radius * std::cos(phi), radius * std::sin(phi), 0.0);
    return true;
}
