// SPDX-License-Identifier: MIT

#pragma once

// The third stage of smoothing: makes a join at every vertex where two elements meet with a
// change of direction. Two lines get a tangent arc (the corner arc filter), a line and a curve a
// transition curve, two curves a bridging cubic; each cuts its neighbours back. A join is
// accepted only when the deviation measure finds it, with what is left of its neighbours, within
// the corner tolerance of the input, and when it turns no more than the input there; otherwise
// it is made smaller and tried again. Near-reversals, and corners where nothing small enough
// can be made, are kept as sharp stops, which are exact.

#include <functional>
#include <memory>
#include <vector>

#include "Deviation.h"
#include "Join.h"
#include "SmoothOptions.h"
#include "WorkElement.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace ydpath {

class Joiner {
  public:
    /// `points`, `options` and `meter` must outlive the joiner.
    Joiner(const std::vector<YdPoint>& points, const SmoothOptions& options,
           const DeviationMeter& meter);

    /// The elements with a join element inserted wherever one was made; `joins` receives one
    /// entry per vertex between two elements, its `element` the index of the join element in
    /// the returned list. `done`, when given, is called with the vertex reached.
    std::vector<WorkElement> JoinAll(std::vector<WorkElement> work, std::vector<Join>& joins,
                                     const std::function<void(int)>& done) const;

  private:
    struct Remainder;
    struct Candidate;

    JoinKind MakeJoin(WorkElement& a, WorkElement& b, double turn, double budgetA, double budgetB,
                      WorkElement& out) const;
    bool JoinLines(WorkElement& a, WorkElement& b, double budgetA, double budgetB,
                   WorkElement& out) const;
    bool JoinWithCurve(WorkElement& a, WorkElement& b, double turn, double budgetA, double budgetB,
                       WorkElement& out) const;
    bool MakeCandidate(const WorkElement& a, const WorkElement& b, double cut, double budgetA,
                       double budgetB, Candidate& c) const;
    bool MeetsBothSides(const WorkElement& a, const WorkElement& b, const Candidate& c) const;
    Remainder Before(const WorkElement& a, const YdPoint& lineEnd, double uCut) const;
    Remainder After(const WorkElement& b, const YdPoint& lineStart, double uCut) const;
    bool Accept(const Shape& join, const Remainder& a, const Remainder& b) const;

    const std::vector<YdPoint>& p_;
    const SmoothOptions& opt_;
    const DeviationMeter& meter_;
};

}  // namespace ydpath
