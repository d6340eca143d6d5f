// SPDX-License-Identifier: MIT

#pragma once

// What happened at a vertex where two elements of the smoothed path meet.

namespace ydpath {

enum class JoinKind {
    Tangent,     ///< the elements already meet tangentially: nothing to do
    Arc,         ///< a tangent arc between two lines (the corner arc filter)
    Transition,  ///< a transition curve between a line and a curve
    Bridge,      ///< a bridging cubic between two curves
    Stop,        ///< kept sharp: a reversal, where no smooth path stays near the input
};

/// "tangent", "arc", "transition", "bridge" or "stop".
const char* JoinKindName(JoinKind kind);

struct Join {
    int vertex = -1;           ///< input vertex index
    double turnDegrees = 0.0;  ///< change of direction there before smoothing
    JoinKind kind = JoinKind::Tangent;
    int element = -1;  ///< index of the element made (Arc, Transition, Bridge), else -1
};

}  // namespace ydpath
