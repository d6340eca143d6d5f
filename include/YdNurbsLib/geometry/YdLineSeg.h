#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A bounded straight segment between two points; direction and length are computed on
/// demand.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdLineSeg {
  public:
    YdLineSeg();
    YdLineSeg(const YdPoint& a, const YdPoint& b);
    YdLineSeg(const YdLineSeg&) = default;
    YdLineSeg& operator=(const YdLineSeg& o);
    YdLineSeg& operator=(YdLineSeg&& o);

    const YdPoint& GetStartPoint() const { return m_startPoint; }
    const YdPoint& GetEndPoint() const { return m_endPoint; }
    void SetStartPoint(const YdPoint& p) { m_startPoint = p; }
    void SetEndPoint(const YdPoint& p) { m_endPoint = p; }

    YdVector Direction() const;
    double GetLength() const;
    bool IsContain(const YdPoint& p) const;
    YdPoint ProjectPoint(const YdPoint& p, double* t) const;
    double DistanceToPoint(const YdPoint& p) const;
    bool IsCoincidence(const YdLineSeg& o) const;
    bool IsIntersectWithLineSeg(const YdLineSeg& o) const;
    int IntersectNew(const YdLineSeg& o, YdPoint& out) const;
    bool Intersect(const YdLineSeg& o, YdPoint& out) const;

  private:
    YdPoint m_startPoint;
    YdPoint m_endPoint;
};
