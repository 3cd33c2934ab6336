// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexil::platform {

/// Whether a text is a URL, absolute or relative, as RFC 3986 defines it (`URI-reference`): it has
/// only ASCII characters, each in a place where it is allowed, and two hexadecimal digits behind
/// each "%". It says nothing about what the URL names.
[[nodiscard]] bool isURL(std::string_view text) noexcept;

/// The location of a file or directory, as an absolute URL of the scheme `file` (RFC 8089).
class FileURL {
 public:
  /// Makes `path` absolute against the current directory and removes slashes at its end. An empty
  /// path is the current directory. Throws `std::filesystem::filesystem_error` when the path is
  /// relative and the current directory is gone.
  static FileURL file(const std::filesystem::path& path) { return {path, false}; }
  static FileURL directory(const std::filesystem::path& path) { return {path, true}; }

  /// The location that an absolute URL names: `file:///tmp/a%20b`, `file:/tmp/a` or
  /// `file://localhost/tmp/a` (RFC 8089). Scheme and host may be in any case. A "/" at the end
  /// means a directory. Query and fragment do not name a location and are ignored.
  ///
  /// Returns nothing when the text is no URL, when the URL has another scheme, another host or no
  /// absolute path, and when a byte of the path is NUL, which no path can hold.
  static std::optional<FileURL> fromAbsoluteString(std::string_view url);

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return _path; }
  [[nodiscard]] bool isDirectory() const noexcept { return _isDirectory; }

  /// The URL, such as `file:///tmp/a%20b`. Every byte of the path other than letters, digits,
  /// `-._~` and `/` is percent-encoded (RFC 3986). The URL of a directory ends in `/`.
  [[nodiscard]] std::string absoluteString() const;

  /// The location of `name` in this directory, also when the name begins with a slash.
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

/// The directory for temporary files: `TMPDIR`, or `/tmp` when `TMPDIR` is not set. Also `/tmp`
/// when `TMPDIR` is relative and the current directory is gone.
[[nodiscard]] FileURL temporaryDirectory();

/// Makes a directory that does not exist yet, and the ones above it as needed. Only this user can
/// access it. Returns false when the directory exists already or cannot be made, without saying
/// why. Makes nothing and returns false when the path has a NUL.
[[nodiscard]] bool createDirectory(const FileURL& directory) noexcept;

/// Writes a file as a whole. The bytes go under another name in the same directory, down to the
/// disk. Then that file gets its own name and replaces a file or a link that was there. Anyone who
/// reads the file sees the old content or the new content, never a part. The file is a new one,
/// with the permissions that new files get.
///
/// Returns false when the system refuses any step, without saying why. Then nothing is left behind,
/// and what was there before is still there.
[[nodiscard]] bool writeFileAtomically(const FileURL& file,
                                       std::span<const std::byte> bytes) noexcept;

/// A random UUID (RFC 4122, version 4) in upper-case hexadecimal; nothing when the system gives no
/// randomness.
[[nodiscard]] std::optional<std::string> randomUUID();

}  // namespace vexil::platform
