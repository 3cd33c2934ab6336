// SPDX-License-Identifier: Apache-2.0
// What both writers refuse, and the path to it in their message.
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <memory>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Value;
using test::Code;

class Thing : public platform::Object {};

/// Whether both writers refuse a value in the same words.
testing::AssertionResult bothRefuse(const Value& value, Code code, std::string_view message) {
  const auto binary = test::refusedWriting(platform::writeBinaryPropertyList(value), code, message);
  return binary ? test::refusedWriting(platform::writeXMLPropertyList(value), code, message)
                : binary;
}

TEST(PropertyListWritingErrors, KindsThatPropertyListsDoNotHave) {
  EXPECT_TRUE(bothRefuse(Value(), Code::notAPropertyList, "an absent value"));
  EXPECT_TRUE(bothRefuse(Value::null(), Code::notAPropertyList, "a null marker"));
  EXPECT_TRUE(
      bothRefuse(std::make_shared<Thing>(), Code::notAPropertyList, "a reference to an object"));
}

TEST(PropertyListWritingErrors, ElementsThatPropertyListsDoNotHave) {
  EXPECT_TRUE(
      bothRefuse(Value::array({1, Value()}), Code::notAPropertyList, "at [1]: an absent value"));
  EXPECT_TRUE(
      bothRefuse(Value::array({Value::null()}), Code::notAPropertyList, "at [0]: a null marker"));
  EXPECT_TRUE(bothRefuse(Value::dictionary({{"item", std::make_shared<Thing>()}}),
                         Code::notAPropertyList, "at \"item\": a reference to an object"));
}

TEST(PropertyListWritingErrors, DatesThatAreNotFinite) {
  for (const double seconds : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_TRUE(bothRefuse(Date{seconds}, Code::badDate, "a date that is not finite"));
  }
}

TEST(PropertyListWritingErrors, StringsThatAreNotUTF8) {
  for (const char* text :
       {"\x80", "caf\xE9", "\xC3", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\xBD",
        "\xED\xA0\xBD\xED\xB8\x80", "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\u00e9\xE2\x82"}) {
    EXPECT_TRUE(bothRefuse(text, Code::badEncoding, "a string that is not well-formed UTF-8"));
    EXPECT_TRUE(bothRefuse(Value::array({std::string(200, 'x') + text}), Code::badEncoding,
                           "at [0]: a string that is not well-formed UTF-8"));
  }
}

TEST(PropertyListWritingErrors, KeysThatAreNotUTF8) {
  EXPECT_TRUE(bothRefuse(Value::array({Value::dictionary({{"a", 1}, {"caf\xE9!", 2}})}),
                         Code::badEncoding,
                         "at [0].\"caf\uFFFD!\": a key that is not well-formed UTF-8"));
}

TEST(PropertyListWritingErrors, TheWayIsThatFromTheRoot) {
  const auto event = [](const Value& start) {
    return Value::dictionary({{"name", "Backup"}, {"start", start}});
  };
  EXPECT_TRUE(bothRefuse(
      Value::array({event(Date{0}), event(Date{0}), event(Date{0}), event(Date{HUGE_VAL})}),
      Code::badDate, "at [3].\"start\": a date that is not finite"));
  EXPECT_TRUE(bothRefuse(
      Value::dictionary(
          {{"events", Value::array({Value::array({}), Value::array({0, event(Value::null())})})}}),
      Code::notAPropertyList, "at \"events\"[1][1].\"start\": a null marker"));
}

TEST(PropertyListWritingErrors, ValuesThatCameBeforeAreNoPartOfTheWay) {
  // Containers that were left, known ones and known keys among them.
  const Value shared = Value::array({Value::dictionary({{"a", 1}})});
  EXPECT_TRUE(bothRefuse(
      Value::array(
          {shared, Value::dictionary({{"a", shared}, {"b", Value::array({shared, Value()})}})}),
      Code::notAPropertyList, "at [1].\"b\"[1]: an absent value"));
}

TEST(PropertyListWritingErrors, KeysInAWayAreShownAsFarAsTheyCanBe) {
  const auto wayThrough = [](std::string_view key) {
    const auto written =
        platform::writeBinaryPropertyList(Value::dictionary({{key, Value::null()}}));
    return written ? "accepted" : written.error().message;
  };
  EXPECT_EQ(wayThrough(""), "at \"\": a null marker");
  EXPECT_EQ(wayThrough("caf\u00e9 \U0001F600"), "at \"caf\u00e9 \U0001F600\": a null marker");
  EXPECT_EQ(wayThrough("a\nb\x1B[0m\x7F\u0085"),
            "at \"a\uFFFDb\uFFFD[0m\uFFFD\uFFFD\": a null marker");
  EXPECT_EQ(wayThrough(std::string(100'000, 'k')),
            "at \"" + std::string(40, 'k') + "...\": a null marker");
}

TEST(PropertyListWritingErrors, OfALongWayTheMiddleIsLeftOut) {
  const auto nested = [](int depth) {
    Value value = Value();
    for (int i = 0; i < depth; ++i) {
      value = Value::array({i, value});
    }
    return value;
  };
  EXPECT_TRUE(bothRefuse(nested(16), Code::notAPropertyList,
                         "at " + test::repeated("[1]", 16) + ": an absent value"));
  EXPECT_TRUE(bothRefuse(
      nested(17), Code::notAPropertyList,
      "at " + test::repeated("[1]", 8) + "..." + test::repeated("[1]", 8) + ": an absent value"));
}

TEST(PropertyListWritingErrors, TheDescriptionIsTheMessage) {
  const auto written = platform::writeBinaryPropertyList(Value::array({Value::null()}));
  ASSERT_FALSE(written);
  EXPECT_EQ(written.error().description(), "at [0]: a null marker");
}

}  // namespace
