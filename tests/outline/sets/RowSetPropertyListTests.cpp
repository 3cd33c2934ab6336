// SPDX-License-Identifier: Apache-2.0
#include "RowSetTesting.h"
#include "tests/support/Property.h"
#include "tests/support/PropertyListTesting.h"
#include "tests/support/SmallStack.h"
#include "tests/support/ValueGenerators.h"

#include <gtest/gtest.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowSet.h>
#include <vexil/platform/NetService.h>

#include <limits>
#include <map>
#include <memory>
#include <utility>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::Key;
using platform::Value;
using test::entry;
using test::rows;
using test::setOf;
using test::setWith;
using vexil::RowSet;

bool isSet(const Value& propertyList) {
  return RowSet::fromPropertyList(propertyList).has_value();
}

Value stored(const Value& propertyList) {
  return setOf(propertyList).propertyList();
}

TEST(RowSetPropertyList, OfAnEmptySetComesBack) {
  EXPECT_EQ(RowSet().propertyList(), rows({}));
  EXPECT_TRUE(setOf(rows({})).isEmpty());
}

TEST(RowSetPropertyList, ComesBackWithItsCount) {
  const Value list = rows({entry("a", true, {entry("b", false, {entry("c", true)}, 2)}),
                           entry("a", true, {}, 1), entry("d", false, {entry("a", true)})});
  const RowSet set = setOf(list);
  EXPECT_EQ(set.count(), 4U);
  EXPECT_FALSE(set.isEmpty());
  EXPECT_TRUE(test::identical(set.propertyList(), list));
}

TEST(RowSetPropertyList, IsInTheOrderOfIdentifiersAndOccurrences) {
  const Value list = rows({entry(1, true), entry(2.5, true), entry("B", true), entry("a", true),
                           entry("a", true, {}, 1), entry("a", true, {}, 10), entry(Date{1}, true),
                           entry(test::dataOf("x"), true), entry(Value::array({1}), true),
                           entry(Value::array({2}), true), entry(Value::array({2}), true, {}, 1),
                           entry(Value::dictionary({{"a", 1}}), true),
                           entry(Value::dictionary({{"b", 1}}), true)});
  std::vector<Value> turned(list["rows"].elements().rbegin(), list["rows"].elements().rend());
  EXPECT_TRUE(test::identical(stored(rows(turned)), list)) << stored(rows(turned)).description();
}

TEST(RowSetPropertyList, LeavesOutEntriesOfNoUse) {
  EXPECT_EQ(stored(rows({entry("a", false), entry("b", false, {entry("c", false)})})), rows({}));
  EXPECT_EQ(stored(rows({entry("a", false, {entry("b", false), entry("c", true)})})),
            rows({entry("a", false, {entry("c", true)})}));
}

TEST(RowSetPropertyList, JoinsEntriesOfOneIdentity) {
  const RowSet set =
      setWith({entry("a", false, {entry("b", true)}), entry("a", true, {entry("c", true)}),
               entry("a", false), entry("a", true, {entry("b", true), entry("b", true)})});
  EXPECT_EQ(set.count(), 3U);
  EXPECT_EQ(set.propertyList(), rows({entry("a", true, {entry("b", true), entry("c", true)})}));
}

TEST(RowSetPropertyList, TakesEqualIdentifiersForOne) {
  EXPECT_EQ(setWith({entry(1, true), entry(1.0, true), entry(true, true)}).count(), 1U);
  EXPECT_EQ(setWith({entry("1", true), entry(1, true)}).count(), 2U);
}

TEST(RowSetPropertyList, MayLackWhatIsNotNeeded) {
  EXPECT_EQ(
      stored(rows({Value::dictionary(
          {{"id", "a"}, {"in", true}, {"occurrence", 0}, {"below", Value::array({})}, {"x", 1}})})),
      rows({entry("a", true)}));
  EXPECT_EQ(stored(rows({Value::dictionary({{"id", "a"}, {"in", false}})})), rows({}));
}

TEST(RowSetPropertyList, IsNoneWithoutItsPartsOrWithOthers) {
  for (const Value& value :
       {Value(), Value::null(), Value(1), Value("rows"), Value::array({}), Value::dictionary({}),
        Value::dictionary({{"rows", 1}}), Value::dictionary({{"rows", Value::dictionary({})}})}) {
    EXPECT_FALSE(isSet(value)) << value.description();
  }
  const auto isEntry = [](const Value& entry) {
    return isSet(rows({entry})) && isSet(rows({test::entry("outer", true, {entry})}));
  };
  EXPECT_TRUE(isEntry(Value::dictionary({{"id", "a"}})));
  for (const Value& value : {Value(), Value::null(), Value(1), Value("a"), Value::array({}),
                             Value::dictionary({{"in", true}})}) {
    EXPECT_FALSE(isSet(rows({value}))) << value.description();
    EXPECT_FALSE(isSet(rows({entry("outer", true, {value})}))) << value.description();
  }
  const auto withPart = [](const char* key, const Value& value) {
    return Value::dictionary({{"id", "a"}, {key, value}});
  };
  for (const Value& value :
       {Value(-1), Value(1.0), Value(true), Value("1"), Value::null(),
        Value(std::uint64_t{UINT32_MAX} + 1), Value(UINT64_MAX), Value(std::uint64_t{1} << 41)}) {
    EXPECT_FALSE(isEntry(withPart("occurrence", value))) << value.description();
  }
  EXPECT_TRUE(isEntry(withPart("occurrence", UINT32_MAX)));
  for (const Value& value : {Value(1), Value("true"), Value::null()}) {
    EXPECT_FALSE(isEntry(withPart("in", value))) << value.description();
    EXPECT_FALSE(isEntry(withPart("below", value))) << value.description();
  }
  EXPECT_FALSE(isEntry(withPart("below", Value::array({1}))));
}

TEST(RowSetPropertyList, IsNoneWithIdentifiersThatItCannotHold) {
  const Value service(std::make_shared<platform::NetService>("a", "b", "c"));
  for (const Value& value :
       {Value::null(), service, Value("\xFF"), Value(Date{std::numeric_limits<double>::infinity()}),
        Value::array({Value()}), Value::array({service})}) {
    EXPECT_FALSE(isSet(rows({Value::dictionary({{"id", value}})}))) << value.description();
  }
  EXPECT_EQ(setWith({entry("\xC3\xBC", true), entry(Value::array({1}), true)}).count(), 2U);
}

TEST(RowSet, CopiesAreIndependent) {
  const Value list = rows({entry("a", true, {entry("b", true)})});
  RowSet set = setOf(list);
  RowSet copy = set;
  set.clear();
  EXPECT_EQ(set.count(), 0U);
  EXPECT_EQ(set.propertyList(), rows({}));
  EXPECT_EQ(copy.propertyList(), list);
  set = copy;
  copy = RowSet();
  EXPECT_EQ(set.propertyList(), list);
  const RowSet moved = std::move(set);
  EXPECT_EQ(moved.propertyList(), list);
  set = moved;
  EXPECT_EQ(set.count(), 2U);
}

TEST(RowSet, IsOfUseAfterItWasMovedFrom) {
  RowSet set = setWith({entry("a", true)});
  const RowSet other = std::move(set);
  // NOLINTBEGIN(bugprone-use-after-move): what is tested
  EXPECT_TRUE(set.isEmpty());
  EXPECT_EQ(set.propertyList(), rows({}));
  const RowSet copy = set;
  EXPECT_TRUE(copy.isEmpty());
  set.clear();
  set.follow({});
  // NOLINTEND(bugprone-use-after-move)
  EXPECT_EQ(other.count(), 1U);
}

TEST(RowSet, OfDeepRowsDoesNotRecurse) {
  test::runOnSmallStack([] {
    Value list = entry("leaf", true);
    for (std::size_t i = 1; i < test::deepNesting; ++i) {
      list = entry(i % 7, i % 2 == 0, {std::move(list)});
    }
    list = rows({std::move(list)});
    RowSet set = setOf(list);
    EXPECT_EQ(set.count(), test::deepNesting / 2);
    RowSet copy = set;
    set.clear();
    EXPECT_TRUE(set.isEmpty());
    EXPECT_EQ(copy.propertyList(), list);
  });
}

// --- any set

/// Entries, below each the next level.
struct Model {
  bool in = false;
  std::map<std::pair<int, std::uint32_t>, Model> below;

  [[nodiscard]] std::size_t count() const {
    std::size_t count = std::size_t{in};
    for (const auto& [identity, model] : below) {
      count += model.count();
    }
    return count;
  }
};

/// Random entries, which are added to a model too.
std::vector<Value> anyEntries(int depth, Model& model) {
  std::vector<Value> entries;
  for (int i = *rc::gen::inRange(0, 4); i > 0; --i) {
    const int uniqueID = *rc::gen::inRange(0, 3);
    const auto occurrence = *rc::gen::inRange<std::uint32_t>(0, 2);
    const bool in = *rc::gen::arbitrary<bool>();
    Model& there = model.below[{uniqueID, occurrence}];
    there.in = there.in || in;
    entries.push_back(entry(uniqueID, in,
                            depth == 0 ? std::vector<Value>() : anyEntries(depth - 1, there),
                            occurrence));
  }
  return entries;
}

std::vector<Value> entriesOf(const Model& model) {
  std::vector<Value> entries;
  for (const auto& [identity, there] : model.below) {
    if (there.count() > 0) {
      entries.push_back(entry(identity.first, there.in, entriesOf(there), identity.second));
    }
  }
  return entries;
}

PROPERTY(RowSetPropertyListProperty, AnyEntriesMakeTheSetOfAModel, ()) {
  Model model;
  const RowSet set = setWith(anyEntries(3, model));
  RC_ASSERT(set.count() == model.count());
  RC_ASSERT(test::identical(set.propertyList(), rows(entriesOf(model))));
  RC_ASSERT(test::identical(RowSet(set).propertyList(), set.propertyList()));
  const auto file = platform::writeBinaryPropertyList(set.propertyList());
  RC_ASSERT(static_cast<bool>(file));
  RC_ASSERT(test::identical(stored(*platform::readBinaryPropertyList(*file)), set.propertyList()));
}

PROPERTY(RowSetPropertyListProperty, AnyValueIsReadOrRefused, (const Value& value)) {
  Model model;
  std::vector<Value> entries = anyEntries(1, model);
  entries.push_back(Value::dictionary({{"id", value}, {"in", true}, {"below", value}}));
  const auto set = RowSet::fromPropertyList(rows(entries));
  if (set) {
    RC_ASSERT(isSet(set->propertyList()));
  }
}

}  // namespace
