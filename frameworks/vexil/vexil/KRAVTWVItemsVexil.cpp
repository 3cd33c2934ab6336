// SPDX-License-Identifier: Apache-2.0
#include <platform/Error.h>
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <algorithm>
#include <compare>
#include <utility>
#include <vector>

constinit const std::string_view KRAVTWVItemsVexilKeyPathRoot = "root";
constinit const std::string_view KRAVTWVEventsVexilKeyPathEvents = "events";

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

/// The records of `events` by name, then by identifier; `events` itself when they are in that
/// order.
Value inEventOrder(const Value& events) {
  static const Key nameKey(kTWEventName);
  static const Key identifierKey(kTWEventUniqueID);
  struct Entry {
    const Value* record;
    const Value* name;
    const Value* identifier;
  };
  const auto before = [](const Entry& a, const Entry& b) {
    const auto names = a.name->compare(*b.name);
    return std::is_neq(names) ? std::is_lt(names)
                              : std::is_lt(a.identifier->compare(*b.identifier));
  };
  std::vector<Entry> entries;
  entries.reserve(events.elements().size());
  for (const Value& record : events.elements()) {
    entries.push_back({&record, &record[nameKey], &record[identifierKey]});
  }
  if (std::ranges::is_sorted(entries, before)) {
    return events;
  }
  std::ranges::stable_sort(entries, before);
  std::vector<Value> sorted;
  sorted.reserve(entries.size());
  for (const Entry& entry : entries) {
    sorted.push_back(*entry.record);
  }
  return Value::array(std::move(sorted));
}

}  // namespace

KRAVTWVItemsVexil::KRAVTWVItemsVexil()
    : _root(KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root")) {}

KRAVTWVItemsVexil::~KRAVTWVItemsVexil() = default;

void KRAVTWVItemsVexil::setRoot(std::shared_ptr<KRAVTWVItemVexil> root) {
  static const Key key(KRAVTWVItemsVexilKeyPathRoot);
  assign(key, _root, std::move(root));
}

void KRAVTWVItemsVexil::setRootValue(const Value& root) {
  auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(root.object());
  if (!item && !root.isAbsent()) {
    throw platform::InvalidArgument("not an item: " + root.description());
  }
  setRoot(std::move(item));
}

void KRAVTWVItemsVexil::replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items) {
  if (const auto item = root()) {
    item->replaceChildren(items);
  }
}

const KeyTable& KRAVTWVItemsVexil::itemsKeyTable() {
  static const KeyTable table(
      nullptr, {KeyAccess::readWrite<&KRAVTWVItemsVexil::root, &KRAVTWVItemsVexil::setRootValue>(
                   KRAVTWVItemsVexilKeyPathRoot)});
  return table;
}

KRAVTWVEventsVexil::KRAVTWVEventsVexil() = default;

KRAVTWVEventsVexil::~KRAVTWVEventsVexil() = default;

void KRAVTWVEventsVexil::setSortedEvents(Value sortedEvents) {
  static const Key key("sortedEvents");
  assign(key, _sortedEvents, std::move(sortedEvents));
}

void KRAVTWVEventsVexil::setEvents(const Value& events) {
  if (!events.isAbsent() && !events.isArray()) {
    throw platform::InvalidArgument("events are an array of records");
  }
  const Value sorted = events.isAbsent() ? events : inEventOrder(events);
  if (!sorted.isAbsent() && sorted == sortedEvents()) {
    return;
  }
  setSortedEvents(sorted);
  auto items = std::make_shared<KRAVTWVItemArray>();
  items->reserve(sorted.elements().size());
  for (const Value& event : sorted.elements()) {
    items->push_back(KRAVTWVEventVexil::itemWithEvent(event));
  }
  replaceRootChildren(std::move(items));
}

const KeyTable& KRAVTWVEventsVexil::keyTable() const {
  using Events = KRAVTWVEventsVexil;
  static const KeyTable table(
      &itemsKeyTable(),
      {KeyAccess::readWrite<&Events::sortedEvents, &Events::setSortedEvents>("sortedEvents"),
       KeyAccess::writeOnly<&Events::setEvents>(KRAVTWVEventsVexilKeyPathEvents)});
  return table;
}
