// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/detail/RefCount.h>

#include <cstdint>

namespace vexil::platform::detail {

class ObserverList;

/// Take and give back references to a list. Null is no list: nothing happens.
void retain(const ObserverList* list, std::uint32_t times = 1) noexcept;
void release(const ObserverList* list, std::uint32_t times = 1) noexcept;

using ObserverListPointer = Reference<ObserverList>;

}  // namespace vexil::platform::detail
