// SPDX-License-Identifier: MIT

#pragma once

// Turns a fuzzer's byte string into the numbers, points and choices a target needs, and checks
// the library's documented results.
//
// Coordinates are finite and bounded (|x| <= 1e4, and 0 or |x| >= 1e-100) unless the input
// asks for non-finite ones: the contracts allow overflow for huge input, and a check that
// fails on an overflow the contract permits would find nothing. Within the bound, the encoding
// favours what breaks geometry code: exact repeats, grid values (collinear and coincident
// points), near-repeats a few ulps or 1e-9 apart, and arbitrary doubles.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <YdNurbsLib/YdNurbsLib.h>

// Reports a broken promise and aborts, so that libFuzzer records the input.
#define FUZZ_CHECK(cond, ...)                                                             \
    do {                                                                                  \
        if (!(cond)) {                                                                    \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
            std::fprintf(stderr, __VA_ARGS__);                                            \
            std::fprintf(stderr, "\n");                                                   \
            std::abort();                                                                 \
        }                                                                                 \
    } while (false)

namespace ydfuzz {

class FuzzInput {
  public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool Empty() const { return pos_ >= size_; }
    /// The next byte, 0 once the input is used up (so every input decodes to something).
    std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    bool Bool() { return (Byte() & 1) != 0; }
    /// An integer in [lo, hi].
    int Int(int lo, int hi) {
        const unsigned span = static_cast<unsigned>(hi - lo) + 1u;
        const unsigned v = (static_cast<unsigned>(Byte()) << 8) | Byte();
        return lo + static_cast<int>(v % span);
    }
    /// A value in [0, 1] on a grid of 1/65535, with 0 and 1 themselves likely.
    double Unit() {
        const unsigned v = (static_cast<unsigned>(Byte()) << 8) | Byte();
        return static_cast<double>(v) / 65535.0;
    }
    /// Whether Coord may give NaN and infinities (chosen once per input by the target).
    void AllowNonFinite(bool on) { allowNonFinite_ = on; }
    /// True once a non-finite coordinate has been handed out.
    bool SawNonFinite() const { return sawNonFinite_; }

    /// A coordinate or length (see the file comment).
    double Coord() {
        const std::uint8_t tag = Byte();
        double v = 0.0;
        switch (tag % 8) {
            case 0:
            case 1:
            case 2:
                v = static_cast<std::int8_t>(Byte()) * 0.25;  // a coarse grid
                break;
            case 3:
                v = static_cast<std::int16_t>((Byte() << 8) | Byte()) / 64.0;
                break;
            case 4:
                v = Raw();
                break;
            case 5:
                v = last_ + static_cast<std::int8_t>(Byte()) * 1e-9;  // a near-repeat
                break;
            case 6:
                v = std::nextafter(last_, static_cast<std::int8_t>(Byte()) < 0 ? -1e300 : 1e300);
                break;
            default:
                v = NonFiniteOr(static_cast<std::int8_t>(Byte()) * 100.0);
                break;
        }
        if (std::fabs(v) < 1e-100) {
            v = 0.0;  // below any length unit; quotients of such values overflow
        }
        if (std::isfinite(v)) {
            last_ = v;
        } else {
            sawNonFinite_ = true;
        }
        return v;
    }
    YdPoint Point() {
        const double x = Coord();
        const double y = Coord();
        const double z = Coord();
        return YdPoint(x, y, z);
    }
    YdVector Vector() {
        const double x = Coord();
        const double y = Coord();
        const double z = Coord();
        return YdVector(x, y, z);
    }
    /// Up to maxCount points; the count comes first.
    std::vector<YdPoint> Points(int maxCount) {
        const int n = Int(0, maxCount);
        std::vector<YdPoint> pts;
        pts.reserve(static_cast<std::size_t>(n));
        for (int i = 0; i < n && !Empty(); ++i) {
            pts.push_back(Point());
        }
        return pts;
    }

  private:
    // Eight bytes as a double, folded into the bound when it is finite.
    double Raw() {
        std::uint64_t bits = 0;
        for (int i = 0; i < 8; ++i) {
            bits = (bits << 8) | Byte();
        }
        double v = 0.0;
        std::memcpy(&v, &bits, sizeof v);
        if (!std::isfinite(v)) {
            return NonFiniteOr(0.0);
        }
        return std::fabs(v) <= 1e4 ? v : std::fmod(v, 1e4);
    }
    double NonFiniteOr(double finite) {
        if (!allowNonFinite_) {
            return finite;
        }
        static const double kOdd[] = {NAN, INFINITY, -INFINITY};
        return kOdd[Byte() % 3];
    }

    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
    double last_ = 0.0;
    bool allowNonFinite_ = false;
    bool sawNonFinite_ = false;
};

inline bool Finite(const YdPoint& p) {
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}
inline bool Finite(const YdVector& v) {
    return std::isfinite(v[0]) && std::isfinite(v[1]) && std::isfinite(v[2]);
}
inline bool AllFinite(const std::vector<YdPoint>& pts) {
    for (const YdPoint& p : pts) {
        if (!Finite(p)) {
            return false;
        }
    }
    return true;
}
inline bool NonDecreasing(const std::vector<double>& v) {
    for (std::size_t i = 1; i < v.size(); ++i) {
        if (!(v[i - 1] <= v[i])) {
            return false;
        }
    }
    return true;
}
/// Bitwise equality of two points' coordinates (NaN equals NaN), for "left untouched" checks.
inline bool Same(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
inline bool Same(const YdPoint& a, const YdPoint& b) {
    return Same(a[0], b[0]) && Same(a[1], b[1]) && Same(a[2], b[2]);
}

/// Knots non-decreasing and control points finite: what a curve built by the library from
/// finite input must satisfy. `what` names the factory in the report.
inline void CheckBuiltCurve(const YdBSplineCurve& c, const char* what) {
    const std::vector<double>& k = c.KnotVec().GetKnots();
    FUZZ_CHECK(NonDecreasing(k), "%s: knots decrease", what);
    for (double u : k) {
        FUZZ_CHECK(std::isfinite(u), "%s: knot %g", what, u);
    }
    for (const YdPoint& p : c.CtrlPoints()) {
        FUZZ_CHECK(Finite(p), "%s: control point (%g, %g, %g)", what, p[0], p[1], p[2]);
    }
}

/// True when the curve is one the construction routines could have built: degree >= 1, a
/// clamped non-decreasing finite knot vector (p + 1 equal knots at each end, interior knots of
/// multiplicity at most p, so no span of zero length reaches an end) with count = control
/// points + degree + 1, and finite control points. The shape-keeping promises of knot editing
/// are checked only on such curves.
inline bool WellFormed(const YdBSplineCurve& c) {
    const int p = c.Degree();
    const std::vector<double>& k = c.KnotVec().GetKnots();
    const int n = c.GetNumOfCtrlPnts();
    if (p < 1 || n < p + 1 || static_cast<int>(k.size()) != n + p + 1) {
        return false;
    }
    if (!NonDecreasing(k) || !AllFinite(c.CtrlPoints())) {
        return false;
    }
    for (double u : k) {
        if (!std::isfinite(u)) {
            return false;
        }
    }
    const std::size_t q = static_cast<std::size_t>(p);
    for (std::size_t i = 1; i <= q; ++i) {
        if (k[i] != k[0] || k[k.size() - 1 - i] != k.back()) {
            return false;
        }
    }
    if (!(k[q] < k[q + 1]) || !(k[k.size() - 2 - q] < k.back())) {
        return false;  // an end knot repeated more than p + 1 times
    }
    for (std::size_t i = q + 1; i + q < k.size(); ++i) {
        if (k[i - q] == k[i]) {
            return false;  // an interior knot of multiplicity above p
        }
    }
    return true;
}

}  // namespace ydfuzz
