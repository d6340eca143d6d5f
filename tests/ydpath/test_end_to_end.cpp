// SPDX-License-Identifier: MIT

// The whole tool on the bundled sample: the smoothed path against its input, and every file
// written against the curves it describes.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "App.h"
#include "PathChecks.h"
#include "XmlCheck.h"

namespace {

namespace fs = std::filesystem;
using ydpath::ElementKind;

std::string ReadFile(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

// One run of the tool on the bundled sample, shared by the tests of this file.
class SampleRun : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        dir_ = new fs::path(ydtest::TempDir("sample"));
        ydpath::AppOptions opt;
        opt.outDir = (*dir_ / "out").string();
        opt.walkStep = 0.5;
        std::ostringstream summary;
        outcome_ = new ydpath::AppOutcome(ydpath::RunApp(opt, summary, nullptr));
        summary_ = new std::string(summary.str());
    }
    static void TearDownTestSuite() {
        std::error_code ec;
        fs::remove_all(*dir_, ec);
        delete outcome_;
        delete summary_;
        delete dir_;
    }

    static const ydpath::SmoothResult& result() { return outcome_->result; }
    static fs::path out() { return *dir_ / "out"; }

    static fs::path* dir_;
    static ydpath::AppOutcome* outcome_;
    static std::string* summary_;
};

fs::path* SampleRun::dir_ = nullptr;
ydpath::AppOutcome* SampleRun::outcome_ = nullptr;
std::string* SampleRun::summary_ = nullptr;

constexpr double kTol = 0.01;
constexpr double kHalfPi = 1.5707963267948966;

TEST_F(SampleRun, SmoothedPathIsWithinTheToleranceBothWays) {
    int curves = 0;
    for (size_t p = 0; p < result().paths.size(); ++p) {
        SCOPED_TRACE("path " + std::to_string(p + 1));
        ydtest::ExpectWithinTolerance(result().paths[p], kTol);
        curves += result().paths[p].count(ElementKind::Curve);
    }
    EXPECT_GE(curves, 8);
}

TEST_F(SampleRun, EveryJoinIsContinuous) {
    for (size_t p = 0; p < result().paths.size(); ++p) {
        SCOPED_TRACE("path " + std::to_string(p + 1));
        EXPECT_EQ(ydtest::ExpectContinuous(result().paths[p]), 0);
    }
}

TEST_F(SampleRun, SampleExercisesEveryKindOfElement) {
    const ydpath::SmoothResult& r = result();
    EXPECT_GT(r.count(ElementKind::Curve), 0);
    EXPECT_GT(r.count(ElementKind::Transition), 0);
    EXPECT_GT(r.count(ElementKind::Arc), 0);
    EXPECT_GT(r.count(ElementKind::Line), 0);
    EXPECT_EQ(r.count(ElementKind::ProgramArc), 2);
    EXPECT_EQ(r.stops(), 0);
    EXPECT_LE(r.maxDeviation(), kTol * (1 + 1e-9));
}

TEST_F(SampleRun, SummaryNamesTheNumbers) {
    const std::string& s = *summary_;
    EXPECT_NE(s.find("sample.ngc (bundled sample)"), std::string::npos) << s;
    EXPECT_NE(s.find("largest deviation"), std::string::npos);
    // Both directions, in the table and in the closing line.
    EXPECT_NE(s.find("path>input"), std::string::npos) << s;
    EXPECT_NE(s.find("input>path"), std::string::npos) << s;
    EXPECT_NE(s.find("path to input"), std::string::npos) << s;
    EXPECT_NE(s.find("input to path"), std::string::npos) << s;
    EXPECT_NE(s.find("time taken:"), std::string::npos);
    EXPECT_NE(s.find("total"), std::string::npos);
    EXPECT_NE(s.find(std::to_string(result().segmentsIn())), std::string::npos);
    EXPECT_EQ(s.find("above the tolerance"), std::string::npos);
}

// plot.svg is well-formed XML and draws each output element as exactly one <path>.
void ExpectPlotWellFormed(const fs::path& out, const ydpath::SmoothResult& result) {
    const std::string svg = ReadFile(out / "plot.svg");
    const ydtest::XmlCheckResult xml = ydtest::CheckXml(svg);
    ASSERT_TRUE(xml.ok) << xml.error;
    int elements = 0;
    for (const ydpath::SmoothedPath& path : result.paths) {
        elements += static_cast<int>(path.elements.size());
    }
    EXPECT_EQ(xml.elements.count("path") ? xml.elements.at("path") : 0, elements);
    EXPECT_EQ(xml.elements.at("svg"), 1);
    EXPECT_GT(xml.elements.at("polyline"), 0);  // the input and the curvature chart
}

TEST_F(SampleRun, PlotIsWellFormedWithOnePathPerElement) {
    ExpectPlotWellFormed(out(), result());
    const ydtest::XmlCheckResult xml = ydtest::CheckXml(ReadFile(out() / "plot.svg"));
    EXPECT_GT(xml.elements.at("circle"), 0);  // input points and curvature maxima
}

TEST(XmlCheck, CatchesWhatIsNotWellFormed) {
    EXPECT_TRUE(
        ydtest::CheckXml("<?xml version=\"1.0\"?>\n<a x='1' y=\"&amp;\"><b/>t&lt;</a>\n").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a><b></a></b>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a x=1/>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a x='1' x='2'/>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a>&nbsp;</a>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a>1 < 2</a>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a/><b/>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a>").ok);
    EXPECT_FALSE(ydtest::CheckXml("<a><!-- x -- y --></a>").ok);
    const ydtest::XmlCheckResult r = ydtest::CheckXml("<s><path/><g><path d='M0 0'/></g></s>");
    ASSERT_TRUE(r.ok);
    EXPECT_EQ(r.elements.at("path"), 2);
}

// Compares a JSON point with a YdPoint exactly: the report keeps every digit.
::testing::AssertionResult SamePoint(const nlohmann::json& j, const YdPoint& p) {
    if (j.size() == 3 && j[0].get<double>() == p[0] && j[1].get<double>() == p[1] &&
        j[2].get<double>() == p[2]) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure()
           << j.dump() << " vs (" << p[0] << ", " << p[1] << ", " << p[2] << ")";
}

// The sampled export of a curve agrees with the curve to the six digits it is written with.
void ExpectExportAgrees(const fs::path& out, const nlohmann::json& je, const YdBSplineCurve& c) {
    const std::string file = je.at("export").get<std::string>();
    std::ifstream in(out / file);
    ASSERT_TRUE(in.good()) << file;
    std::vector<YdPoint> pts;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    while (in >> x >> y >> z) {
        pts.emplace_back(x, y, z);
    }
    const int count = je.at("exportSamples").get<int>();
    ASSERT_EQ(static_cast<int>(pts.size()), count);
    const double a = c.startParam();
    const double step = (c.endParam() - a) / count;
    for (int k = 0; k < count; k += std::max(1, count / 10)) {
        const YdPoint q = c.Evaluate(a + 1e-8 + k * step);
        for (int d = 0; d < 3; ++d) {
            EXPECT_NEAR(pts[k][d], q[d], 1e-5 * std::max(1.0, std::fabs(q[d])))
                << file << " line " << k + 1;
        }
    }
}

// A curve's control points, knots and curvature maxima agree with the curve, and its largest
// curvature is no less than dense sampling finds.
void ExpectCurveAgrees(const fs::path& out, const nlohmann::json& je, const ydpath::Element& e) {
    const YdBSplineCurve& c = *e.curve;
    const nlohmann::json& cps = je.at("controlPoints");
    ASSERT_EQ(cps.size(), c.CtrlPoints().size());
    for (size_t k = 0; k < cps.size(); ++k) {
        EXPECT_TRUE(SamePoint(cps[k], c.CtrlPoints()[k])) << "control point " << k;
    }
    EXPECT_EQ(je.at("knots").get<std::vector<double>>(), c.KnotVec().GetKnots());
    EXPECT_EQ(je.at("degree").get<int>(), 3);
    const double kMax = je.at("maxCurvature").get<double>();
    double at = 0.0;
    EXPECT_TRUE(c.CalculateCurvature(je.at("maxCurvatureAt").get<double>(), at));
    EXPECT_NEAR(at, kMax, 1e-9 * kMax);
    double sampled = 0.0;
    for (int k = 0; k <= 1000; ++k) {
        sampled = std::max(sampled, e.CurvatureAt(k / 1000.0));
    }
    EXPECT_GE(kMax, sampled * (1 - 1e-3));
    for (const nlohmann::json& peak : je.at("localCurvatureMaxima")) {
        double k = 0.0;
        c.CalculateCurvature(peak.at("u").get<double>(), k);
        EXPECT_NEAR(k, peak.at("curvature").get<double>(), 1e-9 * k);
        EXPECT_LE(k, kMax * (1 + 1e-9));
        EXPECT_TRUE(SamePoint(peak.at("point"), c.Evaluate(peak.at("u").get<double>())));
    }
    ExpectExportAgrees(out, je, c);
}

// One element of report.json against the element: its ends, deviation both ways, input part
// and length (measured independently by fine chords), and a curve's data.
void ExpectElementAgrees(const fs::path& out, const nlohmann::json& je, const ydpath::Element& e,
                         double tol) {
    EXPECT_EQ(je.at("kind").get<std::string>(), ydpath::KindName(e.kind));
    EXPECT_TRUE(SamePoint(je.at("start"), ydtest::GeomAt(e, 0.0)) ||
                ydtest::Dist(e.start, ydtest::GeomAt(e, 0.0)) <= 1e-9);
    EXPECT_TRUE(SamePoint(je.at("start"), e.start));
    EXPECT_TRUE(SamePoint(je.at("end"), e.end));
    const double deviation = je.at("deviation").get<double>();
    EXPECT_LE(deviation, tol * (1 + 1e-9));
    EXPECT_EQ(je.at("pathToInput").get<double>(), e.deviation.pathToInput);
    EXPECT_EQ(je.at("inputToPath").get<double>(), e.deviation.inputToPath);
    EXPECT_EQ(deviation, e.deviation.Larger());
    EXPECT_EQ(je.at("inputPoints")[0].get<int>(), e.firstPoint);
    EXPECT_EQ(je.at("inputPoints")[1].get<int>(), e.lastPoint);
    double chords = 0.0;
    for (int k = 0; k < 2000; ++k) {
        chords += ydtest::Dist(ydtest::GeomAt(e, k / 2000.0), ydtest::GeomAt(e, (k + 1) / 2000.0));
    }
    if (e.kind != ElementKind::ProgramArc) {
        EXPECT_NEAR(je.at("length").get<double>(), chords, 1e-6 * std::max(1.0, chords));
    }
    if (ydpath::CarriesCurve(e.kind)) {
        ExpectCurveAgrees(out, je, e);
    }
}

// One path of report.json against the smoothed path: its deviation, joins and elements.
void ExpectPathAgrees(const fs::path& out, const nlohmann::json& jp,
                      const ydpath::SmoothedPath& path, int index, double tol) {
    ASSERT_EQ(jp.at("elements").size(), path.elements.size());
    ASSERT_EQ(jp.at("joins").size(), path.joins.size());
    EXPECT_EQ(jp.at("maxDeviation").get<double>(), path.maxDeviation());
    EXPECT_EQ(jp.at("maxPathToInput").get<double>(), path.deviation.pathToInput);
    EXPECT_EQ(jp.at("maxInputToPath").get<double>(), path.deviation.inputToPath);
    for (size_t j = 0; j < path.joins.size(); ++j) {
        const nlohmann::json& jj = jp.at("joins")[j];
        EXPECT_EQ(jj.at("how").get<std::string>(), ydpath::JoinKindName(path.joins[j].kind));
        if (path.joins[j].element >= 0) {
            EXPECT_EQ(jj.at("element").get<int>(), path.joins[j].element + 1);
        } else {
            EXPECT_TRUE(jj.at("element").is_null());
        }
    }
    for (size_t i = 0; i < path.elements.size(); ++i) {
        SCOPED_TRACE("path " + std::to_string(index) + ", element " + std::to_string(i + 1));
        ExpectElementAgrees(out, jp.at("elements")[i], path.elements[i], tol);
    }
}

// report.json parses and every number in it agrees with the curves it describes, and each
// curve's sampled export with the curve.
void ExpectReportAgrees(const fs::path& out, const ydpath::SmoothResult& r) {
    const nlohmann::json report = nlohmann::json::parse(ReadFile(out / "report.json"));
    const nlohmann::json& sum = report.at("summary");
    EXPECT_EQ(sum.at("curves").get<int>(), r.count(ElementKind::Curve));
    EXPECT_EQ(sum.at("transitions").get<int>(), r.count(ElementKind::Transition));
    EXPECT_EQ(sum.at("arcs").get<int>(), r.count(ElementKind::Arc));
    EXPECT_EQ(sum.at("lines").get<int>(), r.count(ElementKind::Line));
    EXPECT_EQ(sum.at("segmentsIn").get<long>(), r.segmentsIn());
    EXPECT_EQ(sum.at("maxDeviation").get<double>(), r.maxDeviation());
    EXPECT_EQ(sum.at("maxPathToInput").get<double>(), r.deviation.pathToInput);
    EXPECT_EQ(sum.at("maxInputToPath").get<double>(), r.deviation.inputToPath);
    const double tol = report.at("options").at("tolerance").get<double>();
    const nlohmann::json& paths = report.at("paths");
    ASSERT_EQ(paths.size(), r.paths.size());
    double reportedMax = 0.0;
    for (size_t p = 0; p < r.paths.size(); ++p) {
        ExpectPathAgrees(out, paths[p], r.paths[p], static_cast<int>(p) + 1, tol);
        for (const nlohmann::json& je : paths[p].at("elements")) {
            reportedMax = std::max(reportedMax, je.at("deviation").get<double>());
        }
    }
    EXPECT_EQ(reportedMax, r.maxDeviation());
}

TEST_F(SampleRun, ReportAgreesWithTheCurves) {
    ExpectReportAgrees(out(), result());
}

TEST_F(SampleRun, WalkFileMatchesTheWalk) {
    const ydpath::WalkResult& walk = outcome_->walk;
    ASSERT_GT(walk.points.size(), 500u);
    std::ifstream in(out() / "walk.txt");
    std::string line;
    size_t n = 0;
    int comments = 0;
    while (std::getline(in, line)) {
        if (!line.empty() && line[0] == '#') {
            ++comments;
            continue;
        }
        std::istringstream ls(line);
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        ASSERT_TRUE(static_cast<bool>(ls >> x >> y >> z)) << line;
        ASSERT_LT(n, walk.points.size());
        EXPECT_NEAR(x, walk.points[n].point[0], 1e-6);
        EXPECT_NEAR(y, walk.points[n].point[1], 1e-6);
        EXPECT_NEAR(z, walk.points[n].point[2], 1e-6);
        ++n;
    }
    EXPECT_EQ(n, walk.points.size());
    EXPECT_EQ(comments, 2 + static_cast<int>(result().paths.size()));
    const nlohmann::json report = nlohmann::json::parse(ReadFile(out() / "report.json"));
    EXPECT_EQ(report.at("walk").at("maxChordDeviation").get<double>(), walk.maxChordDeviation);
    EXPECT_EQ(report.at("walk").at("points").get<size_t>(), walk.points.size());
    // Steps of 0.5 across bends of radius 3 or more cut them by about 0.5^2 / (8 * 3).
    EXPECT_GT(walk.maxChordDeviation, 0.0);
    EXPECT_LT(walk.maxChordDeviation, 0.05);
}

TEST_F(SampleRun, OutputFolderHoldsOnlyTheOutputs) {
    std::vector<std::string> names;
    for (const fs::directory_entry& e : fs::directory_iterator(out())) {
        names.push_back(e.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"curves", "plot.svg", "report.json", "walk.txt"}));
    int files = 0;
    for (const fs::directory_entry& e : fs::directory_iterator(out() / "curves")) {
        (void)e;
        ++files;
    }
    EXPECT_EQ(files, outcome_->exportedCurves);
    EXPECT_EQ(files, result().count(ElementKind::Curve) + result().count(ElementKind::Transition));
}

// The whole tool on hand-made inputs written as files, checked like the sample.
void ExpectWholeRunGood(const fs::path& dir, const std::string& input, double tol) {
    ydpath::AppOptions opt;
    opt.input = (dir / input).string();
    opt.outDir = (dir / "out").string();
    opt.smooth.tolerance = tol;
    std::ostringstream summary;
    const ydpath::AppOutcome run = ydpath::RunApp(opt, summary, nullptr);
    for (const ydpath::SmoothedPath& path : run.result.paths) {
        ydtest::ExpectWithinTolerance(path, tol);
        EXPECT_EQ(ydtest::ExpectContinuous(path), 0);
    }
    ExpectPlotWellFormed(dir / "out", run.result);
    ExpectReportAgrees(dir / "out", run.result);
}

TEST(HandMadeRun, PocketProgramInInches) {
    const fs::path dir = ydtest::TempDir("pocket");
    // A rounded-corner pocket: straight walls, one corner flattened into short moves, one
    // programmed arc, sharp corners, all in inches and partly relative.
    std::ostringstream g;
    g << "(pocket)\nG20 G90 G17\nG0 X0 Y0 Z0.2\nG1 Z-0.05 F10\nG1 X2\n";
    for (int i = 1; i <= 30; ++i) {
        const double a = -kHalfPi + kHalfPi * i / 30.0;
        g << "X" << 2.0 + 0.5 * std::cos(a) << " Y" << 0.5 + 0.5 * std::sin(a) << "\n";
    }
    g << "G1 Y1.5\nG3 X2 Y2 I-0.5 J0\nG1 X0.5\nG91 Y-1.0\nX-0.5 Y-1.5\nG90 G0 Z0.2\n";
    std::ofstream(dir / "pocket.nc") << g.str();
    ExpectWholeRunGood(dir, "pocket.nc", 0.01);
    fs::remove_all(dir);
}

TEST(HandMadeRun, WavyPointFile) {
    const fs::path dir = ydtest::TempDir("wavy");
    std::ofstream f(dir / "wavy.txt");
    f << "# a wave between two straight moves\n0 -10 0\n";
    for (int i = 0; i <= 400; ++i) {
        const double x = 0.1 * i;
        f << x << " " << 2.0 * std::sin(x / 3.0) << " " << 0.001 * i << "\n";
    }
    f << "60 0 0.4\n";
    f.close();
    ExpectWholeRunGood(dir, "wavy.txt", 0.005);
    fs::remove_all(dir);
}

}  // namespace
