// SPDX-License-Identifier: Apache-2.0
#include "monitor/Grid.h"

#include <algorithm>
#include <string_view>

namespace monitor {

namespace {

constexpr std::size_t widestCell = 44;
constexpr std::size_t widestTail = 72;
constexpr std::string_view indent = "    ";
constexpr std::string_view gap = "  ";

using Widths = std::array<std::size_t, Grid::cellCount>;

std::string textOf(const Grid::Row& row, const Widths& widths, const Style& style) {
  std::string text = std::string(indent) + row.mark + " ";
  std::size_t used = indent.size() + 2;
  for (std::size_t i = 0; i < widths.size(); ++i) {
    if (widths[i] > 0) {
      const std::string cell = fitted(row.cells[i], widths[i]);
      text += row.faint ? style.faint(cell) : (i == 0 ? style.bold(cell) : cell);
      text += gap;
      used += widths[i] + gap.size();
    }
  }
  const std::size_t room = std::min(widestTail, style.width() - std::min(used, style.width()));
  const std::string tail = columns(row.tail) > room ? fitted(row.tail, room) : row.tail;
  if (!tail.empty()) {
    return text + style.faint(tail) + "\n";
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return text + "\n";
}

}  // namespace

std::string Grid::text(const Style& style) const {
  Widths widths{};
  for (const Line& line : _lines) {
    for (std::size_t i = 0; i < widths.size(); ++i) {
      widths[i] = std::max(widths[i], std::min(widestCell, columns(line.row.cells[i])));
    }
  }
  std::string text;
  for (const Line& line : _lines) {
    text += line.isHeading ? "  " + line.heading + "\n" : textOf(line.row, widths, style);
  }
  return text;
}

}  // namespace monitor
