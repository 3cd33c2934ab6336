// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <new>

namespace test {

/// How often the calling thread has taken memory from `operator new` so far. A program that asks
/// links AllocationCounter.cpp, which replaces the operator.
[[nodiscard]] std::size_t allocations() noexcept;

/// How many more pieces of memory the calling thread has taken than given back.
[[nodiscard]] std::ptrdiff_t liveAllocations() noexcept;

/// How many bytes the calling thread has asked for so far.
[[nodiscard]] std::size_t bytesTaken() noexcept;

/// While it lives, one allocation of the calling thread fails with `std::bad_alloc`, after `before`
/// others have succeeded. A thread may have only one of these at a time.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t before) noexcept;
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether it has failed already.
  [[nodiscard]] bool hasFailed() const noexcept;
};

/// Runs `body` again and again. Its first allocation fails first, then its second and so on, until
/// none fails. `prepare` runs before each time, and its allocations succeed. Returns how often an
/// allocation failed.
template <class Prepare, class Body>
std::size_t failEachAllocation(Prepare&& prepare, Body&& body) {
  for (std::size_t before = 0;; ++before) {
    prepare();
    const FailingAllocation failing(before);
    try {
      body();
    } catch (const std::bad_alloc&) {
      continue;
    }
    if (!failing.hasFailed()) {
      return before;
    }
  }
}

/// The same where there is nothing to prepare.
template <class Body>
std::size_t failEachAllocation(Body&& body) {
  return failEachAllocation([] {}, body);
}

/// Returns how often `body` takes memory.
template <class Body>
[[nodiscard]] std::size_t allocationsOf(Body&& body) {
  const std::size_t before = allocations();
  body();
  return allocations() - before;
}

}  // namespace test
