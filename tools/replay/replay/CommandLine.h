// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <ostream>
#include <span>
#include <string>

namespace replay {

/// How a run of the tool ends.
enum class Status : int {
  performed = 0,  ///< every step of every file, also those that threw
  refused = 1,    ///< some file could not be read, or a step was malformed
  usage = 2,
  faulty = 3,  ///< the library contradicted itself
};

/// Runs the tool. `arguments` are those after the program's name. It replays each file that they
/// name; `-` is `input`. No file sees objects of another. When there are several files, a line
/// `==== FILE` stands before the transcript of each. A file that is refused gets one line on
/// `errors`, and the other files are still replayed.
[[nodiscard]] Status run(std::span<const std::string> arguments, std::istream& input,
                         std::ostream& output, std::ostream& errors);

}  // namespace replay
