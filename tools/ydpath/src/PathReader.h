// SPDX-License-Identifier: MIT

#pragma once

// Reading tool paths: G-code programs and plain "x y z" point files.
//
// A G-code program is cut into pieces in program order: every continuous run of G1 moves is
// one polyline piece, and every G2/G3 move is kept as it stands as one arc piece. Rapids (G0)
// and arcs end a polyline run. Everything is converted to millimetres (G20 inches are
// multiplied by 25.4). A point file is one polyline piece in its own length unit.
//
// G-code that is read: G0/G1/G2/G3 with modal X, Y, Z (rotary and auxiliary axes are ignored
// with a note), G17/G18/G19, G20/G21, G90/G91, G90.1/G91.1, line numbers, '/' block skips,
// '%' marks, ( ) and ; comments. G92 renames the current position. G28, G30 and G53 moves and
// G10 data lines end the current run and do not move the tracked position (the tool's next
// move is expected to be absolute). Settings that do not move the tool (feeds, speeds, tools,
// work offsets, path modes) are accepted silently. Anything else - canned cycles, other
// motion codes, parameters and expressions - is an InputError naming the line, and so is a
// number that does not fit a double and a coordinate more than 1e9 (mm, or the point file's
// unit) from the origin: far beyond any machine, and its square would overflow.

#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

namespace ydpath {

struct Point3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/// A circular (or helical) G2/G3 move, kept as programmed.
struct ProgramArc {
    Point3 start;
    Point3 end;
    Point3 center;   ///< in the plane of the start point
    int plane = 17;  ///< 17 (XY), 18 (ZX) or 19 (YZ)
    bool clockwise = true;
    double radius = 0.0;  ///< distance from the centre to the start point, in the arc's plane
    double sweep = 0.0;   ///< turned angle in radians, in (0, 2 pi]
};

/// One piece of a program: a polyline of cutting moves or a programmed arc.
struct InputPiece {
    enum class Kind { Polyline, Arc };
    Kind kind = Kind::Polyline;
    std::vector<Point3> points;  ///< Polyline: its vertices, consecutive duplicates removed
    std::vector<int> lines;      ///< source line of each vertex (0 when not from a line)
    ProgramArc arc;              ///< Arc only
    int firstLine = 0;           ///< source lines the piece came from
    int lastLine = 0;
};

/// A straight rapid move, kept for the plot.
struct RapidMove {
    Point3 from;
    Point3 to;
};

struct InputProgram {
    std::string name;    ///< file name as given, for messages
    bool gcode = false;  ///< read as G-code
    std::string unit;    ///< "mm" for G-code; empty for point files (the file's unit)
    std::vector<InputPiece> pieces;
    std::vector<RapidMove> rapids;
    std::vector<std::string> warnings;  ///< things read but ignored, once each

    int polylineCount() const;
    int arcCount() const;
    /// Straight segments over all polyline pieces.
    long segmentCount() const;
};

/// A problem in an input file, with the file name and 1-based line number (0 when the problem
/// is with the file as a whole). what() reads "name:line: problem".
class InputError : public std::runtime_error {
  public:
    InputError(const std::string& file, int line, const std::string& problem);
    const std::string& file() const { return file_; }
    int line() const { return line_; }
    const std::string& problem() const { return problem_; }

  private:
    std::string file_;
    int line_;
    std::string problem_;
};

enum class InputFormat { Auto, Gcode, Points };

/// True for the G-code extensions .nc, .ngc, .gcode and .tap (any letter case).
bool HasGcodeExtension(const std::string& path);

/// Reads a G-code program. Throws InputError on anything it cannot read.
InputProgram ReadGcode(std::istream& in, const std::string& name);
/// Reads a point file: one "x y z" line per point, '#' starts a comment, blank lines are
/// skipped. Throws InputError on anything it cannot read.
InputProgram ReadPointFile(std::istream& in, const std::string& name);
/// Opens and reads path; Auto picks G-code by the extension. Throws InputError.
InputProgram ReadPathFile(const std::string& path, InputFormat format = InputFormat::Auto);

/// The bundled sample program (G-code text), built into the tool.
const std::string& BundledSampleText();
/// The name under which the bundled sample is reported.
const char* BundledSampleName();

}  // namespace ydpath
