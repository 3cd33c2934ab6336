// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexil::platform {

/// Whether a text is a URL, absolute or relative, as RFC 3986 writes them (`URI-reference`): of
/// ASCII characters that may stand in one where they stand, with two hexadecimal digits behind each
/// "%". Nothing is said about what it names.
[[nodiscard]] bool isURL(std::string_view text) noexcept;

/// The place of a file or directory, as an absolute URL of the scheme `file` (RFC 8089).
class FileURL {
 public:
  /// `path` is made absolute against the current directory (which an empty one is), and loses the
  /// slashes at its end. Throws `std::filesystem::filesystem_error` for a relative path when the
  /// current directory is gone.
  static FileURL file(const std::filesystem::path& path) { return {path, false}; }
  static FileURL directory(const std::filesystem::path& path) { return {path, true}; }

  /// The place that an absolute URL names: `file:///tmp/a%20b`, `file:/tmp/a` or
  /// `file://localhost/tmp/a` (RFC 8089), of which scheme and host may be in any case. A "/" at the
  /// end makes it a directory. Query and fragment say nothing about a place and are ignored.
  ///
  /// Absent where the text is no URL or one of another scheme, of a file of another host, or of no
  /// absolute path; and where a byte of the path is NUL, which no path can hold.
  static std::optional<FileURL> fromAbsoluteString(std::string_view url);

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

/// The directory for temporary files: `TMPDIR`, else `/tmp`; `/tmp` also where `TMPDIR` is relative
/// and the current directory is gone.
[[nodiscard]] FileURL temporaryDirectory();

/// Makes a directory that was not there before, and the ones above it as needed, for this user
/// alone. False, with nothing else told, when it cannot be made or is already there, and, with
/// nothing made, when the path has a NUL.
[[nodiscard]] bool createDirectory(const FileURL& directory) noexcept;

/// Writes a file as a whole: under another name in the same directory, down to the disk, and then
/// under its own, in place of a file or a link that was there. Whoever looks sees the old content
/// or the new one, never a part. The file is a new one with the permissions that new files get.
///
/// False, with nothing else told, when the system refuses any of it; nothing is left behind then,
/// and what was there before still is.
[[nodiscard]] bool writeFileAtomically(const FileURL& file,
                                       std::span<const std::byte> bytes) noexcept;

/// A random UUID (RFC 4122, version 4) in upper-case hexadecimal; absent when the system gives no
/// randomness.
[[nodiscard]] std::optional<std::string> randomUUID();

}  // namespace vexil::platform
