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

Value identifierOf(const KRAVTWVItemVexil& item) {
  Value identifier = item.uniqueID();
  if (identifier.isAbsent()) {
    throw platform::InvalidArgument("an item without an identifier cannot be merged: " +
                                    item.description());
  }
  return identifier;
}

std::vector<Value> identifiersOf(const KRAVTWVItemArray& items) {
  std::vector<Value> identifiers;
  identifiers.reserve(items.size());
  for (const auto& item : items) {
    identifiers.push_back(identifierOf(*item));
  }
  return identifiers;
}

/// The positions of the identifiers that are not in `others`.
IndexSet indexesMissingFrom(const IdentifierSet& others, const std::vector<Value>& identifiers) {
  IndexSet indexes;
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    if (!others.contains(identifiers[i])) {
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

void ItemMerge::run(KRAVTWVItemVexil& receiver, std::shared_ptr<const KRAVTWVItemArray> fresh) {
  // An observer may let go of the last hold on the receiver while this is at work on it.
  open(std::static_pointer_cast<Item>(receiver.shared_from_this()), std::move(fresh));
  while (!_levels.empty()) {
    if (_levels.back().next < _levels.back().changed.size()) {
      replaceNext();
      continue;
    }
    Level done = std::move(_levels.back());
    _levels.pop_back();
    done.receiver->didChangeValuesAtIndexesForKey(std::move(done.replacement));
    noteForeignCode(*done.receiver);
  }
}

void ItemMerge::open(std::shared_ptr<Item> receiver,
                     std::shared_ptr<const KRAVTWVItemArray> fresh) {
  if (!fresh) {
    fresh = noItems();
  }
  if (fresh->empty() && receiver->currentChildren().empty()) {
    return;
  }
  removeAndInsert(*receiver, *fresh);
  std::vector<std::size_t> changed = changedIndexes(*receiver, *fresh, _inserted);
  if (changed.empty()) {
    return;
  }
  IndexSet indexes;
  for (const std::size_t index : changed) {
    indexes.insert(index);
  }
  auto replacement = receiver->willChangeValuesAtIndexesForKey(ChangeKind::replacement, indexes,
                                                               childrenKey());
  _levels.push_back(
      {std::move(receiver), std::move(fresh), std::move(changed), 0, std::move(replacement)});
}

void ItemMerge::removeAndInsert(Item& receiver, const KRAVTWVItemArray& fresh) {
  _inserted = {};
  const std::vector<Value> freshIdentifiers = identifiersOf(fresh);
  const std::vector<Value> oldIdentifiers = identifiersOf(receiver.currentChildren());
  if (freshIdentifiers == oldIdentifiers) {
    return;  // the usual refresh: nothing came and nothing went
  }
  const IdentifierSet freshSet(freshIdentifiers.begin(), freshIdentifiers.end());
  const IdentifierSet oldSet(oldIdentifiers.begin(), oldIdentifiers.end());
  const IndexSet vanished = indexesMissingFrom(freshSet, oldIdentifiers);
  const IndexSet appeared = indexesMissingFrom(oldSet, freshIdentifiers);
  if (!vanished.empty()) {
    receiver.removeChildrenAtIndexes(vanished);
    noteForeignCode(receiver);
  }
  if (!appeared.empty()) {
    receiver.insertChildren(fresh, appeared);
    noteForeignCode(receiver);
    _inserted = appeared;
  }
}

std::vector<std::size_t> ItemMerge::changedIndexes(const Item& receiver,
                                                   const KRAVTWVItemArray& fresh,
                                                   const IndexSet& inserted) {
  const KRAVTWVItemArray& children = receiver.currentChildren();
  std::vector<std::size_t> changed;
  const auto compareUpTo = [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      if (i >= fresh.size()) {
        throw platform::RangeError("an identifier occurs twice: there is no fresh item " +
                                   std::to_string(i) + " for a child that stayed");
      }
      if (!_comparison.equal(children[i], fresh[i])) {
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
  // Held here, because an observer may change either array.
  const std::shared_ptr<Item> old = level.receiver->childAtIndex(index);
  if (index >= level.fresh->size()) {
    throw platform::RangeError("the fresh items became fewer while they were merged");
  }
  const std::shared_ptr<Item> fresh = (*level.fresh)[index];
  old->setRepresentedObject(fresh->representedObject());
  noteForeignCode(*old);
  open(old, fresh->_children);
}

void ItemMerge::noteForeignCode(const Item& item) {
  if (item.isObserved()) {
    _comparison.forget();
  }
}

}  // namespace detail
