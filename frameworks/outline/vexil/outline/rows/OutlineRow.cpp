// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/rows/RowFields.h>
#include <vexil/outline/rows/RowIndex.h>
#include <vexil/outline/rows/RowList.h>
#include <vexil/outline/rows/RowStateFields.h>

#include <memory>
#include <vector>

namespace vexil {

namespace detail {

void RowFields::destroy(OutlineRow* row) noexcept {
  // Rows wait in the list of the outermost call. A state that is destroyed may run foreign code,
  // and so may lead here again; that call has rows of its own.
  if (!row->_children || row->_children->count() == 0) {
    row->~OutlineRow();
    platform::detail::deallocateBlock(row, sizeof(OutlineRow));
    return;
  }
  OutlineRow* next = row;
  while (next != nullptr) {
    // Goes down to a row without children, taking each out of its parent on the way back up.
    RowList* const children = next->_children.get();
    if (children != nullptr && children->count() != 0) {
      next = &children->at(children->count() - 1);
      continue;
    }
    OutlineRow* const parent = next == row ? nullptr : next->parent();
    if (parent != nullptr) {
      parent->_children->removeLast();
    }
    next->~OutlineRow();
    platform::detail::deallocateBlock(next, sizeof(OutlineRow));
    next = parent;
  }
}

std::vector<RowIndex::Entry> RowIndex::entriesOf(const RowList& rows) {
  std::vector<Entry> entries;
  entries.reserve(rows.count());
  RowList::Reader rowAt(&rows);
  for (std::size_t i = 0; i < rows.count(); ++i) {
    OutlineRow& row = rowAt(i);
    if (!row.uniqueID().isAbsent()) {
      entries.emplace_back(Identity{row.uniqueID(), row.occurrence()}, &row);
    }
  }
  return entries;
}

void RowIndex::complete(const std::vector<Entry>& entries) {
  const auto rows = std::make_shared<Rows>();
  rows->reserve(entries.size());
  for (const Entry& entry : entries) {
    rows->insert(entry);
  }
  _rows = rows;
}

OutlineRow* RowIndex::find(const platform::Value& uniqueID, std::uint32_t occurrence) const {
  const auto rows = _rows;
  const auto found = rows->find(Identity{uniqueID, occurrence});
  return found == rows->end() ? nullptr : found->second;
}

}  // namespace detail

OutlineRow::OutlineRow() = default;
OutlineRow::~OutlineRow() = default;

OutlineRow* OutlineRow::parent() const noexcept {
  return _block == nullptr ? nullptr : &_block->list().owner();
}

std::size_t OutlineRow::index() const noexcept {
  return _block == nullptr ? 0 : _block->list().indexOf(*this);
}

std::size_t OutlineRow::childCount() const noexcept {
  return _children ? _children->count() : 0;
}

OutlineRow* OutlineRow::child(std::size_t index) const noexcept {
  return index < childCount() ? &_children->at(index) : nullptr;
}

OutlineRow* OutlineRow::childWithUniqueID(const platform::Value& uniqueID,
                                          std::uint32_t occurrence) const {
  return uniqueID.isAbsent() || childCount() == 0 ? nullptr : _children->find(uniqueID, occurrence);
}

}  // namespace vexil
