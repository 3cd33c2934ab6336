// SPDX-License-Identifier: Apache-2.0
#include "Actions.h"

#include <vexil/platform/Error.h>

#include <array>
#include <memory>
#include <utility>

namespace platform = vexil::platform;

namespace foreign {

namespace {

ItemPointer rootOf(const World& world) {
  return world.collection ? world.collection->root() : nullptr;
}

/// Every item of the tree, the root last.
KRAVTWVItemArray allOf(const World& world) {
  const ItemPointer root = rootOf(world);
  if (!root) {
    return {};
  }
  KRAVTWVItemArray all = root->recursiveChildren();
  all.push_back(root);
  return all;
}

std::shared_ptr<KRAVTWVItemArray> otherItems(World& world) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  for (const Entry& entry : entries(40, 42, world.nextVersion())) {
    items->push_back(HostEvent::itemWithEvent(eventRecord(entry, world.scene.content)));
  }
  return items;
}

void removeChildrenOf(const ItemPointer& item) {
  const auto children = item ? item->children() : nullptr;
  if (children && !children->empty()) {
    item->removeChildrenAtIndexes(platform::IndexSet::range(0, children->size()));
  }
}

void refreshSame(World& world) {
  world.refresh(world.collection);
}

void refreshOther(World& world) {
  world.refresh(world.other);
}

void removeChildren(World& world) {
  removeChildrenOf(rootOf(world));
}

void removeChildrenOfItem(World& world) {
  removeChildrenOf(world.item);
}

/// Changes the arrays themselves, without an announcement.
void clearArrays(World& world) {
  world.noteSilentChange();
  for (const auto& item : allOf(world)) {
    if (const auto children = item->children()) {
      const KRAVTWVItemArray removed = std::exchange(*children, {});
    }
  }
}

/// The same, but the number of items stays.
void exchangeItems(World& world) {
  world.noteSilentChange();
  for (const auto& item : allOf(world)) {
    const auto children = item->children();
    for (std::size_t i = 0; children && i < children->size(); ++i) {
      const ItemPointer old = std::exchange(
          (*children)[i], KRAVTWVEventVexil::itemWithEvent(eventRecord(
                              {.number = 30 + static_cast<int>(i)}, world.scene.content)));
    }
  }
}

void setChildren(World& world) {
  for (const auto& item : {rootOf(world), world.item}) {
    if (item) {
      item->setChildren(otherItems(world));
    }
  }
}

void setChildrenAbsent(World& world) {
  for (const auto& item : {rootOf(world), world.item}) {
    if (item) {
      item->setChildren(nullptr);
    }
  }
}

void letGoOfCollection(World& world) {
  const auto gone = std::exchange(world.collection, nullptr);
}

void letGoOfItem(World& world) {
  world.letGoOfItem();
}

void letGoOfObservers(World& world) {
  const auto observers = std::exchange(world.observers, {});
  const auto closures = std::exchange(world.closures, {});
  const auto delegate = std::exchange(world.delegate, nullptr);
  const auto itemsObserver = std::exchange(world.itemsObserver, nullptr);
}

void destroyOutline(World& world) {
  const auto outline = std::exchange(world.outline, nullptr);
  const auto set = std::exchange(world.rowSet, nullptr);
}

void updateOutline(World& world) {
  world.updateOutline();
}

void applyStepOfOutline(World& world) {
  world.prepareOutline();
  if (world.outline) {
    world.outline->applyNext();
  }
}

void makeSecondOutline(World& world) {
  world.makeSecondOutline();
}

void throwSomething(World& /*world*/) {
  throw Thrown();
}

constexpr auto all = std::to_array<Action>({
    {"refreshSame", refreshSame},
    {"refreshOther", refreshOther},
    {"removeChildren", removeChildren},
    {"removeChildrenOfItem", removeChildrenOfItem},
    {"clearArrays", clearArrays},
    {"exchangeItems", exchangeItems},
    {"setChildren", setChildren},
    {"setChildrenAbsent", setChildrenAbsent},
    {"letGoOfCollection", letGoOfCollection},
    {"letGoOfItem", letGoOfItem},
    {"letGoOfObservers", letGoOfObservers},
    {"throw", throwSomething, true},
    {"destroyOutline", destroyOutline, false, true},
    {"updateOutline", updateOutline, false, true},
    {"applyStepOfOutline", applyStepOfOutline, false, true},
    {"makeSecondOutline", makeSecondOutline, false, true},
});

}  // namespace

std::span<const Action> actions() {
  return all;
}

void perform(const Action& action, World& world) {
  try {
    action.perform(world);
  } catch (const platform::RangeError&) {
    // The tree is as it was when this was thrown.
  } catch (const platform::InvalidArgument&) {
    // The same is true here.
  }
}

}  // namespace foreign
