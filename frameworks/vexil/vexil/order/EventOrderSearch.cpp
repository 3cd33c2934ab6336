// SPDX-License-Identifier: Apache-2.0
#include <vexil/order/EventOrderSearch.h>

#include <algorithm>

namespace vexil::detail {

using platform::Value;

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

[[gnu::always_inline]] inline void EventOrder::Search::prefetchBlockAfter(
    const Block& block) const {
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
      hash = isPlainIdentifier(identifier) ? identifier.hash(hashKeys) : 0;
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

[[gnu::always_inline]] inline void EventOrder::Search::prefetchPartsOfCandidates(
    const Block& block) const {
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
  if (!isPlainIdentifier(identifier)) {
    return nowhere;
  }
  return _order._placesByIdentifier.find(identifier.hash(), [&](Place place) {
    return _held[place][eventIdentifierKey()] == identifier;
  });
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

}  // namespace vexil::detail
