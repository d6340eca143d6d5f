// SPDX-License-Identifier: MIT

#include "PathReader.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <istream>
#include <map>
#include <set>
#include <sstream>

namespace ydpath {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kInch = 25.4;
// The largest coordinate read (in millimetres for G-code, in the file's unit for point files).
constexpr double kMaxCoordinate = 1e9;

std::string Lower(std::string s) {
    for (char& c : s) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return s;
}

std::string FormatNumber(double v) {
    std::ostringstream os;
    os.precision(6);
    os << v;
    return os.str();
}

bool SamePoint(const Point3& a, const Point3& b) {
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

// One word of a G-code line: a letter and the number after it.
struct Word {
    char letter;
    double value;
};

[[noreturn]] void ParametersUnsupported(const std::string& file, int line, char c) {
    throw InputError(file, line,
                     std::string("parameters and expressions ('") + c +
                         "') are not supported; expand them into plain numbers first");
}

// A number as the user wrote it, shortened when it is very long.
std::string Shown(const std::string& token) {
    if (token.size() <= 24) {
        return token;
    }
    return token.substr(0, 20) + "... (" + std::to_string(token.size()) + " characters)";
}

// The number of a word starting at text[i] (after its letter): an optional sign, then digits
// and at most one decimal point. Advances i past it.
double ReadNumber(const std::string& text, size_t& i, char letter, const std::string& file,
                  int line) {
    const size_t n = text.size();
    while (i < n && (text[i] == ' ' || text[i] == '\t')) {
        ++i;
    }
    const size_t start = i;
    if (i < n && (text[i] == '+' || text[i] == '-')) {
        ++i;
    }
    size_t digits = 0;
    size_t dots = 0;
    for (; i < n && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.'); ++i) {
        (text[i] == '.' ? dots : digits) += 1;
    }
    const std::string token = text.substr(start, i - start);
    if (token.empty() && i < n && (text[i] == '#' || text[i] == '[')) {
        ParametersUnsupported(file, line, text[i]);
    }
    if (token.empty()) {
        throw InputError(file, line, std::string("missing number after '") + letter + "'");
    }
    // A number glued to further letters of a word ("X1e3", "X12abc") is not G-code: the
    // letter would start a new word, so only an exponent-like run is caught here.
    const bool gluedExponent = i < n && (text[i] == 'e' || text[i] == 'E') && i + 1 < n &&
                               (std::isdigit(static_cast<unsigned char>(text[i + 1])) ||
                                text[i + 1] == '+' || text[i + 1] == '-');
    if (digits == 0 || dots > 1 || gluedExponent) {
        std::string shown = token;
        for (size_t j = i; j < n && !std::isspace(static_cast<unsigned char>(text[j])) &&
                           text[j] != '(' && text[j] != ';';
             ++j) {
            shown += text[j];
        }
        throw InputError(file, line,
                         "malformed number '" + Shown(shown) + "' after '" + letter + "'");
    }
    const double value = std::strtod(token.c_str(), nullptr);
    if (!std::isfinite(value)) {
        throw InputError(file, line,
                         "number '" + Shown(token) + "' after '" + letter + "' is out of range");
    }
    return value;
}

// Splits one G-code line into words. Comments in parentheses and after ';' are dropped.
std::vector<Word> SplitWords(const std::string& text, const std::string& file, int line) {
    std::vector<Word> words;
    const size_t n = text.size();
    size_t i = 0;
    // A leading '/' marks a block that an operator may skip; the moves are read as usual.
    while (i < n && std::isspace(static_cast<unsigned char>(text[i]))) {
        ++i;
    }
    if (i < n && text[i] == '/') {
        ++i;
    }
    while (i < n) {
        const char c = text[i];
        if (std::isspace(static_cast<unsigned char>(c)) || c == '%') {
            ++i;
        } else if (c == ';') {
            break;
        } else if (c == '(') {
            const size_t close = text.find(')', i + 1);
            if (close == std::string::npos) {
                throw InputError(file, line, "comment '(' is not closed on this line");
            }
            i = close + 1;
        } else if (c == '#' || c == '[' || c == ']' || c == '=' || c == '<') {
            ParametersUnsupported(file, line, c);
        } else if (!std::isalpha(static_cast<unsigned char>(c))) {
            throw InputError(file, line, std::string("unexpected character '") + c + "'");
        } else {
            const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
            ++i;
            words.push_back({letter, ReadNumber(text, i, letter, file, line)});
        }
    }
    return words;
}

// G-codes that change nothing this reader follows (dwell, tool length, work offsets, path
// control, feed modes, return levels); they are accepted silently.
bool IsIgnoredGcode(int code10) {
    static const std::set<int> ignored = {40,  400, 430, 431, 490, 540, 550, 560,
                                          570, 580, 590, 591, 592, 593, 610, 611,
                                          640, 930, 940, 950, 960, 970, 980, 990};
    return ignored.count(code10) > 0;
}

// What one line says: its motion code, axis and arc words, and the modes it sets.
struct LineWords {
    int motion = -1;  // motion G-code on this line, times ten
    bool breakPath = false;
    bool setPosition = false;
    bool hasAxis[3] = {false, false, false};
    double axis[3] = {0.0, 0.0, 0.0};
    bool hasOffset[3] = {false, false, false};
    double offset[3] = {0.0, 0.0, 0.0};
    bool hasR = false;
    double r = 0.0;
    bool inches = false;
    bool relative = false;
    bool arcAbsolute = false;
    int plane = 17;
};

// The plane's in-plane axes (u, v) and the axis along its normal (w), so that u x v = w.
void PlaneAxes(int plane, int& u, int& v, int& w) {
    u = plane == 18 ? 2 : (plane == 19 ? 1 : 0);
    v = plane == 18 ? 0 : (plane == 19 ? 2 : 1);
    w = plane == 18 ? 1 : (plane == 19 ? 0 : 2);
}

double& Coord(Point3& p, int k) {
    return k == 0 ? p.x : (k == 1 ? p.y : p.z);
}

double Coord(const Point3& p, int k) {
    return k == 0 ? p.x : (k == 1 ? p.y : p.z);
}

class GcodeReader {
  public:
    explicit GcodeReader(const std::string& name) {
        program_.name = name;
        program_.gcode = true;
        program_.unit = "mm";
    }

    void ReadLine(const std::string& text, int line) {
        line_ = line;
        const std::vector<Word> words = SplitWords(text, program_.name, line);
        if (words.empty()) {
            return;
        }
        LineWords lw;
        lw.inches = inches_;
        lw.relative = relative_;
        lw.arcAbsolute = arcAbsolute_;
        lw.plane = plane_;
        for (const Word& w : words) {
            ReadWord(w, lw);
        }
        inches_ = lw.inches;
        relative_ = lw.relative;
        arcAbsolute_ = lw.arcAbsolute;
        plane_ = lw.plane;
        if (lw.breakPath) {
            BreakPath(lw);
        } else {
            Move(lw);
        }
    }

    InputProgram Finish() {
        EndPolyline();
        return std::move(program_);
    }

  private:
    [[noreturn]] void Fail(const std::string& problem) const {
        throw InputError(program_.name, line_, problem);
    }

    void Warn(const std::string& text) {
        if (std::find(program_.warnings.begin(), program_.warnings.end(), text) ==
            program_.warnings.end()) {
            program_.warnings.push_back(text);
        }
    }

    static std::string CodeText(int code10) {
        return code10 % 10 == 0 ? std::to_string(code10 / 10)
                                : std::to_string(code10 / 10) + "." + std::to_string(code10 % 10);
    }

    // Coordinates far beyond any machine's travel are refused: their squares would lose all
    // precision or overflow, and nothing sensible can be made of them.
    void CheckRange(const Point3& p) const {
        for (double v : {p.x, p.y, p.z}) {
            if (!(std::fabs(v) <= kMaxCoordinate)) {
                Fail("coordinate " + FormatNumber(v) + " mm is out of range (at most " +
                     FormatNumber(kMaxCoordinate) + " mm from the origin)");
            }
        }
    }

    void ReadWord(const Word& w, LineWords& lw) {
        switch (w.letter) {
            case 'G':
                // Codes are compared in tenths; anything far out of that range is no G-code.
                if (!(std::fabs(w.value) < 10000.0)) {
                    Fail("unsupported G-code G" + FormatNumber(w.value));
                }
                ReadGcodeWord(static_cast<int>(std::lround(w.value * 10.0)), lw);
                break;
            case 'X':
            case 'Y':
            case 'Z': {
                const int k = w.letter - 'X';
                if (lw.hasAxis[k]) {
                    Fail(std::string("axis word ") + w.letter + " given twice on one line");
                }
                lw.hasAxis[k] = true;
                lw.axis[k] = w.value;
                break;
            }
            case 'I':
            case 'J':
            case 'K': {
                const int k = w.letter - 'I';
                if (lw.hasOffset[k]) {
                    Fail(std::string("arc word ") + w.letter + " given twice on one line");
                }
                lw.hasOffset[k] = true;
                lw.offset[k] = w.value;
                break;
            }
            case 'R':
                lw.hasR = true;
                lw.r = w.value;
                break;
            case 'A':
            case 'B':
            case 'C':
            case 'U':
            case 'V':
            case 'W':
                Warn(
                    "rotary and auxiliary axes (A, B, C, U, V, W) are ignored: only X, Y "
                    "and Z are smoothed");
                break;
            default:
                // Feeds, speeds, tools, M-codes, line numbers, dwell times and the like do not
                // move the tool.
                break;
        }
    }

    void SetMotion(int code, LineWords& lw) const {
        if (lw.motion >= 0 && lw.motion != code) {
            Fail("two motion codes (G" + CodeText(lw.motion) + " and G" + CodeText(code) +
                 ") on one line");
        }
        lw.motion = code;
    }

    void ReadGcodeWord(int code, LineWords& lw) {
        switch (code) {
            case 0:
            case 10:
            case 20:
            case 30:
                SetMotion(code, lw);
                return;
            case 170:
            case 180:
            case 190:
                lw.plane = code / 10;
                return;
            case 200:
            case 210:
                lw.inches = code == 200;
                return;
            case 900:
            case 910:
                lw.relative = code == 910;
                return;
            case 901:
            case 911:
                lw.arcAbsolute = code == 901;
                return;
            case 280:
            case 300:
            case 530:
                // Moves to a stored or machine position: the cut ends here, and the axis words
                // of the line are not work coordinates.
            case 100:
                // Offset tables: the axis words are data, not a move.
                lw.breakPath = true;
                return;
            case 920:
                // The current position gets new coordinates; later moves are read in that frame.
                lw.setPosition = true;
                lw.breakPath = true;
                return;
            case 410:
            case 420:
                Warn(
                    "cutter compensation (G41/G42) is ignored: the programmed path is smoothed "
                    "as written");
                return;
            case 800:
                motion_ = -1;
                return;
            default:
                break;
        }
        if (IsIgnoredGcode(code)) {
            return;
        }
        if (code == 730 || code == 760 || (code >= 810 && code <= 890)) {
            Fail("canned cycles (G" + CodeText(code) + ") are not supported");
        }
        Fail("unsupported G-code G" + CodeText(code));
    }

    void BreakPath(const LineWords& lw) {
        EndPolyline();
        if (lw.setPosition) {
            const double scale = inches_ ? kInch : 1.0;
            for (int k = 0; k < 3; ++k) {
                if (lw.hasAxis[k]) {
                    Coord(pos_, k) = lw.axis[k] * scale;
                }
            }
            CheckRange(pos_);
        }
        if (lw.motion >= 0) {
            motion_ = lw.motion;
        }
    }

    void Move(const LineWords& lw) {
        if (lw.motion >= 0) {
            motion_ = lw.motion;
        }
        const bool anyAxis = lw.hasAxis[0] || lw.hasAxis[1] || lw.hasAxis[2];
        const bool anyArcWord = lw.hasOffset[0] || lw.hasOffset[1] || lw.hasOffset[2] || lw.hasR;
        if (!anyAxis && !(anyArcWord && (motion_ == 20 || motion_ == 30))) {
            return;
        }
        if (motion_ < 0) {
            Fail("axis words without a motion mode (G0, G1, G2 or G3)");
        }
        const double scale = inches_ ? kInch : 1.0;
        Point3 target = pos_;
        for (int k = 0; k < 3; ++k) {
            if (lw.hasAxis[k]) {
                Coord(target, k) =
                    relative_ ? Coord(pos_, k) + lw.axis[k] * scale : lw.axis[k] * scale;
            }
        }
        CheckRange(target);
        if (motion_ == 0) {
            EndPolyline();
            program_.rapids.push_back({pos_, target});
        } else if (motion_ == 10) {
            if (anyArcWord) {
                Fail("arc words (I, J, K, R) on a straight move");
            }
            AddLinear(target);
        } else {
            AddArc(target, lw, scale);
        }
        pos_ = target;
    }

    void AddLinear(const Point3& target) {
        if (!inPolyline_) {
            current_ = InputPiece();
            current_.kind = InputPiece::Kind::Polyline;
            current_.points.push_back(pos_);
            current_.lines.push_back(lastMoveLine_);
            current_.firstLine = line_;
            inPolyline_ = true;
        }
        if (!SamePoint(current_.points.back(), target)) {
            current_.points.push_back(target);
            current_.lines.push_back(line_);
        }
        current_.lastLine = line_;
        lastMoveLine_ = line_;
    }

    void EndPolyline() {
        if (inPolyline_ && current_.points.size() >= 2) {
            program_.pieces.push_back(std::move(current_));
        }
        current_ = InputPiece();
        inPolyline_ = false;
    }

    // The centre of an arc given by its radius r (negative: the long way round), in the plane
    // coordinates of its start s and end e.
    void CentreFromRadius(double su, double sv, double eu, double ev, double r, double scale,
                          bool clockwise, double& cu, double& cv) const {
        const double du = eu - su;
        const double dv = ev - sv;
        const double chord = std::sqrt(du * du + dv * dv);
        const double radius = std::fabs(r);
        if (chord == 0.0) {
            Fail("an arc given by radius (R) cannot be a full circle");
        }
        if (radius == 0.0) {
            Fail("arc radius R is zero");
        }
        if (chord > 2.0 * radius * (1.0 + 1e-9) + 1e-9) {
            Fail("arc radius R" + FormatNumber(r / scale) +
                 " is too small for the distance between its end points");
        }
        const double h = std::sqrt(std::max(0.0, radius * radius - chord * chord / 4.0));
        // The centre of a short clockwise arc lies to the right of the chord; a negative R asks
        // for the long way round.
        double side = clockwise ? -1.0 : 1.0;
        if (r < 0.0) {
            side = -side;
        }
        cu = (su + eu) / 2.0 - side * h * dv / chord;
        cv = (sv + ev) / 2.0 + side * h * du / chord;
    }

    // The turned angle in (0, 2 pi] from the start to the end about the centre.
    static double Sweep(double su, double sv, double eu, double ev, double cu, double cv,
                        bool clockwise) {
        const double a0 = std::atan2(sv - cv, su - cu);
        const double a1 = std::atan2(ev - cv, eu - cu);
        double sweep = clockwise ? a0 - a1 : a1 - a0;
        while (sweep <= 0.0) {
            sweep += 2.0 * kPi;
        }
        while (sweep > 2.0 * kPi) {
            sweep -= 2.0 * kPi;
        }
        return eu == su && ev == sv ? 2.0 * kPi : sweep;
    }

    void AddArc(const Point3& target, const LineWords& lw, double scale) {
        EndPolyline();
        int u = 0;
        int v = 1;
        int w = 2;
        PlaneAxes(plane_, u, v, w);
        const double su = Coord(pos_, u);
        const double sv = Coord(pos_, v);
        const double eu = Coord(target, u);
        const double ev = Coord(target, v);
        const bool clockwise = motion_ == 20;
        double cu = 0.0;
        double cv = 0.0;
        if (lw.hasR) {
            if (lw.hasOffset[u] || lw.hasOffset[v]) {
                Fail("arc given both by radius (R) and by centre (I, J, K)");
            }
            CentreFromRadius(su, sv, eu, ev, lw.r * scale, scale, clockwise, cu, cv);
        } else {
            if (!lw.hasOffset[u] && !lw.hasOffset[v]) {
                Fail("arc without a centre (I, J, K) or radius (R)");
            }
            const double ou = lw.offset[u] * scale;
            const double ov = lw.offset[v] * scale;
            cu = arcAbsolute_ ? (lw.hasOffset[u] ? ou : su) : su + ou;
            cv = arcAbsolute_ ? (lw.hasOffset[v] ? ov : sv) : sv + ov;
        }
        const double r0 = std::hypot(su - cu, sv - cv);
        const double r1 = std::hypot(eu - cu, ev - cv);
        if (r0 == 0.0) {
            Fail("arc centre coincides with its start point");
        }
        if (std::fabs(r0 - r1) > 0.005 + 1e-3 * r0) {
            Fail("arc end point is " + FormatNumber(std::fabs(r0 - r1)) +
                 " mm off the circle through its start point");
        }
        InputPiece piece;
        piece.kind = InputPiece::Kind::Arc;
        piece.firstLine = line_;
        piece.lastLine = line_;
        piece.arc.start = pos_;
        piece.arc.end = target;
        piece.arc.center = pos_;
        Coord(piece.arc.center, u) = cu;
        Coord(piece.arc.center, v) = cv;
        CheckRange(piece.arc.center);
        piece.arc.plane = plane_;
        piece.arc.clockwise = clockwise;
        piece.arc.radius = r0;
        piece.arc.sweep = Sweep(su, sv, eu, ev, cu, cv, clockwise);
        program_.pieces.push_back(std::move(piece));
        lastMoveLine_ = line_;
    }

    InputProgram program_;
    InputPiece current_;
    bool inPolyline_ = false;
    Point3 pos_;
    int motion_ = -1;
    int plane_ = 17;
    bool inches_ = false;
    bool relative_ = false;
    bool arcAbsolute_ = false;
    int line_ = 0;
    int lastMoveLine_ = 0;
};

}  // namespace

InputError::InputError(const std::string& file, int line, const std::string& problem)
    : std::runtime_error(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " +
                         problem),
      file_(file),
      line_(line),
      problem_(problem) {}

int InputProgram::polylineCount() const {
    return static_cast<int>(std::count_if(pieces.begin(), pieces.end(), [](const InputPiece& p) {
        return p.kind == InputPiece::Kind::Polyline;
    }));
}

int InputProgram::arcCount() const {
    return static_cast<int>(pieces.size()) - polylineCount();
}

long InputProgram::segmentCount() const {
    long n = 0;
    for (const InputPiece& p : pieces) {
        if (p.kind == InputPiece::Kind::Polyline && !p.points.empty()) {
            n += static_cast<long>(p.points.size()) - 1;
        }
    }
    return n;
}

bool HasGcodeExtension(const std::string& path) {
    const size_t dot = path.find_last_of('.');
    const size_t slash = path.find_last_of("/\\");
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
        return false;
    }
    const std::string ext = Lower(path.substr(dot));
    return ext == ".nc" || ext == ".ngc" || ext == ".gcode" || ext == ".tap";
}

InputProgram ReadGcode(std::istream& in, const std::string& name) {
    GcodeReader reader(name);
    std::string text;
    int line = 0;
    while (std::getline(in, text)) {
        ++line;
        if (!text.empty() && text.back() == '\r') {
            text.pop_back();
        }
        reader.ReadLine(text, line);
    }
    if (in.bad()) {
        throw InputError(name, 0, "read error");
    }
    return reader.Finish();
}

InputProgram ReadPointFile(std::istream& in, const std::string& name) {
    InputProgram program;
    program.name = name;
    program.gcode = false;
    InputPiece piece;
    piece.kind = InputPiece::Kind::Polyline;
    std::string text;
    int line = 0;
    while (std::getline(in, text)) {
        ++line;
        const size_t hash = text.find('#');
        if (hash != std::string::npos) {
            text.erase(hash);
        }
        std::istringstream fields(text);
        std::vector<std::string> tokens;
        std::string token;
        while (fields >> token) {
            tokens.push_back(token);
        }
        if (tokens.empty()) {
            continue;
        }
        if (tokens.size() != 3) {
            throw InputError(name, line,
                             "expected three numbers 'x y z', found " +
                                 std::to_string(tokens.size()) + " fields");
        }
        double v[3];
        for (int k = 0; k < 3; ++k) {
            const char* s = tokens[k].c_str();
            char* end = nullptr;
            v[k] = std::strtod(s, &end);
            if (end == s || *end != '\0') {
                throw InputError(name, line, "malformed number '" + tokens[k] + "'");
            }
            if (!std::isfinite(v[k])) {
                throw InputError(name, line, "number '" + Shown(tokens[k]) + "' is not finite");
            }
            if (!(std::fabs(v[k]) <= kMaxCoordinate)) {
                throw InputError(name, line,
                                 "coordinate " + FormatNumber(v[k]) + " is out of range (at most " +
                                     FormatNumber(kMaxCoordinate) + " from the origin)");
            }
        }
        const Point3 p{v[0], v[1], v[2]};
        if (piece.points.empty()) {
            piece.firstLine = line;
        }
        if (piece.points.empty() || !SamePoint(piece.points.back(), p)) {
            piece.points.push_back(p);
            piece.lines.push_back(line);
        }
        piece.lastLine = line;
    }
    if (in.bad()) {
        throw InputError(name, 0, "read error");
    }
    if (piece.points.size() >= 2) {
        program.pieces.push_back(std::move(piece));
    }
    return program;
}

InputProgram ReadPathFile(const std::string& path, InputFormat format) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw InputError(path, 0, "cannot open the file");
    }
    const bool gcode =
        format == InputFormat::Gcode || (format == InputFormat::Auto && HasGcodeExtension(path));
    return gcode ? ReadGcode(in, path) : ReadPointFile(in, path);
}

}  // namespace ydpath
