// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/Hash.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::Key;

static_assert(sizeof(Key) == sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<Key>);
static_assert(std::is_nothrow_move_constructible_v<Key>);
static_assert(std::is_nothrow_move_assignable_v<Key>);
static_assert(!std::is_default_constructible_v<Key>);

TEST(Key, IsEqualToEveryKeyOfTheSameCharacters) {
  const std::string text = "children";
  const Key key("children");
  EXPECT_EQ(key, Key(text));
  EXPECT_EQ(key, Key(std::string_view("grandchildren").substr(5)));
  EXPECT_EQ(key.hash(), Key(text).hash());
  EXPECT_EQ(std::hash<Key>{}(key), key.hash());
  EXPECT_NE(key, Key("Children"));
  EXPECT_NE(key, Key("children "));
}

TEST(Key, GivesItsCharactersBack) {
  EXPECT_EQ(Key("label").text(), "label");
  EXPECT_EQ(Key(std::string(1000, 'k')).text(), std::string(1000, 'k'));
  EXPECT_EQ(Key(std::string("a\0b", 3)).text(), std::string_view("a\0b", 3));
}

TEST(Key, CanBeEmpty) {
  EXPECT_EQ(Key("").text(), "");
  EXPECT_EQ(Key(std::string_view()), Key(""));
}

TEST(Key, IsCopiedMovedAndAssigned) {
  Key key("one");
  Key copy(key);
  EXPECT_EQ(copy, key);
  const Key moved(std::move(copy));
  EXPECT_EQ(moved.text(), "one");
  key = Key("two");
  EXPECT_EQ(key.text(), "two");
  const Key& same = key;
  key = same;
  EXPECT_EQ(key.text(), "two");
  copy = key;
  EXPECT_EQ(copy.text(), "two") << "a key that was moved from takes a new value";
}

TEST(Key, ThatIsHeldIsFoundWithoutAnAllocation) {
  const Key held("a key that somebody holds");
  EXPECT_EQ(test::allocationsOf([] { const Key again("a key that somebody holds"); }), 0U);
}

TEST(Key, ThatNobodyHoldsLeavesTheTable) {
  const std::ptrdiff_t before = test::liveAllocations();
  for (int i = 0; i < 10'000; ++i) {
    const Key key("a passing key " + std::to_string(i));
  }
  EXPECT_LT(test::liveAllocations() - before, 10) << "the table itself may have grown";
}

TEST(Key, HashesLikeAStringOfTheSameCharacters) {
  EXPECT_EQ(Key("name").hash(), platform::hashOfText("name"));
  EXPECT_EQ(platform::Value("name").hash(), platform::hashOfText("name"));
}

PROPERTY(KeyProperty, AgreesWithTheCharacters, (const std::string& one, const std::string& other)) {
  const Key a(one);
  const Key b(other);
  RC_ASSERT((a == b) == (one == other));
  RC_ASSERT(a.text() == one);
  RC_ASSERT(a == Key(one));
}

TEST(Key, CanBeMadeAndDroppedOnSeveralThreads) {
  std::vector<std::thread> threads;
  std::vector<int> mistakes(4, 0);
  for (std::size_t thread = 0; thread < mistakes.size(); ++thread) {
    threads.emplace_back([&mistakes, thread] {
      for (int i = 0; i < 5000; ++i) {
        const std::string text = "contended " + std::to_string(i % 3);
        const Key one(text);
        const Key two(text);
        mistakes[thread] += one == two && one.text() == text ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(mistakes, std::vector<int>(4, 0));
}

}  // namespace
