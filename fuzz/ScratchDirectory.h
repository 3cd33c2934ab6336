// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace fuzz {

/// A directory for temporary files of this process alone, so that everything in it may be removed.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    std::string path = (std::filesystem::temp_directory_path() / "fuzz-XXXXXX").string();
    if (::mkdtemp(path.data()) == nullptr || ::setenv("TMPDIR", path.c_str(), 1) != 0) {
      throw std::runtime_error("no directory for temporary files: " + path);
    }
    _path = path;
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  ~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  void clear() const {
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(_path, ignored)) {
      std::filesystem::remove_all(entry.path(), ignored);
    }
  }

 private:
  std::filesystem::path _path;
};

}  // namespace fuzz
