// SPDX-License-Identifier: Apache-2.0
// The children of an item, and what is done to whole subtrees. `replaceChildren` stands in merge/.
#include <vexil/items/ItemAddition.h>
#include <vexil/items/ItemFields.h>
#include <vexil/items/ItemWalk.h>
#include <vexil/kinds/Item.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ManyRegistrations.h>
#include <vexil/platform/detail/Operation.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace platform = vexil::platform;

using platform::ChangeKind;
using platform::IndexSet;
using platform::Key;
using platform::Value;
using vexil::detail::ItemAddition;
using vexil::detail::ItemFields;
using vexil::detail::ItemWalk;

namespace {

/// Takes the items at some positions out of an array.
KRAVTWVItemArray taken(KRAVTWVItemArray& items, const IndexSet& indexes) {
  KRAVTWVItemArray taken;
  taken.reserve(indexes.count());
  const auto at = [&](std::size_t index) {
    return items.begin() + static_cast<std::ptrdiff_t>(index);
  };
  std::size_t next = *indexes.first();
  auto kept = at(next);
  for (const IndexSet::Range& range : indexes.ranges()) {
    kept = std::move(at(next), at(range.first), kept);
    std::move(at(range.first), at(range.end()), std::back_inserter(taken));
    next = range.end();
  }
  kept = std::move(at(next), items.end(), kept);
  items.erase(kept, items.end());
  return taken;
}

}  // namespace

std::shared_ptr<KRAVTWVItemArray> KRAVTWVItemVexil::children() const {
  {
    const std::lock_guard lock(propertyLock());
    if (_stored.children() != nullptr || _stored.areChildrenAbsent()) {
      return _stored.rare->_children;
    }
  }
  Rare& rare = this->rare();
  auto made =
      std::make_shared<KRAVTWVItemArray>();  // outside the lock, because allocating may be slow
  const std::lock_guard lock(propertyLock());
  if (!rare._children && !rare.areChildrenAbsent) {
    rare._children = std::move(made);
  }
  return rare._children;
}

void KRAVTWVItemVexil::setChildren(std::shared_ptr<KRAVTWVItemArray> children) {
  const platform::detail::Operation operation;
  if (children && std::ranges::find(*children, nullptr) != children->end()) {
    throw platform::InvalidArgument("an array of children holds a null pointer");
  }
  auto change = willChangeValueForKey(ItemFields::childrenKey());
  (void)rare();  // there must be one to store them in
  {
    const std::lock_guard lock(propertyLock());
    _stored.exchangeChildren(children);
  }
  didChangeValueForKey(std::move(change));
}

void KRAVTWVItemVexil::setChildrenValue(const Value& children) {
  if (children.isAbsent()) {
    setChildren(nullptr);
    return;
  }
  if (!children.isArray()) {
    throw platform::InvalidArgument("children are an array of items");
  }
  auto items = std::make_shared<KRAVTWVItemArray>();
  std::ranges::transform(children.elements(), std::back_inserter(*items), ItemFields::itemIn);
  setChildren(std::move(items));
}

Value KRAVTWVItemVexil::childrenValue() const {
  std::shared_ptr<KRAVTWVItemArray> children;
  {
    const std::lock_guard lock(propertyLock());
    if (_stored.areChildrenAbsent()) {
      return {};
    }
    children = ItemFields::children(*this);
  }
  return children ? Value::arrayOfObjects(*children) : Value::array({});
}

bool KRAVTWVItemVexil::isLeaf() const {
  const std::lock_guard lock(propertyLock());
  return ItemFields::hasNoChildren(*this);
}

KRAVTWVItemArray& KRAVTWVItemVexil::childrenForAdding() {
  Rare& rare = this->rare();
  const std::lock_guard lock(propertyLock());
  if (!rare._children) {
    auto started = std::make_shared<KRAVTWVItemArray>();
    _stored.exchangeChildren(started);
  }
  return *rare._children;
}

void KRAVTWVItemVexil::addChild(std::shared_ptr<KRAVTWVItemVexil> child) {
  const platform::detail::Operation operation;
  if (!child) {
    throw platform::InvalidArgument("a null pointer cannot be added as a child");
  }
  const auto self = std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this());
  KRAVTWVItemArray equal;
  for (std::size_t i = 0; i < ItemFields::currentChildren(*this).size(); ++i) {
    const std::shared_ptr<KRAVTWVItemVexil> element = ItemFields::currentChildren(*this)[i];
    if (element == child || element->isEqual(*child)) {
      equal.push_back(element);
    }
  }
  removeChildrenIn(equal);
  child->setParent(self);
  childrenForAdding().push_back(std::move(child));
}

/// Removes items from the children, as far as they are still there. The caller holds them.
void KRAVTWVItemVexil::removeChildrenIn(KRAVTWVItemArray& items) {
  if (items.empty()) {
    return;
  }
  std::ranges::sort(items);
  std::erase_if(childrenForAdding(),
                [&](const auto& child) { return std::ranges::binary_search(items, child); });
}

void KRAVTWVItemVexil::addChildren(const KRAVTWVItemArray& children) {
  const platform::detail::Operation operation;
  const auto self = std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this());
  // Copies: the caller may hand over this item's own array, and foreign code may change both.
  const ItemAddition addition{KRAVTWVItemArray(ItemFields::currentChildren(*this)),
                              KRAVTWVItemArray(children)};
  // The parents are announced first: an observer that throws must not cost this item a child.
  for (const ItemAddition::Entry& entry : addition.added()) {
    entry.item->setParent(self);
  }
  KRAVTWVItemArray equal = addition.goneOfPresent();
  KRAVTWVItemArray& all = childrenForAdding();
  all.reserve(all.size() + addition.added().size());
  removeChildrenIn(equal);
  for (const ItemAddition::Entry& entry : addition.added()) {
    if (!entry.isGone) {
      all.push_back(entry.item);
    }
  }
  addition.throwFailure();
}

void KRAVTWVItemVexil::removeChildrenAtIndexes(const IndexSet& indexesToRemove) {
  const platform::detail::Operation operation;
  if (indexesToRemove.empty()) {
    return;
  }
  // A copy where a host's code runs before they are used, because it may change its own.
  std::optional<IndexSet> copy;
  const IndexSet& indexes = isObserved() ? copy.emplace(indexesToRemove) : indexesToRemove;
  const auto checkThatTheyAreThere = [&] {
    if (*indexes.last() >= ItemFields::currentChildren(*this).size()) {
      throw platform::RangeError("there is no child " + std::to_string(*indexes.last()) +
                                 " to be removed");
    }
  };
  checkThatTheyAreThere();
  auto change =
      willChangeValuesAtIndexesForKey(ChangeKind::removal, indexes, ItemFields::childrenKey());
  checkThatTheyAreThere();  // again, because getters may have changed them
  // Let go of after the change, because that may run foreign code.
  const KRAVTWVItemArray removed = taken(*_stored.rare->_children, indexes);
  didChangeValuesAtIndexesForKey(std::move(change));
}

std::shared_ptr<KRAVTWVItemVexil> KRAVTWVItemVexil::childAtIndex(std::size_t index) const {
  if (index >= ItemFields::currentChildren(*this).size()) {
    throw platform::RangeError("there is no child " + std::to_string(index));
  }
  return ItemFields::currentChildren(*this)[index];
}

Value KRAVTWVItemVexil::valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const {
  if (key != ItemFields::childrenKey()) {
    return Observable::valuesAtIndexesForKey(indexes, key);
  }
  const KRAVTWVItemArray& children = ItemFields::currentChildren(*this);
  if (!indexes.empty() && *indexes.last() >= children.size()) {
    throw platform::RangeError("there is no child " + std::to_string(*indexes.last()));
  }
  platform::ArrayMaker items(indexes.count());
  std::size_t next = 0;
  indexes.forEach([&](std::size_t index) { items.set(next++, Value(children[index])); });
  return items.take();
}

bool KRAVTWVItemVexil::canReuseOldValuesAtIndexesForKey(const Value& oldValues,
                                                        const IndexSet& indexes,
                                                        const Key& key) const {
  const KRAVTWVItemArray& children = ItemFields::currentChildren(*this);
  if (key != ItemFields::childrenKey() || oldValues.elements().size() != indexes.count() ||
      (!indexes.empty() && *indexes.last() >= children.size())) {
    return false;
  }
  auto value = oldValues.elements().begin();
  return std::ranges::all_of(indexes.ranges(), [&](const IndexSet::Range& range) {
    const auto first = children.begin() + static_cast<std::ptrdiff_t>(range.first);
    return std::all_of(first, first + static_cast<std::ptrdiff_t>(range.count),
                       [&](const auto& child) { return (value++)->object() == child; });
  });
}

KRAVTWVItemArray KRAVTWVItemVexil::recursiveChildren() const {
  KRAVTWVItemArray items;
  items.reserve(ItemFields::currentChildren(*this).size());
  ItemWalk::throughDescendantsOf(*this, [&](const auto& item) { items.push_back(item); });
  return items;
}

// --- the whole subtree

void KRAVTWVItemVexil::addObserverForRecursiveChildrenWithOptionContext(
    const std::shared_ptr<platform::Observer>& observer, platform::ObservingOptions options,
    const platform::ContextToken* context) {
  platform::ManyRegistrations registrations(observer, ItemFields::childrenKey(), options, context);
  registrations.addToAll([&](const auto& add) { ItemWalk::throughTree(*this, add); });
}

void KRAVTWVItemVexil::removeObserverForRecursiveChildrenWithContext(
    const std::shared_ptr<platform::Observer>& observer, const platform::ContextToken* context) {
  platform::ManyWithdrawals withdrawals(observer, ItemFields::childrenKey(), context);
  withdrawals.removeFromAll([&](const auto& remove) { ItemWalk::throughTree(*this, remove); });
}
