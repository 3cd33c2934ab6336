// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <vexil/platform/Observing.h>
#include <vexil/platform/observing/ObserverList.h>

#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <vector>

namespace vexil::platform {

class Observable;

namespace detail {

/// A pending change, until the end of its delivery.
///
/// All changes in progress of an object can be found. So a withdrawal is noted in each of them,
/// on whichever thread it began and will end.
class ChangeInProgress {
 public:
  /// `object` is observed. The change concerns only registrations that it has now. `record` has the
  /// kind and the indexes.
  ChangeInProgress(std::shared_ptr<Observable> object, const Key& key, ChangeRecord&& record);
  ChangeInProgress(const ChangeInProgress&) = delete;
  ChangeInProgress& operator=(const ChangeInProgress&) = delete;
  ~ChangeInProgress();

  [[nodiscard]] const Observable* object() const { return _object.get(); }

  // The first two steps of will-change, in order. Both call foreign code, and throw what it throws.

  /// Finds out which registrations the change concerns, and which of them want old values.
  void collectConcerned();
  void readOldValues();

  /// The last step of will-change. Tells watchers.
  void tellWillChange() noexcept;

  // The four steps of did-change, in order.

  /// Tells watchers. Without this step they are told that the change is dropped.
  void tellDidChange() noexcept;
  /// Finds out which of the registrations that are left want new values.
  void collectWantingNewValues();
  /// Reads all new values that can be read. Returns the first exception, or null.
  [[nodiscard]] std::exception_ptr readNewValues() noexcept;
  /// Delivers the notices, and sweeps the object's registrations when somebody was gone. Throws
  /// what an observer throws.
  void deliver();

  /// Notes in all changes in progress of `object` that the registrations at `positions`, in
  /// ascending order, are withdrawn.
  static void noteWithdrawn(const Observable& object,
                            std::span<const std::size_t> positions) noexcept;

 private:
  /// The change of one key, for all observers of that key.
  struct KeyChange {
    Key key;
    ChangeRecord record;
    bool wantsOld = false;
    bool wantsNew = false;
    bool isUnreadable = false;  // its getter threw when the new value was to be read
  };
  /// What becomes of one registration.
  struct Notice {
    const Registration* registration;
    std::size_t keyChange;  // its index; `none` when the registration is not concerned
    bool isWithdrawn;       // since will-change
    [[nodiscard]] bool isToBeDelivered() const { return keyChange != none && !isWithdrawn; }
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  [[nodiscard]] std::size_t findOrAddKeyChange(const Key& key);
  void readOldValue(KeyChange& change) const;
  [[nodiscard]] Value newValue(const KeyChange& change) const;
  [[nodiscard]] Value currentValue(const KeyChange& change) const;
  void deliver(const Notice& notice, Observer& observer) const;
  template <class Tell>
  void withoutValues(const Tell& tell) noexcept;

  void noteWithdrawn(std::span<const std::size_t> positions) noexcept;
  [[nodiscard]] static ChangeInProgress* next(const Observable& object,
                                              const ChangeInProgress* before) noexcept;
  void link(ChangeInProgress*& list) noexcept;
  void unlink(ChangeInProgress*& list) noexcept;

  std::shared_ptr<Observable> _object;
  ObserverListPointer _list;           // keeps what the notices point to
  std::vector<Notice> _notices;        // one for each registration, in their order
  std::vector<KeyChange> _keyChanges;  // the first is that of the changing key itself
  // For each registration that the object has now, the index of its notice. Registrations that came
  // later stand behind these, so they need no entry.
  std::vector<std::size_t> _noticeIndexes;
  bool _isTold = false;                 // watchers know of the beginning and not of the end
  bool _someAreGone = false;            // of the watchers
  ChangeInProgress* _before = nullptr;  // in the list of its bucket
  ChangeInProgress* _after = nullptr;
};

/// A pending change that concerns no observer, but watchers. Tells them of the beginning when it is
/// made. Tells them that the change is dropped when it is destroyed before `tellDidChange`.
class WatchedChange {
 public:
  WatchedChange(std::shared_ptr<Observable> object, const Key& key, ChangeRecord&& record);
  WatchedChange(const WatchedChange&) = delete;
  WatchedChange& operator=(const WatchedChange&) = delete;
  ~WatchedChange();

  [[nodiscard]] const Observable* object() const { return _object.get(); }
  void tellDidChange() noexcept;

 private:
  std::shared_ptr<Observable> _object;
  Key _key;
  ChangeRecord _record;
  bool _hasEnded = false;
};

}  // namespace detail
}  // namespace vexil::platform
