// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: rows as text. docs/outline.md has the form.
#pragma once

#include <vexil/outline/RowState.h>
#include <vexil/platform/Value.h>

#include <cstddef>
#include <functional>
#include <string>

namespace vexil::detail {

using PrintValue = std::function<std::string(const platform::Value&)>;

/// The spaces before a row so many levels deep. They stop growing at 64 levels, so that the text of
/// a chain of rows is not quadratic in its length.
[[nodiscard]] std::string indentation(std::size_t depth);

/// `#7 "e3"`
[[nodiscard]] std::string textOfIdentity(const RowState& row, const PrintValue& print);
/// ` occurrence=1`, or nothing for the first occurrence.
[[nodiscard]] std::string textOfOccurrence(const RowState& row);
/// `#7 "e3" "Backup"`, without the occurrence.
[[nodiscard]] std::string textOfRow(const RowState& row, const PrintValue& print);
/// `#7 "e3" "Backup" occurrence=1 KRAVTWVEventVexil flags=supportsEnabled,enabled`
[[nodiscard]] std::string textOfWholeRow(const RowState& row, const PrintValue& print);

}  // namespace vexil::detail
