// SPDX-License-Identifier: Apache-2.0
// The merge of more than one level: a child that stays and differs merges the children of its
// counterpart in the same way. All of that is announced within the child's own replacement.
//
// `root - a - x` above a test is the tree before the merge. Each "-" begins a level:
//
//     root - a - x        a and b are children of the root, x is one of a, y one of b
//          - b - y
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::TreeRecorder;

/// A recorder that watches "children" of an item and everything below it.
std::shared_ptr<TreeRecorder> recorderOfAll(const ItemPointer& root) {
  auto recorder = TreeRecorder::of(root);
  for (const auto& item : root->recursiveChildren()) {
    recorder->watch(item);
  }
  return recorder;
}

// root - a - x
//          - y
//      - b
TEST(ReplaceChildrenNested, AChildsOwnChangesAreAnnouncedInsideItsReplacement) {
  const auto y = eventItem("y", "Y");
  const auto a = plainItem("a", {eventItem("x", "X"), y});
  const auto root = plainItem("root", {a, plainItem("b")});
  const auto recorder = recorderOfAll(root);
  const auto z = eventItem("z", "Z");
  root->replaceChildren(items({plainItem("a", {z, eventItem("y", "Y2")}), plainItem("b")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"a children removal {0} old=[x]", "a children insertion {0} new=[z]",
                   "a children replacement {1} old=[y] new=[y]",
                   "root children replacement {0} old=[a] new=[a]"}));
  EXPECT_EQ(root->childAtIndex(0), a);
  EXPECT_EQ(*a->children(), (KRAVTWVItemArray{z, y}));
  EXPECT_EQ(y->label(), Value("Y2"));
}

// root - a - x
//      - b - y
TEST(ReplaceChildrenNested, ChildrenAreFinishedOneAfterTheOther) {
  const auto root =
      plainItem("root", {plainItem("a", {plainItem("x")}), plainItem("b", {plainItem("y")})});
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(
      items({plainItem("a", {plainItem("x2")}), plainItem("b", {plainItem("y2")})}));
  EXPECT_EQ(recorder->take(),
            (Lines{"a children removal {0} old=[x]", "a children insertion {0} new=[x2]",
                   "b children removal {0} old=[y]", "b children insertion {0} new=[y2]",
                   "root children replacement {0-1} old=[a, b] new=[a, b]"}));
}

// root - a - b - c - d
TEST(ReplaceChildrenNested, EachLevelClosesAfterTheOneBelowIt) {
  const auto build = [](const char* leaf) {
    return plainItem("a", {plainItem("b", {plainItem("c", {plainItem(leaf)})})});
  };
  const auto root = plainItem("root", {build("d")});
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(items({build("e")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"c children removal {0} old=[d]", "c children insertion {0} new=[e]",
                   "b children replacement {0} old=[c] new=[c]",
                   "a children replacement {0} old=[b] new=[b]",
                   "root children replacement {0} old=[a] new=[a]"}));
}

// root - same - x
//      - other - y
TEST(ReplaceChildrenNested, OnlyChildrenThatDifferAreEntered) {
  const auto build = [](const char* leaf) {
    return items({plainItem("same", {plainItem("x")}), plainItem("other", {plainItem(leaf)})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build("y"));
  const auto recorder = TreeRecorder::make();
  const auto same = root->childAtIndex(0);
  recorder->watch(same);
  recorder->watch(same, "representedObject");
  recorder->watch(same->childAtIndex(0), "representedObject");
  root->replaceChildren(build("z"));
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(outline(root), "root[same[x] other[z]]");
}

TEST(ReplaceChildrenNested, AChildTakesOverTheRecordBeforeTheChildren) {
  const auto a = eventItem("a", "Old", {plainItem("x")});
  const auto root = plainItem("root", {a});
  const auto recorder = TreeRecorder::of(a);
  std::string seen;
  recorder->then = [&] { seen += a->label().displayText() + " "; };
  root->replaceChildren(items({eventItem("a", "New", {plainItem("y")})}));
  EXPECT_EQ(seen, "New New ");
}

TEST(ReplaceChildrenNested, ARecordIsSetAlsoWhenOnlyTheChildrenDiffer) {
  const auto a = eventItem("a", "A", {plainItem("x")});
  const auto root = plainItem("root", {a});
  const auto recorder = TreeRecorder::make();
  recorder->watch(a, "label");
  root->replaceChildren(items({eventItem("a", "A", {plainItem("y")})}));
  EXPECT_EQ(recorder->take(), Lines{"a label setting old=\"A\" new=\"A\""});
}

TEST(ReplaceChildrenNested, ChildrenAreMergedAlsoWhenOnlyTheRecordDiffers) {
  const auto x = plainItem("x");
  const auto a = eventItem("a", "Old", {x});
  const auto root = plainItem("root", {a});
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(items({eventItem("a", "New", {plainItem("x")})}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {0} old=[a] new=[a]"});
  EXPECT_EQ(*a->children(), KRAVTWVItemArray{x});
}

TEST(ReplaceChildrenNested, AChildThatStaysCanLoseAllItsChildren) {
  const auto a = plainItem("a", {plainItem("x"), plainItem("y")});
  const auto root = plainItem("root", {a});
  const auto recorder = recorderOfAll(root);
  recorder->watch(a, "isGroup");
  root->replaceChildren(items({plainItem("a")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"a children removal {0-1} old=[x, y]", "a isGroup setting old=true new=false",
                   "root children replacement {0} old=[a] new=[a]"}));
}

TEST(ReplaceChildrenNested, AnAbsentListOfAFreshItemIsTreatedAsEmpty) {
  const auto a = plainItem("a", {plainItem("x")});
  const auto root = plainItem("root", {a});
  const auto recorder = recorderOfAll(root);
  const auto fresh = plainItem("a");
  fresh->setChildren(nullptr);
  root->replaceChildren(items({fresh}));
  EXPECT_EQ(recorder->take(), (Lines{"a children removal {0} old=[x]",
                                     "root children replacement {0} old=[a] new=[a]"}));
  ASSERT_NE(a->children(), nullptr);
  EXPECT_TRUE(a->children()->empty());
}

TEST(ReplaceChildrenNested, ALeafThatStaysCanBecomeAGroup) {
  const auto a = plainItem("a");
  const auto x = plainItem("x", {plainItem("y")});
  const auto root = plainItem("root", {a});
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(items({plainItem("a", {x})}));
  EXPECT_EQ(recorder->take(), (Lines{"a children insertion {0} new=[x]",
                                     "root children replacement {0} old=[a] new=[a]"}));
  EXPECT_EQ(a->childAtIndex(0), x);
}

TEST(ReplaceChildrenNested, ItemsInsertedBelowKeepTheirFreshParent) {
  const auto a = plainItem("a");
  const auto root = plainItem("root", {a});
  const auto x = plainItem("x");
  const auto freshA = plainItem("a", {x});
  root->replaceChildren(items({freshA}));
  EXPECT_EQ(a->childAtIndex(0), x);
  EXPECT_EQ(x->parent(), freshA);
}

TEST(ReplaceChildrenNested, AFreshItemsOwnListIsLeftAsItWas) {
  const auto root = plainItem("root", {plainItem("a", {plainItem("x")})});
  const auto y = plainItem("y");
  const auto freshA = plainItem("a", {plainItem("x"), y});
  const auto before = *freshA->children();
  root->replaceChildren(items({freshA}));
  EXPECT_EQ(*freshA->children(), before);
  EXPECT_NE(root->childAtIndex(0)->children(), freshA->children());
}

// root - p - x
//      - q - y
TEST(ReplaceChildrenNested, SwappedGroupsMergeTheChildrenOfTheirPosition) {
  const auto group = [](const char* name, const KRAVTWVItemArray& children) {
    ItemPointer item = KRAVTWVGroupVexil::itemWithLabelUniqueID(name, name);
    item->addChildren(children);
    return item;
  };
  const auto p = group("p", {plainItem("x")});
  const auto q = group("q", {plainItem("y")});
  const auto root = plainItem("root", {p, q});
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(items({group("q", {plainItem("y")}), group("p", {plainItem("x")})}));
  EXPECT_EQ(recorder->take(),
            (Lines{"p children removal {0} old=[x]", "p children insertion {0} new=[y]",
                   "q children removal {0} old=[y]", "q children insertion {0} new=[x]",
                   "root children replacement {0-1} old=[p, q] new=[p, q]"}));
  EXPECT_EQ(p->representedObject(), Value("q"));
  EXPECT_EQ(p->label(), Value("p"));  // stored, so it stays
}

TEST(ReplaceChildrenNested, AnItemThatRepresentsNothingHasItsAncestorsReplacedToo) {
  const auto build = [] {
    const auto empty = plainItem("empty");
    empty->setRepresentedObject({});
    return items({plainItem("a", {empty})});
  };
  const auto root = plainItem("root");
  root->replaceChildren(build());
  const auto recorder = recorderOfAll(root);
  root->replaceChildren(build());
  EXPECT_EQ(recorder->take(), (Lines{"a children replacement {0} old=[empty] new=[empty]",
                                     "root children replacement {0} old=[a] new=[a]"}));
}

TEST(ReplaceChildrenNested, AnObserverOfALevelSeesTheLevelsAboveUnfinished) {
  const auto a = eventItem("a", "A", {plainItem("x")});
  const auto b = eventItem("b", "B");
  const auto root = plainItem("root", {a, b});
  const auto recorder = TreeRecorder::of(a);
  std::string seen;
  recorder->then = [&] { seen += outline(root) + "; "; };
  root->replaceChildren(items({eventItem("a", "A2", {plainItem("y")}), eventItem("b", "B2")}));
  EXPECT_EQ(seen, "root[a=A2 b=B]; root[a=A2[y] b=B]; ");
  EXPECT_EQ(outline(root), "root[a=A2[y] b=B2]");
}

}  // namespace
