// SPDX-License-Identifier: Apache-2.0
// Internal: memory for the many small blocks, of few sizes, that records and items are made of.
#pragma once

#include <vexil/platform/detail/SpinLock.h>

#include <cstddef>
#include <memory>

namespace vexil::platform::detail {

/// Hands out blocks of one size, cut from slabs. A block has no header, and neighbours lie side by
/// side. That takes less memory than a general allocator and a fraction of its instructions. Any
/// thread may allocate and deallocate.
///
/// A slab without blocks in use is spare. The pool keeps as many spare slabs as it has slabs in
/// use, and `fewSlabs` more, because the next list of records takes as much memory as the one it
/// replaces. It frees all other spare slabs.
class BlockPool {
 public:
  static constexpr std::size_t largest = 256;
  static constexpr std::size_t slabAlignment = std::size_t{1} << 13;
  static constexpr std::size_t fewSlabs = 16;

  /// `blockSize` must be a multiple of the size of a pointer, and at most `largest`. Blocks are
  /// aligned like pointers.
  explicit constexpr BlockPool(std::size_t blockSize) noexcept : _blockSize(blockSize) {}
  BlockPool(const BlockPool&) = delete;
  BlockPool& operator=(const BlockPool&) = delete;
  /// Leaks the slabs with blocks in use, because somebody still uses them.
  constexpr ~BlockPool() {
    if (_spare != nullptr) {
      releaseSpare();
    }
  }

  /// Throws `std::bad_alloc` when there is no memory.
  [[nodiscard]] void* allocate();
  /// `block` must come from this pool, and nobody may use it any more.
  void deallocate(void* block) noexcept;

  /// The number of slabs, for tests.
  [[nodiscard]] std::size_t slabCount() const noexcept { return _inUse + _spareCount; }

 private:
  struct Block {
    Block* next;
  };
  /// A header at the beginning of a slab's memory, at a multiple of `slabAlignment`, so that the
  /// address of a block tells where its slab is.
  struct Slab {
    Slab* before;  // in the list the slab is in
    Slab* after;
    Block* free;      // blocks that were given back
    char* untouched;  // from here on no block was ever given out
    char* end;
    std::size_t used;

    [[nodiscard]] bool hasRoom() const { return free != nullptr || untouched != end; }
  };
  // A slab is smaller than its alignment by the bytes that the general allocator puts before each
  // allocation. So the next slab can begin at the next multiple of the alignment.
  static constexpr std::size_t slabSize = slabAlignment - 2 * sizeof(void*);

  [[nodiscard]] static Slab* slabOf(void* block) noexcept;
  [[nodiscard]] static Slab* makeSlab();
  static void link(Slab*& list, Slab* slab) noexcept;
  static void unlink(Slab*& list, Slab* slab) noexcept;
  static void release(Slab* slab) noexcept;
  void clear(Slab* slab) const noexcept;
  void releaseSpare() noexcept;

  SpinLock _lock;
  Slab* _withRoom = nullptr;  // slabs with some blocks in use and some free
  Slab* _spare = nullptr;     // slabs with no block in use
  std::size_t _inUse = 0;     // slabs that are not spare
  std::size_t _spareCount = 0;
  std::size_t _blockSize;
};

/// Memory of any size, in place of `::operator new`: from a pool when it is small.
[[nodiscard]] void* allocateBlock(std::size_t size);
/// `size` must be the size that was asked for.
void deallocateBlock(void* block, std::size_t size) noexcept;

/// Makes `std::allocate_shared` take an object and its counts from a pool, unless the object needs
/// a larger alignment than pools have.
template <class T>
struct PooledAllocator {
  using value_type = T;
  PooledAllocator() = default;
  template <class Other>
  // NOLINTNEXTLINE(google-explicit-constructor): allocators convert implicitly
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
