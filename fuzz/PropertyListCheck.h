// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Demand.h"

#include <vexil/platform/PropertyList.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace fuzz {

/// Demands what must be true of every input: a reader gives the same result twice, a value that it
/// accepts can be walked, and a refusal has a reason and a place.
inline void checkReader(decltype(&vexil::platform::readPropertyList) read, const std::uint8_t* data,
                        std::size_t size) {
  vexil::platform::PropertyListLimits limits;
  limits.depth = 64;
  limits.expandedObjects = 10'000;
  const auto bytes = std::as_bytes(std::span(data, size));
  const auto first = read(bytes, limits);
  const auto second = read(bytes, limits);
  demand(static_cast<bool>(first) == static_cast<bool>(second));
  if (first) {
    demand(*first == *second);
    demand(first->hash() == second->hash());
    demand(first->description() == second->description());
  } else {
    demand(!first.error().message.empty());
    demand(size == 0 || first.error().line || first.error().offset);
    demand(first.error().offset.value_or(0) <= size);
  }
}

}  // namespace fuzz
