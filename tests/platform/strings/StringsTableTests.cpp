// SPDX-License-Identifier: Apache-2.0
#include "tests/support/PropertyListTesting.h"

#include <vexil/platform/StringsTable.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::StringsTable;
using test::Code;

platform::PropertyListResult<StringsTable> read(std::string_view text) {
  return StringsTable::read(test::bytesOf(text));
}

TEST(StringsTable, TextsAreFoundUnderTheirKeys) {
  const auto table = read(R"(/* The state of the scheduler. */
"engine.scheduler.active" = "Active";
engine.ondemand.available = 'On \U00e9';  // quotes are not needed here

"today.%@" = "Today, %@";
)");
  ASSERT_TRUE(table);
  EXPECT_EQ(table->size(), 3U);
  EXPECT_EQ(table->find("engine.scheduler.active"), "Active");
  EXPECT_EQ(table->find("engine.ondemand.available"), "On \u00e9");
  EXPECT_EQ(table->find("today.%@"), "Today, %@");
}

TEST(StringsTable, AKeyThatIsNotThereHasNoText) {
  const auto table = read("a = b;");
  ASSERT_TRUE(table);
  EXPECT_EQ(table->find("A"), std::nullopt);
  EXPECT_EQ(table->find(""), std::nullopt);
  EXPECT_EQ(table->string("missing", "fallback"), "fallback");
  EXPECT_EQ(table->string("a", "fallback"), "b");
}

TEST(StringsTable, AnEmptyTextIsOne) {
  const auto table = read("a = \"\";");
  ASSERT_TRUE(table);
  EXPECT_EQ(table->find("a"), "");
  EXPECT_EQ(table->string("a", "fallback"), "");
}

TEST(StringsTable, BracesAreAllowed) {
  const auto table = read("{ a = b; c; }");
  ASSERT_TRUE(table);
  EXPECT_EQ(table->find("a"), "b");
  EXPECT_EQ(table->find("c"), "c");
}

TEST(StringsTable, TheLastOfTwoTextsStands) {
  const auto table = read("a = b; a = c;");
  ASSERT_TRUE(table);
  EXPECT_EQ(table->size(), 1U);
  EXPECT_EQ(table->find("a"), "c");
}

TEST(StringsTable, KeysKeepTheirOrder) {
  const auto table = read("c = 1; a = 2; b = 3;");
  ASSERT_TRUE(table);
  std::vector<std::string> keys;
  for (const platform::Key& key : table->keys()) {
    keys.emplace_back(key.text());
  }
  EXPECT_EQ(keys, (std::vector<std::string>{"c", "a", "b"}));
}

TEST(StringsTable, NothingButSpaceIsAnEmptyTable) {
  for (const char* text : {"", "\n", "/* later */"}) {
    const auto table = read(text);
    ASSERT_TRUE(table) << text;
    EXPECT_EQ(table->size(), 0U);
    EXPECT_EQ(table->find("a"), std::nullopt);
  }
  EXPECT_EQ(StringsTable().size(), 0U);
  EXPECT_EQ(StringsTable().find("a"), std::nullopt);
}

TEST(StringsTable, TextsOutliveTheTableInItsCopies) {
  StringsTable copy;
  {
    const auto table = read("key = \"a text that is longer than what stands in a value\";");
    ASSERT_TRUE(table);
    copy = *table;
  }
  EXPECT_EQ(copy.find("key"), "a text that is longer than what stands in a value");
}

TEST(StringsTable, OnlyDictionariesOfStringsAreTables) {
  for (const char* text : {"(a, b)", "<00>", "word", "a = (b);", "a = {b = c;};", "a = <00>;"}) {
    const auto table = read(text);
    ASSERT_FALSE(table) << text;
    EXPECT_EQ(table.error().code, Code::notAStringsTable) << text;
  }
  EXPECT_EQ(read("a = b; c = ();").error().description(), "the value of \"c\" is no string");
}

TEST(StringsTable, FaultsOfTheTextNameTheirLine) {
  const auto table = read("\"a\" = \"b\";\n\"c\" = \"d\"\n\"e\" = \"f\";\n");
  ASSERT_FALSE(table);
  EXPECT_EQ(table.error().code, Code::unexpectedCharacter);
  EXPECT_EQ(table.error().line, 2U);
}

TEST(StringsTable, LimitsHold) {
  platform::PropertyListLimits limits;
  limits.inputBytes = 5;
  const auto table = StringsTable::read(test::bytesOf("a = b;"), limits);
  ASSERT_FALSE(table);
  EXPECT_EQ(table.error().code, Code::tooLong);
}

}  // namespace
