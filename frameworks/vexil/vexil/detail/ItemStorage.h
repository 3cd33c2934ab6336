// SPDX-License-Identifier: Apache-2.0
// Internal to items: what an item stores.
#pragma once

#include <vexil/detail/ItemReference.h>
#include <vexil/detail/RecordAddress.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <utility>
#include <vector>

class KRAVTWVItemVexil;

namespace vexil::detail {

/// All stored properties of an item except `_enabled`, which subclasses may set.
///
/// There can be millions of items, so this is small. Most items are leaves and read their
/// identifier and label from a record. What they do not need lies in `rare`, which is made when it
/// is first needed. `rare` is the first member because a walk through a tree reads nothing else of
/// a leaf, and there it lies in the same cache line as the beginning of the item. The represented
/// object follows, because comparing items reads it. Fields that are stored properties are called
/// like the property, after an underscore.
struct ItemStorage {
  using Children = std::vector<std::shared_ptr<KRAVTWVItemVexil>>;

  struct Rare {
    platform::Value _uniqueID;
    platform::Value _label;
    std::shared_ptr<Children> _children;  // made when it is first needed
    ItemReference self;                   // copied by the children, to refer to this item
    bool areChildrenAbsent = false;       // if false, a null `_children` means an empty array
  };

  explicit ItemStorage(platform::Value representedObject)
      : _representedObject(std::move(representedObject)) {}

  /// Returns null when no array of children has been made.
  [[nodiscard]] Children* children() const { return rare ? rare->_children.get() : nullptr; }
  [[nodiscard]] bool areChildrenAbsent() const { return rare && rare->areChildrenAbsent; }
  /// Stores other children; `children` are the old ones afterwards. There must be a `rare`.
  void exchangeChildren(std::shared_ptr<Children>& children) {
    rare->areChildrenAbsent = children == nullptr;
    rare->_children.swap(children);
  }

  mutable std::unique_ptr<Rare> rare;  // stays once it is made
  platform::Value _representedObject;
  ItemReference _parent;
  RecordAddress equalRecord;  // a record that equals the represented object
};

static_assert(sizeof(void*) != 8 || sizeof(ItemStorage) == 48,
              "each byte more costs memory in every item");

}  // namespace vexil::detail
