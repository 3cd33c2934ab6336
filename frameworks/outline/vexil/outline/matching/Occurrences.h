// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: tells apart siblings with equal identifiers.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace vexil::detail {

/// Numbers the occurrences of each identity among siblings: 0 for the first, 1 for the second.
/// `hashes` has the hash of each, `areEqual(i, j)` compares two. The result is empty when all are
/// 0, which takes a few nanoseconds an identifier to find out.
class Occurrences {
 public:
  [[nodiscard]] static std::vector<std::uint32_t> number(
      const std::vector<std::uint64_t>& hashes,
      const std::function<bool(std::size_t, std::size_t)>& areEqual);
};

}  // namespace vexil::detail
