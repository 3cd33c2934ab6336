// SPDX-License-Identifier: Apache-2.0
// Kinds, accessors, strings, sharing and the life of values.
#include "tests/support/Bytes.h"

#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Key;
using platform::Object;
using platform::Value;
using test::dataOf;
using Kind = Value::Kind;

static_assert(sizeof(Value) == 24);
static_assert(std::is_nothrow_default_constructible_v<Value>);
static_assert(std::is_nothrow_move_constructible_v<Value>);
static_assert(std::is_nothrow_move_assignable_v<Value>);
static_assert(std::is_nothrow_copy_constructible_v<Value>);
static_assert(std::is_nothrow_copy_assignable_v<Value>);
static_assert(std::is_nothrow_swappable_v<Value>);
static_assert(std::is_nothrow_destructible_v<Value>);

// Types that read like a value convert to one. Types that could be mistaken do not.
static_assert(std::is_convertible_v<bool, Value>);
static_assert(std::is_convertible_v<std::uint8_t, Value>);
static_assert(std::is_convertible_v<std::uint64_t, Value>);
static_assert(std::is_convertible_v<float, Value>);
static_assert(std::is_convertible_v<std::string, Value>);
static_assert(std::is_convertible_v<std::string_view, Value>);
static_assert(!std::is_constructible_v<Value, char>, "a character is neither text nor number");
static_assert(!std::is_constructible_v<Value, const void*>, "a pointer is no boolean");
static_assert(!std::is_constructible_v<Value, int*>, "a pointer is no boolean");

class Named : public Object {
 public:
  explicit Named(std::string name, int* destroyed = nullptr)
      : _name(std::move(name)), _destroyed(destroyed) {}
  ~Named() override {
    if (_destroyed != nullptr) {
      ++*_destroyed;
    }
  }
  [[nodiscard]] bool isEqual(const Object& other) const override {
    const auto* named = dynamic_cast<const Named*>(&other);
    return named != nullptr && named->_name == _name;
  }
  [[nodiscard]] std::size_t hash() const override { return std::hash<std::string>{}(_name); }
  [[nodiscard]] std::string description() const override { return "named " + _name; }

 private:
  std::string _name;
  int* _destroyed;
};

Value longText(char character = 'x') {
  return std::string(100, character);
}

/// One value of each kind, in the order of the kinds.
std::vector<Value> oneOfEachKind() {
  return {Value(),
          Value::null(),
          true,
          7,
          2.5,
          "text",
          dataOf("bytes"),
          Date{12},
          Value::array({1, 2}),
          Value::dictionary({{"a", 1}}),
          std::make_shared<Named>("n")};
}

TEST(Value, KnowsItsKind) {
  const std::vector<Value> values = oneOfEachKind();
  const std::array kinds{Kind::absent, Kind::null,       Kind::boolean, Kind::integer,
                         Kind::real,   Kind::string,     Kind::data,    Kind::date,
                         Kind::array,  Kind::dictionary, Kind::object};
  ASSERT_EQ(values.size(), kinds.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(values[i].kind(), kinds[i]);
    EXPECT_EQ(values[i].isAbsent(), kinds[i] == Kind::absent);
    EXPECT_EQ(values[i].isNull(), kinds[i] == Kind::null);
    EXPECT_EQ(values[i].isString(), kinds[i] == Kind::string);
    EXPECT_EQ(values[i].isArray(), kinds[i] == Kind::array);
    EXPECT_EQ(values[i].isDictionary(), kinds[i] == Kind::dictionary);
    EXPECT_EQ(values[i].isObject(), kinds[i] == Kind::object);
  }
}

TEST(Value, OfAnotherKindReadsAsAbsentOrEmpty) {
  for (const Value& value : oneOfEachKind()) {
    const Kind kind = value.kind();
    SCOPED_TRACE(value.description());
    EXPECT_EQ(value.boolean().has_value(), kind == Kind::boolean);
    EXPECT_EQ(value.integer().has_value(), kind == Kind::integer);
    EXPECT_EQ(value.unsignedInteger().has_value(), kind == Kind::integer);
    EXPECT_EQ(value.real().has_value(), kind == Kind::real);
    EXPECT_EQ(value.date().has_value(), kind == Kind::date);
    EXPECT_EQ(value.string().empty(), kind != Kind::string);
    EXPECT_EQ(value.bytes().empty(), kind != Kind::data);
    EXPECT_EQ(value.elements().empty(), kind != Kind::array);
    EXPECT_EQ(value.keys().empty(), kind != Kind::dictionary);
    EXPECT_EQ(value.values().empty(), kind != Kind::dictionary);
    EXPECT_EQ(value.object() == nullptr, kind != Kind::object);
    EXPECT_EQ(value["a"].isAbsent(), kind != Kind::dictionary);
    EXPECT_EQ(value[Key("a")].isAbsent(), kind != Kind::dictionary);
  }
}

TEST(Value, ReadsAsABooleanWhenItIsANumber) {
  EXPECT_TRUE(Value(true).booleanReading());
  EXPECT_FALSE(Value(false).booleanReading());
  EXPECT_TRUE(Value(-1).booleanReading());
  EXPECT_FALSE(Value(0).booleanReading());
  EXPECT_TRUE(Value(UINT64_MAX).booleanReading());
  EXPECT_TRUE(Value(std::uint64_t{1} << 63).booleanReading());
  EXPECT_TRUE(Value(0.25).booleanReading());
  EXPECT_FALSE(Value(-0.0).booleanReading());
  EXPECT_TRUE(Value(std::numeric_limits<double>::quiet_NaN()).booleanReading());
  for (const Value& other :
       {Value(), Value::null(), Value("1"), Value("true"), Value(Date{1}), Value::array({true}),
        Value::dictionary({{"a", true}}), dataOf("1"), Value(std::make_shared<Named>("n"))}) {
    EXPECT_FALSE(other.booleanReading()) << other.description();
  }
}

TEST(Value, KeepsIntegersOfEveryTypeAtTheirLimits) {
  EXPECT_EQ(Value(std::numeric_limits<std::int8_t>::min()).integer(), -128);
  EXPECT_EQ(Value(std::numeric_limits<std::uint8_t>::max()).integer(), 255);
  EXPECT_EQ(Value(std::numeric_limits<std::uint32_t>::max()).integer(), 4294967295);
  EXPECT_EQ(Value(INT64_MIN).integer(), INT64_MIN);
  EXPECT_EQ(Value(INT64_MAX).integer(), INT64_MAX);
  EXPECT_EQ(Value(static_cast<std::uint64_t>(INT64_MAX)).integer(), INT64_MAX);
  EXPECT_EQ(Value(std::numeric_limits<long long>::min()).integer(), INT64_MIN);
  EXPECT_EQ(Value(std::numeric_limits<unsigned long long>::max()).unsignedInteger(), UINT64_MAX);
}

TEST(Value, GivesLargeIntegersAsUnsignedAndNegativeOnesAsSignedOnly) {
  const Value large = std::uint64_t{1} << 63;
  EXPECT_EQ(large.kind(), Kind::integer);
  EXPECT_EQ(large.unsignedInteger(), std::uint64_t{1} << 63);
  EXPECT_EQ(large.integer(), std::nullopt);
  EXPECT_EQ(Value(-1).integer(), -1);
  EXPECT_EQ(Value(-1).unsignedInteger(), std::nullopt);
  EXPECT_EQ(Value(0).unsignedInteger(), 0U);
}

TEST(Value, KeepsStringsOfEveryLengthAroundTheOneThatFits) {
  for (std::size_t length = 0; length <= 50; ++length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
      text += static_cast<char>('a' + i % 26);
    }
    const Value value(text);
    const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_EQ(value.kind(), Kind::string);
    EXPECT_EQ(value.string(), text);
    EXPECT_EQ(copy.string(), text);
    EXPECT_EQ(copy, value);
    EXPECT_EQ(value.sharesStorageWith(copy), length > 23) << length;
  }
}

TEST(Value, KeepsEmbeddedNulsInStrings) {
  const std::string brief("a\0b", 3);
  const std::string lengthy("a\0" + std::string(40, 'c') + std::string("\0", 1));
  EXPECT_EQ(Value(brief).string(), brief);
  EXPECT_EQ(Value(lengthy).string(), lengthy);
  EXPECT_NE(Value(brief), Value("a"));
  EXPECT_NE(Value(std::string("a\0", 2)), Value("a"));
  EXPECT_NE(Value(brief), Value(std::string("a\0c", 3)));
}

TEST(Value, OfAViewWithoutCharactersIsTheEmptyString) {
  EXPECT_TRUE(Value(std::string_view()).isString());
  EXPECT_EQ(Value(std::string_view()), Value(""));
  EXPECT_EQ(Value(std::string_view()).string(), "");
}

TEST(Value, KeepsDataThatIsEmptyOrHoldsAnyByte) {
  EXPECT_EQ(Value::data({}).kind(), Kind::data);
  EXPECT_TRUE(Value::data({}).bytes().empty());
  std::string all;
  for (int i = 0; i < 256; ++i) {
    all += static_cast<char>(i);
  }
  const Value data = dataOf(all);
  ASSERT_EQ(data.bytes().size(), 256U);
  EXPECT_EQ(data.bytes()[255], std::byte{255});
  EXPECT_EQ(data, dataOf(all));
  EXPECT_NE(data, Value(all)) << "data is no string";
}

TEST(Value, KeepsDatesToTheLastBit) {
  const double instant = 123456789.123456789;
  EXPECT_EQ(Value(Date{instant}).date()->seconds, instant);
  EXPECT_EQ(Value(Date{-0.5}).date()->seconds, -0.5);
}

TEST(Value, OfAnEmptyPointerIsAbsent) {
  EXPECT_TRUE(Value(std::shared_ptr<Object>()).isAbsent());
  EXPECT_TRUE(Value(std::shared_ptr<Named>()).isAbsent());
}

TEST(Value, KeepsItsObjectAliveUntilTheLastCopyGoes) {
  int destroyed = 0;
  auto object = std::make_shared<Named>("n", &destroyed);
  Value first(object);
  Value second(first);
  EXPECT_EQ(first.object(), object);
  object.reset();
  first = Value();
  EXPECT_EQ(destroyed, 0);
  second = 1;
  EXPECT_EQ(destroyed, 1);
}

TEST(Value, MovedFromIsAbsent) {
  for (const Value& value : oneOfEachKind()) {
    Value source(value);
    const Value target(std::move(source));
    EXPECT_TRUE(source.isAbsent());  // NOLINT(bugprone-use-after-move): absent by contract
    EXPECT_EQ(target, value);
  }
}

TEST(Value, OfAnyKindCanTakeThePlaceOfAnyOther) {
  std::vector<Value> values = oneOfEachKind();
  values.push_back(longText());
  for (const Value& before : values) {
    for (const Value& after : values) {
      Value copied(before);
      copied = after;
      EXPECT_EQ(copied, after);
      EXPECT_EQ(copied.kind(), after.kind());
      Value moved(before);
      moved = Value(after);
      EXPECT_EQ(moved, after);
      Value one(before);
      Value other(after);
      std::swap(one, other);
      EXPECT_EQ(one, after);
      EXPECT_EQ(other, before);
    }
  }
}

TEST(Value, SurvivesAssignmentToItself) {
  std::vector<Value> values = oneOfEachKind();
  values.push_back(longText());
  for (const Value& value : values) {
    Value self(value);
    Value& same = self;
    self = same;
    EXPECT_EQ(self, value);
    self = std::move(same);
    EXPECT_EQ(self, value);
  }
}

TEST(Value, CanBeReplacedByAPartOfItself) {
  Value nested = Value::array({Value::array({longText(), 2})});
  nested = nested.elements()[0];
  EXPECT_EQ(nested, Value::array({longText(), 2}));
  nested = nested.elements()[0];
  EXPECT_EQ(nested, longText());
}

TEST(Value, HoldsItsNewContentWhenTheOldObjectGoes) {
  // The object reads the value that is letting go of it.
  struct Watcher : Object {
    Watcher(const Value& watched, Value& reported) : place(watched), seen(reported) {}
    ~Watcher() override { seen = place; }
    const Value& place;
    Value& seen;
  };
  Value place;
  Value seen;
  place = std::make_shared<Watcher>(place, seen);
  place = "new";
  EXPECT_EQ(seen, "new");
}

TEST(Value, IsReleasedWhenAContainerItStandsInIs) {
  int destroyed = 0;
  {
    const Value array =
        Value::array({std::make_shared<Named>("a", &destroyed),
                      Value::dictionary({{"k", std::make_shared<Named>("b", &destroyed)}})});
    const Value copy = array;  // NOLINT(performance-unnecessary-copy-initialization): the point
    EXPECT_EQ(destroyed, 0);
  }
  EXPECT_EQ(destroyed, 2);
}

TEST(Value, ArraysKeepAbsentElements) {
  const Value array = Value::array({Value(), 1, Value::null(), Value()});
  ASSERT_EQ(array.elements().size(), 4U);
  EXPECT_TRUE(array.elements()[0].isAbsent());
  EXPECT_TRUE(array.elements()[2].isNull());
  EXPECT_TRUE(array.elements()[3].isAbsent());
}

TEST(Value, ArraysCanBeEmptyAndAreStillArrays) {
  EXPECT_TRUE(Value::array({}).isArray());
  EXPECT_EQ(Value::array({}), Value::array(std::vector<Value>()));
  EXPECT_NE(Value::array({}), Value::dictionary({}));
  EXPECT_NE(Value::array({}), Value());
}

TEST(Value, ArraysTakeTheElementsOfASpan) {
  std::vector<Value> elements = {0, "one", Value::array({2}), 3};
  const Value inner = elements[2];
  const Value array = Value::array(std::span(elements).subspan(1, 2));
  EXPECT_EQ(array, Value::array({"one", inner}));
  EXPECT_TRUE(array.elements()[1].sharesStorageWith(inner));
  EXPECT_EQ(elements[0], Value(0));
  EXPECT_TRUE(elements[1].isAbsent());
  EXPECT_TRUE(elements[2].isAbsent());
  EXPECT_EQ(elements[3], Value(3));
}

TEST(Value, ArraysOfObjectsReferToTheObjects) {
  const std::vector<std::shared_ptr<Named>> objects{std::make_shared<Named>("a"), nullptr};
  const Value array = Value::arrayOfObjects(objects);
  ASSERT_EQ(array.elements().size(), 2U);
  EXPECT_EQ(array.elements()[0].object(), objects[0]);
  EXPECT_TRUE(array.elements()[1].isAbsent());
}

TEST(Value, SharesStorageWithItsCopiesOnly) {
  const Value array = Value::array({1});
  const Value copy = array;  // NOLINT(performance-unnecessary-copy-initialization): the point
  EXPECT_TRUE(array.sharesStorageWith(copy));
  EXPECT_FALSE(array.sharesStorageWith(Value::array({1})));
  const auto object = std::make_shared<Named>("n");
  EXPECT_TRUE(Value(object).sharesStorageWith(Value(object)));
  EXPECT_FALSE(Value(object).sharesStorageWith(Value(std::make_shared<Named>("n"))));
  EXPECT_FALSE(Value(1).sharesStorageWith(Value(1)));
  EXPECT_FALSE(Value("short").sharesStorageWith(Value("short")));
  EXPECT_FALSE(Value().sharesStorageWith(Value()));
  EXPECT_FALSE(array.sharesStorageWith(Value()));
}

TEST(Value, DescribesEachKindForPeople) {
  EXPECT_EQ(Value().description(), "(null)");
  EXPECT_EQ(Value::null().description(), "<null>");
  EXPECT_EQ(Value(true).description(), "true");
  EXPECT_EQ(Value(false).description(), "false");
  EXPECT_EQ(Value(INT64_MIN).description(), "-9223372036854775808");
  EXPECT_EQ(Value(UINT64_MAX).description(), "18446744073709551615");
  EXPECT_EQ(Value(2.5).description(), "2.5");
  EXPECT_EQ(Value(0.1).description(), "0.1");
  EXPECT_EQ(Value(Date{-1.5}).description(), "@-1.5");
  EXPECT_EQ(Value("say \"a\\b\"").description(), R"("say \"a\\b\"")");
  EXPECT_EQ(dataOf("\x01\xab").description(), "<01ab>");
  EXPECT_EQ(Value(std::make_shared<Named>("n")).description(), "named n");
  EXPECT_EQ(Value::array({}).description(), "[]");
  EXPECT_EQ(Value::dictionary({}).description(), "{}");
  EXPECT_EQ(Value::array({1, Value(), Value::array({"a"}), 2}).description(),
            R"([1, (null), ["a"], 2])");
  EXPECT_EQ(Value::dictionary({{"b", Value::array({})}, {"a", Value::dictionary({{"c", 1}})}})
                .description(),
            R"({"b": [], "a": {"c": 1}})");
}

TEST(Value, DescribesRealsSoThatTheyReadBackTheSame) {
  for (const double real : {0.1, 1.0 / 3, 1e300, 5e-324, -123456.789e-7}) {
    EXPECT_EQ(std::strtod(Value(real).description().c_str(), nullptr), real);
  }
}

TEST(Date, IsTheReferenceInstantUnlessToldOtherwise) {
  EXPECT_EQ(Date().seconds, 0);
}

}  // namespace
