// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: fresh items as they are.
#pragma once

#include <vexil/items/ItemComparison.h>
#include <vexil/items/ItemFields.h>
#include <vexil/kinds/Item.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace vexil::detail {

/// A fresh list of items that a host, or a collection, has made. The host may hold the array and
/// the items, and change both whenever its code runs.
class FreshItems {
 public:
  /// A null pointer is an empty list. `ownership` is `parentAlone` when nobody but the caller holds
  /// the array.
  explicit FreshItems(std::shared_ptr<const KRAVTWVItemArray> items = nullptr,
                      Ownership ownership = Ownership::shared)
      : _items(std::move(items)), _ownership(ownership) {
    if (!_items) {
      _items = noItems();
    }
  }

  [[nodiscard]] std::size_t size() const { return _items->size(); }
  [[nodiscard]] const KRAVTWVItemArray& items() const { return *_items; }
  [[nodiscard]] const std::shared_ptr<KRAVTWVItemVexil>& item(std::size_t index) const {
    return (*_items)[index];
  }
  [[nodiscard]] Ownership ownership() const { return _ownership; }

  /// The identifiers, also absent ones. Throws `InvalidArgument` for a null pointer.
  [[nodiscard]] std::vector<platform::Value> identifiers() const;

 private:
  static const std::shared_ptr<const KRAVTWVItemArray>& noItems();

  std::shared_ptr<const KRAVTWVItemArray> _items;
  Ownership _ownership;
};

/// The identifiers of items, also absent ones. An item may change the array when it is asked.
/// Throws `InvalidArgument` for a null pointer.
[[nodiscard]] std::vector<platform::Value> identifiersOf(
    const std::shared_ptr<const KRAVTWVItemArray>& items);

}  // namespace vexil::detail
