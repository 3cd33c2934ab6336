// SPDX-License-Identifier: Apache-2.0
// Kinds of a host's own: one line gives them the factories and the direction of equality.
#include "tests/support/TreeRecorder.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>

#include <set>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::eventRecord;
using test::Lines;
using test::TreeRecorder;
using Keys = std::set<std::string>;

/// An event whose record stands inside a record of the host's.
class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value representedEvent() const override { return representedObject()["inside"]; }
};

/// A host's kind of a host's kind, with a key of its own.
class HostColouredEvent : public KRAVTWVKind<HostColouredEvent, HostEvent> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value colour() const { return representedObject()["colour"]; }
  [[nodiscard]] Keys keyPathsForValuesAffectedByRepresentedObject() const override {
    auto keys = KRAVTWVKind::keyPathsForValuesAffectedByRepresentedObject();
    keys.insert("colour");
    return keys;
  }

 protected:
  [[nodiscard]] const platform::KeyTable& keyTable() const override {
    static const platform::KeyTable table(
        &KRAVTWVKind::keyTable(),
        {platform::KeyAccess::readOnly<&HostColouredEvent::colour>("colour")});
    return table;
  }
};

/// A group that can be switched, with a flag of its own.
class HostGroup : public KRAVTWVKind<HostGroup, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] bool supportsEnabled() const override { return true; }
  [[nodiscard]] bool isGroup() const override { return false; }
  void enable() { _enabled = true; }
};

class HostNetDomain : public KRAVTWVKind<HostNetDomain, KRAVTWVNetDomainVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
class HostNetService : public KRAVTWVKind<HostNetService, KRAVTWVNetServiceVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
class HostTrigger : public KRAVTWVKind<HostTrigger, KRAVTWVQueuedTriggerVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value representedEvent() const override { return eventRecord("other", "Other"); }
};
class HostActive : public KRAVTWVKind<HostActive, KRAVTWVActiveEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value representedEvent() const override { return eventRecord("other", "Other"); }
};
class HostDomain : public KRAVTWVKind<HostDomain, KRAVTWVDomainVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
class HostItem : public KRAVTWVKind<HostItem, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};

static_assert(!std::is_default_constructible_v<HostEvent>);
static_assert(!std::is_default_constructible_v<HostGroup>);

Value hostRecord(const Value& event, const Value& colour = {}) {
  return Value::dictionary({{"inside", event}, {"colour", colour}});
}

TEST(HostSubclass, IsMadeByEachFactoryOfItsBase) {
  const std::shared_ptr<HostItem> item = HostItem::itemWithRepresentedObject("x");
  const std::shared_ptr<HostEvent> event = HostEvent::itemWithEvent(hostRecord({}));
  const std::shared_ptr<HostGroup> group = HostGroup::itemWithLabelUniqueID("Label", "g");
  const std::shared_ptr<HostDomain> domain = HostDomain::itemWithDomain(Value::dictionary({}));
  const std::shared_ptr<HostTrigger> trigger = HostTrigger::itemWithQueuedTrigger({});
  const std::shared_ptr<HostActive> active = HostActive::itemWithActiveEvent({});
  const std::shared_ptr<HostNetDomain> netDomain = HostNetDomain::itemWithNetDomain("local.");
  const auto service = std::make_shared<platform::NetService>("a", "b", "c");
  const std::shared_ptr<HostNetService> netService = HostNetService::itemWithNetService(service);
  EXPECT_EQ(item->representedObject(), Value("x"));
  EXPECT_EQ(event->representedObject(), hostRecord({}));
  EXPECT_EQ(group->label(), Value("Label"));
  EXPECT_EQ(group->uniqueID(), Value("g"));
  EXPECT_EQ(domain->representedObject(), Value::dictionary({}));
  EXPECT_TRUE(trigger->representedObject().isAbsent());
  EXPECT_TRUE(active->representedObject().isAbsent());
  EXPECT_EQ(netDomain->label(), Value("local."));
  EXPECT_EQ(netService->netService(), service);
  EXPECT_TRUE(event->className().ends_with("HostEvent"));
}

TEST(HostSubclass, IsMadeByTheFactoriesOfItsHigherBasesToo) {
  const std::shared_ptr<HostEvent> event = HostEvent::itemWithRepresentedObject("x");
  const std::shared_ptr<HostNetDomain> domain = HostNetDomain::itemWithLabelUniqueID("L", "id");
  EXPECT_EQ(event->representedObject(), Value("x"));
  EXPECT_EQ(domain->label(), Value("L"));
  EXPECT_EQ(HostEvent::init(), nullptr);
}

TEST(HostSubclass, ThatRedefinesTheEventChangesAllThatIsReadThroughIt) {
  const auto event = HostEvent::itemWithEvent(hostRecord(eventRecord("e1", "Backup", true)));
  EXPECT_EQ(event->uniqueID(), Value("e1"));
  EXPECT_EQ(event->label(), Value("Backup"));
  EXPECT_TRUE(event->enabled());
  EXPECT_TRUE(event->supportsEnabled());
  EXPECT_EQ(event->path(), "/e1");
  EXPECT_EQ(event->valueForKey("label"), Value("Backup"));
  EXPECT_EQ(event->valueForKey("representedEvent"), eventRecord("e1", "Backup", true));
  // The plain kind reads nothing from the host's record.
  const auto plain = KRAVTWVEventVexil::itemWithEvent(event->representedObject());
  EXPECT_TRUE(plain->label().isAbsent());
}

TEST(HostSubclass, OfATriggerOrActiveEventReadsItsLabelFromTheRecordAllTheSame) {
  const auto trigger = HostTrigger::itemWithQueuedTrigger(
      Value::dictionary({{kTWQueuedTriggerEvent, eventRecord("e1", "Backup")}}));
  EXPECT_EQ(trigger->label(), Value("Backup"));
  EXPECT_EQ(trigger->representedEvent(), eventRecord("other", "Other"));
  const auto active = HostActive::itemWithActiveEvent(
      Value::dictionary({{kTWActiveEventEvent, eventRecord("e1", "Backup")}}));
  EXPECT_EQ(active->label(), Value("Backup"));
  EXPECT_EQ(active->representedEvent(), eventRecord("other", "Other"));
}

TEST(HostSubclass, IsToldOfANewRecordLikeItsBase) {
  const auto event = HostEvent::itemWithEvent(hostRecord(eventRecord("e1", "Backup", true)));
  const auto notices = TreeRecorder::of(event, {"label", "enabled"});
  event->setRepresentedObject(hostRecord(eventRecord("e1", "Restore")));
  EXPECT_EQ(notices->take(), (Lines{"e1 label setting old=\"Backup\" new=\"Restore\"",
                                    "e1 enabled setting old=true new=false"}));
}

TEST(HostSubclass, EqualsFromBaseToSubclassOnly) {
  const Value record = hostRecord(eventRecord("e1", "Backup"));
  const auto event = KRAVTWVEventVexil::itemWithEvent(record);
  const auto host = HostEvent::itemWithEvent(record);
  EXPECT_TRUE(event->isEqual(*host));
  EXPECT_FALSE(host->isEqual(*event));
  EXPECT_TRUE(host->isEqual(*HostEvent::itemWithEvent(record)));
  EXPECT_EQ(event->hash(), host->hash());
  EXPECT_FALSE(KRAVTWVOnDemandVexil::itemWithEvent(record)->isEqual(*host)) << "a sister class";
}

TEST(HostSubclass, OfAHostsSubclassHasItAllAgain) {
  const Value record = hostRecord(eventRecord("e1", "Backup", true), "red");
  const std::shared_ptr<HostColouredEvent> coloured = HostColouredEvent::itemWithEvent(record);
  EXPECT_EQ(coloured->label(), Value("Backup"));
  EXPECT_TRUE(coloured->enabled());
  EXPECT_EQ(coloured->valueForKey("colour"), Value("red"));
  EXPECT_EQ(coloured->valueForKey("representedEvent"), eventRecord("e1", "Backup", true));
  const auto host = HostEvent::itemWithEvent(record);
  const auto event = KRAVTWVEventVexil::itemWithEvent(record);
  EXPECT_TRUE(event->isEqual(*coloured));
  EXPECT_TRUE(host->isEqual(*coloured));
  EXPECT_FALSE(coloured->isEqual(*host));
  EXPECT_FALSE(coloured->isEqual(*event));
}

TEST(HostSubclass, AddsKeysThatFollowFromTheRepresentedObject) {
  const auto coloured = HostColouredEvent::itemWithEvent(hostRecord({}, "red"));
  EXPECT_EQ(coloured->keyPathsForValuesAffectingValueForKey("colour"), Keys{"representedObject"});
  EXPECT_EQ(HostEvent::itemWithEvent({})->keyPathsForValuesAffectingValueForKey("colour"), Keys{});
  const auto notices = TreeRecorder::of(coloured, {"colour"});
  coloured->setRepresentedObject(hostRecord({}, "blue"));
  EXPECT_EQ(notices->take(), Lines{"(null) colour setting old=\"red\" new=\"blue\""});
}

TEST(HostSubclass, MaySetTheStoredEnabledFlagAndOverrideItsTests) {
  const auto group = HostGroup::itemWithLabelUniqueID("Label", "g");
  EXPECT_FALSE(group->enabled());
  group->enable();
  EXPECT_TRUE(group->enabled());
  EXPECT_TRUE(group->supportsEnabled());
  EXPECT_FALSE(group->isGroup());
  EXPECT_EQ(group->valueForKey("enabled").boolean(), true);
  EXPECT_EQ(group->valueForKey("isGroup").boolean(), false);
}

/// A class without the one line.
class BareEvent : public KRAVTWVEventVexil {
 public:
  using KRAVTWVEventVexil::KRAVTWVEventVexil;
};
class BareItem : public KRAVTWVItemVexil {
 public:
  using KRAVTWVItemVexil::KRAVTWVItemVexil;
};

TEST(HostSubclass, WithoutItsLineStillDoesNotEqualItsBase) {
  const Value record = eventRecord("e1", "Backup");
  const auto event = KRAVTWVEventVexil::itemWithEvent(record);
  const auto bare = std::make_shared<BareEvent>(record);
  EXPECT_TRUE(event->isEqual(*bare));
  EXPECT_FALSE(bare->isEqual(*event));
  EXPECT_TRUE(bare->isEqual(*std::make_shared<BareEvent>(record)));
  const auto bareItem = std::make_shared<BareItem>(record);
  EXPECT_TRUE(KRAVTWVItemVexil::itemWithRepresentedObject(record)->isEqual(*bareItem));
  EXPECT_FALSE(bareItem->isEqual(*KRAVTWVItemVexil::itemWithRepresentedObject(record)));
  EXPECT_FALSE(bareItem->isEqual(*event));
}

/// Sets the flag that the kinds inherit.
template <class Kind>
class Flagged : public KRAVTWVKind<Flagged<Kind>, Kind> {
 public:
  using KRAVTWVKind<Flagged<Kind>, Kind>::KRAVTWVKind;
  static auto withFlag(const Value& object) {
    auto item = Flagged::itemWithRepresentedObject(object);
    item->_enabled = true;
    return item;
  }
};

TEST(HostSubclass, EqualsWhateverTheirEnabledFlagsAre) {
  const auto on = Flagged<KRAVTWVItemVexil>::withFlag("x");
  const auto off = Flagged<KRAVTWVItemVexil>::itemWithRepresentedObject("x");
  ASSERT_NE(on->enabled(), off->enabled());
  EXPECT_TRUE(on->isEqual(*off));
  EXPECT_TRUE(off->isEqual(*on));
  EXPECT_EQ(on->hash(), off->hash());
}

TEST(HostSubclass, ReadsTheStoredFlagUnlessItsKindDerivesIt) {
  EXPECT_TRUE(Flagged<KRAVTWVGroupVexil>::withFlag("x")->enabled());
  EXPECT_TRUE(Flagged<KRAVTWVDomainVexil>::withFlag("x")->enabled());
  EXPECT_TRUE(Flagged<KRAVTWVNetDomainVexil>::withFlag("x")->enabled());
  EXPECT_TRUE(Flagged<KRAVTWVNetServiceVexil>::withFlag("x")->enabled());
  const Value disabled = Value::dictionary({
      {kTWQueuedTriggerEvent, eventRecord("e1", "Backup", false)},
      {kTWActiveEventEvent, eventRecord("e1", "Backup", false)},
  });
  EXPECT_TRUE(Flagged<KRAVTWVQueuedTriggerVexil>::withFlag(disabled)->enabled());
  EXPECT_TRUE(Flagged<KRAVTWVActiveEventVexil>::withFlag(disabled)->enabled());
  const Value event = eventRecord("e1", "Backup", false);
  EXPECT_FALSE(Flagged<KRAVTWVEventVexil>::withFlag(event)->enabled()) << "as its record says";
  EXPECT_FALSE(Flagged<KRAVTWVOnDemandVexil>::withFlag(event)->enabled());
}

/// A service that is shown by another name, in another domain.
class RenamedService : public KRAVTWVKind<RenamedService, KRAVTWVNetServiceVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value label() const override { return "Another name"; }
  [[nodiscard]] Value domain() const override { return "another domain"; }
};

TEST(HostSubclass, OfAServiceKeepsItsIdentityWhateverItShows) {
  const auto service = std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local.");
  const auto item = RenamedService::itemWithNetService(service);
  EXPECT_EQ(item->label(), Value("Another name"));
  EXPECT_EQ(item->domain(), Value("another domain"));
  EXPECT_EQ(item->uniqueID(), Value("local.:_ipp._tcp.:Office"));
}

/// An item that is a group for as long as it has a label.
class LabelledGroup : public KRAVTWVKind<LabelledGroup, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] bool isGroup() const override { return !label().isAbsent(); }
  [[nodiscard]] Keys keyPathsForValuesAffectingIsGroup() const override { return {"label"}; }
};

TEST(HostSubclass, MayHaveItsOwnDependenciesOfGroup) {
  const auto item = LabelledGroup::itemWithRepresentedObject("x");
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isGroup"), Keys{"label"});
  const auto notices = TreeRecorder::of(item, {"isGroup"});
  item->setChildren(nullptr);
  item->setLabel("Label");
  EXPECT_EQ(notices->take(), Lines{"(null) isGroup setting old=false new=true"});
}

/// An item that is a group by its children and by what it represents.
class RepresentingGroup : public KRAVTWVKind<RepresentingGroup, KRAVTWVItemVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] bool isGroup() const override {
    return KRAVTWVKind::isGroup() || representedObject().isArray();
  }
  [[nodiscard]] Keys keyPathsForValuesAffectedByRepresentedObject() const override {
    return {"isGroup"};
  }
};

TEST(HostSubclass, AddsTheRepresentedObjectToWhatAKeyDependsOnAnyway) {
  const auto item = RepresentingGroup::itemWithRepresentedObject("x");
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("isGroup"),
            (Keys{"children", "representedObject"}));
  EXPECT_EQ(item->keyPathsForValuesAffectingValueForKey("label"), Keys{}) << "not in its set";
  const auto notices = TreeRecorder::of(item, {"isGroup"});
  item->setRepresentedObject(Value::array({}));
  item->setChildren(nullptr);
  EXPECT_EQ(notices->take(), (Lines{"(null) isGroup setting old=false new=true",
                                    "(null) isGroup setting old=true new=true"}));
}

class AlignedEvent : public KRAVTWVKind<AlignedEvent, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  alignas(32) char aligned[32] = {};
};

TEST(HostSubclass, MayNeedMoreAlignmentThanAnyKind) {
  const auto first = AlignedEvent::itemWithEvent(Value());
  const auto second = AlignedEvent::itemWithEvent(Value());
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first->aligned) % 32, 0U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second->aligned) % 32, 0U);
}

}  // namespace
