// SPDX-License-Identifier: Apache-2.0
#include <replay/TemporaryFiles.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace platform = vexil::platform;

namespace replay {
namespace {

constexpr const char* variable = "TMPDIR";
constexpr std::string_view scheme = "file://";

// `FileURL` percent-encodes all other characters.
constexpr std::string_view charactersOfURLs =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/%:";

/// Names a directory. It is made together with the first file in it. Absent when the system has no
/// randomness; then files go where all temporary files go, and nobody removes them.
std::optional<platform::FileURL> newDirectory() {
  const std::optional<std::string> name = platform::randomUUID();
  return name ? std::optional(platform::temporaryDirectory().appendingDirectory(*name))
              : std::nullopt;
}

}  // namespace

TemporaryFiles::TemporaryFiles() : _directory(newDirectory()) {
  if (const char* const directory = std::getenv(variable)) {
    _directoryBefore = directory;
  }
  if (_directory) {
    ::setenv(variable, _directory->path().c_str(), 1);
  }
}

void TemporaryFiles::end() noexcept {
  if (!_directory) {
    return;
  }
  std::error_code ignored;
  std::filesystem::remove_all(_directory->path(), ignored);
  _directory.reset();
  _directoryBefore ? ::setenv(variable, _directoryBefore->c_str(), 1) : ::unsetenv(variable);
}

std::optional<platform::FileURL> TemporaryFiles::write(const std::string& name,
                                                       std::span<const std::byte> bytes) {
  const std::optional<std::string> directoryName = platform::randomUUID();
  if (!directoryName) {
    return std::nullopt;
  }
  const auto directory = platform::temporaryDirectory().appendingDirectory(*directoryName);
  const platform::FileURL file = directory.appendingFile(name);
  const bool isWritten =
      platform::createDirectory(directory) && platform::writeFileAtomically(file, bytes);
  return isWritten ? std::optional(file) : std::nullopt;
}

bool TemporaryFiles::isOneOfTheirURLs(std::string_view text) const {
  return text.starts_with(scheme) && withoutTheirURLs(text) == "<url>";
}

std::string TemporaryFiles::withoutTheirURLs(std::string_view text) const {
  const std::string directory = _directory ? _directory->absoluteString() : std::string();
  std::string result;
  while (true) {
    const std::size_t begin = text.find(scheme);
    result += text.substr(0, begin);
    if (begin == std::string_view::npos) {
      return result;
    }
    text.remove_prefix(begin);
    const std::string_view url = text.substr(0, text.find_first_not_of(charactersOfURLs));
    result += _directory && url.starts_with(directory) ? "<url>" : url;
    text.remove_prefix(url.size());
  }
}

}  // namespace replay
