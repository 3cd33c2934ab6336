// SPDX-License-Identifier: Apache-2.0
// Changes that begin on one thread and end on another, while both make changes of their own.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Observable;
using platform::ObservingOptions;
using platform::PendingChange;
using platform::Value;

class Counter : public Observable {
 public:
  [[nodiscard]] int number() const { return _number; }
  PendingChange willSet() { return willChangeValueForKey("number"); }
  void set(int number) {
    auto change = willSet();
    didSet(number, std::move(change));
  }
  void didSet(int number, PendingChange change) {
    _number = number;
    didChangeValueForKey(std::move(change));
  }

 protected:
  [[nodiscard]] const KeyTable& keyTable() const override {
    static const KeyTable table(nullptr, {KeyAccess::readOnly<&Counter::number>("number")});
    return table;
  }

 private:
  int _number = 0;
};

class Listener : public platform::Observer {
 public:
  void observeValueForKeyPathOfObjectChangeContext(const Key&, const std::shared_ptr<Observable>&,
                                                   const platform::ChangeRecord& change,
                                                   const platform::ContextToken*) override {
    heard.push_back(change.newValue);
  }
  std::vector<Value> heard;
};

/// A counter with two listeners, and a change of it that is to be ended.
struct Handed {
  Handed() {
    counter->addObserver(first, "number", ObservingOptions::both, nullptr);
    counter->addObserver(second, "number", ObservingOptions::both, nullptr);
  }
  std::shared_ptr<Counter> counter = std::make_shared<Counter>();
  std::shared_ptr<Listener> first = std::make_shared<Listener>();
  std::shared_ptr<Listener> second = std::make_shared<Listener>();
  PendingChange change;
};

class Queue {
 public:
  void put(Handed handed) {
    const std::lock_guard lock(_mutex);
    _handed.push_back(std::move(handed));
    _filled.notify_one();
  }
  Handed take() {
    std::unique_lock lock(_mutex);
    _filled.wait(lock, [this] { return !_handed.empty(); });
    Handed handed = std::move(_handed.front());
    _handed.pop_front();
    return handed;
  }

 private:
  std::mutex _mutex;
  std::condition_variable _filled;
  std::deque<Handed> _handed;
};

constexpr int rounds = 500;

TEST(ChangeInProgress, MayEndOnAnotherThreadThanItBeganOn) {
  // Two threads begin changes for each other, with changes of their own around them.
  Queue queues[2];
  std::atomic<int> mistakes = 0;
  const auto run = [&](int number) {
    Handed mine;
    int sets = 0;
    for (int i = 0; i < rounds; ++i) {
      auto around = mine.counter->willSet();
      Handed handed;
      handed.change = handed.counter->willSet();
      queues[1 - number].put(std::move(handed));
      Handed taken = queues[number].take();
      // Withdrawn between will-change and did-change, on another thread than the change began on.
      taken.counter->removeObserver(taken.first, "number", nullptr);
      mine.counter->set(++sets);
      taken.counter->didSet(i, std::move(taken.change));
      mine.counter->didSet(++sets, std::move(around));
      const bool isRight = taken.first->heard.empty() && taken.second->heard.size() == 1 &&
                           taken.second->heard[0] == Value(i);
      mistakes += isRight ? 0 : 1;
    }
    mistakes += mine.first->heard.size() == 2 * rounds ? 0 : 1;
  };
  std::thread other([&] { run(1); });
  run(0);
  other.join();
  EXPECT_EQ(mistakes, 0);
}

TEST(ChangeInProgress, MayBeDroppedOnAnotherThreadAfterTheFirstHasEnded) {
  std::vector<Handed> handed(100);
  std::thread([&] {
    for (Handed& each : handed) {
      each.change = each.counter->willSet();
    }
  }).join();
  for (Handed& each : handed) {
    auto nested = each.counter->willSet();
    each.change = PendingChange();
    each.counter->removeObserver(each.second, "number", nullptr);
    each.counter->didSet(1, std::move(nested));
    EXPECT_EQ(each.first->heard.size(), 1U);
    EXPECT_EQ(each.second->heard.size(), 0U);
  }
}

}  // namespace
