// SPDX-License-Identifier: Apache-2.0
#include "monitor/Outline.h"

#include <ternwood/Ternwood.h>

#include <algorithm>
#include <array>
#include <set>
#include <vector>

#include "monitor/EventRecords.h"

namespace monitor {

namespace {

constexpr std::size_t widestColumn = 44;
constexpr std::size_t widestCommand = 72;

/// What a row shows between its switch and its command.
constexpr std::size_t cellCount = 4;

struct Row {
  bool enabled;
  std::array<std::string, cellCount> cells;
  std::string command;
};

Row rowOf(const KRAVTWVItemVexil& item) {
  const auto* event = dynamic_cast<const KRAVTWVEventRepresenting*>(&item);
  const platform::Value record = event == nullptr ? platform::Value() : event->representedEvent();
  return {item.enabled(),
          {item.label().displayText(), textOf(record, kMonitorSchedule),
           textOf(record, kMonitorUser), textOf(record, kMonitorTableName)},
          textOf(record, kMonitorCommand)};
}

std::string counted(std::size_t count, std::string_view one) {
  return std::to_string(count) + " " + std::string(one) + (count == 1 ? "" : "s");
}

}  // namespace

std::string textOf(const platform::Value& record, std::string_view key) {
  const platform::Value& value = record[key];
  return value.isAbsent() ? std::string() : value.displayText();
}

std::string outline(const KRAVTWVItemVexil& root, const Style& style) {
  std::vector<Row> rows;
  std::set<std::string> tables;
  std::size_t disabled = 0;
  for (const auto& item : *root.children()) {
    rows.push_back(rowOf(*item));
    disabled += rows.back().enabled ? 0U : 1U;
    tables.insert(rows.back().cells.back());
  }
  std::array<std::size_t, cellCount> widths{};
  for (const Row& row : rows) {
    for (std::size_t i = 0; i < cellCount; ++i) {
      widths[i] = std::max(widths[i], std::min(widestColumn, columns(row.cells[i])));
    }
  }
  std::string text = style.bold("Events") + "  " + counted(rows.size(), "job") + " in " +
                     counted(tables.size(), "table");
  text += disabled > 0 ? ", " + std::to_string(disabled) + " disabled\n" : "\n";
  for (const Row& row : rows) {
    text += row.enabled ? "  " + style.green("●") + " " : "  " + style.red("○") + " ";
    for (std::size_t i = 0; i < cellCount; ++i) {
      const std::string cell = fitted(row.cells[i], widths[i]);
      text += i == 0 && row.enabled ? style.bold(cell) : (row.enabled ? cell : style.faint(cell));
      text += "  ";
    }
    const bool isLong = columns(row.command) > widestCommand;
    text += style.faint(isLong ? fitted(row.command, widestCommand) : row.command) + "\n";
  }
  return text;
}

}  // namespace monitor
