// SPDX-License-Identifier: MIT

#include "Segmentation.h"

#include <algorithm>
#include <cmath>

#include "Geometry.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;

double TurnAt(const std::vector<YdPoint>& p, int k) {
    return AngleBetween(p[k] - p[k - 1], p[k + 1] - p[k]);
}

// A run of short, gently turning segments: one curve run, or several chained chunks of at most
// maxCurvePoints points each. Straight ones are lines.
void AddCurveRun(const std::vector<YdPoint>& p, const SmoothOptions& opt, int first, int last,
                 std::vector<Run>& runs) {
    if (StraightWithin(p, first, last, 0.5 * opt.tolerance)) {
        runs.push_back({Run::Kind::Line, first, last, false});
        return;
    }
    const int m = last - first + 1;
    const int maxPts = std::max(opt.maxCurvePoints, opt.minCurvePoints);
    const int chunks = m <= maxPts ? 1 : (m - 1 + maxPts - 2) / (maxPts - 1);
    int from = first;
    for (int c = 1; c <= chunks; ++c) {
        const int to =
            c == chunks
                ? last
                : first + static_cast<int>(std::lround(static_cast<double>(c) * (m - 1) / chunks));
        runs.push_back({Run::Kind::Curve, from, to, c > 1});
        from = to;
    }
}

// Lines next to each other that are straight within half the tolerance become one.
std::vector<Run> MergeLines(const std::vector<YdPoint>& p, double tolerance,
                            const std::vector<Run>& runs) {
    std::vector<Run> merged;
    for (const Run& r : runs) {
        if (r.kind == Run::Kind::Line && !merged.empty() && merged.back().kind == Run::Kind::Line &&
            StraightWithin(p, merged.back().first, r.last, 0.5 * tolerance)) {
            merged.back().last = r.last;
        } else {
            merged.push_back(r);
        }
    }
    return merged;
}

}  // namespace

bool StraightWithin(const std::vector<YdPoint>& points, int first, int last, double limit) {
    for (int i = first + 1; i < last; ++i) {
        if (SegmentDistance(points[i], points[first], points[last]) > limit) {
            return false;
        }
    }
    return true;
}

std::vector<Run> SegmentPolyline(const std::vector<YdPoint>& p, const SmoothOptions& opt) {
    const int n = static_cast<int>(p.size()) - 1;
    std::vector<double> len(std::max(n, 0));
    for (int i = 0; i < n; ++i) {
        len[i] = Distance(p[i], p[i + 1]);
    }
    const double maxTurn = opt.maxTurnDegrees * kPi / 180.0;
    std::vector<Run> runs;
    int i = 0;
    while (i < n) {
        if (!(len[i] <= opt.maxSegment)) {
            runs.push_back({Run::Kind::Line, i, i + 1, false});
            ++i;
            continue;
        }
        int j = i;
        while (j + 1 < n && len[j + 1] <= opt.maxSegment && TurnAt(p, j + 1) <= maxTurn) {
            ++j;
        }
        if (j - i + 2 >= opt.minCurvePoints) {
            AddCurveRun(p, opt, i, j + 1, runs);
        } else {
            for (int s = i; s <= j; ++s) {
                runs.push_back({Run::Kind::Line, s, s + 1, false});
            }
        }
        i = j + 1;
    }
    return MergeLines(p, opt.tolerance, runs);
}

}  // namespace ydpath
