// SPDX-License-Identifier: Apache-2.0
// Which steps an update has.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/outline/RowSet.h>

#include <memory>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::domainRecord;
using test::eventOf;
using test::eventRecord;
using test::group;
using test::items;
using test::plainItem;
using test::records;
using test::rowAt;
using test::textOf;
using test::updated;
using vexil::Outline;
using vexil::RowAspects;

TEST(OutlineSteps, TheFirstUpdateBringsAllRows) {
  const auto root = test::root({group("a", {plainItem("b")}), plainItem("c")});
  Outline outline(root);
  EXPECT_EQ(updated(outline),
            "update steps=1 rows=3 of 3\n"
            "inserted 0-1 of #0\n"
            "  #1 \"a\" \"label\" KRAVTWVGroupVexil flags=group,expandable\n"
            "    #2 \"b\" absent KRAVTWVItemVexil\n"
            "  #3 \"c\" absent KRAVTWVItemVexil");
}

TEST(OutlineSteps, NeighboursThatGoAreOneRange) {
  const auto root = test::root({plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d"),
                                plainItem("e"), plainItem("f")});
  Outline outline(root);
  (void)outline.update();
  root->removeChildrenAtIndexes({1, 2, 4});
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=3 of 3\n"
            "removed 4 of #0\n"
            "  #5 \"e\" absent\n"
            "removed 1-2 of #0\n"
            "  #2 \"b\" absent\n"
            "  #3 \"c\" absent");
}

TEST(OutlineSteps, NeighboursThatComeAreOneRange) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(items({plainItem("x"), plainItem("y"), plainItem("a"), plainItem("z"),
                           plainItem("b"), plainItem("w")}));
  EXPECT_EQ(updated(outline),
            "update steps=3 rows=4 of 6\n"
            "inserted 0-1 of #0\n"
            "  #3 \"x\" absent KRAVTWVItemVexil\n"
            "  #4 \"y\" absent KRAVTWVItemVexil\n"
            "inserted 3 of #0\n"
            "  #5 \"z\" absent KRAVTWVItemVexil\n"
            "inserted 5 of #0\n"
            "  #6 \"w\" absent KRAVTWVItemVexil");
}

TEST(OutlineSteps, NeighboursThatMoveAreOneRange) {
  const auto root =
      test::root({plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d"), plainItem("e")});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(
      items({plainItem("c"), plainItem("d"), plainItem("e"), plainItem("a"), plainItem("b")}));
  EXPECT_EQ(updated(outline),
            "update steps=1 rows=2 of 5\n"
            "moved 0-1 of #0 to 3-4 of #0\n"
            "  #1 \"a\" absent\n"
            "  #2 \"b\" absent");
}

TEST(OutlineSteps, AfterOneRenameOneRowMoves) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  const auto events = [](const char* nameOfA) {
    return records({eventRecord("a", nameOfA), eventRecord("b", "n2"), eventRecord("c", "n3"),
                    eventRecord("d", "n4")});
  };
  list->setEvents(events("n1"));
  Outline outline(list);
  (void)outline.update();
  list->setEvents(events("n9"));
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=2 of 4\n"
            "moved 0 of #0 to 3 of #0\n"
            "  #1 \"a\" \"n1\"\n"
            "changed 3 of #0\n"
            "  #1 \"a\" label=\"n1\"->\"n9\" record kTWEventName=\"n1\"->\"n9\"");
}

TEST(OutlineSteps, NeighboursThatChangeAreOneRange) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "1"), eventRecord("b", "2"), eventRecord("c", "3"),
                           eventRecord("d", "4")}));
  Outline outline(list);
  (void)outline.update();
  list->setEvents(records({eventRecord("a", "1", true), eventRecord("b", "2", true),
                           eventRecord("c", "3"), eventRecord("d", "4", true)}));
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=3 of 4\n"
            "changed 0-1 of #0\n"
            "  #1 \"a\" enabled=false->true record kTWEventEnabled=absent->true\n"
            "  #2 \"b\" enabled=false->true record kTWEventEnabled=absent->true\n"
            "changed 3 of #0\n"
            "  #4 \"d\" enabled=false->true record kTWEventEnabled=absent->true");
}

// Rows that leave earlier, or come later, do not stand between neighbours.
TEST(OutlineSteps, NeighboursAreOneRangeAlsoBesideRowsThatMove) {
  // a, b and c are removed after x and y have moved out of a and c. b went already.
  const auto root = test::root(
      {group("a", {plainItem("x")}), group("b"), group("c", {plainItem("y")}), group("d")});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(items({group("d", {plainItem("x"), plainItem("y")})}));
  EXPECT_EQ(updated(outline),
            "update steps=5 rows=6 of 3\n"
            "removed 1 of #0\n"
            "  #3 \"b\" \"label\"\n"
            "moved 0 of #1 to 0 of #6\n"
            "  #2 \"x\" absent\n"
            "moved 0 of #4 to 1 of #6\n"
            "  #5 \"y\" absent\n"
            "removed 0-1 of #0\n"
            "  #1 \"a\" \"label\"\n"
            "  #4 \"c\" \"label\"\n"
            "changed 0 of #0\n"
            "  #6 \"d\" expandable=false->true");
}

// --- to another parent

TEST(OutlineSteps, ARowMovesToAnotherParentWithAllBelowIt) {
  const auto moved = group("m", {plainItem("n")});
  const auto root = test::root({group("a", {moved}), group("b")});
  Outline outline(root);
  (void)outline.update();
  const vexil::OutlineRow* const row = &rowAt(outline, {0, 0});
  const vexil::OutlineRow* const below = &rowAt(outline, {0, 0, 0});
  (*root->children())[0]->setChildren(items({}));
  (*root->children())[1]->setChildren(items({group("m", {plainItem("n")})}));
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=3 of 4\n"
            "moved 0 of #1 to 0 of #4\n"
            "  #2 \"m\" \"label\"\n"
            "changed 0-1 of #0\n"
            "  #1 \"a\" expandable=true->false\n"
            "  #4 \"b\" expandable=false->true");
  EXPECT_EQ(&rowAt(outline, {1, 0}), row);
  EXPECT_EQ(&rowAt(outline, {1, 0, 0}), below);
}

TEST(OutlineSteps, RowsMoveToAnotherParentOnlyWhenTheirIdentifierIsTheOnlyOneOfItsClass) {
  const auto event = [](const char* uniqueID) { return test::eventItem(uniqueID, "name"); };
  const auto root = test::root(
      {group("a", {event("x"), event("y")}), group("b", {event("y")}), group("c"), group("d")});
  Outline outline(root);
  (void)outline.update();
  // Two y go and one comes; x goes and a plain item of this identifier comes.
  root->setChildren(
      items({group("a"), group("b"), group("c", {event("y")}), group("d", {plainItem("x")})}));
  const auto update = outline.update();
  for (const vexil::OutlineStep& step : update.steps()) {
    EXPECT_NE(step.kind, vexil::OutlineStep::Kind::moved);
  }
  EXPECT_EQ(textOf(outline), "a b c[y] d[x]");
}

TEST(OutlineSteps, ANewParentComesBeforeRowsMoveIntoItAndAnOldOneGoesAfterThat) {
  const auto root = test::root({group("old", {plainItem("x")})});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(items({group("new", {plainItem("x")})}));
  EXPECT_EQ(updated(outline),
            "update steps=3 rows=3 of 2\n"
            "inserted 0 of #0\n"
            "  #3 \"new\" \"label\" KRAVTWVGroupVexil flags=group,expandable\n"
            "moved 0 of #1 to 0 of #3\n"
            "  #2 \"x\" absent\n"
            "removed 1 of #0\n"
            "  #1 \"old\" \"label\"");
}

TEST(OutlineSteps, ParentAndChildMayChangePlaces) {
  const auto root = test::root({group("a", {group("b", {plainItem("x")})})});
  Outline outline(root);
  (void)outline.update();
  const vexil::OutlineRow* const a = &rowAt(outline, {0});
  const vexil::OutlineRow* const b = &rowAt(outline, {0, 0});
  root->setChildren(items({group("b", {group("a", {plainItem("x")})})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b[a[x]]");
  EXPECT_EQ(&rowAt(outline, {0}), b);
  EXPECT_EQ(&rowAt(outline, {0, 0}), a);
}

TEST(OutlineSteps, ARowThatHasMovedAwayIsNoChildOfItsOldParentWhereverThatMoves) {
  // m moves with its only child's identifier, but the child itself is found elsewhere.
  const auto root = test::root(
      {group("a", {group("m", {test::eventItem("x", "name")})}), group("b"), group("c")});
  Outline outline(root);
  (void)outline.update();
  const vexil::OutlineRow* const x = &rowAt(outline, {0, 0, 0});
  const vexil::OutlineRow* const m = &rowAt(outline, {0, 0});
  root->setChildren(items({group("a"), group("b", {test::eventItem("x", "name")}),
                           group("c", {group("m", {plainItem("x")})})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b[x] c[m[x]]");
  EXPECT_EQ(&rowAt(outline, {1, 0}), x);
  EXPECT_EQ(&rowAt(outline, {2, 0}), m);
}

TEST(OutlineSteps, NoRowMovesToAnotherParentWhenTwoComeThatCouldBeIt) {
  const auto root = test::root({group("a", {plainItem("x")}), group("b"), group("c")});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(
      items({group("a"), group("b", {plainItem("x")}), group("c", {plainItem("x")})}));
  const auto update = outline.update();
  for (const vexil::OutlineStep& step : update.steps()) {
    EXPECT_NE(step.kind, vexil::OutlineStep::Kind::moved);
  }
  EXPECT_EQ(textOf(outline), "a b[x] c[x]");
}

TEST(OutlineSteps, ARowThatMovesWithItsParentDoesNotMoveToAnother) {
  // m and k move. The row x stays below m, though an item of its class comes below k.
  const auto root = test::root({group("a", {group("m", {test::eventItem("x", "name")})}),
                                group("b", {group("k")}), group("c")});
  Outline outline(root);
  (void)outline.update();
  const vexil::OutlineRow* const x = &rowAt(outline, {0, 0, 0});
  root->setChildren(items(
      {group("a"), group("b"),
       group("c", {group("m", {plainItem("x")}), group("k", {test::eventItem("x", "name")})})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b c[m[x] k[x]]");
  EXPECT_EQ(&rowAt(outline, {2, 0, 0}), x);
}

TEST(OutlineSteps, RowsBelowAMovedRowMoveOnFromThere) {
  // The second g0 moves below the first one's new child; what was below the first moves into it.
  const auto root = test::root({group("g", {plainItem("x")}), group("g", {group("y")})});
  Outline outline(root);
  (void)outline.update();
  const vexil::OutlineRow* const x = &rowAt(outline, {0, 0});
  root->setChildren(items({group("g", {group("y", {group("g", {plainItem("x")})})})}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "g[y[g[x]]]");
  EXPECT_EQ(&rowAt(outline, {0, 0, 0, 0}), x);
}

TEST(OutlineSteps, AnEventThatChangesItsDomainStaysSelected) {
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  store->setDomains(records({domainRecord("d", "D"), domainRecord("f", "F")}));
  store->setEvents(records({eventOf("d", "e1", "A"), eventOf("f", "e2", "B")}));
  Outline outline(store);
  (void)outline.update();
  vexil::RowSet selected;
  selected.insert(rowAt(outline, {0, 0}));
  store->setEvents(records({eventOf("f", "e1", "A"), eventOf("f", "e2", "B")}));
  selected.follow(outline.update());
  EXPECT_EQ(textOf(outline), "d f[e1 e2]");
  EXPECT_EQ(selected.rowsOf(outline), (std::vector{&rowAt(outline, {1, 0})}));
}

TEST(OutlineSteps, WhenALoneDomainFoldsAwayItsEventsStaySelectedAndBack) {
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  const Value both = records({domainRecord("d", "D"), domainRecord("f", "F")});
  const Value one = records({domainRecord("d", "D")});
  store->setDomains(both);
  store->setEvents(records({eventOf("d", "e1", "A"), eventOf("d", "e2", "B")}));
  Outline outline(store);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "d[e1 e2] f");
  vexil::RowSet selected;
  selected.insert(rowAt(outline, {0, 1}));
  const vexil::OutlineRow* const row = &rowAt(outline, {0, 1});
  store->setDomains(one);
  const auto folds = outline.update();
  selected.follow(folds);
  EXPECT_EQ(textOf(outline), "e1 e2");
  EXPECT_EQ(&rowAt(outline, {1}), row);
  EXPECT_TRUE(selected.contains(*row));
  EXPECT_FALSE(selected.contains(rowAt(outline, {0})));
  ASSERT_EQ(folds.steps().size(), 3U);  // f goes, both events move as one range, d goes
  EXPECT_EQ(folds.steps()[1].count, 2U);
  store->setDomains(both);
  selected.follow(outline.update());
  EXPECT_EQ(textOf(outline), "d[e1 e2] f");
  EXPECT_EQ(selected.rowsOf(outline), (std::vector{&rowAt(outline, {0, 1})}));
  EXPECT_EQ(&rowAt(outline, {0, 1}), row);
}

// --- what differs

/// The aspects of the only change that something makes to a tree with one item.
template <class Change>
RowAspects aspectsOf(const test::ItemPointer& item, const Change& change) {
  const auto root = test::root();
  root->setChildren(items({item}));
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  change();
  const auto update = outline.update();
  for (const vexil::OutlineStep& step : update.steps()) {
    if (step.kind == vexil::OutlineStep::Kind::changed) {
      EXPECT_EQ(step.changes.size(), 1U);
      return step.changes.front().aspects();
    }
  }
  return RowAspects::none;
}

TEST(OutlineSteps, AChangedRowSaysWhatDiffers) {
  const auto a = plainItem("a");
  EXPECT_EQ(aspectsOf(a, [&] { a->setLabel("other"); }), RowAspects::label);
  const auto event = test::eventItem("e", "name");
  EXPECT_EQ(aspectsOf(event, [&] { event->setRepresentedObject(eventRecord("e", "name", true)); }),
            RowAspects::enabled | RowAspects::representedObject);
  EXPECT_EQ(aspectsOf(event, [&] { event->setRepresentedObject(eventRecord("e", "other", true)); }),
            RowAspects::label | RowAspects::representedObject);
  EXPECT_EQ(aspectsOf(event, [&] { event->setChildren(items({plainItem("b")})); }),
            RowAspects::group | RowAspects::expandable);
  const auto bare = group("g");
  EXPECT_EQ(aspectsOf(bare, [&] { bare->setChildren(items({plainItem("b")})); }),
            RowAspects::expandable);
  EXPECT_EQ(aspectsOf(a, [&] { a->setRepresentedObject("other"); }), RowAspects::representedObject);
}

TEST(OutlineSteps, AnotherKindOfOneIdentifierMayDifferInSupportsEnabledAlone) {
  const auto root = test::root();
  const auto item = KRAVTWVItemVexil::itemWithRepresentedObject(eventRecord("a", "name"));
  item->setUniqueID("a");
  item->setLabel("name");
  root->setChildren(items({item}));
  Outline outline(root);
  (void)outline.update();
  root->setChildren(items({test::eventItem("a", "name")}));
  const auto update = outline.update();
  ASSERT_EQ(update.steps().size(), 1U);
  EXPECT_EQ(update.steps()[0].changes.at(0).aspects(), RowAspects::supportsEnabled);
}

TEST(OutlineSteps, AnotherKindThatShowsTheSameIsAChangeOfNoAspect) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  vexil::OutlineCopy copy;
  copy.apply(outline.update());
  root->setChildren(items({test::askedItem("a")}));
  const auto update = outline.update();
  copy.apply(update);
  EXPECT_EQ(copy.state(1), rowAt(outline, {0}).state());
  ASSERT_EQ(update.steps().size(), 1U);
  EXPECT_EQ(update.steps()[0].changes.at(0).aspects(), RowAspects::none);
}

TEST(OutlineSteps, AnUpdateOfNothingIsEmpty) {
  const auto root = test::root({group("a", {plainItem("b")})});
  Outline outline(root);
  (void)outline.update();
  EXPECT_EQ(updated(outline), "update steps=0 rows=0 of 2");
  outline.refreshAll();
  EXPECT_EQ(updated(outline), "update steps=0 rows=0 of 2");
}

}  // namespace
