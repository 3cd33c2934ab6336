// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/Observable.h>
#include <vexil/platform/detail/SpinLock.h>
#include <vexil/platform/observing/ChangeInProgress.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <numeric>
#include <utility>

namespace vexil::platform::detail {

namespace {

/// All changes in progress whose objects' addresses fall here.
struct Place {
  SpinLock lock;
  ChangeInProgress* first = nullptr;
};

constexpr unsigned placeBits = 6;
constinit std::array<Place, std::size_t{1} << placeBits> places;

Place& placeOf(const Observable& object) noexcept {
  const auto address = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(&object));
  return places[static_cast<std::size_t>((address * 0x9e3779b97f4a7c15U) >> (64 - placeBits))];
}

}  // namespace

ChangeInProgress::ChangeInProgress(std::shared_ptr<Observable> changing, ChangeKind kind,
                                   const IndexSet* indexes, const Key& key)
    : object(std::move(changing)),
      list(object->_observers),
      notices(list->count()),
      keyChanges(1, {key, {kind, {}, {}, {}}}),
      _places(list->count()) {
  if (indexes != nullptr) {
    keyChanges.front().record.indexes = *indexes;
  }
  const ObserverList* rest = list.get();
  for (auto notice = notices.rbegin(); notice != notices.rend(); ++notice) {
    *notice = {&rest->last(), none, false};
    rest = rest->before().get();
  }
  std::iota(_places.begin(), _places.end(), std::size_t{0});
  Place& place = placeOf(*object);
  const std::lock_guard lock(place.lock);
  _after = std::exchange(place.first, this);
  if (_after != nullptr) {
    _after->_before = this;
  }
  object->_changesInProgress.fetch_add(1, std::memory_order_relaxed);
}

ChangeInProgress::~ChangeInProgress() {
  Place& place = placeOf(*object);
  const std::lock_guard lock(place.lock);
  (_before == nullptr ? place.first : _before->_after) = _after;
  if (_after != nullptr) {
    _after->_before = _before;
  }
  object->_changesInProgress.fetch_sub(1, std::memory_order_relaxed);
}

std::size_t ChangeInProgress::findOrAddKeyChange(const Key& key) {
  auto found = std::ranges::find(keyChanges, key, &KeyChange::key);
  if (found == keyChanges.end()) {
    found = keyChanges.insert(found, {key, {}});
  }
  return static_cast<std::size_t>(found - keyChanges.begin());
}

ChangeInProgress* ChangeInProgress::next(const Observable& object,
                                         const ChangeInProgress* before) noexcept {
  Place& place = placeOf(object);
  const std::lock_guard lock(place.lock);
  ChangeInProgress* change = before == nullptr ? place.first : before->_after;
  while (change != nullptr && change->object.get() != &object) {
    change = change->_after;
  }
  return change;
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
  for (std::size_t i = kept; i < _places.size(); ++i) {
    if (withdrawn != positions.end() && *withdrawn == i) {
      notices[_places[i]].isWithdrawn = true;
      ++withdrawn;
    } else {
      _places[kept++] = _places[i];
    }
  }
  _places.resize(std::min(kept, _places.size()));
}

}  // namespace vexil::platform::detail
