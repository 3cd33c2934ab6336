// SPDX-License-Identifier: Apache-2.0
// What tests of the exchange share: a temporary directory of their own, the log, schedules as
// bytes.
#pragma once

#include "tests/support/Bytes.h"
#include "tests/vexil/ItemTesting.h"

#include <gtest/gtest.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/PropertyList.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test {

namespace fs = std::filesystem;

inline std::string upperCase(std::string_view text) {
  std::string upper(text);
  for (char& character : upper) {
    character =
        character >= 'a' && character <= 'z' ? static_cast<char>(character - 32) : character;
  }
  return upper;
}

/// The value of data that is a binary property list. The data itself when it is not one.
inline vexil::platform::Value decoded(const vexil::platform::Value& data) {
  const auto list = vexil::platform::readBinaryPropertyList(data.bytes());
  return list ? *list : data;
}

/// Items with a temporary directory of the test's own, and what the library logs.
class Exchange : public testing::Test {
 protected:
  Exchange() {
    std::string name = (fs::temp_directory_path() / "vexil-exchange-XXXXXX").string();
    directory = ::mkdtemp(name.data());
    use(directory);
    vexil::platform::setLogSink([this](std::string_view line) { logged.emplace_back(line); });
  }
  ~Exchange() override {
    vexil::platform::setLogSink({});
    previous ? ::setenv("TMPDIR", previous->c_str(), 1) : ::unsetenv("TMPDIR");
    fs::remove_all(directory);
  }
  static void use(const fs::path& path) { ::setenv("TMPDIR", path.c_str(), 1); }

  /// Writes a file and returns its URL.
  [[nodiscard]] std::string file(const std::string& name, std::string_view content) const {
    std::ofstream(directory / name, std::ios::binary) << content;
    return vexil::platform::FileURL::file(directory / name).absoluteString();
  }
  /// The file that a file URL of bytes names, which must lie in a fresh directory of its own.
  fs::path fileNamedBy(const vexil::platform::Value& url) const {
    const auto named = vexil::platform::FileURL::fromAbsoluteString(textOf(url));
    EXPECT_TRUE(named) << textOf(url);
    const fs::path path = named ? named->path() : fs::path();
    EXPECT_EQ(path.parent_path().parent_path(), directory);
    EXPECT_EQ(std::distance(fs::directory_iterator(path.parent_path()), {}), 1) << "in " << path;
    return path;
  }
  /// All files below the temporary directory, by their names.
  [[nodiscard]] std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      if (!entry.is_directory()) {
        names.push_back(entry.path().filename());
      }
    }
    return names;
  }
  [[nodiscard]] std::size_t directories() const {
    std::size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
      count += entry.is_directory() ? 1U : 0U;
    }
    return count;
  }

  fs::path directory;
  Lines logged;

 private:
  const std::optional<std::string> previous =
      std::getenv("TMPDIR") != nullptr ? std::optional(std::string(std::getenv("TMPDIR")))
                                       : std::nullopt;
};

}  // namespace test
