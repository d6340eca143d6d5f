// SPDX-License-Identifier: MIT

#include "PolylineIndex.h"

#include <algorithm>

#include "PointMath.h"

namespace ydpath {

namespace {

// Ranges this short are searched segment by segment: cheaper than walking the tree.
constexpr int kDirectSearch = 16;
// Segments per leaf of the tree: a small tree, and a leaf's segments are checked in a row.
constexpr int kLeaf = 8;

void Grow(Point3& lo, Point3& hi, const Point3& p) {
    lo = Point3{std::min(lo.x, p.x), std::min(lo.y, p.y), std::min(lo.z, p.z)};
    hi = Point3{std::max(hi.x, p.x), std::max(hi.y, p.y), std::max(hi.z, p.z)};
}

}  // namespace

inline double PolylineIndex::BoxDistance2(const Box& b, const Point3& p) {
    const double dx = std::max({b.lo.x - p.x, 0.0, p.x - b.hi.x});
    const double dy = std::max({b.lo.y - p.y, 0.0, p.y - b.hi.y});
    const double dz = std::max({b.lo.z - p.z, 0.0, p.z - b.hi.z});
    return dx * dx + dy * dy + dz * dz;
}

PolylineIndex::PolylineIndex(const std::vector<Point3>& points) {
    segments_ = std::max(0, static_cast<int>(points.size()) - 1);
    leaves_ = 1;
    while (static_cast<long>(leaves_) * kLeaf < segments_) {
        leaves_ *= 2;
    }
    boxes_.assign(2 * static_cast<size_t>(leaves_), Box());
    for (int k = 0; k < segments_; ++k) {
        Box& b = boxes_[leaves_ + k / kLeaf];
        Grow(b.lo, b.hi, points[k]);
        Grow(b.lo, b.hi, points[k + 1]);
    }
    for (int i = leaves_ - 1; i >= 1; --i) {
        Box& b = boxes_[i];
        const Box& l = boxes_[2 * i];
        const Box& r = boxes_[2 * i + 1];
        b.lo = Point3{std::min(l.lo.x, r.lo.x), std::min(l.lo.y, r.lo.y), std::min(l.lo.z, r.lo.z)};
        b.hi = Point3{std::max(l.hi.x, r.hi.x), std::max(l.hi.y, r.hi.y), std::max(l.hi.z, r.hi.z)};
    }
}

PolylineIndex::Hit PolylineIndex::Nearest(const std::vector<Point3>& points, const Point3& p,
                                          int first, int last, int hint) const {
    Hit hit;
    if (points.empty()) {
        return hit;
    }
    if (segments_ == 0) {
        return Hit{Distance2(p, points[0]), 0};
    }
    first = std::max(first, 0);
    last = std::min(last, segments_ - 1);
    if (first > last) {
        return hit;
    }
    if (hint >= first && hint <= last) {
        hit = Hit{SegmentDistance2(p, points[hint], points[hint + 1]), hint};
    }
    if (last - first < kDirectSearch) {
        for (int k = first; k <= last; ++k) {
            const double d2 = SegmentDistance2(p, points[k], points[k + 1]);
            if (d2 < hit.distance2) {
                hit = Hit{d2, k};
            }
        }
        return hit;
    }
    Query q{points, p, first, last, hit};
    Search(q, 1, 0, leaves_ - 1);
    return q.hit;
}

// Node covers the leaves lo..hi, that is the segments kLeaf lo .. kLeaf (hi + 1) - 1.
void PolylineIndex::Search(Query& q, int node, int lo, int hi) const {
    if ((hi + 1) * kLeaf - 1 < q.first || lo * kLeaf > q.last ||
        BoxDistance2(boxes_[node], q.p) >= q.hit.distance2) {
        return;
    }
    if (lo == hi) {
        const int end = std::min((lo + 1) * kLeaf - 1, q.last);
        for (int k = std::max(lo * kLeaf, q.first); k <= end; ++k) {
            const double d2 = SegmentDistance2(q.p, q.points[k], q.points[k + 1]);
            if (d2 < q.hit.distance2) {
                q.hit = Hit{d2, k};
            }
        }
        return;
    }
    const int mid = lo + (hi - lo) / 2;
    const int left = 2 * node;
    const int right = left + 1;
    // The nearer child first: its hit prunes more of the other.
    if (BoxDistance2(boxes_[left], q.p) <= BoxDistance2(boxes_[right], q.p)) {
        Search(q, left, lo, mid);
        Search(q, right, mid + 1, hi);
    } else {
        Search(q, right, mid + 1, hi);
        Search(q, left, lo, mid);
    }
}

}  // namespace ydpath
