// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/PropertyList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <fstream>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

using Code = platform::PropertyListError::Code;

inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

inline platform::PropertyListResult<platform::Value> readBinary(std::string_view file) {
  return platform::readBinaryPropertyList(bytesOf(file));
}
inline platform::PropertyListResult<platform::Value> readXML(std::string_view file) {
  return platform::readXMLPropertyList(bytesOf(file));
}
inline platform::PropertyListResult<platform::Value> readText(std::string_view file) {
  return platform::readTextPropertyList(bytesOf(file));
}

/// Whether two values are the same to the last bit, the order of keys and the types of numbers
/// included, which equality does not look at.
inline bool identical(const platform::Value& a, const platform::Value& b) {
  std::vector<std::pair<const platform::Value*, const platform::Value*>> pending = {{&a, &b}};
  const auto bits = [](double real) { return std::bit_cast<std::uint64_t>(real); };
  while (!pending.empty()) {
    const auto [left, right] = pending.back();
    pending.pop_back();
    const auto leftContents = left->isArray() ? left->elements() : left->values();
    const auto rightContents = right->isArray() ? right->elements() : right->values();
    if (left->kind() != right->kind() || leftContents.size() != rightContents.size() ||
        !std::ranges::equal(left->keys(), right->keys())) {
      return false;
    }
    if (left->real()   ? bits(*left->real()) != bits(*right->real())
        : left->date() ? bits(left->date()->seconds) != bits(right->date()->seconds)
                       : !left->isArray() && !left->isDictionary() && !(*left == *right)) {
      return false;
    }
    for (std::size_t i = 0; i < leftContents.size(); ++i) {
      pending.emplace_back(&leftContents[i], &rightContents[i]);
    }
  }
  return true;
}

/// Whether reading gave exactly a value.
inline ::testing::AssertionResult reads(const platform::PropertyListResult<platform::Value>& result,
                                        const platform::Value& value) {
  if (!result) {
    return ::testing::AssertionFailure() << "refused: " << result.error().description();
  }
  if (!identical(*result, value)) {
    return ::testing::AssertionFailure()
           << "read " << result->description() << " and not " << value.description();
  }
  return ::testing::AssertionSuccess();
}

/// Where an error is expected.
struct Offset {
  std::size_t value;
};
struct Line {
  std::size_t value;
};

inline ::testing::AssertionResult refused(
    const platform::PropertyListResult<platform::Value>& result, Code code,
    std::optional<std::size_t> offset = {}, std::optional<std::size_t> line = {}) {
  if (result) {
    return ::testing::AssertionFailure() << "accepted as " << result->description().substr(0, 200);
  }
  const platform::PropertyListError& error = result.error();
  if (error.code != code) {
    return ::testing::AssertionFailure()
           << "refused with code " << static_cast<int>(error.code) << " instead of "
           << static_cast<int>(code) << ": " << error.description();
  }
  if (error.offset != offset || error.line != line) {
    return ::testing::AssertionFailure() << "refused elsewhere: " << error.description();
  }
  if (error.message.empty()) {
    return ::testing::AssertionFailure() << "refused without a word";
  }
  return ::testing::AssertionSuccess();
}
inline ::testing::AssertionResult refused(
    const platform::PropertyListResult<platform::Value>& result, Code code, Offset offset) {
  return refused(result, code, offset.value, std::nullopt);
}
inline ::testing::AssertionResult refused(
    const platform::PropertyListResult<platform::Value>& result, Code code, Line line) {
  return refused(result, code, std::nullopt, line.value);
}

/// How many arrays and dictionaries stand in one another, at most, without recursion; a value that
/// shares objects is looked through once for every way to them.
inline std::size_t depthOf(const platform::Value& value) {
  std::size_t deepest = 0;
  std::vector<std::pair<const platform::Value*, std::size_t>> pending = {{&value, 1}};
  while (!pending.empty()) {
    const auto [next, depth] = pending.back();
    pending.pop_back();
    if (next->isArray() || next->isDictionary()) {
      deepest = std::max(deepest, depth);
    }
    for (const platform::Value& content : next->isArray() ? next->elements() : next->values()) {
      pending.emplace_back(&content, depth + 1);
    }
  }
  return deepest;
}

/// How many objects a value consists of when every reference counts, keys included.
inline std::uint64_t sizeOf(const platform::Value& value) {
  std::uint64_t size = 0;
  std::vector<const platform::Value*> pending = {&value};
  while (!pending.empty()) {
    const platform::Value& next = *pending.back();
    pending.pop_back();
    size += 1 + next.keys().size();
    for (const platform::Value& content : next.isArray() ? next.elements() : next.values()) {
      pending.push_back(&content);
    }
  }
  return size;
}

inline std::string contentsOfFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  std::ostringstream contents;
  contents << file.rdbuf();
  return std::move(contents).str();
}

inline std::string repeated(std::string_view text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) {
    result += text;
  }
  return result;
}

}  // namespace test
