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

namespace vexil::platform {

namespace detail {
class ListChanges;
class ChangeInProgress;
}  // namespace detail

/// A change that was announced as about to happen, to be closed by the did-change operation.
/// Dropping it instead, as an exception does on its way out, drops the announcement: nobody hears.
class [[nodiscard]] PendingChange {
 public:
  PendingChange() noexcept;
  PendingChange(PendingChange&&) noexcept;
  PendingChange& operator=(PendingChange&&) noexcept;
  ~PendingChange();

 private:
  friend class Observable;
  explicit PendingChange(std::unique_ptr<detail::ChangeInProgress> change) noexcept;
  std::unique_ptr<detail::ChangeInProgress> _change;  // null when nobody is concerned
};

/// An object whose properties are read, set and observed by key.
///
/// Observation. A registration is (observer, key, options, context). Registering twice gives two
/// registrations. Notices of one change are delivered synchronously, after the did-change, in the
/// order of registration. During delivery anything may happen:
/// - whoever was withdrawn in the meantime hears nothing more of this change;
/// - whoever was registered between the will-change and the end of delivery hears of the next
///   change only;
/// - changes made by an observer are delivered at once, nested in this one;
/// - an exception out of an observer passes through to whoever made the change. Observers behind it
///   are not told of this change; the registrations stay as they are.
/// Neither side keeps the other alive. A registration of an observer that is gone is skipped, and
/// swept after the next delivery that would have reached it; or before another registration, when
/// it is the latest or when so many have been made since the last time that looking at all of them
/// costs each little. An object that goes takes its registrations with it. One that is still being
/// made, or is already going, may announce changes, and nobody hears of them.
///
/// A key can depend on others (`keyPathsForValuesAffectingValueForKey`). When one of those changes
/// in whatever way, the observers of the dependent key are told of a setting, with its old and new
/// value.
///
/// Old values are taken at will-change and new ones at did-change, before the first notice, and
/// only when some registration asks for them. The value of the changing key itself is the last that
/// is read before the change and the first after it, so that no getter of a dependent key comes in
/// between. An object that nobody observes pays one test of a pointer.
///
/// Getters may do what observers may. What a getter throws at will-change leaves that operation:
/// nothing is announced then. What one throws at did-change passes through to whoever made the
/// change after the last notice, unless an observer throws before. It keeps only those from hearing
/// who asked for the new value of a dependent key that could not be read: the change itself is
/// done, and is always told, with an absent value where its own could not be read. A change that a
/// getter makes at did-change is nested in this one, so it is delivered first.
///
/// Threads: single properties are atomic. Registering, withdrawing and every change of an observed
/// object belong to one thread at a time. A change may end on another thread than it began on, when
/// the object belongs to that one by then.
///
/// Cost: objects observed by the same observers under the same keys share one list of them, so
/// registering an observer on every node of a tree allocates once, not once a node. Registering is
/// constant; withdrawing the latest registration of an object too, an earlier one is linear in
/// those made after it. `ManyRegistrations` registers on many objects with less work for each.
class Observable : public Object, public std::enable_shared_from_this<Observable> {
 public:
  ~Observable() override;

  /// Registers `observer` for changes of `key`, which need not be a key of this object: nothing is
  /// ever heard of one that is not. Throws `InvalidArgument` when the observer is absent.
  void addObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                   ObservingOptions options, const ContextToken* context);

  /// Withdraws the latest registration of this observer under this key and context. Throws
  /// `InvalidArgument` when there is none.
  void removeObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                      const ContextToken* context);

  /// Whether there is any registration, be it of an observer that is gone.
  [[nodiscard]] bool isObserved() const noexcept { return _observers.get() != nullptr; }

  /// The value under a key. Raises `UndefinedKey` when the object has none to read.
  [[nodiscard]] Value valueForKey(const Key& key) const;

  /// Sets the value under a key through its setter, with whatever that announces. Raises
  /// `UndefinedKey` when the object has none to set, `InvalidArgument` when the setter cannot take
  /// a value of this type.
  void setValueForKey(const Value& value, const Key& key);

  /// The keys on which `key` depends directly; a class operation, so the answer must depend on the
  /// receiver's class alone. It is asked once per class, key and thread, and again after very many
  /// others. None, unless a class says so.
  [[nodiscard]] virtual std::set<std::string> keyPathsForValuesAffectingValueForKey(
      const Key& key) const;

  /// Announces that the value under `key` is about to be set; hand the result to
  /// `didChangeValueForKey` of the same object afterwards, which raises `InvalidArgument` in any
  /// other. Setters of this library do this by themselves, also when the new value equals the old
  /// one.
  PendingChange willChangeValueForKey(const Key& key);
  void didChangeValueForKey(PendingChange change) { finish(std::move(change)); }

  /// The same for an insertion, removal or replacement at positions of the array under `key`.
  /// Raises `RangeError` when somebody asks for the old elements and there are none at the indexes.
  PendingChange willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                const Key& key);
  void didChangeValuesAtIndexesForKey(PendingChange change) { finish(std::move(change)); }

 protected:
  Observable() = default;

  /// The keys of the receiver's class.
  [[nodiscard]] virtual const KeyTable& keyTable() const = 0;

  /// The elements at `indexes` of the array under `key`, as an array. A class with large arrays
  /// overrides this, since the default reads the whole array first. Raises `RangeError`.
  [[nodiscard]] virtual Value valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const;

  /// An optimisation that saves making an array. Returns true only when `oldValues` holds the very
  /// elements that `valuesAtIndexesForKey` would return now; the new array is then `oldValues`.
  /// Often that is so: a replacement may leave the same objects in place, with other content.
  /// Called at the did-change of a replacement, when both old and new elements are asked for. The
  /// default returns false, which is always right.
  [[nodiscard]] virtual bool canReuseOldValuesAtIndexesForKey(const Value& oldValues,
                                                              const IndexSet& indexes,
                                                              const Key& key) const;

  /// Reads or sets one stored property, atomically with respect to each other on any threads. A set
  /// is announced under `key`.
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
  /// Sets without an announcement; `value` holds the old content afterwards, so that it is released
  /// after the lock is.
  template <class T>
  void exchange(T& field, T& value) {
    using std::swap;
    const std::lock_guard lock(propertyLock());
    swap(field, value);
  }
  /// The lock of this object's stored properties, for a property that is more than one field. Held
  /// for a few instructions; nothing foreign runs under it.
  [[nodiscard]] detail::SpinLock& propertyLock() const noexcept { return _propertyLock; }

 private:
  friend class detail::ListChanges;
  friend class detail::ChangeInProgress;
  [[nodiscard]] bool mayConcernAnyone(const Key& key) const;
  PendingChange begin(const Key& key, ChangeRecord&& record);
  void finish(PendingChange change);
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
