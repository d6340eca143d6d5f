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
    const double screenLen = e.length * screenScale;
    int n = static_cast<int>(screenLen / 1.5);
    if (e.curve) {
        n = std::max(n, 4 * e.curve->GetNumOfCtrlPnts());
    }
    return std::clamp(n, 12, 3000);
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

// 10^d written out: 1000, 10, 1, 0.1, 0.001.
std::string Decade(double d) {
    const int e = static_cast<int>(std::lround(d));
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
    YdPoint where;     // the input corner
    std::string label;
    double turn = 0.0;
};

std::vector<Spot> PickSpots(const SmoothResult& result) {
    // The sharpest corner of each kind of join.
    Spot best[3];
    for (size_t p = 0; p < result.paths.size(); ++p) {
        const SmoothedPath& path = result.paths[p];
        size_t joinIndex = 0;
        for (size_t i = 0; i < path.elements.size(); ++i) {
            const Element& e = path.elements[i];
            if (e.kind != ElementKind::Arc && e.kind != ElementKind::Transition) {
                continue;
            }
            // Find the join that made it.
            const Join* join = nullptr;
            for (; joinIndex < path.joins.size(); ++joinIndex) {
                if (path.joins[joinIndex].vertex == e.firstPoint &&
                    path.joins[joinIndex].how != "tangent" && path.joins[joinIndex].how != "stop") {
                    join = &path.joins[joinIndex];
                    ++joinIndex;
                    break;
                }
            }
            if (join == nullptr || e.firstPoint < 0) {
                continue;
            }
            const int slot = join->how == "arc" ? 0 : (join->how == "transition" ? 1 : 2);
            if (join->turnDegrees > best[slot].turn) {
                best[slot].path = static_cast<int>(p);
                best[slot].element = static_cast<int>(i);
                best[slot].where = path.points[e.firstPoint];
                best[slot].turn = join->turnDegrees;
                char buf[160];
                std::snprintf(
                    buf, sizeof(buf), "%s \xC2\xB7 path %d \xC2\xB7 line %d \xC2\xB7 %.0f\xC2\xB0",
                    join->how == "arc"          ? "corner arc"
                    : join->how == "transition" ? "transition"
                                                : "bridge",
                    static_cast<int>(p) + 1,
                    e.firstPoint < static_cast<int>(path.lines.size()) ? path.lines[e.firstPoint]
                                                                       : 0,
                    join->turnDegrees);
                best[slot].label = buf;
            }
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
            << G(result_.maxDeviation) << unit;
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
                     << G(e.deviation) << "</title></path>\n";
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
        const int lo = std::max(0, join.firstPoint - 40);
        const int hi = std::min(static_cast<int>(path.points.size()) - 1, join.firstPoint + 40);
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

    void Chart(double top) {
        const double left = kMargin + 40;
        const double right = kWidth - kMargin;
        const double width = right - left;
        const double bottom = top + kChartHeight;
        // Extent of both axes.
        double total = 0.0;
        double kMax = 0.0;
        double kMin = std::numeric_limits<double>::infinity();
        for (const SmoothedPath& path : result_.paths) {
            for (const Element& e : path.elements) {
                total += e.length;
                kMax = std::max(kMax, e.maxCurvature);
                if (e.kind != ElementKind::Line) {
                    for (double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
                        const double k = e.CurvatureAt(t);
                        if (k > 0.0) {
                            kMin = std::min(kMin, k);
                        }
                    }
                }
            }
        }
        if (!(total > 0.0)) {
            total = 1.0;
        }
        if (!(kMax > 0.0)) {
            kMax = 1.0;
        }
        if (!std::isfinite(kMin)) {
            kMin = kMax / 100.0;
        }
        const double decMax = std::ceil(std::log10(kMax));
        const double decMin =
            std::min(decMax - 1.0, std::max(std::floor(std::log10(kMin)), decMax - 6.0));
        auto X = [&](double s) { return left + s / total * width; };
        auto Y = [&](double k) {
            const double lk = k > 0.0 ? std::log10(k) : decMin;
            const double f = (std::clamp(lk, decMin, decMax) - decMin) / (decMax - decMin);
            return bottom - f * kChartHeight;
        };
        const std::string unit = info_.unit.empty() ? "length unit" : info_.unit;
        out_ << "<text x=\"" << F(kMargin) << "\" y=\"" << F(top - 14)
             << "\" font-size=\"15\" font-weight=\"bold\" fill=\"#222\">Curvature along the "
             << "smoothed path</text>\n";
        out_ << "<text x=\"" << F(kMargin + 340) << "\" y=\"" << F(top - 14)
             << "\" font-size=\"12\" fill=\"#555\">1/" << Esc(unit)
             << ", log scale; lines drawn on the bottom edge; where a controller must slow "
             << "down</text>\n";
        out_ << "<rect x=\"" << F(left) << "\" y=\"" << F(top) << "\" width=\"" << F(width)
             << "\" height=\"" << F(kChartHeight) << "\" fill=\"#fcfcfc\" stroke=\"#999\"/>\n";
        for (double d = decMin; d <= decMax + 1e-9; d += 1.0) {
            const double y = Y(std::pow(10.0, d));
            out_ << "<line x1=\"" << F(left) << "\" y1=\"" << F(y) << "\" x2=\"" << F(right)
                 << "\" y2=\"" << F(y) << "\" stroke=\"#e2e2e2\"/>\n";
            out_ << "<text x=\"" << F(left - 6) << "\" y=\"" << F(y + 4)
                 << "\" font-size=\"11\" fill=\"#444\" text-anchor=\"end\">" << Decade(d)
                 << "</text>\n";
        }
        const double tick = NiceLength(total / 8.0);
        for (double s = 0.0; s <= total + 1e-9; s += tick) {
            out_ << "<line x1=\"" << F(X(s)) << "\" y1=\"" << F(bottom) << "\" x2=\"" << F(X(s))
                 << "\" y2=\"" << F(bottom + 5) << "\" stroke=\"#444\"/>\n";
            out_ << "<text x=\"" << F(X(s)) << "\" y=\"" << F(bottom + 18)
                 << "\" font-size=\"11\" fill=\"#444\" text-anchor=\"middle\">" << G(s)
                 << "</text>\n";
        }
        out_ << "<text x=\"" << F(right) << "\" y=\"" << F(bottom + 36)
             << "\" font-size=\"12\" fill=\"#444\" text-anchor=\"end\">arc length along the "
             << "smoothed path (" << Esc(unit) << ")</text>\n";
        double s0 = 0.0;
        for (size_t p = 0; p < result_.paths.size(); ++p) {
            const SmoothedPath& path = result_.paths[p];
            if (p > 0) {
                out_ << "<line x1=\"" << F(X(s0)) << "\" y1=\"" << F(top) << "\" x2=\"" << F(X(s0))
                     << "\" y2=\"" << F(bottom)
                     << "\" stroke=\"#bbb\" stroke-dasharray=\"2 3\"/>\n";
            }
            for (const Element& e : path.elements) {
                std::vector<std::pair<double, double>> pts;
                if (e.kind == ElementKind::Line) {
                    pts = {{s0, 0.0}, {s0 + e.length, 0.0}};
                } else if (e.kind == ElementKind::Arc || e.kind == ElementKind::ProgramArc) {
                    pts = {{s0, e.maxCurvature}, {s0 + e.length, e.maxCurvature}};
                } else {
                    const int n = std::clamp(4 * e.curve->GetNumOfCtrlPnts(), 16, 1500);
                    const Sampled smp = SampleElement(e, n);
                    double chord = 0.0;
                    std::vector<double> acc(smp.p.size(), 0.0);
                    for (size_t i = 1; i < smp.p.size(); ++i) {
                        chord += Distance(smp.p[i - 1], smp.p[i]);
                        acc[i] = chord;
                    }
                    const double scale = chord > 0.0 ? e.length / chord : 0.0;
                    for (size_t i = 0; i < smp.p.size(); ++i) {
                        pts.emplace_back(s0 + acc[i] * scale, e.CurvatureAt(smp.t[i]));
                    }
                }
                std::string ps;
                for (size_t i = 0; i < pts.size(); ++i) {
                    ps += (i ? " " : "") + F(X(pts[i].first)) + "," + F(Y(pts[i].second));
                }
                if (e.kind == ElementKind::Arc && X(s0 + e.length) - X(s0) < 4.0) {
                    // A corner arc is far shorter than a pixel here: show it as a short bar.
                    const double xm = X(s0 + 0.5 * e.length);
                    ps = F(xm - 2.0) + "," + F(Y(e.maxCurvature)) + " " + F(xm + 2.0) + "," +
                         F(Y(e.maxCurvature));
                }
                out_ << "<polyline points=\"" << ps << "\" fill=\"none\" stroke=\""
                     << KindColour(e.kind) << "\" stroke-width=\""
                     << (e.kind == ElementKind::Line || e.kind == ElementKind::Arc ? "3" : "1.4")
                     << "\"/>\n";
                if (!e.peaks.empty() && e.curve) {
                    // Peaks sit at their arc length within the element.
                    const double a = e.curve->startParam();
                    for (const CurvaturePeak& pk : e.peaks) {
                        if (!pk.significant) {
                            continue;
                        }
                        const double s = s0 + CurveLength(*e.curve, a, pk.u);
                        out_ << "<circle cx=\"" << F(X(s)) << "\" cy=\"" << F(Y(pk.curvature))
                             << "\" r=\"3\" fill=\"none\" stroke=\"" << kPeakColour << "\"/>\n";
                    }
                }
                s0 += e.length;
            }
        }
        out_ << "<text x=\"" << F(left - 40) << "\" y=\"" << F(top + kChartHeight / 2)
             << "\" font-size=\"12\" fill=\"#444\" text-anchor=\"middle\" transform=\"rotate(-90 "
             << F(left - 40) << " " << F(top + kChartHeight / 2) << ")\">curvature</text>\n";
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
