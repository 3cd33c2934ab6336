// SPDX-License-Identifier: Apache-2.0
// Writing to a board: what it asks and when, what it holds and how long, and what it gives.
#include "PasteboardTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/PropertyList.h>

#include <stdexcept>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::kUTTypeFileURL;
using platform::NSPasteboardTypeString;
using test::dataOf;
using test::Lines;
using test::Note;
using test::note;
using test::Pasteboard;
using test::PasteboardReadingOptions;
using test::PasteboardWritingOptions;
using test::Value;

static_assert(!std::is_copy_constructible_v<Pasteboard>);
static_assert(!std::is_default_constructible_v<Pasteboard>);
static_assert(static_cast<unsigned>(PasteboardWritingOptions::none) == 0);
static_assert(static_cast<unsigned>(PasteboardWritingOptions::promised) == 512);
static_assert(static_cast<unsigned>(PasteboardReadingOptions::asData) == 0);
static_assert(static_cast<unsigned>(PasteboardReadingOptions::asString) == 1);
static_assert(static_cast<unsigned>(PasteboardReadingOptions::asPropertyList) == 2);

TEST(TypeIdentifiers, AreEqualWhateverTheCaseOfTheirLetters) {
  using platform::typeIdentifiersAreEqual;
  EXPECT_TRUE(typeIdentifiersAreEqual("public.file-url", "Public.FILE-url"));
  EXPECT_TRUE(typeIdentifiersAreEqual("", ""));
  EXPECT_FALSE(typeIdentifiersAreEqual("public.file-url", "public.file-ur"));
  EXPECT_FALSE(typeIdentifiersAreEqual("public.file-url", "public.file-url.x"));
  EXPECT_FALSE(typeIdentifiersAreEqual("a-b", "a_b"));
  // Only ASCII letters have a case. "@" and "`", "[" and "{" are as far apart as "A" and "a".
  EXPECT_FALSE(typeIdentifiersAreEqual("\u00e9", "\u00c9"));
  EXPECT_FALSE(typeIdentifiersAreEqual("@[", "`{"));
  EXPECT_FALSE(typeIdentifiersAreEqual("k", "\u212a"));
}

TEST(TypeIdentifiers, OfFilesAndTextAreTheUsualOnes) {
  EXPECT_EQ(kUTTypeFileURL, "public.file-url");
  EXPECT_EQ(NSPasteboardTypeString, "public.utf8-plain-text");
}

// --- boards

TEST(Pasteboard, OfANameIsAlwaysTheSame) {
  const auto board = Pasteboard::named("drag");
  EXPECT_EQ(Pasteboard::named("drag"), board);
  EXPECT_EQ(board->name(), "drag");
  EXPECT_NE(Pasteboard::named("Drag"), board) << "a name is no type";
  EXPECT_NE(Pasteboard::general(), board);
  EXPECT_EQ(Pasteboard::general(), Pasteboard::general());
}

TEST(Pasteboard, WithoutANameIsNobodyElses) {
  const auto board = Pasteboard::unnamed();
  EXPECT_NE(Pasteboard::unnamed(), board);
  EXPECT_NE(Pasteboard::named(""), board);
  EXPECT_EQ(board->name(), "");
  const std::weak_ptr<Pasteboard> seen = Pasteboard::unnamed();
  EXPECT_TRUE(seen.expired());
}

TEST(Pasteboard, WithANameKeepsItsContentsWhileNobodyHoldsIt) {
  Pasteboard::named("kept")->clearContents();
  EXPECT_TRUE(Pasteboard::named("kept")->writeObjects({note({{"t", "text"}})}));
  EXPECT_EQ(Pasteboard::named("kept")->stringForType("t"), Value("text"));
  Pasteboard::named("kept")->clearContents();
}

TEST(Pasteboard, CountsHowOftenItIsCleared) {
  const auto board = Pasteboard::unnamed();
  EXPECT_EQ(board->changeCount(), 0);
  EXPECT_EQ(board->clearContents(), 1);
  EXPECT_TRUE(board->writeObjects({note({{"t", "text"}})}));
  EXPECT_EQ(board->changeCount(), 1);
  EXPECT_EQ(board->clearContents(), 2);
  EXPECT_EQ(board->changeCount(), 2);
  EXPECT_TRUE(board->pasteboardItems().empty());
  EXPECT_TRUE(board->types().empty());
}

// --- writing

TEST(Pasteboard, AsksForEverythingOnceAndTypeByType) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a", "1"}, {"b", "2"}});
  object->expectedBoard = board.get();
  EXPECT_TRUE(board->writeObjects({object}));
  EXPECT_EQ(object->questions(), (Lines{"types", "options a", "data a", "options b", "data b"}));
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_EQ(object->questions(), Lines{});
}

TEST(Pasteboard, AsksForPromisedDataWhenItIsWantedAndThenOnce) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a", "1"}, {"file", "2", Note::promised}, {"c", "3"}});
  EXPECT_TRUE(board->writeObjects({object}));
  EXPECT_EQ(object->questions(),
            (Lines{"types", "options a", "data a", "options file", "options c", "data c"}));
  EXPECT_EQ(board->types(), (Lines{"a", "file", "c"}));
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_EQ(object->questions(), Lines{});

  EXPECT_EQ(board->stringForType("FILE"), Value("2"));
  EXPECT_EQ(object->questions(), Lines{"data file"}) << "as the object itself calls it";
  EXPECT_EQ(board->stringForType("file"), Value("2"));
  EXPECT_EQ(board->dataForType("file"), dataOf("2"));
  EXPECT_EQ(board->propertyListForType("file"), Value("2"));
  EXPECT_EQ(object->questions(), Lines{});
}

TEST(Pasteboard, KnowsAPromiseAmongOtherOptions) {
  const auto board = Pasteboard::unnamed();
  const auto all = static_cast<PasteboardWritingOptions>(0xFFFFU);
  const auto others = static_cast<PasteboardWritingOptions>(0xFFFFU & ~512U);
  const auto object = note({{"a", "1", all}, {"b", "2", others}});
  EXPECT_TRUE(board->writeObjects({object}));
  EXPECT_EQ(object->questions(), (Lines{"types", "options a", "options b", "data b"}));
}

TEST(Pasteboard, HasAnItemForEachObjectInTheirOrder) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"t", "1"}}), note({{"t", "2"}, {"u", "x"}})}));
  EXPECT_TRUE(board->writeObjects({note({{"T", "3"}})}));
  const auto items = board->pasteboardItems();
  ASSERT_EQ(items.size(), 3U);
  EXPECT_EQ(items[0]->stringForType("t"), Value("1"));
  EXPECT_EQ(items[1]->stringForType("t"), Value("2"));
  EXPECT_EQ(items[2]->stringForType("t"), Value("3"));
  EXPECT_EQ(items[1]->types(), (Lines{"t", "u"}));
  EXPECT_EQ(board->types(), (Lines{"t", "u"}));
  EXPECT_EQ(board->stringForType("t"), Value("1")) << "of the first item";
  EXPECT_EQ(board->stringForType("u"), Value("x"));
}

TEST(Pasteboard, TakesTheFirstOfTypesThatAreTheSame) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a.b", "1"}, {"A.B", "2"}, {"c", "3"}});
  EXPECT_TRUE(board->writeObjects({object}));
  EXPECT_EQ(board->types(), (Lines{"a.b", "c"}));
  EXPECT_EQ(board->stringForType("A.b"), Value("1"));
  EXPECT_EQ(object->questions(),
            (Lines{"types", "options a.b", "data a.b", "options c", "data c"}));
}

TEST(Pasteboard, ListsNoTypeThatNothingCameFor) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"a", {}}, {"b", "2"}, {"c", {}, Note::promised}})}));
  EXPECT_EQ(board->types(), (Lines{"b", "c"}));
  EXPECT_TRUE(board->dataForType("c").isAbsent());
  EXPECT_EQ(board->types(), (Lines{"b", "c"})) << "whatever came of the promise";
  EXPECT_TRUE(board->dataForType("a").isAbsent());
  EXPECT_TRUE(board->dataForType("unknown").isAbsent());
}

TEST(Pasteboard, HasNoItemForAnObjectWithoutContent) {
  const auto board = Pasteboard::unnamed();
  EXPECT_FALSE(board->writeObjects({note({}), note({{"a", {}}}), note({{"b", "2"}})}));
  EXPECT_EQ(board->pasteboardItems().size(), 1U);
  EXPECT_EQ(board->types(), Lines{"b"});
  EXPECT_TRUE(board->writeObjects({}));
}

TEST(Pasteboard, TakesNoNullPointer) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a", "1"}});
  EXPECT_THROW(board->writeObjects({object, nullptr}), platform::InvalidArgument);
  EXPECT_EQ(object->questions(), Lines{});
  EXPECT_TRUE(board->pasteboardItems().empty());
}

// --- kinds of content

TEST(PasteboardContent, OfDataIsItsBytes) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"t", dataOf("caf\u00e9")}, {"u", dataOf("\xff")}})}));
  EXPECT_EQ(board->dataForType("t"), dataOf("caf\u00e9"));
  EXPECT_EQ(board->stringForType("t"), Value("caf\u00e9"));
  EXPECT_EQ(board->dataForType("u"), dataOf("\xff"));
  EXPECT_TRUE(board->stringForType("u").isAbsent()) << "no UTF-8";
}

TEST(PasteboardContent, OfAStringIsTheString) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"t", "(1, caf\u00e9)"}})}));
  EXPECT_EQ(board->dataForType("t"), dataOf("(1, caf\u00e9)"));
  EXPECT_EQ(board->stringForType("t"), Value("(1, caf\u00e9)"));
  EXPECT_EQ(board->propertyListForType("t"), Value("(1, caf\u00e9)"));
}

TEST(PasteboardContent, OfAnotherPropertyListIsInTheBinaryFormat) {
  const auto board = Pasteboard::unnamed();
  const Value list = Value::dictionary({{"a", Value::array({1, "x", 2.5})}});
  EXPECT_TRUE(board->writeObjects({note({{"t", list}, {"n", 7}})}));
  EXPECT_EQ(board->propertyListForType("t"), list);
  EXPECT_EQ(board->propertyListForType("n"), Value(7));
  EXPECT_EQ(board->dataForType("t"), Value::data(*platform::writeBinaryPropertyList(list)));
}

TEST(PasteboardContent, ThatIsNoPropertyListIsNone) {
  const auto board = Pasteboard::unnamed();
  const std::shared_ptr<Note> object = note({});
  EXPECT_FALSE(board->writeObjects(
      {note({{"a", Value::null()}, {"b", Value(object)}, {"c", Value::array({Value(object)})}})}));
  EXPECT_TRUE(board->types().empty());
}

TEST(PasteboardContent, IsDecodedFromAnyFormat) {
  const auto board = Pasteboard::unnamed();
  const Value list = Value::array({"1", "x"});
  EXPECT_TRUE(board->writeObjects(
      {note({{"binary", Value::data(*platform::writeBinaryPropertyList(list))},
             {"xml", dataOf("<plist><array><string>1</string><string>x</string></array></plist>")},
             {"text", dataOf("(1, x)")},
             {"none", dataOf("(1, x")},
             {"nothing", dataOf("")}})}));
  EXPECT_EQ(board->propertyListForType("binary"), list);
  EXPECT_EQ(board->propertyListForType("xml"), list);
  EXPECT_EQ(board->propertyListForType("text"), list);
  EXPECT_TRUE(board->propertyListForType("none").isAbsent());
  EXPECT_TRUE(board->propertyListForType("nothing").isAbsent());
}

/// What a board reads as a property list from bytes of a type.
Value decoded(std::string_view type, std::string_view bytes) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{std::string(type), dataOf(bytes)}})}));
  return board->propertyListForType(type);
}

TEST(PasteboardContent, ThatIsTheURLOfAFileIsDecodedAsAString) {
  // In the text format of property lists the second is a comment, and so an empty dictionary.
  EXPECT_EQ(decoded(kUTTypeFileURL, "file:///a%20b"), Value("file:///a%20b"));
  EXPECT_EQ(decoded(kUTTypeFileURL, "//localhost/a"), Value("//localhost/a"));
  EXPECT_EQ(decoded("PUBLIC.File-URL", "file:///a"), Value("file:///a"));
  EXPECT_EQ(decoded(kUTTypeFileURL, "file:///a b"), Value("file:///a b"));
  EXPECT_TRUE(decoded(kUTTypeFileURL, "file:///\xff").isAbsent());
}

TEST(PasteboardContent, ThatIsTheURLOfAFileMayBeAPropertyListToo) {
  EXPECT_EQ(decoded(kUTTypeFileURL, "\"file:///a b\""), Value("file:///a b"));
  EXPECT_EQ(decoded(kUTTypeFileURL, "<plist><string>file:///a</string></plist>"),
            Value("file:///a"));
  const auto bytes = *platform::writeBinaryPropertyList("file:///a");
  EXPECT_EQ(decoded(kUTTypeFileURL, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}),
            Value("file:///a"));
}

TEST(PasteboardContent, ThatIsTextIsDecodedAsAString) {
  EXPECT_EQ(decoded(NSPasteboardTypeString, "(1, x)"), Value("(1, x)"));
  EXPECT_EQ(decoded(NSPasteboardTypeString, ""), Value(""));
  EXPECT_TRUE(decoded(NSPasteboardTypeString, "\xff").isAbsent());
}

// --- ownership

TEST(PasteboardOwnership, HoldsNoObjectThatHasGivenEverything) {
  const auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1"}});
  const std::weak_ptr<Note> seen = object;
  EXPECT_TRUE(board->writeObjects({std::move(object)}));
  EXPECT_TRUE(seen.expired());
  EXPECT_EQ(board->stringForType("a"), Value("1"));
}

TEST(PasteboardOwnership, HoldsAnObjectUntilItsLastPromiseWasAskedFor) {
  const auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1", Note::promised}, {"b", "2", Note::promised}});
  const std::weak_ptr<Note> seen = object;
  EXPECT_TRUE(board->writeObjects({std::move(object)}));
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_FALSE(seen.expired());
  EXPECT_EQ(board->stringForType("b"), Value("2"));
  EXPECT_TRUE(seen.expired());
}

TEST(PasteboardOwnership, LetsGoOfAnObjectWhenItIsClearedOrGone) {
  auto board = Pasteboard::unnamed();
  for (const bool isCleared : {true, false}) {
    auto object = note({{"a", "1", Note::promised}});
    const std::weak_ptr<Note> seen = object;
    EXPECT_TRUE(board->writeObjects({std::move(object)}));
    EXPECT_FALSE(seen.expired());
    isCleared ? static_cast<void>(board->clearContents()) : board.reset();
    EXPECT_TRUE(seen.expired());
  }
}

TEST(PasteboardOwnership, OfAnItemThatSomebodyHoldsEndsWhenTheBoardIsCleared) {
  const auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1"}, {"b", "2", Note::promised}, {"c", "3", Note::promised}});
  const std::weak_ptr<Note> seen = object;
  EXPECT_TRUE(board->writeObjects({std::move(object)}));
  const auto item = board->pasteboardItems()[0];
  EXPECT_EQ(item->stringForType("b"), Value("2"));
  board->clearContents();
  EXPECT_TRUE(seen.expired());
  EXPECT_EQ(item->stringForType("a"), Value("1"));
  EXPECT_EQ(item->stringForType("b"), Value("2"));
  EXPECT_TRUE(item->stringForType("c").isAbsent());
  EXPECT_EQ(item->types(), (Lines{"a", "b", "c"}));
}

// --- re-entrancy and errors

TEST(PasteboardReentrancy, OfAnObjectThatClearsTheBoardWhileItIsWritten) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"before", "x"}})}));
  const auto object = note({{"a", "1"}});
  object->whenAskedForData = [&](auto) { board->clearContents(); };
  EXPECT_FALSE(board->writeObjects({object, note({{"b", "2"}})}));
  EXPECT_TRUE(board->types().empty());
  EXPECT_EQ(board->changeCount(), 1);
}

TEST(PasteboardReentrancy, OfAnObjectThatWritesWhileItIsWritten) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a", "1"}});
  object->whenAskedForData = [&](auto) {
    EXPECT_TRUE(board->writeObjects({note({{"inner", "x"}})}));
  };
  EXPECT_TRUE(board->writeObjects({object}));
  EXPECT_EQ(board->types(), (Lines{"inner", "a"}));
}

TEST(PasteboardReentrancy, OfAnObjectThatChangesTheArrayBeingWritten) {
  const auto board = Pasteboard::unnamed();
  std::vector<std::shared_ptr<const platform::PasteboardWriting>> objects;
  const auto object = note({{"a", "1"}});
  object->whenAskedForData = [&](auto) { objects.clear(); };
  objects = {object, note({{"b", "2"}})};
  EXPECT_TRUE(board->writeObjects(objects));
  EXPECT_EQ(board->types(), (Lines{"a", "b"}));
}

TEST(PasteboardReentrancy, OfAnObjectThatClearsTheBoardWhenItsPromiseIsAskedFor) {
  const auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1", Note::promised}, {"b", "2", Note::promised}});
  object->whenAskedForData = [&](auto) { board->clearContents(); };
  EXPECT_TRUE(board->writeObjects({object}));
  object.reset();
  const auto item = board->pasteboardItems()[0];
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_TRUE(board->types().empty());
  EXPECT_EQ(item->stringForType("a"), Value("1"));
  EXPECT_TRUE(item->stringForType("b").isAbsent());
}

TEST(PasteboardReentrancy, OfAnObjectThatAsksForItsOwnPromise) {
  const auto board = Pasteboard::unnamed();
  const auto object = note({{"a", "1", Note::promised}, {"b", "2", Note::promised}});
  Lines inside;
  object->whenAskedForData = [&](auto) {
    object->whenAskedForData = {};
    inside.push_back(board->stringForType("a").displayText());
    inside.push_back(board->stringForType("b").displayText());
  };
  EXPECT_TRUE(board->writeObjects({object}));
  object->questions();
  EXPECT_EQ(board->stringForType("a"), Value("1"));
  EXPECT_EQ(inside, (Lines{"(null)", "2"}));
  EXPECT_EQ(object->questions(), (Lines{"data a", "data b"}));
}

TEST(PasteboardReentrancy, OfAnObjectThatClearsTheBoardAsItGoes) {
  const auto board = Pasteboard::unnamed();
  struct Clearing : Note {
    explicit Clearing(std::shared_ptr<Pasteboard> cleared)
        : Note({{"a", "1", promised}}), board(std::move(cleared)) {}
    ~Clearing() override { board->clearContents(); }
    std::shared_ptr<Pasteboard> board;
  };
  EXPECT_TRUE(
      board->writeObjects({std::make_shared<Clearing>(board), std::make_shared<Clearing>(board)}));
  EXPECT_EQ(board->clearContents(), 1);
  EXPECT_EQ(board->changeCount(), 3);
}

/// An object that lets go of something when it is asked one of its questions.
class LettingGo : public Note {
 public:
  LettingGo(std::string question, std::function<void()> letGo)
      : Note({{"a", "1"}, {"b", "2", promised}, {"c", "3", promised}}),
        _question(std::move(question)),
        _letGo(std::move(letGo)) {}
  std::vector<std::string> writableTypesForPasteboard(const Pasteboard* pasteboard) const override {
    letGoAt("types");
    return Note::writableTypesForPasteboard(pasteboard);
  }
  PasteboardWritingOptions writingOptionsForTypePasteboard(
      std::string_view type, const Pasteboard* pasteboard) const override {
    letGoAt("options");
    return Note::writingOptionsForTypePasteboard(type, pasteboard);
  }
  Value pasteboardPropertyListForType(std::string_view type) const override {
    letGoAt("data");
    return Note::pasteboardPropertyListForType(type);
  }

 private:
  void letGoAt(std::string_view question) const {
    if (question == _question) {
      // A copy, because this object may be destroyed.
      const auto letGo = _letGo;
      letGo();
    }
  }
  std::string _question;
  std::function<void()> _letGo;
};

TEST(PasteboardReentrancy, OfAnObjectThatLetsGoOfTheBoardAndItselfWhileItIsWritten) {
  for (const char* question : {"types", "options", "data"}) {
    auto board = Pasteboard::unnamed();
    const std::weak_ptr<Pasteboard> seen = board;
    std::vector<std::shared_ptr<const platform::PasteboardWriting>> objects;
    objects.push_back(std::make_shared<LettingGo>(question, [&] {
      board.reset();
      objects.clear();
    }));
    EXPECT_TRUE(board->writeObjects(objects)) << question;
    EXPECT_TRUE(seen.expired()) << question;
  }
}

TEST(PasteboardReentrancy, OfAnObjectThatLetsGoOfTheBoardAndTheItemWhenItsPromiseIsAskedFor) {
  using Question = Value (platform::PasteboardItem::*)(std::string_view);
  for (const Question ask :
       {&platform::PasteboardItem::dataForType, &platform::PasteboardItem::stringForType,
        &platform::PasteboardItem::propertyListForType}) {
    for (const bool isCleared : {false, true}) {
      auto board = Pasteboard::unnamed();
      std::shared_ptr<platform::PasteboardItem> item;
      auto type = std::make_unique<std::string>(kUTTypeFileURL);
      auto object = note({{*type, dataOf("(2)"), Note::promised}, {"c", "3", Note::promised}});
      object->whenAskedForData = [&](auto) {
        if (isCleared) {
          board->clearContents();
        }
        board.reset();
        item.reset();
        type.reset();
      };
      EXPECT_TRUE(board->writeObjects({std::move(object)}));
      item = board->pasteboardItems()[0];
      const bool isData = ask == &platform::PasteboardItem::dataForType;
      EXPECT_EQ((item.get()->*ask)(*type), isData ? dataOf("(2)") : Value("(2)"));
      EXPECT_EQ(item, nullptr);
    }
  }
}

TEST(PasteboardReentrancy, OfAnObjectThatLetsGoOfTheBoardThatIsAsked) {
  auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1", Note::promised}, {"b", "2", Note::promised}});
  object->whenAskedForData = [&](auto) { board.reset(); };
  EXPECT_TRUE(board->writeObjects({std::move(object)}));
  EXPECT_EQ(board.get()->stringForType("a"), Value("1"));
  EXPECT_EQ(board, nullptr);
}

TEST(PasteboardErrors, OfAnObjectLeaveTheBoardAsItWas) {
  const auto board = Pasteboard::unnamed();
  EXPECT_TRUE(board->writeObjects({note({{"before", "x"}})}));
  const auto object = note({{"a", "1"}});
  object->whenAskedForData = [](auto) { throw std::runtime_error("no data"); };
  EXPECT_THROW(board->writeObjects({note({{"first", "1"}}), object}), std::runtime_error);
  EXPECT_EQ(board->types(), Lines{"before"});
}

TEST(PasteboardErrors, OfAPromiseMakeItComeToNothing) {
  const auto board = Pasteboard::unnamed();
  auto object = note({{"a", "1", Note::promised}});
  object->whenAskedForData = [](auto) { throw std::runtime_error("no data"); };
  const std::weak_ptr<Note> seen = object;
  EXPECT_TRUE(board->writeObjects({std::move(object)}));
  EXPECT_THROW(static_cast<void>(board->dataForType("a")), std::runtime_error);
  EXPECT_TRUE(board->dataForType("a").isAbsent());
  EXPECT_TRUE(seen.expired());
}

}  // namespace
