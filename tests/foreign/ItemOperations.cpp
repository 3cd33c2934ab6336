// SPDX-License-Identifier: Apache-2.0
// What items do by themselves: equality, properties, keys.
#include "Operations.h"

#include <vexil/platform/Error.h>

#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Value;

namespace {

using Item = KRAVTWVItemVexil;

/// Adds an operation of an item without an argument.
template <class Perform>
void addSimple(std::vector<Operation>& all, const std::string& name, Perform perform,
               std::vector<Scene> scenes = scenesOfProperties()) {
  all.push_back({name, std::move(scenes), [perform](World& world) -> std::function<void()> {
                   return [perform, item = world.item.get()] { perform(*item); };
                 }});
}

/// Adds an operation with an argument that is made before.
template <class Make, class Perform>
void addWith(std::vector<Operation>& all, const std::string& name, Make make, Perform perform,
             std::vector<Scene> scenes = scenesOfProperties()) {
  all.push_back({name, std::move(scenes), [make, perform](World& world) -> std::function<void()> {
                   return [perform, item = world.item.get(), argument = make(world)] {
                     perform(*item, argument);
                   };
                 }});
}

/// The last item without children below an item, or the item itself.
ItemPointer lastLeafOf(ItemPointer item) {
  while (!item->children()->empty()) {
    item = item->children()->back();
  }
  return item;
}

/// An item that equals the world's item, except for the last item below it.
ItemPointer twinThatDiffers(World& world) {
  const ItemPointer last = lastLeafOf(world.twin);
  last->setRepresentedObject(eventRecord({.number = 50}, world.scene.content));
  return world.twin;
}

ItemPointer twinOf(World& world) {
  return world.twin;
}

/// What an item of this kind may represent after a change.
Value otherObject(World& world) {
  const Entry entry{.number = 2, .version = world.nextVersion()};
  const auto content = world.scene.content;
  if (std::dynamic_pointer_cast<KRAVTWVQueuedTriggerVexil>(world.item)) {
    return triggerRecord(entry, content);
  }
  if (std::dynamic_pointer_cast<KRAVTWVActiveEventVexil>(world.item)) {
    return activeRecord(entry, content);
  }
  if (std::dynamic_pointer_cast<KRAVTWVDomainVexil>(world.item)) {
    return domainRecord(entry, content);
  }
  if (std::dynamic_pointer_cast<KRAVTWVNetServiceVexil>(world.item)) {
    return service(entry);
  }
  return eventRecord(entry, content);
}

}  // namespace

void addEquality(std::vector<Operation>& all) {
  const auto isEqual = [](Item& item, const ItemPointer& twin) { (void)item.isEqual(*twin); };
  addWith(all, "isEqual: an equal", twinOf, isEqual, scenesOfItems());
  addWith(all, "isEqual: one that differs at the end", twinThatDiffers, isEqual, scenesOfItems());
  addWith(
      all, "isEqual: a value", [](World& world) { return Value(world.twin); },
      [](Item& item, const Value& twin) { (void)item.isEqual(twin); });
  addWith(
      all, "isEqual: of another class",
      [](World& world) {
        auto other = HostItem::itemWithRepresentedObject(world.twin->representedObject());
        other->setChildren(world.twin->children());
        return other;
      },
      [](Item& item, const auto& other) { (void)other->isEqual(item); });
  addWith(
      all, "isEqualToItem: an equal", twinOf,
      [](Item& item, const ItemPointer& twin) { (void)item.isEqualToItem(*twin); },
      scenesOfItems());
  addWith(
      all, "isEqualToItem: one that differs at the end", twinThatDiffers,
      [](Item& item, const ItemPointer& twin) { (void)item.isEqualToItem(*twin); },
      scenesOfItems());
  addSimple(
      all, "hash", [](Item& item) { (void)item.hash(); }, scenesOfItems());
  addSimple(all, "description", [](Item& item) { (void)item.description(); });
}

void addProperties(std::vector<Operation>& all) {
  addSimple(all, "uniqueID", [](Item& item) { (void)item.uniqueID(); });
  addSimple(all, "label", [](Item& item) { (void)item.label(); });
  addSimple(all, "representedObject", [](Item& item) { (void)item.representedObject(); });
  addSimple(all, "parent", [](Item& item) { (void)item.parent(); });
  addSimple(all, "children", [](Item& item) { (void)item.children(); });
  addSimple(all, "supportsEnabled", [](Item& item) { (void)item.supportsEnabled(); });
  addSimple(all, "enabled", [](Item& item) { (void)item.enabled(); });
  addSimple(all, "isGroup", [](Item& item) { (void)item.isGroup(); });
  addSimple(all, "isExpandable", [](Item& item) { (void)item.isExpandable(); });
  addSimple(all, "representedEvent", [](Item& item) {
    if (const auto* event = dynamic_cast<KRAVTWVEventRepresenting*>(&item)) {
      (void)event->representedEvent();
    }
  });
  addSimple(all, "triggerDate", [](Item& item) {
    if (const auto* queued = dynamic_cast<KRAVTWVQueuedTriggerVexil*>(&item)) {
      (void)queued->triggerDate();
    }
  });
  addSimple(all, "activity", [](Item& item) {
    if (const auto* active = dynamic_cast<KRAVTWVActiveEventVexil*>(&item)) {
      (void)active->activity();
    }
  });
  addSimple(all, "domain", [](Item& item) {
    if (const auto* service = dynamic_cast<KRAVTWVNetServiceVexil*>(&item)) {
      (void)service->domain();
    }
  });

  addSimple(all, "setUniqueID", [](Item& item) { item.setUniqueID("another"); });
  addWith(
      all, "setUniqueID: in place of an object",
      [](World& world) {
        world.item->setUniqueID(Value(std::make_shared<HostObject>(3)));
        return Value("another");
      },
      [](Item& item, const Value& identifier) { item.setUniqueID(identifier); });
  addSimple(all, "setLabel", [](Item& item) { item.setLabel("another"); });
  addWith(all, "setRepresentedObject", otherObject,
          [](Item& item, const Value& object) { item.setRepresentedObject(object); });
  addSimple(all, "setRepresentedObject: absent",
            [](Item& item) { item.setRepresentedObject(Value()); });
  addWith(
      all, "setRepresentedObject: an object",
      [](World& /*world*/) { return Value(std::make_shared<HostObject>(3)); },
      [](Item& item, const Value& object) { item.setRepresentedObject(object); });
  addWith(
      all, "setParent", [](World& world) { return world.other->root(); },
      [](Item& item, const ItemPointer& parent) { item.setParent(parent); });
  addSimple(all, "setParent: none", [](Item& item) { item.setParent(nullptr); });
  addWith(
      all, "setNetService",
      [](World& world) { return service({.number = 2, .version = world.nextVersion()}); },
      [](Item& item, const std::shared_ptr<platform::NetService>& service) {
        if (auto* of = dynamic_cast<KRAVTWVNetServiceVexil*>(&item)) {
          of->setNetService(service);
        }
      });
}

void addKeys(std::vector<Operation>& all) {
  for (const KeySites& sites : itemKeys) {
    const std::string key(sites.key);
    addSimple(all, "valueForKey: " + key, [key](Item& item) {
      try {
        (void)item.valueForKey(key);
      } catch (const platform::UndefinedKey&) {
        // Not all kinds have all keys.
      }
    });
  }
  const auto set = [](const std::string& key) {
    return [key](Item& item, const Value& value) { item.setValueForKey(value, key); };
  };
  addWith(
      all, "setValueForKey: uniqueID", [](World& /*world*/) { return Value("another"); },
      set("uniqueID"));
  addWith(
      all, "setValueForKey: label", [](World& /*world*/) { return Value("another"); },
      set("label"));
  addWith(all, "setValueForKey: representedObject", otherObject, set("representedObject"));
  addWith(
      all, "setValueForKey: parent", [](World& world) { return Value(world.other->root()); },
      set("parent"));
  addWith(
      all, "setValueForKey: children",
      [](World& world) { return Value::arrayOfObjects(*world.twin->children()); }, set("children"));
  addWith(
      all, "setValueForKey: netService",
      [](World& world) { return Value(service({.number = 2, .version = world.nextVersion()})); },
      [](Item& item, const Value& value) {
        if (dynamic_cast<KRAVTWVNetServiceVexil*>(&item) != nullptr) {
          item.setValueForKey(value, "netService");
        }
      });
}

void addPaths(std::vector<Operation>& all) {
  addSimple(all, "path", [](Item& item) { (void)item.path(); });
  const auto pathWithin = [](const ItemPointer& top, ItemPointer item) {
    std::string path;
    for (; item; item = item == top ? nullptr : item->parent()) {
      path = "/" + item->uniqueID().displayText() + path;
    }
    return path;
  };
  addWith(
      all, "itemWithPath",
      [pathWithin](World& world) { return pathWithin(world.item, lastLeafOf(world.item)); },
      [](Item& item, const std::string& path) { (void)item.itemWithPath(path); }, scenesOfItems());
  addWith(
      all, "itemWithPath: of no item",
      [pathWithin](World& world) {
        return pathWithin(world.item, lastLeafOf(world.item)) + "/nobody";
      },
      [](Item& item, const std::string& path) { (void)item.itemWithPath(path); }, scenesOfItems());
  addSimple(all, "URLForUniqueTemporaryDirectory",
            [](Item& item) { (void)item.URLForUniqueTemporaryDirectory(); });
}

}  // namespace foreign
