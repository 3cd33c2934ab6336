// SPDX-License-Identifier: Apache-2.0
// Internal to items: what compound operations read and set without going through the properties,
// which are atomic and announced. They belong to one thread at a time, so nobody changes a field
// meanwhile.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <memory>
#include <typeinfo>

namespace vexil::detail {

struct ItemFields {
  using Item = KRAVTWVItemVexil;

  static const platform::Value& representedObject(const Item& item) {
    return item._representedObject;
  }
  /// As `setRepresentedObject` does when nobody observes the item; `object` is the old one then.
  static void exchangeRepresentedObject(Item& item, platform::Value& object) {
    item.exchange(item._representedObject, object);
    item._equalRecord = {};
  }
  /// Those that there are now; a reference that holds until foreign code runs.
  static const KRAVTWVItemArray& currentChildren(const Item& item) {
    return item.currentChildren();
  }
  /// Null where there are none, or no array of them.
  static std::shared_ptr<KRAVTWVItemArray> children(const Item& item) {
    return item._rare ? item._rare->_children : nullptr;
  }
  static bool hasChildrenArray(const Item& item) {
    return item._childrenState != Item::Children::absent;
  }

  /// Whether an item is of one of the library's own classes, which run no foreign code when they
  /// are asked for their identifier or their kind.
  static bool isOwnKind(const Item& item) {
    const std::type_info& type = typeid(item);
    return type == typeid(Item) || type == typeid(KRAVTWVEventVexil) ||
           type == typeid(KRAVTWVOnDemandVexil) || type == typeid(KRAVTWVDomainVexil) ||
           type == typeid(KRAVTWVGroupVexil) || type == typeid(KRAVTWVQueuedTriggerVexil) ||
           type == typeid(KRAVTWVActiveEventVexil) || type == typeid(KRAVTWVNetDomainVexil) ||
           type == typeid(KRAVTWVNetServiceVexil);
  }

  /// Whether an item is an event of no other class, without children: then identifier, equality and
  /// all else follow from the record alone.
  static bool isPlainEvent(const Item& item) {
    return typeid(item) == typeid(KRAVTWVEventVexil) && hasChildrenArray(item) &&
           (item._childrenState == Item::Children::unmade || item._rare->_children->empty());
  }

  /// The record that the represented object is known to equal.
  static RecordAddress equalRecord(const Item& item) { return item._equalRecord; }
  static void setEqualRecord(Item& item, RecordAddress record) { item._equalRecord = record; }

  /// Begins to fetch an item, or what a record in it holds, for a loop that comes to it later.
  static void prefetch(const Item* item) {
    __builtin_prefetch(item);
    __builtin_prefetch(reinterpret_cast<const char*>(item) + sizeof(Item) - 1);
  }
  static void prefetchRecord(const Item* item, std::size_t lines = 3) {
    if (item != nullptr) {
      item->_representedObject.prefetch(lines);
    }
  }
};

}  // namespace vexil::detail
