// SPDX-License-Identifier: Apache-2.0
// Blocks of one size. Each has one owner until it is given back.
#include <gtest/gtest.h>
#include <vexil/platform/detail/BlockPool.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <random>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::detail::allocateBlock;
using platform::detail::BlockPool;
using platform::detail::deallocateBlock;
using platform::detail::PooledAllocator;

/// A block that its owner has filled with one byte. Another byte in it shows a second owner.
class Filled {
 public:
  Filled(void* block, std::size_t size, unsigned char byte)
      : _bytes(static_cast<unsigned char*>(block), size), _byte(byte) {
    std::ranges::fill(_bytes, byte);
  }
  [[nodiscard]] bool isIntact() const {
    return std::ranges::all_of(_bytes, [this](unsigned char byte) { return byte == _byte; });
  }
  [[nodiscard]] void* block() const { return _bytes.data(); }

 private:
  std::span<unsigned char> _bytes;
  unsigned char _byte;
};

PROPERTY(AnyUseOfABlockPool, LeavesBlocksThatAreInUseAlone, (unsigned seed)) {
  std::mt19937 random(seed);
  const std::size_t size = (1 + random() % (BlockPool::largest / 8)) * 8;
  BlockPool pool(size);
  std::vector<Filled> used;
  // Grows and shrinks, so that slabs come and go.
  for (const unsigned inFavour : {3U, 1U, 2U, 3U, 0U}) {
    for (int step = 0; step < 400; ++step) {
      if (random() % 4 < inFavour) {
        used.emplace_back(pool.allocate(), size, static_cast<unsigned char>(random()));
        RC_ASSERT(reinterpret_cast<std::uintptr_t>(used.back().block()) % alignof(void*) == 0);
      } else if (!used.empty()) {
        std::swap(used[random() % used.size()], used.back());
        RC_ASSERT(used.back().isIntact());
        pool.deallocate(used.back().block());
        used.pop_back();
      }
    }
    RC_ASSERT(std::ranges::all_of(used, &Filled::isIntact));
  }
  for (const Filled& block : used) {
    pool.deallocate(block.block());
  }
}

std::vector<void*> blocks(BlockPool& pool, std::size_t count) {
  std::vector<void*> made(count);
  std::ranges::generate(made, [&] { return pool.allocate(); });
  return made;
}

TEST(BlockPool, TakesLittleMoreThanItsBlocks) {
  constexpr std::size_t count = 10'000;
  constexpr std::size_t size = 136;
  BlockPool pool(size);
  const auto made = blocks(pool, count);
  EXPECT_LT(pool.slabCount() * BlockPool::slabAlignment, count * size * 103 / 100);
  std::ranges::for_each(made, [&](void* block) { pool.deallocate(block); });
}

TEST(BlockPool, GivesMemoryBackButForAFewSlabs) {
  BlockPool pool(64);
  const auto made = blocks(pool, 10'000);
  const std::size_t most = pool.slabCount();
  ASSERT_GT(most, 4 * BlockPool::fewSlabs);
  std::ranges::for_each(made, [&](void* block) { pool.deallocate(block); });
  EXPECT_EQ(pool.slabCount(), BlockPool::fewSlabs);
}

TEST(BlockPool, KeepsAsMuchAsIsInUseForTheNextList) {
  BlockPool pool(64);
  const auto held = blocks(pool, 10'000);
  const auto fresh = blocks(pool, 10'000);
  const std::size_t both = pool.slabCount();
  std::ranges::for_each(held, [&](void* block) { pool.deallocate(block); });
  EXPECT_GE(pool.slabCount() + 1, both);
  const auto next = blocks(pool, 10'000);
  EXPECT_LE(pool.slabCount(), both + 1);
  for (const auto& made : {fresh, next}) {
    std::ranges::for_each(made, [&](void* block) { pool.deallocate(block); });
  }
}

TEST(BlockPool, HandsOutNeighboursInOrderAgainAfterAllCameBackInDisorder) {
  BlockPool pool(32);
  auto made = blocks(pool, 50);
  std::ranges::shuffle(made, std::mt19937(1));
  std::ranges::for_each(made, [&](void* block) { pool.deallocate(block); });
  const auto again = blocks(pool, 50);
  EXPECT_TRUE(std::ranges::is_sorted(again));
  std::ranges::for_each(again, [&](void* block) { pool.deallocate(block); });
}

TEST(Blocks, OfAnySizeAreWritable) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{8}, std::size_t{9}, BlockPool::largest,
                                 BlockPool::largest + 1, std::size_t{100'000}}) {
    const Filled first(allocateBlock(size), size, 1);
    const Filled second(allocateBlock(size), size, 2);
    EXPECT_TRUE(first.isIntact()) << size;
    deallocateBlock(first.block(), size);
    EXPECT_TRUE(second.isIntact()) << size;
    deallocateBlock(second.block(), size);
  }
}

TEST(Blocks, HoldSharedObjects) {
  const auto text = std::allocate_shared<std::set<int>>(PooledAllocator<std::set<int>>(),
                                                        std::initializer_list<int>{1, 2});
  const std::weak_ptr<std::set<int>> weak = text;
  EXPECT_EQ(*weak.lock(), (std::set<int>{1, 2}));
}

}  // namespace
