// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/SpinLock.h>
#include <vexil/platform/detail/Watcher.h>
#include <vexil/platform/observing/ChangeInProgress.h>
#include <vexil/platform/observing/DependentKeys.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <numeric>
#include <utility>

namespace vexil::platform::detail {

namespace {

/// A list of all changes in progress of the objects whose addresses belong here.
struct Bucket {
  SpinLock lock;
  ChangeInProgress* first = nullptr;
};

constexpr unsigned bucketBits = 6;
constinit std::array<Bucket, std::size_t{1} << bucketBits> buckets;

Bucket& bucketOf(const Observable& object) noexcept {
  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&object));
  return buckets[static_cast<std::size_t>((address * 0x9e3779b97f4a7c15U) >> (64 - bucketBits))];
}

}  // namespace

ChangeInProgress::ChangeInProgress(std::shared_ptr<Observable> object, const Key& key,
                                   ChangeRecord&& record)
    : _object(std::move(object)),
      _list(_object->_observers),
      _notices(_list->count()),
      _noticeIndexes(_list->count()) {
  _keyChanges.reserve(2);  // one dependent key is usual
  _keyChanges.emplace_back(key, std::move(record));
  const ObserverList* rest = _list.get();
  for (auto notice = _notices.rbegin(); notice != _notices.rend(); ++notice) {
    *notice = {&rest->last(), none, false};
    rest = rest->before().get();
  }
  std::iota(_noticeIndexes.begin(), _noticeIndexes.end(), std::size_t{0});
  Bucket& bucket = bucketOf(*_object);
  const std::lock_guard lock(bucket.lock);
  link(bucket.first);
  _object->_changesInProgress.fetch_add(1, std::memory_order_relaxed);
}

ChangeInProgress::~ChangeInProgress() {
  if (_isTold) {
    withoutValues([this](const Key& key, const ChangeRecord& change) {
      Watchers::didDrop(*_object, key, change);
    });
  }
  Bucket& bucket = bucketOf(*_object);
  const std::lock_guard lock(bucket.lock);
  unlink(bucket.first);
  _object->_changesInProgress.fetch_sub(1, std::memory_order_relaxed);
}

void ChangeInProgress::collectConcerned() {
  const Key changing = _keyChanges.front().key;  // a copy, because the vector grows
  for (Notice& notice : _notices) {
    const Registration& registration = *notice.registration;
    if (registration.role != Role::observer) {
      continue;
    }
    const KeyRelation relation = keyRelation(*_object, registration.key, changing);
    if (relation == KeyRelation::unrelated ||
        (relation == KeyRelation::dependent && !_object->isReadable(registration.key))) {
      continue;
    }
    notice.keyChange = findOrAddKeyChange(registration.key);
    _keyChanges[notice.keyChange].wantsOld |=
        wants(registration.options, ObservingOptions::oldValue) && !registration.observer.expired();
  }
}

std::size_t ChangeInProgress::findOrAddKeyChange(const Key& key) {
  auto found = std::ranges::find(_keyChanges, key, &KeyChange::key);
  if (found == _keyChanges.end()) {
    found = _keyChanges.insert(found, {key, {}});
  }
  return static_cast<std::size_t>(found - _keyChanges.begin());
}

void ChangeInProgress::readOldValues() {
  std::for_each(_keyChanges.begin() + 1, _keyChanges.end(),
                [this](KeyChange& dependent) { readOldValue(dependent); });
  readOldValue(_keyChanges.front());  // last, so that no getter runs between it and the change
}

void ChangeInProgress::readOldValue(KeyChange& change) const {
  if (change.wantsOld && change.record.kind != ChangeKind::insertion) {
    change.record.oldValue = currentValue(change);
  }
}

/// Calls `tell` with the changing key, and with the change record as watchers get it.
template <class Tell>
void ChangeInProgress::withoutValues(const Tell& tell) noexcept {
  auto& [key, record, wantsOld, wantsNew, isUnreadable] = _keyChanges.front();
  Value oldValue = std::exchange(record.oldValue, {});
  tell(key, record);
  record.oldValue = std::move(oldValue);
}

void ChangeInProgress::tellWillChange() noexcept {
  _isTold = true;
  withoutValues([this](const Key& key, const ChangeRecord& change) {
    Watchers::willChange(*_object, key, change);
  });
}

void ChangeInProgress::tellDidChange() noexcept {
  _isTold = false;
  withoutValues([this](const Key& key, const ChangeRecord& change) {
    _someAreGone = !Watchers::didChange(*_object, key, change);
  });
}

void ChangeInProgress::collectWantingNewValues() {
  for (const Notice& notice : _notices) {
    const Registration& registration = *notice.registration;
    if (notice.isToBeDelivered() && !registration.observer.expired()) {
      _keyChanges[notice.keyChange].wantsNew |=
          wants(registration.options, ObservingOptions::newValue);
    }
  }
}

std::exception_ptr ChangeInProgress::readNewValues() noexcept {
  std::exception_ptr thrown;
  for (KeyChange& change : _keyChanges) {
    if (!change.wantsNew || change.record.kind == ChangeKind::removal) {
      continue;
    }
    try {
      change.record.newValue = newValue(change);
    } catch (...) {
      thrown = thrown ? thrown : std::current_exception();
      change.isUnreadable =
          &change != &_keyChanges.front();  // observers always get the change itself
    }
  }
  return thrown;
}

Value ChangeInProgress::newValue(const KeyChange& change) const {
  const ChangeRecord& record = change.record;
  const bool canReuse =
      record.kind == ChangeKind::replacement && change.wantsOld &&
      _object->canReuseOldValuesAtIndexesForKey(record.oldValue, *record.indexes, change.key);
  return canReuse ? record.oldValue : currentValue(change);
}

Value ChangeInProgress::currentValue(const KeyChange& change) const {
  if (change.record.kind != ChangeKind::setting) {
    return _object->valuesAtIndexesForKey(*change.record.indexes, change.key);
  }
  const Value value = _object->isReadable(change.key) ? _object->valueForKey(change.key) : Value();
  return value.isAbsent() ? Value::null() : value;
}

void ChangeInProgress::deliver() {
  bool someAreGone = _someAreGone;
  for (const Notice& notice : _notices) {
    if (!notice.isToBeDelivered()) {
      continue;
    }
    if (const std::shared_ptr<Observer> observer = notice.registration->observer.lock()) {
      deliver(notice, *observer);
    } else {
      someAreGone = true;
    }
  }
  if (someAreGone) {
    _object->sweep();
  }
}

void ChangeInProgress::deliver(const Notice& notice, Observer& observer) const {
  const Registration& registration = *notice.registration;
  const KeyChange& change = _keyChanges[notice.keyChange];
  const bool withOld = wants(registration.options, ObservingOptions::oldValue);
  const bool withNew = wants(registration.options, ObservingOptions::newValue);
  if (withNew && change.isUnreadable) {
    return;
  }
  if (withOld == change.wantsOld && withNew == change.wantsNew) {
    observer.observeValueForKeyPathOfObjectChangeContext(registration.key, _object, change.record,
                                                         registration.context);
    return;
  }
  ChangeRecord record = change.record;
  record.oldValue = withOld ? record.oldValue : Value();
  record.newValue = withNew ? record.newValue : Value();
  observer.observeValueForKeyPathOfObjectChangeContext(registration.key, _object, record,
                                                       registration.context);
}

void ChangeInProgress::noteWithdrawn(const Observable& object,
                                     std::span<const std::size_t> positions) noexcept {
  if (object._changesInProgress.load(std::memory_order_relaxed) == 0) {
    return;
  }
  // Changes of this object neither begin nor end meanwhile, as it belongs to this thread.
  for (auto* change = next(object, nullptr); change != nullptr; change = next(object, change)) {
    change->noteWithdrawn(positions);
  }
}

void ChangeInProgress::noteWithdrawn(std::span<const std::size_t> positions) noexcept {
  std::size_t kept = positions.front();
  auto withdrawn = positions.begin();
  for (std::size_t i = kept; i < _noticeIndexes.size(); ++i) {
    if (withdrawn != positions.end() && *withdrawn == i) {
      _notices[_noticeIndexes[i]].isWithdrawn = true;
      ++withdrawn;
    } else {
      _noticeIndexes[kept++] = _noticeIndexes[i];
    }
  }
  _noticeIndexes.resize(std::min(kept, _noticeIndexes.size()));
}

ChangeInProgress* ChangeInProgress::next(const Observable& object,
                                         const ChangeInProgress* before) noexcept {
  Bucket& bucket = bucketOf(object);
  const std::lock_guard lock(bucket.lock);
  ChangeInProgress* change = before == nullptr ? bucket.first : before->_after;
  while (change != nullptr && change->object() != &object) {
    change = change->_after;
  }
  return change;
}

void ChangeInProgress::link(ChangeInProgress*& list) noexcept {
  _before = nullptr;
  _after = list;
  if (_after != nullptr) {
    _after->_before = this;
  }
  list = this;
}

void ChangeInProgress::unlink(ChangeInProgress*& list) noexcept {
  if (_before != nullptr) {
    _before->_after = _after;
  } else {
    list = _after;
  }
  if (_after != nullptr) {
    _after->_before = _before;
  }
}

WatchedChange::WatchedChange(std::shared_ptr<Observable> object, const Key& key,
                             ChangeRecord&& record)
    : _object(std::move(object)), _key(key), _record(std::move(record)) {
  Watchers::willChange(*_object, _key, _record);
}

WatchedChange::~WatchedChange() {
  if (!_hasEnded) {
    Watchers::didDrop(*_object, _key, _record);
  }
}

void WatchedChange::tellDidChange() noexcept {
  _hasEnded = true;
  if (!Watchers::didChange(*_object, _key, _record)) {
    _object->sweep();
  }
}

}  // namespace vexil::platform::detail
