// SPDX-License-Identifier: Apache-2.0
#include "OutlineCheck.h"

#include <vexil/outline/OutlineRow.h>

#include <cstddef>
#include <cstdint>

namespace foreign {

namespace {

using Difference = std::optional<std::string>;

/// What a row shows falsely of its item.
Difference differenceOf(const vexil::OutlineRow& row, const KRAVTWVItemVexil& item) {
  const auto has = [&](const char* what) {
    return Difference("the row of " + item.uniqueID().displayText() + " has another " + what);
  };
  if (row.item().get() != &item) {
    return has("item");
  }
  if (row.uniqueID() != item.uniqueID()) {
    return has("identifier");
  }
  if (row.label() != item.label()) {
    return has("label");
  }
  if (row.representedObject() != item.representedObject()) {
    return has("represented object");
  }
  if (row.supportsEnabled() != item.supportsEnabled() || row.enabled() != item.enabled() ||
      row.isGroup() != item.isGroup() || row.isExpandable() != item.isExpandable()) {
    return has("flag");
  }
  if (row.state().className() != item.className()) {
    return has("class");
  }
  return std::nullopt;
}

/// How many earlier siblings have the identifier of an item.
std::uint32_t occurrenceIn(const KRAVTWVItemArray& siblings, std::size_t index) {
  const vexil::platform::Value identifier = siblings[index]->uniqueID();
  std::uint32_t occurrence = 0;
  for (std::size_t i = 0; i < index && !identifier.isAbsent(); ++i) {
    occurrence += siblings[i]->uniqueID() == identifier ? 1 : 0;
  }
  return occurrence;
}

Difference differenceBelow(const vexil::OutlineRow& parent, const KRAVTWVItemVexil& item,
                           std::size_t& rows) {
  const auto array = item.children();
  const KRAVTWVItemArray children = array ? *array : KRAVTWVItemArray();
  if (parent.childCount() != children.size()) {
    return "there are " + std::to_string(parent.childCount()) + " rows for the " +
           std::to_string(children.size()) + " children of " + item.uniqueID().displayText();
  }
  for (std::size_t i = 0; i < children.size(); ++i) {
    const vexil::OutlineRow& row = *parent.child(i);
    ++rows;
    if (row.parent() != &parent || row.index() != i) {
      return "a row does not know its place";
    }
    if (auto difference = differenceOf(row, *children[i])) {
      return difference;
    }
    if (row.occurrence() != occurrenceIn(children, i)) {
      return "a row has another occurrence than its item";
    }
    if (auto difference = differenceBelow(row, *children[i], rows)) {
      return difference;
    }
  }
  return std::nullopt;
}

}  // namespace

Difference differenceOf(const vexil::Outline& outline,
                        const std::shared_ptr<KRAVTWVItemVexil>& root) {
  std::size_t rows = 0;
  if (root) {
    if (auto difference = differenceBelow(outline.top(), *root, rows)) {
      return difference;
    }
  }
  if (rows != outline.rowCount() || (!root && outline.top().childCount() != 0)) {
    return "the outline counts " + std::to_string(outline.rowCount()) + " rows, but there are " +
           std::to_string(rows) + " items";
  }
  return std::nullopt;
}

}  // namespace foreign
