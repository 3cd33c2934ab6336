// SPDX-License-Identifier: Apache-2.0
#include <platform/PropertyList.h>
#include <replay/Constants.h>
#include <replay/Input.h>
#include <replay/Printer.h>
#include <ternwood/Ternwood.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <span>
#include <system_error>

namespace replay {

using platform::Value;

namespace {

constexpr std::string_view binaryMagic = "bplist00";

/// Type identifiers are the same whatever the case of their letters.
bool isType(std::string_view type, std::string_view other) {
  const auto lower = [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A'))
                                                : character;
  };
  return std::ranges::equal(type, other, {}, lower, lower);
}

std::optional<std::filesystem::path> pathOfFileURL(std::string_view url) {
  constexpr std::string_view scheme = "file://";
  if (!url.starts_with(scheme)) {
    return std::nullopt;
  }
  std::string path;
  for (std::size_t position = scheme.size(); position < url.size(); ++position) {
    if (url[position] != '%') {
      path += url[position];
      continue;
    }
    const std::string_view digits = url.substr(position + 1, 2);
    unsigned code = 0;
    const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (digits.size() != 2 || end.ptr != digits.data() + digits.size()) {
      return std::nullopt;
    }
    path += static_cast<char>(code);
    position += 2;
  }
  return path;
}

std::optional<std::string> contentOfFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    return std::nullopt;
  }
  std::ifstream stream(path, std::ios::binary);
  return contentOf(stream);
}

/// The file's own name; the extension of schedule files is the host's, so it goes by its name.
std::string nameOfFile(const std::filesystem::path& path) {
  const std::string name = path.filename().string();
  const std::string extension = "." + std::string(kTWWorkspaceFileExtensionSchedule);
  return name.ends_with(extension) ? name.substr(0, name.size() - extension.size() + 1) +
                                         "kTWWorkspaceFileExtensionSchedule"
                                   : name;
}

}  // namespace

std::string Printer::directory(const platform::FileURL& url) {
  std::error_code error;
  if (!std::filesystem::is_directory(url.path(), error)) {
    return "directory(missing)";
  }
  const bool isEmpty = std::filesystem::is_empty(url.path(), error);
  return isEmpty && !error ? "directory(empty)" : "directory(not empty)";
}

std::string Printer::pasteboardContent(const Value& content, std::string_view type) {
  if (content.isString() && isType(type, pasteboardTypeFileURL)) {
    const auto path = pathOfFileURL(content.string());
    const auto bytes = path ? contentOfFile(*path) : std::nullopt;
    if (bytes) {
      return "file(" + printedString(nameOfFile(*path)) + ", " +
             propertyList(std::as_bytes(std::span(*bytes))) + ")";
    }
  }
  if (content.kind() == Value::Kind::data &&
      (isType(type, kTWWorkspaceUTIEvent) || isType(type, kTWWorkspaceUTISchedule))) {
    return propertyList(content.bytes());
  }
  return value(content);
}

std::string Printer::propertyList(std::span<const std::byte> bytes) {
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with(binaryMagic)) {
    if (const auto list = platform::readBinaryPropertyList(bytes)) {
      return "plist(" + value(*list) + ")";
    }
  }
  return printedData(bytes);
}

}  // namespace replay
