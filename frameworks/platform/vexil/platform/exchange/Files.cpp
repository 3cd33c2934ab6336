// SPDX-License-Identifier: Apache-2.0
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/texts/ASCIICase.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace vexil::platform {

// --- URLs

namespace {

constexpr std::string_view letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
constexpr std::string_view decimalDigits = "0123456789";

bool isIn(std::string_view set, char character) {
  return set.find(character) != std::string_view::npos;
}

/// Whether a part of a URL has only the characters that any part may have, and those in `more`.
bool consistsOfPlainCharactersAnd(std::string_view more, std::string_view part) {
  for (std::size_t at = 0; at < part.size(); ++at) {
    const char character = part[at];
    if (character == '%') {
      if (part.size() - at < 3 || !detail::digit(part[at + 1], 16) ||
          !detail::digit(part[at + 2], 16)) {
        return false;
      }
    } else if (!isIn(letters, character) && !isIn(decimalDigits, character) &&
               !isIn("-._~!$&'()*+,;=:@", character) && !isIn(more, character)) {
      return false;
    }
  }
  return true;
}

bool isScheme(std::string_view text) {
  return !text.empty() && isIn(letters, text.front()) &&
         std::ranges::all_of(text, [](char character) {
           return isIn(letters, character) || isIn(decimalDigits, character) ||
                  isIn("+-.", character);
         });
}

bool isPort(std::string_view text) {
  return std::ranges::all_of(text, [](char character) { return isIn(decimalDigits, character); });
}

/// Whether a text may stand in brackets: an address of IP version 6 or of a future version.
bool isAddress(std::string_view text) {
  if (text.starts_with('v') || text.starts_with('V')) {
    const std::size_t dot = std::min(text.find('.'), text.size());
    const std::string_view version = text.substr(1, dot - 1);
    const std::string_view address = text.substr(std::min(dot + 1, text.size()));
    const auto isHexDigit = [](char digit) { return detail::digit(digit, 16).has_value(); };
    return !version.empty() && std::ranges::all_of(version, isHexDigit) && !address.empty() &&
           address.find_first_of("%@") == std::string_view::npos &&
           consistsOfPlainCharactersAnd("", address);
  }
  text = text.substr(0, text.find("%25"));  // what follows is the zone of a local address
  std::array<char, INET6_ADDRSTRLEN> copy{};
  if (text.size() >= copy.size() || text.find('\0') != std::string_view::npos) {
    return false;
  }
  std::ranges::copy(text, copy.begin());
  in6_addr address{};
  return ::inet_pton(AF_INET6, copy.data(), &address) == 1;
}

/// Whether a text is a host, with an optional user in front and an optional port behind.
bool isAuthority(std::string_view text) {
  if (const std::size_t at = text.find('@'); at != std::string_view::npos) {
    if (!consistsOfPlainCharactersAnd("", text.substr(0, at))) {
      return false;
    }
    text.remove_prefix(at + 1);
  }
  const std::size_t end = text.starts_with('[') ? text.find(']') : text.find(':');
  const std::string_view host = text.substr(0, end);
  const std::string_view rest = text.substr(std::min(end, text.size()));
  if (text.starts_with('[')) {
    return rest.starts_with(']') && isAddress(host.substr(1)) &&
           (rest == "]" || (rest.starts_with("]:") && isPort(rest.substr(2))));
  }
  return host.find('@') == std::string_view::npos && consistsOfPlainCharactersAnd("", host) &&
         (rest.empty() || isPort(rest.substr(1)));
}

struct URLParts {
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> authority;
  std::string_view path;
};

/// The parts of a URL, as RFC 3986 divides it; nothing when the text is no URL.
std::optional<URLParts> partsOf(std::string_view url) {
  URLParts parts;
  for (const char mark : {'#', '?'}) {
    if (const std::size_t at = url.find(mark); at != std::string_view::npos) {
      if (!consistsOfPlainCharactersAnd("/?", url.substr(at + 1))) {
        return std::nullopt;
      }
      url = url.substr(0, at);
    }
  }
  if (const std::size_t at = url.find_first_of(":/"); at < url.size() && url[at] == ':') {
    parts.scheme = url.substr(0, at);
    url.remove_prefix(at + 1);
  }
  if (url.starts_with("//")) {
    parts.authority = url.substr(2, url.substr(2).find('/'));
    url.remove_prefix(2 + parts.authority->size());
  }
  parts.path = url;
  const bool isWellFormed = (!parts.scheme || isScheme(*parts.scheme)) &&
                            (!parts.authority || isAuthority(*parts.authority)) &&
                            consistsOfPlainCharactersAnd("/", parts.path);
  return isWellFormed ? std::optional(parts) : std::nullopt;
}

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '%') {
      decoded += static_cast<char>(*detail::digit(text[at + 1], 16) * 16U +
                                   *detail::digit(text[at + 2], 16));
      at += 2;
    } else {
      decoded += text[at];
    }
  }
  return decoded;
}

}  // namespace

bool isURL(std::string_view text) noexcept {
  return partsOf(text).has_value();
}

FileURL::FileURL(const std::filesystem::path& path, bool isDirectory)
    : _path(path.empty() ? std::filesystem::current_path() : std::filesystem::absolute(path)),
      _isDirectory(isDirectory) {
  // Without this, the name and the parent of a path would depend on a slash at its end.
  if (!_path.has_filename() && _path.has_relative_path()) {
    _path = _path.parent_path();
  }
}

std::string FileURL::absoluteString() const {
  constexpr std::string_view hexDigits = "0123456789ABCDEF";
  std::string url = "file://";
  for (const char character : _path.string()) {
    if (isIn(letters, character) || isIn(decimalDigits, character) || isIn("-._~/", character)) {
      url += character;
    } else {
      const auto byte = static_cast<unsigned char>(character);
      url += '%';
      url += hexDigits[byte >> 4U];
      url += hexDigits[byte & 15U];
    }
  }
  if (_isDirectory && !url.ends_with('/')) {
    url += '/';
  }
  return url;
}

std::optional<FileURL> FileURL::fromAbsoluteString(std::string_view url) {
  const std::optional<URLParts> parts = partsOf(url);
  if (!parts || !parts->scheme || !detail::equalIgnoringASCIICase(*parts->scheme, "file")) {
    return std::nullopt;
  }
  const std::string_view host = parts->authority.value_or("");
  if ((!host.empty() && !detail::equalIgnoringASCIICase(host, "localhost")) ||
      !parts->path.starts_with('/')) {
    return std::nullopt;
  }
  const std::string path = percentDecoded(parts->path);
  if (path.find('\0') != std::string::npos) {
    return std::nullopt;
  }
  return path.ends_with('/') ? directory(path) : file(path);
}

// --- files

FileURL temporaryDirectory() {
  const char* variable = std::getenv("TMPDIR");
  const std::filesystem::path directory(variable == nullptr ? "" : variable);
  std::error_code error;
  const bool hasPlace = directory.is_absolute() || !std::filesystem::current_path(error).empty();
  return FileURL::directory(!directory.empty() && hasPlace ? directory : "/tmp");
}

namespace {

/// The system takes a path to end at its first NUL, so it would use another location.
bool hasNUL(const FileURL& place) {
  return place.path().native().find('\0') != std::string::npos;
}

}  // namespace

bool createDirectory(const FileURL& directory) noexcept try {
  if (hasNUL(directory)) {
    return false;
  }
  std::error_code error;
  // An existing parent is no failure, and the last step finds any other error.
  std::filesystem::create_directories(directory.path().parent_path(), error);
  return ::mkdir(directory.path().c_str(), S_IRWXU) == 0;
} catch (...) {
  return false;
}

namespace {

/// A new file with a temporary name. The destructor removes it unless `renameTo` gave it another
/// name.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& directory) {
    do {
      _path = directory / ("." + uniqueName());
      _descriptor = ::open(_path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
    } while (_descriptor < 0 && errno == EEXIST);
    _isTemporary = _descriptor >= 0;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (_descriptor >= 0) {
      ::close(_descriptor);
    }
    if (_isTemporary) {
      ::unlink(_path.c_str());
    }
  }

  [[nodiscard]] bool write(std::span<const std::byte> bytes) {
    while (_descriptor >= 0 && !bytes.empty()) {
      const ssize_t written = ::write(_descriptor, bytes.data(), bytes.size());
      if (written < 0 && errno != EINTR) {
        return false;
      }
      bytes = bytes.subspan(static_cast<std::size_t>(std::max(written, ssize_t{0})));
    }
    return _descriptor >= 0;
  }

  /// Writes everything to the disk and closes the file. Some file systems notice only now that
  /// there is no room.
  [[nodiscard]] bool close() {
    const bool isFlushed = ::fsync(_descriptor) == 0;
    return ::close(std::exchange(_descriptor, -1)) == 0 && isFlushed;
  }

  [[nodiscard]] bool renameTo(const std::filesystem::path& path) {
    _isTemporary = ::rename(_path.c_str(), path.c_str()) != 0;
    return !_isTemporary;
  }

 private:
  /// A different name at each call. Files of crashed processes keep their names, and process
  /// numbers come again, so a process number alone is not enough.
  static std::string uniqueName() {
    if (auto name = randomUUID()) {
      return *std::move(name);
    }
    static std::atomic<unsigned> count = 0;
    const auto now = std::chrono::system_clock::now().time_since_epoch().count();
    return std::to_string(now) + "-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
  }

  std::filesystem::path _path;
  int _descriptor = -1;
  bool _isTemporary = false;
};

}  // namespace

bool writeFileAtomically(const FileURL& file, std::span<const std::byte> bytes) noexcept try {
  if (hasNUL(file)) {
    return false;
  }
  TemporaryFile temporary(file.path().parent_path());
  return temporary.write(bytes) && temporary.close() && temporary.renameTo(file.path());
} catch (...) {
  return false;
}

// --- randomness

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

}  // namespace vexil::platform
