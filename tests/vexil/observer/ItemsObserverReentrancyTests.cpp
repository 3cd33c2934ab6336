// SPDX-License-Identifier: Apache-2.0
// What delegates do while they are being told: change the tree, withdraw, watch something else, let
// go of the observer or the tree, raise.
#include "tests/support/Recorder.h"

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
using test::ItemPointer;
using test::items;
using test::outline;
using test::plainItem;
using test::Recorder;

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
    delegate->meanwhile = [this, what = std::move(what)] {
      delegate->meanwhile = nullptr;
      what();
    };
  }
  static bool isAnyObserved(const ItemPointer& root) {
    const auto below = root->recursiveChildren();
    return root->isObserved() ||
           std::ranges::any_of(below, [](const auto& item) { return item->isObserved(); });
  }
  /// Whether every item of a tree is watched once, as changes of each show.
  void expectWatchedOnce(const ItemPointer& tree) {
    (void)delegate->take();
    KRAVTWVItemArray all = tree->recursiveChildren();
    all.push_back(tree);
    for (const auto& item : all) {
      item->setChildren(items({}));
      const std::string end = " of " + item->uniqueID().displayText() + "\n";
      const std::string reports = delegate->take();
      EXPECT_EQ(std::ranges::count(reports, '\n'), 2) << reports;
      EXPECT_NE(reports.find(end), std::string::npos) << reports;
    }
  }

  ItemPointer x = plainItem("x");
  ItemPointer a = eventItem("a", "A", {x});
  ItemPointer b = eventItem("b", "B");
  ItemPointer root = plainItem("root", {a, b});
  std::shared_ptr<Recorder> delegate = Recorder::make();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

TEST_F(ItemsObserverReentrancy, ARefreshDuringAReportIsReportedAtOnce) {
  once([&] { b->replaceChildren(items({plainItem("y", {plainItem("z")})})); });
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(),
            "report removal [a] {0} of root\n"
            "report insertion [y] {0} of b\n");
  EXPECT_FALSE(isAnyObserved(a));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AnInsertedItemCanBeRemovedDuringItsReport) {
  const auto c = plainItem("c", {plainItem("c1")});
  once([&] { root->removeChildrenAtIndexes({2}); });
  auto fresh = *root->children();
  fresh.push_back(c);
  root->replaceChildren(items(fresh));
  EXPECT_EQ(delegate->take(),
            "report insertion [c] {2} of root\n"
            "report removal [c] {2} of root\n");
  EXPECT_FALSE(isAnyObserved(c));
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARemovedItemCanBePutBackDuringItsReport) {
  once([&] { root->replaceChildren(items({eventItem("b", "B"), a})); });
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(),
            "report removal [a] {0} of root\n"
            "report insertion [a] {1} of root\n");
  EXPECT_EQ(outline(root), "root[b=B a=A[x]]");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARefreshDuringARemovalFailsTheOuterOneWhenItBringsMore) {
  once([&] { root->replaceChildren(items({eventItem("b", "Nested"), eventItem("c", "C")})); });
  // The outer merge had decided what comes, and finds no counterpart of "c".
  EXPECT_THROW(root->replaceChildren(items({eventItem("b", "Outer")})), platform::RangeError);
  EXPECT_EQ(delegate->take(),
            "report removal [a] {0} of root\n"
            "report insertion [c] {1} of root\n"
            "report replacement [b] {0} of root\n");
  EXPECT_EQ(outline(root), "root[b=Nested c=C]");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AListOfEventsCanBeSetDuringAReport) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(Value::array({eventRecord("1", "One"), eventRecord("2", "Two")}));
  observer->setRoot(list->root());
  // With the last report, nothing of the outer merge is left to be done.
  once([&] { list->setEvents(Value::array({eventRecord("2", "Due"), eventRecord("3", "Tre")})); });
  list->setEvents(Value::array({eventRecord("1", "Uno"), eventRecord("2", "Two")}));
  EXPECT_EQ(delegate->take(),
            "report replacement [2, 1] {0-1} of root\n"
            "report removal [1] {1} of root\n"
            "report insertion [3] {1} of root\n"
            "report replacement [2] {0} of root\n");
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
            "report removal [outer, nested] {0-1} of a\n"
            "report insertion [mended] {0} of a\n"
            "report replacement [a] {0} of root\n");
  expectWatchedOnce(root);
}

// --- withdrawing and watching something else

TEST_F(ItemsObserverReentrancy, ClearingTheRootDuringAReportEndsTheReports) {
  once([&] { observer->setRoot(nullptr); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), "report removal [a] {0} of root\n");
  EXPECT_EQ(outline(root), "root[b=B2 c]");
  EXPECT_FALSE(isAnyObserved(root));
  EXPECT_FALSE(isAnyObserved(a));
}

TEST_F(ItemsObserverReentrancy, ClearingTheRootInsideAReplacementEndsTheReports) {
  once([&] { observer->setRoot(nullptr); });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(), "report removal [x] {0} of a\n");
  EXPECT_EQ(outline(root), "root[a=A[y] b=B]");
  EXPECT_FALSE(isAnyObserved(root));
}

TEST_F(ItemsObserverReentrancy, SettingTheSameRootInsideAReplacementKeepsOneRegistration) {
  once([&] { observer->setRoot(root); });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  // Whoever registers during a change hears of the next one: not of the rest of this replacement.
  EXPECT_EQ(delegate->take(),
            "report removal [x] {0} of a\n"
            "report insertion [y] {0} of a\n");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, AnotherTreeCanBeWatchedFromWithinAReport) {
  const auto other = plainItem("other", {plainItem("below")});
  once([&] { observer->setRoot(other); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), "report removal [a] {0} of root\n");
  EXPECT_FALSE(isAnyObserved(root));
  expectWatchedOnce(other);
}

TEST_F(ItemsObserverReentrancy, AnotherObserverStartedWithinAReportHearsOfTheNextChange) {
  const auto secondDelegate = Recorder::make();
  const auto second = KRAVTWVItemsObserver::init();
  second->setDelegate(secondDelegate);
  once([&] { second->setRoot(root); });
  root->replaceChildren(items({eventItem("b", "B"), plainItem("c")}));
  EXPECT_EQ(delegate->take(),
            "report removal [a] {0} of root\n"
            "report insertion [c] {1} of root\n");
  EXPECT_EQ(secondDelegate->take(), "report insertion [c] {1} of root\n");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ADelegateThatResignsHearsNoMoreOfTheSameChange) {
  once([&] { observer->setDelegate(nullptr); });
  root->setChildren(items({plainItem("c")}));
  EXPECT_EQ(delegate->take(), "report removal [a, b] without indexes of root\n");
  observer->setDelegate(delegate);
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ADelegateThatHandsOverIsFollowedWithinTheSameChange) {
  const auto successor = Recorder::make();
  once([&] { observer->setDelegate(successor); });
  root->setChildren(items({plainItem("c")}));
  EXPECT_EQ(delegate->take(), "report removal [a, b] without indexes of root\n");
  EXPECT_EQ(successor->take(), "report setting [c] without indexes of root\n");
}

// --- letting go

TEST_F(ItemsObserverReentrancy, TheObserverCanBeDroppedDuringAReport) {
  const std::weak_ptr<KRAVTWVItemsObserver> gone = observer;
  once([&] { observer.reset(); });
  root->replaceChildren(items({eventItem("b", "B2"), plainItem("c")}));
  EXPECT_EQ(delegate->take(), "report removal [a] {0} of root\n");
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(outline(root), "root[b=B2 c]");
}

TEST_F(ItemsObserverReentrancy, TheObserverCanBeClearedAndDroppedDuringAReport) {
  once([&] {
    observer->setRoot(nullptr);
    observer.reset();
  });
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(), "report removal [x] {0} of a\n");
  EXPECT_FALSE(isAnyObserved(root));
}

TEST_F(ItemsObserverReentrancy, TheDelegateCanLetGoOfItselfDuringAReport) {
  const std::weak_ptr<Recorder> gone = delegate;
  delegate->meanwhile = [&] { delegate.reset(); };
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
            "report removal [a] {0} of root\n"
            "report insertion [c] {1} of root\n"
            "report replacement [b] {0} of root\n");
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(observer->root(), nullptr);
  EXPECT_EQ(b->label(), Value("B2"));
}

// --- raising

TEST_F(ItemsObserverReentrancy, WhatADelegateRaisesReachesWhoeverMadeTheChange) {
  once([] { throw Refused(); });
  EXPECT_THROW(root->removeChildrenAtIndexes({0}), Refused);
  EXPECT_EQ(outline(root), "root[b=B]");
  EXPECT_FALSE(isAnyObserved(a));
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
  EXPECT_EQ(delegate->take(), "report removal [x] {0} of a\n");
  EXPECT_EQ(outline(root), "root[a=A b=B]");
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")}), eventItem("b", "B")}));
  EXPECT_EQ(delegate->take(),
            "report insertion [y] {0} of a\n"
            "report replacement [a] {0} of root\n");
  expectWatchedOnce(root);
}

TEST_F(ItemsObserverReentrancy, ARaiseOfTheFirstOfTwoObserversKeepsTheChangeFromTheSecond) {
  const auto secondDelegate = Recorder::make();
  const auto second = KRAVTWVItemsObserver::init();
  second->setDelegate(secondDelegate);
  second->setRoot(root);
  once([] { throw Refused(); });
  EXPECT_THROW(b->replaceChildren(items({plainItem("y")})), Refused);
  EXPECT_EQ(secondDelegate->take(), "");
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(secondDelegate->take(), "report removal [a] {0} of root\n");
}

}  // namespace
