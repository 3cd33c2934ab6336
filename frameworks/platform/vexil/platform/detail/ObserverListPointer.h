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

/// Whether any of the registrations is that of an observer, not of a watcher.
[[nodiscard]] bool hasObservers(const ObserverList& list) noexcept;

using ObserverListPointer = Reference<ObserverList>;

}  // namespace vexil::platform::detail
