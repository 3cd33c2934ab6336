// SPDX-License-Identifier: Apache-2.0
// What a host does in the middle of an operation.
#pragma once

#include "World.h"

#include <span>
#include <string_view>

namespace foreign {

struct Action {
  std::string_view name;
  void (*perform)(World& world);
  /// Whether it throws. Then the operation must end with that exception.
  bool throws = false;
  /// Whether it needs a scene with an outline.
  bool isOfOutlines = false;
};

[[nodiscard]] std::span<const Action> actions();

/// Performs an action as a careful host does: it catches what its own calls may throw.
void perform(const Action& action, World& world);

}  // namespace foreign
