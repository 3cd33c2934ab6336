// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Error.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/DependentKeys.h>
#include <vexil/platform/observing/ObserverList.h>

#include <utility>

namespace vexil::platform {

using detail::ChangeInProgress;
using detail::KeyRelation;
using detail::ObserverList;

PendingChange::PendingChange() noexcept = default;
PendingChange::PendingChange(PendingChange&&) noexcept = default;
PendingChange& PendingChange::operator=(PendingChange&&) noexcept = default;
PendingChange::~PendingChange() = default;
PendingChange::PendingChange(std::unique_ptr<ChangeInProgress> change) noexcept
    : _change(std::move(change)) {}

PendingChange Observable::willChangeValueForKey(const Key& key) {
  return mayConcernAnyone(key) ? begin(key, {ChangeKind::setting, {}, {}, {}}) : PendingChange();
}

PendingChange Observable::willChangeValuesAtIndexesForKey(ChangeKind kind, const IndexSet& indexes,
                                                          const Key& key) {
  return mayConcernAnyone(key) ? begin(key, {kind, {}, {}, indexes}) : PendingChange();
}

bool Observable::mayConcernAnyone(const Key& key) const {
  for (const ObserverList* list = _observers.get(); list != nullptr; list = list->before().get()) {
    if (detail::cachedKeyRelation(*this, list->last().key, key) != KeyRelation::unrelated) {
      return true;
    }
  }
  return false;
}

PendingChange Observable::begin(const Key& key, ChangeRecord&& record) {
  std::shared_ptr<Observable> self = weak_from_this().lock();
  if (!self) {
    return {};  // still being made, or already going
  }
  // From here on, foreign code may let go of the object and of the caller's key. The change holds
  // both until did-change, also when no registration turns out to be concerned.
  auto change = std::make_unique<ChangeInProgress>(std::move(self), key, std::move(record));
  change->collectConcerned();
  change->readOldValues();
  return PendingChange(std::move(change));
}

void Observable::finish(PendingChange pending) {
  if (!pending._change) {
    return;
  }
  ChangeInProgress& change = *pending._change;
  if (change.object() != this) {
    throw InvalidArgument("a change was announced by another object than it is ended by");
  }
  change.collectWantingNewValues();
  const std::exception_ptr thrown = change.readNewValues();
  change.deliver();
  if (thrown) {
    std::rethrow_exception(thrown);
  }
}

}  // namespace vexil::platform
