// SPDX-License-Identifier: Apache-2.0
// What it costs to come and go where many others are registered. The time is that of one operation
// multiplied by the number of registrations, which the table divides by again.
#include <benchmark/benchmark.h>
#include <vexil/platform/Observable.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Benchmarks.h"
#include "Watched.h"

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::KeyTable;
using platform::Observable;
using platform::Observer;
using platform::ObservingOptions;

class Anything : public Observable {
 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(nullptr, {});
    return table;
  }
};

const Key& key() {
  static const Key key("key");
  return key;
}

std::vector<std::shared_ptr<Observer>> registerMany(const std::shared_ptr<Observable>& object,
                                                    std::size_t count) {
  std::vector<std::shared_ptr<Observer>> observers(count);
  for (auto& observer : observers) {
    observer = std::make_shared<Observer>();
    object->addObserver(observer, key(), ObservingOptions::none, nullptr);
  }
  return observers;
}

/// The last but one of as many registrations as the size says.
void withdrawTheLastButOne(benchmark::State& state) {
  const auto object = std::make_shared<Anything>();
  auto observers = registerMany(object, sizeOf(state));
  for (auto _ : state) {
    auto& lastButOne = observers[observers.size() - 2];
    const double seconds = secondsOf([&] { object->removeObserver(lastButOne, key(), nullptr); });
    state.SetIterationTime(seconds * static_cast<double>(sizeOf(state)));
    object->addObserver(lastButOne, key(), ObservingOptions::none, nullptr);
    std::swap(lastButOne, observers.back());
  }
}

/// Registers as many observers as the size says, each in place of the one before it. `staying`
/// other observers stay registered, and are looked at now and then.
void replaceObserversAmong(benchmark::State& state, std::size_t staying) {
  for (auto _ : state) {
    const auto object = std::make_shared<Anything>();
    const auto others = registerMany(object, staying);
    std::shared_ptr<Observer> current;
    timed(state, [&] {
      for (std::size_t i = 0; i < sizeOf(state); ++i) {
        auto next = std::make_shared<Observer>();
        object->addObserver(next, key(), ObservingOptions::none, nullptr);
        current = std::move(next);
      }
    });
  }
}

void replaceObservers(benchmark::State& state) {
  replaceObserversAmong(state, 0);
}

void replaceObserversAmongOthers(benchmark::State& state) {
  replaceObserversAmong(state, sizeOf(state));
}

}  // namespace

void addObservationBenchmarks() {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name, run)
        ->RangeMultiplier(10)
        ->Range(1'000, 100'000)
        ->UseManualTime();
  };
  add("observers: the last but one withdrawn", withdrawTheLastButOne);
  add("observers: each replaced by the next", replaceObservers);
  add("observers: the same among as many others", replaceObserversAmongOthers);
}
