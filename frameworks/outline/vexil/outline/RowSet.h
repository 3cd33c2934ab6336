// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace vexil {

class Outline;
class OutlineRow;
class OutlineUpdate;

namespace detail {
struct RowNode;
}

/// A set of identities of rows, for what a view keeps about rows: which are selected, which are
/// expanded. It does not refer to rows. So what it says of a row survives every refresh, and also
/// that the row disappears and returns.
///
///     RowSet expanded;
///     expanded.insert(row);
///     ...
///     const OutlineUpdate update = outline.update();
///     expanded.follow(update);   // rows that moved to another parent
///     for (OutlineRow* row : expanded.rowsOf(outline)) { ... }
///
///     store(expanded.propertyList());        // and in another run:
///     expanded = *RowSet::fromPropertyList(stored);
///
/// An identity is the identifiers and occurrences of a row and of all rows above it, from the top
/// down. A row without an identifier is identified by its item; that part is not saved, and ends
/// with the item.
class RowSet {
 public:
  RowSet();
  RowSet(const RowSet& other);
  RowSet(RowSet&& other) noexcept;
  RowSet& operator=(RowSet other) noexcept;
  ~RowSet();

  /// These take time in proportion to the depth of the row. The top is in no set.
  void insert(const OutlineRow& row);
  void remove(const OutlineRow& row);
  [[nodiscard]] bool contains(const OutlineRow& row) const;

  /// How many identities there are, also of rows that do not exist now.
  [[nodiscard]] std::size_t count() const noexcept;
  [[nodiscard]] bool isEmpty() const noexcept { return count() == 0; }
  void clear();

  /// The rows of an outline that are in the set, each before those below it.
  [[nodiscard]] std::vector<OutlineRow*> rowsOf(const Outline& outline) const;

  /// Makes the set follow rows that an update has moved to another parent, with everything below
  /// them. Call it once for every update.
  void follow(const OutlineUpdate& update);

  /// The set as a property list, nested as the rows are.
  [[nodiscard]] platform::Value propertyList() const;
  /// Reads a set back; absent when `propertyList` is none.
  [[nodiscard]] static std::optional<RowSet> fromPropertyList(const platform::Value& propertyList);

 private:
  [[nodiscard]] std::shared_ptr<detail::RowNode> heldTop() const;

  std::shared_ptr<detail::RowNode> _top;  // shared with operations in progress; null at first
};

}  // namespace vexil
