// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <ostream>
#include <span>
#include <string>

namespace replay {

/// How a run of the tool ends.
enum class Status : int {
  performed = 0,  ///< every step of every file, also those that raised
  refused = 1,    ///< some file could not be read, or a step was malformed
  usage = 2,
};

/// The tool: replays the files that `arguments`, those after the program's name, give. Each file
/// starts afresh and stands under a line `==== FILE` when there are several; `-` is `input`. A file
/// that is refused gets one line on `errors`; the others are replayed all the same.
[[nodiscard]] Status run(std::span<const std::string> arguments, std::istream& input,
                         std::ostream& output, std::ostream& errors);

}  // namespace replay
