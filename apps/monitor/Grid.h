// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "monitor/Terminal.h"

namespace monitor {

/// Rows of text with aligned cells, and headings between the rows.
class Grid {
 public:
  static constexpr std::size_t cellCount = 3;

  struct Row {
    std::string mark;                          ///< one column wide, in front; already styled
    std::array<std::string, cellCount> cells;  ///< a very long one is cut
    std::string tail;                          ///< what follows; cut at the end of the line
    bool faint = false;
  };

  void addHeading(std::string text) { _lines.push_back({std::move(text), {}, true}); }
  void addRow(Row row) { _lines.push_back({{}, std::move(row), false}); }

  /// The lines. Rows are indented one step more than headings. Columns without text take no space.
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
