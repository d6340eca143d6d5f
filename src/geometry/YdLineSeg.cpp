// SPDX-License-Identifier: MIT

// Reference: segment intersection by the closest points of the two carrier lines and by
// cross-product side tests; projection onto a segment, clamped to its ends.

#include "YdNurbsLib/geometry/YdLineSeg.h"

#include <cmath>

#include "YdNurbsLib/geometry/YdLine.h"
#include "YdNurbsLib/geometry/YdTolerances.h"

namespace {

// The smallest normal single-precision value: a cross product longer than this counts as
// non-zero. Kept as it stands; hosts rely on exactly this bound.
constexpr double kFloatMinNormal = 1.1754943508222875e-38;

// Slack on segment parameters so that crossings at an end are not lost to rounding.
constexpr double kParamLow = -1e-8;
constexpr double kParamHigh = 1.00000001;

bool IsNonZero(const YdVector& v) {
    return v.Magnitude() > kFloatMinNormal;
}

}  // namespace

YdLineSeg::YdLineSeg() : m_startPoint(0.0, 0.0, 0.0), m_endPoint(0.0, 0.0, 0.0) {}

YdLineSeg::YdLineSeg(const YdPoint& a, const YdPoint& b) : m_startPoint(a), m_endPoint(b) {}

YdLineSeg& YdLineSeg::operator=(const YdLineSeg& o) {
    m_startPoint = o.m_startPoint;
    m_endPoint = o.m_endPoint;
    return *this;
}

YdLineSeg& YdLineSeg::operator=(YdLineSeg&& o) {
    m_startPoint = o.m_startPoint;
    m_endPoint = o.m_endPoint;
    return *this;
}

YdVector YdLineSeg::Direction() const {
    YdVector d = m_endPoint - m_startPoint;
    d.Normalize();
    return d;
}

double YdLineSeg::GetLength() const {
    return m_endPoint.DistanceToPoint(m_startPoint);
}

bool YdLineSeg::IsContain(const YdPoint& p) const {
    if (p == m_startPoint || p == m_endPoint) {
        return true;
    }
    const double length = (m_endPoint - m_startPoint).Magnitude();
    if (length < kTol1e7) {
        return false;
    }
    const double q = (p - m_startPoint).Magnitude();
    YdVector u = m_endPoint - m_startPoint;
    u.Normalize();
    YdVector v = p - m_startPoint;
    v.Normalize();
    const double cosine = u % v;
    const double dist = DistanceToPoint(p);
    return std::fabs(cosine - 1.0) < kTol1e7 && length > q && std::fabs(dist) < kTol1e7;
}

YdPoint YdLineSeg::ProjectPoint(const YdPoint& p, double* t) const {
    // No guard for a zero-length segment on purpose: 0 / 0 gives a NaN parameter and a NaN
    // point, which are passed on rather than replaced by a made-up answer.
    const YdVector d = m_endPoint - m_startPoint;
    const double r = ((p - m_startPoint) % d) / d.Length2();
    if (t != nullptr) {
        *t = r;
    }
    if (r <= 0.0) {
        return m_startPoint;
    }
    if (r >= 1.0) {
        return m_endPoint;
    }
    return m_startPoint + d * r;
}

double YdLineSeg::DistanceToPoint(const YdPoint& p) const {
    const YdLine line(m_startPoint, m_endPoint);
    double t = 0.0;
    const YdPoint foot = line.ProjectPoint(p, &t);
    if (t >= 0.0 && t <= GetLength()) {
        return p.DistanceToPoint(foot);
    }
    if (t < 0.0) {
        return p.DistanceToPoint(m_startPoint);
    }
    return p.DistanceToPoint(m_endPoint);
}

bool YdLineSeg::IsCoincidence(const YdLineSeg& o) const {
    return (o.m_startPoint == m_startPoint && o.m_endPoint == m_endPoint) ||
           (o.m_startPoint == m_endPoint && o.m_endPoint == m_startPoint);
}

bool YdLineSeg::IsIntersectWithLineSeg(const YdLineSeg& o) const {
    const YdPoint& a0 = m_startPoint;
    const YdPoint& a1 = m_endPoint;
    const YdPoint& b0 = o.m_startPoint;
    const YdPoint& b1 = o.m_endPoint;
    const YdVector dA = a1 - a0;
    const YdVector dB = b1 - b0;
    const YdVector c1 = (b0 - a0) * dA;
    const YdVector c2 = (b1 - a0) * dA;
    const YdVector c3 = (a0 - b0) * dB;
    const YdVector c4 = (a1 - b0) * dB;
    const bool nz1 = IsNonZero(c1);
    const bool nz2 = IsNonZero(c2);

    if (nz1 && nz2) {
        if (c1 % c2 > kTol1e7) {
            return false;  // both ends of o on one side of this segment's line
        }
        return !(c3 % c4 > kTol1e7);
    }
    if (nz1 != nz2) {
        return !(c3 % c4 > kTol1e7);  // one end of o on this segment's line
    }
    // Collinear: only the two start points are examined, on purpose.
    if ((b0 - a0) % (b1 - a0) > kTol1e7) {
        return !((a0 - b0) % (a1 - b0) > kTol1e7);
    }
    return true;
}

int YdLineSeg::IntersectNew(const YdLineSeg& o, YdPoint& out) const {
    const YdPoint& a0 = m_startPoint;
    const YdPoint& a1 = m_endPoint;
    const YdPoint& b0 = o.m_startPoint;
    const YdPoint& b1 = o.m_endPoint;

    YdVector dA = a1 - a0;
    const double lenA = dA.Magnitude();
    if (lenA < kTol1e7) {
        if (o.IsContain(a0)) {
            out = a0;
            return 1;
        }
        return 0;
    }
    dA.Normalize();
    YdVector dB = b1 - b0;
    const double lenB = dB.Magnitude();
    if (lenB < kTol1e7) {
        if (IsContain(b0)) {
            out = b0;
            return 1;
        }
        return 0;
    }
    dB.Normalize();

    const YdVector w = b0 - a0;
    const double c = dA % dB;
    const double den = c * c - 1.0;
    if (std::fabs(den) < kTol1e8) {
        // Parallel: report the first shared end point, in this fixed order.
        if (IsContain(b0)) {
            out = b0;
            return -1;
        }
        if (IsContain(b1)) {
            out = b1;
            return -1;
        }
        if (o.IsContain(a0)) {
            out = a0;
            return -1;
        }
        if (o.IsContain(a1)) {
            out = a1;
            return -1;
        }
        return 0;
    }

    // Closest points of the two carrier lines; s and u are lengths along the unit directions.
    const double e = dA % w;
    const double f = dB % w;
    const double s = (c * f - e) / den;
    const double u = (f - c * e) / den;
    const double sA = s / lenA;
    if (sA < kParamLow || sA > kParamHigh) {
        return 0;
    }
    const double uB = u / lenB;
    if (uB < kParamLow || uB > kParamHigh) {
        return 0;
    }
    out = a0 + dA * s;
    return 1;
}

bool YdLineSeg::Intersect(const YdLineSeg& o, YdPoint& out) const {
    return IntersectNew(o, out) != 0;
}
