// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Operation.h>
#include <vexil/platform/detail/Watcher.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/DependentKeys.h>
#include <vexil/platform/observing/ObserverList.h>

#include <utility>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::KeyRelation;
using detail::ObserverList;
using detail::WatchedChange;
using detail::Watchers;

PendingChange::PendingChange() noexcept = default;
PendingChange::PendingChange(PendingChange&& other) noexcept {
  if (other.concernsAnyone()) {  // mostly it does not
    _announced.swap(other._announced);
  }
}
PendingChange& PendingChange::operator=(PendingChange&& other) noexcept {
  PendingChange taken(std::move(other));
  _announced.swap(taken._announced);
  return *this;
}
PendingChange::~PendingChange() = default;

PendingChange Observable::willChangeValueForKey(const Key& key) {
  return _observers ? begin(key, ChangeKind::setting, nullptr) : PendingChange();
}

PendingChange Observable::willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                          const Key& key) {
  return _observers ? begin(key, kind, &indexes) : PendingChange();
}

bool Observable::mayConcernObservers(const Key& key) const {
  if (!isObserved()) {
    return false;
  }
  for (const ObserverList* list = _observers.get(); list != nullptr; list = list->before().get()) {
    if (list->last().role == detail::Role::observer &&
        detail::cachedKeyRelation(*this, list->last().key, key) != KeyRelation::unrelated) {
      return true;
    }
  }
  return false;
}

/// `indexes` may be null.
PendingChange Observable::begin(const Key& key, ChangeKind kind, const IndexSet* indexes) {
  PendingChange pending;
  const bool mayConcernObservers = this->mayConcernObservers(key);
  if (!mayConcernObservers && !Watchers::watch(*this, key)) {
    if (kind == ChangeKind::setting && Watchers::watchEveryKey(*this)) {
      pending._announced = key;
    }
    return pending;
  }
  std::shared_ptr<Observable> self = weak_from_this().lock();
  if (!self) {
    return pending;  // still being made, or already going
  }
  ChangeRecord record{kind, {}, {}, {}};
  if (indexes != nullptr) {
    record.indexes = *indexes;
  }
  if (!mayConcernObservers) {
    pending._announced = std::make_unique<WatchedChange>(std::move(self), key, std::move(record));
    return pending;
  }
  // From here on, foreign code may let go of the object and of the caller's key. The change holds
  // both until did-change, also when no registration turns out to be concerned.
  auto change = std::make_unique<ChangeInProgress>(std::move(self), key, std::move(record));
  change->collectConcerned();
  change->readOldValues();
  change->tellWillChange();
  pending._announced = std::move(change);
  return pending;
}

void Observable::finish(PendingChange pending) {
  if (!pending.concernsAnyone()) {
    return;
  }
  const detail::Operation operation;
  if (const auto* change = std::get_if<std::unique_ptr<ChangeInProgress>>(&pending._announced)) {
    finishObserved(**change);
  } else if (const auto* setKey = std::get_if<Key>(&pending._announced)) {
    Watchers::didSet(*this, *setKey);
  } else {
    WatchedChange& watched = *std::get<std::unique_ptr<WatchedChange>>(pending._announced);
    if (watched.object() == this) {  // otherwise it is dropped
      watched.tellDidChange();
    }
  }
}

void Observable::finishObserved(ChangeInProgress& change) {
  if (change.object() != this) {
    throw InvalidArgument("a change was announced by another object than it is ended by");
  }
  change.tellDidChange();
  change.collectWantingNewValues();
  const std::exception_ptr thrown = change.readNewValues();
  change.deliver();
  if (thrown) {
    std::rethrow_exception(thrown);
  }
}

}  // namespace vexil::platform
