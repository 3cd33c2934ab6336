// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

/// How many items were reported, by what happened to them.
struct Counts {
  std::size_t removed = 0;
  std::size_t inserted = 0;
  std::size_t replaced = 0;
  bool operator==(const Counts&) const = default;
};

class CountingDelegate : public KRAVTWVItemsObserverDelegate {
 public:
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>&, vexil::platform::ChangeKind kind,
      const KRAVTWVItemArray& items, const std::optional<vexil::platform::IndexSet>&,
      const std::shared_ptr<KRAVTWVItemVexil>&) override {
    (kind == vexil::platform::ChangeKind::removal     ? counts.removed
     : kind == vexil::platform::ChangeKind::insertion ? counts.inserted
                                                      : counts.replaced) += items.size();
  }
  Counts counts;
};

/// A collection with an observer on its tree.
template <class Collection>
struct Watched {
  Watched() {
    observer->setDelegate(delegate);
    observer->setRoot(list->root());
  }
  Watched(const Watched&) = delete;
  Watched& operator=(const Watched&) = delete;
  ~Watched() { observer->setRoot(nullptr); }

  std::shared_ptr<Collection> list = std::make_shared<Collection>();
  std::shared_ptr<CountingDelegate> delegate = std::make_shared<CountingDelegate>();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

template <class Work>
double secondsOf(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Runs the part of an iteration that is measured.
template <class Work>
void timed(benchmark::State& state, Work&& work) {
  state.SetIterationTime(secondsOf(std::forward<Work>(work)));
}

inline std::size_t sizeOf(const benchmark::State& state) {
  return static_cast<std::size_t>(state.range(0));
}
