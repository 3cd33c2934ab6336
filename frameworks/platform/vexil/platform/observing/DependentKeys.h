// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Key.h>

#include <cstdint>

namespace vexil::platform {

class Observable;

namespace detail {

/// What an observed key is to the key that changes.
enum class Relation : std::uint8_t {
  none,
  same,
  dependent,
  unknown  ///< the class has to be asked first
};

/// Whether `observed` depends on `changed`, directly or through others, as far as this thread has
/// learnt it already. Calls nothing of the object.
[[nodiscard]] Relation knownRelation(const Observable& object, const Key& observed,
                                     const Key& changed);

/// The same, asking the object's class where that is necessary; never `unknown`. What the class
/// answers is remembered for its other objects.
[[nodiscard]] Relation relation(const Observable& object, const Key& observed, const Key& changed);

}  // namespace detail
}  // namespace vexil::platform
