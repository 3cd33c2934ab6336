// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace vexil::platform {

/// A set of indexes of a list, kept as ranges of neighbours. {0, 2, 3, 4} has two ranges: 0-0 and
/// 2-4. So a change of a million neighbouring rows is one range.
///
/// Adding in ascending order takes constant time. Looking for an index is logarithmic in the number
/// of ranges. No list has an index SIZE_MAX: adding it throws `RangeError`.
class IndexSet {
 public:
  /// `count` neighbouring indexes, beginning with `first`; never empty.
  struct Range {
    std::size_t first;
    std::size_t count;
    [[nodiscard]] std::size_t end() const noexcept { return first + count; }
    bool operator==(const Range&) const = default;
  };

  IndexSet() = default;
  IndexSet(std::initializer_list<std::size_t> indexes);

  /// The indexes from `first` up to but not including `end`; empty when `first` is not below `end`.
  static IndexSet range(std::size_t first, std::size_t end);

  /// Adds one index; nothing happens when it is already there. Throws `RangeError` for SIZE_MAX.
  void insert(std::size_t index) {
    if (!_ranges.empty() && _ranges.back().end() == index && index != SIZE_MAX) {
      ++_ranges.back().count;
      ++_count;
    } else {
      insertAnywhere(index);
    }
  }

  [[nodiscard]] bool contains(std::size_t index) const noexcept;
  [[nodiscard]] bool empty() const noexcept { return _ranges.empty(); }

  /// How many indexes there are.
  [[nodiscard]] std::size_t count() const noexcept { return _count; }

  /// The smallest and the largest index; absent in an empty set.
  [[nodiscard]] std::optional<std::size_t> first() const noexcept;
  [[nodiscard]] std::optional<std::size_t> last() const noexcept;

  /// The ranges in ascending order; no two of them touch.
  [[nodiscard]] const std::vector<Range>& ranges() const noexcept { return _ranges; }

  /// Calls `visit(index)` for each index in ascending order.
  template <class Visit>
  void forEach(Visit&& visit) const {
    for (const Range& range : _ranges) {
      for (std::size_t index = range.first; index < range.end(); ++index) {
        visit(index);
      }
    }
  }

  /// `{0, 2-4}`: a range of two or more is printed as its first and last index.
  [[nodiscard]] std::string description() const;

  bool operator==(const IndexSet&) const = default;

 private:
  void insertAnywhere(std::size_t index);

  std::vector<Range> _ranges;
  std::size_t _count = 0;
};

}  // namespace vexil::platform
