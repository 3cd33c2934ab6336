// SPDX-License-Identifier: Apache-2.0
// Lists so long that records are looked for a block at a time, far ahead of where they are needed.
// Every step is compared with a collection that has seen no other list.
#include "CollectionTesting.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::Lines;
using test::records;
using test::TreeRecorder;

/// The record of a number, made anew each time. Records sort by their numbers.
Value event(int number, int revision = 0) {
  const std::string digits = std::to_string(1'000'000 + number);
  return Value::dictionary({{kTWEventUniqueID, "id " + digits},
                            {kTWEventName, "name " + digits},
                            {"revision", revision}});
}

/// The numbers below `count`, in an order that the seed decides.
std::vector<int> shuffled(int count, unsigned seed) {
  std::vector<int> numbers(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    numbers[static_cast<std::size_t>(i)] = i;
  }
  std::ranges::shuffle(numbers, std::mt19937(seed));
  return numbers;
}

std::vector<Value> eventsOf(const std::vector<int>& numbers) {
  std::vector<Value> events;
  events.reserve(numbers.size());
  for (const int number : numbers) {
    events.push_back(event(number));
  }
  return events;
}

/// The parameter is the number of records: one block or more, with and without a partial one.
struct LargeRefresh : ::testing::TestWithParam<int> {
  LargeRefresh() { list->setEvents(records(eventsOf(shuffled(count, 1)))); }

  /// Refreshes. Returns what was announced of the root's children, without the items.
  Lines refresh(std::vector<Value> events) {
    const Value all = records(std::move(events));
    const auto recorder = TreeRecorder::of(list->root());
    list->setEvents(all);
    const auto fresh = std::make_shared<KRAVTWVEventsVexil>();
    fresh->setEvents(all);
    EXPECT_EQ(list->sortedEvents(), fresh->sortedEvents());
    EXPECT_TRUE(test::showTheSame(list->root(), fresh->root()));
    Lines lines = recorder->take();
    for (std::string& line : lines) {
      line.resize(line.find('}') + 1);
    }
    return lines;
  }

  const int count = GetParam();
  std::shared_ptr<KRAVTWVEventsVexil> list = std::make_shared<KRAVTWVEventsVexil>();
};

TEST_P(LargeRefresh, ThatBringsTheSameInAnotherOrderAnnouncesNothing) {
  for (unsigned order = 2; order < 5; ++order) {
    EXPECT_EQ(refresh(eventsOf(shuffled(count, order))), Lines{});
  }
  const std::vector<Value> same = eventsOf(shuffled(count, 5));
  EXPECT_EQ(refresh(same), Lines{});
  EXPECT_EQ(refresh(same), Lines{}) << "the very records, in the order of last time";
  EXPECT_EQ(refresh(eventsOf(shuffled(count, 5))), Lines{})
      << "equal ones, in the order of last time";
}

TEST_P(LargeRefresh, FindsTheOneThatHasChangedWhereverItStands) {
  const std::vector<int> order = shuffled(count, 2);
  int revision = 0;
  for (const int at : {0, 1, 30, 31, 32, 33, count / 2, count - 2, count - 1}) {
    std::vector<Value> events = eventsOf(order);
    const int number = order[static_cast<std::size_t>(at) % order.size()];
    events[static_cast<std::size_t>(at) % order.size()] = event(number, ++revision);
    const std::string replaced = "root children replacement {" + std::to_string(number) + "}";
    EXPECT_EQ(refresh(events), Lines{replaced}) << at;
    EXPECT_EQ(refresh(eventsOf(order)), Lines{replaced}) << at;
  }
}

TEST_P(LargeRefresh, FindsThoseThatCameAndWentAmongTheOthers) {
  std::vector<Value> events = eventsOf(shuffled(count - 1, 2));
  events.insert(events.begin() + 7, event(count + 3));
  EXPECT_EQ(refresh(events),
            (Lines{"root children removal {" + std::to_string(count - 1) + "}",
                   "root children insertion {" + std::to_string(count - 1) + "}"}));
  std::ranges::reverse(events);
  events.push_back(event(count - 1));
  EXPECT_EQ(refresh(events), Lines{"root children insertion {" + std::to_string(count - 1) + "}"});
  std::erase_if(events, [](const Value& each) { return each == event(0); });
  EXPECT_EQ(refresh(events), Lines{"root children removal {0}"});
}

TEST_P(LargeRefresh, FindsAllAgainAfterOneWasRenamed) {
  std::vector<Value> events = eventsOf(shuffled(count, 2));
  const Value renamed = Value::dictionary(
      {{kTWEventUniqueID, "id 1000000"}, {kTWEventName, "renamed"}, {"revision", 0}});
  *std::ranges::find(events, event(0)) = renamed;  // from the first place to the last
  EXPECT_EQ(refresh(events),
            Lines{"root children replacement {0-" + std::to_string(count - 1) + "}"});
  for (unsigned order = 3; order < 5; ++order) {
    std::ranges::shuffle(events, std::mt19937(order));
    EXPECT_EQ(refresh(events), Lines{});
  }
}

INSTANTIATE_TEST_SUITE_P(OfSoMany, LargeRefresh, ::testing::Values(31, 32, 33, 65, 2'000, 2'017));

}  // namespace
