// SPDX-License-Identifier: Apache-2.0
#include <platform/Error.h>
#include <ternwood/Ternwood.h>
#include <vexil/EventOrder.h>
#include <vexil/LiteralRefresh.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <compare>
#include <cstring>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>

namespace detail {

using platform::ArrayMaker;
using platform::FieldReader;
using platform::Key;
using platform::Value;

namespace {

const Key& nameKey() {
  static const Key key(kTWEventName);
  return key;
}

const Key& identifierKey() {
  static const Key key(kTWEventUniqueID);
  return key;
}

/// The two values that decide where a record belongs.
struct Keys {
  const Value* name;
  const Value* identifier;
};

std::weak_ordering order(const Keys& a, const Keys& b) {
  const auto names = a.name->compare(*b.name);
  return std::is_neq(names) ? names : a.identifier->compare(*b.identifier);
}

class KeyReader {
 public:
  Keys operator()(const Value& record) { return {&_name(record), &_identifier(record)}; }
  const Value& name(const Value& record) { return _name(record); }
  const Value& identifier(const Value& record) { return _identifier(record); }

 private:
  FieldReader _name{nameKey()};
  FieldReader _identifier{identifierKey()};
};

/// The first bytes of a name, as numbers that compare as they do.
using Prefix = std::array<std::uint64_t, 3>;

/// A record to be sorted. Where names begin decides most comparisons, so that stands here.
struct Entry {
  Prefix prefix;
  std::uint32_t index;
};

Prefix prefixOf(std::string_view name) {
  Prefix words{};
  if (!name.empty()) {
    std::memcpy(words.data(), name.data(), std::min(name.size(), sizeof words));
  }
  if constexpr (std::endian::native == std::endian::little) {
    for (std::uint64_t& word : words) {
      word = __builtin_bswap64(word);
    }
  }
  return words;
}

/// Sorts records whose names are strings.
OrderedEvents sortedByPrefix(std::span<const Value> records, std::vector<Entry>& entries,
                             const std::vector<Keys>& keys) {
  bool isStrict = true;
  const auto compare = [&](const Entry& a, const Entry& b) {
    for (std::size_t i = 0; i < a.prefix.size(); ++i) {
      if (a.prefix[i] != b.prefix[i]) {
        return a.prefix[i] < b.prefix[i] ? std::weak_ordering::less : std::weak_ordering::greater;
      }
    }
    return order(keys[a.index], keys[b.index]);
  };
  std::ranges::sort(entries, [&](const Entry& a, const Entry& b) {
    if (a.prefix[0] != b.prefix[0]) {
      return a.prefix[0] < b.prefix[0];
    }
    const auto answer = compare(a, b);
    return std::is_neq(answer) ? std::is_lt(answer) : a.index < b.index;
  });
  for (std::size_t i = 1; isStrict && i < entries.size(); ++i) {
    isStrict = std::is_lt(compare(entries[i - 1], entries[i]));
  }
  ArrayMaker sorted(records.size());
  for (std::size_t i = 0; i < entries.size(); ++i) {
    sorted.set(i, records[entries[i].index]);
  }
  return {sorted.take(), isStrict};
}

/// The order of a list that is in order; nothing of one that is not.
std::optional<OrderedEvents> alreadyInOrder(const Value& events) {
  const std::span<const Value> records = events.elements();
  KeyReader reader;
  KeyReader readerBefore;
  bool isStrict = true;
  for (std::size_t i = 1; i < records.size(); ++i) {
    const auto answer = order(readerBefore(records[i - 1]), reader(records[i]));
    if (std::is_gt(answer)) {
      return std::nullopt;
    }
    isStrict = isStrict && std::is_lt(answer);
  }
  return OrderedEvents{events, isStrict};
}

}  // namespace

std::uint64_t EventLineage::nextNumber() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

OrderedEvents inEventOrder(const Value& events) {
  if (events.isAbsent()) {
    return {};
  }
  if (!events.isArray()) {
    throw platform::InvalidArgument("not an array: " + events.description());
  }
  if (auto ordered = alreadyInOrder(events)) {
    return std::move(*ordered);
  }
  const std::span<const Value> records = events.elements();
  std::vector<Entry> entries(records.size());
  std::vector<Keys> keys(records.size());
  KeyReader reader;
  bool namesAreStrings = true;
  constexpr std::size_t ahead = 12;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (i + ahead < records.size()) {
      records[i + ahead].prefetch();
    }
    keys[i] = reader(records[i]);
    namesAreStrings = namesAreStrings && keys[i].name->isString();
    entries[i] = {prefixOf(keys[i].name->string()), static_cast<std::uint32_t>(i)};
  }
  if (!namesAreStrings) {
    // Values of other types have no prefix, which leaves all to their comparison.
    for (Entry& entry : entries) {
      entry.prefix = {};
    }
  }
  return sortedByPrefix(records, entries, keys);
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

  /// A record that is new, or has got another name.
  struct Newcomer {
    const Value* record;
    Place origin;
  };

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
  static constexpr Place nowhere = PlaceTable::nowhere;

  std::size_t lookAtVeryObjects();
  bool lookAt(std::size_t begin, std::size_t end);
  [[nodiscard]] bool isHeldAt(Place place, const Value& record) const {
    return place < _held.size() && _held[place].sharesStorageWith(record);
  }
  [[nodiscard]] Place findExactly(const Value& identifier) const;
  bool settle(std::size_t index, Place candidate);
  void find(std::size_t index, Place place) {
    places[index] = place;
    foundTwice = foundTwice || _isFound[place] != 0;
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
  KeyReader _reader;
  KeyReader _heldReader;
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
  std::array<std::uint64_t, block> hashes{};
  std::array<Place, block> candidates{};
  for (std::size_t i = end; i < std::min(end + block, _records.size()); ++i) {
    _records[i].prefetch();
  }
  for (std::size_t i = begin; i < end; ++i) {
    const Value& record = _records[i];
    if (!record.isDictionary()) {
      return false;
    }
    Place& candidate = candidates[i - begin];
    candidate = nowhere;
    if (isHeldAt(record.hint(), record)) {
      candidate = record.hint();
    } else if (_isGuessing) {
      candidate = _order._lastPlaces[i];
    }
    if (candidate == nowhere) {
      hashes[i - begin] = _reader.identifier(record).hash();
      _order._placesByIdentifier.prefetch(hashes[i - begin]);
    }
  }
  for (std::size_t i = begin; i < end; ++i) {
    Place& candidate = candidates[i - begin];
    if (candidate == nowhere) {
      candidate = _order._placesByIdentifier.likely(hashes[i - begin]);
    }
    if (candidate != nowhere) {
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
    if (!settle(i, candidates[i - begin])) {
      return false;
    }
  }
  return true;
}

/// Finds out what has become of a record; false when the list must be sorted.
bool EventOrder::Search::settle(std::size_t index, Place candidate) {
  const Value& record = _records[index];
  if (candidate != nowhere && isHeldAt(candidate, record)) {
    record.noteHint(candidate);
    find(index, candidate);
    if (byPlace) {
      put(candidate, candidate, record);
    }
    return true;
  }
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
    const bool isEqual = isPlainlyEqual ? *isPlainlyEqual : _held[place] == record;
    if (isEqual && isPlainlyEqual && !byPlace) {
      find(index, place);
      return true;
    }
    startByPlace(index);
    find(index, place);
    origin |= isPlainlyEqual ? (isEqual ? Place{0} : EventLineage::changed) : EventLineage::unsure;
    if (isEqual) {
      put(place, origin, record);
      return true;
    }
    differs = true;
    if (_heldReader.name(_held[place]) == _reader.name(record)) {
      put(place, origin, record);
      return true;
    }
  }
  startByPlace(index);
  differs = true;
  places[index] = nowhere;
  newcomers.push_back({&record, origin});
  return true;
}

EventOrder::Place EventOrder::Search::findExactly(const Value& identifier) const {
  return _order._placesByIdentifier.find(
      identifier.hash(), [&](Place place) { return _held[place][identifierKey()] == identifier; });
}

EventOrder::Answer EventOrder::compare(const Value& held, const Value& events) {
  if (!LiteralRefresh::isWanted() && !held.elements().empty() && events.isArray()) {
    if (!held.sharesStorageWith(_known)) {
      const auto ordered = alreadyInOrder(held);
      know(ordered ? *ordered : OrderedEvents{held, false});
    }
    if (_lineage && learnIdentifiers()) {
      Search search(*this, events.elements());
      if (search.run()) {
        if (auto answer = arrange(search)) {
          return std::move(*answer);
        }
      }
    }
  }
  OrderedEvents sorted = inEventOrder(events);
  const bool isHeld = !held.isAbsent() && held == sorted.list;
  if (!isHeld) {
    know(sorted);
  }
  return {std::move(sorted.list), isHeld, isHeld ? nullptr : _lineage};
}

void EventOrder::know(const OrderedEvents& events) {
  _known = events.list;
  _lineage.reset();
  if (events.isStrict && RecordAddress::reaches(events.list.elements().size())) {
    _lineage = std::make_shared<EventLineage>(EventLineage{.list = EventLineage::nextNumber()});
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
  KeyReader reader;
  constexpr std::size_t ahead = 12;
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (i + 2 * ahead < records.size()) {
      records[i + 2 * ahead].prefetch();
      _placesByIdentifier.prefetch(reader.identifier(records[i + ahead]).hash());
    }
    const Value& identifier = reader.identifier(records[i]);
    const std::uint64_t hash = identifier.hash();
    const Place known = _placesByIdentifier.find(
        hash, [&](Place place) { return records[place][identifierKey()] == identifier; });
    if (known != PlaceTable::nowhere || !(identifier.isString() || identifier.isNumber())) {
      _placesByIdentifier.clear();
      return _identifiersDiffer = false;
    }
    _placesByIdentifier.insert(hash, static_cast<Place>(i));
  }
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
                                                             .listBefore = _lineage->list,
                                                             .countBefore = held.size()});
  if (search.newcomers.empty() && search.found == held.size()) {
    lineage->origins = std::move(search.origins);
    _lastPlaces = std::move(search.places);
    _known = search.byPlace->take();  // and identifiers stand where they stood
    _lineage = lineage;
    return Answer{_known, false, std::move(lineage)};
  }

  KeyReader reader;
  KeyReader readerOfOthers;
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
  auto stayed = kept.begin();
  const auto takeUpTo = [&](auto end) {
    for (; stayed != end; ++stayed) {
      sorted.set(lineage->origins.size(), byPlace.take(*stayed));
      lineage->origins.push_back(search.origins[*stayed]);
    }
  };
  const Value* last = nullptr;
  for (const Search::Newcomer& newcomer : search.newcomers) {
    const Value& record = *newcomer.record;
    const auto at = std::lower_bound(
        stayed, kept.end(), record,
        [&](Place place, const Value& other) { return before(byPlace[place], other); });
    if ((last != nullptr && !before(*last, record)) ||
        (at != kept.end() && !before(record, byPlace[*at]))) {
      return std::nullopt;
    }
    takeUpTo(at);
    sorted.set(lineage->origins.size(), record);
    lineage->origins.push_back(newcomer.origin);
    last = &record;
  }
  takeUpTo(kept.end());
  know({sorted.take(), false});
  _lineage = lineage;
  return Answer{_known, false, std::move(lineage)};
}

}  // namespace detail
