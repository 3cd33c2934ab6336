// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/collections/Lists.h>
#include <vexil/platform/detail/Operation.h>
#include <vexil/texts/EmbeddedStrings.h>  // registers the tables

#include <string_view>
#include <typeinfo>
#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVEngineVexilKeyPathActive = "active";
constinit const std::string_view KRAVTWVEngineVexilKeyPathPending = "pending";
constinit const std::string_view KRAVTWVEngineVexilKeyPathAvailable = "available";

using platform::Key;
using platform::KeyAccess;
using platform::KeyTable;
using platform::Value;
using vexil::detail::areEqualLists;
using vexil::detail::itemsOf;
using vexil::detail::requireArray;

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

void KRAVTWVEngineVexil::accept(const Value& list, Value (KRAVTWVEngineVexil::*getter)() const,
                                void (KRAVTWVEngineVexil::*setter)(Value)) {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
  const Value fresh = list;
  requireArray(fresh);
  if (!areEqualLists((this->*getter)(), fresh)) {
    (this->*setter)(fresh);
    updateItemsForEngine();
  }
}

void KRAVTWVEngineVexil::updateItemsForEngine() {
  const platform::detail::Operation operation;
  const auto self = weak_from_this().lock();
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
