// SPDX-License-Identifier: Apache-2.0
// The merge meets arrays that it cannot merge and observers that throw. It stops where it is. What
// it has changed and announced stays, and the next merge starts from there. `root - a - x` above a
// test is the tree before the merge: a child of the root, and its child.
#include "tests/support/TreeRecorder.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::RangeError;
using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::TreeRecorder;

ItemPointer nameless() {
  auto item = plainItem("content");
  item->setUniqueID({});
  return item;
}

struct Refused : std::runtime_error {
  Refused() : std::runtime_error("refused") {}
};

TEST(ReplaceChildrenFailure, AFreshItemWithoutIdentifierRaisesWithNothingChanged) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto before = *root->children();
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(items({plainItem("b"), nameless()})), InvalidArgument);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(*root->children(), before);
}

TEST(ReplaceChildrenFailure, AChildWithoutIdentifierRaisesWithNothingChanged) {
  const auto root = plainItem("root", {plainItem("a"), nameless()});
  const auto before = *root->children();
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(items({plainItem("b")})), InvalidArgument);
  EXPECT_THROW(root->replaceChildren(nullptr), InvalidArgument);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(*root->children(), before);
}

TEST(ReplaceChildrenFailure, AbsentIdentifiersOnBothSidesDoNotMatch) {
  const auto root = plainItem("root", {nameless()});
  EXPECT_THROW(root->replaceChildren(items({nameless()})), InvalidArgument);
}

TEST(ReplaceChildrenFailure, AnEventWithoutIdentifierInItsRecordRaisesToo) {
  const auto root = plainItem("root");
  EXPECT_THROW(root->replaceChildren(items({eventItem({}, "Name")})), InvalidArgument);
}

TEST(ReplaceChildrenFailure, TheErrorNamesTheItem) {
  const auto item = nameless();
  item->setLabel("Backup");
  try {
    plainItem("root")->replaceChildren(items({item}));
    FAIL() << "nothing was thrown";
  } catch (const InvalidArgument& error) {
    EXPECT_NE(std::string(error.what()).find("Backup"), std::string::npos) << error.what();
  }
}

TEST(ReplaceChildrenFailure, ANullPointerAmongFreshItemsRaises) {
  const auto root = plainItem("root", {plainItem("a")});
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(items({plainItem("b"), nullptr})), InvalidArgument);
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST(ReplaceChildrenFailure, AMarkerOfNothingIsAnIdentifierLikeAnyOther) {
  const auto withNull = [] {
    auto item = plainItem("content");
    item->setUniqueID(Value::null());
    return item;
  };
  const auto root = plainItem("root", {withNull()});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({withNull()}));
  EXPECT_EQ(recorder->take(), Lines{});
}

// root - a, a
TEST(ReplaceChildrenFailure, MoreChildrenThanFreshItemsAreARangeError) {
  const auto root = plainItem("root");
  root->setChildren(items({plainItem("a"), plainItem("a")}));
  const auto before = *root->children();
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(items({plainItem("a")})), RangeError);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(*root->children(), before);
}

// root - a, a, gone
TEST(ReplaceChildrenFailure, WhatWasRemovedAndInsertedBeforeARangeErrorStays) {
  const auto root = plainItem("root");
  root->setChildren(items({plainItem("a"), plainItem("a"), plainItem("gone")}));
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(items({plainItem("came"), plainItem("a")})), RangeError);
  EXPECT_EQ(recorder->take(), (Lines{"root children removal {2} old=[gone]",
                                     "root children insertion {0} new=[came]"}));
  EXPECT_EQ(outline(root), "root[came a a]");
}

TEST(ReplaceChildrenFailure, NothingIsRefreshedBeforeARangeError) {
  const auto first = eventItem("a", "Old");
  const auto root = plainItem("root");
  root->setChildren(items({first, eventItem("a", "Old")}));
  EXPECT_THROW(root->replaceChildren(items({eventItem("a", "New")})), RangeError);
  EXPECT_EQ(first->label(), Value("Old"));
}

TEST(ReplaceChildrenFailure, SurplusFreshItemsAtTheEndAreIgnored) {
  const auto a = eventItem("a", "Old");
  const auto root = plainItem("root", {a});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({eventItem("a", "First"), eventItem("a", "Second")}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {0} old=[a] new=[a]"});
  EXPECT_EQ(outline(root), "root[a=First]");
}

TEST(ReplaceChildrenFailure, AnInsertionPastTheEndIsARangeErrorThatIsNotAnnounced) {
  const auto a = plainItem("a");
  const auto root = plainItem("root", {a, plainItem("gone")});
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(root->replaceChildren(
                   items({plainItem("a"), plainItem("a"), plainItem("a"), plainItem("b")})),
               RangeError);
  EXPECT_EQ(recorder->take(), Lines{"root children removal {1} old=[gone]"});
  EXPECT_EQ(*root->children(), KRAVTWVItemArray{a});
}

// root - a - x
//      - b
TEST(ReplaceChildrenFailure, AFailureBelowStaysThereAndDropsTheReplacementsAbove) {
  const auto a = eventItem("a", "Old", {plainItem("x")});
  const auto b = eventItem("b", "Old");
  const auto root = plainItem("root", {a, b});
  const auto recorder = TreeRecorder::of(root);
  recorder->watch(a);
  recorder->watch(a, "label");
  EXPECT_THROW(
      root->replaceChildren(items({eventItem("a", "New", {nameless()}), eventItem("b", "New")})),
      InvalidArgument);
  EXPECT_EQ(recorder->take(), Lines{"a label setting old=\"Old\" new=\"New\""});
  EXPECT_EQ(outline(root), "root[a=New[x] b=Old]");
}

TEST(ReplaceChildrenFailure, TheNextMergeStartsFromWhereTheLastOneStopped) {
  const auto a = eventItem("a", "Old", {plainItem("x")});
  const auto root = plainItem("root", {a, eventItem("b", "Old")});
  const auto recorder = TreeRecorder::of(root);
  EXPECT_THROW(
      root->replaceChildren(items({eventItem("a", "New", {nameless()}), eventItem("b", "New")})),
      InvalidArgument);
  recorder->watch(a);
  root->replaceChildren(
      items({eventItem("a", "New", {plainItem("y")}), eventItem("b", "New"), eventItem("c", "C")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"root children insertion {2} new=[c]", "a children removal {0} old=[x]",
                   "a children insertion {0} new=[y]",
                   "root children replacement {0-1} old=[a, b] new=[a, b]"}));
  EXPECT_EQ(outline(root), "root[a=New[y] b=New c=C]");
}

/// An observer that throws out of the notice of this number. The first has number 0.
struct ThrowingAt {
  explicit ThrowingAt(const ItemPointer& root) : recorder(TreeRecorder::of(root)) {}
  void at(int number) {
    recorder->then = [this, number] {
      if (_told++ == number) {
        throw Refused();
      }
    };
  }
  std::shared_ptr<TreeRecorder> recorder;

 private:
  int _told = 0;
};

struct ObserverThatRaises : ::testing::TestWithParam<int> {};

// root - gone, stays
TEST_P(ObserverThatRaises, StopsTheMergeAfterItsOwnStep) {
  const auto root = plainItem("root", {eventItem("gone", "Gone"), eventItem("stays", "Old")});
  const auto build = [] { return items({eventItem("stays", "New"), eventItem("came", "Came")}); };
  const Lines notices{"root children removal {0} old=[gone]",
                      "root children insertion {1} new=[came]",
                      "root children replacement {0} old=[stays] new=[stays]"};
  static constexpr const char* outlines[] = {"root[stays=Old]", "root[stays=Old came=Came]",
                                             "root[stays=New came=Came]"};
  ThrowingAt observer(root);
  observer.at(GetParam());
  EXPECT_THROW(root->replaceChildren(build()), Refused);
  const auto next = notices.begin() + GetParam() + 1;
  EXPECT_EQ(observer.recorder->take(), Lines(notices.begin(), next));
  EXPECT_EQ(outline(root), outlines[GetParam()]);

  root->replaceChildren(build());
  EXPECT_EQ(observer.recorder->take(), Lines(next, notices.end()));
  EXPECT_EQ(outline(root), outlines[2]);
}

INSTANTIATE_TEST_SUITE_P(AtEachStep, ObserverThatRaises, ::testing::Values(0, 1, 2));

// root - a - x
TEST(ReplaceChildrenFailure, AnObserverThatRaisesBelowLeavesTheLevelsAboveUnannounced) {
  const auto a = eventItem("a", "A", {plainItem("x")});
  const auto root = plainItem("root", {a});
  ThrowingAt below(a);
  below.at(0);
  const auto above = TreeRecorder::of(root);
  const auto build = [] { return items({eventItem("a", "A", {plainItem("y")})}); };
  EXPECT_THROW(root->replaceChildren(build()), Refused);
  EXPECT_EQ(above->take(), Lines{});
  root->replaceChildren(build());
  EXPECT_EQ(above->take(), Lines{"root children replacement {0} old=[a] new=[a]"});
  EXPECT_EQ(outline(root), "root[a=A[y]]");
}

// --- observers that change the same tree meanwhile

// root - a, b, c
TEST(ReplaceChildrenFailure, WhatCameAndWentIsDecidedBeforeTheRemoval) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b"), plainItem("c")});
  const auto recorder = TreeRecorder::of(root);
  recorder->then = [&] {
    recorder->then = nullptr;
    root->removeChildrenAtIndexes({1});
  };
  // "c" is not inserted: it was among the children when the merge began, so it did not appear.
  root->replaceChildren(items({plainItem("d"), plainItem("b"), plainItem("c")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"root children removal {0} old=[a]", "root children removal {1} old=[c]",
                   "root children insertion {0} new=[d]"}));
  EXPECT_EQ(outline(root), "root[d b]");
}

TEST(ReplaceChildrenFailure, AnObserverThatRemovesWhatIsBeingReplacedIsARangeError) {
  const auto a = eventItem("a", "Old");
  const auto root = plainItem("root", {a, eventItem("b", "Old")});
  const auto recorder = TreeRecorder::make();
  recorder->watch(a, "label");
  recorder->then = [&] { root->removeChildrenAtIndexes({0, 1}); };
  EXPECT_THROW(root->replaceChildren(items({eventItem("a", "New"), eventItem("b", "New")})),
               RangeError);
  EXPECT_TRUE(root->children()->empty());
}

TEST(ReplaceChildrenFailure, WhatIsInsertedIsLookedUpAfterTheRemoval) {
  const auto root = plainItem("root", {plainItem("a")});
  const auto fresh = items({plainItem("b"), plainItem("c")});
  const auto recorder = TreeRecorder::of(root);
  recorder->then = [&] { fresh->resize(1); };
  // When the insertion begins, the second item has gone from the fresh array.
  root->replaceChildren(fresh);
  EXPECT_EQ(outline(root), "root[b]");
}

TEST(ReplaceChildrenFailure, AnObserverThatDropsTheTreeLetsTheMergeFinish) {
  auto root = plainItem("root", {eventItem("gone", "Gone"), eventItem("stays", "Old")});
  const auto stays = root->childAtIndex(1);
  const std::weak_ptr<KRAVTWVItemVexil> watched = root;
  const auto recorder = TreeRecorder::of(root);
  recorder->then = [&] { root.reset(); };
  root->replaceChildren(items({eventItem("stays", "New")}));
  EXPECT_EQ(recorder->take(), (Lines{"root children removal {0} old=[gone]",
                                     "root children replacement {0} old=[stays] new=[stays]"}));
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(stays->label(), Value("New"));
}

// root - a
TEST(ReplaceChildrenFailure, ARefreshWithinARefreshIsDoneAtOnce) {
  const auto root = plainItem("root", {eventItem("a", "One")});
  const auto recorder = TreeRecorder::of(root);
  recorder->then = [&] {
    recorder->then = nullptr;
    root->replaceChildren(items({eventItem("a", "Three"), eventItem("b", "B")}));
  };
  root->replaceChildren(items({eventItem("a", "Two")}));
  EXPECT_EQ(recorder->take(), (Lines{"root children replacement {0} old=[a] new=[a]",
                                     "root children insertion {1} new=[b]",
                                     "root children replacement {0} old=[a] new=[a]"}));
  EXPECT_EQ(outline(root), "root[a=Three b=B]");
}

}  // namespace
