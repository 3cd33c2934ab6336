// SPDX-License-Identifier: Apache-2.0
#include <platform/Files.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <system_error>

namespace platform {

FileURL::FileURL(const std::filesystem::path& path, bool isDirectory)
    : _path(path.empty() ? std::filesystem::current_path() : std::filesystem::absolute(path)),
      _isDirectory(isDirectory) {
  // What a path with a slash at its end is named, and where it lies, would depend on the slash.
  if (!_path.has_filename() && _path.has_relative_path()) {
    _path = _path.parent_path();
  }
}

std::string FileURL::absoluteString() const {
  constexpr std::string_view plain =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~/";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string url = "file://";
  for (const char character : _path.string()) {
    if (plain.find(character) != std::string_view::npos) {
      url += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      url += '%';
      url += digits[byte >> 4U];
      url += digits[byte & 15U];
    }
  }
  if (_isDirectory && !url.ends_with('/')) {
    url += '/';
  }
  return url;
}

FileURL temporaryDirectory() {
  const char* directory = std::getenv("TMPDIR");
  return FileURL::directory(directory != nullptr && *directory != '\0' ? directory : "/tmp");
}

bool createDirectory(const FileURL& directory) noexcept try {
  std::error_code error;
  // An existing parent is no failure, and what else goes wrong shows in the last step.
  std::filesystem::create_directories(directory.path().parent_path(), error);
  return ::mkdir(directory.path().c_str(), S_IRWXU) == 0;
} catch (...) {
  return false;
}

std::optional<std::string> randomUUID() {
  std::array<unsigned char, 16> bytes{};
  if (::getentropy(bytes.data(), bytes.size()) != 0) {
    return std::nullopt;
  }
  bytes[6] = static_cast<unsigned char>((bytes[6] & 0x0FU) | 0x40U);  // version 4: random
  bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3FU) | 0x80U);  // the RFC's variant
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02X", static_cast<unsigned>(bytes[i]));
    text += i == 4 || i == 6 || i == 8 || i == 10 ? "-" : "";
    text += digits.data();
  }
  return text;
}

}  // namespace platform
