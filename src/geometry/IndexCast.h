// SPDX-License-Identifier: MIT

#pragma once

// Internal (not installed): the one conversion from the library's int indices and counts to
// the unsigned positions of std::vector, so that index arithmetic reads as arithmetic.

#include <cstddef>
#include <type_traits>

namespace yd_detail {

/// i as a container position: exactly static_cast<std::size_t>(i), for an integer of any
/// type. The conversion is applied to the value as given, so idx(i + 1) converts the int sum
/// while idx(i) + 1 adds in std::size_t; callers write the one they mean.
template <class Int>
constexpr std::size_t idx(Int i) {
    static_assert(std::is_integral<Int>::value, "idx takes an integer index");
    return static_cast<std::size_t>(i);
}

}  // namespace yd_detail
