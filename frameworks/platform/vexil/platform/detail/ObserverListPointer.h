// SPDX-License-Identifier: Apache-2.0
// Internal to observation.
#pragma once

#include <cstdint>
#include <utility>

namespace vexil::platform::detail {

class ObserverList;

/// Takes and gives up references to a list; null has none.
void retain(ObserverList* list, std::uint32_t times = 1) noexcept;
void release(ObserverList* list, std::uint32_t times = 1) noexcept;

/// Holds a reference to a list of observers, or to none.
class ObserverListPointer {
 public:
  ObserverListPointer() noexcept = default;
  ObserverListPointer(const ObserverListPointer& other) noexcept : _list(other._list) {
    retain(_list);
  }
  ObserverListPointer(ObserverListPointer&& other) noexcept : _list(other.leave()) {}
  ObserverListPointer& operator=(ObserverListPointer other) noexcept {
    std::swap(_list, other._list);
    return *this;
  }
  ~ObserverListPointer() {
    if (_list != nullptr) {
      release(_list);
    }
  }

  /// Holds a reference that the caller has taken.
  static ObserverListPointer adopting(ObserverList* list) noexcept {
    ObserverListPointer pointer;
    pointer._list = list;
    return pointer;
  }
  /// Leaves the reference to the caller.
  [[nodiscard]] ObserverList* leave() noexcept { return std::exchange(_list, nullptr); }

  /// Holds a reference to `list` that somebody took in advance, and owes them the one that it held.
  void exchangeUncounted(ObserverList* list) noexcept { _list = list; }

  [[nodiscard]] ObserverList* get() const noexcept { return _list; }
  [[nodiscard]] ObserverList* operator->() const noexcept { return _list; }
  [[nodiscard]] explicit operator bool() const noexcept { return _list != nullptr; }

 private:
  ObserverList* _list = nullptr;
};

}  // namespace vexil::platform::detail
