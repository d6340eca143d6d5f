// SPDX-License-Identifier: MIT

#pragma once

// A box tree over the segments of a polyline: the segment nearest to a point among a range of
// segments in O(log n) for a path of n segments. Segment k runs from point k to point k + 1.
// The tree holds boxes only, one per few consecutive segments at its leaves; every query is
// given the points the tree was built on.

#include <limits>
#include <vector>

#include "PathReader.h"

namespace ydpath {

class PolylineIndex {
  public:
    struct Hit {
        double distance2 = std::numeric_limits<double>::infinity();  ///< squared distance
        int segment = -1;
    };

    /// An empty index (no segments).
    PolylineIndex() = default;
    /// Indexes the segments of the polyline through `points`.
    explicit PolylineIndex(const std::vector<Point3>& points);

    /// The segment among first..last (clamped to the polyline) nearest to p, and its squared
    /// distance. `hint`, a segment likely to be near, only speeds the search up. A polyline of
    /// one point gives that point as segment 0; no points give no hit.
    Hit Nearest(const std::vector<Point3>& points, const Point3& p, int first, int last,
                int hint = -1) const;

    int segments() const { return segments_; }

  private:
    struct Box {
        Point3 lo{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                  std::numeric_limits<double>::infinity()};
        Point3 hi{-std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity()};
    };
    struct Query {
        const std::vector<Point3>& points;
        Point3 p;
        int first;
        int last;
        Hit hit;
    };

    static double BoxDistance2(const Box& b, const Point3& p);
    void Search(Query& q, int node, int lo, int hi) const;

    int segments_ = 0;
    int leaves_ = 0;  // a power of two; leaf j holds segments kLeaf j .. kLeaf j + kLeaf - 1
    std::vector<Box> boxes_;  // node 1 is the root; node i has children 2i and 2i + 1
};

}  // namespace ydpath
