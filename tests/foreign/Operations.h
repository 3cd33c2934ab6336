// SPDX-License-Identifier: Apache-2.0
// The operations of items, collections and items observers.
#pragma once

#include "World.h"

#include <functional>
#include <string>
#include <vector>

namespace foreign {

/// An operation with arguments of one sort, and the scenes in which it is performed.
struct Operation {
  std::string name;
  std::vector<Scene> scenes;
  /// Makes the arguments, which the host holds while the operation runs, and returns the operation.
  /// The operation refers to what it works on without holding it.
  std::function<std::function<void()>(World&)> prepare;
  /// Whether it logs the exceptions of a host, so that none comes through.
  bool logsExceptions = false;
};

/// Operations on one subject.
struct OperationGroup {
  std::string name;
  std::vector<Operation> operations;
};

/// All groups. No two operations have the same name.
[[nodiscard]] const std::vector<OperationGroup>& operationGroups();

void addEquality(std::vector<Operation>& all);
void addProperties(std::vector<Operation>& all);
void addKeys(std::vector<Operation>& all);
void addPaths(std::vector<Operation>& all);
void addAdding(std::vector<Operation>& all);
void addRemoving(std::vector<Operation>& all);
void addReplacing(std::vector<Operation>& all);
void addAnnouncing(std::vector<Operation>& all);
void addExchange(std::vector<Operation>& all);
void addListOfEvents(std::vector<Operation>& all);
void addEventStore(std::vector<Operation>& all);
void addEngine(std::vector<Operation>& all);
void addServices(std::vector<Operation>& all);
void addCollections(std::vector<Operation>& all);
void addItemsObservers(std::vector<Operation>& all);
void addOutlines(std::vector<Operation>& all);

/// The scenes for one sort of tree, at these places.
[[nodiscard]] std::vector<Scene> scenesOf(Kind kind, std::initializer_list<Place> places);
/// The scenes of an operation that every item has.
[[nodiscard]] std::vector<Scene> scenesOfItems();
/// The scenes of an operation on an item alone, with all that a host can redefine.
[[nodiscard]] std::vector<Scene> scenesOfProperties();

}  // namespace foreign
