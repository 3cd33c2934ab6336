// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/planning/StepPlan.h>
#include <vexil/outline/rows/RowStateFields.h>

#include <algorithm>
#include <utility>

namespace vexil::detail {

namespace {

/// The first element for which `isBeyond` holds; it holds for all behind that.
template <class IsBeyond>
std::size_t firstBeyond(std::size_t count, const IsBeyond& isBeyond) {
  std::size_t first = 0;
  while (count > 0) {
    const std::size_t half = count / 2;
    if (isBeyond(first + half)) {
      count = half;
    } else {
      first += half + 1;
      count -= half + 1;
    }
  }
  return first;
}

constexpr std::size_t turnsAhead = 8;

/// Begins to fetch rows and their records for a loop that copies their states.
template <class Entries>
[[gnu::always_inline]] inline void prefetchRows(const Entries& entries, std::size_t index) {
  if (index + 2 * turnsAhead < entries.size()) {
    __builtin_prefetch(entries[index + 2 * turnsAhead].row);
    entries[index + turnsAhead].row->representedObject().prefetch(1);
  }
}

}  // namespace

std::size_t StepPlan::Level::goneBefore(std::size_t gap) const {
  return firstBeyond(change->gone.size(), [&](std::size_t i) { return gapOfGone(i) >= gap; });
}

std::size_t StepPlan::Level::comeUpTo(std::size_t gap) const {
  return firstBeyond(change->come.size(), [&](std::size_t i) { return gapOfCome(i) > gap; });
}

/// Where a row stands that has not left yet.
std::size_t StepPlan::Level::positionOfGone(std::size_t i) const {
  const std::size_t gap = gapOfGone(i);
  return gap + placed.countOfFirst(comeUpTo(gap)) + leaving.countOfFirst(i);
}

/// Where a row will stand when it takes its place now.
std::size_t StepPlan::Level::positionOfCome(std::size_t i) const {
  const std::size_t gap = gapOfCome(i);
  return gap + placed.countOfFirst(i) + leaving.countOfFirst(goneBefore(gap));
}

StepPlan::StepPlan(Findings& findings) : _findings(&findings) {}

PlannedSteps StepPlan::make() {
  collectLevels();
  decideFates();
  remove(Fate::early);
  insert(Fate::early);
  moveAll();
  remove(Fate::late);
  insert(Fate::late);
  change();
  return std::move(_planned);
}

void StepPlan::collectLevels() {
  for (LevelChange* const found : _findings->levelsInOrder) {
    if (found->gone.empty() && found->come.empty()) {
      continue;
    }
    auto level = std::make_unique<Level>();
    level->change = found;
    _levelsByParent.emplace(found->parent, level.get());
    _levels.push_back(std::move(level));
  }
  const auto moves = [](const auto& entry) { return entry.moves; };
  _doesAnyMove = std::ranges::any_of(
      _levels, [&](const auto& level) { return std::ranges::any_of(level->change->come, moves); });
  for (const auto& level : _levels) {
    if (_doesAnyMove) {
      level->leaving = SumTree(level->change->gone.size(), true);
      level->placed = SumTree(level->change->come.size(), false);
    }
    for (const auto& entry : level->change->come) {
      // Only those matter that move or have levels of their own.
      if (entry.moves || entry.row->childCount() != 0 || _levelsByParent.contains(entry.row)) {
        _newParents.emplace(entry.row, level->change->parent);
      }
    }
    for (std::size_t i = 0; i < level->change->gone.size(); ++i) {
      if (level->change->gone[i].moves) {
        _leaving.emplace(level->change->gone[i].row, Place{level.get(), i});
      }
    }
  }
  for (const auto& changed : _findings->changed) {
    noteStateAfterwards(*changed.row, changed.after);
  }
  for (const auto& [row, after] : _findings->equalStates) {
    noteStateAfterwards(*row, after);
  }
}

void StepPlan::noteStateAfterwards(OutlineRow& row, const RowState& after) {
  if (_leaving.contains(&row)) {
    _occurrencesAfterwards.emplace(&row, after.occurrence());
  }
}

/// The parent of a row when all steps are done.
OutlineRow* StepPlan::newParentOf(const OutlineRow& row) const {
  const auto found = _newParents.find(&row);
  return found == _newParents.end() ? row.parent() : found->second;
}

std::size_t StepPlan::depthOf(OutlineRow& row) {
  std::vector<const OutlineRow*> above;
  const OutlineRow* next = &row;
  while (next != nullptr && !_depths.contains(next)) {
    above.push_back(next);
    next = newParentOf(*next);
  }
  std::size_t depth = next == nullptr ? 0 : _depths.at(next) + 1;
  for (; !above.empty(); above.pop_back()) {
    _depths.emplace(above.back(), depth++);
  }
  return depth - 1;
}

/// A row that others move out of goes late; a new row that others move into comes early.
void StepPlan::decideFates() {
  std::unordered_set<const OutlineRow*> rowsLeftByOthers;
  std::unordered_set<const OutlineRow*> rowsForOthers;
  const auto addUpwards = [](std::unordered_set<const OutlineRow*>& rows, const OutlineRow* row) {
    while (row != nullptr && rows.insert(row).second) {
      row = row->parent();
    }
  };
  for (const auto& level : _levels) {
    OutlineRow& parent = *level->change->parent;
    const auto moves = [](const auto& entry) { return entry.moves; };
    if (std::ranges::any_of(level->change->gone, moves)) {
      addUpwards(rowsLeftByOthers, &parent);
    }
    if (std::ranges::any_of(level->change->come, moves)) {
      addUpwards(rowsForOthers, &parent);
    }
  }
  for (const auto& level : _levels) {
    for (const auto& entry : level->change->gone) {
      level->fatesOfGone.push_back(entry.moves                            ? Fate::moves
                                   : rowsLeftByOthers.contains(entry.row) ? Fate::late
                                                                          : Fate::early);
    }
    for (const auto& entry : level->change->come) {
      level->fatesOfCome.push_back(entry.moves                         ? Fate::moves
                                   : rowsForOthers.contains(entry.row) ? Fate::early
                                                                       : Fate::late);
    }
  }
  if (_levels.size() > 1) {
    for (const auto& level : _levels) {
      level->depth = depthOf(*level->change->parent);
    }
    std::ranges::stable_sort(_levels, {}, [](const auto& level) { return level->depth; });
  }
}

OutlineStep& StepPlan::addStep(OutlineStep::Kind kind, OutlineRow& parent) {
  _planned.steps.push_back({.kind = kind, .parent = parent.number()});
  _planned.rows.push_back({.parent = &parent});
  return _planned.steps.back();
}

// --- rows that go

void StepPlan::remove(Fate fate) {
  for (const auto& level : _levels) {
    // From the end, so that positions before stay right for the reader.
    for (std::size_t end = level->change->gone.size(); end > 0;) {
      if (level->fatesOfGone[end - 1] != fate) {
        --end;
        continue;
      }
      // When rows are removed late, those of another fate have left.
      std::size_t first = end - 1;
      for (std::size_t i = first; i > 0 && level->gapOfGone(i - 1) == level->gapOfGone(first) &&
                                  (fate == Fate::late || level->fatesOfGone[i - 1] == fate);
           --i) {
        first = level->fatesOfGone[i - 1] == fate ? i - 1 : first;
      }
      remove(*level, first, end);
      end = first;
    }
  }
}

/// Removes the rows of one fate in a range.
void StepPlan::remove(Level& level, std::size_t first, std::size_t end) {
  OutlineStep& step = addStep(OutlineStep::Kind::removed, *level.change->parent);
  const Fate fate = level.fatesOfGone[first];
  // Where nothing moves, all that go go first, and from the end.
  step.first = _doesAnyMove ? level.positionOfGone(first) : level.change->gone[first].old;
  step.rows.reserve(end - first);
  for (std::size_t i = first; i < end; ++i) {
    if (level.fatesOfGone[i] != fate) {
      continue;
    }
    OutlineRow& row = *level.change->gone[i].row;
    step.rows.push_back(row.state());
    if (_doesAnyMove) {
      level.leaving.unmark(i);
    }
    ++step.count;
    ++step.rowCount;
    if (row.childCount() == 0) {
      continue;
    }
    // What is below it goes too, except what moves elsewhere. Its items are left.
    std::vector<OutlineRow*> open{&row};
    while (!open.empty()) {
      OutlineRow& parent = *open.back();
      open.pop_back();
      for (std::size_t child = 0; child < parent.childCount(); ++child) {
        OutlineRow& below = *parent.child(child);
        _findings->left.push_back(RowFields::item(below));
        if (!_leaving.contains(&below)) {
          ++step.rowCount;
          open.push_back(&below);
        }
      }
    }
  }
}

// --- rows that are new

void StepPlan::insert(Fate fate) {
  for (const auto& level : _levels) {
    const std::size_t count = level->change->come.size();
    for (std::size_t first = 0; first < count;) {
      if (level->fatesOfCome[first] != fate) {
        ++first;
        continue;
      }
      // When rows are inserted early, those of another fate have not come yet.
      std::size_t end = first + 1;
      for (std::size_t i = end; i < count && level->gapOfCome(i) == level->gapOfCome(first) &&
                                (fate == Fate::early || level->fatesOfCome[i] == fate);
           ++i) {
        end = level->fatesOfCome[i] == fate ? i + 1 : end;
      }
      insert(*level, first, end);
      first = end;
    }
  }
}

/// Inserts the rows of one fate in a range.
void StepPlan::insert(Level& level, std::size_t first, std::size_t end) {
  OutlineStep& step = addStep(OutlineStep::Kind::inserted, *level.change->parent);
  const Fate fate = level.fatesOfCome[first];
  // Those that come last find all others in their places.
  step.first = fate == Fate::early ? level.positionOfCome(first) : level.change->come[first].now;
  step.inserted.reserve(end - first);
  std::vector<OutlineRow*>& rows = _planned.rows.back().rows;
  rows.reserve(end - first);
  std::vector<OutlineRow*> open;
  for (std::size_t i = first; i < end; ++i) {
    prefetchRows(level.change->come, i);
    if (level.fatesOfCome[i] != fate) {
      continue;
    }
    OutlineRow* const row = level.change->come[i].row;
    rows.push_back(row);
    if (fate == Fate::early) {
      level.placed.mark(i);
    }
    if (row->childCount() == 0) {
      step.inserted.push_back({row->state(), 0});
      continue;
    }
    open.push_back(row);
    while (!open.empty()) {
      OutlineRow& next = *open.back();
      open.pop_back();
      const std::size_t count = next.childCount();
      step.inserted.push_back({next.state(), count});
      for (std::size_t child = count; child > 0; --child) {
        open.push_back(next.child(child - 1));
      }
    }
  }
  step.count = rows.size();
  step.rowCount = step.inserted.size();
}

// --- rows that move

void StepPlan::moveAll() {
  for (const auto& level : _levels) {
    const std::size_t count = level->change->come.size();
    for (std::size_t first = 0; first < count;) {
      if (level->fatesOfCome[first] != Fate::moves) {
        ++first;
        continue;
      }
      // Rows that are inserted later do not stand between them yet.
      std::size_t last = first;
      for (std::size_t i = first + 1; i < count; ++i) {
        if (level->fatesOfCome[i] == Fate::moves && movesTogether(*level, last, i)) {
          last = i;
        } else if (level->fatesOfCome[i] != Fate::late) {
          break;
        }
      }
      move(*level, first, last + 1);
      first = last + 1;
    }
  }
}

/// Whether a row moves in one step with another one that moves before it: they are neighbours when
/// they leave and when they have come.
bool StepPlan::movesTogether(const Level& level, std::size_t last, std::size_t entry) const {
  if (level.gapOfCome(entry) != level.gapOfCome(last)) {
    return false;
  }
  const Place before = _leaving.at(level.change->come[last].row);
  const Place place = _leaving.at(level.change->come[entry].row);
  if (before.level != place.level || before.index >= place.index ||
      place.level->gapOfGone(before.index) != place.level->gapOfGone(place.index)) {
    return false;
  }
  // Nobody stands between them any more.
  return place.level->leaving.countOfFirst(place.index) ==
         place.level->leaving.countOfFirst(before.index + 1);
}

/// Moves the rows in a range that move.
void StepPlan::move(Level& level, std::size_t first, std::size_t end) {
  std::vector<std::size_t> entries;
  for (std::size_t i = first; i < end; ++i) {
    if (level.fatesOfCome[i] == Fate::moves) {
      entries.push_back(i);
    }
  }
  Level& from = *_leaving.at(level.change->come[first].row).level;
  OutlineRow& parent = *from.change->parent;
  OutlineRow& newParent = *level.change->parent;
  OutlineStep& step = addStep(OutlineStep::Kind::moved, parent);
  _planned.rows.back().newParent = &newParent;
  step.newParent = newParent.number();
  step.count = step.rowCount = entries.size();
  step.first = from.positionOfGone(_leaving.at(level.change->come[first].row).index);
  for (const std::size_t i : entries) {
    OutlineRow& row = *level.change->come[i].row;
    step.rows.push_back(row.state());
    from.leaving.unmark(_leaving.at(&row).index);
  }
  if (&parent != &newParent) {
    step.above = rowsAbove(parent);
    step.newAbove = rowsAbove(newParent);
    for (const std::size_t i : entries) {
      step.newOccurrences.push_back(_occurrencesAfterwards.at(level.change->come[i].row));
      _hasMoved.insert(level.change->come[i].row);
    }
  }
  step.newFirst = level.positionOfCome(first);
  for (const std::size_t i : entries) {
    level.placed.mark(i);
  }
}

/// A row and all rows above it but the top, as they stand after the steps so far.
std::vector<RowState> StepPlan::rowsAbove(const OutlineRow& row) const {
  std::vector<RowState> rows;
  for (const OutlineRow* next = &row; !next->isTop() || _newParents.contains(next);) {
    const bool isThere = _hasMoved.contains(next);
    rows.push_back(
        isThere ? RowStateFields::withOccurrence(next->state(), _occurrencesAfterwards.at(next))
                : next->state());
    const OutlineRow* const parent = isThere ? nullptr : next->parent();
    next = parent != nullptr ? parent : _newParents.at(next);
  }
  std::ranges::reverse(rows);
  return rows;
}

// --- rows that change

void StepPlan::change() {
  struct Entry {
    std::size_t parent;  // in the order in which they were found
    std::size_t position;
    std::size_t changed;
  };
  std::vector<OutlineRow*> parents;
  std::unordered_map<const OutlineRow*, std::size_t> indexes;
  std::vector<Entry> entries;
  entries.reserve(_findings->changed.size());
  OutlineRow* lastParent = nullptr;
  for (std::size_t i = 0; i < _findings->changed.size(); ++i) {
    const Findings::Changed& changed = _findings->changed[i];
    OutlineRow* const parent = newParentOf(*changed.row);
    if (parent != lastParent && indexes.emplace(parent, parents.size()).second) {
      parents.push_back(parent);
    }
    lastParent = parent;
    const bool isKnown = changed.now != Findings::Changed::unknown;
    entries.push_back({parent == parents.back() ? parents.size() - 1 : indexes.at(parent),
                       isKnown ? changed.now : positionAfterwards(*changed.row), i});
  }
  std::ranges::sort(entries, [](const Entry& a, const Entry& b) {
    return a.parent != b.parent ? a.parent < b.parent : a.position < b.position;
  });
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const Entry& entry = entries[i];
    Findings::Changed& changed = _findings->changed[entry.changed];
    const bool continues = i > 0 && entries[i - 1].parent == entry.parent &&
                           entries[i - 1].position + 1 == entry.position;
    if (!continues) {
      addStep(OutlineStep::Kind::changed, *parents[entry.parent]).first = entry.position;
    }
    OutlineStep& step = _planned.steps.back();
    ++step.count;
    ++step.rowCount;
    step.changes.push_back(
        {RowStateFields::withOccurrence(changed.row->state(), changed.after.occurrence()),
         std::move(changed.after)});
    _planned.rows.back().rows.push_back(changed.row);
  }
}

/// The position of a row when all other steps are done.
std::size_t StepPlan::positionAfterwards(OutlineRow& row) const {
  const auto found = _levelsByParent.find(newParentOf(row));
  if (found == _levelsByParent.end()) {
    return row.index();
  }
  const Level& level = *found->second;
  if (_newParents.contains(&row)) {
    const auto come = std::ranges::find(level.change->come, &row, &LevelChange::Come::row);
    if (come != level.change->come.end()) {
      return come->now;
    }
  }
  const std::size_t old = row.index();
  const std::size_t goneBefore = firstBeyond(
      level.change->gone.size(), [&](std::size_t i) { return level.change->gone[i].old >= old; });
  const std::size_t rank = old - goneBefore;
  return rank + level.comeUpTo(rank);
}

}  // namespace vexil::detail
