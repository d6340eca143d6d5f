// SPDX-License-Identifier: MIT

#include "YdNurbsLib/geometry/YdVector.h"

#include <cmath>

#include "YdNurbsLib/geometry/YdTolerances.h"

namespace {
constexpr double kPi = 3.141592653589793;
}

YdVector& YdVector::operator=(const YdVector& v) {
    if (this != &v) {
        m_xyz[0] = v.m_xyz[0];
        m_xyz[1] = v.m_xyz[1];
        m_xyz[2] = v.m_xyz[2];
    }
    return *this;
}

void YdVector::Set(double x, double y, double z) {
    m_xyz[0] = x;
    m_xyz[1] = y;
    m_xyz[2] = z;
}

YdVector& YdVector::operator*=(double s) {
    m_xyz[0] *= s;
    m_xyz[1] *= s;
    m_xyz[2] *= s;
    return *this;
}

YdVector& YdVector::operator/=(double s) {
    // One division, then three multiplications: results differ from three divisions in the
    // last bit, and hosts compare them.
    return *this *= 1.0 / s;
}

YdVector& YdVector::operator+=(const YdVector& v) {
    m_xyz[0] += v.m_xyz[0];
    m_xyz[1] += v.m_xyz[1];
    m_xyz[2] += v.m_xyz[2];
    return *this;
}

YdVector& YdVector::operator-=(const YdVector& v) {
    m_xyz[0] -= v.m_xyz[0];
    m_xyz[1] -= v.m_xyz[1];
    m_xyz[2] -= v.m_xyz[2];
    return *this;
}

YdVector YdVector::operator-() const {
    return YdVector(-m_xyz[0], -m_xyz[1], -m_xyz[2]);
}

double YdVector::operator%(const YdVector& b) const {
    return m_xyz[0] * b.m_xyz[0] + m_xyz[1] * b.m_xyz[1] + m_xyz[2] * b.m_xyz[2];
}

YdVector YdVector::operator*(const YdVector& b) const {
    return YdVector(m_xyz[1] * b.m_xyz[2] - m_xyz[2] * b.m_xyz[1],
                    m_xyz[2] * b.m_xyz[0] - m_xyz[0] * b.m_xyz[2],
                    m_xyz[0] * b.m_xyz[1] - m_xyz[1] * b.m_xyz[0]);
}

double YdVector::Magnitude() const {
    return std::sqrt(Length2());
}

double YdVector::Length2() const {
    return m_xyz[0] * m_xyz[0] + m_xyz[1] * m_xyz[1] + m_xyz[2] * m_xyz[2];
}

bool YdVector::IsZero() const {
    return std::fabs(m_xyz[0]) < kTol1e7 && std::fabs(m_xyz[1]) < kTol1e7 &&
           std::fabs(m_xyz[2]) < kTol1e7;
}

void YdVector::Normalize() {
    if (IsZero()) {
        Set(1.0, 0.0, 0.0);
        return;
    }
    const double m = Magnitude();
    m_xyz[0] /= m;
    m_xyz[1] /= m;
    m_xyz[2] /= m;
}

void YdVector::Flip() {
    Set(-m_xyz[0], -m_xyz[1], -m_xyz[2]);
}

double YdVector::AngleWith(const YdVector& b) const {
    return std::atan2((*this * b).Magnitude(), *this % b);
}

double YdVector::AngleWith(const YdVector& b, const YdVector& ref) const {
    const double angle = AngleWith(b);
    if (((*this * b) % ref) < 0.0) {
        return 2.0 * kPi - angle;
    }
    return angle;
}

bool YdVector::IsParallelTo(const YdVector& b) const {
    YdVector a1(*this);
    YdVector b1(b);
    a1.Normalize();
    b1.Normalize();
    const double d = a1 % b1;
    return std::fabs(std::fabs(d) - 1.0) < kTol1e7;
}

YdVector operator+(const YdVector& a, const YdVector& b) {
    return YdVector(a[0] + b[0], a[1] + b[1], a[2] + b[2]);
}

YdVector operator-(const YdVector& a, const YdVector& b) {
    return YdVector(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

YdVector operator*(const YdVector& v, double s) {
    return YdVector(s * v[0], s * v[1], s * v[2]);
}

YdVector operator*(double s, const YdVector& v) {
    return YdVector(s * v[0], s * v[1], s * v[2]);
}

bool operator==(const YdVector& a, const YdVector& b) {
    return std::fabs(a[0] - b[0]) < kTol1e7f && std::fabs(a[1] - b[1]) < kTol1e7f &&
           std::fabs(a[2] - b[2]) < kTol1e7f;
}
