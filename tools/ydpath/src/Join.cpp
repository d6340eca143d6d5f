// SPDX-License-Identifier: MIT

#include "Join.h"

namespace ydpath {

const char* JoinKindName(JoinKind kind) {
    switch (kind) {
        case JoinKind::Tangent:
            return "tangent";
        case JoinKind::Arc:
            return "arc";
        case JoinKind::Transition:
            return "transition";
        case JoinKind::Bridge:
            return "bridge";
        case JoinKind::Stop:
            return "stop";
    }
    return "?";
}

}  // namespace ydpath
