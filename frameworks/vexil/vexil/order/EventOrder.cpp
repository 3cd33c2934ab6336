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

/// Whether an identifier is a text or number. Looking it up runs no foreign code then.
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
  /// A record whose identifier or name is new.
  struct Newcomer {
    const Value* record;
    Place origin;
    Place place = PlaceTable::nowhere;  // in the new list, once that is known
  };

  Search(const EventOrder& order, std::span<const Value> records)
      : _order(order),
        _held(order._knownList.elements()),
        _records(records),
        _isFound(order._knownList.elements().size()),
        _isPrefetching(records.size() > countWithoutPrefetching),
        _isTryingLastPlaces(order._lastPlaces.size() == records.size()) {
    places.resize(records.size());
  }

  /// Returns false when the list must be sorted: a record is no dictionary or has no identifier, or
  /// two records have the identifier of one held record.
  [[nodiscard]] bool run() {
    for (std::size_t begin = findObjectsSentAgain(); begin < _records.size(); begin += blockSize) {
      if (!findBlock(begin, std::min(begin + blockSize, _records.size()))) {
        return false;
      }
    }
    if (foundCount != _held.size()) {
      startFreshByPlace(_records.size());
      differs = true;
    }
    return !_isFoundTwice;
  }

  [[nodiscard]] std::size_t indexOf(const Newcomer& newcomer) const {
    return static_cast<std::size_t>(newcomer.record - _records.data());
  }

  std::vector<Place> places;  // of the records; nowhere for a newcomer
  std::vector<Newcomer> newcomers;
  std::size_t foundCount = 0;  // how many of the held records are in the fresh list
  bool differs = false;        // whether the fresh list, in order, differs from the one held

  // By the places of the held records: the fresh records and their origins. Made when the first
  // record is found that may differ from the held one.
  std::optional<ArrayMaker> freshByPlace;
  std::vector<Place> originsByPlace;

 private:
  static constexpr Place nowhere = PlaceTable::nowhere;

  // Memory is slow: a loop prefetches for a whole block before it reads the first record of it.
  static constexpr std::size_t blockSize = 32;
  static constexpr std::size_t countWithoutPrefetching = 2000;  // so many fit into the caches

  struct Block {
    Block(std::size_t first, std::size_t afterLast) : begin(first), end(afterLast) {}

    std::size_t begin;
    std::size_t end;
    // By the index in the block. What no step has written is not initialized.
    std::array<Place, blockSize> candidates;      // where the record is probably held
    std::array<std::uint64_t, blockSize> hashes;  // of identifiers, for records without a candidate
  };

  std::size_t findObjectsSentAgain();
  bool findBlock(std::size_t begin, std::size_t end);
  void prefetchBlockAfter(const Block& block) const;
  bool proposeCandidates(Block& block);
  void lookUpOtherCandidates(Block& block) const;
  void prefetchPartsOfCandidates(const Block& block) const;
  bool compareWithCandidates(const Block& block);

  bool findByIdentifier(std::size_t index, Place candidate);
  [[nodiscard]] Place placeOf(const Value& identifier, Place candidate);
  void compareWithHeld(std::size_t index, Place place);

  [[nodiscard]] bool isHeldAt(Place place, const Value& record) const {
    return place < _held.size() && _held[place].sharesStorageWith(record);
  }
  void noteFound(std::size_t index, Place place) {
    places[index] = place;
    _isFoundTwice |= _isFound[place] != 0;
    _isFound[place] = 1;
    ++foundCount;
  }
  void noteEqual(std::size_t index, Place place);
  void addNewcomer(std::size_t index, Place origin);

  void startFreshByPlace(std::size_t foundBefore);
  void putFreshAt(Place place, Place origin, const Value& record) {
    record.noteHint(place);
    freshByPlace->set(place, record);
    originsByPlace[place] = origin;
  }

  const EventOrder& _order;
  std::span<const Value> _held;
  std::span<const Value> _records;
  std::vector<std::uint8_t> _isFound;  // by the places of the held records
  bool _isFoundTwice = false;
  bool _isPrefetching;
  bool _isTryingLastPlaces;  // until a record is not in the order of last time
  EventKeyReader _reader;
  EventKeyReader _heldReader;
};

/// Hosts often send the same objects again. Finds those at the beginning of the list. Returns the
/// index of the first record that is another object than the held ones.
std::size_t EventOrder::Search::findObjectsSentAgain() {
  constexpr std::size_t ahead = 16;
  std::size_t index = 0;
  for (; index < _records.size(); ++index) {
    _records[std::min(index + ahead, _records.size() - 1)].prefetch(1);
    const Value& record = _records[index];
    if (!record.isDictionary() || !isHeldAt(record.hint(), record)) {
      break;
    }
    noteFound(index, record.hint());
  }
  return index;
}

/// Returns false when the list must be sorted.
bool EventOrder::Search::findBlock(std::size_t begin, std::size_t end) {
  Block block(begin, end);
  prefetchBlockAfter(block);
  if (!proposeCandidates(block)) {
    return false;
  }
  lookUpOtherCandidates(block);
  prefetchPartsOfCandidates(block);
  return compareWithCandidates(block);
}

inline void EventOrder::Search::prefetchBlockAfter(const Block& block) const {
  if (!_isPrefetching) {
    return;
  }
  for (std::size_t i = block.end; i < std::min(block.end + blockSize, _records.size()); ++i) {
    _records[i].prefetch();
  }
}

/// Proposes the place that the record names, or the one of last time. For other records it makes
/// the hashes. Returns false when a record is no dictionary.
inline bool EventOrder::Search::proposeCandidates(Block& block) {
  const platform::detail::HashKeys hashKeys;
  for (std::size_t i = block.begin; i < block.end; ++i) {
    const Value& record = _records[i];
    if (!record.isDictionary()) {
      return false;
    }
    Place& candidate = block.candidates[i - block.begin];
    candidate = record.hint();
    if (!isHeldAt(candidate, record)) {
      candidate = _isTryingLastPlaces ? _order._lastPlaces[i] : nowhere;
    }
    if (candidate == nowhere) {
      std::uint64_t& hash = block.hashes[i - block.begin];
      const Value& identifier = _reader.identifier(record);
      hash = isPlain(identifier) ? identifier.hash(hashKeys) : 0;
      _order._placesByIdentifier.prefetch(hash);
    }
  }
  return true;
}

inline void EventOrder::Search::lookUpOtherCandidates(Block& block) const {
  for (std::size_t i = 0; i < block.end - block.begin; ++i) {
    Place& candidate = block.candidates[i];
    if (candidate == nowhere) {
      candidate = _order._placesByIdentifier.likely(block.hashes[i]);
    }
    if (_isPrefetching && candidate != nowhere) {
      _held[candidate].prefetch();
    }
  }
}

inline void EventOrder::Search::prefetchPartsOfCandidates(const Block& block) const {
  if (!_isPrefetching) {
    return;
  }
  for (std::size_t i = block.begin; i < block.end; ++i) {
    const Place candidate = block.candidates[i - block.begin];
    if (candidate != nowhere && !_held[candidate].sharesStorageWith(_records[i])) {
      _records[i].prefetchParts();
      _held[candidate].prefetchParts();
    }
  }
}

/// Returns false when the list must be sorted.
inline bool EventOrder::Search::compareWithCandidates(const Block& block) {
  for (std::size_t i = block.begin; i < block.end; ++i) {
    const Place candidate = block.candidates[i - block.begin];
    if (candidate != nowhere && _held[candidate].plainlyEqualsAtOnce(_records[i]) == true) {
      noteEqual(i, candidate);
    } else if (!findByIdentifier(i, candidate)) {
      return false;
    }
  }
  return true;
}

/// Finds a record that does not equal its candidate at once. Returns false when it has no
/// identifier.
bool EventOrder::Search::findByIdentifier(std::size_t index, Place candidate) {
  const Value& identifier = _reader.identifier(_records[index]);
  if (identifier.isAbsent()) {
    return false;
  }
  const Place place = placeOf(identifier, candidate);
  if (place == nowhere) {
    addNewcomer(index, nowhere);
  } else {
    compareWithHeld(index, place);
  }
  return true;
}

/// Returns the place of the held record with this identifier, or nowhere.
EventOrder::Place EventOrder::Search::placeOf(const Value& identifier, Place candidate) {
  if (candidate != nowhere && _heldReader.identifier(_held[candidate]) == identifier) {
    return candidate;
  }
  _isTryingLastPlaces = false;
  if (!isPlain(identifier)) {
    return nowhere;
  }
  return _order._placesByIdentifier.find(
      identifier.hash(), [&](Place place) { return _held[place][identifierKey()] == identifier; });
}

/// Compares a record with the held one of the same identifier. May run foreign code.
void EventOrder::Search::compareWithHeld(std::size_t index, Place place) {
  const Value& record = _records[index];
  const std::optional<bool> isPlainlyEqual = _held[place].plainlyEquals(record);
  if (isPlainlyEqual == true) {
    noteEqual(index, place);
    return;
  }
  startFreshByPlace(index);
  noteFound(index, place);
  if (!isPlainlyEqual && _held[place] == record) {
    putFreshAt(place, place | EventLineage::unsure, record);
    return;
  }
  differs = true;
  const Place origin = place | (isPlainlyEqual ? EventLineage::changed : EventLineage::unsure);
  if (_heldReader.name(_held[place]) == _reader.name(record)) {
    putFreshAt(place, origin, record);
  } else {
    addNewcomer(index, origin);
  }
}

/// Notes a record that plainly equals the one held at a place, and so equals it for good.
void EventOrder::Search::noteEqual(std::size_t index, Place place) {
  const Value& record = _records[index];
  noteFound(index, place);
  if (freshByPlace) {
    putFreshAt(place, place, record);
  } else if (_held[place].sharesStorageWith(record)) {
    record.noteHint(place);
  }
}

void EventOrder::Search::addNewcomer(std::size_t index, Place origin) {
  startFreshByPlace(index);
  differs = true;
  places[index] = nowhere;
  newcomers.push_back({.record = &_records[index], .origin = origin});
}

/// All of the first `foundBefore` records have been found, and equal what is held.
void EventOrder::Search::startFreshByPlace(std::size_t foundBefore) {
  if (freshByPlace) {
    return;
  }
  freshByPlace.emplace(_held.size());
  originsByPlace.resize(_held.size(), nowhere);
  for (std::size_t i = 0; i < foundBefore; ++i) {
    putFreshAt(places[i], places[i], _records[i]);
  }
}

/// Merges the newcomers of a search with the records that keep their order. The result is strictly
/// in order.
class EventOrder::Arrangement {
 public:
  explicit Arrangement(Search& search) : _search(search), _byPlace(*search.freshByPlace) {}

  /// Returns false when two records compare equal, or when there are too many for a lineage.
  [[nodiscard]] bool run();

  std::optional<ArrayMaker> sorted;
  std::vector<Place> origins;    // of the sorted records
  std::vector<Place> newPlaces;  // of the records that were held; nowhere if one is gone

 private:
  using Staying = std::vector<Place>;

  [[nodiscard]] bool comesBefore(const Value& a, const Value& b) {
    return std::is_lt(_compare(a, b));
  }
  void sortNewcomers();
  void findStaying();
  [[nodiscard]] Staying::const_iterator firstStayingNotBefore(const Value& record);
  void takeStayingUpTo(Staying::const_iterator end);
  void take(Search::Newcomer& newcomer);

  Search& _search;
  ArrayMaker& _byPlace;
  EventComparison _compare;
  Staying _staying;  // the places of the records that keep their order
  Staying::const_iterator _next;
};

bool EventOrder::Arrangement::run() {
  sortNewcomers();
  findStaying();
  const std::size_t count = _staying.size() + _search.newcomers.size();
  if (!RecordAddress::reaches(count)) {
    return false;
  }
  sorted.emplace(count);
  origins.reserve(count);
  newPlaces.resize(_search.originsByPlace.size(), PlaceTable::nowhere);
  const Value* last = nullptr;
  for (Search::Newcomer& newcomer : _search.newcomers) {
    const Value& record = *newcomer.record;
    const auto end = firstStayingNotBefore(record);
    if ((last != nullptr && !comesBefore(*last, record)) ||
        (end != _staying.end() && !comesBefore(record, _byPlace[*end]))) {
      return false;
    }
    takeStayingUpTo(end);
    take(newcomer);
    last = &record;
  }
  takeStayingUpTo(_staying.end());
  return true;
}

void EventOrder::Arrangement::sortNewcomers() {
  std::ranges::sort(_search.newcomers, [&](const auto& a, const auto& b) {
    return comesBefore(*a.record, *b.record);
  });
}

void EventOrder::Arrangement::findStaying() {
  const Place count = static_cast<Place>(_search.originsByPlace.size());
  _staying.reserve(count);
  for (Place place = 0; place < count; ++place) {
    if (!_byPlace[place].isAbsent()) {
      _staying.push_back(place);
    }
  }
  _next = _staying.begin();
}

EventOrder::Arrangement::Staying::const_iterator EventOrder::Arrangement::firstStayingNotBefore(
    const Value& record) {
  return std::lower_bound(_next, _staying.cend(), record, [&](Place place, const Value& other) {
    return comesBefore(_byPlace[place], other);
  });
}

void EventOrder::Arrangement::takeStayingUpTo(Staying::const_iterator end) {
  for (; _next != end; ++_next) {
    const Place place = static_cast<Place>(origins.size());
    sorted->set(place, _byPlace.take(*_next));
    origins.push_back(_search.originsByPlace[*_next]);
    newPlaces[*_next] = place;
  }
}

void EventOrder::Arrangement::take(Search::Newcomer& newcomer) {
  newcomer.place = static_cast<Place>(origins.size());
  sorted->set(newcomer.place, *newcomer.record);
  newcomer.record->noteHint(newcomer.place);
  origins.push_back(newcomer.origin);
  if (newcomer.origin != PlaceTable::nowhere) {
    newPlaces[newcomer.origin & EventLineage::placeBits] = newcomer.place;
  }
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
      _placesByIdentifier.prefetch(isPlain(identifier) ? identifier.hash() : 0);
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
    return answer;
  }
  Arrangement arrangement(search);
  if (!arrangement.run()) {
    return std::nullopt;
  }
  Answer answer = answerWith(arrangement.sorted->take(), std::move(arrangement.origins));
  updatePlaces(search, arrangement.newPlaces);
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
