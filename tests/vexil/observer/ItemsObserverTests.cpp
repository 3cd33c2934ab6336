// SPDX-License-Identifier: Apache-2.0
// An items observer follows a tree and tells its delegate of every change in it.
#include "tests/support/TreeRecorder.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <type_traits>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::ChangeKind;
using platform::ContextToken;
using platform::InvalidArgument;
using platform::ObservingOptions;
using platform::Value;
using test::eventItem;
using test::isAnyObserved;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::plainItem;
using test::TreeRecorder;

static_assert(!std::is_copy_constructible_v<KRAVTWVItemsObserver>);

/// A watched tree:
///
///     root - a - a1 - leaf
///          - b
struct ItemsObserver : ::testing::Test {
  ItemsObserver() {
    observer->setDelegate(delegate);
    observer->setRoot(root);
  }

  KRAVTWVItemArray all() const {
    KRAVTWVItemArray items = root->recursiveChildren();
    items.push_back(root);
    return items;
  }

  ItemPointer leaf = plainItem("leaf");
  ItemPointer a1 = plainItem("a1", {leaf});
  ItemPointer a = plainItem("a", {a1});
  ItemPointer b = plainItem("b");
  ItemPointer root = plainItem("root", {a, b});
  std::shared_ptr<TreeRecorder> delegate = TreeRecorder::make();
  std::shared_ptr<KRAVTWVItemsObserver> observer = KRAVTWVItemsObserver::init();
};

TEST(ItemsObserverAtFirst, HasNeitherRootNorDelegate) {
  const auto observer = KRAVTWVItemsObserver::init();
  EXPECT_EQ(observer->root(), nullptr);
  EXPECT_EQ(observer->delegate(), nullptr);
  EXPECT_EQ(KRAVTWVItemsObserverKeyPathRoot, "root");
}

TEST(ItemsObserverAtFirst, IsRegisteredOnItselfAlone) {
  const auto observer = KRAVTWVItemsObserver::init();
  EXPECT_TRUE(observer->isObserved());
  EXPECT_EQ(observer.use_count(), 1);
}

TEST_F(ItemsObserver, IsRegisteredOnEveryItemAndReportsNothingOfThat) {
  EXPECT_EQ(delegate->take(), Lines{});
  for (const auto& item : all()) {
    EXPECT_TRUE(item->isObserved()) << item->description();
    item->replaceChildren(items({plainItem("new")}));
    const Lines reports = delegate->take();
    ASSERT_FALSE(reports.empty());
    EXPECT_TRUE(reports.back().ends_with(" of " + item->uniqueID().displayText()));
  }
}

TEST_F(ItemsObserver, ReportsAnInsertionWithItsItemsIndexesAndParent) {
  a->replaceChildren(items({plainItem("x"), plainItem("a1", {plainItem("leaf")}), plainItem("y")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [x, y] {0, 2} of a"});
}

TEST_F(ItemsObserver, ReportsARemovalWithWhatWasRemoved) {
  root->removeChildrenAtIndexes({0, 1});
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] {0-1} of root"});
}

TEST_F(ItemsObserver, ReportsWhatAMergeDoesStepByStep) {
  root->replaceChildren(items({plainItem("c"), plainItem("a")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [b] {1} of root", "report insertion [c] {0} of root",
                   "report removal [a1] {0} of a", "report replacement [a] {1} of root"}));
}

TEST_F(ItemsObserver, ReportsChangesInsideAReplacementBeforeIt) {
  root->replaceChildren(
      items({plainItem("a", {plainItem("a1", {plainItem("another")})}), plainItem("b")}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [leaf] {0} of a1", "report insertion [another] {0} of a1",
                   "report replacement [a1] {0} of a", "report replacement [a] {0} of root"}));
}

TEST_F(ItemsObserver, ReportsAReplacementWithTheItemThatStoodThere) {
  const auto other = plainItem("other", {plainItem("below")});
  auto change = root->willChangeValuesAtIndexesForKey(ChangeKind::replacement, {1}, "children");
  (*root->children())[1] = other;
  root->didChangeValuesAtIndexesForKey(std::move(change));
  EXPECT_EQ(delegate->take(), Lines{"report replacement [b] {1} of root"});
  EXPECT_FALSE(b->isObserved());
  other->childAtIndex(0)->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of below"});
}

TEST_F(ItemsObserver, ReportsOfAMergedReplacementNameTheSameObjects) {
  struct Delegate : KRAVTWVItemsObserverDelegate {
    void itemsObserverDidObserveItemsIndexesParent(
        const std::shared_ptr<KRAVTWVItemsObserver>& from, ChangeKind kind,
        const KRAVTWVItemArray& changed, const std::optional<platform::IndexSet>& at,
        const std::shared_ptr<KRAVTWVItemVexil>& of) override {
      observer = from;
      kinds.push_back(static_cast<unsigned>(kind));
      lastItems = changed;
      indexes = at;
      parent = of;
    }
    std::shared_ptr<KRAVTWVItemsObserver> observer;
    std::vector<unsigned> kinds;
    KRAVTWVItemArray lastItems;
    std::optional<platform::IndexSet> indexes;
    ItemPointer parent;
  };
  const auto seen = std::make_shared<Delegate>();
  observer->setDelegate(seen);
  const auto changedB = plainItem("b", {plainItem("new")});
  root->replaceChildren(items({a, changedB}));
  EXPECT_EQ(seen->kinds, (std::vector<unsigned>{2, 4}));
  EXPECT_EQ(seen->observer, observer);
  EXPECT_EQ(seen->lastItems, KRAVTWVItemArray{b});
  EXPECT_EQ(seen->indexes, platform::IndexSet{1});
  EXPECT_EQ(seen->parent, root);
}

TEST_F(ItemsObserver, ReportsASettingOfTheListAsARemovalAndASetting) {
  const auto c = plainItem("c", {plainItem("below")});
  root->setChildren(items({b, c}));
  EXPECT_EQ(delegate->take(), (Lines{"report removal [a, b] without indexes of root",
                                     "report setting [b, c] without indexes of root"}));
  EXPECT_FALSE(isAnyObserved({a, a1, leaf}));
  b->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of b"});
  c->childAtIndex(0)->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of below"});
}

TEST_F(ItemsObserver, ReportsASettingToAnEmptyListWithNoItems) {
  root->setChildren(items({}));
  EXPECT_EQ(delegate->take(), (Lines{"report removal [a, b] without indexes of root",
                                     "report setting [] without indexes of root"}));
}

TEST_F(ItemsObserver, HasAdjustedItsRegistrationsWhenItReports) {
  const auto c = plainItem("c");
  std::string seen;
  delegate->then = [&] {
    seen += std::string(b->isObserved() ? "b" : "-") + (c->isObserved() ? "c" : "-") + " ";
  };
  root->setChildren(items({c}));  // withdrawn, reported; registered, reported
  root->removeChildrenAtIndexes({0});
  root->replaceChildren(items({c}));
  root->replaceChildren(items({plainItem("c", {plainItem("new")})}));
  EXPECT_EQ(seen, "-- -c -- -c -c -c ");
}

TEST_F(ItemsObserver, ReportsBeforeTheRestOfTheOperationIsDone) {
  std::string seen;
  delegate->then = [&] { seen += test::identifiers(*root->children()) + " "; };
  root->replaceChildren(items({plainItem("b"), plainItem("c")}));
  EXPECT_EQ(seen, "[b] [b, c] ");
}

TEST_F(ItemsObserver, FollowsASubtreeThatIsInsertedUnderOneReport) {
  const auto deep = plainItem("deep");
  const auto c = plainItem("c", {plainItem("c1", {deep})});
  root->replaceChildren(items({a, b, c}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [c] {2} of root"});
  deep->replaceChildren(items({plainItem("deeper")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [deeper] {0} of deep"});
  c->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(), Lines{"report removal [c1] {0} of c"});
}

TEST_F(ItemsObserver, ForgetsASubtreeThatIsRemoved) {
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(), Lines{"report removal [a] {0} of root"});
  EXPECT_FALSE(isAnyObserved({a, a1, leaf}));
  a->replaceChildren(nullptr);
  leaf->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{});
  EXPECT_TRUE(b->isObserved());
}

TEST_F(ItemsObserver, KeepsOneRegistrationAfterAReplacement) {
  root->replaceChildren(items({plainItem("a", {plainItem("a1")}), b}));
  EXPECT_EQ(delegate->take(),
            (Lines{"report removal [leaf] {0} of a1", "report replacement [a1] {0} of a",
                   "report replacement [a] {0} of root"}));
  a1->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of a1"});
  observer->setRoot(nullptr);
  EXPECT_FALSE(isAnyObserved(all()));
}

TEST_F(ItemsObserver, WithdrawsEverywhereWhenItsRootIsCleared) {
  observer->setRoot(nullptr);
  EXPECT_FALSE(isAnyObserved(all()));
  root->replaceChildren(nullptr);
  a->replaceChildren(nullptr);
  EXPECT_EQ(delegate->take(), Lines{});
}

TEST_F(ItemsObserver, RegistersAnewWhenTheSameRootIsSetAgain) {
  observer->setRoot(root);
  EXPECT_EQ(delegate->take(), Lines{});
  for (const auto& item : all()) {
    item->replaceChildren(items({plainItem("only")}));
    const std::string report = "report insertion [only] {0} of " + item->uniqueID().displayText();
    EXPECT_EQ(std::ranges::count(delegate->take(), report), 1);
  }
  observer->setRoot(nullptr);
  EXPECT_FALSE(isAnyObserved(all()));
}

TEST_F(ItemsObserver, CatchesUpWithUnannouncedItemsWhenTheSameRootIsSetAgain) {
  observer->setRoot(nullptr);
  const auto added = plainItem("added");
  b->addChild(added);
  observer->setRoot(root);
  added->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of added"});
}

TEST_F(ItemsObserver, LeavesOneTreeForAnother) {
  const auto below = plainItem("below");
  const auto other = plainItem("other", {below});
  observer->setRoot(other);
  EXPECT_EQ(observer->root(), other);
  EXPECT_FALSE(isAnyObserved(all()));
  root->replaceChildren(nullptr);
  below->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of below"});
}

TEST_F(ItemsObserver, MovesItsRootWithinATree) {
  observer->setRoot(a);
  EXPECT_FALSE(isAnyObserved({root, b}));
  leaf->replaceChildren(items({plainItem("new")}));
  root->removeChildrenAtIndexes({0});
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of leaf"});
}

TEST_F(ItemsObserver, FollowsWithoutADelegateAndReportsNothing) {
  observer->setDelegate(nullptr);
  const auto c1 = plainItem("c1");
  root->replaceChildren(items({b, plainItem("c", {c1})}));
  EXPECT_EQ(delegate->take(), Lines{});
  EXPECT_FALSE(isAnyObserved({a, a1, leaf}));
  observer->setDelegate(delegate);
  c1->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{"report insertion [new] {0} of c1"});
}

TEST_F(ItemsObserver, FollowsWhenItsDelegateIsGone) {
  std::weak_ptr<TreeRecorder> gone = delegate;
  delegate.reset();
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(observer->delegate(), nullptr);
  root->removeChildrenAtIndexes({0});
  EXPECT_FALSE(isAnyObserved({a, a1, leaf}));
}

TEST_F(ItemsObserver, ReportsToTheDelegateItHasNow) {
  const auto later = TreeRecorder::make();
  observer->setDelegate(later);
  root->removeChildrenAtIndexes({1});
  EXPECT_EQ(delegate->take(), Lines{});
  EXPECT_EQ(later->take(), Lines{"report removal [b] {1} of root"});
}

TEST_F(ItemsObserver, SharesATreeWithAnother) {
  const auto secondDelegate = TreeRecorder::make();
  const auto second = KRAVTWVItemsObserver::init();
  second->setDelegate(secondDelegate);
  second->setRoot(root);
  root->removeChildrenAtIndexes({1});
  EXPECT_EQ(delegate->take(), Lines{"report removal [b] {1} of root"});
  EXPECT_EQ(secondDelegate->take(), Lines{"report removal [b] {1} of root"});
  observer->setRoot(nullptr);
  leaf->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{});
  EXPECT_EQ(secondDelegate->take(), Lines{"report insertion [new] {0} of leaf"});
}

// --- who keeps whom

TEST_F(ItemsObserver, KeepsNeitherItsTreeNorItsDelegateAlive) {
  EXPECT_EQ(delegate.use_count(), 1);
  const std::weak_ptr<KRAVTWVItemVexil> watched = root;
  root.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(ItemsObserver, HasNoRootOnceTheTreeIsGoneAndIsNotToldOfIt) {
  const auto recorder = TreeRecorder::make();
  recorder->watch(observer, "root");
  root.reset();
  EXPECT_EQ(observer->root(), nullptr);
  EXPECT_EQ(recorder->take(), Lines{});
  observer->setRoot(b);
  EXPECT_EQ(recorder->take(), Lines{"KRAVTWVItemsObserver root setting old=<null> new=b"});
}

TEST_F(ItemsObserver, IsNotKeptAliveByItsTree) {
  const std::weak_ptr<KRAVTWVItemsObserver> gone = observer;
  observer.reset();
  EXPECT_TRUE(gone.expired());
  root->replaceChildren(nullptr);
  leaf->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{});
}

// --- its own properties

TEST_F(ItemsObserver, AnnouncesItsRootWithMarkersForAbsentOnes) {
  const auto recorder = TreeRecorder::make();
  recorder->watch(observer, KRAVTWVItemsObserverKeyPathRoot);
  observer->setRoot(a);
  observer->setRoot(nullptr);
  observer->setRoot(nullptr);
  observer->setRoot(b);
  EXPECT_EQ(recorder->take(), (Lines{"KRAVTWVItemsObserver root setting old=root new=a",
                                     "KRAVTWVItemsObserver root setting old=a new=<null>",
                                     "KRAVTWVItemsObserver root setting old=<null> new=<null>",
                                     "KRAVTWVItemsObserver root setting old=<null> new=b"}));
}

TEST_F(ItemsObserver, AnnouncesItsDelegate) {
  const auto recorder = TreeRecorder::make();
  recorder->watch(observer, "delegate");
  observer->setDelegate(nullptr);
  EXPECT_TRUE(test::anyContains(recorder->take(), "delegate setting old="));
}

TEST_F(ItemsObserver, IsSetByKey) {
  observer->setValueForKey(Value(), KRAVTWVItemsObserverKeyPathRoot);
  EXPECT_FALSE(isAnyObserved(all()));
  observer->setValueForKey(Value(a), KRAVTWVItemsObserverKeyPathRoot);
  EXPECT_EQ(observer->root(), a);
  EXPECT_TRUE(leaf->isObserved());
  EXPECT_EQ(observer->valueForKey("root").object(), a);
  const auto other = TreeRecorder::make();
  observer->setValueForKey(Value(std::static_pointer_cast<KRAVTWVItemsObserverDelegate>(other)),
                           "delegate");
  EXPECT_EQ(observer->delegate(), other);
  observer->setValueForKey(Value(), "delegate");
  EXPECT_EQ(observer->delegate(), nullptr);
}

TEST_F(ItemsObserver, TakesNothingElseByKey) {
  EXPECT_THROW(observer->setValueForKey("text", "root"), InvalidArgument);
  EXPECT_THROW(observer->setValueForKey(Value(a), "delegate"), InvalidArgument);
  EXPECT_EQ(observer->root(), root);
  EXPECT_EQ(observer->delegate(), delegate);
}

// --- misuse

TEST_F(ItemsObserver, DoesNotKnowOtherContextsEvenWithTheSameText) {
  static constexpr ContextToken tokens[] = {ContextToken("another"),
                                            ContextToken("KRAVTWVItemsObserverKVOContextRoot"),
                                            ContextToken("KRAVTWVItemsObserverKVOContextChildren")};
  for (const ContextToken& token : tokens) {
    const auto item = plainItem("item");
    item->addObserver(observer, "children", ObservingOptions::both, &token);
    EXPECT_THROW(item->replaceChildren(items({plainItem("new")})), platform::UnexpectedNotice);
    EXPECT_FALSE(item->childAtIndex(0)->isObserved());
  }
  a->addObserver(observer, "label", ObservingOptions::both, nullptr);
  EXPECT_THROW(a->setLabel("label"), platform::UnexpectedNotice);
  EXPECT_EQ(delegate->take(), Lines{});
}

TEST_F(ItemsObserver, DoesNotFollowWhatIsAddedUnannouncedAndReportsItsRemoval) {
  const auto added = plainItem("added", {plainItem("below")});
  root->addChild(added);
  EXPECT_EQ(delegate->take(), Lines{});
  EXPECT_FALSE(added->isObserved());
  added->replaceChildren(items({plainItem("new")}));
  EXPECT_EQ(delegate->take(), Lines{});
  root->removeChildrenAtIndexes({0, 2});
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, added] {0, 2} of root"});
  EXPECT_FALSE(isAnyObserved({a, a1, leaf, added}));
}

TEST_F(ItemsObserver, TakesNoAbsentListOfChildren) {
  EXPECT_THROW(root->setChildren(nullptr), InvalidArgument);
  EXPECT_EQ(delegate->take(), Lines{"report removal [a, b] without indexes of root"});
  EXPECT_FALSE(isAnyObserved({a, a1, leaf, b}));
  EXPECT_THROW(root->setChildren(items({b})), InvalidArgument);
  EXPECT_EQ(delegate->take(), Lines{});
}

// --- the two operations of items on which it is built

// root - a - a1 - leaf
//      - b
TEST_F(ItemsObserver, IsBuiltOnARegistrationOfTheWholeSubtree) {
  observer->setRoot(nullptr);
  static constexpr ContextToken token("token");
  const auto recorder = TreeRecorder::make();
  a->addObserverForRecursiveChildrenWithOptionContext(recorder, ObservingOptions::newValue, &token);
  EXPECT_FALSE(isAnyObserved({root, b}));
  leaf->replaceChildren(items({plainItem("x")}));
  leaf->removeChildrenAtIndexes({0});
  a->replaceChildren(items({a1, plainItem("y")}));
  a->setLabel("not of children");
  EXPECT_EQ(recorder->take(),
            (Lines{"leaf children insertion {0} new=[x] (token)",
                   "leaf children removal {0} (token)",  // the old ones were not asked for
                   "a children insertion {1} new=[y] (token)"}));
  a->childAtIndex(1)->replaceChildren(items({plainItem("z")}));
  EXPECT_EQ(recorder->take(), Lines{});  // it came later
}

TEST_F(ItemsObserver, IsBuiltOnAWithdrawalOfOneContextFromTheWholeSubtree) {
  observer->setRoot(nullptr);
  static constexpr ContextToken token("token");
  static constexpr ContextToken other("token");
  const auto recorder = TreeRecorder::make();
  root->addObserverForRecursiveChildrenWithOptionContext(recorder, ObservingOptions::both, &token);
  root->addObserverForRecursiveChildrenWithOptionContext(recorder, ObservingOptions::both, &other);
  root->removeObserverForRecursiveChildrenWithContext(recorder, &token);
  leaf->replaceChildren(items({plainItem("x")}));
  EXPECT_EQ(recorder->take(), Lines{"leaf children insertion {0} new=[x] (token)"});
  leaf->replaceChildren(nullptr);
  root->removeObserverForRecursiveChildrenWithContext(recorder, &other);
  EXPECT_FALSE(isAnyObserved(all()));
  EXPECT_THROW(root->removeObserverForRecursiveChildrenWithContext(recorder, &other),
               InvalidArgument);
}

// The order shows where a withdrawal stops: leaf, a1, a, b, root.
TEST_F(ItemsObserver, WithdrawsFromDescendantsFirstAndFromTheItemLast) {
  observer->setRoot(nullptr);
  static constexpr ContextToken token("token");
  const auto recorder = TreeRecorder::make();
  root->addObserverForRecursiveChildrenWithOptionContext(recorder, ObservingOptions::both, &token);
  a->removeObserver(recorder, "children", &token);
  EXPECT_THROW(root->removeObserverForRecursiveChildrenWithContext(recorder, &token),
               InvalidArgument);
  EXPECT_FALSE(isAnyObserved({leaf, a1, a}));
  EXPECT_TRUE(b->isObserved());
  EXPECT_TRUE(root->isObserved());
}

}  // namespace
