// SPDX-License-Identifier: Apache-2.0
// Internal to items: what a merge brings in.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/items/ItemFields.h>
#include <vexil/merge/IdentifierDifference.h>
#include <vexil/order/EventLineage.h>
#include <vexil/order/PlaceTable.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vexil::detail {

/// Event items that have not been made: records, and the item that will be their parent.
struct FreshEvents {
  using Place = PlaceTable::Place;

  platform::Value records;                                   // an array, or absent
  std::shared_ptr<const EventLineage> lineage = {};          // of the records, if known
  std::shared_ptr<const std::vector<Place>> selection = {};  // which are meant; all without one
  std::size_t first = 0;                                     // the part of the selection: from here
  std::size_t end = 0;                                       // to here
  std::shared_ptr<KRAVTWVItemVexil> parent = {};

  [[nodiscard]] std::size_t size() const {
    return selection ? end - first : records.elements().size();
  }
  [[nodiscard]] std::size_t place(std::size_t index) const {
    return selection ? (*selection)[first + index] : index;
  }
  [[nodiscard]] const platform::Value& record(std::size_t index) const {
    return records.elements()[place(index)];
  }
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item(std::size_t index) const;
};

/// What the lineage of records says of them, at hand for a loop over many events.
class KnownRecords {
 public:
  explicit KnownRecords(const FreshEvents& events);

  /// Whether the record at `index` equals that of a plain event, as far as the event remembers it.
  [[nodiscard]] std::optional<bool> areEqual(const KRAVTWVItemVexil& event,
                                             std::size_t index) const;
  /// The same of any plain event; nothing where an object of a host must be asked. If they are
  /// equal, the event remembers the record.
  [[nodiscard]] std::optional<bool> compareAtOnce(KRAVTWVItemVexil& event, std::size_t index) const;
  /// The same, with whatever runs. Nothing is remembered, as objects may answer otherwise the next
  /// time.
  [[nodiscard]] bool compareByAsking(const KRAVTWVItemVexil& event, std::size_t index) const {
    // Copies: whoever is asked may give the event another record, or let go of it.
    const platform::Value object = ItemFields::representedObject(event);
    const platform::Value record = _records[place(index)];
    return object == record;
  }
  /// Has a plain event that represents an equal of the record remember it.
  void note(KRAVTWVItemVexil& event, std::size_t index) const {
    if (_list != 0) {
      ItemFields::setEqualRecord(event, {_list, place(index)});
    }
  }

 private:
  using Place = PlaceTable::Place;
  [[nodiscard]] Place place(std::size_t index) const {
    return _selection == nullptr ? static_cast<Place>(index) : _selection[index];
  }

  const platform::Value* _records;
  const Place* _selection = nullptr;
  std::uint64_t _list = 0;  // 0 where nothing is known
  std::uint64_t _listBefore = 0;
  const Place* _origins = nullptr;
};

/// A freshly built list of items, as a merge asks for it. Most refreshes bring what is there
/// already, so a collection may hand over records in place of event items, and domain items whose
/// events are such. Then no more items are made than are inserted, and a live item is compared with
/// a record rather than with an item that wraps it. To an observer it is all the same, as of fresh
/// items only those that are inserted are ever seen; but for one thing: the fresh row that is the
/// parent of an event inserted below a row that stays has no children while the merge goes on.
class FreshList {
 public:
  /// Items as they are. A null pointer is an empty list.
  // NOLINTNEXTLINE(google-explicit-constructor): an array of items is such a list
  FreshList(std::shared_ptr<const KRAVTWVItemArray> items);
  explicit FreshList(FreshEvents events);
  /// Items without children as yet, each with the events that belong below it.
  FreshList(std::shared_ptr<const KRAVTWVItemArray> rows, std::vector<FreshEvents> eventsOfRows);

  [[nodiscard]] std::size_t size() const { return _events ? _events->size() : _items->size(); }

  /// The items when they are the host's business: it can hold and change them.
  [[nodiscard]] const KRAVTWVItemArray* hostItems() const {
    return _events || _eventsOfRows ? nullptr : _items.get();
  }

  /// Where this list differs from the receiver's children, when all identifiers are there and stand
  /// at the same places in both, and all this can be told without making an item: nothing
  /// otherwise, and when the children became others while objects were asked.
  [[nodiscard]] std::optional<platform::IndexSet> changesInPlace(
      const KRAVTWVItemVexil& receiver) const;

  /// Which identifiers are not in the other list, where that can be told without a look at them.
  [[nodiscard]] std::optional<IdentifierDifference> knownDifference(
      const KRAVTWVItemArray& children) const;

  /// The identifiers, absent ones included. Raises `InvalidArgument` for a null pointer.
  [[nodiscard]] std::vector<platform::Value> identifiers() const;

  /// Whether the item at a position has no children, without a look at it.
  [[nodiscard]] bool isLeaf() const { return _events != nullptr; }

  /// The item at a position, with its children.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item(std::size_t index) const;

  [[nodiscard]] platform::Value representedObject(std::size_t index) const;
  [[nodiscard]] FreshList childrenOf(std::size_t index) const;

  /// `child.isEqual` of the item, a record or a row with its events, where that can be told without
  /// making items. Nothing otherwise, and then no object was asked. Events that are equal remember
  /// it.
  [[nodiscard]] std::optional<bool> isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const;

  /// To be called when a child has taken over the represented object of the item.
  void noteEqual(KRAVTWVItemVexil& child, std::size_t index) const;

  /// `child.setRepresentedObject` of the item, where nobody can hear of that: the child is a plain
  /// event without observers. `old` is what it represented, for the caller to let go of. False,
  /// with nothing changed, when the child must be asked to do it.
  [[nodiscard]] bool replaceUnheard(KRAVTWVItemVexil& child, std::size_t index,
                                    platform::Value& old) const;

  /// Compares children with the items at the same places, from `first` up to but not including
  /// `end`, and adds the places where they differ. Runs no foreign code: it yields where it
  /// stopped, because an object must be asked there, or there is more to the child than a plain
  /// event.
  [[nodiscard]] std::size_t compareEvents(const KRAVTWVItemArray& children, std::size_t first,
                                          std::size_t end, platform::IndexSet& changes) const;

  /// For a loop that has children take over records and has come to `index`: begins to fetch what
  /// it will look at some turns later.
  void prefetchToReplace(const KRAVTWVItemArray& children, std::size_t index) const;

 private:
  [[nodiscard]] std::optional<bool> isRowEqualTo(KRAVTWVItemVexil& child, std::size_t index) const;

  std::shared_ptr<const KRAVTWVItemArray> _items;
  std::shared_ptr<const FreshEvents> _events;
  std::shared_ptr<const std::vector<FreshEvents>> _eventsOfRows;
};

inline KnownRecords::KnownRecords(const FreshEvents& events)
    : _records(events.records.elements().data()) {
  if (events.selection) {
    _selection = events.selection->data() + events.first;
  }
  // Whoever lacks an identifier must be found out.
  if (events.lineage && events.lineage->areIdentified) {
    _list = events.lineage->list;
    _listBefore = events.lineage->listBefore;
    _origins = events.lineage->origins.data();
  }
}

inline std::optional<bool> KnownRecords::areEqual(const KRAVTWVItemVexil& event,
                                                  std::size_t index) const {
  const RecordAddress address = ItemFields::equalRecord(event);
  if (_list == 0 || address.list() == 0) {
    return std::nullopt;
  }
  if (address.list() == _listBefore) {
    // Of records with different identifiers none equals the other.
    const Place origin = _origins[place(index)];
    return origin == PlaceTable::nowhere || (origin & EventLineage::unsure) == 0
               ? std::optional(origin == address.place())
               : std::nullopt;
  }
  return address.list() == _list ? std::optional(address.place() == place(index)) : std::nullopt;
}

inline std::optional<bool> KnownRecords::compareAtOnce(KRAVTWVItemVexil& event,
                                                       std::size_t index) const {
  std::optional<bool> isEqual = areEqual(event, index);
  if (!isEqual) {
    const platform::Value& object = ItemFields::representedObject(event);
    if (object.isAbsent()) {
      return false;
    }
    isEqual = object.plainlyEquals(_records[place(index)]);
  }
  if (isEqual == true) {
    note(event, index);
  }
  return isEqual;
}

inline bool FreshList::replaceUnheard(KRAVTWVItemVexil& child, std::size_t index,
                                      platform::Value& old) const {
  if (!_events || child.isObserved() || !ItemFields::isPlainEvent(child)) {
    return false;
  }
  old = _events->record(index);
  ItemFields::exchangeRepresentedObject(child, old);
  KnownRecords(*_events).note(child, index);
  return true;
}

/// The identifiers of items, absent ones included. An item may change the array when it is asked.
/// Raises `InvalidArgument` for a null pointer.
[[nodiscard]] std::vector<platform::Value> anyIdentifiersOf(
    const std::shared_ptr<const KRAVTWVItemArray>& items);

}  // namespace vexil::detail
