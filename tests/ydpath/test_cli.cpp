// SPDX-License-Identifier: MIT

// The ydpath program as a user runs it: exit codes, messages, and all-or-nothing output.

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "PathChecks.h"

namespace {

namespace fs = std::filesystem;

struct ToolRun {
    int code = -1;
    std::string out;
    std::string err;
};

std::string Slurp(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void Write(const fs::path& p, const std::string& text) {
    std::ofstream out(p, std::ios::binary);
    out << text;
}

// The program, as an absolute path of this platform (under Wine a path from the build machine
// gains the drive letter of the current folder).
const std::string& Executable() {
    static const std::string exe = fs::absolute(fs::path(YDPATH_EXECUTABLE)).string();
    return exe;
}

// The shell line that runs the program in `dir` with standard input empty and both outputs
// sent to files there.
std::string ShellLine(const fs::path& dir, const std::string& args) {
#ifdef _WIN32
    // cmd.exe removes the first and the last quote of a line that starts with one, so the
    // whole line is quoted once more around the quoted paths.
    return "\"cd /d \"" + dir.string() + "\" && \"" + Executable() + "\" " + args +
           " > stdout.txt 2> stderr.txt < NUL\"";
#else
    return "cd '" + dir.string() + "' && '" + Executable() + "' " + args +
           " > stdout.txt 2> stderr.txt < /dev/null";
#endif
}

// The program's exit code from std::system's result, or -1 when it did not exit normally.
int ExitCode(int status) {
#ifdef _WIN32
    return status;  // the shell's exit code, which is the program's
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}

// Runs the program in `dir` with the given arguments (already quoted as needed).
ToolRun RunTool(const fs::path& dir, const std::string& args) {
    const int status = std::system(ShellLine(dir, args).c_str());
    ToolRun r;
    r.code = ExitCode(status);
    r.out = Slurp(dir / "stdout.txt");
    r.err = Slurp(dir / "stderr.txt");
    fs::remove(dir / "stdout.txt");
    fs::remove(dir / "stderr.txt");
    return r;
}

class Cli : public ::testing::Test {
  protected:
    void SetUp() override {
        dir_ = ydtest::TempDir(::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }
    fs::path dir_;
};

TEST_F(Cli, MalformedInputFailsWithFileAndLineAndWritesNothing) {
    Write(dir_ / "bad.ngc", "G21 G90\nG1 X1 Y1\nG1 X2.5.1 Y3\n");
    const ToolRun r = RunTool(dir_, "bad.ngc -o result");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("bad.ngc:3: malformed number '2.5.1' after 'X'"), std::string::npos)
        << r.err;
    EXPECT_TRUE(r.out.empty()) << r.out;
    EXPECT_FALSE(fs::exists(dir_ / "result"));
}

TEST_F(Cli, FailedRunLeavesAnEarlierResultAlone) {
    fs::create_directories(dir_ / "result");
    Write(dir_ / "result" / "report.json", "earlier");
    Write(dir_ / "bad.txt", "1 2 3\n4 5\n");
    const ToolRun r = RunTool(dir_, "bad.txt -o result");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("bad.txt:2: expected three numbers"), std::string::npos) << r.err;
    EXPECT_EQ(Slurp(dir_ / "result" / "report.json"), "earlier");
    int entries = 0;
    for (const fs::directory_entry& e : fs::directory_iterator(dir_ / "result")) {
        (void)e;
        ++entries;
    }
    EXPECT_EQ(entries, 1);
}

TEST_F(Cli, EmptyAndRapidOnlyFilesHaveNothingToSmooth) {
    Write(dir_ / "empty.nc", "");
    ToolRun r = RunTool(dir_, "empty.nc");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("empty.nc: no cutting moves"), std::string::npos) << r.err;
    Write(dir_ / "rapids.tap", "G0 X1 Y1\nG0 Z5\n");
    r = RunTool(dir_, "rapids.tap");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("rapids.tap: no cutting moves"), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(dir_ / "ydpath-out"));
}

TEST_F(Cli, PointFileRunWritesEverything) {
    std::ostringstream pts;
    pts << "# a quarter circle and a straight run\n";
    for (int i = 0; i <= 40; ++i) {
        const double a = 1.5707963267948966 * i / 40;
        pts << 10 * std::cos(a) << " " << 10 * std::sin(a) << " 0\n";
    }
    pts << "-20 10 0\n";
    Write(dir_ / "arc.txt", pts.str());
    const ToolRun r = RunTool(dir_, "arc.txt --tol 0.005 --walk 0.2 -o res");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("ydpath: arc.txt, 1 path, tolerance 0.005"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("wrote res/: report.json, plot.svg, walk.txt, curves/"), std::string::npos)
        << r.out;
    EXPECT_TRUE(r.err.empty()) << "no progress when stderr is not a terminal: " << r.err;
    EXPECT_TRUE(fs::exists(dir_ / "res" / "report.json"));
    EXPECT_TRUE(fs::exists(dir_ / "res" / "plot.svg"));
    EXPECT_TRUE(fs::exists(dir_ / "res" / "walk.txt"));
    EXPECT_TRUE(fs::is_directory(dir_ / "res" / "curves"));
    // Nothing of the staging is left behind.
    for (const fs::directory_entry& e : fs::directory_iterator(dir_ / "res")) {
        EXPECT_NE(e.path().filename().string().rfind(".ydpath", 0), 0u) << e.path();
    }
    // A second run without a walk removes the old walk, so nothing stale remains.
    const ToolRun again = RunTool(dir_, "arc.txt -o res");
    ASSERT_EQ(again.code, 0) << again.err;
    EXPECT_FALSE(fs::exists(dir_ / "res" / "walk.txt"));
    EXPECT_TRUE(fs::exists(dir_ / "res" / "report.json"));
}

TEST_F(Cli, FormatOptionReadsAnyNameAsGcode) {
    Write(dir_ / "prog.txt", "G1 X10\nG1 Y10\nX0\n");
    const ToolRun r = RunTool(dir_, "prog.txt --format gcode -o res");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("tolerance 0.01 mm"), std::string::npos) << r.out;
    const ToolRun asPoints = RunTool(dir_, "prog.txt -o res2");
    EXPECT_EQ(asPoints.code, 1);
    EXPECT_NE(asPoints.err.find("prog.txt:1:"), std::string::npos) << asPoints.err;
}

TEST_F(Cli, BundledSampleRunsWithoutInput) {
    const ToolRun r = RunTool(dir_, "--no-progress");
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_NE(r.out.find("sample.ngc (bundled sample)"), std::string::npos) << r.out;
    EXPECT_TRUE(fs::exists(dir_ / "ydpath-out" / "plot.svg"));
}

TEST_F(Cli, UsageErrors) {
    ToolRun r = RunTool(dir_, "--tol -1");
    EXPECT_NE(r.code, 0);
    EXPECT_FALSE(r.err.empty());
    r = RunTool(dir_, "missing-file.ngc");
    EXPECT_NE(r.code, 0);
    EXPECT_NE(r.err.find("missing-file.ngc"), std::string::npos) << r.err;
    r = RunTool(dir_, "--max-points 3");
    EXPECT_NE(r.code, 0);
    r = RunTool(dir_, "--help");
    EXPECT_EQ(r.code, 0);
    EXPECT_NE(r.out.find("--tol"), std::string::npos);
    EXPECT_NE(r.out.find("--walk"), std::string::npos);
    EXPECT_FALSE(fs::exists(dir_ / "ydpath-out"));
}

TEST_F(Cli, OutputPathThatIsAFileIsAnError) {
    Write(dir_ / "taken", "a file");
    Write(dir_ / "p.txt", "0 0 0\n1 0 0\n1 1 0\n");
    const ToolRun r = RunTool(dir_, "p.txt -o taken");
    EXPECT_EQ(r.code, 1);
    EXPECT_NE(r.err.find("cannot write the output"), std::string::npos) << r.err;
    EXPECT_EQ(Slurp(dir_ / "taken"), "a file");
}

}  // namespace
