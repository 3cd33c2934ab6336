// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: rows whose events have not been made.
#pragma once

#include <vexil/kinds/Item.h>
#include <vexil/merge/FreshEvents.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vexil::detail {

/// A fresh list of items of the library's own kinds, each with the events that belong below it. A
/// row gets its children only when it is inserted, or when a live row cannot be compared without
/// them. An observer can see one difference: when an event is inserted below a row that stays, its
/// parent is the fresh row, and that row has no children while the merge goes on.
class FreshRows {
 public:
  FreshRows(std::shared_ptr<const KRAVTWVItemArray> rows, std::vector<FreshEvents> eventsOfRows)
      : _rows(std::move(rows)),
        _eventsOfRows(std::make_shared<const std::vector<FreshEvents>>(std::move(eventsOfRows))) {}

  [[nodiscard]] std::size_t size() const { return _rows->size(); }

  /// The row at a position, with its children.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item(std::size_t index) const;

  /// The identifiers, also absent ones.
  [[nodiscard]] std::vector<platform::Value> identifiers() const;

  [[nodiscard]] platform::Value representedObject(std::size_t index) const {
    return (*_rows)[index]->representedObject();
  }
  [[nodiscard]] const FreshEvents& eventsOf(std::size_t index) const {
    return (*_eventsOfRows)[index];
  }

  /// `child.isEqual` of the row at a position, if that can be told without making items. May run
  /// foreign code. Nothing otherwise, and then nothing was asked.
  [[nodiscard]] std::optional<bool> isEqualTo(KRAVTWVItemVexil& child, std::size_t index) const;

 private:
  std::shared_ptr<const KRAVTWVItemArray> _rows;
  std::shared_ptr<const std::vector<FreshEvents>> _eventsOfRows;
};

}  // namespace vexil::detail
