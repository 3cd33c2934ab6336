// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/Lists.h>
#include <vexil/order/EventOrder.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/platform/detail/Operation.h>

#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVEventsVexilKeyPathEvents = "events";

using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;
using vexil::detail::EventOrder;
using vexil::detail::FreshEvents;
using vexil::detail::itemsOf;
using vexil::detail::LiteralRefresh;
using vexil::detail::mergeIntoRoot;
using vexil::detail::sortedEventsKey;

KRAVTWVEventsVexil::KRAVTWVEventsVexil() : _order(std::make_unique<EventOrder>()) {}

KRAVTWVEventsVexil::~KRAVTWVEventsVexil() = default;

void KRAVTWVEventsVexil::setSortedEvents(Value sortedEvents) {
  assign(sortedEventsKey(), _sortedEvents, std::move(sortedEvents));
}

void KRAVTWVEventsVexil::setEvents(const Value& events) {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  const auto [sorted, isHeld, lineage] = _order->compare(sortedEvents(), Value(events));
  if (isHeld) {
    return;
  }
  setSortedEvents(sorted);
  if (LiteralRefresh::isWanted()) {
    replaceRootChildren(itemsOf(sorted, &KRAVTWVEventVexil::itemWithEvent));
  } else {
    mergeIntoRoot(*this, FreshEvents{.records = sorted, .lineage = lineage});
  }
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEventsVexil::itemsOfInput() const {
  return itemsOf(sortedEvents(), &KRAVTWVEventVexil::itemWithEvent);
}

const KeyTable& KRAVTWVEventsVexil::keyTable() const {
  using Events = KRAVTWVEventsVexil;
  static const KeyTable table(
      &itemsKeyTable(),
      {KeyAccess::readWrite<&Events::sortedEvents, &Events::setSortedEvents>(sortedEventsKey()),
       KeyAccess::writeOnly<&Events::setEvents>(KRAVTWVEventsVexilKeyPathEvents)});
  return table;
}
