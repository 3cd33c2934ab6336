// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/Watcher.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/ObserverList.h>

#include <array>
#include <new>
#include <utility>
#include <vector>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::ObserverList;

Observable::~Observable() {
  detail::Watchers::didEnd(*this);
}

void Observable::addObserver(const std::shared_ptr<Observer>& observer, const Key& key,
                             ObservingOptions options, const ContextToken* context) {
  if (!observer) {
    throw InvalidArgument("an absent observer cannot be registered");
  }
  add({observer, observer.get(), key, options, detail::Role::observer, context});
}

void Observable::add(const detail::Registration& registration) {
  // No delivery sweeps registrations under a key that never changes, so they would pile up.
  while (_observers && _observers->last().observer.expired()) {
    forgetRegistrations(std::array{_observers->count() - 1});
  }
  if (_observers && _observers->count() >= _observers->sweepAt()) {
    sweep();
  }
  _observers = ObserverList::adding(_observers, registration);
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

/// `positions` are one or more, in ascending order. Throws `std::bad_alloc`, and then nothing has
/// changed.
void Observable::forgetRegistrations(std::span<const std::size_t> positions) {
  _observers = ObserverList::removing(_observers, positions);
  ChangeInProgress::noteWithdrawn(*this, positions);
}

void Observable::sweep() noexcept {
  if (!_observers) {
    return;
  }
  try {
    const std::vector<std::size_t> gone = _observers->positionsOfGoneObservers();
    if (!gone.empty()) {
      forgetRegistrations(gone);
    }
    if (_observers) {
      _observers->sweepNotBefore(ObserverList::nextSweep(_observers->count()));
    }
  } catch (const std::bad_alloc&) {
    // Nothing was swept; the next time will do.
  }
}

bool Observable::isReadable(const Key& key) const {
  const KeyAccess* access = keyTable().find(key);
  return access != nullptr && access->get != nullptr;
}

Value Observable::valueForKey(const Key& keyOfCaller) const {
  const auto self = weak_from_this().lock();  // a getter may let go of the object and of the key
  const Key key = keyOfCaller;
  const KeyAccess* access = keyTable().find(key);
  if (access == nullptr || access->get == nullptr) {
    throw UndefinedKey(className() + " has no value for the key \"" + std::string(key.text()) +
                       "\"");
  }
  return access->get(*this);
}

void Observable::setValueForKey(const Value& valueOfCaller, const Key& keyOfCaller) {
  const auto self = weak_from_this().lock();  // a setter may let go of the object and arguments
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
