// SPDX-License-Identifier: Apache-2.0
// The literal way really sorts, compares and makes everything. Otherwise the tests that compare it
// with the shorter ways would compare these with themselves.
#include "tests/vexil/collections/CollectionTesting.h"

#include <gtest/gtest.h>
#include <vexil/order/LiteralRefresh.h>

#include <memory>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::domainRecord;
using test::eventOf;
using test::records;
using vexil::detail::LiteralRefresh;

/// Equals all of its class, and counts how often it is asked.
struct Counted : platform::Object {
  [[nodiscard]] bool isEqual(const platform::Object& other) const override {
    ++asked;
    return dynamic_cast<const Counted*>(&other) != nullptr;
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }
  static inline int asked = 0;
};

/// Runs `body` in the shorter way and then in the literal way.
template <class Body>
void bothWays(const Body& body) {
  body(false);
  const LiteralRefresh literal;
  body(true);
}

TEST(LiteralRefresh, ComparesAListAsAWholeAndNotByIdentifiers) {
  const auto event = [](int number) {
    return Value::dictionary({{kTWEventUniqueID, number},
                              {kTWEventName, std::to_string(number)},
                              {"guest", Value(std::make_shared<Counted>())}});
  };
  bothWays([&](bool isLiteral) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setRoot(nullptr);
    list->setEvents(records({event(1), event(2), event(3)}));
    Counted::asked = 0;
    // Each stands in another place than before, where nothing can equal it.
    list->setEvents(records({event(0), event(1), event(2), event(3)}));
    EXPECT_EQ(Counted::asked, isLiteral ? 0 : 3);
  });
}

TEST(LiteralRefresh, SortsAlsoWhatIsInOrder) {
  bothWays([&](bool isLiteral) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    const Value events = records({eventOf({}, 1, "A"), eventOf({}, 2, "B")});
    list->setEvents(events);
    EXPECT_EQ(list->sortedEvents().sharesStorageWith(events), !isLiteral);
  });
}

// An event is inserted below the row that was made for it. During the refresh that row has either
// all of its events or none.
TEST(LiteralRefresh, MakesTheRowsOfAStoreWithTheirEvents) {
  bothWays([&](bool isLiteral) {
    const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
    store->setDomains(records({domainRecord("A", "Attic 7"), domainRecord("B", "Barn 9")}));
    store->setEvents(records({eventOf("A", "a1", "One")}));
    const auto row = store->root()->childAtIndex(0);
    std::size_t eventsOfTheParent = 0;
    const auto observation =
        platform::observe(row, "children", platform::ObservingOptions::both, [&](const auto&) {
          eventsOfTheParent = row->childAtIndex(1)->parent()->children()->size();
        });
    store->setEvents(records({eventOf("A", "a1", "One"), eventOf("A", "a2", "Two")}));
    EXPECT_EQ(eventsOfTheParent, isLiteral ? 2U : 0U);
  });
}

}  // namespace
