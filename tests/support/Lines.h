// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// What tests compare as text, a line an element.
using Lines = std::vector<std::string>;

/// Whether a text stands in any of the lines.
inline bool anyContains(const Lines& lines, std::string_view text) {
  return std::ranges::any_of(lines,
                             [&](const std::string& line) { return line.find(text) != line.npos; });
}

}  // namespace test
