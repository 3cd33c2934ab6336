// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/ObserverList.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>
#include <vector>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::ObserverList;
using detail::ObserverListPointer;
using detail::Registration;

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

}  // namespace vexil::platform
