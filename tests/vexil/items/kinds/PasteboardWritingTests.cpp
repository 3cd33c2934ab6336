// SPDX-License-Identifier: Apache-2.0
// What groups and events give for pasteboard types.
#include "PasteboardTesting.h"

#include <cmath>
#include <cstdint>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

namespace fs = std::filesystem;
using platform::kUTTypeFileURL;
using platform::NSPasteboardTypeString;
using platform::Value;
using test::decoded;
using test::eventRecord;
using test::Lines;
using test::textOf;
using test::upperCase;
using Options = platform::PasteboardWritingOptions;

static_assert(std::is_base_of_v<platform::PasteboardWriting, KRAVTWVGroupVexil>);
static_assert(std::is_base_of_v<platform::PasteboardWriting, KRAVTWVEventVexil>);
static_assert(!std::is_base_of_v<platform::PasteboardWriting, KRAVTWVDomainVexil>);
static_assert(!std::is_base_of_v<platform::PasteboardWriting, KRAVTWVQueuedTriggerVexil>);
static_assert(!std::is_base_of_v<platform::PasteboardWriting, KRAVTWVActiveEventVexil>);
static_assert(!std::is_base_of_v<platform::PasteboardWriting, KRAVTWVNetServiceVexil>);

const Value backup = eventRecord("e1", "Backup", true);
const Value mail = eventRecord("e2", "Mail");

/// A record that is no property list, because it holds an object.
Value unencodable() {
  return Value::dictionary({{"service", Value(test::plainItem("x"))}});
}

class PasteboardWriting : public test::Exchange {
 protected:
  const std::shared_ptr<KRAVTWVGroupVexil> group =
      KRAVTWVGroupVexil::itemWithLabelUniqueID("Nightly", "g");
  const std::shared_ptr<KRAVTWVEventVexil> event = KRAVTWVEventVexil::itemWithEvent(backup);
};

// --- types and options

TEST_F(PasteboardWriting, OfAGroupIsOfferedAsScheduleAndFile) {
  const Lines types{std::string(kTWWorkspaceUTISchedule), "public.file-url"};
  EXPECT_EQ(group->writableTypesForPasteboard(nullptr), types);
  EXPECT_EQ(KRAVTWVNetDomainVexil::itemWithNetDomain("local.")->writableTypesForPasteboard(nullptr),
            types);
}

TEST_F(PasteboardWriting, OfAnEventIsOfferedInOrderOfPreference) {
  const Lines types{std::string(kTWWorkspaceUTIEvent), std::string(kTWWorkspaceUTISchedule),
                    "public.file-url", "public.utf8-plain-text"};
  EXPECT_EQ(event->writableTypesForPasteboard(nullptr), types);
  EXPECT_EQ(event->writableTypesForPasteboard(platform::Pasteboard::unnamed().get()), types);
  EXPECT_EQ(KRAVTWVOnDemandVexil::itemWithEvent(backup)->writableTypesForPasteboard(nullptr),
            types);
}

TEST_F(PasteboardWriting, PromisesFilesAndNothingElse) {
  const auto demand = KRAVTWVOnDemandVexil::itemWithEvent(backup);
  const auto domain = KRAVTWVNetDomainVexil::itemWithNetDomain("local.");
  for (const platform::PasteboardWriting* item :
       std::initializer_list<const platform::PasteboardWriting*>{group.get(), event.get(),
                                                                 demand.get(), domain.get()}) {
    EXPECT_EQ(item->writingOptionsForTypePasteboard(kUTTypeFileURL, nullptr), Options::promised);
    EXPECT_EQ(item->writingOptionsForTypePasteboard("Public.File-URL", nullptr), Options::promised);
    for (const std::string_view type :
         {kTWWorkspaceUTIEvent, kTWWorkspaceUTISchedule, NSPasteboardTypeString,
          std::string_view("public.file-urls"), std::string_view()}) {
      EXPECT_EQ(item->writingOptionsForTypePasteboard(type, nullptr), Options::none) << type;
    }
  }
}

// --- a group's schedule

TEST_F(PasteboardWriting, OfAGroupHasTheRecordsOfItsEventsInOrder) {
  // group
  //   Backup (event)   domain   Mail (event)
  //                      Deep (event)
  const auto domain = KRAVTWVDomainVexil::itemWithDomain(
      Value::dictionary({{kTWDomainUniqueID, "d"}, {kTWDomainName, "Attic"}}));
  domain->addChild(KRAVTWVEventVexil::itemWithEvent(eventRecord("e9", "Deep")));
  group->addChildren({event, domain, KRAVTWVEventVexil::itemWithEvent(mail)});
  const Value data = group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule);
  EXPECT_TRUE(textOf(data).starts_with("bplist00"));
  EXPECT_EQ(decoded(data), Value::array({backup, mail}));
  EXPECT_EQ(logged, Lines{});
}

TEST_F(PasteboardWriting, OfAGroupTakesEveryChildThatAnswersRepresentedEvent) {
  const Value third = eventRecord("e3", "Queued");
  const Value fourth = eventRecord("e4", "Running");
  group->addChildren(
      {KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
           Value::dictionary({{kTWQueuedTriggerTriggerID, "t"}, {kTWQueuedTriggerEvent, third}})),
       KRAVTWVActiveEventVexil::itemWithActiveEvent(
           Value::dictionary({{kTWActiveEventActiveID, "a"}, {kTWActiveEventEvent, fourth}})),
       KRAVTWVOnDemandVexil::itemWithEvent(mail),
       KRAVTWVNetServiceVexil::itemWithNetService(
           std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local.")),
       KRAVTWVGroupVexil::itemWithLabelUniqueID("Inner", "i"), test::plainItem("p"), event});
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({third, fourth, mail, backup}));
}

TEST_F(PasteboardWriting, OfAnEmptyGroupIsAnEmptySchedule) {
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({}));
  const auto file = fileNamedBy(group->pasteboardPropertyListForType(kUTTypeFileURL));
  EXPECT_EQ(*platform::readPropertyListFile(file), Value::array({}));
}

TEST_F(PasteboardWriting, OfAGroupWithoutAChildrenArrayIsAnEmptySchedule) {
  group->setChildren(nullptr);
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({}));
  EXPECT_EQ(group->children(), nullptr);
}

TEST_F(PasteboardWriting, OfANetDomainWithItsServicesIsAnEmptySchedule) {
  const auto domain = KRAVTWVNetDomainVexil::itemWithNetDomain("local.");
  domain->addChild(KRAVTWVNetServiceVexil::itemWithNetService(
      std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local.")));
  EXPECT_EQ(decoded(domain->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({}));
  EXPECT_EQ(fileNamedBy(domain->pasteboardPropertyListForType(kUTTypeFileURL)).filename(),
            "local..twschedule");
}

TEST_F(PasteboardWriting, OfAGroupIsNeitherEventNorText) {
  group->addChild(event);
  for (const std::string_view type : {kTWWorkspaceUTIEvent, NSPasteboardTypeString,
                                      std::string_view("other.type"), std::string_view()}) {
    EXPECT_TRUE(group->pasteboardPropertyListForType(type).isAbsent()) << type;
  }
  EXPECT_EQ(logged, Lines{});
  EXPECT_EQ(directories(), 0U);
}

/// When this event is asked, it replaces its neighbours and then takes away the array in which it
/// stands.
class Meddling : public KRAVTWVKind<Meddling, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value representedEvent() const override {
    if (const auto above = parent()) {
      above->children()->back() = test::plainItem("other");
      above->setChildren(nullptr);
    }
    return representedObject();
  }
};

TEST_F(PasteboardWriting, OfAGroupThatIsChangedMeanwhileHasTheEventsThatItBeganWith) {
  group->addChildren({Meddling::itemWithRepresentedObject(mail), event});
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({mail, backup}));
  EXPECT_EQ(group->children(), nullptr);
}

// --- an event

TEST_F(PasteboardWriting, OfAnEventIsItsRecord) {
  const Value data = event->pasteboardPropertyListForType(kTWWorkspaceUTIEvent);
  EXPECT_TRUE(textOf(data).starts_with("bplist00"));
  EXPECT_EQ(decoded(data), backup);
  EXPECT_EQ(decoded(KRAVTWVOnDemandVexil::itemWithEvent(mail)->pasteboardPropertyListForType(
                kTWWorkspaceUTIEvent)),
            mail);
}

TEST_F(PasteboardWriting, OfAnEventAsAScheduleIsAnArrayOfExactlyItsRecord) {
  EXPECT_EQ(decoded(event->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({backup}));
}

TEST_F(PasteboardWriting, OfAnEventAsTextIsItsLabel) {
  EXPECT_EQ(event->pasteboardPropertyListForType(NSPasteboardTypeString), Value("Backup"));
  EXPECT_TRUE(KRAVTWVEventVexil::itemWithEvent(eventRecord("e", {}))
                  ->pasteboardPropertyListForType(NSPasteboardTypeString)
                  .isAbsent());
  EXPECT_EQ(KRAVTWVEventVexil::itemWithEvent(eventRecord("e", 7))
                ->pasteboardPropertyListForType(NSPasteboardTypeString),
            Value(7))
      << "handed on as it is";
}

TEST_F(PasteboardWriting, OfAnEventIsNothingElse) {
  EXPECT_TRUE(event->pasteboardPropertyListForType("other.type").isAbsent());
  EXPECT_TRUE(event->pasteboardPropertyListForType("").isAbsent());
}

TEST_F(PasteboardWriting, ComparesTypesWithoutCase) {
  group->addChild(event);
  const Value schedule = Value::array({backup});
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(upperCase(kTWWorkspaceUTISchedule))),
            schedule);
  EXPECT_EQ(decoded(event->pasteboardPropertyListForType(upperCase(kTWWorkspaceUTISchedule))),
            schedule);
  EXPECT_EQ(decoded(event->pasteboardPropertyListForType(upperCase(kTWWorkspaceUTIEvent))), backup);
  EXPECT_EQ(event->pasteboardPropertyListForType(upperCase(NSPasteboardTypeString)),
            Value("Backup"));
  fileNamedBy(group->pasteboardPropertyListForType(upperCase(kUTTypeFileURL)));
  fileNamedBy(event->pasteboardPropertyListForType(upperCase(kUTTypeFileURL)));
}

TEST_F(PasteboardWriting, KeepsEveryBitOfARecord) {
  const Value record = Value::dictionary({{"big", 9007199254740993},
                                          {"low", INT64_MIN},
                                          {"zero", -0.0},
                                          {"third", platform::Date{1.0 / 3}},
                                          {"data", test::dataOf(std::string_view("\0\xff", 2))},
                                          {kTWEventName, "\u00dcbung \u65e5\u672c \U0001f600"}});
  const auto item = KRAVTWVEventVexil::itemWithEvent(record);
  const Value read = decoded(item->pasteboardPropertyListForType(kTWWorkspaceUTIEvent));
  EXPECT_EQ(read, record);
  EXPECT_EQ(read["big"].integer(), 9007199254740993);
  EXPECT_TRUE(std::signbit(*read["zero"].real()));
}

// --- errors

TEST_F(PasteboardWriting, OfWhatCannotBeEncodedIsAbsentAndLogged) {
  const auto item = KRAVTWVEventVexil::itemWithEvent(unencodable());
  const auto error = [](const Value& value) {
    return platform::writeBinaryPropertyList(value).error().description();
  };
  EXPECT_TRUE(item->pasteboardPropertyListForType(kTWWorkspaceUTIEvent).isAbsent());
  EXPECT_EQ(logged,
            Lines{"KRAVTWVEventVexil serialization error: " + error(item->representedEvent())});
  logged.clear();
  EXPECT_TRUE(item->pasteboardPropertyListForType(kTWWorkspaceUTISchedule).isAbsent());
  EXPECT_EQ(logged, Lines{"KRAVTWVEventVexil serialization error: " +
                          error(Value::array({item->representedEvent()}))});
  logged.clear();
  group->addChildren({event, item});
  EXPECT_TRUE(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule).isAbsent());
  EXPECT_EQ(logged, Lines{"KRAVTWVGroupVexil serialization error: " +
                          error(Value::array({backup, item->representedEvent()}))});
}

TEST_F(PasteboardWriting, LogsTheReceiversOwnClass) {
  const auto demand = KRAVTWVOnDemandVexil::itemWithEvent(unencodable());
  const auto domain = KRAVTWVNetDomainVexil::itemWithNetDomain("local.");
  domain->addChild(demand);
  EXPECT_TRUE(demand->pasteboardPropertyListForType(kTWWorkspaceUTIEvent).isAbsent());
  EXPECT_TRUE(domain->pasteboardPropertyListForType(kTWWorkspaceUTISchedule).isAbsent());
  ASSERT_EQ(logged.size(), 2U);
  EXPECT_TRUE(logged[0].starts_with("KRAVTWVOnDemandVexil serialization error: ")) << logged[0];
  EXPECT_TRUE(logged[1].starts_with("KRAVTWVNetDomainVexil serialization error: ")) << logged[1];
}

TEST_F(PasteboardWriting, OfAFileWhoseScheduleCannotBeEncodedIsAbsentAndLoggedOnce) {
  const auto item = KRAVTWVEventVexil::itemWithEvent(unencodable());
  item->setLabel("unused");
  EXPECT_TRUE(item->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
  EXPECT_EQ(logged.size(), 1U);
  EXPECT_EQ(files(), Lines{});
}

TEST_F(PasteboardWriting, OfAnAbsentEventCannotBeEncoded) {
  // A schedule without it would be another schedule, and its reader could not see that.
  group->addChildren({event, KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
                                 Value::dictionary({{kTWQueuedTriggerTriggerID, "t"}}))});
  EXPECT_TRUE(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule).isAbsent());
  EXPECT_EQ(logged.size(), 1U);
  const auto nothing = KRAVTWVEventVexil::itemWithEvent({});
  EXPECT_TRUE(nothing->pasteboardPropertyListForType(kTWWorkspaceUTIEvent).isAbsent());
  EXPECT_TRUE(nothing->pasteboardPropertyListForType(kTWWorkspaceUTISchedule).isAbsent());
  EXPECT_EQ(logged.size(), 3U);
}

// --- files

TEST_F(PasteboardWriting, OfAnEventNamedBackupIsAFileOfThisNameInANewDirectory) {
  const Value url = event->pasteboardPropertyListForType(kUTTypeFileURL);
  ASSERT_EQ(url.kind(), Value::Kind::data);
  const auto file = fileNamedBy(url);
  EXPECT_EQ(file.filename(), "Backup.twschedule");
  EXPECT_EQ(textOf(url), platform::FileURL::file(file).absoluteString());
  EXPECT_TRUE(textOf(url).starts_with("file:///"));
  EXPECT_EQ(test::contentOf(file),
            textOf(event->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)));
}

TEST_F(PasteboardWriting, OfAGroupAsAFileHoldsExactlyTheBytesOfItsSchedule) {
  group->addChildren({event, KRAVTWVEventVexil::itemWithEvent(mail)});
  const auto file = fileNamedBy(group->pasteboardPropertyListForType(kUTTypeFileURL));
  EXPECT_EQ(file.filename(), "Nightly.twschedule");
  EXPECT_EQ(test::contentOf(file),
            textOf(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)));
}

TEST_F(PasteboardWriting, OfAFileTwiceMakesTwoDirectories) {
  const auto first = fileNamedBy(group->pasteboardPropertyListForType(kUTTypeFileURL));
  const auto second = fileNamedBy(group->pasteboardPropertyListForType(kUTTypeFileURL));
  EXPECT_NE(first.parent_path(), second.parent_path());
  EXPECT_EQ(files(), (Lines{"Nightly.twschedule", "Nightly.twschedule"})) << "none is removed";
  EXPECT_EQ(directories(), 2U);
}

TEST_F(PasteboardWriting, UsesLabelsAsTheyAreForNames) {
  for (const char* label : {"\u00dcbung \u65e5\u672c \U0001f600 100%", "a b", ".", "..", "", "-",
                            "a.twschedule", "line\nbreak", "\\", "~"}) {
    const auto item = KRAVTWVGroupVexil::itemWithLabelUniqueID(label, "g");
    const Value url = item->pasteboardPropertyListForType(kUTTypeFileURL);
    EXPECT_EQ(fileNamedBy(url).filename(), std::string(label) + ".twschedule");
    EXPECT_TRUE(platform::isURL(textOf(url))) << textOf(url);
  }
}

TEST_F(PasteboardWriting, OfALabelThatIsNoFileNameMakesNoFile) {
  // From the fresh directory, the second would lead out of the temporary directory.
  const std::string outside = directory.filename().string() + "-outside";
  for (const Value& label :
       {Value("../x"), Value("../../" + outside), Value("a/b"), Value("/x"), Value("x/"),
        Value("/"), Value(std::string_view("a\0b", 3)), Value(std::string(250, 'x')), Value(),
        Value(7), Value::null(), test::dataOf("x")}) {
    const auto item = KRAVTWVGroupVexil::itemWithLabelUniqueID(label, "g");
    EXPECT_TRUE(item->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent())
        << label.description();
  }
  EXPECT_EQ(files(), Lines{});
  EXPECT_FALSE(fs::exists(directory.parent_path() / (outside + ".twschedule")));
  EXPECT_EQ(logged, Lines{}) << "nothing is said about it";
  const auto unnamed = KRAVTWVEventVexil::itemWithEvent(eventRecord("e", {}));
  EXPECT_TRUE(unnamed->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
}

TEST_F(PasteboardWriting, WithoutATemporaryDirectoryMakesNoFile) {
  std::ofstream(directory / "file") << "no directory";
  use(directory / "file");
  EXPECT_TRUE(group->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
  EXPECT_TRUE(event->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
  EXPECT_EQ(logged, Lines{});
}

// --- subclasses of a host

/// A group with a schedule of its own.
class HostGroup : public KRAVTWVKind<HostGroup, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value pasteboardPropertyListForType(std::string_view type) const override {
    return platform::typeIdentifiersAreEqual(type, kTWWorkspaceUTISchedule)
               ? schedule
               : KRAVTWVKind::pasteboardPropertyListForType(type);
  }
  Value schedule;
};

/// An event whose record stands inside a record of the host's.
class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
  [[nodiscard]] Value representedEvent() const override { return representedObject()["inside"]; }
};

TEST_F(PasteboardWriting, OfAHostsGroupPutsItsOwnScheduleIntoTheFile) {
  const auto item = HostGroup::itemWithLabelUniqueID("Host", "h");
  item->addChild(event);
  item->schedule = test::dataOf("own answer");
  const auto file = fileNamedBy(item->pasteboardPropertyListForType(kUTTypeFileURL));
  EXPECT_EQ(test::contentOf(file), "own answer");
  item->schedule = {};
  EXPECT_TRUE(item->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
  item->schedule = "no data";
  EXPECT_TRUE(item->pasteboardPropertyListForType(kUTTypeFileURL).isAbsent());
  EXPECT_EQ(files(), Lines{"Host.twschedule"});
}

TEST_F(PasteboardWriting, OfAHostsEventReadsItsOwnRecord) {
  const auto item = HostEvent::itemWithEvent(Value::dictionary({{"inside", mail}}));
  EXPECT_EQ(decoded(item->pasteboardPropertyListForType(kTWWorkspaceUTIEvent)), mail);
  EXPECT_EQ(item->pasteboardPropertyListForType(NSPasteboardTypeString), Value("Mail"));
  EXPECT_EQ(fileNamedBy(item->pasteboardPropertyListForType(kUTTypeFileURL)).filename(),
            "Mail.twschedule");
  group->addChild(item);
  EXPECT_EQ(decoded(group->pasteboardPropertyListForType(kTWWorkspaceUTISchedule)),
            Value::array({mail}));
}

TEST_F(PasteboardWriting, OfAHostsClassLogsItsName) {
  const auto item = HostEvent::itemWithEvent(Value::dictionary({{"inside", unencodable()}}));
  EXPECT_TRUE(item->pasteboardPropertyListForType(kTWWorkspaceUTIEvent).isAbsent());
  ASSERT_EQ(logged.size(), 1U);
  EXPECT_TRUE(logged[0].starts_with(item->className() + " serialization error: ")) << logged[0];
  EXPECT_TRUE(item->className().ends_with("HostEvent"));
}

}  // namespace
