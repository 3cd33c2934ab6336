// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: what it sets in a row.
#pragma once

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/rows/RowList.h>
#include <vexil/platform/detail/BlockPool.h>

#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace vexil::detail {

struct RowFields {
  /// Makes a row that belongs to no list.
  [[nodiscard]] static OutlineRow* make(RowState state,
                                        const std::shared_ptr<KRAVTWVItemVexil>& item) {
    auto* const row = new (platform::detail::allocateBlock(sizeof(OutlineRow))) OutlineRow;
    row->_state = std::move(state);
    setItem(*row, item);
    return row;
  }
  static void setItem(OutlineRow& row, const std::shared_ptr<KRAVTWVItemVexil>& item) noexcept {
    row._item = item;
    row._itemAddress = item.get();
  }
  /// Destroys a row that belongs to no list, and all that is below it, without recursion. May run
  /// foreign code.
  static void destroy(OutlineRow* row) noexcept;

  static RowState& state(OutlineRow& row) noexcept { return row._state; }
  static const std::weak_ptr<KRAVTWVItemVexil>& item(const OutlineRow& row) noexcept {
    return row._item;
  }
  /// Of the item, also when that is gone.
  static const KRAVTWVItemVexil* itemAddress(const OutlineRow& row) noexcept {
    return row._itemAddress;
  }
  static RowBlock*& block(OutlineRow& row) noexcept { return row._block; }
  static const RowBlock* block(const OutlineRow& row) noexcept { return row._block; }
  /// Null for a row that has never had children.
  static RowList* children(const OutlineRow& row) noexcept { return row._children.get(); }
  static RowList& childrenForAdding(OutlineRow& row) {
    if (!row._children) {
      row._children = std::make_unique<RowList>(row);
    }
    return *row._children;
  }
  /// Gives up the list of a row without children.
  static void dropChildren(OutlineRow& row) noexcept { row._children.reset(); }
};

/// Owns a row that belongs to no list.
struct RowDestroyer {
  void operator()(OutlineRow* row) const noexcept { RowFields::destroy(row); }
};
using DetachedRow = std::unique_ptr<OutlineRow, RowDestroyer>;

}  // namespace vexil::detail
