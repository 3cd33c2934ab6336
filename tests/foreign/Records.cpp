// SPDX-License-Identifier: Apache-2.0
#include "Records.h"

#include "HostObjects.h"

#include <ternwood/Ternwood.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Value;

namespace {

constexpr std::string_view tagKey = "tag";
constexpr std::string_view nameKey = "order";

std::string padded(int number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

Value identifier(const char* kind, const Entry& entry, Content content) {
  if (content == Content::identifiers) {
    return std::make_shared<HostObject>(entry.number);
  }
  return kind + padded(entry.number);
}

Value tag(const char* kind, const Entry& entry) {
  return kind + padded(entry.number) + "/" + std::to_string(entry.version);
}

/// Stands before the version, so that comparisons ask objects even if versions differ.
Value objectIn(const Entry& entry, Content content) {
  if (content == Content::plain || entry.number % 2 != 0) {
    return {};
  }
  return std::make_shared<HostObject>(entry.number);
}
Value nestedIn(const Entry& entry, Content content) {
  if (content == Content::plain || entry.number % 3 != 0) {
    return "nothing but a text that is too long to stand in the value itself";
  }
  const auto object = [&] { return Value(std::make_shared<HostObject>(entry.number)); };
  return Value::array({1, Value::dictionary({{"object", object()}}), object()});
}

/// The domain that an event belongs to.
int domainOf(const Entry& entry) {
  return entry.number % 2;
}

}  // namespace

Entries entries(int first, int last, int version) {
  Entries all;
  for (int number = first; number <= last; ++number) {
    all.push_back({number, version});
  }
  return all;
}

Value eventRecord(const Entry& entry, Content content) {
  return Value::dictionary({{kTWEventUniqueID, identifier("e", entry, content)},
                            {"object", objectIn(entry, content)},
                            {"nested", nestedIn(entry, content)},
                            {kTWEventName, "name " + padded(entry.name)},
                            {kTWEventEnabled, entry.version % 2 == 0},
                            {kTWEventDomain, "d" + padded(domainOf(entry))},
                            {nameKey, entry.name},
                            {tagKey, tag("e", entry)}});
}

Value domainRecord(const Entry& entry, Content content) {
  // The store looks for the text that events have, so identifiers are always texts.
  return Value::dictionary({{kTWDomainUniqueID, "d" + padded(entry.number)},
                            {"object", objectIn(entry, content)},
                            {"nested", nestedIn(entry, content)},
                            {kTWDomainName, "domain " + padded(entry.name)},
                            {tagKey, tag("d", entry)}});
}

Value triggerRecord(const Entry& entry, Content content) {
  return Value::dictionary(
      {{kTWQueuedTriggerTriggerID, identifier("t", entry, content)},
       {kTWQueuedTriggerEvent, eventRecord(entry, content)},
       {kTWQueuedTriggerTrigger,
        Value::dictionary({{"object", objectIn(entry, content)},
                           {kTWTriggerDate, platform::Date{100.0 * entry.version}}})},
       {tagKey, tag("t", entry)}});
}

Value activeRecord(const Entry& entry, Content content) {
  return Value::dictionary({{kTWActiveEventActiveID, identifier("a", entry, content)},
                            {kTWActiveEventActivity, objectIn(entry, content)},
                            {kTWActiveEventEvent, eventRecord(entry, content)},
                            {tagKey, tag("a", entry)}});
}

std::shared_ptr<platform::NetService> service(const Entry& entry) {
  return std::make_shared<HostService>(
      "service " + padded(entry.number) + "/" + std::to_string(entry.version), "_tern._tcp.",
      entry.number % 2 == 0 ? "local." : "office.");
}

Value recordsOf(const Entries& entries, Content content, MakeRecord make) {
  std::vector<Value> records;
  records.reserve(entries.size());
  for (const Entry& entry : entries) {
    records.push_back(make(entry, content));
  }
  return Value::array(std::move(records));
}

std::string textOf(const Value& represented) {
  if (const auto service = std::dynamic_pointer_cast<platform::NetService>(represented.object())) {
    return service->domain().displayText() + " " + service->name().displayText();
  }
  return represented.isDictionary() ? represented[tagKey].displayText() : represented.displayText();
}

namespace {

void show(const KRAVTWVItemVexil& item, std::size_t depth, std::string& text) {
  const auto children = item.children();
  if (!children) {
    return;
  }
  for (const auto& child : *children) {
    text += std::string(depth, ' ') + textOf(child->representedObject()) + "\n";
    show(*child, depth + 1, text);
  }
}

std::string linesOf(const std::vector<Value>& records, const char* indent = "") {
  std::string text;
  for (const Value& record : records) {
    text += indent + textOf(record) + "\n";
  }
  return text;
}

std::vector<Value> elementsOf(const Value& list) {
  return {list.elements().begin(), list.elements().end()};
}

std::vector<Value> sortedByName(const Value& events) {
  auto sorted = elementsOf(events);
  // Names are "name " and two digits, so the number behind them sorts in the same way.
  std::ranges::stable_sort(sorted, {},
                           [](const Value& event) { return event[nameKey].integer().value_or(0); });
  return sorted;
}

}  // namespace

std::string shownBelow(const KRAVTWVItemVexil& item) {
  std::string text;
  show(item, 0, text);
  return text;
}

std::string modelOfEvents(const Value& events) {
  return linesOf(sortedByName(events));
}

std::string modelOfStore(const Value& events, const Value& domains) {
  std::map<std::string, std::vector<Value>> eventsOf;
  for (const Value& event : sortedByName(events)) {
    eventsOf[std::string(event[kTWEventDomain].string())].push_back(event);
  }
  const bool isAlone = domains.elements().size() == 1;
  std::string text;
  for (const Value& domain : domains.elements()) {
    text += isAlone ? "" : textOf(domain) + "\n";
    text += linesOf(eventsOf[std::string(domain[kTWDomainUniqueID].string())], isAlone ? "" : " ");
  }
  return text;
}

std::string modelOfEngine(const Value& active, const Value& available, const Value& pending) {
  return "scheduler.active\n" + linesOf(elementsOf(active), " ") + "ondemand.available\n" +
         linesOf(elementsOf(available), " ") + "scheduler.pending\n" +
         linesOf(elementsOf(pending), " ");
}

std::string modelOfServices(const KRAVTWVNetServiceArray& services, bool isGrouped) {
  std::map<std::string, std::vector<std::string>> namesOf;  // domains are all of lower case
  for (const auto& service : services) {
    namesOf[std::string(service->domain().string())].push_back(textOf(Value(service)));
  }
  std::string text;
  for (auto& [domain, names] : namesOf) {
    std::ranges::sort(names);
    text += domain + "\n";
    for (const std::string& name : names) {
      text += (isGrouped ? " " : "") + name + "\n";
    }
  }
  return text;
}

}  // namespace foreign
