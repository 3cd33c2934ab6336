// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/Lists.h>
#include <vexil/collections/RowsOfEvents.h>
#include <vexil/order/EventOrder.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/platform/detail/Hash.h>

#include <string_view>
#include <unordered_map>
#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVEventStoreVexilKeyPathDomains = "domains";

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;
using vexil::detail::areEqualLists;
using vexil::detail::EventOrder;
using vexil::detail::isEnginesOwn;
using vexil::detail::LiteralRefresh;
using vexil::detail::mergeIntoRoot;
using vexil::detail::requireArray;
using vexil::detail::RowsOfEvents;
using vexil::detail::sortedEventsKey;

KRAVTWVEventStoreVexil::KRAVTWVEventStoreVexil()
    : _order(std::make_unique<EventOrder>()), _rowsOfEvents(std::make_unique<RowsOfEvents>()) {}

KRAVTWVEventStoreVexil::~KRAVTWVEventStoreVexil() = default;

void KRAVTWVEventStoreVexil::setOrderedDomains(Value orderedDomains) {
  static const Key key("orderedDomains");
  assign(key, _orderedDomains, std::move(orderedDomains));
}

void KRAVTWVEventStoreVexil::setSortedEvents(Value sortedEvents) {
  assign(sortedEventsKey(), _sortedEvents, std::move(sortedEvents));
}

void KRAVTWVEventStoreVexil::setDomains(const Value& domains) {
  const auto self = weak_from_this().lock();
  const Value fresh = domains;
  requireArray(fresh);
  if (areEqualLists(orderedDomains(), fresh)) {
    return;
  }
  setOrderedDomains(fresh);
  rebuild();
}

void KRAVTWVEventStoreVexil::setEvents(const Value& events) {
  const auto self = weak_from_this().lock();
  const auto [sorted, isHeld, lineage] = _order->compare(sortedEvents(), Value(events));
  if (isHeld) {
    return;
  }
  setSortedEvents(sorted);
  rebuild();
}

void KRAVTWVEventStoreVexil::rebuild() {
  const Value events = sortedEvents();
  const Value domains = orderedDomains();
  const auto lineage = _order->lineageOf(events);
  if (lineage && !LiteralRefresh::isWanted()) {
    if (auto rows = _rowsOfEvents->freshRows(events, lineage, domains)) {
      mergeIntoRoot(*this, std::move(*rows));
      return;
    }
  }
  const auto forgotten = std::exchange(*_rowsOfEvents, {});
  replaceRootChildren(itemsWithEventsAndDomains(events, domains));
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEventStoreVexil::itemsOfInput() const {
  return itemsWithEventsAndDomains(sortedEvents(), orderedDomains());
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEventStoreVexil::itemsWithEventsAndDomains(
    const Value& eventsOfHost, const Value& domainsOfHost) {
  // Copies: adding children asks objects, and their host may change what it handed over.
  const Value events = eventsOfHost;
  const Value domains = domainsOfHost;
  static const Key eventDomainKey(kTWEventDomain);
  static const Key domainIdentifierKey(kTWDomainUniqueID);

  // The records outlive the table, so it can refer to their strings.
  std::unordered_map<std::string_view, KRAVTWVItemArray, platform::HashOfText> eventsOfDomain;
  for (const Value& event : events.elements()) {
    eventsOfDomain[event[eventDomainKey].string()].push_back(
        KRAVTWVEventVexil::itemWithEvent(event));
  }

  auto items = std::make_shared<KRAVTWVItemArray>();
  for (const Value& domain : domains.elements()) {
    if (isEnginesOwn(domain)) {
      continue;
    }
    items->push_back(KRAVTWVDomainVexil::itemWithDomain(domain));
    const auto found = eventsOfDomain.find(domain[domainIdentifierKey].string());
    if (found != eventsOfDomain.end()) {
      items->back()->addChildren(found->second);
    }
  }
  while (items && items->size() == 1 &&
         std::dynamic_pointer_cast<KRAVTWVDomainVexil>(items->front())) {
    items = items->front()->children();
  }
  return items;
}

const KeyTable& KRAVTWVEventStoreVexil::keyTable() const {
  using Store = KRAVTWVEventStoreVexil;
  static const KeyTable table(
      &itemsKeyTable(),
      {KeyAccess::readWrite<&Store::orderedDomains, &Store::setOrderedDomains>("orderedDomains"),
       KeyAccess::readWrite<&Store::sortedEvents, &Store::setSortedEvents>(sortedEventsKey()),
       KeyAccess::writeOnly<&Store::setDomains>(KRAVTWVEventStoreVexilKeyPathDomains),
       KeyAccess::writeOnly<&Store::setEvents>(KRAVTWVEventsVexilKeyPathEvents)});
  return table;
}
