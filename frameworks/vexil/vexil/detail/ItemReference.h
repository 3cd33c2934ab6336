// SPDX-License-Identifier: Apache-2.0
// Internal to items.
#pragma once

#include <vexil/platform/detail/RefCount.h>

#include <memory>
#include <utility>

class KRAVTWVItemVexil;

namespace vexil::detail {

/// A weak pointer to an item in the space of one pointer, as every item has one to its parent: all
/// that are copies of one share what they refer by. As with any pointer, one that threads read and
/// assign needs a lock.
class ItemReference {
 public:
  /// To nothing.
  ItemReference() noexcept = default;
  explicit ItemReference(std::weak_ptr<KRAVTWVItemVexil> item)
      : _shared(new Shared{{}, std::move(item)}) {}
  ItemReference(const ItemReference& other) noexcept : _shared(other._shared) {
    if (_shared != nullptr) {
      _shared->references.retain();
    }
  }
  ItemReference(ItemReference&& other) noexcept : _shared(std::exchange(other._shared, nullptr)) {}
  ItemReference& operator=(ItemReference other) noexcept {
    std::swap(_shared, other._shared);
    return *this;
  }
  ~ItemReference() {
    if (_shared != nullptr && _shared->references.release()) {
      delete _shared;
    }
  }

  [[nodiscard]] bool refers() const noexcept { return _shared != nullptr; }

  /// A null pointer once the item is gone.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> lock() const noexcept {
    return _shared == nullptr ? nullptr : _shared->item.lock();
  }

 private:
  struct Shared {
    platform::detail::RefCount references;
    std::weak_ptr<KRAVTWVItemVexil> item;
  };
  const Shared* _shared = nullptr;
};

}  // namespace vexil::detail
