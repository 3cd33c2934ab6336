// SPDX-License-Identifier: Apache-2.0
// What the binary writer writes once, and how large the parts of a file become.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <bit>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::binaryFile;
using test::dataOf;
using test::hex;
using test::reads;

// What a trailer says.
std::uint64_t numberAt(std::string_view bytes) {
  std::uint64_t number = 0;
  for (const char byte : bytes) {
    number = number << 8 | static_cast<unsigned char>(byte);
  }
  return number;
}
std::uint64_t offsetSizeOf(std::string_view file) {
  return numberAt(file.substr(file.size() - 26, 1));
}
std::uint64_t referenceSizeOf(std::string_view file) {
  return numberAt(file.substr(file.size() - 25, 1));
}
std::uint64_t objectsOf(std::string_view file) {
  return numberAt(file.substr(file.size() - 24, 8));
}
std::uint64_t tableOf(std::string_view file) {
  return numberAt(file.substr(file.size() - 8));
}

/// How many objects the writer makes of an array of these elements, with the array itself.
std::uint64_t objectsFor(const Value& array) {
  const std::string file = binaryFile(array);
  EXPECT_TRUE(reads(test::readBinary(file), array));
  return objectsOf(file);
}

TEST(BinaryPropertyListUniquing, WhatIsTheSameIsWrittenOnce) {
  EXPECT_EQ(objectsFor(Value::array({true, false, true, true, false})), 3U);
  EXPECT_EQ(objectsFor(Value::array({7, 7, -7, -7, UINT64_MAX, UINT64_MAX})), 4U);
  EXPECT_EQ(objectsFor(Value::array({0.5, 0.5, Date{0.5}, Date{0.5}})), 3U);
  EXPECT_EQ(objectsFor(Value::array({"a", "a", "\u00e9", "\u00e9"})), 3U);
  EXPECT_EQ(objectsFor(Value::array({dataOf("a"), dataOf("a")})), 2U);
}

TEST(BinaryPropertyListUniquing, NumbersOfOneValueAndOtherTypesAreDifferent) {
  EXPECT_EQ(objectsFor(Value::array({1, 1.0, true, Date{1}, "1"})), 6U);
  EXPECT_EQ(objectsFor(Value::array({0, 0.0, -0.0, false, Date{0.0}, Date{-0.0}})), 7U);
  EXPECT_EQ(objectsFor(Value::array({INT64_MIN, std::uint64_t{1} << 63})), 3U);
}

TEST(BinaryPropertyListUniquing, NaNsAreToldApartByTheirBits) {
  const auto nan = [](std::uint64_t bits) { return Value(std::bit_cast<double>(bits)); };
  EXPECT_EQ(objectsFor(Value::array({nan(0x7FF8000000000000), nan(0x7FF8000000000000),
                                     nan(0xFFF8000000000000), nan(0x7FF8000000000001)})),
            4U);
}

TEST(BinaryPropertyListUniquing, StringsAndDataOfTheSameBytesAreDifferent) {
  EXPECT_EQ(objectsFor(Value::array({"a", dataOf("a"), "", dataOf("")})), 5U);
}

TEST(BinaryPropertyListUniquing, EqualStringsOfAnyLengthAreOne) {
  for (const std::size_t length : {1U, 23U, 24U, 127U, 128U, 5000U}) {
    const std::string text(length, 'x');
    // Two that share their storage and one that does not.
    const Value shared = text;
    EXPECT_EQ(objectsFor(Value::array({shared, shared, text})), 2U) << length;
    const Value data = dataOf(text);
    EXPECT_EQ(objectsFor(Value::array({data, data, dataOf(text), text})), 3U) << length;
  }
}

TEST(BinaryPropertyListUniquing, AKeyAndAStringAreOneObject) {
  const Value value = Value::dictionary({{"a", "b"}, {"b", "a"}});
  test::BinaryPropertyListBuilder list;
  list.objects = {hex("D2 01 02 02 01"), hex("51 61"), hex("51 62")};
  EXPECT_EQ(binaryFile(value), list.file());
}

TEST(BinaryPropertyListUniquing, AStringUsedAThousandTimesIsWrittenOnce) {
  const Value value = Value::array(std::vector<Value>(1000, std::string(1000, 'x')));
  const std::string file = binaryFile(value);
  EXPECT_LT(file.size(), 3000U);
  EXPECT_EQ(objectsOf(file), 2U);
  EXPECT_TRUE(reads(test::readBinary(file), value));
}

TEST(BinaryPropertyListUniquing, ALongStringInManyPlacesTakesNoTimeForEach) {
  // If it were looked through for every element, that would be a terabyte to read.
  const Value value = Value::array(std::vector<Value>(1'000'000, std::string(1'000'000, 'x')));
  EXPECT_LT(binaryFile(value).size(), 2'000'100U);
  const Value data =
      Value::array(std::vector<Value>(1'000'000, dataOf(std::string(1'000'000, 'x'))));
  EXPECT_LT(binaryFile(data).size(), 2'000'100U);
}

TEST(BinaryPropertyListUniquing, CopiesOfAContainerAreOneObject) {
  const Value array = Value::array({1});
  const Value dictionary = Value::dictionary({{"a", array}});
  const Value value = Value::array({array, dictionary, array, dictionary});
  test::BinaryPropertyListBuilder list;
  list.objects = {hex("A4 01 03 01 03"), hex("A1 02"), hex("10 01"), hex("D1 04 01"), hex("51 61")};
  EXPECT_EQ(binaryFile(value), list.file());
  const auto read = test::readBinary(binaryFile(value));
  ASSERT_TRUE(reads(read, value));
  EXPECT_TRUE(read->elements()[0].sharesStorageWith(read->elements()[2]));
  EXPECT_TRUE(read->elements()[1].sharesStorageWith(read->elements()[3]));
}

TEST(BinaryPropertyListUniquing, ContainersThatAreMerelyEqualAreObjectsOfTheirOwn) {
  EXPECT_EQ(objectsFor(Value::array({Value::array({1}), Value::array({1})})), 4U);
  EXPECT_EQ(
      objectsFor(Value::array({Value::dictionary({{"a", 1}}), Value::dictionary({{"a", 1}})})), 5U);
}

TEST(BinaryPropertyListUniquing, EmptyContainersAreNoExceptions) {
  EXPECT_EQ(objectsFor(Value::array({Value::array({}), Value::array({})})), 3U);
  EXPECT_EQ(objectsFor(Value::array({Value::dictionary({}), Value::dictionary({})})), 3U);
  const Value array = Value::array({});
  const Value dictionary = Value::dictionary({});
  EXPECT_EQ(objectsFor(Value::array({array, dictionary, array, dictionary})), 3U);
}

TEST(BinaryPropertyListUniquing, WhatExpandsToNoEndStaysSmall) {
  Value value = true;
  for (int level = 0; level < 200; ++level) {
    value = level % 2 == 0 ? Value::array({value, value})
                           : Value::dictionary({{"left", value}, {"right", value}});
  }
  const std::string file = binaryFile(value);
  EXPECT_EQ(objectsOf(file), 203U);  // with true and two keys
  platform::PropertyListLimits limits;
  limits.expandedObjects = UINT64_MAX;
  const auto read = platform::readBinaryPropertyList(test::bytesOf(file), limits);
  ASSERT_TRUE(read);
  EXPECT_TRUE(*read == value);
  EXPECT_EQ(binaryFile(*read), file);
}

/// An array of `objects` objects, itself among them: integers, of three bytes where they can be.
Value arrayOf(std::uint64_t objects) {
  std::vector<Value> elements;
  for (std::uint64_t i = 0; i + 1 < objects; ++i) {
    elements.emplace_back(i);
  }
  return Value::array(std::move(elements));
}

TEST(BinaryPropertyListSizes, ReferencesGrowWithTheCountOfObjects) {
  for (const auto& [objects, size] :
       {std::pair(254, 1), std::pair(255, 1), std::pair(256, 2), std::pair(257, 2),
        std::pair(65'535, 2), std::pair(65'536, 4), std::pair(65'537, 4)}) {
    const Value value = arrayOf(static_cast<std::uint64_t>(objects));
    const std::string file = binaryFile(value);
    EXPECT_EQ(objectsOf(file), static_cast<std::uint64_t>(objects));
    EXPECT_EQ(referenceSizeOf(file), static_cast<std::uint64_t>(size)) << objects;
    EXPECT_TRUE(reads(test::readBinary(file), value)) << objects;
  }
}

TEST(BinaryPropertyListSizes, OffsetsGrowWithTheFile) {
  // The table begins behind the magic, a marker with a length of its own, and the bytes.
  for (const auto& [length, header, size] :
       {std::tuple(244, 8 + 3, 1), std::tuple(245, 8 + 3, 2), std::tuple(65'523, 8 + 4, 2),
        std::tuple(65'524, 8 + 4, 4)}) {
    const Value value = dataOf(std::string(static_cast<std::size_t>(length), 'x'));
    const std::string file = binaryFile(value);
    EXPECT_EQ(tableOf(file), static_cast<std::uint64_t>(header + length));
    EXPECT_EQ(offsetSizeOf(file), static_cast<std::uint64_t>(size)) << length;
    EXPECT_TRUE(reads(test::readBinary(file), value)) << length;
  }
}

TEST(BinaryPropertyListSizes, LongReferencesMoveWhatComesAfterThem) {
  // 300 objects, so references of two bytes; the leaves behind them have to be found again.
  std::vector<Value> elements;
  for (int i = 0; i < 100; ++i) {
    elements.push_back(Value::dictionary({{"key", i}, {"text", "text" + std::to_string(i)}}));
  }
  const Value value = Value::array(std::move(elements));
  const std::string file = binaryFile(value);
  EXPECT_EQ(objectsOf(file), 1U + 100 * 3 + 2);
  EXPECT_EQ(file.substr(8, 3), hex("AF 10 64"));
  EXPECT_EQ(file.substr(11, 4), hex("0001 0006"));  // each record has three objects more
  EXPECT_TRUE(reads(test::readBinary(file), value));
}

}  // namespace
