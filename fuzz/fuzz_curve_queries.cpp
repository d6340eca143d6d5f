// SPDX-License-Identifier: MIT

// A curve from the input (interpolated, approximated, or given directly by knots and control
// points, malformed ones included), then a sequence of queries and edits: evaluation, both
// lengths, nearest point, arc-length stepping, curvature, Frenet frame, sampling, knot
// insertion and removal, split, sub-curves, offset, seam rotation, reversal, transformation,
// export and compatibility. Failures must leave out-parameters and curves untouched, edits
// must keep the knots in order and the shape where promised.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "FuzzInput.h"

namespace {

using ydfuzz::FuzzInput;
using ydfuzz::Same;

constexpr int kMaxPoints = 60;

// Knots and control points for the direct constructor: usually a clamped vector on [0, 1]
// with matching counts, sometimes anything at all.
YdBSplineCurve* DirectCurve(FuzzInput& in) {
    const int p = in.Int(-1, 5);
    const bool wellFormed = in.Byte() % 4 != 0;
    std::vector<double> knots;
    std::vector<YdPoint> ctrl;
    if (wellFormed && p >= 1) {
        const int interior = in.Int(0, 16);
        std::vector<double> inner;
        for (int i = 0; i < interior; ++i) {
            inner.push_back(in.Unit());
        }
        std::sort(inner.begin(), inner.end());
        knots.assign(static_cast<std::size_t>(p + 1), 0.0);
        knots.insert(knots.end(), inner.begin(), inner.end());
        knots.insert(knots.end(), static_cast<std::size_t>(p + 1), 1.0);
        for (int i = 0; i < interior + p + 1; ++i) {
            ctrl.push_back(in.Point());
        }
    } else {
        for (int i = in.Int(0, 20); i > 0; --i) {
            knots.push_back(in.Coord());
        }
        for (int i = in.Int(0, 20); i > 0; --i) {
            ctrl.push_back(in.Point());
        }
    }
    YdKnotVec kv;
    kv.SetKnots(knots);
    return new YdBSplineCurve(kv, ctrl, p, in.Bool());
}

YdBSplineCurve* MakeCurve(FuzzInput& in) {
    switch (in.Byte() % 4) {
        case 0:
            return YdBSplineCurve::CreateInterpolateCurve(in.Points(kMaxPoints), in.Bool());
        case 1: {
            const std::vector<YdPoint> pts = in.Points(kMaxPoints);
            return YdBSplineCurve::CreateApproximateCurve(pts, in.Bool(), 1e-4);
        }
        default:
            return DirectCurve(in);
    }
}

// A parameter: mostly in (and a little around) the curve's range, sometimes any coordinate.
double Param(FuzzInput& in, const YdBSplineCurve& c) {
    if (in.Byte() % 8 == 0) {
        return in.Coord();
    }
    const double a = c.startParam();
    const double b = c.endParam();
    return a + (b - a) * (in.Unit() * 1.4 - 0.2);
}

struct Snapshot {
    std::vector<double> knots;
    std::vector<YdPoint> ctrl;
    explicit Snapshot(const YdBSplineCurve& c)
        : knots(c.KnotVec().GetKnots()), ctrl(c.CtrlPoints()) {}
    bool SameAs(const YdBSplineCurve& c) const {
        const std::vector<double>& k = c.KnotVec().GetKnots();
        if (k.size() != knots.size() || c.CtrlPoints().size() != ctrl.size()) {
            return false;
        }
        for (std::size_t i = 0; i < k.size(); ++i) {
            if (!Same(k[i], knots[i])) {
                return false;
            }
        }
        for (std::size_t i = 0; i < ctrl.size(); ++i) {
            if (!Same(ctrl[i], c.CtrlPoints()[i])) {
                return false;
            }
        }
        return true;
    }
};

double Scale(const YdBSplineCurve& c) {
    double s = 1.0;
    for (const YdPoint& p : c.CtrlPoints()) {
        s = std::max({s, std::fabs(p[0]), std::fabs(p[1]), std::fabs(p[2])});
    }
    return s;
}

int SpanCount(const YdBSplineCurve& c) {
    const std::vector<double>& k = c.KnotVec().GetKnots();
    int spans = 0;
    for (std::size_t i = 1; i < k.size(); ++i) {
        spans += k[i - 1] < k[i] ? 1 : 0;
    }
    return spans;
}

// True when two consecutive control points coincide: the curve then stands still, or nearly,
// somewhere (its speed vanishes there), and lengths near that place underflow to 0.
bool StandsStill(const YdBSplineCurve& c) {
    const std::vector<YdPoint>& P = c.CtrlPoints();
    for (std::size_t i = 1; i < P.size(); ++i) {
        if (Same(P[i - 1], P[i])) {
            return true;
        }
    }
    return false;
}

// Knot insertion keeps the shape: the curve is the same at parameters across its range.
void CheckSameShape(const YdBSplineCurve& before, const YdBSplineCurve& after, const char* what) {
    const double a = before.startParam();
    const double b = before.endParam();
    const double tol = 1e-9 * Scale(before);
    for (int i = 0; i <= 16; ++i) {
        const double u = a + (b - a) * i / 16.0;
        const YdPoint p = before.Evaluate(u);
        const YdPoint q = after.Evaluate(u);
        FUZZ_CHECK(p.DistanceToPoint(q) <= tol, "%s moved the curve by %g at u = %.17g", what,
                   p.DistanceToPoint(q), u);
    }
}

void CheckPiece(const YdBSplineCurve* piece, bool wellFormed, const char* what) {
    FUZZ_CHECK(piece != nullptr, "%s: null piece", what);
    if (!wellFormed) {
        return;
    }
    ydfuzz::CheckBuiltCurve(*piece, what);
    FUZZ_CHECK(piece->KnotVec().GetCount() == piece->GetNumOfCtrlPnts() + piece->Degree() + 1,
               "%s: %d knots for %d control points", what, piece->KnotVec().GetCount(),
               piece->GetNumOfCtrlPnts());
}

void Evaluation(FuzzInput& in, const YdBSplineCurve& c, bool wellFormed) {
    const double u = Param(in, c);
    const int n = in.Int(-2, 6);
    YdPoint pt(7.0, 7.0, 7.0);
    std::vector<YdVector> d(static_cast<std::size_t>(in.Int(0, 3)));
    FUZZ_CHECK(c.Evaluate(u, n, pt, d), "Evaluate: false");
    FUZZ_CHECK(d.size() == static_cast<std::size_t>(std::max(n, 0)), "Evaluate: %zu derivatives",
               d.size());
    FUZZ_CHECK(Same(pt, c.Evaluate(u)), "Evaluate: the two overloads differ at u = %.17g", u);
    // Beyond the range the end spans are extended, and one of zero length (an interior knot
    // equal to an end knot) divides by zero there, as documented.
    if (wellFormed && u >= c.startParam() && u <= c.endParam()) {
        FUZZ_CHECK(ydfuzz::Finite(pt), "Evaluate: non-finite point at u = %.17g", u);
    }
}

void Lengths(FuzzInput& in, const YdBSplineCurve& c) {
    const double a = Param(in, c);
    const double b = in.Bool() ? a : Param(in, c);
    const double l = c.Length(a, b, true);
    const double back = c.Length(b, a, true);
    FUZZ_CHECK(back == -l || (std::isnan(l) && std::isnan(back)),
               "Length: not antisymmetric on [%.17g, %.17g]", a, b);
    if (a == b) {
        FUZZ_CHECK(l == 0.0 && c.Length(a, b, false) == 0.0, "Length: %g for an empty range", l);
    }
    const double tol = std::pow(10.0, -in.Int(1, 6));
    const double r = c.Length(a, b, tol);
    FUZZ_CHECK(!(r < 0.0), "Length(tol): %g", r);
    if (a == b) {
        FUZZ_CHECK(r == 0.0, "Length(tol): %g for an empty range", r);
    }
}

void Nearest(FuzzInput& in, const YdBSplineCurve& c, bool wellFormed) {
    const YdPoint P = in.Point();
    double start = Param(in, c);
    const bool withStart = in.Bool();
    double u = -12345.0;
    YdPoint nearest(-1.0, -2.0, -3.0);
    const YdPoint untouched = nearest;
    const bool found = c.FindNearestPoint(P, u, nearest, withStart ? &start : nullptr);
    if (!found) {
        FUZZ_CHECK(u == -12345.0 && Same(nearest, untouched), "FindNearestPoint: false but wrote");
        return;
    }
    if (wellFormed && ydfuzz::Finite(P) && !withStart) {
        const std::vector<double>& k = c.KnotVec().GetKnots();
        const double lo = k[static_cast<std::size_t>(c.Degree())];
        const double hi = k[static_cast<std::size_t>(c.GetNumOfCtrlPnts())];
        FUZZ_CHECK(u >= lo && u <= hi, "FindNearestPoint: u = %.17g outside [%g, %g]", u, lo, hi);
        FUZZ_CHECK(ydfuzz::Finite(nearest), "FindNearestPoint: non-finite nearest point");
    }
}

void Locate(FuzzInput& in, const YdBSplineCurve& c) {
    const YdPoint P = in.Point();
    // A distance of (nearly) zero bisects down to where lengths underflow; see the caller.
    const double dist = 1e-3 + std::fabs(in.Coord());
    const double tol = std::pow(10.0, -in.Int(2, 4));
    double u = 0.0;
    YdPoint pt;
    c.locatePoint(P, dist, in.Bool(), u, pt, tol);
}

void Curvature(FuzzInput& in, const YdBSplineCurve& c, bool wellFormed) {
    const double u = Param(in, c);
    double k = -7.0;
    const bool ok = c.CalculateCurvature(u, k);
    if (!ok) {
        FUZZ_CHECK(k == -7.0, "CalculateCurvature: false but wrote");
        FUZZ_CHECK(c.CalcRadiusOfCurvature(u) == -1.0, "CalcRadiusOfCurvature: not -1");
    }
    if (wellFormed) {
        FUZZ_CHECK(ok, "CalculateCurvature: false on a well-formed curve");
    }
    YdFrame frame(YdPoint(1.0, 2.0, 3.0), YdVector(1.0, 0.0, 0.0), YdVector(0.0, 1.0, 0.0));
    const YdFrame copy = frame;
    if (!c.FrenetFrame(u, frame)) {
        FUZZ_CHECK(Same(frame.GetOrigin(), copy.GetOrigin()) && frame.DirX()[0] == 1.0 &&
                       frame.DirY()[1] == 1.0 && frame.DirZ()[2] == 1.0,
                   "FrenetFrame: false but wrote");
    }
}

void Sample(FuzzInput& in, const YdBSplineCurve& c) {
    const int n = in.Int(-2, 64);
    std::vector<YdPoint> out(static_cast<std::size_t>(in.Int(0, 2)));
    const std::size_t before = out.size();
    c.Sampling(n, out, Param(in, c), Param(in, c));
    const std::size_t expected = before + (n >= 1 ? static_cast<std::size_t>(n) + 1 : 0);
    FUZZ_CHECK(out.size() == expected, "Sampling(%d): %zu points", n, out.size() - before);
    if (in.Bool()) {
        YdPoint mid;
        double u = 0.0;
        c.GetMiddlePoint(mid, u);
    }
}

void Insert(FuzzInput& in, YdBSplineCurve& c, bool wellFormed) {
    const double u = Param(in, c);
    const Snapshot before(c);
    const YdBSplineCurve old(c);
    if (!c.InsertKnot(u, in.Bool())) {
        FUZZ_CHECK(before.SameAs(c), "InsertKnot(%.17g): false but changed the curve", u);
        return;
    }
    FUZZ_CHECK(c.KnotVec().GetCount() == static_cast<int>(before.knots.size()) + 1 &&
                   c.GetNumOfCtrlPnts() == static_cast<int>(before.ctrl.size()) + 1,
               "InsertKnot: counts");
    FUZZ_CHECK(ydfuzz::NonDecreasing(c.KnotVec().GetKnots()) || !wellFormed,
               "InsertKnot(%.17g): knots decrease", u);
    if (wellFormed) {
        CheckSameShape(old, c, "InsertKnot");
    }
}

void Remove(FuzzInput& in, YdBSplineCurve& c, bool wellFormed) {
    const std::vector<double>& k = c.KnotVec().GetKnots();
    double u = Param(in, c);
    if (!k.empty() && in.Bool()) {
        u = k[static_cast<std::size_t>(in.Int(0, static_cast<int>(k.size()) - 1))];
    }
    const double tol = in.Bool() ? 1e300 : std::pow(10.0, -in.Int(0, 12));
    const Snapshot before(c);
    if (!c.RemoveKnot(u, tol)) {
        FUZZ_CHECK(before.SameAs(c), "RemoveKnot(%.17g): false but changed the curve", u);
        return;
    }
    FUZZ_CHECK(c.KnotVec().GetCount() == static_cast<int>(before.knots.size()) - 1 &&
                   c.GetNumOfCtrlPnts() == static_cast<int>(before.ctrl.size()) - 1,
               "RemoveKnot: counts");
    FUZZ_CHECK(ydfuzz::NonDecreasing(c.KnotVec().GetKnots()) || !wellFormed,
               "RemoveKnot(%.17g): knots decrease", u);
}

void Split(FuzzInput& in, YdBSplineCurve& c, bool wellFormed) {
    const double u = Param(in, c);
    std::vector<YdBSplineCurve*> parts = c.SplitCurve(u);
    std::vector<std::unique_ptr<YdBSplineCurve>> owned(parts.begin(), parts.end());
    FUZZ_CHECK(parts.size() == 1 || parts.size() == 2, "SplitCurve: %zu pieces", parts.size());
    for (YdBSplineCurve* piece : parts) {
        CheckPiece(piece, wellFormed, "SplitCurve");
    }
    if (parts.size() == 2 && wellFormed) {
        for (YdBSplineCurve* piece : parts) {
            FUZZ_CHECK(piece->startParam() == 0.0 && piece->endParam() == 1.0,
                       "SplitCurve(%.17g): a piece on [%.17g, %.17g]", u, piece->startParam(),
                       piece->endParam());
        }
        FUZZ_CHECK(Same(parts[0]->CtrlPoints().back(), parts[1]->CtrlPoints().front()),
                   "SplitCurve(%.17g): the pieces do not meet", u);
    }
}

void Extract(FuzzInput& in, const YdBSplineCurve& c, bool wellFormed) {
    std::unique_ptr<YdBSplineCurve> piece;
    if (in.Bool()) {
        double u1 = Param(in, c);
        double u2 = Param(in, c);
        piece.reset(c.ExtractSubCurve(u1, u2));
        u1 = std::max(u1, c.startParam());
        u2 = std::min(u2, c.endParam());
        if (wellFormed && !(u1 < u2)) {
            FUZZ_CHECK(piece == nullptr, "ExtractSubCurve(%.17g, %.17g): not null", u1, u2);
        }
    } else {
        piece.reset(c.ExtractSubCurve(in.Point(), in.Point()));
    }
    if (piece != nullptr) {
        CheckPiece(piece.get(), wellFormed, "ExtractSubCurve");
    }
}

void Offset(FuzzInput& in, const YdBSplineCurve& c) {
    if (SpanCount(c) > 12) {
        return;  // ten samples per span feed a full approximation search
    }
    const double d = in.Coord();
    const double tol = std::pow(10.0, -in.Int(1, 8));
    std::unique_ptr<YdBSplineCurve> o(in.Bool() ? c.OffSetCurve(d, tol)
                                                : YdBSplineCurve::CreateOffSetBSpline(c, d, tol));
    if (o != nullptr) {
        ydfuzz::CheckBuiltCurve(*o, "OffSetCurve");
    }
}

void RotateSeam(FuzzInput& in, YdBSplineCurve& c, bool wellFormed) {
    const double u = Param(in, c);
    const Snapshot before(c);
    if (!c.Rotate(u)) {
        FUZZ_CHECK(before.SameAs(c), "Rotate(%.17g): false but changed the curve", u);
        return;
    }
    if (wellFormed && c.IsClosed()) {
        FUZZ_CHECK(ydfuzz::NonDecreasing(c.KnotVec().GetKnots()), "Rotate(%.17g): knots decrease",
                   u);
    }
}

void Move(FuzzInput& in, YdBSplineCurve& c) {
    if (in.Bool()) {
        c.Reverse();
        return;
    }
    const int rows = in.Bool() ? 3 : 4;
    YdMatrix m(rows, 4);
    for (int r = 0; r < rows; ++r) {
        for (int col = 0; col < 4; ++col) {
            m[r][col] = in.Coord() / 64.0;
        }
    }
    c.Transform(m);
}

std::string ExportPath() {
    static const std::string path = "/tmp/ydnurbs-fuzz-export-" + std::to_string(getpid());
    return path;
}

void Export(FuzzInput& in, const YdBSplineCurve& c, bool wellFormed) {
    const int count = in.Int(-3, 64);
    YdCurveFitFilter::exportCurve(const_cast<YdBSplineCurve*>(&c), ExportPath(), count);
    const double range = c.endParam() - c.startParam();
    if (wellFormed && count >= 1 && range / count >= 2e-8) {
        std::ifstream file(ExportPath());
        int lines = 0;
        for (std::string line; std::getline(file, line);) {
            ++lines;
        }
        FUZZ_CHECK(lines == count, "exportCurve(%d): %d lines", count, lines);
    }
}

void Compatible(FuzzInput& in, YdBSplineCurve& c, bool wellFormed) {
    std::unique_ptr<YdBSplineCurve> other(MakeCurve(in));
    if (other == nullptr) {
        return;
    }
    const bool bothWellFormed = wellFormed && ydfuzz::WellFormed(*other);
    const bool sameDegree = c.Degree() == other->Degree();
    const Snapshot a(c);
    const Snapshot b(*other);
    const bool ok = YdNurbsHelper::MakeCurvesCompatible({&c, other.get()});
    if (!ok || !sameDegree) {
        FUZZ_CHECK(!ok || sameDegree, "MakeCurvesCompatible: true for different degrees");
        FUZZ_CHECK(a.SameAs(c) && b.SameAs(*other), "MakeCurvesCompatible: false but changed");
        return;
    }
    if (bothWellFormed) {
        FUZZ_CHECK(ydfuzz::NonDecreasing(c.KnotVec().GetKnots()) &&
                       ydfuzz::NonDecreasing(other->KnotVec().GetKnots()),
                   "MakeCurvesCompatible: knots decrease");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput in(data, size);
    in.AllowNonFinite(in.Byte() % 8 == 0);
    std::unique_ptr<YdBSplineCurve> c(MakeCurve(in));
    if (c == nullptr) {
        return 0;
    }
    for (int step = 0; step < 8 && !in.Empty(); ++step) {
        const bool wellFormed = ydfuzz::WellFormed(*c);
        switch (in.Byte() % 16) {
            case 0:
                Evaluation(in, *c, wellFormed);
                break;
            case 1:
                Lengths(in, *c);
                break;
            case 2:
                Nearest(in, *c, wellFormed);
                break;
            case 3:
                // Bisection on Romberg lengths: up to 200 lengths of up to 2^14 chords each.
                // A length that never converges (NaN, disordered knots, or one that underflows
                // to 0 where the curve stands still) takes them in full: seconds per call.
                if (wellFormed && SpanCount(*c) <= 4 && !StandsStill(*c)) {
                    Locate(in, *c);
                }
                break;
            case 4:
                Curvature(in, *c, wellFormed);
                break;
            case 5:
                Sample(in, *c);
                break;
            case 6:
            case 7:
                Insert(in, *c, wellFormed);
                break;
            case 8:
                Remove(in, *c, wellFormed);
                break;
            case 9:
                Split(in, *c, wellFormed);
                break;
            case 10:
                Extract(in, *c, wellFormed);
                break;
            case 11:
                Offset(in, *c);
                break;
            case 12:
                RotateSeam(in, *c, wellFormed);
                break;
            case 13:
                Move(in, *c);
                break;
            case 14:
                Export(in, *c, wellFormed);
                break;
            default:
                Compatible(in, *c, wellFormed);
                break;
        }
    }
    return 0;
}
