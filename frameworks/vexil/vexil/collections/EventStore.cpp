// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/Lists.h>
#include <vexil/collections/RowsOfEvents.h>
#include <vexil/order/EventOrder.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/platform/Hash.h>
#include <vexil/platform/detail/Operation.h>

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

namespace {

/// Event items by the identifiers of their domains. The caller must hold the records, because the
/// keys refer to their strings.
using EventItemsByDomain =
    std::unordered_map<std::string_view, KRAVTWVItemArray, platform::HashOfText>;

EventItemsByDomain eventItemsByDomain(const Value& events) {
  static const Key domainKey(kTWEventDomain);
  EventItemsByDomain eventsOfDomain;
  for (const Value& event : events.elements()) {
    eventsOfDomain[event[domainKey].string()].push_back(KRAVTWVEventVexil::itemWithEvent(event));
  }
  return eventsOfDomain;
}

/// A row for each domain that is shown, with its events.
std::shared_ptr<KRAVTWVItemArray> rowsOfDomains(const Value& domains,
                                                const EventItemsByDomain& eventsOfDomain) {
  static const Key identifierKey(kTWDomainUniqueID);
  auto rows = std::make_shared<KRAVTWVItemArray>();
  for (const Value& domain : domains.elements()) {
    if (isEnginesOwn(domain)) {
      continue;
    }
    rows->push_back(KRAVTWVDomainVexil::itemWithDomain(domain));
    const auto events = eventsOfDomain.find(domain[identifierKey].string());
    if (events != eventsOfDomain.end()) {
      rows->back()->addChildren(events->second);
    }
  }
  return rows;
}

/// Returns the events of a single domain in place of its row.
std::shared_ptr<KRAVTWVItemArray> withoutSingleDomain(std::shared_ptr<KRAVTWVItemArray> rows) {
  while (rows && rows->size() == 1 &&
         std::dynamic_pointer_cast<KRAVTWVDomainVexil>(rows->front())) {
    rows = rows->front()->children();
  }
  return rows;
}

}  // namespace

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
  const platform::detail::Operation operation;
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
  const platform::detail::Operation operation;
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
  const auto rowsBefore = std::exchange(*_rowsOfEvents, {});
  replaceRootChildren(itemsWithEventsAndDomains(events, domains));
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEventStoreVexil::itemsOfInput() const {
  return itemsWithEventsAndDomains(sortedEvents(), orderedDomains());
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEventStoreVexil::itemsWithEventsAndDomains(
    const Value& eventsOfHost, const Value& domainsOfHost) {
  // Copies, because foreign code runs while children are added, and may change the host's
  // variables.
  const Value events = eventsOfHost;
  const Value domains = domainsOfHost;
  return withoutSingleDomain(rowsOfDomains(domains, eventItemsByDomain(events)));
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
