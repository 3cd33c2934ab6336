// SPDX-License-Identifier: Apache-2.0
// A host has put items into the tree of a collection. They look like the items that stood there,
// but what the collection has noted of those is not true of them. A refresh must notice.
#include "CollectionTesting.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::domainRecord;
using test::eventOf;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::records;
using test::TreeRecorder;

// root - one, two, three: what the list shows of these records at first
struct ListWithAHost : ::testing::Test {
  ListWithAHost() { list->setEvents(records({one, two, three})); }

  KRAVTWVItemArray& shown() { return *root->children(); }
  /// Refreshes. Returns what was announced of the root's children.
  Lines refresh(std::vector<Value> all) {
    const auto recorder = TreeRecorder::of(root);
    list->setEvents(records(std::move(all)));
    return recorder->take();
  }

  static Value event(const char* identifier, const char* name, const char* note = "same") {
    return Value::dictionary(
        {{kTWEventUniqueID, identifier}, {kTWEventName, name}, {"note", note}});
  }

  Value one = event("1", "A");
  Value two = event("2", "B");
  Value three = event("3", "C");
  std::shared_ptr<KRAVTWVEventsVexil> list = std::make_shared<KRAVTWVEventsVexil>();
  ItemPointer root = list->root();
};

TEST_F(ListWithAHost, AnItemOfAnOlderListIsReplacedWhereItsRecordIsNotThatOfNow) {
  const ItemPointer older = shown()[1];
  list->setEvents(records({one, three}));
  const Value changed = event("2", "B", "changed");
  list->setEvents(records({one, changed, three}));
  shown()[1] = older;
  // Only another record is new.
  EXPECT_EQ(refresh({one, changed, event("3", "C", "changed")}),
            Lines{"root children replacement {1-2} old=[2, 3] new=[2, 3]"});
  EXPECT_EQ(older->representedObject(), changed);
}

TEST_F(ListWithAHost, AnItemOfAnOlderListIsLeftWhereItsRecordIsThatOfNow) {
  const ItemPointer older = shown()[2];
  list->setEvents(records({one, two}));
  const Value zero = event("0", "0");
  list->setEvents(records({zero, one, two, three}));
  shown()[3] = older;  // it was third before
  EXPECT_EQ(refresh({zero, one, event("2", "B", "changed"), three}),
            Lines{"root children replacement {2} old=[2] new=[2]"});
  EXPECT_EQ(shown()[3], older);
}

TEST_F(ListWithAHost, AnItemOfAnOlderListIsNotTakenForTheOneThatStoodInItsPlace) {
  const ItemPointer older = shown()[1];
  list->setEvents(records({one, three}));
  const Value other = event("4", "B");
  list->setEvents(records({one, other, three}));
  shown()[1] = older;
  EXPECT_EQ(
      refresh({one, other, three, event("5", "D")}),
      (Lines{"root children removal {1} old=[2]", "root children insertion {1, 3} new=[4, 5]"}));
}

TEST_F(ListWithAHost, AnItemThatWasTakenOutIsInsertedAnew) {
  root->removeChildrenAtIndexes({1});
  EXPECT_EQ(refresh({one, two, event("3", "C", "changed")}),
            (Lines{"root children insertion {1} new=[2]",
                   "root children replacement {2} old=[3] new=[3]"}));
}

TEST_F(ListWithAHost, AnItemThatWasTakenOutIsInsertedAnewWhereAnotherGoes) {
  root->removeChildrenAtIndexes({2});
  EXPECT_EQ(refresh({two, three}),
            (Lines{"root children removal {0} old=[1]", "root children insertion {1} new=[3]"}));
}

TEST_F(ListWithAHost, ItemsInAnotherOrderTakeOverTheRecordsOfTheirPlaces) {
  std::swap(shown()[0], shown()[1]);
  EXPECT_EQ(refresh({one, two, three, event("4", "D")}),
            (Lines{"root children insertion {3} new=[4]",
                   "root children replacement {0-1} old=[1, 2] new=[1, 2]"}));
}

TEST_F(ListWithAHost, AnEventOfAnotherKindWithTheSameRecordIsReplacedByEveryRefresh) {
  const ItemPointer exchanged = KRAVTWVOnDemandVexil::itemWithEvent(two);
  shown()[1] = exchanged;
  for (const char* note : {"changed", "changed again"}) {
    EXPECT_EQ(refresh({one, two, event("3", "C", note)}),
              Lines{"root children replacement {1-2} old=[2, 3] new=[2, 3]"});
  }
  EXPECT_EQ(shown()[1], exchanged);
}

TEST_F(ListWithAHost, AnEventOfAnotherKindIsAskedForItsIdentifier) {
  struct Renamed : KRAVTWVKind<Renamed, KRAVTWVEventVexil> {
    using KRAVTWVKind::KRAVTWVKind;
    [[nodiscard]] Value uniqueID() const override { return "other"; }
  };
  shown()[1] = Renamed::itemWithEvent(two);
  EXPECT_EQ(refresh({one, two, three, event("4", "D")}),
            (Lines{"root children removal {1} old=[other]",
                   "root children insertion {1, 3} new=[2, 4]"}));
}

TEST_F(ListWithAHost, AnEventWithAChildIsReplacedAndLosesIt) {
  shown()[1]->addChild(KRAVTWVEventVexil::itemWithEvent(one));
  EXPECT_EQ(refresh({one, two, event("3", "C", "changed")}),
            Lines{"root children replacement {1-2} old=[2, 3] new=[2, 3]"});
  EXPECT_TRUE(shown()[1]->children()->empty());
}

TEST_F(ListWithAHost, AnEventWhoseRecordTheHostHasSetIsReplaced) {
  shown()[1]->setRepresentedObject(event("2", "B", "of the host"));
  EXPECT_EQ(refresh({one, two, event("3", "C", "changed")}),
            Lines{"root children replacement {1-2} old=[2, 3] new=[2, 3]"});
  EXPECT_EQ(shown()[1]->representedObject(), two);
}

// root - A - a1, a2
//      - B - b1
struct StoreWithAHost : ::testing::Test {
  StoreWithAHost() {
    store->setDomains(records({domainRecord("A", "Attic 7"), domainRecord("B", "Barn 9")}));
    store->setEvents(records({a1, a2, b1}));
    recorder->watch(root);
    recorder->watch(row());
  }

  ItemPointer row() { return root->childAtIndex(0); }

  Value a1 = eventOf("A", "a1", "One");
  Value a2 = eventOf("A", "a2", "Two");
  Value b1 = eventOf("B", "b1", "Three");
  std::shared_ptr<KRAVTWVEventStoreVexil> store = std::make_shared<KRAVTWVEventStoreVexil>();
  ItemPointer root = store->root();
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
};

TEST_F(StoreWithAHost, AnEventOfAnotherKindWithAnEqualRecordIsReplacedInARowThatIsNotNew) {
  (*row()->children())[1] = KRAVTWVOnDemandVexil::itemWithEvent(eventOf("A", "a2", "Two"));
  store->setEvents(records({a1, a2, eventOf("B", "b1", "Three and more")}));
  EXPECT_EQ(recorder->take(), (Lines{"A children replacement {1} old=[a2] new=[a2]",
                                     "root children replacement {0-1} old=[A, B] new=[A, B]"}));
}

TEST_F(StoreWithAHost, AnEventThatBelongsToTwoRowsIsThatOfEachRowInTurn) {
  const ItemPointer shared = row()->childAtIndex(1);
  (*root->childAtIndex(1)->children())[0] = shared;
  store->setEvents(records({a1, a2, b1, eventOf("B", "b2", "Tomorrow")}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {1} old=[B] new=[B]"});
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three b2=Tomorrow]]");
  EXPECT_EQ(row()->childAtIndex(1), shared);
}

TEST_F(StoreWithAHost, ARowWithAnEventMoreIsReplaced) {
  row()->addChild(KRAVTWVEventVexil::itemWithEvent(b1));
  store->setEvents(records({a1, a2, b1, eventOf("B", "b2", "Tomorrow")}));
  EXPECT_EQ(recorder->take(), (Lines{"A children removal {2} old=[b1]",
                                     "root children replacement {0-1} old=[A, B] new=[A, B]"}));
}

TEST_F(StoreWithAHost, ARowOfAnotherKindWithAnEqualRecordIsReplaced) {
  const auto other = KRAVTWVItemVexil::itemWithRepresentedObject(row()->representedObject());
  other->setUniqueID("A");
  other->setChildren(row()->children());
  other->setRepresentedObject(domainRecord("A", "Another"));
  (*root->children())[0] = other;
  store->setEvents(records({a1, a2, b1, eventOf("B", "b2", "Tomorrow")}));
  EXPECT_EQ(recorder->take(), Lines{"root children replacement {0-1} old=[A, B] new=[A, B]"});
  EXPECT_EQ(other->representedObject(), domainRecord("A", "Attic 7"));
}

TEST_F(StoreWithAHost, AListThatNeverCameToTheTreeDoesNotDecideWhereEventsBelong) {
  {
    const auto refusal =
        platform::observe(store, "sortedEvents", platform::ObservingOptions::both,
                          [](const auto&) { throw std::runtime_error("refused"); });
    EXPECT_THROW(store->setEvents(records({b1, a2})), std::runtime_error);
  }
  store->setEvents(records({b1, eventOf("B", "b2", "Tomorrow"), a2}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a2=Two] B=Barn 9[b1=Three b2=Tomorrow]]");
}

}  // namespace
