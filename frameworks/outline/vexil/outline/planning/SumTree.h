// SPDX-License-Identifier: Apache-2.0
// Internal to the outline.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexil::detail {

/// A Fenwick tree: counts marked elements before any position in logarithmic time.
class SumTree {
 public:
  SumTree() = default;
  SumTree(std::size_t count, bool areMarked) : _sums(count + 1) {
    for (std::size_t i = 1; areMarked && i <= count; ++i) {
      _sums[i] = static_cast<std::uint32_t>(i & (~i + 1));
    }
  }

  void mark(std::size_t index) {
    for (std::size_t i = index + 1; i < _sums.size(); i += i & (~i + 1)) {
      ++_sums[i];
    }
  }
  void unmark(std::size_t index) {
    for (std::size_t i = index + 1; i < _sums.size(); i += i & (~i + 1)) {
      --_sums[i];
    }
  }
  /// How many of the first `count` elements are marked.
  [[nodiscard]] std::size_t countOfFirst(std::size_t count) const {
    std::size_t sum = 0;
    for (std::size_t i = count; i > 0; i -= i & (~i + 1)) {
      sum += _sums[i];
    }
    return sum;
  }

 private:
  std::vector<std::uint32_t> _sums;
};

}  // namespace vexil::detail
