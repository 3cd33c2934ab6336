// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: which row is the same row.
#pragma once

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/rows/RowFields.h>
#include <vexil/outline/rows/RowStateFields.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace vexil::detail {

struct Identity {
  /// May ask an object in an identifier. When that throws, they are not equal.
  [[nodiscard]] static bool areEqual(const platform::Value& a, const platform::Value& b) {
    const std::optional<bool> equal = a.plainlyEquals(b);
    return equal ? *equal : areEqualByAsking(a, b);
  }

  template <class A, class B>
  [[nodiscard]] static bool areOfOneOwner(const A& a, const B& b) noexcept {
    return !a.owner_before(b) && !b.owner_before(a);
  }

  /// Whether a row is that of an item with this identifier and occurrence. An item without an
  /// identifier is identified by itself.
  template <class ItemPointer>
  [[nodiscard]] static bool isOf(const OutlineRow& row, const ItemPointer& item,
                                 const platform::Value& identifier, std::uint32_t occurrence) {
    if (RowStateFields::hasIdentifier(row.state()) == identifier.isAbsent()) {
      return false;
    }
    return row.occurrence() == occurrence &&
           (identifier.isAbsent() ? areOfOneOwner(RowFields::item(row), item)
                                  : areEqual(row.uniqueID(), identifier));
  }
  template <class ItemPointer>
  [[nodiscard]] static bool isOf(const OutlineRow& row, const ItemPointer& item,
                                 const RowState& state, std::uint32_t occurrence) {
    return isOf(row, item, state.uniqueID(), occurrence);
  }

  /// A hash that is only good enough to tell most of a host's identifiers apart. A host can make
  /// many that have the same.
  [[nodiscard]] static std::uint64_t quickHashOf(const platform::Value& identifier) {
    constexpr std::size_t longest = 23;
    if (!identifier.isString() || identifier.string().size() > longest) {
      return hashOf(identifier);
    }
    const auto text = identifier.textPrefix();
    std::uint64_t hash = text[0] * 0x9e3779b97f4a7c15U;
    hash = (hash ^ hash >> 29U ^ text[1]) * 0xbf58476d1ce4e5b9U;
    hash = (hash ^ hash >> 32U ^ text[2]) * 0x94d049bb133111ebU;
    return hash;
  }

  /// May ask an object in an identifier. When that throws, the hash is 0.
  [[nodiscard]] static std::size_t hashOf(const platform::Value& identifier) {
    const std::optional<std::size_t> hash = identifier.plainHash();
    return hash ? *hash : hashByAsking(identifier);
  }

 private:
  static bool areEqualByAsking(const platform::Value& a, const platform::Value& b);
  static std::size_t hashByAsking(const platform::Value& identifier);
};

}  // namespace vexil::detail
