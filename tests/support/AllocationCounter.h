// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace test {

/// How often the calling thread has taken memory from `operator new` so far. A binary that asks
/// links AllocationCounter.cpp, which replaces the operator.
[[nodiscard]] std::size_t allocations() noexcept;

/// How many more pieces of memory the calling thread has taken than given back.
[[nodiscard]] std::ptrdiff_t liveAllocations() noexcept;

/// How often `body` takes memory.
template <class Body>
[[nodiscard]] std::size_t allocationsOf(Body&& body) {
  const std::size_t before = allocations();
  body();
  return allocations() - before;
}

}  // namespace test
