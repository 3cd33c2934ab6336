// SPDX-License-Identifier: Apache-2.0
// What a collection shows depends only on what it was given last, not on what it was given before.
#include "CollectionTesting.h"
#include "tests/support/Property.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <set>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::NetService;
using platform::Value;
using test::domainRecord;
using test::eventOf;
using test::records;
using test::TreeRecorder;

// --- event store

/// Domain or event records, or no list; the identifiers all differ.
Value drawn(std::string_view identifiers, const rc::Gen<Value>& record, const platform::Key& key) {
  std::set<char> used;
  std::vector<Value> all;
  for (const char identifier : *test::small(
           rc::gen::container<std::string>(rc::gen::elementOf(std::string(identifiers))))) {
    if (used.insert(identifier).second) {
      const Value rest = *record;
      std::vector<std::pair<platform::Key, Value>> entries = {{key, std::string(1, identifier)}};
      for (std::size_t i = 0; i < rest.keys().size(); ++i) {
        entries.emplace_back(rest.keys()[i], rest.values()[i]);
      }
      all.push_back(Value::dictionary(std::move(entries)));
    }
  }
  return *rc::gen::inRange(0, 8) == 0 ? Value() : records(std::move(all));
}

PROPERTY(AnyEventStore, ShowsWhatANewOneShowsThatIsGivenTheLastInputs, ()) {
  const auto text = [](const char* letters) {
    return rc::gen::map(rc::gen::elementOf(std::string(letters)),
                        [](char letter) { return Value(std::string(1, letter)); });
  };
  const auto domain =
      rc::gen::map(rc::gen::pair(text("MN"), rc::gen::weightedElement<Value>(
                                                 {{5, Value()}, {1, Value(kTWDomainType_Engine)}})),
                   [](const auto& of) { return domainRecord({}, of.first, of.second); });
  const auto event = rc::gen::map(
      rc::gen::pair(text("Mmnz"), rc::gen::oneOf(text("ABCD"), rc::gen::just(Value()))),
      [](const auto& of) { return eventOf(of.second, {}, of.first); });

  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  const auto recorder = TreeRecorder::of(store->root());
  Value domains = records({});
  Value events = records({});
  for (int refresh = 0; refresh < 8; ++refresh) {
    if (*rc::gen::arbitrary<bool>()) {
      domains = drawn("ABC", domain, kTWDomainUniqueID);
      store->setDomains(domains);
    } else {
      events = drawn("123456", event, kTWEventUniqueID);
      store->setEvents(events);
    }
    const auto fresh = std::make_shared<KRAVTWVEventStoreVexil>();
    fresh->setEvents(events);
    fresh->setDomains(domains);
    RC_ASSERT(test::showTheSame(store->root(), fresh->root()));
    (void)recorder->take();
    store->setEvents(store->sortedEvents());
    store->setDomains(store->orderedDomains());
    RC_ASSERT(recorder->take().empty());
  }
}

// --- network services

/// What the rows represent, level by level.
std::string represented(const KRAVTWVItemArray& rows) {
  std::string text;
  for (const auto& row : rows) {
    const Value object = row->representedObject();
    const auto service = std::dynamic_pointer_cast<NetService>(object.object());
    text += service ? service->name().displayText() + "/" + service->type().displayText() + "/" +
                          service->domain().displayText()
                    : object.displayText();
    text += "[" + represented(*row->children()) + "] ";
  }
  return text;
}

bool isInOrder(const KRAVTWVNetServiceArray& services) {
  return std::ranges::is_sorted(services, [](const auto& a, const auto& b) {
    const auto domains = a->domain().compare(b->domain());
    return std::is_neq(domains) ? std::is_lt(domains) : std::is_lt(a->name().compare(b->name()));
  });
}

PROPERTY(AnyServices, AreHeldOnceInOrderAndShownAsIfBuiltAnew, ()) {
  const auto anyService = rc::gen::map(
      rc::gen::tuple(rc::gen::element("a", "A", "b", "c"), rc::gen::element("t.", "u."),
                     rc::gen::element("local.", "LOCAL.", "Local.", "Work.", "alpha.")),
      [](const auto& parts) {
        const auto& [name, type, domain] = parts;
        return std::make_shared<NetService>(name, type, domain);
      });
  const auto collection = std::make_shared<KRAVTWVServicesVexil>();
  std::vector<std::shared_ptr<NetService>> expected;
  collection->setGroupByDomain(*rc::gen::arbitrary<bool>());
  bool hasOneShape = true;
  for (int step = 0; step < 30; ++step) {
    const std::shared_ptr<NetService> each = *anyService;
    const auto known =
        std::ranges::find_if(expected, [&](const auto& other) { return other->isEqual(*each); });
    switch (*rc::gen::weightedElement<int>({{36, 0}, {24, 1}, {1, 2}})) {
      case 0:
        collection->addService(each);
        if (known == expected.end()) {
          expected.push_back(each);
        }
        break;
      case 1:
        collection->removeService(each);
        if (known != expected.end()) {
          expected.erase(known);
        }
        break;
      default:
        collection->setGroupByDomain(!collection->groupByDomain());
        collection->updateItemsForServices();
        hasOneShape = false;
    }
    const auto& services = *collection->sortedServices();
    RC_ASSERT(isInOrder(services));
    RC_ASSERT(services.size() == expected.size());
    for (const auto& one : expected) {
      RC_ASSERT(std::ranges::count_if(
                    services, [&](const auto& other) { return other->isEqual(*one); }) == 1);
    }

    const auto fresh = std::make_shared<KRAVTWVServicesVexil>();
    fresh->setGroupByDomain(collection->groupByDomain());
    fresh->setSortedServices(collection->sortedServices());
    fresh->updateItemsForServices();
    RC_ASSERT(represented(*fresh->root()->children()) ==
              represented(*collection->root()->children()));
    // A new shape may change the order of domains. Then they take over only each other's content.
    RC_ASSERT(!hasOneShape || test::showTheSame(fresh->root(), collection->root()));
  }
}

}  // namespace
