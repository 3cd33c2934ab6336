// SPDX-License-Identifier: Apache-2.0
// Internal to collections: what several of them do with lists.
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/merge/ItemMerge.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace vexil::detail {

inline const platform::Key& sortedEventsKey() {
  static const platform::Key key("sortedEvents");
  return key;
}

/// Throws `InvalidArgument` unless `list` is an array or absent.
inline void requireArray(const platform::Value& list) {
  if (!list.isAbsent() && !list.isArray()) {
    throw platform::InvalidArgument("not an array: " + list.description());
  }
}

/// Whether a fresh list changes nothing. An absent list that is held equals no list.
inline bool areEqualLists(const platform::Value& held, const platform::Value& fresh) {
  return !held.isAbsent() && held == fresh;
}

/// Makes an item for each record, in the same order.
template <class MakeItem>
std::shared_ptr<KRAVTWVItemArray> itemsOf(const platform::Value& records,
                                          const MakeItem& makeItem) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  items->reserve(records.elements().size());
  std::ranges::transform(records.elements(), std::back_inserter(*items), makeItem);
  return items;
}

/// Does what `replaceRootChildren` does, but makes only the items that are needed.
inline void mergeIntoRoot(const KRAVTWVItemsVexil& collection, FreshSource fresh) {
  if (const auto root = collection.root()) {
    ItemMerge().perform(*root, std::move(fresh));
  }
}

}  // namespace vexil::detail
