// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Files.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace replay {

/// The files and directories that the tool and the library make while a scenario is replayed. Until
/// `end` they have a directory of their own, which is the process's directory for temporary files.
/// Names in it are random, so transcripts do not show them.
class TemporaryFiles {
 public:
  TemporaryFiles();
  TemporaryFiles(const TemporaryFiles&) = delete;
  TemporaryFiles& operator=(const TemporaryFiles&) = delete;
  ~TemporaryFiles() { end(); }

  /// Removes all of them, and makes the process use its former directory again.
  void end() noexcept;

  /// Writes a file into a directory of its own. Absent when the system refuses.
  [[nodiscard]] std::optional<vexil::platform::FileURL> write(const std::string& name,
                                                              std::span<const std::byte> bytes);

  /// Whether a text is the `file:` URL of one of them.
  [[nodiscard]] bool isOneOfTheirURLs(std::string_view text) const;

  /// The text with `<url>` in place of each of their URLs.
  [[nodiscard]] std::string withoutTheirURLs(std::string_view text) const;

 private:
  std::optional<std::string> _directoryBefore;  // as the environment had it
  std::optional<vexil::platform::FileURL> _directory;
};

}  // namespace replay
