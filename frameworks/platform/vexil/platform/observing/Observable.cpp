// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/DependentKeys.h>
#include <vexil/platform/observing/ObserverList.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::KeyRelation;
using detail::ObserverList;
using detail::ObserverListPointer;
using detail::Registration;

PendingChange::PendingChange() noexcept = default;
PendingChange::PendingChange(PendingChange&&) noexcept = default;
PendingChange& PendingChange::operator=(PendingChange&&) noexcept = default;
PendingChange::~PendingChange() = default;
PendingChange::PendingChange(std::unique_ptr<detail::ChangeInProgress> change) noexcept
    : _change(std::move(change)) {}

Observable::~Observable() = default;

void Observable::addObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                             ObservingOptions options, const ContextToken* context) {
  if (!observer) {
    throw InvalidArgument("an absent observer cannot be registered");
  }
  // Those who come and go under a key that never changes would otherwise pile up.
  while (_observers && _observers->last().observer.expired()) {
    forgetRegistrations(std::array{_observers->count() - 1});
  }
  if (_observers && _observers->count() >= _observers->sweepAt()) {
    sweep();
  }
  _observers = ObserverList::adding(_observers, {observer, observer.get(), key, options, context});
}

void Observable::removeObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                                const ContextToken* context) {
  if (!withdraw(observer, key, context)) {
    throw InvalidArgument("no such observer is registered for \"" + std::string(key.text()) + "\"");
  }
}

bool Observable::withdraw(const std::shared_ptr<Observer>& observer, const Key& key,
                          const ContextToken* context) {
  for (const ObserverList* list = _observers.get(); list != nullptr; list = list->before().get()) {
    if (list->last().isOf(observer, key, context)) {
      forgetRegistrations(std::array{list->count() - 1});
      return true;
    }
  }
  return false;
}

/// `positions` are in ascending order. Nothing is done when there is no memory.
void Observable::forgetRegistrations(std::span<const std::size_t> positions) {
  // Those that stay behind the first that goes, the last one first.
  std::vector<const Registration*> staying;
  const ObserverListPointer old = _observers;
  const ObserverListPointer* before = &old;
  const std::size_t left = old->count() - positions.size();
  staying.reserve(left - positions.front());
  auto going = positions.rbegin();
  for (std::size_t i = old->count(); i-- > positions.front(); before = &(*before)->before()) {
    if (going != positions.rend() && *going == i) {
      ++going;
    } else {
      staying.push_back(&(*before)->last());
    }
  }
  ObserverListPointer list = *before;
  const std::size_t sweepAt = std::min(old->sweepAt(), ObserverList::nextSweep(left));
  for (auto registration = staying.rbegin(); registration != staying.rend(); ++registration) {
    list = ObserverList::adding(list, **registration);
    list->sweepNotBefore(sweepAt);
  }
  _observers = std::move(list);
  ChangeInProgress::noteWithdrawn(*this, positions);
}

/// Does nothing when there is no memory for it: there is a next time.
void Observable::sweep() noexcept try {
  if (!_observers) {
    return;
  }
  std::vector<std::size_t> gone;
  const ObserverList* list = _observers.get();
  for (std::size_t i = list->count(); i-- > 0; list = list->before().get()) {
    if (list->last().observer.expired()) {
      gone.push_back(i);
    }
  }
  if (!gone.empty()) {
    std::ranges::reverse(gone);
    forgetRegistrations(gone);
  }
  if (_observers) {
    _observers->sweepNotBefore(ObserverList::nextSweep(_observers->count()));
  }
} catch (const std::bad_alloc&) {
}

bool Observable::isReadable(const Key& key) const {
  const KeyAccess* access = keyTable().find(key);
  return access != nullptr && access->get != nullptr;
}

Value Observable::valueForKey(const Key& keyOfCaller) const {
  const auto held = weak_from_this().lock();  // a class may let go of both when it is asked
  const Key key = keyOfCaller;
  const KeyAccess* access = keyTable().find(key);
  if (access == nullptr || access->get == nullptr) {
    throw UndefinedKey(className() + " has no value for the key \"" + std::string(key.text()) +
                       "\"");
  }
  return access->get(*this);
}

void Observable::setValueForKey(const Value& valueOfCaller, const Key& keyOfCaller) {
  const auto held = weak_from_this().lock();  // a class may let go of all when it is asked
  const Value value = valueOfCaller;
  const Key key = keyOfCaller;
  const KeyAccess* access = keyTable().find(key);
  if (access == nullptr || access->set == nullptr) {
    throw UndefinedKey(className() + " cannot set a value for the key \"" +
                       std::string(key.text()) + "\"");
  }
  access->set(*this, value);
}

const KeyAccess* KeyTable::find(const Key& key) const noexcept {
  for (const KeyTable* table = this; table != nullptr; table = table->_base) {
    const auto found = std::ranges::find(table->_own, key, &KeyAccess::key);
    if (found != table->_own.end()) {
      return &*found;
    }
  }
  return nullptr;
}

std::set<std::string> Observable::keyPathsForValuesAffectingValueForKey(const Key&) const {
  return {};
}

Value Observable::valuesAtIndexesForKey(const IndexSet& indexes, const Key& key) const {
  const Value all = valueForKey(key);
  if (!indexes.empty() && *indexes.last() >= all.elements().size()) {
    throw RangeError("there is no element " + std::to_string(*indexes.last()) + " of \"" +
                     std::string(key.text()) + "\"");
  }
  std::vector<Value> values;
  values.reserve(indexes.count());
  indexes.forEach([&](std::size_t index) { values.push_back(all.elements()[index]); });
  return Value::array(std::move(values));
}

bool Observable::canReuseOldValuesAtIndexesForKey(const Value& /*oldValues*/,
                                                  const IndexSet& /*indexes*/,
                                                  const Key& /*key*/) const {
  return false;
}

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
