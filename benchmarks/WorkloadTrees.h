// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "Measurement.h"
#include "WorkloadModel.h"

/// A flat list with an observer on its root.
struct WatchedEvents {
  WatchedEvents();
  WatchedEvents(const WatchedEvents&) = delete;
  WatchedEvents& operator=(const WatchedEvents&) = delete;
  ~WatchedEvents();
  [[nodiscard]] NoticeCounts& counts() const { return observer->counts; }
  void requireContent(std::string_view workload, const WorkloadModel& model) const;

  std::shared_ptr<KRAVTWVEventsVexil> collection = std::make_shared<KRAVTWVEventsVexil>();
  std::shared_ptr<CountingObserver> observer = std::make_shared<CountingObserver>();
};

/// A collection with an observer on its tree.
template <class Collection>
struct WatchedTree {
  WatchedTree() {
    observer->setDelegate(delegate);
    observer->setRoot(collection->root());
  }
  WatchedTree(const WatchedTree&) = delete;
  WatchedTree& operator=(const WatchedTree&) = delete;
  ~WatchedTree() { observer->setRoot(nullptr); }
  [[nodiscard]] NoticeCounts& counts() const { return delegate->counts; }

  std::shared_ptr<Collection> collection = std::make_shared<Collection>();
  std::shared_ptr<CountingTreeDelegate> delegate = std::make_shared<CountingTreeDelegate>();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

/// Events under domains, fifty of them unless told otherwise.
struct WatchedStore : WatchedTree<KRAVTWVEventStoreVexil> {
  explicit WatchedStore(Spread eventsSpread = Spread::asModelled,
                        std::size_t domains = WorkloadModel::domains);
  void requireContent(std::string_view workload, const WorkloadModel& model) const;
  Spread spread;
};

void requireCounts(std::string_view workload, const NoticeCounts& counts,
                   const NoticeCounts& expected);

/// Throws `WrongResult` unless the children of `parent` show these events in this order.
void requireEvents(std::string_view workload, const KRAVTWVItemVexil& parent,
                   const std::vector<WorkloadEvent>& events, Spread spread = Spread::asModelled);

/// Of the identifiers, names and intervals of all events, in their order.
[[nodiscard]] std::uint64_t checksumOf(const KRAVTWVItemVexil& root);

/// Tells whether all items are still the same ones.
[[nodiscard]] std::vector<const KRAVTWVItemVexil*> addressesOf(const KRAVTWVItemVexil& root);

/// How many of the items below `root` have an observer.
[[nodiscard]] std::size_t observedItems(const KRAVTWVItemVexil& root);
