// SPDX-License-Identifier: Apache-2.0
// The collection without a rule of its own, and the flat list of events.
#include "tests/support/Property.h"
#include "tests/support/TreeRecorder.h"

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Error.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Value;
using test::eventRecord;
using test::ItemPointer;
using test::items;
using test::Lines;
using test::outline;
using test::plainItem;
using test::TreeRecorder;

static_assert(std::is_base_of_v<platform::OutlineViewDataSource, KRAVTWVItemsVexil>);
static_assert(std::is_base_of_v<KRAVTWVItemsVexil, KRAVTWVEventsVexil>);

Value records(std::vector<Value> all) {
  return Value::array(std::move(all));
}

// --- any collection

TEST(Items, BeginWithAGroupWithoutLabelOrChildren) {
  const KRAVTWVItemsVexil items;
  const auto root = items.root();
  ASSERT_NE(std::dynamic_pointer_cast<KRAVTWVGroupVexil>(root), nullptr);
  EXPECT_EQ(root->label(), Value(""));
  EXPECT_EQ(root->uniqueID(), Value("root"));
  EXPECT_TRUE(root->children()->empty());
}

TEST(Items, HaveARootEach) {
  EXPECT_NE(KRAVTWVItemsVexil().root(), KRAVTWVItemsVexil().root());
}

TEST(Items, PublishTheirKeys) {
  EXPECT_EQ(KRAVTWVItemsVexilKeyPathRoot, "root");
  EXPECT_EQ(KRAVTWVEventsVexilKeyPathEvents, "events");
}

TEST(Items, OwnTheirRoot) {
  auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const std::weak_ptr<KRAVTWVItemVexil> root = collection->root();
  EXPECT_FALSE(root.expired());
  collection.reset();
  EXPECT_TRUE(root.expired());
}

TEST(Items, AnnounceTheirRootAlsoWhenItIsTheSame) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const auto recorder = TreeRecorder::make();
  recorder->watch(collection, KRAVTWVItemsVexilKeyPathRoot);
  collection->setRoot(plainItem("other"));
  collection->setRoot(collection->root());
  collection->setRoot(nullptr);
  EXPECT_EQ(recorder->take(), (Lines{"KRAVTWVItemsVexil root setting old=root new=other",
                                     "KRAVTWVItemsVexil root setting old=other new=other",
                                     "KRAVTWVItemsVexil root setting old=other new=<null>"}));
}

TEST(Items, AreGivenARootByKey) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const auto other = plainItem("other");
  collection->setValueForKey(Value(other), "root");
  EXPECT_EQ(collection->root(), other);
  EXPECT_EQ(collection->valueForKey("root").object(), other);
  EXPECT_THROW(collection->setValueForKey("text", "root"), InvalidArgument);
  EXPECT_EQ(collection->root(), other);
  collection->setValueForKey(Value(), "root");
  EXPECT_EQ(collection->root(), nullptr);
}

TEST(Items, HandTheirRootTheVeryArray) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const auto root = collection->root();
  const auto a = plainItem("a");
  const auto b = plainItem("b");
  const auto recorder = TreeRecorder::of(root);
  collection->replaceRootChildren(items({b, a}));
  EXPECT_EQ(*root->children(), (KRAVTWVItemArray{b, a}));
  collection->replaceRootChildren(items({plainItem("b"), plainItem("a")}));
  collection->replaceRootChildren(nullptr);
  EXPECT_EQ(recorder->take(), (Lines{"root children insertion {0-1} new=[b, a]",
                                     "root children removal {0-1} old=[b, a]"}));
  EXPECT_EQ(collection->root(), root);
}

TEST(Items, WithoutARootReplaceNothing) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  collection->setRoot(nullptr);
  collection->replaceRootChildren(items({plainItem("a")}));
  EXPECT_EQ(collection->root(), nullptr);
}

TEST(Items, MergeIntoWhateverRootTheyHave) {
  const auto collection = std::make_shared<KRAVTWVItemsVexil>();
  const auto other = plainItem("other");
  collection->setRoot(other);
  collection->replaceRootChildren(items({plainItem("a")}));
  EXPECT_EQ(outline(other), "other[a]");
}

// --- the list of events

struct Events : ::testing::Test {
  Events() {
    recorder->watch(list, "sortedEvents");
    recorder->watch(list, "events");
    recorder->watch(list, "root");
    recorder->watch(root);
  }

  /// The lines since the last call, without those of "sortedEvents", which are long.
  Lines treeNotices() {
    Lines lines = recorder->take();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("KRAVTWVEventsVexil sortedEvents ");
    });
    return lines;
  }

  std::shared_ptr<KRAVTWVEventsVexil> list = std::make_shared<KRAVTWVEventsVexil>();
  ItemPointer root = list->root();
  std::shared_ptr<TreeRecorder> recorder = TreeRecorder::make();
  Value a = eventRecord("1", "A");
  Value b = eventRecord("2", "B");
  Value c = eventRecord("3", "C");
};

TEST_F(Events, BeginWithAnEmptySortedArray) {
  ASSERT_TRUE(list->sortedEvents().isArray());
  EXPECT_TRUE(list->sortedEvents().elements().empty());
  EXPECT_TRUE(root->children()->empty());
}

TEST_F(Events, AnEmptyArrayAtFirstChangesAndAnnouncesNothing) {
  list->setEvents(records({}));
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_TRUE(list->sortedEvents().isArray());
}

TEST_F(Events, AreSortedAndShownAsEventItemsInThatOrder) {
  list->setEvents(records({c, a, b}));
  EXPECT_EQ(list->sortedEvents(), records({a, b, c}));
  EXPECT_EQ(outline(root), "root=[1=A 2=B 3=C]");
  EXPECT_EQ(treeNotices(), Lines{"root children insertion {0-2} new=[1, 2, 3]"});
  for (const auto& item : *root->children()) {
    const KRAVTWVItemVexil& shown = *item;
    EXPECT_EQ(typeid(shown), typeid(KRAVTWVEventVexil));
  }
}

TEST_F(Events, InAnyOtherOrderAreTheSame) {
  list->setEvents(records({b, c, a}));
  (void)recorder->take();
  list->setEvents(records({c, b, a}));
  list->setEvents(records({a, b, c}));
  list->setEvents(records({eventRecord("2", "B"), eventRecord("1", "A"), eventRecord("3", "C")}));
  EXPECT_EQ(recorder->take(), Lines{});
}

TEST_F(Events, WithEqualNamesAreSortedByTheirIdentifiers) {
  list->setEvents(records({eventRecord("3", "Same"), eventRecord("1", "Same"),
                           eventRecord("0", "Tail"), eventRecord("2", "Same")}));
  EXPECT_EQ(outline(root), "root=[1=Same 2=Same 3=Same 0=Tail]");
}

TEST_F(Events, AreSortedByCharacterValueUpperCaseFirst) {
  list->setEvents(
      records({eventRecord("1", "alpha"), eventRecord("2", "Zeta"), eventRecord("3", "\u00e9tude"),
               eventRecord("4", "zeta"), eventRecord("5", "Alpha"), eventRecord("6", "")}));
  EXPECT_EQ(outline(root), "root=[6= 5=Alpha 2=Zeta 1=alpha 4=zeta 3=\u00e9tude]");
}

TEST_F(Events, AreSortedByNumbersWhereTheirNamesAre) {
  list->setEvents(records({eventRecord("1", 10), eventRecord("2", 9), eventRecord("3", 9.5)}));
  EXPECT_EQ(outline(root), "root=[2=9 3=9.5 1=10]");
}

TEST_F(Events, WithoutANameOrIdentifierComeFirst) {
  const Value nameless2 = eventRecord("2", {});
  const Value nameless1 = eventRecord("1", {});
  const Value empty = eventRecord("0", "");
  list->setEvents(records({a, empty, nameless2, nameless1}));
  EXPECT_EQ(list->sortedEvents(), records({nameless1, nameless2, empty, a}));
  EXPECT_EQ(test::identifiers(*root->children()), "[1, 2, 0, 1]");
}

TEST_F(Events, WithoutBothKeepTheirOrder) {
  const Value first = Value::dictionary({{"note", "first"}});
  const Value second = Value::dictionary({{"note", "second"}});
  const Value unnamed = eventRecord({}, "A");
  // The list sorts and stores them before the merge, which needs identifiers.
  EXPECT_THROW(list->setEvents(records({b, unnamed, second, first})), InvalidArgument);
  EXPECT_EQ(list->sortedEvents(), records({second, first, unnamed, b}));
  EXPECT_EQ(treeNotices(), Lines{});
}

TEST_F(Events, LeaveTheirArgumentAsItWas) {
  const Value events = records({c, a});
  list->setEvents(events);
  EXPECT_EQ(events, records({c, a}));
}

TEST_F(Events, AChangedFieldIsOneReplacementAtItsIndex) {
  list->setEvents(records({a, b, c}));
  const auto shown = *root->children();
  (void)recorder->take();
  const Value enabled = eventRecord("2", "B", true);
  list->setEvents(records({c, enabled, a}));
  EXPECT_EQ(treeNotices(), Lines{"root children replacement {1} old=[2] new=[2]"});
  EXPECT_EQ(list->sortedEvents(), records({a, enabled, c}));
  EXPECT_EQ(*root->children(), shown);
  EXPECT_TRUE(shown[1]->enabled());
}

TEST_F(Events, ARenamedEventReplacesAllWhosePositionsItMoves) {
  const Value d = eventRecord("4", "D");
  list->setEvents(records({a, b, c, d}));
  const auto shown = *root->children();
  (void)recorder->take();
  list->setEvents(records({a, eventRecord("2", "Cz"), c, d}));
  EXPECT_EQ(treeNotices(), Lines{"root children replacement {1-2} old=[3, 2] new=[3, 2]"});
  EXPECT_EQ(outline(root), "root=[1=A 3=C 2=Cz 4=D]");
  EXPECT_EQ(*root->children(), shown);
}

TEST_F(Events, TheRootIsAlwaysTheSame) {
  for (const auto& events :
       {records({a}), records({b, c}), records({}), Value(), records({a, b, c})}) {
    list->setEvents(events);
    EXPECT_EQ(list->root(), root);
  }
  EXPECT_FALSE(test::anyContains(recorder->take(), " root setting"));
}

TEST_F(Events, ThatVanishAreRemovedAndThatAppearInserted) {
  list->setEvents(records({a, b}));
  (void)recorder->take();
  list->setEvents(records({c, b}));
  EXPECT_EQ(treeNotices(),
            (Lines{"root children removal {0} old=[1]", "root children insertion {1} new=[3]"}));
}

TEST_F(Events, AreStoredAndAnnouncedBeforeTheTreeIsTouched) {
  list->setEvents(records({a}));
  (void)recorder->take();
  std::string seen;
  recorder->then = [&] {
    seen += std::to_string(list->sortedEvents().elements().size()) + " records, " +
            test::identifiers(*root->children()) + "; ";
  };
  list->setEvents(records({b, a}));
  EXPECT_EQ(seen, "2 records, [1]; 2 records, [1, 2]; ");
  const Lines notices = recorder->take();
  ASSERT_EQ(notices.size(), 2U);
  EXPECT_TRUE(notices[0].starts_with("KRAVTWVEventsVexil sortedEvents setting old=")) << notices[0];
}

TEST_F(Events, AreNeverAnnouncedThemselves) {
  list->setEvents(records({a, b}));
  list->setValueForKey(records({c}), KRAVTWVEventsVexilKeyPathEvents);
  EXPECT_FALSE(test::anyContains(recorder->take(), " events "));
}

TEST_F(Events, AreSetByKeyAndNotReadBack) {
  list->setValueForKey(records({b, a}), KRAVTWVEventsVexilKeyPathEvents);
  EXPECT_EQ(outline(root), "root=[1=A 2=B]");
  EXPECT_THROW((void)list->valueForKey(KRAVTWVEventsVexilKeyPathEvents), platform::UndefinedKey);
  EXPECT_EQ(list->valueForKey("sortedEvents"), records({a, b}));
  EXPECT_EQ(list->valueForKey("root").object(), root);
}

TEST_F(Events, AnAbsentListIsStoredAsAbsentAndEmptiesTheTree) {
  list->setEvents(records({a, b}));
  (void)recorder->take();
  list->setEvents({});
  EXPECT_TRUE(list->sortedEvents().isAbsent());
  EXPECT_EQ(treeNotices(), Lines{"root children removal {0-1} old=[1, 2]"});
}

TEST_F(Events, AnAbsentListIsNeverTheSame) {
  const std::string announced = "KRAVTWVEventsVexil sortedEvents setting ";
  list->setEvents({});
  EXPECT_EQ(recorder->take(), Lines{announced + "old=[] new=<null>"});
  list->setEvents({});
  EXPECT_EQ(recorder->take(), Lines{announced + "old=<null> new=<null>"});
  list->setEvents(records({}));
  EXPECT_EQ(recorder->take(), Lines{announced + "old=<null> new=[]"});
}

TEST_F(Events, SettingTheSortedArrayLeavesTheTree) {
  list->setSortedEvents(records({b, a}));
  EXPECT_EQ(recorder->take().size(), 1U);
  EXPECT_EQ(list->sortedEvents(), records({b, a}));
  EXPECT_TRUE(root->children()->empty());
  // What is compared is what is held.
  list->setSortedEvents(records({a, b}));
  list->setEvents(records({b, a}));
  EXPECT_TRUE(root->children()->empty());
  list->setValueForKey(records({}), "sortedEvents");
  list->setEvents(records({b, a}));
  EXPECT_EQ(outline(root), "root=[1=A 2=B]");
}

TEST_F(Events, WithoutARootAreStoredAllTheSame) {
  list->setRoot(nullptr);
  list->setEvents(records({b, a}));
  EXPECT_EQ(list->sortedEvents(), records({a, b}));
}

TEST_F(Events, GoToARootThatTheHostHasSet) {
  const auto other = plainItem("other");
  list->setRoot(other);
  list->setEvents(records({a}));
  EXPECT_EQ(outline(other), "other[1=A]");
  EXPECT_TRUE(root->children()->empty());
}

TEST_F(Events, WithOneIdentifierTwiceBreakTheNextMerge) {
  list->setEvents(records({a, eventRecord("1", "Z")}));
  EXPECT_EQ(outline(root), "root=[1=A 1=Z]");
  EXPECT_THROW(list->setEvents(records({a})), platform::RangeError);
  EXPECT_EQ(list->sortedEvents(), records({a}));
}

TEST_F(Events, AreAnArrayOrAbsent) {
  list->setEvents(records({a}));
  (void)recorder->take();
  EXPECT_THROW(list->setEvents("text"), InvalidArgument);
  EXPECT_THROW(list->setEvents(a), InvalidArgument);
  EXPECT_EQ(recorder->take(), Lines{});
  EXPECT_EQ(list->sortedEvents(), records({a}));
}

TEST_F(Events, SetAgainByAnObserverAreStoredLastAndShownFirst) {
  recorder->then = [&] {
    recorder->then = nullptr;
    list->setEvents(records({c}));
  };
  list->setEvents(records({a, b}));
  // The outer call goes on with the list that it has sorted.
  EXPECT_EQ(list->sortedEvents(), records({c}));
  EXPECT_EQ(outline(root), "root=[1=A 2=B]");
}

TEST_F(Events, ARaisingObserverOfTheArrayKeepsTheTree) {
  recorder->then = [] { throw std::runtime_error("refused"); };
  EXPECT_THROW(list->setEvents(records({a})), std::runtime_error);
  EXPECT_EQ(list->sortedEvents(), records({a}));
  EXPECT_TRUE(root->children()->empty());
}

PROPERTY(EventList, ShowsOneItemARecordInTheOrderOfNamesAndIdentifiers, ()) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  const auto root = list->root();
  for (int refresh = 0; refresh < 4; ++refresh) {
    std::vector<std::pair<std::string, std::string>> expected;  // name and identifier
    std::set<std::string> identifiers;
    for (const int drawn : *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 40))) {
      if (identifiers.insert(std::to_string(drawn)).second) {
        const char name[] = {static_cast<char>("AaBb"[*rc::gen::inRange(0, 4)]), '\0'};
        expected.emplace_back(name, std::to_string(drawn));
      }
    }
    std::vector<Value> given;
    for (const auto& [name, identifier] : expected) {
      given.push_back(eventRecord(identifier, name));
    }
    list->setEvents(records(std::move(given)));
    std::ranges::sort(expected);
    const auto shown = *root->children();
    const auto stored = list->sortedEvents();
    RC_ASSERT(shown.size() == expected.size());
    RC_ASSERT(stored.elements().size() == expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      RC_ASSERT(shown[i]->label() == Value(expected[i].first));
      RC_ASSERT(shown[i]->uniqueID() == Value(expected[i].second));
      RC_ASSERT(shown[i]->representedObject() == stored.elements()[i]);
    }
  }
}

// As a number it has the hash 0.
TEST_F(Events, OfTheIdentifierZeroComeAndGo) {
  const auto event = [](int identifier) {
    return eventRecord(identifier, "name " + std::to_string(identifier));
  };
  list->setEvents(records({event(0), event(1), event(2)}));
  list->setEvents(records({event(2), event(1)}));
  list->setEvents(records({event(2), event(0), event(1)}));
  list->setEvents(records({event(2), event(3), event(0)}));
  EXPECT_EQ(outline(list->root()), "root=[0=name 0 2=name 2 3=name 3]");
}

TEST_F(Events, ThatAreObservedAnnounceTheirNewRecords) {
  list->setEvents(records({eventRecord(1, "A"), eventRecord(2, "B")}));
  const ItemPointer second = (*root->children())[1];
  (void)recorder->take();
  recorder->watch(second, "enabled");
  list->setEvents(records({eventRecord(1, "A", true), eventRecord(2, "B", true)}));
  EXPECT_EQ(treeNotices(), (Lines{"2 enabled setting old=false new=true",
                                  "root children replacement {0-1} old=[1, 2] new=[1, 2]"}));
}

/// Refreshes the list each time it is compared. Throws when it is hashed.
class Busybody : public platform::Object {
 public:
  Busybody(std::weak_ptr<KRAVTWVEventsVexil> list, Value events)
      : _list(std::move(list)), _events(std::move(events)) {}
  [[nodiscard]] bool isEqual(const platform::Object& other) const override {
    if (const auto list = _list.lock()) {
      list->setEvents(_events);
    }
    return this == &other;
  }
  [[nodiscard]] std::size_t hash() const override { throw std::runtime_error("not to be hashed"); }

 private:
  std::weak_ptr<KRAVTWVEventsVexil> _list;
  Value _events;
};

TEST_F(Events, CanBeRefreshedByWhatARecordRefersTo) {
  const auto event = [&](int identifier, const Value& guest) {
    return Value::dictionary({{kTWEventUniqueID, identifier},
                              {kTWEventName, "name " + std::to_string(identifier)},
                              {"guest", guest}});
  };
  const auto guest = [&] {
    return Value(std::make_shared<Busybody>(list, records({event(7, {}), event(8, {})})));
  };
  list->setEvents(records({event(1, {}), event(2, guest()), event(3, {}), event(4, {})}));
  list->setEvents(records({event(4, {}), event(1, {}), event(2, guest()), event(3, {})}));
  EXPECT_EQ(list->sortedEvents().elements().size(), 4U);
  list->setEvents(records({event(3, {}), event(1, {})}));
  EXPECT_EQ(outline(root), "root=[1=name 1 3=name 3]");
}

TEST_F(Events, WhoseIdentifiersAreObjectsAreNotHashedToBeOrdered) {
  const auto event = [&](const Value& identifier, const char* name) {
    return eventRecord(identifier, name);
  };
  const Value odd(std::make_shared<Busybody>(std::weak_ptr<KRAVTWVEventsVexil>(), Value()));
  const Value events = records({event(1, "A"), event(odd, "B"), event(3, "C")});
  list->setSortedEvents(events);
  list->setEvents(records({event(3, "C"), event(odd, "B"), event(1, "A")}));
  EXPECT_EQ(list->sortedEvents(), events);
}

/// Each comparison takes the next letter of `answers`: "y" for equal, "n" for unequal.
struct Fickle : platform::Object {
  [[nodiscard]] bool isEqual(const platform::Object& /*other*/) const override {
    const bool answer = answers.at(0) == 'y';
    answers.erase(0, 1);
    return answer;
  }
  [[nodiscard]] std::size_t hash() const override { return 1; }
  static inline std::string answers;
};

TEST_F(Events, AskWhatARecordRefersToOnceForTheListAndOnceForTheTree) {
  const auto refresh = [&](const char* answers, int revision) {
    const Value guest(std::make_shared<Fickle>());
    Fickle::answers = answers;
    list->setEvents(records(
        {Value::dictionary({{kTWEventUniqueID, 1}, {kTWEventName, "A"}, {"guest", guest}}),
         Value::dictionary({{kTWEventUniqueID, 2}, {kTWEventName, "B"}, {"note", revision}})}));
    EXPECT_EQ(Fickle::answers, "");
    return treeNotices();
  };
  (void)refresh("", 1);
  EXPECT_EQ(refresh("yn", 2), Lines{"root children replacement {0-1} old=[1, 2] new=[1, 2]"});
  EXPECT_EQ(refresh("ny", 3), Lines{"root children replacement {1} old=[2] new=[2]"});
}

}  // namespace
