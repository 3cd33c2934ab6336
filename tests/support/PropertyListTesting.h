// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Bytes.h"
#include "IdenticalValues.h"

#include <vexil/platform/PropertyList.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace test {

using Code = vexil::platform::PropertyListError::Code;

inline vexil::platform::PropertyListResult<vexil::platform::Value> readBinary(
    std::string_view file) {
  return vexil::platform::readBinaryPropertyList(bytesOf(file));
}
inline vexil::platform::PropertyListResult<vexil::platform::Value> readXML(std::string_view file) {
  return vexil::platform::readXMLPropertyList(bytesOf(file));
}
inline vexil::platform::PropertyListResult<vexil::platform::Value> readText(std::string_view file) {
  return vexil::platform::readTextPropertyList(bytesOf(file));
}

// The file of a value. If the value is refused, the test fails and the file is empty.
inline std::string binaryFile(const vexil::platform::Value& value) {
  const auto written = vexil::platform::writeBinaryPropertyList(value);
  if (!written) {
    ADD_FAILURE() << "refused: " << written.error().description();
    return "";
  }
  return std::string(textOf(*written));
}
inline std::string xmlFile(const vexil::platform::Value& value,
                           const vexil::platform::PropertyListLimits& limits = {}) {
  auto written = vexil::platform::writeXMLPropertyList(value, limits);
  if (!written) {
    ADD_FAILURE() << "refused: " << written.error().description();
    return "";
  }
  return std::move(written).value();
}

/// Whether reading gave exactly a value.
inline ::testing::AssertionResult reads(
    const vexil::platform::PropertyListResult<vexil::platform::Value>& result,
    const vexil::platform::Value& value) {
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
    const vexil::platform::PropertyListResult<vexil::platform::Value>& result, Code code,
    std::optional<std::size_t> offset = {}, std::optional<std::size_t> line = {}) {
  if (result) {
    return ::testing::AssertionFailure() << "accepted as " << result->description().substr(0, 200);
  }
  const vexil::platform::PropertyListError& error = result.error();
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
    const vexil::platform::PropertyListResult<vexil::platform::Value>& result, Code code,
    Offset offset) {
  return refused(result, code, offset.value, std::nullopt);
}
inline ::testing::AssertionResult refused(
    const vexil::platform::PropertyListResult<vexil::platform::Value>& result, Code code,
    Line line) {
  return refused(result, code, std::nullopt, line.value);
}

/// Whether writing was refused with this message, which says where in the value.
template <class File>
::testing::AssertionResult refusedWriting(const vexil::platform::PropertyListResult<File>& result,
                                          Code code, std::string_view message) {
  if (result) {
    return ::testing::AssertionFailure() << "accepted";
  }
  const vexil::platform::PropertyListError& error = result.error();
  if (error.code != code || error.message != message || error.line || error.offset) {
    return ::testing::AssertionFailure()
           << "refused with code " << static_cast<int>(error.code) << ": " << error.description();
  }
  return ::testing::AssertionSuccess();
}

/// How deep arrays and dictionaries are nested. Does not recurse. Visits a shared object once for
/// every way to it.
inline std::size_t depthOf(const vexil::platform::Value& value) {
  std::size_t deepest = 0;
  std::vector<std::pair<const vexil::platform::Value*, std::size_t>> pending = {{&value, 1}};
  while (!pending.empty()) {
    const auto [next, depth] = pending.back();
    pending.pop_back();
    if (next->isArray() || next->isDictionary()) {
      deepest = std::max(deepest, depth);
    }
    for (const vexil::platform::Value& content :
         next->isArray() ? next->elements() : next->values()) {
      pending.emplace_back(&content, depth + 1);
    }
  }
  return deepest;
}

/// How many objects a value consists of when every reference counts, keys included.
inline std::uint64_t sizeOf(const vexil::platform::Value& value) {
  std::uint64_t size = 0;
  std::vector<const vexil::platform::Value*> pending = {&value};
  while (!pending.empty()) {
    const vexil::platform::Value& next = *pending.back();
    pending.pop_back();
    size += 1 + next.keys().size();
    for (const vexil::platform::Value& content : next.isArray() ? next.elements() : next.values()) {
      pending.push_back(&content);
    }
  }
  return size;
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
