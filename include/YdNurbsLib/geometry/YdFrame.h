#pragma once

#include <vector>

#include "YdNurbsLib/YdNurbsLibExport.h"
#include "YdNurbsLib/geometry/YdMatrix.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/geometry/YdVector.h"

/// A local coordinate system: an origin and three unit axes.
///
/// Member names across this library are part of the exported interface and are kept letter
/// for letter, irregular spellings included; do not rename them.
class YDNURBSLIB_EXPORT YdFrame {
  public:
    YdFrame();
    YdFrame(const YdPoint& o, const YdVector& x, const YdVector& y);
    YdFrame(const YdFrame&) = default;
    YdFrame& operator=(const YdFrame& f);

    void SetFrame(const YdVector& x, const YdVector& y);
    const YdPoint& GetOrigin() const { return m_origin; }
    void SetOrigin(const YdPoint& o) { m_origin = o; }
    const YdVector& DirX() const { return m_dirX; }
    const YdVector& DirY() const { return m_dirY; }
    const YdVector& DirZ() const { return m_dirZ; }

    bool operator==(const YdFrame& o) const;
    bool IsValid() const;
    void Transform(const YdMatrix& m);
    YdMatrix GetTransformToNewFrame(const YdFrame& target) const;
    static YdFrame* CreateByPCA(const std::vector<YdPoint>& pts, bool sortAxes);

  private:
    YdPoint m_origin;
    YdVector m_dirX;
    YdVector m_dirY;
    YdVector m_dirZ;
};
