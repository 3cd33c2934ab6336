// SPDX-License-Identifier: Apache-2.0
// Outlines when there is no memory.
#include "tests/support/AllocationCounter.h"

#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using vexil::Outline;
using vexil::OutlineRow;
using vexil::platform::Value;

namespace {

/// Events that change their domains and names, and domains that come and go.
void refresh(KRAVTWVEventStoreVexil& store, int round) {
  std::vector<Value> domains;
  for (int i = round % 2; i < 5; ++i) {
    domains.push_back(Value::dictionary({{kTWDomainUniqueID, Value("d" + std::to_string(i))},
                                         {kTWDomainName, Value("D" + std::to_string(i + round))}}));
  }
  std::vector<Value> events;
  for (int i = 0; i < 8; ++i) {
    events.push_back(
        Value::dictionary({{kTWEventUniqueID, Value("e" + std::to_string(i))},
                           {kTWEventName, Value("n" + std::to_string(i * (round + 7) % 31))},
                           {kTWEventDomain, Value("d" + std::to_string(i * round % 6))}}));
  }
  store.setDomains(Value::array(std::move(domains)));
  store.setEvents(Value::array(std::move(events)));
}

void expectShows(const OutlineRow& row, const KRAVTWVItemVexil& item) {
  const auto children = item.children();
  ASSERT_EQ(row.childCount(), children ? children->size() : 0U);
  for (std::size_t i = 0; i < row.childCount(); ++i) {
    const OutlineRow& child = *row.child(i);
    EXPECT_EQ(child.item(), (*children)[i]);
    EXPECT_EQ(child.label(), (*children)[i]->label());
    expectShows(child, *(*children)[i]);
  }
}

class OutlineMemory : public testing::TestWithParam<bool> {};

TEST_P(OutlineMemory, TheNextUpdateShowsTheTreeAsItIs) {
  std::shared_ptr<KRAVTWVEventStoreVexil> store;
  std::unique_ptr<Outline> outline;
  bool hasFailed = false;
  const std::size_t places = test::failEachAllocation(
      [&] {
        if (hasFailed) {
          for (const int round : {2, 3, 4}) {
            (void)outline->update();
            expectShows(outline->top(), *store->root());
            refresh(*store, round);
          }
          (void)outline->update();
          expectShows(outline->top(), *store->root());
        }
        store = std::make_shared<KRAVTWVEventStoreVexil>();
        refresh(*store, 1);
        outline = std::make_unique<Outline>(store,
                                            vexil::OutlineOptions{.followsProperties = GetParam()});
        (void)outline->update();
        refresh(*store, 2);
        hasFailed = true;
      },
      [&] { (void)outline->update(); });
  EXPECT_GT(places, 100U);
}

TEST_P(OutlineMemory, NoStepIsLostWhenAnUpdateThrows) {
  std::shared_ptr<KRAVTWVEventStoreVexil> store;
  std::unique_ptr<Outline> outline;
  vexil::OutlineCopy copy;
  vexil::OutlineUpdate last;
  const std::size_t places = test::failEachAllocation(
      [&] {
        if (outline) {
          copy.apply(last);
          copy.apply(outline->update());
          EXPECT_EQ(copy.rowCount(), outline->rowCount());
          expectShows(outline->top(), *store->root());
        }
        store = std::make_shared<KRAVTWVEventStoreVexil>();
        refresh(*store, 1);
        outline = std::make_unique<Outline>(store,
                                            vexil::OutlineOptions{.followsProperties = GetParam()});
        copy = {};
        copy.apply(outline->update());
        refresh(*store, 2);
        last = {};
      },
      [&] { last = outline->update(); });
  EXPECT_GT(places, 100U);
}

TEST_P(OutlineMemory, AnOutlineIsDestroyedWhenThereIsNone) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  const vexil::OutlineOptions options{.followsProperties = GetParam()};
  std::unique_ptr<Outline> outline;
  std::unique_ptr<Outline> later;
  bool isOutOfDate = false;
  for (std::size_t before = 0; before < 10; ++before) {
    outline = std::make_unique<Outline>(list, options);
    later = std::make_unique<Outline>(
        list, vexil::OutlineOptions{.outOfDate = [&] { isOutOfDate = true; }});
    (void)outline->update();
    (void)later->update();
    {
      const test::FailingAllocation failing(before);
      outline.reset();
    }
    isOutOfDate = false;
    list->setRoot(list->root());
    EXPECT_TRUE(isOutOfDate) << "the other outline is still told";
  }
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutProperties, OutlineMemory, testing::Bool());

}  // namespace
