// SPDX-License-Identifier: Apache-2.0
#include <vexil/order/EventOrder.h>
#include <vexil/order/EventOrderArrangement.h>
#include <vexil/order/EventOrderSearch.h>
#include <vexil/order/LiteralRefresh.h>

#include <algorithm>
#include <atomic>
#include <span>
#include <utility>

namespace vexil::detail {

using platform::Value;

std::uint64_t EventLineage::nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

EventOrder::Answer EventOrder::compare(const Value& held, const Value& events) {
  const Value before = _knownList;  // destroyed last, because this can run foreign code
  // Objects in records are asked whether they are equal. They may refresh the collection.
  const bool isNested = std::exchange(_isAtWork, true);
  struct AtWork {
    bool& isAtWork;
    bool wasAtWork;
    ~AtWork() { isAtWork = wasAtWork; }
  } const atWork{_isAtWork, isNested};

  if (!isNested) {
    if (auto answer = compareByIdentifier(held, events)) {
      return std::move(*answer);
    }
  }
  OrderedEvents sorted = inEventOrder(events);
  const bool isHeld = !held.isAbsent() && held == sorted.list;
  if (isHeld || isNested) {
    return {std::move(sorted.list), isHeld, nullptr};
  }
  startFrom(sorted);
  return {std::move(sorted.list), false, _lineage};
}

/// Returns nothing when the list must be sorted.
std::optional<EventOrder::Answer> EventOrder::compareByIdentifier(const Value& held,
                                                                  const Value& events) {
  if (LiteralRefresh::isWanted() || held.elements().empty() || !events.isArray()) {
    return std::nullopt;
  }
  if (!held.sharesStorageWith(_knownList)) {
    startFrom(asItStands(held));
  }
  if (!_lineage || !learnIdentifiers()) {
    return std::nullopt;
  }
  Search search(*this, events.elements());
  return search.run() ? answerTo(search) : std::nullopt;
}

void EventOrder::startFrom(const OrderedEvents& events) {
  _knownList = events.list;
  _lineage.reset();
  if (events.isStrict && RecordAddress::reaches(events.list.elements().size())) {
    _lineage = std::make_shared<EventLineage>(
        EventLineage{.list = EventLineage::nextNumber(), .areIdentified = events.areIdentified});
  }
  _placesByIdentifier.clear();
  _identifiersDiffer = true;
  _lastPlaces.clear();
}

/// Makes the table of identifiers if it is missing. Returns whether all records have plain
/// identifiers that differ.
bool EventOrder::learnIdentifiers() {
  if (!_placesByIdentifier.isEmpty() || !_identifiersDiffer) {
    return _identifiersDiffer;
  }
  const std::span<const Value> records = _knownList.elements();
  if (records.size() >= PlaceTable::nowhere) {
    return _identifiersDiffer = false;
  }
  _placesByIdentifier.reset(records.size());
  EventKeyReader reader;
  constexpr std::size_t ahead = 12;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (i + 2 * ahead < records.size()) {
      records[i + 2 * ahead].prefetch();
      const Value& identifier = reader.identifier(records[i + ahead]);
      _placesByIdentifier.prefetch(isPlainIdentifier(identifier) ? identifier.hash() : 0);
    }
    if (!learnIdentifier(records, static_cast<Place>(i))) {
      return false;
    }
  }
  return true;
}

/// Adds the identifier at a place to the table. Returns false, and clears the table, when the
/// identifier is not plain or is in the table already. Clears it also when the table is full.
bool EventOrder::learnIdentifier(std::span<const Value> records, Place place) {
  const Value& identifier = records[place][eventIdentifierKey()];
  const std::uint64_t hash = isPlainIdentifier(identifier) ? identifier.hash() : 0;
  const auto isTheSame = [&](Place other) {
    return records[other][eventIdentifierKey()] == identifier;
  };
  _identifiersDiffer = isPlainIdentifier(identifier) &&
                       _placesByIdentifier.find(hash, isTheSame) == PlaceTable::nowhere;
  if (!_identifiersDiffer || !_placesByIdentifier.hasRoomFor(1)) {
    _placesByIdentifier.clear();
    return _identifiersDiffer;
  }
  _placesByIdentifier.insert(hash, place);
  return true;
}

/// Returns nothing when the list must be sorted.
std::optional<EventOrder::Answer> EventOrder::answerTo(Search& search) {
  if (!search.differs) {
    _lastPlaces = std::move(search.places);
    return Answer{_knownList, true, nullptr};
  }
  const std::size_t countBefore = _knownList.elements().size();
  if (search.newcomers.empty() && search.foundCount == countBefore) {
    // The identifiers stay at their places.
    Answer answer = answerWith(search.freshByPlace->take(), std::move(search.originsByPlace));
    _lastPlaces = std::move(search.places);
    _lineage->identifiersDiffer = true;
    return answer;
  }
  Arrangement arrangement(search);
  if (!arrangement.run()) {
    return std::nullopt;
  }
  Answer answer = answerWith(arrangement.sorted->take(), std::move(arrangement.origins));
  updatePlaces(search, arrangement.newPlaces);
  // A table that was cleared because it was full has not seen all.
  _lineage->identifiersDiffer = _identifiersDiffer && !_placesByIdentifier.isEmpty();
  return answer;
}

/// The fresh list, in order, becomes the known one.
EventOrder::Answer EventOrder::answerWith(Value fresh, std::vector<Place> origins) {
  _lineage =
      std::make_shared<EventLineage>(EventLineage{.list = EventLineage::nextNumber(),
                                                  .areIdentified = true,
                                                  .listBefore = _lineage->list,
                                                  .countBefore = _knownList.elements().size(),
                                                  .origins = std::move(origins)});
  _knownList = std::move(fresh);
  return {_knownList, false, _lineage};
}

/// Records have got other places. Updates what is remembered of places.
void EventOrder::updatePlaces(Search& search, std::span<const Place> newPlaces) {
  _lastPlaces = std::move(search.places);
  for (Place& place : _lastPlaces) {
    place = place == PlaceTable::nowhere ? place : newPlaces[place];
  }
  _placesByIdentifier.renumber(newPlaces);
  const std::span<const Value> records = _knownList.elements();
  for (const Search::Newcomer& newcomer : search.newcomers) {
    _lastPlaces[search.indexOf(newcomer)] = newcomer.place;
    if (newcomer.origin == PlaceTable::nowhere && !_placesByIdentifier.isEmpty() &&
        !learnIdentifier(records, newcomer.place)) {
      return;
    }
  }
}

}  // namespace vexil::detail
