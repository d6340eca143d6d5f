// SPDX-License-Identifier: MIT

// Reference: curve compatibility by knot refinement: the union of the knot vectors, inserted knot
// by knot with Boehm's algorithm (Piegl and Tiller, The NURBS Book, 2nd ed., chapter 5).
//
// Bringing curves of one degree onto a common knot vector by knot insertion.

#include <cstddef>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

// Knots closer than this count as one knot, as in YdKnotVec::Merge, so that the union and the
// per-curve difference agree on what "the same knot" is.
constexpr double kKnotMatchTol = 1e-7;

// The knots of `wanted` that `have` lacks, in ascending order: a tolerant set difference over two
// sorted sequences in which a precedes b when a < b - kKnotMatchTol. Multiplicities count: a
// knot twice in `wanted` and once in `have` yields one copy.
std::vector<double> MissingKnots(const std::vector<double>& wanted,
                                 const std::vector<double>& have) {
    std::vector<double> missing;
    std::size_t w = 0;
    std::size_t h = 0;
    while (w < wanted.size()) {
        if (h >= have.size()) {
            missing.push_back(wanted[w]);
            ++w;
            continue;
        }
        if (wanted[w] < have[h] - kKnotMatchTol) {
            missing.push_back(wanted[w]);
            ++w;
            continue;
        }
        if (!(have[h] < wanted[w] - kKnotMatchTol)) {
            ++w;  // the two are within the tolerance: matched, nothing to insert
        }
        ++h;
    }
    return missing;
}

// A curve whose knot vector cannot carry its control points (or has no room for a clamped
// start and end) would send the knot search and the insertion out of range; such a curve is
// refused before any curve is edited.
bool IsWellFormed(const YdBSplineCurve& c) {
    const int p = c.Degree();
    const int knots = c.KnotVec().GetCount();
    return p >= 0 && knots >= 2 * (p + 1) && knots == c.GetNumOfCtrlPnts() + p + 1;
}

}  // namespace

bool YdNurbsHelper::MakeCurvesCompatible(const std::vector<YdBSplineCurve*>& curves) {
    if (curves.size() < 2) {
        return true;
    }
    // Every check runs before the first edit, so a refused list is left exactly as it came.
    for (const YdBSplineCurve* c : curves) {
        if (c == nullptr || !IsWellFormed(*c)) {
            return false;
        }
    }
    const int p = curves.front()->Degree();
    for (const YdBSplineCurve* c : curves) {
        if (c->Degree() != p) {
            return false;  // degrees are never raised: there is no degree elevation here
        }
    }

    YdKnotVec all(curves.front()->KnotVec());
    for (std::size_t i = 1; i < curves.size(); ++i) {
        all.Merge(curves[i]->KnotVec(), p);
    }

    for (YdBSplineCurve* c : curves) {
        const std::vector<double> missing = MissingKnots(all.GetKnots(), c->KnotVec().GetKnots());
        for (double t : missing) {
            // A refusal is expected and harmless: a knot the curve already holds (a higher
            // multiplicity elsewhere), a knot at 0 or 1, or one already at full multiplicity.
            c->InsertKnot(t, false);
        }
    }
    return true;
}

bool YdNurbsHelper::MakeSurfacesCompatible(const std::vector<YdBSplineSurface*>& surfaces) {
    (void)surfaces;
    return false;
}
