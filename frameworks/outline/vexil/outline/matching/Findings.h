// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: what a comparison of rows and items has found.
#pragma once

#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/matching/LevelChange.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace vexil::detail {

/// What has to be done so that the rows are those of the tree. No row has been changed yet.
struct Findings {
  using Item = KRAVTWVItemVexil;

  /// A row that shows something else.
  struct Changed {
    static constexpr std::size_t unknown = SIZE_MAX;
    OutlineRow* row;
    RowState after;
    std::size_t now = unknown;  // the position afterwards
  };

  /// The levels in which rows leave or take places, by their parents, and in the order in which
  /// they were found.
  std::unordered_map<OutlineRow*, std::unique_ptr<LevelChange>> levels;
  std::vector<LevelChange*> levelsInOrder;
  /// Those that got new rows since moves to other parents were looked for.
  std::vector<LevelChange*> levelsWithNewRows;
  /// Whether moves to other parents have been looked for, and the rows that were found to stay
  /// where they are below those that move. Such a row seemed to go before.
  bool areMovesKnown = false;
  std::unordered_set<const OutlineRow*> staying;

  std::vector<Changed> changed;
  /// Rows for which another item stands now.
  std::vector<std::pair<OutlineRow*, std::shared_ptr<Item>>> itemsOfRows;
  /// Rows of plain events for which another item, or one with another record, stands now, and which
  /// show the same.
  std::vector<std::pair<OutlineRow*, std::shared_ptr<Item>>> equalEvents;
  /// Rows that show the same as before, though their state was read anew.
  std::vector<std::pair<OutlineRow*, RowState>> equalStates;
  /// Items that took places in the tree, and are watched already; without those of new rows. Items
  /// that left theirs, and are still watched.
  std::vector<std::shared_ptr<Item>> came;
  std::vector<std::weak_ptr<Item>> left;
  /// States that rows had, to be destroyed last.
  std::vector<RowState> letGo;
  /// The list of records that the children of each compared row stand for afterwards, or 0.
  std::vector<std::pair<OutlineRow*, std::uint64_t>> lists;
  /// Rows that were compared, of those that have or had children.
  std::unordered_set<const OutlineRow*> compared;

  /// Notes what a row that stays shows from now on, and that it has changed if that differs. `now`
  /// is the position afterwards, if it is known.
  void noteState(OutlineRow& row, RowState after, std::size_t now = Changed::unknown);

  LevelChange& levelOf(OutlineRow& parent) {
    std::unique_ptr<LevelChange>& level = levels[&parent];
    if (!level) {
      level = std::make_unique<LevelChange>(parent);
      levelsInOrder.push_back(level.get());
    }
    return *level;
  }
};

}  // namespace vexil::detail
