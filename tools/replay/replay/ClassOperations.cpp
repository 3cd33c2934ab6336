// SPDX-License-Identifier: Apache-2.0
#include <replay/Operations.h>
#include <replay/Recorders.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVItemsObserver.h>
#include <vexil/KRAVTWVItemsVexil.h>

#include <memory>
#include <utility>

namespace platform = vexil::platform;

namespace replay {

using platform::Key;
using platform::Value;

namespace {

using Service = std::shared_ptr<platform::NetService>;

/// Adds a factory, and the initialiser that makes the same item.
template <class Function>
void addFactory(std::vector<Operation>& operations, std::string_view factory,
                std::string_view initialiser, Function make) {
  operations.push_back(function(factory, make));
  operations.push_back(function(initialiser, make));
}

/// Adds the factories of a kind, its own and those that it inherits.
template <class Item>
void addFactories(std::vector<Operation>& operations) {
  addFactory(operations, "itemWithRepresentedObject:", "initWithRepresentedObject:",
             [](const Value& object) { return Item::itemWithRepresentedObject(object); });
  if constexpr (requires(Value value) { Item::itemWithLabelUniqueID(value, value); }) {
    addFactory(operations, "itemWithLabel:uniqueID:", "initWithLabel:uniqueID:",
               [](const Value& label, const Value& uniqueID) {
                 return Item::itemWithLabelUniqueID(label, uniqueID);
               });
  }
  if constexpr (requires(Value value) { Item::itemWithEvent(value); }) {
    addFactory(operations, "itemWithEvent:", "initWithEvent:", [](const Value& event) {
      return Item::itemWithEvent(event);
    });
  }
  if constexpr (requires(Value value) { Item::itemWithDomain(value); }) {
    addFactory(operations, "itemWithDomain:", "initWithDomain:", [](const Value& domain) {
      return Item::itemWithDomain(domain);
    });
  }
  if constexpr (requires(Value value) { Item::itemWithQueuedTrigger(value); }) {
    addFactory(operations, "itemWithQueuedTrigger:", "initWithQueuedTrigger:",
               [](const Value& trigger) { return Item::itemWithQueuedTrigger(trigger); });
  }
  if constexpr (requires(Value value) { Item::itemWithActiveEvent(value); }) {
    addFactory(operations, "itemWithActiveEvent:", "initWithActiveEvent:", [](const Value& event) {
      return Item::itemWithActiveEvent(event);
    });
  }
  if constexpr (requires(Value value) { Item::itemWithNetDomain(value); }) {
    addFactory(operations, "itemWithNetDomain:", "initWithNetDomain:", [](const Value& name) {
      return Item::itemWithNetDomain(name);
    });
  }
  if constexpr (requires(Service service) { Item::itemWithNetService(service); }) {
    addFactory(operations, "itemWithNetService:", "initWithNetService:",
               [](const Service& service) { return Item::itemWithNetService(service); });
  }
}

/// Adds what a kind answers if it can be read from pasteboards.
template <class Item>
void addReading(std::vector<Operation>& operations) {
  if constexpr (requires { Item::readableTypesForPasteboard(nullptr); }) {
    operations.push_back(
        function("readableTypesForPasteboard:", &Item::readableTypesForPasteboard));
    operations.push_back(
        function("readingOptionsForType:pasteboard:", &Item::readingOptionsForTypePasteboard));
    operations.push_back(function("initWithPasteboardPropertyList:ofType:",
                                  &Item::initWithPasteboardPropertyListOfType));
  }
}

/// What a class says about the keys of its objects. `example` is any object of the class.
template <class Class>
Operation dependenciesOfKeys(std::shared_ptr<Class> example) {
  return function("keyPathsForValuesAffectingValueForKey:",
                  [example = std::move(example)](const Key& key) {
                    return example->keyPathsForValuesAffectingValueForKey(key);
                  });
}

template <class Item>
ClassOperations itemClass(std::string_view name) {
  std::vector<Operation> operations;
  addFactories<Item>(operations);
  addReading<Item>(operations);
  operations.push_back(function("init", [] { return Item::init(); }));

  const std::shared_ptr<KRAVTWVItemVexil> example = Item::itemWithRepresentedObject({});
  operations.push_back(dependenciesOfKeys(example));
  operations.push_back(function("keyPathsForValuesAffectedByRepresentedObject", [example] {
    return example->keyPathsForValuesAffectedByRepresentedObject();
  }));
  operations.push_back(function("keyPathsForValuesAffectingIsGroup", [example] {
    return example->keyPathsForValuesAffectingIsGroup();
  }));
  operations.push_back(function("keyPathsForValuesAffectingIsExpandable", [example] {
    return example->keyPathsForValuesAffectingIsExpandable();
  }));
  return {name, std::move(operations)};
}

Operation withoutPrintedResult(Operation operation) {
  operation.printsResult = false;
  return operation;
}

/// A class whose objects are made by `init`.
template <class Make>
ClassOperations plainClass(std::string_view name, Make make) {
  return {name,
          {withoutPrintedResult(function("new", make)), function("init", make),
           dependenciesOfKeys(make())}};
}

template <class Collection>
ClassOperations collectionClass(std::string_view name) {
  return plainClass(name, [] { return std::make_shared<Collection>(); });
}

ClassOperations delegateClass() {
  return {"Delegate",
          {withoutPrintedResult({"new", {}, &detail::isAnything, [](const Call& call) {
                                   return Value(std::make_shared<Delegate>(call.transcript));
                                 }})}};
}

}  // namespace

std::vector<ClassOperations> classOperations() {
  return {
      itemClass<KRAVTWVItemVexil>("KRAVTWVItemVexil"),
      itemClass<KRAVTWVGroupVexil>("KRAVTWVGroupVexil"),
      itemClass<KRAVTWVEventVexil>("KRAVTWVEventVexil"),
      itemClass<KRAVTWVOnDemandVexil>("KRAVTWVOnDemandVexil"),
      itemClass<KRAVTWVDomainVexil>("KRAVTWVDomainVexil"),
      itemClass<KRAVTWVQueuedTriggerVexil>("KRAVTWVQueuedTriggerVexil"),
      itemClass<KRAVTWVActiveEventVexil>("KRAVTWVActiveEventVexil"),
      itemClass<KRAVTWVNetDomainVexil>("KRAVTWVNetDomainVexil"),
      itemClass<KRAVTWVNetServiceVexil>("KRAVTWVNetServiceVexil"),
      collectionClass<KRAVTWVItemsVexil>("KRAVTWVItemsVexil"),
      collectionClass<KRAVTWVEventsVexil>("KRAVTWVEventsVexil"),
      collectionClass<KRAVTWVEventStoreVexil>("KRAVTWVEventStoreVexil"),
      collectionClass<KRAVTWVEngineVexil>("KRAVTWVEngineVexil"),
      collectionClass<KRAVTWVServicesVexil>("KRAVTWVServicesVexil"),
      plainClass("KRAVTWVItemsObserver", &KRAVTWVItemsObserver::init),
      delegateClass(),
  };
}

}  // namespace replay
