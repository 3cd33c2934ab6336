// SPDX-License-Identifier: Apache-2.0
// One level of the merge: what goes, what comes, what is refreshed in place, and what is announced
// of it. `root - a, b` above a test is the tree before the merge: a root with children a and b.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventItem;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::plainItemWith;
using test::TreeRecorder;

/// A group that notes what its children are when it is asked whether it is a group. If somebody
/// observes "isGroup", each change of "children" asks before and after.
class Witness : public KRAVTWVKind<Witness, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  bool isGroup() const override {
    seen += test::identifiers(*children()) + " ";
    return true;
  }
  mutable std::string seen;
};

/// An object for items to represent. It counts how often it is compared.
class Counted : public platform::Object {
 public:
  explicit Counted(int content) : _content(content) {}
  bool isEqual(const platform::Object& other) const override {
    ++comparisons;
    const auto* counted = dynamic_cast<const Counted*>(&other);
    return counted != nullptr && counted->_content == _content;
  }
  std::size_t hash() const override { return static_cast<std::size_t>(_content); }
  static inline int comparisons = 0;

 private:
  int _content;
};

ItemPointer countedItem(const char* uniqueID, int content) {
  auto item =
      KRAVTWVItemVexil::itemWithRepresentedObject(Value(std::make_shared<Counted>(content)));
  item->setUniqueID(uniqueID);
  return item;
}

// root - a, b, c
TEST(ReplaceChildren, AnAbsentArrayRemovesEveryChildUnderOneRemoval) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b"), plainItem("c")});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(nullptr);
  EXPECT_EQ(recorder->take(), Lines{"root children removal {0-2} old=[a, b, c]"});
  EXPECT_TRUE(root->children()->empty());
}

TEST(ReplaceChildren, AnEmptyArrayRemovesEveryChildToo) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({}));
  EXPECT_EQ(recorder->take(), Lines{"root children removal {0-1} old=[a, b]"});
}

TEST(ReplaceChildren, AnEmptyArrayOnANodeWithoutChildrenAnnouncesNothing) {
  const auto root = plainItem("root");
  const auto recorder = TreeRecorder::of(root);
  recorder->watch(root, "isGroup");
  root->replaceChildren(items({}));
  root->replaceChildren(nullptr);
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST(ReplaceChildren, ANodeWithoutChildrenHoldsTheGivenObjectsThemselves) {
  const auto root = plainItem("root");
  const auto fresh = items({plainItem("a"), plainItem("b"), plainItem("c")});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(fresh);
  EXPECT_EQ(recorder->take(), Lines{"root children insertion {0-2} new=[a, b, c]"});
  EXPECT_EQ(*root->children(), *fresh);
}

// root - x1, x2, x3
TEST(ReplaceChildren, WhatGoesIsAnnouncedBeforeWhatComes) {
  const auto x1 = plainItem("x1");
  const auto x3 = plainItem("x3");
  const auto x4 = plainItem("x4");
  const auto root = plainItem("root", {x1, plainItem("x2"), x3});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItem("x1"), plainItem("x3"), x4}));
  EXPECT_EQ(recorder->take(),
            (Lines{"root children removal {1} old=[x2]", "root children insertion {2} new=[x4]"}));
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{x1, x3, x4}));
}

TEST(ReplaceChildren, AChangedChildIsReplacedInPlaceAndStaysTheSameObject) {
  const auto x1 = plainItem("x1");
  const auto x2 = plainItem("x2");
  const auto root = plainItem("root", {x1, x2});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItem("x1"), plainItemWith("x2", "new content")}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {1} old=[x2] new=[x2]"});
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{x1, x2}));
  EXPECT_EQ(x2->representedObject(), Value("new content"));
  EXPECT_EQ(x1->representedObject(), Value("x1"));
}

TEST(ReplaceChildren, SwappedChildrenTakeOverEachOthersContentByPosition) {
  const auto x1 = plainItemWith("x1", "first");
  const auto x2 = plainItemWith("x2", "second");
  const auto below = plainItem("below");
  const auto root = plainItem("root", {x1, x2});
  const auto recorder = TreeRecorder::of(root);
  const auto fresh2 = plainItemWith("x2", "second");
  fresh2->addChild(below);
  root->replaceChildren(items({fresh2, plainItemWith("x1", "first")}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {0-1} old=[x1, x2] new=[x1, x2]"});
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{x1, x2}));
  EXPECT_EQ(x1->representedObject(), Value("second"));
  EXPECT_EQ(*x1->children(), KRAVTWVItemArray{below});
  EXPECT_EQ(x2->representedObject(), Value("first"));
  EXPECT_TRUE(x2->children()->empty());
}

TEST(ReplaceChildren, AnEventThatMovedKeepsItsObjectAndChangesItsIdentifier) {
  const auto first = eventItem("e1", "One");
  const auto second = eventItem("e2", "Two");
  const auto root = plainItem("root", {first, second});
  root->replaceChildren(items({eventItem("e2", "Two"), eventItem("e1", "One")}));
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{first, second}));
  EXPECT_EQ(outline(root), "root[e2=Two e1=One]");
}

TEST(ReplaceChildren, IdenticalTreesAnnounceNothing) {
  const auto build = [] { return items({plainItem("a", {plainItem("b")}), eventItem("e", "E")}); };
  const auto root = plainItem("root");
  root->replaceChildren(build());
  const auto recorder = TreeRecorder::of(root);
  for (const auto& item : root->recursiveChildren()) {
    recorder->watch(item);
    recorder->watch(item, "representedObject");
  }
  root->replaceChildren(build());
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST(ReplaceChildren, AnItemsOwnChildrenChangeNothing) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto before = *root->children();
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(root->children());
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(*root->children(), before);
}

TEST(ReplaceChildren, RemovalIndexesAreThoseBeforeTheRemoval) {
  const auto root = plainItem(
      "root", {plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d"), plainItem("e")});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItem("b"), plainItem("e")}));
  EXPECT_EQ(recorder->take(), Lines{"root children removal {0, 2-3} old=[a, c, d]"});
}

TEST(ReplaceChildren, EveryChildWithAVanishedIdentifierIsRemoved) {
  const auto b = plainItem("b");
  const auto root = plainItem("root");
  root->setChildren(items({plainItem("a"), b, plainItem("a")}));
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItem("b")}));
  EXPECT_EQ(recorder->take(), Lines{"root children removal {0, 2} old=[a, a]"});
  EXPECT_EQ(*root->children(), KRAVTWVItemArray{b});
}

TEST(ReplaceChildren, EveryFreshItemWithAnIdentifierThatAppearedIsInserted) {
  const auto fresh = items({plainItem("a"), plainItemWith("a", "another")});
  const auto root = plainItem("root");
  root->replaceChildren(fresh);
  EXPECT_EQ(*root->children(), *fresh);
}

// root - b, d
TEST(ReplaceChildren, InsertedItemsLandAtTheirOwnIndexes) {
  const auto b = plainItem("b");
  const auto d = plainItem("d");
  const auto a = plainItem("a");
  const auto c = plainItem("c");
  const auto e = plainItem("e");
  const auto f = plainItem("f");
  const auto root = plainItem("root", {b, d});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({a, plainItem("b"), c, plainItem("d"), e, f}));
  EXPECT_EQ(recorder->take(), Lines{"root children insertion {0, 2, 4-5} new=[a, c, e, f]"});
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{a, b, c, d, e, f}));
}

// root - gone, stays
TEST(ReplaceChildren, AllThreeAnnouncementsCountAsTheirOwnStepDoes) {
  const auto stays = eventItem("stays", "Old");
  const auto root = plainItem("root", {eventItem("gone", "Gone"), stays});
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({eventItem("first", "First"), eventItem("second", "Second"),
                               eventItem("stays", "New"), eventItem("last", "Last")}));
  EXPECT_EQ(recorder->take(), (Lines{"root children removal {0} old=[gone]",
                                     "root children insertion {0-1, 3} new=[first, second, last]",
                                     "root children replacement {2} old=[stays] new=[stays]"}));
  EXPECT_EQ(outline(root), "root[first=First second=Second stays=New last=Last]");
  EXPECT_EQ(root->childAtIndex(2), stays);
}

TEST(ReplaceChildren, InsertedItemsAreNotComparedWithThemselves) {
  // An item that represents nothing equals no item, not even itself made anew.
  const auto root = plainItem("root");
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItemWith("a", {}), plainItemWith("b", {})}));
  EXPECT_EQ(recorder->take(), Lines{"root children insertion {0-1} new=[a, b]"});
}

TEST(ReplaceChildren, ChildrenAreAsTheyWereAtWillChangeAndAsTheyAreAtDidChange) {
  const auto root = Witness::itemWithLabelUniqueID("", "root");
  root->addChildren({plainItem("a"), plainItem("b")});
  const auto recorder = TreeRecorder::make();
  recorder->watch(root, "isGroup");
  root->replaceChildren(items({plainItemWith("b", "new"), plainItem("c")}));
  EXPECT_EQ(root->seen, "[a, b] [b] [b] [b, c] [b, c] [b, c] ");
}

TEST(ReplaceChildren, EachNoticeComesBeforeTheNextStep) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto recorder = TreeRecorder::of(root);
  std::string seen;
  recorder->then = [&] {
    seen += test::identifiers(*root->children()) + " " +
            root->children()->front()->representedObject().displayText() + "; ";
  };
  root->replaceChildren(items({plainItemWith("b", "new"), plainItem("c")}));
  EXPECT_EQ(seen, "[b] b; [b, c] b; [b, c] new; ");
}

TEST(ReplaceChildren, TheListItselfIsTheSameArrayAfterwards) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto list = root->children();
  root->replaceChildren(items({plainItemWith("b", "new"), plainItem("c")}));
  EXPECT_EQ(root->children(), list);
  EXPECT_EQ(test::identifiers(*list), "[b, c]");
}

TEST(ReplaceChildren, TheFreshArrayIsLeftAsItWas) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const auto fresh = items({plainItem("b"), plainItem("c")});
  const auto before = *fresh;
  root->replaceChildren(fresh);
  EXPECT_EQ(*fresh, before);
}

TEST(ReplaceChildren, IdentifiersAreComparedByValue) {
  const auto withIdentifier = [](const Value& identifier) {
    auto item = plainItem("same content");
    item->setUniqueID(identifier);
    return item;
  };
  const auto root = plainItem("root");
  const std::string text = "an identifier too long to be stored within a value itself";
  root->replaceChildren(items({withIdentifier(std::string(text)), withIdentifier(7)}));
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({withIdentifier(std::string(text)), withIdentifier(7.0)}));
  EXPECT_EQ(recorder->take(), Lines{});
  root->replaceChildren(items({withIdentifier(text + "."), withIdentifier("7")}));
  EXPECT_EQ(recorder->take(), (Lines{"root children removal {0-1} old=[" + text + ", 7]",
                                     "root children insertion {0-1} new=[" + text + "., 7]"}));
}

// root - stays
TEST(ReplaceChildren, OnlyContentIsTakenOverFromAFreshItem) {
  const auto stays = plainItem("stays");
  stays->setLabel("old label");
  const auto root = plainItem("root", {stays});
  const auto fresh = plainItemWith("stays", "new");
  fresh->setLabel("new label");
  const auto temporary = plainItem("temporary", {fresh});
  root->replaceChildren(temporary->children());
  EXPECT_EQ(stays->representedObject(), Value("new"));
  EXPECT_EQ(stays->uniqueID(), Value("stays"));
  EXPECT_EQ(stays->label(), Value("old label"));
  EXPECT_EQ(stays->parent(), root);
}

TEST(ReplaceChildren, AStoredIdentifierStaysWhenPositionsAreTakenOver) {
  const auto first = plainItem("a");
  const auto root = plainItem("root", {first, plainItem("b")});
  root->replaceChildren(items({plainItem("b"), plainItem("a")}));
  EXPECT_EQ(first->representedObject(), Value("b"));
  EXPECT_EQ(first->uniqueID(), Value("a"));
}

TEST(ReplaceChildren, WhatAKindDerivesFollowsTheNewRecord) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(test::eventRecord("e", "Old", false));
  const auto root = plainItem("root", {event});
  const auto recorder = TreeRecorder::make();
  recorder->watch(event, "label");
  root->replaceChildren(
      items({KRAVTWVEventVexil::itemWithEvent(test::eventRecord("e", "New", true))}));
  EXPECT_EQ(event->label(), Value("New"));
  EXPECT_TRUE(event->enabled());
  EXPECT_EQ(recorder->take(), Lines{"e label setting old=\"Old\" new=\"New\""});
}

TEST(ReplaceChildren, TheNewRecordIsAnnouncedInsideTheReplacement) {
  const auto event = eventItem("e", "Old");
  const auto root = plainItem("root", {event});
  const auto recorder = TreeRecorder::of(root);
  recorder->watch(event, "label");
  recorder->watch(event, "uniqueID");
  recorder->watch(event, "path");
  recorder->watch(event, "children");
  root->replaceChildren(items({eventItem("e", "New", {plainItem("below")})}));
  EXPECT_EQ(recorder->take(), (Lines{"e label setting old=\"Old\" new=\"New\"",
                                     "e uniqueID setting old=\"e\" new=\"e\"",
                                     "e path setting old=\"/root/e\" new=\"/root/e\"",
                                     "e children insertion {0} new=[below]",
                                     "root children replacement {0} old=[e] new=[e]"}));
}

TEST(ReplaceChildren, ChangedChildrenAreRefreshedInAscendingOrder) {
  const auto a = eventItem("a", "A");
  const auto b = eventItem("b", "B");
  const auto c = eventItem("c", "C");
  const auto root = plainItem("root", {a, b, c});
  const auto recorder = TreeRecorder::of(root);
  for (const auto& item : {c, b, a}) {
    recorder->watch(item, "label");
  }
  root->replaceChildren(items({eventItem("a", "A2"), eventItem("b", "B"), eventItem("c", "C2")}));
  EXPECT_EQ(recorder->take(),
            (Lines{"a label setting old=\"A\" new=\"A2\"", "c label setting old=\"C\" new=\"C2\"",
                   "root children replacement {0, 2} old=[a, c] new=[a, c]"}));
}

// root - a, b, both with the one child x
TEST(ReplaceChildren, AllAreComparedBeforeAnyIsChanged) {
  const auto x = plainItemWith("x", "old");
  const auto a = plainItem("a");
  const auto b = plainItem("b");
  a->setChildren(items({x}));
  b->setChildren(items({x}));
  const auto root = plainItem("root", {a, b});
  const auto recorder = TreeRecorder::of(root);
  recorder->watch(b, "representedObject");
  // When `a` has been refreshed, `b` equals its counterpart; it did not before.
  root->replaceChildren(items(
      {plainItem("a", {plainItemWith("x", "new")}), plainItem("b", {plainItemWith("x", "new")})}));
  EXPECT_EQ(recorder->take(), (Lines{"b representedObject setting old=\"b\" new=\"b\"",
                                     "root children replacement {0-1} old=[a, b] new=[a, b]"}));
}

TEST(ReplaceChildren, InsertedItemsKeepTheParentTheyHad) {
  const auto root = plainItem("root");
  const auto a = plainItem("a");
  const auto orphan = plainItem("orphan");
  const auto temporary = plainItem("temporary", {a});
  root->replaceChildren(items({a, orphan}));
  EXPECT_EQ(a->parent(), temporary);
  EXPECT_EQ(orphan->parent(), nullptr);
}

TEST(ReplaceChildren, RemovedItemsKeepTheirParent) {
  const auto a = plainItem("a");
  const auto root = plainItem("root", {a});
  root->replaceChildren(nullptr);
  EXPECT_EQ(a->parent(), root);
}

TEST(ReplaceChildren, ChildrenThatStayKeepTheirParentAlsoWhereThatIsAbsent) {
  const auto a = plainItem("a");
  const auto root = plainItem("root");
  root->setChildren(items({a}));
  const auto temporary = plainItem("temporary", {plainItemWith("a", "new")});
  root->replaceChildren(temporary->children());
  EXPECT_EQ(a->representedObject(), Value("new"));
  EXPECT_EQ(a->parent(), nullptr);
}

TEST(ReplaceChildren, FreshItemsThatWereMatchedAreLetGo) {
  const auto root = plainItem("root", {plainItem("a"), plainItem("b")});
  const std::weak_ptr<KRAVTWVItemVexil> changed = [&] {
    const auto fresh = items({plainItem("a"), plainItemWith("b", "new")});
    root->replaceChildren(fresh);
    return std::weak_ptr(fresh->back());
  }();
  EXPECT_TRUE(changed.expired());
}

TEST(ReplaceChildren, AnItemThatRepresentsNothingIsReplacedOnEveryCall) {
  const auto build = [] { return items({plainItem("a"), plainItemWith("empty", {})}); };
  const auto root = plainItem("root");
  root->replaceChildren(build());
  const auto recorder = TreeRecorder::of(root);
  recorder->watch(root->childAtIndex(1), "representedObject");
  for (int i = 0; i < 2; ++i) {
    root->replaceChildren(build());
    EXPECT_EQ(recorder->take(), (Lines{"empty representedObject setting old=<null> new=<null>",
                                       "root children replacement {1} old=[empty] new=[empty]"}));
  }
}

TEST(ReplaceChildren, AGroupRepresentsItsIdentifierAndIsNotReplaced) {
  const auto build = [] { return items({KRAVTWVGroupVexil::itemWithLabelUniqueID("G", "g")}); };
  const auto root = plainItem("root");
  root->replaceChildren(build());
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(build());
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST(ReplaceChildren, AnItemOfAnUnrelatedClassReplacesContentAndNotTheObject) {
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("label", "g");
  const auto root = plainItem("root", {group});
  const auto below = plainItem("below");
  const auto recorder = TreeRecorder::of(root);
  root->replaceChildren(items({plainItem("g", {below})}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {0} old=[g] new=[g]"});
  EXPECT_EQ(root->childAtIndex(0), group);
  EXPECT_EQ(group->label(), Value("label"));
  EXPECT_EQ(*group->children(), KRAVTWVItemArray{below});
}

TEST(ReplaceChildren, TheOldItemsClassDecidesWhetherTheyAreEqual) {
  const Value record = test::eventRecord("e", "Event");
  const auto plain = plainItemWith("e", record);
  const auto event = KRAVTWVEventVexil::itemWithEvent(record);
  const auto onDemand = KRAVTWVOnDemandVexil::itemWithEvent(record);
  const auto announced = [](const ItemPointer& old, const ItemPointer& fresh) {
    const auto root = plainItem("root", {old});
    const auto recorder = TreeRecorder::of(root);
    root->replaceChildren(items({fresh}));
    EXPECT_EQ(root->childAtIndex(0), old);
    return recorder->take();
  };
  const Lines replaced{"root children replacement {0} old=[e] new=[e]"};
  EXPECT_EQ(announced(plain, event), Lines{});
  EXPECT_EQ(announced(event, onDemand), Lines{});
  EXPECT_EQ(announced(event, plain), replaced);
  EXPECT_EQ(announced(onDemand, event), replaced);
}

TEST(ReplaceChildren, AnUnchangedTreeIsComparedOnce) {
  const auto build = [] {
    KRAVTWVItemArray groups;
    for (const char* group : {"g1", "g2"}) {
      groups.push_back(countedItem(group, 1));
      groups.back()->addChildren({countedItem("a", 2), countedItem("b", 3)});
    }
    return items(groups);
  };
  const auto root = plainItem("root");
  root->replaceChildren(build());
  const auto fresh = build();
  Counted::comparisons = 0;
  root->replaceChildren(fresh);
  EXPECT_EQ(Counted::comparisons, 6);
}

/// Merges into a root of `count` items one half of them, in another order, and as many new ones.
/// Returns how often identifiers were compared.
int comparisonsOfIdentifiers(int count) {
  const auto build = [](int first, int end) {
    KRAVTWVItemArray all;
    for (int i = first; i < end; ++i) {
      all.push_back(KRAVTWVItemVexil::itemWithRepresentedObject(i));
      all.back()->setUniqueID(Value(std::make_shared<Counted>(i)));
    }
    return all;
  };
  const auto root = plainItem("root");
  root->replaceChildren(items(build(0, count)));
  KRAVTWVItemArray fresh = build(count / 2, count + count / 2);
  std::ranges::reverse(fresh);
  const auto recorder = TreeRecorder::of(root, {"children"}, platform::ObservingOptions::none);
  Counted::comparisons = 0;
  root->replaceChildren(items(fresh));
  const std::string half = std::to_string(count / 2);
  const std::string upToHalf = "{0-" + std::to_string(count / 2 - 1) + "}";
  EXPECT_EQ(recorder->take(),
            (Lines{"root children removal " + upToHalf, "root children insertion " + upToHalf,
                   "root children replacement {" + half + "-" + std::to_string(count - 1) + "}"}));
  return Counted::comparisons;
}

TEST(ReplaceChildren, ManyInAnotherOrderAreMatchedInLinearTime) {
  const int few = comparisonsOfIdentifiers(500);
  const int many = comparisonsOfIdentifiers(8'000);
  EXPECT_LE(many, 17 * few) << "sixteen times as many items";
  EXPECT_LE(many, 50 * 8'000);
}

}  // namespace
