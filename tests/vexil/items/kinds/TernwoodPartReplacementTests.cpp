// SPDX-License-Identifier: Apache-2.0
// A host that brings some of the constants: the stand-in keeps the others.
#include "ReplacedConstants.h"

#include <gtest/gtest.h>

namespace platform = vexil::platform;

const std::string_view kTWEventName = "host.event.name";
const std::string_view kTWTriggerDate = "host.trigger.date";
const std::string_view kTWWorkspaceUTIEvent = "com.example.event";

namespace {

using platform::Date;
using platform::Value;

TEST(PartlyReplacedConstants, AreTheHostsWhereItHasThemAndTheStandInsElsewhere) {
  for (const auto& [name, value] : test::constants()) {
    if (name == "kTWEventName" || name == "kTWTriggerDate" || name == "kTWWorkspaceUTIEvent") {
      EXPECT_TRUE(value.starts_with("host.") || value == "com.example.event") << name;
    } else if (name == "kTWWorkspaceUTISchedule") {
      EXPECT_EQ(value, "org.ternwood.schedule");
    } else if (name == "kTWWorkspaceFileExtensionSchedule") {
      EXPECT_EQ(value, "twschedule");
    } else {
      EXPECT_EQ(value, name) << "the stand-in's value is the constant's own name";
    }
  }
}

TEST(PartlyReplacedConstants, AreWhatItemsReadWithSideBySide) {
  const Value event =
      Value::dictionary({{"kTWEventUniqueID", "e1"}, {"host.event.name", "Backup"}});
  const auto item = KRAVTWVEventVexil::itemWithEvent(event);
  EXPECT_EQ(item->uniqueID(), Value("e1"));
  EXPECT_EQ(item->label(), Value("Backup"));
  const auto trigger = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(Value::dictionary(
      {{"kTWQueuedTriggerTriggerID", "t1"},
       {"kTWQueuedTriggerEvent", event},
       {"kTWQueuedTriggerTrigger", Value::dictionary({{"host.trigger.date", Date{5}}})}}));
  EXPECT_EQ(trigger->uniqueID(), Value("t1"));
  EXPECT_EQ(trigger->label(), Value("Backup"));
  EXPECT_EQ(trigger->triggerDate(), Value(Date{5}));
}

TEST(PartlyReplacedConstants, LeaveTheStandInsKeyWithoutMeaning) {
  const auto item = KRAVTWVEventVexil::itemWithEvent(
      Value::dictionary({{"kTWEventUniqueID", "e1"}, {"kTWEventName", "Backup"}}));
  EXPECT_EQ(item->uniqueID(), Value("e1"));
  EXPECT_TRUE(item->label().isAbsent());
}

}  // namespace
