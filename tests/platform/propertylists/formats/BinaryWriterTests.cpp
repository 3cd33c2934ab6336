// SPDX-License-Identifier: Apache-2.0
// What the binary writer makes of each kind of value, byte for byte.
#include "tests/support/BinaryPropertyListBuilder.h"
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
using platform::Value;
using test::binaryFile;
using test::BinaryPropertyListBuilder;
using test::dataOf;
using test::hex;

/// The file of these objects, with the smallest sizes that do.
std::string fileOf(std::vector<std::string> objects) {
  BinaryPropertyListBuilder list;
  list.objects = std::move(objects);
  list.offsetSize = list.tableOffset() < 0x100 ? 1 : list.tableOffset() < 0x10000 ? 2 : 4;
  return list.file();
}

/// Whether a value is written as these objects, and read back the same.
testing::AssertionResult writesAs(const Value& value, std::vector<std::string> objects) {
  const std::string file = binaryFile(value);
  if (file != fileOf(std::move(objects))) {
    return testing::AssertionFailure() << "other bytes: " << testing::PrintToString(file);
  }
  return test::reads(test::readBinary(file), value);
}

double realOf(std::uint64_t bits) {
  return std::bit_cast<double>(bits);
}

TEST(BinaryPropertyListWriter, HeaderObjectsTableAndTrailer) {
  EXPECT_EQ(binaryFile(Value::array({true})),
            hex("62 70 6C 69 73 74 30 30"  // bplist00
                "A1 01"                    // an array of object 1
                "09"                       // true
                "08 0A"                    // the offsets of both
                "00 00 00 00 00 00 01 01"  // unused and unsorted; offsets and references of a byte
                "00 00 00 00 00 00 00 02"  // objects
                "00 00 00 00 00 00 00 00"  // the root
                "00 00 00 00 00 00 00 0B"));  // where the offsets are
}

TEST(BinaryPropertyListWriter, EmptyContainersAndLeaves) {
  EXPECT_TRUE(writesAs(Value::array({}), {hex("A0")}));
  EXPECT_TRUE(writesAs(Value::dictionary({}), {hex("D0")}));
  EXPECT_TRUE(writesAs("", {hex("50")}));
  EXPECT_TRUE(writesAs(dataOf(""), {hex("40")}));
}

TEST(BinaryPropertyListWriter, BooleansAreNotIntegers) {
  EXPECT_TRUE(writesAs(true, {hex("09")}));
  EXPECT_TRUE(writesAs(false, {hex("08")}));
  EXPECT_TRUE(writesAs(1, {hex("10 01")}));
  EXPECT_TRUE(writesAs(0, {hex("10 00")}));
}

TEST(BinaryPropertyListWriter, IntegersTakeTheFewestBytes) {
  EXPECT_TRUE(writesAs(255, {hex("10 FF")}));
  EXPECT_TRUE(writesAs(256, {hex("11 0100")}));
  EXPECT_TRUE(writesAs(65535, {hex("11 FFFF")}));
  EXPECT_TRUE(writesAs(65536, {hex("12 00010000")}));
  EXPECT_TRUE(writesAs(4294967295, {hex("12 FFFFFFFF")}));
  EXPECT_TRUE(writesAs(4294967296, {hex("13 0000000100000000")}));
  EXPECT_TRUE(writesAs(INT64_MAX, {hex("13 7FFFFFFFFFFFFFFF")}));
}

TEST(BinaryPropertyListWriter, NegativeIntegersTakeEightBytes) {
  EXPECT_TRUE(writesAs(-1, {hex("13 FFFFFFFFFFFFFFFF")}));
  EXPECT_TRUE(writesAs(-256, {hex("13 FFFFFFFFFFFFFF00")}));
  EXPECT_TRUE(writesAs(INT64_MIN, {hex("13 8000000000000000")}));
}

TEST(BinaryPropertyListWriter, IntegersFrom2To63OnTakeSixteenBytes) {
  EXPECT_TRUE(writesAs(std::uint64_t{1} << 63, {hex("14 0000000000000000 8000000000000000")}));
  EXPECT_TRUE(writesAs(UINT64_MAX, {hex("14 0000000000000000 FFFFFFFFFFFFFFFF")}));
}

TEST(BinaryPropertyListWriter, RealsKeepEveryBit) {
  EXPECT_TRUE(writesAs(0.0, {hex("23 0000000000000000")}));
  EXPECT_TRUE(writesAs(-0.0, {hex("23 8000000000000000")}));
  EXPECT_TRUE(writesAs(2.0, {hex("23 4000000000000000")}));
  EXPECT_TRUE(writesAs(0.1, {hex("23 3FB999999999999A")}));
  EXPECT_TRUE(writesAs(1e308, {hex("23 7FE1CCF385EBC8A0")}));
  EXPECT_TRUE(writesAs(5e-324, {hex("23 0000000000000001")}));
  EXPECT_TRUE(writesAs(HUGE_VAL, {hex("23 7FF0000000000000")}));
  EXPECT_TRUE(writesAs(-HUGE_VAL, {hex("23 FFF0000000000000")}));
  EXPECT_TRUE(writesAs(realOf(0x7FF8000000000000), {hex("23 7FF8000000000000")}));
  EXPECT_TRUE(writesAs(realOf(0xFFFC00000000BEEF), {hex("23 FFFC00000000BEEF")}));
}

TEST(BinaryPropertyListWriter, ARealReadFromFourBytesIsWrittenInEight) {
  for (const auto& [read, written] :
       {std::pair("22 3FC00000", "23 3FF8000000000000"),     // 1.5
        std::pair("22 3DCCCCCD", "23 3FB99999A0000000")}) {  // the float nearest to 0.1
    const auto real = test::readBinary(fileOf({hex(read)}));
    ASSERT_TRUE(real);
    EXPECT_EQ(binaryFile(*real), fileOf({hex(written)}));
  }
}

TEST(BinaryPropertyListWriter, DatesKeepEveryBit) {
  EXPECT_TRUE(writesAs(Date{0.0}, {hex("33 0000000000000000")}));
  EXPECT_TRUE(writesAs(Date{-0.0}, {hex("33 8000000000000000")}));
  EXPECT_TRUE(writesAs(Date{0.5}, {hex("33 3FE0000000000000")}));
  EXPECT_TRUE(writesAs(Date{-978307200.25}, {hex("33 C1CD27E440200000")}));
  for (const double seconds : {3155760000.0, -63145612800.0, 999999999999.0}) {
    const std::string bits = test::bigEndian(std::bit_cast<std::uint64_t>(seconds), 8);
    EXPECT_TRUE(writesAs(Date{seconds}, {hex("33") + bits})) << seconds;
  }
}

TEST(BinaryPropertyListWriter, LengthsOfEveryForm) {
  for (const auto& [length, form] :
       {std::pair(14, "E"), std::pair(15, "F 10 0F"), std::pair(255, "F 10 FF"),
        std::pair(256, "F 11 0100"), std::pair(65535, "F 11 FFFF"),
        std::pair(65536, "F 12 00010000")}) {
    const std::string text(static_cast<std::size_t>(length), 'x');
    EXPECT_TRUE(writesAs(text, {hex("5" + std::string(form)) + text})) << length;
    EXPECT_TRUE(writesAs(dataOf(text), {hex("4" + std::string(form)) + text})) << length;
    const std::string omega = test::repeated("\u03a9", text.size());
    EXPECT_TRUE(
        writesAs(omega, {hex("6" + std::string(form)) + test::repeated(hex("03A9"), text.size())}))
        << length;
  }
}

TEST(BinaryPropertyListWriter, ContainersOfFifteen) {
  const Value value = Value::array(std::vector<Value>(15, true));
  EXPECT_TRUE(writesAs(value, {hex("AF 10 0F") + std::string(15, '\x01'), hex("09")}));
  std::vector<std::pair<platform::Key, Value>> entries;
  std::vector<std::string> objects = {hex("DF 10 0F")};
  for (char i = 0; i < 15; ++i) {
    const std::string key(1, static_cast<char>('a' + i));
    entries.emplace_back(key, true);
    objects[0] += static_cast<char>(1 + i);
    objects.push_back(hex("51") + key);
  }
  objects[0] += std::string(15, '\x10');
  objects.push_back(hex("09"));
  EXPECT_TRUE(writesAs(Value::dictionary(std::move(entries)), objects));
}

TEST(BinaryPropertyListWriter, DataOfAllByteValues) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
  }
  EXPECT_TRUE(writesAs(dataOf(bytes), {hex("4F 11 0100") + bytes}));
}

TEST(BinaryPropertyListWriter, StringsThatAreNotASCIIAreUTF16) {
  EXPECT_TRUE(writesAs("\x7F", {hex("51 7F")}));
  EXPECT_TRUE(writesAs("\u0080", {hex("61 0080")}));
  EXPECT_TRUE(writesAs("caf\u00e9", {hex("64 0063 0061 0066 00E9")}));
  EXPECT_TRUE(writesAs("seven..\u00e9", {hex("68 0073 0065 0076 0065 006E 002E 002E 00E9")}));
  EXPECT_TRUE(writesAs("\u07ff\u0800\uffff", {hex("63 07FF 0800 FFFF")}));
}

TEST(BinaryPropertyListWriter, CharactersBeyondTheFirstPlaneArePairs) {
  EXPECT_TRUE(writesAs("\U0001F600", {hex("62 D83D DE00")}));
  EXPECT_TRUE(writesAs("\U00010000\U0010FFFF", {hex("64 D800 DC00 DBFF DFFF")}));
  EXPECT_TRUE(writesAs("\U0001F1E9\U0001F1EA", {hex("64 D83C DDE9 D83C DDEA")}));
  EXPECT_TRUE(writesAs("\U0001F468\u200D\U0001F467", {hex("65 D83D DC68 200D D83D DC67")}));
}

TEST(BinaryPropertyListWriter, CombiningMarksStayAsTheyAre) {
  EXPECT_TRUE(writesAs(
      Value::dictionary({{"\u00e9", 1}, {"e\u0301", 2}}),
      {hex("D2 01 02 03 04"), hex("61 00E9"), hex("62 0065 0301"), hex("10 01"), hex("10 02")}));
}

TEST(BinaryPropertyListWriter, CharactersThatMeanSomethingElsewhere) {
  EXPECT_TRUE(writesAs("\uFEFF", {hex("61 FEFF")}));
  EXPECT_TRUE(writesAs("\uFFFE", {hex("61 FFFE")}));
  EXPECT_TRUE(writesAs("\u2028", {hex("61 2028")}));
  EXPECT_TRUE(writesAs(std::string("\0", 1), {hex("51 00")}));
  EXPECT_TRUE(writesAs(std::string("\u00e9\0x", 4), {hex("63 00E9 0000 0078")}));
}

TEST(BinaryPropertyListWriter, KeysOfAnyCharacters) {
  const std::string longKey(1000, 'k');
  for (const std::string& key : {std::string(), std::string("a/b"), std::string("a.b"),
                                 std::string("a=b;"), std::string("\"'"), std::string("CF$UID"),
                                 std::string("__proto__"), std::string("\0", 1), longKey}) {
    EXPECT_TRUE(writesAs(Value::dictionary({{key, 7}}),
                         {hex("D1 01 02"), BinaryPropertyListBuilder::ascii(key), hex("10 07")}))
        << key;
  }
}

TEST(BinaryPropertyListWriter, KeysKeepTheirOrder) {
  EXPECT_TRUE(writesAs(Value::dictionary({{"b", 1}, {"a", 2}, {"", 3}}),
                       {hex("D3 01 02 03 04 05 06"), hex("51 62"), hex("51 61"), hex("50"),
                        hex("10 01"), hex("10 02"), hex("10 03")}));
}

TEST(BinaryPropertyListWriter, ObjectsAreNumberedFromTheRootOn) {
  //  0 {
  //      1 "a": 3 [ 4 [ 5 1 ], 6 2 ]
  //      2 "b": 7 { 8 "c": 9 3 }
  //    }
  const Value value = Value::dictionary(
      {{"a", Value::array({Value::array({1}), 2})}, {"b", Value::dictionary({{"c", 3}})}});
  EXPECT_TRUE(writesAs(
      value, {hex("D2 01 02 03 07"), hex("51 61"), hex("51 62"), hex("A2 04 06"), hex("A1 05"),
              hex("10 01"), hex("10 02"), hex("D1 08 09"), hex("51 63"), hex("10 03")}));
}

TEST(BinaryPropertyListWriter, RecordsWithTheSameKeysInOtherOrders) {
  const Value value = Value::array({Value::dictionary({{"a", 1}, {"b", 2}}),
                                    Value::dictionary({{"b", 1}, {"a", 2}}),
                                    Value::dictionary({{"a", 2}, {"b", 1}})});
  EXPECT_TRUE(
      writesAs(value, {hex("A3 01 06 07"), hex("D2 02 03 04 05"), hex("51 61"), hex("51 62"),
                       hex("10 01"), hex("10 02"), hex("D2 03 02 04 05"), hex("D2 02 03 05 04")}));
}

TEST(BinaryPropertyListWriter, TheGreatestDepthThatIsReadByDefault) {
  Value value = "innermost";
  for (int i = 0; i < 512; ++i) {
    value = Value::array({value});
  }
  EXPECT_TRUE(test::reads(test::readBinary(binaryFile(value)), value));
}

TEST(BinaryPropertyListWriter, WhatTheOldTextFormatSaysComesThroughUnchanged) {
  const auto text = test::readText(
      "{ name = Backup; \"days of week\" = (mon, \"t\\U00fc\"); token = <0fbd 77>; none = {}; }");
  ASSERT_TRUE(text);
  EXPECT_TRUE(test::reads(test::readBinary(binaryFile(*text)), *text));
  EXPECT_TRUE(test::reads(test::readXML(test::xmlFile(*text)), *text));
}

}  // namespace
