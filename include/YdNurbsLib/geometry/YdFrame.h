// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A local coordinate system: an origin and three unit axes.
///
/// After the two-direction constructor, SetFrame and Transform every axis has unit length
/// (a zero direction becomes (1, 0, 0), the fallback of YdVector::Normalize), and after the
/// constructor and SetFrame Z = X x Y, normalised. Y is not re-orthogonalised against X: the
/// axes are orthogonal only when the caller passes orthogonal directions.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them. The field order (origin, X,
/// Y, Z) is part of the interface too.
class YDNURBSLIB_EXPORT YdFrame {
  public:
    /// Origin (0, 0, 0) and three zero axes: a frame that IsValid reports as invalid.
    YdFrame();
    /// Origin o (copied with every field); X = x normalised; Y = y normalised; Z = X x Y
    /// normalised. Parallel x and y give a zero cross product, which normalises to (1, 0, 0):
    /// such a frame counts as valid.
    YdFrame(const YdPoint& o, const YdVector& x, const YdVector& y);
    /// Member-wise copy (the origin with all its host attributes).
    YdFrame(const YdFrame&) = default;
    /// Copies the origin through YdPoint's assignment (which keeps this origin's per-slot host
    /// attributes) and the three axes.
    YdFrame& operator=(const YdFrame& f);

    /// Sets the axes as the three-argument constructor does; the origin is kept.
    void SetFrame(const YdVector& x, const YdVector& y);
    /// The origin (a position in length units).
    const YdPoint& GetOrigin() const { return m_origin; }
    /// Replaces the origin through YdPoint assignment (the stored origin keeps its m_angle,
    /// m_dAttr2 and m_dAttr3); the axes are kept.
    void SetOrigin(const YdPoint& o) { m_origin = o; }
    /// The X axis (unit length once the frame is set).
    const YdVector& DirX() const { return m_dirX; }
    /// The Y axis (unit length once the frame is set).
    const YdVector& DirY() const { return m_dirY; }
    /// The Z axis (unit length once the frame is set).
    const YdVector& DirZ() const { return m_dirZ; }

    /// True for the same object; otherwise true when the origins are closer than 1e-7 (point
    /// equality) and every axis equals the other's component by component within the widened
    /// single-precision 1e-7 (vector equality).
    bool operator==(const YdFrame& o) const;
    /// True when Z is not zero (some component at least 1e-7 in absolute value). Since every
    /// way of setting the axes normalises Z, only a frame whose axes were never set is
    /// invalid; a frame from parallel directions has Z = (1, 0, 0) and is valid, by design.
    bool IsValid() const;
    /// Moves the frame by m: the origin by the matrix-times-point product (a 4 x 4 matrix
    /// applies its translation column, a 3 x 3 one does not), each axis by the
    /// matrix-times-vector product (no translation), then each axis is normalised on its own.
    /// Z is not recomputed from X and Y, so a reflection keeps the reflected Z.
    void Transform(const YdMatrix& m);
    /// The 4 x 4 rigid motion (translation in column 3, last row (0, 0, 0, 1)) that carries
    /// this frame onto target: applied to this origin it gives target's origin, applied to this
    /// frame's axes (as directions) it gives target's axes. Both frames must be valid with
    /// independent axes: for a singular source frame the inverse of its axis matrix cannot be
    /// formed, the axis matrix is used as it stands and the result is meaningless (nothing is
    /// reported).
    YdMatrix GetTransformToNewFrame(const YdFrame& target) const;
    /// A new frame (owned by the caller, delete it) fitted to the point cloud by principal
    /// components: origin = centroid, axes = eigenvectors of the population covariance (the
    /// sum of squared deviations divided by the number of points, not by one less). With
    /// sortAxes the axes follow increasing absolute eigenvalue, so X is the direction of least
    /// spread (the normal of the best-fitting plane) and Y the middle one; without it they
    /// keep the eigen-solver's order. Z = X x Y, normalised, which makes the frame
    /// right-handed. Null for fewer than three points or when the eigen-solver does not
    /// converge.
    static YdFrame* CreateByPCA(const std::vector<YdPoint>& pts, bool sortAxes);

  private:
    YdPoint m_origin;
    YdVector m_dirX;
    YdVector m_dirY;
    YdVector m_dirZ;
};
