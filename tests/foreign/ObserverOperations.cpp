// SPDX-License-Identifier: Apache-2.0
// What items observers do.
#include "Operations.h"

#include <memory>
#include <string>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

using platform::Value;

namespace {

using ItemsObserver = KRAVTWVItemsObserver;

std::vector<Scene> scenesOfObservers() {
  std::vector<Scene> all;
  for (const Kind kind : {Kind::list, Kind::store}) {
    for (const bool isHosted : {false, true}) {
      all.push_back({.kind = kind, .isObserved = true, .isHosted = isHosted});
    }
  }
  return all;
}

template <class Make, class Perform>
void add(std::vector<Operation>& all, const std::string& name, Make make, Perform perform) {
  all.push_back({"items observer " + name, scenesOfObservers(),
                 [make, perform](World& world) -> std::function<void()> {
                   auto* observer = world.itemsObserver.get();
                   return [perform, observer, argument = make(world)] {
                     perform(*observer, argument);
                   };
                 }});
}

}  // namespace

void addItemsObservers(std::vector<Operation>& all) {
  const auto root = [](World& world) { return world.collection->root(); };
  const auto otherRoot = [](World& world) { return world.other->root(); };
  const auto noRoot = [](World& /*world*/) { return ItemPointer(); };
  const auto setRoot = [](ItemsObserver& observer, const ItemPointer& item) {
    observer.setRoot(item);
  };
  add(all, "setRoot: the same", root, setRoot);
  add(all, "setRoot: another", otherRoot, setRoot);
  add(all, "setRoot: none", noRoot, setRoot);
  add(
      all, "setValueForKey: root", [](World& world) { return Value(world.other->root()); },
      [](ItemsObserver& observer, const Value& item) { observer.setValueForKey(item, "root"); });
  add(all, "root", noRoot,
      [](ItemsObserver& observer, const ItemPointer& /*nothing*/) { (void)observer.root(); });
  using DelegatePointer = std::shared_ptr<HostDelegate>;
  const auto setDelegate = [](ItemsObserver& observer, const DelegatePointer& delegate) {
    observer.setDelegate(delegate);
  };
  add(
      all, "setDelegate", [](World& /*world*/) { return std::make_shared<HostDelegate>(); },
      setDelegate);
  add(
      all, "setDelegate: none", [](World& /*world*/) { return DelegatePointer(); }, setDelegate);
  add(
      all, "setValueForKey: delegate",
      [](World& /*world*/) { return Value(std::make_shared<HostDelegate>()); },
      [](ItemsObserver& observer, const Value& delegate) {
        observer.setValueForKey(delegate, "delegate");
      });
  all.push_back({"destruction of an items observer", scenesOfObservers(),
                 [](World& world) -> std::function<void()> {
                   return [gone = std::make_shared<std::shared_ptr<ItemsObserver>>(
                               std::exchange(world.itemsObserver, nullptr))] { gone->reset(); };
                 }});
}

}  // namespace foreign
