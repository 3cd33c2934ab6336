// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: which rows stand for an item.
#pragma once

#include <vexil/outline/rows/RowFields.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <utility>

namespace vexil::detail {

/// Finds rows by the addresses of their items. Mostly it has only rows that have, or have had,
/// children: others are too many, and their items announce nothing.
class RowsByItem {
 public:
  explicit RowsByItem(bool hasAllRows) : _hasAllRows(hasAllRows) {}

  [[nodiscard]] bool hasAllRows() const noexcept { return _hasAllRows; }
  [[nodiscard]] bool isFor(const OutlineRow& row) const noexcept {
    return _hasAllRows || RowFields::children(row) != nullptr;
  }

  /// These do nothing for a row that it is not for.
  void add(OutlineRow& row) {
    if (isFor(row)) {
      _rows.emplace(RowFields::itemAddress(row), &row);
    }
  }
  void remove(const OutlineRow& row) noexcept {
    if (!isFor(row)) {
      return;
    }
    const auto [begin, end] = _rows.equal_range(RowFields::itemAddress(row));
    for (auto entry = begin; entry != end; ++entry) {
      if (entry->second == &row) {
        _rows.erase(entry);
        return;
      }
    }
  }

  /// Another item stands for a row now.
  void setItem(OutlineRow& row, const std::shared_ptr<KRAVTWVItemVexil>& item) {
    if (!isFor(row) || RowFields::itemAddress(row) == item.get()) {
      RowFields::setItem(row, item);
      return;
    }
    const auto [begin, end] = _rows.equal_range(RowFields::itemAddress(row));
    const auto entry =
        std::find_if(begin, end, [&](const auto& one) { return one.second == &row; });
    RowFields::setItem(row, item);
    if (entry == end) {
      _rows.emplace(item.get(), &row);
      return;
    }
    auto node = _rows.extract(entry);
    node.key() = item.get();
    _rows.insert(std::move(node));
  }

  void clear() noexcept { _rows.clear(); }

  template <class Visit>
  void forEachRowOf(const KRAVTWVItemVexil& item, const Visit& visit) const {
    const auto [begin, end] = _rows.equal_range(&item);
    for (auto entry = begin; entry != end; ++entry) {
      // The address could be that of another item by now.
      if (RowFields::item(*entry->second).lock().get() == &item) {
        visit(*entry->second);
      }
    }
  }

 private:
  bool _hasAllRows;
  std::unordered_multimap<const KRAVTWVItemVexil*, OutlineRow*> _rows;
};

}  // namespace vexil::detail
