// SPDX-License-Identifier: Apache-2.0
// Groups and events that are made of what a pasteboard decoded.
#include "PasteboardTesting.h"

#include <concepts>

namespace platform = vexil::platform;

namespace {

namespace fs = std::filesystem;
using platform::kUTTypeFileURL;
using platform::Value;
using test::eventRecord;
using test::identifiers;
using test::Lines;
using test::upperCase;
using Options = platform::PasteboardReadingOptions;
using Group = KRAVTWVGroupVexil;
using Event = KRAVTWVEventVexil;

const Value first = eventRecord("e1", "One");
const Value second = eventRecord("e2", "Two", true);
const Value third = eventRecord("e0", "Zero");
constexpr const char* malformed = "Malformed schedule; must be a plist array: ";

std::shared_ptr<Group> groupOf(const Value& list, std::string_view type) {
  return Group::initWithPasteboardPropertyListOfType(list, type);
}

class PasteboardItemReading : public test::Exchange {
 protected:
  [[nodiscard]] std::string scheduleFile(const std::string& name, const Value& list) const {
    const auto bytes = *platform::writeBinaryPropertyList(list);
    return file(name, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
  }
};

/// Expects that an item is as if it had never been initialised.
void expectBare(const KRAVTWVItemVexil& item) {
  EXPECT_TRUE(item.representedObject().isAbsent());
  EXPECT_TRUE(item.label().isAbsent());
  EXPECT_TRUE(item.uniqueID().isAbsent());
  EXPECT_EQ(item.children(), nullptr) << "no array, not an empty one";
  EXPECT_EQ(item.parent(), nullptr);
  EXPECT_FALSE(item.enabled());
}

// --- types and options

TEST_F(PasteboardItemReading, OfGroupsIsFromSchedulesAndFiles) {
  const Lines types{std::string(kTWWorkspaceUTISchedule), "public.file-url"};
  EXPECT_EQ(Group::readableTypesForPasteboard(nullptr), types);
  EXPECT_EQ(KRAVTWVNetDomainVexil::readableTypesForPasteboard(nullptr), types);
}

TEST_F(PasteboardItemReading, OfEventsIsFromEventsAlone) {
  const Lines types{std::string(kTWWorkspaceUTIEvent)};
  EXPECT_EQ(Event::readableTypesForPasteboard(nullptr), types);
  EXPECT_EQ(KRAVTWVOnDemandVexil::readableTypesForPasteboard(nullptr), types);
}

TEST_F(PasteboardItemReading, IsOfPropertyListsForEveryType) {
  for (const std::string_view type : {kTWWorkspaceUTISchedule, kTWWorkspaceUTIEvent, kUTTypeFileURL,
                                      std::string_view("other.type"), std::string_view()}) {
    EXPECT_EQ(Group::readingOptionsForTypePasteboard(type, nullptr), Options::asPropertyList);
    EXPECT_EQ(Event::readingOptionsForTypePasteboard(type, nullptr), Options::asPropertyList);
  }
}

// --- a group from a schedule

TEST_F(PasteboardItemReading, OfThreeRecordsMakesAGroupOfThreeEventsInTheirOrder) {
  const auto group = groupOf(Value::array({first, second, third}), kTWWorkspaceUTISchedule);
  EXPECT_EQ(identifiers(*group->children()), "[e1, e2, e0]");
  for (const auto& child : *group->children()) {
    EXPECT_EQ(child->className(), "KRAVTWVEventVexil");
    EXPECT_EQ(child->parent(), group);
  }
  EXPECT_EQ(group->childAtIndex(1)->representedObject(), second);
  EXPECT_EQ(group->label(), Value(kTWWorkspaceUTISchedule));
  EXPECT_EQ(group->uniqueID(), Value(kTWWorkspaceUTISchedule));
  EXPECT_EQ(group->representedObject(), Value(kTWWorkspaceUTISchedule));
}

TEST_F(PasteboardItemReading, OfEqualRecordsMakesOneEventAtTheEnd) {
  const auto group = groupOf(Value::array({first, second, first}), kTWWorkspaceUTISchedule);
  EXPECT_EQ(identifiers(*group->children()), "[e2, e1]");
  EXPECT_EQ(groupOf(Value::array({first, first}), kTWWorkspaceUTISchedule)->children()->size(), 1U);
  // Records are equal by value: 1 is true.
  const Value same =
      Value::dictionary({{kTWEventUniqueID, "e2"}, {kTWEventName, "Two"}, {kTWEventEnabled, 1}});
  EXPECT_EQ(groupOf(Value::array({second, same}), kTWWorkspaceUTISchedule)->children()->size(), 1U);
}

TEST_F(PasteboardItemReading, TakesAnyElementForARecord) {
  const auto group =
      groupOf(Value::array({"x", 5, first, Value::array({}), Value()}), kTWWorkspaceUTISchedule);
  ASSERT_EQ(group->children()->size(), 5U);
  EXPECT_EQ(group->childAtIndex(0)->representedObject(), Value("x"));
  EXPECT_TRUE(group->childAtIndex(0)->label().isAbsent());
}

TEST_F(PasteboardItemReading, OfAScheduleThatIsNoArrayMakesAnEmptyGroup) {
  for (const Value& list : {first, Value("text"), Value(7), Value(), Value::null(),
                            test::dataOf("(1)"), Value(scheduleFile("a", Value::array({first})))}) {
    const auto group = groupOf(list, kTWWorkspaceUTISchedule);
    ASSERT_NE(group->children(), nullptr);
    EXPECT_TRUE(group->children()->empty());
    EXPECT_EQ(group->label(), Value(kTWWorkspaceUTISchedule));
  }
  EXPECT_EQ(logged, Lines{});
}

// --- a group from a file

TEST_F(PasteboardItemReading, OfAFileMakesAGroupNamedByTheTypeOfFiles) {
  const auto group =
      groupOf(scheduleFile("week.twschedule", Value::array({first, second})), kUTTypeFileURL);
  EXPECT_EQ(identifiers(*group->children()), "[e1, e2]");
  EXPECT_EQ(group->label(), Value("public.file-url"));
  EXPECT_EQ(group->uniqueID(), Value("public.file-url"));
  EXPECT_EQ(group->representedObject(), Value("public.file-url"));
  EXPECT_EQ(group->childAtIndex(0)->parent(), group);
  EXPECT_EQ(logged, Lines{});
}

TEST_F(PasteboardItemReading, OfAFileTakesAnyExtension) {
  for (const char* name :
       {"a.txt", "a", "a.twschedule.bak", ".hidden", "\u00fc \u65e5 100%25 #1?"}) {
    const auto group = groupOf(scheduleFile(name, Value::array({first})), kUTTypeFileURL);
    EXPECT_EQ(identifiers(*group->children()), "[e1]") << name;
  }
}

TEST_F(PasteboardItemReading, OfAFileTakesAnyFormat) {
  const std::string xml =
      file("xml",
           "<plist><array><dict><key>kTWEventUniqueID</key><string>e1</string></dict>"
           "</array></plist>");
  EXPECT_EQ(identifiers(*groupOf(xml, kUTTypeFileURL)->children()), "[e1]");
  const std::string text = file("text", "/* by hand */ ( { kTWEventUniqueID = e1; }, text )");
  EXPECT_EQ(identifiers(*groupOf(text, kUTTypeFileURL)->children()), "[e1, (null)]");
  EXPECT_EQ(logged, Lines{});
}

TEST_F(PasteboardItemReading, OfAFileWithEqualRecordsMakesOneEvent) {
  const auto group = groupOf(scheduleFile("a", Value::array({first, first})), kUTTypeFileURL);
  EXPECT_EQ(identifiers(*group->children()), "[e1]");
}

TEST_F(PasteboardItemReading, OfAFileWithADictionaryLogsTheURLAndMakesAnEmptyGroup) {
  const std::string url = scheduleFile("a b.plist", first);
  const auto group = groupOf(url, kUTTypeFileURL);
  ASSERT_NE(group->children(), nullptr);
  EXPECT_TRUE(group->children()->empty());
  EXPECT_EQ(group->label(), Value("public.file-url"));
  EXPECT_EQ(logged, Lines{malformed + url});
  EXPECT_TRUE(url.ends_with("/a%20b.plist"));
}

TEST_F(PasteboardItemReading, OfAFileThatIsNoScheduleLogsTheURL) {
  fs::create_directory(directory / "folder");
  for (const std::string& url :
       {std::string("file:///nowhere/at/all.plist"), file("garbage", "bplist00\xff garbage"),
        file("empty", ""), file("cut", "<plist><array><dict>"), file("string", "text"),
        platform::FileURL::directory(directory / "folder").absoluteString(),
        platform::FileURL::file(directory / "folder").absoluteString()}) {
    logged.clear();
    const auto group = groupOf(url, kUTTypeFileURL);
    EXPECT_EQ(logged, Lines{malformed + url});
    EXPECT_TRUE(group->children()->empty());
  }
}

TEST_F(PasteboardItemReading, OfAURLThatNamesNoFileLogsItToo) {
  for (const char* url : {"http://example.org/week.plist", "file://example.org/week.plist",
                          "week.plist", "/tmp", "", "file:", "file:///%00"}) {
    logged.clear();
    EXPECT_TRUE(groupOf(url, kUTTypeFileURL)->children()->empty());
    EXPECT_EQ(logged, Lines{std::string(malformed) + url});
  }
}

TEST_F(PasteboardItemReading, OfATextThatIsNoURLLogsThatThereIsNone) {
  for (const char* text : {"no url", "file:///a b", "file:///%", "file:///\u00fc", "a\nb"}) {
    logged.clear();
    EXPECT_TRUE(groupOf(text, kUTTypeFileURL)->children()->empty());
    EXPECT_EQ(logged, Lines{std::string(malformed) + "(null)"});
  }
}

TEST_F(PasteboardItemReading, OfAFileURLThatIsNoStringMakesAnEmptyGroup) {
  const std::string url = scheduleFile("a", Value::array({first}));
  for (const Value& list :
       {Value::array({first}), Value::array({url}), first, Value(7), Value(), test::dataOf(url)}) {
    const auto group = groupOf(list, kUTTypeFileURL);
    ASSERT_NE(group->children(), nullptr);
    EXPECT_TRUE(group->children()->empty());
    EXPECT_EQ(group->label(), Value("public.file-url"));
  }
  EXPECT_EQ(logged, Lines{});
}

// --- classes and types

TEST_F(PasteboardItemReading, MakesTheReceivingClassOfPlainEvents) {
  const std::shared_ptr<KRAVTWVNetDomainVexil> domain =
      KRAVTWVNetDomainVexil::initWithPasteboardPropertyListOfType(Value::array({first}),
                                                                  kTWWorkspaceUTISchedule);
  EXPECT_EQ(domain->className(), "KRAVTWVNetDomainVexil");
  EXPECT_EQ(domain->label(), Value(kTWWorkspaceUTISchedule));
  EXPECT_EQ(domain->childAtIndex(0)->className(), "KRAVTWVEventVexil");
}

TEST_F(PasteboardItemReading, ComparesTypesWithoutCaseAndNamesThemAsTheyAreWritten) {
  const auto schedule = groupOf(Value::array({first}), upperCase(kTWWorkspaceUTISchedule));
  EXPECT_EQ(identifiers(*schedule->children()), "[e1]");
  EXPECT_EQ(schedule->uniqueID(), Value(kTWWorkspaceUTISchedule));
  const auto file = groupOf(scheduleFile("a", Value::array({first})), "Public.File-URL");
  EXPECT_EQ(identifiers(*file->children()), "[e1]");
  EXPECT_EQ(file->label(), Value("public.file-url"));
  const auto event =
      Event::initWithPasteboardPropertyListOfType(first, upperCase(kTWWorkspaceUTIEvent));
  EXPECT_EQ(event->uniqueID(), Value("e1"));
}

TEST_F(PasteboardItemReading, OfAnotherTypeLeavesAGroupAsItStands) {
  for (const std::string_view type : {kTWWorkspaceUTIEvent, platform::NSPasteboardTypeString,
                                      std::string_view("other.type"), std::string_view()}) {
    const auto group = groupOf(Value::array({first}), type);
    ASSERT_NE(group, nullptr);
    expectBare(*group);
    EXPECT_TRUE(group->isGroup());
    EXPECT_FALSE(group->isExpandable());
  }
  EXPECT_EQ(logged, Lines{});
}

// --- an event

TEST_F(PasteboardItemReading, OfARecordMakesAnEvent) {
  const std::shared_ptr<Event> event =
      Event::initWithPasteboardPropertyListOfType(second, kTWWorkspaceUTIEvent);
  EXPECT_EQ(event->representedObject(), second);
  EXPECT_EQ(event->label(), Value("Two"));
  EXPECT_TRUE(event->enabled());
  ASSERT_NE(event->children(), nullptr);
  EXPECT_TRUE(event->children()->empty());
  const std::shared_ptr<KRAVTWVOnDemandVexil> demand =
      KRAVTWVOnDemandVexil::initWithPasteboardPropertyListOfType(second, kTWWorkspaceUTIEvent);
  EXPECT_FALSE(demand->supportsEnabled());
  EXPECT_EQ(demand->uniqueID(), Value("e2"));
}

TEST_F(PasteboardItemReading, OfWhatIsNoDictionaryLeavesAnEventAsItStands) {
  for (const Value& list : {Value("no record"), Value::array({first}), Value(7), Value(),
                            test::dataOf("{}"), Value::null()}) {
    const auto event = Event::initWithPasteboardPropertyListOfType(list, kTWWorkspaceUTIEvent);
    ASSERT_NE(event, nullptr);
    expectBare(*event);
  }
  EXPECT_EQ(logged, Lines{});
}

TEST_F(PasteboardItemReading, OfAScheduleOrAFileNeverMakesAnEvent) {
  expectBare(
      *Event::initWithPasteboardPropertyListOfType(Value::array({first}), kTWWorkspaceUTISchedule));
  expectBare(*Event::initWithPasteboardPropertyListOfType(first, kTWWorkspaceUTISchedule));
  expectBare(
      *Event::initWithPasteboardPropertyListOfType(scheduleFile("a", first), kUTTypeFileURL));
  expectBare(*Event::initWithPasteboardPropertyListOfType(first, kUTTypeFileURL));
  expectBare(*Event::initWithPasteboardPropertyListOfType(first, "other.type"));
}

TEST_F(PasteboardItemReading, LeavesAnItemAsItStandsThatCanStillBeUsed) {
  const auto bare = groupOf(first, "other.type");
  EXPECT_TRUE(bare->isEqual(*bare));
  EXPECT_FALSE(bare->isEqual(*groupOf(first, "other.type")));
  EXPECT_EQ(test::decoded(bare->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({}));
  EXPECT_TRUE(bare->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent()) << "no label";
  bare->addChild(Event::itemWithEvent(first));
  EXPECT_EQ(identifiers(*bare->children()), "[e1]");
}

// --- who has the initialiser

template <class Item>
concept ReadFromPasteboard = requires(const Value& list, std::string_view type) {
  { Item::initWithPasteboardPropertyListOfType(list, type) } -> std::same_as<std::shared_ptr<Item>>;
};
static_assert(ReadFromPasteboard<Group>);
static_assert(ReadFromPasteboard<Event>);
static_assert(ReadFromPasteboard<KRAVTWVNetDomainVexil>);
static_assert(ReadFromPasteboard<KRAVTWVOnDemandVexil>);
static_assert(!ReadFromPasteboard<KRAVTWVItemVexil>);
static_assert(!ReadFromPasteboard<KRAVTWVDomainVexil>);
static_assert(!ReadFromPasteboard<KRAVTWVQueuedTriggerVexil>);
static_assert(!ReadFromPasteboard<KRAVTWVActiveEventVexil>);
static_assert(!ReadFromPasteboard<KRAVTWVNetServiceVexil>);

class HostGroup : public KRAVTWVKind<HostGroup, Group> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVOnDemandVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
static_assert(ReadFromPasteboard<HostGroup>);
static_assert(ReadFromPasteboard<HostEvent>);

TEST_F(PasteboardItemReading, MakesTheHostsClass) {
  const auto group = HostGroup::initWithPasteboardPropertyListOfType(Value::array({first}),
                                                                     kTWWorkspaceUTISchedule);
  EXPECT_EQ(identifiers(*group->children()), "[e1]");
  EXPECT_EQ(group->childAtIndex(0)->className(), "KRAVTWVEventVexil");
  EXPECT_EQ(HostEvent::initWithPasteboardPropertyListOfType(first, kTWWorkspaceUTIEvent)->label(),
            Value("One"));
  expectBare(*HostEvent::initWithPasteboardPropertyListOfType(first, "other.type"));
}

}  // namespace
