// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemFields.h>
#include <vexil/merge/IdentifierDifference.h>
#include <vexil/merge/ItemMerge.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <string>
#include <unordered_set>
#include <utility>

namespace vexil::detail {

using platform::ChangeKind;
using platform::IndexSet;
using platform::Key;
using platform::Value;

namespace {

const Key& childrenKey() {
  static const Key key(KRAVTWVItemVexilKeyPathChildren);
  return key;
}

/// Raises for the first of some identifiers that is absent. `itemAt` yields the item it is of, or a
/// null pointer when that is not there any more.
template <class ItemAt>
void requireIdentifiers(const std::vector<Value>& identifiers, const ItemAt& itemAt) {
  const auto absent = std::ranges::find_if(identifiers, &Value::isAbsent);
  if (absent != identifiers.end()) {
    const std::shared_ptr<KRAVTWVItemVexil> item =
        itemAt(static_cast<std::size_t>(absent - identifiers.begin()));
    throw platform::InvalidArgument("an item without an identifier cannot be merged: " +
                                    (item ? item->description() : "it is gone"));
  }
}

/// Whether items run no foreign code when they are asked for these identifiers, and these run none
/// when they are compared.
bool runNoForeignCode(const KRAVTWVItemArray* items, const std::vector<Value>& identifiers) {
  return std::ranges::all_of(
             identifiers, [](const Value& each) { return each.isString() || each.isNumber(); }) &&
         (items == nullptr || std::ranges::all_of(*items, [](const auto& item) {
            return item && ItemFields::isOwnKind(*item);
          }));
}

/// What of `appeared` still holds when the items have other identifiers by now: only what had been
/// among the fresh ones counts, and was not among the old ones.
IndexSet appearedAmong(const std::vector<Value>& identifiers, const std::vector<Value>& fresh,
                       const std::vector<Value>& old) {
  const std::unordered_set<Value> freshSet(fresh.begin(), fresh.end());
  const std::unordered_set<Value> oldSet(old.begin(), old.end());
  IndexSet indexes;
  for (std::size_t i = 0; i < identifiers.size(); ++i) {
    if (freshSet.contains(identifiers[i]) && !oldSet.contains(identifiers[i])) {
      indexes.insert(i);
    }
  }
  return indexes;
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

void ItemMerge::run(KRAVTWVItemVexil& receiver, FreshList fresh, bool isPrivate) {
  // An observer may let go of the last hold on the receiver while this is at work on it.
  open(std::static_pointer_cast<Item>(receiver.shared_from_this()), std::move(fresh), isPrivate);
  while (!_levels.empty()) {
    if (_levels.back().run < _levels.back().changed.runs().size()) {
      replaceNext();
      continue;
    }
    Level done = std::move(_levels.back());
    _levels.pop_back();
    announce(*done.receiver,
             [&] { done.receiver->didChangeValuesAtIndexesForKey(std::move(done.replacement)); });
  }
}

void ItemMerge::open(std::shared_ptr<Item> receiver, FreshList fresh, bool isPrivate) {
  if (fresh.size() == 0 && receiver->currentChildren().empty()) {
    return;
  }
  IndexSet changed;
  if (auto changes = fresh.changesInPlace(*receiver)) {
    changed = std::move(*changes);  // the usual refresh: nothing came and nothing went
  } else {
    const IndexSet inserted = removeAndInsert(*receiver, fresh);
    changed = changedIndexes(*receiver, fresh, inserted, isPrivate);
  }
  if (changed.empty()) {
    return;
  }
  auto replacement =
      receiver->willChangeValuesAtIndexesForKey(ChangeKind::replacement, changed, childrenKey());
  _levels.push_back({std::move(receiver), std::move(fresh), std::move(changed), 0, 0, isPrivate,
                     std::move(replacement)});
}

IndexSet ItemMerge::removeAndInsert(Item& receiver, const FreshList& fresh) {
  std::vector<Value> freshIdentifiers;
  std::vector<Value> oldIdentifiers;
  std::optional<IdentifierDifference> difference =
      fresh.knownDifference(receiver.currentChildren());
  if (!difference) {
    freshIdentifiers = fresh.identifiers();
    requireIdentifiers(freshIdentifiers, [&](std::size_t index) {
      return index < fresh.size() ? fresh.item(index) : nullptr;
    });
    const std::shared_ptr<const KRAVTWVItemArray> children = ItemFields::children(receiver);
    if (children) {
      oldIdentifiers = anyIdentifiersOf(children);
      requireIdentifiers(oldIdentifiers, [&](std::size_t index) {
        return index < children->size() ? (*children)[index] : nullptr;
      });
    }
    difference = identifierDifference(oldIdentifiers, freshIdentifiers);
    if (_comparison.remembersAny() && !(runNoForeignCode(fresh.hostItems(), freshIdentifiers) &&
                                        runNoForeignCode(children.get(), oldIdentifiers))) {
      _comparison.forget();
    }
    // Items, and objects in place of identifiers, can have done anything when they were asked.
    if (ItemFields::children(receiver) != children ||
        receiver.currentChildren().size() != oldIdentifiers.size()) {
      throw platform::RangeError("the children became others while they were merged");
    }
  }
  auto& [vanished, appeared] = *difference;
  if (_comparison.remembersAny()) {
    vanished.forEach(
        [&](std::size_t index) { _letGoLast.emplace_back(receiver.currentChildren()[index]); });
  }
  if (!vanished.empty() &&
      announce(receiver, [&] { receiver.removeChildrenAtIndexes(vanished); }) &&
      fresh.hostItems() != nullptr) {
    const std::vector<Value> identifiers = fresh.identifiers();
    if (identifiers != freshIdentifiers) {
      appeared = appearedAmong(identifiers, freshIdentifiers, oldIdentifiers);
    }
  }
  if (!appeared.empty()) {
    announce(receiver, [&] { receiver.insertChildren(fresh, appeared); });
  }
  return std::move(appeared);
}

bool ItemMerge::isEqual(const KRAVTWVItemArray& children, const FreshList& fresh, std::size_t index,
                        bool isPrivate) {
  if (const KRAVTWVItemArray* items = fresh.hostItems()) {
    return _comparison.equal(children[index], (*items)[index], isPrivate);
  }
  if (const std::optional<bool> known = fresh.isEqualTo(*children[index], index)) {
    return *known;
  }
  const std::shared_ptr<Item> child = children[index];
  return child->isEqual(*fresh.item(index));
}

IndexSet ItemMerge::changedIndexes(const Item& receiver, const FreshList& fresh,
                                   const IndexSet& inserted, bool isPrivate) {
  const std::size_t count = receiver.currentChildren().size();
  IndexSet changed;
  const auto compareUpTo = [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      // Looked up again, as whoever was asked may have changed them.
      const KRAVTWVItemArray& children = receiver.currentChildren();
      i = fresh.compareEvents(children, i, std::min({end, fresh.size(), children.size()}), changed);
      if (i == end) {
        return;
      }
      if (i >= fresh.size() || i >= children.size()) {
        // An identifier occurs twice, or foreign code brought children in or took items out.
        throw platform::RangeError("there is no fresh item for a child that stayed, or no child: " +
                                   std::to_string(i));
      }
      if (!isEqual(children, fresh, i, isPrivate)) {
        changed.insert(i);
      }
    }
  };
  std::size_t next = 0;
  for (const IndexSet::Run& run : inserted.runs()) {
    compareUpTo(next, std::min(run.first, count));
    next = run.end();
  }
  compareUpTo(next, count);
  return changed;
}

void ItemMerge::replaceNext() {
  Level& level = _levels.back();
  const IndexSet::Run& run = level.changed.runs()[level.run];
  const std::size_t index = run.first + level.inRun;
  if (++level.inRun == run.count) {
    ++level.run;
    level.inRun = 0;
  }
  const KRAVTWVItemArray& children = level.receiver->currentChildren();
  if (index >= children.size() || index >= level.fresh.size()) {
    throw platform::RangeError("items became fewer while they were merged");
  }
  if (level.fresh.isLeaf()) {
    level.fresh.prefetchToReplace(children, index);
    // Held here, because whoever hears of this may change the array.
    const std::shared_ptr<Item> old = children[index];
    if (Value represented; level.fresh.replaceUnheard(*old, index, represented)) {
      represented = Value();  // of which a destructor may hear
    } else {
      announce(*old, [&] { old->setRepresentedObject(level.fresh.representedObject(index)); });
      level.fresh.noteEqual(*old, index);
    }
    if (!old->currentChildren().empty()) {
      open(old, FreshList(nullptr), false);
    }
    return;
  }
  const KRAVTWVItemArray* const items = level.fresh.hostItems();
  const bool isPrivate = items != nullptr && level.isPrivate &&
                         ItemComparison::isPrivate(children[index], (*items)[index]);
  const std::shared_ptr<Item> old = children[index];
  if (items == nullptr) {
    announce(*old, [&] { old->setRepresentedObject(level.fresh.representedObject(index)); });
    open(old, level.fresh.childrenOf(index), false);
    return;
  }
  const std::shared_ptr<Item> fresh = (*items)[index];
  if (_comparison.remembersAny()) {
    _letGoLast.push_back(old->representedObject());
  }
  announce(*old, [&] { old->setRepresentedObject(fresh->representedObject()); });
  open(old, FreshList(ItemFields::children(*fresh)), isPrivate);
}

}  // namespace vexil::detail
