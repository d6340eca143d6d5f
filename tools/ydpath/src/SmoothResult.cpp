// SPDX-License-Identifier: MIT

#include "SmoothResult.h"

namespace ydpath {

int SmoothResult::count(ElementKind kind) const {
    int n = 0;
    for (const SmoothedPath& p : paths) {
        n += p.count(kind);
    }
    return n;
}

long SmoothResult::segmentsIn() const {
    long n = 0;
    for (const SmoothedPath& p : paths) {
        if (!p.programArc) {
            n += p.segmentsIn();
        }
    }
    return n;
}

int SmoothResult::stops() const {
    int n = 0;
    for (const SmoothedPath& p : paths) {
        n += p.count(JoinKind::Stop);
    }
    return n;
}

}  // namespace ydpath
