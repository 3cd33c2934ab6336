// SPDX-License-Identifier: Apache-2.0
// Internal to layers that follow whole trees.
#pragma once

#include <vexil/platform/Observing.h>
#include <vexil/platform/detail/ListChanges.h>

#include <memory>

namespace vexil::platform::detail {

/// Hears of changes of objects as an observer does, but only takes notes.
///
/// A watcher must run no foreign code when it is told: no getter, no callback, no destructor of an
/// object. It must not throw, and must change nothing that can be observed. So an operation that
/// tells only watchers knows that nothing else has changed, and keeps all of its short ways: for
/// `Observable::isObserved`, watchers do not count.
///
/// A watcher is told before any observer, in this order:
/// - `willChange` when a change of the watched key begins, after all getters have run;
/// - `didChange` when it has been made, before new values are read; or `didDrop` when the change is
///   dropped without a did-change, as by an exception. Who is registered in between gets the end
///   without the beginning. It may also get nothing, when nobody was concerned at the beginning. So
///   what is registered while an operation is in progress looks again when that is over.
/// - `didSet` when a setting of any other key has been made. Only watchers registered with
///   `Watching::everyKey` are told that.
/// - `didEnd` when the object is being destroyed. Only watchers registered with `Watching::end` are
///   told that, and nothing else. References to the object are expired then.
///
/// A watcher that is registered on an object many times is told once of each change. Watchers of
/// one object are told in no particular order. Keys that depend on the changing key are not told.
///
/// A watched object belongs to one thread at a time, as an observed one does. A watcher that holds
/// items of a tree makes merges compare them anew at each level.
///
/// An operation is in progress (`Operation`) when a watcher is told of an end or of a setting. That
/// need not be so when it is told of a beginning. Then an operation will be in progress at the end.
class Watcher : public Observer {
 public:
  /// `change` has the kind and the indexes, and no values.
  virtual void willChange(const Observable& object, const ChangeRecord& change) noexcept = 0;
  virtual void didChange(const Observable& object, const ChangeRecord& change) noexcept = 0;
  virtual void didDrop(const Observable& object, const ChangeRecord& change) noexcept = 0;
  virtual void didSet(const Observable& object, const Key& key) noexcept = 0;
  /// Only the address of `object` may be used.
  virtual void didEnd(const Observable& object) noexcept { (void)object; }
};

/// What a watcher wants to be told of.
enum class Watching : unsigned char {
  oneKey,    ///< changes of the watched key
  everyKey,  ///< also settings of all other keys
  end,       ///< the end of the object; the key only serves to withdraw
};

/// Registers a watcher on many objects, one after the other; see `ManyRegistrations`.
class ManyWatches : ListChanges {
 public:
  /// Holds the watcher as long as it exists itself. Throws `InvalidArgument` when it is absent.
  ManyWatches(const std::shared_ptr<Watcher>& watcher, const Key& key, Watching watching);
  void addTo(Observable& object) {
    if (!repeat(object)) {
      addAndLearn(object);
    }
  }

 private:
  void addAndLearn(Observable& object);

  std::shared_ptr<Observer> _watcher;
  Key _key;
  Watching _watching;
};

/// Ends one registration of a watcher on each of many objects. An object without one is left as it
/// is.
class ManyUnwatches : ListChanges {
 public:
  ManyUnwatches(const std::shared_ptr<Watcher>& watcher, const Key& key);
  void removeFrom(Observable& object) {
    if (!repeat(object)) {
      removeAndLearn(object);
    }
  }

 private:
  void removeAndLearn(Observable& object);

  std::shared_ptr<Observer> _watcher;
  Key _key;
};

/// The watchers that are registered on an object.
class Watchers {
 public:
  /// Whether a setting of `key` must be announced although nobody observes the object.
  [[nodiscard]] static bool areToldOfSetting(const Observable& object, const Key& key) noexcept {
    return object._observers && (watchEveryKey(object) || watch(object, key));
  }

 private:
  friend class vexil::platform::Observable;
  friend class ChangeInProgress;
  friend class WatchedChange;

  /// Whether any of them watches `key`.
  [[nodiscard]] static bool watch(const Observable& object, const Key& key) noexcept;
  /// Whether any of them watches every key.
  [[nodiscard]] static bool watchEveryKey(const Observable& object) noexcept;

  static void willChange(const Observable& object, const Key& key,
                         const ChangeRecord& change) noexcept;
  /// Returns false when one that is gone is still registered.
  [[nodiscard]] static bool didChange(const Observable& object, const Key& key,
                                      const ChangeRecord& change) noexcept;
  static void didDrop(const Observable& object, const Key& key,
                      const ChangeRecord& change) noexcept;
  /// The object is being destroyed.
  static void didEnd(const Observable& object) noexcept;
  /// The end of a setting that nobody was told the beginning of. Sweeps those that are gone.
  static void didSet(Observable& object, const Key& key) noexcept;

  template <class Tell>
  static bool tellEach(const Observable& object, const Tell& tell) noexcept;
};

}  // namespace vexil::platform::detail
