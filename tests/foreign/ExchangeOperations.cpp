// SPDX-License-Identifier: Apache-2.0
// Groups and events on pasteboards.
#include "Operations.h"

#include <ternwood/Ternwood.h>
#include <vexil/platform/Pasteboard.h>
#include <vexil/platform/PropertyList.h>

#include <memory>
#include <span>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Pasteboard;
using platform::Value;

namespace {

std::vector<Scene> scenesOfExchange() {
  std::vector<Scene> all;
  for (const Content content : {Content::objects, Content::plain}) {
    for (const Place place : {Place::root, Place::leaf}) {
      for (const bool isHosted : {false, true}) {
        all.push_back({.kind = Kind::list,
                       .content = content,
                       .isObserved = isHosted,
                       .isHosted = isHosted,
                       .place = place});
      }
    }
  }
  return all;
}

template <class Perform>
void add(std::vector<Operation>& all, const std::string& name, Perform perform) {
  all.push_back({name, scenesOfExchange(), [perform](World& world) -> std::function<void()> {
                   const auto* item =
                       dynamic_cast<const platform::PasteboardWriting*>(world.item.get());
                   return [perform, item] { perform(*item); };
                 }});
}

using Writing = platform::PasteboardWriting;

void addWriting(std::vector<Operation>& all) {
  add(all, "writableTypesForPasteboard",
      [](const Writing& item) { (void)item.writableTypesForPasteboard(nullptr); });
  add(all, "writingOptionsForTypePasteboard", [](const Writing& item) {
    (void)item.writingOptionsForTypePasteboard(kTWWorkspaceUTISchedule, nullptr);
  });
  for (const auto& [name, type] :
       {std::pair("schedule", kTWWorkspaceUTISchedule), std::pair("event", kTWWorkspaceUTIEvent),
        std::pair("file", platform::kUTTypeFileURL),
        std::pair("text", platform::NSPasteboardTypeString)}) {
    add(all, std::string("pasteboardPropertyListForType: ") + name,
        [type = std::string(type)](const Writing& item) {
          (void)item.pasteboardPropertyListForType(type);
        });
  }
  all.push_back({"writeObjects, and the promises kept", scenesOfExchange(),
                 [](World& world) -> std::function<void()> {
                   const auto writing =
                       std::dynamic_pointer_cast<const platform::PasteboardWriting>(world.item);
                   return [writing = std::weak_ptr(writing)] {
                     const auto board = Pasteboard::unnamed();
                     board->writeObjects({writing.lock()});
                     for (const std::string& type : board->types()) {
                       (void)board->dataForType(type);
                     }
                   };
                 }});
}

/// Content of a board from which a group or an event can be read. No item has written it.
class Given : public platform::PasteboardWriting {
 public:
  Given(std::string type, Value value) : _type(std::move(type)), _value(std::move(value)) {}
  [[nodiscard]] std::vector<std::string> writableTypesForPasteboard(
      const Pasteboard* /*board*/) const override {
    return {_type};
  }
  [[nodiscard]] Value pasteboardPropertyListForType(std::string_view /*type*/) const override {
    return _value;
  }

 private:
  std::string _type;
  Value _value;
};

template <class Class>
void addReadingBy(std::vector<Operation>& all, const std::string& reader, const std::string& name,
                  std::string_view type, Value (*make)()) {
  all.push_back({"readObjects, " + reader + ": " + name, scenesOfExchange(),
                 [type = std::string(type), make](World& /*world*/) -> std::function<void()> {
                   const auto board = Pasteboard::unnamed();
                   board->writeObjects({std::make_shared<Given>(type, make())});
                   return [board] {
                     (void)board->readObjects({platform::pasteboardReadingClass<Class>()});
                   };
                 }});
}

template <class Class>
void addReading(std::vector<Operation>& all, const std::string& reader) {
  const auto schedule = [] {
    // Two of them are equal.
    Entries events = entries(0, 4);
    events.push_back({.number = 0});
    return recordsOf(events, Content::plain, eventRecord);
  };
  const auto noSchedule = [] { return Value("https://example.org/no%20schedule"); };
  const auto event = [] { return eventRecord({.number = 0}, Content::plain); };
  addReadingBy<Class>(all, reader, "a schedule", kTWWorkspaceUTISchedule, schedule);
  addReadingBy<Class>(all, reader, "the URL of nothing", platform::kUTTypeFileURL, noSchedule);
  addReadingBy<Class>(all, reader, "an event", kTWWorkspaceUTIEvent, event);
}

void addInitialising(std::vector<Operation>& all) {
  all.push_back({"initWithPasteboardPropertyListOfType", scenesOfExchange(),
                 [](World& world) -> std::function<void()> {
                   // Records with objects, which no board would hold.
                   Entries events = entries(0, lastNumber);
                   events.push_back({.number = 0});
                   return [schedule = recordsOf(events, world.scene.content, eventRecord)] {
                     (void)KRAVTWVGroupVexil::initWithPasteboardPropertyListOfType(
                         schedule, kTWWorkspaceUTISchedule);
                     (void)KRAVTWVEventVexil::initWithPasteboardPropertyListOfType(
                         schedule.elements().front(), kTWWorkspaceUTIEvent);
                   };
                 }});
}

}  // namespace

void addExchange(std::vector<Operation>& all) {
  addWriting(all);
  addReading<HostGroup>(all, "a group");
  addReading<HostEvent>(all, "an event");
  addInitialising(all);
}

}  // namespace foreign
