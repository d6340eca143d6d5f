#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// An infinite line: a point and a unit direction.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdLine {
  public:
    YdLine();
    YdLine(const YdPoint& p, const YdVector& d);
    YdLine(const YdPoint& a, const YdPoint& b);
    YdLine(const YdVector& a, const YdVector& b);
    YdLine(const YdLine& other);
    YdLine& operator=(const YdLine& other);
    virtual ~YdLine();

    void Set(const YdPoint& p, const YdVector& d);
    const YdPoint& Point() const { return m_point; }
    const YdVector& Direction() const { return m_direction; }

    YdPoint ProjectPoint(const YdPoint& q, double* t) const;
    YdVector ProjectVector(const YdVector& v, double* t) const;
    double DistanceToPoint(const YdPoint& q) const;
    bool Intersect(const YdLine& other, YdPoint& out) const;
    static YdLine* LeastSquareFit(const std::vector<YdPoint>& pts);

  private:
    YdPoint m_point;
    YdVector m_direction;
};
