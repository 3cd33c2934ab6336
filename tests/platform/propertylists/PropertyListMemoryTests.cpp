// SPDX-License-Identifier: Apache-2.0
// How much memory the readers take for an input. A program of its own, because it replaces the
// allocator with one that knows how much is in use.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"

#include <malloc.h>
#include <vexil/platform/PropertyList.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

std::size_t inUse = 0;
std::size_t peak = 0;

void* take(std::size_t size) {
  // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): this is the allocator
  void* memory = std::malloc(std::max(size, std::size_t{1}));
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  inUse += ::malloc_usable_size(memory);
  peak = std::max(peak, inUse);
  return memory;
}

void giveBack(void* memory) noexcept {
  inUse -= memory == nullptr ? 0 : ::malloc_usable_size(memory);
  std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc): this is the allocator
}

}  // namespace

void* operator new(std::size_t size) {
  return take(size);
}
void operator delete(void* memory) noexcept {
  giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  giveBack(memory);
}

namespace {

using platform::Value;
using test::BinaryPropertyListBuilder;
using test::hex;
using test::repeated;

/// The most memory that reading a file takes, in bytes for each byte of the file. It does not count
/// the XML parser's own memory, which is a few kilobytes and the longest token.
double memoryPerByte(const std::string& file, bool isGood = true) {
  const std::size_t before = inUse;
  peak = inUse;
  {
    const auto read = platform::readPropertyList(test::bytesOf(file));
    EXPECT_EQ(static_cast<bool>(read), isGood) << (read ? "accepted" : read.error().description());
  }
  // The tables of keys and shapes keep their buckets. All other memory is given back.
  EXPECT_LE(inUse, before + 16 * file.size());
  return static_cast<double>(peak - before) / static_cast<double>(file.size());
}

/// The bound of the manual.
constexpr double most = 128;

/// An array of all objects that `object` makes of their index.
template <class Object>
std::string listOf(std::size_t count, const Object& object) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 4;
  list.objects.emplace_back();
  std::vector<std::uint64_t> indexes;
  for (std::uint64_t i = 1; i <= count; ++i) {
    indexes.push_back(i);
    list.objects.push_back(object(list, i));
  }
  list.objects[0] = list.array(indexes);
  return list.file();
}

constexpr std::size_t many = 60'000;

TEST(PropertyListMemory, OfSmallObjects) {
  EXPECT_LT(memoryPerByte(listOf(many, [](auto&, std::uint64_t) { return hex("09"); })), most);
  EXPECT_LT(memoryPerByte(listOf(many, [](auto&, std::uint64_t) { return hex("A0"); })), most);
  EXPECT_LT(memoryPerByte(listOf(many, [](auto&, std::uint64_t) { return hex("D0"); })), most);
  EXPECT_LT(memoryPerByte(listOf(many, [](auto&, std::uint64_t) { return hex("40"); })), most);
}

TEST(PropertyListMemory, OfReferencesOfOneByte) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.objects = {list.array(std::vector<std::uint64_t>(1'000'000, 1)), hex("09")};
  EXPECT_LT(memoryPerByte(list.file()), most);
  // As many arrays of one reference as references of one byte allow.
  list.objects = {"", hex("09")};
  std::vector<std::uint64_t> arrays;
  for (std::uint64_t i = 2; i < 252; ++i) {
    arrays.push_back(i);
    list.objects.push_back(list.array(std::vector<std::uint64_t>(250, 1)));
  }
  list.objects[0] = list.array(arrays);
  EXPECT_LT(memoryPerByte(list.file()), most);
}

TEST(PropertyListMemory, OfDictionariesWithKeysOfTheirOwn) {
  EXPECT_LT(memoryPerByte(listOf(many,
                                 [](auto& list, std::uint64_t i) {
                                   return i % 2 == 0
                                              ? list.dictionary({i - 1}, {i - 1})
                                              : BinaryPropertyListBuilder::ascii(std::to_string(i));
                                 })),
            most);
}

TEST(PropertyListMemory, OfXML) {
  EXPECT_LT(memoryPerByte("<array>" + repeated("<true/>", many) + "</array>"), most);
  EXPECT_LT(memoryPerByte("<array>" + repeated("<dict/>", many) + "</array>"), most);
  EXPECT_LT(memoryPerByte("<string>" + std::string(many, 'x') + "</string>"), most);
  EXPECT_LT(memoryPerByte("<data>" + std::string(many, 'A') + "</data>"), most);
  std::string file = "<array>";
  for (std::size_t i = 0; i < many; ++i) {
    file += "<dict><key>" + std::to_string(i) + "</key><true/></dict>";
  }
  EXPECT_LT(memoryPerByte(file + "</array>"), most);
}

TEST(PropertyListMemory, OfText) {
  EXPECT_LT(memoryPerByte("(" + repeated("a,", many) + ")"), most);
  EXPECT_LT(memoryPerByte("(" + repeated("(),", many) + ")"), most);
  EXPECT_LT(memoryPerByte("(" + repeated("<>,", many) + ")"), most);
  EXPECT_LT(memoryPerByte("\"" + std::string(many, 'x') + "\""), most);
  EXPECT_LT(memoryPerByte("\"" + repeated("\\1", many) + "\""), most);
  std::string dictionary;
  std::string dictionaries = "(";
  for (std::size_t i = 0; i < many; ++i) {
    dictionary += std::to_string(i) + ";";
    dictionaries += "{" + std::to_string(i) + ";},";
  }
  EXPECT_LT(memoryPerByte(dictionary), most);
  EXPECT_LT(memoryPerByte(dictionaries + ")"), most);
}

/// All keys of a number of characters that need no quotes, each with a semicolon.
std::string keysOf(std::size_t length) {
  constexpr std::string_view alphabet =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_$:.-";
  std::vector<std::string> keys = {""};
  for (std::size_t i = 0; i < length; ++i) {
    std::vector<std::string> longer;
    for (const std::string& key : keys) {
      for (const char character : alphabet) {
        longer.push_back(key + character);
      }
    }
    keys = std::move(longer);
  }
  std::string text;
  for (const std::string& key : keys) {
    text += key + ";";
  }
  return text;
}

TEST(PropertyListMemory, OfTheShortestKeys) {
  EXPECT_LT(memoryPerByte(keysOf(2)), most);
  EXPECT_LT(memoryPerByte(keysOf(3)), most);
}

TEST(PropertyListMemory, OfProseIsLittle) {
  const std::string prose(1'000'000, 'x');
  EXPECT_LT(memoryPerByte("\"" + prose + "\""), 4);
  EXPECT_LT(memoryPerByte("<string>" + prose + "</string>"), 4);
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.objects = {BinaryPropertyListBuilder::ascii(prose)};
  EXPECT_LT(memoryPerByte(list.file()), 4);
}

TEST(PropertyListMemory, OfLengthsThatAreOnlyClaimed) {
  // A dozen bytes that ask for gigabytes get an error of a few hundred.
  for (const char* object : {"AF 12 7FFFFFFF", "DF 12 7FFFFFFF", "4F 12 7FFFFFFF", "5F 12 7FFFFFFF",
                             "6F 12 7FFFFFFF", "AF 13 7FFFFFFFFFFFFFFF"}) {
    BinaryPropertyListBuilder list;
    list.objects = {hex(object)};
    EXPECT_LT(memoryPerByte(list.file(), false), most) << object;
  }
  BinaryPropertyListBuilder list;
  list.objects = {hex("09")};
  list.count = 0x7FFFFFFF;
  EXPECT_LT(memoryPerByte(list.file(), false), most);
}

TEST(PropertyListMemory, OfObjectsThatOverlap) {
  // Each of 20,000 objects begins a string of 20,000 characters at a place of its own, one byte
  // behind the other.
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 4;
  std::vector<std::uint64_t> indexes;
  std::string strings;
  for (std::uint64_t i = 1; i <= 20'000; ++i) {
    indexes.push_back(i);
    strings += hex("5F 11 4E20");
  }
  list.objects = {list.array(indexes), strings};
  list.offsets = {list.offsetOf(0)};
  for (std::uint64_t i = 0; i < 20'000; ++i) {
    list.offsets.push_back(list.offsetOf(1) + 4 * i);
  }
  EXPECT_LT(memoryPerByte(list.file(), false), most);
}

TEST(PropertyListMemory, OfEntitiesOfEntities) {
  std::string file = "<!DOCTYPE plist [<!ENTITY a0 \"hahahaha\">";
  for (int i = 1; i < 40; ++i) {
    const std::string inner = "&a" + std::to_string(i - 1) + ";";
    file += "<!ENTITY a" + std::to_string(i) + " \"" + inner + inner + "\">";
  }
  EXPECT_LT(memoryPerByte(file + "]><string>&a39;</string>", false), most);
}

/// The most memory that writing a value takes, with the file itself, in bytes for each byte of the
/// file.
template <class File>
double memoryOfWriting(platform::PropertyListResult<File> (*write)(const Value&),
                       const Value& value) {
  const std::size_t before = inUse;
  peak = inUse;
  std::size_t length = 0;
  {
    const auto written = write(value);
    EXPECT_TRUE(written);
    length = written ? written->size() : 1;
  }
  EXPECT_EQ(inUse, before);
  return static_cast<double>(peak - before) / static_cast<double>(length);
}

platform::PropertyListResult<std::string> writeXML(const Value& value) {
  return platform::writeXMLPropertyList(value);
}

/// An array of what `element` makes of each index.
template <class Element>
Value arrayOf(std::size_t count, const Element& element) {
  std::vector<Value> elements;
  for (std::size_t i = 0; i < count; ++i) {
    elements.push_back(element(i));
  }
  return Value::array(std::move(elements));
}

/// The bound of the manual.
constexpr double mostOfWriting = 32;

/// At this number, tables have just grown: their size is a power of two, and at most half is used.
constexpr std::size_t justTooMany = 33'000;

TEST(PropertyListMemory, OfWriting) {
  const Value values[] = {
      arrayOf(justTooMany, [](std::size_t i) { return Value(i); }),
      arrayOf(justTooMany, [](std::size_t) { return Value::array({}); }),
      arrayOf(justTooMany, [](std::size_t) { return Value::array({true}); }),
      arrayOf(justTooMany,
              [](std::size_t i) {
                return Value::dictionary({{std::to_string(i), true}});
              }),
      arrayOf(justTooMany,
              [](std::size_t) {
                return Value::dictionary({{"a", 1}, {"b", 2}, {"c", 3}});
              }),
      arrayOf(justTooMany,
              [](std::size_t i) { return Value(std::string(20, 'x') + std::to_string(i)); }),
      arrayOf(justTooMany, [](std::size_t) { return Value(true); }),
  };
  for (const Value& value : values) {
    EXPECT_LT(memoryOfWriting(platform::writeBinaryPropertyList, value), mostOfWriting);
    EXPECT_LT(memoryOfWriting(writeXML, value), mostOfWriting);
  }
}

TEST(PropertyListMemory, OfWritingProseIsLittle) {
  const Value prose = std::string(1'000'000, 'x');
  EXPECT_LT(memoryOfWriting(platform::writeBinaryPropertyList, prose), 3);
  EXPECT_LT(memoryOfWriting(writeXML, prose), 3);
}

TEST(PropertyListMemory, OfWritingWhatExpandsToNoEnd) {
  Value value = true;
  for (int level = 0; level < 60; ++level) {
    value = Value::array({value, value});
  }
  // The file has some hundred bytes, and memory comes in pieces of a kilobyte.
  EXPECT_LT(memoryOfWriting(platform::writeBinaryPropertyList, value), 50);
}

}  // namespace
