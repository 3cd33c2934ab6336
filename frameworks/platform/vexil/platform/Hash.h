// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace vexil::platform {

/// The hash of a text's bytes. Keys and string values have this hash.
///
/// Like every hash of texts, numbers and values it depends on random numbers of this process, so
/// that nobody outside can construct texts that collide. The next process has other hashes: nothing
/// that is shown, stored or sent may depend on them.
[[nodiscard]] std::size_t hashOfText(std::string_view text) noexcept;

/// For unordered containers of texts, in place of `std::hash`, for which anyone can compute
/// collisions.
struct HashOfText {
  using is_transparent = void;
  // Not noexcept, because then the standard library keeps the hashes with the elements.
  // NOLINTNEXTLINE(modernize-use-noexcept)
  std::size_t operator()(std::string_view text) const { return hashOfText(text); }
};

}  // namespace vexil::platform
