// SPDX-License-Identifier: Apache-2.0
// When an outline says that it is out of date.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/platform/detail/Operation.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using test::eventRecord;
using test::items;
using test::plainItem;
using test::records;
using test::textOf;
using vexil::Outline;

TEST(OutlineCallback, OnceEachTimeItGetsOutOfDate) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  EXPECT_TRUE(outline.isOutOfDate());
  EXPECT_EQ(calls, 0);  // it has never been up to date
  (void)outline.update();
  EXPECT_FALSE(outline.isOutOfDate());
  root->removeChildrenAtIndexes({0});
  EXPECT_TRUE(outline.isOutOfDate());
  EXPECT_EQ(calls, 1);
  root->removeChildrenAtIndexes({0});
  outline.refreshAll();
  EXPECT_EQ(calls, 1);
  (void)outline.update();
  EXPECT_EQ(calls, 1);
  root->setChildren(items({plainItem("c")}));
  EXPECT_EQ(calls, 2);
}

TEST(OutlineCallback, ByRefreshAll) {
  const auto root = test::root();
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  outline.refreshAll();
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(outline.isOutOfDate());
}

TEST(OutlineCallback, ByAChangeThatLeavesTheRowsAsTheyAre) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  root->setChildren(items({plainItem("a")}));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(outline.update().isEmpty());
}

TEST(OutlineCallback, AtTheEndOfTheWholeOperation) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  std::vector<std::string> story;
  Outline outline(list, {.outOfDate = [&] {
                    story.push_back(platform::detail::Operation::isInProgress() ? "in the middle"
                                                                                : "at the end");
                    EXPECT_EQ(list->root()->children()->size(), 2U);
                  }});
  (void)outline.update();
  const auto observer =
      test::onEachNotice(list->root(), "children", [&] { story.emplace_back("notice"); });
  const auto sorted =
      test::onEachNotice(list, "sortedEvents", [&] { story.emplace_back("sorted"); });
  list->setEvents(records({eventRecord("a", "A"), eventRecord("b", "B")}));
  EXPECT_EQ(story, (std::vector<std::string>{"sorted", "notice", "at the end"}));
}

TEST(OutlineCallback, AtTheEndOfTheOuterOfTwoNestedOperations) {
  const auto inner = std::make_shared<KRAVTWVEventsVexil>();
  const auto outer = std::make_shared<KRAVTWVEventsVexil>();
  std::vector<std::string> story;
  Outline outline(inner, {.outOfDate = [&] { story.emplace_back("called"); }});
  (void)outline.update();
  const auto observer = test::onEachNotice(outer, "sortedEvents", [&] {
    inner->setEvents(records({eventRecord("a", "A")}));
    story.emplace_back("inner is set");
  });
  outer->setEvents(records({eventRecord("b", "B")}));
  EXPECT_EQ(story, (std::vector<std::string>{"inner is set", "called"}));
}

TEST(OutlineCallback, AlsoWhenTheOperationThrows) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  int calls = 0;
  Outline outline(list, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  list->setEvents(records({eventRecord("a", "A"), eventRecord("b", "B")}));
  (void)outline.update();
  // The merge cannot pair these. What it did before stays.
  EXPECT_THROW(list->setEvents(records({eventRecord("b", "B"), eventRecord("b", "C"),
                                        eventRecord("c", "C"), eventRecord("c", "D")})),
               std::exception);
  EXPECT_EQ(calls, 2);
  (void)outline.update();
  EXPECT_EQ(textOf(outline),
            test::identifiers(*list->root()->children()).substr(1).erase(textOf(outline).size()));
}

TEST(OutlineCallback, AnExceptionIsLogged) {
  test::LogLines log;
  const auto root = test::root();
  Outline outline(root, {.outOfDate = [] { throw std::runtime_error("no event loop"); }});
  (void)outline.update();
  EXPECT_NO_THROW(root->setChildren(items({plainItem("a")})));
  EXPECT_EQ(log.take(), (test::Lines{"the callback of an outline threw: no event loop"}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a");
}

TEST(OutlineCallback, MayUpdateAtOnce) {
  const auto root = test::root();
  Outline* current = nullptr;
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] {
                    ++calls;
                    (void)current->update();
                  }});
  current = &outline;
  (void)outline.update();
  root->setChildren(items({plainItem("a")}));
  EXPECT_EQ(textOf(outline), "a");
  EXPECT_FALSE(outline.isOutOfDate());
  root->setChildren(items({plainItem("b")}));
  EXPECT_EQ(textOf(outline), "b");
  EXPECT_EQ(calls, 2);
}

TEST(OutlineCallback, AgainAfterAnUpdateWasRefusedInTheMiddleOfAnOperation) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  root->setChildren(items({plainItem("b")}));
  EXPECT_EQ(calls, 1);
  const auto observer =
      test::onEachNotice(root, "label", [&] { EXPECT_TRUE(outline.update().isEmpty()); });
  root->setLabel("set");
  EXPECT_EQ(calls, 2);
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b");
}

// An update that was refused brings the callback also when nothing is out of date: the host that
// asked waits for it.
TEST(OutlineCallback, AlsoWhenTheRefusedUpdateHadNothingToDo) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  const auto observer =
      test::onEachNotice(root, "label", [&] { EXPECT_TRUE(outline.update().isEmpty()); });
  root->setLabel("set");
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(outline.isOutOfDate());
}

// Or the later changes would reach the host before the earlier ones.
TEST(OutlineCallback, NotForAChangeThatTheUpdateItselfTakesIn) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  root->children()->front()->setChildren(
      items({KRAVTWVItemVexil::itemWithRepresentedObject(platform::Value(test::atEnd([&] {
        root->setChildren(items({plainItem("c"), plainItem("d")}));
      })))}));
  (void)outline.update();
  root->setChildren(items({plainItem("b")}));
  EXPECT_EQ(calls, 1);
  const auto update = outline.update();
  EXPECT_EQ(calls, 1);
  EXPECT_FALSE(outline.isOutOfDate());
  EXPECT_EQ(textOf(outline), "c d");
  EXPECT_EQ(update.rowsAfterwards(), 2U);
  EXPECT_EQ(update.steps().size(), 4U);  // a goes, b comes and goes, c and d come
}

TEST(OutlineCallback, NotForAChangeThatCameAfterTheUpdateWasPrepared) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.prepare();
  root->setChildren(items({plainItem("a"), plainItem("b")}));
  EXPECT_EQ(calls, 1);
  const auto update = outline.update();
  EXPECT_EQ(textOf(outline), "a b");
  EXPECT_FALSE(outline.isOutOfDate());
  EXPECT_EQ(update.steps().size(), 2U);
  EXPECT_EQ(calls, 1);
}

// Or a view that takes over what updates return would get later steps first.
TEST(OutlineCallback, AnUpdateInItReturnsTheStepsOfTheOneThatHasNotReturned) {
  const auto asked = test::askedItem("a");
  const auto root = test::root({asked});
  const auto otherRoot = test::root();
  vexil::OutlineCopy copy;
  std::size_t calls = 0;
  std::unique_ptr<Outline> outline;
  outline = std::make_unique<Outline>(root, vexil::OutlineOptions{.outOfDate = [&] {
                                        ++calls;
                                        copy.apply(outline->update());
                                      }});
  Outline other(otherRoot, {.outOfDate = [&] {
                  root->setChildren(items({asked, plainItem("b"), plainItem("c")}));
                }});
  (void)other.update();
  asked->whenAsked = [&] {
    asked->whenAsked = nullptr;
    otherRoot->setChildren(items({plainItem("x")}));
  };
  const auto update = outline->update();
  EXPECT_EQ(calls, 1U);
  EXPECT_TRUE(update.isEmpty());
  EXPECT_EQ(update.rowsAfterwards(), 3U);
  copy.apply(update);
  EXPECT_EQ(copy.rowCount(), 3U);
  EXPECT_EQ(textOf(*outline), "a b c");
}

TEST(OutlineCallback, WhenTheItemThatItFollowsIsDestroyed) {
  auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  root.reset();
  EXPECT_EQ(calls, 1);
}

TEST(OutlineCallback, WhenTheCollectionIsDestroyedAndItsRootIsNot) {
  auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "A")}));
  const auto root = list->root();
  int calls = 0;
  Outline outline(list, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  list.reset();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(outline.update().rowsTouched(), 1U);
  EXPECT_EQ(outline.rowCount(), 0U);
}

TEST(OutlineCallback, MayDestroyTheOutline) {
  const auto root = test::root();
  std::unique_ptr<Outline> outline;
  int calls = 0;
  outline = std::make_unique<Outline>(root, vexil::OutlineOptions{.outOfDate = [&] {
                                        ++calls;
                                        outline.reset();
                                      }});
  (void)outline->update();
  root->setChildren(items({plainItem("a")}));
  EXPECT_EQ(outline, nullptr);
  root->setChildren(items({plainItem("b")}));
  EXPECT_EQ(calls, 1);
}

TEST(OutlineCallback, NotAfterTheOutlineWasDestroyedInTheMiddle) {
  const auto root = test::root();
  int calls = 0;
  auto outline =
      std::make_unique<Outline>(root, vexil::OutlineOptions{.outOfDate = [&] { ++calls; }});
  (void)outline->update();
  const auto observer = test::onEachNotice(root, "children", [&] { outline.reset(); });
  root->setChildren(items({plainItem("a")}));
  EXPECT_EQ(calls, 0);
}

}  // namespace
