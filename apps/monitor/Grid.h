// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "monitor/Terminal.h"

namespace monitor {

/// Rows of text whose cells stand below one another, with headings in between.
class Grid {
 public:
  static constexpr std::size_t cellCount = 3;

  struct Row {
    std::string mark;                          ///< one column, in front; styled already
    std::array<std::string, cellCount> cells;  ///< cut where one is very long
    std::string tail;                          ///< the rest of the line, cut at its end
    bool faint = false;
  };

  void addHeading(std::string text) { _lines.push_back({std::move(text), {}, true}); }
  void addRow(Row row) { _lines.push_back({{}, std::move(row), false}); }

  /// The lines, headings by one step less to the right than rows. Columns without text take no
  /// space.
  [[nodiscard]] std::string text(const Style& style) const;

 private:
  struct Line {
    std::string heading;
    Row row;
    bool isHeading;
  };
  std::vector<Line> _lines;
};

}  // namespace monitor
