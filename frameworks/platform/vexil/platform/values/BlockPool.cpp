// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/detail/BlockPool.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <utility>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TERNWOODVEXIL_PLAIN_BLOCKS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || \
    __has_feature(memory_sanitizer)
#define TERNWOODVEXIL_PLAIN_BLOCKS
#endif
#endif

namespace vexil::platform::detail {

void BlockPool::releaseSpare() noexcept {
  while (Slab* const slab = _spare) {
    unlink(_spare, slab);
    release(slab);
  }
}

void* BlockPool::allocate() {
  std::unique_lock lock(_lock);
  if (_withRoom == nullptr) {
    Slab* slab = _spare;
    if (slab != nullptr) {
      unlink(_spare, slab);
      --_spareCount;
    } else {
      lock.unlock();  // the system call may take long
      slab = makeSlab();
      lock.lock();
    }
    clear(slab);
    link(_withRoom, slab);
    ++_inUse;
  }
  Slab* const slab = _withRoom;
  void* block = slab->untouched;
  if (slab->free != nullptr) {
    block = std::exchange(slab->free, slab->free->next);
  } else {
    slab->untouched += _blockSize;
  }
  ++slab->used;
  if (!slab->hasRoom()) {
    unlink(_withRoom, slab);
  }
  return block;
}

void BlockPool::deallocate(void* block) noexcept {
  std::unique_lock lock(_lock);
  Slab* const slab = slabOf(block);
  if (!slab->hasRoom()) {
    link(_withRoom, slab);
  }
  slab->free = new (block) Block{slab->free};
  if (--slab->used > 0) {
    return;
  }
  unlink(_withRoom, slab);
  --_inUse;
  link(_spare, slab);
  ++_spareCount;
  while (_spareCount > _inUse + fewSlabs) {
    Slab* const surplus = _spare;
    unlink(_spare, surplus);
    --_spareCount;
    lock.unlock();
    release(surplus);
    lock.lock();
  }
}

BlockPool::Slab* BlockPool::slabOf(void* block) noexcept {
  const auto offset = reinterpret_cast<std::uintptr_t>(block) % slabAlignment;
  return reinterpret_cast<Slab*>(static_cast<char*>(block) - offset);
}

BlockPool::Slab* BlockPool::makeSlab() {
  // Aligned `operator new` would round the size up and leave a gap behind every slab.
  void* memory = nullptr;
  if (::posix_memalign(&memory, slabAlignment, slabSize) != 0) {
    throw std::bad_alloc();
  }
  return new (memory) Slab;
}

/// Makes the slab as new: all its blocks are untouched again and lie side by side.
void BlockPool::clear(Slab* slab) const noexcept {
  slab->free = nullptr;
  slab->untouched = reinterpret_cast<char*>(slab + 1);
  slab->end = slab->untouched + (slabSize - sizeof(Slab)) / _blockSize * _blockSize;
  slab->used = 0;
}

void BlockPool::release(Slab* slab) noexcept {
  std::free(slab);
}

void BlockPool::link(Slab*& list, Slab* slab) noexcept {
  slab->before = nullptr;
  slab->after = list;
  if (slab->after != nullptr) {
    slab->after->before = slab;
  }
  list = slab;
}

void BlockPool::unlink(Slab*& list, Slab* slab) noexcept {
  if (slab->before != nullptr) {
    slab->before->after = slab->after;
  } else {
    list = slab->after;
  }
  if (slab->after != nullptr) {
    slab->after->before = slab->before;
  }
}

#ifdef TERNWOODVEXIL_PLAIN_BLOCKS

// Sanitizers find more when every block comes from the general allocator.
void* allocateBlock(std::size_t size) {
  return ::operator new(size);
}

void deallocateBlock(void* block, std::size_t /*size*/) noexcept {
  ::operator delete(block);
}

#else

namespace {

constexpr std::size_t step = sizeof(void*);
constexpr std::size_t poolCount = BlockPool::largest / step;

template <std::size_t... indexes>
constexpr std::array<BlockPool, sizeof...(indexes)> makePools(std::index_sequence<indexes...>) {
  return {BlockPool((indexes + 1) * step)...};
}

/// Never destroyed, because values in static storage may outlive any other static.
union Pools {
  constexpr Pools() : all(makePools(std::make_index_sequence<poolCount>())) {}
  ~Pools() {}
  std::array<BlockPool, poolCount> all;
};
constinit Pools pools;

}  // namespace

void* allocateBlock(std::size_t size) {
  return size - 1 < BlockPool::largest ? pools.all[(size - 1) / step].allocate()
                                       : ::operator new(size);
}

void deallocateBlock(void* block, std::size_t size) noexcept {
  if (size - 1 < BlockPool::largest) {
    pools.all[(size - 1) / step].deallocate(block);
  } else {
    ::operator delete(block);
  }
}

#endif

}  // namespace vexil::platform::detail
