// SPDX-License-Identifier: Apache-2.0
// Internal: finds places in a list by the hashes of what stands there.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexil::detail {

/// A hash table of places. A place is the index of an element in one particular list, as a number
/// of 32 bits: in this folder, in the list of records that a collection holds, in order. Where a
/// record stands in the list that a host hands over is called its index.
///
/// The table holds only numbers. The elements lie in the caller's list, and the caller compares
/// them there. One allocation, no nodes.
class PlaceTable {
 public:
  using Place = std::uint32_t;
  static constexpr Place nowhere = UINT32_MAX;

  PlaceTable() = default;
  explicit PlaceTable(std::size_t count) { reset(count); }

  /// Empties the table and makes room for `count` places.
  void reset(std::size_t count) {
    _slots.assign(std::bit_ceil(count * 2 + 1), 0);
    _mask = _slots.size() - 1;
    _used = 0;
  }
  void clear() { _slots.clear(); }
  [[nodiscard]] bool isEmpty() const { return _slots.empty(); }

  [[gnu::always_inline]] void prefetch(std::uint64_t hash) const {
    __builtin_prefetch(&_slots[hash & _mask]);
  }

  /// Returns the first place whose hash agrees in its upper half, or nowhere. That is most likely
  /// the right place, but the caller must check it.
  [[nodiscard]] Place likely(std::uint64_t hash) const {
    return find(hash, [](Place) { return true; });
  }

  /// Returns the first place with this hash for which `isMeant` returns true, or nowhere.
  template <class IsMeant>
  [[nodiscard]] Place find(std::uint64_t hash, const IsMeant& isMeant) const {
    for (std::size_t slot = hash & _mask; _slots[slot] != 0; slot = (slot + 1) & _mask) {
      const auto number = static_cast<Place>(_slots[slot]);
      if ((_slots[slot] ^ hash) >> 32 == 0 && number != gone && isMeant(number - 1)) {
        return number - 1;
      }
    }
    return nowhere;
  }

  void insert(std::uint64_t hash, Place place) {
    std::size_t slot = hash & _mask;
    while (_slots[slot] != 0) {
      slot = (slot + 1) & _mask;
    }
    _slots[slot] = (hash >> 32 << 32) | (place + 1);
    ++_used;
  }

  /// Whether `count` more places can be inserted. After `reset` there is room for its `count`.
  [[nodiscard]] bool hasRoomFor(std::size_t count) const {
    return (_used + count) * 3 <= _slots.size() * 2;
  }

  /// Replaces each place by `places[place]`. If that is nowhere, the place is not found any more,
  /// but still takes up room.
  void renumber(std::span<const Place> places) {
    for (std::uint64_t& slot : _slots) {
      const auto place = static_cast<Place>(slot);
      if (place != 0 && place != gone) {
        const Place after = places[place - 1];
        slot = after == nowhere ? gone : (slot >> 32 << 32) | (after + 1);
      }
    }
  }

 private:
  static constexpr Place gone = nowhere;  // instead of a place + 1, which is never so large

  std::vector<std::uint64_t> _slots;  // upper half: of the hash; lower half: place + 1
  std::size_t _mask = 0;
  std::size_t _used = 0;
};

}  // namespace vexil::detail
