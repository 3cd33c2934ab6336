// SPDX-License-Identifier: Apache-2.0
// Items that go to a pasteboard and come back from it.
#include "PasteboardTesting.h"

namespace platform = vexil::platform;

namespace {

namespace fs = std::filesystem;
using platform::kUTTypeFileURL;
using platform::NSPasteboardTypeString;
using platform::Pasteboard;
using platform::pasteboardReadingClass;
using platform::Value;
using test::eventRecord;
using test::identifiers;
using test::Lines;
using test::textOf;

const Value backup = eventRecord("e1", "Backup", true);
const Value mail = eventRecord("e2", "Mail");

class PasteboardExchange : public test::Exchange {
 protected:
  [[nodiscard]] std::vector<std::shared_ptr<KRAVTWVItemVexil>> read(
      const std::vector<platform::PasteboardReadingClass>& classes) const {
    std::vector<std::shared_ptr<KRAVTWVItemVexil>> items;
    for (const auto& object : board->readObjects(classes)) {
      items.push_back(std::dynamic_pointer_cast<KRAVTWVItemVexil>(object));
    }
    return items;
  }

  const std::shared_ptr<Pasteboard> board = Pasteboard::unnamed();
  const std::shared_ptr<KRAVTWVEventVexil> event = KRAVTWVEventVexil::itemWithEvent(backup);
  const std::shared_ptr<KRAVTWVGroupVexil> group =
      KRAVTWVGroupVexil::itemWithLabelUniqueID("Nightly", "g");
};

TEST_F(PasteboardExchange, OfAnEventBringsItBack) {
  EXPECT_TRUE(board->writeObjects({event}));
  EXPECT_EQ(board->types(), event->writableTypesForPasteboard(nullptr));
  const auto items = read({pasteboardReadingClass<KRAVTWVEventVexil>()});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_NE(items[0], event);
  EXPECT_TRUE(items[0]->isEqual(*event));
  EXPECT_EQ(items[0]->className(), "KRAVTWVEventVexil");
  EXPECT_EQ(directories(), 0U) << "no file for somebody who takes the record";
}

TEST_F(PasteboardExchange, OfAGroupBringsItsEventsBack) {
  group->addChildren({event, KRAVTWVOnDemandVexil::itemWithEvent(mail)});
  EXPECT_TRUE(board->writeObjects({group}));
  const auto items = read({pasteboardReadingClass<KRAVTWVGroupVexil>()});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(identifiers(*items[0]->children()), "[e1, e2]");
  EXPECT_EQ(items[0]->label(), Value(kTWWorkspaceUTISchedule));
  EXPECT_EQ(directories(), 0U);
}

TEST_F(PasteboardExchange, TakesAnEventForAScheduleWhereGroupsArePreferred) {
  EXPECT_TRUE(board->writeObjects({event}));
  const auto items = read(
      {pasteboardReadingClass<KRAVTWVGroupVexil>(), pasteboardReadingClass<KRAVTWVEventVexil>()});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(items[0]->className(), "KRAVTWVGroupVexil");
  EXPECT_EQ(identifiers(*items[0]->children()), "[e1]");
}

TEST_F(PasteboardExchange, OfAnEventAndAGroupReadsEachAsWhatItIs) {
  group->addChild(KRAVTWVEventVexil::itemWithEvent(mail));
  EXPECT_TRUE(board->writeObjects({event, group}));
  const auto items = read(
      {pasteboardReadingClass<KRAVTWVEventVexil>(), pasteboardReadingClass<KRAVTWVGroupVexil>()});
  ASSERT_EQ(items.size(), 2U);
  EXPECT_EQ(items[0]->className(), "KRAVTWVEventVexil");
  EXPECT_EQ(items[1]->className(), "KRAVTWVGroupVexil");
}

TEST_F(PasteboardExchange, WritesAFileOnlyWhenSomebodyWantsItAndThenOnce) {
  group->addChild(event);
  EXPECT_TRUE(board->writeObjects({group, event}));
  EXPECT_EQ(directories(), 0U);
  EXPECT_FALSE(board->dataForType(kTWWorkspaceUTISchedule).isAbsent());
  EXPECT_EQ(directories(), 0U);

  const Value url = board->dataForType(kUTTypeFileURL);
  EXPECT_EQ(fileNamedBy(url).filename(), "Nightly.twschedule");
  EXPECT_EQ(directories(), 1U);
  EXPECT_EQ(board->dataForType("PUBLIC.FILE-URL"), url);
  EXPECT_EQ(board->propertyListForType(kUTTypeFileURL), Value(textOf(url)));
  EXPECT_EQ(directories(), 1U);

  EXPECT_EQ(fileNamedBy(board->pasteboardItems()[1]->dataForType(kUTTypeFileURL)).filename(),
            "Backup.twschedule");
  EXPECT_EQ(directories(), 2U);
}

TEST_F(PasteboardExchange, WritesTheScheduleAsItIsWhenTheFileIsWanted) {
  EXPECT_TRUE(board->writeObjects({group}));
  group->addChild(event);
  EXPECT_EQ(test::decoded(board->dataForType(kTWWorkspaceUTISchedule)), Value::array({}));
  const auto file = fileNamedBy(board->dataForType(kUTTypeFileURL));
  EXPECT_EQ(*platform::readPropertyListFile(file), Value::array({backup}));
}

TEST_F(PasteboardExchange, OfAGroupInTwoDragsWritesTwoFiles) {
  EXPECT_TRUE(board->writeObjects({group}));
  const auto first = fileNamedBy(board->dataForType(kUTTypeFileURL));
  board->clearContents();
  EXPECT_TRUE(board->writeObjects({group}));
  const auto second = fileNamedBy(board->dataForType(kUTTypeFileURL));
  EXPECT_NE(first.parent_path(), second.parent_path());
  EXPECT_TRUE(fs::exists(first) && fs::exists(second)) << "they are the consumers'";
}

TEST_F(PasteboardExchange, ThroughAFileBringsTheEventsBack) {
  group->addChildren({event, KRAVTWVEventVexil::itemWithEvent(mail)});
  group->setLabel("\u00dcbung 100% #1?");
  EXPECT_TRUE(board->writeObjects({group}));
  const Value url = board->propertyListForType(kUTTypeFileURL);
  const auto read = KRAVTWVGroupVexil::initWithPasteboardPropertyListOfType(url, kUTTypeFileURL);
  EXPECT_EQ(identifiers(*read->children()), "[e1, e2]");
  EXPECT_EQ(logged, Lines{});
}

/// A file of the file manager's on the board.
class DroppedFile : public platform::PasteboardWriting {
 public:
  explicit DroppedFile(std::string url) : _url(std::move(url)) {}
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const Pasteboard* /*pasteboard*/) const override {
    return {"Public.File-Url"};
  }
  [[nodiscard]] Value pasteboardPropertyListForType(std::string_view /*type*/) const override {
    return test::dataOf(_url);
  }

 private:
  std::string _url;
};

TEST_F(PasteboardExchange, ReadsAFileThatIsDropped) {
  const std::string url = file("week 1.txt", "( { kTWEventUniqueID = e7; } )");
  EXPECT_TRUE(board->writeObjects({std::make_shared<DroppedFile>(url)}));
  const auto items = read(
      {pasteboardReadingClass<KRAVTWVEventVexil>(), pasteboardReadingClass<KRAVTWVGroupVexil>()});
  ASSERT_EQ(items.size(), 1U);
  EXPECT_EQ(identifiers(*items[0]->children()), "[e7]");
  EXPECT_EQ(items[0]->label(), Value("public.file-url"));
  EXPECT_EQ(logged, Lines{});
}

TEST_F(PasteboardExchange, OffersAnEventsTextToWhoeverUnderstandsNothingElse) {
  EXPECT_TRUE(board->writeObjects({event}));
  EXPECT_EQ(board->stringForType(NSPasteboardTypeString), Value("Backup"));
  EXPECT_EQ(textOf(board->dataForType(NSPasteboardTypeString)), "Backup");
}

TEST_F(PasteboardExchange, OffersNoDataThatCannotBeEncoded) {
  const auto broken = KRAVTWVEventVexil::itemWithEvent(
      Value::dictionary({{kTWEventName, "Broken"}, {"x", Value::null()}}));
  EXPECT_TRUE(board->writeObjects({broken}));
  EXPECT_EQ(board->types(), (Lines{"public.file-url", "public.utf8-plain-text"}));
  EXPECT_EQ(logged.size(), 2U) << "one for each of the two types of data";
  EXPECT_TRUE(board->dataForType(kUTTypeFileURL).isAbsent());
  EXPECT_EQ(logged.size(), 3U);
}

/// A host's kinds, which need nothing but this to be exchanged.
class HostGroup : public KRAVTWVKind<HostGroup, KRAVTWVGroupVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};
class HostEvent : public KRAVTWVKind<HostEvent, KRAVTWVEventVexil> {
 public:
  using KRAVTWVKind::KRAVTWVKind;
};

TEST_F(PasteboardExchange, ReadsKindsOfAHost) {
  EXPECT_TRUE(board->writeObjects({HostEvent::itemWithEvent(mail)}));
  const auto readEvent = std::dynamic_pointer_cast<HostEvent>(
      board->readObjects({pasteboardReadingClass<HostEvent>()}).at(0));
  ASSERT_NE(readEvent, nullptr);
  EXPECT_EQ(readEvent->representedObject(), mail);
  const auto readGroup = std::dynamic_pointer_cast<HostGroup>(
      board->readObjects({pasteboardReadingClass<HostGroup>()}).at(0));
  ASSERT_NE(readGroup, nullptr);
  EXPECT_EQ(identifiers(*readGroup->children()), "[e2]");
}

TEST_F(PasteboardExchange, KeepsAnItemOnlyAsLongAsItsFileIsPromised) {
  auto item = KRAVTWVEventVexil::itemWithEvent(backup);
  const std::weak_ptr<KRAVTWVEventVexil> seen = item;
  EXPECT_TRUE(board->writeObjects({std::move(item)}));
  EXPECT_FALSE(seen.expired());
  fileNamedBy(board->dataForType(kUTTypeFileURL));
  EXPECT_TRUE(seen.expired());
}

}  // namespace
