// SPDX-License-Identifier: MIT

// The smoothing pipeline on hand-made paths whose shape is known.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "PathChecks.h"
#include "Smoother.h"
#include "Walk.h"

namespace {

using ydpath::ElementKind;
using ydpath::SmoothedPath;
using ydpath::SmoothOptions;

constexpr double kPi = 3.14159265358979323846;
constexpr double kTol = 0.01;

// Flattens f on [t0, t1] into chords that cut the curve by at most 0.002 and are at most
// 0.8 long, as a CAM system would.
void Flatten(const std::function<YdPoint(double)>& f, double t0, double t1,
             std::vector<YdPoint>& out) {
    const int n = 4096;
    YdPoint last = f(t0);
    if (out.empty() || ydtest::Dist(out.back(), last) > 1e-12) {
        out.push_back(last);
    }
    double lastT = t0;
    for (int i = 1; i <= n; ++i) {
        const double t = t0 + (t1 - t0) * i / n;
        const YdPoint p = f(t);
        // Would a chord from last to p still hug the curve?
        bool ok = ydtest::Dist(last, p) <= 0.8;
        for (int k = 1; ok && k < 8; ++k) {
            ok = ydtest::SegDist(f(lastT + (t - lastT) * k / 8.0), last, p) <= 0.002;
        }
        if (!ok || i == n) {
            const double tp = i == n && ok ? t : t0 + (t1 - t0) * (i - 1) / n;
            const YdPoint q = f(tp);
            if (ydtest::Dist(q, last) > 1e-12) {
                out.push_back(q);
            }
            last = q;
            lastT = tp;
            if (i == n && !ok) {
                out.push_back(p);
            }
        }
    }
}

// Straight line, rounded corner, straight edge, two sharp corners, a sine-wave edge made of
// short moves, and a straight edge back: every kind of join.
std::vector<YdPoint> Plate() {
    std::vector<YdPoint> pts{YdPoint(0, 0, 0), YdPoint(40, 0, 0)};
    Flatten([](double a) { return YdPoint(40 + 8 * std::cos(a), 8 + 8 * std::sin(a), 0); },
            -kPi / 2, 0.0, pts);
    pts.emplace_back(48, 30, 0);
    pts.emplace_back(30, 38, 0);
    Flatten([](double t) { return YdPoint(30 - t, 38 + 2.0 * std::sin(t * 2 * kPi / 15), 0); }, 0.0,
            30.0, pts);
    pts.emplace_back(0, 0, 0);
    return pts;
}

// Long straight moves only, turning by many different angles, with one leg too short for a
// full-size arc.
std::vector<YdPoint> Zigzag() {
    std::vector<YdPoint> pts{YdPoint(0, 0, 0)};
    double heading = 0.0;
    YdPoint p(0, 0, 0);
    const double turns[] = {30, -90, 150, -170, 0.5, -20, 60, 120, -45, 90};
    const double legs[] = {10, 12, 8, 15, 9, 20, 0.05, 11, 7, 10, 10};
    for (int i = 0; i < 11; ++i) {
        // One leg climbs, so that one corner is not in the XY plane.
        p = YdPoint(p[0] + legs[i] * std::cos(heading), p[1] + legs[i] * std::sin(heading),
                    i >= 3 ? 2.0 : 0.0);
        pts.push_back(p);
        if (i < 10) {
            heading += turns[i] * kPi / 180.0;
        }
    }
    return pts;
}

// A straight lead-in, a long spiral of 3000 short moves, a straight lead-out.
std::vector<YdPoint> Spiral() {
    std::vector<YdPoint> pts{YdPoint(-20, -30, 0)};
    const int n = 3000;
    for (int i = 0; i <= n; ++i) {
        const double a = 8 * kPi * i / n;
        const double r = 10 + 2 * a;
        pts.emplace_back(r * std::cos(a), r * std::sin(a), -0.001 * i);
    }
    const YdPoint& last = pts.back();
    pts.emplace_back(last[0] + 25, last[1], last[2]);
    return pts;
}

// Scallops: half circles joined end to end, meeting in cusps.
std::vector<YdPoint> Scallops() {
    std::vector<YdPoint> pts;
    for (int k = 0; k < 4; ++k) {
        const double cx = 10.0 * k + 5.0;
        Flatten([cx](double a) { return YdPoint(cx - 5 * std::cos(a), 5 * std::sin(a), 0); }, 0.0,
                kPi, pts);
    }
    return pts;
}

SmoothedPath SmoothAndCheck(const std::vector<YdPoint>& pts, const std::string& name) {
    SmoothOptions opt;
    opt.tolerance = kTol;
    SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
    SCOPED_TRACE(name);
    EXPECT_FALSE(path.elements.empty());
    EXPECT_EQ(ydtest::ExpectContinuous(path), 0) << "no join may be left sharp";
    ydtest::ExpectWithinTolerance(path, kTol);
    // Element ends agree with the element list's start and end points.
    for (const ydpath::Element& e : path.elements) {
        EXPECT_LE(ydtest::Dist(ydtest::GeomAt(e, 0.0), e.start), 1e-9);
        EXPECT_LE(ydtest::Dist(ydtest::GeomAt(e, 1.0), e.end), 1e-9);
    }
    return path;
}

TEST(Smoothing, PlateUsesEveryKindOfJoin) {
    const SmoothedPath path = SmoothAndCheck(Plate(), "plate");
    EXPECT_GE(path.count(ElementKind::Curve), 2);
    EXPECT_GE(path.count(ElementKind::Transition), 3);
    EXPECT_GE(path.count(ElementKind::Arc), 1);
    EXPECT_GE(path.count(ElementKind::Line), 3);
    // The long straight moves stay lines, exactly on the input.
    bool bottomEdge = false;
    for (const ydpath::Element& e : path.elements) {
        if (e.kind == ElementKind::Line && e.firstPoint == 0) {
            bottomEdge = true;
            EXPECT_EQ(e.start[0], 0.0);
            EXPECT_NEAR(e.start[1], 0.0, 0.0);
            EXPECT_EQ(e.end[1], 0.0);
            EXPECT_GT(e.end[0], 39.0);  // only the end next to the corner is cut back
        }
    }
    EXPECT_TRUE(bottomEdge);
}

TEST(Smoothing, ZigzagBecomesLinesAndCornerArcs) {
    const SmoothedPath path = SmoothAndCheck(Zigzag(), "zigzag");
    EXPECT_EQ(path.count(ElementKind::Curve), 0);
    EXPECT_EQ(path.count(ElementKind::Transition), 0);
    EXPECT_EQ(path.count(ElementKind::Arc), 10);
    EXPECT_EQ(path.count(ElementKind::Line), 11);
    for (const ydpath::Join& j : path.joins) {
        EXPECT_EQ(j.kind, ydpath::JoinKind::Arc) << "at vertex " << j.vertex;
    }
    // A corner arc with room on both legs passes just inside the tolerance from the corner
    // (the measure's precision, a thousandth of it, is kept free).
    const ydpath::Element& first = path.elements[1];
    ASSERT_EQ(first.kind, ElementKind::Arc);
    EXPECT_LE(ydtest::DistanceTo(first, path.points[1]), kTol);
    EXPECT_GE(ydtest::DistanceTo(first, path.points[1]), 0.99 * kTol);
    // The arcs beside the short leg (vertices 6 and 7) share it: neither takes more than
    // its part, so the line between them survives, and the sharper corner's arc is smaller.
    const ydpath::Element* shortLeg = nullptr;
    for (const ydpath::Element& e : path.elements) {
        if (e.kind == ElementKind::Line && e.firstPoint == 6 && e.lastPoint == 7) {
            shortLeg = &e;
        }
    }
    for (const ydpath::Join& j : path.joins) {
        if (j.vertex == 7) {
            ASSERT_GE(j.element, 0);
            EXPECT_LT(ydtest::DistanceTo(path.elements[j.element], path.points[7]), kTol * 0.99);
        }
    }
    ASSERT_NE(shortLeg, nullptr);
    EXPECT_GT(shortLeg->length, 0.05 * ydtest::Dist(path.points[6], path.points[7]));
}

TEST(Smoothing, LongSpiralIsChainedTangentially) {
    const SmoothedPath path = SmoothAndCheck(Spiral(), "spiral");
    EXPECT_GE(path.count(ElementKind::Curve), 3000 / 150);
    EXPECT_EQ(path.count(ElementKind::Transition), 2);  // lead-in and lead-out
    EXPECT_EQ(path.count(ElementKind::Line), 2);
    int tangent = 0;
    for (const ydpath::Join& j : path.joins) {
        tangent += j.kind == ydpath::JoinKind::Tangent ? 1 : 0;
    }
    EXPECT_GE(tangent, path.count(ElementKind::Curve) / 2)
        << "most chunks of the run continue the previous one's tangent";
    for (const ydpath::Element& e : path.elements) {
        if (e.kind == ElementKind::Curve) {
            EXPECT_LE(e.fittedPoints, 150);
            EXPECT_LE(e.curve->GetNumOfCtrlPnts(), e.fittedPoints);
        }
    }
}

TEST(Smoothing, CuspsBetweenCurvesAreBridged) {
    const SmoothedPath path = SmoothAndCheck(Scallops(), "scallops");
    EXPECT_EQ(path.count(ElementKind::Curve), 4);
    EXPECT_EQ(path.count(ElementKind::Transition), 3);
    int bridges = 0;
    for (const ydpath::Join& j : path.joins) {
        bridges += j.kind == ydpath::JoinKind::Bridge ? 1 : 0;
        if (j.kind == ydpath::JoinKind::Bridge) {
            EXPECT_GT(j.turnDegrees, 150.0) << "the scallops nearly turn back";
        }
    }
    EXPECT_EQ(bridges, 3);
}

TEST(Smoothing, CurvatureOfAFittedCircleIsOneOverItsRadius) {
    std::vector<YdPoint> pts;
    Flatten([](double a) { return YdPoint(20 * std::cos(a), 20 * std::sin(a), 0); }, 0.0, 1.5 * kPi,
            pts);
    SmoothOptions opt;
    opt.tolerance = kTol;
    const SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
    // 170 points: two chained curves, the second leaving with the first one's tangent.
    ASSERT_EQ(path.elements.size(), 2u);
    ASSERT_EQ(path.joins.size(), 1u);
    EXPECT_EQ(path.joins[0].kind, ydpath::JoinKind::Tangent);
    double length = 0.0;
    double turning = 0.0;
    for (const ydpath::Element& e : path.elements) {
        ASSERT_EQ(e.kind, ElementKind::Curve);
        length += e.length;
        // Integrated curvature is the angle the tangent turns through (a plane curve that
        // bends one way only), whatever the fit's small ripples.
        const int n = 2000;
        double integral = 0.0;
        double sampledMax = 0.0;
        for (int i = 0; i < n; ++i) {
            const double ds = ydtest::Dist(ydtest::GeomAt(e, double(i) / n),
                                           ydtest::GeomAt(e, double(i + 1) / n));
            const double k = e.CurvatureAt((i + 0.5) / n);
            integral += k * ds;
            sampledMax = std::max(sampledMax, k);
            // The fit follows the circle: no wild swings of curvature. The second curve leaves
            // with the first one's tangent and has no fairing, so it ripples more: within 60 %.
            EXPECT_NEAR(k, 1.0 / 20.0, 0.6 / 20.0) << "at t = " << (i + 0.5) / n;
        }
        const double angle =
            ydtest::Angle(ydtest::GeomTangent(e, 0.0), ydtest::GeomTangent(e, 1.0));
        EXPECT_NEAR(integral, angle, 1e-3 * angle);
        turning += angle;
        // The reported maximum is the largest curvature anywhere on the curve.
        EXPECT_GE(e.maxCurvature, sampledMax * (1 - 1e-3));
        EXPECT_NEAR(e.curve->CalcRadiusOfCurvature(e.maxCurvatureU), 1.0 / e.maxCurvature,
                    1e-9 / e.maxCurvature);
    }
    EXPECT_NEAR(length, 20 * 1.5 * kPi, 0.05);
    // At each end the fit may leave along the first chord rather than the circle's tangent:
    // half a chord's turn, 0.55 / 40 radians.
    EXPECT_NEAR(turning, 1.5 * kPi, 2 * 0.55 / 40);
}

TEST(Smoothing, ReversalIsKeptAsAStop) {
    const std::vector<YdPoint> pts{YdPoint(0, 0, 0), YdPoint(10, 0, 0), YdPoint(0, 0.01, 0)};
    SmoothOptions opt;
    const SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
    ASSERT_EQ(path.joins.size(), 1u);
    EXPECT_EQ(path.joins[0].kind, ydpath::JoinKind::Stop);
    ASSERT_EQ(path.elements.size(), 2u);
    EXPECT_EQ(path.elements[0].end[0], 10.0);
    EXPECT_EQ(path.elements[1].start[0], 10.0);
}

TEST(Smoothing, StraightRunOfShortMovesIsOneLine) {
    std::vector<YdPoint> pts;
    for (int i = 0; i <= 40; ++i) {
        pts.emplace_back(0.5 * i, 0.001 * (i % 2), 0);  // within half the tolerance of straight
    }
    SmoothOptions opt;
    const SmoothedPath path = ydpath::SmoothPolyline(pts, opt);
    ASSERT_EQ(path.elements.size(), 1u);
    EXPECT_EQ(path.elements[0].kind, ElementKind::Line);
    // Every point of the line is within 0.001 of the zig-zag, and the vertices off it by 0.001.
    EXPECT_NEAR(path.elements[0].deviation.inputToPath, 0.001, 1e-12);
    EXPECT_LE(path.elements[0].deviation.pathToInput, 0.001 + 1e-5);
}

TEST(Smoothing, TooFewPointsGiveNothingOrALine) {
    SmoothOptions opt;
    EXPECT_TRUE(ydpath::SmoothPolyline({}, opt).elements.empty());
    EXPECT_TRUE(ydpath::SmoothPolyline({YdPoint(1, 2, 3)}, opt).elements.empty());
    const SmoothedPath one = ydpath::SmoothPolyline({YdPoint(0, 0, 0), YdPoint(1, 0, 0)}, opt);
    ASSERT_EQ(one.elements.size(), 1u);
    EXPECT_EQ(one.elements[0].kind, ElementKind::Line);
    EXPECT_DOUBLE_EQ(one.elements[0].length, 1.0);
}

TEST(Smoothing, OptionsAreChecked) {
    SmoothOptions opt;
    EXPECT_EQ(opt.Check(), "");
    opt.tolerance = 0.0;
    EXPECT_NE(opt.Check(), "");
    opt = SmoothOptions();
    opt.maxCurvePoints = 501;
    EXPECT_NE(opt.Check(), "");
    opt = SmoothOptions();
    opt.minCurvePoints = 4;
    EXPECT_NE(opt.Check(), "");
    opt = SmoothOptions();
    opt.cornerTolerance = 0.002;
    EXPECT_DOUBLE_EQ(opt.cornerTol(), 0.002);
}

TEST(Walk, StepsAreWhatWasAskedFor) {
    SmoothOptions opt;
    ydpath::SmoothResult result;
    result.paths.push_back(ydpath::SmoothPolyline(Plate(), opt));
    const double step = 0.25;
    const ydpath::WalkResult walk = ydpath::WalkPaths(result, step);
    ASSERT_GT(walk.points.size(), 100u);
    const SmoothedPath& path = result.paths[0];
    for (size_t i = 1; i < walk.points.size(); ++i) {
        const ydpath::WalkPoint& a = walk.points[i - 1];
        const ydpath::WalkPoint& b = walk.points[i];
        const double d = ydtest::Dist(a.point, b.point);
        EXPECT_LE(d, step * (1 + 1e-6)) << "step " << i;
        EXPECT_GT(d, 0.0) << "step " << i;
        // Inside one curve or line every step but the last is a full chord of `step`.
        const bool nextSame = i + 1 < walk.points.size() && walk.points[i + 1].element == b.element;
        const ElementKind k = path.elements[b.element].kind;
        if (a.element == b.element && nextSame &&
            (k == ElementKind::Curve || k == ElementKind::Line)) {
            EXPECT_NEAR(d, step, step * 1e-5) << "step " << i;
        }
        // Every visited point lies on the path.
        EXPECT_LE(ydtest::DistanceTo(path.elements[b.element], b.point), 1e-6);
    }
    EXPECT_GT(walk.maxChordDeviation, 0.0);
    // A chord of 0.25 on the tightest fitted bend (radius about 8) cuts it by about
    // 0.25^2 / (8 * 8): the largest chord deviation is that order, not more than the arcs'.
    EXPECT_LT(walk.maxChordDeviation, 0.05);
}

}  // namespace
