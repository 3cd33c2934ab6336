// SPDX-License-Identifier: Apache-2.0
#include "Hook.h"

#include <string_view>
#include <utility>

namespace foreign {

namespace {

constexpr auto names = std::to_array<std::string_view>({
    "objectIsEqual",
    "objectHash",
    "objectDestructor",
    "objectDescription",
    "serviceIsEqual",
    "serviceHash",
    "serviceDestructor",
    "serviceDescription",
    "uniqueID",
    "label",
    "supportsEnabled",
    "enabled",
    "isGroup",
    "isExpandable",
    "itemDescription",
    "itemDestructor",
    "representedEvent",
    "triggerDate",
    "activity",
    "domain",
    "keyTable",
    "valuesAtIndexesForKey",
    "canReuseOldValuesAtIndexesForKey",
    "isKindOfReceiversClass",
    "keysAffectedByRepresentedObject",
    "keysAffectingValue",
    "keysAffectingIsExpandable",
    "keysAffectingIsGroup",
    "writableTypes",
    "writingOptions",
    "pasteboardPropertyList",
    "readableTypes",
    "readingOptions",
    "initWithPropertyList",
    "collectionKeyTable",
    "collectionKeysAffectingValue",
    "collectionDestructor",
    "getUniqueID",
    "getLabel",
    "getRepresentedObject",
    "getParent",
    "getChildren",
    "getSupportsEnabled",
    "getEnabled",
    "getIsGroup",
    "getIsExpandable",
    "getPath",
    "getRepresentedEvent",
    "getTriggerDate",
    "getActivity",
    "getNetService",
    "getDomain",
    "getOwnKey",
    "setByKey",
    "getRoot",
    "getSortedEvents",
    "getOrderedDomains",
    "getActiveEvents",
    "getPendingTriggers",
    "getOnDemandAvailable",
    "getGroupByDomain",
    "getSortedServices",
    "setCollectionByKey",
    "observerChildren",
    "observerChildrenNone",
    "observerChildrenOld",
    "observerChildrenNew",
    "observerChildrenRecursive",
    "closureChildren",
    "observerRepresentedObject",
    "closureRepresentedObject",
    "observerUniqueID",
    "observerLabel",
    "observerParent",
    "observerSupportsEnabled",
    "observerEnabled",
    "observerIsGroup",
    "observerIsExpandable",
    "observerPath",
    "observerRepresentedEvent",
    "observerTriggerDate",
    "observerActivity",
    "observerNetService",
    "observerDomain",
    "observerOwnKey",
    "observerRoot",
    "observerSortedEvents",
    "observerOrderedDomains",
    "observerActiveEvents",
    "observerPendingTriggers",
    "observerOnDemandAvailable",
    "observerGroupByDomain",
    "observerSortedServices",
    "observerWatchedRoot",
    "observerDelegate",
    "delegateSetting",
    "delegateInsertion",
    "delegateRemoval",
    "delegateReplacement",
    "outlineCallback",
    "logSink",
});
static_assert(names.size() == siteCount);

struct State {
  bool isCounting = false;
  Hook::Counts counts{};
  Site site{};
  std::size_t call = 0;  // 0 when there is none
  std::size_t left = 0;  // how often the action may still begin
  std::size_t acted = 0;
  std::function<void()> action;
};

// Never destroyed, because objects in static storage may call it at the very end.
State& state() {
  static State& state = *new State;
  return state;
}

}  // namespace

std::string_view nameOf(Site site) {
  return names[static_cast<std::size_t>(site)];
}

bool isDestructor(Site site) {
  return nameOf(site).ends_with("Destructor");
}

void Hook::count() {
  state() = {};
  state().isCounting = true;
}

void Hook::act(Site site, std::size_t call, std::size_t repetitions, std::function<void()> action) {
  count();
  state().site = site;
  state().call = call;
  state().left = 1 + repetitions;
  state().action = std::move(action);
}

void Hook::stop() {
  state().isCounting = false;
  state().action = nullptr;
}

const Hook::Counts& Hook::counts() {
  return state().counts;
}

std::size_t Hook::acted() {
  return state().acted;
}

void Hook::called(Site site) {
  State& now = state();
  if (!now.isCounting) {
    return;
  }
  const std::size_t call = ++now.counts[static_cast<std::size_t>(site)];
  if (site != now.site || now.left == 0 || call < now.call || !now.action) {
    return;
  }
  --now.left;
  ++now.acted;
  const auto action = now.action;
  action();
}

}  // namespace foreign
