// SPDX-License-Identifier: Apache-2.0
#include <vexil/detail/IdentifiedMerge.h>
#include <vexil/items/ItemFields.h>
#include <vexil/merge/ItemMerge.h>
#include <vexil/merge/Prefetching.h>
#include <vexil/order/EventSorting.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

void KRAVTWVItemVexil::replaceChildren(const std::shared_ptr<const KRAVTWVItemArray>& fresh) {
  using vexil::detail::Ownership;
  // The caller holds the array. If anybody else does, it could be the children of some item.
  const Ownership ownership = fresh.use_count() <= 1 ? Ownership::parentAlone : Ownership::shared;
  vexil::detail::ItemMerge().perform(*this, vexil::detail::FreshItems(fresh, ownership));
}

namespace vexil::detail {

using platform::ChangeKind;
using platform::IndexSet;
using platform::Value;

namespace {

// --- what one kind of source can do and others cannot

std::optional<IndexSet> changesInPlace(const KRAVTWVItemVexil& receiver, const FreshEvents& fresh) {
  return fresh.changesInPlace(receiver);
}
template <class Source>
std::optional<IndexSet> changesInPlace(const KRAVTWVItemVexil&, const Source&) {
  return std::nullopt;
}

std::optional<IdentifierDifference> knownDifference(const KRAVTWVItemVexil& receiver,
                                                    const FreshEvents& fresh) {
  return fresh.knownDifference(ItemFields::currentChildren(receiver));
}
template <class Source>
std::optional<IdentifierDifference> knownDifference(const KRAVTWVItemVexil&, const Source&) {
  return std::nullopt;
}

bool areOfOwnKinds(const KRAVTWVItemArray& items) {
  return std::ranges::all_of(items,
                             [](const auto& item) { return item && ItemFields::isOwnKind(*item); });
}
/// Whether fresh items can run foreign code when they are asked for their identifiers.
bool canRunForeignCode(const FreshItems& fresh) {
  return !areOfOwnKinds(fresh.items());
}
template <class Source>
bool canRunForeignCode(const Source&) {
  return false;
}

/// What is known of the fresh items of `receiver`, for those who watch it.
IdentifiedMerge knownOf(const KRAVTWVItemVexil& receiver, const FreshEvents& fresh) {
  const bool isKnown = fresh.lineage && fresh.lineage->identifiersDiffer;
  return {isKnown ? &receiver : nullptr, isKnown && !fresh.selection ? &fresh.lineage : nullptr};
}
template <class Source>
IdentifiedMerge knownOf(const KRAVTWVItemVexil&, const Source&) {
  return {nullptr, nullptr};
}

// --- identifiers

/// Throws for the first of some identifiers that is absent. `itemAt` returns the item that it is
/// of, or a null pointer when that is gone.
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

/// Whether no foreign code runs when identifiers are compared.
bool arePlain(const std::vector<Value>& identifiers) {
  return std::ranges::all_of(identifiers, isPlainIdentifier);
}

/// The positions of those of some identifiers that came. An identifier came if it is among `fresh`
/// and not among `old`.
IndexSet positionsThatCame(const std::vector<Value>& identifiers, const std::vector<Value>& fresh,
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

/// After observers got a notice of the removal: a host may have given its fresh items other
/// identifiers then.
void updateAppeared(const FreshItems& fresh, const std::vector<Value>& freshBefore,
                    const std::vector<Value>& old, IndexSet& appeared) {
  const std::vector<Value> current = fresh.identifiers();
  if (current != freshBefore) {
    appeared = positionsThatCame(current, freshBefore, old);
  }
}
template <class Source>
void updateAppeared(const Source&, const std::vector<Value>&, const std::vector<Value>&,
                    IndexSet&) {}

// --- insertion

/// Inserts items into an array, so that each stands at its index afterwards.
void insertAt(const IndexSet& indexes, KRAVTWVItemArray arrived, KRAVTWVItemArray& children) {
  if (children.empty()) {
    children.swap(arrived);
    return;
  }
  KRAVTWVItemArray merged;
  merged.reserve(children.size() + arrived.size());
  auto stayed = std::make_move_iterator(children.begin());
  auto next = std::make_move_iterator(arrived.begin());
  const auto take = [&merged](auto& from, std::size_t count) {
    const auto end = from + static_cast<std::ptrdiff_t>(count);
    merged.insert(merged.end(), from, end);
    from = end;
  };
  for (const IndexSet::Range& range : indexes.ranges()) {
    take(stayed, range.first - merged.size());
    take(next, range.count);
  }
  merged.insert(merged.end(), stayed, std::make_move_iterator(children.end()));
  children.swap(merged);
}

/// Throws when foreign code has taken items out of either array, or an identifier occurs twice.
void requireThatTheyFit(const IndexSet& indexes, std::size_t childCount, std::size_t freshCount) {
  if (*indexes.last() >= freshCount) {
    throw platform::RangeError("the fresh items became fewer while they were merged");
  }
  if (*indexes.last() >= childCount + indexes.count()) {
    throw platform::RangeError("an identifier occurs twice: a child cannot be inserted at " +
                               std::to_string(*indexes.last()));
  }
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

ItemMerge::~ItemMerge() {
  // An exception has left them open. They are dropped in the order in which they would be closed.
  while (!_levels.empty()) {
    _levels.pop_back();
  }
}

void ItemMerge::perform(Item& receiver, FreshSource fresh) {
  // Held, because an observer may let go of the receiver in the middle.
  open(std::static_pointer_cast<Item>(receiver.shared_from_this()), std::move(fresh));
  while (!_levels.empty()) {
    if (_levels.back().isDone()) {
      closeLevel();
    } else {
      replaceNext();
    }
  }
}

std::size_t ItemMerge::Level::next() {
  const IndexSet::Range& range = changed.ranges()[nextRange];
  const std::size_t index = range.first + doneOfRange;
  if (++doneOfRange == range.count) {
    ++nextRange;
    doneOfRange = 0;
  }
  return index;
}

void ItemMerge::open(std::shared_ptr<Item> receiver, FreshSource fresh) {
  const bool isFreshEmpty =
      std::visit([](const auto& source) { return source.size() == 0; }, fresh);
  if (isFreshEmpty && ItemFields::hasNoChildren(*receiver)) {
    return;
  }
  IndexSet changed = std::visit(
      [&](const auto& source) { return mergeUpToReplacement(*receiver, source); }, fresh);
  if (changed.empty()) {
    return;
  }
  auto replacement = receiver->willChangeValuesAtIndexesForKey(ChangeKind::replacement, changed,
                                                               ItemFields::childrenKey());
  _levels.push_back(
      {std::move(receiver), std::move(fresh), std::move(changed), std::move(replacement)});
}

void ItemMerge::closeLevel() {
  Level done = std::move(_levels.back());
  _levels.pop_back();
  const IdentifiedMerge merge =
      std::visit([&](const auto& source) { return knownOf(*done.receiver, source); }, done.fresh);
  announce(*done.receiver,
           [&] { done.receiver->didChangeValuesAtIndexesForKey(std::move(done.replacement)); });
}

template <class Source>
IndexSet ItemMerge::mergeUpToReplacement(Item& receiver, const Source& fresh) {
  if (auto changes = changesInPlace(receiver, fresh)) {
    return std::move(*changes);  // the usual refresh: nothing came and nothing went
  }
  Identifiers identifiers;
  std::optional<IdentifierDifference> difference = knownDifference(receiver, fresh);
  if (!difference) {
    difference = readDifference(receiver, fresh, identifiers);
  }
  const MergeAttempt attempt;
  auto& [vanished, appeared] = *difference;
  if (!vanished.empty() && remove(receiver, fresh, vanished)) {
    updateAppeared(fresh, identifiers.fresh, identifiers.old, appeared);
  }
  if (!appeared.empty()) {
    insert(receiver, fresh, appeared);
  }
  return changedIndexes(receiver, fresh, appeared);
}

template <class Source>
IdentifierDifference ItemMerge::readDifference(const Item& receiver, const Source& fresh,
                                               Identifiers& identifiers) {
  identifiers.fresh = fresh.identifiers();
  requireIdentifiers(identifiers.fresh, [&](std::size_t index) {
    return index < fresh.size() ? fresh.item(index) : nullptr;
  });
  const std::shared_ptr<const KRAVTWVItemArray> children = ItemFields::children(receiver);
  if (children) {
    identifiers.old = identifiersOf(children);
    requireIdentifiers(identifiers.old, [&](std::size_t index) {
      return index < children->size() ? (*children)[index] : nullptr;
    });
  }
  IdentifierDifference difference = identifierDifference(identifiers.old, identifiers.fresh);
  if (_comparison.remembersAny() &&
      (canRunForeignCode(fresh) || (children && !areOfOwnKinds(*children)) ||
       !arePlain(identifiers.fresh) || !arePlain(identifiers.old))) {
    _comparison.forget();
  }
  // Items, and objects in place of identifiers, may have done anything when they were asked.
  if (ItemFields::children(receiver) != children ||
      ItemFields::currentChildren(receiver).size() != identifiers.old.size()) {
    throw platform::RangeError("the children became others while they were merged");
  }
  return difference;
}

template <class Source>
bool ItemMerge::remove(Item& receiver, const Source& fresh, const IndexSet& indexes) {
  const IdentifiedMerge merge = knownOf(receiver, fresh);
  if (_comparison.remembersAny()) {
    indexes.forEach([&](std::size_t index) {
      _letGoLast.emplace_back(ItemFields::currentChildren(receiver)[index]);
    });
  }
  return announce(receiver, [&] { receiver.removeChildrenAtIndexes(indexes); });
}

template <class Source>
void ItemMerge::insert(Item& receiver, const Source& fresh, const IndexSet& indexes) {
  announce(receiver, [&] {
    const auto requireThatTheyFitNow = [&] {
      requireThatTheyFit(indexes, ItemFields::currentChildren(receiver).size(), fresh.size());
    };
    requireThatTheyFitNow();
    auto change = receiver.willChangeValuesAtIndexesForKey(ChangeKind::insertion, indexes,
                                                           ItemFields::childrenKey());
    requireThatTheyFitNow();  // again, because getters may have changed them
    // All that can fail comes first, so that the children are never left half done.
    KRAVTWVItemArray arrived;
    arrived.reserve(indexes.count());
    indexes.forEach([&](std::size_t index) {
      arrived.push_back(fresh.item(index));
      if (!arrived.back()) {
        throw platform::InvalidArgument("an array of items holds a null pointer");
      }
    });
    insertAt(indexes, std::move(arrived), ItemFields::childrenForAdding(receiver));
    const IdentifiedMerge merge = knownOf(receiver, fresh);
    receiver.didChangeValuesAtIndexesForKey(std::move(change));
  });
}

template <class Source>
IndexSet ItemMerge::changedIndexes(const Item& receiver, const Source& fresh,
                                   const IndexSet& inserted) {
  const std::size_t count = ItemFields::currentChildren(receiver).size();
  IndexSet changed;
  std::size_t next = 0;
  for (const IndexSet::Range& range : inserted.ranges()) {
    addChangedIndexes(receiver, fresh, next, std::min(range.first, count), changed);
    next = range.end();
  }
  addChangedIndexes(receiver, fresh, next, count, changed);
  return changed;
}

template <class Source>
void ItemMerge::addChangedIndexes(const Item& receiver, const Source& fresh, std::size_t from,
                                  std::size_t to, IndexSet& changed) {
  for (std::size_t i = from; i < to; ++i) {
    if (!isChildEqual(receiver, fresh, i)) {
      changed.insert(i);
    }
  }
}

void ItemMerge::addChangedIndexes(const Item& receiver, const FreshEvents& fresh, std::size_t from,
                                  std::size_t to, IndexSet& changed) {
  std::size_t next = from;
  while (next < to) {
    // Looked up again, because an object that was asked may have changed them.
    const KRAVTWVItemArray& children = ItemFields::currentChildren(receiver);
    const std::size_t end = std::min({to, fresh.size(), children.size()});
    next = fresh.compareAtOnce(children, next, std::max(next, end), changed);
    if (next < to) {
      if (!isChildEqual(receiver, fresh, next)) {
        changed.insert(next);
      }
      ++next;
    }
  }
}

template <class Source>
bool ItemMerge::isChildEqual(const Item& receiver, const Source& fresh, std::size_t index) {
  const KRAVTWVItemArray& children = ItemFields::currentChildren(receiver);
  if (index >= fresh.size() || index >= children.size()) {
    // An identifier occurs twice, or foreign code brought children in or took items out.
    throw platform::RangeError("there is no fresh item for a child that stayed, or no child: " +
                               std::to_string(index));
  }
  return isEqual(children, fresh, index);
}

bool ItemMerge::isEqual(const KRAVTWVItemArray& children, const FreshItems& fresh,
                        std::size_t index) {
  return _comparison.equal(children[index], fresh.item(index), fresh.ownership());
}

template <class Source>
bool ItemMerge::isEqual(const KRAVTWVItemArray& children, const Source& fresh, std::size_t index) {
  if (const std::optional<bool> known = fresh.isEqualTo(*children[index], index)) {
    return *known;
  }
  const std::shared_ptr<Item> child = children[index];
  return child->isEqual(*fresh.item(index));
}

void ItemMerge::replaceNext() {
  Level& level = _levels.back();
  const std::size_t index = level.next();
  const KRAVTWVItemArray& children = ItemFields::currentChildren(*level.receiver);
  std::visit(
      [&](const auto& fresh) {
        if (index >= children.size() || index >= fresh.size()) {
          throw platform::RangeError("items became fewer while they were merged");
        }
        replace(children, fresh, index);
      },
      level.fresh);
}

// Each of these opens a level last, because that moves all levels, and with them `fresh`.

void ItemMerge::replace(const KRAVTWVItemArray& children, const FreshItems& fresh,
                        std::size_t index) {
  const Ownership ownership =
      ItemComparison::ownership(children[index], fresh.item(index), fresh.ownership());
  const std::shared_ptr<Item> child = children[index];
  const std::shared_ptr<Item> item = fresh.item(index);
  if (_comparison.remembersAny()) {
    _letGoLast.push_back(child->representedObject());
  }
  announce(*child, [&] { child->setRepresentedObject(item->representedObject()); });
  open(child, FreshItems(ItemFields::children(*item), ownership));
}

void ItemMerge::replace(const KRAVTWVItemArray& children, const FreshEvents& fresh,
                        std::size_t index) {
  prefetchToReplace(children, fresh, index);
  // Held, because an observer may change the array.
  const std::shared_ptr<Item> child = children[index];
  if (ItemFields::isSettingOfRepresentedObjectSilent(*child) && ItemFields::isPlainEvent(*child)) {
    fresh.replaceSilently(*child, index);
  } else {
    announce(*child, [&] { child->setRepresentedObject(fresh.record(index)); });
    fresh.noteEqual(*child, index);
  }
  if (!ItemFields::hasNoChildren(*child)) {
    open(child, FreshItems());
  }
}

void ItemMerge::replace(const KRAVTWVItemArray& children, const FreshRows& fresh,
                        std::size_t index) {
  const std::shared_ptr<Item> child = children[index];
  announce(*child, [&] { child->setRepresentedObject(fresh.representedObject(index)); });
  open(child, fresh.eventsOf(index));
}

}  // namespace vexil::detail
