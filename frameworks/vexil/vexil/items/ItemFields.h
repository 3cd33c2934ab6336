// SPDX-License-Identifier: Apache-2.0
// Internal to items: what compound operations read and set directly, without the properties, which
// are atomic and announced. Compound operations belong to one thread at a time, so no other thread
// changes a field meanwhile.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/detail/Watcher.h>

#include <cstddef>
#include <memory>
#include <typeinfo>

namespace vexil::detail {

struct ItemFields {
  using Item = KRAVTWVItemVexil;

  static const platform::Key& childrenKey() {
    static const platform::Key key(KRAVTWVItemVexilKeyPathChildren);
    return key;
  }

  /// The item that a value refers to. Throws `InvalidArgument` when it refers to none.
  static std::shared_ptr<Item> itemIn(const platform::Value& value) {
    auto item = std::dynamic_pointer_cast<Item>(value.object());
    if (!item) {
      throw platform::InvalidArgument("not an item: " + value.description());
    }
    return item;
  }

  static const platform::Value& representedObject(const Item& item) {
    return item._stored._representedObject;
  }
  static const platform::Key& representedObjectKey() {
    static const platform::Key key("representedObject");
    return key;
  }
  /// As `setRepresentedObject`, for an item of which nobody would be told that. `object` is the old
  /// one afterwards.
  static bool isSettingOfRepresentedObjectSilent(const Item& item) {
    return !item.isObserved() &&
           !platform::detail::Watchers::areToldOfSetting(item, representedObjectKey());
  }
  static void exchangeRepresentedObject(Item& item, platform::Value& object) {
    item.exchange(item._stored._representedObject, object);
    item._stored.equalRecord = {};
  }

  /// The children that there are now. The reference holds until foreign code runs.
  static const KRAVTWVItemArray& currentChildren(const Item& item) {
    static const KRAVTWVItemArray none;
    const KRAVTWVItemArray* const children = item._stored.children();
    return children == nullptr ? none : *children;
  }
  /// The same, but null for an item without an array of children, which is quicker.
  static const KRAVTWVItemArray* currentChildrenOrNull(const Item& item) {
    return item._stored.children();
  }
  static bool hasNoChildren(const Item& item) {
    const KRAVTWVItemArray* const children = currentChildrenOrNull(item);
    return children == nullptr || children->empty();
  }
  /// The array of children; null when they are absent or nobody has asked for them yet.
  static std::shared_ptr<KRAVTWVItemArray> children(const Item& item) {
    return item._stored.rare ? item._stored.rare->_children : nullptr;
  }
  static bool isArrayOfChildrenHeldOnce(const Item& item) {
    return !item._stored.rare || item._stored.rare->_children.use_count() <= 1;
  }
  static bool areChildrenAbsent(const Item& item) { return item._stored.areChildrenAbsent(); }
  /// The array to add children to. Starts a new one where there is none.
  static KRAVTWVItemArray& childrenForAdding(Item& item) { return item.childrenForAdding(); }

  /// The class test of equality, for an item of another class than the receiver.
  static bool isKindOfReceiversClass(const Item& receiver, const Item& other) {
    return receiver.isKindOfReceiversClass(other);
  }

  /// Whether an item is of one of the library's own classes. These run no foreign code when they
  /// are asked for their identifier or their kind.
  static bool isOwnKind(const Item& item) {
    const std::type_info& type = typeid(item);
    return type == typeid(Item) || type == typeid(KRAVTWVEventVexil) ||
           type == typeid(KRAVTWVOnDemandVexil) || type == typeid(KRAVTWVDomainVexil) ||
           type == typeid(KRAVTWVGroupVexil) || type == typeid(KRAVTWVQueuedTriggerVexil) ||
           type == typeid(KRAVTWVActiveEventVexil) || type == typeid(KRAVTWVNetDomainVexil) ||
           type == typeid(KRAVTWVNetServiceVexil);
  }

  /// Whether an item is of the plain event class and has no children. Then everything about it
  /// follows from its record alone.
  static bool isPlainEvent(const Item& item) {
    return typeid(item) == typeid(KRAVTWVEventVexil) && !areChildrenAbsent(item) &&
           hasNoChildren(item);
  }

  /// The record that the represented object is known to equal.
  static RecordAddress equalRecord(const Item& item) { return item._stored.equalRecord; }
  static void setEqualRecord(Item& item, RecordAddress record) {
    item._stored.equalRecord = record;
  }

  /// Begins to fetch an item, or what a record in it holds, for a loop that comes to it later.
  [[gnu::always_inline]] static void prefetch(const Item* item) {
    __builtin_prefetch(item);
    __builtin_prefetch(reinterpret_cast<const char*>(item) + sizeof(Item) - 1);
  }
  [[gnu::always_inline]] static void prefetchRecord(const Item* item, std::size_t lines = 3) {
    if (item != nullptr) {
      item->_stored._representedObject.prefetch(lines);
    }
  }
};

}  // namespace vexil::detail
