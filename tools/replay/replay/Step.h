// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <optional>
#include <span>
#include <string>

namespace replay {

/// One step as it is written, with its arguments still to be read.
struct Step {
  /// Raises `Malformed` for anything but a dictionary of the keys below with values of their types.
  explicit Step(const vexil::platform::Value& step);

  /// What stands for the receiver in a transcript.
  [[nodiscard]] std::string receiver() const { return on ? *on : className ? *className : "-"; }

  std::string operation;                 ///< "do"
  std::optional<std::string> on;         ///< "on": the name of the receiver,
  std::optional<std::string> className;  ///< or "class": a class in its place
  vexil::platform::Value with;           ///< "with": an array, or absent
  std::optional<std::string> as;         ///< "as": the name for the result
};

}  // namespace replay
