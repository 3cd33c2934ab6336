// SPDX-License-Identifier: Apache-2.0
// What items do with their children and whole subtrees.
#include "Operations.h"
#include "tests/support/Recorder.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::ChangeKind;
using platform::IndexSet;
using platform::ObservingOptions;
using platform::Value;

namespace {

using Item = KRAVTWVItemVexil;
using Array = std::shared_ptr<KRAVTWVItemArray>;

template <class Make, class Perform>
void add(std::vector<Operation>& all, const std::string& name, Make make, Perform perform) {
  all.push_back({name, scenesOfItems(), [make, perform](World& world) -> std::function<void()> {
                   return [perform, item = world.item.get(), argument = make(world)]() mutable {
                     perform(*item, argument);
                   };
                 }});
}

Array arrayOf(KRAVTWVItemArray items) {
  return std::make_shared<KRAVTWVItemArray>(std::move(items));
}

ItemPointer newItem(World& world, int number) {
  const Value record =
      eventRecord({.number = number, .version = world.nextVersion()}, world.scene.content);
  return world.scene.isHosted ? ItemPointer(HostEvent::itemWithEvent(record))
                              : KRAVTWVEventVexil::itemWithEvent(record);
}

Array newItems(World& world) {
  return arrayOf({newItem(world, 30), newItem(world, 31), newItem(world, 32)});
}

/// Copies of the item's children, which equal them.
Array equals(World& world) {
  KRAVTWVItemArray items;
  for (const auto& child : *world.twin->children()) {
    items.push_back(world.copyOf(*child));
  }
  return arrayOf(std::move(items));
}

/// The same, but every second item has another record, and so has the deepest item of the others.
Array changed(World& world) {
  Array items = equals(world);
  for (std::size_t i = 0; i < items->size(); ++i) {
    ItemPointer item = (*items)[i];
    while (i % 2 == 1 && !item->children()->empty()) {
      item = item->children()->back();
    }
    const Value object = item->representedObject();
    if (object.isDictionary()) {
      // Its identifier stays, so that a merge takes it for the same item.
      std::vector<std::pair<platform::Key, Value>> entries;
      for (std::size_t entry = 0; entry < object.keys().size(); ++entry) {
        entries.emplace_back(object.keys()[entry], object.values()[entry]);
      }
      entries.emplace_back("added", world.nextVersion());
      item->setRepresentedObject(Value::dictionary(std::move(entries)));
    } else {
      item->setRepresentedObject("changed " + std::to_string(world.nextVersion()));
    }
  }
  return items;
}

Array reordered(World& world) {
  Array items = equals(world);
  std::ranges::reverse(*items);
  return items;
}

/// Some go, some come at the front, in the middle and at the end, and some are changed.
Array mixed(World& world) {
  Array items = changed(world);
  if (items->size() > 2) {
    items->erase(items->begin() + 1);
    items->erase(items->end() - 1);
  }
  items->insert(items->begin() + static_cast<std::ptrdiff_t>(items->size() / 2),
                newItem(world, 33));
  items->insert(items->begin(), newItem(world, 34));
  items->push_back(newItem(world, 35));
  items->back()->addChildren(*newItems(world));
  return items;
}

}  // namespace

void addAdding(std::vector<Operation>& all) {
  const auto addChild = [](Item& item, ItemPointer& child) { item.addChild(std::move(child)); };
  const auto childOf = [](const ItemPointer& item, bool isLast) {
    const auto children = item->children();
    return children->empty() ? item : isLast ? children->back() : children->front();
  };
  add(
      all, "addChild: a new one", [](World& world) { return newItem(world, 30); }, addChild);
  add(
      all, "addChild: an equal of the first",
      [childOf](World& world) { return world.copyOf(*childOf(world.twin, false)); }, addChild);
  add(
      all, "addChild: an equal of the last",
      [childOf](World& world) { return world.copyOf(*childOf(world.twin, true)); }, addChild);
  // Not an item of its own tree below itself: a tree must not contain itself.
  add(
      all, "addChild: one that is there",
      [childOf](World& world) {
        return world.item->children()->empty() ? newItem(world, 30) : childOf(world.item, false);
      },
      addChild);
  const auto addChildren = [](Item& item, const Array& children) { item.addChildren(*children); };
  add(all, "addChildren: new ones", newItems, addChildren);
  add(all, "addChildren: equals", equals, addChildren);
  add(
      all, "addChildren: equals among themselves",
      [](World& world) {
        Array items = equals(world);
        const Array again = equals(world);
        items->insert(items->end(), again->begin(), again->end());
        return items;
      },
      addChildren);
  add(
      all, "addChildren: its own", [](World& /*world*/) { return 0; },
      [](Item& item, int /*nothing*/) { item.addChildren(*item.children()); });
}

void addRemoving(std::vector<Operation>& all) {
  const auto none = [](World& /*world*/) { return 0; };
  add(all, "removeChildrenAtIndexes: the first", none, [](Item& item, int /*nothing*/) {
    if (!item.children()->empty()) {
      item.removeChildrenAtIndexes({0});
    }
  });
  add(all, "removeChildrenAtIndexes: some", none, [](Item& item, int /*nothing*/) {
    const std::size_t count = item.children()->size();
    if (count > 0) {
      item.removeChildrenAtIndexes({count / 2, count - 1});
    }
  });
  add(all, "removeChildrenAtIndexes: all", none, [](Item& item, int /*nothing*/) {
    item.removeChildrenAtIndexes(IndexSet::range(0, item.children()->size()));
  });
  add(all, "childAtIndex", none, [](Item& item, int /*nothing*/) {
    if (!item.children()->empty()) {
      (void)item.childAtIndex(0);
    }
  });
  add(all, "recursiveChildren", none,
      [](Item& item, int /*nothing*/) { (void)item.recursiveChildren(); });
  all.push_back(
      {"destruction of an item", scenesOfItems(), [](World& world) -> std::function<void()> {
         // Takes it out of its tree first, so that only the operation holds it.
         auto gone = std::make_shared<ItemPointer>(world.item);
         world.letGoOfItem();
         return [gone] { gone->reset(); };
       }});
}

void addReplacing(std::vector<Operation>& all) {
  const auto replace = [](Item& item, Array& fresh) { item.replaceChildren(std::move(fresh)); };
  const auto replaceWithHeld = [](Item& item, const Array& fresh) { item.replaceChildren(fresh); };
  add(all, "replaceChildren: equals", equals, replace);
  add(all, "replaceChildren: changed", changed, replace);
  add(all, "replaceChildren: changed, of an array that is held", changed, replaceWithHeld);
  add(all, "replaceChildren: reordered", reordered, replace);
  add(all, "replaceChildren: mixed", mixed, replace);
  add(all, "replaceChildren: mixed, of an array that is held", mixed, replaceWithHeld);
  add(all, "replaceChildren: new ones", newItems, replace);
  add(
      all, "replaceChildren: none", [](World& /*world*/) { return Array(); }, replace);
  add(
      all, "replaceChildren: its own", [](World& /*world*/) { return 0; },
      [](Item& item, int /*nothing*/) { item.replaceChildren(item.children()); });
  add(
      all, "replaceChildren: another item's own",
      [](World& world) { return world.twin->children(); }, replaceWithHeld);
  add(
      all, "replaceChildren: without an identifier",
      [](World& world) {
        Array items = changed(world);
        items->push_back(Item::itemWithRepresentedObject("nobody"));
        return items;
      },
      replace);
  const auto set = [](Item& item, Array& children) { item.setChildren(std::move(children)); };
  add(all, "setChildren: equals", equals, set);
  add(all, "setChildren: new ones", newItems, set);
  add(
      all, "setChildren: absent", [](World& /*world*/) { return Array(); }, set);
}

void addAnnouncing(std::vector<Operation>& all) {
  const auto none = [](World& /*world*/) { return 0; };
  add(all, "didChangeValueForKey: children", none, [](Item& item, int /*nothing*/) {
    const auto held = item.shared_from_this();  // a host that takes two steps holds it
    auto change = item.willChangeValueForKey("children");
    item.didChangeValueForKey(std::move(change));
  });
  for (const ChangeKind kind :
       {ChangeKind::insertion, ChangeKind::removal, ChangeKind::replacement}) {
    add(all, "didChangeValuesAtIndexesForKey: " + test::nameOf(kind), newItems,
        [kind](Item& item, const Array& fresh) {
          // A host that changes the array itself holds what it works on.
          const auto held = item.shared_from_this();
          const auto children = item.children();
          if (children->empty()) {
            return;
          }
          auto change = item.willChangeValuesAtIndexesForKey(kind, {0}, "children");
          ItemPointer old;
          if (kind == ChangeKind::insertion || children->empty()) {
            children->insert(children->begin(), fresh->front());
          } else if (kind == ChangeKind::removal) {
            old = std::move(children->front());
            children->erase(children->begin());
          } else {
            old = std::exchange(children->front(), fresh->front());
          }
          item.didChangeValuesAtIndexesForKey(std::move(change));
        });
  }
  add(
      all, "addObserver",
      [](World& /*world*/) {
        return std::make_shared<HostObserver>(Site::observerChildrenRecursive);
      },
      [](Item& item, const std::shared_ptr<HostObserver>& observer) {
        item.addObserver(observer, "children", ObservingOptions::both, &context());
      });
  add(
      all, "removeObserver",
      [](World& world) {
        // The world's list holds it and lets go of it with the others.
        return std::weak_ptr(world.observe(world.item, "children", ObservingOptions::both,
                                           Site::observerChildrenRecursive));
      },
      [](Item& item, const std::weak_ptr<HostObserver>& observer) {
        item.removeObserver(observer.lock(), "children", &context());
      });
  add(
      all, "addObserverForRecursiveChildren",
      [](World& /*world*/) {
        return std::make_shared<HostObserver>(Site::observerChildrenRecursive);
      },
      [](Item& item, const std::shared_ptr<HostObserver>& observer) {
        item.addObserverForRecursiveChildrenWithOptionContext(observer, ObservingOptions::both,
                                                              &context());
      });
  add(
      all, "removeObserverForRecursiveChildren",
      [](World& world) {
        auto observer = std::make_shared<HostObserver>(Site::observerChildrenRecursive);
        world.item->addObserverForRecursiveChildrenWithOptionContext(
            observer, ObservingOptions::both, &context());
        return observer;
      },
      [](Item& item, const std::shared_ptr<HostObserver>& observer) {
        item.removeObserverForRecursiveChildrenWithContext(observer, &context());
      });
}

}  // namespace foreign
