// SPDX-License-Identifier: Apache-2.0
// Internal to registering on many objects.
#pragma once

#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/ObserverListPointer.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace vexil::platform::detail {

/// Remembers which list of observers an object got in place of which other list, and gives the same
/// new list to further objects that have the same old one.
///
/// It takes references to the new list in advance, many at once, and gives references to the old
/// list back later. So a list never counts fewer references than are in use, whatever else happens
/// to the objects meanwhile.
class ListChanges {
 public:
  ListChanges(const ListChanges&) = delete;
  ListChanges& operator=(const ListChanges&) = delete;

 protected:
  ListChanges() = default;
  ~ListChanges() { settle(_last); }

  /// Returns false when the object has another list, or a change in progress, or when the
  /// references are used up. The caller then calls `learn`.
  [[nodiscard]] bool repeat(Observable& object) noexcept { return repeat(object, _last); }

  /// Changes all objects with which `walk` calls its argument. `addAndLearn` changes one of them by
  /// way of `learn`. Takes less time for each than single calls.
  template <class Walk, class AddAndLearn>
  void repeatForAll(const Walk& walk, const AddAndLearn& addAndLearn) {
    ListChange last = std::exchange(_last, {});  // nobody refers to it, so it stays in registers
    try {
      walk([&](Observable& object) {
        if (!repeat(object, last)) {
          _last = std::exchange(last, {});
          addAndLearn(object);
          last = std::exchange(_last, {});
        }
      });
    } catch (...) {
      settle(last);
      throw;
    }
    _last = last;
  }

  /// Calls `change`, and notes what it makes of the object's list. `change` may throw.
  template <class Change>
  void learn(Observable& object, const Change& change) {
    settle(std::exchange(_last, {}));
    _last.before = retainedListOf(object);
    change();
    _last.after = retainedListOf(object, inAdvance);
    _last.inAdvance = _last.left = inAdvance;
  }

  static void add(Observable& object, const Registration& registration) {
    object.add(registration);
  }

  /// `removeObserver`, but returns false when there is no such registration.
  static bool withdraw(Observable& object, const std::shared_ptr<Observer>& observer,
                       const Key& key, const ContextToken* context) {
    return object.withdraw(observer, key, context);
  }

 private:
  static constexpr std::uint32_t inAdvance = std::uint32_t{1} << 16;

  /// Holds one reference to each list. It also holds the references to `after` that are left, and
  /// those to `before` of the objects that have `after` now.
  struct ListChange {
    const ObserverList* before = nullptr;
    const ObserverList* after = nullptr;
    std::uint32_t inAdvance = 0;
    std::uint32_t left = 0;
  };
  [[nodiscard]] static bool repeat(Observable& object, ListChange& change) noexcept {
    if (object._observers.get() != change.before || change.left == 0 ||
        object._changesInProgress.load(std::memory_order_relaxed) != 0) {
      return false;
    }
    (void)object._observers.handOver();  // the reference to `before` is ours now
    object._observers = ObserverListPointer(change.after);
    --change.left;
    return true;
  }
  static void settle(ListChange change) noexcept {
    release(change.before, change.inAdvance - change.left + 1);
    release(change.after, change.left + 1);
  }
  static const ObserverList* retainedListOf(const Observable& object,
                                            std::uint32_t further = 0) noexcept {
    retain(object._observers.get(), further + 1);
    return object._observers.get();
  }

  ListChange _last;
};

}  // namespace vexil::platform::detail
