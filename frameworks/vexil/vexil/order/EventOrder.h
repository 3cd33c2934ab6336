// SPDX-License-Identifier: Apache-2.0
// Internal to collections: event records in their order.
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

/// What a collection knows about the list of events that it holds, so that the next list, which is
/// mostly the same one with few changes, need not be sorted and compared as a whole: each record is
/// looked for by its identifier, and one that has not changed its name keeps its place.
///
/// That yields what sorting and comparing would only where no two records share a place in the
/// order, or an identifier. Other lists are sorted.
class EventOrder {
 public:
  struct Answer {
    platform::Value sorted;
    bool isHeld;  // whether the list held equals the fresh one in order; an absent one never does
    std::shared_ptr<const EventLineage> lineage;  // of the fresh one, where it is strict
  };

  /// `held` is what the collection holds, whoever has set it. Raises what sorting raises.
  [[nodiscard]] Answer compare(const platform::Value& held, const platform::Value& events);

  /// The lineage of `list`, the one of the last answer; null for any other list, and where two of
  /// its records may share a place in the order.
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
  platform::Value _knownList;  // the list that all this is about
  // Null where records share a place in the order.
  std::shared_ptr<const EventLineage> _lineage;
  PlaceTable _placesByIdentifier;  // empty while it is not needed
  bool _identifiersDiffer = true;
  std::vector<Place> _lastPlaces;  // of the records of the last list, in the order it came in
};

}  // namespace vexil::detail
