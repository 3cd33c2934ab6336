// SPDX-License-Identifier: Apache-2.0
// What an outline hears of, and what it does not.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>

#include <memory>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::edit;
using test::eventRecord;
using test::group;
using test::items;
using test::plainItem;
using test::records;
using test::rowAt;
using test::textOf;
using vexil::Outline;

TEST(OutlineWatching, FindsUnannouncedChildrenWhenTheLevelAboveChangesAndTheirCountDiffers) {
  const auto a = group("a");
  const auto root = test::root({a, group("b")});
  Outline outline(root);
  (void)outline.update();
  a->addChild(plainItem("x"));
  EXPECT_FALSE(outline.isOutOfDate());
  EXPECT_TRUE(outline.update().isEmpty());
  // An announcement that concerns "b" alone.
  auto change = root->willChangeValuesAtIndexesForKey(platform::ChangeKind::replacement, {1},
                                                      KRAVTWVItemVexilKeyPathChildren);
  root->didChangeValuesAtIndexesForKey(std::move(change));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b");
  edit(root, [](KRAVTWVItemArray&) {});
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[x] b");
}

TEST(OutlineWatching, FindsUnannouncedChildrenOfALevelThatChanges) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  (void)outline.update();
  root->addChild(plainItem("b"));
  root->addChild(plainItem("c"));
  root->removeChildrenAtIndexes({0});
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b c");
}

TEST(OutlineWatching, RefreshAllFindsUnannouncedChildrenAnywhere) {
  const auto b = plainItem("b");
  const auto root = test::root({group("a", {b})});
  Outline outline(root);
  (void)outline.update();
  b->addChild(plainItem("x"));
  (*root->children())[0]->children()->push_back(plainItem("y"));
  outline.refreshAll();
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[b[x] y]");
  EXPECT_TRUE(rowAt(outline, {0, 0}).isExpandable());
  b->setChildren(items({}));  // what was found is watched
  EXPECT_TRUE(outline.isOutOfDate());
}

TEST(OutlineWatching, FollowsChildrenAtEveryLevel) {
  const auto c = plainItem("c");
  const auto root = test::root({group("a", {group("b", {c})})});
  Outline outline(root);
  (void)outline.update();
  c->setChildren(items({plainItem("d")}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[b[c[d]]]");
  (*c->children())[0]->setChildren(items({plainItem("e")}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[b[c[d[e]]]]");
}

TEST(OutlineWatching, FollowsPropertiesWhenAskedTo) {
  const auto a = test::eventItem("a", "A");
  const auto root = test::root({a});
  Outline follows(root, {.followsProperties = true});
  Outline other(root);
  (void)follows.update();
  (void)other.update();
  a->setRepresentedObject(eventRecord("a", "new", true));
  EXPECT_TRUE(follows.isOutOfDate());
  EXPECT_FALSE(other.isOutOfDate());
  (void)follows.update();
  EXPECT_EQ(rowAt(follows, {0}).label(), Value("new"));
  EXPECT_TRUE(rowAt(follows, {0}).enabled());
  EXPECT_EQ(rowAt(other, {0}).label(), Value("A"));
  other.refreshAll();
  (void)other.update();
  EXPECT_EQ(rowAt(other, {0}).label(), Value("new"));
}

TEST(OutlineWatching, FollowsAnIdentifierThatIsSet) {
  const auto a = plainItem("a");
  const auto root = test::root({a, plainItem("b")});
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  const vexil::RowNumber number = rowAt(outline, {0}).number();
  a->setUniqueID("z");
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "z b");
  EXPECT_NE(rowAt(outline, {0}).number(), number);
}

TEST(OutlineWatching, AParentThatIsSetIsNothingToShow) {
  const auto a = plainItem("a");
  const auto root = test::root({a});
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  a->setParent(nullptr);
  EXPECT_FALSE(outline.isOutOfDate());
}

TEST(OutlineWatching, DoesNotKeepItemsAlive) {
  auto root = test::root({group("a", {plainItem("b")})});
  auto a = (*root->children())[0];
  const std::weak_ptr<KRAVTWVItemVexil> weakA = a;
  const std::weak_ptr<KRAVTWVItemVexil> weakB = (*a->children())[0];
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  a->setLabel("noted");
  root->setChildren(items({}));
  a.reset();
  EXPECT_TRUE(weakA.expired());
  EXPECT_TRUE(weakB.expired());
  EXPECT_EQ(textOf(outline), "a[b]");
  EXPECT_EQ(rowAt(outline, {0}).label(), Value("label"));
  (void)outline.prepare();  // nor do the steps
  const std::weak_ptr<KRAVTWVItemVexil> weakRoot = root;
  root.reset();
  EXPECT_TRUE(weakRoot.expired());
}

TEST(OutlineWatching, DoesNotKeepACollectionAlive) {
  auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "A")}));
  Outline outline(list);
  (void)outline.update();
  const std::weak_ptr<KRAVTWVItemsVexil> weak = list;
  list.reset();
  EXPECT_TRUE(weak.expired());
}

TEST(OutlineWatching, DoesNotWatchItemsThatHaveLeft) {
  const auto removed = group("a", {group("b", {plainItem("c")})});
  const auto replaced = plainItem("x");
  const auto root = test::root({removed, replaced});
  const auto isHeard = [](const Outline& outline, const test::ItemPointer& item) {
    item->setChildren(items({plainItem("new")}));
    item->setLabel("new");
    return outline.isOutOfDate();
  };
  const auto b = (*removed->children())[0];
  const auto c = (*b->children())[0];
  for (const bool follows : {false, true}) {
    root->setChildren(items({removed, replaced}));
    removed->setChildren(items({b}));
    b->setChildren(items({c}));
    Outline outline(root, {.followsProperties = follows});
    (void)outline.update();
    root->setChildren(items({plainItem("x")}));
    (void)outline.update();
    EXPECT_FALSE(isHeard(outline, removed));
    EXPECT_FALSE(isHeard(outline, b));
    EXPECT_FALSE(isHeard(outline, c));
    EXPECT_FALSE(isHeard(outline, replaced));
    EXPECT_TRUE(isHeard(outline, (*root->children())[0]));
  }
}

TEST(OutlineWatching, DoesNotWatchWhatLeftByIndexes) {
  const auto a = group("a", {plainItem("b")});
  const auto root = test::root({a, plainItem("c")});
  Outline outline(root);
  (void)outline.update();
  const auto b = (*a->children())[0];
  root->removeChildrenAtIndexes({0});
  (void)outline.update();
  a->setChildren(items({}));
  b->setChildren(items({plainItem("d")}));
  EXPECT_FALSE(outline.isOutOfDate());
}

TEST(OutlineWatching, WatchesAnItemThatReplacesOneOfTheSameRecord) {
  const Value record = eventRecord("a", "A");
  const test::ItemPointer first = KRAVTWVEventVexil::itemWithEvent(record);
  const test::ItemPointer second = KRAVTWVEventVexil::itemWithEvent(record);
  const auto root = test::root({first, plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  auto change = root->willChangeValuesAtIndexesForKey(platform::ChangeKind::replacement, {0},
                                                      KRAVTWVItemVexilKeyPathChildren);
  (*root->children())[0] = second;
  root->didChangeValuesAtIndexesForKey(std::move(change));
  (void)outline.update();
  EXPECT_EQ(rowAt(outline, {0}).item(), second);
  first->setChildren(items({plainItem("x")}));
  EXPECT_FALSE(outline.isOutOfDate());
  second->setChildren(items({plainItem("y")}));
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[y] b");
}

TEST(OutlineWatching, AnItemThatMovedIsWatchedWhereItIs) {
  const auto moved = group("m", {plainItem("n")});
  const auto a = group("a", {moved});
  const auto b = group("b");
  const auto root = test::root({a, b});
  Outline outline(root);
  (void)outline.update();
  a->setChildren(items({}));
  b->setChildren(items({moved}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b[m[n]]");
  moved->setChildren(items({plainItem("o")}));
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b[m[o]]");
  b->setChildren(items({}));
  (void)outline.update();
  moved->setChildren(items({}));
  EXPECT_FALSE(outline.isOutOfDate());
}

TEST(OutlineWatching, AnOutlineIsNoObserver) {
  const auto root = test::root({plainItem("a")});
  const Outline outline(root);
  EXPECT_FALSE(test::isAnyObserved({root, (*root->children())[0]}));
}

TEST(OutlineWatching, TwoOutlinesOfOneTreeAreUpdatedEachInItsTime) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  int calls = 0;
  Outline often(list, {.outOfDate = [&] { ++calls; }});
  Outline seldom(list->root(), {.followsProperties = true});
  (void)often.update();
  (void)seldom.update();
  list->setEvents(records({eventRecord("a", "A"), eventRecord("b", "B")}));
  (void)often.update();
  EXPECT_FALSE(often.isOutOfDate());
  EXPECT_TRUE(seldom.isOutOfDate());
  list->setEvents(records({eventRecord("b", "B"), eventRecord("c", "C")}));
  EXPECT_EQ(calls, 2);
  (void)often.update();
  EXPECT_EQ(seldom.rowCount(), 0U);
  EXPECT_EQ(test::updated(seldom),
            "update steps=1 rows=2 of 2\n"
            "inserted 0-1 of #0\n"
            "  #1 \"b\" \"B\" KRAVTWVEventVexil flags=supportsEnabled\n"
            "  #2 \"c\" \"C\" KRAVTWVEventVexil flags=supportsEnabled");
  EXPECT_EQ(textOf(often), textOf(seldom));
  EXPECT_NE(rowAt(often, {0}).number(), rowAt(seldom, {0}).number());
}

}  // namespace
