// SPDX-License-Identifier: Apache-2.0
// The refreshes that a host makes, each done and timed on its own; see `Measurement::report` for
// what is printed. Arguments are the numbers of records.
//
//     W1     an empty list takes them in
//     W2     equal records, made anew, in another order
//     W2o    equal records, made anew, in the order of last time
//     W2p    the records that are held, in another order
//     W3     one has changed and stays where it is; all are made anew and in another order, as in
//            the workloads below
//     W4     one in a hundred removed, as many inserted, as many changed
//     W5     the first one renamed to become the last
//     W6     events under fifty domains, with an observer on the tree; one event has changed
//     W7r    registering an observer on every item of the tree; W7u withdrawing it
//     WB     making the records, which no other figure contains
//     MEM    bytes held for each record: by the records alone; by them and a list that shows them;
//            by all of it after a refresh with one changed
//
// New records are made before the clock starts. Old ones stay until a workload is done. An observer
// counts what it hears. Each workload compares its result with the model before it prints.
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <utility>

#include "FurtherWorkloads.h"
#include "Measurement.h"
#include "WorkloadModel.h"
#include "WorkloadTrees.h"

namespace platform = vexil::platform;

using platform::ObservingOptions;
using platform::Value;

namespace {

/// What one run of a workload refreshes the collection with.
using Step = std::function<Value(WorkloadModel&, const Value& held, std::uint64_t run)>;

Value freshRecords(const WorkloadModel& model, std::uint64_t seed) {
  return recordsOf(model.shuffled(seed));
}

void loadWorkload(std::size_t size) {
  const WorkloadModel model(size);
  const NoticeCounts expected{.inserted = size, .notices = 1};
  Measurement measurement;
  NoticeCounts all;
  std::uint64_t checksum = 0;
  for (std::uint64_t run = 0; run < repetitions(size); ++run) {
    const Value records = freshRecords(model, 100 + run);
    WatchedEvents watched;
    measurement.run([&] { watched.collection->setEvents(records); });
    requireCounts("W1", watched.counts(), expected);
    requireEvents("W1", *watched.collection->root(), model.sorted());
    all += watched.counts();
    checksum = checksumOf(*watched.collection->root());
  }
  measurement.report("W1", size, all, checksum);
}

/// `secondOrder`: that of the records that the list is brought into before the first run.
template <class Watched>
void refreshWorkload(std::string_view workload, std::size_t size, const NoticeCounts& expected,
                     const Step& next, std::uint64_t secondOrder = 2) {
  if (!isWanted(workload)) {
    return;
  }
  WorkloadModel model(size);
  Watched watched;
  std::vector<Value> kept;
  const auto take = [&kept](Value records) -> const Value& {
    return kept.emplace_back(std::move(records));
  };
  watched.collection->setEvents(take(freshRecords(model, 1)));
  watched.collection->setEvents(take(freshRecords(model, secondOrder)));
  const bool sameItems = expected.removed == 0 && expected.inserted == 0;
  const auto before = addressesOf(*watched.collection->root());
  Measurement measurement;
  NoticeCounts all;
  for (std::uint64_t run = 0; run < repetitions(size); ++run) {
    const Value& records = take(next(model, watched.collection->sortedEvents(), run));
    watched.counts() = {};
    measurement.run([&] { watched.collection->setEvents(records); });
    requireCounts(workload, watched.counts(), expected);
    all += watched.counts();
  }
  const KRAVTWVItemVexil& root = *watched.collection->root();
  watched.requireContent(workload, model);
  require(!sameItems || addressesOf(root) == before, workload, "items did not stay");
  measurement.report(workload, size, all, checksumOf(root));
}

void registrationWorkload(std::size_t size) {
  static constexpr platform::ContextToken context("refresh_workloads.tree");
  const WorkloadModel model(size);
  WatchedEvents watched;
  const Value records = freshRecords(model, 1);
  watched.collection->setEvents(records);
  const auto root = watched.collection->root();
  const auto observer = std::make_shared<CountingObserver>();
  Measurement registering;
  Measurement withdrawing;
  for (std::uint64_t run = 0; run < repetitions(size); ++run) {
    registering.run([&] {
      root->addObserverForRecursiveChildrenWithOptionContext(observer, ObservingOptions::both,
                                                             &context);
    });
    require(observedItems(*root) == size, "W7r", "an item is not observed");
    withdrawing.run(
        [&] { root->removeObserverForRecursiveChildrenWithContext(observer, &context); });
    require(observedItems(*root) == 0, "W7u", "an item is still observed");
  }
  registering.report("W7r", size, {}, 0);
  withdrawing.report("W7u", size, {}, 0);
}

/// Runs first, because memory that was used before is kept for later, and would not show.
void measureMemory(std::size_t size) {
  WorkloadModel model(size);
  const std::vector<WorkloadEvent> events = model.shuffled(1);
  model.changeOne();
  const std::vector<WorkloadEvent> next = model.shuffled(2);
  const std::size_t before = bytesHeld();
  Value records = recordsOf(events);
  const std::size_t withRecords = bytesHeld();
  WatchedEvents watched;
  watched.collection->setEvents(records);
  records = Value();
  const std::size_t withList = bytesHeld();
  watched.collection->setEvents(recordsOf(next));
  const std::size_t afterRefresh = bytesHeld();
  std::printf("vexil MEM %zu %zu %zu %zu\n", size, (withRecords - before) / size,
              (withList - before) / size, (afterRefresh - before) / size);
  std::fflush(stdout);
}

void buildingWorkload(std::size_t size) {
  const std::vector<WorkloadEvent> events = WorkloadModel(size).shuffled(1);
  Measurement measurement;
  for (std::size_t run = 0; run < std::min<std::size_t>(repetitions(size), 5); ++run) {
    Value records;
    measurement.run([&] { records = recordsOf(events); });
  }
  measurement.report("WB", size, {}, 0);
}

void runAll(std::size_t size) {
  const auto refreshFlat = refreshWorkload<WatchedEvents>;
  measureMemory(size);
  if (isWanted("WB")) {
    buildingWorkload(size);
  }
  if (isWanted("W1")) {
    loadWorkload(size);
  }
  refreshFlat(
      "W2", size, {}, [](auto& model, auto&, auto run) { return freshRecords(model, 200 + run); },
      2);
  refreshFlat(
      "W2o", size, {}, [](auto& model, auto&, auto) { return freshRecords(model, 1); }, 1);
  refreshFlat(
      "W2p", size, {},
      [](auto&, const Value& held, auto run) {
        std::vector<Value> records;
        for (const std::size_t i : permutation(held.elements().size(), 250 + run)) {
          records.push_back(held.elements()[i]);
        }
        return Value::array(std::move(records));
      },
      2);
  const auto oneChanged = [](std::uint64_t order) {
    return [order](WorkloadModel& model, const Value&, std::uint64_t run) {
      model.changeOne();
      return freshRecords(model, order + run);
    };
  };
  refreshFlat("W3", size, {.replaced = 1, .notices = 1}, oneChanged(300), 2);
  // With one record alone, nothing is left to be changed.
  const std::size_t share = WorkloadModel(size).share();
  const std::size_t changed = std::min(share, size - share);
  refreshFlat(
      "W4", size,
      {.removed = share, .inserted = share, .replaced = changed, .notices = changed == 0 ? 2U : 3U},
      [](auto& model, auto&, auto run) {
        model.exchangeSome();
        return freshRecords(model, 400 + run);
      },
      2);
  refreshFlat(
      "W5", size, {.replaced = size, .notices = 1},
      [](auto& model, auto&, auto run) {
        model.moveFirstToEnd();
        return freshRecords(model, 500 + run);
      },
      2);
  // The event, and then its domain.
  refreshWorkload<WatchedStore>("W6", size, {.replaced = 2, .notices = 2}, oneChanged(600));
  if (isWanted("W7")) {
    registrationWorkload(size);
  }
  runFurtherWorkloads(size);
}

}  // namespace

int main(int argc, char** argv) try {
  for (int i = 1; i < argc; ++i) {
    const std::size_t size = std::strtoul(argv[i], nullptr, 10);
    if (size == 0) {
      throw std::invalid_argument("the number of records is not a positive number");
    }
    runAll(size);
  }
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::fprintf(stderr, "refresh_workloads: %s\n", error.what());
  return EXIT_FAILURE;
}
