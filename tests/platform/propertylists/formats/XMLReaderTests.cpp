// SPDX-License-Identifier: Apache-2.0
// What the XML reader reads. What it refuses is in XMLReaderErrorTests.cpp.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <limits>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::reads;
using test::readXML;

std::string plist(const std::string& root) {
  return "<plist version=\"1.0\">" + root + "</plist>";
}

TEST(XMLPropertyList, EveryKindOfValue) {
  const std::string file = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Ternwood//DTD PLIST 1.0//EN" "http://127.0.0.1:9/never-fetched.dtd">
<plist version="1.0">
<dict>
  <key>string</key> <string>text</string>
  <key>integer</key> <integer>-42</integer>
  <key>real</key> <real>1.5</real>
  <key>yes</key> <true/>
  <key>no</key> <false/>
  <key>date</key> <date>2001-01-01T00:00:01Z</date>
  <key>data</key> <data>AAEC</data>
  <key>array</key> <array> <integer>1</integer> <string/> </array>
  <key>dict</key> <dict> <key>inner</key> <array/> </dict>
</dict>
</plist>
)";
  EXPECT_TRUE(reads(readXML(file), Value::dictionary({
                                       {"string", "text"},
                                       {"integer", -42},
                                       {"real", 1.5},
                                       {"yes", true},
                                       {"no", false},
                                       {"date", Date{1}},
                                       {"data", Value::data(test::bytesOf({"\0\1\2", 3}))},
                                       {"array", Value::array({1, ""})},
                                       {"dict", Value::dictionary({{"inner", Value::array({})}})},
                                   })));
}

TEST(XMLPropertyList, TheRootNeedsNoPlistAroundIt) {
  EXPECT_TRUE(reads(readXML("<array><true/></array>"), Value::array({true})));
  EXPECT_TRUE(reads(readXML("<string>a</string>"), "a"));
}

TEST(XMLPropertyList, EmptyElements) {
  EXPECT_TRUE(reads(readXML("<array/>"), Value::array({})));
  EXPECT_TRUE(reads(readXML("<array></array>"), Value::array({})));
  EXPECT_TRUE(reads(readXML("<dict/>"), Value::dictionary({})));
  EXPECT_TRUE(reads(readXML("<string/>"), ""));
  EXPECT_TRUE(reads(readXML("<data/>"), Value::data({})));
  EXPECT_TRUE(reads(readXML("<true></true>"), true));
  EXPECT_TRUE(reads(readXML("<dict><key/><string/></dict>"), Value::dictionary({{"", ""}})));
}

TEST(XMLPropertyList, TheVersionOfThePlistIsOfNoConcern) {
  EXPECT_TRUE(reads(readXML("<plist version=\"0.9\"><true/></plist>"), true));
  EXPECT_TRUE(reads(readXML("<plist><true/></plist>"), true));
}

TEST(XMLPropertyList, KeysKeepTheirOrder) {
  EXPECT_TRUE(reads(readXML("<dict><key>b</key><true/><key>a</key><false/></dict>"),
                    Value::dictionary({{"b", true}, {"a", false}})));
}

TEST(XMLPropertyList, ADictionaryOfOneSpecialKeyStaysADictionary) {
  EXPECT_TRUE(reads(readXML("<dict><key>CF$UID</key><integer>7</integer></dict>"),
                    Value::dictionary({{"CF$UID", 7}})));
}

TEST(XMLPropertyList, Integers) {
  const auto integer = [](const std::string& text) {
    return readXML("<integer>" + text + "</integer>");
  };
  EXPECT_TRUE(reads(integer("0"), 0));
  EXPECT_TRUE(reads(integer("+7"), 7));
  EXPECT_TRUE(reads(integer("010"), 10));  // decimal all the same
  EXPECT_TRUE(reads(integer("0x10"), 16));
  EXPECT_TRUE(reads(integer("0XfF"), 255));
  EXPECT_TRUE(reads(integer("-0x10"), -16));
  EXPECT_TRUE(reads(integer("-0"), 0));
  EXPECT_TRUE(reads(integer("9223372036854775807"), INT64_MAX));
  EXPECT_TRUE(reads(integer("9223372036854775808"), std::uint64_t{1} << 63));
  EXPECT_TRUE(reads(integer("18446744073709551615"), UINT64_MAX));
  EXPECT_TRUE(reads(integer("0xFFFFFFFFFFFFFFFF"), UINT64_MAX));
  EXPECT_TRUE(reads(integer("-9223372036854775808"), INT64_MIN));
  EXPECT_TRUE(reads(integer("-0x8000000000000000"), INT64_MIN));
  EXPECT_TRUE(reads(integer("\n\t 42 \n"), 42));
}

TEST(XMLPropertyList, Reals) {
  const auto real = [](const std::string& text) { return readXML("<real>" + text + "</real>"); };
  EXPECT_TRUE(reads(real("0"), 0.0));
  EXPECT_TRUE(reads(real("-0.0"), -0.0));
  EXPECT_TRUE(reads(real("0.1"), 0.1));
  EXPECT_TRUE(reads(real("2"), 2.0));
  EXPECT_TRUE(reads(real("+1e308"), 1e308));
  EXPECT_TRUE(reads(real("5e-324"), 5e-324));
  EXPECT_TRUE(reads(real("1.7976931348623157E+308"), std::numeric_limits<double>::max()));
  EXPECT_TRUE(reads(real(".5"), 0.5));
  EXPECT_TRUE(reads(real("5."), 5.0));
  EXPECT_TRUE(reads(real(" 1.25\n"), 1.25));
  EXPECT_TRUE(reads(real("+infinity"), HUGE_VAL));
  EXPECT_TRUE(reads(real("-Infinity"), -HUGE_VAL));
  EXPECT_TRUE(reads(real("inf"), HUGE_VAL));
  const auto nan = real("nan");
  ASSERT_TRUE(nan);
  EXPECT_TRUE(std::isnan(nan->real().value()));
}

TEST(XMLPropertyList, Dates) {
  const auto date = [](const std::string& text) { return readXML("<date>" + text + "</date>"); };
  EXPECT_TRUE(reads(date("2001-01-01T00:00:00Z"), Date{0}));
  EXPECT_TRUE(reads(date("2000-12-31T23:59:59Z"), Date{-1}));
  EXPECT_TRUE(reads(date("1970-01-01T00:00:00Z"), Date{-978307200}));
  EXPECT_TRUE(reads(date("1969-12-31T23:59:59Z"), Date{-978307201}));
  EXPECT_TRUE(reads(date("2038-01-19T03:14:08Z"), Date{2147483648.0 - 978307200}));
  EXPECT_TRUE(reads(date("2101-01-02T00:00:00Z"), Date{3155760000}));
  EXPECT_TRUE(reads(date("\n 2001-01-01T00:00:00Z "), Date{0}));
}

TEST(XMLPropertyList, LeapDays) {
  const auto date = [](const std::string& text) { return readXML("<date>" + text + "</date>"); };
  EXPECT_TRUE(reads(date("2004-02-29T00:00:00Z"), Date{(3 * 365 + 31 + 28) * 86400.0}));
  EXPECT_TRUE(reads(date("2000-02-29T00:00:00Z"), Date{(31 + 28 - 366) * 86400.0}));
  EXPECT_FALSE(date("1900-02-29T00:00:00Z"));
  EXPECT_FALSE(date("2001-02-29T00:00:00Z"));
}

TEST(XMLPropertyList, DatesBeforeTheCalendarAndFarAfter) {
  const auto date = [](const std::string& text) { return readXML("<date>" + text + "</date>"); };
  // 400 years have 146097 days: 2001-01-01 less five times that is 0001-01-01, and one leap year
  // before it 0000-01-01.
  constexpr double cycle = 146097.0 * 86400;
  EXPECT_TRUE(reads(date("0001-01-01T00:00:00Z"), Date{-5 * cycle}));
  EXPECT_TRUE(reads(date("0000-01-01T00:00:00Z"), Date{-5 * cycle - 366 * 86400.0}));
  EXPECT_TRUE(reads(date("-0001-12-31T00:00:00Z"), Date{-63145612800}));
  EXPECT_TRUE(reads(date("-0399-01-01T00:00:00Z"), Date{-6 * cycle}));
  EXPECT_TRUE(reads(date("9999-12-31T23:59:59Z"), Date{252423993599}));
  EXPECT_TRUE(reads(date("10001-01-01T00:00:00Z"), Date{20 * cycle}));
  EXPECT_TRUE(reads(date("200002001-01-01T00:00:00Z"), Date{500000 * cycle}));
}

TEST(XMLPropertyList, Data) {
  const auto data = [](const std::string& text) { return readXML("<data>" + text + "</data>"); };
  const auto bytes = [](std::string_view text) { return Value::data(test::bytesOf(text)); };
  EXPECT_TRUE(reads(data("Zg=="), bytes("f")));
  EXPECT_TRUE(reads(data("Zm8="), bytes("fo")));
  EXPECT_TRUE(reads(data("Zm9v"), bytes("foo")));
  EXPECT_TRUE(reads(data("Zm9vYmFy"), bytes("foobar")));
  EXPECT_TRUE(reads(data("\n\tZm9v\r\n\tYm E =\t\n"), bytes("fooba")));
  EXPECT_TRUE(reads(data("+/+/"), bytes("\xFB\xFF\xBF")));
  EXPECT_TRUE(reads(data(" \n "), bytes("")));
}

TEST(XMLPropertyList, Text) {
  const auto string = [](const std::string& text) {
    return readXML("<string>" + text + "</string>");
  };
  EXPECT_TRUE(reads(string(" kept as it is \n"), " kept as it is \n"));
  EXPECT_TRUE(reads(string("&lt;&gt;&amp;&quot;&apos;"), "<>&\"'"));
  EXPECT_TRUE(reads(string("&#233;&#xE9;&#x1F600;"), "\u00e9\u00e9\U0001F600"));
  EXPECT_TRUE(reads(string("a<![CDATA[<b>&amp;]]>c"), "a<b>&amp;c"));
  EXPECT_TRUE(reads(string("e\u0301\u00e9\uFEFF\u2028"), "e\u0301\u00e9\uFEFF\u2028"));
  EXPECT_TRUE(reads(string(std::string(100'000, 'x')), std::string(100'000, 'x')));
}

TEST(XMLPropertyList, LineEndsReadAsOneCharacter) {
  EXPECT_TRUE(reads(readXML("<string>a\r\nb\rc\nd</string>"), "a\nb\nc\nd"));
  EXPECT_TRUE(reads(readXML("<string>a&#13;b&#13;\n</string>"), "a\rb\r\n"));
}

TEST(XMLPropertyList, CommentsAndInstructionsBetweenElements) {
  const std::string file =
      "<!-- a -->\n<?target data?><plist><!-- -b- --><array><!----><true/><?x?></array>"
      "<!-- c --></plist>\n<!-- d -->\n<?y?>\n";
  EXPECT_TRUE(reads(readXML(file), Value::array({true})));
}

TEST(XMLPropertyList, KeysWithMarkup) {
  EXPECT_TRUE(reads(readXML("<dict><key>a&amp;<![CDATA[<b>]]></key><true/></dict>"),
                    Value::dictionary({{"a&<b>", true}})));
}

TEST(XMLPropertyList, DocumentTypesOfAnyName) {
  EXPECT_TRUE(reads(readXML("<!DOCTYPE plist><true/>"), true));
  EXPECT_TRUE(reads(readXML("<!DOCTYPE plist SYSTEM \"file:///dev/zero\"><true/>"), true));
}

std::string utf16(std::u16string_view text, bool isBigEndian) {
  std::string bytes;
  for (const char16_t unit : text) {
    const char high = static_cast<char>(unit >> 8);
    const char low = static_cast<char>(unit & 0xFF);
    bytes += isBigEndian ? high : low;
    bytes += isBigEndian ? low : high;
  }
  return bytes;
}

TEST(XMLPropertyList, Encodings) {
  EXPECT_TRUE(reads(readXML("\xEF\xBB\xBF<string>\u00e9</string>"), "\u00e9"));
  EXPECT_TRUE(
      reads(readXML("\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?><string>\u00e9</string>"),
            "\u00e9"));
  for (const bool isBigEndian : {false, true}) {
    EXPECT_TRUE(reads(readXML(utf16(u"\uFEFF<string>\u00e9\U0001F600</string>", isBigEndian)),
                      "\u00e9\U0001F600"));
    EXPECT_TRUE(reads(readXML(utf16(u"\uFEFF<?xml version='1.0' encoding='UTF-16'?>"
                                    u"<string>\u00e9\U0001F600</string>",
                                    isBigEndian)),
                      "\u00e9\U0001F600"));
  }
  EXPECT_TRUE(reads(readXML("<?xml version='1.0' encoding='ISO-8859-1'?><string>caf\xE9</string>"),
                    "caf\u00e9"));
  EXPECT_TRUE(
      reads(readXML("<?xml version='1.0' encoding='US-ASCII'?><string>&#233;</string>"), "\u00e9"));
}

TEST(XMLPropertyList, MixedContainersAtDepth) {
  EXPECT_TRUE(reads(readXML(plist("<array><dict><key>a</key><array><dict/></array></dict>"
                                  "<array><array/><true/></array></array>")),
                    Value::array({Value::dictionary({{"a", Value::array({Value::dictionary({})})}}),
                                  Value::array({Value::array({}), true})})));
}

}  // namespace
