// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: finds the children of a row by their identifiers.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <unordered_map>

namespace vexil {

class OutlineRow;

namespace detail {

class RowList;

/// All rows of a list that have an identifier, by identifier and occurrence.
class RowIndex {
 public:
  /// May run foreign code, where an object in an identifier must be asked for its hash.
  explicit RowIndex(const RowList& rows);

  /// Null when there is none. May run foreign code, as above.
  [[nodiscard]] OutlineRow* find(const platform::Value& uniqueID, std::uint32_t occurrence) const;

 private:
  struct Identity {
    platform::Value uniqueID;
    std::uint32_t occurrence;
    bool operator==(const Identity& other) const {
      return occurrence == other.occurrence && uniqueID == other.uniqueID;
    }
  };
  struct Hash {
    std::size_t operator()(const Identity& identity) const {
      return identity.uniqueID.hash() + identity.occurrence;
    }
  };
  std::unordered_map<Identity, OutlineRow*, Hash> _rows;
};

}  // namespace detail
}  // namespace vexil
