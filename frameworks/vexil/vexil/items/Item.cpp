// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemComparison.h>
#include <vexil/items/ItemFields.h>
#include <vexil/kinds/Item.h>
#include <vexil/platform/detail/BlockPool.h>

#include <mutex>
#include <typeinfo>
#include <utility>

namespace platform = vexil::platform;

constinit const std::string_view KRAVTWVItemVexilKeyPathChildren = "children";
constinit const std::string_view KRAVTWVItemVexilKeyPathLabel = "label";

using platform::Key;
using platform::KeyAccess;
using platform::Value;
using vexil::detail::ItemFields;
using vexil::detail::ItemReference;

KRAVTWVItemVexil::KRAVTWVItemVexil(Value representedObject)
    : _stored(std::move(representedObject)) {}

KRAVTWVItemVexil::~KRAVTWVItemVexil() {
  if (_stored.rare && _stored.rare->_children.use_count() == 1) {
    for (auto& child : *_stored.rare->_children) {
      platform::releaseWithoutRecursion(std::move(child));
    }
  }
}

std::shared_ptr<KRAVTWVItemVexil> KRAVTWVItemVexil::itemWithRepresentedObject(Value object) {
  return std::allocate_shared<KRAVTWVItemVexil>(
      platform::detail::PooledAllocator<KRAVTWVItemVexil>(), std::move(object));
}

// --- keys

std::set<std::string> KRAVTWVItemVexil::keyPathsForValuesAffectedByRepresentedObject() const {
  return {"uniqueID", std::string(KRAVTWVItemVexilKeyPathLabel), "path", "representedEvent"};
}

std::set<std::string> KRAVTWVItemVexil::keyPathsForValuesAffectingValueForKey(
    const Key& key) const {
  auto keys = Observable::keyPathsForValuesAffectingValueForKey(key);
  if (key.text() == "isGroup") {
    keys.merge(keyPathsForValuesAffectingIsGroup());
  } else if (key.text() == "isExpandable") {
    keys.merge(keyPathsForValuesAffectingIsExpandable());
  }
  if (keyPathsForValuesAffectedByRepresentedObject().contains(std::string(key.text()))) {
    keys.insert("representedObject");
  }
  return keys;
}

std::set<std::string> KRAVTWVItemVexil::keyPathsForValuesAffectingIsExpandable() const {
  return {std::string(KRAVTWVItemVexilKeyPathChildren)};
}

std::set<std::string> KRAVTWVItemVexil::keyPathsForValuesAffectingIsGroup() const {
  return {std::string(KRAVTWVItemVexilKeyPathChildren)};
}

const platform::KeyTable& KRAVTWVItemVexil::itemKeyTable() {
  using Item = KRAVTWVItemVexil;
  static const platform::KeyTable table(
      nullptr,
      {
          KeyAccess::readWrite<&Item::uniqueID, &Item::setUniqueID>("uniqueID"),
          KeyAccess::readWrite<&Item::label, &Item::setLabel>(KRAVTWVItemVexilKeyPathLabel),
          KeyAccess::readWrite<&Item::representedObject, &Item::setRepresentedObject>(
              "representedObject"),
          KeyAccess::readWrite<&Item::parent, &Item::setParentValue>("parent"),
          KeyAccess::readWrite<&Item::childrenValue, &Item::setChildrenValue>(
              KRAVTWVItemVexilKeyPathChildren),
          KeyAccess::readOnly<&Item::supportsEnabled>("supportsEnabled"),
          KeyAccess::readOnly<&Item::enabled>("enabled"),
          KeyAccess::readOnly<&Item::isGroup>("isGroup"),
          KeyAccess::readOnly<&Item::isExpandable>("isExpandable"),
          KeyAccess::readOnly<&Item::path>("path"),
      });
  return table;
}

// --- properties

void KRAVTWVItemVexil::setUniqueID(Value uniqueID) {
  static const Key key("uniqueID");
  assign(key, rare()._uniqueID, std::move(uniqueID));
}

void KRAVTWVItemVexil::setLabel(Value label) {
  static const Key key(KRAVTWVItemVexilKeyPathLabel);
  assign(key, rare()._label, std::move(label));
}

void KRAVTWVItemVexil::setRepresentedObject(Value object) {
  auto change = willChangeValueForKey(ItemFields::representedObjectKey());
  {
    const std::lock_guard lock(propertyLock());
    swap(_stored._representedObject, object);
    _stored.equalRecord = {};
  }
  didChangeValueForKey(std::move(change));
}

void KRAVTWVItemVexil::setParent(const std::shared_ptr<KRAVTWVItemVexil>& parent) {
  static const Key key("parent");
  assign(key, _stored._parent, parent ? parent->referenceToSelf() : ItemReference());
}

/// The children of an item share one reference to it.
ItemReference KRAVTWVItemVexil::referenceToSelf() {
  Rare& rare = this->rare();
  if (auto known = read(rare.self); known.refers()) {
    return known;
  }
  ItemReference made(std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this()));
  const std::lock_guard lock(propertyLock());
  if (!rare.self.refers()) {
    rare.self = std::move(made);
  }
  return rare.self;
}

void KRAVTWVItemVexil::setParentValue(const Value& parent) {
  setParent(parent.isAbsent() ? nullptr : ItemFields::itemIn(parent));
}

KRAVTWVItemVexil::Rare& KRAVTWVItemVexil::rare() const {
  {
    const std::lock_guard lock(propertyLock());
    if (_stored.rare) {
      return *_stored.rare;
    }
  }
  auto made = std::make_unique<Rare>();
  const std::lock_guard lock(propertyLock());
  if (!_stored.rare) {
    _stored.rare = std::move(made);
  }
  return *_stored.rare;
}

Value KRAVTWVItemVexil::readRare(Value Rare::*field) const {
  const std::lock_guard lock(propertyLock());
  return _stored.rare ? (*_stored.rare).*field : Value();
}

// --- equality

bool KRAVTWVItemVexil::isKindOfReceiversClass(const KRAVTWVItemVexil& /*other*/) const {
  return typeid(*this) == typeid(KRAVTWVItemVexil);
}

bool KRAVTWVItemVexil::isEqual(const platform::Object& other) const {
  const auto* item = dynamic_cast<const KRAVTWVItemVexil*>(&other);
  return item != nullptr && vexil::detail::ItemComparison::areEqual(*this, *item);
}

bool KRAVTWVItemVexil::isEqual(const Value& other) const {
  return other.isObject() && isEqual(*other.object());
}

bool KRAVTWVItemVexil::isEqualToItem(const KRAVTWVItemVexil& item) const {
  return vexil::detail::ItemComparison::haveEqualContent(*this, item);
}

std::size_t KRAVTWVItemVexil::hash() const {
  // Equal trees have equal objects and equal numbers of children in the same order of a walk. All
  // are held, because objects may take the tree apart when they are asked.
  const Value ownObject = _stored._representedObject;
  std::size_t hashOfChildren = 0;
  KRAVTWVItemArray pending;
  const auto visitChildrenOf = [&](const KRAVTWVItemVexil& item) {
    const KRAVTWVItemArray& children = ItemFields::currentChildren(item);
    hashOfChildren = hashOfChildren * 31 + children.size();
    pending.insert(pending.end(), children.begin(), children.end());
  };
  visitChildrenOf(*this);
  while (!pending.empty()) {
    const std::shared_ptr<KRAVTWVItemVexil> item = std::move(pending.back());
    pending.pop_back();
    const Value object = ItemFields::representedObject(*item);
    hashOfChildren = hashOfChildren * 31 + object.hash();
    visitChildrenOf(*item);
  }
  return 31 * ownObject.hash() + hashOfChildren + 961;
}

std::string KRAVTWVItemVexil::description() const {
  const auto self = weak_from_this().lock();  // a kind may let go of it when it is asked
  return defaultDescription() + " { " + uniqueID().displayText() + ", " + label().displayText() +
         " }";
}
