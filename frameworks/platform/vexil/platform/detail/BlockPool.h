// SPDX-License-Identifier: Apache-2.0
// Internal: memory for the many small things of few sizes that records and items are made of.
#pragma once

#include <vexil/platform/detail/SpinLock.h>

#include <cstddef>
#include <memory>

namespace vexil::platform::detail {

/// Blocks of one size, cut from slabs. A block has no header, and neighbours lie side by side: that
/// takes less memory than a general allocator does, and a fraction of its instructions. Any thread
/// may allocate and deallocate.
///
/// A slab without blocks in use is kept while there are no more such slabs than others, and a few:
/// the next list of records takes as much memory as the one that it replaces. Others go back.
class BlockPool {
 public:
  static constexpr std::size_t largest = 256;
  static constexpr std::size_t slabAlignment = std::size_t{1} << 13;
  static constexpr std::size_t fewSlabs = 16;

  /// A multiple of the size of a pointer, and at most `largest`; blocks are aligned like pointers.
  explicit constexpr BlockPool(std::size_t blockSize) noexcept : _blockSize(blockSize) {}
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  /// What is in use is leaked, rather than taken away from whoever uses it.
  constexpr ~BlockPool() {
    if (_spare != nullptr) {
      releaseSpare();
    }
  }

  /// Raises `std::bad_alloc` when there is no memory.
  [[nodiscard]] void* allocate();
  /// `block` is from this pool, and nobody uses it any more.
  void deallocate(void* block) noexcept;

  /// How many slabs there are, for tests.
  [[nodiscard]] std::size_t slabCount() const noexcept { return _inUse + _spareCount; }

 private:
  struct Block {
    Block* next;
  };
  /// Stands at the beginning of its memory, at a multiple of `slabAlignment`, so that the address
  /// of a block tells where.
  struct Slab {
    Slab* before;  // in its list
    Slab* after;
    Block* free;      // blocks that were given back
    char* untouched;  // from here on none was given out
    char* end;
    std::size_t used;

    [[nodiscard]] bool hasRoom() const { return free != nullptr || untouched != end; }
  };
  // The rest is for the header of the general allocator, so that slabs too lie side by side.
  static constexpr std::size_t slabSize = slabAlignment - 2 * sizeof(void*);

  [[nodiscard]] static Slab* slabOf(void* block) noexcept;
  [[nodiscard]] static Slab* makeSlab();
  static void link(Slab*& list, Slab* slab) noexcept;
  static void unlink(Slab*& list, Slab* slab) noexcept;
  static void release(Slab* slab) noexcept;
  void clear(Slab* slab) const noexcept;
  void releaseSpare() noexcept;

  SpinLock _lock;
  Slab* _withRoom = nullptr;  // some of their blocks are in use, and some are not
  Slab* _spare = nullptr;     // none is
  std::size_t _inUse = 0;     // slabs that are not spare
  std::size_t _spareCount = 0;
  std::size_t _blockSize;
};

/// Memory of any size: from a pool when it is small, and in place of `::operator new`.
[[nodiscard]] void* allocateBlock(std::size_t size);
/// `size` is what was asked for.
void deallocateBlock(void* block, std::size_t size) noexcept;

/// Has `std::allocate_shared` take an object and its counts from a pool, unless they must be
/// aligned more than pools do.
template <class T>
struct PooledAllocator {
  using value_type = T;
  PooledAllocator() = default;
  template <class Other>
  // NOLINTNEXTLINE(google-explicit-constructor): as allocators are
  PooledAllocator(const PooledAllocator<Other>&) noexcept {}

  [[nodiscard]] T* allocate(std::size_t count) {
    if constexpr (alignof(T) > alignof(void*)) {
      return std::allocator<T>().allocate(count);
    }
    return static_cast<T*>(allocateBlock(count * sizeof(T)));
  }
  void deallocate(T* objects, std::size_t count) noexcept {
    if constexpr (alignof(T) > alignof(void*)) {
      return std::allocator<T>().deallocate(objects, count);
    }
    deallocateBlock(objects, count * sizeof(T));
  }
  friend bool operator==(const PooledAllocator&, const PooledAllocator&) { return true; }
};

}  // namespace vexil::platform::detail
