// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Files.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace replay {

/// The files and directories that come up while a scenario is replayed, below the directory for
/// temporary files. Their names are random, so transcripts do not show them.
class TemporaryFiles {
 public:
  TemporaryFiles() = default;
  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;

  /// Removes what `write` wrote, and the noted directories that are empty.
  ~TemporaryFiles();

  /// Writes a file into a directory of its own; absent when the system refuses.
  [[nodiscard]] std::optional<platform::FileURL> write(const std::string& name,
                                                       std::span<const std::byte> bytes);

  /// Takes notice of a directory that the library made.
  void note(const platform::FileURL& directory);

  /// The text with `<url>` for each `file:` URL in it that names one of the directories or
  /// something in them.
  [[nodiscard]] std::string withoutTheirURLs(std::string_view text) const;

 private:
  [[nodiscard]] bool covers(std::string_view url) const;

  std::vector<platform::FileURL> _written;
  std::vector<platform::FileURL> _noted;
  std::vector<std::string> _directories;  // the URLs of all of them, with the "/" at the end
};

}  // namespace replay
