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

/// Whether a domain record is that of the engine itself, which is not shown.
[[nodiscard]] bool isEnginesOwn(const platform::Value& domain);

/// Which domain each event of a store belongs to. That of an event that has not changed is known
/// from the list before.
class RowsOfEvents {
 public:
  /// What the store makes of its records, with the event items left out that are not needed.
  /// Nothing when two domains share their events. `lineage` is that of the events.
  [[nodiscard]] std::optional<FreshSource> freshRows(
      const platform::Value& events, const std::shared_ptr<const EventLineage>& lineage,
      const platform::Value& domains);

 private:
  platform::Value _domains;
  std::uint64_t _list = 0;               // the events, as their lineage calls them
  std::vector<PlaceTable::Place> _rows;  // nowhere for an event that is not shown
};

}  // namespace vexil::detail
