// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Observable.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace platform {

namespace detail {

/// Remembers which list of observers an object got in place of which, and does the same to objects
/// that had the same one. It owes the lists the references of those objects until it goes.
class ListChanges {
 public:
  ListChanges(const ListChanges&) = delete;
  ListChanges& operator=(const ListChanges&) = delete;

 protected:
  ListChanges() = default;
  ~ListChanges() { settle(_last); }

  /// False when it has to be found out what becomes of the object's list.
  [[nodiscard]] bool repeat(Observable& object) noexcept {
    if (object._observers != _last.before || !_last.isKnown ||
        object._changesInProgress.load(std::memory_order_relaxed) != 0) {
      return false;
    }
    object._observers = _last.after;
    ++_last.repetitions;
    return true;
  }

  /// What `change` makes of the object's list is to be repeated. It may raise.
  template <class Change>
  void learn(Observable& object, const Change& change) {
    settle(std::exchange(_last, {}));
    _last.before = retainedListOf(object);
    change();
    _last.after = retainedListOf(object);
    _last.isKnown = true;
  }

 private:
  struct ListChange {
    ObserverList* before = nullptr;
    ObserverList* after = nullptr;
    std::uint32_t repetitions = 0;
    bool isKnown = false;
  };
  // By value, so that a loop over objects can have all of it in registers.
  static void settle(ListChange change) noexcept;
  static ObserverList* retainedListOf(const Observable& object) noexcept;

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
/// While it lives, no other thread may use the objects' registrations, nor any of the objects go.
class ManyRegistrations : detail::ListChanges {
 public:
  /// Keeps references to its arguments.
  ManyRegistrations(const std::shared_ptr<Observer>& observer, const Key& key,
                    ObservingOptions options, const ContextToken* context)
      : _observer(observer), _key(key), _options(options), _context(context) {}

  /// Raises what `addObserver` raises.
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

  /// Raises what `removeObserver` raises.
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

}  // namespace platform
