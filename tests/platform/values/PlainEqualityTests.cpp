// SPDX-License-Identifier: Apache-2.0
// What can be said of equality and hash without asking objects.
#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/AllocationCounter.h"
#include "tests/support/Property.h"
#include "tests/support/SmallStack.h"
#include "tests/support/ValueGenerators.h"

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Key;
using platform::Object;
using platform::Value;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Counts how often it is asked.
class Asked : public Object {
 public:
  explicit Asked(int& times) : _times(times) {}
  [[nodiscard]] bool isEqual(const Object& /*other*/) const override {
    ++_times;
    return true;
  }
  [[nodiscard]] std::size_t hash() const override {
    ++_times;
    return 1;
  }

 private:
  int& _times;
};

class PlainEquality : public testing::Test {
 protected:
  [[nodiscard]] Value object() { return std::make_shared<Asked>(_asked); }

  /// Expects an answer, in both directions.
  void expectAnswer(const Value& a, const Value& b, bool answer) {
    EXPECT_EQ(a.plainlyEquals(b), std::optional(answer));
    EXPECT_EQ(b.plainlyEquals(a), std::optional(answer));
    EXPECT_EQ(_asked, 0);
  }
  void expectNothing(const Value& a, const Value& b) {
    EXPECT_EQ(a.plainlyEquals(b), std::nullopt);
    EXPECT_EQ(b.plainlyEquals(a), std::nullopt);
    EXPECT_EQ(_asked, 0);
  }

  int _asked = 0;
};

TEST_F(PlainEquality, AnswersForEveryKindWithoutObjects) {
  const std::string bytes = "some bytes";
  const std::array<Value, 12> kinds{Value(),
                                    Value::null(),
                                    true,
                                    7,
                                    UINT64_MAX,
                                    2.5,
                                    "text",
                                    std::string(100, 'x'),
                                    Value::data(std::as_bytes(std::span(bytes))),
                                    Date{12},
                                    Value::array({1, 2}),
                                    Value::dictionary({{"a", 1}})};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    for (std::size_t j = 0; j < kinds.size(); ++j) {
      SCOPED_TRACE(kinds[i].description() + " and " + kinds[j].description());
      expectAnswer(kinds[i], test::equalButMadeOtherwise(kinds[j]), i == j);
      expectAnswer(Value::array({kinds[i]}), Value::array({test::equalButMadeOtherwise(kinds[j])}),
                   i == j);
    }
  }
}

TEST_F(PlainEquality, AnswersForNumbersOfDifferentTypes) {
  expectAnswer(true, 1, true);
  expectAnswer(1, 1.0, true);
  expectAnswer(1, 1.5, false);
  expectAnswer(0.0, -0.0, true);
  expectAnswer(nan, -nan, true);
  expectAnswer(Date{nan}, Date{-nan}, true);
  expectAnswer(Date{0.0}, Date{-0.0}, true);
  expectAnswer(Date{1}, Date{2}, false);
  expectAnswer((std::int64_t{1} << 53) + 1, 9007199254740992.0, false);
}

TEST_F(PlainEquality, AnswersForKeysInAnotherOrder) {
  const Value record = Value::dictionary({{"a", 1}, {"b", Date{2}}});
  expectAnswer(record, Value::dictionary({{"b", Date{2}}, {"a", 1}}), true);
  expectAnswer(record, Value::dictionary({{"b", Date{2}}, {"a", 2}}), false);
  expectAnswer(record, Value::dictionary({{"b", Date{2}}, {"c", 1}}), false);
  expectAnswer(record, Value::dictionary({{"b", Date{2}}}), false);
}

TEST_F(PlainEquality, AnswersWhateverTheSize) {
  const auto list = [](int last) {
    std::vector<Value> records;
    for (int i = 0; i < 5'000; ++i) {
      records.push_back(Value::dictionary({{"id", i}, {"list", Value::array({i, last})}}));
    }
    return Value::array(std::move(records));
  };
  expectAnswer(list(1), list(1), true);
  expectAnswer(list(1), list(2), false);
}

TEST_F(PlainEquality, AnswersWhateverTheDepth) {
  test::runOnSmallStack([this] {
    const auto nested = [](const char* innermost) {
      Value value = innermost;
      for (std::size_t level = 0; level < test::deepNesting; ++level) {
        value = Value::array({std::move(value)});
      }
      return value;
    };
    expectAnswer(nested("one"), nested("one"), true);
    expectAnswer(nested("one"), nested("two"), false);
  });
}

TEST_F(PlainEquality, OfDifferentObjectsIsUnknown) {
  const Value one = object();
  const Value other = object();
  expectAnswer(one, Value(one), true);
  expectNothing(one, other);
  expectNothing(Value::array({1, one}), Value::array({1, other}));
  expectNothing(Value::dictionary({{"a", one}, {"b", 1}}),
                Value::dictionary({{"b", 1}, {"a", other}}));
  expectAnswer(one, "text", false);
  expectAnswer(Value::array({one}), Value::array({Value()}), false);
}

TEST_F(PlainEquality, FindsADifferenceBehindObjects) {
  const Value one = object();
  const Value other = object();
  expectAnswer(Value::array({one, 1}), Value::array({other, 2}), false);
  expectAnswer(Value::array({Value::array({one}), "a"}), Value::array({Value::array({other}), "b"}),
               false);
  expectAnswer(Value::dictionary({{"a", one}, {"b", 1}}),
               Value::dictionary({{"b", 2}, {"a", other}}), false);
}

TEST_F(PlainEquality, OfRecordsWithDatesTakesNoMemory) {
  const auto record = [](double date) {
    return Value::dictionary({{"id", 1}, {"date", Date{date}}, {"real", date}});
  };
  const Value one = record(1);
  const Value same = record(1);
  const Value other = record(2);
  std::optional<bool> equal;
  EXPECT_EQ(test::allocationsOf([&] { equal = one.plainlyEquals(same); }), 0U);
  EXPECT_EQ(equal, std::optional(true));
  EXPECT_EQ(test::allocationsOf([&] { equal = one.plainlyEquals(other); }), 0U);
  EXPECT_EQ(equal, std::optional(false));
}

TEST_F(PlainEquality, ComesWithAHashUnlessAnObjectMustBeAsked) {
  const Value record = Value::dictionary({{"a", 1}, {"b", Value::array({Date{2}, 0.5, "text"})}});
  const Value same = test::equalButMadeOtherwise(record);
  ASSERT_TRUE(record.plainHash().has_value());
  EXPECT_EQ(record.plainHash(), std::optional(record.hash()));
  EXPECT_EQ(record.plainHash(), same.plainHash());
  EXPECT_EQ(object().plainHash(), std::nullopt);
  EXPECT_EQ(Value::array({1, Value::array({object()})}).plainHash(), std::nullopt);
  EXPECT_EQ(Value::dictionary({{"a", object()}, {"b", 1}}).plainHash(), std::nullopt);
  EXPECT_EQ(_asked, 0);
  EXPECT_EQ(Value::array({object()}).hash(), Value::array({object()}).hash());
  EXPECT_EQ(_asked, 2);
}

/// What `plainlyEquals` must return, computed in the simplest way.
std::optional<bool> plainlyEqual(const Value& a, const Value& b) {
  const auto parts = [](const Value& value) {
    return value.isArray() ? value.elements() : value.values();
  };
  if (a.isObject() && b.isObject() && a.object() != b.object()) {
    return std::nullopt;
  }
  if (a.kind() != b.kind() || (!a.isArray() && !a.isDictionary())) {
    return a == b;
  }
  if (parts(a).size() != parts(b).size()) {
    return false;
  }
  std::optional<bool> answer = true;
  for (std::size_t i = 0; i < parts(a).size(); ++i) {
    const bool isMissing =
        a.isDictionary() && std::ranges::find(b.keys(), a.keys()[i]) == b.keys().end();
    const std::optional<bool> part =
        isMissing ? std::optional(false)
                  : plainlyEqual(parts(a)[i], a.isArray() ? parts(b)[i] : b[a.keys()[i]]);
    answer = part == false ? part : (answer == true ? part : answer);
    if (answer == false) {
      return answer;
    }
  }
  return answer;
}

bool hasObject(const Value& value) {
  return value.isObject() || std::ranges::any_of(value.elements(), hasObject) ||
         std::ranges::any_of(value.values(), hasObject);
}

/// The same value with objects in place of some leaves. Sometimes a leaf differs.
Value withObjects(const Value& value, const std::array<Value, 2>& objects, std::mt19937& random) {
  if (value.isArray()) {
    std::vector<Value> elements;
    for (const Value& element : value.elements()) {
      elements.push_back(withObjects(element, objects, random));
    }
    return Value::array(std::move(elements));
  }
  if (value.isDictionary()) {
    std::vector<std::pair<Key, Value>> entries;
    for (std::size_t i = 0; i < value.keys().size(); ++i) {
      entries.emplace_back(value.keys()[i], withObjects(value.values()[i], objects, random));
    }
    return Value::dictionary(std::move(entries));
  }
  if (value.isNumber()) {
    return objects[random() % 8 == 0 ? 1 : 0];
  }
  return random() % 32 == 0 ? Value("another leaf") : value;
}

PROPERTY(PlainEqualityProperty, AgreesWithEqualityWithoutObjects,
         (const Value& a, const Value& b)) {
  RC_ASSERT(a.plainlyEquals(b) == std::optional(a == b));
  RC_ASSERT(a.plainlyEquals(test::equalButMadeOtherwise(a)) == std::optional(true));
  RC_ASSERT(a.plainHash() == std::optional(a.hash()));
}

PROPERTY(PlainEqualityProperty, IsUnknownOnlyWhereAnObjectDecides,
         (const Value& value, unsigned seed)) {
  int asked = 0;
  const std::array<Value, 2> objects{std::make_shared<Asked>(asked),
                                     std::make_shared<Asked>(asked)};
  std::mt19937 random(seed);
  const Value a = withObjects(value, objects, random);
  const Value b = withObjects(test::equalButMadeOtherwise(value), objects, random);
  const std::optional<bool> expected = plainlyEqual(a, b);
  RC_CLASSIFY(expected == std::nullopt, "unknown");
  RC_CLASSIFY(expected == false, "different");
  RC_ASSERT(a.plainlyEquals(b) == expected);
  RC_ASSERT(b.plainlyEquals(a) == expected);
  RC_ASSERT(a.plainHash().has_value() == !hasObject(a));
  RC_ASSERT(asked == 0);
  RC_ASSERT((a == b) == (expected != false));  // as these objects are all equal
  RC_ASSERT(expected == false || a.hash() == b.hash());
}

}  // namespace
