// SPDX-License-Identifier: Apache-2.0
// Internal to collections: what every list set by key must be.
#pragma once

#include <vexil/platform/Error.h>
#include <vexil/platform/Value.h>

namespace vexil::detail {

/// Throws `InvalidArgument` for anything but an array or an absent value.
inline void requireArray(const platform::Value& list) {
  if (!list.isAbsent() && !list.isArray()) {
    throw platform::InvalidArgument("not an array: " + list.description());
  }
}

}  // namespace vexil::detail
