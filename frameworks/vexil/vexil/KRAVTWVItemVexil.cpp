// SPDX-License-Identifier: Apache-2.0
#include <platform/Error.h>
#include <platform/ManyRegistrations.h>
#include <vexil/FreshList.h>
#include <vexil/ItemComparison.h>
#include <vexil/ItemMerge.h>
#include <vexil/ItemWalk.h>
#include <vexil/KRAVTWVItemVexil.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <typeinfo>
#include <unordered_set>
#include <utility>

constinit const std::string_view KRAVTWVItemVexilKeyPathChildren = "children";
constinit const std::string_view KRAVTWVItemVexilKeyPathLabel = "label";

using platform::ChangeKind;
using platform::IndexSet;
using platform::Key;
using platform::KeyAccess;
using platform::Value;

namespace {

const Key& childrenKey() {
  static const Key key(KRAVTWVItemVexilKeyPathChildren);
  return key;
}

/// An identifier that a path needs: anything but a string reads as absent.
std::string_view stringIdentifier(const Value& identifier, const KRAVTWVItemVexil& item) {
  if (!identifier.isString()) {
    throw platform::InvalidArgument("a path needs an identifier of " + item.description());
  }
  return identifier.string();
}

std::shared_ptr<KRAVTWVItemVexil> itemIn(const Value& value) {
  auto item = std::dynamic_pointer_cast<KRAVTWVItemVexil>(value.object());
  if (!item) {
    throw platform::InvalidArgument("not an item: " + value.description());
  }
  return item;
}

}  // namespace

KRAVTWVItemVexil::KRAVTWVItemVexil(Value representedObject)
    : _representedObject(std::move(representedObject)) {}

KRAVTWVItemVexil::~KRAVTWVItemVexil() {
  if (_rare && _rare->_children && _rare->_children.use_count() == 1) {
    for (auto& child : *_rare->_children) {
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
  static const Key key("representedObject");
  auto change = willChangeValueForKey(key);
  {
    const std::lock_guard lock(propertyLock());
    swap(_representedObject, object);
    _equalRecord = {};
  }
  didChangeValueForKey(std::move(change));
}

void KRAVTWVItemVexil::setParent(const std::shared_ptr<KRAVTWVItemVexil>& parent) {
  static const Key key("parent");
  assign(key, _parent, parent ? parent->referenceToSelf() : detail::ItemReference());
}

detail::ItemReference KRAVTWVItemVexil::referenceToSelf() {
  Rare& rare = this->rare();
  if (auto known = read(rare._self); known.refers()) {
    return known;
  }
  detail::ItemReference made(std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this()));
  const std::lock_guard lock(propertyLock());
  if (!rare._self.refers()) {
    rare._self = std::move(made);
  }
  return rare._self;
}

void KRAVTWVItemVexil::setParentValue(const Value& parent) {
  setParent(parent.isAbsent() ? nullptr : itemIn(parent));
}

std::shared_ptr<KRAVTWVItemArray> KRAVTWVItemVexil::children() const {
  {
    const std::lock_guard lock(propertyLock());
    if (_childrenState != Children::unmade) {
      return _rare ? _rare->_children : nullptr;
    }
  }
  Rare& rare = this->rare();
  auto made = std::make_shared<KRAVTWVItemArray>();  // outside the lock, as it may take its time
  const std::lock_guard lock(propertyLock());
  if (_childrenState == Children::unmade) {
    rare._children = std::move(made);
    _childrenState = Children::made;
  }
  return rare._children;
}

KRAVTWVItemVexil::Rare& KRAVTWVItemVexil::rare() const {
  {
    const std::lock_guard lock(propertyLock());
    if (_rare) {
      return *_rare;
    }
  }
  auto made = std::make_unique<Rare>();
  const std::lock_guard lock(propertyLock());
  if (!_rare) {
    _rare = std::move(made);
  }
  return *_rare;
}

Value KRAVTWVItemVexil::readRare(Value Rare::*field) const {
  const std::lock_guard lock(propertyLock());
  return _rare ? (*_rare).*field : Value();
}

void KRAVTWVItemVexil::setChildren(std::shared_ptr<KRAVTWVItemArray> children) {
  if (children && std::ranges::find(*children, nullptr) != children->end()) {
    throw platform::InvalidArgument("an array of children holds a null pointer");
  }
  auto change = willChangeValueForKey(childrenKey());
  Rare& rare = this->rare();
  {
    const std::lock_guard lock(propertyLock());
    _childrenState = children ? Children::made : Children::absent;
    rare._children.swap(children);
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
  std::ranges::transform(children.elements(), std::back_inserter(*items), itemIn);
  setChildren(std::move(items));
}

Value KRAVTWVItemVexil::childrenValue() const {
  std::shared_ptr<KRAVTWVItemArray> children;
  {
    const std::lock_guard lock(propertyLock());
    if (_childrenState == Children::absent) {
      return {};
    }
    children = _rare ? _rare->_children : nullptr;
  }
  return children ? Value::arrayOfObjects(*children) : Value::array({});
}

bool KRAVTWVItemVexil::isLeaf() const {
  const std::lock_guard lock(propertyLock());
  return _childrenState != Children::made || _rare->_children->empty();
}

const KRAVTWVItemArray& KRAVTWVItemVexil::noChildren() {
  static const KRAVTWVItemArray none;
  return none;
}

KRAVTWVItemArray& KRAVTWVItemVexil::childrenForAdding() {
  // Added to an absent array, children must not be lost; the item starts a new one.
  Rare& rare = this->rare();
  const std::lock_guard lock(propertyLock());
  if (!rare._children) {
    rare._children = std::make_shared<KRAVTWVItemArray>();
    _childrenState = Children::made;
  }
  return *rare._children;
}

// --- equality

bool KRAVTWVItemVexil::isKindOfReceiversClass(const KRAVTWVItemVexil& /*other*/) const {
  return typeid(*this) == typeid(KRAVTWVItemVexil);
}

bool KRAVTWVItemVexil::isEqual(const platform::Object& other) const {
  const auto* item = dynamic_cast<const KRAVTWVItemVexil*>(&other);
  return item != nullptr && detail::ItemComparison().equal(*this, *item);
}

bool KRAVTWVItemVexil::isEqual(const Value& other) const {
  return other.isObject() && isEqual(*other.object());
}

bool KRAVTWVItemVexil::isEqualToItem(const KRAVTWVItemVexil& item) const {
  return detail::ItemComparison().equalContent(*this, item);
}

std::size_t KRAVTWVItemVexil::hash() const {
  // Equal trees have equal objects and equal numbers of children in the same order of a walk.
  std::size_t hashOfChildren = 0;
  std::vector<const KRAVTWVItemVexil*> pending;
  const auto visitChildrenOf = [&](const KRAVTWVItemVexil& item) {
    hashOfChildren = hashOfChildren * 31 + item.currentChildren().size();
    for (const auto& child : item.currentChildren()) {
      pending.push_back(child.get());
    }
  };
  visitChildrenOf(*this);
  while (!pending.empty()) {
    const KRAVTWVItemVexil& item = *pending.back();
    pending.pop_back();
    hashOfChildren = hashOfChildren * 31 + item._representedObject.hash();
    visitChildrenOf(item);
  }
  return 31 * _representedObject.hash() + hashOfChildren + 961;
}

std::string KRAVTWVItemVexil::description() const {
  return defaultDescription() + " { " + uniqueID().displayText() + ", " + label().displayText() +
         " }";
}

// --- children

void KRAVTWVItemVexil::addChild(std::shared_ptr<KRAVTWVItemVexil> child) {
  if (!child) {
    throw platform::InvalidArgument("a null pointer cannot be added as a child");
  }
  std::erase_if(childrenForAdding(),
                [&](const auto& element) { return element == child || element->isEqual(*child); });
  child->setParent(std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this()));
  childrenForAdding().push_back(std::move(child));
}

void KRAVTWVItemVexil::addChildren(const KRAVTWVItemArray& children) {
  // Only items with equal hashes can be equal, so the others need not be compared. An item that
  // represents nothing equals itself alone.
  const auto hashOf = [](const KRAVTWVItemVexil& item) {
    return item._representedObject.isAbsent() ? std::hash<const void*>{}(&item) : item.hash();
  };
  std::unordered_set<std::size_t> hashes;
  for (const auto& child : currentChildren()) {
    hashes.insert(hashOf(*child));
  }
  // A copy, because what is added may be this item's own array.
  const KRAVTWVItemArray added(children.begin(), children.end());
  for (const auto& child : added) {
    if (!child || !hashes.insert(hashOf(*child)).second) {
      addChild(child);
      continue;
    }
    child->setParent(std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this()));
    childrenForAdding().push_back(child);
  }
}

void KRAVTWVItemVexil::removeChildrenAtIndexes(const IndexSet& indexes) {
  if (indexes.empty()) {
    return;
  }
  if (*indexes.last() >= currentChildren().size()) {
    throw platform::RangeError("there is no child " + std::to_string(*indexes.last()) +
                               " to be removed");
  }
  auto change = willChangeValuesAtIndexesForKey(ChangeKind::removal, indexes, childrenKey());
  KRAVTWVItemArray removed;  // lets go of them after the change, as that may run foreign code
  removed.reserve(indexes.count());
  KRAVTWVItemArray& children = *_rare->_children;
  auto kept = children.begin() + static_cast<std::ptrdiff_t>(*indexes.first());
  std::size_t next = *indexes.first();
  for (const IndexSet::Run& run : indexes.runs()) {
    const auto at = [&](std::size_t index) {
      return children.begin() + static_cast<std::ptrdiff_t>(index);
    };
    kept = std::move(at(next), at(run.first), kept);
    std::move(at(run.first), at(run.end()), std::back_inserter(removed));
    next = run.end();
  }
  kept = std::move(children.begin() + static_cast<std::ptrdiff_t>(next), children.end(), kept);
  children.erase(kept, children.end());
  didChangeValuesAtIndexesForKey(std::move(change));
}

/// Inserts the items of `fresh` at `indexes`, so that each stands there afterwards.
void KRAVTWVItemVexil::insertChildren(const detail::FreshList& fresh, const IndexSet& indexes) {
  const std::size_t count = currentChildren().size() + indexes.count();
  // An observer of the removal may have taken items out of either array.
  if (*indexes.last() >= fresh.size()) {
    throw platform::RangeError("the fresh items became fewer while they were merged");
  }
  if (*indexes.last() >= count) {
    throw platform::RangeError("an identifier occurs twice: a child cannot be inserted at " +
                               std::to_string(*indexes.last()));
  }
  auto change = willChangeValuesAtIndexesForKey(ChangeKind::insertion, indexes, childrenKey());
  KRAVTWVItemArray& children = childrenForAdding();
  KRAVTWVItemArray merged;
  merged.reserve(count);
  auto stayed = std::make_move_iterator(children.begin());
  for (const IndexSet::Run& run : indexes.runs()) {
    const auto stayedEnd = stayed + static_cast<std::ptrdiff_t>(run.first - merged.size());
    merged.insert(merged.end(), stayed, stayedEnd);
    stayed = stayedEnd;
    for (std::size_t index = run.first; index < run.end(); ++index) {
      merged.push_back(fresh.item(index));
    }
  }
  merged.insert(merged.end(), stayed, std::make_move_iterator(children.end()));
  children.swap(merged);
  didChangeValuesAtIndexesForKey(std::move(change));
}

void KRAVTWVItemVexil::replaceChildren(const std::shared_ptr<const KRAVTWVItemArray>& fresh) {
  // One holds the array, the caller; were it more, it could be some item's own.
  const bool isPrivate = fresh.use_count() <= 1;
  detail::ItemMerge().run(*this, fresh, isPrivate);
}

std::shared_ptr<KRAVTWVItemVexil> KRAVTWVItemVexil::childAtIndex(std::size_t index) const {
  if (index >= currentChildren().size()) {
    throw platform::RangeError("there is no child " + std::to_string(index));
  }
  return currentChildren()[index];
}

Value KRAVTWVItemVexil::valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const {
  if (key != childrenKey()) {
    return Observable::valuesAtIndexesForKey(indexes, key);
  }
  const KRAVTWVItemArray& children = currentChildren();
  if (!indexes.empty() && *indexes.last() >= children.size()) {
    throw platform::RangeError("there is no child " + std::to_string(*indexes.last()));
  }
  platform::ArrayMaker items(indexes.count());
  std::size_t next = 0;
  indexes.forEach([&](std::size_t index) { items.set(next++, Value(children[index])); });
  return items.take();
}

bool KRAVTWVItemVexil::areValuesAtIndexesForKey(const Value& values, const IndexSet& indexes,
                                                const Key& key) const {
  const KRAVTWVItemArray& children = currentChildren();
  if (key != childrenKey() || values.elements().size() != indexes.count() ||
      (!indexes.empty() && *indexes.last() >= children.size())) {
    return false;
  }
  auto value = values.elements().begin();
  return std::ranges::all_of(indexes.runs(), [&](const IndexSet::Run& run) {
    const auto first = children.begin() + static_cast<std::ptrdiff_t>(run.first);
    return std::all_of(first, first + static_cast<std::ptrdiff_t>(run.count),
                       [&](const auto& child) { return (value++)->object() == child; });
  });
}

KRAVTWVItemArray KRAVTWVItemVexil::recursiveChildren() const {
  KRAVTWVItemArray items;
  items.reserve(currentChildren().size());
  detail::ItemWalk::throughDescendantsOf(*this, [&](const auto& item) { items.push_back(item); });
  return items;
}

// --- the whole subtree

void KRAVTWVItemVexil::addObserverForRecursiveChildrenWithOptionContext(
    const std::shared_ptr<platform::Observer>& observer, platform::ObservingOptions options,
    const platform::ContextToken* context) {
  platform::ManyRegistrations registrations(observer, childrenKey(), options, context);
  detail::ItemWalk::throughTree(*this, [&](KRAVTWVItemVexil& item) { registrations.addTo(item); });
}

void KRAVTWVItemVexil::removeObserverForRecursiveChildrenWithContext(
    const std::shared_ptr<platform::Observer>& observer, const platform::ContextToken* context) {
  platform::ManyWithdrawals withdrawals(observer, childrenKey(), context);
  detail::ItemWalk::throughTree(*this,
                                [&](KRAVTWVItemVexil& item) { withdrawals.removeFrom(item); });
}

// --- paths

std::string KRAVTWVItemVexil::path() const {
  std::vector<std::string> identifiers{std::string(stringIdentifier(uniqueID(), *this))};
  for (auto item = parent(); item; item = item->parent()) {
    identifiers.emplace_back(stringIdentifier(item->uniqueID(), *item));
  }
  std::string path;
  for (auto identifier = identifiers.rbegin(); identifier != identifiers.rend(); ++identifier) {
    path += "/" + *identifier;
  }
  return path;
}

std::shared_ptr<KRAVTWVItemVexil> KRAVTWVItemVexil::itemWithPath(std::string_view path) const {
  // The items still to be asked for what is left of the path, the next one last.
  std::vector<std::pair<const KRAVTWVItemVexil*, std::string_view>> pending{{this, path}};
  while (!pending.empty()) {
    const auto [item, remainder] = pending.back();
    pending.pop_back();
    const Value identifier = item->uniqueID();
    const std::string prefix = "/" + std::string(stringIdentifier(identifier, *item));
    if (!remainder.starts_with(prefix)) {
      continue;
    }
    const std::string_view rest = remainder.substr(prefix.size());
    if (rest.empty()) {
      return std::static_pointer_cast<KRAVTWVItemVexil>(
          std::const_pointer_cast<Observable>(item->shared_from_this()));
    }
    const KRAVTWVItemArray& children = item->currentChildren();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      pending.emplace_back(child->get(), rest);
    }
  }
  return nullptr;
}

std::optional<platform::FileURL> KRAVTWVItemVexil::URLForUniqueTemporaryDirectory() const try {
  constexpr int attempts = 5;
  const platform::FileURL temporaryDirectory = platform::temporaryDirectory();
  for (int attempt = 0; attempt < attempts; ++attempt) {
    std::optional<std::string> name = platform::randomUUID();
    if (!name) {
      name = std::to_string(::random());
      *name += "-" + std::to_string(::random());
      *name += "-" + std::to_string(::random());
    }
    platform::FileURL directory = temporaryDirectory.appendingDirectory(*name);
    if (platform::createDirectory(directory)) {
      return directory;
    }
  }
  return std::nullopt;
} catch (const std::filesystem::filesystem_error&) {
  // A relative temporary directory has no place when the current directory is gone.
  return std::nullopt;
}
