// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/order/EventOrder.h>
#include <vexil/order/LiteralRefresh.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <compare>
#include <iterator>
#include <span>
#include <utility>

namespace vexil::detail {

using platform::ArrayMaker;
using platform::Key;
using platform::Value;

namespace {

const Key& identifierKey() {
  static const Key key(kTWEventUniqueID);
  return key;
}

/// Whether an identifier can be looked for: a text or number, which runs no foreign code.
bool isPlain(const Value& identifier) {
  return identifier.isString() || identifier.isNumber();
}

}  // namespace

std::uint64_t EventLineage::nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

/// Looks for the records of a fresh list among those held.
class EventOrder::Search {
 public:
  Search(const EventOrder& order, std::span<const Value> records)
      : _order(order),
        _held(order._known.elements()),
        _records(records),
        _isFound(order._known.elements().size()),
        _isFarFlung(records.size() > nearby),
        _isGuessing(order._lastPlaces.size() == records.size()) {
    places.resize(records.size());
  }

  /// False when a record is none, or two have one identifier: then the list must be sorted.
  [[nodiscard]] bool run() {
    for (std::size_t begin = lookAtVeryObjects(); begin < _records.size(); begin += block) {
      if (!lookAt(begin, std::min(begin + block, _records.size()))) {
        return false;
      }
    }
    if (found != _held.size()) {
      startByPlace(_records.size());
      differs = true;
    }
    return !foundTwice;
  }

  static constexpr Place nowhere = PlaceTable::nowhere;

  /// A record that is new, or has got another name.
  struct Newcomer {
    const Value* record;
    Place origin;
    Place place = nowhere;  // in the new list, once that is known
  };
  [[nodiscard]] std::size_t indexOf(const Newcomer& newcomer) const {
    return static_cast<std::size_t>(newcomer.record - _records.data());
  }

  std::vector<Place> places;  // of the records; nowhere for a newcomer
  std::vector<Newcomer> newcomers;
  std::size_t found = 0;  // how many of those held are in the fresh list
  bool differs = false;   // whether anything does

  // The fresh records at the places of those held, and their origins; made when the first is found
  // that is not surely the same.
  std::optional<ArrayMaker> byPlace;
  std::vector<Place> origins;

 private:
  // Memory answers late: the things to look at are asked for a block at a time.
  static constexpr std::size_t block = 32;
  static constexpr std::size_t nearby = 2000;  // so many records lie in the nearer caches anyway

  std::size_t lookAtVeryObjects();
  bool lookAt(std::size_t begin, std::size_t end);
  [[nodiscard]] bool isHeldAt(Place place, const Value& record) const {
    return place < _held.size() && _held[place].sharesStorageWith(record);
  }
  [[nodiscard]] Place findExactly(const Value& identifier) const;
  void settleEqual(std::size_t index, Place place);
  bool settle(std::size_t index, Place candidate);
  void find(std::size_t index, Place place) {
    places[index] = place;
    foundTwice |= _isFound[place] != 0;
    _isFound[place] = 1;
    ++found;
  }

  void startByPlace(std::size_t count) {
    if (byPlace) {
      return;
    }
    byPlace.emplace(_held.size());
    origins.resize(_held.size(), nowhere);
    for (std::size_t i = 0; i < count; ++i) {
      put(places[i], places[i], _records[i]);
    }
  }
  void put(Place place, Place origin, const Value& record) {
    record.noteHint(place);
    byPlace->set(place, record);
    origins[place] = origin;
  }

  const EventOrder& _order;
  std::span<const Value> _held;
  std::span<const Value> _records;
  std::vector<std::uint8_t> _isFound;
  bool foundTwice = false;
  bool _isFarFlung;
  bool _isGuessing;  // that the records come in the order of last time
  EventKeyReader _reader;
  EventKeyReader _heldReader;
};

/// Hosts often send the very objects again. Yields where the first is that is not held.
std::size_t EventOrder::Search::lookAtVeryObjects() {
  constexpr std::size_t ahead = 16;
  std::size_t index = 0;
  for (; index < _records.size(); ++index) {
    _records[std::min(index + ahead, _records.size() - 1)].prefetch(1);
    const Value& record = _records[index];
    if (!record.isDictionary() || !isHeldAt(record.hint(), record)) {
      break;
    }
    find(index, record.hint());
  }
  return index;
}

bool EventOrder::Search::lookAt(std::size_t begin, std::size_t end) {
  std::array<std::uint64_t, block> hashes;  // of those without a candidate at hand
  std::array<Place, block> candidates;
  const platform::detail::HashKeys hashKeys;
  for (std::size_t i = end; _isFarFlung && i < std::min(end + block, _records.size()); ++i) {
    _records[i].prefetch();
  }
  for (std::size_t i = begin; i < end; ++i) {
    const Value& record = _records[i];
    if (!record.isDictionary()) {
      return false;
    }
    Place& candidate = candidates[i - begin];
    candidate = record.hint();
    if (!isHeldAt(candidate, record)) {
      candidate = _isGuessing ? _order._lastPlaces[i] : nowhere;
    }
    if (candidate == nowhere) {
      const Value& identifier = _reader.identifier(record);
      hashes[i - begin] = isPlain(identifier) ? identifier.hash(hashKeys) : 0;
      _order._placesByIdentifier.prefetch(hashes[i - begin]);
    }
  }
  for (std::size_t i = begin; i < end; ++i) {
    Place& candidate = candidates[i - begin];
    if (candidate == nowhere) {
      candidate = _order._placesByIdentifier.likely(hashes[i - begin]);
    }
    if (_isFarFlung && candidate != nowhere) {
      _held[candidate].prefetch();
    }
  }
  for (std::size_t i = begin; _isFarFlung && i < end; ++i) {
    const Place candidate = candidates[i - begin];
    if (candidate != nowhere && !_held[candidate].sharesStorageWith(_records[i])) {
      _records[i].prefetchParts();
      _held[candidate].prefetchParts();
    }
  }
  for (std::size_t i = begin; i < end; ++i) {
    const Place candidate = candidates[i - begin];
    if (candidate != nowhere && _held[candidate].plainlyEqualsAtOnce(_records[i]) == true) {
      settleEqual(i, candidate);
    } else if (!settle(i, candidate)) {
      return false;
    }
  }
  return true;
}

/// A record that equals the one held at a place, and surely will.
void EventOrder::Search::settleEqual(std::size_t index, Place place) {
  const Value& record = _records[index];
  find(index, place);
  if (byPlace) {
    put(place, place, record);
  } else if (_held[place].sharesStorageWith(record)) {
    record.noteHint(place);
  }
}

/// Finds out what has become of any other record; false when the list must be sorted.
bool EventOrder::Search::settle(std::size_t index, Place candidate) {
  const Value& record = _records[index];
  const Value& identifier = _reader.identifier(record);
  if (identifier.isAbsent()) {
    return false;
  }
  Place place = candidate;
  if (place == nowhere || !(_heldReader.identifier(_held[place]) == identifier)) {
    _isGuessing = false;
    place = findExactly(identifier);
  }
  Place origin = place;
  if (place != nowhere) {
    const std::optional<bool> isPlainlyEqual = _held[place].plainlyEquals(record);
    if (isPlainlyEqual == true) {
      settleEqual(index, place);
      return true;
    }
    startByPlace(index);
    find(index, place);
    if (!isPlainlyEqual && _held[place] == record) {
      put(place, place | EventLineage::unsure, record);
      return true;
    }
    origin |= isPlainlyEqual ? EventLineage::changed : EventLineage::unsure;
    differs = true;
    if (_heldReader.name(_held[place]) == _reader.name(record)) {
      put(place, origin, record);
      return true;
    }
  }
  startByPlace(index);
  differs = true;
  places[index] = nowhere;
  newcomers.push_back({.record = &record, .origin = origin});
  return true;
}

EventOrder::Place EventOrder::Search::findExactly(const Value& identifier) const {
  if (!isPlain(identifier)) {
    return nowhere;
  }
  return _order._placesByIdentifier.find(
      identifier.hash(), [&](Place place) { return _held[place][identifierKey()] == identifier; });
}

EventOrder::Answer EventOrder::compare(const Value& held, const Value& events) {
  const Value before = _known;  // goes last, as anything can happen when it does
  // Objects in records are asked whether they are equal, and could have the collection refreshed.
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
  know(sorted);
  return {std::move(sorted.list), false, _lineage};
}

/// Nothing when the list must be sorted.
std::optional<EventOrder::Answer> EventOrder::compareByIdentifier(const Value& held,
                                                                  const Value& events) {
  if (LiteralRefresh::isWanted() || held.elements().empty() || !events.isArray()) {
    return std::nullopt;
  }
  if (!held.sharesStorageWith(_known)) {
    know(knownOrderOf(held));
  }
  if (!_lineage || !learnIdentifiers()) {
    return std::nullopt;
  }
  Search search(*this, events.elements());
  return search.run() ? arrange(search) : std::nullopt;
}

void EventOrder::know(const OrderedEvents& events) {
  _known = events.list;
  _lineage.reset();
  if (events.isStrict && RecordAddress::reaches(events.list.elements().size())) {
    _lineage = std::make_shared<EventLineage>(
        EventLineage{.list = EventLineage::nextNumber(), .areIdentified = events.areIdentified});
  }
  _placesByIdentifier.clear();
  _identifiersDiffer = true;
  _lastPlaces.clear();
}

/// Makes the table, where it is missing; whether all identifiers are there and differ.
bool EventOrder::learnIdentifiers() {
  if (!_placesByIdentifier.isEmpty() || !_identifiersDiffer) {
    return _identifiersDiffer;
  }
  const std::span<const Value> records = _known.elements();
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
      _placesByIdentifier.prefetch(isPlain(identifier) ? identifier.hash() : 0);
    }
    if (!learnIdentifier(records, static_cast<Place>(i))) {
      return false;
    }
  }
  return true;
}

/// Whether the identifier at a place can be looked for, and is at no other place so far. Otherwise
/// nothing is known any more.
bool EventOrder::learnIdentifier(std::span<const Value> records, Place place) {
  const Value& identifier = records[place][identifierKey()];
  const std::uint64_t hash = isPlain(identifier) ? identifier.hash() : 0;
  const auto isTheSame = [&](Place other) { return records[other][identifierKey()] == identifier; };
  _identifiersDiffer =
      isPlain(identifier) && _placesByIdentifier.find(hash, isTheSame) == PlaceTable::nowhere;
  if (!_identifiersDiffer || !_placesByIdentifier.hasRoomFor(1)) {
    _placesByIdentifier.clear();
    return _identifiersDiffer;
  }
  _placesByIdentifier.insert(hash, place);
  return true;
}

/// Nothing when records share a place in the order.
std::optional<EventOrder::Answer> EventOrder::arrange(Search& search) {
  const std::span<const Value> held = _known.elements();
  if (!search.differs) {
    _lastPlaces = std::move(search.places);
    return Answer{_known, true, nullptr};
  }
  auto lineage = std::make_shared<EventLineage>(EventLineage{.list = EventLineage::nextNumber(),
                                                             .areIdentified = true,
                                                             .listBefore = _lineage->list,
                                                             .countBefore = held.size()});
  if (search.newcomers.empty() && search.found == held.size()) {
    lineage->origins = std::move(search.origins);
    _lastPlaces = std::move(search.places);
    _known = search.byPlace->take();  // and identifiers stand where they stood
    _lineage = lineage;
    return Answer{_known, false, std::move(lineage)};
  }

  EventKeyReader reader;
  EventKeyReader readerOfOthers;
  const auto before = [&](const Value& a, const Value& b) {
    return std::is_lt(order(reader(a), readerOfOthers(b)));
  };
  std::ranges::sort(search.newcomers,
                    [&](const auto& a, const auto& b) { return before(*a.record, *b.record); });
  ArrayMaker& byPlace = *search.byPlace;
  std::vector<Place> kept;
  kept.reserve(held.size());
  for (Place place = 0; place < held.size(); ++place) {
    if (!byPlace[place].isAbsent()) {
      kept.push_back(place);
    }
  }

  const std::size_t count = kept.size() + search.newcomers.size();
  if (!RecordAddress::reaches(count)) {
    return std::nullopt;
  }
  ArrayMaker sorted(count);
  lineage->origins.reserve(count);
  std::vector<Place> newPlaces(held.size(), PlaceTable::nowhere);
  auto stayed = kept.begin();
  const auto takeUpTo = [&](auto end) {
    for (; stayed != end; ++stayed) {
      const Place place = static_cast<Place>(lineage->origins.size());
      sorted.set(place, byPlace.take(*stayed));
      lineage->origins.push_back(search.origins[*stayed]);
      newPlaces[*stayed] = place;
    }
  };
  const Value* last = nullptr;
  for (Search::Newcomer& newcomer : search.newcomers) {
    const Value& record = *newcomer.record;
    const auto at = std::lower_bound(
        stayed, kept.end(), record,
        [&](Place place, const Value& other) { return before(byPlace[place], other); });
    if ((last != nullptr && !before(*last, record)) ||
        (at != kept.end() && !before(record, byPlace[*at]))) {
      return std::nullopt;
    }
    takeUpTo(at);
    newcomer.place = static_cast<Place>(lineage->origins.size());
    sorted.set(newcomer.place, record);
    record.noteHint(newcomer.place);
    lineage->origins.push_back(newcomer.origin);
    if (newcomer.origin != PlaceTable::nowhere) {
      newPlaces[newcomer.origin & EventLineage::placeBits] = newcomer.place;
    }
    last = &record;
  }
  takeUpTo(kept.end());
  _known = sorted.take();
  _lineage = lineage;
  followPlaces(search, newPlaces);
  return Answer{_known, false, std::move(lineage)};
}

/// Brings what is known of places up to a list in another order.
void EventOrder::followPlaces(Search& search, std::span<const Place> newPlaces) {
  _lastPlaces = std::move(search.places);
  for (Place& place : _lastPlaces) {
    place = place == PlaceTable::nowhere ? place : newPlaces[place];
  }
  _placesByIdentifier.renumber(newPlaces);
  const std::span<const Value> records = _known.elements();
  for (const Search::Newcomer& newcomer : search.newcomers) {
    _lastPlaces[search.indexOf(newcomer)] = newcomer.place;
    if (newcomer.origin == PlaceTable::nowhere && !_placesByIdentifier.isEmpty() &&
        !learnIdentifier(records, newcomer.place)) {
      return;
    }
  }
}

}  // namespace vexil::detail
