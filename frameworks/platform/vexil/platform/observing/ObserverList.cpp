// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/observing/ObserverList.h>

#include <mutex>
#include <utility>

namespace vexil::platform::detail {

ObserverList::ObserverList(const ObserverListPointer& before, const Registration& registration)
    : _hasObservers(registration.role == Role::observer || (before && before->_hasObservers)),
      _isEveryKeyWatched(registration.role == Role::watcherOfEveryKey ||
                         (before && before->_isEveryKeyWatched)),
      _isEndWatched(registration.role == Role::watcherOfEnd || (before && before->_isEndWatched)),
      _count(before ? before->_count + 1 : 1),
      _sweepAt(before ? before->sweepAt() : nextSweep(0)),
      _upToWatcherBefore(upToWatcher(before.get())),
      _before(before),
      _last(registration) {}

ObserverList::Successor& ObserverList::successorOf(const ObserverList* list) {
  // Never destroyed, as objects in static storage may be observed until the process ends.
  static auto& first = *new Successor;
  return list == nullptr ? first : list->_successor;
}

ObserverListPointer ObserverList::adding(const ObserverListPointer& list,
                                         const Registration& registration) {
  Successor& successor = successorOf(list.get());
  {
    const std::lock_guard lock(successor.lock);
    if (const ObserverList* next = successor.list; next != nullptr) {
      if (next->_last.isLike(registration) && next->_references.retainUnlessGone()) {
        return ObserverListPointer(next);
      }
    }
  }
  ObserverListPointer made(new ObserverList(list, registration));
  const std::lock_guard lock(successor.lock);
  successor.list = made.get();
  return made;
}

ObserverListPointer ObserverList::removing(const ObserverListPointer& list,
                                           std::span<const std::size_t> positions) {
  const std::size_t first = positions.front();
  const std::size_t left = list->count() - positions.size();
  std::vector<const Registration*> staying;  // behind the first that goes; the last one first
  staying.reserve(left - first);
  const ObserverListPointer* rest = &list;
  auto going = positions.rbegin();
  for (std::size_t i = list->count(); i-- > first; rest = &(*rest)->before()) {
    if (going != positions.rend() && *going == i) {
      ++going;
    } else {
      staying.push_back(&(*rest)->last());
    }
  }
  ObserverListPointer result = *rest;
  const std::size_t sweepAt = std::min(list->sweepAt(), nextSweep(left));
  for (auto registration = staying.rbegin(); registration != staying.rend(); ++registration) {
    result = adding(result, **registration);
    result->sweepNotBefore(sweepAt);
  }
  return result;
}

std::vector<std::size_t> ObserverList::positionsOfGoneObservers() const {
  std::vector<std::size_t> positions;
  const ObserverList* list = this;
  for (std::size_t i = _count; i-- > 0; list = list->_before.get()) {
    if (list->_last.observer.expired()) {
      positions.push_back(i);
    }
  }
  std::ranges::reverse(positions);
  return positions;
}

bool hasObservers(const ObserverList& list) noexcept {
  return list.hasObservers();
}

void retain(const ObserverList* list, std::uint32_t times) noexcept {
  if (list != nullptr) {
    list->_references.retain(times);
  }
}

void release(const ObserverList* list, std::uint32_t times) noexcept {
  // A loop, since a chain of lists may be long.
  while (list != nullptr && list->_references.release(times)) {
    // Taken out, so that `delete` does not destroy it recursively.
    ObserverListPointer before = std::move(list->_before);
    ObserverList::Successor& successor = ObserverList::successorOf(before.get());
    {
      const std::lock_guard lock(successor.lock);
      if (successor.list == list) {
        successor.list = nullptr;
      }
    }
    delete list;
    list = before.handOver();
    times = 1;
  }
}

}  // namespace vexil::platform::detail
