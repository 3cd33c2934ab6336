// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <platform/Observing.h>
#include <platform/RefCount.h>
#include <platform/SpinLock.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace platform::detail {

/// Who registered for what on an object.
struct Registration {
  std::weak_ptr<Observer> observer;
  const Observer* address;  // tells observers apart that one owner holds
  Key key;
  ObservingOptions options;
  const ContextToken* context;

  [[nodiscard]] bool isOf(const std::shared_ptr<Observer>& other, const Key& otherKey,
                          const ContextToken* otherContext) const {
    return address == other.get() && key == otherKey && context == otherContext &&
           !observer.owner_before(other) && !other.owner_before(observer);
  }
};

/// The registrations of an object in their order, as a persistent list: a list is its last
/// registration and the list before it, never changes, and is shared by all objects that have the
/// same one. Each list remembers the last list that was made by adding to it, so that registering
/// one observer on many objects finds what it needs instead of making it.
class ObserverList {
 public:
  ObserverList(const ObserverList&) = delete;
  ObserverList& operator=(const ObserverList&) = delete;

  /// `list` (null for none) and one more registration; the caller owns a reference to the result.
  static ObserverList* adding(ObserverList* list, const Registration& registration);

  static ObserverList* retain(ObserverList* list, std::uint32_t times = 1) noexcept {
    if (list != nullptr) {
      list->_references.retain(times);
    }
    return list;
  }
  static void release(ObserverList* list, std::uint32_t times = 1) noexcept;

  [[nodiscard]] const Registration& last() const { return _last; }
  [[nodiscard]] ObserverList* before() const { return _before; }
  [[nodiscard]] std::size_t count() const { return _count; }

  /// All registrations, first to last; they live as long as the list.
  [[nodiscard]] std::vector<const Registration*> registrations() const;

 private:
  struct Successor {
    SpinLock lock;
    ObserverList* list = nullptr;  // not owned; cleared by the list as it goes
  };
  static Successor& successorOf(ObserverList* list);

  ObserverList(ObserverList* before, const Registration& registration);
  ~ObserverList() = default;

  RefCount _references;
  std::size_t _count;
  ObserverList* _before;
  Registration _last;
  Successor _successor;
};

}  // namespace platform::detail
