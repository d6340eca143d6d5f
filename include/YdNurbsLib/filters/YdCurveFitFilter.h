// SPDX-License-Identifier: MIT

#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

struct YdCurveFitFilterTestAccess;

/// Turns a run of tool-path points into one smooth cubic and answers what a motion controller
/// asks while it travels along it: the point at a parameter, the unit direction, the radius of
/// curvature, lengths, the parameter a given distance ahead, and where the curvature peaks.
/// Its static members join curves to straight moves and export a curve to a text file.
///
/// Ownership: the filter never deletes its curve. doFit hands a new curve to the host (read
/// it with getCurve and delete it when done); setCurve and doFit overwrite the pointer without
/// deleting the old curve, and copies of a filter share the curve. Every curve returned by a
/// static `fit...` member or handed out through an out-pointer is new and owned by the caller.
///
/// Not thread-safe even for const-looking use: the curvature getters fill their maps lazily.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included (`roughSearchLocaMaxCvt`,
/// `exzactSearchLocalMaxCvt`); do not "fix" them. The field order is part of the interface.
class YDNURBSLIB_EXPORT YdCurveFitFilter {
  public:
    // ---------------------------------------------------------------------------------------
    // Fitting and queries

    /// An empty filter: no points, no curve, no densifying.
    YdCurveFitFilter();
    /// A filter over all of points; no densifying, no curve yet.
    explicit YdCurveFitFilter(const std::vector<YdPoint>& points);
    /// A filter over the first count points, with densifying on. A count beyond the vector's
    /// size takes the whole vector and a negative count none (guarded: the unchecked copy
    /// would read past the end).
    YdCurveFitFilter(const std::vector<YdPoint>& points, int count);
    /// Copies the flag, the points, the curve pointer (the copies share the curve) and both
    /// maps.
    YdCurveFitFilter(const YdCurveFitFilter& other);
    YdCurveFitFilter& operator=(const YdCurveFitFilter& other);
    /// Destroys the points and the maps; never the curve.
    ~YdCurveFitFilter();

    /// Whether doFit first densifies long gaps between the fit points.
    void setPreprocess(bool on);
    /// Fits the curve: optionally densifies the points, then
    /// CreateApproximateCurve(points, open, tolerance). tolerance is a squared distance
    /// (1e-4 bounds the deviation by 0.01 length units). The previous curve is not deleted.
    /// True when a curve was made; it may still miss the tolerance when no trial met it.
    bool doFit(double tolerance);
    /// The curve, or null.
    YdBSplineCurve* getCurve() const { return curve; }
    /// Replaces the curve pointer; neither deletes the old curve nor clears the curvature maps.
    void setCurve(YdBSplineCurve* c) { curve = c; }

    /// The curve point at u; (0, 0, 0) without a curve.
    YdPoint getPoint(double u);
    /// Length of [u0, u1] with relative tolerance `tolerance`. 0.0 without a curve, for
    /// u0 >= u1, tolerance == 0, u0 before the start, or u1 before the end: the length is
    /// measured only when u1 lies at or beyond the end of the curve, a rule hosts rely on and
    /// kept as it is.
    double getCurveLength(double u0, double u1, double tolerance) const;
    /// The unit tangent at u in [startParam, endParam]; the zero vector otherwise or without a
    /// curve.
    YdVector getDirection(double u);
    /// getDirection at the start; the zero vector without a curve.
    YdVector getHeadDirection();
    /// getDirection at the end; the zero vector without a curve.
    YdVector getTailDirection();
    /// Radius of curvature (a length) at u in [startParam, endParam]; -1.0 otherwise or without
    /// a curve.
    double getRadiusOfCurvature(double u) const;
    /// Radius of curvature at the curve point nearest to p; -1.0 without a curve, when the
    /// search fails, or when p lies more than 0.001 length units off the curve.
    double getRadiusOfCurvature(const YdPoint& p) const;
    /// The point at arc length `distance` from the projection of `from`, forward when
    /// `direction` is true (see YdBSplineCurve::locatePoint). False without a curve, for a
    /// negative or NaN distance, or for a zero or NaN tolerance.
    bool interpolate(const YdPoint& from, double distance, bool direction, double& u,
                     YdPoint& point, double tolerance) const;
    /// First-order step: u = u0 + distance / |C'(u0)|, not clamped. False without a curve or
    /// for a negative or NaN distance.
    bool interpolateByTaylor1Order(double u0, double distance, double& u) const;
    /// The parameter, searched forward from u0, whose point lies at the chord distance
    /// `distance` (a length) from C(u0), to within `tolerance` (a length). Newton steps are
    /// clamped to [u0, endParam]; at most ten steps can succeed (the eleventh is not tested,
    /// as hosts expect). False, u untouched, without a curve, for u0 outside the curve's range,
    /// for a NaN argument or Newton step, or when the search does not converge. A zero
    /// distance where the derivative is zero starts (and ends) at u0.
    bool interpolateByNewtonIter(double u0, double distance, double& u, double tolerance) const;
    /// The same search, also delivering the point reached.
    bool interpolateByNewtonIterW(double u0, double distance, double& u, YdPoint& point,
                                  double tolerance) const;

    // ---------------------------------------------------------------------------------------
    // Curvature extremes (parameter -> curvature maps, filled lazily)

    /// Recomputes both maps: every local maximum and minimum of curvature, each bracket
    /// narrowed to 1e-6 in parameter (a bracket already narrower records its midpoint). The
    /// rough stage walks monotone stretches in steps of 1e-5, so the cost grows with the width
    /// of the knot range. False without a curve, or when its knots are unusable (a negative
    /// degree, a non-finite knot). Guards against endless walks: a walk stops when its step no
    /// longer moves the parameter (knot values beyond about 1e11) and after at most 1e8 steps
    /// (only reached for knot ranges wider than 1e3).
    bool computeExtremeCurvatures();
    /// The local maxima, computed first if the map is empty.
    std::map<double, double>& getLocalMaxCurvatures();
    /// The local minima, computed first if the map is empty.
    std::map<double, double>& getLocalMinCurvatures();
    /// The largest local maximum of curvature and its parameter. False when there are no maxima
    /// and computing them fails. With no maximum above 0.0, curvature is 0.0 and u is left
    /// untouched.
    bool getMaxCurvature(double& u, double& curvature);

    // ---------------------------------------------------------------------------------------
    // Transition curves (static; every curve returned is new and owned by the caller)

    /// Joins the segment lineStart -> lineEnd to `curve`, which starts near lineEnd. When the
    /// corner at lineEnd is sharper than `tolerance` (a length) allows, the segment is cut back
    /// and a cubic transition runs from the cut to the curve; otherwise the transition replaces
    /// the whole segment (newLineEnd = newLineStart = lineStart). newLineStart/newLineEnd
    /// receive the shortened segment; *transition and *rest (the remaining curve) receive new
    /// curves when those out-pointers are not null (null out-pointers are allowed: the curves
    /// are then not made). False for a null curve. lineEnd exactly on the line (no corner)
    /// always makes the segment vanish, whatever the tolerance (a cut fraction of e / 0 would
    /// be infinite). A zero derivative has no direction: its
    /// unit tangent is the zero vector, so a zero-length segment vanishes and the transition
    /// leaves lineStart with a zero start derivative. A curve whose parameter range is empty
    /// gives true with *rest null. The inputs are copied first, so the out-points may alias
    /// lineStart and lineEnd.
    static bool fitCurveToConnectLineAndCurve(const YdPoint& lineStart, const YdPoint& lineEnd,
                                              YdBSplineCurve* curve, double tolerance,
                                              YdPoint& newLineStart, YdPoint& newLineEnd,
                                              YdBSplineCurve** transition, YdBSplineCurve** rest);
    /// The mirror case: `curve` ends near lineStart. *rest is the leading part of the curve,
    /// newLineEnd stays the far end of the segment and newLineStart is where it now begins.
    static bool fitCurveToConnectCurveAndLine(YdBSplineCurve* curve, const YdPoint& lineStart,
                                              const YdPoint& lineEnd, double tolerance,
                                              YdBSplineCurve** rest, YdBSplineCurve** transition,
                                              YdPoint& newLineStart, YdPoint& newLineEnd);
    /// A cubic from the end of `first` to the start of `second`, tangent to both, its end
    /// derivatives scaled to the gap's length. Null when either curve is null.
    static YdBSplineCurve* fitCurveBetweenSplineCurves(YdBSplineCurve* first,
                                                       YdBSplineCurve* second);
    /// The same, passing through `via`.
    static YdBSplineCurve* fitCurveBetweenSplineCurves(YdBSplineCurve* first,
                                                       YdBSplineCurve* second, const YdPoint& via);
    /// An approximation of points (first and last met exactly) that leaves with the end
    /// derivative of `curve`; tolerance is a squared distance. Make points[0] the curve's end
    /// point for a join continuous in position and tangent. Null without a curve or with
    /// fewer than two points.
    static YdBSplineCurve* fitConnectCurve(YdBSplineCurve* curve, std::vector<YdPoint>& points,
                                           double tolerance);
    /// An approximation of points (first and last met exactly) with both end derivatives
    /// prescribed, unscaled; tolerance is a squared distance. Null with fewer than two points
    /// or when the fit fails.
    static YdBSplineCurve* fitCurve(const std::vector<YdPoint>& points, const YdVector& headTangent,
                                    const YdVector& tailTangent, double tolerance);
    /// The pieces of YdBSplineCurve::SplitCurve(u); empty for a null curve.
    static std::vector<YdBSplineCurve*> splitCurve(YdBSplineCurve* curve, double u);

    // ---------------------------------------------------------------------------------------
    // Export

    /// Writes `count` points of `curve`, sampled at evenly spaced parameters from
    /// startParam + 1e-8 (the end point is never written), to the text file `path`: one
    /// "x y z" line per point in the stream's default double formatting, ended by endl. An
    /// existing file is truncated. Nothing is reported: an unwritable path writes nothing and
    /// throws nothing. count = 0 makes the step infinite, so exactly one point (at the start)
    /// is written, as hosts expect. count < 0 only creates or truncates the file (the sampling
    /// would otherwise never end); a step too small to move the parameter (knots near 1e12)
    /// writes the first sample and stops. A null curve writes nothing and leaves the file
    /// alone. Points are written as
    /// they are sampled, so a huge count costs time, not memory.
    static void exportCurve(YdBSplineCurve* curve, const std::string& path, int count);

  private:
    friend struct YdCurveFitFilterTestAccess;

    /// Cuts every gap longer than 1.5 times the average gap into ceil(d / avg) equal pieces.
    /// No densifying for fewer than two points or an average gap that is not positive and
    /// finite. Given points keep their host attributes; inserted points have none.
    void preprocessFitPoints();
    /// One Newton step on f(u) = |C(u) - from|^2 - distanceSquared.
    static bool iterateFunction(YdBSplineCurve* curve, const YdPoint& from, double u,
                                double distanceSquared, double& next);

    bool computeLocalMaxCurvature();
    bool computeLocalMinCurvature();
    bool roughSearchLocaMaxCvt(std::vector<std::pair<double, double>>& brackets);
    bool roughSearchLocaMinCvt(std::vector<std::pair<double, double>>& brackets);
    bool exzactSearchLocalMaxCvt(const std::vector<std::pair<double, double>>& brackets);
    bool exzactSearchLocalMinCvt(const std::vector<std::pair<double, double>>& brackets);
    bool shrinkRangeForFindingLocalMaxCvt(const std::pair<double, double>& range,
                                          std::pair<double, double>& result, bool forward);
    bool shrinkRangeForFindingLocalMinCvt(const std::pair<double, double>& range,
                                          std::pair<double, double>& result, bool forward);
    bool findMaxCurvatureFromExtremes(const std::vector<std::pair<double, double>>& extremes,
                                      double& curvature, double& u);
    bool findMinCurvatureFromExtremes(const std::vector<std::pair<double, double>>& extremes,
                                      double& curvature, double& u);

    /// First-order step on a given curve: u = u0 + distance / |C'(u0)| (tolerance unused).
    /// False for a null curve or a negative or NaN distance; zero speed gives an unbounded
    /// step, which the Newton search clamps.
    static bool findInitialInterpolate(YdBSplineCurve* curve, double u0, double distance, double& u,
                                       double tolerance);
    /// The Newton search of interpolateByNewtonIter on a given curve, started from
    /// findInitialInterpolate and clamped to the whole parameter range. A NaN start value
    /// (zero distance at zero speed) becomes u0; a NaN u0 is refused.
    static bool findInterpolateParam(YdBSplineCurve* curve, double u0, double distance, double& u,
                                     double tolerance);

    bool preprocess;
    std::vector<YdPoint> fitPoints;
    YdBSplineCurve* curve;
    std::map<double, double> localMaxCurvatures;
    std::map<double, double> localMinCurvatures;
};
