// SPDX-License-Identifier: Apache-2.0
// Internal to items.
#pragma once

#include <vexil/platform/detail/RefCount.h>

#include <memory>
#include <utility>

class KRAVTWVItemVexil;

namespace vexil::detail {

/// A weak pointer to an item that takes the space of one pointer, because every item has one to its
/// parent. Copies share one `std::weak_ptr`. As with any pointer, one that several threads read and
/// assign needs a lock.
class ItemReference {
 public:
  /// Refers to nothing.
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

  /// Returns a null pointer when the item is gone or there is none.
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
