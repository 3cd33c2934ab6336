// SPDX-License-Identifier: Apache-2.0
#include "Heap.h"

#include <malloc.h>

#include <cstdlib>
#include <new>

namespace {

// The benchmarks run on one thread.
std::size_t bytes = 0;
std::size_t allocations = 0;
constexpr std::size_t blockHeader = sizeof(std::size_t);

}  // namespace

std::size_t heapBytes() {
  return bytes;
}
std::size_t heapAllocations() {
  return allocations;
}

void* operator new(std::size_t size) {
  void* block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  bytes += ::malloc_usable_size(block) + blockHeader;
  ++allocations;
  return block;
}

void operator delete(void* block) noexcept {
  if (block != nullptr) {
    bytes -= ::malloc_usable_size(block) + blockHeader;
    std::free(block);
  }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}
