// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/filters/YdCurveFitFilter.h"
#include "YdNurbsLib/geometry/YdPoint.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"

namespace {

// The export writes through a text-mode stream, so the C runtime turns each newline into the
// platform's line end: CR LF on Windows, LF elsewhere. Hosts on Windows rely on that.
#ifdef _WIN32
const std::string kEol = "\r\n";
#else
const std::string kEol = "\n";
#endif

// A prefix that keeps two runs of this program (say two build types at once) apart.
const std::string& RunPrefix() {
    static const std::string prefix = "yd_" + std::to_string(std::random_device{}()) + "_";
    return prefix;
}

// A file under the test temporary directory, removed when the object goes.
class TempFile {
  public:
    explicit TempFile(const std::string& name) : m_path(::testing::TempDir() + RunPrefix() + name) {
        std::remove(m_path.c_str());
    }
    ~TempFile() { std::remove(m_path.c_str()); }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;
    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
};

// Writes a fixture byte for byte (binary: no line-end translation).
void WriteRaw(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
}

bool Exists(const std::string& path) {
    std::ifstream in(path);
    return in.good();
}

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

// The lines of a file's bytes, each without its platform line end; a last line without one
// is kept as it is.
std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> out;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find(kEol, start);
        if (end == std::string::npos) {
            out.push_back(text.substr(start));
            break;
        }
        out.push_back(text.substr(start, end - start));
        start = end + kEol.size();
    }
    return out;
}

// A cubic Bezier segment over [a, b] from its four control points.
std::unique_ptr<YdBSplineCurve> Bezier(const std::vector<YdPoint>& ctrl, double a = 0.0,
                                       double b = 1.0) {
    YdKnotVec knots;
    knots.SetKnots({a, a, a, a, b, b, b, b});
    return std::make_unique<YdBSplineCurve>(knots, ctrl, 3, false);
}

// Independent evaluation of a cubic Bezier over [0, 1] by repeated linear interpolation of
// its control polygon.
YdPoint BezierByRepeatedLerp(const std::vector<YdPoint>& c, double t) {
    double q[4][3];
    for (int i = 0; i < 4; ++i) {
        for (int k = 0; k < 3; ++k) {
            q[i][k] = c[static_cast<std::size_t>(i)][k];
        }
    }
    for (int r = 1; r < 4; ++r) {
        for (int i = 0; i < 4 - r; ++i) {
            for (int k = 0; k < 3; ++k) {
                q[i][k] = (1 - t) * q[i][k] + t * q[i + 1][k];
            }
        }
    }
    return YdPoint(q[0][0], q[0][1], q[0][2]);
}

// The bytes of the export file as the host expects them, built here in memory: samples from
// start + 1e-8 in accumulated steps of (end - start) / count while end - 1e-8 >= u, each line
// ended by the platform's line end.
std::string ExpectedText(const YdBSplineCurve& c, int count) {
    const double a = c.startParam();
    const double b = c.endParam();
    const double step = (b - a) / count;
    std::ostringstream out;
    for (double u = a + 1e-8; b - 1e-8 >= u; u += step) {
        const YdPoint p = c.Evaluate(u);
        out << p[0] << " " << p[1] << " " << p[2] << kEol;
    }
    return out.str();
}

const std::vector<YdPoint> kCtrl = {YdPoint(0, 0, 0), YdPoint(1, 2, 0), YdPoint(3, 2, 1),
                                    YdPoint(4, 0, 1)};

}  // namespace

TEST(CurveExport, FileMatchesAnIndependentlyWrittenOne) {
    auto curve = Bezier(kCtrl);
    TempFile got("export_match.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 37);
    const std::string text = ReadAll(got.path());
    EXPECT_EQ(text, ExpectedText(*curve, 37));
    EXPECT_EQ(Lines(text).size(), 37u);
}

TEST(CurveExport, FormatCoversExponentAndNegativeNumbers) {
    // Coordinates that the general format writes as 1e-07, -3.2e+06 and 12.3457.
    const std::vector<YdPoint> ctrl(4, YdPoint(1e-7, -3.2e6, 12.345678));
    auto curve = Bezier(ctrl);
    TempFile got("export_format.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 2);
    EXPECT_EQ(ReadAll(got.path()),
              "1e-07 -3.2e+06 12.3457" + kEol + "1e-07 -3.2e+06 12.3457" + kEol);
}

TEST(CurveExport, CountFourWritesFourShiftedSamples) {
    auto curve = Bezier(kCtrl);
    TempFile got("export_four.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 4);
    std::ostringstream want;
    for (double u : {1e-8, 0.25 + 1e-8, 0.5 + 1e-8, 0.75 + 1e-8}) {
        const YdPoint p = curve->Evaluate(u);
        want << p[0] << " " << p[1] << " " << p[2] << kEol;
    }
    const std::string text = ReadAll(got.path());
    EXPECT_EQ(text, want.str());
    // The values are those of the curve (by repeated interpolation of the polygon) and the end
    // point is never written.
    const std::vector<std::string> lines = Lines(text);
    ASSERT_EQ(lines.size(), 4u);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::istringstream ls(lines[i]);
        double x = 0.0;
        double y = 0.0;
        double z = 0.0;
        ASSERT_TRUE(static_cast<bool>(ls >> x >> y >> z)) << "line " << i;
        const YdPoint p = BezierByRepeatedLerp(kCtrl, 0.25 * static_cast<double>(i) + 1e-8);
        EXPECT_NEAR(x, p[0], 5e-6 * (1 + std::fabs(p[0]))) << "line " << i;
        EXPECT_NEAR(y, p[1], 5e-6 * (1 + std::fabs(p[1]))) << "line " << i;
        EXPECT_NEAR(z, p[2], 5e-6 * (1 + std::fabs(p[2]))) << "line " << i;
    }
    EXPECT_EQ(text.find("4 0 1"), std::string::npos);
}

TEST(CurveExport, LinesHaveNoStrayBlanks) {
    auto curve = Bezier(kCtrl);
    TempFile got("export_blanks.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 9);
    const std::string text = ReadAll(got.path());
    ASSERT_FALSE(text.empty());
    ASSERT_GE(text.size(), kEol.size());
    EXPECT_EQ(text.substr(text.size() - kEol.size()), kEol);
    // Every newline byte belongs to a whole platform line end, and no line is blank.
    EXPECT_EQ(Lines(text).size(),
              static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    EXPECT_EQ(text.find(kEol + kEol), std::string::npos);
    for (const std::string& line : Lines(text)) {
        ASSERT_FALSE(line.empty());
        EXPECT_EQ(line.find_first_of("\r\n"), std::string::npos) << line;
        EXPECT_NE(line.front(), ' ');
        EXPECT_NE(line.back(), ' ');
        EXPECT_EQ(std::count(line.begin(), line.end(), ' '), 2) << line;
        EXPECT_EQ(line.find("  "), std::string::npos) << line;
    }
}

TEST(CurveExport, CountZeroWritesOnlyTheFirstSample) {
    auto curve = Bezier(kCtrl);
    TempFile got("export_zero.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 0);
    const YdPoint p = curve->Evaluate(1e-8);
    std::ostringstream want;
    want << p[0] << " " << p[1] << " " << p[2] << kEol;
    EXPECT_EQ(ReadAll(got.path()), want.str());
}

TEST(CurveExport, NegativeCountCreatesAnEmptyFile) {
    auto curve = Bezier(kCtrl);
    TempFile got("export_negative.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), -3);
    EXPECT_TRUE(Exists(got.path()));
    EXPECT_EQ(ReadAll(got.path()), "");
    // An existing file is truncated too.
    WriteRaw(got.path(), "old contents\n");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), -1);
    EXPECT_EQ(ReadAll(got.path()), "");
}

TEST(CurveExport, TinyParameterRangeWritesNoLineButTruncates) {
    auto curve = Bezier(kCtrl, 0.0, 1e-8);
    TempFile got("export_tiny.txt");
    WriteRaw(got.path(), "old contents\n");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 10);
    EXPECT_TRUE(Exists(got.path()));
    EXPECT_EQ(ReadAll(got.path()), "");
}

TEST(CurveExport, RangeOfExactlyTwiceTheShiftWritesItsOneSample) {
    // Over [0, 2e-8] the first sample 1e-8 equals end - 1e-8: the end test is inclusive, so
    // that sample is written, and with count = 1 the next one lies beyond the end.
    auto curve = Bezier(kCtrl, 0.0, 2e-8);
    ASSERT_EQ(2e-8 - 1e-8, 0.0 + 1e-8);
    TempFile got("export_two_shifts.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 1);
    const YdPoint p = curve->Evaluate(1e-8);
    std::ostringstream want;
    want << p[0] << " " << p[1] << " " << p[2] << kEol;
    EXPECT_EQ(ReadAll(got.path()), want.str());
}

TEST(CurveExport, CallingTwiceKeepsOnlyTheSecondCurve) {
    auto first = Bezier(kCtrl);
    auto second = Bezier({YdPoint(9, 9, 9), YdPoint(8, 8, 8), YdPoint(7, 7, 7), YdPoint(6, 6, 6)});
    TempFile got("export_twice.txt");
    YdCurveFitFilter::exportCurve(first.get(), got.path(), 50);
    YdCurveFitFilter::exportCurve(second.get(), got.path(), 3);
    EXPECT_EQ(ReadAll(got.path()), ExpectedText(*second, 3));
    EXPECT_EQ(Lines(ReadAll(got.path())).size(), 3u);
}

TEST(CurveExport, UnwritablePathWritesNothingAndThrowsNothing) {
    auto curve = Bezier(kCtrl);
    const std::string path = ::testing::TempDir() + "no_such_dir_for_export/curve.txt";
    EXPECT_NO_THROW(YdCurveFitFilter::exportCurve(curve.get(), path, 5));
    EXPECT_FALSE(Exists(path));
    // A directory cannot be opened as a file either.
    EXPECT_NO_THROW(YdCurveFitFilter::exportCurve(curve.get(), ::testing::TempDir(), 5));
}

TEST(CurveExport, NullCurveLeavesTheFileAlone) {
    TempFile got("export_null.txt");
    WriteRaw(got.path(), "keep me\n");
    YdCurveFitFilter::exportCurve(nullptr, got.path(), 5);
    EXPECT_EQ(ReadAll(got.path()), "keep me\n");
    TempFile missing("export_null_missing.txt");
    YdCurveFitFilter::exportCurve(nullptr, missing.path(), 5);
    EXPECT_FALSE(Exists(missing.path()));
}

TEST(CurveExport, ParameterRangeAwayFromZeroIsSampledFromItsStart) {
    auto curve = Bezier(kCtrl, 2.0, 3.0);
    TempFile got("export_shifted.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 8);
    EXPECT_EQ(ReadAll(got.path()), ExpectedText(*curve, 8));
    EXPECT_EQ(Lines(ReadAll(got.path())).size(), 8u);
}

TEST(CurveExport, StepThatCannotMoveTheParameterEnds) {
    // At 1e12 a step of 1e-6 is below half an ulp: the parameter would never advance. The
    // export writes the first sample and stops instead of repeating it forever.
    auto curve = Bezier(kCtrl, 1e12, 1e12 + 1.0);
    TempFile got("export_stuck.txt");
    YdCurveFitFilter::exportCurve(curve.get(), got.path(), 1000000);
    EXPECT_EQ(Lines(ReadAll(got.path())).size(), 1u);
}
