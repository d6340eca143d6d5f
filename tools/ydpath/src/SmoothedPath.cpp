// SPDX-License-Identifier: MIT

#include "SmoothedPath.h"

#include <algorithm>

namespace ydpath {

int SmoothedPath::count(ElementKind kind) const {
    return static_cast<int>(std::count_if(elements.begin(), elements.end(),
                                          [kind](const Element& e) { return e.kind == kind; }));
}

int SmoothedPath::count(JoinKind kind) const {
    return static_cast<int>(std::count_if(joins.begin(), joins.end(),
                                          [kind](const Join& j) { return j.kind == kind; }));
}

}  // namespace ydpath
