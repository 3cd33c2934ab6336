// SPDX-License-Identifier: Apache-2.0
// What collections do.
#include "Operations.h"

#include <vexil/platform/Error.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Value;

namespace {

using Scenes = std::vector<Scene>;

/// Adds an operation of a collection of one class. Its argument is made before.
template <class Collection, class Make, class Perform>
void add(std::vector<Operation>& all, const std::string& name, const Scenes& scenes, Make make,
         Perform perform) {
  all.push_back({name, scenes, [make, perform](World& world) -> std::function<void()> {
                   auto* collection = dynamic_cast<Collection*>(world.collection.get());
                   return [perform, collection, argument = make(world)]() mutable {
                     perform(*collection, argument);
                   };
                 }});
}

int nothing(World& /*world*/) {
  return 0;
}

/// Lists. Each differs from the held one in one way.
struct Variation {
  const char* name;
  Value (*list)(World& world, MakeRecord make);
};

Value listOf(World& world, const Entries& entries, MakeRecord make) {
  return recordsOf(entries, world.scene.content, make);
}

constexpr auto variations = std::to_array<Variation>({
    {"equal", [](World& world, MakeRecord make) { return listOf(world, firstEntries(), make); }},
    {"one changed",
     [](World& world, MakeRecord make) {
       return listOf(world, oneChangedEntries(world.nextVersion()), make);
     }},
    {"all changed",
     [](World& world, MakeRecord make) {
       return listOf(world, entries(0, lastNumber, world.nextVersion()), make);
     }},
    {"mixed",
     [](World& world, MakeRecord make) {
       return listOf(world, mixedEntries(world.nextVersion()), make);
     }},
    {"reordered",
     [](World& world, MakeRecord make) { return listOf(world, reorderedEntries(), make); }},
    {"replaced",
     [](World& world, MakeRecord make) { return listOf(world, entries(30, 36), make); }},
    {"without an identifier",
     [](World& world, MakeRecord make) {
       Value list = listOf(world, firstEntries(), make);
       std::vector<Value> records(list.elements().begin(), list.elements().end());
       records.push_back(Value::dictionary({{"object", std::make_shared<HostObject>(1)}}));
       return Value::array(std::move(records));
     }},
    {"empty", [](World& /*world*/, MakeRecord /*make*/) { return Value::array({}); }},
    {"absent", [](World& /*world*/, MakeRecord /*make*/) { return Value(); }},
    {"of another type",
     [](World& /*world*/, MakeRecord /*make*/) { return Value(std::make_shared<HostObject>(1)); }},
});

/// Adds an input of a collection that takes a list, with each variation, and the first list.
template <class Collection>
void addInput(std::vector<Operation>& all, const std::string& name, Kind kind, MakeRecord make,
              void (Collection::*set)(const Value&)) {
  const auto perform = [set](Collection& collection, const Value& list) {
    (collection.*set)(list);
  };
  Scenes empty = scenesOf(kind, {Place::row});
  for (Scene& scene : empty) {
    scene.isEmpty = true;
  }
  add<Collection>(
      all, name + ": the first", empty,
      [make](World& world) { return listOf(world, firstEntries(), make); }, perform);
  for (const Variation& variation : variations) {
    add<Collection>(
        all, name + ": " + variation.name, scenesOf(kind, {Place::row}),
        [variation, make](World& world) { return variation.list(world, make); }, perform);
  }
}

/// Adds the setter of a stored list. Such a setter changes nothing in the tree.
template <class Collection>
void addStored(std::vector<Operation>& all, const std::string& name, Kind kind, MakeRecord make,
               void (Collection::*set)(Value)) {
  add<Collection>(
      all, name, scenesOf(kind, {Place::row}),
      [make](World& world) { return listOf(world, entries(1, 3, world.nextVersion()), make); },
      [set](Collection& collection, const Value& list) { (collection.*set)(list); });
}

}  // namespace

void addListOfEvents(std::vector<Operation>& all) {
  using List = KRAVTWVEventsVexil;
  addInput<List>(all, "list setEvents", Kind::list, eventRecord, &List::setEvents);
  addStored<List>(all, "list setSortedEvents", Kind::list, eventRecord, &List::setSortedEvents);
}

void addEventStore(std::vector<Operation>& all) {
  using Store = KRAVTWVEventStoreVexil;
  addInput<Store>(all, "store setEvents", Kind::store, eventRecord, &Store::setEvents);
  addStored<Store>(all, "store setSortedEvents", Kind::store, eventRecord, &Store::setSortedEvents);
  addStored<Store>(all, "store setOrderedDomains", Kind::store, domainRecord,
                   &Store::setOrderedDomains);

  const auto domains = [](const char* name, Entries (*make)(World&)) {
    return std::pair(std::string("store setDomains: ") + name, make);
  };
  for (const auto& [name, make] :
       {domains("equal", [](World& /*world*/) { return firstDomains(); }),
        domains("renamed", [](World& world) { return entries(0, 1, world.nextVersion()); }),
        domains("one more", [](World& /*world*/) { return entries(0, 2); }),
        domains("one alone", [](World& /*world*/) { return entries(1, 1); }),
        domains("reordered",
                [](World& /*world*/) {
                  return Entries{{.number = 1}, {.number = 0}};
                }),
        domains("repeated",
                [](World& /*world*/) {
                  return Entries{{.number = 0}, {.number = 1}, {.number = 0, .version = 9}};
                }),
        domains("replaced", [](World& /*world*/) { return entries(8, 9); })}) {
    add<Store>(
        all, name, scenesOf(Kind::store, {Place::row}),
        [make](World& world) { return listOf(world, make(world), domainRecord); },
        [](Store& store, const Value& list) { store.setDomains(list); });
  }
  add<Store>(
      all, "store setDomains: absent", scenesOf(Kind::store, {Place::row}),
      [](World& /*world*/) { return Value(); },
      [](Store& store, const Value& list) { store.setDomains(list); });
  add<Store>(
      all, "itemsWithEventsAndDomains", scenesOf(Kind::store, {Place::row}),
      [](World& world) {
        Entries events = firstEntries();
        events.push_back({.number = 0});  // twice
        return std::pair(listOf(world, events, eventRecord),
                         listOf(world, firstDomains(), domainRecord));
      },
      [](Store& /*store*/, const auto& lists) {
        (void)Store::itemsWithEventsAndDomains(lists.first, lists.second);
      });
}

void addEngine(std::vector<Operation>& all) {
  using Engine = KRAVTWVEngineVexil;
  addInput<Engine>(all, "setActive", Kind::engine, activeRecord, &Engine::setActive);
  addInput<Engine>(all, "setPending", Kind::engine, triggerRecord, &Engine::setPending);
  addInput<Engine>(all, "setAvailable", Kind::engine, eventRecord, &Engine::setAvailable);
  addStored<Engine>(all, "setActiveEvents", Kind::engine, activeRecord, &Engine::setActiveEvents);
  addStored<Engine>(all, "setPendingTriggers", Kind::engine, triggerRecord,
                    &Engine::setPendingTriggers);
  addStored<Engine>(all, "setOnDemandAvailable", Kind::engine, eventRecord,
                    &Engine::setOnDemandAvailable);
  const auto update = [](Engine& engine, int /*nothing*/) { engine.updateItemsForEngine(); };
  add<Engine>(all, "updateItemsForEngine", scenesOf(Kind::engine, {Place::row}), nothing, update);
  add<Engine>(
      all, "updateItemsForEngine: other lists", scenesOf(Kind::engine, {Place::row}),
      [](World& world) {
        auto& engine = dynamic_cast<Engine&>(*world.collection);
        Entries changed = entries(2, 8, world.nextVersion());
        engine.setActiveEvents(listOf(world, changed, activeRecord));
        engine.setPendingTriggers(listOf(world, changed, triggerRecord));
        engine.setOnDemandAvailable(listOf(world, changed, eventRecord));
        return 0;
      },
      update);
}

void addServices(std::vector<Operation>& all) {
  using Services = KRAVTWVServicesVexil;
  using Service = std::shared_ptr<platform::NetService>;
  Scenes scenes = scenesOf(Kind::groupedServices, {Place::row});
  const Scenes flat = scenesOf(Kind::flatServices, {Place::row});
  scenes.insert(scenes.end(), flat.begin(), flat.end());

  const auto addIt = [](Services& services, const Service& it) { services.addService(it); };
  const auto removeIt = [](Services& services, const Service& it) { services.removeService(it); };
  add<Services>(
      all, "addService: a new one", scenes,
      [](World& /*world*/) { return service({.number = 30}); }, addIt);
  add<Services>(
      all, "addService: an equal", scenes, [](World& /*world*/) { return service({.number = 3}); },
      addIt);
  add<Services>(
      all, "addService: without a domain", scenes,
      [](World& /*world*/) {
        return Service(std::make_shared<HostService>("nowhere", "_tern._tcp.", Value()));
      },
      addIt);
  const auto addMany = [](Services& services, const KRAVTWVNetServiceArray& many) {
    services.addServices(many);
  };
  const auto removeMany = [](Services& services, const KRAVTWVNetServiceArray& many) {
    services.removeServices(many);
  };
  const auto servicesOf = [](const Entries& entries) {
    KRAVTWVNetServiceArray many;
    for (const Entry& entry : entries) {
      many.push_back(service(entry));
    }
    return many;
  };
  // Some equal held services. Some are new, and two of these are equal.
  const auto several = [servicesOf](World& /*world*/) {
    return servicesOf(
        {{.number = 1}, {.number = 30}, {.number = 2}, {.number = 31}, {.number = 30}});
  };
  add<Services>(all, "addServices", scenes, several, addMany);
  add<Services>(
      all, "addServices: equals", scenes,
      [servicesOf](World& /*world*/) { return servicesOf(entries(1, 3)); }, addMany);
  add<Services>(all, "removeServices", scenes, several, removeMany);
  add<Services>(all, "removeServices: the array itself", scenes, nothing,
                [](Services& services, int /*nothing*/) {
                  services.removeServices(*services.sortedServices());
                });
  add<Services>(
      all, "removeService: an equal", scenes,
      [](World& /*world*/) { return service({.number = 3}); }, removeIt);
  add<Services>(
      all, "removeService: of nobody", scenes,
      [](World& /*world*/) { return service({.number = 30}); }, removeIt);
  add<Services>(all, "removeService: one in the array itself", scenes, nothing,
                [](Services& services, int /*nothing*/) {
                  services.removeService((*services.sortedServices())[2]);
                });
  add<Services>(all, "updateItemsForServices", scenes, nothing,
                [](Services& services, int /*nothing*/) { services.updateItemsForServices(); });
  add<Services>(
      all, "updateItemsForServices: other services", scenes,
      [](World& world) {
        auto& services = dynamic_cast<Services&>(*world.collection);
        auto others = std::make_shared<KRAVTWVNetServiceArray>();
        for (const Entry& entry : entries(3, 9)) {
          others->push_back(service(entry));
        }
        services.setSortedServices(std::move(others));
        return 0;
      },
      [](Services& services, int /*nothing*/) { services.updateItemsForServices(); });
  add<Services>(
      all, "updateItemsForServices: the other shape", scenes,
      [](World& world) {
        auto& services = dynamic_cast<Services&>(*world.collection);
        services.setGroupByDomain(!services.groupByDomain());
        return 0;
      },
      [](Services& services, int /*nothing*/) { services.updateItemsForServices(); });
  add<Services>(all, "setGroupByDomain", scenes, nothing,
                [](Services& services, int /*nothing*/) { services.setGroupByDomain(true); });
  add<Services>(
      all, "setSortedServices", scenes,
      [](World& /*world*/) { return std::make_shared<KRAVTWVNetServiceArray>(); },
      [](Services& services, const std::shared_ptr<KRAVTWVNetServiceArray>& array) {
        services.setSortedServices(array);
      });
}

namespace {

/// The scenes of an operation that every collection has.
Scenes scenesOfCollections() {
  Scenes all;
  for (const Kind kind : {Kind::list, Kind::store, Kind::engine, Kind::groupedServices}) {
    for (const bool isHosted : {false, true}) {
      for (const bool isObserved : {false, true}) {
        all.push_back({.kind = kind,
                       .isObserved = isObserved,
                       .isHosted = isHosted,
                       .isOutlined = isObserved == isHosted});
      }
    }
  }
  return all;
}

/// Copies of what the other collection shows, some of them changed.
std::shared_ptr<KRAVTWVItemArray> freshItems(World& world, bool areChanged) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  for (const auto& child : *world.other->root()->children()) {
    items->push_back(world.copyOf(*child));
  }
  if (areChanged) {
    items->back()->setRepresentedObject("changed");
    items->insert(items->begin(), KRAVTWVEventVexil::itemWithEvent(
                                      eventRecord({.number = 30}, world.scene.content)));
  }
  return items;
}

}  // namespace

void addCollections(std::vector<Operation>& all) {
  using Collection = KRAVTWVItemsVexil;
  const Scenes scenes = scenesOfCollections();
  for (const bool areChanged : {false, true}) {
    add<Collection>(
        all, areChanged ? "replaceRootChildren: changed" : "replaceRootChildren: equals", scenes,
        [areChanged](World& world) { return freshItems(world, areChanged); },
        [](Collection& collection, auto& items) {
          collection.replaceRootChildren(std::move(items));
        });
  }
  add<Collection>(
      all, "rebuildRootChildren", scenes, nothing,
      [](Collection& collection, int /*nothing*/) { collection.rebuildRootChildren(); });
  add<Collection>(all, "replaceRootChildren: its own", scenes, nothing,
                  [](Collection& collection, int /*nothing*/) {
                    collection.replaceRootChildren(collection.root()->children());
                  });
  add<Collection>(
      all, "setRoot", scenes, [](World& world) { return world.other->root(); },
      [](Collection& collection, const ItemPointer& root) { collection.setRoot(root); });
  add<Collection>(all, "setRoot: none", scenes, nothing,
                  [](Collection& collection, int /*nothing*/) { collection.setRoot(nullptr); });
  add<Collection>(all, "root", scenes, nothing,
                  [](Collection& collection, int /*nothing*/) { (void)collection.root(); });
  for (const KeySites& sites : collectionKeys) {
    const std::string key(sites.key);
    add<Collection>(all, "collection valueForKey: " + key, scenes, nothing,
                    [key](Collection& collection, int /*nothing*/) {
                      try {
                        (void)collection.valueForKey(key);
                      } catch (const platform::UndefinedKey&) {
                        // Not all collections have all keys.
                      }
                    });
  }
  const auto byKey = [&](const char* key, Kind kind, MakeRecord make) {
    add<Collection>(
        all, std::string("collection setValueForKey: ") + key, scenesOf(kind, {Place::row}),
        [make](World& world) { return listOf(world, entries(1, 8, world.nextVersion()), make); },
        [key](Collection& collection, const Value& list) { collection.setValueForKey(list, key); });
  };
  byKey("events", Kind::list, eventRecord);
  byKey("sortedEvents", Kind::list, eventRecord);
  byKey("domains", Kind::store, domainRecord);
  byKey("orderedDomains", Kind::store, domainRecord);
  byKey("active", Kind::engine, activeRecord);
  byKey("activeEvents", Kind::engine, activeRecord);
  byKey("pending", Kind::engine, triggerRecord);
  byKey("pendingTriggers", Kind::engine, triggerRecord);
  byKey("available", Kind::engine, eventRecord);
  byKey("onDemandAvailable", Kind::engine, eventRecord);
  add<Collection>(
      all, "collection setValueForKey: root", scenes,
      [](World& world) { return Value(world.other->root()); },
      [](Collection& collection, const Value& root) { collection.setValueForKey(root, "root"); });
  add<Collection>(all, "collection setValueForKey: groupByDomain",
                  scenesOf(Kind::flatServices, {Place::row}), nothing,
                  [](Collection& collection, int /*nothing*/) {
                    collection.setValueForKey(true, "groupByDomain");
                  });
  add<Collection>(
      all, "collection setValueForKey: sortedServices", scenesOf(Kind::flatServices, {Place::row}),
      [](World& /*world*/) { return Value::array({Value(service({.number = 8}))}); },
      [](Collection& collection, const Value& services) {
        collection.setValueForKey(services, "sortedServices");
      });
  add<Collection>(
      all, "collection addObserver", scenes,
      [](World& /*world*/) { return std::make_shared<HostObserver>(Site::observerRoot); },
      [](Collection& collection, const std::shared_ptr<HostObserver>& observer) {
        collection.addObserver(observer, "root", platform::ObservingOptions::both, &context());
      });
  add<Collection>(
      all, "collection removeObserver", scenes,
      [](World& world) {
        return world.observe(world.collection, "root", platform::ObservingOptions::both,
                             Site::observerRoot);
      },
      [](Collection& collection, const std::shared_ptr<HostObserver>& observer) {
        collection.removeObserver(observer, "root", &context());
      });
  all.push_back({"destruction of a collection", scenes, [](World& world) -> std::function<void()> {
                   return [gone = std::make_shared<CollectionPointer>(
                               std::exchange(world.collection, nullptr))] { gone->reset(); };
                 }});
}

}  // namespace foreign
