// SPDX-License-Identifier: MIT

#pragma once

// Inline arithmetic on plain coordinate triples, for the inner loops of the measure: the
// library's point class carries host attributes and is too heavy to be copied there.

#include <algorithm>
#include <cmath>

#include "PathReader.h"
#include "YdNurbsLib/geometry/YdPoint.h"

namespace ydpath {

inline Point3 ToPoint3(const YdPoint& p) {
    return Point3{p[0], p[1], p[2]};
}

inline Point3 Minus(const Point3& a, const Point3& b) {
    return Point3{a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Point3 Lerp(const Point3& a, const Point3& b, double t) {
    return Point3{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, a.z + (b.z - a.z) * t};
}

inline double Dot(const Point3& a, const Point3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline double Norm(const Point3& a) {
    return std::sqrt(Dot(a, a));
}

inline double Distance2(const Point3& a, const Point3& b) {
    const Point3 d = Minus(a, b);
    return Dot(d, d);
}

/// Squared distance from p to the segment a-b (to a when a == b).
inline double SegmentDistance2(const Point3& p, const Point3& a, const Point3& b) {
    const Point3 ab = Minus(b, a);
    const Point3 ap = Minus(p, a);
    const double len2 = Dot(ab, ab);
    double t = len2 > 0.0 ? Dot(ap, ab) / len2 : 0.0;
    t = std::clamp(t, 0.0, 1.0);
    return Distance2(p, Lerp(a, b, t));
}

/// Where on the segment a-b (a fraction in [0, 1]) the point nearest to p lies.
inline double SegmentFraction(const Point3& p, const Point3& a, const Point3& b) {
    const Point3 ab = Minus(b, a);
    const double len2 = Dot(ab, ab);
    return len2 > 0.0 ? std::clamp(Dot(Minus(p, a), ab) / len2, 0.0, 1.0) : 0.0;
}

/// Angle in radians between two directions, in [0, pi]; 0 when either is zero.
inline double Angle(const Point3& a, const Point3& b) {
    const Point3 c{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    const double cross = Norm(c);
    const double dot = Dot(a, b);
    if (cross == 0.0 && dot == 0.0) {
        return 0.0;
    }
    return std::atan2(cross, dot);
}

}  // namespace ydpath
