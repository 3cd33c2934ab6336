// SPDX-License-Identifier: Apache-2.0
// What of the table is run.
#pragma once

#include "Cells.h"

#include <cstdint>
#include <string>
#include <vector>

namespace foreign {

/// The seed that the environment gives as FOREIGN_SEED, or a fresh one, which is printed.
[[nodiscard]] std::uint32_t seed();

/// The cells to be run of an operation, as the environment says:
///
///     FOREIGN_CELLS=part    a few, the same in every run, and a few that change with the seed
///     FOREIGN_CELLS=table   all of them, each in one scene, which changes with the seed
///     FOREIGN_CELLS=all     all of them in every scene
///     FOREIGN_FILTER=text   of all in every scene those whose name has the text in it
///
/// Without any it is a part.
[[nodiscard]] std::vector<Cell> chosenCells(const std::vector<Row>& rows);

}  // namespace foreign
