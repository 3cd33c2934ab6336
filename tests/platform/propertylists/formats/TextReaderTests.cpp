// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <array>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Value;
using test::Code;
using test::dataOf;
using test::Line;
using test::reads;
using test::readText;
using test::refused;

TEST(TextPropertyList, RootsOfEveryKind) {
  EXPECT_TRUE(reads(readText("{}"), Value::dictionary({})));
  EXPECT_TRUE(reads(readText("()"), Value::array({})));
  EXPECT_TRUE(reads(readText("<>"), dataOf("")));
  EXPECT_TRUE(reads(readText("word"), "word"));
  EXPECT_TRUE(reads(readText("\"two words\""), "two words"));
  EXPECT_TRUE(reads(readText("''"), ""));
}

TEST(TextPropertyList, SpaceAndCommentsAloneAreAnEmptyDictionary) {
  for (const char* text : {" ", "\n", "// nothing", "/**/", " /* a */ // b\n ", "\xEF\xBB\xBF"}) {
    EXPECT_TRUE(reads(readText(text), Value::dictionary({}))) << text;
  }
}

TEST(TextPropertyList, DictionariesAndArrays) {
  EXPECT_TRUE(reads(readText("{ name = Backup; days = (mon, \"tue\", ); token = <0fbd77 1c>; }"),
                    Value::dictionary({{"name", "Backup"},
                                       {"days", Value::array({"mon", "tue"})},
                                       {"token", dataOf("\x0F\xBD\x77\x1C")}})));
  EXPECT_TRUE(reads(readText("({a=(b);},{},(()),c)"),
                    Value::array({Value::dictionary({{"a", Value::array({"b"})}}),
                                  Value::dictionary({}), Value::array({Value::array({})}), "c"})));
}

TEST(TextPropertyList, NumbersAndWordsAreStrings) {
  EXPECT_TRUE(reads(readText("(1, -2.5, YES, true)"), Value::array({"1", "-2.5", "YES", "true"})));
}

TEST(TextPropertyList, StringsWithoutQuotes) {
  EXPECT_TRUE(reads(readText("a_b$c/d:e.f-g09Z"), "a_b$c/d:e.f-g09Z"));
  EXPECT_TRUE(reads(readText("(http://a.b/c, /d)"), Value::array({"http://a.b/c", "/d"})));
  for (const char* text : {"a+b", "a@b", "a#b", "a\\b", "a\u00e9", "a*b", "a[b", "@", "*"}) {
    EXPECT_TRUE(refused(readText(text), Code::unexpectedCharacter, Line{1})) << text;
  }
}

TEST(TextPropertyList, BothQuotes) {
  EXPECT_TRUE(reads(readText(R"(("it's", 'say "no"', "\"", '\''))"),
                    Value::array({"it's", "say \"no\"", "\"", "'"})));
  EXPECT_TRUE(reads(readText("\"line\nend; // no comment\""), "line\nend; // no comment"));
}

TEST(TextPropertyList, AKeyAloneIsItsOwnValue) {
  EXPECT_TRUE(reads(readText("{ a; \"b c\" ; d = e; }"),
                    Value::dictionary({{"a", "a"}, {"b c", "b c"}, {"d", "e"}})));
}

TEST(TextPropertyList, OfTwoEqualKeysTheLastValueStands) {
  EXPECT_TRUE(
      reads(readText("{ a = 1; b = 2; \"a\" = 3; }"), Value::dictionary({{"a", "3"}, {"b", "2"}})));
}

TEST(TextPropertyList, ADictionaryMayDoWithoutItsBraces) {
  EXPECT_TRUE(reads(readText("a = b;"), Value::dictionary({{"a", "b"}})));
  EXPECT_TRUE(reads(readText("/* one */\n\"a b\" = \"c\"; // two\n\nd = {e = f;};\n/* three */"),
                    Value::dictionary({{"a b", "c"}, {"d", Value::dictionary({{"e", "f"}})}})));
  EXPECT_TRUE(reads(readText("a;"), Value::dictionary({{"a", "a"}})));
  EXPECT_TRUE(reads(readText("\"\\U00e9\" = x;"), Value::dictionary({{"\u00e9", "x"}})));
}

TEST(TextPropertyList, SpaceOfEveryKind) {
  EXPECT_TRUE(reads(readText("\t\n\v\f\r \xE2\x80\xA8\xE2\x80\xA9(\xE2\x80\xA8\"a\"\v,\fb\t)\r\n"),
                    Value::array({"a", "b"})));
}

TEST(TextPropertyList, Comments) {
  EXPECT_TRUE(reads(readText("(a // b\n, /* c\n * */ d /**/ , /***/ e //\r, f // g\xE2\x80\xA8)"),
                    Value::array({"a", "d", "e", "f"})));
  // The star of the beginning is not that of the end.
  EXPECT_TRUE(reads(readText("/*/ a */ b"), "b"));
  EXPECT_TRUE(refused(readText("(a,\n/*/ )"), Code::unterminated, Line{2}));
}

TEST(TextPropertyList, Data) {
  EXPECT_TRUE(reads(readText("<00ff AbCd\n12\t\r\xE2\x80\xA9 34 >"),
                    dataOf(std::string_view("\0\xFF\xAB\xCD\x12\x34", 6))));
}

TEST(TextPropertyList, EscapesOfControlCharacters) {
  EXPECT_TRUE(reads(readText(R"("\a\b\f\n\r\t\v")"), "\a\b\f\n\r\t\v"));
}

TEST(TextPropertyList, EscapesOfOtherCharactersAreThemselves) {
  EXPECT_TRUE(reads(readText(R"("\"\'\\\q\u\x\8\ \?")"), "\"'\\qux8 ?"));
  EXPECT_TRUE(reads(readText("\"a\\\nb\\\u00e9\""), "a\nb\u00e9"));
  // A backslash that is escaped does not escape the quote.
  EXPECT_TRUE(reads(readText(R"(("a\\", "b"))"), Value::array({"a\\", "b"})));
}

/// The characters of the NextStep set from 0x80 on, as published for it.
constexpr std::u32string_view nextStep =
    U"\u00a0\u00c0\u00c1\u00c2\u00c3\u00c4\u00c5\u00c7\u00c8\u00c9\u00ca\u00cb\u00cc\u00cd\u00ce"
    U"\u00cf"
    U"\u00d0\u00d1\u00d2\u00d3\u00d4\u00d5\u00d6\u00d9\u00da\u00db\u00dc\u00dd\u00de\u00b5\u00d7"
    U"\u00f7"
    U"\u00a9\u00a1\u00a2\u00a3\u2044\u00a5\u0192\u00a7\u00a4\u2019\u201c\u00ab\u2039\u203a\ufb01"
    U"\ufb02"
    U"\u00ae\u2013\u2020\u2021\u00b7\u00a6\u00b6\u2022\u201a\u201e\u201d\u00bb\u2026\u2030\u00ac"
    U"\u00bf"
    U"\u00b9\u02cb\u00b4\u02c6\u02dc\u00af\u02d8\u02d9\u00a8\u00b2\u02da\u00b8\u00b3\u02dd\u02db"
    U"\u02c7"
    U"\u2014\u00b1\u00bc\u00bd\u00be\u00e0\u00e1\u00e2\u00e3\u00e4\u00e5\u00e7\u00e8\u00e9\u00ea"
    U"\u00eb"
    U"\u00ec\u00c6\u00ed\u00aa\u00ee\u00ef\u00f0\u00f1\u0141\u00d8\u0152\u00ba\u00f2\u00f3\u00f4"
    U"\u00f5"
    U"\u00f6\u00e6\u00f9\u00fa\u00fb\u0131\u00fc\u00fd\u0142\u00f8\u0153\u00df\u00fe\u00ff\ufffd"
    U"\ufffd";

/// UTF-8 of a character of at most three bytes.
std::string utf8(char32_t character) {
  if (character < 0x80) {
    return {static_cast<char>(character)};
  }
  if (character < 0x800) {
    return {static_cast<char>(0xC0 + character / 64), static_cast<char>(0x80 + character % 64)};
  }
  return {static_cast<char>(0xE0 + character / 4096), static_cast<char>(0x80 + character / 64 % 64),
          static_cast<char>(0x80 + character % 64)};
}

TEST(TextPropertyList, OctalEscapesGoThroughTheNextStepSet) {
  ASSERT_EQ(nextStep.size(), 128U);
  for (unsigned code = 0; code < 256; ++code) {
    const char32_t character = code < 128 ? code : nextStep[code - 128];
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%03o", code);
    EXPECT_TRUE(
        reads(readText("\"a\\" + std::string(digits.data()) + "7\""), "a" + utf8(character) + "7"))
        << code;
  }
}

TEST(TextPropertyList, OctalEscapesOfFewerDigits) {
  for (unsigned code = 0; code < 64; ++code) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), "%o", code);
    EXPECT_TRUE(reads(readText("'\\" + std::string(digits.data()) + "z'"), utf8(code) + "z"))
        << code;
    EXPECT_TRUE(reads(readText("'\\" + std::string(digits.data()) + "8'"), utf8(code) + "8"))
        << code;
  }
}

TEST(TextPropertyList, OctalEscapesAboveAByte) {
  for (const char* text : {"'\n\\400'", "'\n\\777'", "'\n\\4000'"}) {
    EXPECT_TRUE(refused(readText(text), Code::badEscape, Line{2})) << text;
  }
}

TEST(TextPropertyList, HexadecimalEscapesOfEveryUnit) {
  for (char32_t unit = 0; unit < 0x10000; ++unit) {
    std::array<char, 5> digits{};
    std::snprintf(digits.data(), digits.size(), "%04x", static_cast<unsigned>(unit));
    const auto read = readText("'\\U" + std::string(digits.data()) + "'");
    if (unit >= 0xD800 && unit < 0xE000) {
      ASSERT_TRUE(refused(read, Code::badEscape, Line{1})) << digits.data();
    } else {
      ASSERT_TRUE(reads(read, utf8(unit))) << digits.data();
    }
  }
}

TEST(TextPropertyList, HexadecimalEscapesOfFewerAndMoreDigits) {
  EXPECT_TRUE(reads(readText("'\\U9'"), "\t"));
  EXPECT_TRUE(reads(readText("'\\U41g'"), "Ag"));
  EXPECT_TRUE(reads(readText("'\\UE9'"), "\u00e9"));
  EXPECT_TRUE(reads(readText("'\\U3A9 '"), "\u03a9 "));
  EXPECT_TRUE(reads(readText("'\\U00410'"), "A0"));
}

TEST(TextPropertyList, SurrogatePairsAreJoined) {
  EXPECT_TRUE(reads(readText("'\\UD83D\\UDE00'"), "\U0001F600"));
  EXPECT_TRUE(reads(readText("'\\Ud800\\Udc00\\UDBFF\\UDFFF'"), "\U00010000\U0010FFFF"));
}

TEST(TextPropertyList, SurrogatesWithoutPartner) {
  for (const char* text :
       {"'\n\\UD83D'", "'\n\\UDE00'", "'\n\\UDE00\\UD83D'", "'\n\\UD83D\\U0041'", "'\n\\UD83D\\n'",
        "'\n\\UD83Dx'", "'\n\\UD83D\\UD83D\\UDE00'", "'\n\\UD83D\\", "'\n\\UD83D \\UDE00'"}) {
    EXPECT_TRUE(refused(readText(text), Code::badEscape, Line{2})) << text;
  }
}

TEST(TextPropertyList, HexadecimalEscapesWithoutDigits) {
  EXPECT_TRUE(refused(readText("'\\U'"), Code::badEscape, Line{1}));
  EXPECT_TRUE(refused(readText("'\\Ux'"), Code::badEscape, Line{1}));
  EXPECT_TRUE(refused(readText("'\\UD83D\\Ux'"), Code::badEscape, Line{1}));
}

TEST(TextPropertyList, Encodings) {
  EXPECT_TRUE(reads(readText("\xEF\xBB\xBF\"\u00e9\u231b\U0001F600\""), "\u00e9\u231b\U0001F600"));
  const std::u16string units = u"\uFEFF{\"\u00e9\" = \"\U0001F600\";}";
  const Value value = Value::dictionary({{"\u00e9", "\U0001F600"}});
  std::string big;
  std::string little;
  for (const char16_t unit : units) {
    big += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
    little += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
  }
  EXPECT_TRUE(reads(readText(big), value));
  EXPECT_TRUE(reads(readText(little), value));
  EXPECT_TRUE(refused(readText(big + '\0'), Code::badEncoding, Line{1}));
  EXPECT_TRUE(refused(readText(big + "\xD8\x3D"), Code::badEncoding, Line{1}));
  EXPECT_TRUE(refused(readText(little.substr(2)), Code::badEncoding, Line{1}));
}

TEST(TextPropertyList, BytesThatAreNotUTF8) {
  for (const char* text : {"(a,\n\"caf\xE9\")", "(a,\n\"\xC3\")", "(a,\n\"\xC0\xAF\")",
                           "(a,\n\"\xED\xA0\xBD\xED\xB8\x80\")", "(a,\n\"\xF4\x90\x80\x80\")"}) {
    EXPECT_TRUE(refused(readText(text), Code::badEncoding, Line{2})) << text;
  }
}

TEST(TextPropertyList, NoBytes) {
  EXPECT_TRUE(refused(readText(""), Code::noBytes));
}

TEST(TextPropertyList, EntriesWithoutTheirPunctuation) {
  EXPECT_TRUE(refused(readText("{a=b}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{\na=b\n}"), Code::unexpectedCharacter, Line{2}));
  EXPECT_TRUE(refused(readText("{a}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{a=;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{=b;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{a=b;;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{a,b;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{(a)=b;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{<00>=b;}"), Code::unexpectedCharacter, Line{1}));
}

TEST(TextPropertyList, ElementsWithoutTheirPunctuation) {
  EXPECT_TRUE(refused(readText("(a b)"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("(a;)"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("(,)"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("(a,,b)"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("(a}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("{a=(b;}"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("({a=b;),}"), Code::unexpectedCharacter, Line{1}));
}

TEST(TextPropertyList, DataThatIsNotPairsOfDigits) {
  for (const char* text : {"(\n<abc>)", "(\n<zz>)", "(\n<0 f>)", "(\n<0fb d>)", "(\n<0f,1c>)",
                           "(\n<*I5>)", "(\n<a", "(\n<0x10>)", "(\n<0\u00e9>)"}) {
    EXPECT_TRUE(refused(readText(text), Code::badData, Line{2})) << text;
  }
}

TEST(TextPropertyList, InputThatEndsTooSoon) {
  for (const char* text : {"(\n\"a", "(\n'a\"", "(\n/* a",    "(\n/*",     "{\n",        "{\na",
                           "{a\n=",  "{a=\nb",  "{a=b;\n",    "(\n",       "(a\n",       "(a,\n",
                           "a =\n",  "a = b\n", "a = b; c\n", "\"a\n\\",   "(\n\"a\\\"", "<\n",
                           "<ab\n",  "a = {\n", "'\n\\",      "{a=b;\n/*", "a\n/*"}) {
    EXPECT_TRUE(refused(readText(text), Code::unterminated, Line{2})) << text;
  }
}

TEST(TextPropertyList, SomethingBehindTheRoot) {
  for (const char* text : {"{ a = b; }\njunk", "()\n()", "<>\na", "{}\n;", "()\n)", "{}\n\"",
                           "<>\n<>", "{}\n\u00e9"}) {
    EXPECT_TRUE(refused(readText(text), Code::unexpectedCharacter, Line{2})) << text;
  }
  EXPECT_TRUE(refused(readText("{}\n/*"), Code::unterminated, Line{2}));
}

TEST(TextPropertyList, SomethingBehindAStringThatMakesNoDictionary) {
  EXPECT_TRUE(refused(readText("a b"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("a = b; }"), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("\"a\", \"b\""), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText("a = b; ()"), Code::unexpectedCharacter, Line{1}));
}

TEST(TextPropertyList, LinesEndInAnyWay) {
  EXPECT_TRUE(refused(readText("(\r\n\r\n\n\r*"), Code::unexpectedCharacter, Line{5}));
  const auto read = readText("{\n  name = Backup\n  days = ();\n}");
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error().description(), "line 2: a value is not followed by ;");
}

TEST(TextPropertyList, NulIsACharacterOfStringsOnly) {
  EXPECT_TRUE(reads(readText(std::string("'a\0b'", 5)), std::string("a\0b", 3)));
  EXPECT_TRUE(refused(readText(std::string("(a\0)", 4)), Code::unexpectedCharacter, Line{1}));
  EXPECT_TRUE(refused(readText(std::string("a\0", 2)), Code::unexpectedCharacter, Line{1}));
}

}  // namespace
