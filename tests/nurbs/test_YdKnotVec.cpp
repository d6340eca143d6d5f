// SPDX-License-Identifier: MIT

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "YdNurbsLib/nurbs/YdKnotVec.h"

namespace {

using Knots = std::vector<double>;

YdKnotVec Make(const Knots& k) {
    YdKnotVec v;
    v.SetKnots(k);
    return v;
}

std::string Str(const Knots& k) {
    std::string s = "[";
    for (std::size_t i = 0; i < k.size(); ++i) {
        s += (i ? ", " : "") + std::to_string(k[i]);
    }
    return s + "]";
}

::testing::AssertionResult KnotsNear(const Knots& got, const Knots& want, double tol) {
    if (got.size() != want.size()) {
        return ::testing::AssertionFailure() << "size " << got.size() << " != " << want.size()
                                             << ": got " << Str(got) << " want " << Str(want);
    }
    for (std::size_t i = 0; i < got.size(); ++i) {
        if (!(std::fabs(got[i] - want[i]) <= tol)) {
            return ::testing::AssertionFailure()
                   << "knot " << i << ": " << got[i] << " vs " << want[i] << "; got " << Str(got);
        }
    }
    return ::testing::AssertionSuccess();
}

bool NonDecreasing(const Knots& k) {
    return std::is_sorted(k.begin(), k.end());
}

// Independent span search: the last span start at or below u, with the end and out-of-range
// rules of the library.
int LinearSpan(const Knots& U, int p, double u) {
    const int high = static_cast<int>(U.size()) - p - 1;
    if (u == U[high]) {
        return high - 1;
    }
    if (u < U[p]) {
        return p;
    }
    if (u > U[high]) {
        return high - 1;
    }
    int span = p;
    for (int i = p; i < high; ++i) {
        if (U[i] <= u) {
            span = i;
        }
    }
    return span;
}

// A clamped vector on [0, 1] of the given degree with interior knots from a coarse grid, so
// that repeated interior knots (up to multiplicity `maxMult`) occur often.
Knots RandomClamped(std::mt19937& rng, int p, int interior, int maxMult) {
    std::uniform_int_distribution<int> grid(1, 9);
    std::vector<double> inner;
    std::map<int, int> mult;
    while (static_cast<int>(inner.size()) < interior) {
        const int g = grid(rng);
        if (mult[g] < maxMult) {
            ++mult[g];
            inner.push_back(g / 10.0);
        }
        if (static_cast<int>(mult.size()) == 9 &&
            std::all_of(mult.begin(), mult.end(), [&](auto& e) { return e.second >= maxMult; })) {
            break;
        }
    }
    std::sort(inner.begin(), inner.end());
    Knots U(static_cast<std::size_t>(p + 1), 0.0);
    U.insert(U.end(), inner.begin(), inner.end());
    U.insert(U.end(), static_cast<std::size_t>(p + 1), 1.0);
    return U;
}

std::map<double, int> Multiset(const Knots& k) {
    std::map<double, int> m;
    for (double v : k) {
        ++m[v];
    }
    return m;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Storage members

TEST(YdKnotVec, DefaultIsEmpty) {
    YdKnotVec v;
    EXPECT_EQ(v.GetCount(), 0);
    EXPECT_TRUE(v.GetKnots().empty());
}

TEST(YdKnotVec, CopyAndAssignCopyTheKnots) {
    YdKnotVec a = Make({0, 0, 1, 1});
    YdKnotVec b(a);
    YdKnotVec c;
    c = a;
    a.GetKnots()[1] = 0.5;
    EXPECT_EQ(b.GetKnots(), (Knots{0, 0, 1, 1}));
    EXPECT_EQ(c.GetKnots(), (Knots{0, 0, 1, 1}));
    const YdKnotVec& self = c;
    c = self;
    EXPECT_EQ(c.GetKnots(), (Knots{0, 0, 1, 1}));
}

TEST(YdKnotVec, SetKnotsKeepsOrderAsGiven) {
    YdKnotVec v;
    v.SetKnots({3, 1, 2});
    EXPECT_EQ(v.GetKnots(), (Knots{3, 1, 2}));
    EXPECT_EQ(v.GetCount(), 3);
    v.SetKnots(v.GetKnots());
    EXPECT_EQ(v.GetKnots(), (Knots{3, 1, 2}));
}

TEST(YdKnotVec, AllocateMemoryClearsToZeros) {
    YdKnotVec v = Make({5, 6, 7});
    v.AllocateMemory(5);
    EXPECT_EQ(v.GetKnots(), Knots(5, 0.0));
    v.AllocateMemory(0);
    EXPECT_EQ(v.GetCount(), 0);
}

TEST(YdKnotVec, AllocateMemoryNegativeLeavesEmpty) {
    YdKnotVec v = Make({5, 6, 7});
    v.AllocateMemory(-3);
    EXPECT_EQ(v.GetCount(), 0);
}

TEST(YdKnotVec, AddKnotAppendsWithoutOrderCheck) {
    YdKnotVec v = Make({0, 1});
    v.AddKnot(0.5);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 1, 0.5}));
}

TEST(YdKnotVec, InsertAfterPlacesBehindIndex) {
    YdKnotVec v = Make({0, 0, 1, 1});
    v.InsertAfter(1, 0.5);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0.5, 1, 1}));
    v.InsertAfter(-1, -1.0);
    EXPECT_EQ(v.GetKnots(), (Knots{-1, 0, 0, 0.5, 1, 1}));
    v.InsertAfter(5, 2.0);
    EXPECT_EQ(v.GetKnots(), (Knots{-1, 0, 0, 0.5, 1, 1, 2}));
}

TEST(YdKnotVec, InsertAfterOutOfRangeIndexIsClamped) {
    YdKnotVec v = Make({0, 1});
    v.InsertAfter(100, 2.0);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 1, 2}));
    v.InsertAfter(-100, -1.0);
    EXPECT_EQ(v.GetKnots(), (Knots{-1, 0, 1, 2}));
    YdKnotVec empty;
    empty.InsertAfter(3, 7.0);
    EXPECT_EQ(empty.GetKnots(), (Knots{7.0}));
}

// ---------------------------------------------------------------------------------------------
// FindSpan

TEST(YdKnotVecFindSpan, LastKnotFallsInLastNonEmptySpan) {
    const YdKnotVec v = Make({0, 0, 0, 0.3, 0.7, 1, 1, 1});
    const int p = 2;
    EXPECT_EQ(v.FindSpan(p, 1.0), v.GetCount() - p - 2);
    EXPECT_EQ(v.FindSpan(p, 1.0), 4);
}

TEST(YdKnotVecFindSpan, BelowFirstKnotReturnsDegree) {
    const YdKnotVec v = Make({0, 0, 0, 0, 0.3, 0.7, 1, 1, 1, 1});
    EXPECT_EQ(v.FindSpan(3, -0.5), 3);
    EXPECT_EQ(v.FindSpan(3, -1e300), 3);
    EXPECT_EQ(v.FindSpan(3, -std::numeric_limits<double>::infinity()), 3);
}

TEST(YdKnotVecFindSpan, BeyondLastKnotReturnsLastNonEmptySpan) {
    const YdKnotVec v = Make({0, 0, 0, 0, 0.3, 0.7, 1, 1, 1, 1});
    const int p = 3;
    EXPECT_EQ(v.FindSpan(p, 1.5), v.GetCount() - p - 2);
    EXPECT_EQ(v.FindSpan(p, 1e300), 5);
    EXPECT_EQ(v.FindSpan(p, std::numeric_limits<double>::infinity()), 5);
}

TEST(YdKnotVecFindSpan, RepeatedInteriorKnotGivesLastSpanStartingThere) {
    const YdKnotVec dbl = Make({0, 0, 0, 0, 0.5, 0.5, 1, 1, 1, 1});
    EXPECT_EQ(dbl.FindSpan(3, 0.5), 5);
    const YdKnotVec tri = Make({0, 0, 0, 0, 0.25, 0.5, 0.5, 0.5, 0.75, 1, 1, 1, 1});
    EXPECT_EQ(tri.FindSpan(3, 0.5), 7);
    EXPECT_EQ(tri.FindSpan(3, std::nextafter(0.5, 0.0)), 4);
}

TEST(YdKnotVecFindSpan, InteriorValues) {
    const YdKnotVec v = Make({0, 0, 0, 0.3, 0.7, 1, 1, 1});
    EXPECT_EQ(v.FindSpan(2, 0.0), 2);
    EXPECT_EQ(v.FindSpan(2, 0.1), 2);
    EXPECT_EQ(v.FindSpan(2, 0.3), 3);
    EXPECT_EQ(v.FindSpan(2, 0.5), 3);
    EXPECT_EQ(v.FindSpan(2, 0.7), 4);
    EXPECT_EQ(v.FindSpan(2, 0.99), 4);
}

TEST(YdKnotVecFindSpan, EndTestIsExact) {
    // Just below the last knot is an ordinary interior value of the last span.
    const YdKnotVec v = Make({0, 0, 0, 0.5, 1, 1, 1});
    EXPECT_EQ(v.FindSpan(2, std::nextafter(1.0, 0.0)), 3);
    EXPECT_EQ(v.FindSpan(2, std::nextafter(1.0, 2.0)), 3);
}

TEST(YdKnotVecFindSpan, NanEndsTheSearchAtTheFirstSpan) {
    const YdKnotVec v = Make({0, 0, 0, 0.3, 0.7, 1, 1, 1});
    EXPECT_EQ(v.FindSpan(2, std::numeric_limits<double>::quiet_NaN()), 2);
}

TEST(YdKnotVecFindSpan, SmallestValidVector) {
    // Degree 3, one segment: exactly 2 * (p + 1) knots.
    const YdKnotVec v = Make({0, 0, 0, 0, 1, 1, 1, 1});
    for (double u : {-1.0, 0.0, 0.25, 0.999, 1.0, 2.0}) {
        EXPECT_EQ(v.FindSpan(3, u), 3) << "at u = " << u;
    }
    const YdKnotVec lin = Make({0, 0, 1, 1});
    EXPECT_EQ(lin.FindSpan(1, 0.5), 1);
    EXPECT_EQ(lin.FindSpan(1, 1.0), 1);
    const YdKnotVec deg0 = Make({0, 0.5, 1});
    EXPECT_EQ(deg0.FindSpan(0, 0.25), 0);
    EXPECT_EQ(deg0.FindSpan(0, 0.5), 1);
    EXPECT_EQ(deg0.FindSpan(0, 1.0), 1);
}

TEST(YdKnotVecFindSpan, TooShortVectorReturnsClampedDegree) {
    EXPECT_EQ(YdKnotVec().FindSpan(3, 0.5), 0);
    EXPECT_EQ(Make({0, 0, 1, 1}).FindSpan(3, 0.5), 3);
    EXPECT_EQ(Make({0, 1}).FindSpan(3, 0.5), 1);
    EXPECT_EQ(Make({0, 0, 0, 1, 1, 1}).FindSpan(3, 1.0), 3);
    EXPECT_EQ(Make({0.5}).FindSpan(1, 0.5), 0);
}

TEST(YdKnotVecFindSpan, NegativeDegreeReturnsZero) {
    const YdKnotVec v = Make({0, 0, 0, 0.5, 1, 1, 1});
    EXPECT_EQ(v.FindSpan(-1, 0.5), 0);
    EXPECT_EQ(v.FindSpan(std::numeric_limits<int>::min(), 0.5), 0);
    EXPECT_EQ(v.FindSpan(std::numeric_limits<int>::max(), 0.5), 6);
}

TEST(YdKnotVecFindSpan, UnsortedVectorStaysInRange) {
    // No ordering is enforced; the search must still end inside the vector.
    const YdKnotVec v = Make({1, 0, 5, -2, 3, 9, -1, 0, 4, 2});
    for (int p = 0; p <= 4; ++p) {
        for (double u : {-10.0, -1.0, 0.0, 1.0, 2.5, 4.0, 100.0}) {
            const int s = v.FindSpan(p, u);
            EXPECT_GE(s, p) << "p = " << p << ", u = " << u;
            EXPECT_LE(s, v.GetCount() - p - 2) << "p = " << p << ", u = " << u;
        }
    }
}

TEST(YdKnotVecFindSpan, AgreesWithLinearScanOnRandomClampedVectors) {
    std::mt19937 rng(12345);
    std::uniform_real_distribution<double> uni(-0.3, 1.3);
    for (int trial = 0; trial < 2000; ++trial) {
        const int p = 1 + trial % 5;
        const int interior = static_cast<int>(rng() % 14);
        const Knots U = RandomClamped(rng, p, interior, p);
        const YdKnotVec v = Make(U);
        std::vector<double> us(U.begin(), U.end());
        for (std::size_t i = 0; i + 1 < U.size(); ++i) {
            us.push_back(0.5 * (U[i] + U[i + 1]));
            us.push_back(std::nextafter(U[i], -1.0));
            us.push_back(std::nextafter(U[i], 2.0));
        }
        for (int r = 0; r < 10; ++r) {
            us.push_back(uni(rng));
        }
        us.push_back(-5.0);
        us.push_back(7.0);
        for (double u : us) {
            ASSERT_EQ(v.FindSpan(p, u), LinearSpan(U, p, u))
                << "at u = " << u << ", p = " << p << ", knots " << Str(U);
        }
    }
}

TEST(YdKnotVecFindSpan, AgreesWithLinearScanOnRandomSortedVectors) {
    // Not clamped, arbitrary multiplicities: the search still finds the last span start at or
    // below u for every u inside the range.
    std::mt19937 rng(777);
    std::uniform_int_distribution<int> grid(0, 6);
    for (int trial = 0; trial < 2000; ++trial) {
        const int p = trial % 4;
        const int count = 2 * (p + 1) + static_cast<int>(rng() % 10);
        Knots U(static_cast<std::size_t>(count));
        for (double& k : U) {
            k = grid(rng);
        }
        std::sort(U.begin(), U.end());
        const YdKnotVec v = Make(U);
        for (double u = -1.0; u <= 7.0; u += 0.25) {
            ASSERT_EQ(v.FindSpan(p, u), LinearSpan(U, p, u))
                << "at u = " << u << ", p = " << p << ", knots " << Str(U);
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Merge

TEST(YdKnotVecMerge, WithItselfInsertsNothing) {
    YdKnotVec v = Make({0, 0, 0, 0, 0.2, 0.5, 0.5, 0.8, 1, 1, 1, 1});
    const Knots before = v.GetKnots();
    v.Merge(v, 3);
    EXPECT_EQ(v.GetKnots(), before);
    const YdKnotVec copy = v;
    v.Merge(copy, 3);
    EXPECT_EQ(v.GetKnots(), before);
}

TEST(YdKnotVecMerge, KnotsWithinToleranceCountAsEqual) {
    YdKnotVec v = Make({0, 0, 0, 0.5, 1, 1, 1});
    v.Merge(Make({0, 0, 0, 0.5 + 5e-8, 1, 1, 1}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0.5, 1, 1, 1}));
    v.Merge(Make({-9e-8, -9e-8, -9e-8, 0.5 - 9e-8, 1 + 9e-8, 1 + 9e-8, 1 + 9e-8}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0.5, 1, 1, 1}));
}

TEST(YdKnotVecMerge, KnotsBeyondToleranceAreInserted) {
    YdKnotVec v = Make({0, 0, 0, 0.5, 1, 1, 1});
    v.Merge(Make({0, 0, 0, 0.5 + 3e-7, 1, 1, 1}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0.5, 0.5 + 3e-7, 1, 1, 1}));
}

TEST(YdKnotVecMerge, MultiplicitiesCount) {
    YdKnotVec v = Make({0, 0, 0, 0.5, 1, 1, 1});
    v.Merge(Make({0, 0, 0, 0.5, 0.5, 1, 1, 1}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0.5, 0.5, 1, 1, 1}));
}

TEST(YdKnotVecMerge, InsertsMissingInteriorKnotsInOrder) {
    YdKnotVec v = Make({0, 0, 0, 0, 0.5, 1, 1, 1, 1});
    v.Merge(Make({0, 0, 0, 0, 0.25, 0.75, 0.9, 1, 1, 1, 1}), 3);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.25, 0.5, 0.75, 0.9, 1, 1, 1, 1}));
}

TEST(YdKnotVecMerge, KnotBeyondRangeGoesBeforeTheEndKnots) {
    // Each kept knot goes to FindSpan + 1 of the growing vector; beyond the range that is the
    // slot before the clamped end.
    YdKnotVec v = Make({0, 0, 0, 1, 1, 1});
    v.Merge(Make({0, 0, 0, 2, 2, 2}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 2, 2, 2, 1, 1, 1}));
}

TEST(YdKnotVecMerge, IntoEmptyOrShortVectorKeepsSortedOrder) {
    YdKnotVec v;
    v.Merge(Make({0, 0, 0.5, 1, 1}), 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0.5, 1, 1}));
    YdKnotVec w = Make({0.5});
    w.Merge(Make({0, 1, 1}), 3);
    EXPECT_EQ(w.GetKnots(), (Knots{0, 0.5, 1, 1}));
    YdKnotVec neg = Make({0, 0, 1, 1});
    neg.Merge(Make({0, 0, 0.25, 1, 1}), -2);
    EXPECT_EQ(neg.GetKnots(), (Knots{0, 0, 0.25, 1, 1}));
}

TEST(YdKnotVecMerge, EmptyOtherInsertsNothing) {
    YdKnotVec v = Make({0, 0, 0.5, 1, 1});
    v.Merge(YdKnotVec(), 1);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0.5, 1, 1}));
}

TEST(YdKnotVecMerge, RandomUnionProperties) {
    std::mt19937 rng(4242);
    for (int trial = 0; trial < 500; ++trial) {
        const int p = 1 + trial % 4;
        const Knots A = RandomClamped(rng, p, static_cast<int>(rng() % 10), p);
        const Knots B = RandomClamped(rng, p, static_cast<int>(rng() % 10), p);
        YdKnotVec ab = Make(A);
        ab.Merge(Make(B), p);
        YdKnotVec ba = Make(B);
        ba.Merge(Make(A), p);
        const Knots& r = ab.GetKnots();
        ASSERT_TRUE(NonDecreasing(r)) << Str(r);
        // The union keeps each knot with the larger of its two multiplicities.
        std::map<double, int> want = Multiset(A);
        for (const auto& e : Multiset(B)) {
            want[e.first] = std::max(want[e.first], e.second);
        }
        ASSERT_EQ(Multiset(r), want) << "A " << Str(A) << " B " << Str(B);
        ASSERT_EQ(ba.GetKnots(), r) << "A " << Str(A) << " B " << Str(B);
        // Merging again changes nothing.
        YdKnotVec again = ab;
        again.Merge(Make(B), p);
        again.Merge(Make(A), p);
        ASSERT_EQ(again.GetKnots(), r);
    }
}

// ---------------------------------------------------------------------------------------------
// Normalize

TEST(YdKnotVecNormalize, MapsOntoUnitInterval) {
    YdKnotVec v = Make({2, 2, 3, 4, 4});
    v.Normalize();
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0.5, 1, 1}));
}

TEST(YdKnotVecNormalize, NegativeRange) {
    YdKnotVec v = Make({-3, -3, -2, 1, 1});
    v.Normalize();
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0.25, 1, 1}, 1e-15));
}

TEST(YdKnotVecNormalize, ZeroLengthRangeLeavesKnotsUnchanged) {
    YdKnotVec v = Make({2, 2, 2, 2});
    v.Normalize();
    EXPECT_EQ(v.GetKnots(), (Knots{2, 2, 2, 2}));
    YdKnotVec one = Make({5});
    one.Normalize();
    EXPECT_EQ(one.GetKnots(), (Knots{5}));
}

TEST(YdKnotVecNormalize, EmptyStaysEmpty) {
    YdKnotVec v;
    v.Normalize();
    EXPECT_EQ(v.GetCount(), 0);
}

// ---------------------------------------------------------------------------------------------
// InterpolateFix

TEST(YdKnotVecInterpolateFix, OpenFourParamsCubic) {
    YdKnotVec v;
    v.InterpolateFix({0, 0.3, 0.7, 1}, 3, false);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 1, 1, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, OpenFourParamsQuadratic) {
    YdKnotVec v;
    v.InterpolateFix({0, 0.3, 0.7, 1}, 2, false);
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, 0.5, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecInterpolateFix, OpenAveragesConsecutiveParameters) {
    const std::vector<double> t = {0, 0.1, 0.3, 0.6, 0.8, 1};
    YdKnotVec v;
    v.InterpolateFix(t, 3, false);
    EXPECT_TRUE(KnotsNear(v.GetKnots(),
                          {0, 0, 0, 0, (0.1 + 0.3 + 0.6) / 3, (0.3 + 0.6 + 0.8) / 3, 1, 1, 1, 1},
                          1e-15));
    // The vector is replaced, not appended to.
    v.InterpolateFix({0, 1}, 1, false);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, OpenUsesParameterRangeAsIs) {
    YdKnotVec v;
    v.InterpolateFix({2, 3, 5, 6}, 2, false);
    EXPECT_EQ(v.GetKnots(), (Knots{2, 2, 2, 4, 6, 6, 6}));
}

TEST(YdKnotVecInterpolateFix, ClosedUsesParametersThemselves) {
    YdKnotVec v;
    v.InterpolateFix({0, 0.25, 0.5, 0.75, 1}, 3, true);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.25, 0.5, 0.75, 1, 1, 1, 1}));
    // m + p - 1 control points.
    EXPECT_EQ(v.GetCount() - 3 - 1, 5 + 3 - 1);
}

TEST(YdKnotVecInterpolateFix, ClosedTwoParams) {
    YdKnotVec v;
    v.InterpolateFix({0, 1}, 1, true);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, BothEndDerivatives) {
    std::vector<int> idx = {0, 4};
    YdKnotVec v = Make({9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9});
    v.InterpolateFix({0, 0.25, 0.5, 0.75, 1}, 3, idx);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.25, 0.5, 0.75, 1, 1, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, EndDerivativeOnly) {
    std::vector<int> idx = {4};
    YdKnotVec v;
    v.InterpolateFix({0, 0.25, 0.5, 0.75, 1}, 3, idx);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.5, 0.75, 1, 1, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, StartDerivativeOnly) {
    std::vector<int> idx = {0};
    YdKnotVec v;
    v.InterpolateFix({0, 0.25, 0.5, 0.75, 1}, 3, idx);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.25, 0.5, 1, 1, 1, 1}));
}

TEST(YdKnotVecInterpolateFix, EmptyDerivativeListGivesOpenKnots) {
    const std::vector<double> t = {0, 0.1, 0.3, 0.6, 0.8, 1};
    std::vector<int> none;
    YdKnotVec v;
    v.InterpolateFix(t, 3, none);
    YdKnotVec open;
    open.InterpolateFix(t, 3, false);
    EXPECT_EQ(v.GetKnots(), open.GetKnots());
}

TEST(YdKnotVecInterpolateFix, TooManyDerivativeIndicesStayInRange) {
    std::vector<int> idx = {0, 2, 4};
    YdKnotVec v;
    v.InterpolateFix({0, 0.25, 0.5, 0.75, 1}, 3, idx);
    EXPECT_EQ(v.GetCount(), 5 + 3 + 3 + 1);
    EXPECT_TRUE(NonDecreasing(v.GetKnots())) << Str(v.GetKnots());
    EXPECT_EQ(v.GetKnots().front(), 0.0);
    EXPECT_EQ(v.GetKnots().back(), 1.0);
}

TEST(YdKnotVecInterpolateFix, FewerParametersThanOrder) {
    YdKnotVec v;
    v.InterpolateFix({0, 1}, 3, false);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 1, 1}));
    std::vector<int> two = {0, 1};
    v.InterpolateFix({0, 1}, 3, two);
    EXPECT_EQ(v.GetCount(), 2 + 2 + 3 + 1);
    EXPECT_TRUE(NonDecreasing(v.GetKnots())) << Str(v.GetKnots());
    std::vector<int> one = {1};
    v.InterpolateFix({0, 0.5, 1}, 3, one);
    EXPECT_EQ(v.GetCount(), 3 + 1 + 3 + 1);
    EXPECT_TRUE(NonDecreasing(v.GetKnots())) << Str(v.GetKnots());
    v.InterpolateFix({0.5}, 3, true);
    EXPECT_EQ(v.GetCount(), 1 + 6);
}

TEST(YdKnotVecInterpolateFix, NoParametersOrBadDegreeLeaveEmpty) {
    std::vector<int> idx = {0};
    YdKnotVec v = Make({1, 2, 3});
    v.InterpolateFix({}, 3, false);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.InterpolateFix({}, 3, true);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.InterpolateFix({}, 3, idx);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.InterpolateFix({0, 0.5, 1}, 0, false);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.InterpolateFix({0, 0.5, 1}, -2, idx);
    EXPECT_EQ(v.GetCount(), 0);
}

// ---------------------------------------------------------------------------------------------
// ApproximateFix

TEST(YdKnotVecApproximateFix, UniformParameters) {
    std::vector<double> t;
    for (int i = 0; i < 10; ++i) {
        t.push_back(i / 9.0);
    }
    YdKnotVec v;
    v.ApproximateFix(t, 5, 3);
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, 0, 0.5, 1, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecApproximateFix, GroupEndIsTruncationOfHalfUp) {
    // m = 6, n = 4: positions 0.5, 2, 3.5, 5 end the groups at 1, 2, 4, 5 (a rounding to even
    // would end the first group at 0).
    YdKnotVec v;
    v.ApproximateFix({0, 0.2, 0.3, 0.5, 0.7, 1}, 4, 2);
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, (0.3 + 0.6) / 2, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecApproximateFix, SingletonGroupsUseTheParameter) {
    // m = 7, n = 5: groups [0], [1, 2], [3], [4, 5], [6].
    YdKnotVec v;
    v.ApproximateFix({0, 0.1, 0.2, 0.4, 0.6, 0.7, 1}, 5, 2);
    EXPECT_TRUE(
        KnotsNear(v.GetKnots(), {0, 0, 0, (0.15 + 0.4) / 2, (0.4 + 0.65) / 2, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecApproximateFix, EqualCountGivesAveragingKnots) {
    const std::vector<double> t = {0, 0.1, 0.3, 0.6, 0.8, 1};
    YdKnotVec v;
    v.ApproximateFix(t, 6, 3);
    YdKnotVec w;
    w.InterpolateFix(t, 3, false);
    EXPECT_TRUE(KnotsNear(v.GetKnots(), w.GetKnots(), 1e-15));
}

TEST(YdKnotVecApproximateFix, KnotsAlwaysInUnitInterval) {
    // Parameters inside [0, 1] but not spanning it: the ends are still 0 and 1.
    std::vector<double> inner;
    for (int i = 0; i < 40; ++i) {
        inner.push_back(0.2 + 0.4 * i / 39.0);
    }
    YdKnotVec v;
    v.ApproximateFix(inner, 8, 3);
    EXPECT_EQ(v.GetKnots().front(), 0.0);
    EXPECT_EQ(v.GetKnots().back(), 1.0);
    for (double k : v.GetKnots()) {
        EXPECT_GE(k, 0.0);
        EXPECT_LE(k, 1.0);
    }
    // Parameters on another range altogether.
    std::vector<double> far;
    for (int i = 0; i < 40; ++i) {
        far.push_back(3.0 + 4.0 * i / 39.0);
    }
    v.ApproximateFix(far, 8, 3);
    EXPECT_EQ(v.GetCount(), 12);
    EXPECT_TRUE(NonDecreasing(v.GetKnots())) << Str(v.GetKnots());
    for (double k : v.GetKnots()) {
        EXPECT_GE(k, 0.0);
        EXPECT_LE(k, 1.0);
    }
}

TEST(YdKnotVecApproximateFix, RandomParametersGiveValidClampedVectors) {
    std::mt19937 rng(99);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    for (int trial = 0; trial < 300; ++trial) {
        const int p = 1 + trial % 5;
        const int n = p + 1 + static_cast<int>(rng() % 20);
        const int m = n + static_cast<int>(rng() % 200);
        std::vector<double> t(static_cast<std::size_t>(m));
        for (double& x : t) {
            x = uni(rng);
        }
        std::sort(t.begin(), t.end());
        t.front() = 0.0;
        t.back() = 1.0;
        YdKnotVec v;
        v.ApproximateFix(t, n, p);
        const Knots& U = v.GetKnots();
        ASSERT_EQ(v.GetCount(), n + p + 1);
        ASSERT_TRUE(NonDecreasing(U)) << Str(U);
        for (int i = 0; i <= p; ++i) {
            ASSERT_EQ(U[static_cast<std::size_t>(i)], 0.0);
            ASSERT_EQ(U[static_cast<std::size_t>(n + i)], 1.0);
        }
    }
}

TEST(YdKnotVecApproximateFix, FewerParametersThanControlPoints) {
    YdKnotVec v;
    v.ApproximateFix({0, 0.5, 1}, 8, 3);
    ASSERT_EQ(v.GetCount(), 12);
    EXPECT_TRUE(NonDecreasing(v.GetKnots())) << Str(v.GetKnots());
    for (int i = 0; i <= 3; ++i) {
        EXPECT_EQ(v.GetKnots()[static_cast<std::size_t>(i)], 0.0);
        EXPECT_EQ(v.GetKnots()[static_cast<std::size_t>(8 + i)], 1.0);
    }
    v.ApproximateFix({0.4}, 6, 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0.4, 0.4, 0.4, 1, 1, 1}));
}

TEST(YdKnotVecApproximateFix, NoParametersLeaveInteriorAtZero) {
    YdKnotVec v;
    v.ApproximateFix({}, 5, 2);
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0, 1, 1, 1}));
}

TEST(YdKnotVecApproximateFix, BadCountOrDegreeLeavesEmpty) {
    YdKnotVec v = Make({1, 2});
    v.ApproximateFix({0, 0.5, 1}, 0, 3);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2});
    v.ApproximateFix({0, 0.5, 1}, -4, 3);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2});
    v.ApproximateFix({0, 0.5, 1}, 3, 0);
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2});
    v.ApproximateFix({0, 0.5, 1}, std::numeric_limits<int>::max(), 3);
    EXPECT_EQ(v.GetCount(), 0);
}

// ---------------------------------------------------------------------------------------------
// makeBasis

TEST(YdKnotVecMakeBasis, CubicWithoutConstraints) {
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.4, 0.6, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, CubicBothEnds) {
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {0, 5});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.2, 0.4, 0.6, 0.8, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, CubicStartOnly) {
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {0});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.2, 0.4, 0.6, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, CubicEndOnly) {
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {5});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.4, 0.6, 0.8, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, InteriorConstraintDoublesItsKnot) {
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {2});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.4, 0.4, 0.6, 1, 1, 1, 1}));
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {0, 3, 5});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.2, 0.4, 0.6, 0.6, 0.8, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, CursorStopsAtEndOfConstraintList) {
    // The last constraint sits on the last doubled knot: the cursor reaches the end of the list
    // inside the doubling loop and must not read past it.
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {3});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.4, 0.6, 0.6, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, LinearBothEndsEqualMidpointsFallBackToThirds) {
    YdKnotVec v;
    v.makeBasis({0, 1}, 1, {0, 1});
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 1.0 / 3.0, 2.0 / 3.0, 1, 1}, 1e-15));
}

TEST(YdKnotVecMakeBasis, LinearBothEndsMidpoints) {
    YdKnotVec v;
    v.makeBasis({0, 0.5, 1}, 1, {0, 2});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0.25, 0.5, 0.75, 1, 1}));
}

TEST(YdKnotVecMakeBasis, QuadraticThreePoints) {
    YdKnotVec v;
    v.makeBasis({0, 0.5, 1}, 2, {});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, QuadraticStartConstraintSpacesTowardsNeighbour) {
    // Even degree with a constrained start: one knot at front + (params[1] - front) / 2.
    YdKnotVec v;
    v.makeBasis({0, 0.4, 0.6, 1}, 2, {0});
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, 0.2, 0.8, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecMakeBasis, QuadraticMidpoints) {
    // The surplus last midpoint is overwritten by the back knots.
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 2, {});
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, 0.3, 0.5, 0.7, 1, 1, 1}, 1e-15));
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 2, {2});
    EXPECT_TRUE(KnotsNear(v.GetKnots(), {0, 0, 0, 0.3, 0.5, 0.5, 0.7, 1, 1, 1}, 1e-15));
}

TEST(YdKnotVecMakeBasis, ConstraintWithoutOwnKnotLeavesSlotAtZero) {
    // Point 1 of a cubic with a free start writes no interior knot, so there is nothing to
    // double and the last interior slot keeps its fill value.
    YdKnotVec v;
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {1});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.4, 0.6, 0, 1, 1, 1, 1}));
    // With the start constrained, point 1 writes its knot and doubles it.
    v.makeBasis({0, 0.2, 0.4, 0.6, 0.8, 1}, 3, {0, 1});
    EXPECT_EQ(v.GetKnots(), (Knots{0, 0, 0, 0, 0.2, 0.2, 0.4, 0.6, 1, 1, 1, 1}));
}

TEST(YdKnotVecMakeBasis, BadConstraintListsStayInRange) {
    const std::vector<double> t = {0, 0.1, 0.3, 0.6, 0.8, 1};
    const std::vector<std::vector<int>> lists = {
        {3, 3, 3, 3, 3}, {5, 4, 3, 2, 1, 0}, {-7, 100}, {2, 2, 3, 3, 4, 4}, {0, 0, 0, 5, 5}};
    for (int p = 0; p <= 6; ++p) {
        for (const auto& idx : lists) {
            YdKnotVec v;
            v.makeBasis(t, p, idx);
            ASSERT_EQ(v.GetCount(), 6 + static_cast<int>(idx.size()) + p + 1) << "p = " << p;
            EXPECT_EQ(v.GetKnots().front(), 0.0);
            EXPECT_EQ(v.GetKnots().back(), 1.0);
        }
    }
}

TEST(YdKnotVecMakeBasis, HighDegreeForFewPointsStaysInRange) {
    for (int p = 0; p <= 9; ++p) {
        YdKnotVec v;
        v.makeBasis({0, 0.5, 1}, p, {0, 2});
        ASSERT_EQ(v.GetCount(), 3 + 2 + p + 1) << "p = " << p;
        v.makeBasis({0, 1}, p, {});
        ASSERT_EQ(v.GetCount(), 2 + p + 1) << "p = " << p;
    }
}

TEST(YdKnotVecMakeBasis, TooFewParametersOrNegativeDegreeLeaveEmpty) {
    YdKnotVec v = Make({1, 2, 3});
    v.makeBasis({0.5}, 3, {0});
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.makeBasis({}, 3, {});
    EXPECT_EQ(v.GetCount(), 0);
    v = Make({1, 2, 3});
    v.makeBasis({0, 0.5, 1}, -1, {});
    EXPECT_EQ(v.GetCount(), 0);
}
