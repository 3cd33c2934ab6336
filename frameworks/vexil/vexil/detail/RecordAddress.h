// SPDX-License-Identifier: Apache-2.0
// Internal to items.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vexil::detail {

/// A record by its place in one of the lists that a collection has held, as one number: lists are
/// numbered across all collections and never twice. 0 is none.
///
/// An item that came out of a list, or was compared with a record of it, remembers that its own
/// record equals the one there; it forgets as soon as it is given another. So a merge knows of most
/// items whether they differ from a fresh record without a look at either.
class RecordAddress {
 public:
  RecordAddress() = default;
  RecordAddress(std::uint64_t list, std::uint32_t place) : _bits((list << placeBits) | place) {}

  /// Whether a list of this length can be numbered.
  static constexpr bool reaches(std::size_t count) { return count < std::size_t{1} << placeBits; }

  [[nodiscard]] std::uint64_t list() const { return _bits >> placeBits; }
  [[nodiscard]] std::uint32_t place() const {
    return static_cast<std::uint32_t>(_bits & ((std::uint64_t{1} << placeBits) - 1));
  }

 private:
  static constexpr unsigned placeBits = 24;  // which leaves lists enough for centuries
  std::uint64_t _bits = 0;
};

}  // namespace vexil::detail
