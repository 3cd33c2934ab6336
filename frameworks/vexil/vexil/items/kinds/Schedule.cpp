// SPDX-License-Identifier: Apache-2.0
// Groups and events on the pasteboard.
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Files.h>
#include <vexil/platform/Log.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/PropertyList.h>

#include <span>
#include <utility>

namespace platform = vexil::platform;

using platform::FileURL;
using platform::Pasteboard;
using platform::PasteboardReadingOptions;
using platform::PasteboardWritingOptions;
using platform::typeIdentifiersAreEqual;
using platform::Value;

namespace {

bool isSchedule(std::string_view type) {
  return typeIdentifiersAreEqual(type, kTWWorkspaceUTISchedule);
}
bool isEvent(std::string_view type) {
  return typeIdentifiersAreEqual(type, kTWWorkspaceUTIEvent);
}
bool isFileURL(std::string_view type) {
  return typeIdentifiersAreEqual(type, platform::kUTTypeFileURL);
}

PasteboardWritingOptions writingOptions(std::string_view type) {
  return isFileURL(type) ? PasteboardWritingOptions::promised : PasteboardWritingOptions::none;
}

Value encoded(const Value& propertyList, const KRAVTWVItemVexil& receiver) {
  const auto bytes = platform::writeBinaryPropertyList(propertyList);
  if (!bytes) {
    platform::log(receiver.className() + " serialization error: " + bytes.error().description());
    return {};
  }
  return Value::data(*bytes);
}

/// The place of the item's schedule file; absent when its label names none there.
std::optional<FileURL> scheduleFileIn(const FileURL& directory, const KRAVTWVItemVexil& item) {
  const Value label = item.label();
  // The label is used as it is, but it must not lead out of the directory.
  if (!label.isString() || label.string().find('/') != std::string_view::npos) {
    return std::nullopt;
  }
  return directory.appendingFile(std::string(label.string()) + "." +
                                 std::string(kTWWorkspaceFileExtensionSchedule));
}

/// The URL of a new schedule file of a group or an event.
template <class Item>
Value newScheduleFile(const Item& item) {
  const std::optional<FileURL> directory = item.URLForUniqueTemporaryDirectory();
  if (!directory) {
    return {};
  }
  const std::optional<FileURL> file = scheduleFileIn(*directory, item);
  const Value schedule = item.pasteboardPropertyListForType(kTWWorkspaceUTISchedule);
  if (!file || schedule.kind() != Value::Kind::data ||
      !platform::writeFileAtomically(*file, schedule.bytes())) {
    return {};
  }
  const std::string url = file->absoluteString();
  return Value::data(std::as_bytes(std::span(url)));
}

/// The array in a schedule file, which can be of any format; otherwise something else.
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

}  // namespace

// --- group

std::vector<std::string> KRAVTWVGroupVexil::readableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) {
  return {std::string(kTWWorkspaceUTISchedule), std::string(platform::kUTTypeFileURL)};
}

PasteboardReadingOptions KRAVTWVGroupVexil::readingOptionsForTypePasteboard(
    std::string_view /*type*/, const Pasteboard* /*pasteboard*/) {
  return PasteboardReadingOptions::asPropertyList;
}

std::optional<std::string_view> vexil::detail::identifierOfGroupFromPasteboard(
    std::string_view type) {
  return isSchedule(type)  ? std::optional(kTWWorkspaceUTISchedule)
         : isFileURL(type) ? std::optional(platform::kUTTypeFileURL)
                           : std::nullopt;
}

void vexil::detail::addEventsFromPasteboard(KRAVTWVGroupVexil& group, const Value& propertyList,
                                            std::string_view type) {
  Value schedule = propertyList;
  if (!isSchedule(type)) {
    schedule = propertyList.isString() ? scheduleAt(propertyList.string()) : Value();
  }
  KRAVTWVItemArray events;
  events.reserve(schedule.elements().size());
  for (const Value& record : schedule.elements()) {
    events.push_back(KRAVTWVEventVexil::itemWithEvent(record));
  }
  group.addChildren(events);
}

std::vector<std::string> KRAVTWVGroupVexil::writableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) const {
  return {std::string(kTWWorkspaceUTISchedule), std::string(platform::kUTTypeFileURL)};
}

PasteboardWritingOptions KRAVTWVGroupVexil::writingOptionsForTypePasteboard(
    std::string_view type, const Pasteboard* /*pasteboard*/) const {
  return writingOptions(type);
}

Value KRAVTWVGroupVexil::pasteboardPropertyListForType(std::string_view type) const {
  const auto held = weak_from_this().lock();  // kinds may let go of it when they are asked
  if (isSchedule(type)) {
    std::vector<Value> records;
    if (const std::shared_ptr<const KRAVTWVItemArray> current = children()) {
      // A copy, because a host's kind may do anything when it is asked.
      for (const auto& child : KRAVTWVItemArray(*current)) {
        if (const auto* event = dynamic_cast<const KRAVTWVEventRepresenting*>(child.get())) {
          records.push_back(event->representedEvent());
        }
      }
    }
    return encoded(Value::array(std::move(records)), *this);
  }
  return isFileURL(type) ? newScheduleFile(*this) : Value();
}

// --- event

std::vector<std::string> KRAVTWVEventVexil::readableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) {
  return {std::string(kTWWorkspaceUTIEvent)};
}

PasteboardReadingOptions KRAVTWVEventVexil::readingOptionsForTypePasteboard(
    std::string_view /*type*/, const Pasteboard* /*pasteboard*/) {
  return PasteboardReadingOptions::asPropertyList;
}

bool vexil::detail::isEventFromPasteboard(const Value& propertyList, std::string_view type) {
  return isEvent(type) && propertyList.isDictionary();
}

std::vector<std::string> KRAVTWVEventVexil::writableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) const {
  return {std::string(kTWWorkspaceUTIEvent), std::string(kTWWorkspaceUTISchedule),
          std::string(platform::kUTTypeFileURL), std::string(platform::NSPasteboardTypeString)};
}

PasteboardWritingOptions KRAVTWVEventVexil::writingOptionsForTypePasteboard(
    std::string_view type, const Pasteboard* /*pasteboard*/) const {
  return writingOptions(type);
}

Value KRAVTWVEventVexil::pasteboardPropertyListForType(std::string_view type) const {
  const auto held = weak_from_this().lock();  // a kind may let go of it when it is asked
  if (isEvent(type)) {
    return encoded(representedEvent(), *this);
  }
  if (isSchedule(type)) {
    return encoded(Value::array({representedEvent()}), *this);
  }
  if (isFileURL(type)) {
    return newScheduleFile(*this);
  }
  return typeIdentifiersAreEqual(type, platform::NSPasteboardTypeString) ? label() : Value();
}
