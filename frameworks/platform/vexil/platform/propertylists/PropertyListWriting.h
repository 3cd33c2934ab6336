// SPDX-License-Identifier: Apache-2.0
// Internal to the writers of property lists: what they have in common.
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

/// A container whose contents are being visited.
struct OpenContainer {
  const Value* container;
  std::span<const Value> contents;
  std::size_t next = 0;  // the next one to visit

  explicit OpenContainer(const Value& value)
      : container(&value), contents(value.isArray() ? value.elements() : value.values()) {}
};

/// An error about the part that was visited last in the innermost of `open`, or about the root when
/// `open` is empty. The message begins with the path to that part: `at [3]."name": `. Of a long
/// path the middle is left out.
[[nodiscard]] PropertyListError errorAt(std::span<const OpenContainer> open,
                                        PropertyListError::Code code, std::string_view message);

/// The words for a value that no property list can have.
[[nodiscard]] std::string_view nameOfForeign(const Value& value);

/// Holds a number for each address. Addresses must not be null.
template <class Number>
class AddressTable {
 public:
  /// Returns the number of an address, and whether the address is new; a new one has the number
  /// zero. The reference is valid until the next call.
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
