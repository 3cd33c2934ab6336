// SPDX-License-Identifier: Apache-2.0
// Internal to items: what becomes of children when others are added.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <unordered_map>
#include <vector>

namespace vexil::detail {

/// Finds out which items give way when others are added one after the other: those that equal the
/// one that comes, as they say (`element.isEqual(child)`), and that one itself where it is there
/// already.
///
/// Only items of one hash can be equal, so no others are asked. It changes no item and no array,
/// and holds all items: hashes and equality of objects are foreign code.
class ItemAddition {
 public:
  struct Entry {
    std::shared_ptr<KRAVTWVItemVexil> item;
    bool isGone = false;
    std::size_t before = none;  // the next older entry of this hash that is not gone
  };

  ItemAddition(KRAVTWVItemArray present, KRAVTWVItemArray added);

  /// What gives way of the items that were there.
  [[nodiscard]] KRAVTWVItemArray goneOfPresent() const;

  /// The items to add, in their order. Those that are gone give way to a later one.
  [[nodiscard]] std::span<const Entry> added() const {
    return std::span(_entries).subspan(_presentCount);
  }

  /// Throws what was thrown when an item was asked, or `InvalidArgument` for a null pointer: that
  /// item and those behind it are not among `added`.
  void throwFailure() const {
    if (_failure) {
      std::rethrow_exception(_failure);
    }
  }

 private:
  static constexpr std::size_t none = SIZE_MAX;

  void append(std::shared_ptr<KRAVTWVItemVexil> item, std::size_t hash);
  void removeEqualsOf(const std::shared_ptr<KRAVTWVItemVexil>& item, std::size_t hash);

  std::vector<Entry> _entries;
  std::size_t _presentCount;
  std::unordered_map<std::size_t, std::size_t> _lastOfHash;
  std::exception_ptr _failure;
};

}  // namespace vexil::detail
