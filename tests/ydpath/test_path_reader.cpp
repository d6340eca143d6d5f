// SPDX-License-Identifier: MIT

// Reading G-code programs and point files.

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "App.h"
#include "PathReader.h"

namespace {

using ydpath::InputError;
using ydpath::InputPiece;
using ydpath::InputProgram;
using ydpath::Point3;

constexpr double kPi = 3.14159265358979323846;

InputProgram Gcode(const std::string& text) {
    std::istringstream in(text);
    return ydpath::ReadGcode(in, "t.ngc");
}

InputProgram Points(const std::string& text) {
    std::istringstream in(text);
    return ydpath::ReadPointFile(in, "t.txt");
}

// The error a G-code text raises, or "" when it reads.
std::string GcodeError(const std::string& text, int* line = nullptr) {
    try {
        Gcode(text);
    } catch (const InputError& e) {
        if (line != nullptr) {
            *line = e.line();
        }
        return e.what();
    }
    return "";
}

::testing::AssertionResult Near(const Point3& p, double x, double y, double z) {
    if (std::fabs(p.x - x) <= 1e-12 && std::fabs(p.y - y) <= 1e-12 && std::fabs(p.z - z) <= 1e-12) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "(" << p.x << ", " << p.y << ", " << p.z << ") is not ("
                                         << x << ", " << y << ", " << z << ")";
}

TEST(GcodeReader, AxesAreModal) {
    const InputProgram p = Gcode("G1 X1 Y2 Z3\nX4\nY5\nZ-1\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    const std::vector<Point3>& v = p.pieces[0].points;
    ASSERT_EQ(v.size(), 5u);
    EXPECT_TRUE(Near(v[0], 0, 0, 0));  // the path starts where the tool was
    EXPECT_TRUE(Near(v[1], 1, 2, 3));
    EXPECT_TRUE(Near(v[2], 4, 2, 3));
    EXPECT_TRUE(Near(v[3], 4, 5, 3));
    EXPECT_TRUE(Near(v[4], 4, 5, -1));
    EXPECT_EQ(p.pieces[0].lines, (std::vector<int>{0, 1, 2, 3, 4}));
    EXPECT_EQ(p.unit, "mm");
}

TEST(GcodeReader, MotionModeIsModalAndWordsMayBeGlued) {
    const InputProgram p = Gcode("G01X1Y1\nX2.5Y-.5\nG00X0\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    ASSERT_EQ(p.pieces[0].points.size(), 3u);
    EXPECT_TRUE(Near(p.pieces[0].points[2], 2.5, -0.5, 0));
    ASSERT_EQ(p.rapids.size(), 1u);
    EXPECT_TRUE(Near(p.rapids[0].to, 0, -0.5, 0));
}

TEST(GcodeReader, RelativeMode) {
    const InputProgram p = Gcode("G0 X10 Y10\nG91 G1 X1\nX1 Y1\nZ-2\nG90 X0\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    const std::vector<Point3>& v = p.pieces[0].points;
    ASSERT_EQ(v.size(), 5u);
    EXPECT_TRUE(Near(v[0], 10, 10, 0));
    EXPECT_TRUE(Near(v[1], 11, 10, 0));
    EXPECT_TRUE(Near(v[2], 12, 11, 0));
    EXPECT_TRUE(Near(v[3], 12, 11, -2));
    EXPECT_TRUE(Near(v[4], 0, 11, -2));
}

TEST(GcodeReader, InchesAreConvertedToMillimetres) {
    const InputProgram p = Gcode("G20\nG1 X1 Y0.5\nG91 X-0.5\nG21 G90 X3\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    const std::vector<Point3>& v = p.pieces[0].points;
    ASSERT_EQ(v.size(), 4u);
    EXPECT_TRUE(Near(v[1], 25.4, 12.7, 0));
    EXPECT_TRUE(Near(v[2], 12.7, 12.7, 0));  // an increment in inches
    EXPECT_TRUE(Near(v[3], 3, 12.7, 0));     // back in millimetres
}

TEST(GcodeReader, UnitsOnTheMoveLineApplyToThatMove) {
    const InputProgram p = Gcode("G1 G20 X2\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    EXPECT_TRUE(Near(p.pieces[0].points[1], 50.8, 0, 0));
}

TEST(GcodeReader, CommentsLineNumbersAndFileMarks) {
    const InputProgram p = Gcode(
        "%\n"
        "(a header comment with G0 X99 inside)\n"
        "N10 G1 X1 ; a trailing comment with X5\n"
        "N20 (inline) Y2 (more X7) Z0\n"
        "; a whole-line comment G0 X3\n"
        "/N30 X3\n"
        "N40 X4 F1200 S10000 M3 T1\n"
        "\n"
        "%\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    const std::vector<Point3>& v = p.pieces[0].points;
    ASSERT_EQ(v.size(), 5u);
    EXPECT_TRUE(Near(v[1], 1, 0, 0));
    EXPECT_TRUE(Near(v[2], 1, 2, 0));
    EXPECT_TRUE(Near(v[3], 3, 2, 0));
    EXPECT_TRUE(Near(v[4], 4, 2, 0));
    EXPECT_EQ(p.pieces[0].lines[1], 3);
    EXPECT_EQ(p.pieces[0].lines[4], 7);
    EXPECT_TRUE(p.rapids.empty());
}

TEST(GcodeReader, MalformedNumberNamesFileAndLine) {
    int line = 0;
    const std::string err = GcodeError("G1 X1\nG1 X2\nG1 X1.2.3 Y4\n", &line);
    EXPECT_EQ(line, 3);
    EXPECT_NE(err.find("t.ngc:3:"), std::string::npos) << err;
    EXPECT_NE(err.find("malformed number '1.2.3'"), std::string::npos) << err;
}

TEST(GcodeReader, OtherMalformedNumbers) {
    int line = 0;
    EXPECT_NE(GcodeError("G1 X\n", &line).find("missing number after 'X'"), std::string::npos);
    EXPECT_EQ(line, 1);
    EXPECT_NE(GcodeError("G1\nY-\n", &line).find("malformed number '-'"), std::string::npos);
    EXPECT_EQ(line, 2);
    EXPECT_NE(GcodeError("G1 X1e3\n").find("malformed number '1e3'"), std::string::npos);
    EXPECT_NE(GcodeError("G1 X.\n").find("malformed number"), std::string::npos);
    EXPECT_NE(GcodeError("G1 X1-2\n").find("unexpected character '-'"), std::string::npos);
}

TEST(GcodeReader, EmptyFileHasNothingToSmooth) {
    const InputProgram p = Gcode("");
    EXPECT_TRUE(p.pieces.empty());
    EXPECT_TRUE(p.rapids.empty());
    EXPECT_EQ(p.segmentCount(), 0);
    const InputProgram q = Gcode("\n\n(only a comment)\n%\n");
    EXPECT_TRUE(q.pieces.empty());
}

TEST(GcodeReader, OnlyRapidsGiveNoPath) {
    const InputProgram p = Gcode("G0 X1\nG0 X2 Y3\nZ5\n");
    EXPECT_TRUE(p.pieces.empty());
    ASSERT_EQ(p.rapids.size(), 3u);
    EXPECT_TRUE(Near(p.rapids[1].from, 1, 0, 0));
    EXPECT_TRUE(Near(p.rapids[2].to, 2, 3, 5));
}

TEST(GcodeReader, RapidsSplitPaths) {
    const InputProgram p = Gcode("G1 X1\nX2\nG0 X5 Y5\nG1 Y6\nX6\n");
    ASSERT_EQ(p.pieces.size(), 2u);
    EXPECT_EQ(p.pieces[0].points.size(), 3u);
    ASSERT_EQ(p.pieces[1].points.size(), 3u);
    EXPECT_TRUE(Near(p.pieces[1].points[0], 5, 5, 0));  // where the rapid left the tool
    EXPECT_EQ(p.pieces[1].firstLine, 4);
    EXPECT_EQ(p.pieces[1].lastLine, 5);
    EXPECT_EQ(p.segmentCount(), 4);
}

TEST(GcodeReader, MovesThatGoNowhereAreDropped) {
    const InputProgram p = Gcode("G1 X1\nX1\nY0\nX2\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    EXPECT_EQ(p.pieces[0].points.size(), 3u);
    // A run that never moves is no path at all.
    EXPECT_TRUE(Gcode("G1 X0 Y0\nG0 X3\n").pieces.empty());
}

TEST(GcodeReader, ArcsAreKeptAndSplitTheRun) {
    const InputProgram p = Gcode("G1 X10\nG2 X20 Y0 I5 J0\nG1 X30\n");
    ASSERT_EQ(p.pieces.size(), 3u);
    EXPECT_EQ(p.pieces[0].kind, InputPiece::Kind::Polyline);
    ASSERT_EQ(p.pieces[1].kind, InputPiece::Kind::Arc);
    EXPECT_EQ(p.pieces[2].kind, InputPiece::Kind::Polyline);
    const ydpath::ProgramArc& a = p.pieces[1].arc;
    EXPECT_TRUE(Near(a.center, 15, 0, 0));
    EXPECT_TRUE(a.clockwise);
    EXPECT_DOUBLE_EQ(a.radius, 5.0);
    EXPECT_NEAR(a.sweep, kPi, 1e-12);
    EXPECT_EQ(p.polylineCount(), 2);
    EXPECT_EQ(p.arcCount(), 1);
}

TEST(GcodeReader, ArcByRadiusTakesTheShortOrTheLongWay) {
    // From (0,0) to (10,0) with R5 is a half circle either way; R8 picks a side.
    const InputProgram shortWay = Gcode("G0 X0 Y0\nG3 X10 Y0 R8\n");
    ASSERT_EQ(shortWay.pieces.size(), 1u);
    const ydpath::ProgramArc& a = shortWay.pieces[0].arc;
    EXPECT_NEAR(a.center.x, 5.0, 1e-12);
    EXPECT_NEAR(a.center.y, std::sqrt(64.0 - 25.0), 1e-12);  // left of the chord for G3
    EXPECT_LT(a.sweep, kPi);
    const InputProgram longWay = Gcode("G0 X0 Y0\nG3 X10 Y0 R-8\n");
    EXPECT_NEAR(longWay.pieces[0].arc.center.y, -std::sqrt(39.0), 1e-12);
    EXPECT_GT(longWay.pieces[0].arc.sweep, kPi);
}

TEST(GcodeReader, FullCircleSweepsOnce) {
    const InputProgram p = Gcode("G0 X5 Y0\nG3 X5 Y0 I-5 J0\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    EXPECT_NEAR(p.pieces[0].arc.sweep, 2 * kPi, 1e-12);
    EXPECT_FALSE(p.pieces[0].arc.clockwise);
}

TEST(GcodeReader, UnreadableThingsAreReportedWithTheirLine) {
    int line = 0;
    EXPECT_NE(GcodeError("G1 X1\nG81 X1 Y1 Z-1 R1\n", &line).find("canned cycles (G81)"),
              std::string::npos);
    EXPECT_EQ(line, 2);
    EXPECT_NE(GcodeError("X1\n").find("without a motion mode"), std::string::npos);
    EXPECT_NE(GcodeError("G1 X#1\n").find("parameters and expressions"), std::string::npos);
    EXPECT_NE(GcodeError("G0 X0\nG2 X10 Y0 I4 J0\n").find("off the circle"), std::string::npos);
    EXPECT_NE(GcodeError("G0 G1 X1\n").find("two motion codes"), std::string::npos);
    EXPECT_NE(GcodeError("G1 X1 X2\n").find("given twice"), std::string::npos);
    EXPECT_NE(GcodeError("G1 X1 (open comment\n").find("not closed"), std::string::npos);
    EXPECT_NE(GcodeError("G7 X1\n").find("unsupported G-code G7"), std::string::npos);
    EXPECT_NE(GcodeError("G2 X1 Y1\n").find("without a centre"), std::string::npos);
}

TEST(GcodeReader, CoordinateResetAndOtherAxes) {
    const InputProgram p = Gcode("G1 X5\nG92 X0\nG1 X1 A30\n");
    ASSERT_EQ(p.pieces.size(), 2u);
    EXPECT_TRUE(Near(p.pieces[1].points[0], 0, 0, 0));
    EXPECT_TRUE(Near(p.pieces[1].points[1], 1, 0, 0));
    ASSERT_EQ(p.warnings.size(), 1u);
    EXPECT_NE(p.warnings[0].find("rotary"), std::string::npos);
}

TEST(GcodeReader, WindowsLineEnds) {
    const InputProgram p = Gcode("G1 X1\r\nY1\r\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    EXPECT_EQ(p.pieces[0].points.size(), 3u);
}

TEST(PointReader, ReadsPointsCommentsAndBlankLines) {
    const InputProgram p = Points("# a header\n1 2 3\n\n4 5 6 # trailing\n  7\t8 9  \n4 5 6\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    const std::vector<Point3>& v = p.pieces[0].points;
    ASSERT_EQ(v.size(), 4u);
    EXPECT_TRUE(Near(v[0], 1, 2, 3));
    EXPECT_TRUE(Near(v[2], 7, 8, 9));
    EXPECT_EQ(p.pieces[0].lines, (std::vector<int>{2, 4, 5, 6}));
    EXPECT_FALSE(p.gcode);
    EXPECT_EQ(p.unit, "");
}

TEST(PointReader, ReadsTheLibrarysExportFormat) {
    const InputProgram p = Points("12.3457 0.5 1e-07\n-3.2e+06 0 0\n");
    ASSERT_EQ(p.pieces.size(), 1u);
    EXPECT_TRUE(Near(p.pieces[0].points[0], 12.3457, 0.5, 1e-7));
    EXPECT_TRUE(Near(p.pieces[0].points[1], -3.2e6, 0, 0));
}

TEST(PointReader, BadLinesAreReported) {
    try {
        Points("1 2 3\n1 2\n");
        FAIL() << "two numbers were accepted";
    } catch (const InputError& e) {
        EXPECT_EQ(e.line(), 2);
        EXPECT_NE(std::string(e.what()).find("t.txt:2: expected three numbers"), std::string::npos)
            << e.what();
    }
    try {
        Points("1 2 3\n4 5 6\n7 8,5 9\n");
        FAIL() << "a malformed number was accepted";
    } catch (const InputError& e) {
        EXPECT_EQ(e.line(), 3);
        EXPECT_NE(std::string(e.what()).find("malformed number '8,5'"), std::string::npos);
    }
    EXPECT_THROW(Points("1 2 nan\n"), InputError);
}

TEST(PointReader, EmptyOrSinglePointFileHasNoPath) {
    EXPECT_TRUE(Points("").pieces.empty());
    EXPECT_TRUE(Points("1 2 3\n1 2 3\n").pieces.empty());
}

TEST(InputFiles, GcodeIsChosenByExtension) {
    EXPECT_TRUE(ydpath::HasGcodeExtension("a.nc"));
    EXPECT_TRUE(ydpath::HasGcodeExtension("dir.x/a.NGC"));
    EXPECT_TRUE(ydpath::HasGcodeExtension("a.gcode"));
    EXPECT_TRUE(ydpath::HasGcodeExtension("a.Tap"));
    EXPECT_FALSE(ydpath::HasGcodeExtension("a.txt"));
    EXPECT_FALSE(ydpath::HasGcodeExtension("a.nc/points"));
    EXPECT_FALSE(ydpath::HasGcodeExtension("nc"));
}

TEST(InputFiles, MissingFileIsAnError) {
    try {
        ydpath::ReadPathFile("/nonexistent/dir/x.ngc");
        FAIL();
    } catch (const InputError& e) {
        EXPECT_EQ(e.line(), 0);
        EXPECT_NE(std::string(e.what()).find("x.ngc: cannot open"), std::string::npos);
    }
}

TEST(InputFiles, NothingToSmoothIsAnErrorForTheTool) {
    ydpath::AppOptions opt;
    opt.input = std::string(YDPATH_SAMPLE_FILE) + ".does-not-exist";
    EXPECT_THROW(ydpath::ReadInput(opt), InputError);
}

TEST(BundledSample, ReadsAsARealisticProgram) {
    std::istringstream in(ydpath::BundledSampleText());
    const InputProgram p = ydpath::ReadGcode(in, ydpath::BundledSampleName());
    EXPECT_GE(p.polylineCount(), 5);
    EXPECT_EQ(p.arcCount(), 2);
    EXPECT_GE(p.segmentCount(), 500);
    EXPECT_FALSE(p.rapids.empty());
    EXPECT_TRUE(p.warnings.empty());
    // The embedded copy is the checked-in file.
    std::ifstream file(YDPATH_SAMPLE_FILE, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_EQ(text.str(), ydpath::BundledSampleText());
}

}  // namespace
