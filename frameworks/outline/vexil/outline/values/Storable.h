// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: what of a value a property list can hold.
#pragma once

#include <vexil/platform/Value.h>

namespace vexil::detail {

/// Whether every writer of binary property lists takes the value as it is. False for absent.
[[nodiscard]] bool isStorable(const platform::Value& value);

/// The value with text in place of each part that a property list cannot hold: absent values, null
/// markers, references to objects, dates that are not finite, and strings and keys that are not
/// UTF-8. The value itself when there is none. An absent value stays absent.
[[nodiscard]] platform::Value storable(const platform::Value& value);

}  // namespace vexil::detail
