// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: makes rows for items that have none.
#pragma once

#include <vexil/outline/matching/TreeReading.h>
#include <vexil/outline/rows/RowFields.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vexil::detail {

/// A child of an item as it is now, with its occurrence.
struct ChildState {
  std::shared_ptr<KRAVTWVItemVexil> item;
  RowState state;
};

/// All children of an item as they are now.
struct ChildStates {
  std::vector<ChildState> children;
  bool areDistinct = true;  // whether no two have the same identifier
};

/// Reads all children. Unless they are known to be distinct, finds out.
[[nodiscard]] ChildStates readChildren(TreeReading& tree, const KRAVTWVItemVexil& item,
                                       bool areKnownToBeDistinct);

class NewRows {
 public:
  using Item = KRAVTWVItemVexil;

  /// `lastNumber` is counted up. `watch` is called with each item below those that rows are made
  /// for.
  NewRows(TreeReading& tree, RowNumber& lastNumber,
          std::function<void(const std::shared_ptr<Item>&)> watch)
      : _tree(&tree), _lastNumber(&lastNumber), _watch(std::move(watch)) {}

  /// Makes a row for an item, with rows for all items below it. Without recursion.
  [[nodiscard]] DetachedRow make(ChildState child);

 private:
  [[nodiscard]] DetachedRow makeAlone(ChildState child);
  void makeChildren(OutlineRow& row);

  TreeReading* _tree;
  RowNumber* _lastNumber;
  std::function<void(const std::shared_ptr<Item>&)> _watch;
  std::vector<OutlineRow*> _open;  // whose children have not been made
};

}  // namespace vexil::detail
