// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

class YdBSplineCurve;
/// Named only by MakeSurfacesCompatible; this library has no surface class.
class YdBSplineSurface;

/// Stateless B-spline routines shared by the curve class and the fit filters: basis functions,
/// chord-length parameterisation, the Gauss-Legendre table and curve compatibility. Static
/// members only; no instance is ever made by users.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdNurbsHelper {
  public:
    YdNurbsHelper(const YdNurbsHelper&) {}
    YdNurbsHelper& operator=(const YdNurbsHelper&) { return *this; }
    virtual ~YdNurbsHelper() {}

    /// The non-zero basis functions of degree `degree` at parameter u and their derivatives up
    /// to order min(numDerivs, degree): ders[k][j] is the k-th derivative of basis function
    /// N(span - degree + j). span (written first) is knots.FindSpan(degree, u): u outside the
    /// knot range is clamped to the first or last span, and u equal to the last knot lies in
    /// the last non-empty span. Derivatives above the degree are not produced, so ders has
    /// exactly min(numDerivs, degree) + 1 rows of degree + 1 entries. No denominator is
    /// guarded: a knot vector with a zero-length span where a division needs a positive one
    /// yields non-finite values, which are passed on. Guarded, never out of range: a negative
    /// degree gives no rows and span 0; a knot vector with fewer than 2 (degree + 1) knots
    /// gives span = degree and rows of zeros; a negative numDerivs counts as 0. Allocates ders
    /// by design; curve evaluation uses an allocation-free kernel with the same arithmetic.
    static void GetBasisFunctionValue(const YdKnotVec& knots, int degree, int numDerivs, double u,
                                      std::vector<std::vector<double>>& ders, int& span);

    /// Normalised chord-length parameters of a point sequence (plain Euclidean chords, not
    /// centripetal): params[0] = 0, params[i + 1] = params[i] + chord_i / total, and the last
    /// entry is set to exactly 1.0. An open list of N points gets N parameters; a closed list
    /// gets N + 1, the last standing for the return to the first point. Coincident neighbours
    /// get equal parameters. Guarded degenerate input: no points gives an empty params; a
    /// total length of zero (all points equal, or a single point) gives 0 for every parameter
    /// but the last, which stays 1.0 (the unguarded 0 / 0 would fill them with NaN). Equal
    /// parameters make the interpolation and approximation systems singular, so those
    /// factories then return null instead of a curve of NaN.
    static void Parameterize(const std::vector<YdPoint>& points, bool closed,
                             std::vector<double>& params);

    /// Brings curves of one degree onto a common knot vector by knot insertion, edited in
    /// place (the caller keeps ownership). Knots within 1e-7 count as equal; existing
    /// multiplicities are not raised and knots at 0 or 1 are not inserted. True when done or
    /// when there is nothing to do (fewer than two curves); false, before anything changes,
    /// when the degrees differ (degree elevation is not part of the library). Also false,
    /// nothing changed, for a null entry or a malformed curve (a knot count other than control
    /// points + degree + 1, fewer than 2 (p + 1) knots, a negative degree); a list of fewer
    /// than two entries is true whatever it holds.
    static bool MakeCurvesCompatible(const std::vector<YdBSplineCurve*>& curves);

    /// Always false and touches nothing: the library has no surface class; the member exists
    /// so hosts built against the full interface link.
    static bool MakeSurfacesCompatible(const std::vector<YdBSplineSurface*>& surfaces);

    /// The Gauss-Legendre rule on [-1, 1] for polynomial order `order`: k = order / 2 + 1
    /// points, exact for polynomials of degree 2k - 1 (at least `order`). Despite the word
    /// order of the name, the first vector receives the abscissae (ascending) and the second
    /// the weights. Both vectors are resized (existing entries kept, new ones 0.0). Values are
    /// the published ones rounded to 12 significant digits, as constant tables. Orders of 22
    /// and above match no rule: the vectors are only resized and nothing is written (so fresh
    /// vectors give integrals of 0). Orders below 2 are treated as order 2 (the table would
    /// otherwise overrun a one-entry vector).
    static void GetGaussWeightsAndKnots(int order, std::vector<double>& nodes,
                                        std::vector<double>& weights);

  private:
    YdNurbsHelper() {}
};
