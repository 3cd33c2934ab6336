// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Files.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace replay {

/// The files and directories that come up while a scenario is replayed, the library's included:
/// until `end` the process has a directory for temporary files that is these files' own. Names in
/// it are random, so transcripts do not show them.
class TemporaryFiles {
 public:
  TemporaryFiles();
  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;
  ~TemporaryFiles() { end(); }

  /// Removes all of them, and gives the process its directory back.
  void end() noexcept;

  /// Writes a file into a directory of its own; absent when the system refuses.
  [[nodiscard]] std::optional<vexil::platform::FileURL> write(const std::string& name,
                                                              std::span<const std::byte> bytes);

  /// Whether a text is the `file:` URL of one of them.
  [[nodiscard]] bool isOneOfTheirURLs(std::string_view text) const;

  /// The text with `<url>` for each of their URLs in it.
  [[nodiscard]] std::string withoutTheirURLs(std::string_view text) const;

 private:
  std::optional<std::string> _directoryBefore;  // as the environment has it
  std::optional<vexil::platform::FileURL> _directory;
};

}  // namespace replay
