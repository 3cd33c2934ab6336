// SPDX-License-Identifier: Apache-2.0
// Internal to items.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexil::detail {

/// Says which record of which list: the number of a list that a collection has held, and the place
/// of the record in it. No two lists of any collections have the same number. 0 is no list.
///
/// An item that was made from a record of a list, or found equal to one, remembers the address: its
/// own record equals the one there. It forgets the address when it gets another record. So a merge
/// knows of most items whether they differ from a fresh record, and reads neither.
class RecordAddress {
 public:
  RecordAddress() = default;
  RecordAddress(std::uint64_t list, std::uint32_t place) : _bits((list << placeBits) | place) {}

  /// Whether all places of a list of this length fit into an address.
  static constexpr bool reaches(std::size_t count) { return count < std::size_t{1} << placeBits; }

  [[nodiscard]] std::uint64_t list() const { return _bits >> placeBits; }
  [[nodiscard]] std::uint32_t place() const {
    return static_cast<std::uint32_t>(_bits & ((std::uint64_t{1} << placeBits) - 1));
  }

 private:
  static constexpr unsigned placeBits = 24;  // leaves numbers for 2^40 lists, enough for centuries
  std::uint64_t _bits = 0;
};

}  // namespace vexil::detail
