// SPDX-License-Identifier: Apache-2.0
// Names of protocols are compared without regard to the case of ASCII letters: internal.
#pragma once

#include <algorithm>
#include <string_view>

namespace vexil::platform::detail {

constexpr bool differInASCIICaseAtMost(std::string_view a, std::string_view b) noexcept {
  constexpr auto lower = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                : character;
  };
  return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace vexil::platform::detail
