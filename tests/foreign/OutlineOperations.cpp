// SPDX-License-Identifier: Apache-2.0
// What outlines and sets of their rows do, after a refresh in which no foreign code did anything.
#include "Operations.h"

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/OutlineUpdate.h>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace foreign {

namespace {

using Scenes = std::vector<Scene>;
using Refresh = void (*)(World& world);

Scenes scenesOfKinds(std::initializer_list<Kind> kinds) {
  Scenes all;
  const auto add = [&](Kind kind, Content content, bool isObserved, bool isHosted) {
    all.push_back({.kind = kind,
                   .content = content,
                   .isObserved = isObserved,
                   .isHosted = isHosted,
                   .isOutlined = true});
  };
  for (const Kind kind : kinds) {
    add(kind, Content::objects, false, false);
    add(kind, Content::objects, false, true);
    add(kind, Content::objects, true, true);
    add(kind, Content::identifiers, false, false);
    add(kind, Content::identifiers, false, true);
  }
  return all;
}

/// The scenes of an operation that every outline has.
Scenes scenesOfOutlines() {
  Scenes all = scenesOfKinds({Kind::list, Kind::store});
  for (const Kind kind : {Kind::engine, Kind::groupedServices}) {
    for (const bool isHosted : {false, true}) {
      all.push_back({.kind = kind, .isObserved = false, .isHosted = isHosted, .isOutlined = true});
    }
  }
  return all;
}

void refreshOneChanged(World& world) {
  world.show(world.collection, oneChangedEntries(world.nextVersion()), firstDomains());
}

void refreshMixed(World& world) {
  world.show(world.collection, mixedEntries(world.nextVersion()), firstDomains());
}

void refreshReordered(World& world) {
  world.show(world.collection, reorderedEntries(), firstDomains());
}

void refreshReplaced(World& world) {
  world.show(world.collection, entries(30, 36), firstDomains());
}

/// One domain goes, so that its events do; one is changed, and one is new.
void refreshDomains(World& world) {
  Entries domains = entries(1, 2);
  domains.front().version = world.nextVersion();
  world.show(world.collection, firstEntries(), domains);
}

/// One domain goes, so that events move to the first level.
void refreshToOneDomain(World& world) {
  world.show(world.collection, mixedEntries(world.nextVersion()), entries(1, 1));
}

void refreshNothing(World& /*world*/) {}

/// The rows are those of the tree.
void refreshAndUpdate(World& world) {
  refreshMixed(world);
  world.updateOutline();
}

/// Adds an operation of the outline that is performed after a refresh. A host calls its outline as
/// long as it has it, so `perform` looks it up for each call.
Operation& add(std::vector<Operation>& all, const std::string& name, Refresh refresh,
               std::function<void(World&)> perform, Scenes scenes = scenesOfOutlines()) {
  return all.emplace_back(
      Operation{"outline: " + name, std::move(scenes),
                [refresh, perform = std::move(perform)](World& world) -> std::function<void()> {
                  refresh(world);
                  return [perform, &world] { perform(world); };
                }});
}

/// Calls `visit` with each row, each before those below it.
template <class Visit>
void forEachRow(const vexil::OutlineRow& parent, const Visit& visit) {
  for (std::size_t i = 0; i < parent.childCount(); ++i) {
    visit(*parent.child(i));
    forEachRow(*parent.child(i), visit);
  }
}

void putAllRowsIntoSet(World& world) {
  world.rowSet = std::make_unique<vexil::RowSet>();
  forEachRow(world.outline->top(),
             [&](const vexil::OutlineRow& row) { world.rowSet->insert(row); });
}

/// The same, and then the rows get other identifiers that equal those in the set.
void putAllRowsIntoSetAndUpdate(World& world) {
  putAllRowsIntoSet(world);
  refreshMixed(world);
  world.updateOutline();
}

/// A row of an outline by its number in the order in which a view shows them. Null: there is none.
const vexil::OutlineRow* rowAt(const vexil::Outline* outline, std::size_t number) {
  const vexil::OutlineRow* found = nullptr;
  if (outline != nullptr) {
    forEachRow(outline->top(),
               [&](const vexil::OutlineRow& row) { found = number-- == 0 ? &row : found; });
  }
  return found;
}

/// Calls `perform` with the set and each row. A host's code may take rows away meanwhile.
template <class Perform>
void withEachRow(World& world, const Perform& perform) {
  for (std::size_t number = 0; world.rowSet; ++number) {
    const vexil::OutlineRow* const row = rowAt(world.outline.get(), number);
    if (row == nullptr) {
      return;
    }
    perform(*world.rowSet, *row);
  }
}

void addUpdates(std::vector<Operation>& all) {
  const auto update = [](World& world) { world.updateOutline(); };
  const auto addUpdate = [&](const char* name, Refresh refresh, const Scenes& scenes) {
    add(all, std::string("update after ") + name, refresh, update, scenes).logsExceptions = true;
  };
  const Scenes scenes = scenesOfOutlines();
  addUpdate("nothing", refreshNothing, scenes);
  addUpdate("one changed", refreshOneChanged, scenes);
  addUpdate("mixed", refreshMixed, scenes);
  addUpdate("reordered", refreshReordered, scenes);
  addUpdate("replaced", refreshReplaced, scenes);
  addUpdate("domains", refreshDomains, scenesOfKinds({Kind::store}));
  addUpdate("one domain alone", refreshToOneDomain, scenesOfKinds({Kind::store}));
}

void addSteps(std::vector<Operation>& all) {
  add(all, "prepare", refreshMixed, [](World& world) { world.prepareOutline(); }).logsExceptions =
      true;
  add(
      all, "applyNext of each step",
      [](World& world) {
        refreshMixed(world);
        world.prepareOutline();
      },
      [](World& world) {
        while (world.outline && world.outline->nextStep() != nullptr) {
          world.outline->applyNext();
        }
      })
      .logsExceptions = true;
  add(all, "refreshAll and update", refreshAndUpdate, [](World& world) {
    world.outline->refreshAll();
    world.updateOutline();
  }).logsExceptions = true;
  add(all, "a new one", refreshMixed, [](World& world) {
    world.makeOutline();
    world.updateOutline();
  }).logsExceptions = true;
  add(all, "destruction", refreshMixed,
      [](World& world) { const auto gone = std::exchange(world.outline, nullptr); });
  add(
      all, "destruction of a prepared one",
      [](World& world) {
        refreshMixed(world);
        world.prepareOutline();
      },
      [](World& world) { const auto gone = std::exchange(world.outline, nullptr); });
}

void addSets(std::vector<Operation>& all) {
  add(all, "a RowSet's rowsOf and propertyList", putAllRowsIntoSetAndUpdate, [](World& world) {
    (void)world.rowSet->rowsOf(*world.outline);
    if (world.rowSet) {
      (void)world.rowSet->propertyList();
    }
  });
  add(all, "a RowSet's contains", putAllRowsIntoSetAndUpdate, [](World& world) {
    withEachRow(world,
                [](vexil::RowSet& set, const vexil::OutlineRow& row) { (void)set.contains(row); });
  });
  add(all, "a RowSet's insert", putAllRowsIntoSetAndUpdate, [](World& world) {
    withEachRow(world, [](vexil::RowSet& set, const vexil::OutlineRow& row) { set.insert(row); });
  });
  add(all, "a RowSet's remove", putAllRowsIntoSetAndUpdate, [](World& world) {
    withEachRow(world, [](vexil::RowSet& set, const vexil::OutlineRow& row) { set.remove(row); });
  });
}

/// An update, and what a host asks of it.
void addUpdateValues(std::vector<Operation>& all) {
  all.push_back({"outline: what an update says", scenesOfOutlines(),
                 [](World& world) -> std::function<void()> {
                   refreshMixed(world);
                   return [update = world.outline->update()] {
                     for (const vexil::OutlineStep& step : update.steps()) {
                       for (const vexil::RowChange& change : step.changes) {
                         (void)change.aspects();
                         (void)change.changedKeys();
                       }
                     }
                     (void)update.description();
                     (void)update.propertyList();
                   };
                 }});
  all.push_back({"outline: a RowSet's follow", scenesOfKinds({Kind::store}),
                 [](World& world) -> std::function<void()> {
                   putAllRowsIntoSet(world);
                   refreshToOneDomain(world);
                   return
                       [&world, update = world.outline->update()] { world.rowSet->follow(update); };
                 }});
}

}  // namespace

void addOutlines(std::vector<Operation>& all) {
  addUpdates(all);
  addSteps(all);
  addSets(all);
  addUpdateValues(all);
}

}  // namespace foreign
