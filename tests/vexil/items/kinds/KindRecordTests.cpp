// SPDX-License-Identifier: Apache-2.0
// What each kind of item reads from its record, its service or its label.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <limits>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::activeRecord;
using test::dateRecord;
using test::eventRecord;
using test::items;
using test::Lines;
using test::queuedRecord;
using test::TreeRecorder;

// --- group

TEST(GroupItem, RepresentsItsIdentifier) {
  const Value identifier("an identifier that is too long to stand in the value itself");
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("Running", identifier);
  EXPECT_EQ(group->label(), Value("Running"));
  EXPECT_TRUE(group->uniqueID().sharesStorageWith(identifier));
  EXPECT_TRUE(group->representedObject().sharesStorageWith(identifier));
}

TEST(GroupItem, StoresItsIdentifierApartFromWhatItRepresents) {
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("Running", "active");
  group->setRepresentedObject("other");
  EXPECT_EQ(group->uniqueID(), Value("active"));
  EXPECT_EQ(group->label(), Value("Running"));
}

TEST(GroupItem, MayHaveNeitherLabelNorIdentifier) {
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID({}, {});
  EXPECT_TRUE(group->label().isAbsent());
  EXPECT_TRUE(group->uniqueID().isAbsent());
  EXPECT_TRUE(group->representedObject().isAbsent());
  EXPECT_TRUE(group->isGroup());
}

TEST(GroupItem, MadeWithAnObjectAloneHasNoIdentifierOrLabel) {
  const auto group = KRAVTWVGroupVexil::itemWithRepresentedObject("x");
  EXPECT_EQ(group->representedObject(), Value("x"));
  EXPECT_TRUE(group->uniqueID().isAbsent());
  EXPECT_TRUE(group->label().isAbsent());
}

TEST(GroupItem, IsAGroupWithoutChildrenButNotExpandable) {
  const auto group = KRAVTWVGroupVexil::itemWithLabelUniqueID("Running", "active");
  EXPECT_TRUE(group->isGroup());
  EXPECT_FALSE(group->isExpandable());
}

// --- event

TEST(EventItem, ReadsItsRecord) {
  const Value record = eventRecord("e1", "Backup", true);
  const auto event = KRAVTWVEventVexil::itemWithEvent(record);
  EXPECT_EQ(event->uniqueID(), Value("e1"));
  EXPECT_EQ(event->label(), Value("Backup"));
  EXPECT_TRUE(event->enabled());
  EXPECT_TRUE(event->representedEvent().sharesStorageWith(record));
  EXPECT_TRUE(event->representedObject().sharesStorageWith(record));
}

TEST(EventItem, WithoutTheEnabledKeyIsDisabledButOffersTheSwitch) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(eventRecord("e1", "Backup"));
  EXPECT_FALSE(event->enabled());
  EXPECT_TRUE(event->supportsEnabled());
}

TEST(EventItem, ReadsEnabledAsABoolean) {
  const auto enabled = [](const Value& value) {
    return KRAVTWVEventVexil::itemWithEvent(eventRecord("e1", "Backup", value))->enabled();
  };
  for (const Value& value : {Value(true), Value(1), Value(-1), Value(0.5), Value(UINT64_MAX),
                             Value(std::numeric_limits<double>::quiet_NaN())}) {
    EXPECT_TRUE(enabled(value)) << value.description();
  }
  for (const Value& value :
       {Value(false), Value(0), Value(0.0), Value(-0.0), Value(), Value::null(), Value("yes"),
        Value("1"), Value::array({1}), Value(platform::Date{1})}) {
    EXPECT_FALSE(enabled(value)) << value.description();
  }
}

TEST(EventItem, OfARecordThatLacksKeysHasNeitherIdentifierNorLabel) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(Value::dictionary({}));
  EXPECT_TRUE(event->uniqueID().isAbsent());
  EXPECT_TRUE(event->label().isAbsent());
  EXPECT_FALSE(event->enabled());
  EXPECT_EQ(event->representedEvent(), Value::dictionary({}));
}

TEST(EventItem, HandsOnWhateverStandsUnderItsKeys) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(eventRecord(7, Value::null()));
  EXPECT_EQ(event->uniqueID(), Value(7));
  EXPECT_TRUE(event->label().isNull());
}

TEST(EventItem, WithChildrenIsAGroupByTheirRule) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(eventRecord("e1", "Backup"));
  EXPECT_FALSE(event->isGroup());
  event->addChild(test::plainItem("child"));
  EXPECT_TRUE(event->isGroup());
}

TEST(EventItem, ReadsItsRecordAnewEachTime) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(eventRecord("e1", "Backup", true));
  event->setRepresentedObject(eventRecord("e2", "Restore", false));
  EXPECT_EQ(event->uniqueID(), Value("e2"));
  EXPECT_EQ(event->label(), Value("Restore"));
  EXPECT_FALSE(event->enabled());
}

TEST(EventItem, ToldOfANewRecordTellsOfLabelEnabledAndEvent) {
  const auto event = KRAVTWVEventVexil::itemWithEvent(eventRecord("e1", "Backup", true));
  const auto values =
      TreeRecorder::of(event, {"uniqueID", "label", "enabled", "path", "supportsEnabled"});
  const auto record =
      TreeRecorder::of(event, {"representedEvent"}, platform::ObservingOptions::none);
  event->setRepresentedObject(eventRecord("e1", "Restore"));
  EXPECT_EQ(values->take(), (Lines{
                                "e1 uniqueID setting old=\"e1\" new=\"e1\"",
                                "e1 label setting old=\"Backup\" new=\"Restore\"",
                                "e1 enabled setting old=true new=false",
                                "e1 path setting old=\"/e1\" new=\"/e1\"",
                            }));
  EXPECT_EQ(record->take(), Lines{"e1 representedEvent setting"});
}

// --- on-demand event

TEST(OnDemandItem, ReadsEnabledAndOffersNoSwitch) {
  const auto item = KRAVTWVOnDemandVexil::itemWithEvent(eventRecord("e1", "Backup", true));
  EXPECT_TRUE(item->enabled());
  EXPECT_FALSE(item->supportsEnabled());
  EXPECT_FALSE(KRAVTWVOnDemandVexil::itemWithEvent(eventRecord("e1", "Backup"))->enabled());
}

TEST(OnDemandItem, IsWhatTheEventFactoryMakesOfIt) {
  const std::shared_ptr<KRAVTWVOnDemandVexil> item =
      KRAVTWVOnDemandVexil::itemWithEvent(eventRecord("e1", "Backup"));
  EXPECT_EQ(item->className(), "KRAVTWVOnDemandVexil");
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVEventVexil>(item), nullptr);
}

// --- queued trigger

TEST(QueuedTriggerItem, ReadsItsRecordAndTheRecordsInIt) {
  const Value event = eventRecord("e1", "Backup", true);
  const auto item = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
      queuedRecord("t1", event, dateRecord(platform::Date{0.25})));
  EXPECT_EQ(item->uniqueID(), Value("t1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_EQ(item->triggerDate(), Value(platform::Date{0.25}));
  EXPECT_EQ(item->valueForKey("triggerDate"), Value(platform::Date{0.25}));
  EXPECT_TRUE(item->representedEvent().sharesStorageWith(event));
  EXPECT_FALSE(item->enabled()) << "the event's flag is not the trigger's";
}

TEST(QueuedTriggerItem, WithoutAnEventHasNoLabelButItsOwnIdentifierAndDate) {
  const auto item = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
      queuedRecord("t1", {}, dateRecord(platform::Date{1})));
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_TRUE(item->representedEvent().isAbsent());
  EXPECT_EQ(item->uniqueID(), Value("t1"));
  EXPECT_EQ(item->triggerDate(), Value(platform::Date{1}));
}

TEST(QueuedTriggerItem, WithoutATriggerRecordHasNoDate) {
  const Value event = eventRecord("e1", "Backup");
  for (const Value& sub : {Value(), Value::dictionary({}), Value(5), Value::null()}) {
    const auto item =
        KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(queuedRecord("t1", event, sub));
    EXPECT_TRUE(item->triggerDate().isAbsent()) << sub.description();
    EXPECT_EQ(item->label(), Value("Backup"));
  }
}

TEST(QueuedTriggerItem, TakesTheNullMarkerForNothingButItself) {
  const auto item = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
      queuedRecord("t1", Value::null(), dateRecord(Value::null())));
  EXPECT_TRUE(item->representedEvent().isNull());
  EXPECT_TRUE(item->triggerDate().isNull());
  EXPECT_TRUE(item->label().isAbsent());
}

TEST(QueuedTriggerItem, HandsOnADateThatIsNone) {
  const auto item = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
      queuedRecord("t1", {}, dateRecord("tomorrow")));
  EXPECT_EQ(item->triggerDate(), Value("tomorrow"));
}

TEST(QueuedTriggerItem, TellsOfItsDateWithANewRecord) {
  const auto item =
      KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(queuedRecord("t1", {}, dateRecord("first")));
  const auto notices = TreeRecorder::of(item, {"triggerDate", "label", "representedEvent"});
  item->setRepresentedObject(queuedRecord("t1", {}, {}));
  EXPECT_EQ(notices->take(), (Lines{
                                 "t1 triggerDate setting old=\"first\" new=<null>",
                                 "t1 label setting old=<null> new=<null>",
                                 "t1 representedEvent setting old=<null> new=<null>",
                             }));
}

// --- active event

TEST(ActiveEventItem, ReadsItsRecordAndTheEventInIt) {
  const Value event = eventRecord("e1", "Backup", true);
  const Value activity = Value::array({"an", Value::null(), 3});
  const auto item =
      KRAVTWVActiveEventVexil::itemWithActiveEvent(activeRecord("a1", event, activity));
  EXPECT_EQ(item->uniqueID(), Value("a1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_TRUE(item->representedEvent().sharesStorageWith(event));
  EXPECT_TRUE(item->activity().sharesStorageWith(activity)) << "handed on unchanged";
  EXPECT_TRUE(item->valueForKey("activity").sharesStorageWith(activity));
  EXPECT_FALSE(item->enabled());
  EXPECT_FALSE(item->supportsEnabled());
}

TEST(ActiveEventItem, OfARecordThatLacksKeysHasWhatIsThere) {
  const auto item = KRAVTWVActiveEventVexil::itemWithActiveEvent(activeRecord("a1", {}));
  EXPECT_EQ(item->uniqueID(), Value("a1"));
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_TRUE(item->representedEvent().isAbsent());
  EXPECT_TRUE(item->activity().isAbsent());
}

TEST(ActiveEventItem, TakesTheNullMarkerForNothingButItself) {
  const auto item = KRAVTWVActiveEventVexil::itemWithActiveEvent(
      activeRecord(Value::null(), Value::null(), Value::null()));
  EXPECT_TRUE(item->uniqueID().isNull());
  EXPECT_TRUE(item->representedEvent().isNull());
  EXPECT_TRUE(item->activity().isNull());
  EXPECT_TRUE(item->label().isAbsent());
}

TEST(ActiveEventItem, TellsOfItsActivityWithANewRecord) {
  const auto record = [](const char* activity) { return activeRecord("a1", {}, activity); };
  const auto item = KRAVTWVActiveEventVexil::itemWithActiveEvent(record("waiting"));
  const auto notices = TreeRecorder::of(item, {"activity", "uniqueID", "representedEvent"});
  item->setRepresentedObject(record("running"));
  EXPECT_EQ(notices->take(), (Lines{
                                 "a1 activity setting old=\"waiting\" new=\"running\"",
                                 "a1 uniqueID setting old=\"a1\" new=\"a1\"",
                                 "a1 representedEvent setting old=<null> new=<null>",
                             }));
}

// --- network domain

TEST(NetDomainItem, HasItsNameForLabelIdentifierAndRepresentedObject) {
  const Value name("a-domain-with-a-long-name.example.org.");
  const auto item = KRAVTWVNetDomainVexil::itemWithNetDomain(name);
  EXPECT_TRUE(item->label().sharesStorageWith(name));
  EXPECT_TRUE(item->uniqueID().sharesStorageWith(name));
  EXPECT_TRUE(item->representedObject().sharesStorageWith(name));
  EXPECT_EQ(KRAVTWVNetDomainVexil::itemWithNetDomain("local.")->label(), Value("local."));
}

TEST(NetDomainItem, IsAGroupOfItsOwnKind) {
  const auto item = KRAVTWVNetDomainVexil::itemWithNetDomain("local.");
  EXPECT_TRUE(item->isGroup());
  EXPECT_NE(std::dynamic_pointer_cast<KRAVTWVGroupVexil>(
                std::static_pointer_cast<KRAVTWVItemVexil>(item)),
            nullptr);
  EXPECT_EQ(KRAVTWVNetDomainVexil::itemWithLabelUniqueID("Label", "id")->className(),
            "KRAVTWVNetDomainVexil");
}

// --- network service

std::shared_ptr<platform::NetService> service(const Value& name, const Value& type,
                                              const Value& domain) {
  return std::make_shared<platform::NetService>(name, type, domain);
}

TEST(NetServiceItem, IsIdentifiedByDomainTypeAndName) {
  const auto office = service("Office", "_ipp._tcp.", "local.");
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(office);
  EXPECT_EQ(item->uniqueID(), Value("local.:_ipp._tcp.:Office"));
  EXPECT_EQ(item->label(), Value("Office"));
  EXPECT_EQ(item->domain(), Value("local."));
  EXPECT_EQ(item->netService(), office);
  EXPECT_EQ(item->representedObject().object(), office);
  EXPECT_EQ(item->valueForKey("domain"), Value("local."));
  EXPECT_EQ(item->valueForKey("netService").object(), office);
}

TEST(NetServiceItem, OfEqualValuesHasTheSameIdentifierAndIsMergedAsOne) {
  const auto shown = KRAVTWVNetServiceVexil::itemWithNetService(service("a", "b", "c"));
  const auto fresh = KRAVTWVNetServiceVexil::itemWithNetService(service("a", "b", "c"));
  EXPECT_EQ(shown->uniqueID(), fresh->uniqueID());
  EXPECT_TRUE(shown->isEqual(*fresh));
  const auto root = test::plainItem("root", {shown});
  const auto notices = TreeRecorder::of(root, {"children"});
  root->replaceChildren(items({fresh}));
  EXPECT_EQ(root->childAtIndex(0), shown);
  EXPECT_EQ(notices->take(), Lines{});
}

TEST(NetServiceItem, PrintsWhatTheServiceHasNotAsNull) {
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(service({}, "_ipp._tcp.", {}));
  EXPECT_EQ(item->uniqueID(), Value("(null):_ipp._tcp.:(null)"));
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_TRUE(item->domain().isAbsent());
}

TEST(NetServiceItem, WithoutAServiceReadsAsOneWithoutValues) {
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(nullptr);
  EXPECT_TRUE(item->representedObject().isAbsent());
  EXPECT_EQ(item->netService(), nullptr);
  EXPECT_EQ(item->uniqueID(), Value("(null):(null):(null)"));
  EXPECT_TRUE(item->label().isAbsent());
  EXPECT_TRUE(item->domain().isAbsent());
}

TEST(NetServiceItem, ReadsItsServiceAndNotWhatItRepresents) {
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(service("a", "b", "c"));
  item->setRepresentedObject(service("x", "y", "z"));
  EXPECT_EQ(item->uniqueID(), Value("c:b:a"));
  item->setNetService(service("d", "e", "f"));
  EXPECT_EQ(item->uniqueID(), Value("f:e:d"));
  EXPECT_EQ(item->label(), Value("d"));
  EXPECT_EQ(item->domain(), Value("f"));
}

TEST(NetServiceItem, AnnouncesItsServiceUnderItsOwnKeyAlone) {
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(service("a", "b", "c"));
  const auto notices = TreeRecorder::of(item, {"netService", "uniqueID", "label", "domain"},
                                        platform::ObservingOptions::none);
  item->setNetService(service("d", "e", "f"));
  item->setValueForKey(service("g", "h", "i"), "netService");
  EXPECT_EQ(notices->take(), (Lines{"f:e:d netService setting", "i:h:g netService setting"}));
  EXPECT_EQ(item->label(), Value("g"));
}

TEST(NetServiceItem, TakesAServiceOrNoneByKey) {
  const auto item = KRAVTWVNetServiceVexil::itemWithNetService(service("a", "b", "c"));
  EXPECT_THROW(item->setValueForKey("text", "netService"), platform::InvalidArgument);
  EXPECT_EQ(item->label(), Value("a"));
  item->setValueForKey({}, "netService");
  EXPECT_EQ(item->netService(), nullptr);
}

TEST(NetServiceItem, LetsGoOfItsServiceWhenItGoes) {
  const auto held = service("a", "b", "c");
  {
    const auto item = KRAVTWVNetServiceVexil::itemWithNetService(held);
    EXPECT_EQ(held.use_count(), 3);
  }
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
