// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/DependentKeys.h>
#include <vexil/platform/observing/ObserverList.h>

#include <algorithm>
#include <utility>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::KeyRelation;
using detail::ObserverList;
using detail::Registration;

PendingChange::PendingChange() noexcept = default;
PendingChange::PendingChange(PendingChange&&) noexcept = default;
PendingChange& PendingChange::operator=(PendingChange&&) noexcept = default;
PendingChange::~PendingChange() = default;
PendingChange::PendingChange(std::unique_ptr<detail::ChangeInProgress> change) noexcept
    : _change(std::move(change)) {}

PendingChange Observable::willChangeValueForKey(const Key& key) {
  return begin(ChangeKind::setting, nullptr, key);
}

PendingChange Observable::willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                          const Key& key) {
  return begin(kind, &indexes, key);
}

bool Observable::mayConcernAnyone(const Key& key) const {
  for (const ObserverList* list = _observers.get(); list != nullptr; list = list->before().get()) {
    if (detail::cachedKeyRelation(*this, list->last().key, key) != KeyRelation::unrelated) {
      return true;
    }
  }
  return false;
}

PendingChange Observable::begin(ChangeKind kind, const IndexSet* indexes, const Key& key) {
  // An object that is still being made, or is already going, is nobody's to observe.
  const std::shared_ptr<Observable> self =
      mayConcernAnyone(key) ? weak_from_this().lock() : nullptr;
  if (!self) {
    return {};
  }
  // From here on a class may be asked, and may let go of the object and of the caller's key. The
  // change holds both until did-change, also where nobody is concerned.
  const Key changing = key;
  auto change = std::make_unique<ChangeInProgress>(self, kind, indexes, changing);
  for (auto& notice : change->notices) {
    const Registration& registration = *notice.registration;
    const KeyRelation related = detail::keyRelation(*this, registration.key, changing);
    if (related == KeyRelation::unrelated ||
        (related == KeyRelation::dependent && !isReadable(registration.key))) {
      continue;
    }
    notice.keyChange = change->findOrAddKeyChange(registration.key);
    change->keyChanges[notice.keyChange].wantsOld |=
        wants(registration.options, ObservingOptions::oldValue) && !registration.observer.expired();
  }
  const auto readOldValue = [this](ChangeInProgress::KeyChange& keyChange) {
    if (keyChange.wantsOld && keyChange.record.kind != ChangeKind::insertion) {
      keyChange.record.oldValue = currentValue(keyChange.key, keyChange.record);
    }
  };
  auto& keyChanges = change->keyChanges;
  std::for_each(keyChanges.begin() + 1, keyChanges.end(), readOldValue);
  readOldValue(keyChanges.front());
  return PendingChange(std::move(change));
}

Value Observable::currentValue(const Key& key, const ChangeRecord& record) const {
  if (record.kind != ChangeKind::setting) {
    return valuesAtIndexesForKey(*record.indexes, key);
  }
  const Value value = isReadable(key) ? valueForKey(key) : Value();
  return value.isAbsent() ? Value::null() : value;
}

/// Reads what it can; the first exception, if there was one.
std::exception_ptr Observable::readNewValues(ChangeInProgress& change) const noexcept {
  for (const auto& notice : change.notices) {
    const Registration& registration = *notice.registration;
    if (notice.isToBeDelivered() && !registration.observer.expired()) {
      change.keyChanges[notice.keyChange].wantsNew |=
          wants(registration.options, ObservingOptions::newValue);
    }
  }
  std::exception_ptr thrown;
  for (auto& keyChange : change.keyChanges) {
    ChangeRecord& record = keyChange.record;
    if (!keyChange.wantsNew || record.kind == ChangeKind::removal) {
      continue;
    }
    try {
      const bool areTheOldOnes =
          record.kind == ChangeKind::replacement && keyChange.wantsOld &&
          canReuseOldValuesAtIndexesForKey(record.oldValue, *record.indexes, keyChange.key);
      record.newValue = areTheOldOnes ? record.oldValue : currentValue(keyChange.key, record);
    } catch (...) {
      thrown = thrown ? thrown : std::current_exception();
      keyChange.isUnreadable = &keyChange != &change.keyChanges.front();
    }
  }
  return thrown;
}

void Observable::finish(PendingChange pending) {
  if (!pending._change) {
    return;
  }
  ChangeInProgress& change = *pending._change;
  if (change.object.get() != this) {
    throw InvalidArgument("a change was announced by another object than it is ended by");
  }
  const std::exception_ptr thrown = readNewValues(change);
  bool someAreGone = false;
  for (const auto& notice : change.notices) {
    if (!notice.isToBeDelivered()) {
      continue;
    }
    const Registration& registration = *notice.registration;
    const std::shared_ptr<Observer> observer = registration.observer.lock();
    if (!observer) {
      someAreGone = true;
      continue;
    }
    const auto& keyChange = change.keyChanges[notice.keyChange];
    const bool withOld = wants(registration.options, ObservingOptions::oldValue);
    const bool withNew = wants(registration.options, ObservingOptions::newValue);
    if (withNew && keyChange.isUnreadable) {
      continue;
    }
    if (withOld == keyChange.wantsOld && withNew == keyChange.wantsNew) {
      observer->observeValueForKeyPathOfObjectChangeContext(registration.key, change.object,
                                                            keyChange.record, registration.context);
    } else {
      ChangeRecord record = keyChange.record;
      record.oldValue = withOld ? record.oldValue : Value();
      record.newValue = withNew ? record.newValue : Value();
      observer->observeValueForKeyPathOfObjectChangeContext(registration.key, change.object, record,
                                                            registration.context);
    }
  }
  if (someAreGone) {
    sweep();
  }
  if (thrown) {
    std::rethrow_exception(thrown);
  }
}

}  // namespace vexil::platform
