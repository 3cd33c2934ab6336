// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/ListChanges.h>

#include <memory>

namespace vexil::platform {

/// `addObserver` of many objects, one after the other. An object costs next to nothing when it has
/// the same registrations as the one before it.
///
///     ManyRegistrations registrations(observer, key, options, context);
///     for (const auto& node : nodes) {
///       registrations.addTo(*node);
///     }
///
/// Between two calls, the objects may be used in any way and may go. Several of these may be used
/// with the same objects in turn.
class ManyRegistrations : detail::ListChanges {
 public:
  /// Holds the observer as long as it exists itself.
  ManyRegistrations(const std::shared_ptr<Observer>& observer, const Key& key,
                    ObservingOptions options, const ContextToken* context)
      : _observer(observer), _key(key), _options(options), _context(context) {}

  /// Throws what `addObserver` throws.
  void addTo(Observable& object) {
    if (!repeat(object)) {
      addAndLearn(object);
    }
  }
  /// The same for each object with which `walk` calls its argument, in less time. If it throws, it
  /// has changed the objects up to there.
  template <class Walk>
  void addToAll(const Walk& walk) {
    repeatForAll(walk, [this](Observable& object) { addAndLearn(object); });
  }

 private:
  void addAndLearn(Observable& object) {
    learn(object, [&] { object.addObserver(_observer, _key, _options, _context); });
  }

  std::shared_ptr<Observer> _observer;
  Key _key;
  ObservingOptions _options;
  const ContextToken* _context;
};

/// `removeObserver` of many objects, one after the other; see `ManyRegistrations`.
class ManyWithdrawals : detail::ListChanges {
 public:
  /// Holds the observer as long as it exists itself.
  ManyWithdrawals(const std::shared_ptr<Observer>& observer, const Key& key,
                  const ContextToken* context)
      : _observer(observer), _key(key), _context(context) {}

  /// Throws what `removeObserver` throws.
  void removeFrom(Observable& object) {
    if (!repeat(object)) {
      removeAndLearn(object);
    }
  }
  /// The same for each object with which `walk` calls its argument, in less time. If it throws, it
  /// has changed the objects up to there.
  template <class Walk>
  void removeFromAll(const Walk& walk) {
    repeatForAll(walk, [this](Observable& object) { removeAndLearn(object); });
  }

 private:
  void removeAndLearn(Observable& object) {
    learn(object, [&] { object.removeObserver(_observer, _key, _context); });
  }

  std::shared_ptr<Observer> _observer;
  Key _key;
  const ContextToken* _context;
};

}  // namespace vexil::platform
