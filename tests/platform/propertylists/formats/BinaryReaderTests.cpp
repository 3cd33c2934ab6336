// SPDX-License-Identifier: Apache-2.0
// What the binary reader reads. What it refuses is in BinaryReaderErrorTests.cpp.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::BinaryPropertyListBuilder;
using test::hex;
using test::readBinary;
using test::reads;

/// A file of one object.
std::string fileOf(std::string object) {
  BinaryPropertyListBuilder list;
  list.objects = {std::move(object)};
  while (list.tableOffset() >> (8 * list.offsetSize) != 0) {
    ++list.offsetSize;
  }
  return list.file();
}

TEST(BinaryPropertyList, EmptyContainersAndLeaves) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("A0"))), Value::array({})));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("D0"))), Value::dictionary({})));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("50"))), ""));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("60"))), ""));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("40"))), Value::data({})));
}

TEST(BinaryPropertyList, BooleansAreNotIntegers) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("08"))), false));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("09"))), true));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("10 00"))), 0));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("10 01"))), 1));
}

TEST(BinaryPropertyList, ShortIntegersAreUnsigned) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("10 FF"))), 255));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("11 0100"))), 256));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("11 FFFF"))), 65535));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("12 00010000"))), 65536));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("12 FFFFFFFF"))), 4294967295));
}

TEST(BinaryPropertyList, IntegersOfEightBytesAreSigned) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("13 0000000100000000"))), 4294967296));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("13 7FFFFFFFFFFFFFFF"))), INT64_MAX));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("13 FFFFFFFFFFFFFFFF"))), -1));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("13 8000000000000000"))), INT64_MIN));
}

TEST(BinaryPropertyList, IntegersOfSixteenBytesAreTheLargeOnes) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("14 0000000000000000 8000000000000000"))),
                    std::uint64_t{1} << 63));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("14 0000000000000000 FFFFFFFFFFFFFFFF"))), UINT64_MAX));
}

TEST(BinaryPropertyList, AnIntegerMayHaveMoreBytesThanItNeeds) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("12 00000007"))), 7));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("13 0000000000000007"))), 7));
}

TEST(BinaryPropertyList, RealsKeepEveryBit) {
  const std::uint64_t patterns[] = {
      std::bit_cast<std::uint64_t>(0.0),
      std::bit_cast<std::uint64_t>(-0.0),
      std::bit_cast<std::uint64_t>(0.1),
      std::bit_cast<std::uint64_t>(1e308),
      std::bit_cast<std::uint64_t>(5e-324),
      std::bit_cast<std::uint64_t>(HUGE_VAL),
      std::bit_cast<std::uint64_t>(-HUGE_VAL),
      0x7FF8000000000000,  // the usual NaN,
      0xFFF8DEADBEEF1234,  // one with a sign and a payload,
      0x7FF4000000000001,  // and one that signals
  };
  for (const std::uint64_t bits : patterns) {
    const auto read = readBinary(fileOf(hex("23") + test::bigEndian(bits, 8)));
    ASSERT_TRUE(read);
    ASSERT_TRUE(read->real());
    EXPECT_EQ(std::bit_cast<std::uint64_t>(*read->real()), bits);
  }
}

TEST(BinaryPropertyList, RealsOfFourBytesReadAsTheSameNumber) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("22 3FC00000"))), 1.5));
  // The float next to 0.1, not 0.1.
  EXPECT_TRUE(reads(readBinary(fileOf(hex("22 3DCCCCCD"))), 0.100000001490116119384765625));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("22 FF800000"))), -HUGE_VAL));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("22 80000000"))), -0.0));
}

TEST(BinaryPropertyList, AWholeRealIsNoInteger) {
  const auto read = readBinary(fileOf(hex("23 4000000000000000")));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->kind(), Value::Kind::real);
  EXPECT_TRUE(*read == Value(2));
}

TEST(BinaryPropertyList, DatesKeepEveryBit) {
  for (const double seconds :
       {-978307200.25, 0.0, -0.0, 0.5, 3155760000.0, -63145612800.0, 999999999999.0, 0.1,
        std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max()}) {
    const auto bits = std::bit_cast<std::uint64_t>(seconds);
    EXPECT_TRUE(
        reads(readBinary(fileOf(hex("33") + test::bigEndian(bits, 8))), Value(Date{seconds})))
        << seconds;
  }
}

TEST(BinaryPropertyList, LengthsOfEveryForm) {
  for (const std::size_t length : {14U, 15U, 255U, 256U, 65535U, 65536U}) {
    const std::string text(length, 'x');
    EXPECT_TRUE(reads(readBinary(fileOf(BinaryPropertyListBuilder::ascii(text))), text));
    EXPECT_TRUE(reads(
        readBinary(fileOf(BinaryPropertyListBuilder::utf16(std::u16string(length, u'\u00e9')))),
        test::repeated("\u00e9", length)));
    EXPECT_TRUE(reads(readBinary(fileOf(BinaryPropertyListBuilder::marker(0x40, length) + text)),
                      Value::data(test::bytesOf(text))));
  }
}

TEST(BinaryPropertyList, ALengthMayBeWrittenLongerThanNeeded) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("5F 10 01 61"))), "a"));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("5F 13 0000000000000001 61"))), "a"));
}

TEST(BinaryPropertyList, DataOfAllByteValues) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
  }
  EXPECT_TRUE(reads(readBinary(fileOf(BinaryPropertyListBuilder::marker(0x40, 256) + bytes)),
                    Value::data(test::bytesOf(bytes))));
}

TEST(BinaryPropertyList, StringsOfAnyCharacters) {
  const auto utf16 = [](std::u16string_view units) {
    return readBinary(fileOf(BinaryPropertyListBuilder::utf16(units)));
  };
  EXPECT_TRUE(reads(utf16(u"plain"), "plain"));
  EXPECT_TRUE(reads(utf16(u"caf\u00e9"), "caf\u00e9"));
  EXPECT_TRUE(reads(utf16(u"cafe\u0301"), "cafe\u0301"));  // stays two code points
  EXPECT_TRUE(reads(utf16(u"\U00010000\U0010FFFF"), "\U00010000\U0010FFFF"));
  EXPECT_TRUE(reads(utf16(u"\U0001F1EB\U0001F1F7"), "\U0001F1EB\U0001F1F7"));  // a flag
  EXPECT_TRUE(reads(utf16(u"\U0001F468\u200D\U0001F469\u200D\U0001F467"),
                    "\U0001F468\u200D\U0001F469\u200D\U0001F467"));  // a family
  EXPECT_TRUE(reads(utf16(u"\uFEFF\uFFFE\u2028\uD7FF\uE000"), "\uFEFF\uFFFE\u2028\uD7FF\uE000"));
}

TEST(BinaryPropertyList, NulDoesNotEndAString) {
  EXPECT_TRUE(reads(readBinary(fileOf(hex("53 61 00 62"))), std::string("a\0b", 3)));
  EXPECT_TRUE(reads(readBinary(fileOf(hex("62 0000 00E9"))), std::string("\0\u00e9", 3)));
}

TEST(BinaryPropertyList, KeysOfAnyCharacters) {
  const std::string longKey(1000, 'k');
  const Value value = Value::dictionary({{"", 0},
                                         {"a/b.c=d", 1},
                                         {"\"quoted' \\", 2},
                                         {longKey, 3},
                                         {"CF$UID", 4},
                                         {"__proto__", 5},
                                         {"\u00e9", 6},
                                         {"e\u0301", 7},
                                         {"\U0001F600", 8}});
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.add(value);
  EXPECT_TRUE(reads(readBinary(list.file()), value));
}

TEST(BinaryPropertyList, ADictionaryOfOneSpecialKeyStaysADictionary) {
  BinaryPropertyListBuilder list;
  const Value value = Value::dictionary({{"CF$UID", 7}});
  list.add(value);
  EXPECT_TRUE(reads(readBinary(list.file()), value));
}

TEST(BinaryPropertyList, KeysKeepTheirOrder) {
  BinaryPropertyListBuilder list;
  list.objects = {list.dictionary({1, 2, 3}, {4, 5, 6}),
                  hex("51 63"),
                  hex("51 61"),
                  hex("51 62"),
                  hex("10 01"),
                  hex("10 02"),
                  hex("10 03")};
  EXPECT_TRUE(reads(readBinary(list.file()), Value::dictionary({{"c", 1}, {"a", 2}, {"b", 3}})));
}

TEST(BinaryPropertyList, RecordsWithTheSameKeysInOtherOrders) {
  // ({a, b}, {a, b}, {b, a}, {a, b}), with the values swapped alike.
  BinaryPropertyListBuilder list;
  list.objects = {hex("A4 01 02 03 04"),
                  list.dictionary({5, 6}, {7, 8}),
                  list.dictionary({5, 6}, {8, 7}),
                  list.dictionary({6, 5}, {7, 8}),
                  list.dictionary({5, 6}, {7, 7}),
                  hex("51 61"),
                  hex("51 62"),
                  hex("10 07"),
                  hex("10 08")};
  EXPECT_TRUE(reads(
      readBinary(list.file()),
      Value::array(
          {Value::dictionary({{"a", 7}, {"b", 8}}), Value::dictionary({{"a", 8}, {"b", 7}}),
           Value::dictionary({{"b", 7}, {"a", 8}}), Value::dictionary({{"a", 7}, {"b", 7}})})));
}

TEST(BinaryPropertyList, WhatIsReferredToTwiceIsShared) {
  // ((1), (1)) with one inner array.
  BinaryPropertyListBuilder list;
  list.objects = {hex("A2 01 01"), hex("A1 02"), hex("10 01")};
  const auto read = readBinary(list.file());
  ASSERT_TRUE(reads(read, Value::array({Value::array({1}), Value::array({1})})));
  EXPECT_TRUE(read->elements()[0].sharesStorageWith(read->elements()[1]));
}

TEST(BinaryPropertyList, EqualObjectsNeedNotBeShared) {
  BinaryPropertyListBuilder list;
  list.objects = {hex("A2 01 02"), hex("A1 03"), hex("A1 03"), hex("10 01")};
  const auto read = readBinary(list.file());
  ASSERT_TRUE(reads(read, Value::array({Value::array({1}), Value::array({1})})));
  EXPECT_FALSE(read->elements()[0].sharesStorageWith(read->elements()[1]));
}

TEST(BinaryPropertyList, AnObjectMayBeBothKeyAndValue) {
  BinaryPropertyListBuilder list;
  list.objects = {list.dictionary({1}, {1}), hex("51 61")};
  EXPECT_TRUE(reads(readBinary(list.file()), Value::dictionary({{"a", "a"}})));
}

TEST(BinaryPropertyList, TheRootMayBeAnyObjectAndOthersMayBeUnused) {
  BinaryPropertyListBuilder list;
  list.objects = {hex("10 01"), hex("0F"), hex("A1 03"), hex("51 61")};
  list.root = 2;
  EXPECT_TRUE(reads(readBinary(list.file()), Value::array({"a"})));
}

TEST(BinaryPropertyList, OffsetsAndReferencesOfEverySize) {
  const Value value = Value::dictionary({{"list", Value::array({1, "two", 3.0})}, {"flag", true}});
  for (std::size_t offsetSize = 1; offsetSize <= 8; ++offsetSize) {
    for (std::size_t referenceSize = 1; referenceSize <= 8; ++referenceSize) {
      BinaryPropertyListBuilder list;
      list.offsetSize = offsetSize;
      list.referenceSize = referenceSize;
      list.add(value);
      EXPECT_TRUE(reads(readBinary(list.file()), value)) << offsetSize << " " << referenceSize;
    }
  }
}

TEST(BinaryPropertyList, CountsOfObjectsAroundTheSizesOfReferences) {
  for (const std::size_t objects : {255U, 256U, 257U, 65535U, 65537U}) {
    BinaryPropertyListBuilder list;
    list.referenceSize = objects < 0x100 ? 1 : objects < 0x10000 ? 2 : 4;
    list.offsetSize = 3;
    std::vector<Value> elements;
    for (std::size_t i = 1; i < objects; ++i) {
      elements.emplace_back(i);
    }
    const Value value = Value::array(std::move(elements));
    list.add(value);
    ASSERT_EQ(list.objects.size(), objects);
    EXPECT_TRUE(reads(readBinary(list.file()), value)) << objects;
  }
}

TEST(BinaryPropertyList, FilesAroundTheSizesOfOffsets) {
  // The offset table begins right below and above what one and two bytes can say.
  for (const std::size_t table : {255U, 256U, 65535U, 65536U}) {
    BinaryPropertyListBuilder list;
    list.offsetSize = table < 0x100 ? 1 : table < 0x10000 ? 2 : 3;
    std::size_t length = table - 8;
    while (list.tableOffset() != table) {
      list.objects = {BinaryPropertyListBuilder::ascii(std::string(length--, 'x'))};
    }
    EXPECT_TRUE(reads(readBinary(list.file()), std::string(length + 1, 'x'))) << table;
  }
}

TEST(BinaryPropertyList, TheUnusedBytesOfTheTrailerMayBeAnything) {
  std::string file = fileOf(hex("09"));
  for (std::size_t i = 0; i < 6; ++i) {
    file[file.size() - 32 + i] = static_cast<char>(0x5A);
  }
  EXPECT_TRUE(reads(readBinary(file), true));
}

}  // namespace
