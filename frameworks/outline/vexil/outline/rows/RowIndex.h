// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: finds the children of a row by their identifiers.
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil {

class OutlineRow;

namespace detail {

class RowList;

/// All rows of a list that have an identifier, by identifier and occurrence. Objects in identifiers
/// are asked for their hash and their equality. They may then change the list or destroy it, so
/// whoever uses an index holds it.
class RowIndex {
 public:
  struct Identity {
    platform::Value uniqueID;
    std::uint32_t occurrence;
    bool operator==(const Identity& other) const {
      return occurrence == other.occurrence && uniqueID == other.uniqueID;
    }
  };
  using Entry = std::pair<Identity, OutlineRow*>;

  /// What an index is made of. Runs no foreign code.
  [[nodiscard]] static std::vector<Entry> entriesOf(const RowList& rows);

  [[nodiscard]] bool isComplete() const noexcept { return _rows != nullptr; }
  /// May run foreign code.
  void complete(const std::vector<Entry>& entries);

  /// Null when there is none. May run foreign code.
  [[nodiscard]] OutlineRow* find(const platform::Value& uniqueID, std::uint32_t occurrence) const;

  /// Whether the rows are still those of the list.
  [[nodiscard]] bool isCurrent() const noexcept { return _isCurrent; }
  void end() noexcept { _isCurrent = false; }

 private:
  struct Hash {
    std::size_t operator()(const Identity& identity) const {
      return identity.uniqueID.hash() + identity.occurrence;
    }
  };
  using Rows = std::unordered_map<Identity, OutlineRow*, Hash>;
  std::shared_ptr<const Rows> _rows;  // null until it is complete
  bool _isCurrent = true;
};

}  // namespace detail
}  // namespace vexil
