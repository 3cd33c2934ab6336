// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/items/ItemFields.h>
#include <vexil/merge/FreshList.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <typeinfo>
#include <utility>

namespace vexil::detail {

using platform::Key;
using platform::Value;

namespace {

const Key& eventIdentifierKey() {
  static const Key key(kTWEventUniqueID);
  return key;
}

/// How many turns before it is needed each thing is fetched.
constexpr std::size_t ahead = 6;

/// For a loop that compares children with records at the same places and has come to `index`:
/// begins to fetch what it will look at some turns later.
void prefetchToCompare(const KRAVTWVItemArray& children, const FreshEvents& events,
                       std::size_t index) {
  if (index + 3 * ahead >= children.size() || index + ahead >= events.size()) {
    return;
  }
  ItemFields::prefetch(children[index + 3 * ahead].get());
  const auto& next = children[index + ahead];
  if (next && ItemFields::equalRecord(*next).list() == 0) {
    // The records themselves will be compared.
    ItemFields::prefetchRecord(next.get());
    events.record(index + ahead).prefetch();
  }
}

const std::shared_ptr<const KRAVTWVItemArray>& noItems() {
  static const auto none = std::make_shared<const KRAVTWVItemArray>();
  return none;
}

}  // namespace

std::vector<Value> anyIdentifiersOf(const std::shared_ptr<const KRAVTWVItemArray>& items) {
  std::vector<Value> identifiers;
  identifiers.reserve(items->size());
  platform::FieldReader identifierOf(eventIdentifierKey());
  for (std::size_t i = 0; i < items->size(); ++i) {
    const auto& item = (*items)[i];
    if (!item) {
      throw platform::InvalidArgument("an array of items holds a null pointer");
    }
    if (ItemFields::isPlainEvent(*item)) {
      identifiers.push_back(identifierOf(ItemFields::representedObject(*item)));
    } else {
      const auto held = item;  // a host's kind may take it out when it is asked
      identifiers.push_back(held->uniqueID());
      identifierOf = platform::FieldReader(eventIdentifierKey());  // as records may go
    }
  }
  return identifiers;
}

std::shared_ptr<KRAVTWVItemVexil> FreshEvents::item(std::size_t index) const {
  if (index + ahead < size()) {
    record(index + ahead).prefetch(1);
  }
  auto made = KRAVTWVEventVexil::itemWithEvent(record(index));
  if (parent) {
    made->setParent(parent);
  }
  KnownRecords(*this).note(*made, index);
  return made;
}

FreshList::FreshList(std::shared_ptr<const KRAVTWVItemArray> items) : _items(std::move(items)) {
  if (!_items) {
    _items = noItems();
  }
}

FreshList::FreshList(FreshEvents events)
    : _events(std::make_shared<const FreshEvents>(std::move(events))) {}

FreshList::FreshList(std::shared_ptr<const KRAVTWVItemArray> rows,
                     std::vector<FreshEvents> eventsOfRows)
    : _items(std::move(rows)),
      _eventsOfRows(std::make_shared<const std::vector<FreshEvents>>(std::move(eventsOfRows))) {}

std::optional<platform::IndexSet> FreshList::changesInPlace(
    const KRAVTWVItemVexil& receiver) const {
  const KRAVTWVItemArray& children = ItemFields::currentChildren(receiver);
  if (!_events || _events->size() != children.size()) {
    return std::nullopt;
  }
  const std::shared_ptr<KRAVTWVItemArray> held = ItemFields::children(receiver);
  platform::FieldReader identifierOf(eventIdentifierKey());
  platform::FieldReader identifierOfChild(eventIdentifierKey());
  const KnownRecords records(*_events);
  platform::IndexSet changes;
  const std::size_t count = children.size();
  for (std::size_t i = 0; i < count; ++i) {
    prefetchToCompare(children, *_events, i);
    if (!children[i] || !ItemFields::isPlainEvent(*children[i])) {
      return std::nullopt;
    }
    KRAVTWVItemVexil& child = *children[i];
    const std::optional<bool> known = records.areEqual(child, i);
    if (known == true) {
      records.note(child, i);  // and records of such lists have identifiers
      continue;
    }
    const Value& identifier = identifierOf(_events->record(i));
    if (identifier.isAbsent() ||
        identifierOfChild(ItemFields::representedObject(child)).plainlyEquals(identifier) != true) {
      return std::nullopt;
    }
    std::optional<bool> isEqual = known ? known : records.compareAtOnce(child, i);
    if (!isEqual) {
      isEqual = records.compareByAsking(child, i);
      identifierOfChild = platform::FieldReader(eventIdentifierKey());  // as records may go
      if (ItemFields::children(receiver) != held || held->size() != count) {
        return std::nullopt;
      }
    }
    if (!*isEqual) {
      changes.insert(i);
    }
  }
  return changes;
}

std::optional<IdentifierDifference> FreshList::knownDifference(
    const KRAVTWVItemArray& children) const {
  if (!_events || !_events->lineage) {
    return std::nullopt;
  }
  if (children.empty() && _events->lineage->areIdentified) {
    return IdentifierDifference{{}, platform::IndexSet::range(0, size())};
  }
  if (_events->selection || _events->lineage->listBefore == 0 ||
      _events->lineage->countBefore != children.size()) {
    return std::nullopt;
  }
  const EventLineage& lineage = *_events->lineage;
  for (std::size_t i = 0; i < children.size(); ++i) {
    ItemFields::prefetch(children[std::min(i + 2 * ahead, children.size() - 1)].get());
    if (!children[i] || !ItemFields::isPlainEvent(*children[i])) {
      return std::nullopt;
    }
    if (lineage.placeBefore(ItemFields::equalRecord(*children[i])) != i) {
      return std::nullopt;
    }
  }
  IdentifierDifference difference;
  std::vector<std::uint8_t> stays(children.size());
  for (std::size_t i = 0; i < lineage.origins.size(); ++i) {
    const PlaceTable::Place origin = lineage.origins[i];
    if (origin == PlaceTable::nowhere) {
      difference.appeared.insert(i);
    } else {
      stays[origin & EventLineage::placeBits] = 1;
    }
  }
  for (std::size_t i = 0; i < stays.size(); ++i) {
    if (stays[i] == 0) {
      difference.vanished.insert(i);
    }
  }
  return difference;
}

std::vector<Value> FreshList::identifiers() const {
  if (!_events) {
    return anyIdentifiersOf(_items);
  }
  std::vector<Value> identifiers;
  identifiers.reserve(_events->size());
  platform::FieldReader identifierOf(eventIdentifierKey());
  for (std::size_t i = 0; i < _events->size(); ++i) {
    identifiers.push_back(identifierOf(_events->record(i)));
  }
  return identifiers;
}

std::shared_ptr<KRAVTWVItemVexil> FreshList::item(std::size_t index) const {
  if (_events) {
    return _events->item(index);
  }
  std::shared_ptr<KRAVTWVItemVexil> row = (*_items)[index];
  if (_eventsOfRows && row->children()->empty()) {
    const FreshEvents& events = (*_eventsOfRows)[index];
    row->children()->reserve(events.size());
    for (std::size_t i = 0; i < events.size(); ++i) {
      row->children()->push_back(events.item(i));
    }
  }
  return row;
}

Value FreshList::representedObject(std::size_t index) const {
  return _events ? _events->record(index) : (*_items)[index]->representedObject();
}

FreshList FreshList::childrenOf(std::size_t index) const {
  if (_events) {
    return noItems();
  }
  if (_eventsOfRows) {
    FreshList events(nullptr);
    events._events = {_eventsOfRows, &(*_eventsOfRows)[index]};
    return events;
  }
  return {ItemFields::children(*(*_items)[index])};
}

std::optional<bool> FreshList::isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const {
  if (_eventsOfRows) {
    return isRowEqualTo(child, index);
  }
  if (!_events || !ItemFields::isPlainEvent(child)) {
    return std::nullopt;
  }
  const KnownRecords records(*_events);
  const std::optional<bool> isEqual = records.compareAtOnce(child, index);
  return isEqual ? isEqual : records.compareByAsking(child, index);
}

std::optional<bool> FreshList::isRowEqualTo(KRAVTWVItemVexil& child, std::size_t index) const {
  const KRAVTWVItemVexil& row = *(*_items)[index];
  if (typeid(child) != typeid(row) || !ItemFields::hasChildrenArray(child)) {
    return std::nullopt;
  }
  std::shared_ptr<KRAVTWVItemVexil> held;  // from when the first object is asked
  const auto hold = [&] {
    if (!held) {
      held = std::static_pointer_cast<KRAVTWVItemVexil>(child.shared_from_this());
    }
  };
  if (ItemFields::representedObject(child).isAbsent()) {
    return false;
  }
  std::optional<bool> isObjectEqual =
      ItemFields::representedObject(child).plainlyEquals(ItemFields::representedObject(row));
  if (!isObjectEqual) {
    hold();
    isObjectEqual = child.representedObject() == row.representedObject();
  }
  if (!*isObjectEqual) {
    return false;
  }
  if (!ItemFields::hasChildrenArray(child)) {
    return false;  // since it was asked
  }
  const FreshEvents& events = (*_eventsOfRows)[index];
  const std::shared_ptr<KRAVTWVItemArray> children = ItemFields::children(child);
  const auto areAsMany = [&] { return (children ? children->size() : 0) == events.size(); };
  if (!areAsMany()) {
    return false;
  }
  const KnownRecords records(events);
  for (std::size_t i = 0; i < events.size(); ++i) {
    ItemFields::prefetch((*children)[std::min(i + ahead, events.size() - 1)].get());
    if (!(*children)[i] || !ItemFields::isPlainEvent(*(*children)[i])) {
      return held ? std::optional(held->isEqual(*item(index))) : std::nullopt;
    }
    std::optional<bool> isEqual = records.compareAtOnce(*(*children)[i], i);
    if (!isEqual) {
      hold();
      isEqual = records.compareByAsking(*(*children)[i], i);
      if (ItemFields::children(child) != children || !areAsMany()) {
        return false;  // by now
      }
    }
    if (!*isEqual) {
      return false;
    }
  }
  return true;
}

void FreshList::noteEqual(KRAVTWVItemVexil& child, std::size_t index) const {
  if (_events && ItemFields::isPlainEvent(child) &&
      ItemFields::representedObject(child).sharesStorageWith(_events->record(index))) {
    KnownRecords(*_events).note(child, index);
  }
}

std::size_t FreshList::compareEvents(const KRAVTWVItemArray& children, std::size_t first,
                                     std::size_t end, platform::IndexSet& changes) const {
  if (!_events) {
    return first;
  }
  const KnownRecords records(*_events);
  for (std::size_t i = first; i < end; ++i) {
    prefetchToCompare(children, *_events, i);
    if (!ItemFields::isPlainEvent(*children[i])) {
      return i;
    }
    const std::optional<bool> isEqual = records.compareAtOnce(*children[i], i);
    if (!isEqual) {
      return i;
    }
    if (!*isEqual) {
      changes.insert(i);
    }
  }
  return std::max(first, end);
}

void FreshList::prefetchToReplace(const KRAVTWVItemArray& children, std::size_t index) const {
  if (_events && index + 2 * ahead < children.size() && index + 2 * ahead < size()) {
    ItemFields::prefetch(children[index + 2 * ahead].get());
    ItemFields::prefetchRecord(children[index + ahead].get(), 1);
    _events->record(index + ahead).prefetch(1);
  }
}

}  // namespace vexil::detail
