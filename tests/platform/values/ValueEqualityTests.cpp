// SPDX-License-Identifier: Apache-2.0
// Equality and hash.
#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <cmath>
#include <limits>
#include <string>
#include <unordered_set>
#include <vector>

#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"
#include "tests/support/ValueGenerators.h"

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Key;
using platform::Object;
using platform::Value;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double twoTo53 = 9007199254740992.0;
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;
constexpr std::int64_t exact53 = std::int64_t{1} << 53;
constexpr std::uint64_t exact63 = std::uint64_t{1} << 63;

/// Both directions, and the hash with them.
void expectEqual(const Value& a, const Value& b) {
  SCOPED_TRACE(a.description() + " and " + b.description());
  EXPECT_TRUE(a == b);
  EXPECT_TRUE(b == a);
  EXPECT_FALSE(a != b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_EQ(std::hash<Value>{}(a), b.hash());
}

void expectDifferent(const Value& a, const Value& b) {
  SCOPED_TRACE(a.description() + " and " + b.description());
  EXPECT_FALSE(a == b);
  EXPECT_FALSE(b == a);
  EXPECT_TRUE(a != b);
}

TEST(ValueEquality, OfNumbersAndBooleansIsOfTheirNumericValues) {
  expectEqual(true, 1);
  expectEqual(1, 1.0);
  expectEqual(true, 1.0);
  expectEqual(false, 0);
  expectEqual(false, -0.0);
  expectEqual(-0.0, 0);
  expectEqual(-0.0, 0.0);
  expectEqual(std::uint8_t{7}, std::int64_t{7});
  expectEqual(7U, 7.0);
  expectDifferent(true, 2);
  expectDifferent(1, 1.5);
  expectDifferent(0, std::numeric_limits<double>::denorm_min());
  expectDifferent(-1, UINT64_MAX);
}

TEST(ValueEquality, OfAnIntegerAndARealIsExact) {
  expectEqual(exact53, twoTo53);
  expectDifferent(exact53 + 1, twoTo53);
  expectDifferent(-exact53 - 1, -twoTo53);
  expectEqual(exact63, twoTo63);
  expectDifferent(exact63 + 1, twoTo63);
  expectDifferent(INT64_MAX, twoTo63);
  expectEqual(INT64_MIN, -twoTo63);
  expectDifferent(INT64_MIN + 1, -twoTo63);
  expectDifferent(UINT64_MAX, twoTo64);
  expectEqual(std::uint64_t{0xFFFFFFFFFFFFF800}, std::nextafter(twoTo64, 0.0));
  expectDifferent(UINT64_MAX, infinity);
  expectDifferent(INT64_MIN, -infinity);
}

TEST(ValueEquality, OfNotANumberIsToEveryOther) {
  expectEqual(nan, nan);
  expectEqual(nan, -nan);
  expectEqual(nan, std::nan("7"));
  expectDifferent(nan, 0);
  expectDifferent(nan, infinity);
  expectEqual(Date{nan}, Date{-nan});
  expectDifferent(Date{nan}, nan);
}

TEST(ValueEquality, OfDatesIsOfInstants) {
  expectEqual(Date{0.0}, Date{-0.0});
  expectEqual(Date{1.5}, Date{1.5});
  expectDifferent(Date{1}, Date{std::nextafter(1.0, 2.0)});
  expectDifferent(Date{1}, 1);
}

TEST(ValueEquality, LooksAtTypesWhereTheyAreNoNumbers) {
  const std::vector<Value> different{
      Value(),          Value::null(),        0, "", Value::data({}), Date{0},
      Value::array({}), Value::dictionary({})};
  for (std::size_t i = 0; i < different.size(); ++i) {
    for (std::size_t j = 0; j < different.size(); ++j) {
      if (i == j) {
        expectEqual(different[i], different[j]);
      } else {
        expectDifferent(different[i], different[j]);
      }
    }
  }
  expectDifferent("1", 1);
  expectDifferent("true", true);
}

TEST(ValueEquality, OfStringsIsOfTheirBytesWithoutNormalisation) {
  expectEqual("caf\u00e9", std::string("caf\u00e9"));
  expectDifferent("caf\u00e9", "cafe\u0301");
  expectDifferent("Name", "name");
  for (const std::size_t length : {22U, 23U, 24U, 25U}) {
    const std::string text(length, 'x');
    expectEqual(text, std::string(text));
    expectDifferent(text, text + 'x');
    expectDifferent(text, std::string(length - 1, 'x') + 'y');
    expectDifferent(text, 'y' + std::string(length - 1, 'x'));
  }
}

TEST(ValueEquality, OfArraysIsElementByElement) {
  expectEqual(Value::array({1, "a", Value()}), Value::array({true, "a", Value()}));
  expectDifferent(Value::array({1, 2}), Value::array({2, 1}));
  expectDifferent(Value::array({1}), Value::array({1, 1}));
  expectDifferent(Value::array({Value()}), Value::array({}));
  expectDifferent(Value::array({Value()}), Value::array({Value::null()}));
}

TEST(ValueEquality, OfDictionariesIsInAnyOrderOfKeys) {
  expectEqual(Value::dictionary({{"a", 1}, {"b", Value::array({2})}}),
              Value::dictionary({{"b", Value::array({2.0})}, {"a", true}}));
  expectDifferent(Value::dictionary({{"a", 1}}), Value::dictionary({{"b", 1}}));
  expectDifferent(Value::dictionary({{"a", 1}}), Value::dictionary({{"a", 1}, {"b", 2}}));
  expectDifferent(Value::dictionary({{"a", 1}, {"b", 2}}), Value::dictionary({{"a", 2}, {"b", 1}}));
}

/// Equals everything of its kind, in this direction only.
class Lenient : public Object {
 public:
  explicit Lenient(bool mind) : _mind(mind) {}
  [[nodiscard]] bool isEqual(const Object&) const override { return _mind; }
  [[nodiscard]] std::size_t hash() const override { return 5; }

 private:
  bool _mind;
};

TEST(ValueEquality, OfObjectsIsWhatTheLeftOneSays) {
  const Value lenient(std::make_shared<Lenient>(true));
  const Value strict(std::make_shared<Lenient>(false));
  EXPECT_TRUE(lenient == strict);
  EXPECT_FALSE(strict == lenient);
  EXPECT_TRUE(Value::array({lenient}) == Value::array({strict}));
  EXPECT_FALSE(Value::array({strict}) == Value::array({lenient}));
  EXPECT_EQ(lenient.hash(), 5U);
}

TEST(ValueEquality, DoesNotAskWhatSharesItsStorage) {
  const Value strict(std::make_shared<Lenient>(false));
  EXPECT_TRUE(strict == Value(strict));
  const Value array = Value::array({strict});
  EXPECT_TRUE(array == Value(array));
  const Value around = Value::array({array});
  EXPECT_TRUE(around == Value::array({array}));
}

TEST(ValueEquality, PassesOnWhatAnObjectThrows) {
  struct Touchy : Object {
    [[nodiscard]] bool isEqual(const Object&) const override { throw std::runtime_error("no"); }
  };
  const Value one = Value::array({std::make_shared<Touchy>()});
  const Value two = Value::array({std::make_shared<Touchy>()});
  EXPECT_THROW((void)(one == two), std::runtime_error);
}

TEST(ValueEquality, OfUsualRecordsTakesNoMemory) {
  const Value one = Value::dictionary({{"id", 1}, {"list", Value::array({1, 2, 3})}});
  const Value two = Value::dictionary({{"list", Value::array({1, 2, 3})}, {"id", 1}});
  bool equal = false;
  EXPECT_EQ(test::allocationsOf([&] { equal = one == two; }), 0U);
  EXPECT_TRUE(equal);
}

/// An array that holds the same array twice, which holds ..., `levels` deep: 2^levels paths to
/// `leaf` in as many containers as levels.
Value doubling(int levels, const Value& leaf) {
  Value value = leaf;
  for (int level = 0; level < levels; ++level) {
    value = Value::array({value, value});
  }
  return value;
}

TEST(ValueEquality, LooksOnceAtPartsThatAValueSharesWithItself) {
  EXPECT_TRUE(doubling(200, "leaf") == doubling(200, "leaf"));
  EXPECT_FALSE(doubling(200, "leaf") == doubling(200, "other"));
  EXPECT_EQ(doubling(200, "leaf").hash(), doubling(200, "leaf").hash());
}

TEST(ValueEquality, LooksOnceAtWidePartsThatAValueSharesWithItself) {
  const auto wide = [] {
    Value value = "leaf";
    for (int level = 0; level < 6; ++level) {
      value = Value::array(std::vector<Value>(1000, value));
    }
    return value;
  };
  EXPECT_TRUE(wide() == wide());
  EXPECT_EQ(wide().hash(), wide().hash());
}

/// Levels that hold, in turns, the same array twice and two equal arrays. Equality does not depend
/// on which comes first. If two such values are compared, only one of two parts is ever shared.
Value halfShared(int levels, bool beginsShared, const Value& leaf) {
  const auto copy = [](const Value& value) {
    return Value::array(std::vector<Value>(value.elements().begin(), value.elements().end()));
  };
  Value value = Value::array({leaf});
  for (int level = 0; level < levels; ++level) {
    value = (level % 2 == 0) == beginsShared ? Value::array({value, value})
                                             : Value::array({copy(value), copy(value)});
  }
  return value;
}

TEST(ValueEquality, LooksOnceAtPartsThatOneOfTheValuesShares) {
  EXPECT_TRUE(halfShared(200, true, "leaf") == halfShared(200, false, "leaf"));
  EXPECT_TRUE(halfShared(200, false, "leaf") == halfShared(200, true, "leaf"));
  EXPECT_FALSE(halfShared(200, true, "leaf") == halfShared(200, false, "other"));
  EXPECT_EQ(halfShared(200, true, "leaf").hash(), halfShared(200, false, "leaf").hash());
}

TEST(ValueEquality, AsksNoMoreOftenThanThereArePairsOfParts) {
  struct Counting : Object {
    explicit Counting(int& times) : asked(times) {}
    [[nodiscard]] bool isEqual(const Object& /*other*/) const override {
      ++asked;
      return true;
    }
    [[nodiscard]] std::size_t hash() const override {
      ++asked;
      return 1;
    }
    int& asked;
  };
  int asked = 0;
  const Value one = halfShared(60, true, std::make_shared<Counting>(asked));
  const Value other = halfShared(60, false, std::make_shared<Counting>(asked));
  EXPECT_TRUE(one == other);
  EXPECT_LT(asked, 10'000);
  asked = 0;
  EXPECT_EQ(one.hash(), other.hash());
  EXPECT_LT(asked, 10'000);
}

TEST(ValueEquality, HashesAPartOnceHoweverOftenItOccurs) {
  const Value row = Value::array(std::vector<Value>(1000, Value(std::string(100, 'x'))));
  const Value part = Value::array(std::vector<Value>(1000, row));
  const Value all = Value::array(std::vector<Value>(100'000, part));
  EXPECT_EQ(all.hash(), Value::array(std::vector<Value>(100'000, part)).hash());
}

/// Assigns to the values that are being compared, which lets go of what they hold.
class Meddler : public Object {
 public:
  explicit Meddler(std::vector<Value*>& places) : _places(places) {}
  [[nodiscard]] bool isEqual(const Object& /*other*/) const override {
    clear();
    return _is == 1;
  }
  [[nodiscard]] std::size_t hash() const override {
    clear();
    return _is;
  }
  [[nodiscard]] std::string description() const override {
    clear();
    return std::string(50, static_cast<char>('0' + _is));
  }

 private:
  void clear() const {
    for (Value* const place : _places) {
      *place = "gone";
    }
  }

  std::vector<Value*>& _places;
  std::size_t _is = 1;
};

TEST(ValueEquality, SurvivesObjectsThatAssignToWhatIsCompared) {
  std::vector<Value*> places;
  const auto bare = [&] { return Value(std::make_shared<Meddler>(places)); };
  const auto list = [&] { return Value::array({bare(), std::string(100, 'x'), bare()}); };
  const auto record = [&] {
    return Value::dictionary({{"a", bare()}, {"b", list()}, {"c", std::string(100, 'x')}});
  };
  Value one;
  Value other;
  places = {&one, &other};
  for (int kind = 0; kind < 3; ++kind) {
    const auto make = [&] { return kind == 0 ? bare() : kind == 1 ? list() : record(); };
    one = make();
    other = make();
    EXPECT_TRUE(one == other);
    EXPECT_EQ(one, "gone");
    one = make();
    const std::size_t hash = one.hash();
    EXPECT_EQ(one, "gone");
    EXPECT_EQ(hash, make().hash());
    one = make();
    const std::string description = one.description();
    EXPECT_EQ(one, "gone");
    EXPECT_NE(description.find(std::string(50, '1')), std::string::npos);
  }
}

PROPERTY(ValueProperty, IsEqualToItselfAndItsCopies, (const Value& value)) {
  const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
  RC_ASSERT(value == value);
  RC_ASSERT(copy == value);
  RC_ASSERT(copy.hash() == value.hash());
}

PROPERTY(ValueProperty, IsEqualToTheSameContentMadeOtherwise, (const Value& value)) {
  const Value other = test::equalButMadeOtherwise(value);
  RC_ASSERT(value == other);
  RC_ASSERT(other == value);
  RC_ASSERT(value.hash() == other.hash());
}

PROPERTY(ValueProperty, EqualityIsSymmetricAndAgreesWithTheHash, (const Value& a, const Value& b)) {
  RC_ASSERT((a == b) == (b == a));
  RC_ASSERT(a != b || a.hash() == b.hash());
}

PROPERTY(ValueProperty, NumbersThatAreEqualHashTheSame, ()) {
  const Value a = *test::anyNumber();
  const Value b = *test::anyNumber();
  RC_CLASSIFY(a == b);
  RC_ASSERT((a == b) == (b == a));
  RC_ASSERT(a != b || a.hash() == b.hash());
}

PROPERTY(ValueProperty, IsAKeyOfAnUnorderedSet, ()) {
  const auto values = *test::small(rc::gen::arbitrary<std::vector<Value>>());
  std::unordered_set<Value> set(values.begin(), values.end());
  std::vector<Value> unique;
  for (const Value& value : values) {
    if (std::ranges::find(unique, value) == unique.end()) {
      unique.push_back(value);
    }
  }
  RC_ASSERT(set.size() == unique.size());
  for (const Value& value : values) {
    RC_ASSERT(set.contains(test::equalButMadeOtherwise(value)));
  }
}

PROPERTY(ValueProperty, DiffersFromItselfWithOneElementMore, ()) {
  const auto elements = *test::small(rc::gen::container<std::vector<Value>>(test::anyValue(2)));
  std::vector<Value> longer = elements;
  longer.push_back(*test::anyValue(1));
  RC_ASSERT(Value::array(elements) != Value::array(longer));
}

PROPERTY(ValueProperty, CopiesAndMovesKeepTheContent, (const Value& a, const Value& b)) {
  const std::string description = a.description();
  Value copy(a);
  Value moved(std::move(copy));
  RC_ASSERT(moved.description() == description);
  Value assigned(b);
  assigned = moved;
  RC_ASSERT(assigned.description() == description);
  assigned = std::move(moved);
  RC_ASSERT(assigned.description() == description);
  RC_ASSERT(a.description() == description);
}

}  // namespace
