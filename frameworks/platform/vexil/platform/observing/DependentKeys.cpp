// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/DependentKeyCache.h>
#include <vexil/platform/observing/DependentKeys.h>

#include <algorithm>
#include <string>
#include <typeinfo>
#include <utility>

namespace vexil::platform::detail {

namespace {

AffectingKeys askForAffectingKeys(const Observable& object, const Key& key) {
  AffectingKeys result;
  AffectingKeys unexplored{key};
  while (!unexplored.empty()) {
    const Key next = std::move(unexplored.back());
    unexplored.pop_back();
    for (const std::string& text : object.keyPathsForValuesAffectingValueForKey(next)) {
      const Key affecting(text);
      if (std::ranges::find(result, affecting) == result.end()) {
        result.push_back(affecting);
        unexplored.push_back(affecting);
      }
    }
  }
  return result;
}

KeyRelation relationIn(const AffectingKeys& keys, const Key& changing) {
  return std::ranges::find(keys, changing) != keys.end() ? KeyRelation::dependent
                                                         : KeyRelation::unrelated;
}

}  // namespace

KeyRelation cachedKeyRelation(const Observable& object, const Key& observed, const Key& changing) {
  if (observed == changing) {
    return KeyRelation::same;
  }
  DependentKeyCache* const cache = DependentKeyCache::ofThisThread();
  const AffectingKeys* const keys =
      cache == nullptr ? nullptr : cache->find(typeid(object), observed);
  return keys == nullptr ? KeyRelation::unknown : relationIn(*keys, changing);
}

KeyRelation keyRelation(const Observable& object, const Key& observed, const Key& changing) {
  const KeyRelation cached = cachedKeyRelation(object, observed, changing);
  if (cached != KeyRelation::unknown) {
    return cached;
  }
  // The class may do anything while it is asked, so the cache is looked up again afterwards.
  const AffectingKeys keys = askForAffectingKeys(object, observed);
  if (DependentKeyCache* const cache = DependentKeyCache::ofThisThread()) {
    cache->remember(typeid(object), observed, keys);
  }
  return relationIn(keys, changing);
}

}  // namespace vexil::platform::detail
