// SPDX-License-Identifier: MIT

#include "Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <ostream>
#include <sstream>
#include <vector>

namespace ydpath {

namespace {

constexpr double kWidth = 1280.0;
constexpr double kMargin = 48.0;
constexpr double kHeader = 86.0;
constexpr double kMaxPlanHeight = 700.0;
constexpr double kInsetSize = 300.0;
constexpr double kChartHeight = 250.0;

const char* KindColour(ElementKind k) {
    switch (k) {
        case ElementKind::Curve:
            return "#1f6fb4";
        case ElementKind::Transition:
            return "#f28e1c";
        case ElementKind::Arc:
            return "#d62728";
        case ElementKind::Line:
            return "#3a9a3a";
        case ElementKind::ProgramArc:
            return "#8e5cbf";
    }
    return "#000";
}

const char* KindLabel(ElementKind k) {
    switch (k) {
        case ElementKind::Curve:
            return "fitted curve";
        case ElementKind::Transition:
            return "transition curve";
        case ElementKind::Arc:
            return "corner arc";
        case ElementKind::Line:
            return "line";
        case ElementKind::ProgramArc:
            return "programmed arc (kept)";
    }
    return "";
}

constexpr const char* kInputColour = "#b8b8b8";
constexpr const char* kPeakColour = "#c2187a";

std::string Esc(const std::string& s) {
    std::string out;
    for (char c : s) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                // Control characters are not allowed in XML 1.0 text.
                if (static_cast<unsigned char>(c) >= 0x20 || c == '\t') {
                    out += c;
                }
        }
    }
    return out;
}

std::string F(double v) {
    char buf[32];
    std::snprintf(buf, sizeof(buf), "%.2f", v);
    return buf;
}

std::string G(double v) {
    char buf[32];
    std::snprintf(buf, sizeof(buf), "%.3g", v);
    return buf;
}

struct Box {
    double x0 = std::numeric_limits<double>::infinity();
    double y0 = std::numeric_limits<double>::infinity();
    double x1 = -std::numeric_limits<double>::infinity();
    double y1 = -std::numeric_limits<double>::infinity();
    void Add(const YdPoint& p) {
        x0 = std::min(x0, p[0]);
        y0 = std::min(y0, p[1]);
        x1 = std::max(x1, p[0]);
        y1 = std::max(y1, p[1]);
    }
    bool Empty() const { return !(x1 >= x0 && y1 >= y0); }
};

// World XY to screen, y up.
struct View {
    double wx0 = 0.0;
    double wy1 = 0.0;
    double scale = 1.0;
    double sx0 = 0.0;
    double sy0 = 0.0;
    double X(double x) const { return sx0 + (x - wx0) * scale; }
    double Y(double y) const { return sy0 + (wy1 - y) * scale; }
};

// Points of an element with their parameter t in [0, 1].
struct Sampled {
    std::vector<double> t;
    std::vector<YdPoint> p;
};

Sampled SampleElement(const Element& e, int n) {
    Sampled s;
    if (e.kind == ElementKind::Line) {
        n = 1;
    }
    n = std::max(n, 1);
    for (int i = 0; i <= n; ++i) {
        const double t = static_cast<double>(i) / n;
        s.t.push_back(t);
        s.p.push_back(e.PointAt(t));
    }
    return s;
}

Sampled SampleRange(const Element& e, double t0, double t1, int n) {
    Sampled s;
    if (e.kind == ElementKind::Line) {
        n = 1;
    }
    for (int i = 0; i <= n; ++i) {
        const double t = t0 + (t1 - t0) * i / n;
        s.t.push_back(t);
        s.p.push_back(e.PointAt(t));
    }
    return s;
}

int SamplesFor(const Element& e, double screenScale) {
    if (e.kind == ElementKind::Line) {
        return 1;
    }
    double n = e.length * screenScale / 1.5;
    if (CarriesCurve(e.kind)) {
        n = std::max(n, 4.0 * e.curve->GetNumOfCtrlPnts());
    }
    return CountWithin(n, 12, 3000);
}

std::string PolyPoints(const std::vector<YdPoint>& pts, const View& v) {
    std::string s;
    for (size_t i = 0; i < pts.size(); ++i) {
        if (i > 0) {
            s += ' ';
        }
        s += F(v.X(pts[i][0])) + "," + F(v.Y(pts[i][1]));
    }
    return s;
}

std::string PathData(const std::vector<YdPoint>& pts, const View& v) {
    std::string s;
    for (size_t i = 0; i < pts.size(); ++i) {
        s += (i == 0 ? "M" : " L");
        s += F(v.X(pts[i][0])) + " " + F(v.Y(pts[i][1]));
    }
    return s;
}

// 10^d written out: 1000, 10, 1, 0.1, 0.001; beyond a million either way as 1e7, 1e-7.
std::string Decade(double d) {
    const int e = CountWithin(std::round(d), -400, 400);
    if (e > 6 || e < -6) {
        return "1e" + std::to_string(e);
    }
    if (e >= 0) {
        return "1" + std::string(static_cast<size_t>(e), '0');
    }
    return "0." + std::string(static_cast<size_t>(-e - 1), '0') + "1";
}

double NiceLength(double target) {
    if (!(target > 0.0)) {
        return 1.0;
    }
    const double p = std::pow(10.0, std::floor(std::log10(target)));
    for (double m : {5.0, 2.0, 1.0}) {
        if (m * p <= target) {
            return m * p;
        }
    }
    return p;
}

// A join worth magnifying: where it is and what made it.
struct Spot {
    int path = -1;
    int element = -1;  // the join element
    int vertex = -1;   // the input corner's index
    YdPoint where;     // the input corner
    std::string label;
    double turn = 0.0;
};

const char* JoinLabel(JoinKind kind) {
    switch (kind) {
        case JoinKind::Arc:
            return "corner arc";
        case JoinKind::Transition:
            return "transition";
        case JoinKind::Bridge:
            return "bridge";
        case JoinKind::Tangent:
        case JoinKind::Stop:
            break;
    }
    return "";
}

// The sharpest join of each kind that made an element: arc, transition, bridge.
std::vector<Spot> PickSpots(const SmoothResult& result) {
    Spot best[3];
    for (size_t p = 0; p < result.paths.size(); ++p) {
        const SmoothedPath& path = result.paths[p];
        for (const Join& join : path.joins) {
            if (join.element < 0 || join.vertex < 0 ||
                join.vertex >= static_cast<int>(path.points.size())) {
                continue;
            }
            const int slot =
                join.kind == JoinKind::Arc ? 0 : (join.kind == JoinKind::Transition ? 1 : 2);
            if (join.turnDegrees <= best[slot].turn) {
                continue;
            }
            Spot& s = best[slot];
            s.path = static_cast<int>(p);
            s.element = join.element;
            s.vertex = join.vertex;
            s.where = path.points[join.vertex];
            s.turn = join.turnDegrees;
            char buf[160];
            std::snprintf(
                buf, sizeof(buf), "%s \xC2\xB7 path %d \xC2\xB7 line %d \xC2\xB7 %.0f\xC2\xB0",
                JoinLabel(join.kind), static_cast<int>(p) + 1,
                join.vertex < static_cast<int>(path.lines.size()) ? path.lines[join.vertex] : 0,
                join.turnDegrees);
            s.label = buf;
        }
    }
    std::vector<Spot> spots;
    for (const Spot& s : best) {
        if (s.path >= 0) {
            spots.push_back(s);
        }
    }
    return spots;
}

class Plotter {
  public:
    Plotter(std::ostream& out, const InputProgram& program, const SmoothResult& result,
            const RunInfo& info)
        : out_(out), program_(program), result_(result), info_(info) {}

    void Write() {
        Box box;
        for (const SmoothedPath& path : result_.paths) {
            for (const YdPoint& p : path.points) {
                box.Add(p);
            }
            for (const Element& e : path.elements) {
                for (const YdPoint& p : SampleElement(e, 16).p) {
                    box.Add(p);
                }
            }
        }
        if (box.Empty()) {
            box.Add(YdPoint(0, 0, 0));
            box.Add(YdPoint(1, 1, 0));
        }
        const double dx = std::max(box.x1 - box.x0, 1e-9);
        const double dy = std::max(box.y1 - box.y0, 1e-9);
        const double planWidth = kWidth - 2 * kMargin;
        plan_.scale = std::min(planWidth / dx, kMaxPlanHeight / dy);
        const double usedWidth = dx * plan_.scale;
        const double planHeight = dy * plan_.scale;
        plan_.wx0 = box.x0;
        plan_.wy1 = box.y1;
        plan_.sx0 = kMargin + (planWidth - usedWidth) / 2;
        plan_.sy0 = kHeader + 14;

        spots_ = PickSpots(result_);
        const double insetTop = plan_.sy0 + planHeight + 40;
        const double chartTop = insetTop + (spots_.empty() ? 0.0 : kInsetSize + 70);
        const double height = chartTop + kChartHeight + 70;

        out_ << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        out_ << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << F(kWidth) << "\" height=\""
             << F(height) << "\" viewBox=\"0 0 " << F(kWidth) << " " << F(height)
             << "\" font-family=\"DejaVu Sans, Helvetica, Arial, sans-serif\">\n";
        out_ << "<rect x=\"0\" y=\"0\" width=\"" << F(kWidth) << "\" height=\"" << F(height)
             << "\" fill=\"#ffffff\"/>\n";
        Header();
        Plan();
        Insets(insetTop);
        Chart(chartTop);
        out_ << "</svg>\n";
    }

  private:
    void Header() {
        const std::string unit = info_.unit.empty() ? "" : " " + info_.unit;
        out_ << "<text x=\"" << F(kMargin) << "\" y=\"34\" font-size=\"22\" font-weight=\"bold\" "
             << "fill=\"#222\">ydpath: " << Esc(info_.input)
             << (info_.bundled ? " (bundled sample)" : "") << "</text>\n";
        std::ostringstream sub;
        sub << result_.segmentsIn() << " segments in " << program_.polylineCount() << " path"
            << (program_.polylineCount() == 1 ? "" : "s") << " \xE2\x86\x92 "
            << result_.count(ElementKind::Curve) << " curves, "
            << result_.count(ElementKind::Transition) << " transitions, "
            << result_.count(ElementKind::Arc) << " corner arcs, "
            << result_.count(ElementKind::Line) << " lines; tolerance "
            << G(info_.options.tolerance) << unit << ", largest deviation "
            << G(result_.maxDeviation()) << unit;
        out_ << "<text x=\"" << F(kMargin) << "\" y=\"58\" font-size=\"14\" fill=\"#444\">"
             << Esc(sub.str()) << "</text>\n";
        // Legend.
        double x = kMargin;
        const double y = 80;
        auto swatch = [&](const std::string& colour, const std::string& label, bool dashed,
                          double width) {
            out_ << "<line x1=\"" << F(x) << "\" y1=\"" << F(y - 4) << "\" x2=\"" << F(x + 22)
                 << "\" y2=\"" << F(y - 4) << "\" stroke=\"" << colour << "\" stroke-width=\""
                 << F(width) << "\"" << (dashed ? " stroke-dasharray=\"4 3\"" : "") << "/>\n";
            out_ << "<text x=\"" << F(x + 28) << "\" y=\"" << F(y) << "\" font-size=\"12\" "
                 << "fill=\"#333\">" << Esc(label) << "</text>\n";
            x += 40 + 7.0 * label.size();
        };
        swatch(kInputColour, "input path", false, 4);
        for (ElementKind k : {ElementKind::Curve, ElementKind::Transition, ElementKind::Arc,
                              ElementKind::Line, ElementKind::ProgramArc}) {
            if (k == ElementKind::ProgramArc && program_.arcCount() == 0) {
                continue;
            }
            swatch(KindColour(k), KindLabel(k), false, 2.5);
        }
        swatch("#9a9a9a", "rapid", true, 1);
        out_ << "<circle cx=\"" << F(x + 6) << "\" cy=\"" << F(y - 4) << "\" r=\"4\" fill=\"none\" "
             << "stroke=\"" << kPeakColour << "\" stroke-width=\"1.5\"/>\n";
        out_ << "<text x=\"" << F(x + 16) << "\" y=\"" << F(y) << "\" font-size=\"12\" "
             << "fill=\"#333\">curvature maximum</text>\n";
    }

    void Plan() {
        out_ << "<g id=\"plan\">\n";
        // Rapids.
        for (const RapidMove& r : program_.rapids) {
            out_ << "<line x1=\"" << F(plan_.X(r.from.x)) << "\" y1=\"" << F(plan_.Y(r.from.y))
                 << "\" x2=\"" << F(plan_.X(r.to.x)) << "\" y2=\"" << F(plan_.Y(r.to.y))
                 << "\" stroke=\"#9a9a9a\" stroke-width=\"0.8\" stroke-dasharray=\"4 3\"/>\n";
        }
        // Input polylines, drawn wide and pale underneath.
        long totalPoints = 0;
        for (const SmoothedPath& path : result_.paths) {
            totalPoints += static_cast<long>(path.points.size());
        }
        for (const SmoothedPath& path : result_.paths) {
            if (path.programArc) {
                continue;
            }
            out_ << "<polyline points=\"" << PolyPoints(path.points, plan_) << "\" fill=\"none\" "
                 << "stroke=\"" << kInputColour << "\" stroke-width=\"4\" "
                 << "stroke-linejoin=\"round\" stroke-linecap=\"round\"/>\n";
        }
        if (totalPoints <= 20000) {
            out_ << "<g fill=\"#8a8a8a\">\n";
            for (const SmoothedPath& path : result_.paths) {
                if (path.programArc) {
                    continue;
                }
                for (const YdPoint& p : path.points) {
                    out_ << "<circle cx=\"" << F(plan_.X(p[0])) << "\" cy=\"" << F(plan_.Y(p[1]))
                         << "\" r=\"0.9\"/>\n";
                }
            }
            out_ << "</g>\n";
        }
        // The smoothed path: exactly one <path> per element.
        for (size_t p = 0; p < result_.paths.size(); ++p) {
            const SmoothedPath& path = result_.paths[p];
            for (size_t i = 0; i < path.elements.size(); ++i) {
                const Element& e = path.elements[i];
                const Sampled s = SampleElement(e, SamplesFor(e, plan_.scale));
                out_ << "<path d=\"" << PathData(s.p, plan_) << "\" fill=\"none\" stroke=\""
                     << KindColour(e.kind) << "\" stroke-width=\"1.6\" "
                     << "stroke-linejoin=\"round\" data-path=\"" << p + 1 << "\" data-element=\""
                     << i + 1 << "\"><title>path " << p + 1 << ", element " << i + 1 << ": "
                     << KindName(e.kind) << ", length " << G(e.length) << ", deviation "
                     << G(e.deviation.pathToInput) << " path to input, "
                     << G(e.deviation.inputToPath) << " input to path</title></path>\n";
            }
        }
        // Curvature maxima.
        out_ << "<g fill=\"none\" stroke=\"" << kPeakColour << "\" stroke-width=\"1.2\">\n";
        for (const SmoothedPath& path : result_.paths) {
            for (const Element& e : path.elements) {
                for (const CurvaturePeak& pk : e.peaks) {
                    if (!pk.significant) {
                        continue;
                    }
                    out_ << "<circle cx=\"" << F(plan_.X(pk.point[0])) << "\" cy=\""
                         << F(plan_.Y(pk.point[1])) << "\" r=\"3.2\"/>\n";
                }
            }
        }
        out_ << "</g>\n";
        // Where the magnified views are.
        for (size_t i = 0; i < spots_.size(); ++i) {
            const double x = plan_.X(spots_[i].where[0]);
            const double y = plan_.Y(spots_[i].where[1]);
            out_ << "<rect x=\"" << F(x - 9) << "\" y=\"" << F(y - 9)
                 << "\" width=\"18\" height=\"18\" fill=\"none\" stroke=\"#222\" "
                 << "stroke-width=\"1.2\"/>\n";
            out_ << "<text x=\"" << F(x + 12) << "\" y=\"" << F(y - 10)
                 << "\" font-size=\"14\" font-weight=\"bold\" fill=\"#222\">"
                 << static_cast<char>('A' + i) << "</text>\n";
        }
        out_ << "</g>\n";
    }

    void Insets(double top) {
        if (spots_.empty()) {
            return;
        }
        const double gap = (kWidth - 2 * kMargin - 3 * kInsetSize) / 2;
        for (size_t i = 0; i < spots_.size(); ++i) {
            const double left = kMargin + i * (kInsetSize + gap);
            Inset(spots_[i], static_cast<int>(i), left, top);
        }
    }

    void Inset(const Spot& spot, int index, double left, double top) {
        const SmoothedPath& path = result_.paths[spot.path];
        const Element& join = path.elements[spot.element];
        const YdPoint c = spot.where;
        double half = 4.0 * info_.options.tolerance;
        half = std::max({half, 1.4 * Distance(c, join.start), 1.4 * Distance(c, join.end)});
        View v;
        v.scale = kInsetSize / (2 * half);
        v.wx0 = c[0] - half;
        v.wy1 = c[1] + half;
        v.sx0 = left;
        v.sy0 = top;
        const std::string clip = "inset" + std::to_string(index);
        out_ << "<clipPath id=\"" << clip << "\"><rect x=\"" << F(left) << "\" y=\"" << F(top)
             << "\" width=\"" << F(kInsetSize) << "\" height=\"" << F(kInsetSize)
             << "\"/></clipPath>\n";
        out_ << "<rect x=\"" << F(left) << "\" y=\"" << F(top) << "\" width=\"" << F(kInsetSize)
             << "\" height=\"" << F(kInsetSize) << "\" fill=\"#fafafa\" stroke=\"#888\"/>\n";
        out_ << "<g clip-path=\"url(#" << clip << ")\">\n";
        // The input near the corner.
        const int lo = std::max(0, spot.vertex - 40);
        const int hi = std::min(static_cast<int>(path.points.size()) - 1, spot.vertex + 40);
        std::vector<YdPoint> input(path.points.begin() + lo, path.points.begin() + hi + 1);
        out_ << "<polyline points=\"" << PolyPoints(input, v) << "\" fill=\"none\" stroke=\""
             << kInputColour << "\" stroke-width=\"3\"/>\n";
        for (const YdPoint& p : input) {
            out_ << "<circle cx=\"" << F(v.X(p[0])) << "\" cy=\"" << F(v.Y(p[1]))
                 << "\" r=\"2.5\" fill=\"#8a8a8a\"/>\n";
        }
        // The tolerance around the corner.
        out_ << "<circle cx=\"" << F(v.X(c[0])) << "\" cy=\"" << F(v.Y(c[1])) << "\" r=\""
             << F(info_.options.cornerTol() * v.scale) << "\" fill=\"none\" stroke=\"#999\" "
             << "stroke-dasharray=\"3 3\"/>\n";
        // The smoothed elements around the join, sampled finely where they cross the view.
        const int first = std::max(0, spot.element - 3);
        const int last = std::min(static_cast<int>(path.elements.size()) - 1, spot.element + 3);
        for (int k = first; k <= last; ++k) {
            const Element& e = path.elements[k];
            const Sampled coarse = SampleElement(e, 400);
            double t0 = 2.0;
            double t1 = -1.0;
            for (size_t s = 0; s + 1 < coarse.p.size(); ++s) {
                if (SegmentDistance(c, coarse.p[s], coarse.p[s + 1]) <= 2.5 * half) {
                    t0 = std::min(t0, coarse.t[s]);
                    t1 = std::max(t1, coarse.t[s + 1]);
                }
            }
            if (t1 < t0) {
                continue;
            }
            const Sampled fine = SampleRange(e, t0, t1, 300);
            out_ << "<polyline points=\"" << PolyPoints(fine.p, v) << "\" fill=\"none\" stroke=\""
                 << KindColour(e.kind) << "\" stroke-width=\"2\"/>\n";
            for (const CurvaturePeak& pk : e.peaks) {
                if (!pk.significant) {
                    continue;
                }
                out_ << "<circle cx=\"" << F(v.X(pk.point[0])) << "\" cy=\"" << F(v.Y(pk.point[1]))
                     << "\" r=\"4\" fill=\"none\" stroke=\"" << kPeakColour << "\"/>\n";
            }
        }
        out_ << "</g>\n";
        // Label and scale bar.
        out_ << "<text x=\"" << F(left) << "\" y=\"" << F(top - 8)
             << "\" font-size=\"13\" fill=\"#222\"><tspan font-weight=\"bold\">"
             << static_cast<char>('A' + index) << "</tspan>  " << Esc(spot.label) << "</text>\n";
        const double bar = NiceLength(half * 0.6);
        const double bx = left + 12;
        const double by = top + kInsetSize - 14;
        out_ << "<line x1=\"" << F(bx) << "\" y1=\"" << F(by) << "\" x2=\"" << F(bx + bar * v.scale)
             << "\" y2=\"" << F(by) << "\" stroke=\"#222\" stroke-width=\"2\"/>\n";
        const std::string unit = info_.unit.empty() ? "" : " " + info_.unit;
        out_ << "<text x=\"" << F(bx) << "\" y=\"" << F(by - 6) << "\" font-size=\"12\" "
             << "fill=\"#222\">" << G(bar) << Esc(unit) << "</text>\n";
        out_ << "<text x=\"" << F(left + kInsetSize) << "\" y=\"" << F(top + kInsetSize + 16)
             << "\" font-size=\"11\" fill=\"#555\" text-anchor=\"end\">dashed circle: tolerance "
             << "around the input corner</text>\n";
    }

    // Where the curvature chart puts arc length (x) and curvature (y, log scale).
    struct ChartScale {
        double left = 0.0;
        double right = 0.0;
        double top = 0.0;
        double bottom = 0.0;
        double total = 1.0;  // arc length of the whole smoothed path
        double decMin = -1.0;
        double decMax = 0.0;
        double X(double s) const { return left + s / total * (right - left); }
        double Y(double k) const {
            const double lk = k > 0.0 ? std::log10(k) : decMin;
            const double f = (std::clamp(lk, decMin, decMax) - decMin) / (decMax - decMin);
            return bottom - f * kChartHeight;
        }
    };

    ChartScale ChartExtent(double top) const {
        ChartScale cs;
        cs.left = kMargin + 40;
        cs.right = kWidth - kMargin;
        cs.top = top;
        cs.bottom = top + kChartHeight;
        double total = 0.0;
        double kMax = 0.0;
        double kMin = std::numeric_limits<double>::infinity();
        for (const SmoothedPath& path : result_.paths) {
            for (const Element& e : path.elements) {
                total += e.length;
                kMax = std::max(kMax, e.maxCurvature);
                for (double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                    const double k = e.kind == ElementKind::Line ? 0.0 : e.CurvatureAt(t);
                    kMin = k > 0.0 ? std::min(kMin, k) : kMin;
                }
            }
        }
        cs.total = total > 0.0 && std::isfinite(total) ? total : 1.0;
        kMax = kMax > 0.0 && std::isfinite(kMax) ? kMax : 1.0;
        kMin = kMin > 0.0 && kMin <= kMax ? kMin : kMax / 100.0;
        cs.decMax = std::ceil(std::log10(kMax));
        cs.decMin =
            std::min(cs.decMax - 1.0, std::max(std::floor(std::log10(kMin)), cs.decMax - 6.0));
        return cs;
    }

    void ChartFrame(const ChartScale& cs) {
        const std::string unit = info_.unit.empty() ? "length unit" : info_.unit;
        out_ << "<text x=\"" << F(kMargin) << "\" y=\"" << F(cs.top - 14)
             << "\" font-size=\"15\" font-weight=\"bold\" fill=\"#222\">Curvature along the "
             << "smoothed path</text>\n";
        out_ << "<text x=\"" << F(kMargin + 340) << "\" y=\"" << F(cs.top - 14)
             << "\" font-size=\"12\" fill=\"#555\">1/" << Esc(unit)
             << ", log scale; lines drawn on the bottom edge; where a controller must slow "
             << "down</text>\n";
        out_ << "<rect x=\"" << F(cs.left) << "\" y=\"" << F(cs.top) << "\" width=\""
             << F(cs.right - cs.left) << "\" height=\"" << F(kChartHeight)
             << "\" fill=\"#fcfcfc\" stroke=\"#999\"/>\n";
        const int decades = CountWithin(cs.decMax - cs.decMin, 1, 6);
        for (int i = 0; i <= decades; ++i) {
            const double d = cs.decMin + i;
            const double y = cs.Y(std::pow(10.0, d));
            out_ << "<line x1=\"" << F(cs.left) << "\" y1=\"" << F(y) << "\" x2=\"" << F(cs.right)
                 << "\" y2=\"" << F(y) << "\" stroke=\"#e2e2e2\"/>\n";
            out_ << "<text x=\"" << F(cs.left - 6) << "\" y=\"" << F(y + 4)
                 << "\" font-size=\"11\" fill=\"#444\" text-anchor=\"end\">" << Decade(d)
                 << "</text>\n";
        }
        const double tick = NiceLength(cs.total / 8.0);
        const int ticks = CountWithin(cs.total / tick * (1.0 + 1e-12), 0, 64);
        for (int i = 0; i <= ticks; ++i) {
            const double s = i * tick;
            out_ << "<line x1=\"" << F(cs.X(s)) << "\" y1=\"" << F(cs.bottom) << "\" x2=\""
                 << F(cs.X(s)) << "\" y2=\"" << F(cs.bottom + 5) << "\" stroke=\"#444\"/>\n";
            out_ << "<text x=\"" << F(cs.X(s)) << "\" y=\"" << F(cs.bottom + 18)
                 << "\" font-size=\"11\" fill=\"#444\" text-anchor=\"middle\">" << G(s)
                 << "</text>\n";
        }
        out_ << "<text x=\"" << F(cs.right) << "\" y=\"" << F(cs.bottom + 36)
             << "\" font-size=\"12\" fill=\"#444\" text-anchor=\"end\">arc length along the "
             << "smoothed path (" << Esc(unit) << ")</text>\n";
        out_ << "<text x=\"" << F(cs.left - 40) << "\" y=\"" << F(cs.top + kChartHeight / 2)
             << "\" font-size=\"12\" fill=\"#444\" text-anchor=\"middle\" transform=\"rotate(-90 "
             << F(cs.left - 40) << " " << F(cs.top + kChartHeight / 2) << ")\">curvature</text>\n";
    }

    // Curvature against arc length along one element that starts at arc length s0.
    static std::vector<std::pair<double, double>> CurvatureProfile(const Element& e, double s0) {
        if (e.kind == ElementKind::Line) {
            return {{s0, 0.0}, {s0 + e.length, 0.0}};
        }
        if (CarriesArc(e.kind)) {
            return {{s0, e.maxCurvature}, {s0 + e.length, e.maxCurvature}};
        }
        const Sampled smp = SampleElement(e, std::clamp(4 * e.curve->GetNumOfCtrlPnts(), 16, 1500));
        double chord = 0.0;
        std::vector<double> acc(smp.p.size(), 0.0);
        for (size_t i = 1; i < smp.p.size(); ++i) {
            chord += Distance(smp.p[i - 1], smp.p[i]);
            acc[i] = chord;
        }
        const double scale = chord > 0.0 ? e.length / chord : 0.0;
        std::vector<std::pair<double, double>> pts;
        for (size_t i = 0; i < smp.p.size(); ++i) {
            pts.emplace_back(s0 + acc[i] * scale, e.CurvatureAt(smp.t[i]));
        }
        return pts;
    }

    void ChartElement(const ChartScale& cs, const Element& e, double s0) {
        const std::vector<std::pair<double, double>> pts = CurvatureProfile(e, s0);
        std::string ps;
        for (size_t i = 0; i < pts.size(); ++i) {
            ps += (i ? " " : "") + F(cs.X(pts[i].first)) + "," + F(cs.Y(pts[i].second));
        }
        if (e.kind == ElementKind::Arc && cs.X(s0 + e.length) - cs.X(s0) < 4.0) {
            // A corner arc is far shorter than a pixel here: show it as a short bar.
            const double xm = cs.X(s0 + 0.5 * e.length);
            ps = F(xm - 2.0) + "," + F(cs.Y(e.maxCurvature)) + " " + F(xm + 2.0) + "," +
                 F(cs.Y(e.maxCurvature));
        }
        out_ << "<polyline points=\"" << ps << "\" fill=\"none\" stroke=\"" << KindColour(e.kind)
             << "\" stroke-width=\""
             << (e.kind == ElementKind::Line || e.kind == ElementKind::Arc ? "3" : "1.4")
             << "\"/>\n";
        if (!CarriesCurve(e.kind)) {
            return;
        }
        // Peaks sit at their arc length within the element.
        const double a = e.curve->startParam();
        for (const CurvaturePeak& pk : e.peaks) {
            if (pk.significant) {
                const double s = s0 + CurveLength(*e.curve, a, pk.u);
                out_ << "<circle cx=\"" << F(cs.X(s)) << "\" cy=\"" << F(cs.Y(pk.curvature))
                     << "\" r=\"3\" fill=\"none\" stroke=\"" << kPeakColour << "\"/>\n";
            }
        }
    }

    void Chart(double top) {
        const ChartScale cs = ChartExtent(top);
        ChartFrame(cs);
        double s0 = 0.0;
        for (size_t p = 0; p < result_.paths.size(); ++p) {
            if (p > 0) {
                out_ << "<line x1=\"" << F(cs.X(s0)) << "\" y1=\"" << F(cs.top) << "\" x2=\""
                     << F(cs.X(s0)) << "\" y2=\"" << F(cs.bottom)
                     << "\" stroke=\"#bbb\" stroke-dasharray=\"2 3\"/>\n";
            }
            for (const Element& e : result_.paths[p].elements) {
                ChartElement(cs, e, s0);
                s0 += e.length;
            }
        }
    }

    std::ostream& out_;
    const InputProgram& program_;
    const SmoothResult& result_;
    const RunInfo& info_;
    View plan_;
    std::vector<Spot> spots_;
};

}  // namespace

void WritePlot(std::ostream& out, const InputProgram& program, const SmoothResult& result,
               const RunInfo& info) {
    Plotter(out, program, result, info).Write();
}

}  // namespace ydpath
