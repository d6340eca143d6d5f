// SPDX-License-Identifier: MIT

#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"

/// A free 3-D vector of doubles in the host's length unit. Exactly one field, m_xyz, so the
/// class may be copied bytewise; hosts read the layout directly.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdVector {
  public:
    /// The zero vector.
    YdVector() : m_xyz{0.0, 0.0, 0.0} {}
    /// The vector (x, y, z).
    YdVector(double x, double y, double z) : m_xyz{x, y, z} {}
    /// Copies the three components.
    YdVector(const YdVector&) = default;
    /// Copies the three components (self-assignment is a no-op).
    YdVector& operator=(const YdVector& v);

    /// Stores the three components.
    void Set(double x, double y, double z);
    /// Set(0, 0, 0).
    void SetZero() { Set(0.0, 0.0, 0.0); }

    /// Component i (0 = x, 1 = y, 2 = z); no range check: i outside [0, 2] is undefined.
    double operator[](int i) const { return m_xyz[i]; }
    /// Writable component i; no range check.
    double& operator[](int i) { return m_xyz[i]; }

    /// Multiplies each component by s.
    YdVector& operator*=(double s);
    /// `*this *= 1.0 / s`: one division, then three multiplications. No guard: s = 0 gives
    /// infinities or NaN, which are passed on.
    YdVector& operator/=(double s);
    /// Adds v component by component.
    YdVector& operator+=(const YdVector& v);
    /// Subtracts v component by component.
    YdVector& operator-=(const YdVector& v);
    /// A new vector (-x, -y, -z).
    YdVector operator-() const;

    /// Dot product x*bx + y*by + z*bz.
    double operator%(const YdVector& b) const;
    /// Cross product (y*bz - z*by, z*bx - x*bz, x*by - y*bx).
    YdVector operator*(const YdVector& b) const;

    /// Euclidean length sqrt(x^2 + y^2 + z^2).
    double Magnitude() const;
    /// Squared length x^2 + y^2 + z^2.
    double Length2() const;
    /// True when every component is below kTol1e7 in absolute value (strict: 1e-7 itself is
    /// not zero), tested x, y, z in order.
    bool IsZero() const;
    /// Makes the vector unit length by three divisions by its magnitude. A vector that
    /// IsZero becomes (1, 0, 0): a deliberate fallback so callers always get a unit vector.
    void Normalize();
    /// Reverses the vector in place.
    void Flip();
    /// Unsigned angle in radians, in [0, pi], as atan2(|a x b|, a . b); the vectors need not
    /// be unit. 0 when either vector is zero.
    double AngleWith(const YdVector& b) const;
    /// As AngleWith(b), then 2*pi - angle when (a x b) . ref < 0: a signed turn about ref, in
    /// [0, 2*pi). A product of exactly 0 keeps the unsigned angle.
    double AngleWith(const YdVector& b, const YdVector& ref) const;
    /// True when both vectors, normalised (a zero vector becomes (1, 0, 0)), have a dot
    /// product within kTol1e7 of +1 or -1: opposite directions count as parallel.
    bool IsParallelTo(const YdVector& b) const;

    double m_xyz[3];  ///< x, y, z (the only field: the class may be copied bytewise)
};

/// Component-wise sum.
YDNURBSLIB_EXPORT YdVector operator+(const YdVector& a, const YdVector& b);
/// Component-wise difference a - b.
YDNURBSLIB_EXPORT YdVector operator-(const YdVector& a, const YdVector& b);
/// (s*x, s*y, s*z).
YDNURBSLIB_EXPORT YdVector operator*(const YdVector& v, double s);
/// (s*x, s*y, s*z).
YDNURBSLIB_EXPORT YdVector operator*(double s, const YdVector& v);
/// True when |a[i] - b[i]| < kTol1e7f for i = 0, 1, 2. The one test of the library that uses
/// the widened single-precision tolerance, on purpose: hosts compare directions with it.
YDNURBSLIB_EXPORT bool operator==(const YdVector& a, const YdVector& b);
