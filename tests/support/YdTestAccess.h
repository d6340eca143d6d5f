// SPDX-License-Identifier: MIT

#pragma once

// The test programs' access to private members: one struct per class that names such a struct
// as its friend. Each member only forwards to the private member of the same purpose, so a
// test reads and drives the very state and steps the class itself uses.

#include <map>
#include <utility>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// The matrix's storage: the data block and the row table.
struct YdMatrixTestAccess {
    static const double* Data(const YdMatrix& m) { return m.m_pData; }
    static double* const* Rows(const YdMatrix& m) { return m.m_ppRow; }
};

/// The curve's fields, knot placement, single least-squares fits, basis and energy matrices,
/// and the start values of the point inversion.
struct YdBSplineCurveTestAccess {
    using TangentList = std::vector<std::pair<int, YdVector>>;

    static std::vector<double>& Params(YdBSplineCurve& c) { return c.m_pointParams; }
    static int& Degree(YdBSplineCurve& c) { return c.m_degree; }
    static void DetermineKnotVector(YdBSplineCurve& c, bool interpolate) {
        c.DetermineKnotVector(interpolate);
    }
    static bool FitOpen(YdBSplineCurve& c, int n, const std::vector<int>& idx, bool keep,
                        double lambda) {
        return c.LeastSquareFitOpen(n, idx, keep, lambda);
    }
    static bool FitOpen(YdBSplineCurve& c, int n, const TangentList& t, const std::vector<int>& idx,
                        bool keep, double lambda) {
        return c.LeastSquareFitOpen(n, t, idx, keep, lambda);
    }
    static bool FitClosed(YdBSplineCurve& c, int n, const std::vector<int>& idx, bool keep,
                          double lambda) {
        return c.LeastSquareFitClosed(n, idx, keep, lambda);
    }
    static bool FitClosed(YdBSplineCurve& c, int n, const TangentList& t,
                          const std::vector<int>& idx, bool keep, double lambda) {
        return c.LeastSquareFitClosed(n, t, idx, keep, lambda);
    }
    static bool FitSpecial(YdBSplineCurve& c, int n, const TangentList& t,
                           const std::vector<int>& idx) {
        return c.LeastSquareFitSpecial(n, t, idx);
    }
    static void ErrorMatrix(YdBSplineCurve& c, YdMatrix& N, int* first, int* last, int n) {
        c.CalucalteErrorMatrix(N, first, last, n);
    }
    static void Energy(YdBSplineCurve& c, int r, YdMatrix& K, double& maxAbs) {
        c.CalculateEnergyMatrix(r, K, maxAbs);
    }
    static void DetermineUInitial(const YdBSplineCurve& c, const YdPoint& P,
                                  std::vector<double>& starts) {
        c.DetermineUInitial(P, starts);
    }
};

/// The arc filter's fields (including the ones without a getter) and their addresses.
struct YdArcFitFilterTestAccess {
    static const YdPoint& Point0(const YdArcFitFilter& f) { return f.point0; }
    static const YdPoint& Point1(const YdArcFitFilter& f) { return f.point1; }
    static const YdPoint& Point2(const YdArcFitFilter& f) { return f.point2; }
    static double& Spare(YdArcFitFilter& f) { return f.spare; }
    static double Spare(const YdArcFitFilter& f) { return f.spare; }
    static double Angle(const YdArcFitFilter& f) { return f.angle; }
    static const YdVector& Dir1(const YdArcFitFilter& f) { return f.dir1; }
    static const YdVector& Dir2(const YdArcFitFilter& f) { return f.dir2; }
    static const YdMatrix& LocalToWorld(const YdArcFitFilter& f) { return f.localToWorld; }

    // Addresses of the fields in declaration order, to pin the layout order.
    static std::vector<const void*> FieldAddresses(const YdArcFitFilter& f) {
        return {&f.point0, &f.point1, &f.point2, &f.spare, &f.center, &f.radius,
                &f.p1,     &f.p2,     &f.angle,  &f.dir1,  &f.dir2,   &f.localToWorld};
    }
};

/// The curve fit filter's fields, densifying, the Newton step, the two stages of the
/// curvature-extremes search and the parameter searches on a given curve.
struct YdCurveFitFilterTestAccess {
    using Bracket = std::pair<double, double>;
    using BracketList = std::vector<Bracket>;

    static const std::vector<YdPoint>& Points(const YdCurveFitFilter& f) { return f.fitPoints; }
    static bool Preprocess(const YdCurveFitFilter& f) { return f.preprocess; }
    static void Densify(YdCurveFitFilter& f) { f.preprocessFitPoints(); }
    static std::map<double, double>& MaxMap(YdCurveFitFilter& f) { return f.localMaxCurvatures; }
    static std::map<double, double>& MinMap(YdCurveFitFilter& f) { return f.localMinCurvatures; }
    static const std::map<double, double>& MaxMap(const YdCurveFitFilter& f) {
        return f.localMaxCurvatures;
    }
    static const std::map<double, double>& MinMap(const YdCurveFitFilter& f) {
        return f.localMinCurvatures;
    }
    static std::map<double, double>& MutableMaxMap(YdCurveFitFilter& f) {
        return f.localMaxCurvatures;
    }
    static bool Step(YdBSplineCurve* c, const YdPoint& from, double u, double s2, double& next) {
        return YdCurveFitFilter::iterateFunction(c, from, u, s2, next);
    }

    static bool RoughMax(YdCurveFitFilter& f, BracketList& b) { return f.roughSearchLocaMaxCvt(b); }
    static bool RoughMin(YdCurveFitFilter& f, BracketList& b) { return f.roughSearchLocaMinCvt(b); }
    static bool ExactMax(YdCurveFitFilter& f, const BracketList& b) {
        return f.exzactSearchLocalMaxCvt(b);
    }
    static bool ExactMin(YdCurveFitFilter& f, const BracketList& b) {
        return f.exzactSearchLocalMinCvt(b);
    }
    static bool ShrinkMax(YdCurveFitFilter& f, const Bracket& r, Bracket& out, bool fwd) {
        return f.shrinkRangeForFindingLocalMaxCvt(r, out, fwd);
    }
    static bool ShrinkMin(YdCurveFitFilter& f, const Bracket& r, Bracket& out, bool fwd) {
        return f.shrinkRangeForFindingLocalMinCvt(r, out, fwd);
    }
    static bool FromExtremesMax(YdCurveFitFilter& f, const BracketList& e, double& k, double& u) {
        return f.findMaxCurvatureFromExtremes(e, k, u);
    }
    static bool FromExtremesMin(YdCurveFitFilter& f, const BracketList& e, double& k, double& u) {
        return f.findMinCurvatureFromExtremes(e, k, u);
    }
    static bool ComputeMax(YdCurveFitFilter& f) { return f.computeLocalMaxCurvature(); }
    static bool ComputeMin(YdCurveFitFilter& f) { return f.computeLocalMinCurvature(); }

    static bool findInitialInterpolate(YdBSplineCurve* curve, double u0, double distance, double& u,
                                       double tolerance) {
        return YdCurveFitFilter::findInitialInterpolate(curve, u0, distance, u, tolerance);
    }
    static bool findInterpolateParam(YdBSplineCurve* curve, double u0, double distance, double& u,
                                     double tolerance) {
        return YdCurveFitFilter::findInterpolateParam(curve, u0, distance, u, tolerance);
    }
};
