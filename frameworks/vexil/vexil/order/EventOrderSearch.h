// SPDX-License-Identifier: Apache-2.0
// Internal to the order of events: the search for fresh records among those held.
#pragma once

#include <vexil/order/EventOrder.h>
#include <vexil/order/EventSorting.h>
#include <vexil/platform/Value.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace vexil::detail {

/// Looks for the records of a fresh list among those held.
class EventOrder::Search {
 public:
  /// A record whose identifier or name is new.
  struct Newcomer {
    const platform::Value* record;
    Place origin;
    Place place = PlaceTable::nowhere;  // in the new list, once that is known
  };

  Search(const EventOrder& order, std::span<const platform::Value> records)
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
  std::optional<platform::ArrayMaker> freshByPlace;
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
    // By the index in the block. Entries that no step has written are uninitialized.
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
  [[nodiscard]] Place placeOf(const platform::Value& identifier, Place candidate);
  void compareWithHeld(std::size_t index, Place place);

  [[nodiscard]] bool isHeldAt(Place place, const platform::Value& record) const {
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
  void putFreshAt(Place place, Place origin, const platform::Value& record) {
    record.noteHint(place);
    freshByPlace->set(place, record);
    originsByPlace[place] = origin;
  }

  const EventOrder& _order;
  std::span<const platform::Value> _held;
  std::span<const platform::Value> _records;
  std::vector<std::uint8_t> _isFound;  // by the places of the held records
  bool _isFoundTwice = false;
  bool _isPrefetching;
  bool _isTryingLastPlaces;  // until a record is not in the order of last time
  EventKeyReader _reader;
  EventKeyReader _heldReader;
};

}  // namespace vexil::detail
