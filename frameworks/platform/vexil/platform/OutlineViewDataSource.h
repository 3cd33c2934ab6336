// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstddef>
#include <optional>

namespace vexil::platform {

/// What an outline view may ask its data source. Every operation is optional: its default returns
/// nothing, and then the view uses its other means. An absent `item` stands for the invisible root.
class OutlineViewDataSource {
 public:
  OutlineViewDataSource() = default;
  OutlineViewDataSource(const OutlineViewDataSource&) = delete;
  OutlineViewDataSource& operator=(const OutlineViewDataSource&) = delete;
  virtual ~OutlineViewDataSource() = default;

  [[nodiscard]] virtual std::optional<std::size_t> numberOfChildrenOfItem(
      const Value& /*item*/) const {
    return std::nullopt;
  }
  [[nodiscard]] virtual std::optional<Value> childOfItem(std::size_t /*index*/,
                                                         const Value& /*item*/) const {
    return std::nullopt;
  }
  [[nodiscard]] virtual std::optional<bool> isItemExpandable(const Value& /*item*/) const {
    return std::nullopt;
  }
  [[nodiscard]] virtual std::optional<Value> objectValueForItem(const Value& /*item*/) const {
    return std::nullopt;
  }
};

}  // namespace vexil::platform
