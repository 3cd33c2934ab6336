// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/observing/ObserverList.h>

#include <mutex>

namespace vexil::platform::detail {

ObserverList::ObserverList(const ObserverListPointer& before, const Registration& registration)
    : _count(before ? before->_count + 1 : 1),
      _sweepAt(before ? before->sweepAt() : nextSweep(0)),
      _before(before),
      _last(registration) {}

ObserverList::Successor& ObserverList::successorOf(const ObserverList* list) {
  // Never destroyed: objects in static storage may be observed until the very end.
  static auto& first = *new Successor;
  return list == nullptr ? first : list->_successor;
}

ObserverListPointer ObserverList::adding(const ObserverListPointer& list,
                                         const Registration& registration) {
  Successor& successor = successorOf(list.get());
  {
    const std::lock_guard lock(successor.lock);
    if (const ObserverList* next = successor.list; next != nullptr) {
      const Registration& known = next->_last;
      if (known.address == registration.address && known.key == registration.key &&
          known.options == registration.options && known.context == registration.context &&
          !known.observer.owner_before(registration.observer) &&
          !registration.observer.owner_before(known.observer) &&
          next->_references.retainUnlessGone()) {
        return ObserverListPointer(next);
      }
    }
  }
  ObserverListPointer made(new ObserverList(list, registration));
  const std::lock_guard lock(successor.lock);
  successor.list = made.get();
  return made;
}

void retain(const ObserverList* list, std::uint32_t times) noexcept {
  if (list != nullptr) {
    list->_references.retain(times);
  }
}

void release(const ObserverList* list, std::uint32_t times) noexcept {
  // A loop, since a chain of lists may be long.
  while (list != nullptr && list->_references.release(times)) {
    // Held until the next round, so that `delete` does not destroy it recursively.
    ObserverListPointer before = list->_before;
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
