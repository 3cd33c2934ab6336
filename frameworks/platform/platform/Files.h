// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace platform {

/// The place of a file or directory, as an absolute URL of the scheme `file` (RFC 8089).
class FileURL {
 public:
  /// `path` is made absolute against the current directory (which an empty one is), and loses the
  /// slashes at its end.
  static FileURL file(const std::filesystem::path& path) { return {path, false}; }
  static FileURL directory(const std::filesystem::path& path) { return {path, true}; }

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return _path; }
  [[nodiscard]] bool isDirectory() const noexcept { return _isDirectory; }

  /// `file:///tmp/a%20b`: every byte of the path but letters, digits, `-._~` and `/` is
  /// percent-encoded (RFC 3986), and a directory ends in `/`.
  [[nodiscard]] std::string absoluteString() const;

  /// The place of `name` in this directory, also when the name begins with a slash.
  [[nodiscard]] FileURL appendingFile(const std::string& name) const { return file(below(name)); }
  [[nodiscard]] FileURL appendingDirectory(const std::string& name) const {
    return directory(below(name));
  }

 private:
  FileURL(const std::filesystem::path& path, bool isDirectory);
  [[nodiscard]] std::filesystem::path below(const std::filesystem::path& name) const {
    return _path / name.relative_path();
  }

  std::filesystem::path _path;
  bool _isDirectory;
};

/// The directory for temporary files: `TMPDIR`, else `/tmp`.
[[nodiscard]] FileURL temporaryDirectory();

/// Makes a directory that was not there before, and the ones above it as needed, for this user
/// alone. False, with nothing else told, when it cannot be made or is already there.
[[nodiscard]] bool createDirectory(const FileURL& directory) noexcept;

/// A random UUID (RFC 4122, version 4) in upper-case hexadecimal; absent when the system gives no
/// randomness.
[[nodiscard]] std::optional<std::string> randomUUID();

}  // namespace platform
