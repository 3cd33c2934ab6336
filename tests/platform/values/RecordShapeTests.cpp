// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/RecordShape.h>
#include <vexil/platform/Value.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/AllocationCounter.h"

namespace platform = vexil::platform;

namespace {

using platform::InvalidArgument;
using platform::Key;
using platform::RecordShape;
using platform::Value;

static_assert(std::is_nothrow_copy_constructible_v<RecordShape>);
static_assert(std::is_copy_assignable_v<RecordShape>);
static_assert(!std::is_convertible_v<std::initializer_list<Key>, RecordShape>);

TEST(RecordShape, MakesTheSameRecordAsADictionary) {
  const RecordShape shape({"id", "name"});
  const Value record = shape.record({7, "Backup"});
  EXPECT_EQ(record, Value::dictionary({{"id", 7}, {"name", "Backup"}}));
  EXPECT_EQ(record, Value::dictionary({{"name", "Backup"}, {"id", 7}}));
  EXPECT_EQ(record.hash(), Value::dictionary({{"name", "Backup"}, {"id", 7}}).hash());
  EXPECT_EQ(record["name"], "Backup");
  EXPECT_EQ(record.description(), R"({"id": 7, "name": "Backup"})");
}

TEST(RecordShape, MakesNoEntryOfAnAbsentValue) {
  const RecordShape shape({"id", "name", "domain"});
  const Value record = shape.record({7, Value(), Value::null()});
  EXPECT_EQ(record.description(), R"({"id": 7, "domain": <null>})");
  EXPECT_EQ(shape.record({Value(), Value(), Value()}), Value::dictionary({}));
}

TEST(RecordShape, MovesTheValuesItIsGiven) {
  const RecordShape shape({"id", "name"});
  std::vector<Value> values{std::string(100, 'x'), 2};
  const Value record = shape.record(std::span(values));
  EXPECT_TRUE(values[0].isAbsent());
  EXPECT_EQ(record["id"].string().size(), 100U);
}

TEST(RecordShape, RefusesTheSameKeyTwice) {
  EXPECT_THROW(RecordShape({"id", "name", "id"}), InvalidArgument);
}

TEST(RecordShape, RefusesMoreOrFewerValuesThanKeys) {
  const RecordShape shape({"id", "name"});
  EXPECT_THROW((void)shape.record({1}), InvalidArgument);
  EXPECT_THROW((void)shape.record({1, 2, 3}), InvalidArgument);
  EXPECT_THROW((void)shape.record(std::span<Value>()), InvalidArgument);
}

TEST(RecordShape, WithoutKeysMakesEmptyDictionaries) {
  const RecordShape shape(std::initializer_list<Key>{});
  EXPECT_EQ(shape.record(std::span<Value>()), Value::dictionary({}));
}

TEST(RecordShape, IsCopiedAndAssigned) {
  RecordShape shape({"id"});
  const RecordShape copy(shape);
  shape = RecordShape({"name", "domain"});
  EXPECT_EQ(copy.record({1}), Value::dictionary({{"id", 1}}));
  EXPECT_EQ(shape.record({1, 2}), Value::dictionary({{"name", 1}, {"domain", 2}}));
  const RecordShape& same = shape;
  shape = same;
  EXPECT_EQ(shape.record({1, 2}), Value::dictionary({{"name", 1}, {"domain", 2}}));
}

TEST(RecordShape, LetsItsRecordsOutliveIt) {
  Value record;
  {
    const RecordShape shape({std::string("a key of this test alone")});
    record = shape.record({1});
  }
  EXPECT_EQ(record["a key of this test alone"], 1);
}

TEST(RecordShape, WorksWithManyKeys) {
  std::vector<Key> keys;
  std::vector<Value> values;
  for (int i = 0; i < 1000; ++i) {
    keys.emplace_back("key" + std::to_string(i));
    values.emplace_back(i);
  }
  const RecordShape shape{std::span<const Key>(keys)};
  const Value record = shape.record(std::span(values));
  EXPECT_EQ(record["key0"], 0);
  EXPECT_EQ(record["key999"], 999);
  EXPECT_TRUE(record["key1000"].isAbsent());
}

// Small ones come from pools, which allocate for many at once.
TEST(RecordShape, TakesAtMostOneAllocationASmallRecord) {
  const RecordShape shape({"id", "name", "enabled"});
  std::vector<Value> values{1, "short", true};
  Value record;
  EXPECT_LE(test::allocationsOf([&] { record = shape.record(std::span(values)); }), 1U);
  EXPECT_EQ(test::allocationsOf([&] { const Value copy = record; }), 0U);
}

TEST(RecordShape, TakesOneAllocationALargeRecord) {
  std::vector<Key> keys;
  std::vector<Value> values;
  for (int i = 0; i < 20; ++i) {
    keys.emplace_back("key" + std::to_string(i));
    values.emplace_back(i);
  }
  const RecordShape shape{std::span<const Key>(keys)};
  Value record;
  EXPECT_EQ(test::allocationsOf([&] { record = shape.record(std::span(values)); }), 1U);
  EXPECT_EQ(test::allocationsOf([&] { const Value copy = record; }), 0U);
}

}  // namespace
