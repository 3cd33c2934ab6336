// SPDX-License-Identifier: Apache-2.0
// Events under their domains.
#include "CollectionTesting.h"
#include "tests/support/AllocationCounter.h"

#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Value;
using test::briefly;
using test::domainRecord;
using test::eventOf;
using test::ItemPointer;
using test::Lines;
using test::outline;
using test::records;
using test::TreeRecorder;

using Store = KRAVTWVEventStoreVexil;

static_assert(std::is_base_of_v<KRAVTWVItemsVexil, Store>);

// What most tests show:
//
//     root
//     ├── A "Attic 7"
//     │   ├── a1 "One"
//     │   └── a2 "Two"
//     └── B "Barn 9"
//         └── b1 "Three"
struct EventStore : ::testing::Test {
  EventStore() {
    for (const char* key : {"orderedDomains", "sortedEvents", "domains", "events", "root"}) {
      recorder->watch(store, key);
    }
    recorder->watch(root);
  }

  Lines notices() { return briefly(recorder->take()); }

  /// Shows the tree above, and forgets what was announced.
  void showBoth() {
    store->setDomains(records({attic, barn}));
    store->setEvents(records({one, two, three}));
    (void)recorder->take();
  }

  std::shared_ptr<Store> store = std::make_shared<Store>();
  ItemPointer root = store->root();
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
  Value attic = domainRecord("A", "Attic 7");
  Value barn = domainRecord("B", "Barn 9");
  Value engine = domainRecord("X", "Engine room", kTWDomainType_Engine);
  Value one = eventOf("A", "a1", "One");
  Value two = eventOf("A", "a2", "Two");
  Value three = eventOf("B", "b1", "Three");
};

TEST_F(EventStore, BeginsWithEmptyArraysAndARootWithoutChildren) {
  ASSERT_TRUE(store->orderedDomains().isArray());
  EXPECT_TRUE(store->orderedDomains().elements().empty());
  ASSERT_TRUE(store->sortedEvents().isArray());
  EXPECT_TRUE(store->sortedEvents().elements().empty());
  EXPECT_EQ(outline(root), "root=");
}

TEST_F(EventStore, PublishesItsKey) {
  EXPECT_EQ(KRAVTWVEventStoreVexilKeyPathDomains, "domains");
}

TEST_F(EventStore, FedEmptyArraysAtFirstAnnouncesNothing) {
  store->setDomains(records({}));
  store->setEvents(records({}));
  EXPECT_EQ(recorder->take(), Lines{});
}

// --- the rows

TEST_F(EventStore, ShowsDomainsInTheGivenOrderWithTheirEventsByName) {
  store->setDomains(records({attic, barn}));
  store->setEvents(records({two, three, one}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]");
  for (const auto& row : *root->children()) {
    EXPECT_EQ(row->className(), "KRAVTWVDomainVexil");
    for (const auto& event : *row->children()) {
      EXPECT_EQ(event->className(), "KRAVTWVEventVexil");
    }
  }
}

TEST_F(EventStore, ShowsDomainsGivenTheOtherWayRoundTheOtherWayRound) {
  store->setDomains(records({barn, attic}));
  store->setEvents(records({two, three, one}));
  EXPECT_EQ(outline(root), "root=[B=Barn 9[b1=Three] A=Attic 7[a1=One a2=Two]]");
  EXPECT_EQ(store->orderedDomains(), records({barn, attic})) << "never sorted";
}

TEST_F(EventStore, ShowsTheSameWhicheverInputComesFirst) {
  store->setEvents(records({two, three, one}));
  EXPECT_EQ(outline(root), "root=") << "no domain yet";
  store->setDomains(records({attic, barn}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]");
}

TEST_F(EventStore, SortsEventsByNameThenIdentifierUpperCaseFirst) {
  const Value bare = eventOf("A", {}, {});
  const std::vector<Value> inOrder = {bare,
                                      eventOf("A", "9", {}),
                                      eventOf("B", "5", "Alpha"),
                                      eventOf("A", "7", "Zeta"),
                                      eventOf("A", "1", "alpha"),
                                      eventOf("B", "2", "alpha"),
                                      eventOf("A", "3", "alpha")};
  std::vector<Value> given = inOrder;
  std::ranges::reverse(given);
  store->setEvents(records(given));
  EXPECT_EQ(store->sortedEvents(), records(inOrder));
  EXPECT_TRUE(store->sortedEvents().elements()[0].sharesStorageWith(bare)) << "not a copy";
}

TEST_F(EventStore, ShowsADomainWithoutEventsAsARow) {
  store->setDomains(records({attic, barn}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7 B=Barn 9]");
  EXPECT_TRUE(root->childAtIndex(0)->isGroup());
}

TEST_F(EventStore, ShowsTheEventsOfALoneDomainWithoutARow) {
  store->setDomains(records({attic}));
  store->setEvents(records({two, three, one}));
  EXPECT_EQ(outline(root), "root=[a1=One a2=Two]");
}

TEST_F(EventStore, ShowsTheEventsOfADomainBesideTheEnginesWithoutARow) {
  store->setEvents(records({two, three, one}));
  store->setDomains(records({engine, attic}));
  EXPECT_EQ(outline(root), "root=[a1=One a2=Two]");
  store->setDomains(records({attic, engine}));
  EXPECT_EQ(outline(root), "root=[a1=One a2=Two]");
}

TEST_F(EventStore, ShowsNothingOfALoneDomainWithoutEvents) {
  store->setEvents(records({three}));
  store->setDomains(records({attic}));
  EXPECT_EQ(outline(root), "root=");
  EXPECT_EQ(notices(), (Lines{"sortedEvents", "orderedDomains"}));
}

TEST_F(EventStore, NeverShowsTheEnginesDomainOrItsEvents) {
  store->setDomains(records({attic, engine, barn}));
  store->setEvents(records({one, eventOf("X", "x1", "Hidden"), three}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One] B=Barn 9[b1=Three]]");
  store->setDomains(records({engine}));
  EXPECT_EQ(outline(root), "root=");
}

TEST_F(EventStore, ShowsDomainsOfAnyOtherTypeOrNone) {
  store->setDomains(
      records({attic, domainRecord("T", "Other", "other"), domainRecord("N", "Number", 5),
               domainRecord("E", "Empty", ""), domainRecord("0", "Null", Value::null())}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7 T=Other N=Number E=Empty 0=Null]");
}

TEST_F(EventStore, DropsEventsOfADomainThatIsNotThere) {
  store->setDomains(records({attic, barn}));
  store->setEvents(records({one, eventOf("C", "c1", "Lost"), eventOf("a", "c2", "Other case")}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One] B=Barn 9]");
}

TEST_F(EventStore, DropsEventsOfNoDomainWhereEveryDomainHasAnIdentifier) {
  store->setDomains(records({attic, barn}));
  store->setEvents(records({one, eventOf({}, "n1", "Nowhere"), eventOf("", "n2", "Empty")}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One] B=Barn 9]");
}

TEST_F(EventStore, ADomainWithoutIdentifierCollectsEventsOfNoDomain) {
  const Value nowhere = records(
      {eventOf({}, "n1", "Nowhere"), eventOf("", "n2", "Empty"), eventOf(7, "n3", "Number"), one});
  for (const auto& domain : {domainRecord({}, "All the rest"), domainRecord("", "All the rest"),
                             domainRecord(7, "All the rest")}) {
    const auto rows = Store::itemsWithEventsAndDomains(nowhere, records({attic, domain}));
    ASSERT_EQ(rows->size(), 2U);
    EXPECT_EQ(test::identifiers(*rows->at(0)->children()), "[a1]");
    EXPECT_EQ(test::identifiers(*rows->at(1)->children()), "[n1, n2, n3]") << domain.description();
  }
  // Alone it can also stand in the tree, where every row needs an identifier.
  store->setEvents(nowhere);
  store->setDomains(records({domainRecord({}, "All the rest")}));
  EXPECT_EQ(outline(root), "root=[n2=Empty n1=Nowhere n3=Number]");
}

TEST_F(EventStore, TwoDomainsOfOneIdentifierShareTheirEventsWhoseParentIsTheLater) {
  const auto rows = Store::itemsWithEventsAndDomains(
      records({one, two}), records({attic, barn, domainRecord("A", "Annex 8")}));
  ASSERT_EQ(rows->size(), 3U);
  EXPECT_EQ(outline(rows->at(0)), "A=Attic 7[a1=One a2=Two]");
  EXPECT_EQ(outline(rows->at(1)), "B=Barn 9");
  EXPECT_EQ(outline(rows->at(2)), "A=Annex 8[a1=One a2=Two]");
  EXPECT_EQ(*rows->at(0)->children(), *rows->at(2)->children()) << "the very objects";
  EXPECT_NE(rows->at(0)->children(), rows->at(2)->children()) << "in an array each";
  for (const auto& event : *rows->at(0)->children()) {
    EXPECT_EQ(event->parent(), rows->at(2));
  }
}

TEST_F(EventStore, ShowsEqualEventsOfADomainOnceWhereTheLastStood) {
  store->setDomains(records({attic, barn}));
  store->setEvents(records({one, two, eventOf("A", "a1", "One")}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9]");
  EXPECT_EQ(store->sortedEvents().elements().size(), 3U) << "the input is kept as it is";
  const auto shown = Store::itemsWithEventsAndDomains(
      records({one, two, eventOf("A", "a1", "One")}), records({attic}));
  EXPECT_EQ(test::identifiers(*shown), "[a2, a1]");
}

TEST_F(EventStore, ShowsEventsThatDifferButForTheirIdentifierBoth) {
  const auto shown = Store::itemsWithEventsAndDomains(
      records({one, eventOf("A", "a1", "Other"), one}), records({attic}));
  EXPECT_EQ(test::identifiers(*shown), "[a1, a1]");
  EXPECT_EQ(shown->at(0)->label(), Value("Other"));
}

// --- the items of the top level

TEST_F(EventStore, BuildsItemsFromNothingButItsArguments) {
  showBoth();
  const auto first = Store::itemsWithEventsAndDomains(records({two, one}), records({barn, attic}));
  EXPECT_EQ(outline(first->at(0)), "B=Barn 9");
  EXPECT_EQ(outline(first->at(1)), "A=Attic 7[a2=Two a1=One]") << "in the order given";
  const auto second = Store::itemsWithEventsAndDomains(records({two, one}), records({barn, attic}));
  EXPECT_NE(first->at(0), second->at(0)) << "made anew each time";
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]");
  EXPECT_EQ(store->orderedDomains(), records({attic, barn}));
}

TEST_F(EventStore, SetsTheParentOfEventsAndOfNoDomain) {
  const auto rows = Store::itemsWithEventsAndDomains(records({one, three}), records({attic, barn}));
  EXPECT_EQ(rows->at(0)->childAtIndex(0)->parent(), rows->at(0));
  EXPECT_EQ(rows->at(1)->childAtIndex(0)->parent(), rows->at(1));
  EXPECT_EQ(rows->at(0)->parent(), nullptr);
}

// Their parent is still the row that was left out. That row is gone, so their parent is absent.
TEST_F(EventStore, TheEventsOfALoneDomainAreNotGivenTheRootForAParent) {
  store->setDomains(records({attic}));
  store->setEvents(records({one}));
  EXPECT_EQ(root->childAtIndex(0)->parent(), nullptr);
  EXPECT_EQ(root->childAtIndex(0)->path(), "/a1");
}

TEST_F(EventStore, TakesTheVeryArrayOfALoneDomain) {
  const Value events = records({one, two});
  const auto costOf = [&](const Value& domains) {
    return test::allocationsOf([&] { (void)Store::itemsWithEventsAndDomains(events, domains); });
  };
  const Value c = domainRecord("C", "Cave 1");
  (void)costOf(records({attic}));  // what is made once
  const auto ofOneRow = costOf(records({attic}));
  const auto ofTwoRows = costOf(records({attic, barn}));
  const auto ofThreeRows = costOf(records({attic, barn, c}));
  EXPECT_EQ(ofTwoRows - ofOneRow, ofThreeRows - ofTwoRows) << "a copy would cost the lone one more";
}

TEST_F(EventStore, BuildsNothingFromWhatIsNoArray) {
  for (const Value& other : {Value(), Value("text"), Value::null(), one, Value(5)}) {
    EXPECT_TRUE(Store::itemsWithEventsAndDomains(records({one}), other)->empty());
    EXPECT_EQ(Store::itemsWithEventsAndDomains(other, records({attic, barn}))->size(), 2U);
    EXPECT_TRUE(Store::itemsWithEventsAndDomains(other, records({attic}))->empty());
  }
}

TEST_F(EventStore, TakesElementsThatAreNoRecordsForRecordsWithoutEntries) {
  const auto rows = Store::itemsWithEventsAndDomains(records({"event", Value(), one}),
                                                     records({attic, "domain", Value()}));
  EXPECT_EQ(test::identifiers(*rows), "[A, (null), (null)]");
  EXPECT_EQ(rows->at(1)->children()->size(), 2U);
  EXPECT_THROW(store->setDomains(records({attic, "domain"})), InvalidArgument);
  EXPECT_EQ(outline(root), "root=");
  store->setDomains(records({attic, barn}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7 B=Barn 9]") << "and goes on with better ones";
}

// --- refreshing

TEST_F(EventStore, SentTheSameAnnouncesNothing) {
  showBoth();
  store->setDomains(records({domainRecord("A", "Attic 7"), domainRecord("B", "Barn 9")}));
  store->setEvents(records({three, eventOf("A", "a2", "Two"), one}));
  store->setEvents(records({one, two, three}));
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST_F(EventStore, SentDomainsInAnotherOrderRebuilds) {
  showBoth();
  store->setDomains(records({barn, attic}));
  EXPECT_EQ(notices(),
            (Lines{"orderedDomains", "root children replacement {0-1} old=[B, A] new=[B, A]"}));
  EXPECT_EQ(outline(root), "root=[B=Barn 9[b1=Three] A=Attic 7[a1=One a2=Two]]");
}

TEST_F(EventStore, KeepsTheRowsAndEventsThatStay) {
  showBoth();
  const auto rows = *root->children();
  const auto kept = rows[0]->childAtIndex(1);
  recorder->watch(rows[0]);
  store->setEvents(records({three, eventOf("A", "a3", "New"), two}));
  EXPECT_EQ(notices(), (Lines{"sortedEvents", "A children removal {0} old=[a1]",
                              "A children insertion {0} new=[a3]",
                              "root children replacement {0} old=[A] new=[A]"}));
  EXPECT_EQ(*root->children(), rows);
  EXPECT_EQ(rows[0]->childAtIndex(1), kept);
}

TEST_F(EventStore, PutsTheLevelOfDomainsInAndTakesItOut) {
  store->setEvents(records({one, two, three}));
  store->setDomains(records({attic}));
  (void)recorder->take();
  store->setDomains(records({attic, barn}));
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "root children removal {0-1} old=[a1, a2]",
                              "root children insertion {0-1} new=[A, B]"}));
  store->setDomains(records({barn}));
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "root children removal {0-1} old=[A, B]",
                              "root children insertion {0} new=[b1]"}));
}

TEST_F(EventStore, StoresAndAnnouncesDomainsBeforeTheTreeIsTouched) {
  showBoth();
  std::string seen;
  recorder->then = [&] {
    seen += std::to_string(store->orderedDomains().elements().size()) + outline(root) + "; ";
  };
  store->setDomains(records({barn}));
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "root children removal {0-1} old=[A, B]",
                              "root children insertion {0} new=[b1]"}));
  EXPECT_EQ(seen,
            "1root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]; 1root=; 1root=[b1=Three]; ");
}

TEST_F(EventStore, StoresAndAnnouncesEventsBeforeTheTreeIsTouched) {
  store->setDomains(records({attic}));
  store->setEvents(records({one}));
  (void)recorder->take();
  std::string seen;
  recorder->then = [&] {
    seen += std::to_string(store->sortedEvents().elements().size()) + outline(root) + "; ";
  };
  store->setEvents(records({two, one}));
  EXPECT_EQ(notices(), (Lines{"sortedEvents", "root children insertion {1} new=[a2]"}));
  EXPECT_EQ(seen, "2root=[a1=One]; 2root=[a1=One a2=Two]; ");
}

TEST_F(EventStore, KeepsEachInputWhenTheOtherComes) {
  showBoth();
  store->setDomains(records({barn}));
  EXPECT_EQ(store->sortedEvents(), records({one, three, two}));
  store->setEvents(records({}));
  EXPECT_EQ(store->orderedDomains(), records({barn}));
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "root children removal {0-1} old=[A, B]",
                              "root children insertion {0} new=[b1]", "sortedEvents",
                              "root children removal {0} old=[b1]"}));
}

TEST_F(EventStore, KeepsTheRootItHas) {
  for (const auto& domains : {records({attic}), records({attic, barn}), Value(), records({})}) {
    for (const auto& events : {records({one, two}), Value(), records({three})}) {
      store->setDomains(domains);
      store->setEvents(events);
      EXPECT_EQ(store->root(), root);
    }
  }
  EXPECT_FALSE(test::anyContains(recorder->take(), " root setting"));
}

// --- absent and bad input

TEST_F(EventStore, StoresAbsentDomainsAndEmptiesTheRoot) {
  showBoth();
  store->setDomains({});
  EXPECT_TRUE(store->orderedDomains().isAbsent());
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "root children removal {0-1} old=[A, B]"}));
  store->setEvents(records({one}));
  EXPECT_EQ(outline(root), "root=");
}

TEST_F(EventStore, StoresAbsentEventsAndKeepsTheRows) {
  showBoth();
  store->setEvents({});
  EXPECT_TRUE(store->sortedEvents().isAbsent());
  EXPECT_EQ(outline(root), "root=[A=Attic 7 B=Barn 9]");
  EXPECT_EQ(notices(),
            (Lines{"sortedEvents", "root children replacement {0-1} old=[A, B] new=[A, B]"}));
  store->setDomains(records({attic, barn, domainRecord("C", "Cave 1")}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7 B=Barn 9 C=Cave 1]");
  EXPECT_TRUE(store->sortedEvents().isAbsent());
}

TEST_F(EventStore, NeverTakesAnAbsentListForTheSame) {
  for (const Value& domains : {Value(), Value(), records({}), Value()}) {
    store->setDomains(domains);
    EXPECT_EQ(notices(), Lines{"orderedDomains"});
  }
  for (const Value& events : {Value(), Value(), records({}), Value()}) {
    store->setEvents(events);
    EXPECT_EQ(notices(), Lines{"sortedEvents"});
  }
}

TEST_F(EventStore, TakesArraysAndAbsentListsAlone) {
  showBoth();
  for (const Value& other : {Value("text"), Value::null(), one, Value(true), Value(root)}) {
    EXPECT_THROW(store->setDomains(other), InvalidArgument);
    EXPECT_THROW(store->setEvents(other), InvalidArgument);
    EXPECT_THROW(store->setValueForKey(other, "domains"), InvalidArgument);
    EXPECT_THROW(store->setValueForKey(other, "events"), InvalidArgument);
  }
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(store->orderedDomains(), records({attic, barn}));
  EXPECT_EQ(store->sortedEvents(), records({one, three, two}));
}

// --- keys

TEST_F(EventStore, TakesItsInputsByKeyAndDoesNotReadThemBack) {
  store->setValueForKey(records({barn, attic}), KRAVTWVEventStoreVexilKeyPathDomains);
  store->setValueForKey(records({two, one}), KRAVTWVEventsVexilKeyPathEvents);
  EXPECT_EQ(outline(root), "root=[B=Barn 9 A=Attic 7[a1=One a2=Two]]");
  EXPECT_THROW((void)store->valueForKey("domains"), platform::UndefinedKey);
  EXPECT_THROW((void)store->valueForKey("events"), platform::UndefinedKey);
  EXPECT_EQ(store->valueForKey("orderedDomains"), records({barn, attic}));
  EXPECT_EQ(store->valueForKey("sortedEvents"), records({one, two}));
  EXPECT_EQ(store->valueForKey("root").object(), root);
}

TEST_F(EventStore, AnnouncesWhatItHoldsAndNeverItsInputs) {
  store->setDomains(records({attic}));
  EXPECT_EQ(recorder->take(), Lines{"KRAVTWVEventStoreVexil orderedDomains setting old=[] new=[" +
                                    attic.description() + "]"});
  store->setValueForKey(records({three}), "events");
  EXPECT_EQ(recorder->take(), Lines{"KRAVTWVEventStoreVexil sortedEvents setting old=[] new=[" +
                                    three.description() + "]"});
}

TEST_F(EventStore, SettingWhatItHoldsLeavesTheTree) {
  showBoth();
  store->setOrderedDomains(records({barn}));
  store->setSortedEvents(records({three}));
  EXPECT_EQ(notices(), (Lines{"orderedDomains", "sortedEvents"}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]");
  // It is what is compared, and what the next rebuild takes.
  store->setDomains(records({barn}));
  store->setEvents(records({three}));
  EXPECT_EQ(recorder->take(), Lines{});
  store->setEvents(records({one, three}));
  EXPECT_EQ(outline(root), "root=[b1=Three]");
  store->setValueForKey(records({one}), "sortedEvents");
  store->setValueForKey(records({}), "orderedDomains");
  store->setDomains(records({attic}));
  EXPECT_EQ(outline(root), "root=[a1=One]");
}

TEST_F(EventStore, ShowsNothingOfWhatItWasMadeToHold) {
  store->setOrderedDomains("text");
  store->setSortedEvents(5);
  store->setEvents(records({one}));
  EXPECT_EQ(outline(root), "root=");
  store->setDomains(records({attic}));
  EXPECT_EQ(outline(root), "root=[a1=One]");
}

// --- roots and observers that get in the way

TEST_F(EventStore, WithoutARootStoresAllTheSame) {
  store->setRoot(nullptr);
  store->setDomains(records({attic}));
  store->setEvents(records({one}));
  EXPECT_EQ(outline(root), "root=");
  store->setRoot(test::plainItem("other"));
  store->setEvents(records({two, one}));
  EXPECT_EQ(outline(store->root()), "other[a1=One a2=Two]");
}

TEST_F(EventStore, SetAgainByAnObserverShowsWhatItHolds) {
  store->setDomains(records({attic}));
  recorder->then = [&] {
    recorder->then = nullptr;
    store->setEvents(records({two}));
  };
  store->setEvents(records({one}));
  EXPECT_EQ(store->sortedEvents(), records({two}));
  EXPECT_EQ(outline(root), "root=[a2=Two]");
  recorder->then = [&] {
    recorder->then = nullptr;
    store->setDomains(records({attic, barn}));
  };
  store->setDomains(records({}));
  EXPECT_EQ(store->orderedDomains(), records({attic, barn}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a2=Two] B=Barn 9]");
}

TEST_F(EventStore, ARaisingObserverOfAnInputKeepsTheTree) {
  showBoth();
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(store->setDomains(records({barn})), std::runtime_error);
  EXPECT_THROW(store->setEvents(records({one})), std::runtime_error);
  recorder->then = nullptr;
  EXPECT_EQ(store->orderedDomains(), records({barn}));
  EXPECT_EQ(store->sortedEvents(), records({one}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a1=One a2=Two] B=Barn 9[b1=Three]]");
  store->setDomains(records({attic}));
  EXPECT_EQ(outline(root), "root=[a1=One]") << "the next change makes up for it";
}

TEST_F(EventStore, ARaisingObserverOfTheTreeLeavesWhatWasDoneSoFar) {
  showBoth();
  recorder->unwatch(store, "orderedDomains");
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(store->setDomains(records({barn})), std::runtime_error);
  recorder->then = nullptr;
  EXPECT_EQ(outline(root), "root=") << "removed, and nothing inserted yet";
  store->setEvents(records({three}));
  EXPECT_EQ(outline(root), "root=[b1=Three]");
}

TEST_F(EventStore, TakesDomainsThatItWasMadeToHoldForEventsThatHaveNotChanged) {
  showBoth();
  store->setOrderedDomains(records({barn, attic}));
  store->setEvents(records({one, two, eventOf("B", "b1", "Three"), eventOf("B", "b2", "Two")}));
  EXPECT_EQ(outline(root), "root=[B=Barn 9[b1=Three b2=Two] A=Attic 7[a1=One a2=Two]]");
  store->setEvents(records({two, three}));
  EXPECT_EQ(outline(root), "root=[B=Barn 9[b1=Three] A=Attic 7[a2=Two]]");
}

TEST_F(EventStore, FindsOutEventsWithoutAnIdentifierBelowARowThatHasChanged) {
  store->setEvents(records({eventOf("A", {}, "One"), eventOf("A", "a2", "Two")}));
  store->setDomains(records({attic, barn}));
  EXPECT_THROW(store->setDomains(records({domainRecord("A", "Attic 8"), barn})), InvalidArgument);
}

/// Calls a function when it is destroyed.
class Farewell : public platform::Object {
 public:
  explicit Farewell(std::function<void()> action) : _action(std::move(action)) {}
  ~Farewell() override { _action(); }

 private:
  std::function<void()> _action;
};

TEST_F(EventStore, CanBeRefreshedByARecordThatGoes) {
  const Value ownDomain = Value::dictionary(
      {{kTWDomainUniqueID, "E"},
       {kTWDomainType, kTWDomainType_Engine},
       {"guest",
        Value(std::make_shared<Farewell>(
            [&store = store, many = records({one, two, three})] { store->setEvents(many); }))}});
  store->setEvents(records({three}));
  store->setDomains(records({ownDomain, attic, barn}));
  const std::string before = outline(root);
  EXPECT_EQ(before, "root=[A=Attic 7 B=Barn 9[b1=Three]]");
  {
    Value held = store->orderedDomains();
    store->setOrderedDomains(records({attic, barn}));
  }
  store->setEvents(records({three, two}));
  EXPECT_EQ(outline(root), "root=[A=Attic 7[a2=Two] B=Barn 9[b1=Three]]");
}

}  // namespace
