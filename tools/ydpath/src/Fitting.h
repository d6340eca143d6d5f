// SPDX-License-Identifier: MIT

#pragma once

// The second stage of smoothing: fits every curve run with cubics that stay within the
// tolerance of their part of the input both ways round (as the deviation measure says) and turn
// no more than the input does. When a fit is not close enough the fit points are densified,
// first by the curve fit filter's own densifying and then along every chord of the input; when
// no fit of the whole run is, the run is split at its sharpest kink (or in the middle) and both
// parts are fitted, the second leaving with the first one's end tangent where it can. A run too
// short to split stays a chain of lines, whose corners the join stage rounds.

#include <functional>
#include <memory>
#include <vector>

#include "Deviation.h"
#include "Segmentation.h"
#include "SmoothOptions.h"
#include "WorkElement.h"
#include "YdNurbsLib/curve/YdBSplineCurve.h"

namespace ydpath {

/// The line from input vertex first to last (the vertices between lie near it).
WorkElement MakeLineElement(const std::vector<YdPoint>& points, int first, int last);

class RunFitter {
  public:
    /// `points`, `options` and `meter` must outlive the fitter.
    RunFitter(const std::vector<YdPoint>& points, const SmoothOptions& options,
              const DeviationMeter& meter);

    /// The elements of all runs in order: lines for line runs, curves (or, where no curve is
    /// close enough, lines) for curve runs. `done`, when given, is called with the last vertex
    /// fitted so far.
    std::vector<WorkElement> FitRuns(const std::vector<Run>& runs,
                                     const std::function<void(int)>& done);

  private:
    enum class Method {
        Continuation,       // leaving with the previous curve's end tangent
        CloseContinuation,  // the same, its points aimed at half the squared tolerance
        Plain,              // the run's points
        FilterDensified,    // the curve fit filter's densifying of long gaps
        Chords2,            // a point added in the middle of every chord
        Chords4,            // three points added on every chord
    };
    enum class Verdict { Accepted, TooFar, Loops };

    void Fit(int first, int last, const YdBSplineCurve* previous, std::vector<WorkElement>& out);
    std::unique_ptr<YdBSplineCurve> Attempt(Method method, int first, int last,
                                            const YdBSplineCurve* previous) const;
    bool FitByCount(Method method, int first, int last, WorkElement& w);
    Verdict Judge(std::unique_ptr<YdBSplineCurve> curve, int first, int last, WorkElement& w) const;
    bool FitWhole(int first, int last, const YdBSplineCurve* previous,
                  const std::vector<Method>& methods, std::vector<WorkElement>& out);
    void FitParts(int first, int mid, int last, std::vector<WorkElement>& out);
    int KinkVertex(int first, int last) const;
    double ChordBulge(int first, int last) const;
    bool HasLongGap(int first, int last) const;
    void AddLines(int first, int last, std::vector<WorkElement>& out) const;

    const std::vector<YdPoint>& p_;
    const SmoothOptions& opt_;
    const DeviationMeter& meter_;
    // Control points per fit point of the last accepted fit of each kind: the next guess.
    double countRatio_[6] = {0.5, 0.5, 0.5, 0.5, 0.5, 0.5};
};

}  // namespace ydpath
