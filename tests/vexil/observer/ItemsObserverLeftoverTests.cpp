// SPDX-License-Identifier: Apache-2.0
// An items observer of a tree that changes without announcements. It leaves items alone on which it
// is not registered. Items that it can no longer reach do no harm to it.
#include "tests/support/AllocationCounter.h"
#include "tests/support/TreeRecorder.h"

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Value;
using test::eventItem;
using test::eventRecord;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::TreeRecorder;

/// A watched tree:
///
///     root - a - x
///          - b
struct ItemsObserverLeftovers : ::testing::Test {
  ItemsObserverLeftovers() {
    observer->setDelegate(delegate);
    observer->setRoot(root);
  }
  /// Takes an item out of its parent's array without an announcement.
  static void takeOut(const ItemPointer& parent, const ItemPointer& item) {
    std::erase(*parent->children(), item);
  }
  static void change(const ItemPointer& item) { item->replaceChildren(items({plainItem("new")})); }

  ItemPointer x = plainItem("x");
  ItemPointer a = plainItem("a", {x});
  ItemPointer b = plainItem("b");
  ItemPointer root = plainItem("root", {a, b});
  std::shared_ptr<TreeRecorder> delegate = TreeRecorder::make();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

// --- items that it is not registered on

TEST_F(ItemsObserverLeftovers, ARefreshOfATreeThatWasAddedToIsReportedAsAlways) {
  root->addChild(plainItem("c", {plainItem("below")}));
  a->addChild(plainItem("y"));
  root->replaceChildren(items({plainItem("a", {plainItem("z")}), plainItem("d")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [b, c] {1-2} of root", "report insertion [d] {1} of root",
                   "report removal [x, y] {0-1} of a", "report insertion [z] {0} of a",
                   "report replacement [a] {0} of root"}));
  EXPECT_EQ(outline(root), "root[a[z] d]");
  change(root->childAtIndex(1));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of d"});
}

TEST_F(ItemsObserverLeftovers, ASettingOfATreeThatWasAddedToIsReportedAsAlways) {
  root->addChild(plainItem("c"));
  root->setChildren(items({b}));
  EXPECT_EQ(delegate->take(), (Lines{"report removal [a, b, c] without indexes of root",
                                     "report setting [b] without indexes of root"}));
}

TEST_F(ItemsObserverLeftovers, ATreeThatWasAddedToCanBeLeft) {
  root->addChild(plainItem("c", {plainItem("below")}));
  x->addChild(plainItem("y"));
  EXPECT_NO_THROW(observer->setRoot(nullptr));
  EXPECT_FALSE(root->isObserved());
  EXPECT_FALSE(x->isObserved());
  EXPECT_NO_THROW(observer->setRoot(root));
  x->addChild(plainItem("z"));
  observer->setRoot(root);
  change(x->childAtIndex(1));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of z"});
}

TEST_F(ItemsObserverLeftovers, ATreeThatWasAddedToCanBeLeftByADestructor) {
  struct Window {
    explicit Window(const ItemPointer& root) { observer->setRoot(root); }
    ~Window() { observer->setRoot(nullptr); }
    std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
  };
  {
    const Window window(root);
    root->addChild(plainItem("c"));
  }
  observer->setRoot(nullptr);
  EXPECT_FALSE(root->isObserved());
}

TEST_F(ItemsObserverLeftovers, AnItemThatStandsInTwoPlacesIsLeftOnce) {
  // The observer registered on it at its first place. It was then added elsewhere, unannounced.
  b->addChild(x);
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(), Lines{"report removal [a] {0} of root"});
  b->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(), Lines{"report removal [x] {0} of b"});
}

TEST_F(ItemsObserverLeftovers, TheOperationsOfItemsStillThrowForWhatIsNotRegistered) {
  static constexpr platform::ContextToken token("token");
  const auto recorder = TreeRecorder::make();
  root->addObserverForRecursiveChildrenWithOptionContext(recorder, platform::ObservingOptions::none,
                                                         &token);
  root->addChild(plainItem("c"));
  EXPECT_THROW(root->removeObserverForRecursiveChildrenWithContext(recorder, &token),
               InvalidArgument);
}

// --- items that it can no longer reach

TEST_F(ItemsObserverLeftovers, AnItemTakenOutUnannouncedIsWatchedUntilTheRootIsCleared) {
  takeOut(root, a);
  change(a);
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [x] {0} of a", "report insertion [new] {0} of a"}));
  observer->setRoot(nullptr);
  change(a);
  change(x);
  EXPECT_EQ(delegate->take(), Lines{});
}

TEST_F(ItemsObserverLeftovers, AnItemTakenOutUnannouncedIsNotWatchedWhenAnotherRootIs) {
  takeOut(root, a);
  const auto other = plainItem("other");
  observer->setRoot(other);
  change(a);
  EXPECT_EQ(delegate->take(), Lines{});
  change(other);
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of other"});
}

TEST_F(ItemsObserverLeftovers, AnItemTakenOutUnannouncedIsNotWatchedWhenTheRootIsSetAgain) {
  takeOut(root, a);
  observer->setRoot(root);
  change(a);
  EXPECT_EQ(delegate->take(), Lines{});
  root->addChild(a);
  observer->setRoot(root);
  a->replaceChildren(nullptr);
  EXPECT_EQ(delegate->take(), Lines{"report removal [new] {0} of a"}) << "once";
}

TEST_F(ItemsObserverLeftovers, AnItemTakenOutUnannouncedIsForgottenWhenItChangesNext) {
  takeOut(root, a);
  observer->setRoot(nullptr);
  a->replaceChildren(nullptr);
  EXPECT_FALSE(a->isObserved());
}

TEST_F(ItemsObserverLeftovers, ATreeThatOutlivedItsRootIsNotWatchedOnceTheRootIsCleared) {
  root.reset();  // unannounced; "a" stays
  observer->setRoot(nullptr);
  change(a);
  EXPECT_EQ(delegate->take(), Lines{});
}

TEST_F(ItemsObserverLeftovers, LeftoversHearNothingInTheDeliveryInWhichTheRootIsCleared) {
  // One item tells the observer, and so holds it. Meanwhile another item changes.
  takeOut(root, a);
  delegate->then = [&] {
    delegate->then = nullptr;
    observer->setRoot(nullptr);
    change(a);
  };
  change(b);
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of b"});
}

// --- within a notice

TEST_F(ItemsObserverLeftovers,
       ARootThatIsClearedBetweenTheReportsOfASettingLeavesNothingRegistered) {
  const auto c = plainItem("c");
  delegate->then = [&] {
    delegate->then = nullptr;
    observer->setRoot(nullptr);
  };
  root->setChildren(items({c}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  EXPECT_FALSE(c->isObserved());
  EXPECT_FALSE(root->isObserved());
}

TEST_F(ItemsObserverLeftovers, ARootThatIsSetAgainBetweenTheReportsOfASettingRegistersOnce) {
  const auto c = plainItem("c");
  delegate->then = [&] {
    delegate->then = nullptr;
    observer->setRoot(root);
  };
  root->setChildren(items({c}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  change(c);
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of c"}) << "once";
}

TEST_F(ItemsObserverLeftovers, AnotherRootThatIsSetBetweenTheReportsOfASettingIsAllThatIsWatched) {
  const auto c = plainItem("c");
  const auto other = plainItem("other");
  delegate->then = [&] {
    delegate->then = nullptr;
    observer->setRoot(other);
  };
  root->setChildren(items({c}));
  change(c);
  change(root);
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  change(other);
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of other"});
}

TEST_F(ItemsObserverLeftovers, AnObserverLetGoOfBetweenTheReportsOfASettingIsToldOfBoth) {
  const std::weak_ptr<KRAVTWVItemsObserver> watch = observer;
  const auto c = plainItem("c");
  delegate->then = [&] { observer.reset(); };
  root->setChildren(items({c}));
  EXPECT_EQ(delegate->take(), (Lines{"report removal [a, b] without indexes of root",
                                     "report setting [c] without indexes of root"}));
  EXPECT_TRUE(watch.expired());
  change(c);
  change(root);
  EXPECT_EQ(delegate->take(), Lines{});
}

// --- without memory

TEST_F(ItemsObserverLeftovers, ARootIsClearedForGoodAlthoughMemoryRunsOut) {
  // Another observer registered later, so withdrawing takes memory.
  const auto later = TreeRecorder::make();
  const auto prepare = [&] {
    root = plainItem("root", {plainItem("a", {plainItem("x")}), plainItem("b")});
    observer->setRoot(root);
    for (const auto& item : root->recursiveChildren()) {
      later->watch(item);
    }
    (void)delegate->take();
  };
  const std::size_t failures = test::failEachAllocation(prepare, [&] {
    try {
      observer->setRoot(nullptr);
    } catch (const std::bad_alloc&) {
      // Announcing it takes memory: then it was not done, or it was not told to itself.
      throw;
    }
    for (const auto& item : root->recursiveChildren()) {
      change(item);
    }
    EXPECT_EQ(delegate->take(), Lines{});
  });
  EXPECT_GT(failures, 0U);
}

}  // namespace
