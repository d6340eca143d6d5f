// SPDX-License-Identifier: MIT

// The deviation measure and its box tree: exact cases, agreement with the dense oracle, and a
// path measured against itself.

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "Deviation.h"
#include "PathChecks.h"
#include "PointMath.h"
#include "PolylineIndex.h"
#include "YdTestCurves.h"

namespace {

using ydpath::DeviationMeter;
using ydpath::Element;
using ydpath::ElementKind;
using ydpath::Point3;
using ydpath::Shape;

constexpr double kPi = 3.14159265358979323846;
constexpr double kTol = 0.01;

TEST(PolylineIndex, NearestSegmentIsTheBruteForceOne) {
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> step(-1.0, 1.0);
    std::vector<Point3> pts{Point3{0.0, 0.0, 0.0}};
    for (int i = 0; i < 1500; ++i) {
        const Point3& q = pts.back();
        pts.push_back(Point3{q.x + step(rng), q.y + step(rng), q.z + 0.2 * step(rng)});
    }
    const ydpath::PolylineIndex index(pts);
    ASSERT_EQ(index.segments(), 1500);
    std::uniform_int_distribution<int> pick(0, 1499);
    for (int q = 0; q < 2000; ++q) {
        const Point3 p{pts[pick(rng)].x + 3.0 * step(rng), pts[pick(rng)].y + 3.0 * step(rng),
                       step(rng)};
        int first = pick(rng);
        int last = pick(rng);
        if (first > last) {
            std::swap(first, last);
        }
        double best = std::numeric_limits<double>::infinity();
        for (int k = first; k <= last; ++k) {
            best = std::min(best, ydpath::SegmentDistance2(p, pts[k], pts[k + 1]));
        }
        const ydpath::PolylineIndex::Hit hit = index.Nearest(pts, p, first, last, pick(rng));
        ASSERT_GE(hit.segment, first) << "query " << q;
        ASSERT_LE(hit.segment, last) << "query " << q;
        EXPECT_EQ(hit.distance2, best) << "query " << q << " on segments " << first << "-" << last;
    }
}

TEST(PolylineIndex, OnePointAndNoPoints) {
    const std::vector<Point3> one{Point3{1.0, 2.0, 2.0}};
    const ydpath::PolylineIndex index(one);
    const ydpath::PolylineIndex::Hit hit = index.Nearest(one, Point3{0.0, 0.0, 0.0}, 0, 0);
    EXPECT_EQ(hit.distance2, 9.0);
    EXPECT_EQ(hit.segment, 0);
    const std::vector<Point3> none;
    EXPECT_EQ(ydpath::PolylineIndex(none).Nearest(none, Point3{}, 0, 5).segment, -1);
}

Element Line(const YdPoint& a, const YdPoint& b, int first, int last) {
    Element e;
    e.kind = ElementKind::Line;
    e.start = a;
    e.end = b;
    e.firstPoint = first;
    e.lastPoint = last;
    return e;
}

// A line over a vertex 0.004 off it: the vertex is 0.004 from the line, and the line's middle
// is 0.004 cos(atan(0.004)) from the input's segments.
TEST(Deviation, LineOverAnOffsetVertex) {
    const std::vector<YdPoint> input{YdPoint(0, 0, 0), YdPoint(1, 0.004, 0), YdPoint(2, 0, 0)};
    std::vector<Element> elements;
    elements.push_back(Line(input[0], input[2], 0, 2));
    const DeviationMeter meter(input, kTol);
    const ydpath::TwoSidedDeviation d = meter.MeasurePath(elements);
    EXPECT_EQ(d.inputToPath, 0.004);
    const double truth = 0.004 * std::cos(std::atan(0.004));
    EXPECT_GE(d.pathToInput, truth);
    EXPECT_LE(d.pathToInput, truth + meter.precision());
    EXPECT_EQ(elements[0].deviation.inputToPath, d.inputToPath);
}

// A tangent arc in a right-angled corner that passes c from the corner: the corner is c from
// it, and its middle c / sqrt(2) from the legs, which is the farthest it gets from them.
TEST(Deviation, CornerArcBothWays) {
    const double c = 0.008;
    const double r = c / (std::sqrt(2.0) - 1.0);
    const std::vector<YdPoint> input{YdPoint(-5, 0, 0), YdPoint(0, 0, 0), YdPoint(0, 5, 0)};
    std::vector<Element> elements;
    elements.push_back(Line(input[0], YdPoint(-r, 0, 0), 0, 1));
    Element arc;
    arc.kind = ElementKind::Arc;
    arc.arc =
        ydpath::ArcShape::FromTangentPoints(YdPoint(-r, r, 0), YdPoint(-r, 0, 0), YdPoint(0, r, 0));
    arc.start = YdPoint(-r, 0, 0);
    arc.end = YdPoint(0, r, 0);
    arc.firstPoint = 0;
    arc.lastPoint = 2;
    elements.push_back(std::move(arc));
    elements.push_back(Line(YdPoint(0, r, 0), input[2], 1, 2));
    const DeviationMeter meter(input, kTol);
    const ydpath::TwoSidedDeviation d = meter.MeasurePath(elements);
    EXPECT_NEAR(elements[1].deviation.inputToPath, c, 1e-12);
    EXPECT_GE(elements[1].deviation.pathToInput, c / std::sqrt(2.0) - 1e-15);
    EXPECT_LE(elements[1].deviation.pathToInput, c / std::sqrt(2.0) + meter.precision());
    EXPECT_LE(elements[0].deviation.pathToInput, 1e-12);
    EXPECT_NEAR(d.inputToPath, c, 1e-12);
}

// The input's own segments as the output: nothing deviates.
TEST(Deviation, ThePolylineItselfDeviatesNothing) {
    std::vector<YdPoint> input;
    for (int i = 0; i <= 50; ++i) {
        input.emplace_back(i, std::sin(0.3 * i), 0.1 * i);
    }
    std::vector<Element> elements;
    for (int i = 0; i < 50; ++i) {
        elements.push_back(Line(input[i], input[i + 1], i, i + 1));
    }
    const DeviationMeter meter(input, kTol);
    const ydpath::TwoSidedDeviation d = meter.MeasurePath(elements);
    EXPECT_EQ(d.pathToInput, 0.0);
    EXPECT_EQ(d.inputToPath, 0.0);
}

// Two passes 0.03 apart: an element lying on the second pass but standing for the first is
// measured against the first, not merely against whatever input is near.
TEST(Deviation, ElementsAreMeasuredAgainstTheirOwnPart) {
    std::vector<YdPoint> input;
    for (int i = 0; i <= 10; ++i) {
        input.emplace_back(i, 0.0, 0.0);
    }
    for (int i = 10; i >= 0; --i) {
        input.emplace_back(i, 0.03, 0.0);
    }
    std::vector<Element> elements;
    elements.push_back(Line(YdPoint(0, 0.03, 0), YdPoint(8, 0.03, 0), 0, 8));
    const DeviationMeter meter(input, kTol);
    meter.MeasurePath(elements);
    EXPECT_GE(elements[0].deviation.pathToInput, 0.03 - 1e-12);
    EXPECT_LE(elements[0].deviation.pathToInput, 0.03 + meter.precision());
}

// Random cubics against polylines near them: the measure bounds what the dense oracle finds,
// to within its precision.
TEST(Deviation, AgreesWithTheOracleOnRandomCurves) {
    std::mt19937 rng(11);
    std::normal_distribution<double> noise(0.0, 0.004);
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const YdBSplineCurve c = ydtest::RandomCubic(rng, 8 + round % 5);
        ydpath::SmoothedPath path;
        for (int i = 0; i <= 40; ++i) {
            const YdPoint p = c.Evaluate(i / 40.0);
            path.points.emplace_back(p[0] + noise(rng), p[1] + noise(rng), p[2] + noise(rng));
        }
        Element e;
        e.kind = ElementKind::Curve;
        e.curve = std::make_unique<YdBSplineCurve>(c);
        e.start = c.Evaluate(0.0);
        e.end = c.Evaluate(1.0);
        e.firstPoint = 0;
        e.lastPoint = 40;
        path.elements.push_back(std::move(e));
        const DeviationMeter meter(path.points, kTol);
        const ydpath::TwoSidedDeviation d = meter.MeasurePath(path.elements);
        const ydtest::OracleResult o = ydtest::MeasureTwoSided(path, 1e-3);
        EXPECT_GE(d.pathToInput, o.pathToInput - 1e-12);
        EXPECT_LE(d.pathToInput, o.pathToInput + meter.precision() + 1e-9);
        EXPECT_GE(d.inputToPath, o.inputToPath - 1e-12);
        EXPECT_LE(d.inputToPath, o.inputToPath + meter.precision() + 1e-9);
    }
}

// A shape that goes round a full circle where the input turns by 60 degrees loops.
TEST(Deviation, ALoopDoesNotTurnLikeItsInput) {
    std::vector<YdPoint> input;
    for (int i = 0; i <= 6; ++i) {
        const double a = i * 10.0 * kPi / 180.0;
        input.emplace_back(10.0 * std::sin(a), 10.0 - 10.0 * std::cos(a), 0.0);
    }
    const DeviationMeter meter(input, kTol);
    ydpath::ArcShape full;
    full.center = YdPoint(0, 1, 0);
    full.axisU = YdVector(0, -1, 0);
    full.axisV = YdVector(1, 0, 0);
    full.radiusStart = full.radiusEnd = 1.0;
    full.sweep = 2.0 * kPi;
    EXPECT_FALSE(meter.TurnsLikeInput(meter.Sample(Shape::Arc(full)), 0, 6));
    ydpath::ArcShape same = full;
    same.sweep = kPi / 3.0;
    EXPECT_TRUE(meter.TurnsLikeInput(meter.Sample(Shape::Arc(same)), 0, 6));
}

}  // namespace
