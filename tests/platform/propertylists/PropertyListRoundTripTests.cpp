// SPDX-License-Identifier: Apache-2.0
// Values written and read again, and files read and written again.
#include "Fixtures.h"
#include "tests/support/Property.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/ValueGenerators.h"

#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::binaryFile;
using test::fixture;
using test::identical;
using test::readBinary;
using test::readXML;
using test::xmlFile;

enum class Format { binary, xml };

std::string utf8(char32_t character) {
  const auto byte = [](char32_t bits) { return static_cast<char>(bits); };
  if (character < 0x80) {
    return {byte(character)};
  }
  const char last = byte(0x80 | (character & 0x3F));
  if (character < 0x800) {
    return {byte(0xC0 | (character >> 6)), last};
  }
  const char middle = byte(0x80 | ((character >> 6) & 0x3F));
  if (character < 0x10000) {
    return {byte(0xE0 | (character >> 12)), middle, last};
  }
  return {byte(0xF0 | (character >> 18)), byte(0x80 | ((character >> 12) & 0x3F)), middle, last};
}

/// Text of characters that the format has, also of those at the edges of their encodings.
rc::Gen<std::string> anyText(Format format) {
  const auto edges = rc::gen::element<char32_t>('\t', '\n', '\r', ' ', '&', '<', '>', ']', 0x7F,
                                                0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFEFF, 0xFFFD,
                                                0x10000, 0x1F600, 0x1FFFE, 0x10FFFF);
  const auto others = rc::gen::element<char32_t>(0, 1, 0xB, 0x1F, 0xFFFE, 0xFFFF);
  const auto character = rc::gen::oneOf(rc::gen::inRange<char32_t>(0x20, 0x7F),
                                        rc::gen::inRange<char32_t>(0xA0, 0xD800), edges,
                                        format == Format::binary ? others : edges);
  return rc::gen::map(rc::gen::container<std::vector<char32_t>>(character),
                      [](const std::vector<char32_t>& characters) {
                        std::string text;
                        for (const char32_t one : characters) {
                          text += utf8(one);
                        }
                        return text;
                      });
}

rc::Gen<Value> anyDate(Format format) {
  return rc::gen::map(rc::gen::arbitrary<double>(), [format](double seconds) {
    const bool isNear = std::abs(seconds) < 1e15;
    return Value(Date{format == Format::binary ? (std::isfinite(seconds) ? seconds : 0.25)
                                               : (isNear ? std::trunc(seconds) + 0.0 : 0.0)});
  });
}

rc::Gen<Value> anyLeaf(Format format) {
  const auto number = rc::gen::map(test::anyNumber(), [format](const Value& any) {
    const bool isNaN = any.real() && std::isnan(*any.real());
    return isNaN && format == Format::xml ? Value(std::nan("")) : any;
  });
  const auto text = rc::gen::map(anyText(format), [](const std::string& s) { return Value(s); });
  const auto data = rc::gen::map(rc::gen::arbitrary<std::string>(), [](const std::string& bytes) {
    return Value::data(test::bytesOf(bytes));
  });
  return rc::gen::oneOf(number, text, text, data, anyDate(format));
}

/// A value whose containers hold values that were made before, some of them many times.
Value anyPropertyList(Format format) {
  std::vector<Value> made =
      *rc::gen::nonEmpty(test::small(rc::gen::container<std::vector<Value>>(anyLeaf(format))));
  const std::vector<std::string> keys = *rc::gen::nonEmpty(
      test::small(rc::gen::container<std::vector<std::string>>(anyText(format))));
  const int containers = *rc::gen::inRange(0, 9);
  for (int i = 0; i < containers; ++i) {
    const auto one = rc::gen::elementOf(made);
    const auto size = *rc::gen::inRange<std::size_t>(0, 4);
    std::vector<Value> contents = *rc::gen::container<std::vector<Value>>(size, one);
    if (*rc::gen::arbitrary<bool>()) {
      made.push_back(Value::array(std::move(contents)));
      continue;
    }
    std::vector<std::pair<platform::Key, Value>> entries;
    for (Value& content : contents) {
      entries.emplace_back(*rc::gen::elementOf(keys), std::move(content));
    }
    made.push_back(Value::dictionary(std::move(entries)));
  }
  return made.back();
}

PROPERTY(PropertyListRoundTrip, AnyValueComesBackFromBinaryToTheLastBit, ()) {
  const Value value = anyPropertyList(Format::binary);
  const std::string file = binaryFile(value);
  const auto read = readBinary(file);
  RC_ASSERT(static_cast<bool>(read));
  RC_ASSERT(identical(*read, value));
  RC_ASSERT(*read == value);
  // And once more: what was shared still is.
  RC_ASSERT(binaryFile(*read) == file);
}

PROPERTY(PropertyListRoundTrip, AnyValueComesBackFromXML, ()) {
  const Value value = anyPropertyList(Format::xml);
  const std::string file = xmlFile(value);
  const auto read = readXML(file);
  RC_ASSERT(static_cast<bool>(read));
  RC_ASSERT(identical(*read, value));
  RC_ASSERT(xmlFile(*read) == file);
}

PROPERTY(PropertyListRoundTrip, AFileIsTheSameEveryTime, ()) {
  const Value value = anyPropertyList(Format::xml);
  const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
  RC_ASSERT(binaryFile(value) == binaryFile(copy));
  RC_ASSERT(xmlFile(value) == xmlFile(copy));
}

PROPERTY(PropertyListRoundTrip, ACopyMadeOtherwiseComesBackEqual, ()) {
  const Value value = anyPropertyList(Format::binary);
  const auto read = readBinary(binaryFile(test::equalButMadeOtherwise(value)));
  RC_ASSERT(static_cast<bool>(read));
  RC_ASSERT(*read == value);
}

PROPERTY(PropertyListRoundTrip, AFileIsNoLargerForWhatIsShared, ()) {
  const Value value = anyPropertyList(Format::binary);
  const std::size_t once = binaryFile(Value::array({value})).size();
  const std::size_t often = binaryFile(Value::array(std::vector<Value>(100, value))).size();
  RC_ASSERT(often <= once + 99 * 2 + 3 + 64);  // references, a longer marker, longer offsets
}

TEST(PropertyListFixtures, AFileOfTheFormatsOwnWriterIsWrittenAsItWas) {
  const std::string file = fixture("reference.binary");
  const auto read = readBinary(file);
  ASSERT_TRUE(read);
  EXPECT_EQ(read->keys().size(), 16U);
  EXPECT_EQ(binaryFile(*read), file);
}

TEST(PropertyListFixtures, TheSameValueInXML) {
  const auto binary = readBinary(fixture("reference.binary"));
  const auto xml = readXML(fixture("reference.xml"));
  ASSERT_TRUE(binary);
  ASSERT_TRUE(xml);
  EXPECT_TRUE(identical(*xml, *binary));
  EXPECT_EQ(binaryFile(*xml), fixture("reference.binary"));
  EXPECT_TRUE(test::reads(readXML(xmlFile(*xml)), *binary));
}

TEST(PropertyListFixtures, FilesOfAnotherWriterAreWrittenAsTheyWere) {
  for (const char* name : {"everything.binary", "texts.binary", "generated.binary"}) {
    const std::string file = fixture(name);
    const auto read = readBinary(file);
    ASSERT_TRUE(read) << name;
    EXPECT_TRUE(binaryFile(*read) == file) << name;
  }
}

TEST(PropertyListFixtures, AllComeBackFromXML) {
  for (const char* name : {"everything.xml", "texts.xml", "generated.xml"}) {
    const auto read = readXML(fixture(name));
    ASSERT_TRUE(read) << name;
    EXPECT_TRUE(test::reads(readXML(xmlFile(*read)), *read)) << name;
  }
}

}  // namespace
