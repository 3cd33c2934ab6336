// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: what happens to the children of one row.
#pragma once

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/rows/RowFields.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexil::detail {

/// What happens to the children of one row, as a whole: some rows leave their places, some take
/// places, and all others keep their order. A row that moves within the level does both.
struct LevelChange {
  struct Gone {
    std::uint32_t old;   // the position before
    bool moves = false;  // here or to another level; otherwise it is removed
    OutlineRow* row = nullptr;
  };
  struct Come {
    std::uint32_t now;  // the position afterwards
    bool moves;         // from here or from another level; otherwise it is new
    bool isWatched;     // whether the item of a new row is watched for its sake
    OutlineRow* row;
  };

  explicit LevelChange(OutlineRow& parentRow) : parent(&parentRow) {}
  LevelChange(const LevelChange&) = delete;
  LevelChange& operator=(const LevelChange&) = delete;
  /// Destroys the new rows, unless somebody took them over.
  ~LevelChange() {
    for (const Come& entry : come) {
      if (!entry.moves && entry.row != nullptr) {
        RowFields::destroy(entry.row);
      }
    }
  }

  OutlineRow* parent;
  std::vector<Gone> gone;   // in ascending order
  std::vector<Come> come;   // in ascending order; owns the new rows
  bool areDistinct = true;  // the identifiers of all children afterwards
};

}  // namespace vexil::detail
