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
            continue;
        }
        if (c == ';') {
            break;
        }
        if (c == '(') {
            const size_t close = text.find(')', i + 1);
            if (close == std::string::npos) {
                throw InputError(file, line, "comment '(' is not closed on this line");
            }
            i = close + 1;
            continue;
        }
        if (c == '#' || c == '[' || c == ']' || c == '=' || c == '<') {
            throw InputError(file, line,
                             std::string("parameters and expressions ('") + c +
                                 "') are not supported; expand them into plain numbers first");
        }
        if (!std::isalpha(static_cast<unsigned char>(c))) {
            throw InputError(file, line, std::string("unexpected character '") + c + "'");
        }
        const char letter = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        ++i;
        while (i < n && (text[i] == ' ' || text[i] == '\t')) {
            ++i;
        }
        // The number: an optional sign, then digits and at most one decimal point.
        const size_t start = i;
        if (i < n && (text[i] == '+' || text[i] == '-')) {
            ++i;
        }
        size_t digits = 0;
        size_t dots = 0;
        while (i < n && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.')) {
            if (text[i] == '.') {
                ++dots;
            } else {
                ++digits;
            }
            ++i;
        }
        const std::string token = text.substr(start, i - start);
        if (token.empty() && i < n && (text[i] == '#' || text[i] == '[')) {
            throw InputError(file, line,
                             std::string("parameters and expressions ('") + text[i] +
                                 "') are not supported; expand them into plain numbers first");
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
            size_t j = i;
            while (j < n && !std::isspace(static_cast<unsigned char>(text[j])) && text[j] != '(' &&
                   text[j] != ';') {
                shown += text[j];
                ++j;
            }
            throw InputError(
                file, line, std::string("malformed number '") + shown + "' after '" + letter + "'");
        }
        words.push_back({letter, std::strtod(token.c_str(), nullptr)});
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

class GcodeReader {
  public:
    GcodeReader(const std::string& name) {
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

        int motion = -1;  // motion G-code on this line, times ten
        bool breakPath = false;
        bool setPosition = false;
        bool hasAxis[3] = {false, false, false};
        double axis[3] = {0.0, 0.0, 0.0};
        bool hasOffset[3] = {false, false, false};
        double offset[3] = {0.0, 0.0, 0.0};
        bool hasR = false;
        double r = 0.0;
        bool newInches = inches_;
        bool newRelative = relative_;
        bool newArcAbsolute = arcAbsolute_;
        int newPlane = plane_;

        for (const Word& w : words) {
            switch (w.letter) {
                case 'G': {
                    const int code = static_cast<int>(std::lround(w.value * 10.0));
                    switch (code) {
                        case 0:
                        case 10:
                        case 20:
                        case 30:
                            if (motion >= 0 && motion != code) {
                                Fail("two motion codes (G" + CodeText(motion) + " and G" +
                                     CodeText(code) + ") on one line");
                            }
                            motion = code;
                            break;
                        case 170:
                        case 180:
                        case 190:
                            newPlane = code / 10;
                            break;
                        case 200:
                            newInches = true;
                            break;
                        case 210:
                            newInches = false;
                            break;
                        case 900:
                            newRelative = false;
                            break;
                        case 910:
                            newRelative = true;
                            break;
                        case 901:
                            newArcAbsolute = true;
                            break;
                        case 911:
                            newArcAbsolute = false;
                            break;
                        case 280:
                        case 300:
                        case 530:
                            // Moves to a stored or machine position: the cut ends here, and the
                            // axis words of the line are not work coordinates.
                            breakPath = true;
                            break;
                        case 410:
                        case 420:
                            Warn(
                                "cutter compensation (G41/G42) is ignored: the programmed path "
                                "is smoothed as written");
                            break;
                        case 800:
                            motion_ = -1;
                            break;
                        case 920:
                            // The current position gets new coordinates; later moves are read
                            // in that frame.
                            setPosition = true;
                            breakPath = true;
                            break;
                        case 100:
                            // Offset tables: the axis words are data, not a move.
                            breakPath = true;
                            break;
                        default:
                            if (IsIgnoredGcode(code)) {
                                break;
                            }
                            if (code == 730 || code == 760 || (code >= 810 && code <= 890)) {
                                Fail("canned cycles (G" + CodeText(code) + ") are not supported");
                            }
                            Fail("unsupported G-code G" + CodeText(code));
                    }
                    break;
                }
                case 'X':
                case 'Y':
                case 'Z': {
                    const int k = w.letter - 'X';
                    if (hasAxis[k]) {
                        Fail(std::string("axis word ") + w.letter + " given twice on one line");
                    }
                    hasAxis[k] = true;
                    axis[k] = w.value;
                    break;
                }
                case 'I':
                case 'J':
                case 'K': {
                    const int k = w.letter - 'I';
                    if (hasOffset[k]) {
                        Fail(std::string("arc word ") + w.letter + " given twice on one line");
                    }
                    hasOffset[k] = true;
                    offset[k] = w.value;
                    break;
                }
                case 'R':
                    hasR = true;
                    r = w.value;
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
                    // Feeds, speeds, tools, M-codes, line numbers, dwell times and the like do
                    // not move the tool.
                    break;
            }
        }

        inches_ = newInches;
        relative_ = newRelative;
        arcAbsolute_ = newArcAbsolute;
        plane_ = newPlane;

        if (breakPath) {
            EndPolyline();
            if (setPosition) {
                const double scale = inches_ ? kInch : 1.0;
                if (hasAxis[0]) {
                    pos_.x = axis[0] * scale;
                }
                if (hasAxis[1]) {
                    pos_.y = axis[1] * scale;
                }
                if (hasAxis[2]) {
                    pos_.z = axis[2] * scale;
                }
            }
            if (motion >= 0) {
                motion_ = motion;
            }
            return;
        }
        if (motion >= 0) {
            motion_ = motion;
        }
        const bool anyAxis = hasAxis[0] || hasAxis[1] || hasAxis[2];
        const bool anyArcWord = hasOffset[0] || hasOffset[1] || hasOffset[2] || hasR;
        if (!anyAxis && !(anyArcWord && (motion_ == 20 || motion_ == 30))) {
            return;
        }
        if (motion_ < 0) {
            Fail("axis words without a motion mode (G0, G1, G2 or G3)");
        }
        const double scale = inches_ ? kInch : 1.0;
        Point3 target = pos_;
        double* t[3] = {&target.x, &target.y, &target.z};
        const double* p[3] = {&pos_.x, &pos_.y, &pos_.z};
        for (int k = 0; k < 3; ++k) {
            if (hasAxis[k]) {
                *t[k] = relative_ ? *p[k] + axis[k] * scale : axis[k] * scale;
            }
        }
        if (motion_ == 0) {
            EndPolyline();
            program_.rapids.push_back({pos_, target});
        } else if (motion_ == 10) {
            if (anyArcWord) {
                Fail("arc words (I, J, K, R) on a straight move");
            }
            AddLinear(target);
        } else {
            AddArc(target, hasOffset, offset, hasR, r * scale, scale);
        }
        pos_ = target;
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

    void AddArc(const Point3& target, const bool hasOffset[3], const double offset[3], bool hasR,
                double r, double scale) {
        EndPolyline();
        // In-plane axes (u, v) and the axis along the normal (w), so that u x v = w.
        int u = 0;
        int v = 1;
        int w = 2;
        if (plane_ == 18) {
            u = 2;
            v = 0;
            w = 1;
        } else if (plane_ == 19) {
            u = 1;
            v = 2;
            w = 0;
        }
        auto get = [](const Point3& p, int k) { return k == 0 ? p.x : (k == 1 ? p.y : p.z); };
        auto set = [](Point3& p, int k, double val) {
            (k == 0 ? p.x : (k == 1 ? p.y : p.z)) = val;
        };
        const double su = get(pos_, u);
        const double sv = get(pos_, v);
        const double eu = get(target, u);
        const double ev = get(target, v);
        const bool clockwise = motion_ == 20;
        double cu = 0.0;
        double cv = 0.0;
        if (hasR) {
            if (hasOffset[u] || hasOffset[v]) {
                Fail("arc given both by radius (R) and by centre (I, J, K)");
            }
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
            // The centre of a short clockwise arc lies to the right of the chord; a negative R
            // asks for the long way round.
            double side = clockwise ? -1.0 : 1.0;
            if (r < 0.0) {
                side = -side;
            }
            cu = (su + eu) / 2.0 - side * h * dv / chord;
            cv = (sv + ev) / 2.0 + side * h * du / chord;
        } else {
            if (!hasOffset[u] && !hasOffset[v]) {
                Fail("arc without a centre (I, J, K) or radius (R)");
            }
            const double ou = offset[u] * scale;
            const double ov = offset[v] * scale;
            if (arcAbsolute_) {
                cu = hasOffset[u] ? ou : su;
                cv = hasOffset[v] ? ov : sv;
            } else {
                cu = su + ou;
                cv = sv + ov;
            }
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
        const double a0 = std::atan2(sv - cv, su - cu);
        const double a1 = std::atan2(ev - cv, eu - cu);
        double sweep = clockwise ? a0 - a1 : a1 - a0;
        while (sweep <= 0.0) {
            sweep += 2.0 * kPi;
        }
        while (sweep > 2.0 * kPi) {
            sweep -= 2.0 * kPi;
        }
        if (eu == su && ev == sv) {
            sweep = 2.0 * kPi;
        }
        InputPiece piece;
        piece.kind = InputPiece::Kind::Arc;
        piece.firstLine = line_;
        piece.lastLine = line_;
        piece.arc.start = pos_;
        piece.arc.end = target;
        Point3 center = pos_;
        set(center, u, cu);
        set(center, v, cv);
        set(center, w, get(pos_, w));
        piece.arc.center = center;
        piece.arc.plane = plane_;
        piece.arc.clockwise = clockwise;
        piece.arc.radius = r0;
        piece.arc.sweep = sweep;
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
                throw InputError(name, line, "number '" + tokens[k] + "' is not finite");
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
