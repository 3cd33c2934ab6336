// SPDX-License-Identifier: Apache-2.0
// The table: {which code of a host is called} x {what it does} x {each operation in each scene}, at
// the first, a middle and the last call.
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
  std::string problem;  ///< what goes wrong without any action; empty when nothing does
};

struct Cell {
  const Row* row;
  Site site;
  const Action* action;
  std::size_t call;         // the one in which the action runs
  std::size_t repetitions;  // the action also runs in this many calls after that

  [[nodiscard]] std::string name() const;
};

/// The result of a cell.
struct Outcome {
  std::string problem;  // empty when there is none
  bool neededRemedy = false;
};

/// Performs an operation without any action and counts.
[[nodiscard]] Row rowOf(const Operation& operation, const Scene& scene);

/// The rows of all scenes of an operation.
[[nodiscard]] std::vector<Row> rowsOf(const Operation& operation);

/// Whether an operation calls a site in any of its rows.
[[nodiscard]] bool isReached(const std::vector<Row>& rows, Site site);

/// All cells that are reached in some rows. The rows must outlive the cells.
[[nodiscard]] std::vector<Cell> cellsOf(const std::vector<Row>& rows);

/// The table of one operation: all of its cells, each in one of the scenes in which it is reached.
/// The seed decides which scene.
[[nodiscard]] std::vector<Cell> tableOf(const std::vector<Row>& rows, std::uint32_t seed);

/// Runs a cell: makes a world, performs the operation with the action in it, refreshes, and checks
/// what the refresh shows.
[[nodiscard]] Outcome run(const Cell& cell);

}  // namespace foreign
