// SPDX-License-Identifier: Apache-2.0
#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t taken = 0;
thread_local std::size_t given = 0;
thread_local std::size_t bytes = 0;

constexpr std::size_t never = static_cast<std::size_t>(-1);
thread_local std::size_t untilFailure = never;

/// Notes that memory is asked for; false when it is not to be had.
bool note(std::size_t size) noexcept {
  if (untilFailure == 0) {
    untilFailure = never;
    return false;
  }
  if (untilFailure != never) {
    --untilFailure;
  }
  bytes += size;
  return true;
}

void giveBack(void* memory) noexcept {
  given += memory == nullptr ? 0 : 1;
  std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc): this is the allocator
}

}  // namespace

std::size_t test::allocations() noexcept {
  return taken;
}

std::ptrdiff_t test::liveAllocations() noexcept {
  return static_cast<std::ptrdiff_t>(taken - given);
}

std::size_t test::bytesTaken() noexcept {
  return bytes;
}

test::FailingAllocation::FailingAllocation(std::size_t before) noexcept {
  untilFailure = before;
}
test::FailingAllocation::~FailingAllocation() {
  untilFailure = never;
}
bool test::FailingAllocation::hasFailed() const noexcept {
  return untilFailure == never;
}

void* operator new(std::size_t size) {
  if (!note(size)) {
    throw std::bad_alloc();
  }
  ++taken;
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): this is the allocator
  if (void* memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
  return ::operator new(size);
}

// std::stable_sort takes its buffer in this way.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  if (!note(size)) {
    return nullptr;
  }
  void* memory = std::malloc(size == 0 ? 1 : size);  // NOLINT(cppcoreguidelines-no-malloc)
  taken += memory == nullptr ? 0 : 1;
  return memory;
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return ::operator new(size, tag);
}

void operator delete(void* memory) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory) noexcept {
  giveBack(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  giveBack(memory);
}
