// SPDX-License-Identifier: Apache-2.0
// Internal to collections and the merge.
#pragma once

#include <vexil/PlaceTable.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace detail {

/// A record by its place in one of the lists that a collection has held, as one number: lists are
/// numbered across all collections and never twice. 0 is none.
///
/// An item that came out of a list, or was compared with a record of it, remembers that its own
/// record equals the one there; it forgets as soon as it is given another. So a merge knows of most
/// items whether they differ from a fresh record without a look at either.
class RecordAddress {
 public:
  RecordAddress() = default;
  RecordAddress(std::uint64_t list, PlaceTable::Place place) : _bits((list << placeBits) | place) {}

  /// Whether a list of this length can be numbered.
  static constexpr bool reaches(std::size_t count) { return count < std::size_t{1} << placeBits; }

  [[nodiscard]] std::uint64_t list() const { return _bits >> placeBits; }
  [[nodiscard]] PlaceTable::Place place() const {
    return static_cast<PlaceTable::Place>(_bits & ((std::uint64_t{1} << placeBits) - 1));
  }

 private:
  static constexpr unsigned placeBits = 24;  // which leaves lists enough for centuries
  std::uint64_t _bits = 0;
};

/// Where the records of a list come from. No two records of the list are equal, and no two of the
/// list before have one identifier.
struct EventLineage {
  using Place = PlaceTable::Place;

  /// In an origin: the record there has the same identifier, but is another one.
  static constexpr Place changed = Place{1} << 31;
  /// The same identifier, and whether it is another record is for the merge to ask.
  static constexpr Place unsure = Place{1} << 30;
  static constexpr Place placeBits = ~(changed | unsure);

  std::uint64_t list = 0;
  std::uint64_t listBefore = 0;  // 0 where nothing is known of it
  std::size_t countBefore = 0;
  std::vector<Place> origins = {};  // nowhere for a record whose identifier is new

  /// Where in the list before the record stood that has the identifier of this one; nowhere when it
  /// is of neither list.
  [[nodiscard]] Place placeBefore(RecordAddress record) const {
    if (record.list() == list && record.place() < origins.size() &&
        origins[record.place()] != PlaceTable::nowhere) {
      return origins[record.place()] & placeBits;
    }
    return record.list() == listBefore ? record.place() : PlaceTable::nowhere;
  }

  [[nodiscard]] static std::uint64_t nextNumber();
};

}  // namespace detail
