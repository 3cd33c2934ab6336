// SPDX-License-Identifier: Apache-2.0
// Internal to collections and the merge.
#pragma once

#include <vexil/detail/RecordAddress.h>
#include <vexil/order/PlaceTable.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexil::detail {

/// Where the records of a list come from. No two records of the list are equal, and no two records
/// of the list before have the same identifier.
struct EventLineage {
  using Place = PlaceTable::Place;

  /// A mark in an origin: the record there has the same identifier, but differs.
  static constexpr Place changed = Place{1} << 31;
  /// A mark in an origin: the record there has the same identifier, and the merge must ask whether
  /// it differs.
  static constexpr Place unsure = Place{1} << 30;
  static constexpr Place placeBits = ~(changed | unsure);

  std::uint64_t list = 0;
  bool areIdentified = false;      // whether all its records have identifiers
  bool identifiersDiffer = false;  // whether these are known to differ
  std::uint64_t listBefore = 0;    // 0 when nothing is known of it
  std::size_t countBefore = 0;
  // For each record, the place in the list before of the record with the same identifier, with a
  // mark or without; nowhere when the identifier is new.
  std::vector<Place> origins = {};

  /// Returns the place in the list before of the record that has the identifier of this one.
  /// Returns nowhere when there is none, or when `record` is of neither list.
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
