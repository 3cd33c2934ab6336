// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/items/ItemAddition.h>
#include <vexil/items/ItemComparison.h>
#include <vexil/items/ItemWalk.h>
#include <vexil/merge/FreshList.h>
#include <vexil/merge/ItemMerge.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/ManyRegistrations.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <typeinfo>
#include <utility>

namespace platform = vexil::platform;

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
  assign(key, _parent, parent ? parent->referenceToSelf() : vexil::detail::ItemReference());
}

vexil::detail::ItemReference KRAVTWVItemVexil::referenceToSelf() {
  Rare& rare = this->rare();
  if (auto known = read(rare._self); known.refers()) {
    return known;
  }
  vexil::detail::ItemReference made(std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this()));
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
  // are held, as objects may take the tree apart when they are asked.
  const Value ownObject = _representedObject;
  std::size_t hashOfChildren = 0;
  KRAVTWVItemArray pending;
  const auto visitChildrenOf = [&](const KRAVTWVItemVexil& item) {
    hashOfChildren = hashOfChildren * 31 + item.currentChildren().size();
    pending.insert(pending.end(), item.currentChildren().begin(), item.currentChildren().end());
  };
  visitChildrenOf(*this);
  while (!pending.empty()) {
    const std::shared_ptr<KRAVTWVItemVexil> item = std::move(pending.back());
    pending.pop_back();
    const Value object = item->_representedObject;
    hashOfChildren = hashOfChildren * 31 + object.hash();
    visitChildrenOf(*item);
  }
  return 31 * ownObject.hash() + hashOfChildren + 961;
}

std::string KRAVTWVItemVexil::description() const {
  const auto held = weak_from_this().lock();  // a kind may let go of it when it is asked
  return defaultDescription() + " { " + uniqueID().displayText() + ", " + label().displayText() +
         " }";
}

// --- children

void KRAVTWVItemVexil::addChild(std::shared_ptr<KRAVTWVItemVexil> child) {
  if (!child) {
    throw platform::InvalidArgument("a null pointer cannot be added as a child");
  }
  const auto held = std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this());
  KRAVTWVItemArray equal;
  for (std::size_t i = 0; i < currentChildren().size(); ++i) {
    const std::shared_ptr<KRAVTWVItemVexil> element = currentChildren()[i];
    if (element == child || element->isEqual(*child)) {
      equal.push_back(element);
    }
  }
  removeChildrenIn(equal);
  child->setParent(held);
  childrenForAdding().push_back(std::move(child));
}

/// Takes out what is there of some items, wherever it stands by now. The caller holds them.
void KRAVTWVItemVexil::removeChildrenIn(KRAVTWVItemArray& items) {
  if (items.empty()) {
    return;
  }
  std::ranges::sort(items);
  std::erase_if(childrenForAdding(),
                [&](const auto& child) { return std::ranges::binary_search(items, child); });
}

void KRAVTWVItemVexil::addChildren(const KRAVTWVItemArray& children) {
  const auto held = std::static_pointer_cast<KRAVTWVItemVexil>(shared_from_this());
  // Copies, because what is added may be this item's own array, and hosts' code may change both.
  const vexil::detail::ItemAddition addition{KRAVTWVItemArray(currentChildren()),
                                             KRAVTWVItemArray(children)};
  // Observers hear of the parents first: what they throw must not cost this item a child.
  for (const vexil::detail::ItemAddition::Entry& entry : addition.added()) {
    entry.item->setParent(held);
  }
  KRAVTWVItemArray equal = addition.goneOfPresent();
  KRAVTWVItemArray& all = childrenForAdding();
  all.reserve(all.size() + addition.added().size());
  removeChildrenIn(equal);
  for (const vexil::detail::ItemAddition::Entry& entry : addition.added()) {
    if (!entry.isGone) {
      all.push_back(entry.item);
    }
  }
  addition.throwFailure();
}

void KRAVTWVItemVexil::removeChildrenAtIndexes(const IndexSet& indexesToRemove) {
  if (indexesToRemove.empty()) {
    return;
  }
  // Copied when a host's code runs before they are used, as it may change its own.
  std::optional<IndexSet> copy;
  const IndexSet& indexes = isObserved() ? copy.emplace(indexesToRemove) : indexesToRemove;
  const auto checkThatTheyAreThere = [&] {
    if (*indexes.last() >= currentChildren().size()) {
      throw platform::RangeError("there is no child " + std::to_string(*indexes.last()) +
                                 " to be removed");
    }
  };
  checkThatTheyAreThere();
  auto change = willChangeValuesAtIndexesForKey(ChangeKind::removal, indexes, childrenKey());
  checkThatTheyAreThere();   // again, as getters may have changed them
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
void KRAVTWVItemVexil::insertChildren(const vexil::detail::FreshList& fresh,
                                      const IndexSet& indexes) {
  const auto checkThatTheyFit = [&] {
    // Foreign code may have taken items out of either array.
    if (*indexes.last() >= fresh.size()) {
      throw platform::RangeError("the fresh items became fewer while they were merged");
    }
    if (*indexes.last() >= currentChildren().size() + indexes.count()) {
      throw platform::RangeError("an identifier occurs twice: a child cannot be inserted at " +
                                 std::to_string(*indexes.last()));
    }
  };
  checkThatTheyFit();
  auto change = willChangeValuesAtIndexesForKey(ChangeKind::insertion, indexes, childrenKey());
  checkThatTheyFit();  // again, as getters may have changed them
  // All that can fail comes first, so that the children are never left half done.
  KRAVTWVItemArray arrived;
  arrived.reserve(indexes.count());
  indexes.forEach([&](std::size_t index) {
    arrived.push_back(fresh.item(index));
    if (!arrived.back()) {
      throw platform::InvalidArgument("an array of items holds a null pointer");
    }
  });
  KRAVTWVItemArray& children = childrenForAdding();
  if (children.empty()) {
    children.swap(arrived);
  } else {
    KRAVTWVItemArray merged;
    merged.reserve(children.size() + arrived.size());
    auto stayed = std::make_move_iterator(children.begin());
    auto next = std::make_move_iterator(arrived.begin());
    const auto take = [&merged](auto& from, std::size_t count) {
      const auto end = from + static_cast<std::ptrdiff_t>(count);
      merged.insert(merged.end(), from, end);
      from = end;
    };
    for (const IndexSet::Run& run : indexes.runs()) {
      take(stayed, run.first - merged.size());
      take(next, run.count);
    }
    merged.insert(merged.end(), stayed, std::make_move_iterator(children.end()));
    children.swap(merged);
  }
  didChangeValuesAtIndexesForKey(std::move(change));
}

void KRAVTWVItemVexil::replaceChildren(const std::shared_ptr<const KRAVTWVItemArray>& fresh) {
  // One holds the array, the caller; were it more, it could be some item's own.
  const bool isPrivate = fresh.use_count() <= 1;
  vexil::detail::ItemMerge().run(*this, fresh, isPrivate);
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
  vexil::detail::ItemWalk::throughDescendantsOf(*this,
                                                [&](const auto& item) { items.push_back(item); });
  return items;
}

// --- the whole subtree

void KRAVTWVItemVexil::addObserverForRecursiveChildrenWithOptionContext(
    const std::shared_ptr<platform::Observer>& observer, platform::ObservingOptions options,
    const platform::ContextToken* context) {
  platform::ManyRegistrations registrations(observer, childrenKey(), options, context);
  vexil::detail::ItemWalk::throughTree(*this,
                                       [&](KRAVTWVItemVexil& item) { registrations.addTo(item); });
}

void KRAVTWVItemVexil::removeObserverForRecursiveChildrenWithContext(
    const std::shared_ptr<platform::Observer>& observer, const platform::ContextToken* context) {
  platform::ManyWithdrawals withdrawals(observer, childrenKey(), context);
  vexil::detail::ItemWalk::throughTree(
      *this, [&](KRAVTWVItemVexil& item) { withdrawals.removeFrom(item); });
}

// --- paths

std::string KRAVTWVItemVexil::path() const {
  const auto held = weak_from_this().lock();  // a kind may let go of it when it is asked
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
  const auto held = std::static_pointer_cast<KRAVTWVItemVexil>(
      std::const_pointer_cast<Observable>(shared_from_this()));
  // All is held and copied, because kinds may change everything when they are asked.
  const std::string wanted(path);
  struct Pending {
    std::shared_ptr<KRAVTWVItemVexil> item;
    std::size_t start;  // of what is left of the path
  };
  std::vector<Pending> pending{{held, 0}};  // the next one last
  while (!pending.empty()) {
    const Pending next = std::move(pending.back());
    pending.pop_back();
    const Value identifier = next.item->uniqueID();
    const std::string prefix = "/" + std::string(stringIdentifier(identifier, *next.item));
    if (wanted.compare(next.start, prefix.size(), prefix) != 0) {
      continue;
    }
    const std::size_t rest = next.start + prefix.size();
    if (rest == wanted.size()) {
      return next.item;
    }
    const KRAVTWVItemArray& children = next.item->currentChildren();
    for (auto child = children.rbegin(); child != children.rend(); ++child) {
      pending.push_back({*child, rest});
    }
  }
  return nullptr;
}

std::optional<platform::FileURL> KRAVTWVItemVexil::URLForUniqueTemporaryDirectory() const {
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
}
