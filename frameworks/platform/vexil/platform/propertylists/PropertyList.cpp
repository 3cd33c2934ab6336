// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/propertylists/PropertyListScalars.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <vector>

namespace vexil::platform {

namespace {

using Code = PropertyListError::Code;

/// Reads the characters at the beginning of a text in any encoding: ASCII characters as they are,
/// any other character as 0.
class Beginning {
 public:
  explicit Beginning(std::string_view text) : _text(text) {
    if (text.starts_with(detail::utf8Mark)) {
      _at = detail::utf8Mark.size();
    } else if (const auto order = detail::utf16MarkOf(text)) {
      _at = 2;
      _order = order;
    } else if (text.size() >= 2 && (text[0] == '\0') != (text[1] == '\0')) {
      _order = text[0] == '\0' ? std::endian::big : std::endian::little;
    }
  }

  char next() {
    const std::size_t width = _order ? 2 : 1;
    if (_text.size() - _at < width) {
      return 0;
    }
    const std::size_t low = _order == std::endian::big ? _at + 1 : _at;
    const bool isASCII = !_order || _text[_order == std::endian::big ? _at : _at + 1] == '\0';
    _at += width;
    return isASCII ? _text[low] : '\0';
  }

 private:
  std::string_view _text;
  std::size_t _at = 0;
  std::optional<std::endian> _order;
};

/// Whether a text begins XML rather than data of the text format, such as `<dead beef>`. No element
/// has a name of hexadecimal digits only.
bool beginsXML(std::string_view text) {
  Beginning characters(text);
  char character = characters.next();
  while (detail::isXMLSpace(character)) {
    character = characters.next();
  }
  if (character != '<') {
    return false;
  }
  do {
    character = characters.next();
  } while (detail::digit(character, 16));
  return character != '>' && character != '\0' && !detail::isXMLSpace(character);
}

class Descriptor {
 public:
  explicit Descriptor(const std::filesystem::path& path)
      // Without O_NONBLOCK, opening a pipe that nobody writes to would block the caller.
      : _number(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (_number >= 0) {
      ::close(_number);
    }
  }
  [[nodiscard]] int number() const { return _number; }

 private:
  int _number;
};

PropertyListError systemError() {
  const int number = errno;
  return {number == ENOENT || number == ENOTDIR ? Code::fileMissing : Code::fileUnreadable,
          std::generic_category().message(number)};
}

/// All bytes of a regular file; when it has more than `most`, only `most` + 1 of them.
PropertyListResult<std::vector<std::byte>> bytesOfFile(const std::filesystem::path& path,
                                                       std::size_t most) {
  // The system takes a path to end at its first NUL, so it would open another file.
  if (path.native().find('\0') != std::string::npos) {
    return PropertyListError{Code::fileMissing, "no file has a NUL in its path"};
  }
  const Descriptor file(path);
  struct stat status {};
  if (file.number() < 0 || ::fstat(file.number(), &status) != 0) {
    return systemError();
  }
  if (!S_ISREG(status.st_mode)) {
    return PropertyListError{Code::notAFile,
                             S_ISDIR(status.st_mode) ? "a directory" : "no regular file"};
  }
  // The size may be outdated when it is used, and is zero for files that the kernel generates.
  constexpr std::size_t leastRoom = 4096;
  const auto size = static_cast<std::size_t>(std::max<off_t>(status.st_size, 0));
  std::vector<std::byte> bytes(std::min(most, std::max(size, leastRoom)) + 1);
  std::size_t length = 0;
  for (;;) {
    const ::ssize_t count = ::read(file.number(), bytes.data() + length, bytes.size() - length);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count < 0) {
      return systemError();
    }
    length += static_cast<std::size_t>(count);
    if (count == 0 || length > most) {
      bytes.resize(length);
      return bytes;
    }
    if (length == bytes.size()) {
      bytes.resize(std::min(most, length * 2) + 1);
    }
  }
}

}  // namespace

std::string PropertyListError::description() const {
  std::string text = file.empty() ? "" : file + ": ";
  if (line) {
    text += "line " + std::to_string(*line) + ": ";
  } else if (offset) {
    text += "offset " + std::to_string(*offset) + ": ";
  }
  return text + message;
}

PropertyListFormat propertyListFormatOf(std::span<const std::byte> bytes) noexcept {
  const std::string_view text = detail::textOf(bytes);
  if (text.starts_with("bplist")) {
    return PropertyListFormat::binary;
  }
  return beginsXML(text) ? PropertyListFormat::xml : PropertyListFormat::text;
}

PropertyListResult<Value> readPropertyList(std::span<const std::byte> bytes,
                                           const PropertyListLimits& limits) {
  switch (propertyListFormatOf(bytes)) {
    case PropertyListFormat::binary:
      return readBinaryPropertyList(bytes, limits);
    case PropertyListFormat::xml:
      return readXMLPropertyList(bytes, limits);
    default:
      return readTextPropertyList(bytes, limits);
  }
}

PropertyListResult<Value> readPropertyListFile(const std::filesystem::path& path,
                                               const PropertyListLimits& limits) {
  const auto bytes = bytesOfFile(path, limits.inputBytes);
  PropertyListResult<Value> value =
      bytes ? readPropertyList(*bytes, limits) : PropertyListResult<Value>(bytes.error());
  if (value) {
    return value;
  }
  PropertyListError error = value.error();
  error.file = path.string();
  return error;
}

}  // namespace vexil::platform
