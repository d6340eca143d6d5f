// SPDX-License-Identifier: MIT

#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A position in 3-D space (doubles, in the host's length unit) that also carries a block of
/// host attributes. The library carries the attributes as each member says and never
/// interprets them. The field order and widths are part of the exported interface: hosts read
/// the layout directly, so do not reorder, add or remove fields.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdPoint {
  public:
    /// The origin. Unlike a bare Set, every host attribute also starts at zero.
    YdPoint();
    /// The point (x, y, z); host attributes start at zero.
    YdPoint(double x, double y, double z);
    /// Member-wise copy of every field, m_angle included (unlike assignment).
    YdPoint(const YdPoint&) = default;
    /// Copies the coordinates and the host attributes m_nAttr1..4, m_dAttr1, m_dAttr4..7,
    /// m_bFlag, m_nAttr6, m_nAttr5, m_dAttr8. m_angle, m_dAttr2 and m_dAttr3 are deliberately
    /// not copied: hosts keep per-slot values there. Self-assignment is a no-op.
    YdPoint& operator=(const YdPoint& q);
    /// Trivial: a point owns nothing.
    ~YdPoint() = default;

    /// Stores x, y, z and resets m_nAttr1..4 and m_nAttr6 to 0 and m_bFlag to false; the
    /// double attributes and m_nAttr5 are left as they are.
    void Set(double x, double y, double z);

    /// Coordinate i (0 = x, 1 = y, 2 = z); no range check: i outside [0, 2] is undefined.
    double operator[](int i) const { return m_xyz[i]; }
    /// Writable coordinate i (0 = x, 1 = y, 2 = z); no range check. Writing a coordinate this
    /// way leaves every attribute alone (unlike Set).
    double& operator[](int i) { return m_xyz[i]; }

    /// Component-wise sum, stored through Set: the int attributes and the flag are reset as a
    /// side effect, on purpose (a computed point is no longer the host's programmed point).
    YdPoint& operator+=(const YdPoint& q);
    /// Component-wise difference, stored through Set (same reset).
    YdPoint& operator-=(const YdPoint& q);
    /// Each coordinate times s, stored through Set (same reset).
    YdPoint& operator*=(double s);
    /// Each coordinate divided by s, stored through Set (same reset). No guard: s = 0 gives
    /// infinities or NaN.
    YdPoint& operator/=(double s);

    /// Squared Euclidean distance to q (a squared length).
    double SquareDistanceToPoint(const YdPoint& q) const;
    /// Euclidean distance to q (a length).
    double DistanceToPoint(const YdPoint& q) const;
    /// Turning angle in radians at b of the polyline a-b-c, in [0, pi]: 0 for a straight
    /// continuation, pi for a full reversal. Zero-length legs count as direction (1, 0, 0).
    /// Stored in m_angle of this object (whose coordinates are not used) and returned.
    double AngleWithTwoPoint(const YdPoint& a, const YdPoint& b, const YdPoint& c);

    /// A vector with this point's x, y, z.
    operator YdVector() const { return YdVector(m_xyz[0], m_xyz[1], m_xyz[2]); }

    double m_angle;   ///< turning angle, written by AngleWithTwoPoint; not copied by assignment
    double m_dAttr1;  ///< host attribute; copied by assignment
    double m_dAttr2;  ///< host attribute; never read, written or copied by the library
    double m_dAttr3;  ///< host attribute; never read, written or copied by the library
    int m_nAttr1;     ///< host attribute; reset by Set; copied by assignment
    int m_nAttr2;     ///< host attribute; reset by Set; copied by assignment
    int m_nAttr3;     ///< host attribute; reset by Set; copied by assignment
    int m_nAttr4;     ///< host attribute; reset by Set; copied by assignment
    bool m_bFlag;     ///< host flag; reset by Set; copied by assignment
    int m_nAttr5;     ///< host attribute; copied by assignment, not touched by Set
    int m_nAttr6;     ///< host attribute; reset by Set; copied by assignment
    double m_dAttr4;  ///< host attribute; copied by assignment, not touched by Set
    double m_dAttr5;  ///< host attribute; copied by assignment, not touched by Set
    double m_dAttr6;  ///< host attribute; copied by assignment, not touched by Set
    double m_dAttr7;  ///< host attribute; copied by assignment, not touched by Set
    double m_dAttr8;  ///< host attribute; copied by assignment, not touched by Set
    double m_xyz[3];  ///< x, y, z
};

/// The vector a - b (from b to a).
YDNURBSLIB_EXPORT YdVector operator-(const YdPoint& a, const YdPoint& b);
/// A new point p + v, built by the three-double constructor: its attributes are the freshly
/// reset ones, not p's.
YDNURBSLIB_EXPORT YdPoint operator+(const YdPoint& p, const YdVector& v);
/// True when the distance from a to b is below kTol1e7 (strict).
YDNURBSLIB_EXPORT bool operator==(const YdPoint& a, const YdPoint& b);
