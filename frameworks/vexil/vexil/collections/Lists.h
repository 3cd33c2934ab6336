// SPDX-License-Identifier: Apache-2.0
// Internal to collections: what several of them do with their lists.
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

/// Throws `InvalidArgument` for anything but an array or an absent value.
inline void requireArray(const platform::Value& list) {
  if (!list.isAbsent() && !list.isArray()) {
    throw platform::InvalidArgument("not an array: " + list.description());
  }
}

/// Whether there is nothing to do for a new list. An absent list equals none.
inline bool areEqualLists(const platform::Value& held, const platform::Value& fresh) {
  return !held.isAbsent() && held == fresh;
}

/// An item for each record, in their order.
template <class MakeItem>
std::shared_ptr<KRAVTWVItemArray> itemsOf(const platform::Value& records,
                                          const MakeItem& makeItem) {
  auto items = std::make_shared<KRAVTWVItemArray>();
  items->reserve(records.elements().size());
  std::ranges::transform(records.elements(), std::back_inserter(*items), makeItem);
  return items;
}

/// `replaceRootChildren` with items of which only those are made that are inserted.
inline void mergeIntoRoot(const KRAVTWVItemsVexil& collection, FreshSource fresh) {
  if (const auto root = collection.root()) {
    ItemMerge().perform(*root, std::move(fresh));
  }
}

}  // namespace vexil::detail
