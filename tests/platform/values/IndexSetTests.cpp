// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/IndexSet.h>

#include <set>
#include <type_traits>
#include <vector>

#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::IndexSet;
using platform::RangeError;

static_assert(std::is_nothrow_move_constructible_v<IndexSet>);
static_assert(std::is_nothrow_move_assignable_v<IndexSet>);
static_assert(std::is_copy_constructible_v<IndexSet>);

std::vector<std::size_t> positionsOf(const IndexSet& set) {
  std::vector<std::size_t> positions;
  set.forEach([&](std::size_t index) { positions.push_back(index); });
  return positions;
}

TEST(IndexSet, IsEmptyAtFirst) {
  const IndexSet set;
  EXPECT_TRUE(set.empty());
  EXPECT_EQ(set.count(), 0U);
  EXPECT_EQ(set.first(), std::nullopt);
  EXPECT_EQ(set.last(), std::nullopt);
  EXPECT_FALSE(set.contains(0));
  EXPECT_EQ(set.description(), "{}");
  EXPECT_TRUE(positionsOf(set).empty());
}

TEST(IndexSet, KeepsPositionsOnceAndInOrder) {
  const IndexSet set{4, 0, 2, 3, 0};
  EXPECT_EQ(positionsOf(set), (std::vector<std::size_t>{0, 2, 3, 4}));
  EXPECT_EQ(set.count(), 4U);
  EXPECT_EQ(set.first(), 0U);
  EXPECT_EQ(set.last(), 4U);
  EXPECT_TRUE(set.contains(3));
  EXPECT_FALSE(set.contains(1));
  EXPECT_FALSE(set.contains(5));
}

TEST(IndexSet, RunsOfNeighboursPrintAsRanges) {
  EXPECT_EQ((IndexSet{0, 2, 3, 4, 9}).description(), "{0, 2-4, 9}");
  EXPECT_EQ((IndexSet{1, 2}).description(), "{1-2}");
}

TEST(IndexSet, RunsThatMeetBecomeOne) {
  IndexSet set{0, 1, 3, 4};
  EXPECT_EQ(set.ranges().size(), 2U);
  set.insert(2);
  EXPECT_EQ(set.ranges(), (std::vector<IndexSet::Range>{{0, 5}}));
}

TEST(IndexSet, RunsGrowAtBothEnds) {
  IndexSet set{5};
  set.insert(6);
  set.insert(4);
  EXPECT_EQ(set.ranges(), (std::vector<IndexSet::Range>{{4, 3}}));
  set.insert(2);
  EXPECT_EQ(set.description(), "{2, 4-6}");
}

TEST(IndexSet, OfARangeHoldsItsStartAndNotItsEnd) {
  EXPECT_EQ(IndexSet::range(2, 5), (IndexSet{2, 3, 4}));
  EXPECT_TRUE(IndexSet::range(3, 3).empty());
  EXPECT_TRUE(IndexSet::range(5, 2).empty());
}

TEST(IndexSet, OfAMillionNeighboursIsOneRun) {
  IndexSet set;
  for (std::size_t i = 0; i < 1'000'000; ++i) {
    set.insert(i);
  }
  EXPECT_EQ(set, IndexSet::range(0, 1'000'000));
  EXPECT_EQ(set.ranges().size(), 1U);
}

TEST(IndexSet, IsEqualByItsPositionsHoweverItWasMade) {
  EXPECT_EQ((IndexSet{3, 1, 2}), IndexSet::range(1, 4));
  EXPECT_NE((IndexSet{1, 2}), (IndexSet{1, 3}));
  EXPECT_NE(IndexSet(), IndexSet{0});
}

TEST(IndexSet, HoldsTheLargestPositionOfAnyList) {
  constexpr std::size_t largest = SIZE_MAX - 1;
  IndexSet set{largest, 0};
  EXPECT_TRUE(set.contains(largest));
  EXPECT_EQ(set.last(), largest);
  EXPECT_EQ(positionsOf(set), (std::vector<std::size_t>{0, largest}));
  set.insert(largest - 1);
  EXPECT_EQ(set.count(), 3U);
  EXPECT_EQ(set.ranges().size(), 2U);
}

TEST(IndexSet, RefusesWhatIsNoPositionOfAnyList) {
  // A list has at most SIZE_MAX elements, so this is what "not found" is often written as.
  IndexSet set{1};
  EXPECT_THROW(set.insert(SIZE_MAX), RangeError);
  EXPECT_EQ(set, IndexSet{1});
  EXPECT_FALSE(set.contains(SIZE_MAX));
}

PROPERTY(IndexSetProperty, BehavesLikeAnOrderedSet, ()) {
  const auto indexes =
      *rc::gen::container<std::vector<std::size_t>>(rc::gen::inRange<std::size_t>(0, 40));
  IndexSet set;
  std::set<std::size_t> model;
  for (const std::size_t index : indexes) {
    set.insert(index);
    model.insert(index);
  }
  RC_ASSERT(positionsOf(set) == std::vector<std::size_t>(model.begin(), model.end()));
  RC_ASSERT(set.count() == model.size());
  RC_ASSERT(set.empty() == model.empty());
  for (std::size_t index = 0; index <= 41; ++index) {
    RC_ASSERT(set.contains(index) == model.contains(index));
  }
  if (!model.empty()) {
    RC_ASSERT(set.first() == *model.begin());
    RC_ASSERT(set.last() == *model.rbegin());
  }
  for (std::size_t i = 0; i < set.ranges().size(); ++i) {
    RC_ASSERT(set.ranges()[i].count > 0U);
    if (i > 0) {
      RC_ASSERT(set.ranges()[i - 1].end() < set.ranges()[i].first);
    }
  }
}

}  // namespace
