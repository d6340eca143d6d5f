#pragma once

// What every program read from a file must satisfy, and what every read error must say.

#include <cmath>
#include <string>

#include "FuzzInput.h"
#include "PathReader.h"

namespace ydfuzz {

inline bool Finite(const ydpath::Point3& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

/// The error names the file and a line that exists (0: the file as a whole).
inline void CheckError(const ydpath::InputError& e, const std::string& name, int lines) {
    FUZZ_CHECK(e.file() == name, "InputError names '%s'", e.file().c_str());
    FUZZ_CHECK(e.line() >= 0 && e.line() <= lines, "InputError at line %d of %d", e.line(), lines);
    // what() is a C string: a problem quoting a NUL byte of the input ends there.
    const std::string expected = name + ":" + std::to_string(e.line()) + ": " + e.problem();
    FUZZ_CHECK(
        expected.compare(0, std::string::npos, e.what()) == 0 || expected.rfind(e.what(), 0) == 0,
        "InputError reads '%s'", e.what());
    FUZZ_CHECK(!e.problem().empty(), "InputError without a problem");
}

/// Pieces in program order with finite coordinates, polylines of two or more vertices with
/// one source line each, arcs in a known plane turning by an angle in (0, 2 pi].
inline void CheckProgram(const ydpath::InputProgram& p, const std::string& name, int lines) {
    FUZZ_CHECK(p.name == name, "program named '%s'", p.name.c_str());
    int previous = 0;
    for (const ydpath::InputPiece& piece : p.pieces) {
        FUZZ_CHECK(piece.firstLine >= previous && piece.firstLine <= piece.lastLine &&
                       piece.lastLine <= lines,
                   "piece on lines %d..%d after line %d of %d", piece.firstLine, piece.lastLine,
                   previous, lines);
        previous = piece.lastLine;
        if (piece.kind == ydpath::InputPiece::Kind::Polyline) {
            FUZZ_CHECK(piece.points.size() >= 2 && piece.points.size() == piece.lines.size(),
                       "polyline of %zu points and %zu lines", piece.points.size(),
                       piece.lines.size());
            for (const ydpath::Point3& q : piece.points) {
                FUZZ_CHECK(Finite(q), "vertex (%g, %g, %g)", q.x, q.y, q.z);
            }
        } else {
            const ydpath::ProgramArc& a = piece.arc;
            FUZZ_CHECK(a.plane == 17 || a.plane == 18 || a.plane == 19, "arc plane %d", a.plane);
            FUZZ_CHECK(
                Finite(a.start) && Finite(a.end) && Finite(a.center) && std::isfinite(a.radius),
                "arc with a non-finite point or radius");
            FUZZ_CHECK(a.radius > 0.0, "arc radius %g", a.radius);
            FUZZ_CHECK(a.sweep > 0.0 && a.sweep <= 2.0 * 3.14159265358979323846, "arc sweep %.17g",
                       a.sweep);
        }
    }
    for (const ydpath::RapidMove& r : p.rapids) {
        FUZZ_CHECK(Finite(r.from) && Finite(r.to), "rapid with a non-finite end");
    }
}

inline int LineCount(const std::string& text) {
    int lines = 0;
    for (char c : text) {
        lines += c == '\n' ? 1 : 0;
    }
    return lines + (text.empty() || text.back() == '\n' ? 0 : 1);
}

}  // namespace ydfuzz
