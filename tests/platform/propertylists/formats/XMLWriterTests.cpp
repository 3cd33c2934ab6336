// SPDX-License-Identifier: Apache-2.0
// What the XML writer makes of each kind of value, character for character.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::PropertyListLimits;
using platform::Value;
using test::Code;
using test::dataOf;
using test::reads;
using test::readXML;
using test::repeated;
using test::xmlFile;

const std::string begin = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
const std::string end = "</plist>\n";

/// Whether a value is written as this element, and read back the same.
testing::AssertionResult writesAs(const Value& value, const std::string& element) {
  const std::string file = xmlFile(value);
  if (file != begin + element + "\n" + end) {
    return testing::AssertionFailure() << "other text: " << file;
  }
  return reads(readXML(file), value);
}

TEST(XMLPropertyListWriter, EveryKindOfValueOnALineOfItsOwn) {
  const Value value =
      Value::dictionary({{"name", "Backup"},
                         {"enabled", true},
                         {"paused", false},
                         {"days", Value::array({1, Value::array({}), Value::dictionary({})})},
                         {"interval", 0.5},
                         {"start", Date{0}},
                         {"token", dataOf("\x0F\xBD")}});
  EXPECT_TRUE(writesAs(value,
                       "<dict>\n"
                       "\t<key>name</key>\n"
                       "\t<string>Backup</string>\n"
                       "\t<key>enabled</key>\n"
                       "\t<true/>\n"
                       "\t<key>paused</key>\n"
                       "\t<false/>\n"
                       "\t<key>days</key>\n"
                       "\t<array>\n"
                       "\t\t<integer>1</integer>\n"
                       "\t\t<array/>\n"
                       "\t\t<dict/>\n"
                       "\t</array>\n"
                       "\t<key>interval</key>\n"
                       "\t<real>0.5</real>\n"
                       "\t<key>start</key>\n"
                       "\t<date>2001-01-01T00:00:00Z</date>\n"
                       "\t<key>token</key>\n"
                       "\t<data>D70=</data>\n"
                       "</dict>"));
}

TEST(XMLPropertyListWriter, EmptyContainersAndLeaves) {
  EXPECT_TRUE(writesAs(Value::array({}), "<array/>"));
  EXPECT_TRUE(writesAs(Value::dictionary({}), "<dict/>"));
  EXPECT_TRUE(writesAs("", "<string></string>"));
  EXPECT_TRUE(writesAs(dataOf(""), "<data></data>"));
  EXPECT_TRUE(writesAs(Value::dictionary({{"", 1}}),
                       "<dict>\n\t<key></key>\n\t<integer>1</integer>\n</dict>"));
}

TEST(XMLPropertyListWriter, Integers) {
  for (const auto& [integer, text] :
       {std::pair(Value(0), "0"), std::pair(Value(-1), "-1"), std::pair(Value(65536), "65536"),
        std::pair(Value(INT64_MAX), "9223372036854775807"),
        std::pair(Value(INT64_MIN), "-9223372036854775808"),
        std::pair(Value(std::uint64_t{1} << 63), "9223372036854775808"),
        std::pair(Value(UINT64_MAX), "18446744073709551615")}) {
    EXPECT_TRUE(writesAs(integer, "<integer>" + std::string(text) + "</integer>"));
  }
}

TEST(XMLPropertyListWriter, RealsHaveTheDigitsTheyNeed) {
  for (const auto& [real, text] :
       {std::pair(0.0, "0"), std::pair(-0.0, "-0"), std::pair(2.0, "2"), std::pair(0.1, "0.1"),
        std::pair(-1.5, "-1.5"), std::pair(1e308, "1e+308"), std::pair(5e-324, "5e-324"),
        std::pair(0.30000000000000004, "0.30000000000000004"), std::pair(HUGE_VAL, "inf"),
        std::pair(-HUGE_VAL, "-inf"), std::pair(std::nan(""), "nan")}) {
    EXPECT_TRUE(writesAs(real, "<real>" + std::string(text) + "</real>"));
  }
}

TEST(XMLPropertyListWriter, WhichNaNItWasIsNotKept) {
  for (const std::uint64_t bits : {0xFFF8000000000000U, 0x7FF8000000000001U, 0x7FF0000000000001U}) {
    EXPECT_TRUE(reads(readXML(xmlFile(std::bit_cast<double>(bits))), std::nan("")));
  }
}

TEST(XMLPropertyListWriter, Dates) {
  for (const auto& [seconds, text] :
       {std::pair(0.0, "2001-01-01T00:00:00Z"), std::pair(-1.0, "2000-12-31T23:59:59Z"),
        std::pair(-978307201.0, "1969-12-31T23:59:59Z"),
        std::pair(3155760000.0, "2101-01-02T00:00:00Z"),
        std::pair(788918400.0 + 59 * 86400, "2026-03-01T00:00:00Z"),
        std::pair(-27216000.0, "2000-02-21T00:00:00Z"),
        std::pair(-26524800.0, "2000-02-29T00:00:00Z"),
        std::pair(-63145612800.0, "-0001-12-31T00:00:00Z"),
        std::pair(-63145526400.0, "0000-01-01T00:00:00Z"),
        std::pair(252423993600.0, "10000-01-01T00:00:00Z")}) {
    EXPECT_TRUE(writesAs(Date{seconds}, "<date>" + std::string(text) + "</date>")) << seconds;
  }
}

TEST(XMLPropertyListWriter, TheFarthestDates) {
  const double most = 9007199254740992;  // 2^53
  for (const double seconds : {most, -most, most - 1, 1 - most, 999999999999.0}) {
    EXPECT_TRUE(reads(readXML(xmlFile(Date{seconds})), Date{seconds})) << seconds;
  }
  for (const double seconds : {most + 2, -most - 2, 1e300}) {
    EXPECT_TRUE(test::refusedWriting(platform::writeXMLPropertyList(Date{seconds}),
                                     Code::inexpressible, "a date too far away for XML"));
  }
}

TEST(XMLPropertyListWriter, TheSignOfADateAtZeroIsNotKept) {
  EXPECT_TRUE(reads(readXML(xmlFile(Date{-0.0})), Date{0.0}));
}

TEST(XMLPropertyListWriter, DataIsOneLineOfBase64) {
  EXPECT_TRUE(writesAs(dataOf("f"), "<data>Zg==</data>"));
  EXPECT_TRUE(writesAs(dataOf("fo"), "<data>Zm8=</data>"));
  EXPECT_TRUE(writesAs(dataOf("foo"), "<data>Zm9v</data>"));
  EXPECT_TRUE(writesAs(dataOf("\xFB\xFF\xFE"), "<data>+//+</data>"));
  EXPECT_TRUE(
      writesAs(dataOf(std::string(300, '\0')), "<data>" + repeated("AAAA", 100) + "</data>"));
  std::string all;
  for (int byte = 0; byte < 256; ++byte) {
    all += static_cast<char>(byte);
    EXPECT_TRUE(reads(readXML(xmlFile(dataOf(all))), dataOf(all)));
  }
}

TEST(XMLPropertyListWriter, MarkupWithinTextIsEscaped) {
  EXPECT_TRUE(writesAs("<a> & 'b' \"c\" ]]>", "<string>&lt;a&gt; &amp; 'b' \"c\" ]]&gt;</string>"));
  EXPECT_TRUE(writesAs(Value::dictionary({{"a&b", "&amp;"}}),
                       "<dict>\n\t<key>a&amp;b</key>\n\t<string>&amp;amp;</string>\n</dict>"));
}

TEST(XMLPropertyListWriter, SpaceWithinTextIsKept) {
  EXPECT_TRUE(writesAs(" a\n\tb ", "<string> a\n\tb </string>"));
  // A reader makes line feeds of carriage returns that stand there themselves.
  EXPECT_TRUE(writesAs("a\r\nb\r", "<string>a&#13;\nb&#13;</string>"));
}

TEST(XMLPropertyListWriter, TextIsUTF8) {
  for (const std::string text : {"caf\u00e9", "cafe\u0301", "\U0001F468\u200D\U0001F467", "\uFEFFa",
                                 "\u2028", "\u0085", "\uFFFD", "\U0001FFFE", "\x7F"}) {
    EXPECT_TRUE(writesAs(text, "<string>" + text + "</string>"));
  }
}

TEST(XMLPropertyListWriter, CharactersThatXMLHasNot) {
  const auto write = [](std::string_view text) { return platform::writeXMLPropertyList(text); };
  for (char control = 0; control < ' '; ++control) {
    if (control != '\t' && control != '\n' && control != '\r') {
      EXPECT_TRUE(test::refusedWriting(write({&control, 1}), Code::inexpressible,
                                       "a string with a control character"));
    }
  }
  EXPECT_TRUE(test::refusedWriting(write("a\uFFFE"), Code::inexpressible,
                                   "a string with U+FFFE or U+FFFF"));
  EXPECT_TRUE(test::refusedWriting(write("\uFFFFa"), Code::inexpressible,
                                   "a string with U+FFFE or U+FFFF"));
}

TEST(XMLPropertyListWriter, DatesWithAFraction) {
  EXPECT_TRUE(test::refusedWriting(
      platform::writeXMLPropertyList(Value::array({Date{0.5}})), Code::inexpressible,
      "at [0]: a date with a fraction of a second, which XML has not"));
}

TEST(XMLPropertyListWriter, SharedContainersAreWrittenOutEachTime) {
  const Value shared = Value::array({1});
  EXPECT_EQ(xmlFile(Value::array({shared, shared})),
            begin + "<array>\n" + repeated("\t<array>\n\t\t<integer>1</integer>\n\t</array>\n", 2) +
                "</array>\n" + end);
}

TEST(XMLPropertyListWriter, WhatExpandsToNoEndIsRefused) {
  Value value = true;
  for (int level = 0; level < 200; ++level) {
    value = level % 2 == 0 ? Value::array({value, value})
                           : Value::dictionary({{"left", value}, {"right", value}});
  }
  EXPECT_TRUE(
      test::refusedWriting(platform::writeXMLPropertyList(value), Code::expandsTooFar,
                           "shared containers make too many objects when each is written out"));
}

TEST(XMLPropertyListWriter, TheBudgetIsExact) {
  // 3 arrays of 2 references: 1 + 2 * (1 + 2 * (1 + 2 * 1)) objects, with 6 references in them.
  Value value = true;
  for (int level = 0; level < 3; ++level) {
    value = Value::array({value, value});
  }
  PropertyListLimits limits;
  limits.expandedObjectsPerByte = 0;
  limits.expandedObjects = 15;
  EXPECT_TRUE(platform::writeXMLPropertyList(value, limits));
  limits.expandedObjects = 14;
  EXPECT_FALSE(platform::writeXMLPropertyList(value, limits));
  limits.expandedObjects = 3;
  limits.expandedObjectsPerByte = 2;
  EXPECT_TRUE(platform::writeXMLPropertyList(value, limits));
  limits.expandedObjects = 2;
  EXPECT_FALSE(platform::writeXMLPropertyList(value, limits));
}

TEST(XMLPropertyListWriter, KeysAndLongTextsCountAsObjects) {
  const Value value = Value::dictionary({{std::string(64, 'k'), std::string(128, 'x')}});
  PropertyListLimits limits;
  limits.expandedObjectsPerByte = 0;
  limits.expandedObjects = 1 + 2 + 3;
  EXPECT_TRUE(platform::writeXMLPropertyList(value, limits));
  limits.expandedObjects -= 1;
  EXPECT_FALSE(platform::writeXMLPropertyList(value, limits));
}

TEST(XMLPropertyListWriter, AFileNoLongerThanTheLimit) {
  const Value value = Value::array(std::vector<Value>(100, "text"));
  const std::size_t length = xmlFile(value).size();
  PropertyListLimits limits;
  limits.inputBytes = length;
  EXPECT_EQ(xmlFile(value, limits).size(), length);
  limits.inputBytes = length - 1;
  EXPECT_TRUE(
      test::refusedWriting(platform::writeXMLPropertyList(value, limits), Code::tooLong,
                           "the file is longer than " + std::to_string(length - 1) + " bytes"));
  limits.inputBytes = 200;
  const auto early = platform::writeXMLPropertyList(value, limits);
  ASSERT_FALSE(early);
  EXPECT_EQ(early.error().code, Code::tooLong);
}

TEST(XMLPropertyListWriter, DepthIsLimitedAsForAReader) {
  Value value = Value::array({});
  for (int i = 1; i < 512; ++i) {
    value = Value::array({value});
  }
  EXPECT_TRUE(reads(readXML(xmlFile(value)), value));
  const auto deeper = platform::writeXMLPropertyList(Value::array({value}));
  ASSERT_FALSE(deeper);
  EXPECT_EQ(deeper.error().code, Code::tooDeep);
  PropertyListLimits limits;
  limits.depth = 513;
  EXPECT_TRUE(platform::writeXMLPropertyList(Value::array({value}), limits));
}

TEST(XMLPropertyListWriter, LinesOfDeepContainersDoNotGrowWithoutEnd) {
  Value value = 7;
  for (int i = 0; i < 100; ++i) {
    value = Value::array({value});
  }
  const std::string file = xmlFile(value);
  EXPECT_NE(file.find("\n" + std::string(32, '\t') + "<integer>7"), std::string::npos);
  EXPECT_NE(file.find("\n" + std::string(31, '\t') + "<array>"), std::string::npos);
}

}  // namespace
