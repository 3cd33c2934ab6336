// SPDX-License-Identifier: Apache-2.0
// The order of events is that of a plain sort, which compares the keys of records.
#include "tests/support/Property.h"
#include "tests/vexil/collections/CollectionTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <compare>
#include <random>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::eventOf;
using test::records;

Value sortedByComparison(const Value& events) {
  std::vector<Value> all(events.elements().begin(), events.elements().end());
  std::ranges::stable_sort(all, [](const Value& a, const Value& b) {
    const auto names = a[kTWEventName].compare(b[kTWEventName]);
    return std::is_neq(names) ? std::is_lt(names)
                              : std::is_lt(a[kTWEventUniqueID].compare(b[kTWEventUniqueID]));
  });
  return records(std::move(all));
}

Value sortedByTheCollection(const Value& events) {
  const auto collection = std::make_shared<KRAVTWVEventsVexil>();
  collection->setEvents(events);
  return collection->sortedEvents();
}

/// Whether both hold the same objects in the same order. Equal records must not change places.
bool areTheSame(const Value& a, const Value& b) {
  return std::ranges::equal(a.elements(), b.elements(),
                            [](const Value& x, const Value& y) { return x.sharesStorageWith(y); });
}

/// Names that share long beginnings, of lengths around those at which their storage changes.
class Names {
 public:
  explicit Names(unsigned seed) : _random(seed) {}

  std::string next() {
    static const std::vector<std::string> beginnings = {
        "",
        "Backup ",
        "Backup di",
        "Backup disk of the ser",
        "Backup disk of the serve",
        "Backup disk of the server in the cellar, which is l",
        "\xC3\xA4\xC3\xB6",
        "\xFF\xFF"};
    static const std::string letters("ab\0\x01\x7F\x80\xFF", 7);
    std::string name = beginnings[_random() % beginnings.size()];
    for (auto count = _random() % 10; count > 0; --count) {
      name += letters[_random() % letters.size()];
    }
    return name;
  }
  unsigned below(unsigned count) { return static_cast<unsigned>(_random()) % count; }

 private:
  std::mt19937 _random;
};

PROPERTY(AnyListOfEvents, IsSortedByNameAndThenByIdentifierStably, (unsigned seed)) {
  Names names(seed);
  const unsigned count = std::vector{3U, 13U, 40U, 300U}[names.below(4)];
  const bool areNamesOdd = names.below(4) == 0;
  std::vector<Value> all;
  for (unsigned i = 0; i < count; ++i) {
    Value name(names.next());
    if (areNamesOdd && names.below(3) == 0) {
      name = std::vector<Value>{Value(), 3, 2.5, Date{1}, Value::null()}[names.below(5)];
    }
    all.push_back(eventOf({}, std::to_string(names.below(count)), name));
  }
  // The merge throws for a record without an identifier, after the list is stored. Identifiers may
  // occur twice here, because the tree is empty.
  const bool isComplete = names.below(3) != 0;
  if (!isComplete) {
    all.insert(all.begin() + names.below(count + 1), eventOf({}, {}, names.next()));
  }
  const Value events = records(std::move(all));
  const auto collection = std::make_shared<KRAVTWVEventsVexil>();
  if (isComplete) {
    collection->setEvents(events);
    RC_ASSERT(collection->root()->children()->size() == count);
  } else {
    RC_ASSERT_THROWS_AS(collection->setEvents(events), platform::InvalidArgument);
    RC_ASSERT(collection->root()->children()->empty());
  }
  RC_ASSERT(areTheSame(collection->sortedEvents(), sortedByComparison(events)));
}

TEST(EventSorting, ByTheThousandAreSortedAsFewAre) {
  for (const unsigned count : {255U, 257U, 8'191U, 8'193U, 20'000U}) {
    Names names(count);
    std::vector<Value> all;
    for (unsigned i = 0; i < count; ++i) {
      all.push_back(eventOf({}, i, names.next()));
    }
    const Value events = records(std::move(all));
    EXPECT_TRUE(areTheSame(sortedByTheCollection(events), sortedByComparison(events))) << count;
  }
}

TEST(EventSorting, OfOneNameAreSortedByIdentifier) {
  std::vector<Value> all;
  for (int i = 0; i < 1000; ++i) {
    all.push_back(eventOf({}, (i * 7919) % 1000, "the same name, longer than its beginning"));
  }
  const Value events = records(std::move(all));
  EXPECT_TRUE(areTheSame(sortedByTheCollection(events), sortedByComparison(events)));
}

}  // namespace
