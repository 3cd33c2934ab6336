// SPDX-License-Identifier: Apache-2.0
// Internal to collections: event records by name and then by identifier.
#pragma once

#include <vexil/order/EventLineage.h>
#include <vexil/order/EventSorting.h>
#include <vexil/order/PlaceTable.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace vexil::detail {

/// What a collection knows about the list of events that it holds. The next list is mostly the same
/// one with few changes, so it need not be sorted and compared as a whole. Each record is looked up
/// by its identifier. Records that keep their names keep their order.
///
/// The result is that of the literal way if no two records have the same identifier, and no two
/// compare equal. Other lists are sorted.
class EventOrder {
 public:
  struct Answer {
    platform::Value sorted;
    bool isHeld;  // whether `sorted` equals the list held; false if the latter is absent
    std::shared_ptr<const EventLineage> lineage;  // of `sorted`; null if not known
  };

  /// Compares a fresh list with the list that the collection holds now, which a host may have set.
  /// Throws what `inEventOrder` throws.
  [[nodiscard]] Answer compare(const platform::Value& held, const platform::Value& events);

  /// Returns the lineage of `list` if it is the list of the last answer. Returns null for any other
  /// list, and when two records may compare equal.
  [[nodiscard]] std::shared_ptr<const EventLineage> lineageOf(const platform::Value& list) const {
    return list.sharesStorageWith(_knownList) ? _lineage : nullptr;
  }

 private:
  using Place = PlaceTable::Place;
  class Search;
  class Arrangement;

  [[nodiscard]] std::optional<Answer> compareByIdentifier(const platform::Value& held,
                                                          const platform::Value& events);
  void startFrom(const OrderedEvents& events);
  [[nodiscard]] bool learnIdentifiers();
  bool learnIdentifier(std::span<const platform::Value> records, Place place);
  void updatePlaces(Search& search, std::span<const Place> newPlaces);
  [[nodiscard]] std::optional<Answer> answerTo(Search& search);
  Answer answerWith(platform::Value fresh, std::vector<Place> origins);

  bool _isAtWork = false;
  platform::Value _knownList;              // what the other members are about
  std::shared_ptr<EventLineage> _lineage;  // null if two records may compare equal, or too many
  PlaceTable _placesByIdentifier;          // empty while it is not needed
  bool _identifiersDiffer = true;
  std::vector<Place> _lastPlaces;  // by the index of the record in the list that came last
};

}  // namespace vexil::detail
