// SPDX-License-Identifier: Apache-2.0
// The table: {what of a host's is called} x {what it does} x {each operation in each scene}, at the
// first, a middle and the last call.
#pragma once

#include "Actions.h"
#include "Operations.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace foreign {

/// An operation in one scene, and how often it calls each site there.
struct Row {
  const Operation* operation;
  Scene scene;
  Hook::Counts calls;
  bool isRefused;       ///< whether the operation throws without any action
  std::string problem;  ///< what goes wrong without any action; empty: nothing
};

struct Cell {
  const Row* row;
  Site site;
  const Action* action;
  std::size_t call;         // the one in which the action runs
  std::size_t repetitions;  // and in how many after it

  [[nodiscard]] std::string name() const;
};

/// What came of a cell.
struct Outcome {
  std::string problem;  // empty: none
  bool neededRemedy = false;
};

/// Performs an operation without any action and counts.
[[nodiscard]] Row rowOf(const Operation& operation, const Scene& scene);

/// The rows of all scenes of an operation.
[[nodiscard]] std::vector<Row> rowsOf(const Operation& operation);

/// Whether an operation calls a site in any of its rows.
[[nodiscard]] bool isReached(const std::vector<Row>& rows, Site site);

/// All cells that are reached in some rows, which outlive them.
[[nodiscard]] std::vector<Cell> cellsOf(const std::vector<Row>& rows);

/// The table of one operation: all of its cells, each in one of the scenes in which it is reached.
/// Which one it is follows from the seed.
[[nodiscard]] std::vector<Cell> tableOf(const std::vector<Row>& rows, std::uint32_t seed);

/// Runs a cell: a world of its own, the operation with the action in it, and afterwards a refresh
/// that must show what it must.
[[nodiscard]] Outcome run(const Cell& cell);

}  // namespace foreign
