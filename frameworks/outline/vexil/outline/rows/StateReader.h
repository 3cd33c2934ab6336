// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: reads from items what rows show.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/RowState.h>
#include <vexil/outline/rows/RowStateFields.h>
#include <vexil/platform/Value.h>

#include <cstddef>

namespace vexil::detail {

/// Reads states of items, one after the other. It is quick where neighbours are of one kind and
/// their records have the same keys.
class StateReader {
 public:
  /// The state without a number and an occurrence. Asks kinds of a host, and so may run foreign
  /// code; the caller must hold the item then. What a getter throws is logged, and its value is
  /// absent or false.
  [[nodiscard]] RowState read(const KRAVTWVItemVexil& item);

  /// Whether everything about an item follows from its record and its children, and the record
  /// equals that of `before`, which was a state of this kind. Runs no foreign code.
  [[nodiscard]] static bool isStillLike(const KRAVTWVItemVexil& item, const RowState& before);
  /// The state of such an item. Takes over what takes long to find out, as a translated label.
  [[nodiscard]] RowState readAgain(const KRAVTWVItemVexil& item, const RowState& before) const;

  /// Whether reading this item may run foreign code.
  [[nodiscard]] static bool mayRunForeignCode(const KRAVTWVItemVexil& item);

 private:
  using Field = RowStateFields::Field;
  [[nodiscard]] RowState readPlainEvent(const platform::Value& record);
  [[nodiscard]] RowState readByAsking(const KRAVTWVItemVexil& item) const;

  // Where the keys of an event's fields stood last.
  std::size_t _identifier = 0;
  std::size_t _name = 0;
  std::size_t _enabled = 0;
};

}  // namespace vexil::detail
