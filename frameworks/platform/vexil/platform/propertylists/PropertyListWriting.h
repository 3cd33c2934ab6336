// SPDX-License-Identifier: Apache-2.0
// What the writers of property lists have in common: internal to them.
#pragma once

#include <vexil/platform/PropertyList.h>
#include <vexil/platform/Value.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vexil::platform::detail {

/// A container some of whose contents have been visited.
struct OpenContainer {
  const Value* container;
  std::span<const Value> contents;
  std::size_t next = 0;  // the one to visit

  explicit OpenContainer(const Value& value)
      : container(&value), contents(value.isArray() ? value.elements() : value.values()) {}
};

/// The error of what was visited last in the innermost of `open`, or of the root when there are
/// none: "at [3]."name": " and the message. Of a long way the middle is left out.
[[nodiscard]] PropertyListError errorAt(std::span<const OpenContainer> open,
                                        PropertyListError::Code code, std::string_view message);

/// What a value is called that no property list has.
[[nodiscard]] std::string_view nameOfForeign(const Value& value);

/// A number for each address. Addresses are never null.
template <class Number>
class AddressTable {
 public:
  /// The number of an address and whether it is new, and then zero. It stays in its place until
  /// the next call.
  std::pair<Number&, bool> find(const void* address) {
    if (2 * (_count + 1) > _slots.size()) {
      grow();
    }
    Slot& slot = slotOf(address);
    const bool isNew = slot.address == nullptr;
    if (isNew) {
      slot.address = address;
      ++_count;
    }
    return {slot.number, isNew};
  }

 private:
  struct Slot {
    const void* address = nullptr;
    Number number{};
  };

  Slot& slotOf(const void* address) {
    const std::uint64_t hash = std::bit_cast<std::uintptr_t>(address) * 0x9E3779B97F4A7C15;
    std::size_t at = static_cast<std::size_t>(hash >> _shift);
    while (_slots[at].address != nullptr && _slots[at].address != address) {
      at = (at + 1) & (_slots.size() - 1);
    }
    return _slots[at];
  }

  void grow() {
    std::vector<Slot> old(_slots.empty() ? 16 : _slots.size() * 2);
    old.swap(_slots);
    _shift = 64 - std::countr_zero(_slots.size());
    for (const Slot& slot : old) {
      if (slot.address != nullptr) {
        slotOf(slot.address) = slot;
      }
    }
  }

  std::vector<Slot> _slots;
  std::size_t _count = 0;
  int _shift = 64;
};

}  // namespace vexil::platform::detail
