#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"

struct YdKnotVecTestAccess;

/// The knot vector of a B-spline curve (a non-decreasing sequence of doubles) and the rules by
/// which the library places knots. Knot vectors built by the library are clamped and run from
/// 0 to 1.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdKnotVec {
  public:
    YdKnotVec();
    YdKnotVec(const YdKnotVec& other);
    YdKnotVec& operator=(const YdKnotVec& other);
    ~YdKnotVec();

    void SetKnots(const std::vector<double>& knots);
    std::vector<double>& GetKnots() { return m_knots; }
    const std::vector<double>& GetKnots() const { return m_knots; }
    int GetCount() const { return static_cast<int>(m_knots.size()); }
    void AllocateMemory(int n);
    void AddKnot(double u);
    void InsertAfter(int i, double u);

    int FindSpan(int degree, double u) const;
    void Merge(const YdKnotVec& other, int degree);
    void Normalize();

    void InterpolateFix(const std::vector<double>& params, int degree, bool closed);
    void InterpolateFix(const std::vector<double>& params, int degree,
                        std::vector<int>& derivIndices);
    void ApproximateFix(const std::vector<double>& params, int numCtrlPnts, int degree);
    void makeBasis(const std::vector<double>& params, int degree,
                   const std::vector<int>& derivIndices);

  private:
    friend struct YdKnotVecTestAccess;

    std::vector<double> m_knots;
};
