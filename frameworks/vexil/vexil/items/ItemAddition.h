// SPDX-License-Identifier: Apache-2.0
// Internal to items: which children go when others are added.
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

/// Finds out which items go when others are added one after the other. When an item is added, each
/// item goes that equals it, as that item says (`element.isEqual(child)`), and so does the item
/// itself if it is there already.
///
/// Only items of one hash can be equal, so no others are asked. This changes no item and no array.
/// It holds all items, because hashes and equality of objects are foreign code.
class ItemAddition {
 public:
  struct Entry {
    std::shared_ptr<KRAVTWVItemVexil> item;
    bool isGone = false;
    std::size_t before = none;  // the next older entry of this hash that is not gone
  };

  ItemAddition(KRAVTWVItemArray present, KRAVTWVItemArray added);

  /// Those of the present items that go.
  [[nodiscard]] KRAVTWVItemArray goneOfPresent() const;

  /// The items to add, in their order. An entry with `isGone` is not added: a later one equals it.
  [[nodiscard]] std::span<const Entry> added() const {
    return std::span(_entries).subspan(_presentCount);
  }

  /// Throws what an item threw when it was asked, or `InvalidArgument` for a null pointer. That
  /// item and the items behind it are not among `added`.
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
