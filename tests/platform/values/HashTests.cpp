// SPDX-License-Identifier: Apache-2.0
// No one outside the process can foresee its hashes.
#include <gtest/gtest.h>
#include <vexil/platform/Hash.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Key;
using platform::Value;

constexpr std::size_t count = 2'000;

std::string textOf(const std::vector<std::uint64_t>& words) {
  std::string text(words.size() * sizeof(std::uint64_t), '\0');
  std::memcpy(text.data(), words.data(), text.size());
  return text;
}

/// Texts of sixteen bytes that collide if a hash adds a known number to each word of a text and
/// then multiplies the words: the second word becomes zero, and so does the product.
std::vector<std::string> collidingShortTexts() {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < count; ++i) {
    texts.push_back(textOf({i, 0xe7037ed1a0b428dbU}));
  }
  return texts;
}

/// The factor that undoes a multiplication by an odd one.
constexpr std::uint64_t inverseOf(std::uint64_t factor) {
  std::uint64_t inverse = factor;
  for (int i = 0; i < 6; ++i) {
    inverse *= 2 - factor * inverse;
  }
  return inverse;
}

constexpr std::uint64_t undoneShift(std::uint64_t bits, unsigned shift) {
  std::uint64_t undone = bits;
  for (unsigned done = shift; done < 64; done += shift) {
    undone = bits ^ (undone >> shift);
  }
  return undone;
}

/// Texts of 24 bytes that collide in `std::hash`, because the second word undoes the effect of the
/// first.
std::vector<std::string> collidingLongTexts() {
  constexpr std::uint64_t factor = 0xc6a4a7935bd1e995U;
  constexpr std::uint64_t inverse = inverseOf(factor);
  constexpr std::size_t length = 24;
  const auto mixed = [](std::uint64_t word) {
    word *= factor;
    return (word ^ (word >> 47U)) * factor;
  };
  const std::uint64_t start = 0xc70f6907U ^ (length * factor);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t afterFirst = (start ^ mixed(i)) * factor;
    const std::uint64_t second = undoneShift((afterFirst ^ 0x5eedU) * inverse, 47) * inverse;
    texts.push_back(textOf({i, second, 7}));
  }
  return texts;
}

/// Integers whose hash is a multiple of `buckets` if the mixing has no secret.
std::vector<std::uint64_t> collidingIntegers(std::size_t buckets) {
  std::vector<std::uint64_t> integers;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint64_t product = undoneShift(i * buckets, 29);
    integers.push_back(undoneShift(product * inverseOf(0x9e3779b97f4a7c15U), 32));
  }
  return integers;
}

/// How many of the values share the bucket that holds most of them.
std::size_t mostInABucket(const std::vector<Value>& values, std::size_t buckets) {
  std::unordered_map<std::size_t, std::size_t> counts;
  std::size_t most = 0;
  for (const Value& value : values) {
    most = std::max(most, ++counts[value.hash() % buckets]);
  }
  return most;
}

// With random hashes and as many buckets as values, the chance of so many in one is below 1 in
// 10^12.
constexpr std::size_t tooMany = 20;

TEST(SeededHash, SpreadsShortTextsThatWereMadeToCollide) {
  const std::vector<std::string> texts = collidingShortTexts();
  EXPECT_LT(mostInABucket({texts.begin(), texts.end()}, count), tooMany);
  EXPECT_LT(mostInABucket({texts.begin(), texts.end()}, std::bit_ceil(count)), tooMany);
}

TEST(SeededHash, SpreadsLongTextsThatWereMadeToCollide) {
  const std::vector<std::string> texts = collidingLongTexts();
  ASSERT_EQ(std::hash<std::string>{}(texts.front()), std::hash<std::string>{}(texts.back()))
      << "these texts show nothing";
  EXPECT_LT(mostInABucket({texts.begin(), texts.end()}, count), tooMany);
  EXPECT_LT(mostInABucket({texts.begin(), texts.end()}, std::bit_ceil(count)), tooMany);
}

TEST(SeededHash, SpreadsIntegersThatWereMadeToCollide) {
  for (const std::size_t buckets : {count, std::bit_ceil(count), std::size_t{1} << 32U}) {
    const std::vector<std::uint64_t> integers = collidingIntegers(buckets);
    EXPECT_LT(mostInABucket({integers.begin(), integers.end()}, buckets), tooMany) << buckets;
  }
}

TEST(SeededHash, SpreadsIntegersAndRealsInAnyStep) {
  for (unsigned shift = 0; shift < 52; ++shift) {
    std::vector<Value> integers;
    std::vector<Value> reals;
    for (std::uint64_t i = 0; i < count; ++i) {
      integers.emplace_back(i << shift);
      reals.emplace_back(std::bit_cast<double>(i << shift));
    }
    EXPECT_LT(mostInABucket(integers, std::bit_ceil(count)), tooMany) << shift;
    EXPECT_LT(mostInABucket(reals, std::bit_ceil(count)), tooMany) << shift;
  }
}

TEST(SeededHash, SpreadsArraysOfTwoPartsInTurns) {
  // Sequences in which two parts take such turns collide if the hash is a polynomial of the hashes
  // of the parts, whatever those are.
  std::vector<Value> arrays;
  for (std::uint64_t i = 0; i < 2; ++i) {
    std::vector<Value> parts;
    for (std::uint64_t j = 0; j < 2048; ++j) {
      parts.emplace_back((static_cast<std::uint64_t>(std::popcount(j)) + i) % 2 == 0 ? "a" : "b");
    }
    arrays.push_back(Value::array(std::move(parts)));
  }
  EXPECT_NE(arrays[0].hash(), arrays[1].hash());
}

TEST(SeededHash, TellsValuesApartThatDifferDeepDownOrFarBehind) {
  const auto nested = [](int innermost) {
    Value value = innermost;
    for (int level = 0; level < 100; ++level) {
      value = Value::array({value, level});
    }
    return value;
  };
  const auto wide = [](int last) {
    std::vector<Value> elements(1000, Value("same"));
    elements.back() = last;
    return Value::array({Value::array(std::move(elements))});
  };
  std::unordered_set<std::size_t> hashes;
  for (int i = 0; i < 100; ++i) {
    hashes.insert(nested(i).hash());
    hashes.insert(wide(i).hash());
  }
  EXPECT_EQ(hashes.size(), 200U);
}

TEST(SeededHash, TellsEmptyContainersAndKindsApart) {
  const std::array<Value, 8> values{Value(),          Value::null(),         "",
                                    Value::array({}), Value::dictionary({}), 0,
                                    Value::data({}),  platform::Date{0}};
  std::unordered_set<std::size_t> hashes;
  for (const Value& value : values) {
    hashes.insert(value.hash());
    hashes.insert(Value::array({value}).hash());
    hashes.insert(Value::dictionary({{"key", value}}).hash());
  }
  EXPECT_EQ(hashes.size(), 3 * values.size() - 1) << "an absent value makes no entry";
}

TEST(SeededHash, IsThatOfTheTextForKeysAndStringsOfEveryLength) {
  for (std::size_t length = 0; length < 70; ++length) {
    const std::string text(length, 'x');
    EXPECT_EQ(Key(text).hash(), platform::hashOfText(text));
    EXPECT_EQ(Value(text).hash(), platform::hashOfText(text));
    std::string other = text;
    for (std::size_t i = 0; i < length; ++i) {
      other[i] = 'y';
      EXPECT_NE(platform::hashOfText(other), platform::hashOfText(text)) << length << ", " << i;
      other[i] = 'x';
    }
    EXPECT_NE(platform::hashOfText(text + '\0'), platform::hashOfText(text));
  }
}

/// What a new process prints of its hashes.
std::string hashesOfAnotherProcess() {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(HASH_PRINTER, "r"), pclose);
  std::string printed;
  for (int character = 0; pipe && (character = std::fgetc(pipe.get())) != EOF;) {
    printed += static_cast<char>(character);
  }
  return printed;
}

TEST(SeededHash, IsAnotherOneInEachProcess) {
  const std::string one = hashesOfAnotherProcess();
  const std::string other = hashesOfAnotherProcess();
  int lines = 0;
  // One hash a line.
  for (std::size_t at = 0; at < one.size(); at = one.find('\n', at) + 1) {
    const std::string line = one.substr(at, one.find('\n', at) + 1 - at);
    EXPECT_EQ(other.find(line), std::string::npos) << line;
    ++lines;
  }
  EXPECT_EQ(lines, 8);
}

}  // namespace
