// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/outline/RowState.h>

#include <cstddef>
#include <cstdint>
#include <memory>

class KRAVTWVItemVexil;

namespace vexil {

namespace detail {
class RowBlock;
class RowList;
struct RowFields;
}  // namespace detail

/// A row of an outline. The outline makes it, owns it, and destroys it when the step is applied
/// that removes it. Until then its address stays the same, also when it moves, and whatever becomes
/// of the item.
///
/// A row says what it knew when the last step was applied. So a view that reads between two updates
/// never sees half a refresh. Rows belong to the thread of their outline.
class OutlineRow {
 public:
  OutlineRow(const OutlineRow&) = delete;
  OutlineRow& operator=(const OutlineRow&) = delete;

  /// The row at one moment, to keep.
  [[nodiscard]] const RowState& state() const noexcept { return _state; }

  // The same as of the state.
  [[nodiscard]] RowNumber number() const noexcept { return _state.number(); }
  [[nodiscard]] const platform::Value& uniqueID() const noexcept { return _state.uniqueID(); }
  [[nodiscard]] std::uint32_t occurrence() const noexcept { return _state.occurrence(); }
  [[nodiscard]] const platform::Value& label() const noexcept { return _state.label(); }
  [[nodiscard]] const platform::Value& representedObject() const noexcept {
    return _state.representedObject();
  }
  [[nodiscard]] bool supportsEnabled() const noexcept { return _state.supportsEnabled(); }
  [[nodiscard]] bool enabled() const noexcept { return _state.enabled(); }
  [[nodiscard]] bool isGroup() const noexcept { return _state.isGroup(); }
  [[nodiscard]] bool isExpandable() const noexcept { return _state.isExpandable(); }

  /// The live item, to act on: to copy it, to edit it. It may be further than the row. Null when it
  /// is gone. After a refresh another item may stand for the same row.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item() const noexcept { return _item.lock(); }

  /// Whether this is the top, which no view shows.
  [[nodiscard]] bool isTop() const noexcept { return _block == nullptr; }
  /// The row above; the top for rows of the first level, null for the top.
  [[nodiscard]] OutlineRow* parent() const noexcept;
  /// The position among the children of the parent; 0 for the top. Takes about as long as a look
  /// through 500 neighbours.
  [[nodiscard]] std::size_t index() const noexcept;

  [[nodiscard]] std::size_t childCount() const noexcept;
  /// The child at a position; null when there is none. Logarithmic, mostly constant.
  [[nodiscard]] OutlineRow* child(std::size_t index) const noexcept;
  /// The child with an identifier, the one with this occurrence where several share it; null when
  /// there is none. An absent identifier finds none. Objects in identifiers are asked for their
  /// hash and their equality; the answer is null when they change the children meanwhile. The first
  /// search in a level takes linear time, and further ones constant time.
  [[nodiscard]] OutlineRow* childWithUniqueID(const platform::Value& uniqueID,
                                              std::uint32_t occurrence = 0) const;

 private:
  friend struct detail::RowFields;
  OutlineRow();
  ~OutlineRow();

  RowState _state;
  std::weak_ptr<KRAVTWVItemVexil> _item;
  const KRAVTWVItemVexil* _itemAddress = nullptr;  // also of an item that is gone; only compared
  detail::RowBlock* _block = nullptr;              // where the row stands; null for the top
  std::unique_ptr<detail::RowList> _children;
};

static_assert(sizeof(void*) != 8 || sizeof(OutlineRow) == 80,
              "each byte more costs memory in every row");

}  // namespace vexil
