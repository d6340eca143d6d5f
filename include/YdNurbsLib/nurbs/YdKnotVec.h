// SPDX-License-Identifier: MIT

#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"

/// The knot vector of a B-spline curve (a non-decreasing sequence of doubles) and the rules by
/// which the library places knots. Knot vectors built by the library are clamped (degree + 1
/// equal knots at each end) and run from 0 to 1. A curve of degree p with n control points has
/// n + p + 1 knots; the class keeps no degree of its own and enforces no ordering: every
/// operation that writes knots writes them in order, and SetKnots/GetKnots hand the vector over
/// as it stands.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdKnotVec {
  public:
    /// An empty knot vector.
    YdKnotVec();
    /// Copies the knots.
    YdKnotVec(const YdKnotVec& other);
    /// Copies the knots (self-assignment is a no-op).
    YdKnotVec& operator=(const YdKnotVec& other);
    /// Frees the knots.
    ~YdKnotVec();

    /// Replaces the knots by a copy of the argument, unchecked (no ordering test).
    void SetKnots(const std::vector<double>& knots);
    /// The knot vector itself, by reference: callers edit knots through it (and then keep it
    /// non-decreasing themselves).
    std::vector<double>& GetKnots() { return m_knots; }
    /// The knot vector itself, read-only.
    const std::vector<double>& GetKnots() const { return m_knots; }
    /// Number of knots.
    int GetCount() const { return static_cast<int>(m_knots.size()); }
    /// Clears the vector, then makes it n knots of value 0.0. A negative n leaves it empty.
    void AllocateMemory(int n);
    /// Appends u at the end, without an ordering check.
    void AddKnot(double u);
    /// Inserts u at position i + 1, so that it follows the knot at index i (i = -1 inserts at
    /// the front). Positions outside [0, GetCount()] are clamped to the nearer end instead of
    /// writing out of range.
    void InsertAfter(int i, double u);

    /// Index s of the knot span [U[s], U[s + 1]) that holds the parameter u, for a curve of the
    /// given degree p. Binary search between p and high = GetCount() - p - 1:
    /// - u equal to U[high] (exact ==, no tolerance) returns high - 1, so the end parameter
    ///   belongs to the last non-empty span, not to the empty span after it;
    /// - u below U[p] returns p, u beyond U[high] returns high - 1 = GetCount() - p - 2: the
    ///   search ends when its midpoint stops moving, and no error is reported for u outside
    ///   the knot range (a NaN also ends there and returns p);
    /// - u on an interior knot of multiplicity > 1 returns the last span starting at that knot.
    /// Guard: a vector too short for the degree (degree < 0 or GetCount() < 2 * (degree + 1))
    /// has no span to search; the result is then the degree clamped into [0, GetCount() - 1]
    /// (0 for an empty vector or a negative degree), and nothing is read. Never allocates.
    int FindSpan(int degree, double u) const;
    /// Inserts into this vector the knots of `other` that it lacks; control points are not
    /// touched. The missing knots are a set difference over the two sorted sequences with a
    /// tolerant order (a precedes b when a < b - 1e-7), so knots within 1e-7 of each other are
    /// the same knot; multiplicities count (a double knot there matched by one knot here
    /// yields one copy). Each missing knot t, in order, goes to position FindSpan(degree, t) + 1
    /// of the growing vector. Guard: while this vector is too short for the degree (see
    /// FindSpan), a knot goes in sorted position instead, after knots equal to it.
    void Merge(const YdKnotVec& other, int degree);
    /// Maps the knots linearly onto [0, 1]: with a = first and b = last knot and s = 1/(b - a),
    /// each knot k becomes s * k - a * s (in exactly that form). Guard: an empty vector or a
    /// zero-length range (b == a) has no such map and is left unchanged.
    void Normalize();

    /// Knots for a curve of degree p interpolating m points with the given parameters (front
    /// and back = first and last parameter).
    /// - open (closed false): m + p + 1 knots, p + 1 copies of front and of back, interior knot
    ///   i + p = average of params[i .. i + p - 1] for i = 1 .. m - p - 1;
    /// - closed: m + 2p knots, clamped ends as above, interior knots equal to params[1 .. m - 2]
    ///   (the parameters themselves, not averages), so a closed curve has m + p - 1 control
    ///   points.
    /// Interior knots are clamped into [front, back]: ordered parameters never move, and
    /// chord-length parameters that round a few ulps above the last one (tiny last chords)
    /// still give a non-decreasing vector.
    /// Degenerate input: with no parameters or a degree below 1 (the averages would divide by
    /// zero) the vector is left empty. With fewer than p + 1 parameters the sizes above still
    /// hold, the first p + 1 slots hold front, the others back, and no interior knot is written;
    /// such a vector describes no valid curve.
    void InterpolateFix(const std::vector<double>& params, int degree, bool closed);
    /// Knots for interpolation with end-derivative constraints; derivIndices lists the
    /// constrained points (one or two of the ends: 0 and/or m - 1), k = its size. The result
    /// has m + k + p + 1 knots with p + 1 copies of front and of back; interior knots are
    /// averages of p consecutive parameters, placed for a derivative at both ends (k == 2), at
    /// the end only (derivIndices[0] != 0) or at the start only, clamped into [front, back]
    /// as above.
    /// Degenerate input: an empty list gives the knots of InterpolateFix(params, degree,
    /// false); more than two indices are treated as one index (derivIndices[0] decides the
    /// end) and the slots that leaves unwritten hold back; no parameters or a degree below 1
    /// leave the vector empty.
    void InterpolateFix(const std::vector<double>& params, int degree,
                        std::vector<int>& derivIndices);
    /// Knots for a least-squares fit of degree p with numCtrlPnts = n control points to m
    /// points with the given parameters: n + p + 1 knots, p + 1 zeros and p + 1 ones at the
    /// ends (the range is always [0, 1], whatever the parameters' range). The parameters are
    /// split into n groups by a running position x (steps of m / n from -1, group end =
    /// truncation of x + 0.5); interior knot i + p is the average of the group means g[i ..
    /// i + p - 1]. Interior knots are clamped into [previous knot, 1], which never moves
    /// ordered parameters that lie in [0, 1] and keeps the vector non-decreasing for any that do
    /// not, and for group means of repeated parameters that round an ulp below an earlier one.
    /// Degenerate input: m < n (the grouping assumes m >= n) still writes the clamped end
    /// knots, and group indices are clamped into the parameters; no parameters at all leave
    /// the interior knots at 0.0; n < 1 or a degree below 1 leaves the vector empty.
    void ApproximateFix(const std::vector<double>& params, int numCtrlPnts, int degree);
    /// Knots for interpolation of degree p with derivative constraints at the listed points
    /// (derivIndices sorted ascending, each a point index in [0, m - 1]): m + k + p + 1 knots,
    /// p + 1 copies of front and of back. Interior knots are midpoints of neighbouring
    /// parameters (even degree) or the parameters themselves (odd degree), with knots spaced
    /// towards the neighbours where an end carries a constraint; a constrained interior point
    /// doubles the knot that follows it. The slot count is not balanced for every request: a
    /// constraint at a point that writes no interior knot of its own (at odd degree, index 1
    /// with the start unconstrained, or m - 2 with the end unconstrained) and an
    /// even degree with constraints at both ends leave one slot before the back knots at 0.0,
    /// and a surplus interior knot is overwritten by the back knots. Kept as the placement
    /// rule stands; the cubic and quadratic requests of curve interpolation without such
    /// indices fill every slot.
    /// Degenerate input: the constraint cursor stops at the end of the list, interior knots
    /// that would fall outside the vector (unsorted or repeated indices) are dropped, and
    /// fewer than two parameters or a negative degree leave the vector empty.
    void makeBasis(const std::vector<double>& params, int degree,
                   const std::vector<int>& derivIndices);

  private:
    std::vector<double> m_knots;
};
