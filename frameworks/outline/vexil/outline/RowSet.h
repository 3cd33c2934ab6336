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
///
/// Nothing recurses with the depth of the rows. Identifiers may hold objects of a host. They are
/// asked for their hash and their equality, and may then do anything, also change the set or
/// destroy it.
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

  /// How many identities there are, also of rows that do not exist now. Those of items that are
  /// gone count until the set makes room for others.
  [[nodiscard]] std::size_t count() const noexcept;
  [[nodiscard]] bool isEmpty() const noexcept { return count() == 0; }
  void clear();

  /// The rows of an outline that are in the set, in the order in which a view shows them: each
  /// before those below it. Takes time in proportion to the set and what `childWithUniqueID` takes.
  /// Where it looks for rows without identifiers, it looks once through all rows of that level.
  /// When a host's object that is asked updates the outline, it begins anew. It finds no rows when
  /// that happens again and again, or when the object destroys the outline.
  [[nodiscard]] std::vector<OutlineRow*> rowsOf(const Outline& outline) const;

  /// Makes the set follow rows that an update has moved to another parent, with everything below
  /// them. Call it once for every update, in their order, before or after its steps are applied.
  /// What the set already says of the new
  /// place stays true of it as well. A row is not followed when it has no identifier, or when a row
  /// above it has none before or afterwards. Takes time in proportion to the rows that moved and
  /// their depth, and where the set knows the new place already, to what it knows there.
  void follow(const OutlineUpdate& update);

  /// The set as a property list, nested as the rows are. It leaves out rows whose identifiers a
  /// property list cannot hold, with all below them.
  ///
  ///     {"rows": [{"id": "a", "in": true,
  ///                "below": [{"id": "b", "occurrence": 1, "in": true}]}]}
  [[nodiscard]] platform::Value propertyList() const;
  /// Reads a set back. Absent when `propertyList` is none: a part is missing, of another type or
  /// out of range.
  [[nodiscard]] static std::optional<RowSet> fromPropertyList(const platform::Value& propertyList);

 private:
  [[nodiscard]] std::shared_ptr<detail::RowNode> heldTop() const;

  std::shared_ptr<detail::RowNode> _top;  // shared with operations in progress; null at first
};

}  // namespace vexil
