// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/KeyTable.h>
#include <vexil/platform/Object.h>
#include <vexil/platform/Observing.h>
#include <vexil/platform/detail/ObserverListPointer.h>
#include <vexil/platform/detail/SpinLock.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <variant>

namespace vexil::platform {

namespace detail {
class ListChanges;
class ChangeInProgress;
class WatchedChange;
class Watchers;
struct Registration;
}  // namespace detail

/// An announcement between will-change and did-change. Hand it to the did-change operation after
/// the change. When it is destroyed instead, as by an exception, nobody is notified.
class [[nodiscard]] PendingChange {
 public:
  PendingChange() noexcept;
  PendingChange(PendingChange&&) noexcept;
  PendingChange& operator=(PendingChange&&) noexcept;
  ~PendingChange();

 private:
  friend class Observable;
  [[nodiscard]] bool concernsAnyone() const noexcept { return _announced.index() != 0; }

  // What did-change needs. Nothing when nobody is concerned. A key when it is enough to know what
  // is being set.
  std::variant<std::monostate, Key, std::unique_ptr<detail::WatchedChange>,
               std::unique_ptr<detail::ChangeInProgress>>
      _announced;
};

/// An object whose properties are read, set and observed by key.
///
/// Registrations. A registration is (observer, object, key, options, context). Registering twice
/// makes two registrations. Neither side keeps the other alive. An object that is destroyed takes
/// its registrations with it. A registration whose observer is gone is skipped. It is swept after
/// the next delivery that meets it. It is also swept before another registration is made, when it
/// is the latest one, or when so many were made since the last sweep that looking at all of them
/// costs each of them little.
///
/// Delivery. The notices of one change are delivered synchronously, after the did-change, in the
/// order of registration. Anything may happen during delivery:
/// - An observer that was withdrawn in the meantime gets no more notices of this change.
/// - An observer that was registered after the will-change gets notices from the next change on.
/// - Changes that an observer makes are delivered at once, nested in this one.
/// - An exception out of an observer passes through to the code that made the change. The observers
///   behind it get no notice of this change. The registrations stay as they are.
///
/// An object that is still being constructed, or is being destroyed, may announce changes. Nobody
/// is notified of them.
///
/// Dependent keys. A key can depend on others (`keyPathsForValuesAffectingValueForKey`). When one
/// of those changes, by any kind of change, the observers of the dependent key get a notice of a
/// setting, with its old and new value.
///
/// Values. Old values are read at will-change, new values at did-change before the first notice,
/// and both only when some registration wants them. The value of the changing key itself is the
/// last that is read before the change and the first that is read after it, so that no getter of a
/// dependent key runs between them. A change of an object that nobody observes costs one test of a
/// pointer.
///
/// Getters may do what observers may do. An exception out of a getter at will-change leaves that
/// operation, and nothing is announced. An exception out of a getter at did-change passes through
/// to the code that made the change, after the last notice, unless an observer throws before. When
/// the new value of a dependent key cannot be read, the observers that want it get no notice. The
/// observers of the changing key always get theirs, as the change is done; a new value that could
/// not be read is absent. A change that a getter makes at did-change is nested in this one, so it
/// is delivered first.
///
/// Threads. Single properties are atomic. Registering, withdrawing and every change of an observed
/// object belong to one thread at a time. A change may end on another thread than it began on, when
/// the object belongs to that thread by then.
///
/// Cost. Objects that the same observers observe under the same keys share one list of them, so
/// registering an observer on every node of a tree allocates once, not once a node. Registering
/// takes constant time. Withdrawing the latest registration of an object does too; withdrawing an
/// earlier one is linear in the number made after it. `ManyRegistrations` registers on many objects
/// with less work for each.
class Observable : public Object, public std::enable_shared_from_this<Observable> {
 public:
  ~Observable() override;

  /// Registers `observer` for changes of `key`. The object need not have that key, but then no
  /// setter announces it. Throws `InvalidArgument` when the observer is absent.
  void addObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                   ObservingOptions options, const ContextToken* context);

  /// Withdraws the latest registration of `observer` under this key and context. Throws
  /// `InvalidArgument` when there is none.
  void removeObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                      const ContextToken* context);

  /// Whether any observer is registered. One that is gone counts until it is swept.
  [[nodiscard]] bool isObserved() const noexcept {
    return _observers && detail::hasObservers(*_observers.get());
  }

  /// The value under a key. Throws `UndefinedKey` when the object has no such key that can be read.
  [[nodiscard]] Value valueForKey(const Key& key) const;

  /// Sets the value under a key through its setter, which announces what it always announces.
  /// Throws `UndefinedKey` when the object has no such key that can be set, `InvalidArgument` when
  /// the setter cannot take a value of this type.
  void setValueForKey(const Value& value, const Key& key);

  /// The keys on which `key` depends directly. This is a class operation: its result must depend on
  /// the receiver's class alone. It is called once per class, key and thread, and again after very
  /// many others. The default returns none.
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const;

  /// Announces that the value under `key` is about to be set. Hand the result to
  /// `didChangeValueForKey` of the same object afterwards; that of another object throws
  /// `InvalidArgument`. Setters of this library announce by themselves, also when the new value
  /// equals the old one.
  PendingChange willChangeValueForKey(const Key& key);
  void didChangeValueForKey(PendingChange change) { finish(std::move(change)); }

  /// `willChangeValueForKey` for an insertion, removal or replacement at indexes of the array under
  /// `key`; `didChangeValuesAtIndexesForKey` belongs to it. Throws
  /// `RangeError` when a registration wants the old elements and there are none at the indexes.
  PendingChange willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                const Key& key);
  void didChangeValuesAtIndexesForKey(PendingChange change) { finish(std::move(change)); }

 protected:
  Observable() = default;

  /// The keys of the receiver's class.
  [[nodiscard]] virtual const KeyTable& keyTable() const = 0;

  /// The elements at `indexes` of the array under `key`, as an array. A class with large arrays
  /// overrides this, since the default reads the whole array first. Throws `RangeError` when the
  /// array has no element at an index.
  [[nodiscard]] virtual Value valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const;

  /// An optimisation that saves making an array. Returns true only when `oldValues` holds the very
  /// elements that `valuesAtIndexesForKey` would return now; the new array is then `oldValues`.
  /// Often that is so: a replacement may leave the same objects in place, with other content.
  /// Called at the did-change of a replacement, when both old and new elements are asked for. The
  /// default returns false, which is always right.
  [[nodiscard]] virtual bool canReuseOldValuesAtIndexesForKey(const Value& oldValues,
                                                              const IndexSet& indexes,
                                                              const Key& key) const;

  /// Read and set one stored property. Both are atomic, on any threads. `assign` announces the set
  /// under `key`.
  template <class T>
  [[nodiscard]] T read(const T& field) const {
    const std::lock_guard lock(propertyLock());
    return field;
  }
  template <class T>
  void assign(const Key& key, T& field, T value) {
    PendingChange change = willChangeValueForKey(key);
    exchange(field, value);
    didChangeValueForKey(std::move(change));
  }
  /// Sets without an announcement. Afterwards `value` holds the old content, so that it is released
  /// after the lock.
  template <class T>
  void exchange(T& field, T& value) {
    using std::swap;
    const std::lock_guard lock(propertyLock());
    swap(field, value);
  }
  /// The lock of this object's stored properties, for a property that is more than one field. Hold
  /// it for a few instructions only, and let no foreign code run meanwhile.
  [[nodiscard]] detail::SpinLock& propertyLock() const noexcept { return _propertyLock; }

 private:
  friend class detail::ListChanges;
  friend class detail::ChangeInProgress;
  friend class detail::WatchedChange;
  friend class detail::Watchers;
  void add(const detail::Registration& registration);
  [[nodiscard]] bool mayConcernObservers(const Key& key) const;
  PendingChange begin(const Key& key, ChangeKind kind, const IndexSet* indexes);
  void finish(PendingChange change);
  void finishObserved(detail::ChangeInProgress& change);
  [[nodiscard]] bool isReadable(const Key& key) const;
  bool withdraw(const std::shared_ptr<Observer>& observer, const Key& key,
                const ContextToken* context);
  void forgetRegistrations(std::span<const std::size_t> positions);
  void sweep() noexcept;

  detail::ObserverListPointer _observers;
  std::atomic<std::uint32_t> _changesInProgress{0};
  mutable detail::SpinLock _propertyLock;
};

}  // namespace vexil::platform
