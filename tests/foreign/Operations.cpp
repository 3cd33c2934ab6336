// SPDX-License-Identifier: Apache-2.0
#include "Operations.h"

#include <utility>

namespace foreign {

std::vector<Scene> scenesOf(Kind kind, std::initializer_list<Place> places) {
  // Observed or not, of the library's kinds or the host's. Then scenes that take another way.
  const auto scene = [&](Content content, bool isObserved, bool isHosted, bool isLiteral) {
    return Scene{.kind = kind,
                 .content = content,
                 .isObserved = isObserved,
                 .isHosted = isHosted,
                 .isLiteral = isLiteral};
  };
  const auto outlined = [](Scene scene) {
    scene.isOutlined = true;
    return scene;
  };
  std::vector<Scene> all;
  for (const Place place : places) {
    for (Scene each :
         {scene(Content::objects, false, false, false), scene(Content::objects, true, false, false),
          scene(Content::objects, false, true, false),
          outlined(scene(Content::objects, false, false, false)),
          outlined(scene(Content::objects, true, true, false)),
          scene(Content::plain, true, false, false),
          outlined(scene(Content::identifiers, false, true, false)),
          scene(Content::identifiers, true, false, false),
          scene(Content::objects, true, false, true)}) {
      each.place = place;
      all.push_back(each);
    }
  }
  return all;
}

std::vector<Scene> scenesOfItems() {
  std::vector<Scene> all;
  const auto add = [&](Kind kind, Place place, bool isObserved, bool isHosted,
                       Content content = Content::objects) {
    all.push_back({.kind = kind,
                   .content = content,
                   .isObserved = isObserved,
                   .isHosted = isHosted,
                   .isOutlined = isObserved && isHosted,
                   .place = place});
  };
  // In full where all sorts of items have children; elsewhere alone, and with all there is.
  for (const auto& [kind, place] :
       {std::pair(Kind::list, Place::root), std::pair(Kind::store, Place::row)}) {
    add(kind, place, false, true);
    add(kind, place, true, false);
  }
  for (const auto& [kind, place] :
       {std::pair(Kind::list, Place::root), std::pair(Kind::list, Place::leaf),
        std::pair(Kind::store, Place::root), std::pair(Kind::store, Place::row),
        std::pair(Kind::engine, Place::row), std::pair(Kind::engine, Place::firstLeaf),
        std::pair(Kind::engine, Place::lastLeaf), std::pair(Kind::groupedServices, Place::row),
        std::pair(Kind::groupedServices, Place::leaf)}) {
    add(kind, place, false, false);
    add(kind, place, true, true);
  }
  add(Kind::list, Place::root, true, true, Content::identifiers);
  return all;
}

std::vector<Scene> scenesOfProperties() {
  // An outline holds records, so that items do not let go of the last hold. Some have none.
  std::vector<Scene> all;
  for (const Kind kind : {Kind::list, Kind::store, Kind::engine, Kind::groupedServices}) {
    for (const Place place : {Place::row, Place::leaf}) {
      all.push_back({.kind = kind,
                     .isObserved = true,
                     .isHosted = true,
                     .isOutlined = place == Place::leaf,
                     .place = place});
    }
  }
  for (const Place place : {Place::firstLeaf, Place::lastLeaf}) {
    all.push_back({.kind = Kind::engine,
                   .isObserved = true,
                   .isHosted = true,
                   .isOutlined = true,
                   .place = place});
  }
  return all;
}

const std::vector<OperationGroup>& operationGroups() {
  static const std::vector<OperationGroup> all = [] {
    std::vector<OperationGroup> groups;
    const auto add = [&](const char* name, void (*addOperations)(std::vector<Operation>&)) {
      addOperations(groups.emplace_back(OperationGroup{name, {}}).operations);
    };
    add("Equality", addEquality);
    add("Properties", addProperties);
    add("Keys", addKeys);
    add("Paths", addPaths);
    add("Adding", addAdding);
    add("Removing", addRemoving);
    add("Replacing", addReplacing);
    add("Announcing", addAnnouncing);
    add("Exchange", addExchange);
    add("ListOfEvents", addListOfEvents);
    add("EventStore", addEventStore);
    add("Engine", addEngine);
    add("Services", addServices);
    add("Collections", addCollections);
    add("ItemsObservers", addItemsObservers);
    add("Outlines", addOutlines);
    return groups;
  }();
  return all;
}

}  // namespace foreign
