// SPDX-License-Identifier: Apache-2.0
// What it costs to take in a list of events, and to take it in again.
//
// Records are built and destroyed while the clock stands. One observer counts the items of every
// report. If its counts are not what they must be, a benchmark reports an error in place of a time.
#include <functional>

#include "Benchmarks.h"
#include "Heap.h"
#include "Records.h"
#include "Watched.h"

namespace platform = vexil::platform;

using platform::Value;

namespace {

void load(benchmark::State& state) {
  EngineModel engine(sizeOf(state));
  std::size_t recordBytes = 0;
  std::size_t listBytes = 0;
  for (auto _ : state) {
    const std::size_t before = heapBytes();
    const Value records = engine.freshRecords();
    const std::size_t withRecords = heapBytes();
    Watched<KRAVTWVEventsVexil> watched;
    timed(state, [&] { watched.list->setEvents(records); });
    recordBytes = withRecords - before;
    listBytes = heapBytes() - withRecords;
    if (watched.delegate->counts != Counts{.inserted = engine.size()}) {
      state.SkipWithError("wrong count");
    }
  }
  state.counters["bytes per record"] = static_cast<double>(recordBytes);
  state.counters["bytes per item"] = static_cast<double>(listBytes);
}

/// Refreshes a loaded list with what `next` gives, and checks what is reported each time.
void refresh(benchmark::State& state, const Counts& expected,
             const std::function<Value(EngineModel&, const Value& held)>& next) {
  EngineModel engine(sizeOf(state));
  Watched<KRAVTWVEventsVexil> watched;
  watched.list->setEvents(engine.freshRecords());
  std::size_t allocations = 0;
  for (auto _ : state) {
    const Value records = next(engine, watched.list->sortedEvents());
    // Held until the clock stands, so that the time does not contain its destruction.
    const Value held = watched.list->sortedEvents();
    watched.delegate->counts = {};
    const std::size_t before = heapAllocations();
    timed(state, [&] { watched.list->setEvents(records); });
    allocations = heapAllocations() - before;
    if (watched.delegate->counts != expected) {
      state.SkipWithError("wrong count");
    }
  }
  state.counters["allocations"] = static_cast<double>(allocations);
}

void refreshEqualFresh(benchmark::State& state) {
  refresh(state, {}, [](EngineModel& engine, const Value&) { return engine.freshRecords(); });
}

void refreshEqualSame(benchmark::State& state) {
  refresh(state, {}, [](EngineModel& engine, const Value& held) { return engine.shuffled(held); });
}

void refreshOneChanged(benchmark::State& state) {
  refresh(state, {.replaced = 1}, [](EngineModel& engine, const Value&) {
    engine.changeOne();
    return engine.freshRecords();
  });
}

void refreshSomeOfEach(benchmark::State& state) {
  // How many are replaced depends on how the survivors stand, so only what came and went is
  // checked.
  EngineModel engine(sizeOf(state));
  Watched<KRAVTWVEventsVexil> watched;
  watched.list->setEvents(engine.freshRecords());
  const std::size_t share = engine.size() / 100;
  for (auto _ : state) {
    engine.removeInsertAndChange();
    const Value records = engine.freshRecords();
    const Value held = watched.list->sortedEvents();
    watched.delegate->counts = {};
    timed(state, [&] { watched.list->setEvents(records); });
    const Counts counts = watched.delegate->counts;
    if (counts.removed != share || counts.inserted != share || counts.replaced < share) {
      state.SkipWithError("wrong count");
    }
  }
}

void refreshOneRenamedAcross(benchmark::State& state) {
  refresh(state, {.replaced = sizeOf(state)}, [](EngineModel& engine, const Value&) {
    engine.renameAcross();
    return engine.freshRecords();
  });
}

void registerObserver(benchmark::State& state) {
  EngineModel engine(sizeOf(state));
  Watched<KRAVTWVEventsVexil> watched;
  watched.list->setEvents(engine.freshRecords());
  const auto observer = KRAVTWVItemsObserver::init();
  for (auto _ : state) {
    timed(state, [&] { observer->setRoot(watched.list->root()); });
    observer->setRoot(nullptr);
  }
}

void withdrawObserver(benchmark::State& state) {
  EngineModel engine(sizeOf(state));
  Watched<KRAVTWVEventsVexil> watched;
  watched.list->setEvents(engine.freshRecords());
  const auto observer = KRAVTWVItemsObserver::init();
  for (auto _ : state) {
    observer->setRoot(watched.list->root());
    timed(state, [&] { observer->setRoot(nullptr); });
  }
}

/// Building one record, its nested one included.
void buildRecords(benchmark::State& state) {
  EngineModel engine(sizeOf(state));
  for (auto _ : state) {
    Value records;
    timed(state, [&] { records = engine.freshRecords(); });
  }
}

void addBenchmark(const char* name, void (*run)(benchmark::State&)) {
  benchmark::RegisterBenchmark(name, run)
      ->RangeMultiplier(10)
      ->Range(1'000, 1'000'000)
      ->UseManualTime()
      ->MinTime(0.2);
}

}  // namespace

void addEventListBenchmarks() {
  addBenchmark("building the records, shuffled", buildRecords);
  addBenchmark("loading", load);
  addBenchmark("refresh: equal, fresh objects in another order", refreshEqualFresh);
  addBenchmark("refresh: equal, the same objects in another order", refreshEqualSame);
  addBenchmark("refresh: one changed", refreshOneChanged);
  addBenchmark("refresh: 1 % removed, inserted, changed each", refreshSomeOfEach);
  addBenchmark("refresh: one renamed across the list", refreshOneRenamedAcross);
  addBenchmark("registering an observer on the tree", registerObserver);
  addBenchmark("withdrawing it", withdrawObserver);
}
