// SPDX-License-Identifier: Apache-2.0
// The three readers agree with one another, and with the files of another writer.
#include "Fixtures.h"
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::fixture;
using test::reads;

platform::PropertyListResult<Value> readFixture(const std::string& name) {
  return platform::readPropertyList(test::bytesOf(fixture(name)));
}

TEST(PropertyListAgreement, WhatAllFormatsCarryReadsTheSameFromEach) {
  const Value value = Value::dictionary(
      {{"name", "Backup"},
       {"days of week", Value::array({"mon", "tue", ""})},
       {"token", Value::data(test::bytesOf("\x0F\xBD\x77\x1C"))},
       {"unicode", "caf\u00e9 \u231b \U0001F600"},
       {"quoted", "\"it's\" \\ so\n"},
       {"enabled", "enabled"},
       {"nested",
        Value::dictionary({{"empty", Value::dictionary({})},
                           {"none", Value::array({})},
                           {"deep", Value::array({Value::array({Value::array({"x"})})})}})},
       {"", ""}});
  EXPECT_TRUE(reads(test::readBinary(fixture("texts.binary")), value));
  EXPECT_TRUE(reads(test::readXML(fixture("texts.xml")), value));
  EXPECT_TRUE(reads(test::readText(fixture("texts.text")), value));
  test::BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.add(value);
  EXPECT_TRUE(reads(test::readBinary(list.file()), value));
}

TEST(PropertyListAgreement, EverythingThatBinaryAndXMLCarry) {
  std::string allBytes;
  for (int byte = 0; byte < 256; ++byte) {
    allBytes += static_cast<char>(byte);
  }
  const auto data = [](std::string_view bytes) { return Value::data(test::bytesOf(bytes)); };
  const Value value = Value::dictionary({
      {"string", "text"},
      {"unicode", "caf\u00e9 cafe\u0301 \U0001f600"},
      {"long", "a string that is longer than what a value holds in itself"},
      {"empty", ""},
      {"integers", Value::array({0, 1, 255, 256, 65535, 65536, 4294967295, 4294967296, INT64_MAX,
                                 std::uint64_t{1} << 63, UINT64_MAX, -1, INT64_MIN})},
      {"reals", Value::array({-0.0, 0.1, 1.5, 2.0, 1e308, 5e-324, HUGE_VAL, -HUGE_VAL})},
      {"booleans", Value::array({true, false})},
      {"dates", Value::array({Date{0}, Date{-978307201}, Date{3155760000}, Date{-63113904000}})},
      {"data", Value::array({data(""), data({"\0\xFF", 2}), data(allBytes)})},
      {"nested",
       Value::dictionary(
           {{"array", Value::array({Value::array({}), Value::array({Value::array({})}),
                                    Value::dictionary({})})},
            {"dict", Value::dictionary(
                         {{"a", Value::dictionary({{"b", Value::dictionary({{"c", "d"}})}})}})}})},
      {"", "the empty key"},
      {"a/b.c=\"d'", "a key with punctuation"},
  });
  EXPECT_TRUE(reads(readFixture("everything.binary"), value));
  EXPECT_TRUE(reads(readFixture("everything.xml"), value));
}

TEST(PropertyListAgreement, GeneratedValuesReadTheSameFromBinaryAndXML) {
  const auto binary = readFixture("generated.binary");
  const auto xml = readFixture("generated.xml");
  ASSERT_TRUE(binary) << binary.error().description();
  ASSERT_TRUE(xml) << xml.error().description();
  ASSERT_EQ(binary->elements().size(), 300U);
  ASSERT_EQ(xml->elements().size(), 300U);
  for (std::size_t i = 0; i < 300; ++i) {
    EXPECT_TRUE(test::identical(binary->elements()[i], xml->elements()[i]))
        << i << ": " << binary->elements()[i].description() << " and "
        << xml->elements()[i].description();
  }
}

TEST(PropertyListAgreement, ReadingTwiceGivesEqualValues) {
  for (const char* name :
       {"everything.binary", "everything.xml", "texts.text", "generated.binary"}) {
    const auto first = readFixture(name);
    const auto second = readFixture(name);
    ASSERT_TRUE(first && second) << name;
    EXPECT_TRUE(*first == *second) << name;
    EXPECT_EQ(first->hash(), second->hash()) << name;
    EXPECT_FALSE(first->sharesStorageWith(*second)) << name;
  }
}

}  // namespace
