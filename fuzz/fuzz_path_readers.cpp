// SPDX-License-Identifier: MIT

// The ydpath readers. The first byte picks the reader (even: G-code, odd: point file), the
// rest is the file's text. Any text either reads into a well-formed program or fails with an
// InputError naming the file and a line that exists; nothing else may escape.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "FuzzInput.h"
#include "PathReader.h"

namespace {

bool Finite(const ydpath::Point3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

int LineCount(const std::string& text) {
    int lines = 0;
    for (char c : text) {
        lines += c == '\n' ? 1 : 0;
    }
    return lines + (text.empty() || text.back() == '\n' ? 0 : 1);
}

void CheckError(const ydpath::InputError& e, const std::string& name, int lines) {
    FUZZ_CHECK(e.file() == name, "InputError names '%s'", e.file().c_str());
    FUZZ_CHECK(e.line() >= 0 && e.line() <= lines, "InputError at line %d of %d", e.line(), lines);
    FUZZ_CHECK(!e.problem().empty(), "InputError without a problem");
    // what() is a C string: a problem quoting a NUL byte of the input ends there.
    const std::string expected = name + ":" + std::to_string(e.line()) + ": " + e.problem();
    FUZZ_CHECK(expected.rfind(e.what(), 0) == 0, "InputError reads '%s'", e.what());
}

void CheckArc(const ydpath::ProgramArc& a) {
    FUZZ_CHECK(a.plane == 17 || a.plane == 18 || a.plane == 19, "arc plane %d", a.plane);
    FUZZ_CHECK(Finite(a.start) && Finite(a.end) && Finite(a.center) && std::isfinite(a.radius),
               "arc with a non-finite point or radius");
    FUZZ_CHECK(a.radius > 0.0, "arc radius %g", a.radius);
    FUZZ_CHECK(a.sweep > 0.0 && a.sweep <= 2.0 * 3.14159265358979323846, "arc sweep %.17g",
               a.sweep);
}

// Pieces in program order with finite coordinates: polylines of two or more vertices with one
// source line each, arcs in a known plane turning by an angle in (0, 2 pi].
void CheckProgram(const ydpath::InputProgram& p, const std::string& name, int lines) {
    FUZZ_CHECK(p.name == name, "program named '%s'", p.name.c_str());
    int previous = 0;
    for (const ydpath::InputPiece& piece : p.pieces) {
        FUZZ_CHECK(piece.firstLine >= previous && piece.firstLine <= piece.lastLine &&
                       piece.lastLine <= lines,
                   "piece on lines %d..%d after line %d of %d", piece.firstLine, piece.lastLine,
                   previous, lines);
        previous = piece.lastLine;
        if (piece.kind == ydpath::InputPiece::Kind::Arc) {
            CheckArc(piece.arc);
            continue;
        }
        FUZZ_CHECK(piece.points.size() >= 2 && piece.points.size() == piece.lines.size(),
                   "polyline of %zu points and %zu lines", piece.points.size(), piece.lines.size());
        for (const ydpath::Point3& q : piece.points) {
            FUZZ_CHECK(Finite(q), "vertex (%g, %g, %g)", q.x, q.y, q.z);
        }
    }
    for (const ydpath::RapidMove& r : p.rapids) {
        FUZZ_CHECK(Finite(r.from) && Finite(r.to), "rapid with a non-finite end");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const bool gcode = data[0] % 2 == 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string name = gcode ? "fuzz.ngc" : "fuzz.xyz";
    const int lines = LineCount(text);
    std::istringstream in(text);
    try {
        const ydpath::InputProgram p =
            gcode ? ydpath::ReadGcode(in, name) : ydpath::ReadPointFile(in, name);
        if (gcode) {
            FUZZ_CHECK(p.gcode && p.unit == "mm", "G-code program read as '%s'", p.unit.c_str());
        } else {
            FUZZ_CHECK(!p.gcode && p.pieces.size() <= 1 && p.rapids.empty(),
                       "point file read as %zu pieces", p.pieces.size());
        }
        CheckProgram(p, name, lines);
    } catch (const ydpath::InputError& e) {
        CheckError(e, name, lines);
    }
    return 0;
}
