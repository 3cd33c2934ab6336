// SPDX-License-Identifier: Apache-2.0
// What every kind of item has in common: one body for all of them.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <functional>
#include <set>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::ItemPointer;
using test::Lines;
using test::TreeRecorder;
using Keys = std::set<std::string>;

const Keys ofEveryItem{"uniqueID", "label", "path", "representedEvent"};

Keys with(const std::string& key) {
  Keys keys = ofEveryItem;
  keys.insert(key);
  return keys;
}

std::shared_ptr<platform::NetService> service() {
  return std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local.");
}

/// A kind, an item of it, and what is to be seen of that item.
struct Kind {
  std::string name;
  std::function<ItemPointer()> make;
  std::function<ItemPointer(Value)> represent;
  Value uniqueID;
  Value label;
  bool storesLabel;
  bool isAlwaysGroup;
  bool supportsEnabled;
  bool answersRepresentedEvent;
  Keys affected;
};

template <class Class>
ItemPointer representing(Value object) {
  const std::shared_ptr<Class> item = Class::itemWithRepresentedObject(std::move(object));
  return item;
}

const std::vector<Kind>& kinds() {
  using Group = KRAVTWVGroupVexil;
  using Event = KRAVTWVEventVexil;
  using OnDemand = KRAVTWVOnDemandVexil;
  using Domain = KRAVTWVDomainVexil;
  using Queued = KRAVTWVQueuedTriggerVexil;
  using Active = KRAVTWVActiveEventVexil;
  using NetDomain = KRAVTWVNetDomainVexil;
  using NetService = KRAVTWVNetServiceVexil;
  const auto event = [] { return test::eventRecord("e1", "Backup", true); };
  static const std::vector<Kind> all{
      {"Group", [] { return Group::itemWithLabelUniqueID("Label", "g1"); }, representing<Group>,
       "g1", "Label", true, true, false, false, ofEveryItem},
      {"Event", [=] { return Event::itemWithEvent(event()); }, representing<Event>, "e1", "Backup",
       false, false, true, true, with("enabled")},
      {"OnDemand", [=] { return OnDemand::itemWithEvent(event()); }, representing<OnDemand>, "e1",
       "Backup", false, false, false, true, with("enabled")},
      {"Domain", [] { return Domain::itemWithDomain(test::domainRecord("d1", "Office")); },
       representing<Domain>, "d1", "Office", false, true, false, false, ofEveryItem},
      {"QueuedTrigger",
       [=] {
         return Queued::itemWithQueuedTrigger(
             test::queuedRecord("t1", event(), test::dateRecord(platform::Date{86400})));
       },
       representing<Queued>, "t1", "Backup", false, false, false, true, with("triggerDate")},
      {"ActiveEvent",
       [=] { return Active::itemWithActiveEvent(test::activeRecord("a1", event(), "waiting")); },
       representing<Active>, "a1", "Backup", false, false, false, true, with("activity")},
      {"NetDomain", [] { return NetDomain::itemWithNetDomain("local."); }, representing<NetDomain>,
       "local.", "local.", true, true, false, false, ofEveryItem},
      {"NetService", [] { return NetService::itemWithNetService(service()); },
       representing<NetService>, "local.:_ipp._tcp.:Office", "Office", false, false, false, false,
       ofEveryItem},
  };
  return all;
}

struct EveryKind : testing::TestWithParam<std::size_t> {
  const Kind& kind = kinds()[GetParam()];
  ItemPointer item = kind.make();
};

INSTANTIATE_TEST_SUITE_P(Kinds, EveryKind, testing::Range(std::size_t{0}, std::size_t{8}),
                         [](const auto& tested) { return kinds()[tested.param].name; });

TEST_P(EveryKind, IsMadeByItsFactoryAsItsOwnClass) {
  EXPECT_EQ(item->className(), "KRAVTWV" + kind.name + "Vexil");
  EXPECT_EQ(kind.represent("x")->className(), item->className());
}

TEST_P(EveryKind, StartsWithNoChildrenAndNoParent) {
  ASSERT_NE(item->children(), nullptr);
  EXPECT_TRUE(item->children()->empty());
  EXPECT_EQ(item->parent(), nullptr);
}

TEST_P(EveryKind, HasItsIdentifierAndLabel) {
  EXPECT_EQ(item->uniqueID(), kind.uniqueID);
  EXPECT_EQ(item->label(), kind.label);
  EXPECT_EQ(item->valueForKey("uniqueID"), kind.uniqueID);
  EXPECT_EQ(item->valueForKey("label"), kind.label);
  EXPECT_TRUE(item->description().ends_with("{ " + kind.uniqueID.displayText() + ", " +
                                            kind.label.displayText() + " }"));
}

TEST_P(EveryKind, ReadsADerivedIdentifierAndLabelWhateverIsStored) {
  item->setUniqueID("stored");
  item->setLabel("Stored");
  EXPECT_EQ(item->uniqueID(), kind.storesLabel ? Value("stored") : kind.uniqueID);
  EXPECT_EQ(item->label(), kind.storesLabel ? Value("Stored") : kind.label);
}

TEST_P(EveryKind, AnnouncesItsSettersAlsoWhereTheyHaveNoEffect) {
  const auto notices = TreeRecorder::of(item, {"label"});
  item->setLabel("Stored");
  const Value label = kind.storesLabel ? Value("Stored") : kind.label;
  EXPECT_EQ(notices->take(), Lines{kind.uniqueID.displayText() + " label setting old=" +
                                   kind.label.description() + " new=" + label.description()});
}

TEST_P(EveryKind, IsAGroupByItsKindOrByItsChildren) {
  EXPECT_EQ(item->isGroup(), kind.isAlwaysGroup);
  EXPECT_FALSE(item->isExpandable());
  item->addChild(test::plainItem("child"));
  EXPECT_TRUE(item->isGroup());
  EXPECT_TRUE(item->isExpandable());
  item->setChildren(nullptr);
  EXPECT_EQ(item->isGroup(), kind.isAlwaysGroup);
}

TEST_P(EveryKind, OffersASwitchOrNot) {
  EXPECT_EQ(item->supportsEnabled(), kind.supportsEnabled);
  EXPECT_EQ(item->valueForKey("supportsEnabled").boolean(), kind.supportsEnabled);
}

TEST_P(EveryKind, AnswersTheRepresentedEventOrNot) {
  const auto event = std::dynamic_pointer_cast<KRAVTWVEventRepresenting>(item);
  EXPECT_EQ(event != nullptr, kind.answersRepresentedEvent);
  if (event) {
    EXPECT_EQ(event->representedEvent()[kTWEventUniqueID], Value("e1"));
    EXPECT_EQ(item->valueForKey("representedEvent"), event->representedEvent());
  } else {
    EXPECT_THROW((void)item->valueForKey("representedEvent"), platform::UndefinedKey);
  }
}

TEST_P(EveryKind, AddsItsKeysToThoseThatFollowFromTheRepresentedObject) {
  EXPECT_EQ(item->keyPathsForValuesAffectedByRepresentedObject(), kind.affected);
  for (const char* key : {"uniqueID", "label", "path", "representedEvent", "enabled", "triggerDate",
                          "activity", "domain", "netService", "supportsEnabled"}) {
    EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey(key),
              kind.affected.contains(key) ? Keys{"representedObject"} : Keys{})
        << key;
  }
}

TEST_P(EveryKind, KeepsTheDependenciesOfGroupAndExpandable) {
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isGroup"), Keys{"children"});
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isExpandable"), Keys{"children"});
}

TEST_P(EveryKind, EqualsAnotherOfItsKindAndHashesAlike) {
  const auto other = kind.make();
  EXPECT_TRUE(item->isEqual(*other));
  EXPECT_EQ(item->hash(), other->hash());
  EXPECT_FALSE(item->isEqual(*kind.represent("another")));
}

TEST_P(EveryKind, IsEqualToOtherKindsOnlyFromItsBaseClasses) {
  const auto represent = [](const Kind& other) { return other.represent("x"); };
  const auto left = represent(kind);
  EXPECT_TRUE(test::plainItem("x")->isEqual(*left));
  EXPECT_FALSE(left->isEqual(*test::plainItem("x")));
  for (const Kind& other : kinds()) {
    const bool isBase = (kind.name == "Event" && other.name == "OnDemand") ||
                        (kind.name == "Group" && other.name == "NetDomain");
    EXPECT_EQ(left->isEqual(*represent(other)), kind.name == other.name || isBase) << other.name;
  }
}

TEST_P(EveryKind, TakesAnyObjectWithoutComplaint) {
  const std::vector<Value> odd{{},
                               Value::null(),
                               "text",
                               7,
                               Value::array({Value::dictionary({{kTWEventName, "x"}})}),
                               Value::dictionary({{kTWEventName, Value::null()},
                                                  {kTWQueuedTriggerEvent, 5},
                                                  {kTWQueuedTriggerTrigger, Value::array({1})},
                                                  {kTWActiveEventEvent, "text"},
                                                  {kTWEventEnabled, Value::array({true})}}),
                               service(),
                               test::plainItem("x")};
  for (const Value& object : odd) {
    const auto made = kind.represent(object);
    EXPECT_EQ(made->representedObject(), object);
    EXPECT_FALSE(made->enabled());
    EXPECT_EQ(made->supportsEnabled(), kind.supportsEnabled);
    EXPECT_NO_THROW((void)made->uniqueID());
    EXPECT_NO_THROW((void)made->label());
    EXPECT_NO_THROW((void)made->description());
    for (const std::string& key : kind.affected) {
      if (key != "path" && (key != "representedEvent" || kind.answersRepresentedEvent)) {
        EXPECT_NO_THROW((void)made->valueForKey(key)) << key;
      }
    }
  }
}

}  // namespace
