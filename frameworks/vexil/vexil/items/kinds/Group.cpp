// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/kinds/Schedule.h>
#include <vexil/kinds/Event.h>
#include <vexil/kinds/Group.h>
#include <vexil/kinds/NetDomain.h>
#include <vexil/platform/PropertyList.h>

#include <utility>

namespace platform = vexil::platform;

using platform::Pasteboard;
using platform::PasteboardReadingOptions;
using platform::PasteboardWritingOptions;
using platform::Value;
using vexil::detail::encoded;
using vexil::detail::isFileURLType;
using vexil::detail::isScheduleType;
using vexil::detail::newScheduleFile;
using vexil::detail::writingOptionsForType;

KRAVTWVGroupVexil::KRAVTWVGroupVexil(Value label, Value uniqueID) : GroupFactories(uniqueID) {
  setUniqueID(std::move(uniqueID));
  setLabel(std::move(label));
}

KRAVTWVGroupVexil::~KRAVTWVGroupVexil() = default;

// --- on a pasteboard

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
  return isScheduleType(type)  ? std::optional(kTWWorkspaceUTISchedule)
         : isFileURLType(type) ? std::optional(platform::kUTTypeFileURL)
                               : std::nullopt;
}

void vexil::detail::addEventsFromPasteboard(KRAVTWVGroupVexil& group, const Value& propertyList,
                                            std::string_view type) {
  Value schedule = propertyList;
  if (!isScheduleType(type)) {
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
  return writingOptionsForType(type);
}

Value KRAVTWVGroupVexil::pasteboardPropertyListForType(std::string_view type) const {
  const auto self = weak_from_this().lock();  // kinds may let go of it when they are asked
  if (isScheduleType(type)) {
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
  return isFileURLType(type)
             ? newScheduleFile(
                   *this, [this] { return pasteboardPropertyListForType(kTWWorkspaceUTISchedule); })
             : Value();
}

// --- network domain

KRAVTWVNetDomainVexil::~KRAVTWVNetDomainVexil() = default;
