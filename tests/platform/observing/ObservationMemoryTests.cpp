// SPDX-License-Identifier: Apache-2.0
// Memory runs out at any point, or observers come and go for ever. No registration is lost and no
// memory is.
#include <gtest/gtest.h>
#include <vexil/platform/ManyRegistrations.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeRecord;
using platform::Key;
using platform::Observation;
using platform::ObservingOptions;
using test::failEachAllocation;
using test::Lines;
using test::Recorder;
using test::Shelf;

/// Counts without taking memory.
class CountingObserver : public platform::Observer {
 public:
  static std::shared_ptr<CountingObserver> make() { return std::make_shared<CountingObserver>(); }
  void observeValueForKeyPathOfObjectChangeContext(const Key&,
                                                   const std::shared_ptr<platform::Observable>&,
                                                   const ChangeRecord&,
                                                   const platform::ContextToken*) override {
    ++heard;
  }
  int heard = 0;
};

/// A shelf with three observers, one after the other. When it goes, nothing is left of a test.
class ObservationMemory : public testing::Test {
 protected:
  ObservationMemory() {
    // The first time takes memory that stays.
    registerAnew();
    shelf->addObserver(observers[0], spine, ObservingOptions::none, nullptr);
    (void)heardOfAChange();
    shelf->removeObserver(observers[0], label, nullptr);
    shelf.reset();
    liveBefore = test::liveAllocations();
  }
  void TearDown() override {
    shelf.reset();
    if (isToBeEmpty) {
      EXPECT_EQ(test::liveAllocations(), liveBefore);
    }
  }
  void registerAnew() {
    shelf = Shelf::make();
    for (const auto& observer : observers) {
      observer->heard = 0;
      shelf->addObserver(observer, label, ObservingOptions::both, nullptr);
    }
  }
  /// What each observer hears of a change, "111" when all hear it once.
  std::string heardOfAChange() {
    for (const auto& observer : observers) {
      observer->heard = 0;
    }
    shelf->setLabel("changed");
    std::string heard;
    for (const auto& observer : observers) {
      heard += std::to_string(observer->heard);
    }
    return heard;
  }

  const Key label = Key("label");
  const Key spine = Key("spine");
  std::ptrdiff_t liveBefore = 0;
  bool isToBeEmpty = false;
  std::shared_ptr<Shelf> shelf;
  std::vector<std::shared_ptr<CountingObserver>> observers{
      CountingObserver::make(), CountingObserver::make(), CountingObserver::make()};
};

TEST_F(ObservationMemory, ThatRunsOutInAWillChangeLosesTheAnnouncementAlone) {
  isToBeEmpty = true;
  const std::size_t failures = failEachAllocation([this] { registerAnew(); },
                                                  [this] {
                                                    try {
                                                      shelf->setLabel("a");
                                                    } catch (const std::bad_alloc&) {
                                                      EXPECT_EQ(heardOfAChange(), "111");
                                                      throw;
                                                    }
                                                  });
  EXPECT_GE(failures, 3U);
}

TEST_F(ObservationMemory, ThatRunsOutInAWithdrawalLeavesAllAsItWas) {
  isToBeEmpty = true;
  for (std::size_t which = 0; which < observers.size(); ++which) {
    const std::size_t failures =
        failEachAllocation([this] { registerAnew(); },
                           [&] {
                             try {
                               shelf->removeObserver(observers[which], label, nullptr);
                             } catch (const std::bad_alloc&) {
                               EXPECT_EQ(heardOfAChange(), "111");
                               throw;
                             }
                           });
    EXPECT_EQ(failures > 0, which != 2) << "the latest goes without taking memory";
    EXPECT_EQ(heardOfAChange(), (std::vector<std::string>{"011", "101", "110"}[which]));
  }
}

TEST_F(ObservationMemory, ThatRunsOutInARegistrationLeavesAllAsItWas) {
  isToBeEmpty = true;
  const auto late = CountingObserver::make();
  const std::size_t failures =
      failEachAllocation([this] { registerAnew(); },
                         [&] {
                           try {
                             shelf->addObserver(late, label, ObservingOptions::none, nullptr);
                           } catch (const std::bad_alloc&) {
                             EXPECT_EQ(heardOfAChange(), "111");
                             EXPECT_EQ(late->heard, 0);
                             throw;
                           }
                         });
  EXPECT_GE(failures, 1U);
  EXPECT_EQ(heardOfAChange(), "111");
  EXPECT_EQ(late->heard, 1);
}

TEST_F(ObservationMemory, ThatRunsOutForManyObjectsIsMissingForOneAtATime) {
  isToBeEmpty = true;
  std::vector<std::shared_ptr<Shelf>> shelves;
  const auto prepare = [&] {
    shelves.clear();
    for (int i = 0; i < 4; ++i) {
      registerAnew();
      shelves.push_back(shelf);
    }
  };
  const std::size_t failures = failEachAllocation(prepare, [&] {
    platform::ManyWithdrawals withdrawals(observers[1], label, nullptr);
    platform::ManyRegistrations registrations(observers[1], spine, ObservingOptions::none, nullptr);
    for (const auto& each : shelves) {
      withdrawals.removeFrom(*each);
      registrations.addTo(*each);
    }
  });
  EXPECT_GE(failures, 2U);
  for (const auto& each : shelves) {
    shelf = each;
    EXPECT_EQ(heardOfAChange(), "111");  // of "spine", which follows
  }
}

TEST_F(ObservationMemory, ThatRunsOutWhileObserversThatWentAreSweptIsNobodysConcern) {
  isToBeEmpty = true;
  std::shared_ptr<CountingObserver> gone;
  const auto prepare = [&] {
    gone = CountingObserver::make();
    shelf = Shelf::make();
    shelf->addObserver(observers[0], label, ObservingOptions::none, nullptr);
    shelf->addObserver(gone, label, ObservingOptions::none, nullptr);
    shelf->addObserver(observers[1], label, ObservingOptions::none, nullptr);
    observers[0]->heard = observers[1]->heard = 0;
    gone.reset();
  };
  (void)failEachAllocation(prepare, [&] {
    try {
      shelf->setLabel("a");
    } catch (const std::bad_alloc&) {
      EXPECT_EQ(observers[1]->heard, 0) << "what was delivered did not fail";
      throw;
    }
  });
  EXPECT_EQ(heardOfAChange(), "110");
}

TEST_F(ObservationMemory, ThatRunsOutKeepsNoHandleFromEnding) {
  isToBeEmpty = true;
  // In the middle of others, where withdrawing takes memory.
  int calls = 0;
  std::optional<Observation> handle;
  bool hasFailed = false;
  for (std::size_t before = 0; before < 10; ++before) {
    const auto witness = std::make_shared<int>();
    shelf = Shelf::make();
    handle = platform::observe(shelf, label, ObservingOptions::none,
                               [&calls, witness](const ChangeRecord&) { ++calls; });
    shelf->addObserver(observers[0], label, ObservingOptions::none, nullptr);
    {
      const test::FailingAllocation failing(before);
      handle->end();
      hasFailed |= failing.hasFailed();
    }
    EXPECT_EQ(witness.use_count(), 1) << "the closure is gone";
    observers[0]->heard = 0;
    shelf->setLabel("a");
    EXPECT_EQ(observers[0]->heard, 1);
  }
  EXPECT_TRUE(hasFailed);
  EXPECT_EQ(calls, 0);
}

TEST_F(ObservationMemory, ThatRunsOutKeepsNoHandleFromEndingWhileItsClosureRuns) {
  isToBeEmpty = true;
  int calls = 0;
  std::optional<Observation> handle;
  bool hasFailed = false;
  for (std::size_t before = 0; before < 10; ++before) {
    shelf = Shelf::make();
    calls = 0;
    handle = platform::observe(shelf, label, ObservingOptions::none, [&](const ChangeRecord&) {
      ++calls;
      {
        const test::FailingAllocation failing(before);
        handle->end();
        hasFailed |= failing.hasFailed();
      }
      shelf->setLabel("nested");
    });
    shelf->addObserver(observers[0], label, ObservingOptions::none, nullptr);
    shelf->setLabel("a");
    EXPECT_EQ(calls, 1);
  }
  EXPECT_TRUE(hasFailed);
}

// --- coming and going for ever

TEST_F(ObservationMemory, OfObserversThatAreReplacedBeforeAnyChangeDoesNotPileUp) {
  shelf = Shelf::make();
  shelf->addObserver(observers[0], label, ObservingOptions::none, nullptr);
  shelf->addObserver(observers[1], label, ObservingOptions::none, nullptr);
  auto current = CountingObserver::make();
  shelf->addObserver(current, label, ObservingOptions::none, nullptr);
  liveBefore = test::liveAllocations();
  for (int i = 0; i < 10'000; ++i) {
    auto next = CountingObserver::make();
    shelf->addObserver(next, label, ObservingOptions::none, nullptr);
    current = std::move(next);
  }
  EXPECT_LE(test::liveAllocations() - liveBefore, 40);
  EXPECT_EQ(heardOfAChange(), "110");
  EXPECT_EQ(current->heard, 1);
}

TEST_F(ObservationMemory, OfReplacedObserversIsGivenBackWithoutWorkForEachOfTheOthers) {
  // Each observer that stays is looked at a few times at most, however many others are replaced.
  shelf = Shelf::make();
  std::vector<std::shared_ptr<CountingObserver>> staying;
  for (int i = 0; i < 2'000; ++i) {
    staying.push_back(CountingObserver::make());
    shelf->addObserver(staying.back(), label, ObservingOptions::none, nullptr);
  }
  const std::size_t before = test::bytesTaken();
  std::shared_ptr<CountingObserver> current;
  for (int i = 0; i < 2'000; ++i) {
    auto next = CountingObserver::make();
    shelf->addObserver(next, label, ObservingOptions::none, nullptr);
    current = std::move(next);
  }
  EXPECT_LE((test::bytesTaken() - before) / 2'000, 1'000U);
}

TEST_F(ObservationMemory, OfManyRegistrationsThatWereReplacedDoesNotPileUpEither) {
  std::vector<std::shared_ptr<Shelf>> shelves;
  for (int i = 0; i < 3; ++i) {
    shelves.push_back(Shelf::make());
  }
  auto current = CountingObserver::make();
  const auto registerOnAll = [&] {
    platform::ManyRegistrations registrations(current, label, ObservingOptions::none, nullptr);
    for (const auto& each : shelves) {
      registrations.addTo(*each);
    }
  };
  registerOnAll();
  liveBefore = test::liveAllocations();
  for (int i = 0; i < 3'000; ++i) {
    const auto last = std::exchange(current, CountingObserver::make());
    registerOnAll();
  }
  EXPECT_LE(test::liveAllocations() - liveBefore, 40);
  for (const auto& each : shelves) {
    each->setLabel("a");
  }
  EXPECT_EQ(current->heard, 3);
}

TEST_F(ObservationMemory, OfObserversThatAreGoneIsGivenBackAtTheNextDelivery) {
  shelf = Shelf::make();
  shelf->addObserver(observers[0], label, ObservingOptions::none, nullptr);
  shelf->setLabel("warm");
  liveBefore = test::liveAllocations();
  {
    std::vector<std::shared_ptr<CountingObserver>> crowd;
    for (int i = 0; i < 100; ++i) {
      crowd.push_back(CountingObserver::make());
      shelf->addObserver(crowd.back(), label, ObservingOptions::none, nullptr);
    }
    shelf->addObserver(observers[1], label, ObservingOptions::none, nullptr);
  }
  EXPECT_GE(test::liveAllocations() - liveBefore, 200)
      << "the registrations, and what they point to";
  shelf->setLabel("a");
  EXPECT_EQ(test::liveAllocations() - liveBefore, 1) << "the one of the second observer";
}

TEST_F(ObservationMemory, OfObservedKeysIsBounded) {
  // The notes of what follows from what are kept for each key, but not for keys that are gone.
  shelf = Shelf::make();
  const auto observeAndChange = [&](int number) {
    const Key key("key " + std::to_string(number));
    shelf->addObserver(observers[0], key, ObservingOptions::none, nullptr);
    shelf->setLabel(number);
    shelf->removeObserver(observers[0], key, nullptr);
  };
  for (int i = 0; i < 5'000; ++i) {
    observeAndChange(i);
  }
  liveBefore = test::liveAllocations();
  for (int i = 5'000; i < 30'000; ++i) {
    observeAndChange(i);
  }
  EXPECT_LE(test::liveAllocations() - liveBefore, 15'000);
}

TEST_F(ObservationMemory, OfAWithdrawalIsThatOfTheRegistrationsMadeAfterIt) {
  const auto bytesOfWithdrawingTheLastButOne = [this](int count) {
    shelf = Shelf::make();
    std::vector<std::shared_ptr<CountingObserver>> crowd;
    for (int i = 0; i < count; ++i) {
      crowd.push_back(CountingObserver::make());
      shelf->addObserver(crowd.back(), label, ObservingOptions::none, nullptr);
    }
    const std::size_t before = test::bytesTaken();
    shelf->removeObserver(crowd[crowd.size() - 2], label, nullptr);
    return test::bytesTaken() - before;
  };
  EXPECT_EQ(bytesOfWithdrawingTheLastButOne(10'000), bytesOfWithdrawingTheLastButOne(100));
}

}  // namespace
