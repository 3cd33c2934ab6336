// SPDX-License-Identifier: Apache-2.0
// Watchers: who is told of changes without being an observer.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Operation.h>
#include <vexil/platform/detail/Watcher.h>

#include <algorithm>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "WatcherTesting.h"
#include "tests/support/AllocationCounter.h"

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using platform::IndexSet;
using platform::InvalidArgument;
using platform::Key;
using platform::ObservingOptions;
using platform::PendingChange;
using platform::Value;
using platform::detail::ManyUnwatches;
using platform::detail::ManyWatches;
using platform::detail::Operation;
using platform::detail::Watching;
using test::Lines;
using test::Shelf;
using test::unwatch;
using test::watch;
using test::WatchRecorder;

const Key books("books");
const Key label("label");
const Key spine("spine");

/// A shelf that reads none of its keys, and is asked nothing about them.
class SealedShelf : public Shelf {
 public:
  [[nodiscard]] std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const override {
    ADD_FAILURE() << "was asked about " << key.text();
    return {};
  }

 protected:
  [[nodiscard]] Value valuesAtIndexesForKey(const IndexSet& /*indexes*/,
                                            const Key& key) const override {
    ADD_FAILURE() << "was asked for elements of " << key.text();
    return {};
  }
};

class AWatcher : public test::WatchedShelf {};

// --- what it is told

TEST_F(AWatcher, IsNoObserver) {
  EXPECT_FALSE(shelf->isObserved());
  watch(*shelf, one, books, Watching::everyKey);
  EXPECT_FALSE(shelf->isObserved());
  shelf->addObserver(observer, label, ObservingOptions::none, nullptr);
  EXPECT_TRUE(shelf->isObserved());
  watch(*shelf, two, books);
  EXPECT_TRUE(shelf->isObserved());
  shelf->removeObserver(observer, label, nullptr);
  EXPECT_FALSE(shelf->isObserved());
}

TEST_F(AWatcher, IsToldOfTheBeginningAndTheEndOfEachKindOfChange) {
  watch(*shelf, one, books);
  shelf->insertBook(0, "a");
  shelf->replaceBook(0, "b");
  shelf->removeBook(0);
  shelf->setAllBooks(Value::array({"c"}));
  EXPECT_EQ(heard(),
            (Lines{"one: will insertion {0}", "one: did insertion {0}", "one: will replacement {0}",
                   "one: did replacement {0}", "one: will removal {0}", "one: did removal {0}",
                   "one: will setting", "one: did setting"}));
  EXPECT_FALSE(one->hasSeenValues);
}

TEST_F(AWatcher, IsToldBeforeAndAfterTheChangeItself) {
  watch(*shelf, one, label, Watching::everyKey);
  Lines seen;
  one->then = [&] { seen.push_back(lines.back() + " " + shelf->label().displayText()); };
  shelf->setLabelSilently("old");
  shelf->setLabel("new");
  EXPECT_EQ(seen, (Lines{"one: will setting old", "one: did setting new"}));
}

TEST_F(AWatcher, OfOneKeyIsToldOfNoOther) {
  watch(*shelf, one, books);
  watch(*shelf, one, spine);
  shelf->setLabel("a");  // "spine" depends on it
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(AWatcher, OfEveryKeyIsToldOfSettingsOfOthersOnceTheyAreMade) {
  watch(*shelf, one, books, Watching::everyKey);
  std::string seen;
  one->then = [&] { seen = shelf->label().displayText(); };
  shelf->setLabel("a");
  EXPECT_EQ(heard(), Lines{"one: set label"});
  EXPECT_EQ(seen, "a");
}

TEST_F(AWatcher, OfEveryKeyIsToldOfNoIndexedChangeOfOthers) {
  watch(*shelf, one, label, Watching::everyKey);
  shelf->insertBook(0, "a");
  EXPECT_EQ(heard(), Lines{});
  shelf->setAllBooks(Value::array({}));
  EXPECT_EQ(heard(), Lines{"one: set books"});
}

TEST_F(AWatcher, MakesTheObjectBeAskedNothing) {
  const auto sealed = std::make_shared<SealedShelf>();
  watch(*sealed, one, books);
  watch(*sealed, one, spine);
  watch(*sealed, two, "heading", Watching::everyKey);
  sealed->insertBook(0, "a");
  sealed->replaceBook(0, "b");
  sealed->setLabel("a");
  sealed->removeBook(0);
  EXPECT_EQ(heard().size(), 7U);
  EXPECT_EQ(sealed->readsOf("label") + sealed->readsOf("books") + sealed->readsOf("spine"), 0);
}

TEST_F(AWatcher, IsToldOnceHoweverOftenItIsRegistered) {
  watch(*shelf, one, books);
  watch(*shelf, two, books);
  watch(*shelf, one, books, Watching::everyKey);
  watch(*shelf, one, label, Watching::everyKey);
  watch(*shelf, one, books);
  shelf->insertBook(0, "a");
  auto told = heard();
  EXPECT_EQ(std::ranges::count(told, "one: will insertion {0}"), 1);
  EXPECT_EQ(std::ranges::count(told, "two: will insertion {0}"), 1);
  EXPECT_EQ(std::ranges::count(told, "one: did insertion {0}"), 1);
  EXPECT_EQ(told.size(), 4U);
  shelf->setLabel("a");
  EXPECT_EQ(heard(), (Lines{"one: will setting", "one: did setting"}));
  unwatch(*shelf, one, label);
  shelf->setLabel("b");
  EXPECT_EQ(heard(), Lines{"one: set label"});
}

TEST_F(AWatcher, WithdrawsOneRegistrationAtATime) {
  watch(*shelf, one, books);
  watch(*shelf, two, books);
  watch(*shelf, one, books);
  unwatch(*shelf, one, books);
  shelf->insertBook(0, "a");
  EXPECT_EQ(heard().size(), 4U);
  unwatch(*shelf, one, books);
  unwatch(*shelf, one, books);  // there is none left
  unwatch(*shelf, one, label);
  shelf->removeBook(0);
  EXPECT_EQ(heard(), (Lines{"two: will removal {0}", "two: did removal {0}"}));
}

TEST_F(AWatcher, MustBeThere) {
  EXPECT_THROW(watch(*shelf, nullptr, books), InvalidArgument);
}

TEST_F(AWatcher, IsNotFoundByTheOptionsOfAHost) {
  // Numbers that a host may have taken from elsewhere.
  shelf->addObserver(observer, label, static_cast<ObservingOptions>(0xff), nullptr);
  EXPECT_TRUE(shelf->isObserved());
  shelf->setLabel("a");
  EXPECT_EQ(heard(), Lines{"observer: label setting old=<null> new=\"a\""});
}

// --- changes that are dropped

TEST_F(AWatcher, IsToldOfAChangeThatIsDropped) {
  watch(*shelf, one, books, Watching::everyKey);
  { const auto change = shelf->willChangeValuesAtIndexesForKey(ChangeKind::removal, {2}, books); }
  { const auto change = shelf->willChangeValueForKey(books); }
  { const auto change = shelf->willChangeValueForKey(label); }
  EXPECT_EQ(heard(), (Lines{"one: will removal {2}", "one: drop removal {2}", "one: will setting",
                            "one: drop setting"}));
}

TEST_F(AWatcher, IsToldOfAChangeThatAnotherIsAssignedOver) {
  watch(*shelf, one, books);
  PendingChange change = shelf->willChangeValuesAtIndexesForKey(ChangeKind::removal, {1}, books);
  PendingChange other = shelf->willChangeValuesAtIndexesForKey(ChangeKind::insertion, {2}, books);
  change = std::move(other);
  EXPECT_EQ(heard(),
            (Lines{"one: will removal {1}", "one: will insertion {2}", "one: drop removal {1}"}));
  other = std::move(change);
  shelf->didChangeValuesAtIndexesForKey(std::move(other));
  shelf->didChangeValuesAtIndexesForKey(std::move(change));  // empty by now
  EXPECT_EQ(heard(), Lines{"one: did insertion {2}"});
}

TEST_F(AWatcher, IsToldOfASettingThatWasMovedOnce) {
  watch(*shelf, one, books, Watching::everyKey);
  PendingChange change = shelf->willChangeValueForKey(label);
  PendingChange moved = std::move(change);
  shelf->didChangeValueForKey(std::move(change));  // NOLINT(bugprone-use-after-move): is empty
  EXPECT_EQ(heard(), Lines{});
  shelf->didChangeValueForKey(std::move(moved));
  EXPECT_EQ(heard(), Lines{"one: set label"});
}

TEST_F(AWatcher, IsToldOfADropWhenAnotherObjectEndsTheChange) {
  const auto other = Shelf::make();
  watch(*shelf, one, books);
  watch(*other, two, books);
  // Nobody observes them, so this is no error, as it is none without watchers.
  other->didChangeValueForKey(shelf->willChangeValueForKey(books));
  EXPECT_EQ(heard(), (Lines{"one: will setting", "one: drop setting"}));
  shelf->addObserver(observer, books, ObservingOptions::both, nullptr);
  EXPECT_THROW(other->didChangeValueForKey(shelf->willChangeValueForKey(books)), InvalidArgument);
  EXPECT_EQ(heard(), (Lines{"one: will setting", "one: drop setting"}));
}

TEST_F(AWatcher, KeepsAnObjectUntilItsChangeIsOver) {
  watch(*shelf, one, books);
  {
    const auto change = shelf->willChangeValueForKey(books);
    shelf.reset();
    EXPECT_EQ(heard(), Lines{"one: will setting"});
  }
  EXPECT_EQ(heard(), Lines{"one: drop setting"});
}

// --- coming and going

TEST_F(AWatcher, ThatIsGoneIsSkippedAndSwept) {
  const auto beginning = [&] {
    return test::allocationsOf([&] { const auto change = shelf->willChangeValueForKey(books); });
  };
  watch(*shelf, one, books);
  one.reset();
  EXPECT_EQ(beginning(), 1U) << "it is still registered";
  shelf->setAllBooks(Value::array({}));
  EXPECT_EQ(beginning(), 0U);
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(AWatcher, ThatIsGoneIsSweptByASettingOfAnotherKey) {
  watch(*shelf, one, books, Watching::everyKey);
  one.reset();
  shelf->setLabel("a");
  EXPECT_EQ(test::allocationsOf([&] { const auto change = shelf->willChangeValueForKey(books); }),
            0U);
}

TEST_F(AWatcher, ThatIsGoneIsSweptBesideObservers) {
  watch(*shelf, one, books);
  one.reset();
  watch(*shelf, two, books);
  shelf->addObserver(observer, books, ObservingOptions::none, nullptr);
  shelf->insertBook(0, "a");
  EXPECT_EQ(heard(), (Lines{"two: will insertion {0}", "two: did insertion {0}",
                            "observer: books insertion {0}"}));
  shelf->removeObserver(observer, books, nullptr);
  two.reset();
  unwatch(*shelf, nullptr, books);
  shelf->insertBook(0, "a");
  EXPECT_EQ(test::allocationsOf([&] { const auto change = shelf->willChangeValueForKey(books); }),
            0U);
}

/// Sets its label when it is made and when it is destroyed.
class Eager : public Shelf {
 public:
  Eager() { setLabel("made"); }
  ~Eager() override {
    setLabel("going");
    setAllBooks(Value::array({}));
  }
};

TEST_F(AWatcher, IsToldNothingByAnObjectThatIsBeingDestroyed) {
  auto eager = std::make_shared<Eager>();
  watch(*eager, one, books, Watching::everyKey);
  eager->setLabel("a");
  EXPECT_EQ(heard(), Lines{"one: set label"});
  eager.reset();
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(AWatcher, OfTheEndIsToldOnlyThat) {
  watch(*shelf, one, books, Watching::end);
  watch(*shelf, two, books);
  EXPECT_FALSE(shelf->isObserved());
  shelf->setLabel("a");
  EXPECT_EQ(heard(), Lines{});
  shelf->insertBook(0, "a");
  EXPECT_EQ(heard(), (Lines{"two: will insertion {0}", "two: did insertion {0}"}));
  bool wasInProgress = false;
  one->then = [&] { wasInProgress = Operation::isInProgress(); };
  shelf.reset();
  EXPECT_EQ(heard(), Lines{"one: end"});
  EXPECT_TRUE(wasInProgress);
}

TEST_F(AWatcher, OfTheEndMayWithdraw) {
  watch(*shelf, one, label, Watching::end);
  watch(*shelf, two, label, Watching::end);
  unwatch(*shelf, one, label);
  shelf.reset();
  EXPECT_EQ(heard(), Lines{"two: end"});
}

// --- what it costs

TEST_F(AWatcher, CostsNoMemoryForSettingsOfOtherKeys) {
  const Value text("a label that is too long to stand in the value itself");
  watch(*shelf, one, books, Watching::everyKey);
  const auto cost = [&](Shelf& set) { return test::allocationsOf([&] { set.setLabel(text); }); };
  const auto unwatched = Shelf::make();
  const std::size_t usual = cost(*unwatched);
  unwatch(*shelf, one, books);
  watch(*shelf, one, books);
  EXPECT_EQ(cost(*shelf), usual);

  /// Counts what it is told, which takes no memory.
  class Counter : public platform::detail::Watcher {
   public:
    void willChange(const platform::Observable&, const platform::ChangeRecord&) noexcept override {
      ++count;
    }
    void didChange(const platform::Observable&, const platform::ChangeRecord&) noexcept override {
      ++count;
    }
    void didDrop(const platform::Observable&, const platform::ChangeRecord&) noexcept override {}
    void didSet(const platform::Observable&, const Key&) noexcept override { ++count; }
    int count = 0;
  };
  const auto counter = std::make_shared<Counter>();
  watch(*shelf, counter, books, Watching::everyKey);
  EXPECT_EQ(cost(*shelf), usual);
  EXPECT_EQ(counter->count, 1);
  unwatch(*shelf, one, books);
  EXPECT_EQ(test::allocationsOf(
                [&] { shelf->didChangeValueForKey(shelf->willChangeValueForKey(books)); }),
            1U)
      << "a note of the change itself";
  EXPECT_EQ(counter->count, 3);
}

TEST_F(AWatcher, OfManyObjectsNeedsOneListForAll) {
  std::vector<std::shared_ptr<Shelf>> shelves(1'000);
  std::ranges::generate(shelves, Shelf::make);
  EXPECT_LE(test::allocationsOf([&] {
              ManyWatches watches(one, books, Watching::oneKey);
              for (const auto& each : shelves) {
                watches.addTo(*each);
              }
            }),
            2U);
  shelves[999]->insertBook(0, "a");
  EXPECT_EQ(heard(), (Lines{"one: will insertion {0}", "one: did insertion {0}"}));
  EXPECT_LE(test::allocationsOf([&] {
              ManyUnwatches unwatches(one, books);
              for (const auto& each : shelves) {
                unwatches.removeFrom(*each);
              }
            }),
            2U);
  for (const auto& each : shelves) {
    each->setAllBooks(Value::array({}));
  }
  EXPECT_EQ(heard(), Lines{});
}

TEST_F(AWatcher, OfOneKeySharesNoListWithOneOfEveryKey) {
  const auto other = Shelf::make();
  watch(*shelf, one, books);
  watch(*other, one, books, Watching::everyKey);
  shelf->setLabel("a");
  EXPECT_EQ(heard(), Lines{});
  other->setLabel("a");
  EXPECT_EQ(heard(), Lines{"one: set label"});
}

TEST_F(AWatcher, ThatGetsNoMemoryForANoteLeavesTheObjectAsItIs) {
  watch(*shelf, one, books);
  lines.reserve(100);
  {
    const test::FailingAllocation failing(0);
    EXPECT_THROW((void)shelf->willChangeValueForKey(books), std::bad_alloc);
  }
  EXPECT_EQ(heard(), Lines{});
}

// --- operations

TEST_F(AWatcher, IsToldOfEndsAndSettingsWhileAnOperationIsInProgress) {
  watch(*shelf, one, books, Watching::everyKey);
  Lines seen;
  one->then = [&] {
    if (Operation::isInProgress()) {
      seen.push_back(lines.back());
    }
  };
  shelf->insertBook(0, "a");
  shelf->setLabel("a");
  { const auto change = shelf->willChangeValueForKey(books); }
  EXPECT_EQ(seen, (Lines{"one: did insertion {0}", "one: set label", "one: drop setting"}));
  seen.clear();
  shelf->addObserver(observer, books, ObservingOptions::none, nullptr);
  shelf->insertBook(0, "a");
  { const auto change = shelf->willChangeValueForKey(books); }
  EXPECT_EQ(seen, (Lines{"one: did insertion {0}", "one: drop setting"}));
}

}  // namespace
