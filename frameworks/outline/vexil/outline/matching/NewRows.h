// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: makes rows for items that have none.
#pragma once

#include <vexil/outline/matching/TreeReading.h>
#include <vexil/outline/rows/RowFields.h>
#include <vexil/platform/detail/Watcher.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace vexil::detail {

class NewRows {
 public:
  using Item = KRAVTWVItemVexil;

  /// `lastNumber` is counted up. `watches` gets the items of rows.
  NewRows(TreeReading& tree, RowNumber& lastNumber, platform::detail::ManyWatches& watches)
      : _tree(&tree), _lastNumber(&lastNumber), _watches(&watches) {}

  /// Makes a row for an item, with rows for all items below it. Without recursion. The items below
  /// are watched then, but not the item itself.
  [[nodiscard]] DetachedRow make(const std::shared_ptr<Item>& item, RowState state);

  /// Rows for all children of an item, and whether no two of them have the same identifier.
  struct Children {
    std::vector<DetachedRow> rows;
    bool areDistinct = true;
  };
  /// Makes rows for all children of an item, and for all below. All these items are watched then.
  [[nodiscard]] Children makeChildren(const Item& item);

  /// The item that was being read when an exception came; null otherwise. It is watched.
  [[nodiscard]] const std::shared_ptr<Item>& unread() const { return _unread; }
  /// Rows that were made when an exception came, and whether their own items are watched.
  [[nodiscard]] const std::vector<std::pair<DetachedRow, bool>>& abandoned() const {
    return _abandoned;
  }

 private:
  [[nodiscard]] DetachedRow makeAlone(const std::shared_ptr<Item>& item, RowState state);
  [[nodiscard]] Children makeOneLevel(const Item& item);
  [[nodiscard]] RowState watchAndRead(const std::shared_ptr<Item>& item);
  void makeBelow();
  void renumber(OutlineRow& row);

  TreeReading* _tree;
  RowNumber* _lastNumber;
  platform::detail::ManyWatches* _watches;
  std::vector<OutlineRow*> _open;  // whose children have not been made
  std::vector<std::pair<DetachedRow, bool>> _abandoned;
  std::shared_ptr<Item> _unread;
};

/// The occurrences of the identifiers of an item's children; empty when all are 0.
[[nodiscard]] std::vector<std::uint32_t> occurrencesOfChildren(TreeReading& tree,
                                                               const KRAVTWVItemVexil& item);

}  // namespace vexil::detail
