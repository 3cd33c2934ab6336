// SPDX-License-Identifier: Apache-2.0
// What observers may do within a notice.
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "Shelf.h"
#include "tests/support/Recorder.h"
#include "tests/support/SmallStack.h"

namespace platform = vexil::platform;

namespace {

using platform::ContextToken;
using platform::InvalidArgument;
using platform::Observable;
using platform::Observer;
using platform::ObservingOptions;
using platform::Value;
using test::Lines;
using test::Recorder;
using test::Shelf;

class Reentrancy : public testing::Test {
 protected:
  void add(const std::shared_ptr<Observer>& who, const char* key = "label",
           ObservingOptions options = ObservingOptions::none) {
    shelf->addObserver(who, key, options, nullptr);
  }
  void remove(const std::shared_ptr<Observer>& who, const char* key = "label") {
    shelf->removeObserver(who, key, nullptr);
  }
  /// Makes the next notice to `who`, and no later one, do `action`.
  static void once(const std::shared_ptr<Recorder>& who, std::function<void()> action) {
    who->then = [raw = who.get(), action = std::move(action)] {
      raw->then = nullptr;
      action();
    };
  }

  Lines notices;
  std::shared_ptr<Shelf> shelf = Shelf::make();
  std::shared_ptr<Recorder> one = Recorder::make("one", notices);
  std::shared_ptr<Recorder> two = Recorder::make("two", notices);
  std::shared_ptr<Recorder> three = Recorder::make("three", notices);
};

TEST_F(Reentrancy, WhoIsWithdrawnMeanwhileHearsNothingMore) {
  add(one);
  add(two);
  add(three);
  once(one, [&] { remove(two); });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "three: label setting"}));
}

TEST_F(Reentrancy, AnObserverMayWithdrawItself) {
  add(one);
  add(two);
  once(one, [&] { remove(one); });
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, AnObserverMayWithdrawOneThatWasToldAlready) {
  add(one);
  add(two);
  add(three);
  once(two, [&] { remove(one); });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting", "three: label setting"}));
}

TEST_F(Reentrancy, AllMayBeWithdrawnByTheFirst) {
  add(one);
  add(two);
  add(three);
  once(one, [&] {
    remove(three);
    remove(one);
    remove(two);
  });
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
}

TEST_F(Reentrancy, WithdrawingOneOfTwoRegistrationsMeanwhileSilencesTheLatestOnly) {
  add(one);
  add(two);
  add(two, "label", ObservingOptions::newValue);
  once(one, [&] { remove(two); });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, WhoIsRegisteredMeanwhileHearsOfTheNextChange) {
  add(one);
  once(one, [&] { add(two); });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, WhoIsWithdrawnAndRegisteredAgainHearsOfTheNextChangeOnly) {
  add(one);
  add(two);
  once(one, [&] {
    remove(two);
    add(two);
  });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, WhoIsRegisteredAndWithdrawnAgainMeanwhileNeverHears) {
  add(one);
  add(two);
  once(one, [&] {
    add(three);
    remove(three);
  });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, AWithdrawalMeanwhileTakesTheRegistrationThatCameMeanwhile) {
  // The latest registration was made during delivery, so the older one still hears.
  add(one);
  add(two);
  once(one, [&] {
    add(two);
    remove(two);
  });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, WhoIsWithdrawnBetweenWillAndDidHearsNothing) {
  add(one);
  add(two);
  auto change = shelf->willChangeValueForKey("label");
  remove(one);
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"two: label setting"}));
}

TEST_F(Reentrancy, WhoIsRegisteredBetweenWillAndDidHearsOfTheNextChange) {
  add(one);
  auto change = shelf->willChangeValueForKey("label");
  add(two);
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
}

TEST_F(Reentrancy, WhoIsWithdrawnAndRegisteredAgainBetweenWillAndDidHearsOfTheNextChange) {
  add(one);
  add(two);
  auto change = shelf->willChangeValueForKey("label");
  remove(one);
  add(one);
  shelf->didChangeValueForKey(std::move(change));
  EXPECT_EQ(notices, (Lines{"two: label setting"}));
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"two: label setting", "two: label setting", "one: label setting"}));
}

TEST_F(Reentrancy, NestedChangesAreDeliveredAtOnce) {
  add(one, "label", ObservingOptions::newValue);
  add(two, "label", ObservingOptions::newValue);
  once(one, [&] { shelf->setLabel("inner"); });
  shelf->setLabel("outer");
  EXPECT_EQ(notices,
            (Lines{"one: label setting new=\"outer\"", "one: label setting new=\"inner\"",
                   "two: label setting new=\"inner\"", "two: label setting new=\"outer\""}));
}

TEST_F(Reentrancy, NestedChangesOfAnotherKeyAreDeliveredAtOnce) {
  add(one);
  add(two, "books");
  add(three);
  once(one, [&] { shelf->insertBook(0, "a"); });
  shelf->setLabel("a");
  EXPECT_EQ(notices,
            (Lines{"one: label setting", "two: books insertion {0}", "three: label setting"}));
}

TEST_F(Reentrancy, WhoIsRegisteredMeanwhileHearsOfTheNestedChangeButNotOfTheOuterOne) {
  add(one, "label", ObservingOptions::newValue);
  once(one, [&] {
    add(two, "label", ObservingOptions::newValue);
    shelf->setLabel("inner");
  });
  shelf->setLabel("outer");
  EXPECT_EQ(notices, (Lines{"one: label setting new=\"outer\"", "one: label setting new=\"inner\"",
                            "two: label setting new=\"inner\""}));
}

TEST_F(Reentrancy, AWithdrawalInANestedDeliveryHoldsForTheOuterOnesToo) {
  add(one);
  add(two);
  add(three);
  once(one, [&] {
    once(one, [&] { remove(three); });
    shelf->setLabel("inner");
  });
  shelf->setLabel("outer");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting", "two: label setting",
                            "two: label setting"}));
}

TEST_F(Reentrancy, AWithdrawalInADeliveryOfAnotherObjectHoldsForThisOne) {
  const auto other = Shelf::make();
  other->addObserver(three, "label", ObservingOptions::none, nullptr);
  add(one);
  add(two);
  once(one, [&] { other->setLabel("b"); });
  once(three, [&] { remove(two); });
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting", "three: label setting"}));
}

TEST_F(Reentrancy, AnObserverMayDropItselfInItsOwnNotice) {
  add(one);
  add(two);
  std::weak_ptr<Observer> watch = one;
  one->then = [&] { one.reset(); };
  shelf->setLabel("a");
  EXPECT_TRUE(watch.expired());
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, AnObserverThatGoesMeanwhileHearsNothing) {
  add(one);
  add(two);
  add(three);
  one->then = [&] { two.reset(); };
  shelf->setLabel("a");
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "three: label setting", "one: label setting",
                            "three: label setting"}));
}

TEST_F(Reentrancy, TheLastReferenceToTheObjectMayBeDroppedInANotice) {
  add(one);
  add(two);
  const std::weak_ptr<Shelf> watch = shelf;
  Shelf* const raw = shelf.get();
  once(one, [&] {
    shelf.reset();
    EXPECT_FALSE(watch.expired()) << "the delivery keeps it";
  });
  raw->setLabel("a");
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, ObjectAndObserverMayBothBeDroppedInANotice) {
  add(one, "books");
  const std::weak_ptr<Shelf> watch = shelf;
  Shelf* const raw = shelf.get();
  one->then = [&] {
    one.reset();
    shelf.reset();
  };
  raw->insertBook(0, "a");
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(notices, (Lines{"one: books insertion {0}"}));
}

TEST_F(Reentrancy, AnExceptionPassesThroughToWhoeverMadeTheChange) {
  add(one);
  add(two);
  add(three);
  once(two, [] { throw std::runtime_error("from an observer"); });
  try {
    shelf->setLabel("a");
    FAIL() << "nothing came through";
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "from an observer");
  }
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}))
      << "those behind are not told";
  EXPECT_EQ(shelf->label(), "a") << "the change stays made";
}

TEST_F(Reentrancy, RegistrationsStayAsTheyAreAfterAnException) {
  add(one);
  add(two);
  add(three);
  once(one, [] { throw std::runtime_error("from an observer"); });
  EXPECT_THROW(shelf->setLabel("a"), std::runtime_error);
  notices.clear();
  shelf->setLabel("b");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting", "three: label setting"}));
  remove(two);
  EXPECT_THROW(remove(two), InvalidArgument);
}

TEST_F(Reentrancy, AnExceptionLeavesTheDeliveriesAroundItInOrder) {
  add(one);
  add(two);
  once(one, [&] {
    once(one, [] { throw std::runtime_error("inner"); });
    EXPECT_THROW(shelf->setLabel("inner"), std::runtime_error);
    remove(two);
  });
  shelf->setLabel("outer");
  EXPECT_EQ(notices, (Lines{"one: label setting", "one: label setting"}));
  notices.clear();
  add(two);
  shelf->setLabel("next");
  EXPECT_EQ(notices, (Lines{"one: label setting", "two: label setting"}));
}

TEST_F(Reentrancy, AnExceptionBetweenWillAndDidDropsTheAnnouncement) {
  add(one);
  const auto change = [&] {
    const auto pending = shelf->willChangeValueForKey("label");
    throw std::runtime_error("before the change");
  };
  EXPECT_THROW(change(), std::runtime_error);
  EXPECT_EQ(notices, Lines());
  shelf->setLabel("a");
  EXPECT_EQ(notices, (Lines{"one: label setting"}));
}

TEST_F(Reentrancy, AnObserverMayObserveTheObjectItIs) {
  struct Mirror : Shelf, Observer {
    void observeValueForKeyPathOfObjectChangeContext(const platform::Key& key,
                                                     const std::shared_ptr<Observable>& object,
                                                     const platform::ChangeRecord& change,
                                                     const ContextToken*) override {
      EXPECT_EQ(object.get(), static_cast<Observable*>(this));
      seen.push_back(test::describe(key, change));
    }
    Lines seen;
  };
  auto mirror = std::make_shared<Mirror>();
  const std::weak_ptr<Mirror> watch = mirror;
  mirror->addObserver(mirror, "label", ObservingOptions::newValue, nullptr);
  mirror->setLabel("a");
  EXPECT_EQ(mirror->seen, (Lines{"label setting new=\"a\""}));
  mirror.reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(Reentrancy, ManyObserversMayWithdrawInTheirOwnNotices) {
  std::vector<std::shared_ptr<Recorder>> crowd;
  for (int i = 0; i < 500; ++i) {
    crowd.push_back(Recorder::make(std::to_string(i), notices));
    add(crowd.back());
    once(crowd.back(), [this, who = std::weak_ptr<Observer>(crowd.back())] { remove(who.lock()); });
  }
  shelf->setLabel("a");
  EXPECT_EQ(notices.size(), 500U);
  shelf->setLabel("b");
  EXPECT_EQ(notices.size(), 500U);
}

TEST_F(Reentrancy, ChangesMayNestDeeply) {
  int depth = 0;
  one->then = [&] {
    if (++depth < 100) {
      shelf->setLabel(depth);
    }
  };
  add(one);
  add(two);
  shelf->setLabel("outer");
  EXPECT_EQ(notices.size(), 200U);
  EXPECT_EQ(notices[99], "one: label setting");
  EXPECT_EQ(notices[100], "two: label setting");
}

}  // namespace
