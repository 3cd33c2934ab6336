// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowState.h>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace vexil {

/// A plain copy of an outline's rows that knows nothing of the tree. It begins empty, as an outline
/// does, and follows it by applying its updates: in another thread, another process, a test.
class OutlineCopy {
 public:
  OutlineCopy();

  /// Applies all steps of an update in their order. Throws what `apply` of a step throws; the steps
  /// before it stay applied.
  void apply(const OutlineUpdate& update);
  /// Applies one step. Throws `RangeError`, with nothing changed, when the step does not fit: there
  /// are no such rows, a row is not the one that the step names (rows are compared by number), a
  /// number is taken, a row would move into itself, or the step contradicts itself. `rowCount` is
  /// not looked at.
  void apply(const OutlineStep& step);

  /// How many rows there are, without the top.
  [[nodiscard]] std::size_t rowCount() const noexcept { return _rows.size() - 1; }
  [[nodiscard]] bool contains(RowNumber row) const { return _rows.contains(row); }

  /// These throw `RangeError` when there is no such row. The top is 0.
  [[nodiscard]] const RowState& state(RowNumber row) const;
  [[nodiscard]] RowNumber parent(RowNumber row) const;  ///< the top has itself
  [[nodiscard]] const std::vector<RowNumber>& children(RowNumber row) const;

  /// The rows as text, one line a row, two spaces deeper at each of the first 64 levels; see
  /// docs/outline.md.
  [[nodiscard]] std::string description() const;

 private:
  struct Row {
    RowState state;
    RowNumber parent = 0;
    std::vector<RowNumber> children;
  };
  struct HashOfNumber {
    std::size_t operator()(RowNumber number) const noexcept;
  };
  using Rows = std::unordered_map<RowNumber, Row, HashOfNumber>;
  class Application;
  [[nodiscard]] const Row& row(RowNumber number) const;

  Rows _rows;
};

}  // namespace vexil
