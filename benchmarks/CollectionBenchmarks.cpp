// SPDX-License-Identifier: Apache-2.0
// What it costs to keep the larger outlines up to date: events under their domains, triggers that
// wait. As with the event list, what an observer counts is checked.
#include <ternwood/Ternwood.h>
#include <vexil/platform/RecordShape.h>

#include <string>
#include <utility>
#include <vector>

#include "Benchmarks.h"
#include "Records.h"
#include "Watched.h"

namespace platform = vexil::platform;

using platform::Key;
using platform::RecordShape;
using platform::Value;

namespace {

constexpr std::size_t eventsOfDomain = 1'000;

Value domainRecords(std::size_t count) {
  static const RecordShape shape({Key(kTWDomainUniqueID), Key(kTWDomainName)});
  std::vector<Value> domains;
  for (std::size_t i = 0; i < count; ++i) {
    domains.push_back(
        shape.record({"domain-" + std::to_string(i), "Building " + std::to_string(i)}));
  }
  return Value::array(std::move(domains));
}

/// A thousand events a domain; one event has changed.
void refreshStoreOneChanged(benchmark::State& state) {
  const std::size_t domains = sizeOf(state) / eventsOfDomain;
  EngineModel engine(sizeOf(state), domains);
  Watched<KRAVTWVEventStoreVexil> watched;
  watched.list->setDomains(domainRecords(domains));
  watched.list->setEvents(engine.freshRecords());
  // One domain alone has no row of its own; else its row is replaced with the event in it.
  const Counts expected{.replaced = domains == 1 ? 1U : 2U};
  for (auto _ : state) {
    engine.changeOne();
    const Value records = engine.freshRecords();
    const Value held = watched.list->sortedEvents();
    watched.delegate->counts = {};
    timed(state, [&] { watched.list->setEvents(records); });
    if (watched.delegate->counts != expected) {
      state.SkipWithError("wrong count");
    }
  }
}

/// Triggers that wait, each with an event of its own; the first fires and comes again at the end.
void refreshTriggersOneFires(benchmark::State& state) {
  static const RecordShape shape(
      {Key(kTWQueuedTriggerTriggerID), Key(kTWQueuedTriggerEvent), Key(kTWQueuedTriggerTrigger)});
  static const RecordShape triggerShape({Key(kTWTriggerDate)});
  EngineModel engine(sizeOf(state), 1);
  const Value events = engine.freshRecords();
  double next = 0;
  const auto trigger = [&next](const Value& event) {
    next += 60;
    return shape.record({"due-" + std::to_string(next), event,
                         triggerShape.record({platform::Date{700'000'000 + next}})});
  };
  std::vector<Value> waiting;
  for (const Value& event : events.elements()) {
    waiting.push_back(trigger(event));
  }
  Watched<KRAVTWVEngineVexil> watched;
  watched.list->setPending(Value::array(std::vector<Value>(waiting)));
  for (auto _ : state) {
    const Value fired = waiting.front()[Key(kTWQueuedTriggerEvent)];
    waiting.erase(waiting.begin());
    waiting.push_back(trigger(fired));
    const Value triggers = Value::array(std::vector<Value>(waiting));
    const Value held = watched.list->pendingTriggers();
    watched.delegate->counts = {};
    timed(state, [&] { watched.list->setPending(triggers); });
    // And the group that holds them is replaced.
    if (watched.delegate->counts != Counts{.removed = 1, .inserted = 1, .replaced = 1}) {
      state.SkipWithError("wrong count");
    }
  }
}

}  // namespace

void addCollectionBenchmarks() {
  benchmark::RegisterBenchmark("event store: one changed, 1,000 events a domain",
                               refreshStoreOneChanged)
      ->RangeMultiplier(10)
      ->Range(1'000, 1'000'000)
      ->UseManualTime()
      ->MinTime(0.2);
  benchmark::RegisterBenchmark("engine: one of the pending triggers fires", refreshTriggersOneFires)
      ->RangeMultiplier(10)
      ->Range(1'000, 100'000)
      ->UseManualTime()
      ->MinTime(0.2);
}
