// SPDX-License-Identifier: MIT

// Reference: orthogonal projection onto a line; the closest point of two lines; a line fit through
// the centroid along the sign-aligned mean of the centred points.

#include "YdNurbsLib/geometry/YdLine.h"

#include <cstddef>

YdLine::YdLine() : m_point(0.0, 0.0, 0.0), m_direction(0.0, 0.0, 0.0) {}

// The point goes in through point assignment, exactly as in Set, so a constructed line and a
// Set one hold the same point (the per-slot m_angle, m_dAttr2 and m_dAttr3 are not taken).
YdLine::YdLine(const YdPoint& p, const YdVector& d) : m_point(), m_direction(d) {
    m_point = p;
    m_direction.Normalize();
}

YdLine::YdLine(const YdPoint& a, const YdPoint& b) : m_point(), m_direction(b - a) {
    m_point = a;
    m_direction.Normalize();
}

YdLine::YdLine(const YdVector& a, const YdVector& b)
    : m_point(a[0], a[1], a[2]), m_direction(b - a) {
    m_direction.Normalize();
}

YdLine::YdLine(const YdLine& other) : m_point(other.m_point), m_direction(other.m_direction) {}

YdLine& YdLine::operator=(const YdLine& other) {
    if (this != &other) {
        m_point = other.m_point;
        m_direction = other.m_direction;
    }
    return *this;
}

YdLine::~YdLine() = default;

void YdLine::Set(const YdPoint& p, const YdVector& d) {
    m_point = p;
    m_direction = d;
    m_direction.Normalize();
}

YdPoint YdLine::ProjectPoint(const YdPoint& q, double* t) const {
    const double s = (q - m_point) % m_direction;
    if (t != nullptr) {
        *t = s;
    }
    return m_point + s * m_direction;
}

YdVector YdLine::ProjectVector(const YdVector& v, double* t) const {
    const YdVector base(m_point[0], m_point[1], m_point[2]);
    const double s = (v - base) % m_direction;
    if (t != nullptr) {
        *t = s;
    }
    return base + s * m_direction;
}

double YdLine::DistanceToPoint(const YdPoint& q) const {
    return q.DistanceToPoint(ProjectPoint(q, nullptr));
}

bool YdLine::Intersect(const YdLine& other, YdPoint& out) const {
    const YdVector& d1 = m_direction;
    const YdVector& d2 = other.m_direction;
    // Vector equality on purpose (the widened single-precision tolerance): hosts treat lines
    // whose directions compare equal as parallel.
    if (d1 == d2 || d1 == -d2) {
        return false;
    }
    const YdVector w = other.m_point - m_point;
    const double c = d1 % d2;
    const double s = (c * (w % d2) - (w % d1)) / (c * c - 1.0);
    out = m_point + s * d1;
    return true;
}

YdLine* YdLine::LeastSquareFit(const std::vector<YdPoint>& pts) {
    const std::size_t n = pts.size();
    if (n < 2) {
        return nullptr;
    }
    double sx = 0.0;
    double sy = 0.0;
    double sz = 0.0;
    for (const YdPoint& p : pts) {
        sx += p[0];
        sy += p[1];
        sz += p[2];
    }
    const double dn = static_cast<double>(n);
    const YdPoint centre(sx / dn, sy / dn, sz / dn);

    // The farthest point fixes the sign of every offset; the first of equally far points wins.
    double farthest = 0.0;
    std::size_t far = n;
    for (std::size_t i = 0; i < n; ++i) {
        const double d = pts[i].DistanceToPoint(centre);
        if (d > farthest) {
            farthest = d;
            far = i;
        }
    }
    if (far == n) {
        // All points coincide: any direction fits, take the x axis.
        return new YdLine(centre, YdVector(1.0, 0.0, 0.0));
    }
    const YdVector ref = pts[far] - centre;

    YdVector sum(0.0, 0.0, 0.0);
    for (const YdPoint& p : pts) {
        YdVector v = p - centre;
        if (v % ref < 0.0) {
            v.Flip();
        }
        sum += v;
    }
    sum /= dn;
    sum.Normalize();
    return new YdLine(centre, sum);
}
