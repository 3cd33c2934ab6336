// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <vexil/KRAVTWVItemsVexil.h>

namespace replay {

namespace {

/// An operation that takes a list of records.
template <class Collection, class Result, class List>
Operation withList(std::string_view name, Result (Collection::*function)(List)) {
  return method(name, [function](Collection& collection, const Records& records) {
    (collection.*function)(records.array);
  });
}

}  // namespace

std::vector<Operation> collectionOperations() {
  using Events = KRAVTWVEventsVexil;
  using Store = KRAVTWVEventStoreVexil;
  using Engine = KRAVTWVEngineVexil;
  using Services = KRAVTWVServicesVexil;
  return {
      method("root", &KRAVTWVItemsVexil::root),
      method("setRoot:", &KRAVTWVItemsVexil::setRoot),
      method("replaceRootChildren:", &KRAVTWVItemsVexil::replaceRootChildren),

      withList("setEvents:", &Events::setEvents),
      method("sortedEvents", &Events::sortedEvents),
      withList("setSortedEvents:", &Events::setSortedEvents),

      withList("setDomains:", &Store::setDomains),
      withList("setEvents:", &Store::setEvents),
      method("orderedDomains", &Store::orderedDomains),
      withList("setOrderedDomains:", &Store::setOrderedDomains),
      method("sortedEvents", &Store::sortedEvents),
      withList("setSortedEvents:", &Store::setSortedEvents),
      method("itemsWithEvents:andDomains:",
             [](Store&, const Records& events, const Records& domains) {
               return Store::itemsWithEventsAndDomains(events.array, domains.array);
             }),

      withList("setActive:", &Engine::setActive),
      withList("setPending:", &Engine::setPending),
      withList("setAvailable:", &Engine::setAvailable),
      method("activeEvents", &Engine::activeEvents),
      withList("setActiveEvents:", &Engine::setActiveEvents),
      method("pendingTriggers", &Engine::pendingTriggers),
      withList("setPendingTriggers:", &Engine::setPendingTriggers),
      method("onDemandAvailable", &Engine::onDemandAvailable),
      withList("setOnDemandAvailable:", &Engine::setOnDemandAvailable),
      method("updateItemsForEngine", &Engine::updateItemsForEngine),

      method("groupByDomain", &Services::groupByDomain),
      method("setGroupByDomain:", &Services::setGroupByDomain),
      method("sortedServices", &Services::sortedServices),
      method("setSortedServices:", &Services::setSortedServices),
      method("addService:", &Services::addService),
      method("removeService:", &Services::removeService),
      method("updateItemsForServices", &Services::updateItemsForServices),
  };
}

}  // namespace replay
