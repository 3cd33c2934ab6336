// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/planning/CrossMoves.h>
#include <vexil/outline/rows/RowWalk.h>

#include <algorithm>
#include <utility>

namespace vexil::detail {

bool CrossMoves::Key::operator==(const Key& other) const {
  return *type == *other.type && Identity::areEqual(identifier, other.identifier);
}

std::size_t CrossMoves::Hash::operator()(const Key& key) const {
  return Identity::hashOf(key.identifier) ^ key.type->hash_code();
}

/// Not when all that goes and comes are rows without children of one level: there, identifiers have
/// been compared already.
bool CrossMoves::canThereBeAny() const {
  const OutlineRow* onlyParent = nullptr;
  bool isOneLevel = true;
  bool isAnyRemoved = false;
  bool isAnyNew = false;
  const auto add = [&](const LevelChange& level, const OutlineRow& row) {
    isOneLevel = isOneLevel && row.childCount() == 0 &&
                 (onlyParent == nullptr || onlyParent == level.parent);
    onlyParent = level.parent;
  };
  for (const LevelChange* const level : _findings->levelsInOrder) {
    for (const auto& entry : level->gone) {
      if (!entry.moves) {
        isAnyRemoved = true;
        add(*level, *entry.row);
      }
    }
    for (const auto& entry : level->come) {
      if (!entry.moves) {
        isAnyNew = true;
        add(*level, *entry.row);
      }
    }
  }
  return isAnyRemoved && isAnyNew && !isOneLevel;
}

void CrossMoves::countRemovedAndNew() {
  const auto keyOf = [](const OutlineRow& row) {
    return Key{row.uniqueID(), &RowStateFields::type(row.state())};
  };
  for (const LevelChange* const level : _findings->levelsInOrder) {
    for (const auto& entry : level->gone) {
      if (entry.moves) {
        continue;
      }
      forEachRow(*entry.row, [&](OutlineRow& row) {
        if (!row.uniqueID().isAbsent()) {
          Entry& counted = _entries[keyOf(row)];
          counted.removed = &row;
          ++counted.removedCount;
        }
      });
    }
  }
  for (const LevelChange* const level : _findings->levelsInOrder) {
    for (const auto& entry : level->come) {
      if (entry.moves) {
        continue;
      }
      forEachRow(*entry.row, [&](OutlineRow& row) {
        const auto found = row.uniqueID().isAbsent() ? _entries.end() : _entries.find(keyOf(row));
        if (found != _entries.end()) {
          ++found->second.newCount;
        }
      });
    }
  }
}

void CrossMoves::find() {
  if (!_areCounted) {
    if (!canThereBeAny()) {
      return;
    }
    _areCounted = true;
    _findings->areMovesKnown = true;
    countRemovedAndNew();
  }
  for (LevelChange* const level : std::exchange(_findings->levelsWithNewRows, {})) {
    lookAt(*level);
  }
}

/// The row that moves to below `parent`, where `newRow` was made for; null when there is none.
OutlineRow* CrossMoves::take(const OutlineRow& newRow, const OutlineRow& parent) {
  if (newRow.uniqueID().isAbsent()) {
    return nullptr;
  }
  const auto found = _entries.find(Key{newRow.uniqueID(), &RowStateFields::type(newRow.state())});
  if (found == _entries.end() || found->second.removedCount != 1 || found->second.newCount != 1 ||
      _findings->staying.contains(found->second.removed)) {
    return nullptr;
  }
  // Another occurrence below the same parent is another row.
  if (found->second.removed != nullptr && found->second.removed->parent() == &parent) {
    return nullptr;
  }
  return std::exchange(found->second.removed, nullptr);
}

void CrossMoves::lookAt(LevelChange& level) {
  for (std::size_t i = 0; i < level.come.size(); ++i) {
    if (level.come[i].moves) {
      continue;
    }
    OutlineRow* const newRow = level.come[i].row;
    if (OutlineRow* const row = take(*newRow, *level.parent)) {
      level.come[i].row = nullptr;
      move(*row, level, i, DetachedRow(newRow));
    } else {
      lookBelow(*newRow);
    }
  }
}

/// The same for all rows below a new one. Those whose rows move there are taken out.
void CrossMoves::lookBelow(OutlineRow& newRow) {
  std::vector<OutlineRow*> open{&newRow};
  while (!open.empty()) {
    OutlineRow& parent = *open.back();
    open.pop_back();
    const std::size_t count = parent.childCount();
    std::size_t left = 0;  // the position of the next child among those that are left
    for (std::size_t i = 0; i < count; ++i) {
      OutlineRow* const child = parent.child(left);
      OutlineRow* const row = take(*child, parent);
      if (row == nullptr) {
        open.push_back(child);
        ++left;
        continue;
      }
      std::vector<OutlineRow*> taken;
      taken.reserve(1);
      RowFields::children(parent)->take(left, 1, taken);
      DetachedRow newChild(taken.front());
      LevelChange& level = _findings->levelOf(parent);
      level.areDistinct = RowFields::children(parent)->areDistinct();
      level.come.push_back({static_cast<std::uint32_t>(i), true, false, nullptr});
      move(*row, level, level.come.size() - 1, std::move(newChild));
    }
  }
}

/// A row takes the place that `newRow` was made for.
void CrossMoves::move(OutlineRow& row, LevelChange& level, std::size_t entry, DetachedRow newRow) {
  level.come[entry].moves = true;
  level.come[entry].row = &row;
  leave(row);
  const auto item = newRow->item();
  _findings->itemsOfRows.emplace_back(&row, item);
  _findings->noteState(row, newRow->state(), level.come[entry].now);
  _actions.unwatch(*newRow);
  if (item) {
    _actions.compareBelow(row, item);
  }
}

/// Notes in the level that a row leaves that it does not go, but moves.
void CrossMoves::leave(OutlineRow& row) {
  LevelChange& level = _findings->levelOf(*row.parent());
  const auto old = static_cast<std::uint32_t>(row.index());
  const auto at = std::ranges::lower_bound(level.gone, old, {}, &LevelChange::Gone::old);
  if (at != level.gone.end() && at->old == old) {
    at->moves = true;
  } else {
    level.gone.insert(at, {old, true, &row});
    _actions.compareIfItStays(*row.parent());
  }
}

}  // namespace vexil::detail
