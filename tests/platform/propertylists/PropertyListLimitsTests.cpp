// SPDX-License-Identifier: Apache-2.0
// Which sizes and depths the readers accept. No input makes them use more stack.
#include "tests/support/BinaryPropertyListBuilder.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/SmallStack.h"

#include <vexil/platform/PropertyList.h>

#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::PropertyListLimits;
using platform::Value;
using test::BinaryPropertyListBuilder;
using test::Code;
using test::hex;
using test::Line;
using test::Offset;
using test::readBinary;
using test::readText;
using test::readXML;
using test::refused;
using test::repeated;

/// Nested arrays. Each is an object that refers to the next. The last is empty.
std::string nestedBinary(std::size_t depth) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 4;
  for (std::size_t i = 1; i < depth; ++i) {
    list.objects.push_back(list.array({i}));
  }
  list.objects.push_back(hex("A0"));
  return list.file();
}

std::string nestedXML(std::size_t depth) {
  return repeated("<array>", depth) + repeated("</array>", depth);
}

std::string nestedText(std::size_t depth) {
  return repeated("(", depth) + repeated(")", depth);
}

TEST(PropertyListLimits, DefaultsAreThoseOfTheManual) {
  const PropertyListLimits limits;
  EXPECT_EQ(limits.depth, 512U);
  EXPECT_EQ(limits.inputBytes, 1073741824U);
  EXPECT_EQ(limits.expandedObjects, 1'000'000U);
  EXPECT_EQ(limits.expandedObjectsPerByte, 64U);
}

TEST(PropertyListLimits, TheGreatestDepthIsAccepted) {
  for (const auto& read :
       {readBinary(nestedBinary(512)), readXML(nestedXML(512)), readText(nestedText(512))}) {
    ASSERT_TRUE(read);
    EXPECT_EQ(test::depthOf(*read), 512U);
  }
}

TEST(PropertyListLimits, OneMoreIsTooDeep) {
  EXPECT_TRUE(refused(readBinary(nestedBinary(513)), Code::tooDeep, Offset{8}));
  EXPECT_TRUE(refused(readXML(nestedXML(513)), Code::tooDeep, Line{1}));
  EXPECT_TRUE(refused(readText(nestedText(513)), Code::tooDeep, Line{1}));
}

TEST(PropertyListLimits, DictionariesAreAsDeepAsArrays) {
  const auto xml = [](std::size_t depth) {
    return readXML(repeated("<dict><key>a</key>", depth) + "<true/>" + repeated("</dict>", depth));
  };
  const auto text = [](std::size_t depth) {
    return readText(repeated("{a=", depth) + "b" + repeated(";}", depth));
  };
  EXPECT_TRUE(xml(512));
  EXPECT_TRUE(refused(xml(513), Code::tooDeep, Line{1}));
  EXPECT_TRUE(text(512));
  EXPECT_TRUE(refused(text(513), Code::tooDeep, Line{1}));
  // Without braces it is a dictionary all the same.
  EXPECT_TRUE(readText("a = " + nestedText(511) + ";"));
  EXPECT_TRUE(refused(readText("a = " + nestedText(512) + ";"), Code::tooDeep, Line{1}));
}

TEST(PropertyListLimits, DepthIsThatOfTheDeepestWay) {
  // The chain of 300 arrays that begins at object 1 is read first right below the root, and then
  // found again at the end of another chain of 300:
  //
  //   0 --> 1 -> 2 -> ... -> 300
  //    \--> 301 -> 302 -> ... -> 600 --> 1
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.referenceSize = 2;
  list.objects = {list.array({1, 301})};
  for (std::uint64_t i = 1; i < 600; ++i) {
    list.objects.push_back(i == 300 ? list.array({}) : list.array({i + 1}));
  }
  list.objects.push_back(list.array({1}));
  EXPECT_FALSE(readBinary(list.file()));
  EXPECT_EQ(readBinary(list.file()).error().code, Code::tooDeep);
  PropertyListLimits limits;
  limits.depth = 601;
  EXPECT_TRUE(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits));
  limits.depth = 600;
  EXPECT_FALSE(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits));
}

TEST(PropertyListLimits, TheStackDoesNotDependOnTheInput) {
  constexpr std::size_t depth = test::deepNesting;
  PropertyListLimits limits;
  limits.depth = depth;
  const std::string files[] = {nestedBinary(depth), nestedXML(depth), nestedText(depth)};
  test::runOnSmallStack([&] {
    for (const std::string& file : files) {
      EXPECT_FALSE(platform::readPropertyList(test::bytesOf(file)));
      EXPECT_EQ(platform::readPropertyList(test::bytesOf(file)).error().code, Code::tooDeep);
      const auto deep = platform::readPropertyList(test::bytesOf(file), limits);
      ASSERT_TRUE(deep);
      EXPECT_EQ(test::depthOf(*deep), depth);
    }
  });
}

TEST(PropertyListLimits, InputThatEndsDeepIsTornDownAsWell) {
  PropertyListLimits limits;
  limits.depth = test::deepNesting;
  const std::string xml = repeated("<array>", test::deepNesting);
  const std::string text = repeated("{a=(", test::deepNesting / 2);
  test::runOnSmallStack([&] {
    EXPECT_FALSE(platform::readXMLPropertyList(test::bytesOf(xml), limits));
    EXPECT_FALSE(platform::readTextPropertyList(test::bytesOf(text), limits));
  });
}

TEST(PropertyListLimits, DepthOfOneAndNone) {
  PropertyListLimits limits;
  limits.depth = 1;
  EXPECT_TRUE(platform::readTextPropertyList(test::bytesOf("(a)"), limits));
  EXPECT_FALSE(platform::readTextPropertyList(test::bytesOf("((a))"), limits));
  limits.depth = 0;
  EXPECT_TRUE(platform::readTextPropertyList(test::bytesOf("a"), limits));
  EXPECT_TRUE(platform::readXMLPropertyList(test::bytesOf("<plist><true/></plist>"), limits));
  EXPECT_FALSE(platform::readTextPropertyList(test::bytesOf("()"), limits));
  EXPECT_FALSE(platform::readXMLPropertyList(test::bytesOf("<array/>"), limits));
  EXPECT_FALSE(platform::readBinaryPropertyList(test::bytesOf(nestedBinary(1)), limits));
}

TEST(PropertyListLimits, InputThatIsTooLong) {
  PropertyListLimits limits;
  for (const std::string& file : {nestedBinary(1), nestedXML(1), nestedText(1)}) {
    limits.inputBytes = file.size();
    EXPECT_TRUE(platform::readPropertyList(test::bytesOf(file), limits));
    --limits.inputBytes;
    EXPECT_TRUE(refused(platform::readPropertyList(test::bytesOf(file), limits), Code::tooLong));
  }
}

/// `levels` arrays, each of `references` to the next; the last object is a boolean.
std::string laughs(std::size_t levels, std::size_t references) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  for (std::size_t i = 1; i <= levels; ++i) {
    list.objects.push_back(list.array(std::vector<std::uint64_t>(references, i)));
  }
  list.objects.push_back(hex("09"));
  return list.file();
}

TEST(PropertyListLimits, SmallFilesThatAreEnormousValues) {
  for (const auto& file : {laughs(24, 2), laughs(40, 14), laughs(200, 1000), laughs(20, 2)}) {
    const auto read = readBinary(file);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().code, Code::expandsTooFar);
  }
}

TEST(PropertyListLimits, DictionariesExpandAsWell) {
  BinaryPropertyListBuilder list;
  constexpr std::uint64_t levels = 40;
  list.objects = {hex("51 61"), hex("51 62")};
  list.root = 2;
  for (std::uint64_t i = 3; i < levels + 2; ++i) {
    list.objects.push_back(list.dictionary({0, 1}, {i, i}));
  }
  list.objects.push_back(hex("09"));
  EXPECT_EQ(readBinary(list.file()).error().code, Code::expandsTooFar);
}

TEST(PropertyListLimits, TheBudgetIsExact) {
  // 1 array + 2 arrays + 4 booleans.
  const std::string file = laughs(2, 2);
  PropertyListLimits limits;
  limits.expandedObjectsPerByte = 0;
  limits.expandedObjects = 7;
  const auto read = platform::readBinaryPropertyList(test::bytesOf(file), limits);
  ASSERT_TRUE(read);
  EXPECT_EQ(test::sizeOf(*read), 7U);
  limits.expandedObjects = 6;
  EXPECT_TRUE(refused(platform::readBinaryPropertyList(test::bytesOf(file), limits),
                      Code::expandsTooFar, Offset{8}));
  limits.expandedObjects = 0;
  limits.expandedObjectsPerByte = 1;
  EXPECT_TRUE(platform::readBinaryPropertyList(test::bytesOf(file), limits));
}

TEST(PropertyListLimits, KeysCountInEveryDictionaryThatHasThem) {
  // An array of 50 dictionaries with the same key of 640 characters.
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.objects = {"", BinaryPropertyListBuilder::ascii(std::string(640, 'k')), hex("09")};
  std::vector<std::uint64_t> dictionaries;
  for (std::uint64_t i = 0; i < 50; ++i) {
    dictionaries.push_back(3 + i);
    list.objects.push_back(hex("D1 01 02"));
  }
  list.objects[0] = list.array(dictionaries);
  PropertyListLimits limits;
  limits.expandedObjectsPerByte = 0;
  limits.expandedObjects = 1 + 50 * (1 + 11 + 1);
  EXPECT_TRUE(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits));
  limits.expandedObjects -= 1;
  EXPECT_TRUE(refused(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits),
                      Code::expandsTooFar, Offset{8}));
}

TEST(PropertyListLimits, ABudgetWithoutEndDoesNotOverflow) {
  PropertyListLimits limits;
  limits.expandedObjects = UINT64_MAX;
  limits.expandedObjectsPerByte = UINT64_MAX;
  // 2^70 objects: the count stays at the greatest number it has.
  const auto read = platform::readBinaryPropertyList(test::bytesOf(laughs(70, 2)), limits);
  ASSERT_TRUE(read);
  const Value* value = &*read;
  for (int i = 0; i < 70; ++i) {
    ASSERT_EQ(value->elements().size(), 2U);
    value = value->elements().data() + i % 2;
  }
  EXPECT_TRUE(*value == Value(true));
}

TEST(PropertyListLimits, LongTextsCountByTheirLength) {
  // An array of 100 references to 100 arrays of 100 references to one string of 64,000 characters.
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 1;
  list.objects = {list.array(std::vector<std::uint64_t>(100, 1)),
                  list.array(std::vector<std::uint64_t>(100, 2)),
                  BinaryPropertyListBuilder::ascii(std::string(64'000, 'x'))};
  PropertyListLimits limits;
  limits.expandedObjectsPerByte = 0;
  limits.expandedObjects = 1 + 100 + 100 * 100 * 1001;
  EXPECT_TRUE(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits));
  --limits.expandedObjects;
  EXPECT_TRUE(refused(platform::readBinaryPropertyList(test::bytesOf(list.file()), limits),
                      Code::expandsTooFar, Offset{8}));
}

TEST(PropertyListLimits, AStringUsedAThousandTimes) {
  BinaryPropertyListBuilder list;
  list.offsetSize = 2;
  list.objects = {list.array(std::vector<std::uint64_t>(1000, 1)),
                  BinaryPropertyListBuilder::ascii(std::string(1000, 'x'))};
  const std::string file = list.file();
  EXPECT_LT(file.size(), 3000U);
  const auto read = readBinary(file);
  ASSERT_TRUE(read);
  ASSERT_EQ(read->elements().size(), 1000U);
  for (const Value& element : read->elements()) {
    EXPECT_TRUE(element.sharesStorageWith(read->elements()[0]));
  }
}

/// 100,000 references to what `event` says is the event of a number.
template <class Event>
std::string schedule(BinaryPropertyListBuilder list, const Event& event) {
  std::vector<std::uint64_t> events;
  for (std::size_t i = 0; i < 100'000; ++i) {
    events.push_back(event(list, i));
  }
  list.objects[0] = list.array(events);
  return list.file();
}

TEST(PropertyListLimits, AScheduleOfAHundredThousandEvents) {
  const Value example = Value::dictionary({{"kTWEventName", "Backup"},
                                           {"kTWEventUniqueID", "0123456789abcdef"},
                                           {"kTWEventEnabled", true},
                                           {"kTWEventInterval", 3600},
                                           {"kTWEventDomain", "org.ternwood.backup"}});
  BinaryPropertyListBuilder list;
  list.offsetSize = 4;
  list.referenceSize = 1;
  list.objects.emplace_back();
  const std::size_t shared = list.add(example);
  const auto same = readBinary(schedule(list, [&](auto&, std::size_t) { return shared; }));
  ASSERT_TRUE(same) << "all events are one record, at a byte for each";
  EXPECT_EQ(same->elements().size(), 100'000U);
  EXPECT_TRUE(same->elements()[99'999] == example);

  list.referenceSize = 4;
  list.objects.resize(1);
  list.add(example);
  const auto distinct = readBinary(schedule(list, [&](auto& events, std::size_t) {
    std::vector<std::uint64_t> keys = {2, 3, 4, 5, 6};
    std::vector<std::uint64_t> values = {7, 8, 9, 10, 11};
    events.objects.push_back(events.dictionary(keys, values));
    return events.objects.size() - 1;
  }));
  ASSERT_TRUE(distinct) << "the events share what they consist of";
  EXPECT_TRUE(distinct->elements()[99'999] == example);
}

TEST(PropertyListLimits, LongFlatInputs) {
  EXPECT_TRUE(readText("(" + repeated("a,", 1'000'000) + ")"));
  EXPECT_TRUE(readXML("<array>" + repeated("<true/>", 300'000) + "</array>"));
  std::string xml = "<dict>";
  std::string text;
  for (int i = 0; i < 50'000; ++i) {
    const std::string key = "key" + std::to_string(i);
    xml += "<key>" + key + "</key><true/>";
    text += key + ";";
  }
  const auto fromXML = readXML(xml + "</dict>");
  const auto fromText = readText(text);
  ASSERT_TRUE(fromXML);
  ASSERT_TRUE(fromText);
  EXPECT_EQ(fromXML->keys().size(), 50'000U);
  EXPECT_TRUE((*fromText)["key49999"] == Value("key49999"));
}

}  // namespace
