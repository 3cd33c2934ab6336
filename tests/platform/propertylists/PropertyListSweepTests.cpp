// SPDX-License-Identifier: Apache-2.0
// Good files that are spoilt in one place, and random bytes. A reader refuses or accepts them. A
// value that it accepts is whole.
#include "Fixtures.h"
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/Property.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/ValueGenerators.h"

#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::PropertyListLimits;
using platform::Value;
using test::BinaryPropertyListBuilder;
using test::fixture;

constexpr const char* fixtures[] = {"everything.binary", "texts.xml", "texts.text"};
constexpr decltype(&platform::readPropertyList) readers[] = {platform::readBinaryPropertyList,
                                                             platform::readXMLPropertyList,
                                                             platform::readTextPropertyList};

/// Reads with every reader. An accepted value must be within the bounds, and reading again must
/// give an equal one. A refusal must say why and, if there is a place, where.
void readAnyWay(std::string_view file) {
  PropertyListLimits limits;
  limits.depth = 32;
  limits.expandedObjects = 1000;
  limits.expandedObjectsPerByte = 4;
  const auto bytes = test::bytesOf(file);
  for (const auto read : {platform::readPropertyList, platform::readBinaryPropertyList,
                          platform::readXMLPropertyList, platform::readTextPropertyList}) {
    const auto result = read(bytes, limits);
    if (result) {
      ASSERT_LE(test::sizeOf(*result), 1000 + 4 * file.size());
      ASSERT_LE(test::depthOf(*result), 32U);
      const auto again = read(bytes, limits);
      ASSERT_TRUE(again);
      ASSERT_TRUE(*result == *again);
      ASSERT_EQ(result->hash(), again->hash());
    } else {
      const platform::PropertyListError& error = result.error();
      ASSERT_FALSE(error.message.empty());
      ASSERT_TRUE(file.empty() || error.line || error.offset) << error.message;
      ASSERT_FALSE(error.line && error.offset) << error.message;
      ASSERT_LE(error.offset.value_or(0), file.size()) << error.message;
      ASSERT_LE(error.line.value_or(1), file.size() + 1) << error.message;
    }
  }
}

TEST(PropertyListSweep, FilesCutShortAreRefusedAtEveryLength) {
  for (std::size_t i = 0; i < std::size(fixtures); ++i) {
    const std::string file = fixture(fixtures[i]);
    std::size_t end = file.size();
    while (file[end - 1] == '\n') {
      --end;  // the file is good without it, too
    }
    ASSERT_TRUE(readers[i](test::bytesOf(file), {})) << fixtures[i];
    for (std::size_t length = 0; length < end; ++length) {
      const std::string cut = file.substr(0, length);
      ASSERT_FALSE(readers[i](test::bytesOf(cut), {})) << fixtures[i] << " " << length;
      ASSERT_NO_FATAL_FAILURE(readAnyWay(cut)) << fixtures[i] << " " << length;
    }
  }
}

TEST(PropertyListSweep, FilesWithOneOtherByte) {
  for (const char* name : fixtures) {
    std::string file = fixture(name);
    for (char& byte : file) {
      const char right = byte;
      for (int bit = 0; bit < 8; ++bit) {
        byte = static_cast<char>(right ^ (1 << bit));
        ASSERT_NO_FATAL_FAILURE(readAnyWay(file))
            << name << " " << &byte - file.data() << " " << bit;
      }
      for (const int other : {0x00, 0xFF, ~right}) {
        byte = static_cast<char>(other);
        ASSERT_NO_FATAL_FAILURE(readAnyWay(file)) << name << " " << &byte - file.data();
      }
      byte = right;
    }
  }
}

TEST(PropertyListSweep, ASmallBinaryFileWithEveryOtherByte) {
  BinaryPropertyListBuilder list;
  list.add(Value::dictionary({{"a", Value::array({1, 1.5, "b"})}, {"\u00e9", platform::Date{1}}}));
  std::string file = list.file();
  for (char& byte : file) {
    const char right = byte;
    for (int other = 0; other < 256; ++other) {
      byte = static_cast<char>(other);
      ASSERT_NO_FATAL_FAILURE(readAnyWay(file)) << &byte - file.data() << " " << other;
    }
    byte = right;
  }
}

TEST(PropertyListSweep, FilesWithABytePutInOrTakenOut) {
  for (const char* name : fixtures) {
    const std::string file = fixture(name);
    for (std::size_t at = 0; at < file.size(); ++at) {
      std::string other = file;
      other.erase(at, 1);
      ASSERT_NO_FATAL_FAILURE(readAnyWay(other)) << name << " " << at;
      other = file;
      other.insert(at, 1, file[at]);
      ASSERT_NO_FATAL_FAILURE(readAnyWay(other)) << name << " " << at;
    }
  }
}

PROPERTY(PropertyListProperties, ArbitraryBytesAreReadOrRefused, (const std::vector<char>& bytes)) {
  readAnyWay({bytes.data(), bytes.size()});
}

PROPERTY(PropertyListProperties, ArbitraryObjectsInAGoodFrameAreReadOrRefused, ()) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.objects = *rc::gen::container<std::vector<std::string>>(rc::gen::nonEmpty<std::string>());
  RC_PRE(!list.objects.empty());
  const auto objects = static_cast<int>(list.objects.size());
  // Markers of every kind, with little in them, so that references are met often.
  for (std::string& object : list.objects) {
    object[0] =
        static_cast<char>(*rc::gen::element(0x09, 0x10, 0x51, 0xA1, 0xA2, 0xA3, 0xD1, 0xD2));
    for (std::size_t i = 1; i < object.size(); ++i) {
      object[i] = static_cast<char>(*rc::gen::inRange(0, objects + 1));
    }
  }
  readAnyWay(list.file());
}

/// The parts of `value` that a binary property list can hold.
Value expressible(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::absent:
    case Value::Kind::null:
    case Value::Kind::object:
      return "nothing";
    case Value::Kind::date:
      return std::isfinite(value.date()->seconds) ? value : Value("never");
    case Value::Kind::string: {
      std::string text(value.string());
      for (char& character : text) {
        character = static_cast<char>(character & 0x7F);
      }
      return text;
    }
    case Value::Kind::array: {
      std::vector<Value> elements;
      for (const Value& element : value.elements()) {
        elements.push_back(expressible(element));
      }
      return Value::array(std::move(elements));
    }
    case Value::Kind::dictionary: {
      std::vector<std::pair<platform::Key, Value>> entries;
      for (std::size_t i = 0; i < value.keys().size(); ++i) {
        entries.emplace_back(value.keys()[i], expressible(value.values()[i]));
      }
      return Value::dictionary(std::move(entries));
    }
    default:
      return value;
  }
}

PROPERTY(PropertyListProperties, AnyValueReadsBackFromItsBinaryFile, (const Value& any)) {
  const Value value = expressible(any);
  BinaryPropertyListBuilder list;
  list.offsetSize = *rc::gen::inRange<std::size_t>(3, 9);
  list.referenceSize = *rc::gen::inRange<std::size_t>(3, 9);
  list.add(value);
  const auto read = test::readBinary(list.file());
  RC_ASSERT(static_cast<bool>(read));
  RC_ASSERT(test::identical(*read, value));
  RC_ASSERT(*read == value);
}

}  // namespace
