// SPDX-License-Identifier: Apache-2.0
// Internal to collections and the merge.
#pragma once

#include <vexil/detail/RecordAddress.h>
#include <vexil/order/PlaceTable.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexil::detail {

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
  bool areIdentified = false;    // whether none of its records lacks an identifier
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

}  // namespace vexil::detail
