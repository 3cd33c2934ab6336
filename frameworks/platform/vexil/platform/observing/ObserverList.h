// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Observing.h>
#include <vexil/platform/detail/ObserverListPointer.h>
#include <vexil/platform/detail/RefCount.h>
#include <vexil/platform/detail/SpinLock.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace vexil::platform::detail {

/// Who is registered.
enum class Role : std::uint8_t {
  observer,
  watcher,            ///< a `Watcher`
  watcherOfEveryKey,  ///< a `Watcher` that wants to be told of settings of all keys
  watcherOfEnd,       ///< a `Watcher` that wants to be told when the object is destroyed
};

/// One registration, without its object.
struct Registration {
  std::weak_ptr<Observer> observer;
  const Observer* address;  // tells apart observers that share one owner
  Key key;
  ObservingOptions options;
  Role role;
  const ContextToken* context;

  /// Whether it is a registration of `other`.
  template <class Pointer>
  [[nodiscard]] bool isOf(const Pointer& other, const Observer* otherAddress) const {
    return address == otherAddress && !observer.owner_before(other) &&
           !other.owner_before(observer);
  }
  [[nodiscard]] bool isOf(const std::shared_ptr<Observer>& other, const Key& otherKey,
                          const ContextToken* otherContext) const {
    return key == otherKey && context == otherContext && isOf(other, other.get());
  }
  [[nodiscard]] bool isLike(const Registration& other) const {
    return key == other.key && options == other.options && role == other.role &&
           context == other.context && isOf(other.observer, other.address);
  }
};

/// The registrations of an object in their order, as a persistent list. A list consists of its last
/// registration and the list before it. It never changes, and all objects with the same
/// registrations share it.
///
/// Each list remembers the last list that was made by adding to it. So registering one observer on
/// many objects finds a list instead of making one.
class ObserverList {
 public:
  ObserverList(const ObserverList&) = delete;
  ObserverList& operator=(const ObserverList&) = delete;

  /// `list` (null for none) and one more registration.
  static ObserverListPointer adding(const ObserverListPointer& list,
                                    const Registration& registration);

  /// `list` without the registrations at `positions`: one or more, in ascending order.
  static ObserverListPointer removing(const ObserverListPointer& list,
                                      std::span<const std::size_t> positions);

  /// The positions of the registrations whose observers are gone, in ascending order.
  [[nodiscard]] std::vector<std::size_t> positionsOfGoneObservers() const;

  [[nodiscard]] const Registration& last() const { return _last; }
  [[nodiscard]] const ObserverListPointer& before() const { return _before; }
  [[nodiscard]] std::size_t count() const { return _count; }

  [[nodiscard]] bool hasObservers() const { return _hasObservers; }
  /// Whether a watcher wants to be told of settings of all keys.
  [[nodiscard]] bool isEveryKeyWatched() const { return _isEveryKeyWatched; }
  /// Whether a watcher wants to be told when the object is destroyed.
  [[nodiscard]] bool isEndWatched() const { return _isEndWatched; }
  /// The longest part of `list` that ends with the registration of a watcher; null when there is
  /// none.
  [[nodiscard]] static const ObserverList* upToWatcher(const ObserverList* list) {
    if (list == nullptr) {
      return nullptr;
    }
    return list->_last.role != Role::observer ? list : list->_upToWatcherBefore;
  }
  /// The next shorter part of this list that ends with the registration of a watcher, or null.
  [[nodiscard]] const ObserverList* upToWatcherBefore() const { return _upToWatcherBefore; }

  /// When a list has this many registrations, those whose observers are gone must be swept before
  /// the next one is added. The number doubles each time, so sweeping costs each registration
  /// little.
  [[nodiscard]] std::size_t sweepAt() const { return _sweepAt.load(std::memory_order_relaxed); }
  void sweepNotBefore(std::size_t count) const {
    if (count > sweepAt()) {
      _sweepAt.store(count, std::memory_order_relaxed);
    }
  }
  /// When to sweep next, if `left` registrations are left.
  [[nodiscard]] static std::size_t nextSweep(std::size_t left) {
    return std::max<std::size_t>(2 * left, 8);
  }

 private:
  friend void retain(const ObserverList* list, std::uint32_t times) noexcept;
  friend void release(const ObserverList* list, std::uint32_t times) noexcept;

  struct Successor {
    SpinLock lock;
    const ObserverList* list = nullptr;  // not owned; its destruction clears this
  };
  static Successor& successorOf(const ObserverList* list);

  ObserverList(const ObserverListPointer& before, const Registration& registration);
  ~ObserverList() = default;

  RefCount _references;
  bool _hasObservers;
  bool _isEveryKeyWatched;
  bool _isEndWatched;
  std::size_t _count;
  mutable std::atomic<std::size_t> _sweepAt;
  const ObserverList* _upToWatcherBefore;  // a part of `_before`
  mutable ObserverListPointer _before;     // `release` takes it out of a list that it destroys
  Registration _last;
  mutable Successor _successor;
};

}  // namespace vexil::platform::detail
