// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: reads the live tree while foreign code may change it.
#pragma once

#include <vexil/items/ItemFields.h>
#include <vexil/outline/rows/StateReader.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace vexil::detail {

/// Thrown when the tree has changed while it was compared with the rows. Then the comparison begins
/// anew.
struct TreeChanged {};

/// Thrown when a row has got another identity without an announcement of its parent. Then all is
/// compared.
struct IdentityChanged {};

/// Reads items for one comparison. Throws `TreeChanged` when a host's kind has changed the tree
/// when it was asked.
class TreeReading {
 public:
  using Item = KRAVTWVItemVexil;

  /// `version` is counted up by each announcement.
  explicit TreeReading(const std::uint64_t& version) : _version(&version), _began(version) {}

  [[nodiscard]] RowState stateOf(const Item& item) {
    if (!StateReader::mayRunForeignCode(item)) {
      return _reader.read(item);
    }
    return stateByAsking(item);
  }

  /// The same for an item that the row of `before` has stood for, maybe with another record.
  [[nodiscard]] RowState stateOf(const Item& item, const RowState& before) {
    return StateReader::isStillLike(item, before) ? _reader.readAgain(item, before) : stateOf(item);
  }
  [[nodiscard]] platform::Value uniqueIDOf(const Item& item) {
    if (!StateReader::mayRunForeignCode(item)) {
      return item.uniqueID();
    }
    return stateByAsking(item).uniqueID();
  }

  [[nodiscard]] static std::size_t childCount(const Item& item) {
    return ItemFields::currentChildren(item).size();
  }
  /// The reference holds until foreign code runs.
  [[nodiscard]] static const std::shared_ptr<Item>& child(const Item& item, std::size_t index) {
    const KRAVTWVItemArray& children = ItemFields::currentChildren(item);
    if (index >= children.size() || !children[index]) {
      throw TreeChanged();
    }
    return children[index];
  }

  /// Begins to fetch what a loop over the children will read some turns later.
  [[gnu::always_inline]] static void prefetch(const Item& item, std::size_t index) {
    constexpr std::size_t ahead = 8;
    const KRAVTWVItemArray& children = ItemFields::currentChildren(item);
    if (index + 2 * ahead < children.size()) {
      ItemFields::prefetch(children[index + 2 * ahead].get());
      ItemFields::prefetchRecord(children[index + ahead].get());
    }
  }

  /// Must be called after foreign code may have run.
  void requireUnchanged() const {
    if (*_version != _began) {
      throw TreeChanged();
    }
  }

 private:
  [[nodiscard]] RowState stateByAsking(const Item& item) {
    const auto held = item.weak_from_this().lock();
    RowState state = _reader.read(item);
    requireUnchanged();
    return state;
  }

  const std::uint64_t* _version;
  std::uint64_t _began;
  StateReader _reader;
};

}  // namespace vexil::detail
