// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: event records in place of items that may not be needed.
#pragma once

#include <vexil/items/ItemFields.h>
#include <vexil/kinds/Item.h>
#include <vexil/merge/IdentifierDifference.h>
#include <vexil/order/EventLineage.h>
#include <vexil/order/PlaceTable.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vexil::detail {

/// A fresh list of plain event items without children that have not been made: their records, and
/// the item that will be their parent. Most refreshes bring what is there already, so a live item
/// is compared with a record, and an item is made only for a record that is inserted.
struct FreshEvents {
  using Place = PlaceTable::Place;

  platform::Value records;                                   // an array, or absent
  std::shared_ptr<const EventLineage> lineage = {};          // of the records, if known
  std::shared_ptr<const std::vector<Place>> selection = {};  // which are meant; null means all
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

  /// Makes the item at a position.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item(std::size_t index) const;

  /// The identifiers in the records, also absent ones.
  [[nodiscard]] std::vector<platform::Value> identifiers() const;

  /// Where the records differ from the children of `receiver`, if both have the same identifiers at
  /// the same positions. Nothing otherwise, and nothing when the children became others while
  /// objects were asked.
  [[nodiscard]] std::optional<platform::IndexSet> changesInPlace(
      const KRAVTWVItemVexil& receiver) const;

  /// Which identifiers came and which went, if the lineage tells that without comparing them.
  [[nodiscard]] std::optional<IdentifierDifference> knownDifference(
      const KRAVTWVItemArray& children) const;

  /// Compares children with the records at the same positions, from `from` up to but not including
  /// `to`, and adds the positions that differ to `changes`. Runs no foreign code. Returns the
  /// position where it had to stop: an object must be asked there, or the child is no plain event.
  [[nodiscard]] std::size_t compareAtOnce(const KRAVTWVItemArray& children, std::size_t from,
                                          std::size_t to, platform::IndexSet& changes) const;

  /// `child.isEqual` of the item at a position, if `child` is a plain event. May run foreign code.
  /// Nothing for any other child, and then nothing was asked.
  [[nodiscard]] std::optional<bool> isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const;

  /// Does what `child.setRepresentedObject(record(index))` does for a plain event of which nobody
  /// would be told that.
  void replaceSilently(KRAVTWVItemVexil& child, std::size_t index) const;

  /// Makes a child remember the record at `index`. Call it when the child has taken the record
  /// over. Does nothing when the child is no plain event, or when an observer has given it another
  /// record since.
  void noteEqual(KRAVTWVItemVexil& child, std::size_t index) const;
};

/// Answers questions about many records of one fresh list quickly, with the help of their lineage.
class KnownRecords {
 public:
  explicit KnownRecords(const FreshEvents& events);

  /// Whether the record of a plain event equals the record at `index`. Answers only from what the
  /// event remembers, otherwise nothing.
  [[nodiscard]] std::optional<bool> isEqualAsRemembered(const KRAVTWVItemVexil& event,
                                                        std::size_t index) const;
  /// The same, and compares if the event remembers nothing. Nothing when an object of a host must
  /// be asked. If the two are equal, the event remembers the record.
  [[nodiscard]] std::optional<bool> isEqualAtOnce(KRAVTWVItemVexil& event, std::size_t index) const;
  /// The same, also by running foreign code. Nothing is remembered, because objects may answer
  /// otherwise the next time.
  [[nodiscard]] bool isEqualByAsking(const KRAVTWVItemVexil& event, std::size_t index) const;

  /// Makes a plain event remember the record at `index`, which equals the one it represents.
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
  std::uint64_t _list = 0;  // 0 when nothing is known
  std::uint64_t _listBefore = 0;
  const Place* _origins = nullptr;
};

inline KnownRecords::KnownRecords(const FreshEvents& events)
    : _records(events.records.elements().data()) {
  if (events.selection) {
    _selection = events.selection->data() + events.first;
  }
  // An event without an identifier must be found, so then nothing counts as known.
  if (events.lineage && events.lineage->areIdentified) {
    _list = events.lineage->list;
    _listBefore = events.lineage->listBefore;
    _origins = events.lineage->origins.data();
  }
}

inline std::optional<bool> KnownRecords::isEqualAsRemembered(const KRAVTWVItemVexil& event,
                                                             std::size_t index) const {
  const RecordAddress address = ItemFields::equalRecord(event);
  if (_list == 0 || address.list() == 0) {
    return std::nullopt;
  }
  if (address.list() == _listBefore) {
    // Records with different identifiers differ.
    const Place origin = _origins[place(index)];
    return origin == PlaceTable::nowhere || (origin & EventLineage::unsure) == 0
               ? std::optional(origin == address.place())
               : std::nullopt;
  }
  return address.list() == _list ? std::optional(address.place() == place(index)) : std::nullopt;
}

inline std::optional<bool> KnownRecords::isEqualAtOnce(KRAVTWVItemVexil& event,
                                                       std::size_t index) const {
  std::optional<bool> isEqual = isEqualAsRemembered(event, index);
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

inline bool KnownRecords::isEqualByAsking(const KRAVTWVItemVexil& event, std::size_t index) const {
  // Copies: an object that is asked may give the event another record, or let go of it.
  const platform::Value object = ItemFields::representedObject(event);
  const platform::Value record = _records[place(index)];
  return object == record;
}

inline void FreshEvents::replaceSilently(KRAVTWVItemVexil& child, std::size_t index) const {
  platform::Value object = record(index);
  ItemFields::exchangeRepresentedObject(child, object);
  KnownRecords(*this).note(child, index);
  // Lets go of the old object here, last, because that may run foreign code.
}

}  // namespace vexil::detail
