// SPDX-License-Identifier: Apache-2.0
#include <platform/Error.h>
#include <vexil/ItemMerge.h>

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>

namespace detail {

using platform::ChangeKind;
using platform::IndexSet;
using platform::Key;
using platform::Value;

namespace {

using IdentifierSet = std::unordered_set<Value>;

const Key& childrenKey() {
  static const Key key(KRAVTWVItemVexilKeyPathChildren);
  return key;
}

/// The identifiers of items, absent ones included.
std::vector<Value> anyIdentifiersOf(const KRAVTWVItemArray& items) {
  std::vector<Value> identifiers;
  identifiers.reserve(items.size());
  for (const auto& item : items) {
    if (!item) {
      throw platform::InvalidArgument("an array of items holds a null pointer");
    }
    identifiers.push_back(item->uniqueID());
  }
  return identifiers;
}

std::vector<Value> identifiersOf(const KRAVTWVItemArray& items) {
  std::vector<Value> identifiers = anyIdentifiersOf(items);
  const auto absent = std::ranges::find_if(identifiers, &Value::isAbsent);
  if (absent != identifiers.end()) {
    const auto position = static_cast<std::size_t>(absent - identifiers.begin());
    throw platform::InvalidArgument("an item without an identifier cannot be merged: " +
                                    items[position]->description());
  }
  return identifiers;
}

/// The positions of the identifiers that are in one set and not in another.
IndexSet indexesIn(const IdentifierSet& set, const IdentifierSet& others,
                   const std::vector<Value>& identifiers) {
  IndexSet indexes;
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    if (!others.contains(identifiers[i]) && set.contains(identifiers[i])) {
      indexes.insert(i);
    }
  }
  return indexes;
}

const std::shared_ptr<const KRAVTWVItemArray>& noItems() {
  static const auto none = std::make_shared<const KRAVTWVItemArray>();
  return none;
}

}  // namespace

template <class Change>
bool ItemMerge::announce(const Item& item, Change&& change) {
  // Asked before, because an observer may withdraw when it has done its work.
  const bool isObserved = item.isObserved();
  change();
  if (isObserved) {
    _comparison.forget();
  }
  return isObserved;
}

void ItemMerge::run(KRAVTWVItemVexil& receiver, std::shared_ptr<const KRAVTWVItemArray> fresh) {
  // Two hold it, the caller and this; were it more, it could be some item's own.
  const bool isPrivate = fresh.use_count() <= 2;
  // An observer may let go of the last hold on the receiver while this is at work on it.
  open(std::static_pointer_cast<Item>(receiver.shared_from_this()), std::move(fresh), isPrivate);
  while (!_levels.empty()) {
    if (_levels.back().next < _levels.back().changed.size()) {
      replaceNext();
      continue;
    }
    Level done = std::move(_levels.back());
    _levels.pop_back();
    announce(*done.receiver,
             [&] { done.receiver->didChangeValuesAtIndexesForKey(std::move(done.replacement)); });
  }
}

void ItemMerge::open(std::shared_ptr<Item> receiver, std::shared_ptr<const KRAVTWVItemArray> fresh,
                     bool isPrivate) {
  if (!fresh) {
    fresh = noItems();
  }
  if (fresh->empty() && receiver->currentChildren().empty()) {
    return;
  }
  const IndexSet inserted = removeAndInsert(*receiver, *fresh);
  std::vector<std::size_t> changed = changedIndexes(*receiver, *fresh, inserted, isPrivate);
  if (changed.empty()) {
    return;
  }
  IndexSet indexes;
  for (const std::size_t index : changed) {
    indexes.insert(index);
  }
  auto replacement =
      receiver->willChangeValuesAtIndexesForKey(ChangeKind::replacement, indexes, childrenKey());
  _levels.push_back({std::move(receiver), std::move(fresh), std::move(changed), 0, isPrivate,
                     std::move(replacement)});
}

IndexSet ItemMerge::removeAndInsert(Item& receiver, const KRAVTWVItemArray& fresh) {
  std::vector<Value> freshIdentifiers = identifiersOf(fresh);
  const std::vector<Value> oldIdentifiers = identifiersOf(receiver.currentChildren());
  if (freshIdentifiers == oldIdentifiers) {
    return {};  // the usual refresh: nothing came and nothing went
  }
  const IdentifierSet freshSet(freshIdentifiers.begin(), freshIdentifiers.end());
  const IdentifierSet oldSet(oldIdentifiers.begin(), oldIdentifiers.end());
  const IndexSet vanished = indexesIn(oldSet, freshSet, oldIdentifiers);
  if (!vanished.empty() &&
      announce(receiver, [&] { receiver.removeChildrenAtIndexes(vanished); })) {
    freshIdentifiers = anyIdentifiersOf(fresh);
  }
  IndexSet appeared = indexesIn(freshSet, oldSet, freshIdentifiers);
  if (!appeared.empty()) {
    announce(receiver, [&] { receiver.insertChildren(fresh, appeared); });
  }
  return appeared;
}

std::vector<std::size_t> ItemMerge::changedIndexes(const Item& receiver,
                                                   const KRAVTWVItemArray& fresh,
                                                   const IndexSet& inserted, bool isPrivate) {
  const KRAVTWVItemArray& children = receiver.currentChildren();
  std::vector<std::size_t> changed;
  const auto compareUpTo = [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      if (i >= fresh.size()) {
        // An identifier occurs twice, or an observer brought children in.
        throw platform::RangeError("there is no fresh item " + std::to_string(i) +
                                   " for a child that stayed");
      }
      if (!_comparison.equal(children[i], fresh[i], isPrivate)) {
        changed.push_back(i);
      }
    }
  };
  std::size_t next = 0;
  for (const IndexSet::Run& run : inserted.runs()) {
    compareUpTo(next, std::min(run.first, children.size()));
    next = run.end();
  }
  compareUpTo(next, children.size());
  return changed;
}

void ItemMerge::replaceNext() {
  Level& level = _levels.back();
  const std::size_t index = level.changed[level.next++];
  const KRAVTWVItemArray& children = level.receiver->currentChildren();
  if (index >= children.size() || index >= level.fresh->size()) {
    throw platform::RangeError("items became fewer while they were merged");
  }
  const bool isPrivate =
      level.isPrivate && ItemComparison::isPrivate(children[index], (*level.fresh)[index]);
  // Held here, because an observer may change either array.
  const std::shared_ptr<Item> old = children[index];
  const std::shared_ptr<Item> fresh = (*level.fresh)[index];
  announce(*old, [&] { old->setRepresentedObject(fresh->representedObject()); });
  open(old, fresh->_children, isPrivate);
}

}  // namespace detail
