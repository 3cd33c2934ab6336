// SPDX-License-Identifier: Apache-2.0
// Internal to the order of events: newcomers are put between the records that keep their order.
#pragma once

#include <vexil/order/EventOrderSearch.h>
#include <vexil/order/EventSorting.h>
#include <vexil/platform/Value.h>

#include <compare>
#include <optional>
#include <vector>

namespace vexil::detail {

/// Merges the newcomers of a search with the records that keep their order. The result is strictly
/// in order.
class EventOrder::Arrangement {
 public:
  explicit Arrangement(Search& search) : _search(search), _byPlace(*search.freshByPlace) {}

  /// Returns false when two records compare equal, or when there are too many for a lineage.
  [[nodiscard]] bool run();

  std::optional<platform::ArrayMaker> sorted;
  std::vector<Place> origins;    // of the sorted records
  std::vector<Place> newPlaces;  // of the records that were held; nowhere if one is gone

 private:
  using Staying = std::vector<Place>;

  [[nodiscard]] bool comesBefore(const platform::Value& a, const platform::Value& b) {
    return std::is_lt(_compare(a, b));
  }
  void sortNewcomers();
  void findStaying();
  [[nodiscard]] Staying::const_iterator firstStayingNotBefore(const platform::Value& record);
  void takeStayingUpTo(Staying::const_iterator end);
  void take(Search::Newcomer& newcomer);

  Search& _search;
  platform::ArrayMaker& _byPlace;
  EventComparison _compare;
  Staying _staying;  // the places of the records that keep their order
  Staying::const_iterator _next;
};

}  // namespace vexil::detail
