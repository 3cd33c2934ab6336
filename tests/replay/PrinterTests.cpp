// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <replay/Objects.h>
#include <replay/Printer.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/NetService.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/Property.h"
#include "tests/support/ValueGenerators.h"

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::IndexSet;
using platform::Value;
using replay::printedReal;
using replay::printedString;

class PrinterTest : public testing::Test {
 protected:
  std::string printed(const Value& value) { return printer.value(value); }

  replay::Registry registry;
  replay::TemporaryFiles files;
  replay::Printer printer{registry, files};
};

TEST(PrintedReal, HasAPointUnlessSomethingElseTellsItFromAnInteger) {
  EXPECT_EQ(printedReal(2), "2.0");
  EXPECT_EQ(printedReal(-0.0), "-0.0");
  EXPECT_EQ(printedReal(0.5), "0.5");
  EXPECT_EQ(printedReal(0.1), "0.10000000000000001");
  EXPECT_EQ(printedReal(1e16), "10000000000000000.0");
  EXPECT_EQ(printedReal(1e17), "1e+17");
  EXPECT_EQ(printedReal(1e-5), "1.0000000000000001e-05");
  EXPECT_EQ(printedReal(1e300), "1.0000000000000001e+300");
  EXPECT_EQ(printedReal(std::numeric_limits<double>::infinity()), "inf");
  EXPECT_EQ(printedReal(-std::numeric_limits<double>::infinity()), "-inf");
  EXPECT_EQ(printedReal(std::numeric_limits<double>::quiet_NaN()), "nan");
  EXPECT_EQ(printedReal(std::copysign(std::numeric_limits<double>::quiet_NaN(), -1)), "-nan");
}

PROPERTY(PrintedReal, ReadsBackAsTheSameReal, (double real)) {
  RC_PRE(!std::isnan(real));
  const std::string text = printedReal(real);
  const double again = std::strtod(text.c_str(), nullptr);
  RC_ASSERT(again == real);
  RC_ASSERT(std::signbit(again) == std::signbit(real));
  RC_ASSERT(text.find_first_of(".en") != std::string::npos);
}

TEST(PrintedString, EscapesWhatWouldBreakTheLineOrEndTheString) {
  EXPECT_EQ(printedString(""), R"("")");
  EXPECT_EQ(printedString("say \"a\\b\""), R"("say \"a\\b\"")");
  EXPECT_EQ(printedString("\n\r\t"), R"("\n\r\t")");
  EXPECT_EQ(printedString(std::string("\0\1\b\x1f\x7f ", 6)),
            "\"\\u0000\\u0001\\u0008\\u001f\x7f \"");
  EXPECT_EQ(printedString("é 日本 😀"), "\"é 日本 😀\"");
}

PROPERTY(PrintedString, StaysOnItsLine, (const std::string& text)) {
  const std::string printed = printedString(text);
  for (const char character : printed) {
    RC_ASSERT(static_cast<unsigned char>(character) >= 0x20);
  }
  RC_ASSERT(printed.size() >= text.size() + 2);
}

TEST(PrintedData, IsLowerCaseHexadecimal) {
  const std::vector<std::byte> bytes = {std::byte{0}, std::byte{0x0f}, std::byte{0xa5},
                                        std::byte{0xff}};
  EXPECT_EQ(replay::printedData(bytes), "<000fa5ff>");
  EXPECT_EQ(replay::printedData({}), "<>");
}

TEST(PrintedIndexes, AreAbsentWhereAChangeHasNone) {
  EXPECT_EQ(replay::printedIndexes({}), "absent");
  EXPECT_EQ(replay::printedIndexes(IndexSet{}), "{}");
  EXPECT_EQ(replay::printedIndexes(IndexSet{0, 2, 3, 4}), "{0, 2-4}");
  EXPECT_EQ(replay::printedIndexes(IndexSet{7, 8}), "{7-8}");
}

TEST(PrintedKind, IsAWord) {
  EXPECT_EQ(replay::printedKind(platform::ChangeKind::setting), "setting");
  EXPECT_EQ(replay::printedKind(platform::ChangeKind::insertion), "insertion");
  EXPECT_EQ(replay::printedKind(platform::ChangeKind::removal), "removal");
  EXPECT_EQ(replay::printedKind(platform::ChangeKind::replacement), "replacement");
}

TEST_F(PrinterTest, PlainValuesShowTheirType) {
  EXPECT_EQ(printed({}), "absent");
  EXPECT_EQ(printed(Value::null()), "null");
  EXPECT_EQ(printed(true), "true");
  EXPECT_EQ(printed(1), "1");
  EXPECT_EQ(printed(UINT64_MAX), "18446744073709551615");
  EXPECT_EQ(printed(INT64_MIN), "-9223372036854775808");
  EXPECT_EQ(printed(1.0), "1.0");
  EXPECT_EQ(printed(Date{86400}), "@86400.0");
  EXPECT_EQ(printed(Date{-0.25}), "@-0.25");
  EXPECT_EQ(printed("1"), "\"1\"");
}

TEST_F(PrinterTest, ContainersShowTheirContent) {
  EXPECT_EQ(printed(Value::array({})), "[]");
  EXPECT_EQ(printed(Value::array({1, Value(), Value::null(), Value::array({"x"})})),
            R"([1, absent, null, ["x"]])");
  EXPECT_EQ(printed(Value::dictionary({})), "{}");
  EXPECT_EQ(printed(Value::dictionary({{"b", Value::dictionary({{"d", 1}, {"c", 2}})}, {"a", 3}})),
            R"({"a": 3, "b": {"c": 2, "d": 1}})");
}

TEST_F(PrinterTest, DictionariesReadTheSameInWhicheverOrderTheyWereMade) {
  const Value one = Value::dictionary({{"a", 1}, {"é", 2}, {"\n", 3}, {"a b", 4}, {"A", 5}});
  const Value other = Value::dictionary({{"A", 5}, {"a b", 4}, {"\n", 3}, {"é", 2}, {"a", 1}});
  EXPECT_EQ(printed(one), R"({"A": 5, "\n": 3, "a b": 4, "a": 1, "é": 2})");
  EXPECT_EQ(printed(other), printed(one));
}

TEST_F(PrinterTest, SetsAreInOrder) {
  EXPECT_EQ(printed(std::make_shared<replay::StringSet>(std::set<std::string>{"b", "a\n", "B"})),
            R"(("B", "a\n", "b"))");
  EXPECT_EQ(printed(std::make_shared<replay::StringSet>(std::set<std::string>{})), "()");
  EXPECT_EQ(printed(std::make_shared<replay::Indexes>(IndexSet{1, 2})), "{1-2}");
}

TEST_F(PrinterTest, ServicesShowNameTypeAndDomain) {
  EXPECT_EQ(printed(std::make_shared<platform::NetService>("Office", "_ipp._tcp.", "local.")),
            R"(service("Office", "_ipp._tcp.", "local."))");
  EXPECT_EQ(printed(std::make_shared<platform::NetService>("x", Value(), Value())),
            R"(service("x", absent, absent))");
}

TEST_F(PrinterTest, ItemsAreNumberedAsTheyCome) {
  const auto a = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
  const auto b = KRAVTWVGroupVexil::itemWithLabelUniqueID("B", 7);
  EXPECT_EQ(printed(b), "#1(KRAVTWVGroupVexil 7)");
  EXPECT_EQ(printed(Value::array({a, b})),
            "[#2(KRAVTWVGroupVexil \"a\"), #1(KRAVTWVGroupVexil 7)]");
  a->setUniqueID({});
  EXPECT_EQ(printer.items({a}), "[#2(KRAVTWVGroupVexil absent)]");
}

TEST_F(PrinterTest, NumbersInADictionaryFollowItsPrintedOrder) {
  const auto a = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
  const auto b = KRAVTWVGroupVexil::itemWithLabelUniqueID("B", "b");
  EXPECT_EQ(printed(Value::dictionary({{"z", a}, {"y", b}})),
            R"({"y": #1(KRAVTWVGroupVexil "b"), "z": #2(KRAVTWVGroupVexil "a")})");
}

TEST_F(PrinterTest, NumbersOfTheDeadAreNotGivenAgain) {
  for (int number = 1; number <= 5000; ++number) {
    // The allocator gives the same place again and again.
    const auto item = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
    ASSERT_EQ(printed(item), "#" + std::to_string(number) + "(KRAVTWVGroupVexil \"a\")");
  }
}

TEST_F(PrinterTest, NumbersKeepNothingAlive) {
  auto item = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
  EXPECT_EQ(printed(item), "#1(KRAVTWVGroupVexil \"a\")");
  const std::weak_ptr<KRAVTWVGroupVexil> weak = item;
  item.reset();
  EXPECT_TRUE(weak.expired());
}

TEST_F(PrinterTest, AnItemInsideItsOwnIdentifierIsItsNumber) {
  const auto a = KRAVTWVGroupVexil::itemWithLabelUniqueID("A", "a");
  const auto b = KRAVTWVGroupVexil::itemWithLabelUniqueID("B", "b");
  a->setUniqueID(Value::array({b, a}));
  b->setUniqueID(Value::dictionary({{"of", a}}));
  EXPECT_EQ(printed(a), "#1(KRAVTWVGroupVexil [#2(KRAVTWVGroupVexil {\"of\": #1}), #1])");
  EXPECT_EQ(printed(b), "#2(KRAVTWVGroupVexil {\"of\": #1(KRAVTWVGroupVexil [#2, #1])})");
  a->setUniqueID({});
}

TEST_F(PrinterTest, OtherObjectsGoByTheirFirstNameOrTheirClass) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  EXPECT_EQ(printed(list), "KRAVTWVEventsVexil");
  registry.name(list, "first");
  registry.name(list, "second");
  EXPECT_EQ(printed(Value::array({list})), "[first]");
  EXPECT_EQ(printer.name(*list), "first");
}

TEST_F(PrinterTest, AnEmptyNameIsAName) {
  const auto list = std::make_shared<KRAVTWVEventsVexil>();
  registry.name(list, "");
  registry.name(list, "later");
  EXPECT_EQ(printed(list), "");
}

TEST_F(PrinterTest, PrintsTheDeepestValueWithoutRecursion) {
  constexpr std::size_t depth = 200'000;
  Value value = 1;
  for (std::size_t level = 0; level < depth; ++level) {
    value = Value::array({std::move(value)});
  }
  EXPECT_EQ(printed(value), std::string(depth, '[') + "1" + std::string(depth, ']'));
}

PROPERTY(PrintedValue, OfEqualRecordsOfTheSameTypesIsTheSame, ()) {
  replay::Registry registry;
  replay::TemporaryFiles files;
  replay::Printer printer{registry, files};
  const Value value = *test::anyValue();
  const std::string text = printer.value(value);
  RC_ASSERT(text == printer.value(Value(value)));
  RC_ASSERT(text.find('\n') == std::string::npos);
}

//   #1 r
//     #2 a
//       #3 x
//     #4 b
TEST_F(PrinterTest, TreesAreIndentedAndInOrder) {
  const auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("R", "r");
  const auto a = KRAVTWVEventVexil::itemWithEvent(Value::dictionary({{"kTWEventUniqueID", "a"}}));
  const auto x =
      KRAVTWVOnDemandVexil::itemWithEvent(Value::dictionary({{"kTWEventEnabled", true}}));
  const auto b = KRAVTWVItemVexil::itemWithRepresentedObject({});
  root->addChildren({a, b});
  a->setChildren(std::make_shared<KRAVTWVItemArray>(KRAVTWVItemArray{x}));
  b->setChildren(nullptr);
  std::string text;
  printer.tree(root, [&](std::string_view line) { text += std::string(line) + '\n'; });
  EXPECT_EQ(
      text,
      R"(#1 KRAVTWVGroupVexil uniqueID="r" label="R" flags=group,expandable parent=absent represents="r"
  #2 KRAVTWVEventVexil uniqueID="a" label=absent flags=group,expandable,supportsEnabled parent=#1 represents={"kTWEventUniqueID": "a"}
    #3 KRAVTWVOnDemandVexil uniqueID=absent label=absent flags=enabled parent=absent represents={"kTWEventEnabled": true}
  #4 KRAVTWVItemVexil uniqueID=absent label=absent flags=- parent=#1 represents=absent children=absent
)");
}

TEST_F(PrinterTest, TreesOfAnyDepthArePrinted) {
  auto root = KRAVTWVGroupVexil::itemWithLabelUniqueID("", "leaf");
  std::size_t lines = 0;
  for (int level = 0; level < 2000; ++level) {
    const auto above = KRAVTWVGroupVexil::itemWithLabelUniqueID("", "x");
    above->setChildren(std::make_shared<KRAVTWVItemArray>(KRAVTWVItemArray{root}));
    root = above;
  }
  printer.tree(root, [&](std::string_view line) {
    ASSERT_TRUE(line.starts_with(std::string(2 * lines, ' ') + '#'));
    ++lines;
  });
  EXPECT_EQ(lines, 2001U);
}

}  // namespace
