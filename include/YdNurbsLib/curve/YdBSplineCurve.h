// SPDX-License-Identifier: MIT

#pragma once

#include <utility>
#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdFrame.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

struct YdBSplineCurveTestAccess;

/// A non-rational B-spline curve in 3-D: a degree p, a clamped knot vector, control points,
/// and the points the curve was built from with their parameters. Every curve the library
/// builds runs over the parameter range [0, 1]; several members take that range literally.
/// Invariant kept by the construction routines (not checked): knot count = control-point
/// count + degree + 1.
///
/// Ownership: every factory (`Create...`, `ExtractSubCurve`, `OffSetCurve`,
/// `CreateOffSetBSpline`) returns a new curve that the caller owns and deletes, or null on
/// failure; `SplitCurve` returns a list of such pointers. No member throws; only the standard
/// containers' allocation errors can pass through.
///
/// Lengths are in the host's length unit; parameters are curve parameters, normally in [0, 1].
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included (`CalucalteErrorMatrix`, `OffSetCurve`,
/// `CreateOffSetBSpline`); do not "fix" them. The field order is part of the interface too.
class YDNURBSLIB_EXPORT YdBSplineCurve {
  public:
    // ---------------------------------------------------------------------------------------
    // Object, accessors and evaluation

    /// An empty curve: no knots, control points or fit points; degree 0, open.
    YdBSplineCurve();
    /// A degenerate cubic lying at one point: degree 3, closed flag true, the point four times
    /// as control points and as fit points, and the knots and point parameters both
    /// 0, 0, 0, 0, 1, 1, 1, 1. The closed flag and the eight parameters are what hosts expect
    /// of this constructor and are kept.
    explicit YdBSplineCurve(const YdPoint& pt);
    /// A curve to be filled by a construction routine: the fit points, degree and closed flag
    /// are stored; control points, knots and parameters stay empty.
    YdBSplineCurve(const std::vector<YdPoint>& fitPnts, int degree, bool closed);
    /// A curve given directly by knots and control points; no fit points or parameters.
    YdBSplineCurve(const YdKnotVec& knots, const std::vector<YdPoint>& ctrlPnts, int degree,
                   bool closed);
    /// Member-wise copy of all six members.
    YdBSplineCurve(const YdBSplineCurve& other);
    /// Member-wise copy of all six members.
    YdBSplineCurve& operator=(const YdBSplineCurve& other);
    virtual ~YdBSplineCurve();

    /// The polynomial degree p.
    int Degree() const { return m_degree; }
    /// The knot vector, by reference (callers may edit it).
    YdKnotVec& KnotVec() { return m_knotVec; }
    const YdKnotVec& KnotVec() const { return m_knotVec; }
    /// The control points, by reference (callers may edit them in place).
    std::vector<YdPoint>& CtrlPoints() { return m_ctrlPnts; }
    const std::vector<YdPoint>& CtrlPoints() const { return m_ctrlPnts; }
    /// Number of control points.
    int GetNumOfCtrlPnts() const { return static_cast<int>(m_ctrlPnts.size()); }
    /// Parameter of each fit point (a closed fit has one more entry than fit points).
    const std::vector<double>& GetPointsParams() const { return m_pointParams; }
    /// Entry i of the point parameters; no range check.
    double GetPointParam(int i) const { return m_pointParams[i]; }
    /// True for a closed curve.
    bool IsClosed() const { return m_closed; }
    /// The points the curve was built from (empty for a curve made from knots and points).
    const std::vector<YdPoint>& FitPoints() const { return m_fitPnts; }
    /// First knot. A curve without knots reports 0.0 (guarded: there is no first knot).
    double startParam() const;
    /// Last knot. A curve without knots reports 0.0 (guarded: there is no last knot).
    double endParam() const;

    /// Sets the degree, replaces the control points by numCtrlPnts default points and, if
    /// allocKnots, the knots by degree + numCtrlPnts + 1 zeros.
    void AllocateMemory(int degree, int numCtrlPnts, bool allocKnots);

    /// The curve point at u. u is not clamped: outside the knot range the first or last span's
    /// polynomial is extended. At endParam the result is the last control point of a clamped
    /// curve. Allocation-free. The result is a fresh point (host attributes zero). A curve that
    /// cannot be evaluated (a negative degree, fewer than 2 (p + 1) knots, or fewer control
    /// points than the knots need; extra control points are not read) gives the point
    /// (0, 0, 0) rather than reading out of range.
    YdPoint Evaluate(double u) const;
    /// The curve point at u into pt and the derivatives 1..numDerivs into derivs (resized to
    /// numDerivs; derivs[0] is the first derivative, derivs[1] the second). Derivatives of an
    /// order above the degree are zero vectors; a negative numDerivs counts as 0. pt receives
    /// the coordinates as by pt = YdPoint(x, y, z). Always true; a curve that cannot be
    /// evaluated (see Evaluate(u)) gives the zero point and zero derivatives. Allocation-free
    /// when derivs already holds numDerivs entries.
    bool Evaluate(double u, int numDerivs, YdPoint& pt, std::vector<YdVector>& derivs) const;

    /// Maps the control points and then the fit points by m (a 4-row matrix is a rotation
    /// followed by the translation in its fourth column). Knots and parameters are unchanged.
    void Transform(const YdMatrix& m);
    /// Reverses the direction of the curve: control points in reverse order and interior knots
    /// reflected by u -> 1 - u (the range [0, 1] is assumed). The knot loop runs while
    /// i <= N / 2 - p, a bound kept exactly: with an even number of interior knots the last
    /// pass puts the two middle ones back, which hosts rely on. Fit points, parameters and the
    /// closed flag are not touched.
    void Reverse();

    // ---------------------------------------------------------------------------------------
    // Interpolating construction (each returns a new curve owned by the caller, or null)

    /// Global interpolation through points by chord-length parameters, degree 3 (1 for two
    /// points, 2 for three). Closed: the curve joins its end to its start with equal position,
    /// first and second derivatives (m + p control points). Null for fewer than two points or a
    /// singular system (for example coincident points). In all three interpolations a solution
    /// that is not finite counts as singular: coincident parameters make zero-length spans, and
    /// the NaN they give passes every pivot test.
    static YdBSplineCurve* CreateInterpolateCurve(const std::vector<YdPoint>& points, bool closed);
    /// Interpolation with first derivatives prescribed at the listed point indices (ascending,
    /// not checked). Each vector is the derivative with respect to the normalised parameter,
    /// used as it stands. Degree min(3, m + k - 1). With two points the derivatives are
    /// ignored. For a closed curve the derivative rows overwrite the closure rows, as hosts
    /// expect; closure rows that would fall beyond the system (fewer than p - 1 derivatives)
    /// are dropped, so the curve still closes in position. Null for fewer than two points, a
    /// derivative index outside the point list (three or more points; with two, the
    /// derivatives and their indices are ignored), or a singular system.
    static YdBSplineCurve* CreateInterpolateCurve(
        const std::vector<YdPoint>& points, const std::vector<std::pair<int, YdVector>>& derivs,
        bool closed);
    /// Interpolation with the caller's degree, parameters (one per point, not stored) and
    /// complete knot vector. Two or three points become the control points as they are. Null
    /// for fewer than two points, a negative degree, knots too short for the degree, fewer
    /// parameters than points, more points than unknowns, or a singular system.
    static YdBSplineCurve* CreateInterpolateCurve(const std::vector<YdPoint>& points, int degree,
                                                  const std::vector<double>& params,
                                                  const YdKnotVec& knots, bool closed);
    /// One cubic Bezier segment from p0 to p1. When both tangents equal the unit chord
    /// direction (vector equality), the control points are evenly spaced on the chord;
    /// otherwise t0 and t1 are derivatives with respect to the parameter (control points
    /// p0 + t0 / 3 and p1 - t1 / 3). Never null.
    static YdBSplineCurve* CreateByEndPointsAndTangents(const YdPoint& p0, const YdPoint& p1,
                                                        const YdVector& t0, const YdVector& t1);
    /// A two-span cubic through p0, p1, p2 with end derivatives t0 and t2, passing through p1
    /// at its chord-length parameter. When p1 coincides exactly with p0 or p2, or so nearly
    /// that its parameter rounds onto 0 or 1 (no room for the middle knot; the solve would
    /// divide by zero), falls back to CreateByEndPointsAndTangents(p0, p2, t0, t2). Never null.
    static YdBSplineCurve* CreateByThreePointsAndEndTangents(const YdPoint& p0, const YdPoint& p1,
                                                             const YdPoint& p2, const YdVector& t0,
                                                             const YdVector& t2);

    // ---------------------------------------------------------------------------------------
    // Knot insertion, removal, split and sub-curve (the knot range [0, 1] is assumed)

    /// Inserts u once without changing the shape. False (curve unchanged) for u outside the
    /// open interval (0, 1), for u equal to an existing knot when allowExisting is false, and
    /// when the knot already has multiplicity p. u within 1e-7 of a knot of its own span, or
    /// of the knots just below it, snaps onto that knot (a knot just above u does not).
    /// Guarded, also false: NaN, a curve whose knot count does not match its control points
    /// and degree, and u outside the curve's own knot range (which would unorder the knots).
    bool InsertKnot(double u, bool allowExisting);
    /// Removes one occurrence of the interior knot u (matched when u lies at the knot or up to
    /// 1e-5 above it: the match looks from above, as hosts expect) when the curve moves
    /// by at most tol (a length; the test is tol >= distance). False, curve unchanged, for u
    /// outside (0, 1), u not a knot, or a removal that would move the curve more than tol.
    /// Guarded, also false: NaN, degree 0, a malformed curve, and u that snaps onto an end
    /// knot (the removal would read before the first control point).
    bool RemoveKnot(double u, double tol);
    /// Two new open curves, each reparameterised to [0, 1], for the pieces [start, u] and
    /// [u, end]; for u at or beyond the ends, one copy made from knots and control points.
    /// Also one copy (guarded) for a malformed curve, a refused insertion, or u within 1e-7 of
    /// an end, where a piece would have no span. The caller owns the curves.
    std::vector<YdBSplineCurve*> SplitCurve(double u);
    /// A new open curve for the parameter range [u1, u2], reparameterised to [0, 1]; u1 below
    /// the first knot and u2 above the last are clamped. Null when u1 >= u2 after clamping
    /// (there is no piece to extract; the literal algorithm would divide by zero or index out
    /// of range), and likewise for NaN bounds, a malformed curve, a bound within about 1e-7 of
    /// an end knot on the wrong side, or a refused insertion.
    YdBSplineCurve* ExtractSubCurve(double u1, double u2) const;
    /// ExtractSubCurve between the curve points nearest to p1 and p2, parameters taken in the
    /// order of the points. Null when a nearest-point search fails or the first point projects
    /// at or beyond the second.
    YdBSplineCurve* ExtractSubCurve(const YdPoint& p1, const YdPoint& p2) const;

    // ---------------------------------------------------------------------------------------
    // Least-squares approximation with fairing (cubic)

    /// Fits points with a cubic through the first and last point whose largest squared
    /// distance from the points is below `tolerance` (a squared distance, compared strictly:
    /// 1e-4 means 0.01 length units). Two points give a straight cubic; three or four are
    /// interpolated. Otherwise a binary search on the control-point count between 5 and 500
    /// keeps the smallest curve within tolerance or, if none is, the least-error one (check
    /// the deviation if it matters). A trial with exactly 500 control points is never taken
    /// as the within-tolerance choice (kept: hosts rely on the strict bound). Null for fewer
    /// than two points, non-finite coordinates, all points equal (three or more), or when no
    /// fit succeeds or none can be chosen.
    static YdBSplineCurve* CreateApproximateCurve(const std::vector<YdPoint>& points, bool closed,
                                                  double tolerance);
    /// As above, with the points at indices interpIdx met exactly (a repeated index makes
    /// every fit singular and an index outside the point list fails every fit, so the result
    /// is null).
    static YdBSplineCurve* CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                  const std::vector<int>& interpIdx, bool closed,
                                                  double tolerance);
    /// As above, with first-derivative vectors prescribed at point indices (the derivative
    /// with respect to the curve parameter, length included). An open curve is then fitted by
    /// plain least squares without fairing. With 3 or 4 points the tangents are ignored.
    static YdBSplineCurve* CreateApproximateCurve(
        const std::vector<YdPoint>& points, const std::vector<int>& interpIdx,
        const std::vector<std::pair<int, YdVector>>& tangents, bool closed, double tolerance);
    /// One fit with exactly numCtrlPnts control points; the error is not checked. Null when
    /// the fit fails (a singular system, numCtrlPnts below 4, a bad index, non-finite points).
    static YdBSplineCurve* CreateApproximateCurve(const std::vector<YdPoint>& points,
                                                  const std::vector<int>& interpIdx,
                                                  int numCtrlPnts, bool closed);
    /// One fit on the given complete knot vector (a cubic's: count - 4 control points),
    /// returned only when its largest squared distance is below tolerance, whatever its
    /// control-point count (the bound of 500 belongs to the search); else null.
    static YdBSplineCurve* CreateApproximateCurveWithKnot(const std::vector<YdPoint>& points,
                                                          const std::vector<double>& knots,
                                                          const std::vector<int>& interpIdx,
                                                          bool closed, double tolerance);

    // ---------------------------------------------------------------------------------------
    // Length, nearest point and curvature

    /// Arc length from a to b by 4-point Gauss-Legendre quadrature on each knot span. With
    /// a > b the interval is swapped and, if `signedLength`, the result is negative. 0.0 for
    /// a == b.
    double Length(double a, double b, bool signedLength) const;
    /// Arc length from a to b by Romberg extrapolation of chord lengths, at most 15 levels,
    /// stopping when the relative change is below tol. Never negative (0.0 for a == b).
    double Length(double a, double b, double tol) const;
    /// Point inversion: the parameter u and the curve point `nearest` closest to P, by Newton
    /// iteration (at most 5 steps) from the start value *u0, or, when u0 is null, from up to
    /// five start values taken from a coarse sampling of every span. The stopping cosine is
    /// cos(89.5) with the argument in radians (about 0.0354), taken as it stands. A closed
    /// curve wraps the parameter across its seam; an open one clamps it. A step whose
    /// denominator is zero, or whose new parameter is NaN (or, on a closed curve, infinite),
    /// ends that start value's iteration (guarded: no NaN parameter); a closed curve's wrap of a
    /// far-away parameter is bounded. False, out-parameters untouched, when there is no start value
    /// (a curve without spans: degree below 0, no more control points than the degree, a knot count
    /// other than control points + degree + 1, or a parameter range of zero width) or when no start
    /// value ends at a finite distance (a NaN query point).
    bool FindNearestPoint(const YdPoint& P, double& u, YdPoint& nearest,
                          double* u0 = nullptr) const;
    /// The point at arc length `dist` (a length) from the projection of P, forward (towards
    /// parameter 1) or backward (towards 0), by bisection on Romberg lengths with relative
    /// tolerance `tol` until the length error is below 1e-7. False when the projection fails,
    /// or when dist runs past the end of the curve: then u and point report that end. The
    /// bisection is bounded to 200 halvings (far below the resolution of a double) and stops
    /// when the bracket is two neighbouring doubles, so it ends even when the length cannot
    /// reach 1e-7 accuracy (for example a negative distance).
    bool locatePoint(const YdPoint& P, double dist, bool forward, double& u, YdPoint& point,
                     double tol) const;
    /// Curvature |C' x C''| / |C'|^3 at u (1 / length unit); true. A zero first derivative
    /// gives the division's non-finite value. False, k untouched, for a curve without spans
    /// (see FindNearestPoint). Allocation-free.
    bool CalculateCurvature(double u, double& k) const;
    /// Radius of curvature 1 / k at u (a length); -1.0 when the curvature cannot be evaluated
    /// (a curve without spans); infinity for zero curvature (a straight piece).
    double CalcRadiusOfCurvature(double u) const;
    /// The Frenet frame at u: origin C(u), X along the binormal C' x C'', Y along C' (the frame
    /// normalises them); true. False, frame untouched, for a curve without spans.
    bool FrenetFrame(double u, YdFrame& frame) const;
    /// The point and parameter at half the Gauss length of [0, 1], by bisection to 1e-5 in
    /// length, at most 100 rounds.
    void GetMiddlePoint(YdPoint& point, double& u) const;
    /// Appends the n + 1 points C(a + i (b - a) / n), i = 0..n, to out (not cleared). n < 1
    /// appends nothing (n = 0 would divide by zero).
    void Sampling(int n, std::vector<YdPoint>& out, double a, double b) const;

    // ---------------------------------------------------------------------------------------
    // Offset and rotation

    /// A new cubic at constant distance `distance` (a length) from this curve, on the side of
    /// the principal normal at the start (towards the centre of curvature for a positive
    /// distance). The offset vector is transported span by span with the rotation that turns
    /// each tangent into the next, ten samples per non-empty span (the tolerance does not
    /// change the sampling, as hosts expect), and the samples are fitted with
    /// CreateApproximateCurve at `tolerance` (a squared distance). The start offset is
    /// distance x (T x A) x T with T and A the unit first and second derivatives at the
    /// parameter 0.0: its length is distance times the sine of their angle, so the full
    /// distance only where C'' is perpendicular to C' (as on a circle), which hosts expect. A
    /// zero second derivative (a straight start) gives a zero offset vector rather than an
    /// invented direction; one along the tangent gives a (nearly) zero one. Null when the fit
    /// fails or the curve is malformed (a negative degree, fewer than 2 (p + 1) knots).
    YdBSplineCurve* OffSetCurve(double distance, double tolerance) const;
    /// The same algorithm applied to `curve`.
    static YdBSplineCurve* CreateOffSetBSpline(const YdBSplineCurve& curve, double distance,
                                               double tolerance);
    /// Moves the seam of a closed curve to parameter u in (0, 1): the curve then starts at the
    /// old C(u) and traces the same shape, with knots spread in proportion to arc length.
    /// True and unchanged for |u| < 1e-7. False, unchanged, for an open curve, a negative
    /// degree, or when a piece cannot be extracted (u < 0 or u >= 1). A curve of zero length
    /// splits its knots at u itself (the length ratio would be 0 / 0). Fit points and
    /// parameters are not updated.
    bool Rotate(double u);

  private:
    friend struct YdBSplineCurveTestAccess;

    /// Interpolation knots (always the open averaging rule) or approximation knots from the
    /// point parameters and the current control-point count.
    void DetermineKnotVector(bool interpolate);

    /// One smoothed least-squares fit of an open curve with numCtrlPnts control points on the
    /// curve's own fit points and parameters; lambda in [0, 1] weighs the bending energy.
    /// False on a singular system (control points then resized but not filled) or when the
    /// bending energy is zero everywhere (guarded: no division by zero); also false for a
    /// degree below 1, fewer than p + 1 control points, a knot count other than n + p + 1, a
    /// non-finite fit point or basis value, an index outside the point list, or a non-finite
    /// solution.
    bool LeastSquareFitOpen(int numCtrlPnts, const std::vector<int>& interpIdx, bool keepKnots,
                            double lambda);
    /// The same with first-derivative constraints. Note the argument order: tangents before
    /// interpIdx, unlike the public overload; kept as the interface has it.
    bool LeastSquareFitOpen(int numCtrlPnts, const std::vector<std::pair<int, YdVector>>& tangents,
                            const std::vector<int>& interpIdx, bool keepKnots, double lambda);
    /// Closed smoothed fit: the open system plus p constraints joining derivatives 0..p-1 at
    /// both ends. When numCtrlPnts <= 2p + 1 the start and end columns overlap and the stores
    /// are made in a fixed order, a later one replacing an earlier one (kept as hosts expect;
    /// such systems may be singular).
    bool LeastSquareFitClosed(int numCtrlPnts, const std::vector<int>& interpIdx, bool keepKnots,
                              double lambda);
    bool LeastSquareFitClosed(int numCtrlPnts,
                              const std::vector<std::pair<int, YdVector>>& tangents,
                              const std::vector<int>& interpIdx, bool keepKnots, double lambda);
    /// Open fit with interpolated points and derivatives by plain least squares (no fairing),
    /// knots always recomputed.
    bool LeastSquareFitSpecial(int numCtrlPnts,
                               const std::vector<std::pair<int, YdVector>>& tangents,
                               const std::vector<int>& interpIdx);
    /// Fills the m x n basis matrix N at the point parameters and the band limits first/last
    /// (n entries each) of the rows in which each column can be non-zero.
    void CalucalteErrorMatrix(YdMatrix& N, int* first, int* last, int numCtrlPnts);
    /// Adds the integrals of products of derivOrder-th basis derivatives into K and reports
    /// the largest absolute entry of its upper triangle in maxAbs.
    void CalculateEnergyMatrix(int derivOrder, YdMatrix& K, double& maxAbs);
    /// Appends up to five start parameters for the point inversion of P.
    void DetermineUInitial(YdPoint P, std::vector<double>& starts) const;

    int m_degree;
    std::vector<YdPoint> m_ctrlPnts;
    YdKnotVec m_knotVec;
    bool m_closed;
    std::vector<YdPoint> m_fitPnts;
    std::vector<double> m_pointParams;
};
