// SPDX-License-Identifier: Apache-2.0
// Natural comparison.
#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/Bytes.h"
#include "tests/support/Property.h"
#include "tests/support/ValueGenerators.h"

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Object;
using platform::Value;
using test::dataOf;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double twoTo53 = 9007199254740992.0;
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;
constexpr std::int64_t exact53 = std::int64_t{1} << 53;

struct Plain : Object {};

/// Every value is less than all those behind it.
void expectAscending(const std::vector<Value>& values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].compare(values[i]), std::weak_ordering::equivalent)
        << values[i].description();
    for (std::size_t j = i + 1; j < values.size(); ++j) {
      EXPECT_EQ(values[i].compare(values[j]), std::weak_ordering::less)
          << values[i].description() << " and " << values[j].description();
      EXPECT_EQ(values[j].compare(values[i]), std::weak_ordering::greater)
          << values[j].description() << " and " << values[i].description();
    }
  }
}

TEST(ValueOrder, OfTypesIsFixed) {
  expectAscending({Value(), Value::null(), 10, "text", Date{-5}, dataOf("a"), Value::array({}),
                   Value::dictionary({}), std::make_shared<Plain>()});
}

TEST(ValueOrder, OfNumbersIsNumericWhateverTheirTypes) {
  expectAscending({nan,
                   -infinity,
                   std::nextafter(-twoTo63, -infinity),
                   INT64_MIN,
                   INT64_MIN + 1,
                   -exact53 - 1,
                   -twoTo53,
                   -1.5,
                   -1,
                   -0.5,
                   false,
                   std::numeric_limits<double>::denorm_min(),
                   0.5,
                   true,
                   1.5,
                   2,
                   twoTo53,
                   exact53 + 1,
                   twoTo53 + 2,
                   std::nextafter(twoTo63, 0),
                   INT64_MAX,
                   twoTo63,
                   (std::uint64_t{1} << 63) + 1,
                   std::nextafter(twoTo64, 0),
                   UINT64_MAX,
                   twoTo64,
                   infinity});
}

TEST(ValueOrder, OfEqualNumbersIsEquivalent) {
  EXPECT_EQ(Value(true).compare(1.0), std::weak_ordering::equivalent);
  EXPECT_EQ(Value(-0.0).compare(0), std::weak_ordering::equivalent);
  EXPECT_EQ(Value(nan).compare(-nan), std::weak_ordering::equivalent);
  EXPECT_EQ(Value(twoTo63).compare(std::uint64_t{1} << 63), std::weak_ordering::equivalent);
}

TEST(ValueOrder, OfStringsIsByCodePoint) {
  // U+FFFD stands before U+1F600 by code point, though behind its surrogates in UTF-16.
  expectAscending(
      {"", std::string("\0", 1), "A", "AA", "B", "a", "\u00e9", "\ufffd", "\U0001F600"});
}

TEST(ValueOrder, OfStringsDoesNotDependOnWhereTheyStand) {
  const std::string text(23, 'm');
  expectAscending({text.substr(1), text, text + 'a', text + 'b', 'n' + text});
}

TEST(ValueOrder, OfDatesIsByInstantWithNotANumberFirst) {
  expectAscending({Date{nan}, Date{-infinity}, Date{-1}, Date{0}, Date{0.5}, Date{infinity}});
  EXPECT_EQ(Value(Date{0.0}).compare(Date{-0.0}), std::weak_ordering::equivalent);
}

TEST(ValueOrder, OfDataIsByBytes) {
  expectAscending({dataOf(""), dataOf(std::string_view("\0", 1)), dataOf("a"), dataOf("ab"),
                   dataOf("b"), dataOf("\x80")});
}

TEST(ValueOrder, OfContainersAndObjectsIsEquivalentAmongThemselves) {
  EXPECT_EQ(Value::array({1}).compare(Value::array({2, 3})), std::weak_ordering::equivalent);
  EXPECT_EQ(Value::dictionary({{"a", 1}}).compare(Value::dictionary({})),
            std::weak_ordering::equivalent);
  EXPECT_EQ(Value(std::make_shared<Plain>()).compare(std::make_shared<Plain>()),
            std::weak_ordering::equivalent);
}

bool isLess(const Value& a, const Value& b) {
  return a.compare(b) < 0;
}
bool areEquivalent(const Value& a, const Value& b) {
  return !isLess(a, b) && !isLess(b, a);
}

PROPERTY(ValueOrderProperty, IsAStrictWeakOrder, (const Value& a, const Value& b, const Value& c)) {
  RC_ASSERT(!isLess(a, a));
  RC_ASSERT(!(isLess(a, b) && isLess(b, a)));
  RC_ASSERT(!(isLess(a, b) && isLess(b, c)) || isLess(a, c));
  RC_ASSERT(!(areEquivalent(a, b) && areEquivalent(b, c)) || areEquivalent(a, c));
}

PROPERTY(ValueOrderProperty, OfNumbersIsAStrictWeakOrderInWhichEquivalentMeansEqual, ()) {
  const Value a = *test::anyNumber();
  const Value b = *test::anyNumber();
  const Value c = *test::anyNumber();
  RC_ASSERT(!isLess(a, a));
  RC_ASSERT(!(isLess(a, b) && isLess(b, a)));
  RC_ASSERT(!(isLess(a, b) && isLess(b, c)) || isLess(a, c));
  RC_ASSERT(!(areEquivalent(a, b) && areEquivalent(b, c)) || areEquivalent(a, c));
  RC_ASSERT(areEquivalent(a, b) == (a == b));
}

PROPERTY(ValueOrderProperty, OfScalarsCallsExactlyEqualOnesEquivalent, ()) {
  const Value a = *test::anyScalar();
  const Value b = *test::anyScalar();
  RC_ASSERT(areEquivalent(a, b) == (a == b));
  RC_ASSERT(areEquivalent(a, test::equalButMadeOtherwise(a)));
}

PROPERTY(ValueOrderProperty, IsTheSameSeenFromTheOtherSide, (const Value& a, const Value& b)) {
  RC_ASSERT((a.compare(b) <=> 0) == (0 <=> b.compare(a)));
}

PROPERTY(ValueOrderProperty, SortsAnyInput, ()) {
  auto values = *rc::gen::resize(30, rc::gen::container<std::vector<Value>>(test::anyValue(1)));
  std::ranges::stable_sort(values, isLess);
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t j = i + 1; j < values.size(); ++j) {
      RC_ASSERT(!isLess(values[j], values[i]));
    }
  }
}

PROPERTY(AnyTwoTexts, AreOrderedAsTheirPrefixesAre, ()) {
  const auto text = [] {
    std::string made = *rc::gen::container<std::string>(rc::gen::element('a', '\0', '\xFF'));
    return std::string(*rc::gen::element<std::size_t>(0, 7, 15, 22, 23, 24), 'b') + made;
  };
  const Value a(text());
  const Value b(text());
  if (a.textPrefix() != b.textPrefix()) {
    RC_ASSERT(a.compare(b) == std::weak_ordering(a.textPrefix() <=> b.textPrefix()));
  } else {
    // The part after the prefix, or zeros at the end, must decide.
    const auto beginning = [](const Value& value) {
      std::string bytes(value.string().substr(0, 24));
      bytes.resize(24);
      return bytes;
    };
    RC_ASSERT(beginning(a) == beginning(b));
  }
}

TEST(ValueOrder, HasNoPrefixesOfWhatIsNoText) {
  constexpr std::array<std::uint64_t, 3> none{};
  for (const Value& value : {Value(), Value(7), Value(2.5), dataOf("abc"), Value::array({})}) {
    EXPECT_EQ(value.textPrefix(), none) << value.description();
  }
  EXPECT_EQ(Value("").textPrefix(), none);
}

}  // namespace
