// SPDX-License-Identifier: Apache-2.0
// Several changes of one level between two updates are put together.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>

#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using test::eventRecord;
using test::items;
using test::plainItem;
using test::records;
using test::textOf;
using test::updated;
using vexil::Outline;

TEST(OutlineJournal, ARowThatChangedIsShiftedByALaterInsertion) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "2"), eventRecord("b", "3"), eventRecord("c", "4")}));
  Outline outline(list);
  (void)outline.update();
  list->setEvents(
      records({eventRecord("a", "2"), eventRecord("b", "3", true), eventRecord("c", "4")}));
  list->setEvents(records({eventRecord("n", "1"), eventRecord("a", "2"),
                           eventRecord("b", "3", true), eventRecord("c", "4")}));
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=2 of 4\n"
            "inserted 0 of #0\n"
            "  #4 \"n\" \"1\" KRAVTWVEventVexil flags=supportsEnabled\n"
            "changed 2 of #0\n"
            "  #2 \"b\" enabled=false->true record kTWEventEnabled=absent->true");
}

TEST(OutlineJournal, ARowThatChangedIsShiftedByALaterRemoval) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "2"), eventRecord("b", "3"), eventRecord("c", "4")}));
  Outline outline(list);
  (void)outline.update();
  list->setEvents(
      records({eventRecord("a", "2"), eventRecord("b", "3"), eventRecord("c", "4", true)}));
  list->setEvents(records({eventRecord("b", "3"), eventRecord("c", "4", true)}));
  EXPECT_EQ(updated(outline),
            "update steps=2 rows=2 of 2\n"
            "removed 0 of #0\n"
            "  #1 \"a\" \"2\"\n"
            "changed 1 of #0\n"
            "  #3 \"c\" enabled=false->true record kTWEventEnabled=absent->true");
}

TEST(OutlineJournal, ARowThatCameAndWentAgainIsNothing) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  const auto before = records({eventRecord("a", "2"), eventRecord("c", "4")});
  list->setEvents(before);
  Outline outline(list);
  (void)outline.update();
  list->setEvents(records({eventRecord("a", "2"), eventRecord("b", "3"), eventRecord("c", "4")}));
  list->setEvents(before);
  EXPECT_TRUE(outline.update().isEmpty());
}

TEST(OutlineJournal, PositionsOfALaterRemovalAreThoseAfterTheFirst) {
  const auto root =
      test::root({plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d"), plainItem("e")});
  Outline outline(root);
  (void)outline.update();
  root->removeChildrenAtIndexes({0, 2});
  root->removeChildrenAtIndexes({1});
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b e");
}

// The positions of the outer change are those of an array that the inner one has changed.
TEST(OutlineJournal, ARemovalInTheMiddleOfAnotherOne) {
  const auto root =
      test::root({plainItem("a"), plainItem("b"), plainItem("c"), plainItem("d"), plainItem("e")});
  Outline outline(root);
  (void)outline.update();
  auto change = root->willChangeValuesAtIndexesForKey(ChangeKind::removal, {2},
                                                      KRAVTWVItemVexilKeyPathChildren);
  root->children()->erase(root->children()->begin() + 2);
  root->removeChildrenAtIndexes({0});
  root->didChangeValuesAtIndexesForKey(std::move(change));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b d e");
}

TEST(OutlineJournal, AChangeThatIsDroppedIsFound) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  {
    const auto change = root->willChangeValueForKey(KRAVTWVItemVexilKeyPathChildren);
    std::swap(root->children()->front(), root->children()->back());
  }
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b a");
}

TEST(OutlineJournal, AnUpdateBetweenTheTwoHalvesOfAnAnnouncement) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  auto change = root->willChangeValuesAtIndexesForKey(ChangeKind::removal, {0},
                                                      KRAVTWVItemVexilKeyPathChildren);
  outline.refreshAll();
  (void)outline.update();
  root->children()->erase(root->children()->begin());
  root->didChangeValuesAtIndexesForKey(std::move(change));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b");
}

}  // namespace
