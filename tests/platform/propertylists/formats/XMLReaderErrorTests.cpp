// SPDX-License-Identifier: Apache-2.0
// What the XML reader refuses, and in which line it says the fault is.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <string>

namespace {

using test::Code;
using test::Line;
using test::readXML;
using test::refused;

std::string element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

TEST(XMLPropertyListErrors, NoBytes) {
  EXPECT_TRUE(refused(readXML(""), Code::noBytes));
}

TEST(XMLPropertyListErrors, NoElement) {
  EXPECT_TRUE(refused(readXML(" \n"), Code::notWellFormed, Line{2}));
  EXPECT_TRUE(refused(readXML("<?xml version='1.0'?>\n"), Code::notWellFormed, Line{2}));
}

TEST(XMLPropertyListErrors, AnEntityIsDeclared) {
  EXPECT_TRUE(refused(readXML("<!DOCTYPE plist [\n<!ENTITY a \"b\">\n]><string>&a;</string>"),
                      Code::declarations, Line{1}));
}

TEST(XMLPropertyListErrors, EntitiesOfEntities) {
  std::string file = "<!DOCTYPE plist [<!ENTITY a0 \"ha\">";
  for (int i = 1; i < 30; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    file += "<!ENTITY a" + std::to_string(i) + " \"" + inner + inner + "\">";
  }
  EXPECT_TRUE(refused(readXML(file + "]><string>&a29;</string>"), Code::declarations, Line{1}));
}

TEST(XMLPropertyListErrors, AnExternalEntity) {
  EXPECT_TRUE(refused(readXML("<!DOCTYPE plist [<!ENTITY a SYSTEM \"file:///etc/hostname\">]>"
                              "<string>&a;</string>"),
                      Code::declarations, Line{1}));
}

TEST(XMLPropertyListErrors, AnyDeclarationsInTheDocumentType) {
  for (const char* declarations : {"", " ", "<!ELEMENT plist ANY>", "<!-- -->", "<?x?>",
                                   "<!ATTLIST plist version CDATA #IMPLIED>",
                                   "<!NOTATION x SYSTEM 'y'>", "%a;", "<!ENTITY % a \"b\"> %a;"}) {
    const std::string file =
        "\n<!DOCTYPE plist PUBLIC \"a\" \"b\" [" + std::string(declarations) + "]><true/>";
    EXPECT_TRUE(refused(readXML(file), Code::declarations, Line{2})) << declarations;
  }
}

TEST(XMLPropertyListErrors, AnEntityThatXMLDoesNotHave) {
  EXPECT_TRUE(refused(readXML("<string>\n&nbsp;</string>"), Code::declarations, Line{2}));
  // It could be declared in the document type, which is not fetched.
  for (const char* standalone : {"", " standalone='no'", " standalone='yes'"}) {
    const std::string file = "<?xml version='1.0'" + std::string(standalone) +
                             "?>\n<!DOCTYPE plist SYSTEM \"a.dtd\">\n<string>\n&nbsp;</string>";
    EXPECT_TRUE(refused(readXML(file), Code::declarations, Line{4})) << standalone;
  }
}

TEST(XMLPropertyListErrors, CharacterReferencesOfNoCharacter) {
  for (const char* reference :
       {"&#0;", "&#x0;", "&#xD800;", "&#xDFFF;", "&#x110000;", "&#xFFFF;", "&#1;", "&#;", "&#x;",
        "&#xG;", "&#-1;", "&#99999999999;", "&amp", "&amp ;", "&", "& "}) {
    EXPECT_TRUE(refused(readXML("<string>" + std::string(reference) + "</string>"),
                        Code::notWellFormed, Line{1}))
        << reference;
  }
}

TEST(XMLPropertyListErrors, TwoRoots) {
  EXPECT_TRUE(refused(readXML("<plist><true/>\n<true/></plist>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<plist><array/>\n<array/></plist>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<array/>\n<array/>"), Code::notWellFormed, Line{2}));
  EXPECT_TRUE(refused(readXML("<plist><true/></plist>\n<plist><true/></plist>"),
                      Code::notWellFormed, Line{2}));
}

TEST(XMLPropertyListErrors, TextAfterThePlist) {
  EXPECT_TRUE(refused(readXML("<plist><true/></plist>\njunk"), Code::notWellFormed, Line{2}));
  EXPECT_TRUE(
      refused(readXML(std::string("<plist><true/></plist>\0", 23)), Code::notWellFormed, Line{1}));
}

TEST(XMLPropertyListErrors, AnEmptyPlist) {
  EXPECT_TRUE(refused(readXML("<plist></plist>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<plist/>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<plist>\n<!-- -->\n</plist>"), Code::misplaced, Line{3}));
}

TEST(XMLPropertyListErrors, APlistWithinAnother) {
  EXPECT_TRUE(
      refused(readXML("<plist>\n<plist><true/></plist></plist>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(
      refused(readXML("<array>\n<plist><true/></plist></array>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<plist><true/>\n<plist/></plist>"), Code::misplaced, Line{2}));
}

TEST(XMLPropertyListErrors, AKeyWithoutAValue) {
  EXPECT_TRUE(refused(readXML("<dict>\n<key>a</key>\n</dict>"), Code::misplaced, Line{3}));
  EXPECT_TRUE(
      refused(readXML("<dict><key>a</key>\n<key>b</key><true/></dict>"), Code::misplaced, Line{2}));
}

TEST(XMLPropertyListErrors, AValueWithoutAKey) {
  EXPECT_TRUE(refused(readXML("<dict>\n<true/></dict>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<dict>\n<dict/></dict>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(
      refused(readXML("<dict><key>a</key><true/>\n<true/></dict>"), Code::misplaced, Line{2}));
}

TEST(XMLPropertyListErrors, AKeyOutsideOfADictionary) {
  EXPECT_TRUE(refused(readXML("<array>\n<key>a</key></array>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<plist>\n<key>a</key></plist>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<key>a</key>"), Code::misplaced, Line{1}));
}

TEST(XMLPropertyListErrors, AKeyTwice) {
  const auto read =
      readXML("<dict>\n<key>a</key><true/>\n<key>b</key><true/>\n<key>a</key><false/>\n</dict>");
  ASSERT_TRUE(refused(read, Code::duplicateKey, Line{5}));
  EXPECT_EQ(read.error().description(), "line 5: the dictionary has the key \"a\" twice");
}

TEST(XMLPropertyListErrors, UnknownElements) {
  for (const char* name : {"String", "TRUE", "stringX", "strin", "int", "null", "set", "ustring",
                           "plist:dict", "html"}) {
    EXPECT_TRUE(refused(readXML("<plist>\n<" + std::string(name) + "/></plist>"),
                        Code::unknownElement, Line{2}))
        << name;
    EXPECT_TRUE(refused(readXML("<" + std::string(name) + "/>"), Code::unknownElement, Line{1}))
        << name;
  }
}

TEST(XMLPropertyListErrors, ALongNameIsNotRepeatedWhole) {
  const auto read = readXML("<" + std::string(100'000, 'x') + "/>");
  ASSERT_TRUE(refused(read, Code::unknownElement, Line{1}));
  EXPECT_LT(read.error().message.size(), 100U);
}

TEST(XMLPropertyListErrors, Attributes) {
  EXPECT_TRUE(
      refused(readXML("<array>\n<string a='b'>c</string></array>"), Code::unknownElement, Line{2}));
  EXPECT_TRUE(refused(readXML("<dict a='b'/>"), Code::unknownElement, Line{1}));
}

TEST(XMLPropertyListErrors, ElementsWithinText) {
  EXPECT_TRUE(refused(readXML("<string>\n<string>a</string></string>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<string>\n<true/></string>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<true>\n<true/></true>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<integer>1<array/></integer>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<dict><key><key>a</key></key></dict>"), Code::misplaced, Line{1}));
}

TEST(XMLPropertyListErrors, TextBetweenElements) {
  EXPECT_TRUE(refused(readXML("<array>\na</array>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<plist>\na<true/></plist>"), Code::misplaced, Line{2}));
  EXPECT_TRUE(refused(readXML("<dict><key>a</key>b<true/></dict>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<array>&#160;</array>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<true> </true>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<false>no</false>"), Code::misplaced, Line{1}));
}

TEST(XMLPropertyListErrors, Integers) {
  for (const char* text : {"",
                           " ",
                           "42q",
                           "42A",
                           "0x",
                           "-0x",
                           "1_000",
                           "1 000",
                           "1.0",
                           "1e3",
                           "0x1p3",
                           "--1",
                           "+-1",
                           "- 1",
                           "0b1",
                           "0o7",
                           "x10",
                           "\xD9\xA3",
                           "18446744073709551616",
                           "-9223372036854775809",
                           "0x10000000000000000",
                           "-0x8000000000000001",
                           "99999999999999999999999999"}) {
    EXPECT_TRUE(refused(readXML("<array>\n" + element("integer", text) + "</array>"),
                        Code::badNumber, Line{2}))
        << text;
  }
  EXPECT_TRUE(refused(readXML("<integer/>"), Code::badNumber, Line{1}));
}

TEST(XMLPropertyListErrors, Reals) {
  for (const char* text : {"", ".", "1.2.3", "0x1p3", "0x10", "1,5", "1e", "1e+", "e5", "1.5f",
                           "--1", "1 2", "nan(1)", "infinite", "in", "1e309", "-1e309", "1e-400"}) {
    EXPECT_TRUE(refused(readXML("<array>\n" + element("real", text) + "</array>"), Code::badNumber,
                        Line{2}))
        << text;
  }
  EXPECT_TRUE(refused(readXML("<real/>"), Code::badNumber, Line{1}));
}

TEST(XMLPropertyListErrors, Dates) {
  for (const char* text : {"",
                           "2001-01-01T00:00:00.5Z",
                           "2001-01-01T00:00:00",
                           "2001-01-01T00:00:00+00:00",
                           "2001-13-01T00:00:00Z",
                           "2001-00-01T00:00:00Z",
                           "2001-01-00T00:00:00Z",
                           "2001-04-31T00:00:00Z",
                           "2001-01-32T00:00:00Z",
                           "2001-01-01T24:00:00Z",
                           "2001-01-01T00:60:00Z",
                           "2001-01-01T00:00:60Z",
                           "2001Z",
                           "2001-01-01",
                           "2001-01-01Z",
                           "2001-01-01T00:00:00Zjunk",
                           "2001-01-01T00:00:00ZZ",
                           "2001-01-01 00:00:00Z",
                           "2001-01-01t00:00:00z",
                           "2001-1-1T0:0:0Z",
                           "2001-001-01T00:00:00Z",
                           "1-01-01T00:00:00Z",
                           "001-01-01T00:00:00Z",
                           "02001-01-01T00:00:00Z",
                           "-0000-01-01T00:00:00Z",
                           "+2001-01-01T00:00:00Z",
                           "--2001-01-01T00:00:00Z",
                           "2001-01-01T-1:00:00Z",
                           "1000000000-01-01T00:00:00Z",
                           "900000000-01-01T00:00:00Z",
                           "nan"}) {
    EXPECT_TRUE(
        refused(readXML("<array>\n" + element("date", text) + "</array>"), Code::badDate, Line{2}))
        << text;
  }
}

TEST(XMLPropertyListErrors, Data) {
  for (const char* text :
       {"!!!", "Zg=", "Zg", "Z", "Z===", "====", "=", "Zg==Zg==", "Zm9v=", "Zg=v",
        "Zh==", "Zm9=", "Zm-v", "Zm_v", "Zm9v!", "Zm9v\u00e9", "AA==="}) {
    EXPECT_TRUE(
        refused(readXML("<array>\n" + element("data", text) + "</array>"), Code::badData, Line{2}))
        << text;
  }
}

TEST(XMLPropertyListErrors, CharactersThatXMLDoesNotAllow) {
  for (const std::string& text :
       {std::string("\x01"), std::string("\x0B"), std::string("\x1F"), std::string("\0", 1),
        std::string("\xFF"), std::string("\x80"),
        std::string("\xC3"),                      // cut short
        std::string("\xC0\xAF"),                  // overlong
        std::string("\xE0\x80\xAF"),              // overlong
        std::string("\xED\xA0\xBD\xED\xB8\x80"),  // a surrogate pair encoded one by one
        std::string("\xEF\xBF\xBF"),              // U+FFFF
        std::string("\xF4\x90\x80\x80"),          // above the last code point
        std::string("\xF8\x88\x80\x80\x80")}) {
    EXPECT_TRUE(refused(readXML("<array>\n<string>" + text + "</string></array>"),
                        Code::notWellFormed, Line{2}))
        << ::testing::PrintToString(text);
  }
}

TEST(XMLPropertyListErrors, Comments) {
  for (const char* file : {"<!---><true/>", "<!--><true/>", "<!-- -- --><true/>",
                           "<!-- a ---><true/>", "<true/><!-- a", "<!- a -><true/>"}) {
    EXPECT_TRUE(refused(readXML(file), Code::notWellFormed, Line{1})) << file;
  }
  // Two readers that end this comment in different places read different lists.
  EXPECT_TRUE(
      refused(readXML("<array><!---><true/><!-- --></array>"), Code::notWellFormed, Line{1}));
}

TEST(XMLPropertyListErrors, SectionsAndInstructions) {
  EXPECT_TRUE(refused(readXML("<string><![CDATA[a</string>"), Code::notWellFormed, Line{1}));
  EXPECT_TRUE(refused(readXML("<array><![CDATA[ ]]></array>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<array><![CDATA[]]></array>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<integer><![CDATA[1]]></integer>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<string>a]]>b</string>"), Code::notWellFormed, Line{1}));
  EXPECT_TRUE(refused(readXML("<true/><?a"), Code::notWellFormed, Line{1}));
  EXPECT_TRUE(refused(readXML("<string>a<?b c?>d</string>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("<string>a<!-- b -->c</string>"), Code::misplaced, Line{1}));
  EXPECT_TRUE(refused(readXML("\n<?xml version='1.0'?><true/>"), Code::notWellFormed, Line{2}));
  EXPECT_TRUE(refused(readXML("<?xml version='1.1'?><true/>"), Code::notWellFormed, Line{1}));
}

TEST(XMLPropertyListErrors, UnclosedAndCrossedElements) {
  for (const char* file : {"<array>", "<array><true/>", "<array><dict></array></dict>", "</array>",
                           "<array></Array>", "<string>a", "<array", "<true/", "<plist><true/>"}) {
    EXPECT_TRUE(refused(readXML(file), Code::notWellFormed, Line{1})) << file;
  }
  EXPECT_TRUE(refused(readXML("<array>\n\n"), Code::notWellFormed, Line{3}));
}

std::string units(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit >> 8);
    bytes += static_cast<char>(unit & 0xFF);
  }
  return bytes;
}

TEST(XMLPropertyListErrors, SurrogatesWithoutPartner) {
  const char16_t high = 0xD83D;
  const char16_t low = 0xDE00;
  const std::u16string before = u"\uFEFF<string>\n";
  const std::u16string after = u"</string>";
  for (const std::u16string& text :
       {std::u16string{high}, std::u16string{low}, std::u16string{low, high},
        std::u16string{high, u'a'}, std::u16string{high, high, low}}) {
    EXPECT_TRUE(refused(readXML(units(before + text + after)), Code::badEncoding, Line{2}));
    EXPECT_TRUE(
        refused(readXML(units(before + text + after).substr(2)), Code::badEncoding, Line{2}));
  }
  EXPECT_TRUE(refused(readXML(units(before + after) + '\0'), Code::badEncoding, Line{2}));
}

TEST(XMLPropertyListErrors, EncodingsThatAreNotRead) {
  std::string utf32;
  for (const char character : std::string("<true/>")) {
    utf32 += std::string{'\0', '\0', '\0', character};
  }
  EXPECT_FALSE(readXML(utf32));
  EXPECT_FALSE(readXML(std::string("\0\0\xFE\xFF", 4) + utf32));
  EXPECT_FALSE(readXML(std::string("\xFF\xFE\0\0", 4) + utf32));
  EXPECT_TRUE(refused(readXML("<?xml version='1.0' encoding='EBCDIC-CP-US'?><true/>"),
                      Code::badEncoding, Line{1}));
}

TEST(XMLPropertyListErrors, ADeclaredEncodingUnlikeTheBytes) {
  const std::string begin = "<?xml version='1.0' encoding='";
  EXPECT_TRUE(refused(readXML(begin + "UTF-16'?><true/>"), Code::badEncoding, Line{1}));
  EXPECT_TRUE(
      refused(readXML(begin + "UTF-8'?>\n<string>caf\xE9</string>"), Code::notWellFormed, Line{2}));
  EXPECT_TRUE(refused(readXML(begin + "US-ASCII'?>\n<string>caf\u00e9</string>"),
                      Code::notWellFormed, Line{2}));
  EXPECT_TRUE(refused(readXML("\xEF\xBB\xBF" + begin + "ISO-8859-1'?><string>\u00e9</string>"),
                      Code::badEncoding, Line{1}));
  EXPECT_TRUE(refused(readXML(units(u"\uFEFF<?xml version='1.0' encoding='UTF-8'?><true/>")),
                      Code::badEncoding, Line{1}));
}

}  // namespace
