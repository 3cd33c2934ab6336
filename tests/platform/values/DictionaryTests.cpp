// SPDX-License-Identifier: Apache-2.0
// Values with keys: entries, look-up, duplicates, many keys.
#include <gtest/gtest.h>
#include <vexil/platform/Value.h>

#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/Property.h"
#include "tests/support/ValueGenerators.h"

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::Value;
using Entries = std::vector<std::pair<Key, Value>>;

std::vector<std::string> keysOf(const Value& dictionary) {
  std::vector<std::string> keys;
  for (const Key& key : dictionary.keys()) {
    keys.emplace_back(key.text());
  }
  return keys;
}

/// `key0` to `key<count-1>`, each with its number.
Entries numbered(int count) {
  Entries entries;
  for (int i = 0; i < count; ++i) {
    entries.emplace_back("key" + std::to_string(i), i);
  }
  return entries;
}

TEST(Dictionary, KeepsItsEntriesInTheOrderGiven) {
  const Value value = Value::dictionary({{"b", 1}, {"a", "two"}, {"c", 3.5}});
  EXPECT_EQ(keysOf(value), (std::vector<std::string>{"b", "a", "c"}));
  ASSERT_EQ(value.values().size(), 3U);
  EXPECT_EQ(value.values()[1], "two");
}

TEST(Dictionary, FindsAValueByEveryFormOfItsKey) {
  const Value value = Value::dictionary({{"name", "Backup"}});
  EXPECT_EQ(value["name"], "Backup");
  EXPECT_EQ(value[Key("name")], "Backup");
  EXPECT_EQ(value[std::string_view("names").substr(0, 4)], "Backup");
  EXPECT_EQ(value[std::string("name")], "Backup");
  EXPECT_TRUE(value["Name"].isAbsent());
  EXPECT_TRUE(value[""].isAbsent());
}

TEST(Dictionary, TellsTheNullMarkerFromAnAbsentValue) {
  const Value value = Value::dictionary({{"a", Value::null()}, {"b", Value()}});
  EXPECT_TRUE(value["a"].isNull());
  EXPECT_TRUE(value["b"].isAbsent());
  EXPECT_EQ(keysOf(value), std::vector<std::string>{"a"}) << "an absent value makes no entry";
}

TEST(Dictionary, OfOnlyAbsentValuesIsEmpty) {
  EXPECT_EQ(Value::dictionary({{"a", Value()}, {"b", Value()}}), Value::dictionary({}));
}

TEST(Dictionary, KeepsTheLastValueOfAKeyAtThePlaceOfTheFirst) {
  const Value value =
      Value::dictionary({{"a", 1}, {"b", 2}, {"a", 3}, {"c", 4}, {"b", 5}, {"a", 6}});
  EXPECT_EQ(value.description(), R"({"a": 6, "b": 5, "c": 4})");
}

TEST(Dictionary, IsNotRobbedOfAnEntryByALaterAbsentValue) {
  EXPECT_EQ(Value::dictionary({{"a", 1}, {"a", Value()}}).description(), R"({"a": 1})");
  EXPECT_EQ(Value::dictionary({{"a", Value()}, {"b", 2}, {"a", 1}}).description(),
            R"({"b": 2, "a": 1})");
}

TEST(Dictionary, TakesTheEmptyTextAsAKey) {
  const Value value = Value::dictionary({{"", 1}, {"a", 2}});
  EXPECT_EQ(value[""], 1);
  EXPECT_EQ(value[std::string_view()], 1);
}

TEST(Dictionary, TellsKeysApartThatDifferBehindANul) {
  const std::string one("k\0a", 3);
  const std::string two("k\0b", 3);
  const Value value = Value::dictionary({{one, 1}, {two, 2}});
  EXPECT_EQ(value[one], 1);
  EXPECT_EQ(value[two], 2);
  EXPECT_TRUE(value["k"].isAbsent());
}

class DictionaryOfSize : public testing::TestWithParam<int> {};

TEST_P(DictionaryOfSize, FindsEachOfItsKeysAndNoOther) {
  const Value value = Value::dictionary(numbered(GetParam()));
  ASSERT_EQ(value.keys().size(), static_cast<std::size_t>(GetParam()));
  for (int i = 0; i < GetParam(); ++i) {
    const std::string text = "key" + std::to_string(i);
    EXPECT_EQ(value[text], i);
    EXPECT_EQ(value[Key(text)], i);
  }
  EXPECT_TRUE(value["key" + std::to_string(GetParam())].isAbsent());
  EXPECT_TRUE(value[Key("no such key")].isAbsent());
}

TEST_P(DictionaryOfSize, DropsDuplicatesAndAbsentValues) {
  Entries entries = numbered(GetParam());
  for (int i = 0; i < GetParam(); ++i) {
    entries.emplace_back("absent" + std::to_string(i), Value());
    entries.emplace_back("key" + std::to_string(i), -i);
  }
  const Value value = Value::dictionary(entries);
  ASSERT_EQ(value.keys().size(), static_cast<std::size_t>(GetParam()));
  for (int i = 0; i < GetParam(); ++i) {
    EXPECT_EQ(value.keys()[static_cast<std::size_t>(i)].text(), "key" + std::to_string(i));
    EXPECT_EQ(value.values()[static_cast<std::size_t>(i)], -i);
  }
}

TEST_P(DictionaryOfSize, IsEqualToOneInAnyOtherOrder) {
  Entries entries = numbered(GetParam());
  const Value value = Value::dictionary(entries);
  std::ranges::reverse(entries);
  const Value reversed = Value::dictionary(entries);
  EXPECT_EQ(value, reversed);
  EXPECT_EQ(value.hash(), reversed.hash());
  entries.back().second = "other";
  EXPECT_NE(value, Value::dictionary(entries));
  entries.back() = {"other", 0};
  EXPECT_NE(value, Value::dictionary(entries));
  entries.pop_back();
  EXPECT_NE(value, Value::dictionary(entries));
}

// Around the sizes at which look-up and the search for duplicates turn to hashing.
INSTANTIATE_TEST_SUITE_P(Sizes, DictionaryOfSize,
                         testing::Values(1, 2, 11, 12, 13, 15, 16, 17, 32, 33, 100, 10'000));

PROPERTY(DictionaryProperty, ReadsLikeAMapFilledInTheSameOrder, ()) {
  const auto entries = *rc::gen::container<std::vector<std::pair<int, int>>>(
      rc::gen::pair(rc::gen::inRange(0, 30), rc::gen::inRange(-1, 5)));
  Entries given;
  std::map<std::string, Value> expected;
  for (const auto& [number, content] : entries) {
    const std::string key = "k" + std::to_string(number);
    const Value value = content < 0 ? Value() : Value(content);
    given.emplace_back(key, value);
    if (!value.isAbsent()) {
      expected[key] = value;
    }
  }
  const Value dictionary = Value::dictionary(given);
  RC_ASSERT(dictionary.keys().size() == expected.size());
  for (int number = 0; number < 30; ++number) {
    const std::string key = "k" + std::to_string(number);
    const auto found = expected.find(key);
    RC_ASSERT(dictionary[key] == (found == expected.end() ? Value() : found->second));
  }
}

TEST(Dictionary, CanBeMadeReadAndDroppedOnSeveralThreads) {
  // All threads make and drop dictionaries of the same keys, so keys and key lists are made, shared
  // and destroyed all the time.
  std::vector<std::thread> threads;
  std::vector<int> mistakes(4, 0);
  for (std::size_t thread = 0; thread < mistakes.size(); ++thread) {
    threads.emplace_back([&mistakes, thread] {
      for (int i = 0; i < 2000; ++i) {
        const std::string key = "threaded" + std::to_string(i % 7);
        const Value value = Value::dictionary({{key, i}, {"common", "text"}});
        const Value copy = value;  // NOLINT(performance-unnecessary-copy-initialization): the point
        mistakes[thread] += copy[key] == i && value == copy && copy["common"] == "text" ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(mistakes, std::vector<int>(4, 0));
}

}  // namespace
