// SPDX-License-Identifier: Apache-2.0
// What an outline lives through.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/platform/Error.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::askedItem;
using test::eventRecord;
using test::group;
using test::items;
using test::plainItem;
using test::records;
using test::rowAt;
using test::textOf;
using vexil::Outline;

TEST(OutlineSurvival, NeedsSomethingToFollow) {
  EXPECT_THROW(Outline(std::shared_ptr<KRAVTWVItemsVexil>()), platform::InvalidArgument);
  EXPECT_THROW(Outline(std::shared_ptr<KRAVTWVItemVexil>()), platform::InvalidArgument);
}

TEST(OutlineSurvival, DuplicatesThatComeAndGo) {
  const auto root = test::root();
  Outline outline(root);
  const auto shows = [&](std::initializer_list<const char*> identifiers) {
    KRAVTWVItemArray children;
    for (const char* identifier : identifiers) {
      children.push_back(group(identifier));
    }
    root->setChildren(items(children));
    (void)outline.update();
    return textOf(outline);
  };
  EXPECT_EQ(shows({"a", "a", "b", "a"}), "a a#1 b a#2");
  EXPECT_EQ(shows({"b", "b", "a"}), "b b#1 a");
  EXPECT_EQ(shows({"a", "b", "a", "b", "a"}), "a b a#1 b#1 a#2");
  EXPECT_EQ(shows({}), "");
}

TEST(OutlineSurvival, AnItemInTwoPlaces) {
  const auto shared = group("s", {plainItem("x")});
  const auto root = test::root({group("a", {shared}), group("b", {shared})});
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[s[x]] b[s[x]]");
  shared->setChildren(items({plainItem("y"), plainItem("z")}));
  shared->setLabel("new");
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[s[y z]] b[s[y z]]");
  EXPECT_EQ(rowAt(outline, {0, 0}).label(), Value("new"));
  EXPECT_EQ(rowAt(outline, {1, 0}).label(), Value("new"));
  // It leaves one of them, and is still followed in the other.
  (*root->children())[0]->setChildren(items({}));
  (void)outline.update();
  shared->setChildren(items({plainItem("w")}));
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b[s[w]]");
}

TEST(OutlineSurvival, AnItemInTwoPlacesThatGetsItsFirstChildren) {
  const auto shared = plainItem("s");
  const auto root = test::root({group("a", {shared}), group("b", {shared})});
  Outline outline(root);
  (void)outline.update();
  shared->setChildren(items({plainItem("x")}));
  (*root->children())[0]->setChildren(items({shared, plainItem("n")}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a[s[x] n] b[s[x]]");
}

TEST(OutlineSurvival, AnExceptionInTheMiddleOfAMerge) {
  const auto root = test::root({plainItem("a"), plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  // "b" is removed and "c" is inserted. Then the second "a" has no counterpart.
  EXPECT_THROW(root->replaceChildren(items({plainItem("a"), plainItem("c")})),
               platform::RangeError);
  ASSERT_EQ(test::identifiers(*root->children()), "[a, c, a]");
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a c a#1");
  EXPECT_FALSE(outline.isOutOfDate());
}

// The merge says that all identifiers differ, and so they do in its records. But it fails, because
// a host has given an identifier to two items.
TEST(OutlineSurvival, AnExceptionInTheMiddleOfAMergeOfRecords) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  const auto events = [](bool enabled) {
    return records({eventRecord("a", "1", enabled), eventRecord("b", "2"), eventRecord("c", "3")});
  };
  list->setEvents(events(false));
  for (const bool follows : {false, true}) {
    list->rebuildRootChildren();
    Outline outline(list, {.followsProperties = follows});
    (void)outline.update();
    const auto last = list->root()->children()->back();
    last->setRepresentedObject(eventRecord("a", "9"));
    EXPECT_THROW(list->setEvents(events(!follows)), platform::RangeError);
    ASSERT_EQ(test::identifiers(*list->root()->children()), "[a, b, c, a]");
    (void)outline.update();
    EXPECT_EQ(textOf(outline), "a b c a#1");
    EXPECT_EQ(rowAt(outline, {3}).item(), last);
    list->root()->setChildren(items({}));
  }
}

TEST(OutlineSurvival, AnIdentifierThatIsSetTwiceBehindAMergeOfRecords) {
  for (const bool follows : {false, true}) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(records({eventRecord("a", "1"), eventRecord("b", "2"), eventRecord("c", "3")}));
    Outline outline(list, {.followsProperties = follows});
    (void)outline.update();
    // All change their places, and so all are read. Then one gets the identifier of another.
    list->setEvents(records({eventRecord("a", "6"), eventRecord("b", "5"), eventRecord("c", "4")}));
    const auto& children = *list->root()->children();
    ASSERT_EQ(test::identifiers(children), "[c, b, a]");
    children[0]->setRepresentedObject(eventRecord("a", "4"));
    (void)outline.update();
    ASSERT_EQ(outline.rowCount(), 3U);
    if (!follows) {
      outline.refreshAll();  // nobody has told it
      (void)outline.update();
    }
    EXPECT_EQ(textOf(outline), "a b a#1");
    EXPECT_EQ(rowAt(outline, {2}).item(), children[2]);
  }
}

// A host sets the identifier of an item that has no row yet, so nobody hears of it. The merge has
// said that all identifiers differ.
TEST(OutlineSurvival, AnIdentifierThatIsSetTwiceBeforeThereIsARow) {
  for (const bool follows : {false, true}) {
    const auto list = std::make_shared<KRAVTWVEventsVexil>();
    list->setEvents(records({eventRecord("a", "1"), eventRecord("b", "2")}));
    Outline outline(list, {.followsProperties = follows});
    (void)outline.update();
    list->setEvents(records({eventRecord("a", "1"), eventRecord("b", "2"), eventRecord("c", "3")}));
    list->root()->children()->back()->setRepresentedObject(eventRecord("a", "3"));
    (void)outline.update();
    EXPECT_EQ(textOf(outline), "a b a#1");
  }
}

TEST(OutlineSurvival, AnObserverThatThrowsInTheMiddleOfAMerge) {
  const auto root = test::root({plainItem("a"), plainItem("b")});
  Outline outline(root);
  (void)outline.update();
  int notices = 0;
  const auto observer = test::onEachNotice(root, "children", [&] {
    if (++notices == 2) {
      throw std::runtime_error("no more");
    }
  });
  try {
    root->replaceChildren(items({plainItem("b"), plainItem("c"), plainItem("d")}));
  } catch (const std::runtime_error&) {
  }
  EXPECT_GE(notices, 2);
  (void)outline.update();
  ASSERT_EQ(outline.rowCount(), root->children()->size());
  for (std::size_t i = 0; i < outline.rowCount(); ++i) {
    EXPECT_EQ(outline.top().child(i)->item(), (*root->children())[i]);
  }
}

TEST(OutlineSurvival, ARefreshInTheMiddleOfARefresh) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  Outline outline(list);
  (void)outline.update();
  bool isNested = false;
  const auto observer = test::onEachNotice(list->root(), "children", [&] {
    if (!std::exchange(isNested, true)) {
      list->setEvents(records({eventRecord("x", "X"), eventRecord("y", "Y")}));
    }
  });
  try {
    list->setEvents(records({eventRecord("a", "A"), eventRecord("b", "B")}));
  } catch (const platform::RangeError&) {  // the tree has changed so that it cannot go on
  }
  (void)outline.update();
  const auto& children = *list->root()->children();
  ASSERT_EQ(outline.rowCount(), children.size());
  for (std::size_t i = 0; i < children.size(); ++i) {
    EXPECT_EQ(rowAt(outline, {i}).item(), children[i]);
    EXPECT_EQ(rowAt(outline, {i}).label(), children[i]->label());
  }
}

TEST(OutlineSurvival, TheOutlineIsDestroyedInAGetter) {
  const auto asked = askedItem("a");
  const auto root = test::root({plainItem("b"), asked, plainItem("c")});
  auto outline = std::make_unique<Outline>(root);
  asked->whenAsked = [&] { outline.reset(); };
  const auto update = outline->update();
  EXPECT_EQ(outline, nullptr);
  EXPECT_EQ(update.rowsAfterwards(), 3U);
  asked->whenAsked = nullptr;
  EXPECT_NO_THROW(root->setChildren(items({})));
}

TEST(OutlineSurvival, TheOutlineIsDestroyedWithStepsThatWereNotApplied) {
  const auto root = test::root({group("a", {plainItem("b")})});
  auto outline = std::make_unique<Outline>(root);
  (void)outline->update();
  root->setChildren(items({group("c", {plainItem("d")}), group("e", {plainItem("f")}),
                           group("a", {plainItem("b")}), plainItem("g")}));
  ASSERT_EQ(outline->prepare().steps().size(), 2U);
  outline->applyNext();
  outline.reset();  // the leak checker sees whether rows are left
  EXPECT_NO_THROW(root->setChildren(items({})));
}

TEST(OutlineSurvival, AnObjectThatUpdatesWhenItIsDestroyed) {
  // The steps hold what they name. What is below a row that is removed is destroyed with it.
  const auto root = test::root({group("a")});
  Outline outline(root);
  int ends = 0;
  root->children()->front()->setChildren(
      items({KRAVTWVItemVexil::itemWithRepresentedObject(Value(test::atEnd([&] {
        ++ends;
        EXPECT_TRUE(outline.update().isEmpty());
        EXPECT_TRUE(outline.nextStep() == nullptr || !outline.prepare().isEmpty());
      })))}));
  (void)outline.update();
  root->setChildren(items({plainItem("b")}));
  EXPECT_EQ(ends, 0);
  const auto update = outline.update();
  EXPECT_EQ(ends, 1);
  EXPECT_EQ(update.steps().size(), 2U);
  EXPECT_EQ(textOf(outline), "b");
}

TEST(OutlineSurvival, TheRootOfACollectionIsExchanged) {
  const auto items = std::make_shared<KRAVTWVItemsVexil>();
  items->setRoot(test::root({plainItem("a"), plainItem("b")}));
  int calls = 0;
  Outline outline(items, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  vexil::OutlineRow* const b = outline.top().childWithUniqueID("b");
  const auto old = items->root();
  items->setRoot(test::root({plainItem("b"), plainItem("c")}));
  EXPECT_EQ(calls, 1);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b c");
  EXPECT_EQ(outline.top().child(0), b);
  old->setChildren(test::items({}));  // it is not followed any more
  EXPECT_FALSE(outline.isOutOfDate());
  items->root()->setChildren(test::items({plainItem("d")}));
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "d");
}

TEST(OutlineSurvival, TheRootOfACollectionIsTakenAway) {
  const auto items = std::make_shared<KRAVTWVItemsVexil>();
  items->setRoot(test::root({group("a", {plainItem("b")})}));
  Outline outline(items);
  (void)outline.update();
  items->setRoot(nullptr);
  EXPECT_TRUE(outline.isOutOfDate());
  EXPECT_EQ(outline.rowCount(), 2U);
  EXPECT_EQ(outline.update().rowsTouched(), 2U);
  EXPECT_EQ(outline.rowCount(), 0U);
  EXPECT_FALSE(outline.isOutOfDate());
  items->setRoot(test::root({plainItem("c")}));
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "c");
}

TEST(OutlineSurvival, TheRootIsTakenAwayAfterARowHasChanged) {
  const auto items = std::make_shared<KRAVTWVItemsVexil>();
  const auto changed = plainItem("b");
  items->setRoot(test::root({group("a", {changed})}));
  Outline outline(items, {.followsProperties = true});
  (void)outline.update();
  changed->setLabel("new");
  items->setRoot(nullptr);
  EXPECT_EQ(test::updated(outline),
            "update steps=1 rows=2 of 0\n"
            "removed 0 of #0\n"
            "  #1 \"a\" \"label\"");
}

TEST(OutlineSurvival, TheItemThatItFollowsIsGone) {
  auto root = test::root({group("a", {plainItem("b")})});
  Outline outline(root);
  (void)outline.update();
  root.reset();
  EXPECT_TRUE(outline.isOutOfDate());
  EXPECT_EQ(textOf(outline), "a[b]");
  EXPECT_EQ(rowAt(outline, {0, 0}).item(), nullptr);
  EXPECT_EQ(outline.update().steps().size(), 1U);
  EXPECT_EQ(outline.rowCount(), 0U);
  EXPECT_FALSE(outline.isOutOfDate());
}

TEST(OutlineSurvival, TheCollectionIsGone) {
  auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "A")}));
  Outline outline(list);
  (void)outline.update();
  list.reset();
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(outline.rowCount(), 0U);
  EXPECT_TRUE(outline.update().isEmpty());
}

TEST(OutlineSurvival, AGetterThatThrowsReadsAsAbsentOrFalseAndIsLogged) {
  test::LogLines log;
  const auto asked = askedItem("a");
  asked->setLabel("label");
  asked->whenAsked = [] { throw std::runtime_error("not now"); };
  const auto root = test::root({asked});
  Outline outline(root);
  (void)outline.update();
  EXPECT_TRUE(rowAt(outline, {0}).label().isAbsent());
  EXPECT_TRUE(test::anyContains(log.take(), "label threw: not now"));
  asked->whenAsked = nullptr;
  outline.refreshAll();
  (void)outline.update();
  EXPECT_EQ(rowAt(outline, {0}).label(), Value("label"));
}

TEST(OutlineSurvival, AGetterThatChangesAnItemThatIsNew) {
  // "b" is read before "a" is, and is watched by then.
  const auto asked = askedItem("a");
  const auto b = test::eventItem("b", "B");
  const auto root = test::root({b, group("g", {asked})});
  Outline outline(root);
  int times = 0;
  asked->whenAsked = [&] {
    if (++times == 1) {
      b->setChildren(items({plainItem("c")}));
    }
  };
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b[c] g[a]");
  EXPECT_TRUE(rowAt(outline, {0}).isGroup());
}

TEST(OutlineSurvival, AGetterThatChangesANewSiblingOfARowAboveIt) {
  const auto asked = askedItem("a");
  const auto b = test::eventItem("b", "B");
  const auto root = test::root({plainItem("x")});
  Outline outline(root, {.followsProperties = true});
  (void)outline.update();
  root->setChildren(items({group("g", {asked}), b, plainItem("x")}));
  int times = 0;
  asked->whenAsked = [&] {
    if (++times == 1) {
      b->setRepresentedObject(test::eventRecord("g", "B"));
    }
  };
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "g[a] g#1 x");
}

}  // namespace
