// SPDX-License-Identifier: Apache-2.0
// What it costs to add many children at once, where many of them are equal, or nearly so.
#include <benchmark/benchmark.h>
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Benchmarks.h"
#include "Watched.h"

namespace platform = vexil::platform;

namespace {

using platform::Value;

Value eventRecord(std::size_t number) {
  return Value::dictionary({{kTWEventUniqueID, "event-" + std::to_string(number)},
                            {kTWEventName, "Event number " + std::to_string(number)},
                            {kTWEventDomain, "domain"}});
}

KRAVTWVItemArray eventItems(std::size_t count) {
  KRAVTWVItemArray items;
  items.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    items.push_back(KRAVTWVEventVexil::itemWithEvent(eventRecord(i)));
  }
  return items;
}

std::shared_ptr<KRAVTWVItemVexil> emptyGroup() {
  return KRAVTWVGroupVexil::itemWithLabelUniqueID("group", "group");
}

/// As many items as the size says, to a group that has none.
void addItems(benchmark::State& state) {
  const KRAVTWVItemArray items = eventItems(sizeOf(state));
  for (auto _ : state) {
    const auto group = emptyGroup();
    timed(state, [&] { group->addChildren(items); });
  }
}

/// The very items that are there.
void addItemsAgain(benchmark::State& state) {
  const auto group = emptyGroup();
  const KRAVTWVItemArray items = eventItems(sizeOf(state));
  group->addChildren(items);
  for (auto _ : state) {
    timed(state, [&] { group->addChildren(items); });
  }
}

/// Others that equal those that are there.
void addEqualItems(benchmark::State& state) {
  const KRAVTWVItemArray equal = eventItems(sizeOf(state));
  for (auto _ : state) {
    const auto group = emptyGroup();
    group->addChildren(eventItems(sizeOf(state)));
    timed(state, [&] { group->addChildren(equal); });
  }
}

/// The items of an event store in which every record occurs twice.
void makeItemsOfRecordsThatOccurTwice(benchmark::State& state) {
  std::vector<Value> records;
  for (std::size_t i = 0; i < sizeOf(state); ++i) {
    records.push_back(eventRecord(i / 2));
  }
  const Value events = Value::array(std::move(records));
  const Value domain = Value::dictionary({{kTWDomainUniqueID, "domain"}, {kTWDomainName, "Name"}});
  const Value domains = Value::array({domain, Value::dictionary({{kTWDomainUniqueID, "other"}})});
  for (auto _ : state) {
    std::shared_ptr<KRAVTWVItemArray> items;
    timed(state,
          [&] { items = KRAVTWVEventStoreVexil::itemsWithEventsAndDomains(events, domains); });
  }
}

}  // namespace

void addAdditionBenchmarks() {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)
        ->RangeMultiplier(10)
        ->Range(1'000, 100'000)
        ->UseManualTime();
  };
  add("children: added to none", addItems);
  add("children: the very ones added again", addItemsAgain);
  add("children: equal ones added", addEqualItems);
  add("children: of a store with every record twice", makeItemsOfRecordsThatOccurTwice);
}
