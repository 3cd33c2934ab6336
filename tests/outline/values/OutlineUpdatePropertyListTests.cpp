// SPDX-License-Identifier: Apache-2.0
#include "tests/outline/UpdateTesting.h"
#include "tests/support/Property.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/SmallStack.h"
#include "tests/support/ValueGenerators.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/platform/NetService.h>
#include <vexil/platform/PropertyList.h>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Key;
using platform::Value;
using test::row;
using vexil::InsertedRow;
using vexil::OutlineStep;
using vexil::OutlineUpdate;
using vexil::RowChange;
using vexil::RowNumber;
using vexil::RowState;

constexpr RowNumber lastNumber = (RowNumber{1} << 40) - 1;

// --- any update

/// A value that a property list can hold, or absent.
rc::Gen<Value> anyPropertyList() {
  const rc::Gen<Value> leaf = rc::gen::oneOf(
      test::anyNumber(),
      rc::gen::map(rc::gen::string<std::string>(),
                   [](std::string text) {
                     for (char& character : text) {
                       character = static_cast<char>(character & 0x7F);
                     }
                     return Value(text);
                   }),
      rc::gen::map(rc::gen::inRange(-9, 9), [](int i) { return Value(Date{i / 2.0}); }),
      rc::gen::element(Value("\xC3\xBC"), test::dataOf("data")));
  const auto key = rc::gen::map(rc::gen::inRange(0, 9), [](int i) { return std::to_string(i); });
  const auto dictionary = rc::gen::map(
      test::small(
          rc::gen::container<std::vector<std::pair<std::string, Value>>>(rc::gen::pair(key, leaf))),
      [](const std::vector<std::pair<std::string, Value>>& entries) {
        return Value::dictionary(
            std::vector<std::pair<Key, Value>>(entries.begin(), entries.end()));
      });
  const auto array = rc::gen::map(
      test::small(rc::gen::container<std::vector<Value>>(rc::gen::oneOf(leaf, dictionary))),
      [](std::vector<Value> elements) { return Value::array(std::move(elements)); });
  return rc::gen::oneOf(leaf, dictionary, array, rc::gen::just(Value()));
}

rc::Gen<RowNumber> anyRowNumber() {
  return rc::gen::oneOf(
      rc::gen::inRange<RowNumber>(0, 9), rc::gen::inRange<RowNumber>(0, lastNumber + 1),
      rc::gen::element(RowNumber{UINT32_MAX}, RowNumber{UINT32_MAX} + 1, lastNumber));
}

rc::Gen<std::size_t> anySize() {
  return rc::gen::oneOf(rc::gen::inRange<std::size_t>(0, 9),
                        rc::gen::element<std::size_t>(INT64_MAX, SIZE_MAX, std::size_t{1} << 63));
}

RowState anyRow(const rc::Gen<Value>& value) {
  const auto flag = [] { return *rc::gen::arbitrary<bool>(); };
  return RowState(RowState::Parts{
      .number = *anyRowNumber(),
      .uniqueID = *value,
      .occurrence =
          *rc::gen::oneOf(rc::gen::just<std::uint32_t>(0), rc::gen::arbitrary<std::uint32_t>()),
      .label = *value,
      .representedObject = *value,
      .className = *rc::gen::element<std::string>("", "KRAVTWVEventVexil", "host::Kind<int>"),
      .supportsEnabled = flag(),
      .enabled = flag(),
      .isGroup = flag(),
      .isExpandable = flag()});
}

/// Up to two elements.
template <class Make>
auto few(Make&& make) {
  std::vector<decltype(make())> elements;
  for (int i = *rc::gen::inRange(0, 3); i > 0; --i) {
    elements.push_back(make());
  }
  return elements;
}

/// A step of any parts, whether they belong together or not.
OutlineStep anyStep(const rc::Gen<Value>& value) {
  using Kind = OutlineStep::Kind;
  const auto row = [&] { return anyRow(value); };
  return {.kind = *rc::gen::element(Kind::removed, Kind::inserted, Kind::moved, Kind::changed),
          .parent = *anyRowNumber(),
          .first = *anySize(),
          .count = std::max<std::size_t>(1, *anySize()),
          .newParent = *anyRowNumber(),
          .newFirst = *anySize(),
          .inserted = few([&] {
            return InsertedRow{row(), *anySize()};
          }),
          .rows = few(row),
          .newOccurrences = few([] { return *rc::gen::arbitrary<std::uint32_t>(); }),
          .above = few(row),
          .newAbove = few(row),
          .changes = few([&] {
            return RowChange{row(), row()};
          }),
          .rowCount = *anySize()};
}

OutlineUpdate anyUpdate(const rc::Gen<Value>& value) {
  return {few([&] { return anyStep(value); }), *anySize()};
}

// --- what comes back

PROPERTY(OutlineUpdatePropertyList, ComesBackEqual, ()) {
  const OutlineUpdate update = anyUpdate(anyPropertyList());
  const std::optional<OutlineUpdate> read = OutlineUpdate::fromPropertyList(update.propertyList());
  RC_ASSERT(read.has_value());
  RC_ASSERT(*read == update);
  RC_ASSERT(read->description() == update.description());
}

PROPERTY(OutlineUpdatePropertyList, ComesBackEqualFromAFile, ()) {
  const OutlineUpdate update = anyUpdate(anyPropertyList());
  const auto written = platform::writeBinaryPropertyList(update.propertyList());
  RC_ASSERT(static_cast<bool>(written));
  const auto value = platform::readBinaryPropertyList(*written);
  RC_ASSERT(static_cast<bool>(value));
  const std::optional<OutlineUpdate> read = OutlineUpdate::fromPropertyList(*value);
  RC_ASSERT(read.has_value());
  RC_ASSERT(*read == update);
  RC_ASSERT(read->description() == update.description());
}

PROPERTY(OutlineUpdatePropertyList, OfAnyValuesCanBeWritten, ()) {
  const OutlineUpdate update = anyUpdate(test::anyValue());
  const Value propertyList = update.propertyList();
  RC_ASSERT(static_cast<bool>(platform::writeBinaryPropertyList(propertyList)));
  const std::optional<OutlineUpdate> read = OutlineUpdate::fromPropertyList(propertyList);
  RC_ASSERT(read.has_value());
  RC_ASSERT(read->propertyList() == propertyList);
}

TEST(OutlineUpdatePropertyList, OfNothingComesBack) {
  EXPECT_EQ(OutlineUpdate::fromPropertyList(OutlineUpdate().propertyList()), OutlineUpdate());
  EXPECT_EQ(OutlineUpdate::fromPropertyList(OutlineUpdate({}, 5).propertyList()),
            OutlineUpdate({}, 5));
}

/// A value as it comes back from a property list.
Value stored(const Value& value) {
  const OutlineUpdate update({test::insertion(0, 0, {row(1, "id", value)})}, 1);
  const auto read = OutlineUpdate::fromPropertyList(update.propertyList());
  EXPECT_TRUE(read.has_value());
  return read ? read->steps()[0].inserted[0].state.label() : Value("nothing");
}

TEST(OutlineUpdatePropertyList, HasTextForWhatItCannotHold) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const Value service(std::make_shared<platform::NetService>("a", "b", "c"));
  EXPECT_EQ(stored(Value::null()), "null");
  EXPECT_EQ(stored(service), R"(service("a", "b", "c"))");
  EXPECT_EQ(stored(Date{infinity}), "@inf");
  EXPECT_EQ(stored("\xFF\x41"), "<ff41>");
  EXPECT_EQ(stored(Value()), Value());
  EXPECT_EQ(stored(Value::array({1, Value(), Value::null(), "\xC3\xBC", Date{-infinity}})),
            Value::array({1, "absent", "null", "\xC3\xBC", "@-inf"}));
  EXPECT_EQ(stored(Value::dictionary({{"\xC3", 1},
                                      {"b", Value::array({Value::array({service})})},
                                      {"c", Value::dictionary({{"d", Value::null()}})}})),
            Value::dictionary({{"<c3>", 1},
                               {"b", Value::array({Value::array({R"(service("a", "b", "c"))"})})},
                               {"c", Value::dictionary({{"d", "null"}})}}));
}

TEST(OutlineUpdatePropertyList, KeepsWhatItCanHoldAsItIs) {
  const Value record = Value::dictionary(
      {{"a", Value::array({1, 2.5, true})}, {"b", Value::dictionary({{"c", Date{1}}})}});
  EXPECT_TRUE(stored(record).sharesStorageWith(record));
  EXPECT_TRUE(test::identical(stored(true), true));
  EXPECT_TRUE(test::identical(stored(-0.0), -0.0));
}

// Each of 100 arrays holds the one before twice: as a tree that is more than any memory.
TEST(OutlineUpdatePropertyList, RewritesSharedPartsOnce) {
  Value value = Value::array({Value::null()});
  for (int i = 0; i < 100; ++i) {
    value = Value::array({value, value});
  }
  Value expected = Value::array({"null"});
  for (int i = 0; i < 100; ++i) {
    expected = Value::array({expected, expected});
  }
  EXPECT_EQ(stored(value), expected);
}

TEST(OutlineUpdatePropertyList, OfDeepRowsAndValuesDoesNotRecurse) {
  test::runOnSmallStack([] {
    Value value = Value::null();
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      value = Value::array({value});
    }
    std::vector<InsertedRow> rows = test::chainOfRows(1, test::deepNesting);
    rows.back().state = row(test::deepNesting, "leaf", value);
    const OutlineUpdate update({test::insertion(0, 0, 1, std::move(rows))}, 1);
    const auto read = OutlineUpdate::fromPropertyList(update.propertyList());
    ASSERT_TRUE(read.has_value());
    Value leaf = read->steps()[0].inserted.back().state.label();
    for (std::size_t i = 0; i < test::deepNesting; ++i) {
      leaf = Value(leaf.elements()[0]);
    }
    EXPECT_EQ(leaf, "null");
  });
}

// --- what is no update

/// `dictionary` with another value under a key. An absent one takes the key away.
Value with(const Value& dictionary, const char* key, const Value& value) {
  std::vector<std::pair<Key, Value>> entries;
  for (std::size_t i = 0; i < dictionary.keys().size(); ++i) {
    if (dictionary.keys()[i] != Key(key)) {
      entries.emplace_back(dictionary.keys()[i], dictionary.values()[i]);
    }
  }
  entries.emplace_back(key, value);
  return Value::dictionary(std::move(entries));
}

Value updateOf(const Value& step) {
  return Value::dictionary({{"rowsAfterwards", 3}, {"steps", Value::array({step})}});
}

bool isUpdate(const Value& propertyList) {
  return OutlineUpdate::fromPropertyList(propertyList).has_value();
}

const Value& aRow() {
  static const Value row = Value::dictionary({{"number", 7}});
  return row;
}
const Value& aStep() {
  static const Value step = Value::dictionary(
      {{"kind", "moved"}, {"parent", 1}, {"first", 0}, {"count", 1}, {"rowCount", 1}});
  return step;
}

TEST(OutlineUpdatePropertyList, MayLackWhatIsNotNeeded) {
  EXPECT_EQ(
      OutlineUpdate::fromPropertyList(updateOf(with(aStep(), "rows", Value::array({aRow()})))),
      OutlineUpdate({{.kind = OutlineStep::Kind::moved,
                      .parent = 1,
                      .count = 1,
                      .rows = {row(7, {})},
                      .rowCount = 1}},
                    3));
  EXPECT_TRUE(isUpdate(with(updateOf(aStep()), "unknown", 1)));
}

TEST(OutlineUpdatePropertyList, IsNoUpdateWithoutItsParts) {
  const Value whole = updateOf(aStep());
  ASSERT_TRUE(isUpdate(whole));
  for (const char* const key : {"rowsAfterwards", "steps"}) {
    EXPECT_FALSE(isUpdate(with(whole, key, {}))) << key;
  }
  for (const char* const key : {"kind", "parent", "first", "count", "rowCount"}) {
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, {})))) << key;
  }
  const auto list = [](const char* key, const Value& element) {
    return updateOf(with(aStep(), key, Value::array({aRow(), element})));
  };
  EXPECT_FALSE(isUpdate(list("rows", Value::dictionary({}))));
  EXPECT_FALSE(isUpdate(list("above", Value::dictionary({{"id", "a"}}))));
  EXPECT_FALSE(isUpdate(
      updateOf(with(aStep(), "changes", Value::array({Value::dictionary({{"before", aRow()}})})))));
  EXPECT_FALSE(isUpdate(
      updateOf(with(aStep(), "changes", Value::array({Value::dictionary({{"after", aRow()}})})))));
  EXPECT_FALSE(isUpdate(
      updateOf(with(aStep(), "inserted", Value::array({Value::dictionary({{"children", 1}})})))));
}

TEST(OutlineUpdatePropertyList, IsNoUpdateWithPartsOfOtherTypes) {
  for (const Value& value :
       {Value(), Value::null(), Value(1), Value("text"), Value::array({}), Value::dictionary({})}) {
    EXPECT_FALSE(isUpdate(value)) << value.description();
  }
  const std::vector<Value> noNumbers = {-1, 1.0, true, "1", Value::null(), Value::array({1})};
  for (const Value& value : noNumbers) {
    EXPECT_FALSE(isUpdate(with(updateOf(aStep()), "rowsAfterwards", value))) << value.description();
    for (const char* const key :
         {"parent", "first", "count", "rowCount", "newParent", "newFirst"}) {
      EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, value)))) << key << value.description();
    }
    const auto isRow = [](const Value& row) {
      return isUpdate(updateOf(with(aStep(), "rows", Value::array({row}))));
    };
    EXPECT_FALSE(isRow(with(aRow(), "number", value))) << value.description();
    EXPECT_FALSE(isRow(with(aRow(), "occurrence", value))) << value.description();
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "newOccurrences", Value::array({value})))));
    EXPECT_FALSE(isUpdate(
        updateOf(with(aStep(), "inserted",
                      Value::array({Value::dictionary({{"row", aRow()}, {"children", value}})})))));
  }
  for (const char* const key :
       {"inserted", "rows", "newOccurrences", "above", "newAbove", "changes"}) {
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, 1)))) << key;
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, Value::dictionary({}))))) << key;
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, Value::array({"x"}))))) << key;
  }
  for (const char* const key : {"supportsEnabled", "enabled", "group", "expandable"}) {
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "rows", Value::array({with(aRow(), key, 1)})))));
  }
  EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "rows", Value::array({with(aRow(), "class", 1)})))));
  EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "kind", "Moved"))));
  EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "kind", 2))));
  EXPECT_FALSE(isUpdate(with(updateOf(aStep()), "steps", aStep())));
}

TEST(OutlineUpdatePropertyList, IsNoUpdateWithNumbersOutOfRange) {
  const auto numbered = [](const Value& number) {
    return updateOf(with(aStep(), "rows", Value::array({with(aRow(), "number", number)})));
  };
  EXPECT_TRUE(isUpdate(numbered(lastNumber)));
  EXPECT_FALSE(isUpdate(numbered(lastNumber + 1)));
  EXPECT_FALSE(isUpdate(numbered(UINT64_MAX)));
  for (const char* const key : {"parent", "newParent"}) {
    EXPECT_TRUE(isUpdate(updateOf(with(aStep(), key, lastNumber)))) << key;
    EXPECT_FALSE(isUpdate(updateOf(with(aStep(), key, lastNumber + 1)))) << key;
  }
  const auto occurring = [](const Value& occurrence) {
    return updateOf(with(aStep(), "newOccurrences", Value::array({occurrence})));
  };
  EXPECT_TRUE(isUpdate(occurring(UINT32_MAX)));
  EXPECT_FALSE(isUpdate(occurring(std::uint64_t{UINT32_MAX} + 1)));
  EXPECT_FALSE(isUpdate(updateOf(with(aStep(), "count", 0))));
  EXPECT_TRUE(isUpdate(updateOf(with(aStep(), "count", UINT64_MAX))));
}

/// `value` with any one part of it replaced.
Value damaged(const Value& value) {
  const std::span<const Value> parts = value.isArray() ? value.elements() : value.values();
  if (parts.empty() || *rc::gen::inRange(0, 5) == 0) {
    return *test::anyValue(1);
  }
  const auto index = *rc::gen::inRange<std::size_t>(0, parts.size());
  if (value.isArray()) {
    std::vector<Value> elements(parts.begin(), parts.end());
    elements[index] = damaged(parts[index]);
    return Value::array(std::move(elements));
  }
  std::vector<std::pair<Key, Value>> entries;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    entries.emplace_back(value.keys()[i], i == index ? damaged(parts[i]) : parts[i]);
  }
  return Value::dictionary(std::move(entries));
}

PROPERTY(OutlineUpdatePropertyList, DamagedIsReadOrRefused, ()) {
  const Value propertyList = damaged(anyUpdate(anyPropertyList()).propertyList());
  const std::optional<OutlineUpdate> read = OutlineUpdate::fromPropertyList(propertyList);
  RC_CLASSIFY(read.has_value(), "read");
  if (read) {
    RC_ASSERT(OutlineUpdate::fromPropertyList(read->propertyList()).has_value());
  }
}

}  // namespace
