// SPDX-License-Identifier: Apache-2.0
// What an outline costs: the refreshes of `refresh_workloads`, each done in pairs, once bare and
// once followed by an outline with its update. Arguments are the numbers of records.
//
//     load      W1 there: an empty list takes the records in
//     one       W3: one has changed and stays where it is
//     churn     W4: one in a hundred removed, as many inserted, as many changed
//     across    W5: the first one renamed to become the last
//     renamed   one in a hundred renamed
//     moved     under fifty domains, one in a hundred gets another domain
//     tree      W6: under fifty domains, one event has changed
//     chain     the innermost of a chain of items has changed; the number is that of its levels;
//               the merge is also timed under a tree observer, as `keyed`
//
// WL_PROPERTIES=1 in the environment makes the outlines follow properties.
//
// Prints a line for each: the bare refresh; the refresh under an outline; its update; what both
// cost more than the bare one, and that as a share of it. All are medians of pairs, in
// microseconds. `keyed` is the comparison as one writes it first: a hash map of the identifiers of
// all rows.
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "Measurement.h"
#include "WorkloadModel.h"

namespace platform = vexil::platform;

using platform::Value;

namespace {

double now() {
  return std::chrono::duration<double, std::micro>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

/// The comparison as one writes it first. Counts what a view would be told of.
class KeyedRows {
 public:
  std::size_t update(const KRAVTWVItemVexil& root) {
    std::unordered_map<std::string, std::pair<std::size_t, Value>> fresh;
    const auto children = root.children();
    fresh.reserve(children->size());
    std::size_t told = 0;
    for (std::size_t i = 0; i < children->size(); ++i) {
      const KRAVTWVItemVexil& child = *(*children)[i];
      std::string key(child.uniqueID().string());
      const auto known = _rows.find(key);
      if (known == _rows.end()) {
        ++told;
      } else {
        told += known->second.first != i;
        told += !(known->second.second == child.representedObject());
        _rows.erase(known);
      }
      fresh.emplace(std::move(key), std::pair(i, child.representedObject()));
    }
    told += _rows.size();
    _rows = std::move(fresh);
    return told;
  }

 private:
  std::unordered_map<std::string, std::pair<std::size_t, Value>> _rows;
};

/// A trigger record for each event.
Value triggersOf(const std::vector<WorkloadEvent>& events) {
  std::vector<Value> triggers;
  for (const WorkloadEvent& event : events) {
    triggers.push_back(Value::dictionary({{kTWQueuedTriggerTriggerID, Value(event.uniqueID.view())},
                                          {kTWQueuedTriggerEvent, recordOf(event)}}));
  }
  return Value::array(std::move(triggers));
}

struct Times {
  std::vector<double> bare;
  std::vector<double> followed;
  std::vector<double> update;
  std::vector<double> keyed;
  std::size_t steps = 0;
  std::size_t rows = 0;

  void report(std::string_view workload, std::size_t size) const {
    std::vector<double> cost;
    for (std::size_t i = 0; i < bare.size(); ++i) {
      cost.push_back(followed[i] + update[i] - bare[i]);
    }
    std::printf(
        "%-8.*s %8zu  bare %10.1f  followed %10.1f  update %10.1f  cost %10.1f = %5.2f"
        "  keyed %10.1f  steps %zu rows %zu\n",
        static_cast<int>(workload.size()), workload.data(), size, median(bare), median(followed),
        median(update), median(cost), median(cost) / median(bare),
        keyed.empty() ? 0.0 : median(keyed), steps, rows);
    std::fflush(stdout);
  }
};

template <class Collection>
void measureBare(Times& times, Collection& collection, const Value& records) {
  const double start = now();
  collection.setEvents(records);
  times.bare.push_back(now() - start);
}

template <class Collection>
void measureKeyed(Times& times, KeyedRows& rows, const Collection& collection) {
  const double start = now();
  (void)rows.update(*collection.root());
  times.keyed.push_back(now() - start);
}

template <class Collection>
void measureFollowed(Times& times, Collection& collection, vexil::Outline& outline,
                     const Value& records) {
  const double start = now();
  collection.setEvents(records);
  const double middle = now();
  const vexil::OutlineUpdate update = outline.update();
  times.update.push_back(now() - middle);
  times.followed.push_back(middle - start);
  times.steps = update.steps().size();
  times.rows = update.rowsTouched();
}

/// Which of the two comes first changes from run to run.
template <class First, class Second>
void inTurns(std::uint64_t run, const First& first, const Second& second) {
  if (run % 2 == 0) {
    first();
    second();
  } else {
    second();
    first();
  }
}

/// Two collections get the same records, made anew for each. One of them has an outline.
template <class Collection>
void refreshWorkload(std::string_view workload, std::size_t size, bool followsProperties,
                     const std::function<void(WorkloadModel&)>& change,
                     const std::function<void(Collection&)>& prepare, Spread spread) {
  if (!isWanted(workload)) {
    return;
  }
  WorkloadModel model(size);
  const auto bare = std::make_shared<Collection>();
  const auto followed = std::make_shared<Collection>();
  prepare(*bare);
  prepare(*followed);
  vexil::Outline outline(followed, {.followsProperties = followsProperties});
  KeyedRows keyed;
  std::vector<Value> kept;
  const auto records = [&](std::uint64_t seed) {
    return kept.emplace_back(recordsOf(model.shuffled(seed), spread));
  };
  for (const std::uint64_t seed : {1U, 2U}) {
    bare->setEvents(records(seed));
    followed->setEvents(records(seed));
    (void)outline.update();
    (void)keyed.update(*bare->root());
  }
  Times times;
  for (std::uint64_t run = 0; run < repetitions(size) * 2 + 1; ++run) {
    change(model);
    const Value first = records(1000 + run);
    const Value second = records(1000 + run);
    const auto doBare = [&] {
      measureBare(times, *bare, first);
      if constexpr (std::is_same_v<Collection, KRAVTWVEventsVexil>) {
        measureKeyed(times, keyed, *bare);
      }
    };
    const auto doFollowed = [&] { measureFollowed(times, *followed, outline, second); };
    inTurns(run, doBare, doFollowed);
    require(outline.rowCount() == model.size() ||
                outline.rowCount() == model.size() + WorkloadModel::domains,
            workload, "rows are missing");
  }
  times.report(workload, size);
}

void loadWorkload(std::size_t size) {
  if (!isWanted("load")) {
    return;
  }
  const WorkloadModel model(size);
  Times times;
  for (std::uint64_t run = 0; run < repetitions(size) * 2 + 1; ++run) {
    const Value first = recordsOf(model.shuffled(100 + run));
    const Value second = recordsOf(model.shuffled(100 + run));
    const auto doBare = [&] {
      const auto bare = std::make_shared<KRAVTWVEventsVexil>();
      measureBare(times, *bare, first);
      KeyedRows keyed;
      measureKeyed(times, keyed, *bare);
    };
    const auto doFollowed = [&] {
      const auto followed = std::make_shared<KRAVTWVEventsVexil>();
      vexil::Outline outline(followed);
      (void)outline.update();
      measureFollowed(times, *followed, outline, second);
    };
    inTurns(run, doBare, doFollowed);
  }
  times.report("load", size);
}

std::shared_ptr<KRAVTWVItemVexil> chain(std::size_t levels, int innermost) {
  std::shared_ptr<KRAVTWVItemVexil> item;
  for (std::size_t level = levels; level > 0; --level) {
    const auto record = Value::dictionary({{kTWDomainUniqueID, Value("d" + std::to_string(level))},
                                           {kTWDomainName, Value("Level " + std::to_string(level))},
                                           {"value", Value(level == levels ? innermost : 0)}});
    auto above = KRAVTWVDomainVexil::itemWithDomain(record);
    if (item) {
      above->addChild(std::move(item));
    }
    item = std::move(above);
  }
  return item;
}

void chainWorkload(std::size_t levels) {
  if (!isWanted("chain") || levels > 10'000) {
    return;
  }
  struct Tree {
    std::shared_ptr<KRAVTWVGroupVexil> root = KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root");
    void refresh(std::size_t levels, int innermost) const {
      auto fresh = std::make_shared<KRAVTWVItemArray>();
      fresh->push_back(chain(levels, innermost));
      const double start = now();
      root->replaceChildren(std::move(fresh));
      taken = now() - start;
    }
    mutable double taken = 0;
  };
  const Tree bare;
  const Tree followed;
  const Tree observed;
  const auto observer = KRAVTWVItemsObserver::init();
  observer->setRoot(observed.root);
  vexil::Outline outline(std::shared_ptr<KRAVTWVItemVexil>(followed.root));
  Times times;
  for (int run = 0; run < 21; ++run) {
    for (const Tree* const tree : {&bare, &followed}) {
      tree->refresh(levels, run);
    }
    if (levels <= 1'000) {
      observed.refresh(levels, run);
    }
    const double start = now();
    const vexil::OutlineUpdate update = outline.update();
    const double taken = now() - start;
    if (run == 0) {
      continue;
    }
    times.bare.push_back(bare.taken);
    times.followed.push_back(followed.taken);
    times.update.push_back(taken);
    times.keyed.push_back(observed.taken);
    times.steps = update.steps().size();
    times.rows = update.rowsTouched();
  }
  observer->setRoot(nullptr);
  times.report("chain", levels);
}

/// Loads a collection, and makes an outline of it. Prints what that takes from the heap.
template <class Collection>
void memoryWorkload(
    std::string_view workload, std::size_t size,
    const std::function<void(Collection&, const WorkloadModel&, std::uint64_t)>& set) {
  if (!isWanted("MEM")) {
    return;
  }
  WorkloadModel model(size);
  const auto collection = std::make_shared<Collection>();
  set(*collection, model, 1);
  const std::size_t before = bytesHeld();
  auto outline = std::make_unique<vexil::Outline>(collection);
  (void)outline->update();
  const std::size_t loaded = bytesHeld() - before;
  const std::size_t rows = outline->rowCount();
  for (std::uint64_t run = 0; run < 10; ++run) {
    model.exchangeSome();
    set(*collection, model, 2 + run);
    (void)outline->update();
  }
  const std::size_t with = bytesHeld();
  const std::size_t rowsAfterwards = outline->rowCount();
  outline.reset();
  const std::size_t without = bytesHeld();
  std::printf("MEM %-10.*s %8zu  loaded %6.1f  after churn %6.1f bytes a row\n",
              static_cast<int>(workload.size()), workload.data(), size,
              static_cast<double>(loaded) / static_cast<double>(rows),
              static_cast<double>(with - without) / static_cast<double>(rowsAfterwards));
  std::fflush(stdout);
}

void runAll(std::size_t size) {
  const bool follows = std::getenv("WL_PROPERTIES") != nullptr;
  const auto nothing = [](KRAVTWVEventsVexil&) {};
  const auto list = [&](std::string_view workload,
                        const std::function<void(WorkloadModel&)>& change) {
    refreshWorkload<KRAVTWVEventsVexil>(workload, size, follows, change, nothing,
                                        Spread::asModelled);
  };
  const auto store = [&](std::string_view workload,
                         const std::function<void(WorkloadModel&)>& change) {
    refreshWorkload<KRAVTWVEventStoreVexil>(
        workload, size, follows, change,
        [](KRAVTWVEventStoreVexil& collection) {
          collection.setDomains(domainRecords(WorkloadModel::domains));
        },
        Spread::asModelled);
  };
  loadWorkload(size);
  list("one", [](WorkloadModel& model) { model.changeOne(); });
  list("churn", [](WorkloadModel& model) { model.exchangeSome(); });
  list("across", [](WorkloadModel& model) { model.moveFirstToEnd(); });
  list("renamed", [](WorkloadModel& model) { model.renameSome(); });
  store("tree", [](WorkloadModel& model) { model.changeOne(); });
  store("moved", [](WorkloadModel& model) { model.moveSome(); });
  chainWorkload(size);
  memoryWorkload<KRAVTWVEventsVexil>("events", size,
                                     [](auto& events, const auto& model, std::uint64_t seed) {
                                       events.setEvents(recordsOf(model.shuffled(seed)));
                                     });
  memoryWorkload<KRAVTWVEventStoreVexil>("store", size,
                                         [](auto& events, const auto& model, std::uint64_t seed) {
                                           events.setDomains(domainRecords(WorkloadModel::domains));
                                           events.setEvents(recordsOf(model.shuffled(seed)));
                                         });
  memoryWorkload<KRAVTWVEngineVexil>(
      "triggers", size, [](auto& engine, const auto& model, std::uint64_t /*seed*/) {
        engine.setPending(triggersOf(model.shuffled(1)));  // in one order
      });
}

}  // namespace

int main(int argc, char** argv) {
  try {
    for (int i = 1; i < argc; ++i) {
      runAll(std::strtoul(argv[i], nullptr, 10));
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
