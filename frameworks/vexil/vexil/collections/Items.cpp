// SPDX-License-Identifier: Apache-2.0
#include <ternwood/Ternwood.h>
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/RequireArray.h>
#include <vexil/collections/RowsOfEvents.h>
#include <vexil/merge/ItemMerge.h>
#include <vexil/order/EventOrder.h>
#include <vexil/order/LiteralRefresh.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/detail/Hash.h>

#include <algorithm>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVItemsVexilKeyPathRoot = "root";
constinit const std::string_view KRAVTWVEventsVexilKeyPathEvents = "events";
constinit const std::string_view KRAVTWVEventStoreVexilKeyPathDomains = "domains";
constinit const std::string_view KRAVTWVEngineVexilKeyPathActive = "active";
constinit const std::string_view KRAVTWVEngineVexilKeyPathPending = "pending";
constinit const std::string_view KRAVTWVEngineVexilKeyPathAvailable = "available";

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;

namespace {

using vexil::detail::LiteralRefresh;
using vexil::detail::requireArray;

const Key& sortedEventsKey() {
  static const Key key("sortedEvents");
  return key;
}

/// Whether nothing has to be done for a new list. An absent list equals none.
bool areEqualLists(const Value& held, const Value& fresh) {
  return !held.isAbsent() && held == fresh;
}

/// An item for each record, in their order.
template <class MakeItem>
std::shared_ptr<KRAVTWVItemArray> itemsOf(const Value& records, const MakeItem& makeItem) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  items->reserve(records.elements().size());
  std::ranges::transform(records.elements(), std::back_inserter(*items), makeItem);
  return items;
}

}  // namespace

KRAVTWVItemsVexil::KRAVTWVItemsVexil()
    : _root(KRAVTWVGroupVexil::itemWithLabelUniqueID("", "root")) {}

KRAVTWVItemsVexil::~KRAVTWVItemsVexil() = default;

void KRAVTWVItemsVexil::setRoot(std::shared_ptr<KRAVTWVItemVexil> root) {
  static const Key key(KRAVTWVItemsVexilKeyPathRoot);
  assign(key, _root, std::move(root));
}

void KRAVTWVItemsVexil::setRootValue(const Value& root) {
  auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(root.object());
  if (!item && !root.isAbsent()) {
    throw platform::InvalidArgument("not an item: " + root.description());
  }
  setRoot(std::move(item));
}

void KRAVTWVItemsVexil::replaceRootChildren(const std::shared_ptr<const KRAVTWVItemArray>& items) {
  if (const auto item = root()) {
    item->replaceChildren(items);
  }
}

void KRAVTWVItemsVexil::rebuildRootChildren() {
  const auto held = weak_from_this().lock();
  auto items = itemsOfInput();
  // The root of now, as objects may have been asked while the items were built.
  if (const auto item = root(); item && items) {
    item->setChildren(std::move(items));
  }
}

void KRAVTWVItemsVexil::mergeIntoRoot(vexil::detail::FreshList items) {
  if (const auto item = root()) {
    vexil::detail::ItemMerge().run(*item, std::move(items), false);
  }
}

const KeyTable& KRAVTWVItemsVexil::itemsKeyTable() {
  static const KeyTable table(
      nullptr, {KeyAccess::readWrite<&KRAVTWVItemsVexil::root, &KRAVTWVItemsVexil::setRootValue>(
                   KRAVTWVItemsVexilKeyPathRoot)});
  return table;
}

KRAVTWVEventsVexil::KRAVTWVEventsVexil() : _order(std::make_unique<vexil::detail::EventOrder>()) {}

KRAVTWVEventsVexil::~KRAVTWVEventsVexil() = default;

void KRAVTWVEventsVexil::setSortedEvents(Value sortedEvents) {
  assign(sortedEventsKey(), _sortedEvents, std::move(sortedEvents));
}

void KRAVTWVEventsVexil::setEvents(const Value& events) {
  const auto held = weak_from_this().lock();
  const auto [sorted, isHeld, lineage] = _order->compare(sortedEvents(), Value(events));
  if (isHeld) {
    return;
  }
  setSortedEvents(sorted);
  if (LiteralRefresh::isWanted()) {
    replaceRootChildren(itemsOf(sorted, &KRAVTWVEventVexil::itemWithEvent));
  } else {
    mergeIntoRoot(vexil::detail::FreshList(vexil::detail::FreshEvents{sorted, lineage}));
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

// --- event store

KRAVTWVEventStoreVexil::KRAVTWVEventStoreVexil()
    : _order(std::make_unique<vexil::detail::EventOrder>()),
      _rowsOfEvents(std::make_unique<vexil::detail::RowsOfEvents>()) {}

KRAVTWVEventStoreVexil::~KRAVTWVEventStoreVexil() = default;

void KRAVTWVEventStoreVexil::setOrderedDomains(Value orderedDomains) {
  static const Key key("orderedDomains");
  assign(key, _orderedDomains, std::move(orderedDomains));
}

void KRAVTWVEventStoreVexil::setSortedEvents(Value sortedEvents) {
  assign(sortedEventsKey(), _sortedEvents, std::move(sortedEvents));
}

void KRAVTWVEventStoreVexil::setDomains(const Value& domains) {
  const auto held = weak_from_this().lock();
  const Value fresh = domains;
  requireArray(fresh);
  if (areEqualLists(orderedDomains(), fresh)) {
    return;
  }
  setOrderedDomains(fresh);
  rebuild();
}

void KRAVTWVEventStoreVexil::setEvents(const Value& events) {
  const auto held = weak_from_this().lock();
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
      mergeIntoRoot(std::move(*rows));
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
    if (vexil::detail::isEnginesOwn(domain)) {
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

// --- engine

KRAVTWVEngineVexil::KRAVTWVEngineVexil() : KRAVTWVEngineVexil(typeid(KRAVTWVEngineVexil)) {}

KRAVTWVEngineVexil::KRAVTWVEngineVexil(const std::type_info& ownClass) {
  replaceRootChildren(itemsLabelledFrom(platform::Bundle::forClass(ownClass)));
}

KRAVTWVEngineVexil::~KRAVTWVEngineVexil() = default;

void KRAVTWVEngineVexil::setActiveEvents(Value events) {
  static const Key key("activeEvents");
  assign(key, _activeEvents, std::move(events));
}

void KRAVTWVEngineVexil::setPendingTriggers(Value triggers) {
  static const Key key("pendingTriggers");
  assign(key, _pendingTriggers, std::move(triggers));
}

void KRAVTWVEngineVexil::setOnDemandAvailable(Value events) {
  static const Key key("onDemandAvailable");
  assign(key, _onDemandAvailable, std::move(events));
}

void KRAVTWVEngineVexil::setActive(const Value& events) {
  accept(events, &KRAVTWVEngineVexil::activeEvents, &KRAVTWVEngineVexil::setActiveEvents);
}

void KRAVTWVEngineVexil::setPending(const Value& triggers) {
  accept(triggers, &KRAVTWVEngineVexil::pendingTriggers, &KRAVTWVEngineVexil::setPendingTriggers);
}

void KRAVTWVEngineVexil::setAvailable(const Value& events) {
  accept(events, &KRAVTWVEngineVexil::onDemandAvailable, &KRAVTWVEngineVexil::setOnDemandAvailable);
}

void KRAVTWVEngineVexil::accept(const Value& list, Value (KRAVTWVEngineVexil::*held)() const,
                                void (KRAVTWVEngineVexil::*hold)(Value)) {
  const auto heldSelf = weak_from_this().lock();
  const Value fresh = list;
  requireArray(fresh);
  if (!areEqualLists((this->*held)(), fresh)) {
    (this->*hold)(fresh);
    updateItemsForEngine();
  }
}

void KRAVTWVEngineVexil::updateItemsForEngine() {
  const auto held = weak_from_this().lock();
  replaceRootChildren(KRAVTWVEngineVexil::itemsOfInput());
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEngineVexil::itemsOfInput() const {
  return itemsLabelledFrom(platform::Bundle::forClassOf(*this));
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVEngineVexil::itemsLabelledFrom(
    const platform::Bundle& strings) const {
  const auto group = [&strings](std::string_view uniqueID, std::string_view textKey,
                                const Value& records, const auto& makeItem) {
    auto item = KRAVTWVGroupVexil::itemWithLabelUniqueID(strings.localizedString(textKey, textKey),
                                                         uniqueID);
    item->addChildren(*itemsOf(records, makeItem));
    return item;
  };
  auto groups = std::make_shared<KRAVTWVItemArray>();
  groups->push_back(group(
      "scheduler.active", "engine.scheduler.active", activeEvents(),
      [](const Value& event) { return KRAVTWVActiveEventVexil::itemWithActiveEvent(event); }));
  groups->push_back(
      group("ondemand.available", "engine.ondemand.available", onDemandAvailable(),
            [](const Value& event) { return KRAVTWVOnDemandVexil::itemWithEvent(event); }));
  groups->push_back(group("scheduler.pending", "engine.scheduler.pending", pendingTriggers(),
                          [](const Value& trigger) {
                            return KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(trigger);
                          }));
  return groups;
}

const KeyTable& KRAVTWVEngineVexil::keyTable() const {
  using Engine = KRAVTWVEngineVexil;
  static const KeyTable table(
      &itemsKeyTable(),
      {KeyAccess::readWrite<&Engine::activeEvents, &Engine::setActiveEvents>("activeEvents"),
       KeyAccess::readWrite<&Engine::pendingTriggers, &Engine::setPendingTriggers>(
           "pendingTriggers"),
       KeyAccess::readWrite<&Engine::onDemandAvailable, &Engine::setOnDemandAvailable>(
           "onDemandAvailable"),
       KeyAccess::writeOnly<&Engine::setActive>(KRAVTWVEngineVexilKeyPathActive),
       KeyAccess::writeOnly<&Engine::setPending>(KRAVTWVEngineVexilKeyPathPending),
       KeyAccess::writeOnly<&Engine::setAvailable>(KRAVTWVEngineVexilKeyPathAvailable)});
  return table;
}
