// SPDX-License-Identifier: Apache-2.0
// A host that brings every constant of its own: the library reads with those.
#include "ReplacedConstants.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace platform = vexil::platform;

// As a host defines them: strong, in its own object file, with values of its own.
const std::string_view kTWEventUniqueID = "host.event.id";
const std::string_view kTWEventName = "host.event.name";
const std::string_view kTWEventEnabled = "host.event.enabled";
const std::string_view kTWEventDomain = "host.event.domain";
const std::string_view kTWDomainUniqueID = "host.domain.id";
const std::string_view kTWDomainName = "host.domain.name";
const std::string_view kTWDomainType = "host.domain.type";
const std::string_view kTWDomainType_Engine = "host.domain.type.engine";
const std::string_view kTWQueuedTriggerTriggerID = "host.queued.id";
const std::string_view kTWQueuedTriggerEvent = "host.queued.event";
const std::string_view kTWQueuedTriggerTrigger = "host.queued.trigger";
const std::string_view kTWTriggerDate = "host.trigger.date";
const std::string_view kTWActiveEventActiveID = "host.active.id";
const std::string_view kTWActiveEventActivity = "host.active.activity";
const std::string_view kTWActiveEventEvent = "host.active.event";
const std::string_view kTWWorkspaceUTIEvent = "com.example.event";
const std::string_view kTWWorkspaceUTISchedule = "com.example.schedule";
const std::string_view kTWWorkspaceFileExtensionSchedule = "example";

namespace {

using platform::Date;
using platform::Value;

Value event(const char* uniqueID, const char* name) {
  return Value::dictionary({{"host.event.id", uniqueID},
                            {"host.event.name", name},
                            {"host.event.enabled", true},
                            {"kTWEventUniqueID", "stand-in"},
                            {"kTWEventName", "stand-in"}});
}

TEST(ReplacedConstants, AreTheHostsForEverybody) {
  for (const test::Constant& constant : test::constants()) {
    EXPECT_NE(constant.value, constant.name);
    EXPECT_TRUE(constant.value.starts_with("host.") ||
                constant.value.find("example") != constant.value.npos)
        << constant.name;
  }
}

TEST(ReplacedConstants, AreWhatEventsReadWith) {
  const auto item = KRAVTWVEventVexil::itemWithEvent(event("e1", "Backup"));
  EXPECT_EQ(item->uniqueID(), Value("e1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_TRUE(item->enabled());
  const auto standIn =
      KRAVTWVEventVexil::itemWithEvent(Value::dictionary({{"kTWEventName", "Backup"}}));
  EXPECT_TRUE(standIn->label().isAbsent()) << "the stand-in's keys are nobody's here";
}

TEST(ReplacedConstants, AreWhatDomainsReadWith) {
  const auto item = KRAVTWVDomainVexil::itemWithDomain(
      Value::dictionary({{"host.domain.id", "d1"}, {"host.domain.name", "Office"}}));
  EXPECT_EQ(item->uniqueID(), Value("d1"));
  EXPECT_EQ(item->label(), Value("Office"));
}

TEST(ReplacedConstants, AreWhatQueuedTriggersReadWith) {
  const auto item = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(Value::dictionary(
      {{"host.queued.id", "t1"},
       {"host.queued.event", event("e1", "Backup")},
       {"host.queued.trigger", Value::dictionary({{"host.trigger.date", Date{5}}})}}));
  EXPECT_EQ(item->uniqueID(), Value("t1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_EQ(item->representedEvent(), event("e1", "Backup"));
  EXPECT_EQ(item->triggerDate(), Value(Date{5}));
}

TEST(ReplacedConstants, AreWhatActiveEventsReadWith) {
  const auto item = KRAVTWVActiveEventVexil::itemWithActiveEvent(
      Value::dictionary({{"host.active.id", "a1"},
                         {"host.active.event", event("e1", "Backup")},
                         {"host.active.activity", "waiting"}}));
  EXPECT_EQ(item->uniqueID(), Value("a1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  EXPECT_EQ(item->activity(), Value("waiting"));
}

TEST(ReplacedConstants, AreTheTypesOfWhatIsExchanged) {
  const auto item = KRAVTWVEventVexil::itemWithEvent(event("e1", "Backup"));
  EXPECT_EQ(item->writableTypesForPasteboard(nullptr),
            (std::vector<std::string>{"com.example.event", "com.example.schedule",
                                      "public.file-url", "public.utf8-plain-text"}));
  EXPECT_FALSE(item->pasteboardPropertyListForType("com.example.event").isAbsent());
  EXPECT_TRUE(item->pasteboardPropertyListForType("org.ternwood.event").isAbsent());
  const auto group = KRAVTWVGroupVexil::initWithPasteboardPropertyListOfType(
      Value::array({event("e1", "Backup")}), "com.example.schedule");
  EXPECT_EQ(group->uniqueID(), Value("com.example.schedule"));
  EXPECT_EQ(group->childAtIndex(0)->uniqueID(), Value("e1"));
}

TEST(ReplacedConstants, AreWhatAListSortsBy) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  list->setEvents(Value::array({event("2", "b"), event("9", "a"), event("1", "b")}));
  EXPECT_EQ(list->sortedEvents(),
            Value::array({event("9", "a"), event("1", "b"), event("2", "b")}));
}

}  // namespace
