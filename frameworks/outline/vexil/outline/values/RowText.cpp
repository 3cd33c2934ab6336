// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/values/RowText.h>

#include <algorithm>

namespace vexil::detail {

namespace {

std::string textOfFlags(const RowState& row) {
  std::string text;
  const auto add = [&](bool isSet, const char* name) {
    if (isSet) {
      text += (text.empty() ? " flags=" : ",");
      text += name;
    }
  };
  add(row.supportsEnabled(), "supportsEnabled");
  add(row.enabled(), "enabled");
  add(row.isGroup(), "group");
  add(row.isExpandable(), "expandable");
  return text;
}

}  // namespace

std::string indentation(std::size_t depth) {
  constexpr std::size_t deepest = 64;
  return std::string(2 * std::min(depth, deepest), ' ');
}

std::string textOfIdentity(const RowState& row, const PrintValue& print) {
  return '#' + std::to_string(row.number()) + ' ' + print(row.uniqueID());
}

std::string textOfOccurrence(const RowState& row) {
  return row.occurrence() == 0 ? "" : " occurrence=" + std::to_string(row.occurrence());
}

std::string textOfRow(const RowState& row, const PrintValue& print) {
  std::string text = textOfIdentity(row, print);  // first: a printer may number what it prints
  return text.append(1, ' ').append(print(row.label()));
}

std::string textOfWholeRow(const RowState& row, const PrintValue& print) {
  const std::string name = row.className();
  return textOfRow(row, print) + textOfOccurrence(row) + (name.empty() ? "" : ' ' + name) +
         textOfFlags(row);
}

}  // namespace vexil::detail
