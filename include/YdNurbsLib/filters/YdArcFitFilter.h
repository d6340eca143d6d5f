#pragma once

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

struct YdArcFitFilterTestAccess;

/// Rounds one corner of a polyline tool path with a circular arc tangent to both legs, inside
/// a corner tolerance, and steps along that arc by arc length.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them. The field order (the unused
/// `spare` included) is part of the interface too.
class YDNURBSLIB_EXPORT YdArcFitFilter {
  public:
    YdArcFitFilter();
    YdArcFitFilter(const YdPoint& a, const YdPoint& b, const YdPoint& c);
    YdArcFitFilter(const YdArcFitFilter& other);
    YdArcFitFilter& operator=(const YdArcFitFilter& other);
    ~YdArcFitFilter();

    void SetPoint(const YdPoint& a, const YdPoint& b, const YdPoint& c);
    bool doFitArc(double tolerance);
    const YdPoint& getCenter() const { return center; }
    double getRadius() const { return radius; }
    void getTangentPoint(YdPoint& a, YdPoint& b) const;
    void getp1(YdPoint& a);
    void getp2(YdPoint& a);
    double getArcLength() const;
    bool interpolate(const YdPoint& current, double step, YdPoint& next, bool forward);

  private:
    friend struct YdArcFitFilterTestAccess;

    YdPoint point0;
    YdPoint point1;
    YdPoint point2;
    double spare;
    YdPoint center;
    double radius;
    YdPoint p1;
    YdPoint p2;
    double angle;
    YdVector dir1;
    YdVector dir2;
    YdMatrix localToWorld;
};
