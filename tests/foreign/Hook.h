// SPDX-License-Identifier: Apache-2.0
// The places where a host's code runs, and what it does there.
#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <functional>
#include <optional>
#include <string_view>

namespace foreign {

/// A function of a host that the library calls, directly or through others.
enum class Site : unsigned char {
  // objects that records hold
  objectIsEqual,
  objectHash,
  objectDestructor,
  objectDescription,
  // network services
  serviceIsEqual,
  serviceHash,
  serviceDestructor,
  serviceDescription,
  // overrides of items
  uniqueID,
  label,
  supportsEnabled,
  enabled,
  isGroup,
  isExpandable,
  itemDescription,
  itemDestructor,
  representedEvent,
  triggerDate,
  activity,
  domain,
  keyTable,
  valuesAtIndexesForKey,
  areValuesAtIndexesForKey,
  isKindOfReceiversClass,
  keysAffectedByRepresentedObject,
  keysAffectingValue,
  keysAffectingIsExpandable,
  keysAffectingIsGroup,
  writableTypes,
  writingOptions,
  pasteboardPropertyList,
  readableTypes,
  readingOptions,
  initWithPropertyList,
  // overrides of collections
  collectionKeyTable,
  collectionKeysAffectingValue,
  collectionDestructor,
  // what a host's key table has for the keys of items
  getUniqueID,
  getLabel,
  getRepresentedObject,
  getParent,
  getChildren,
  getSupportsEnabled,
  getEnabled,
  getIsGroup,
  getIsExpandable,
  getPath,
  getRepresentedEvent,
  getTriggerDate,
  getActivity,
  getNetService,
  getDomain,
  getOwnKey,
  setByKey,
  // and for those of collections
  getRoot,
  getSortedEvents,
  getOrderedDomains,
  getActiveEvents,
  getPendingTriggers,
  getOnDemandAvailable,
  getGroupByDomain,
  getSortedServices,
  setCollectionByKey,
  // observers of items
  observerChildren,
  observerChildrenNone,
  observerChildrenOld,
  observerChildrenNew,
  observerChildrenRecursive,
  closureChildren,
  observerRepresentedObject,
  closureRepresentedObject,
  observerUniqueID,
  observerLabel,
  observerParent,
  observerSupportsEnabled,
  observerEnabled,
  observerIsGroup,
  observerIsExpandable,
  observerPath,
  observerRepresentedEvent,
  observerTriggerDate,
  observerActivity,
  observerNetService,
  observerDomain,
  observerOwnKey,
  // of collections and items observers
  observerRoot,
  observerSortedEvents,
  observerOrderedDomains,
  observerActiveEvents,
  observerPendingTriggers,
  observerOnDemandAvailable,
  observerGroupByDomain,
  observerSortedServices,
  observerWatchedRoot,
  observerDelegate,
  // delegates, by what they are told
  delegateSetting,
  delegateInsertion,
  delegateRemoval,
  delegateReplacement,
  // the log
  logSink,
};
inline constexpr std::size_t siteCount = static_cast<std::size_t>(Site::logSink) + 1;

[[nodiscard]] std::string_view nameOf(Site site);
/// Whether the language forbids an exception out of a site: a destructor's ends the program.
[[nodiscard]] bool isDestructor(Site site);

/// What a host throws.
class Thrown : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "thrown by a host"; }
};

/// Counts how often each site is called while an operation runs, and has one of them act.
///
/// There is one for the program, and one world at a time uses it; sites that are called while
/// nobody does are silent.
class Hook {
 public:
  using Counts = std::array<std::size_t, siteCount>;

  /// From now on, calls are counted.
  static void count();

  /// From now on `action` runs in the call of `site` with this number, from 1 on, and in the next
  /// `repetitions` as well, those that the action itself leads to included.
  static void act(Site site, std::size_t call, std::size_t repetitions,
                  std::function<void()> action);

  /// From now on nothing happens.
  static void stop();

  [[nodiscard]] static const Counts& counts();
  /// How often the action has begun.
  [[nodiscard]] static std::size_t acted();

  /// What every foreign function does when all else is done; it uses nothing of its own
  /// afterwards, as that may be gone.
  static void called(Site site);
};

}  // namespace foreign
