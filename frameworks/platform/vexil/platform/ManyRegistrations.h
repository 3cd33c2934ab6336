// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Observable.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace vexil::platform {

namespace detail {

/// Remembers which list of observers an object got in place of which, and does the same to objects
/// that had the same one. References to the new list are taken in advance, many at once, and those
/// to the old one are given back later: so the lists never have fewer than are in use, whatever
/// else is done with the objects meanwhile.
class ListChanges {
 public:
  ListChanges(const ListChanges&) = delete;
  ListChanges& operator=(const ListChanges&) = delete;

 protected:
  ListChanges() = default;
  ~ListChanges() { settle(_last); }

  /// False when it has to be found out what becomes of the object's list.
  [[nodiscard]] bool repeat(Observable& object) noexcept {
    if (object._observers.get() != _last.before || _last.left == 0 ||
        object._changesInProgress.load(std::memory_order_relaxed) != 0) {
      return false;
    }
    object._observers.exchangeUncounted(_last.after);
    --_last.left;
    return true;
  }

  /// What `change` makes of the object's list is to be repeated. It may throw.
  template <class Change>
  void learn(Observable& object, const Change& change) {
    settle(std::exchange(_last, {}));
    _last.before = retainedListOf(object);
    change();
    _last.after = retainedListOf(object, inAdvance);
    _last.inAdvance = _last.left = inAdvance;
  }

  /// `removeObserver`, but false when there is no such registration.
  static bool withdraw(Observable& object, const std::shared_ptr<Observer>& observer,
                       const Key& key, const ContextToken* context) {
    return object.withdraw(observer, key, context);
  }

 private:
  static constexpr std::uint32_t inAdvance = std::uint32_t{1} << 16;

  /// Holds a reference to each list, those to `after` that are not used up, and those to `before`
  /// of the objects that have `after` now.
  struct ListChange {
    ObserverList* before = nullptr;
    ObserverList* after = nullptr;
    std::uint32_t inAdvance = 0;
    std::uint32_t left = 0;
  };
  // By value, so that a loop over objects can have all of it in registers.
  static void settle(ListChange change) noexcept {
    release(change.before, change.inAdvance - change.left + 1);
    release(change.after, change.left + 1);
  }
  static ObserverList* retainedListOf(const Observable& object,
                                      std::uint32_t further = 0) noexcept {
    retain(object._observers.get(), further + 1);
    return object._observers.get();
  }

  ListChange _last;
};

}  // namespace detail

/// `addObserver` of many objects, one after the other. Objects that are observed alike, one after
/// the other, cost next to nothing each.
///
///     ManyRegistrations registrations(observer, key, options, context);
///     for (const auto& node : nodes) {
///       registrations.addTo(*node);
///     }
///
/// The objects may be used in any way meanwhile, also with others of these, and may go.
class ManyRegistrations : detail::ListChanges {
 public:
  /// Keeps references to its arguments.
  ManyRegistrations(const std::shared_ptr<Observer>& observer, const Key& key,
                    ObservingOptions options, const ContextToken* context)
      : _observer(observer), _key(key), _options(options), _context(context) {}

  /// Throws what `addObserver` throws.
  void addTo(Observable& object) {
    if (!repeat(object)) {
      learn(object, [&] { object.addObserver(_observer, _key, _options, _context); });
    }
  }

 private:
  std::shared_ptr<Observer> _observer;
  Key _key;
  ObservingOptions _options;
  const ContextToken* _context;
};

/// `removeObserver` of many objects, likewise.
class ManyWithdrawals : detail::ListChanges {
 public:
  /// Keeps references to its arguments.
  ManyWithdrawals(const std::shared_ptr<Observer>& observer, const Key& key,
                  const ContextToken* context)
      : _observer(observer), _key(key), _context(context) {}

  /// Throws what `removeObserver` throws.
  void removeFrom(Observable& object) {
    if (!repeat(object)) {
      learn(object, [&] { object.removeObserver(_observer, _key, _context); });
    }
  }

 private:
  std::shared_ptr<Observer> _observer;
  Key _key;
  const ContextToken* _context;
};

namespace detail {

/// Internal: the same, but objects without such a registration are left as they are.
class ManyQuietWithdrawals : ListChanges {
 public:
  ManyQuietWithdrawals(const std::shared_ptr<Observer>& observer, const Key& key,
                       const ContextToken* context)
      : _observer(observer), _key(key), _context(context) {}

  void removeFrom(Observable& object) {
    if (!repeat(object)) {
      learn(object, [&] { (void)withdraw(object, _observer, _key, _context); });
    }
  }

 private:
  std::shared_ptr<Observer> _observer;
  Key _key;
  const ContextToken* _context;
};

}  // namespace detail

}  // namespace vexil::platform
