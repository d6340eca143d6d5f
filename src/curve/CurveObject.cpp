// SPDX-License-Identifier: MIT

#include <algorithm>
#include <utility>

#include "../geometry/IndexCast.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

using yd_detail::idx;

YdBSplineCurve::YdBSplineCurve() : m_degree(0), m_closed(false) {}

YdBSplineCurve::YdBSplineCurve(const YdPoint& pt) : m_degree(3), m_closed(true) {
    for (int i = 0; i < 4; ++i) {
        m_ctrlPnts.push_back(pt);
        m_fitPnts.push_back(pt);
    }
    // i / 4 in integer arithmetic: four zeros, then four ones.
    for (int i = 0; i < 8; ++i) {
        const double v = static_cast<double>(i / 4);
        m_knotVec.AddKnot(v);
        m_pointParams.push_back(v);
    }
}

YdBSplineCurve::YdBSplineCurve(const std::vector<YdPoint>& fitPnts, int degree, bool closed)
    : m_degree(degree), m_closed(closed), m_fitPnts(fitPnts) {}

YdBSplineCurve::YdBSplineCurve(const YdKnotVec& knots, const std::vector<YdPoint>& ctrlPnts,
                               int degree, bool closed)
    : m_degree(degree), m_ctrlPnts(ctrlPnts), m_knotVec(knots), m_closed(closed) {}

YdBSplineCurve::YdBSplineCurve(const YdBSplineCurve& other)
    : m_degree(other.m_degree),
      m_ctrlPnts(other.m_ctrlPnts),
      m_knotVec(other.m_knotVec),
      m_closed(other.m_closed),
      m_fitPnts(other.m_fitPnts),
      m_pointParams(other.m_pointParams) {}

YdBSplineCurve& YdBSplineCurve::operator=(const YdBSplineCurve& other) {
    if (this != &other) {
        m_degree = other.m_degree;
        m_ctrlPnts = other.m_ctrlPnts;
        m_knotVec = other.m_knotVec;
        m_closed = other.m_closed;
        m_fitPnts = other.m_fitPnts;
        m_pointParams = other.m_pointParams;
    }
    return *this;
}

YdBSplineCurve::~YdBSplineCurve() {}

double YdBSplineCurve::startParam() const {
    const std::vector<double>& U = m_knotVec.GetKnots();
    return U.empty() ? 0.0 : U.front();
}

double YdBSplineCurve::endParam() const {
    const std::vector<double>& U = m_knotVec.GetKnots();
    return U.empty() ? 0.0 : U.back();
}

void YdBSplineCurve::AllocateMemory(int degree, int numCtrlPnts, bool allocKnots) {
    m_degree = degree;
    m_ctrlPnts.clear();
    // Negative counts mean "none" rather than a container length error.
    m_ctrlPnts.resize(idx(std::max(0, numCtrlPnts)));
    if (allocKnots) {
        m_knotVec.AllocateMemory(std::max(0, degree + numCtrlPnts + 1));
    }
}

void YdBSplineCurve::DetermineKnotVector(bool interpolate) {
    if (interpolate) {
        // Always the open rule, whatever the closed flag says.
        m_knotVec.InterpolateFix(m_pointParams, m_degree, false);
    } else {
        m_knotVec.ApproximateFix(m_pointParams, GetNumOfCtrlPnts(), m_degree);
    }
}

void YdBSplineCurve::Transform(const YdMatrix& m) {
    for (YdPoint& p : m_ctrlPnts) {
        p = m * p;
    }
    for (YdPoint& p : m_fitPnts) {
        p = m * p;
    }
}

void YdBSplineCurve::Reverse() {
    const int n = GetNumOfCtrlPnts();
    for (int i = 1; i <= n / 2; ++i) {
        std::swap(m_ctrlPnts[idx(i - 1)], m_ctrlPnts[idx(n - i)]);
    }

    // A negative degree would index before the first knot.
    const int p = m_degree;
    if (p < 0) {
        return;
    }
    std::vector<double>& U = m_knotVec.GetKnots();
    const int count = static_cast<int>(U.size());
    // The bound N / 2 - p is kept as it is: with an even number of interior knots the last
    // pass swaps the middle pair back, and hosts rely on that result.
    for (int i = 1; i <= count / 2 - p; ++i) {
        const double a = U[idx(p + i)];
        U[idx(p + i)] = 1 - U[idx(count - p - i - 1)];
        U[idx(count - p - i - 1)] = 1 - a;
    }
}
