// SPDX-License-Identifier: Apache-2.0
#include <vexil/kinds/Event.h>
#include <vexil/merge/FreshEvents.h>
#include <vexil/merge/Prefetching.h>
#include <vexil/order/EventSorting.h>
#include <vexil/platform/FieldReader.h>

#include <algorithm>

namespace vexil::detail {

using platform::IndexSet;
using platform::Value;

std::shared_ptr<KRAVTWVItemVexil> FreshEvents::item(std::size_t index) const {
  if (index + turnsAhead < size()) {
    record(index + turnsAhead).prefetch(1);
  }
  auto made = KRAVTWVEventVexil::itemWithEvent(record(index));
  if (parent) {
    made->setParent(parent);
  }
  KnownRecords(*this).note(*made, index);
  return made;
}

std::vector<Value> FreshEvents::identifiers() const {
  std::vector<Value> identifiers;
  identifiers.reserve(size());
  platform::FieldReader identifierOf(eventIdentifierKey());
  for (std::size_t i = 0; i < size(); ++i) {
    identifiers.push_back(identifierOf(record(i)));
  }
  return identifiers;
}

std::optional<IndexSet> FreshEvents::changesInPlace(const KRAVTWVItemVexil& receiver) const {
  const KRAVTWVItemArray& children = ItemFields::currentChildren(receiver);
  const std::size_t count = children.size();
  if (size() != count) {
    return std::nullopt;
  }
  const std::shared_ptr<KRAVTWVItemArray> held = ItemFields::children(receiver);
  platform::FieldReader identifierOf(eventIdentifierKey());
  platform::FieldReader identifierOfChild(eventIdentifierKey());
  const KnownRecords known(*this);
  IndexSet changes;
  for (std::size_t i = 0; i < count; ++i) {
    prefetchToCompare(children, *this, i);
    if (!children[i] || !ItemFields::isPlainEvent(*children[i])) {
      return std::nullopt;
    }
    KRAVTWVItemVexil& child = *children[i];
    std::optional<bool> isEqual = known.isEqualAsRemembered(child, i);
    if (isEqual == true) {
      known.note(child, i);  // records that an event remembers have identifiers
      continue;
    }
    const Value& identifier = identifierOf(record(i));
    if (identifier.isAbsent() ||
        identifierOfChild(ItemFields::representedObject(child)).plainlyEquals(identifier) != true) {
      return std::nullopt;
    }
    if (!isEqual) {
      isEqual = known.isEqualAtOnce(child, i);
    }
    if (!isEqual) {
      isEqual = known.isEqualByAsking(child, i);
      identifierOfChild = platform::FieldReader(eventIdentifierKey());  // records may have gone
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

namespace {

/// Whether the child at each position is a plain event that remembers a record, and that record, or
/// another one of the same identifier, stood at this position of the list before.
bool areChildrenTheListBefore(const KRAVTWVItemArray& children, const EventLineage& lineage) {
  for (std::size_t i = 0; i < children.size(); ++i) {
    ItemFields::prefetch(children[std::min(i + 2 * turnsAhead, children.size() - 1)].get());
    if (!children[i] || !ItemFields::isPlainEvent(*children[i]) ||
        lineage.placeBefore(ItemFields::equalRecord(*children[i])) != i) {
      return false;
    }
  }
  return true;
}

IdentifierDifference differenceFromListBefore(const EventLineage& lineage) {
  IdentifierDifference difference;
  std::vector<std::uint8_t> stays(lineage.countBefore);
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

}  // namespace

std::optional<IdentifierDifference> FreshEvents::knownDifference(
    const KRAVTWVItemArray& children) const {
  if (!lineage) {
    return std::nullopt;
  }
  if (children.empty() && lineage->areIdentified) {
    return IdentifierDifference{{}, IndexSet::range(0, size())};
  }
  if (selection || lineage->listBefore == 0 || lineage->countBefore != children.size() ||
      !areChildrenTheListBefore(children, *lineage)) {
    return std::nullopt;
  }
  return differenceFromListBefore(*lineage);
}

std::size_t FreshEvents::compareAtOnce(const KRAVTWVItemArray& children, std::size_t from,
                                       std::size_t to, IndexSet& changes) const {
  const KnownRecords known(*this);
  for (std::size_t i = from; i < to; ++i) {
    prefetchToCompare(children, *this, i);
    if (!ItemFields::isPlainEvent(*children[i])) {
      return i;
    }
    const std::optional<bool> isEqual = known.isEqualAtOnce(*children[i], i);
    if (!isEqual) {
      return i;
    }
    if (!*isEqual) {
      changes.insert(i);
    }
  }
  return to;
}

std::optional<bool> FreshEvents::isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const {
  if (!ItemFields::isPlainEvent(child)) {
    return std::nullopt;
  }
  const KnownRecords known(*this);
  const std::optional<bool> isEqual = known.isEqualAtOnce(child, index);
  return isEqual ? isEqual : known.isEqualByAsking(child, index);
}

void FreshEvents::noteEqual(KRAVTWVItemVexil& child, std::size_t index) const {
  if (ItemFields::isPlainEvent(child) &&
      ItemFields::representedObject(child).sharesStorageWith(record(index))) {
    KnownRecords(*this).note(child, index);
  }
}

}  // namespace vexil::detail
