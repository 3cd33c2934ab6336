// SPDX-License-Identifier: Apache-2.0
#include "FurtherWorkloads.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/RecordShape.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Measurement.h"
#include "WorkloadModel.h"
#include "WorkloadTrees.h"

namespace platform = vexil::platform;

using platform::Key;
using platform::ObservingOptions;
using platform::RecordShape;
using platform::Value;

namespace {

constexpr std::size_t deepest = 10'000;
// If somebody watches, every level is compared anew. That takes the square of the depth.
constexpr std::size_t deepestWatched = 1'000;

void storeWorkload(std::string_view workload, std::size_t size, Spread spread,
                   std::size_t domains) {
  const std::string load = std::string(workload) + "l";
  if (!isWanted(workload)) {
    return;
  }
  WorkloadModel model(size);
  Measurement loading;
  NoticeCounts loaded;
  Measurement refreshing;
  NoticeCounts refreshed;
  std::uint64_t checksum = 0;
  std::vector<Value> kept;
  for (std::uint64_t run = 0; run < repetitions(size); ++run) {
    WatchedStore watched(spread, domains);
    const auto take = [&](std::uint64_t order) -> const Value& {
      return kept.emplace_back(recordsOf(model.shuffled(order), spread));
    };
    const Value& records = take(700 + run);
    watched.counts() = {};
    loading.run([&] { watched.collection->setEvents(records); });
    loaded += watched.counts();
    model.changeOne();
    const Value& next = take(800 + run);
    watched.counts() = {};
    refreshing.run([&] { watched.collection->setEvents(next); });
    requireCounts(workload, watched.counts(), {.replaced = 2, .notices = 2});
    refreshed += watched.counts();
    watched.requireContent(workload, model);
    checksum = checksumOf(*watched.collection->root());
  }
  loading.report(load, size, loaded, 0);
  refreshing.report(workload, size, refreshed, checksum);
}

/// Items of these events, each the child of the one before; the first one.
std::shared_ptr<KRAVTWVItemVexil> chainOf(const std::vector<WorkloadEvent>& events) {
  std::shared_ptr<KRAVTWVItemVexil> chain;
  for (auto event = events.rbegin(); event != events.rend(); ++event) {
    std::shared_ptr<KRAVTWVItemVexil> item = KRAVTWVEventVexil::itemWithEvent(recordOf(*event));
    if (chain) {
      item->addChild(std::move(chain));
    }
    chain = std::move(item);
  }
  return chain;
}

/// Refreshes a chain whose last item has changed. `counts` are those of its observer.
void refreshChain(std::string_view workload, std::vector<WorkloadEvent> events,
                  const std::shared_ptr<KRAVTWVItemVexil>& root, NoticeCounts* counts) {
  const std::size_t depth = events.size();
  Measurement measurement;
  NoticeCounts all;
  for (std::size_t run = 0; run < repetitions(depth); ++run) {
    ++events.back().interval;
    auto fresh = std::make_shared<KRAVTWVItemArray>(KRAVTWVItemArray{chainOf(events)});
    if (counts != nullptr) {
      *counts = {};
    }
    measurement.run([&] { root->replaceChildren(std::move(fresh)); });
    if (counts != nullptr) {
      requireCounts(workload, *counts, {.replaced = depth, .notices = depth});
      all += *counts;
    }
    const KRAVTWVItemArray items = root->recursiveChildren();
    require(std::ranges::equal(items.rbegin(), items.rend(), events.begin(), events.end(),
                               [](const auto& item, const WorkloadEvent& event) {
                                 return item->representedObject() == recordOf(event);
                               }),
            workload, "the chain shows other events than its model");
  }
  measurement.report(workload, depth, all, 0);
}

std::shared_ptr<KRAVTWVItemVexil> rootOver(const std::vector<WorkloadEvent>& events) {
  auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("Chain", "root");
  root->addChild(chainOf(events));
  return root;
}

void chainWorkloads(std::size_t size) {
  const std::vector<WorkloadEvent> deep = WorkloadModel(std::min(size, deepest)).sorted();
  const std::vector<WorkloadEvent> watched = WorkloadModel(std::min(size, deepestWatched)).sorted();
  if (isWanted("C")) {
    refreshChain("C", deep, rootOver(deep), nullptr);
  }
  if (isWanted("Co")) {
    static constexpr platform::ContextToken context("refresh_workloads.chain");
    const auto observer = std::make_shared<CountingObserver>();
    const auto root = rootOver(watched);
    root->addObserverForRecursiveChildrenWithOptionContext(observer, ObservingOptions::both,
                                                           &context);
    refreshChain("Co", watched, root, &observer->counts);
  }
  if (isWanted("Ct")) {
    const auto delegate = std::make_shared<CountingTreeDelegate>();
    const auto observer = KRAVTWVItemsObserver::init();
    const auto root = rootOver(watched);
    observer->setDelegate(delegate);
    observer->setRoot(root);
    refreshChain("Ct", watched, root, &delegate->counts);
    observer->setRoot(nullptr);
  }
}

void engineWorkload(std::size_t size) {
  static const RecordShape shape(
      {Key(kTWQueuedTriggerTriggerID), Key(kTWQueuedTriggerEvent), Key(kTWQueuedTriggerTrigger)});
  static const RecordShape triggerShape({Key(kTWTriggerDate)});
  if (!isWanted("E")) {
    return;
  }
  std::size_t made = 0;
  const auto trigger = [&made](const WorkloadEvent& event) {
    const std::size_t number = made++;
    const platform::Date date{700'000'000 + 60 * static_cast<double>(number)};
    return shape.record(
        {"due-" + std::to_string(number), recordOf(event), triggerShape.record({date})});
  };
  std::vector<WorkloadEvent> events = WorkloadModel(size).shuffled(1);
  std::vector<Value> waiting;
  waiting.reserve(size);
  for (const WorkloadEvent& event : events) {
    waiting.push_back(trigger(event));
  }
  WatchedTree<KRAVTWVEngineVexil> watched;
  watched.collection->setPending(Value::array(std::vector<Value>(waiting)));
  // And the group that holds them is replaced.
  const NoticeCounts expected{.removed = 1, .inserted = 1, .replaced = 1, .notices = 3};
  Measurement measurement;
  NoticeCounts all;
  for (std::size_t run = 0; run < repetitions(size); ++run) {
    std::ranges::rotate(events, events.begin() + 1);
    waiting.erase(waiting.begin());
    waiting.push_back(trigger(events.back()));
    const Value triggers = Value::array(std::vector<Value>(waiting));
    watched.counts() = {};
    measurement.run([&] { watched.collection->setPending(triggers); });
    requireCounts("E", watched.counts(), expected);
    all += watched.counts();
  }
  const auto shown = [&] {
    for (const auto& group : *watched.collection->root()->children()) {
      if (group->uniqueID() == Value("scheduler.pending")) {
        return *group->children();
      }
    }
    return KRAVTWVItemArray();
  }();
  require(std::ranges::equal(shown, waiting,
                             [](const auto& item, const Value& record) {
                               return item->representedObject() == record;
                             }),
          "E", "other triggers are shown than those that wait");
  measurement.report("E", size, all, 0);
}

}  // namespace

void runFurtherWorkloads(std::size_t size) {
  storeWorkload("S1", size, Spread::allInOne, 2);
  // One domain alone has no row of its own.
  storeWorkload("S100", size, Spread::aHundredEach, std::max<std::size_t>(2, (size + 99) / 100));
  chainWorkloads(size);
  engineWorkload(size);
}
