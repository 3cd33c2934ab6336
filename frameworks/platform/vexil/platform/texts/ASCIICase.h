// SPDX-License-Identifier: Apache-2.0
// Internal: compares names of protocols, in which the case of ASCII letters does not matter.
#pragma once

#include <algorithm>
#include <string_view>

namespace vexil::platform::detail {

constexpr bool equalIgnoringASCIICase(std::string_view a, std::string_view b) noexcept {
  constexpr auto lower = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                : character;
  };
  return std::ranges::equal(a, b, {}, lower, lower);
}

}  // namespace vexil::platform::detail
