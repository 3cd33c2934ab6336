// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace vexil::platform {

/// A set of positions in a list, kept as runs of neighbours: {0, 2, 3, 4} is the runs 0-0 and 2-4,
/// so a change of a million rows in a row is one run.
///
/// Adding in ascending order takes constant time; asking for a position is logarithmic in the
/// number of runs. No list has a position SIZE_MAX, and adding it raises `RangeError`.
class IndexSet {
 public:
  /// `count` positions from `first` on; never empty.
  struct Run {
    std::size_t first;
    std::size_t count;
    [[nodiscard]] std::size_t end() const noexcept { return first + count; }
    bool operator==(const Run&) const = default;
  };

  IndexSet() = default;
  IndexSet(std::initializer_list<std::size_t> indexes);

  /// The positions from `first` up to but not including `end`; empty when there are none.
  static IndexSet range(std::size_t first, std::size_t end);

  /// Adds one position; nothing happens when it is already there.
  void insert(std::size_t index) {
    if (!_runs.empty() && _runs.back().end() == index && index != SIZE_MAX) {
      ++_runs.back().count;
      ++_count;
    } else {
      insertAnywhere(index);
    }
  }

  [[nodiscard]] bool contains(std::size_t index) const noexcept;
  [[nodiscard]] bool empty() const noexcept { return _runs.empty(); }

  /// How many positions there are.
  [[nodiscard]] std::size_t count() const noexcept { return _count; }

  /// The smallest and the largest position; absent in an empty set.
  [[nodiscard]] std::optional<std::size_t> first() const noexcept;
  [[nodiscard]] std::optional<std::size_t> last() const noexcept;

  /// The runs in ascending order; no two of them touch.
  [[nodiscard]] const std::vector<Run>& runs() const noexcept { return _runs; }

  /// Calls `visit(index)` for each position in ascending order.
  template <class Visit>
  void forEach(Visit&& visit) const {
    for (const Run& run : _runs) {
      for (std::size_t index = run.first; index < run.end(); ++index) {
        visit(index);
      }
    }
  }

  /// `{0, 2-4}`: runs of two or more as first and last.
  [[nodiscard]] std::string description() const;

  bool operator==(const IndexSet&) const = default;

 private:
  void insertAnywhere(std::size_t index);

  std::vector<Run> _runs;
  std::size_t _count = 0;
};

}  // namespace vexil::platform
