// SPDX-License-Identifier: Apache-2.0
// Who keeps whom alive, and what registrations cost.
#include <gtest/gtest.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Shelf.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/Recorder.h"

namespace platform = vexil::platform;

namespace {

using platform::ContextToken;
using platform::Observer;
using platform::ObservingOptions;
using platform::Value;
using test::Lines;
using test::Recorder;
using test::Shelf;

class ObserverLifetime : public testing::Test {
 protected:
  Lines notices;
  std::shared_ptr<Shelf> shelf = Shelf::make();
  std::shared_ptr<Recorder> one = Recorder::make("one", notices);
  std::shared_ptr<Recorder> two = Recorder::make("two", notices);
};

TEST_F(ObserverLifetime, ARegistrationDoesNotKeepTheObserver) {
  shelf->addObserver(one, "label", ObservingOptions::both, nullptr);
  const std::weak_ptr<Observer> watch = one;
  one.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ObserverLifetime, ARegistrationDoesNotKeepTheObject) {
  shelf->addObserver(one, "label", ObservingOptions::both, nullptr);
  const std::weak_ptr<Shelf> watch = shelf;
  shelf.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(ObserverLifetime, AnObserverThatIsGoneIsSkipped) {
  shelf->addObserver(one, "label", ObservingOptions::none, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::none, nullptr);
  one.reset();
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"two: label setting", "two: label setting"}));
}

TEST_F(ObserverLifetime, OnlyGoneObserversAreAlrightToo) {
  shelf->addObserver(one, "label", ObservingOptions::both, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::both, nullptr);
  one.reset();
  two.reset();
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, Lines());
}

TEST_F(ObserverLifetime, AnObserverThatIsGoneIsSweptAtTheNextDelivery) {
  notices.reserve(1);
  shelf->addObserver(one, "label", ObservingOptions::both, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::none, nullptr);
  one.reset();
  const std::ptrdiff_t before = test::liveAllocations();
  shelf->setLabel("a");
  EXPECT_EQ(notices, Lines{"two: label setting"});
  notices.clear();  // what is left of the vector was reserved before
  // The registration, and the memory in which the observer was.
  EXPECT_EQ(test::liveAllocations() - before, -2);
}

TEST_F(ObserverLifetime, NothingIsReadForAnObserverThatIsGone) {
  // Reading may cost time, or throw. The observer that is left has not asked for values.
  shelf->addObserver(one, "label", ObservingOptions::both, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::none, nullptr);
  one.reset();
  shelf->setLabel("a");
  EXPECT_EQ(shelf->readsOf("label"), 0);
  EXPECT_EQ(notices, Lines{"two: label setting"});
}

TEST_F(ObserverLifetime, NothingNewIsReadForAnObserverThatWentDuringTheChange) {
  shelf->addObserver(one, "label", ObservingOptions::newValue, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::newValue, nullptr);
  auto change = shelf->willChangeValueForKey("label");
  one.reset();
  shelf->removeObserver(two, "label", nullptr);
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(shelf->readsOf("label"), 0);
  EXPECT_EQ(notices, Lines());
}

TEST_F(ObserverLifetime, SweepingLeavesTheOthersInTheirOrder) {
  std::vector<std::shared_ptr<Recorder>> crowd;
  for (int i = 0; i < 10; ++i) {
    crowd.push_back(Recorder::make(std::to_string(i), notices));
    shelf->addObserver(crowd.back(), i % 3 == 0 ? "spine" : "label", ObservingOptions::none,
                       nullptr);
  }
  for (const std::size_t gone : {0U, 1U, 4U, 5U, 9U}) {
    crowd[gone].reset();
  }
  shelf->setLabel("a");
  const Lines expected{"2: label setting", "3: spine setting", "6: spine setting",
                       "7: label setting", "8: label setting"};
  EXPECT_EQ(notices, expected);
  notices.clear();
  shelf->setLabel("b");
  EXPECT_EQ(notices, expected);
  shelf->removeObserver(crowd[6], "spine", nullptr);
  shelf->removeObserver(crowd[2], "label", nullptr);
}

TEST_F(ObserverLifetime, SweepingInANestedDeliveryDoesNotDisturbTheOuterOne) {
  const auto three = Recorder::make("three", notices);
  auto gone = Recorder::make("gone", notices);
  shelf->addObserver(one, "label", ObservingOptions::none, nullptr);
  shelf->addObserver(gone, "label", ObservingOptions::none, nullptr);
  shelf->addObserver(two, "label", ObservingOptions::none, nullptr);
  shelf->addObserver(three, "label", ObservingOptions::none, nullptr);
  one->then = [&] {
    one->then = nullptr;
    gone.reset();
    shelf->setLabel("inner");
    shelf->removeObserver(two, "label", nullptr);
  };
  shelf->setLabel("outer");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting", "two: label setting",
                            "three: label setting", "three: label setting"}));
}

TEST_F(ObserverLifetime, AnObserverAtTheAddressOfOneThatIsGoneIsAnother) {
  // The same address with another owner: an observer must not inherit a registration by chance.
  struct Slot {
    alignas(Recorder) std::byte memory[sizeof(Recorder)];
  };
  Slot slot{};
  const auto inSlot = [&](const char* name) {
    return std::shared_ptr<Recorder>(new (static_cast<void*>(slot.memory)) Recorder(name, notices),
                                     [](Recorder* observer) { observer->~Recorder(); });
  };
  auto before = inSlot("before");
  shelf->addObserver(before, "label", ObservingOptions::none, nullptr);
  const auto other = Shelf::make();
  const Observer* const address = before.get();
  before.reset();
  const auto after = inSlot("after");
  ASSERT_EQ(after.get(), address);
  EXPECT_THROW(shelf->removeObserver(after, "label", nullptr), std::invalid_argument);
  shelf->setLabel("a");
  EXPECT_EQ(notices, Lines());
  other->addObserver(after, "label", ObservingOptions::none, nullptr);
  other->setLabel("a");
  EXPECT_EQ(notices, (Lines{"after: label setting"}));
}

TEST_F(ObserverLifetime, ObserversThatCameAndWentLeaveNothingBehind) {
  const auto comeAndGo = [this] {
    const auto passing = Recorder::make("passing", notices);
    shelf->addObserver(passing, "books", ObservingOptions::both, nullptr);
  };
  comeAndGo();
  const std::ptrdiff_t before = test::liveAllocations();
  for (int i = 0; i < 1000; ++i) {
    comeAndGo();
  }
  EXPECT_LE(test::liveAllocations() - before, 5) << "though \"books\" never changes";
}

TEST_F(ObserverLifetime, NothingIsLeftWhenAllIsWithdrawn) {
  const auto comeAndGo = [this] {
    const auto who = Recorder::make("who", notices);
    const auto object = Shelf::make();
    for (const char* key : {"label", "books", "label", "spine"}) {
      object->addObserver(who, key, ObservingOptions::both, nullptr);
    }
    object->removeObserver(who, "label", nullptr);
    object->removeObserver(who, "books", nullptr);
  };
  comeAndGo();  // the first time takes memory that stays
  const std::ptrdiff_t before = test::liveAllocations();
  comeAndGo();
  EXPECT_EQ(test::liveAllocations(), before);
}

std::vector<std::shared_ptr<Shelf>> manyShelves(std::size_t count = 100'000) {
  std::vector<std::shared_ptr<Shelf>> shelves(count);
  for (auto& each : shelves) {
    each = Shelf::make();
  }
  return shelves;
}

constexpr ContextToken context("a context");

TEST_F(ObserverLifetime, RegisteringOnAHundredThousandObjectsTakesMemoryOnce) {
  const auto shelves = manyShelves();
  const platform::Key children("books");
  EXPECT_LE(test::allocationsOf([&] {
              for (const auto& each : shelves) {
                each->addObserver(one, children, ObservingOptions::both, &context);
              }
            }),
            2U);
  EXPECT_LE(test::allocationsOf([&] {
              for (const auto& each : shelves) {
                each->addObserver(two, children, ObservingOptions::newValue, nullptr);
              }
            }),
            2U);
  shelves[77'777]->insertBook(0, "a");
  EXPECT_EQ(notices, (Lines{"one: books insertion {0} new=[\"a\"] (a context)",
                            "two: books insertion {0} new=[\"a\"]"}));
}

TEST_F(ObserverLifetime, RegisteringSeveralAtEachObjectTakesMemoryOnceEach) {
  const auto shelves = manyShelves(1000);
  const platform::Key books("books");
  const platform::Key label("label");
  EXPECT_LE(test::allocationsOf([&] {
              for (const auto& each : shelves) {
                each->addObserver(one, books, ObservingOptions::both, &context);
                each->addObserver(two, books, ObservingOptions::both, &context);
                each->addObserver(one, label, ObservingOptions::both, nullptr);
              }
            }),
            5U);
}

TEST_F(ObserverLifetime, WithdrawingTheLatestFromManyObjectsTakesNoMemory) {
  const auto shelves = manyShelves(1000);
  const platform::Key books("books");
  for (const auto& each : shelves) {
    each->addObserver(one, books, ObservingOptions::both, &context);
    each->addObserver(two, books, ObservingOptions::both, &context);
  }
  EXPECT_EQ(test::allocationsOf([&] {
              for (const auto& each : shelves) {
                each->removeObserver(two, books, &context);
                each->removeObserver(one, books, &context);
              }
            }),
            0U);
  shelves[5]->insertBook(0, "a");
  EXPECT_EQ(notices, Lines());
}

TEST_F(ObserverLifetime, AnUnobservedObjectChangesWithoutTakingMemory) {
  const platform::Key label("label");
  struct Bare : Shelf {
    void set(const platform::Key& key, Value value) { assign(key, _field, std::move(value)); }
    Value _field;
  };
  const auto bare = std::make_shared<Bare>();
  EXPECT_EQ(test::allocationsOf([&] { bare->set(label, "short"); }), 0U);
}

TEST_F(ObserverLifetime, ObjectsOnSeveralThreadsMayShareTheirObservers) {
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([this] {
      for (int i = 0; i < 500; ++i) {
        const auto mine = Shelf::make();
        mine->addObserver(one, "label", ObservingOptions::none, &context);
        mine->addObserver(two, "label", ObservingOptions::none, nullptr);
        mine->removeObserver(one, "label", &context);
        mine->removeObserver(two, "label", nullptr);
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(notices, Lines());
}

TEST_F(ObserverLifetime, AThousandGoneObserversAreSweptInPassing) {
  // Work for each observer once, not for each pair of them.
  std::vector<std::shared_ptr<Recorder>> crowd;
  shelf->addObserver(one, "label", ObservingOptions::none, nullptr);
  for (int i = 0; i < 1000; ++i) {
    crowd.push_back(Recorder::make("crowd", notices));
    shelf->addObserver(crowd.back(), "label", ObservingOptions::none, nullptr);
    shelf->addObserver(two, "label", ObservingOptions::none, nullptr);
  }
  crowd.clear();
  EXPECT_LT(test::allocationsOf([&] { shelf->setLabel("a"); }), 20'000U);
  EXPECT_EQ(notices.size(), 1001U);
}

}  // namespace
