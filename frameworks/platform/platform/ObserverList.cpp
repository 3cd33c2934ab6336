// SPDX-License-Identifier: Apache-2.0
#include <platform/ObserverList.h>

#include <mutex>

namespace platform::detail {

ObserverList::ObserverList(ObserverList* before, const Registration& registration)
    : _count(before == nullptr ? 1 : before->_count + 1),
      _before(retain(before)),
      _last(registration) {}

ObserverList::Successor& ObserverList::successorOf(ObserverList* list) {
  // Never destroyed: objects in static storage may be observed until the very end.
  static auto& first = *new Successor;
  return list == nullptr ? first : list->_successor;
}

ObserverList* ObserverList::adding(ObserverList* list, const Registration& registration) {
  Successor& successor = successorOf(list);
  {
    const std::lock_guard lock(successor.lock);
    if (ObserverList* next = successor.list; next != nullptr) {
      const Registration& known = next->_last;
      if (known.address == registration.address && known.key == registration.key &&
          known.options == registration.options && known.context == registration.context &&
          !known.observer.owner_before(registration.observer) &&
          !registration.observer.owner_before(known.observer) &&
          next->_references.retainUnlessGone()) {
        return next;
      }
    }
  }
  auto* made = new ObserverList(list, registration);
  const std::lock_guard lock(successor.lock);
  successor.list = made;
  return made;
}

void ObserverList::release(ObserverList* list, std::uint32_t times) noexcept {
  while (list != nullptr && list->_references.release(times)) {
    ObserverList* before = list->_before;
    Successor& successor = successorOf(before);
    {
      const std::lock_guard lock(successor.lock);
      if (successor.list == list) {
        successor.list = nullptr;
      }
    }
    delete list;
    list = before;
    times = 1;
  }
}

std::vector<const Registration*> ObserverList::registrations() const {
  std::vector<const Registration*> result(_count);
  const ObserverList* list = this;
  for (std::size_t i = _count; i > 0; --i) {
    result[i - 1] = &list->_last;
    list = list->_before;
  }
  return result;
}

}  // namespace platform::detail
