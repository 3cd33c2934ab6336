// SPDX-License-Identifier: Apache-2.0
// Rows stand still while the tree changes; steps are applied one by one.
#include "OutlineTesting.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

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
using vexil::OutlineStep;

class Delegate : public KRAVTWVItemsObserverDelegate {
 public:
  std::function<void()> then;
  void itemsObserverDidObserveItemsIndexesParent(
      const std::shared_ptr<KRAVTWVItemsObserver>& /*observer*/, platform::ChangeKind /*kind*/,
      const KRAVTWVItemArray& /*items*/, const std::optional<platform::IndexSet>& /*indexes*/,
      const std::shared_ptr<KRAVTWVItemVexil>& /*parent*/) override {
    then();
  }
};

TEST(OutlineOperation, AnUpdateFromAnObserverIsEmpty) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  Outline outline(list);
  (void)outline.update();
  int notices = 0;
  const auto observer = test::onEachNotice(list->root(), "children", [&] {
    ++notices;
    EXPECT_TRUE(outline.update().isEmpty());
    EXPECT_EQ(outline.nextStep(), nullptr);
    EXPECT_EQ(outline.rowCount(), 0U);
    EXPECT_TRUE(outline.isOutOfDate());
  });
  list->setEvents(records({eventRecord("a", "A")}));
  EXPECT_EQ(notices, 1);
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a");
}

TEST(OutlineOperation, AnUpdateFromADelegateOfATreeObserverIsEmpty) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  (void)outline.update();
  const auto delegate = std::make_shared<Delegate>();
  int reports = 0;
  delegate->then = [&] {
    ++reports;
    EXPECT_TRUE(outline.update().isEmpty());
    EXPECT_EQ(textOf(outline), "a");
  };
  const auto observer = KRAVTWVItemsObserver::init();
  observer->setDelegate(delegate);
  observer->setRoot(root);
  reports = 0;
  root->setChildren(items({plainItem("b")}));
  EXPECT_GT(reports, 0);
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "b");
}

TEST(OutlineOperation, AnUpdateFromAGetterOfAHostIsEmpty) {
  const auto item = askedItem("a");
  const auto root = test::root({item});
  Outline outline(root);
  bool wasAsked = false;
  item->whenAsked = [&] {
    wasAsked = true;
    EXPECT_TRUE(outline.update().isEmpty());
    EXPECT_EQ(outline.rowCount(), 0U);
  };
  (void)outline.update();
  EXPECT_TRUE(wasAsked);
  EXPECT_EQ(textOf(outline), "a");
}

TEST(OutlineOperation, SeveralSettersAreOneUpdate) {
  const auto store = std::make_shared<KRAVTWVEventStoreVexil>();
  int calls = 0;
  Outline outline(store, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  store->setDomains(records({test::domainRecord("d", "D"), test::domainRecord("f", "F")}));
  store->setEvents(records({test::eventOf("d", "e1", "A")}));
  store->setEvents(records({test::eventOf("d", "e1", "A"), test::eventOf("f", "e2", "B")}));
  EXPECT_EQ(calls, 1);
  const auto update = outline.update();
  ASSERT_EQ(update.steps().size(), 1U);
  EXPECT_EQ(update.steps()[0].kind, OutlineStep::Kind::inserted);
  EXPECT_EQ(update.rowsTouched(), 4U);
  EXPECT_EQ(textOf(outline), "d[e1] f[e2]");
}

TEST(OutlineOperation, AViewNeverSeesHalfARefresh) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(records({eventRecord("a", "old", true), eventRecord("b", "older")}));
  Outline outline(list, {.followsProperties = true});
  (void)outline.update();
  vexil::OutlineRow& row = rowAt(outline, {0});
  const auto item = row.item();
  const auto isOld = [&] {
    return row.label() == "old" && row.enabled() &&
           row.representedObject() == eventRecord("a", "old", true) && outline.rowCount() == 2;
  };
  const auto observer = test::onEachNotice(list->root(), "children", [&] { EXPECT_TRUE(isOld()); });
  list->setEvents(records({eventRecord("a", "new", false)}));
  EXPECT_EQ(item->label(), "new");  // the live item is further
  EXPECT_TRUE(isOld());
  const auto& update = outline.prepare();
  EXPECT_TRUE(isOld());
  ASSERT_EQ(update.steps().size(), 2U);
  outline.applyNext();  // the removal
  EXPECT_EQ(outline.rowCount(), 1U);
  EXPECT_EQ(row.label(), "old");
  outline.applyNext();
  EXPECT_EQ(row.label(), "new");
  EXPECT_FALSE(row.enabled());
  EXPECT_EQ(row.representedObject(), eventRecord("a", "new", false));
  EXPECT_EQ(row.item(), item);
}

TEST(OutlineOperation, PrepareChangesNoRowAndApplyNextAppliesOneStep) {
  const auto root = test::root({plainItem("a"), group("b", {plainItem("c")}), plainItem("d")});
  Outline outline(root);
  (void)outline.update();
  root->setChildren(items({plainItem("d"), plainItem("a"), group("e")}));
  const vexil::OutlineUpdate prepared = outline.prepare();
  ASSERT_EQ(prepared.steps().size(), 3U);  // b goes, d moves, e comes
  EXPECT_EQ(textOf(outline), "a b[c] d");
  EXPECT_EQ(outline.rowCount(), 4U);
  EXPECT_EQ(outline.prepare(), prepared);
  EXPECT_EQ(*outline.nextStep(), prepared.steps()[0]);
  EXPECT_EQ(outline.nextParent(), &outline.top());
  EXPECT_EQ(outline.nextNewParent(), nullptr);
  outline.applyNext();
  EXPECT_EQ(textOf(outline), "a d");
  EXPECT_EQ(outline.rowCount(), 2U);
  EXPECT_EQ(outline.nextStep()->kind, OutlineStep::Kind::moved);
  EXPECT_EQ(outline.nextNewParent(), &outline.top());
  EXPECT_EQ(outline.prepare(), prepared);  // it stays the same
  outline.applyNext();
  EXPECT_EQ(textOf(outline), "d a");
  outline.applyRest();
  EXPECT_EQ(textOf(outline), "d a e");
  EXPECT_EQ(outline.nextStep(), nullptr);
  EXPECT_EQ(outline.nextParent(), nullptr);
  outline.applyNext();  // there is none
  EXPECT_TRUE(outline.prepare().isEmpty());
  EXPECT_EQ(textOf(outline), "d a e");
}

TEST(OutlineOperation, AnUpdateThatIsPreparedStaysTheSameWhenTheTreeChanges) {
  const auto root = test::root({plainItem("a")});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  (void)outline.update();
  root->setChildren(items({plainItem("b")}));
  const vexil::OutlineUpdate prepared = outline.prepare();
  EXPECT_TRUE(outline.isOutOfDate());  // its rows are not those of the tree yet
  outline.applyNext();
  root->setChildren(items({plainItem("c"), plainItem("b")}));
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(outline.prepare(), prepared);
  outline.applyRest();
  EXPECT_EQ(textOf(outline), "b");
  EXPECT_TRUE(outline.isOutOfDate());
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "c b");
}

TEST(OutlineOperation, UpdateReturnsTheStepsThatItAppliesAndNotThoseBefore) {
  const auto root = test::root({plainItem("a")});
  Outline outline(root);
  vexil::OutlineCopy copy;
  copy.apply(outline.update());
  root->setChildren(items({plainItem("b")}));
  (void)outline.prepare();
  ASSERT_EQ(outline.prepare().steps().size(), 2U);
  copy.apply(*outline.nextStep());
  outline.applyNext();
  const auto rest = outline.update();
  EXPECT_EQ(rest.steps().size(), 1U);
  EXPECT_EQ(rest.rowsAfterwards(), 1U);
  EXPECT_NO_THROW(copy.apply(rest));
  EXPECT_EQ(copy.rowCount(), 1U);
}

TEST(OutlineOperation, AGetterThatChangesTheTreeMakesTheUpdateBeginAnew) {
  const auto asked = askedItem("a");
  const auto root = test::root({group("g", {asked}), plainItem("b")});
  Outline outline(root);
  int times = 0;
  asked->whenAsked = [&] {
    if (++times == 1) {
      (*root->children())[1]->setChildren(items({plainItem("c")}));
    }
  };
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "g[a] b[c]");
  EXPECT_TRUE(rowAt(outline, {1}).isExpandable());
  EXPECT_FALSE(outline.isOutOfDate());
}

TEST(OutlineOperation, ATreeThatChangesWheneverItIsReadLeavesTheOutlineOutOfDate) {
  const auto asked = askedItem("a");
  const auto root = test::root({asked});
  int calls = 0;
  Outline outline(root, {.outOfDate = [&] { ++calls; }});
  asked->whenAsked = [&] { root->setChildren(items({asked, plainItem("b")})); };
  EXPECT_TRUE(outline.update().isEmpty());
  EXPECT_TRUE(outline.isOutOfDate());
  EXPECT_EQ(calls, 1);  // so that the host tries again
  asked->whenAsked = nullptr;
  (void)outline.update();
  EXPECT_EQ(textOf(outline), "a b");
}

}  // namespace
