// SPDX-License-Identifier: MIT

// Evaluation sits on the hot paths of point inversion, curvature and the path filters; this
// program replaces the global allocation functions with counting ones and checks that
// repeated evaluations allocate nothing.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <random>
#include <vector>

#include "YdAllocationCounter.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"
#include "YdNurbsLib/nurbs/YdKnotVec.h"
#include "YdNurbsLib/nurbs/YdNurbsHelper.h"

namespace {

YdBSplineCurve MakeCurve(int degree, int numCtrl) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    std::vector<double> k(static_cast<size_t>(degree + 1), 0.0);
    for (int i = 1; i < numCtrl - degree; ++i) {
        k.push_back(static_cast<double>(i) / (numCtrl - degree));
    }
    k.insert(k.end(), static_cast<size_t>(degree + 1), 1.0);
    YdKnotVec kv;
    kv.SetKnots(k);
    std::vector<YdPoint> pts;
    for (int i = 0; i < numCtrl; ++i) {
        pts.emplace_back(uni(rng), uni(rng), uni(rng));
    }
    return YdBSplineCurve(kv, pts, degree, false);
}

}  // namespace

TEST(EvaluateNoAlloc, CountingAllocatorSeesAllocations) {
    // Guards the guard: the replacement functions must really be the ones in use.
    const long before = ydtest::g_allocationCount.load();
    std::vector<double>* v = new std::vector<double>(100, 1.0);
    delete v;
    EXPECT_GE(ydtest::g_allocationCount.load() - before, 2);
}

TEST(EvaluateNoAlloc, PointEvaluationAllocatesNothing) {
    for (int degree : {1, 2, 3, 5, 15}) {
        const YdBSplineCurve c = MakeCurve(degree, 40);
        double sink = 0.0;
        const long before = ydtest::g_allocationCount.load();
        for (int i = 0; i <= 1000; ++i) {
            sink += c.Evaluate(i / 1000.0)[0];
        }
        EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0) << "degree " << degree;
        EXPECT_TRUE(sink == sink);
    }
}

TEST(EvaluateNoAlloc, DerivativeEvaluationWithAReusedListAllocatesNothing) {
    for (int degree : {2, 3, 5}) {
        const YdBSplineCurve c = MakeCurve(degree, 40);
        std::vector<YdVector> derivs;
        YdPoint pt;
        c.Evaluate(0.5, 2, pt, derivs);  // sizes the list once
        double sink = 0.0;
        const long before = ydtest::g_allocationCount.load();
        for (int i = 0; i <= 1000; ++i) {
            c.Evaluate(i / 1000.0, 2, pt, derivs);
            sink += pt[0] + derivs[1][2];
        }
        // Orders above the degree come back as zero vectors without allocation as well.
        c.Evaluate(0.25, 2, pt, derivs);
        EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0) << "degree " << degree;
        EXPECT_TRUE(sink == sink);
    }
}

TEST(EvaluateNoAlloc, BasisFunctionsWithReusedRowsAllocateNothing) {
    const YdBSplineCurve c = MakeCurve(3, 40);
    std::vector<std::vector<double>> ders;
    int span = -1;
    YdNurbsHelper::GetBasisFunctionValue(c.KnotVec(), 3, 2, 0.5, ders, span);
    double sink = 0.0;
    const long before = ydtest::g_allocationCount.load();
    for (int i = 0; i <= 1000; ++i) {
        YdNurbsHelper::GetBasisFunctionValue(c.KnotVec(), 3, 2, i / 1000.0, ders, span);
        sink += ders[2][1];
    }
    EXPECT_EQ(ydtest::g_allocationCount.load() - before, 0);
    EXPECT_TRUE(sink == sink);
}
