// SPDX-License-Identifier: Apache-2.0
// What delegates may do during a report: change the tree, withdraw, watch something else, let go of
// the observer or the tree, throw.
#include "tests/support/TreeRecorder.h"

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::eventRecord;
using test::isAnyObserved;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::TreeRecorder;

struct Refused : std::runtime_error {
  Refused() : std::runtime_error("refused") {}
};

/// A watched tree, whose delegate does something once, with the first report:
///
///     root - a - x
///          - b
struct ItemsObserverReentrancy : ::testing::Test {
  ItemsObserverReentrancy() {
    observer->setDelegate(delegate);
    observer->setRoot(root);
  }

  void once(std::function<void()> what) {
    delegate->then = [this, what = std::move(what)] {
      delegate->then = nullptr;
      what();
    };
  }
  /// An item and everything below it.
  static KRAVTWVItemArray allOf(const ItemPointer& tree) {
    KRAVTWVItemArray all = tree->recursiveChildren();
    all.push_back(tree);
    return all;
  }
  /// Expects that every item of a tree is watched once. Changes each item to see it.
  void expectWatchedOnce(const ItemPointer& tree) {
    (void)delegate->take();
    for (const auto& item : allOf(tree)) {
      item->setChildren(items({}));
      const std::string end = " of " + item->uniqueID().displayText();
      const Lines reports = delegate->take();
      ASSERT_EQ(reports.size(), 2U) << testing::PrintToString(reports);
      EXPECT_TRUE(reports.back().ends_with(end)) << testing::PrintToString(reports);
    }
  }

  ItemPointer x = plainItem("x");
  ItemPointer a = eventItem("a", "A", {x});
  ItemPointer b = eventItem("b", "B");
  ItemPointer root = plainItem("root", {a, b});
  std::shared_ptr<TreeRecorder> delegate = TreeRecorder::make();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

TEST_F(ItemsObserverReentrancy, ARefreshDuringAReportIsReportedAtOnce) {
  once([&] { b->replaceChildren(items({plainItem("y", {plainItem("z")})})); });
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [a] {0} of root", "report insertion [y] {0} of b"}));
  EXPECT_FALSE(isAnyObserved(allOf(a)));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AnInsertedItemCanBeRemovedDuringItsReport) {
  const auto c = plainItem("c", {plainItem("c1")});
  once([&] { root->removeChildrenAtIndexes({2}); });
  auto fresh = *root->children();
  fresh.push_back(c);
  root->replaceChildren(items(fresh));
  EXPECT_EQ(delegate->take(),
            (Lines{"report insertion [c] {2} of root", "report removal [c] {2} of root"}));
  EXPECT_FALSE(isAnyObserved(allOf(c)));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARemovedItemCanBePutBackDuringItsReport) {
  once([&] { root->replaceChildren(items({eventItem("b", "B"), a})); });
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [a] {0} of root", "report insertion [a] {1} of root"}));
  EXPECT_EQ(outline(root), "root[b=B a=A[x]]");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARefreshDuringARemovalFailsTheOuterOneWhenItBringsMore) {
  once([&] { root->replaceChildren(items({eventItem("b", "Nested"), eventItem("c", "C")})); });
  // The outer merge had decided before what comes. It finds no counterpart of "c".
  EXPECT_THROW(root->replaceChildren(items({eventItem("b", "Outer")})), platform::RangeError);
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [a] {0} of root", "report insertion [c] {1} of root",
                   "report replacement [b] {0} of root"}));
  EXPECT_EQ(outline(root), "root[b=Nested c=C]");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AListOfEventsCanBeSetDuringAReport) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(Value::array({eventRecord("1", "One"), eventRecord("2", "Two")}));
  observer->setRoot(list->root());
  // After the last report, the outer merge has nothing left to do.
  once([&] { list->setEvents(Value::array({eventRecord("2", "Due"), eventRecord("3", "Tre")})); });
  list->setEvents(Value::array({eventRecord("1", "Uno"), eventRecord("2", "Two")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report replacement [2, 1] {0-1} of root", "report removal [1] {1} of root",
                   "report insertion [3] {1} of root", "report replacement [2] {0} of root"}));
  EXPECT_EQ(outline(list->root()), "root=[2=Due 3=Tre]");
  expectWatchedOnce(list->root());
}

TEST_F(ItemsObserverReentrancy, ARefreshInsideAReplacementFailsTheOuterOneAndTheNextMends) {
  once([&] { root->replaceChildren(items({eventItem("a", "A", {plainItem("nested")}), b})); });
  EXPECT_THROW(root->replaceChildren(items({eventItem("a", "A", {plainItem("outer")}), b})),
               platform::RangeError);
  EXPECT_EQ(outline(root), "root[a=A[outer nested] b=B]");
  (void)delegate->take();
  root->replaceChildren(items({eventItem("a", "A", {plainItem("mended")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [outer, nested] {0-1} of a",
                   "report insertion [mended] {0} of a", "report replacement [a] {0} of root"}));
  expectWatchedOnce(root);
}

// --- withdrawing and watching something else

TEST_F(ItemsObserverReentrancy, ClearingTheRootDuringAReportEndsTheReports) {
  once([&] { observer->setRoot(nullptr); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a] {0} of root"});
  EXPECT_EQ(outline(root), "root[b=B2 c]");
  EXPECT_FALSE(isAnyObserved(allOf(root)));
  EXPECT_FALSE(isAnyObserved(allOf(a)));
}

TEST_F(ItemsObserverReentrancy, ClearingTheRootInsideAReplacementEndsTheReports) {
  once([&] { observer->setRoot(nullptr); });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [x] {0} of a"});
  EXPECT_EQ(outline(root), "root[a=A[y] b=B]");
  EXPECT_FALSE(isAnyObserved(allOf(root)));
}

TEST_F(ItemsObserverReentrancy, SettingTheSameRootInsideAReplacementKeepsOneRegistration) {
  once([&] { observer->setRoot(root); });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  // An observer that registers during a change hears the next one, not the rest of this one.
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [x] {0} of a", "report insertion [y] {0} of a"}));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AnotherTreeCanBeWatchedFromWithinAReport) {
  const auto other = plainItem("other", {plainItem("below")});
  once([&] { observer->setRoot(other); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a] {0} of root"});
  EXPECT_FALSE(isAnyObserved(allOf(root)));
  expectWatchedOnce(other);
}

TEST_F(ItemsObserverReentrancy, AnotherObserverStartedWithinAReportHearsOfTheNextChange) {
  const auto secondDelegate = TreeRecorder::make();
  const auto second = KRAVTWVItemsObserver::init();
  second->setDelegate(secondDelegate);
  once([&] { second->setRoot(root); });
  root->replaceChildren(items({eventItem("b", "B"), plainItem("c")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [a] {0} of root", "report insertion [c] {1} of root"}));
  EXPECT_EQ(secondDelegate->take(), Lines{"report insertion [c] {1} of root"});
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ADelegateThatResignsHearsNoMoreOfTheSameChange) {
  once([&] { observer->setDelegate(nullptr); });
  root->setChildren(items({plainItem("c")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  observer->setDelegate(delegate);
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ADelegateThatHandsOverIsFollowedWithinTheSameChange) {
  const auto successor = TreeRecorder::make();
  once([&] { observer->setDelegate(successor); });
  root->setChildren(items({plainItem("c")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  EXPECT_EQ(successor->take(), Lines{"report setting [c] without indexes of root"});
}

// --- letting go

TEST_F(ItemsObserverReentrancy, TheObserverCanBeDroppedDuringAReport) {
  const std::weak_ptr<KRAVTWVItemsObserver> gone = observer;
  once([&] { observer.reset(); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [a] {0} of root"});
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(outline(root), "root[b=B2 c]");
}

TEST_F(ItemsObserverReentrancy, TheObserverCanBeClearedAndDroppedDuringAReport) {
  once([&] {
    observer->setRoot(nullptr);
    observer.reset();
  });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(), Lines{"report removal [x] {0} of a"});
  EXPECT_FALSE(isAnyObserved(allOf(root)));
}

TEST_F(ItemsObserverReentrancy, TheDelegateCanLetGoOfItselfDuringAReport) {
  const std::weak_ptr<TreeRecorder> gone = delegate;
  delegate->then = [&] { delegate.reset(); };
  root->setChildren(items({plainItem("c")}));
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(outline(root), "root[c]");
}

TEST_F(ItemsObserverReentrancy, TheTreeCanBeDroppedDuringAReport) {
  const std::weak_ptr<KRAVTWVItemVexil> gone = root;
  once([&] {
    a.reset();
    root.reset();
  });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [a] {0} of root", "report insertion [c] {1} of root",
                   "report replacement [b] {0} of root"}));
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(observer->root(), nullptr);
  EXPECT_EQ(b->label(), Value("B2"));
}

// --- throwing

TEST_F(ItemsObserverReentrancy, WhatADelegateRaisesReachesWhoeverMadeTheChange) {
  once([] { throw Refused(); });
  EXPECT_THROW(root->removeChildrenAtIndexes({0}), Refused);
  EXPECT_EQ(outline(root), "root[b=B]");
  EXPECT_FALSE(isAnyObserved(allOf(a)));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AnInsertionIsFollowedAlthoughItsReportRaised) {
  const auto c = plainItem("c", {plainItem("c1")});
  once([] { throw Refused(); });
  EXPECT_THROW(root->replaceChildren(items({a, b, c})), Refused);
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARaiseInsideAReplacementDropsTheReportsAbove) {
  once([] { throw Refused(); });
  EXPECT_THROW(
      root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")})),
      Refused);
  EXPECT_EQ(delegate->take(), Lines{"report removal [x] {0} of a"});
  EXPECT_EQ(outline(root), "root[a=A b=B]");
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report insertion [y] {0} of a", "report replacement [a] {0} of root"}));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARaiseOfTheFirstOfTwoObserversKeepsTheChangeFromTheSecond) {
  const auto secondDelegate = TreeRecorder::make();
  const auto second = KRAVTWVItemsObserver::init();
  second->setDelegate(secondDelegate);
  second->setRoot(root);
  once([] { throw Refused(); });
  EXPECT_THROW(b->replaceChildren(items({plainItem("y")})), Refused);
  EXPECT_EQ(secondDelegate->take(), Lines{});
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(secondDelegate->take(), Lines{"report removal [a] {0} of root"});
}

}  // namespace
