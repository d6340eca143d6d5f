// SPDX-License-Identifier: MIT

#include "YdNurbsLib/geometry/YdSegment.h"

#include "YdNurbsLib/geometry/YdTolerances.h"

YdSegment::YdSegment() : m_length(0.0) {}

YdSegment::YdSegment(const YdPoint& a, const YdPoint& b) : m_length(0.0) {
    set(a, b);
}

YdSegment& YdSegment::operator=(const YdSegment& s) {
    m_start = s.m_start;
    m_end = s.m_end;
    m_dir = s.m_dir;
    m_length = s.m_length;
    return *this;
}

void YdSegment::set(const YdPoint& a, const YdPoint& b) {
    m_start = a;
    m_end = b;
    m_dir = b - a;
    m_length = b.DistanceToPoint(a);
}

bool YdSegment::getRatePoint(double t, YdPoint& out) const {
    if (m_end.DistanceToPoint(m_start) < kTol1e7) {
        out = m_end;
        return false;
    }
    if (t < 0.0 || t > 1.0) {
        return false;
    }
    out = m_start + (m_end - m_start) * t;
    return true;
}

double YdSegment::getRatePointToEnd(double t) const {
    return m_length - m_length * t;
}

double YdSegment::DistanceToPoint(const YdPoint& p) const {
    return ((p - m_start) * m_dir).Magnitude() / m_length;
}
