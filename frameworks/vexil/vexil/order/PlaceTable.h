// SPDX-License-Identifier: Apache-2.0
// Internal: places in a list, found by the hash of what stands there.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexil::detail {

/// A hash table that holds numbers alone: what they stand for lies in somebody's list, and is
/// compared there. One allocation, no nodes.
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

  void prefetch(std::uint64_t hash) const { __builtin_prefetch(&_slots[hash & _mask]); }

  /// The place that is most likely meant: its hash agrees in half of its bits.
  [[nodiscard]] Place likely(std::uint64_t hash) const {
    return find(hash, [](Place) { return true; });
  }

  /// The first place with this hash of which `isMeant` says so.
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

  /// Whether so many more places can be inserted. There is always room for as many as `reset` was
  /// told, at first.
  [[nodiscard]] bool hasRoomFor(std::size_t count) const {
    return (_used + count) * 3 <= _slots.size() * 2;
  }

  /// Gives each place its new number out of `places`; those that are nowhere there are not found
  /// any more, but go on taking up room.
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
  static constexpr Place gone = nowhere;  // in place of a number, which never comes to that

  std::vector<std::uint64_t> _slots;  // bits of the hash above, the place and one below
  std::size_t _mask = 0;
  std::size_t _used = 0;
};

}  // namespace vexil::detail
