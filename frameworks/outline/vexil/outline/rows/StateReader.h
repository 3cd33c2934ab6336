// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: reads from items what rows show.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/RowState.h>
#include <vexil/outline/rows/RowStateFields.h>
#include <vexil/platform/Key.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <memory>
#include <span>

namespace vexil::detail {

/// Reads states of items, one after the other. It is quick where neighbours are of one kind and
/// their records have the same keys.
class StateReader {
 public:
  StateReader();

  /// The state without a number and an occurrence. Asks kinds of a host, and so may run foreign
  /// code; the caller must hold the item then. What a getter throws is logged, and its value is
  /// absent or false.
  [[nodiscard]] RowState read(const KRAVTWVItemVexil& item);

  /// Whether reading this item may run foreign code.
  [[nodiscard]] static bool mayRunForeignCode(const KRAVTWVItemVexil& item);

 private:
  using Field = RowStateFields::Field;
  [[nodiscard]] RowState readPlainEvent(const platform::Value& record);
  [[nodiscard]] RowState readByAsking(const KRAVTWVItemVexil& item) const;

  /// Where a key stood last.
  struct Guess {
    platform::Key key;
    std::size_t position = 0;
    /// The position of the key, or the number of keys.
    [[nodiscard]] std::size_t in(std::span<const platform::Key> keys) noexcept;
  };
  Guess _identifier;
  Guess _name;
  Guess _enabled;
};

}  // namespace vexil::detail
