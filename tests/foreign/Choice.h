// SPDX-License-Identifier: Apache-2.0
// Which cells of the table run.
#pragma once

#include "Cells.h"

#include <cstdint>
#include <string>
#include <vector>

namespace foreign {

/// The seed that the environment gives as FOREIGN_SEED, or a fresh one, which is printed.
[[nodiscard]] std::uint32_t seed();

/// The cells of an operation that run. The environment decides:
///
///     FOREIGN_CELLS=part    a few, the same in every run, and a few that change with the seed
///     FOREIGN_CELLS=table   all of them, each in one scene, which changes with the seed
///     FOREIGN_CELLS=all     all of them in every scene
///     FOREIGN_FILTER=text   of all cells in every scene, those with the text in their names
///
/// The default is "part".
[[nodiscard]] std::vector<Cell> chosenCells(const std::vector<Row>& rows);

}  // namespace foreign
