// SPDX-License-Identifier: Apache-2.0
// Rows, steps and updates written briefly.
#pragma once

#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowState.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <ostream>
#include <utility>
#include <vector>

namespace vexil {

// GoogleTest and RapidCheck find these by the argument's namespace.
inline void PrintTo(const OutlineUpdate& update, std::ostream* out) {
  *out << update.description();
}
inline void showValue(const OutlineUpdate& update, std::ostream& out) {
  out << update.description();
}
inline void showValue(const OutlineStep& step, std::ostream& out) {
  out << OutlineUpdate({step}, 0).description();
}

}  // namespace vexil

namespace test {

inline vexil::RowState row(vexil::RowNumber number, const vexil::platform::Value& uniqueID,
                           const vexil::platform::Value& label = {}, std::uint32_t occurrence = 0) {
  return vexil::RowState(vexil::RowState::Parts{
      .number = number, .uniqueID = uniqueID, .occurrence = occurrence, .label = label});
}

inline std::vector<vexil::InsertedRow> alone(const std::vector<vexil::RowState>& rows) {
  std::vector<vexil::InsertedRow> inserted;
  for (const vexil::RowState& row : rows) {
    inserted.push_back({row, 0});
  }
  return inserted;
}

inline vexil::OutlineStep insertion(vexil::RowNumber parent, std::size_t first, std::size_t count,
                                    std::vector<vexil::InsertedRow> rows) {
  const std::size_t all = rows.size();
  return {.kind = vexil::OutlineStep::Kind::inserted,
          .parent = parent,
          .first = first,
          .count = count,
          .inserted = std::move(rows),
          .rowCount = all};
}
/// Inserts rows with nothing below them.
inline vexil::OutlineStep insertion(vexil::RowNumber parent, std::size_t first,
                                    const std::vector<vexil::RowState>& rows) {
  return insertion(parent, first, rows.size(), alone(rows));
}

/// `rowCount` differs from the number of rows when more go with them.
inline vexil::OutlineStep removal(vexil::RowNumber parent, std::size_t first,
                                  std::vector<vexil::RowState> rows, std::size_t rowCount = 0) {
  const std::size_t count = rows.size();
  return {.kind = vexil::OutlineStep::Kind::removed,
          .parent = parent,
          .first = first,
          .count = count,
          .rows = std::move(rows),
          .rowCount = rowCount == 0 ? count : rowCount};
}

inline vexil::OutlineStep moveWithin(vexil::RowNumber parent, std::size_t first,
                                     std::size_t newFirst, std::vector<vexil::RowState> rows) {
  const std::size_t count = rows.size();
  return {.kind = vexil::OutlineStep::Kind::moved,
          .parent = parent,
          .first = first,
          .count = count,
          .newParent = parent,
          .newFirst = newFirst,
          .rows = std::move(rows),
          .rowCount = count};
}

/// A move to another parent. The parents are the last of `above` and of `newAbove`, or the top.
inline vexil::OutlineStep moveToOther(std::vector<vexil::RowState> above, std::size_t first,
                                      std::vector<vexil::RowState> newAbove, std::size_t newFirst,
                                      std::vector<vexil::RowState> rows,
                                      std::vector<std::uint32_t> newOccurrences = {}) {
  const std::size_t count = rows.size();
  newOccurrences.resize(count);
  return {.kind = vexil::OutlineStep::Kind::moved,
          .parent = above.empty() ? 0 : above.back().number(),
          .first = first,
          .count = count,
          .newParent = newAbove.empty() ? 0 : newAbove.back().number(),
          .newFirst = newFirst,
          .rows = std::move(rows),
          .newOccurrences = std::move(newOccurrences),
          .above = std::move(above),
          .newAbove = std::move(newAbove),
          .rowCount = count};
}

inline vexil::OutlineStep change(vexil::RowNumber parent, std::size_t first,
                                 std::vector<vexil::RowChange> changes) {
  const std::size_t count = changes.size();
  return {.kind = vexil::OutlineStep::Kind::changed,
          .parent = parent,
          .first = first,
          .count = count,
          .changes = std::move(changes),
          .rowCount = count};
}

/// Rows from `first` on, each the only child of the one before.
inline std::vector<vexil::InsertedRow> chainOfRows(vexil::RowNumber first, std::size_t length) {
  std::vector<vexil::InsertedRow> chain;
  for (std::size_t i = 0; i < length; ++i) {
    chain.push_back({row(first + i, "n"), std::size_t{i + 1 < length}});
  }
  return chain;
}

}  // namespace test
