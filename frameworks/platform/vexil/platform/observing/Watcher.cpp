// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Operation.h>
#include <vexil/platform/detail/Watcher.h>
#include <vexil/platform/observing/ObserverList.h>

namespace vexil::platform::detail {

namespace {

constexpr ContextToken watchContext("platform.watch");

Role roleOf(Watching watching) {
  switch (watching) {
    case Watching::everyKey:
      return Role::watcherOfEveryKey;
    case Watching::end:
      return Role::watcherOfEnd;
    default:
      return Role::watcher;
  }
}

/// The registrations of one watcher on an object, taken together.
struct Interest {
  bool inKey = false;
  bool inEveryKey = false;
};

/// `list` and the shorter lists in it are those that count.
Interest interestOf(const Registration& watcher, const ObserverList* list, const Key& key) {
  Interest interest;
  for (; list != nullptr; list = list->upToWatcherBefore()) {
    const Registration& registration = list->last();
    if (registration.isOf(watcher.observer, watcher.address) &&
        registration.role != Role::watcherOfEnd) {
      interest.inKey |= registration.key == key;
      interest.inEveryKey |= registration.role == Role::watcherOfEveryKey;
    }
  }
  return interest;
}

/// Whether the watcher that `list` ends with has another registration in the rest of `whole`.
bool isRegisteredAgain(const ObserverList* list, const ObserverList* whole) {
  const Registration& watcher = list->last();
  while (whole != list) {
    if (whole->last().isOf(watcher.observer, watcher.address)) {
      return true;
    }
    whole = whole->upToWatcherBefore();
  }
  return false;
}

}  // namespace

ManyWatches::ManyWatches(const std::shared_ptr<Watcher>& watcher, const Key& key, Watching watching)
    : _watcher(watcher), _key(key), _watching(watching) {
  if (!watcher) {
    throw InvalidArgument("an absent watcher cannot be registered");
  }
}

void ManyWatches::addAndLearn(Observable& object) {
  const Role role = roleOf(_watching);
  learn(object, [&] {
    add(object, {_watcher, _watcher.get(), _key, ObservingOptions::none, role, &watchContext});
  });
}

ManyUnwatches::ManyUnwatches(const std::shared_ptr<Watcher>& watcher, const Key& key)
    : _watcher(watcher), _key(key) {}

void ManyUnwatches::removeAndLearn(Observable& object) {
  learn(object, [&] { (void)withdraw(object, _watcher, _key, &watchContext); });
}

bool Watchers::watch(const Observable& object, const Key& key) noexcept {
  const ObserverList* list = ObserverList::upToWatcher(object._observers.get());
  while (list != nullptr && (list->last().key != key || list->last().role == Role::watcherOfEnd)) {
    list = list->upToWatcherBefore();
  }
  return list != nullptr;
}

bool Watchers::watchEveryKey(const Observable& object) noexcept {
  return object._observers && object._observers->isEveryKeyWatched();
}

/// Calls `tell` with each watcher and a function that returns its interest in a key. Returns false
/// when some are gone.
template <class Tell>
bool Watchers::tellEach(const Observable& object, const Tell& tell) noexcept {
  bool areAllThere = true;
  // Held, because a watcher may withdraw when it is told.
  const ObserverListPointer held = object._observers;
  const ObserverList* const whole = ObserverList::upToWatcher(held.get());
  for (const ObserverList* list = whole; list != nullptr; list = list->upToWatcherBefore()) {
    if (isRegisteredAgain(list, whole)) {
      continue;
    }
    const Registration& registration = list->last();
    if (const std::shared_ptr<Observer> watcher = registration.observer.lock()) {
      tell(static_cast<Watcher&>(*watcher),
           [&](const Key& key) { return interestOf(registration, list, key); });
    } else {
      areAllThere = false;
    }
  }
  return areAllThere;
}

void Watchers::willChange(const Observable& object, const Key& key,
                          const ChangeRecord& change) noexcept {
  (void)tellEach(object, [&](Watcher& watcher, const auto& interestIn) {
    if (interestIn(key).inKey) {
      watcher.willChange(object, change);
    }
  });
}

bool Watchers::didChange(const Observable& object, const Key& key,
                         const ChangeRecord& change) noexcept {
  return tellEach(object, [&](Watcher& watcher, const auto& interestIn) {
    const Interest interest = interestIn(key);
    if (interest.inKey) {
      watcher.didChange(object, change);
    } else if (interest.inEveryKey && change.kind == ChangeKind::setting) {
      watcher.didSet(object, key);
    }
  });
}

void Watchers::didDrop(const Observable& object, const Key& key,
                       const ChangeRecord& change) noexcept {
  if (!watch(object, key)) {
    return;
  }
  const Operation operation;
  (void)tellEach(object, [&](Watcher& watcher, const auto& interestIn) {
    if (interestIn(key).inKey) {
      watcher.didDrop(object, change);
    }
  });
}

void Watchers::didEnd(const Observable& object) noexcept {
  if (!object._observers || !object._observers->isEndWatched()) {
    return;
  }
  const ObserverListPointer held = object._observers;  // as above
  const Operation operation;
  const ObserverList* list = ObserverList::upToWatcher(held.get());
  for (; list != nullptr; list = list->upToWatcherBefore()) {
    if (list->last().role == Role::watcherOfEnd) {
      if (const std::shared_ptr<Observer> watcher = list->last().observer.lock()) {
        static_cast<Watcher&>(*watcher).didEnd(object);
      }
    }
  }
}

void Watchers::didSet(Observable& object, const Key& key) noexcept {
  if (object.weak_from_this().expired()) {
    return;  // still being made, or already going
  }
  const bool areAllThere = didChange(object, key, {ChangeKind::setting, {}, {}, {}});
  if (!areAllThere) {
    object.sweep();
  }
}

}  // namespace vexil::platform::detail
