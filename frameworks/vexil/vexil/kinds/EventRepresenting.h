// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

/// What a kind implements when it stands for an event. Only items of such kinds contribute to a
/// schedule. Use `dynamic_cast` to find out whether an item is one.
class KRAVTWVEventRepresenting {
 public:
  KRAVTWVEventRepresenting() = default;
  KRAVTWVEventRepresenting(const KRAVTWVEventRepresenting&) = delete;
  KRAVTWVEventRepresenting& operator=(const KRAVTWVEventRepresenting&) = delete;
  virtual ~KRAVTWVEventRepresenting() = default;

  /// The event record, or whatever stands in its place. May be absent.
  [[nodiscard]] virtual vexil::platform::Value representedEvent() const = 0;
};
