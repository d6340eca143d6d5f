// SPDX-License-Identifier: MIT

#include "YdNurbsLib/geometry/YdPoint.h"

#include <algorithm>
#include <cmath>

#include "YdNurbsLib/geometry/YdTolerances.h"

// The attributes a bare Set leaves alone start at zero here, so a fresh point never carries
// indeterminate values into the host.
YdPoint::YdPoint()
    : m_angle(0.0),
      m_dAttr1(0.0),
      m_dAttr2(0.0),
      m_dAttr3(0.0),
      m_nAttr5(0),
      m_dAttr4(0.0),
      m_dAttr5(0.0),
      m_dAttr6(0.0),
      m_dAttr7(0.0),
      m_dAttr8(0.0) {
    Set(0.0, 0.0, 0.0);
}

YdPoint::YdPoint(double x, double y, double z) : YdPoint() {
    Set(x, y, z);
}

YdPoint& YdPoint::operator=(const YdPoint& q) {
    if (this != &q) {
        for (int i = 0; i < 3; ++i) {
            (*this)[i] = q[i];
        }
        m_nAttr1 = q.m_nAttr1;
        m_nAttr2 = q.m_nAttr2;
        m_nAttr3 = q.m_nAttr3;
        m_nAttr4 = q.m_nAttr4;
        m_dAttr1 = q.m_dAttr1;
        m_dAttr4 = q.m_dAttr4;
        m_dAttr5 = q.m_dAttr5;
        m_dAttr6 = q.m_dAttr6;
        m_dAttr7 = q.m_dAttr7;
        m_bFlag = q.m_bFlag;
        m_nAttr6 = q.m_nAttr6;
        m_nAttr5 = q.m_nAttr5;
        m_dAttr8 = q.m_dAttr8;
    }
    return *this;
}

void YdPoint::Set(double x, double y, double z) {
    m_nAttr1 = 0;
    m_nAttr2 = 0;
    m_nAttr3 = 0;
    m_nAttr4 = 0;
    m_nAttr6 = 0;
    m_bFlag = false;
    m_xyz[0] = x;
    m_xyz[1] = y;
    m_xyz[2] = z;
}

YdPoint& YdPoint::operator+=(const YdPoint& q) {
    Set(m_xyz[0] + q.m_xyz[0], m_xyz[1] + q.m_xyz[1], m_xyz[2] + q.m_xyz[2]);
    return *this;
}

YdPoint& YdPoint::operator-=(const YdPoint& q) {
    Set(m_xyz[0] - q.m_xyz[0], m_xyz[1] - q.m_xyz[1], m_xyz[2] - q.m_xyz[2]);
    return *this;
}

YdPoint& YdPoint::operator*=(double s) {
    Set(m_xyz[0] * s, m_xyz[1] * s, m_xyz[2] * s);
    return *this;
}

YdPoint& YdPoint::operator/=(double s) {
    Set(m_xyz[0] / s, m_xyz[1] / s, m_xyz[2] / s);
    return *this;
}

double YdPoint::SquareDistanceToPoint(const YdPoint& q) const {
    const double dx = m_xyz[0] - q.m_xyz[0];
    const double dy = m_xyz[1] - q.m_xyz[1];
    const double dz = m_xyz[2] - q.m_xyz[2];
    return dx * dx + dy * dy + dz * dz;
}

double YdPoint::DistanceToPoint(const YdPoint& q) const {
    return std::sqrt(SquareDistanceToPoint(q));
}

double YdPoint::AngleWithTwoPoint(const YdPoint& a, const YdPoint& b, const YdPoint& c) {
    YdVector u = b - a;
    YdVector w = c - b;
    u.Normalize();
    w.Normalize();
    double d = w % u;
    d = std::min(d, 1.0);
    d = std::max(d, -1.0);
    m_angle = std::acos(d);
    return m_angle;
}

YdVector operator-(const YdPoint& a, const YdPoint& b) {
    return YdVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

YdPoint operator+(const YdPoint& p, const YdVector& v) {
    return YdPoint(p[0] + v[0], p[1] + v[1], p[2] + v[2]);
}

bool operator==(const YdPoint& a, const YdPoint& b) {
    return a.DistanceToPoint(b) < kTol1e7;
}
