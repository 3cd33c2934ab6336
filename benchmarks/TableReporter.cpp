// SPDX-License-Identifier: Apache-2.0
#include "TableReporter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <iostream>

namespace {

std::string number(double value, const char* unit) {
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), value < 100 ? "%.1f%s" : "%.0f%s", value, unit);
  return text.data();
}

}  // namespace

bool TableReporter::ReportContext(const Context& /*context*/) {
  return true;
}

void TableReporter::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    const std::string& name = run.run_name.function_name;
    const long size = std::stol(run.run_name.args);
    const auto set = [&](const std::string& row, std::string text) {
      if (std::ranges::find(_rows, row) == _rows.end()) {
        _rows.push_back(row);
      }
      _sizes.insert(size);
      _cells[row][size] = std::move(text);
    };
    if (run.error_occurred) {
      set(name, run.error_message);
      continue;
    }
    set(name, number(run.real_accumulated_time / static_cast<double>(run.iterations) * 1e9 /
                         static_cast<double>(size),
                     " ns"));
    for (const auto& [counter, value] : run.counters) {
      const bool isShare = counter.starts_with("bytes per");
      set(name + ", " + counter,
          number(isShare ? value.value / static_cast<double>(size) : value.value, ""));
    }
  }
}

void TableReporter::Finalize() {
  constexpr int nameWidth = 62;
  constexpr int width = 12;
  std::cout << std::left << std::setw(nameWidth) << "time per record" << std::right;
  for (const long size : _sizes) {
    std::cout << std::setw(width) << size;
  }
  std::cout << '\n';
  for (const std::string& row : _rows) {
    std::cout << std::left << std::setw(nameWidth) << row << std::right;
    for (const long size : _sizes) {
      const auto cell = _cells[row].find(size);
      std::cout << std::setw(width) << (cell == _cells[row].end() ? "" : cell->second);
    }
    std::cout << '\n';
  }
}
