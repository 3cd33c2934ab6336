// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Key.h>

#include <cstdint>

namespace vexil::platform {

class Observable;

namespace detail {

/// How an observed key is affected by a key that changes.
enum class KeyRelation : std::uint8_t {
  unrelated,
  same,       ///< it is the changing key
  dependent,  ///< it depends on the changing key, directly or through others
  unknown     ///< the object's class has not been asked yet on this thread
};

/// Returns what this thread knows already. Calls nothing of the object.
[[nodiscard]] KeyRelation cachedKeyRelation(const Observable& object, const Key& observed,
                                            const Key& changing);

/// Asks the object's class if necessary, and never returns `unknown`. The answer is remembered for
/// all objects of that class.
[[nodiscard]] KeyRelation keyRelation(const Observable& object, const Key& observed,
                                      const Key& changing);

}  // namespace detail
}  // namespace vexil::platform
