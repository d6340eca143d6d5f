// SPDX-License-Identifier: MIT

#include "Joins.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "Geometry.h"
#include "YdNurbsLib/filters/YdArcFitFilter.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Below this change of direction (radians) two elements already meet tangentially.
constexpr double kTangentTurn = 1e-6;
// A made join must be tangent to this (radians) on both sides.
constexpr double kJoinAngle = 1e-6;
// Turning back by more than this is a reversal: no smooth path stays near the input there.
constexpr double kStopTurn = 179.0 * kPi / 180.0;
// Rounding a corner between lines: tries, each closer to the corner than the last.
constexpr int kArcTries = 16;
constexpr double kArcShrink = 0.7;
// Joining with a curve: tries, and how much each retry shrinks the cut.
constexpr int kCurveTries = 30;
constexpr double kCutShrink = 0.6;
// Of an element's length, what one join may take (the other end may need the rest).
constexpr double kShareOfOne = 0.9;
constexpr double kShareOfTwo = 0.45;

YdPoint Along(const YdPoint& p, const YdVector& dir, double s) {
    return YdPoint(p[0] + dir[0] * s, p[1] + dir[1] * s, p[2] + dir[2] * s);
}

bool Finite(const YdPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

/// The size of a cut around a corner that turns by `turn`: a tangent cubic from a point t
/// before the corner to a point t after it passes about 2 t sin(turn/2) (1/2 - cos(turn/2)/4)
/// from the corner, so this t keeps it at 90 % of the tolerance.
double InitialCut(double turn, double tolerance) {
    const double s = std::sin(0.5 * turn);
    const double c = std::cos(0.5 * turn);
    const double k = 2.0 * s * (0.5 - 0.25 * c);
    return k > 0.0 ? 0.9 * tolerance / k : std::numeric_limits<double>::infinity();
}

YdVector EndTangent(const WorkElement& w) {
    if (w.e.kind == ElementKind::Curve) {
        return CurveTangent(*w.fitted, w.uEnd);
    }
    return Unit(w.e.end - w.e.start);
}

YdVector StartTangent(const WorkElement& w) {
    if (w.e.kind == ElementKind::Curve) {
        return CurveTangent(*w.fitted, w.uStart);
    }
    return Unit(w.e.end - w.e.start);
}

}  // namespace

// What is left of a neighbour once a join cuts it, and the input vertex at the cut: the last
// one before it (the element before the join) or the first one after it (the element after).
struct Joiner::Remainder {
    Shape shape;
    ShapeSamples own;                      // lines: samples of the kept segment
    const ShapeSamples* fitted = nullptr;  // curves: the samples of the whole fitted curve
    int edge = 0;

    const ShapeSamples& samples() const { return fitted != nullptr ? *fitted : own; }
};

// One candidate join between a and b.
struct Joiner::Candidate {
    std::unique_ptr<YdBSplineCurve> curve;
    YdPoint lineEnd;    // new end of a when a is a line
    YdPoint lineStart;  // new start of b when b is a line
    double uA = 0.0;    // new end parameter of a when a is a curve
    double uB = 0.0;    // new start parameter of b when b is a curve
};

Joiner::Joiner(const std::vector<YdPoint>& points, const SmoothOptions& options,
               const DeviationMeter& meter)
    : p_(points), opt_(options), meter_(meter) {}

Joiner::Remainder Joiner::Before(const WorkElement& a, const YdPoint& lineEnd, double uCut) const {
    Remainder r;
    const int v = a.e.lastPoint;
    r.edge = a.e.firstPoint;
    if (a.e.kind == ElementKind::Curve) {
        r.shape = Shape::Curve(*a.fitted, a.uStart, uCut);
        r.fitted = &a.samples;
        for (int i = v - 1; i > a.e.firstPoint; --i) {
            if (a.pointU[i - a.e.firstPoint] <= uCut) {
                r.edge = i;
                break;
            }
        }
        return r;
    }
    r.shape = Shape::Segment(ToPoint3(a.e.start), ToPoint3(lineEnd));
    r.own = meter_.Sample(r.shape);
    // Vertices of the line lie near its chord: those farther back from the corner than the cut
    // stay with the line.
    const YdVector back = Unit(p_[a.e.firstPoint] - p_[v]);
    const double cut = Distance(lineEnd, p_[v]);
    for (int i = v - 1; i > a.e.firstPoint; --i) {
        if ((p_[i] - p_[v]) % back >= cut) {
            r.edge = i;
            break;
        }
    }
    return r;
}

Joiner::Remainder Joiner::After(const WorkElement& b, const YdPoint& lineStart, double uCut) const {
    Remainder r;
    const int v = b.e.firstPoint;
    r.edge = b.e.lastPoint;
    if (b.e.kind == ElementKind::Curve) {
        r.shape = Shape::Curve(*b.fitted, uCut, b.uEnd);
        r.fitted = &b.samples;
        for (int i = v + 1; i < b.e.lastPoint; ++i) {
            if (b.pointU[i - b.e.firstPoint] >= uCut) {
                r.edge = i;
                break;
            }
        }
        return r;
    }
    r.shape = Shape::Segment(ToPoint3(lineStart), ToPoint3(b.e.end));
    r.own = meter_.Sample(r.shape);
    const YdVector ahead = Unit(p_[b.e.lastPoint] - p_[v]);
    const double cut = Distance(lineStart, p_[v]);
    for (int i = v + 1; i < b.e.lastPoint; ++i) {
        if ((p_[i] - p_[v]) % ahead >= cut) {
            r.edge = i;
            break;
        }
    }
    return r;
}

// A join answers for the input vertices from the last one its first neighbour keeps to the
// first one its second neighbour keeps. It must stay within the corner tolerance of that part
// of the input, each vertex between those two (the ones the neighbours gave up) must lie within
// it of the join or of what is left of the neighbours, and it must not turn much more than the
// input does there. The two outer vertices stay with the neighbours (or with the join at their
// other end, when a neighbour is that short).
bool Joiner::Accept(const Shape& join, const Remainder& a, const Remainder& b) const {
    const double limit = meter_.AcceptLimit(opt_.cornerTol());
    const ShapeSamples samples = meter_.Sample(join);
    if (!meter_.TurnsLikeInput(samples, a.edge, b.edge)) {
        return false;
    }
    if (!(meter_.PathToInput(join, samples, a.edge, b.edge, limit) <= limit)) {
        return false;
    }
    for (int i = a.edge + 1; i < b.edge; ++i) {
        double d = meter_.VertexToShape(i, join, samples, join.begin(), join.end(), limit).distance;
        for (const Remainder* r : {&a, &b}) {
            if (d > limit) {
                d = std::min(d, meter_
                                    .VertexToShape(i, r->shape, r->samples(), r->shape.begin(),
                                                   r->shape.end(), limit)
                                    .distance);
            }
        }
        if (!(d <= limit)) {
            return false;
        }
    }
    return true;
}

bool Joiner::JoinLines(WorkElement& a, WorkElement& b, double budgetA, double budgetB,
                       WorkElement& out) const {
    const YdPoint v = a.e.end;
    const double availA = std::min(Distance(a.e.start, v), budgetA);
    const double availB = std::min(Distance(v, b.e.end), budgetB);
    const YdPoint legA = Along(v, Unit(a.e.start - v), availA);
    const YdPoint legB = Along(v, Unit(b.e.end - v), availB);
    // The arc passes the corner at the corner tolerance, less twice the measure's precision so
    // that the measured bound still fits; a merged line beside it may already sit off the
    // input, so the arc is made tighter until the whole stays inside.
    double cornerTol = opt_.cornerTol() - 2.0 * meter_.precision();
    for (int attempt = 0; attempt < kArcTries; ++attempt, cornerTol *= kArcShrink) {
        auto filter = std::make_unique<YdArcFitFilter>(legA, v, legB);
        filter->doFitArc(cornerTol);
        YdPoint p1;
        YdPoint p2;
        filter->getTangentPoint(p1, p2);
        const YdPoint center = filter->getCenter();
        const double radius = filter->getRadius();
        if (!Finite(p1) || !Finite(p2) || !Finite(center) || !std::isfinite(radius) ||
            !(radius > 0.0) || Distance(p1, v) > availA * (1.0 + 1e-9) + 1e-12 ||
            Distance(p2, v) > availB * (1.0 + 1e-9) + 1e-12) {
            return false;
        }
        const ArcShape arc = ArcShape::FromTangentPoints(center, p1, p2);
        const Remainder before = Before(a, p1, 0.0);
        const Remainder after = After(b, p2, 0.0);
        if (!Accept(Shape::Arc(arc), before, after)) {
            continue;
        }
        out.e.kind = ElementKind::Arc;
        out.e.start = p1;
        out.e.end = p2;
        out.e.arc = arc;
        out.e.arcFilter = std::move(filter);
        out.e.firstPoint = before.edge;
        out.e.lastPoint = after.edge;
        a.e.end = p1;
        b.e.start = p2;
        return true;
    }
    return false;
}

bool Joiner::MakeCandidate(const WorkElement& a, const WorkElement& b, double cut, double budgetA,
                           double budgetB, Candidate& c) const {
    const YdPoint v = a.e.end;
    const double tol = opt_.cornerTol();
    const bool curveA = a.e.kind == ElementKind::Curve;
    const bool curveB = b.e.kind == ElementKind::Curve;
    if (curveA) {
        c.uA = SnapToKnot(*a.fitted,
                          ParamAtLengthTo(*a.fitted, a.uStart, a.uEnd, std::min(cut, budgetA)));
    }
    if (curveB) {
        c.uB = SnapToKnot(*b.fitted,
                          ParamAtLengthFrom(*b.fitted, b.uStart, b.uEnd, std::min(cut, budgetB)));
    }
    std::unique_ptr<YdBSplineCurve> first(curveA ? a.fitted->ExtractSubCurve(a.uStart, c.uA)
                                                 : nullptr);
    std::unique_ptr<YdBSplineCurve> second(curveB ? b.fitted->ExtractSubCurve(c.uB, b.uEnd)
                                                  : nullptr);
    if ((curveA && !first) || (curveB && !second)) {
        return false;
    }
    YdBSplineCurve* transition = nullptr;
    if (!curveA) {
        // Line into curve: the library cuts the line back and runs a cubic to the curve.
        const YdPoint from =
            Along(v, Unit(a.e.start - v), std::min({cut, budgetA, Distance(a.e.start, v)}));
        YdPoint newStart;
        if (!YdCurveFitFilter::fitCurveToConnectLineAndCurve(from, v, second.get(), tol, newStart,
                                                             c.lineEnd, &transition, nullptr)) {
            return false;
        }
    } else if (!curveB) {
        const YdPoint to =
            Along(v, Unit(b.e.end - v), std::min({cut, budgetB, Distance(v, b.e.end)}));
        YdPoint newEnd;
        if (!YdCurveFitFilter::fitCurveToConnectCurveAndLine(first.get(), v, to, tol, nullptr,
                                                             &transition, c.lineStart, newEnd)) {
            return false;
        }
    } else {
        transition = YdCurveFitFilter::fitCurveBetweenSplineCurves(first.get(), second.get());
    }
    c.curve.reset(transition);
    if (!c.curve) {
        return false;
    }
    const YdPoint head = curveA ? a.fitted->Evaluate(c.uA) : c.lineEnd;
    const YdPoint tail = curveB ? b.fitted->Evaluate(c.uB) : c.lineStart;
    SnapCurveEnds(*c.curve, &head, &tail);
    return MeetsBothSides(a, b, c);
}

// The candidate must meet both sides where they now end, in position and in direction.
bool Joiner::MeetsBothSides(const WorkElement& a, const WorkElement& b, const Candidate& c) const {
    const bool curveA = a.e.kind == ElementKind::Curve;
    const bool curveB = b.e.kind == ElementKind::Curve;
    const YdBSplineCurve& t = *c.curve;
    const YdPoint aEnd = curveA ? a.fitted->Evaluate(c.uA) : c.lineEnd;
    const YdPoint bStart = curveB ? b.fitted->Evaluate(c.uB) : c.lineStart;
    const YdVector aDir = curveA ? CurveTangent(*a.fitted, c.uA) : Unit(a.e.end - a.e.start);
    const YdVector bDir = curveB ? CurveTangent(*b.fitted, c.uB) : Unit(b.e.end - b.e.start);
    if (!curveA && SegmentDistance(c.lineEnd, a.e.start, a.e.end) > kSnapDistance) {
        return false;
    }
    if (!curveB && SegmentDistance(c.lineStart, b.e.start, b.e.end) > kSnapDistance) {
        return false;
    }
    return Distance(t.Evaluate(t.startParam()), aEnd) < kSnapDistance &&
           Distance(t.Evaluate(t.endParam()), bStart) < kSnapDistance &&
           AngleBetween(aDir, CurveTangent(t, t.startParam())) <= kJoinAngle &&
           AngleBetween(CurveTangent(t, t.endParam()), bDir) <= kJoinAngle;
}

bool Joiner::JoinWithCurve(WorkElement& a, WorkElement& b, double turn, double budgetA,
                           double budgetB, WorkElement& out) const {
    double cut = std::min({InitialCut(turn, opt_.cornerTol()), budgetA, budgetB});
    for (int attempt = 0; attempt < kCurveTries && cut > 0.0; ++attempt, cut *= kCutShrink) {
        Candidate c;
        if (!MakeCandidate(a, b, cut, budgetA, budgetB, c)) {
            continue;
        }
        const Remainder before = Before(a, c.lineEnd, c.uA);
        const Remainder after = After(b, c.lineStart, c.uB);
        const Shape shape = Shape::Curve(*c.curve, c.curve->startParam(), c.curve->endParam());
        if (!Accept(shape, before, after)) {
            continue;
        }
        out.e.kind = ElementKind::Transition;
        out.e.firstPoint = before.edge;
        out.e.lastPoint = after.edge;
        out.e.start = c.curve->Evaluate(c.curve->startParam());
        out.e.end = c.curve->Evaluate(c.curve->endParam());
        out.e.curve = std::move(c.curve);
        if (a.e.kind == ElementKind::Curve) {
            a.uEnd = c.uA;
        } else {
            a.e.end = c.lineEnd;
        }
        if (b.e.kind == ElementKind::Curve) {
            b.uStart = c.uB;
        } else {
            b.e.start = c.lineStart;
        }
        return true;
    }
    return false;
}

JoinKind Joiner::MakeJoin(WorkElement& a, WorkElement& b, double turn, double budgetA,
                          double budgetB, WorkElement& out) const {
    if (turn <= kTangentTurn) {
        return JoinKind::Tangent;
    }
    if (turn >= kStopTurn) {
        return JoinKind::Stop;
    }
    const bool curveA = a.e.kind == ElementKind::Curve;
    const bool curveB = b.e.kind == ElementKind::Curve;
    if (!curveA && !curveB) {
        return JoinLines(a, b, budgetA, budgetB, out) ? JoinKind::Arc : JoinKind::Stop;
    }
    if (!JoinWithCurve(a, b, turn, budgetA, budgetB, out)) {
        return JoinKind::Stop;
    }
    return curveA && curveB ? JoinKind::Bridge : JoinKind::Transition;
}

std::vector<WorkElement> Joiner::JoinAll(std::vector<WorkElement> work, std::vector<Join>& joins,
                                         const std::function<void(int)>& done) const {
    const int n = static_cast<int>(work.size());
    // Each joint's turn, and how much of each element a join may take: all but a tenth when
    // only one of its ends needs a join, less than half each when both do.
    std::vector<double> turn(n + 1, 0.0);
    for (int k = 1; k < n; ++k) {
        turn[k] = AngleBetween(EndTangent(work[k - 1]), StartTangent(work[k]));
    }
    auto needs = [&](int k) {
        return k > 0 && k < n && turn[k] > kTangentTurn && turn[k] < kStopTurn;
    };
    auto share = [&](int e) { return needs(e) && needs(e + 1) ? kShareOfTwo : kShareOfOne; };
    std::vector<WorkElement> out;
    out.reserve(2 * static_cast<size_t>(n));
    for (int k = 0; k < n; ++k) {
        if (k > 0) {
            WorkElement& a = out.back();
            WorkElement& b = work[k];
            const double budgetA = share(k - 1) * a.length;
            const double budgetB = share(k) * b.length;
            WorkElement made;
            Join join;
            join.vertex = a.e.lastPoint;
            join.turnDegrees = turn[k] * 180.0 / kPi;
            join.kind = MakeJoin(a, b, turn[k], budgetA, budgetB, made);
            if (join.kind == JoinKind::Arc || join.kind == JoinKind::Transition ||
                join.kind == JoinKind::Bridge) {
                join.element = static_cast<int>(out.size());
                out.push_back(std::move(made));
            }
            joins.push_back(join);
            if (done && k % 64 == 0) {
                done(join.vertex);
            }
        }
        out.push_back(std::move(work[k]));
    }
    return out;
}

}  // namespace ydpath
