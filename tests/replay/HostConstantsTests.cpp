// SPDX-License-Identifier: Apache-2.0
// A host has its own values for the constants. Scenarios and transcripts stay the same.
#include <gtest/gtest.h>
#include <replay/Constants.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/TypeIdentifier.h>

#include <string>
#include <vector>

#include "ScenarioSupport.h"

namespace platform = vexil::platform;

constinit const std::string_view kTWEventUniqueID = "org.example.id";
constinit const std::string_view kTWEventName = "Title";
constinit const std::string_view kTWDomainType_Engine = "org.example.engine";
constinit const std::string_view kTWWorkspaceUTISchedule = "org.example.week";
constinit const std::string_view kTWWorkspaceFileExtensionSchedule = "week";

namespace {

using platform::Value;
using test::absentArgument;
using test::send;
using test::sendToClass;

TEST(HostConstants, StandInScenariosByTheirNames) {
  const Value event = Value::dictionary(
      {{"kTWEventUniqueID", "e1"}, {"kTWEventName", "One"}, {"kind", "kTWDomainType_Engine"}});
  EXPECT_EQ(
      test::replayed(Value::array({sendToClass("itemWithEvent:", "KRAVTWVEventVexil", {event}, "e"),
                                   send("tree", "e"), send("valueForKey:", "e", {"label"})})),
      (test::Replayed{"== 1 KRAVTWVEventVexil itemWithEvent:\n"
                      "-> #1(KRAVTWVEventVexil \"e1\")\n"
                      "== 2 e tree\n"
                      "#1 KRAVTWVEventVexil uniqueID=\"e1\" label=\"One\" flags=supportsEnabled "
                      "parent=absent represents={\"kTWEventName\": \"One\", \"kTWEventUniqueID\": "
                      "\"e1\", \"kind\": \"kTWDomainType_Engine\"}\n"
                      "== 3 e valueForKey:\n"
                      "-> \"One\"\n",
                      ""}));
}

TEST(HostConstants, AreSortedAsTheyArePrinted) {
  // "Title" would come before "count", "kTWEventName" comes behind it.
  EXPECT_EQ(
      test::replayed(
          Value::array({sendToClass("itemWithRepresentedObject:", "KRAVTWVItemVexil",
                                    {Value::dictionary({{"count", 1}, {"kTWEventName", 2}})}, "i"),
                        send("representedObject", "i")}))
          .transcript,
      "== 1 KRAVTWVItemVexil itemWithRepresentedObject:\n"
      "-> #1(KRAVTWVItemVexil absent)\n"
      "== 2 i representedObject\n"
      "-> {\"count\": 1, \"kTWEventName\": 2}\n");
}

TEST(HostConstants, ComeBackByTheirNamesWhereTheyWereWrittenAsTheyAre) {
  EXPECT_EQ(
      test::replayed(
          Value::array({sendToClass("itemWithRepresentedObject:", "KRAVTWVItemVexil",
                                    {Value::dictionary({{"Title", "org.example.engine"}})}, "i"),
                        send("representedObject", "i")}))
          .transcript,
      "== 1 KRAVTWVItemVexil itemWithRepresentedObject:\n"
      "-> #1(KRAVTWVItemVexil absent)\n"
      "== 2 i representedObject\n"
      "-> {\"kTWEventName\": \"kTWDomainType_Engine\"}\n");
}

TEST(HostConstants, NameTheKeysOfChangedRecords) {
  const auto records = [](const char* name) {
    return Value::array({Value::dictionary({{"kTWEventUniqueID", "e1"}, {"kTWEventName", name}})});
  };
  EXPECT_EQ(test::replayed(
                Value::array({sendToClass("new", "KRAVTWVEventsVexil", {}, "list"),
                              send("outline", "list", {}, "o"), send("update", "o"),
                              send("setEvents:", "list", {records("One")}), send("update", "o"),
                              send("setEvents:", "list", {records("Two")}), send("update", "o")}))
                .transcript,
            "== 1 KRAVTWVEventsVexil new\n"
            "== 2 list outline\n"
            "== 3 o update\n"
            "update steps=0 rows=0 of 0\n"
            "== 4 list setEvents:\n"
            "outOfDate o\n"
            "== 5 o update\n"
            "update steps=1 rows=1 of 1\n"
            "inserted 0 of #0\n"
            "  #1 \"e1\" \"One\" KRAVTWVEventVexil flags=supportsEnabled\n"
            "== 6 list setEvents:\n"
            "outOfDate o\n"
            "== 7 o update\n"
            "update steps=1 rows=1 of 1\n"
            "changed 0 of #0\n"
            "  #1 \"e1\" label=\"One\"->\"Two\" record kTWEventName=\"One\"->\"Two\"\n");
}

TEST(HostConstants, NameTheValuesInRows) {
  EXPECT_EQ(
      test::replayed(
          Value::array({test::group("G", "g", "g"), test::group("org.example.engine", "x", "x"),
                        send("addChild:", "g", {test::reference("x")}),
                        send("outline", "g", {}, "o"), send("update", "o"), send("rows", "o")}))
          .transcript,
      "== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n"
      "-> #1(KRAVTWVGroupVexil \"g\")\n"
      "== 2 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n"
      "-> #2(KRAVTWVGroupVexil \"x\")\n"
      "== 3 g addChild:\n"
      "== 4 g outline\n"
      "== 5 o update\n"
      "update steps=1 rows=1 of 1\n"
      "inserted 0 of #0\n"
      "  #1 \"x\" \"kTWDomainType_Engine\" KRAVTWVGroupVexil flags=group\n"
      "== 6 o rows\n"
      "#1 \"x\" \"kTWDomainType_Engine\" KRAVTWVGroupVexil flags=group\n");
}

TEST(HostConstants, NameTheTypesAndTheFilesOfWhatIsExchanged) {
  EXPECT_EQ(
      test::replayed(
          Value::array({test::group("Nightly.twschedule", "g", "g"),
                        send("writableTypesForPasteboard:", "g", {absentArgument()}),
                        send("pasteboardPropertyListForType:", "g", {"kUTTypeFileURL"}),
                        send("pasteboardPropertyListForType:", "g", {"Org.Example.Week"}),
                        send("pasteboardPropertyListForType:", "g", {"org.ternwood.schedule"})}))
          .transcript,
      "== 1 KRAVTWVGroupVexil itemWithLabel:uniqueID:\n"
      "-> #1(KRAVTWVGroupVexil \"g\")\n"
      "== 2 g writableTypesForPasteboard:\n"
      "-> [\"kTWWorkspaceUTISchedule\", \"kUTTypeFileURL\"]\n"
      "== 3 g pasteboardPropertyListForType:\n"
      "-> file(\"Nightly.twschedule.kTWWorkspaceFileExtensionSchedule\", plist([]))\n"
      "== 4 g pasteboardPropertyListForType:\n"
      "-> plist([])\n"
      "== 5 g pasteboardPropertyListForType:\n"
      "-> absent\n");
}

TEST(HostConstants, KeysAreNamedAsKeysAndOtherConstantsAsStrings) {
  EXPECT_EQ(replay::recordKeyNamed("kTWEventName"), "Title");
  EXPECT_EQ(replay::recordKeyNamed("kTWDomainType_Engine"), "kTWDomainType_Engine");
  EXPECT_EQ(replay::stringNamed("kTWDomainType_Engine"), "org.example.engine");
  EXPECT_EQ(replay::stringNamed("kTWEventName"), "kTWEventName");
  EXPECT_EQ(replay::nameOfRecordKey("Title"), "kTWEventName");
  EXPECT_EQ(replay::nameOfString("Title"), "Title");
  EXPECT_EQ(replay::nameOfString(platform::kUTTypeFileURL), "kUTTypeFileURL");
  EXPECT_EQ(replay::nameOfString(platform::NSPasteboardTypeString), "NSPasteboardTypeString");
}

}  // namespace
