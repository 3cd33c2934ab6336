// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/kinds/Schedule.h>
#include <vexil/kinds/Event.h>
#include <vexil/kinds/OnDemand.h>
#include <vexil/platform/Key.h>

namespace platform = vexil::platform;

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Pasteboard;
using platform::PasteboardReadingOptions;
using platform::PasteboardWritingOptions;
using platform::Value;
using vexil::detail::encoded;
using vexil::detail::isEventType;
using vexil::detail::isFileURLType;
using vexil::detail::isScheduleType;
using vexil::detail::newScheduleFile;
using vexil::detail::writingOptionsForType;

namespace {

/// Interned when one of them is first used: by then the host's own constants are linked.
struct RecordKeys {
  Key uniqueID{kTWEventUniqueID};
  Key name{kTWEventName};
  Key enabled{kTWEventEnabled};
};

const RecordKeys& keys() {
  static const RecordKeys keys;
  return keys;
}

}  // namespace

KRAVTWVEventVexil::~KRAVTWVEventVexil() = default;

Value KRAVTWVEventVexil::uniqueID() const {
  return representedEvent()[keys().uniqueID];
}

Value KRAVTWVEventVexil::label() const {
  return representedEvent()[keys().name];
}

bool KRAVTWVEventVexil::enabled() const {
  return representedEvent()[keys().enabled].booleanReading();
}

std::set<std::string> KRAVTWVEventVexil::keyPathsForValuesAffectedByRepresentedObject() const {
  auto keys = KRAVTWVItemVexil::keyPathsForValuesAffectedByRepresentedObject();
  keys.insert({"enabled", "representedEvent"});
  return keys;
}

const KeyTable& KRAVTWVEventVexil::keyTable() const {
  static const KeyTable table(
      &itemKeyTable(),
      {KeyAccess::readOnly<&KRAVTWVEventVexil::representedEvent>("representedEvent")});
  return table;
}

// --- on a pasteboard

std::vector<std::string> KRAVTWVEventVexil::readableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) {
  return {std::string(kTWWorkspaceUTIEvent)};
}

PasteboardReadingOptions KRAVTWVEventVexil::readingOptionsForTypePasteboard(
    std::string_view /*type*/, const Pasteboard* /*pasteboard*/) {
  return PasteboardReadingOptions::asPropertyList;
}

bool vexil::detail::isEventFromPasteboard(const Value& propertyList, std::string_view type) {
  return isEventType(type) && propertyList.isDictionary();
}

std::vector<std::string> KRAVTWVEventVexil::writableTypesForPasteboard(
    const Pasteboard* /*pasteboard*/) const {
  return {std::string(kTWWorkspaceUTIEvent), std::string(kTWWorkspaceUTISchedule),
          std::string(platform::kUTTypeFileURL), std::string(platform::NSPasteboardTypeString)};
}

PasteboardWritingOptions KRAVTWVEventVexil::writingOptionsForTypePasteboard(
    std::string_view type, const Pasteboard* /*pasteboard*/) const {
  return writingOptionsForType(type);
}

Value KRAVTWVEventVexil::pasteboardPropertyListForType(std::string_view type) const {
  const auto self = weak_from_this().lock();  // a kind may let go of it when it is asked
  if (isEventType(type)) {
    return encoded(representedEvent(), *this);
  }
  if (isScheduleType(type)) {
    return encoded(Value::array({representedEvent()}), *this);
  }
  if (isFileURLType(type)) {
    return newScheduleFile(
        *this, [this] { return pasteboardPropertyListForType(kTWWorkspaceUTISchedule); });
  }
  return platform::typeIdentifiersAreEqual(type, platform::NSPasteboardTypeString) ? label()
                                                                                   : Value();
}

// --- on-demand event

KRAVTWVOnDemandVexil::~KRAVTWVOnDemandVexil() = default;
