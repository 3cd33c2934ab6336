// SPDX-License-Identifier: Apache-2.0
// Internal to the event store: events under their domains.
#pragma once

#include <vexil/merge/ItemMerge.h>
#include <vexil/order/EventLineage.h>
#include <vexil/order/PlaceTable.h>
#include <vexil/platform/Value.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace vexil::detail {

/// Whether a domain record is that of the engine itself. That domain is not shown.
[[nodiscard]] bool isEnginesOwn(const platform::Value& domain);

/// Remembers which domain each event of a store belongs to. An event that has not changed stays
/// under the domain that it had in the list before.
class RowsOfEvents {
 public:
  /// Returns what the store shows of its records. Events come as records, so that the merge makes
  /// only the items that it needs. Returns nothing when two domains have the same identifier.
  /// `lineage` is the lineage of `events`.
  [[nodiscard]] std::optional<FreshSource> freshRows(
      const platform::Value& events, const std::shared_ptr<const EventLineage>& lineage,
      const platform::Value& domains);

 private:
  platform::Value _domains;
  std::uint64_t _list = 0;               // the number of the event list that `_rows` is about
  std::vector<PlaceTable::Place> _rows;  // by event; nowhere for one that is not shown
};

}  // namespace vexil::detail
