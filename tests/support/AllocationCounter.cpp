// SPDX-License-Identifier: Apache-2.0
#include "AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t taken = 0;
thread_local std::size_t given = 0;

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

void* operator new(std::size_t size) {
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
