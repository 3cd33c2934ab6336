// SPDX-License-Identifier: Apache-2.0
// What is read from a board: by which class, from which type, decoded how.
#include "PasteboardTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/PropertyList.h>

#include <functional>

namespace platform = vexil::platform;

namespace {

using platform::kUTTypeFileURL;
using platform::pasteboardReadingClass;
using test::dataOf;
using test::Lines;
using test::Note;
using test::note;
using test::Pasteboard;
using test::PasteboardReadingOptions;
using test::Value;

/// What the classes below were asked, in order.
Lines& questions() {
  static Lines questions;
  return questions;
}

/// An object made of what was read.
class Read : public platform::Object {
 public:
  Read(const char* name, Value list, std::string_view type)
      : _text(std::string(name) + " of " + std::string(type) + ": " + list.description()) {}
  [[nodiscard]] std::string description() const override { return _text; }

 private:
  std::string _text;
};

/// A class that reads two types as property lists, and refuses the string "refused".
class Lists : public Read {
 public:
  using Read::Read;
  static std::vector<std::string> readableTypesForPasteboard(const Pasteboard* pasteboard) {
    questions().push_back("lists: types of " + (pasteboard ? pasteboard->name() : "none"));
    return {"list", std::string(kUTTypeFileURL)};
  }
  static PasteboardReadingOptions readingOptionsForTypePasteboard(std::string_view type,
                                                                  const Pasteboard* pasteboard) {
    questions().push_back("lists: options of " + std::string(type) + " of " + pasteboard->name());
    return PasteboardReadingOptions::asPropertyList;
  }
  static std::shared_ptr<Lists> initWithPasteboardPropertyListOfType(const Value& list,
                                                                     std::string_view type) {
    return list == Value("refused") ? nullptr : std::make_shared<Lists>("lists", list, type);
  }
};

/// A class that reads text.
class Texts : public Read {
 public:
  using Read::Read;
  static std::vector<std::string> readableTypesForPasteboard(const Pasteboard* /*pasteboard*/) {
    questions().push_back("texts: types");
    return {"text", "list"};
  }
  static PasteboardReadingOptions readingOptionsForTypePasteboard(
      std::string_view /*type*/, const Pasteboard* /*pasteboard*/) {
    return PasteboardReadingOptions::asString;
  }
  static std::shared_ptr<Texts> initWithPasteboardPropertyListOfType(const Value& list,
                                                                     std::string_view type) {
    return std::make_shared<Texts>("texts", list, type);
  }
};

/// A class without options.
class Bytes : public Read {
 public:
  using Read::Read;
  static std::vector<std::string> readableTypesForPasteboard(const Pasteboard* /*pasteboard*/) {
    return {"bytes"};
  }
  static std::shared_ptr<Bytes> initWithPasteboardPropertyListOfType(const Value& list,
                                                                     std::string_view type) {
    return std::make_shared<Bytes>("bytes", list, type);
  }
};

/// A host's subclass, which inherits what it does not redefine.
class HostLists : public Lists {
 public:
  using Lists::Lists;
  static std::shared_ptr<HostLists> initWithPasteboardPropertyListOfType(const Value& list,
                                                                         std::string_view type) {
    return std::make_shared<HostLists>("host", list, type);
  }
};

class PasteboardReading : public testing::Test {
 protected:
  void SetUp() override { questions().clear(); }

  void write(std::vector<Note::Type> types) {
    EXPECT_TRUE(board->writeObjects({note(std::move(types))}));
  }
  [[nodiscard]] Lines read(const std::vector<platform::PasteboardReadingClass>& classes) const {
    Lines lines;
    for (const auto& object : board->readObjects(classes)) {
      lines.push_back(object->description());
    }
    return lines;
  }

  std::shared_ptr<Pasteboard> board = Pasteboard::unnamed();
};

TEST_F(PasteboardReading, MakesAnObjectOfEachItemThatFits) {
  write({{"list", dataOf("(1)")}});
  write({{"other", "x"}});
  write({{"list", dataOf("(2)")}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}),
            (Lines{"lists of list: [\"1\"]", "lists of list: [\"2\"]"}));
  EXPECT_EQ(read({}), Lines{});
}

TEST_F(PasteboardReading, TakesTheFirstClassInTheOrderOfPreference) {
  write({{"text", "t"}, {"list", dataOf("(1)")}});
  write({{"text", "only text"}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>(), pasteboardReadingClass<Texts>()}),
            (Lines{"lists of list: [\"1\"]", "texts of text: \"only text\""}));
  EXPECT_EQ(read({pasteboardReadingClass<Texts>(), pasteboardReadingClass<Lists>()}),
            (Lines{"texts of text: \"t\"", "texts of text: \"only text\""}));
}

TEST_F(PasteboardReading, TakesTheTypeThatTheClassWouldRatherRead) {
  // Whatever the order in which the item has them.
  write({{std::string(kUTTypeFileURL), "file:///a"}, {"list", dataOf("(1)")}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}), Lines{"lists of list: [\"1\"]"});
}

TEST_F(PasteboardReading, ComparesTypesWithoutCase) {
  write({{"LIST", dataOf("(1)")}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}), Lines{"lists of list: [\"1\"]"});
}

TEST_F(PasteboardReading, DecodesAsTheClassSays) {
  write({{"list", dataOf("(1)")}});
  EXPECT_EQ(read({pasteboardReadingClass<Texts>()}), Lines{"texts of list: \"(1)\""});
  write({{"bytes", "ab"}});
  EXPECT_EQ(read({pasteboardReadingClass<Bytes>()}),
            Lines{"bytes of bytes: " + dataOf("ab").description()});
}

TEST_F(PasteboardReading, AsksTheClassForThisBoardAndOnlyWhatItNeeds) {
  write({{"list", dataOf("(1)")}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>(), pasteboardReadingClass<Texts>()}).size(), 1U);
  EXPECT_EQ(questions(), (Lines{"lists: types of ", "lists: options of list of "}));
}

TEST_F(PasteboardReading, PassesOverTypesThatHoldNothing) {
  write({{"list", dataOf("(1")}, {std::string(kUTTypeFileURL), "file:///a"}});
  write({{"list", {}, Note::promised}, {"text", "t"}});
  write({{"list", {}, Note::promised}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>(), pasteboardReadingClass<Texts>()}),
            (Lines{"lists of public.file-url: \"file:///a\"", "texts of text: \"t\""}));
}

TEST_F(PasteboardReading, GoesOnWhenAClassMakesNothing) {
  write({{"list", "refused"}, {std::string(kUTTypeFileURL), "file:///a"}});
  write({{"list", "refused"}, {"text", "t"}});
  write({{"list", "refused"}});
  EXPECT_EQ(read({pasteboardReadingClass<Lists>(), pasteboardReadingClass<Texts>()}),
            (Lines{"lists of public.file-url: \"file:///a\"", "texts of text: \"t\"",
                   "texts of list: \"refused\""}));
}

TEST_F(PasteboardReading, AsksForNoPromiseThatItDoesNotNeed) {
  const auto object =
      note({{"list", dataOf("(1)")}, {std::string(kUTTypeFileURL), "file:///a", Note::promised}});
  EXPECT_TRUE(board->writeObjects({object}));
  object->questions();
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}).size(), 1U);
  EXPECT_EQ(object->questions(), Lines{});
}

TEST_F(PasteboardReading, AsksForThePromiseThatItNeedsOnce) {
  const auto object = note({{std::string(kUTTypeFileURL), dataOf("file:///a"), Note::promised}});
  EXPECT_TRUE(board->writeObjects({object}));
  object->questions();
  const Lines expected{"lists of public.file-url: \"file:///a\""};
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}), expected);
  EXPECT_EQ(read({pasteboardReadingClass<Lists>()}), expected);
  EXPECT_EQ(object->questions(), Lines{"data public.file-url"});
}

TEST_F(PasteboardReading, MakesWhatTheHostsSubclassMakes) {
  write({{"list", dataOf("(1)")}});
  EXPECT_EQ(read({pasteboardReadingClass<HostLists>()}), Lines{"host of list: [\"1\"]"});
  EXPECT_NE(std::dynamic_pointer_cast<HostLists>(
                board->readObjects({pasteboardReadingClass<HostLists>()})[0]),
            nullptr);
}

/// A class that clears the board that it reads from.
class Clearing : public Read {
 public:
  using Read::Read;
  static inline std::shared_ptr<Pasteboard> board;
  static std::vector<std::string> readableTypesForPasteboard(const Pasteboard* /*pasteboard*/) {
    return {"list"};
  }
  static std::shared_ptr<Clearing> initWithPasteboardPropertyListOfType(const Value& list,
                                                                        std::string_view type) {
    board->clearContents();
    return std::make_shared<Clearing>("clearing", list, type);
  }
};

TEST_F(PasteboardReading, GoesOnWithWhatItBeganWhenTheBoardIsClearedMeanwhile) {
  write({{"list", "1"}});
  write({{"list", "2", Note::promised}});
  write({{"list", "3"}});
  Clearing::board = board;
  EXPECT_EQ(read({pasteboardReadingClass<Clearing>()}).size(), 2U) << "the promise was taken back";
  EXPECT_TRUE(board->pasteboardItems().empty());
  Clearing::board.reset();
}

// --- classes whose code changes what is at work

/// What `Meddling` does when it is asked its types, its options, and for an object.
struct Meddler {
  std::function<void()> atTypes;
  std::function<void()> atOptions;
  std::function<void()> atObject;
};
Meddler& meddler() {
  static Meddler meddler;
  return meddler;
}
/// Calls a function that may be replaced or go meanwhile.
void meddle(const std::function<void()>& function) {
  if (const auto held = function) {
    held();
  }
}

/// A class that runs a host's code whenever it is asked.
class Meddling : public Read {
 public:
  using Read::Read;
  static std::vector<std::string> readableTypesForPasteboard(const Pasteboard* pasteboard) {
    EXPECT_EQ(pasteboard->name(), "") << "it is there, whoever let go of it";
    meddle(meddler().atTypes);
    return {"list", "other"};
  }
  static PasteboardReadingOptions readingOptionsForTypePasteboard(std::string_view /*type*/,
                                                                  const Pasteboard* pasteboard) {
    EXPECT_EQ(pasteboard->name(), "");
    meddle(meddler().atOptions);
    return PasteboardReadingOptions::asPropertyList;
  }
  static std::shared_ptr<Meddling> initWithPasteboardPropertyListOfType(const Value& list,
                                                                        std::string_view type) {
    meddle(meddler().atObject);
    // The class makes nothing of the first type, so the reader goes on.
    return type == "list" ? nullptr : std::make_shared<Meddling>("meddling", list, type);
  }
};

class PasteboardMeddling : public PasteboardReading {
 protected:
  void TearDown() override { meddler() = {}; }

  /// Does something at each question in turn. Returns what is read then.
  void atEachQuestion(const std::function<void()>& before, const std::function<void()>& change,
                      const std::function<Lines()>& reading, const Lines& expected) {
    for (std::function<void()> Meddler::*moment :
         {&Meddler::atTypes, &Meddler::atOptions, &Meddler::atObject}) {
      before();
      int calls = 0;
      meddler() = {};
      meddler().*moment = [&] {
        ++calls;
        change();
      };
      EXPECT_EQ(reading(), expected);
      EXPECT_GT(calls, 0);
    }
    meddler() = {};
  }
};

TEST_F(PasteboardMeddling, WithTheListOfClassesChangesNothing) {
  std::vector<platform::PasteboardReadingClass> classes;
  write({{"list", "1"}, {"other", "2"}});
  write({{"list", "3"}, {"text", "4"}});
  for (const bool isReplaced : {false, true}) {
    atEachQuestion(
        [&] {
          classes = {pasteboardReadingClass<Meddling>(), pasteboardReadingClass<Texts>()};
          classes.shrink_to_fit();
        },
        [&] {
          std::vector<platform::PasteboardReadingClass>().swap(classes);
          if (isReplaced) {
            classes.assign(100, pasteboardReadingClass<Bytes>());
          }
        },
        [&] { return read(classes); }, {"meddling of other: \"2\"", "texts of text: \"4\""});
  }
}

TEST_F(PasteboardMeddling, WithTheContentsGoesOnWithWhatWasThere) {
  atEachQuestion(
      [&] {
        board->clearContents();
        write({{"list", "1"}, {"other", "2"}});
        write({{"list", "3"}, {"other", "4"}});
      },
      [&] {
        board->clearContents();
        write({{"other", "new"}});
      },
      [&] { return read({pasteboardReadingClass<Meddling>()}); },
      {"meddling of other: \"2\"", "meddling of other: \"4\""});
}

TEST_F(PasteboardMeddling, MayLetGoOfTheBoard) {
  atEachQuestion(
      [&] {
        board = Pasteboard::unnamed();
        write({{"list", "1"}, {"other", "2"}});
        write({{"list", "3"}, {"other", "4"}});
      },
      [&] { board.reset(); }, [&] { return read({pasteboardReadingClass<Meddling>()}); },
      {"meddling of other: \"2\"", "meddling of other: \"4\""});
}

}  // namespace
