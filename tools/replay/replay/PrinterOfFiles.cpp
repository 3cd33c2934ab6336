// SPDX-License-Identifier: Apache-2.0
#include <replay/Input.h>
#include <replay/Printer.h>
#include <ternwood/Ternwood.h>
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/TypeIdentifier.h>

#include <fstream>
#include <span>
#include <system_error>

namespace platform = vexil::platform;

namespace replay {

using platform::typeIdentifiersAreEqual;
using platform::Value;

namespace {

constexpr std::string_view binaryMagic = "bplist00";

std::string_view textOf(std::span<const std::byte> bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::optional<std::string> contentOfFile(const std::filesystem::path& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    return std::nullopt;
  }
  std::ifstream stream(path, std::ios::binary);
  return contentOf(stream);
}

/// The file's own name. The host decides the extension of schedule files, so the name of that
/// constant stands in its place.
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
  if (content.kind() != Value::Kind::data) {
    return value(content);
  }
  if (typeIdentifiersAreEqual(type, platform::kUTTypeFileURL)) {
    const auto url = platform::FileURL::fromAbsoluteString(textOf(content.bytes()));
    const auto bytes = url ? contentOfFile(url->path()) : std::nullopt;
    if (bytes) {
      return "file(" + printedString(nameOfFile(url->path())) + ", " +
             propertyList(std::as_bytes(std::span(*bytes))) + ")";
    }
  }
  if (typeIdentifiersAreEqual(type, kTWWorkspaceUTIEvent) ||
      typeIdentifiersAreEqual(type, kTWWorkspaceUTISchedule)) {
    return propertyList(content.bytes());
  }
  return value(content);
}

std::string Printer::propertyList(std::span<const std::byte> bytes) {
  if (textOf(bytes).starts_with(binaryMagic)) {
    if (const auto list = platform::readBinaryPropertyList(bytes)) {
      return "plist(" + value(*list) + ")";
    }
  }
  return printedData(bytes);
}

}  // namespace replay
