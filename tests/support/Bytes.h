// SPDX-License-Identifier: Apache-2.0
// Text as bytes and as data, and back; the content of files.
#pragma once

#include <vexil/platform/Value.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <span>
#include <string>
#include <string_view>

namespace test {

inline std::span<const std::byte> bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}
inline vexil::platform::Value dataOf(std::string_view text) {
  return vexil::platform::Value::data(bytesOf(text));
}

inline std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline std::string textOf(const vexil::platform::Value& data) {
  return std::string(textOf(data.bytes()));
}

/// The content of a file. If it cannot be read, the test fails and the content is empty.
inline std::string contentOf(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  EXPECT_TRUE(stream) << path;
  return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace test
