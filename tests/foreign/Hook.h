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
  canReuseOldValuesAtIndexesForKey,
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
  // outlines
  outlineCallback,
  // the log
  logSink,
};
inline constexpr std::size_t siteCount = static_cast<std::size_t>(Site::logSink) + 1;

[[nodiscard]] std::string_view nameOf(Site site);
/// Whether a site is a destructor. An exception out of a destructor ends the program.
[[nodiscard]] bool isDestructor(Site site);

/// What a host throws.
class Thrown : public std::exception {
 public:
  [[nodiscard]] const char* what() const noexcept override { return "thrown by a host"; }
};

/// Counts how often each site is called while an operation runs, and lets one of them act.
///
/// The program has one, and one world at a time uses it. While no world uses it, calls of sites do
/// nothing.
class Hook {
 public:
  using Counts = std::array<std::size_t, siteCount>;

  /// From now on, calls are counted.
  static void count();

  /// From now on `action` runs in call number `call` of `site`, counted from 1, and in the next
  /// `repetitions` calls. Calls that the action itself causes count, too.
  static void act(Site site, std::size_t call, std::size_t repetitions,
                  std::function<void()> action);

  /// From now on nothing happens.
  static void stop();

  [[nodiscard]] static const Counts& counts();
  /// How often the action has begun.
  [[nodiscard]] static std::size_t acted();

  /// Every foreign function calls this when all else is done. Afterwards it uses nothing of its own
  /// object, which may be gone.
  static void called(Site site);
};

}  // namespace foreign
