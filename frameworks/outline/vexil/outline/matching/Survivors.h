// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: which of the rows that stay must move.
#pragma once

#include <cstddef>
#include <vector>

namespace vexil::detail {

/// Rows that stay in a level, in their new order, as runs of neighbours: they stood side by side
/// before, and do so now.
struct Run {
  std::size_t now;
  std::size_t old;
  std::size_t count;
  bool moves = false;
};

/// The rows of a level that stay. They must be added in their new order.
class Survivors {
 public:
  void add(std::size_t now, std::size_t old, std::size_t count = 1) {
    if (count == 0) {
      return;
    }
    if (!_runs.empty() && _runs.back().now + _runs.back().count == now &&
        _runs.back().old + _runs.back().count == old) {
      _runs.back().count += count;
    } else {
      _isInOrder = _isInOrder && (_runs.empty() || _runs.back().old < old);
      _runs.push_back({now, old, count});
    }
  }
  /// Adds others, which need be in no order among those that are there.
  void merge(Survivors others);

  /// Whether a row was added more than once.
  [[nodiscard]] bool isAnyTwice() const;

  /// Marks the runs that move: as few rows as possible, so that the others are in order.
  void decideWhoMoves();

  [[nodiscard]] const std::vector<Run>& runs() const noexcept { return _runs; }
  /// Whether none has to move.
  [[nodiscard]] bool areInOrder() const noexcept { return _isInOrder; }

 private:
  std::vector<Run> _runs;
  bool _isInOrder = true;
};

}  // namespace vexil::detail
