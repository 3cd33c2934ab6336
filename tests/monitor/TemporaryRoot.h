// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace monitor {

/// A directory of its own for one test, removed with everything in it at the end.
class TemporaryRoot {
 public:
  TemporaryRoot() {
    std::string name = (std::filesystem::temp_directory_path() / "monitor-").string();
    name.append(6, 'X');
    if (!::mkdtemp(name.data())) {
      throw std::runtime_error("no temporary directory");
    }
    _top = name;
    std::filesystem::create_directory(path());
  }
  TemporaryRoot(const TemporaryRoot&) = delete;
  TemporaryRoot& operator=(const TemporaryRoot&) = delete;
  ~TemporaryRoot() {
    std::error_code ignored;
    std::filesystem::remove_all(_top, ignored);
  }

  /// The root. The directory it is in belongs to the test as well.
  std::filesystem::path path() const { return _top / "root"; }
  std::filesystem::path operator/(std::string_view below) const { return path() / below; }

  void makeDirectory(std::string_view below) const {
    std::filesystem::create_directories(path() / below);
  }
  void write(std::string_view below, std::string_view text) const {
    std::filesystem::create_directories((path() / below).parent_path());
    std::ofstream(path() / below, std::ios::binary) << text;
  }
  void append(std::string_view below, std::string_view text) const {
    std::ofstream(path() / below, std::ios::binary | std::ios::app) << text;
  }
  void rename(std::string_view from, std::string_view to) const {
    std::filesystem::rename(path() / from, path() / to);
  }
  void remove(std::string_view below) const { std::filesystem::remove_all(path() / below); }

 private:
  std::filesystem::path _top;
};

}  // namespace monitor
