// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <optional>
#include <span>
#include <string>

namespace replay {

/// One step as the scenario writes it. Its arguments have not been read.
struct Step {
  /// Throws `Malformed` unless `step` is a dictionary of the keys below, with values of their
  /// types.
  explicit Step(const vexil::platform::Value& step);

  /// The receiver as a transcript names it.
  [[nodiscard]] std::string receiver() const { return on ? *on : className ? *className : "-"; }

  std::string operation;                 ///< "do"
  std::optional<std::string> on;         ///< "on": the name of the receiver
  std::optional<std::string> className;  ///< "class": a class as the receiver; not beside "on"
  vexil::platform::Value with;           ///< "with": an array, or absent
  std::optional<std::string> as;         ///< "as": the name for the result
};

}  // namespace replay
