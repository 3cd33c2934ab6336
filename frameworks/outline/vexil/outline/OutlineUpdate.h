// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/outline/RowState.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vexil {

/// What differs between two states of a row; a bit mask.
enum class RowAspects : unsigned {
  none = 0,
  label = 1,
  enabled = 2,
  supportsEnabled = 4,
  group = 8,
  expandable = 16,
  representedObject = 32,
};
constexpr RowAspects operator|(RowAspects a, RowAspects b) {
  return static_cast<RowAspects>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool contains(RowAspects aspects, RowAspects part) {
  return (static_cast<unsigned>(aspects) & static_cast<unsigned>(part)) != 0;
}

/// One key of a record whose value changed. A value is absent where the record lacks the key.
struct KeyChange {
  platform::Key key;
  platform::Value oldValue;
  platform::Value newValue;
};

/// A row before and after it changed.
struct RowChange {
  RowState before;
  RowState after;

  [[nodiscard]] RowAspects aspects() const;
  /// The keys whose values differ, if both represented objects are dictionaries: first those of the
  /// old one in its order, then those that only the new one has. Empty otherwise. Compares values,
  /// so it may ask objects of a host.
  [[nodiscard]] std::vector<KeyChange> changedKeys() const;

  friend bool operator==(const RowChange&, const RowChange&) = default;
};

/// A row that appears, with the number of its children that appear with it.
struct InsertedRow {
  RowState state;
  std::size_t childCount = 0;

  friend bool operator==(const InsertedRow&, const InsertedRow&) = default;
};

/// One step of an update: something happens to neighbouring rows of one parent. The indexes are
/// right for the rows as they are when all steps before it have been applied.
struct OutlineStep {
  enum class Kind : std::uint8_t { removed, inserted, moved, changed };

  Kind kind = Kind::changed;

  /// The number of the parent row; 0 is the top. For `moved`, that of the parent before.
  RowNumber parent = 0;
  /// The index of the first row: before the step; for `inserted`, after it.
  std::size_t first = 0;
  /// How many neighbouring rows of this parent; never 0.
  std::size_t count = 0;

  /// For `moved`: the parent afterwards, and the index of the first row afterwards.
  RowNumber newParent = 0;
  std::size_t newFirst = 0;

  /// For `inserted`: the rows with all rows below them, each before those below it.
  std::vector<InsertedRow> inserted = {};
  /// For `removed`: the `count` rows as they were; what is below them goes too. For `moved`: the
  /// `count` rows as they were; what is below them moves with them.
  std::vector<RowState> rows = {};
  /// For `moved` to another parent: the occurrences of the `count` rows there, and who is above
  /// them before and afterwards: the rows from the first level down to the parent. Empty otherwise.
  std::vector<std::uint32_t> newOccurrences = {};
  std::vector<RowState> above = {};
  std::vector<RowState> newAbove = {};
  /// For `changed`: the `count` rows.
  std::vector<RowChange> changes = {};
  /// How many rows it concerns, with all rows below those that are inserted or removed. For a move,
  /// as for a change: `count`.
  std::size_t rowCount = 0;

  friend bool operator==(const OutlineStep&, const OutlineStep&) = default;
};

/// A refresh as a value: what has to be done to the rows of an outline, step by step, so that they
/// are those of the tree.
///
/// First come rows that are removed, then rows that move, then rows that are inserted, then rows
/// that change. There are two exceptions: a parent that other rows move into is inserted before
/// that, and a parent that other rows move out of is removed after that.
///
/// Neighbours come as one step. As few rows as possible move.
class OutlineUpdate {
 public:
  /// An update of nothing.
  OutlineUpdate() = default;
  OutlineUpdate(std::vector<OutlineStep> steps, std::size_t rowsAfterwards)
      : _steps(std::move(steps)), _rowsAfterwards(rowsAfterwards) {}

  [[nodiscard]] const std::vector<OutlineStep>& steps() const noexcept { return _steps; }
  [[nodiscard]] bool isEmpty() const noexcept { return _steps.empty(); }

  /// How many rows the steps concern: the sum of their `rowCount`.
  [[nodiscard]] std::size_t rowsTouched() const noexcept;
  /// How many rows there are afterwards: what it would have cost to show everything anew.
  [[nodiscard]] std::size_t rowsAfterwards() const noexcept { return _rowsAfterwards; }

  /// The update as text, one line a step and one line a row below it; see docs/outline.md.
  [[nodiscard]] std::string description() const;
  /// The same, with values as `print` prints them. What it prints must not have line breaks.
  [[nodiscard]] std::string description(
      const std::function<std::string(const platform::Value&)>& print) const;

  /// The update as a property list: a dictionary. What a property list cannot hold, such as a
  /// reference to an object or the null marker, stands in it as text.
  [[nodiscard]] platform::Value propertyList() const;
  /// Reads an update back. Absent when `propertyList` is no update: a part is missing, of another
  /// type or out of range. An update without such values comes back equal. Whether it fits the rows
  /// of a copy is for the copy to say.
  [[nodiscard]] static std::optional<OutlineUpdate> fromPropertyList(
      const platform::Value& propertyList);

  friend bool operator==(const OutlineUpdate&, const OutlineUpdate&) = default;

 private:
  std::vector<OutlineStep> _steps;
  std::size_t _rowsAfterwards = 0;
};

}  // namespace vexil
