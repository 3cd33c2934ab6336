// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/kinds/Schedule.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/PropertyList.h>
#include <vexil/platform/TypeIdentifier.h>

#include <optional>
#include <span>
#include <string>
#include <utility>

namespace vexil::detail {

using platform::FileURL;
using platform::PasteboardWritingOptions;
using platform::Value;

bool isScheduleType(std::string_view type) {
  return platform::typeIdentifiersAreEqual(type, kTWWorkspaceUTISchedule);
}

bool isEventType(std::string_view type) {
  return platform::typeIdentifiersAreEqual(type, kTWWorkspaceUTIEvent);
}

bool isFileURLType(std::string_view type) {
  return platform::typeIdentifiersAreEqual(type, platform::kUTTypeFileURL);
}

PasteboardWritingOptions writingOptionsForType(std::string_view type) {
  return isFileURLType(type) ? PasteboardWritingOptions::promised : PasteboardWritingOptions::none;
}

Value encoded(const Value& propertyList, const KRAVTWVItemVexil& writer) {
  const auto bytes = platform::writeBinaryPropertyList(propertyList);
  if (!bytes) {
    platform::log(writer.className() + " serialization error: " + bytes.error().description());
    return {};
  }
  return Value::data(*bytes);
}

namespace {

/// Where the item's schedule file is to be; absent when its label is no file name.
std::optional<FileURL> scheduleFileIn(const FileURL& directory, const KRAVTWVItemVexil& item) {
  const Value label = item.label();
  // The label is used as it is, but it must not lead out of the directory.
  if (!label.isString() || label.string().find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  return directory.appendingFile(std::string(label.string()) + "." +
                                 std::string(kTWWorkspaceFileExtensionSchedule));
}

}  // namespace

Value newScheduleFile(const KRAVTWVItemVexil& item, const std::function<Value()>& schedule) {
  const std::optional<FileURL> directory = item.URLForUniqueTemporaryDirectory();
  if (!directory) {
    return {};
  }
  const std::optional<FileURL> file = scheduleFileIn(*directory, item);
  const Value content = schedule();
  if (!file || content.kind() != Value::Kind::data ||
      !platform::writeFileAtomically(*file, content.bytes())) {
    return {};
  }
  const std::string url = file->absoluteString();
  return Value::data(std::as_bytes(std::span(url)));
}

Value scheduleAt(std::string_view url) {
  const std::optional<FileURL> file = FileURL::fromAbsoluteString(url);
  if (file) {
    if (auto list = platform::readPropertyListFile(file->path()); list && list->isArray()) {
      return *std::move(list);
    }
  }
  platform::log("Malformed schedule; must be a plist array: " +
                (platform::isURL(url) ? std::string(url) : "(null)"));
  return {};
}

}  // namespace vexil::detail
