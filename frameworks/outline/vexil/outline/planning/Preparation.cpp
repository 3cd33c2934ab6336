// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/planning/Preparation.h>
#include <vexil/outline/rows/RowWalk.h>

#include <algorithm>
#include <functional>
#include <utility>

namespace vexil::detail {

Preparation::Preparation(const Input& input)
    : _input(input),
      _tree(input.version),
      _newRows(_tree, input.lastNumber, input.watches),
      _context{_tree,
               _newRows,
               _findings,
               input.watches,
               [this](const std::shared_ptr<Item>& item) {
                 _findings.came.push_back(item);
                 _input.watches.addTo(*item);
               },
               [this](OutlineRow& row, const std::shared_ptr<Item>& item, bool isOther) {
                 compareBelow(row, item, isOther);
               },
               input.rowsByItem.hasAllRows()},
      _crossMoves(_findings, {[this](OutlineRow& row, const std::shared_ptr<Item>& item) {
                                _movedElsewhere.insert(&row);
                                _areGone.clear();
                                compareBelow(row, item, true);
                              },
                              [this](OutlineRow& row) {
                                // Not if another item is known to stand for it now.
                                const auto item = row.item();
                                if (item && !_work.contains(&row)) {
                                  addWork(row, {item});
                                }
                              },
                              [this](OutlineRow& newRow) { leaveBelow(newRow); }}) {}

void Preparation::run() {
  collectWork();
  do {
    doWork();
    if (!findRowsOfOtherItems()) {
      _crossMoves.find();
      takeUpPostponed();
    }
  } while (!_rowsByDepth.empty());
  compareOwners();
  compareWithProperties();
  _tree.requireUnchanged();
}

void Preparation::forEachItemWatchedForNothing(const std::function<void(Item&)>& visit) const {
  for (const auto& item : _findings.came) {
    visit(*item);
  }
  if (_newRows.unread()) {
    visit(*_newRows.unread());
  }
  const auto visitRows = [&](OutlineRow& top, bool isTopWatched) {
    forEachRow(top, [&](OutlineRow& row) {
      const auto item = row.item();
      if (item && (&row != &top || isTopWatched)) {
        visit(*item);
      }
    });
  };
  for (const auto& [row, isWatched] : _newRows.abandoned()) {
    visitRows(*row, isWatched);
  }
  for (const LevelChange* const level : _findings.levelsInOrder) {
    for (const auto& entry : level->come) {
      if (!entry.moves && entry.row != nullptr) {
        visitRows(*entry.row, entry.isWatched);
      }
    }
  }
}

// --- what has to be compared

void Preparation::collectWork() {
  OutlineRow& top = _input.top;
  if (!_input.root) {
    removeAllBelow(top);
    _findings.left.push_back(RowFields::item(top));
    _findings.itemsOfRows.emplace_back(&top, nullptr);
    return;
  }
  const bool isOther = !Identity::areOfOneOwner(RowFields::item(top), _input.root);
  if (isOther) {
    _findings.left.push_back(RowFields::item(top));
    _context.watch(_input.root);
    _findings.itemsOfRows.emplace_back(&top, _input.root);
  }
  if (isOther || _input.journals.mustCompareAll) {
    addWork(top, {_input.root});
  }
  for (const auto& [address, journal] : _input.journals.ofItems) {
    collectJournal(*address, journal);
  }
  // The order of the journals is that of addresses. Equal refreshes give equal updates.
  for (auto& [depth, rows] : _rowsByDepth) {
    std::ranges::sort(rows, std::ranges::greater(), &OutlineRow::number);  // taken from the end
  }
}

void Preparation::collectJournal(const Item& address, const ItemJournal& journal) {
  const std::shared_ptr<Item> item = journal.item();
  if (!item) {
    return;
  }
  bool isFound = false;
  _input.rowsByItem.forEachRowOf(address, [&](OutlineRow& row) {
    isFound = true;
    addWork(row, {item, &journal});
  });
  if (!isFound && !_input.rowsByItem.hasAllRows()) {
    _withoutRow.push_back(item);
  }
}

/// A row keeps the first work that it gets, unless all is to be compared.
void Preparation::addWork(OutlineRow& row, Work work) {
  const auto [entry, isNew] = _work.try_emplace(&row, work);
  if (isNew) {
    _rowsByDepth[depthOf(row)].push_back(&row);
  } else if (work.journal == nullptr) {
    entry->second = std::move(work);
  }
}

std::size_t Preparation::depthOf(OutlineRow& row) {
  std::vector<const OutlineRow*> above;
  const OutlineRow* next = &row;
  while (next != nullptr && !_depths.contains(next)) {
    above.push_back(next);
    next = next->parent();
  }
  std::size_t depth = next == nullptr ? 0 : _depths.at(next) + 1;
  for (; !above.empty(); above.pop_back()) {
    _depths.emplace(above.back(), depth++);
  }
  return _depths.at(&row);
}

/// A row stays. What is below it must be compared if another item stands for it now, or if the
/// number of children tells that some were added or removed without an announcement.
void Preparation::compareBelow(OutlineRow& row, const std::shared_ptr<Item>& item, bool isOther) {
  _findings.compared.insert(&row);
  _comparedItems.insert(item.get());
  const bool isAnyThere = row.childCount() != 0 || !ItemFields::hasNoChildren(*item);
  const bool hasWork = _work.contains(&row);
  if (isOther || _input.journals.mustCompareAll) {
    if (isAnyThere || hasWork) {
      addWork(row, {item});  // also in place of work on the item before
    }
  } else if (!hasWork && (row.childCount() != TreeReading::childCount(*item) ||
                          _findings.levels.contains(&row))) {
    addWork(row, {item});
  }
}

// --- comparing

void Preparation::doWork() {
  while (!_rowsByDepth.empty()) {
    const auto first = _rowsByDepth.begin();
    OutlineRow& row = *first->second.back();
    first->second.pop_back();
    if (first->second.empty()) {
      _rowsByDepth.erase(first);
    }
    if (isGone(row)) {
      _postponed.push_back(_work.extract(&row));
    } else {
      doWorkOn(row, _work.at(&row));
    }
  }
}

/// Rows that seemed to go, but move with a row above them, must be compared after all.
void Preparation::takeUpPostponed() {
  for (auto& work : std::exchange(_postponed, {})) {
    OutlineRow* const row = work.key();
    if (_movedElsewhere.contains(row)) {
      continue;  // another item stands for it, and that has been compared
    }
    if (isGone(*row)) {
      _postponed.push_back(std::move(work));
    } else if (const auto inserted = _work.insert(std::move(work)); inserted.inserted) {
      _rowsByDepth[depthOf(*row)].push_back(row);
    }
  }
}

void Preparation::doWorkOn(OutlineRow& row, const Work& workOfRow) {
  const Work work = workOfRow;
  if (!_done.insert(&row).second) {
    return;
  }
  _owners.push_back(&row);
  LevelMatch match(row, work.item, _context);
  const bool isExplained =
      work.journal != nullptr && !_findings.levels.contains(&row) &&
      work.journal->explains(row.childCount(), TreeReading::childCount(*work.item));
  if (isExplained) {
    match.compareWhatChanged(*work.journal);
  } else {
    match.compareAll();
  }
  _findings.lists.emplace_back(&row, isExplained ? work.journal->list() : 0);
  const auto level = _findings.levels.find(&row);
  if (level != _findings.levels.end()) {
    _levelsDone.push_back(level->second.get());
  }
}

void Preparation::removeAllBelow(OutlineRow& row) {
  if (row.childCount() == 0) {
    return;
  }
  LevelChange& level = _findings.levelOf(row);
  RowList::Reader rowAt(RowFields::children(row));
  for (std::size_t i = 0; i < row.childCount(); ++i) {
    OutlineRow& child = rowAt(i);
    level.gone.push_back({static_cast<std::uint32_t>(i), false, &child});
    _findings.left.push_back(RowFields::item(child));
  }
  _levelsDone.push_back(&level);
}

/// Whether a row will be removed, itself or with one above it.
bool Preparation::isGone(OutlineRow& row) {
  for (const LevelChange* const level : std::exchange(_levelsDone, {})) {
    for (const auto& entry : level->gone) {
      if (!entry.moves) {
        _removedRows.insert(entry.row);
      }
    }
    _areGone.clear();
  }
  if (_removedRows.empty()) {
    return false;
  }
  std::vector<const OutlineRow*> asked;
  const OutlineRow* next = &row;
  bool answer = false;
  for (; next != nullptr && !_movedElsewhere.contains(next); next = next->parent()) {
    const auto known = _areGone.find(next);
    if (known != _areGone.end() || _removedRows.contains(next)) {
      answer = known == _areGone.end() || known->second;
      break;
    }
    asked.push_back(next);
  }
  for (const OutlineRow* const one : asked) {
    _areGone.emplace(one, answer);
  }
  return answer;
}

/// Whether more than one level may hold an item: so many refer to it besides this comparison.
bool Preparation::mayStandTwice(const std::shared_ptr<Item>& item) {
  constexpr long itsLevelAndThisComparison = 3;
  return item.use_count() > itsLevelAndThisComparison;
}

/// Looks through all rows for items that have announced something and are no known parents. They
/// got their first children by an operation of their own. Returns whether it found any.
bool Preparation::findRowsOfOtherItems() {
  std::unordered_map<const Item*, std::shared_ptr<Item>> wanted;
  for (const auto& item : std::exchange(_withoutRow, {})) {
    if (!_comparedItems.contains(item.get()) || mayStandTwice(item)) {
      wanted.emplace(item.get(), item);
    }
  }
  if (wanted.empty()) {
    return false;
  }
  std::unordered_set<const OutlineRow*> withOtherItems;
  for (const auto& entry : _findings.itemsOfRows) {
    withOtherItems.insert(entry.first);
  }
  std::vector<OutlineRow*> open{&_input.top};
  while (!open.empty()) {
    OutlineRow& row = *open.back();
    open.pop_back();
    const auto found = wanted.find(RowFields::itemAddress(row));
    if (found != wanted.end() && !withOtherItems.contains(&row) &&
        Identity::areOfOneOwner(RowFields::item(row), found->second)) {
      addWork(row, {found->second});
      _hasFoundOthers = true;
    }
    for (std::size_t i = row.childCount(); i > 0; --i) {
      open.push_back(row.child(i - 1));
    }
  }
  return !_rowsByDepth.empty();
}

/// What is below a row that was made for nothing is not shown.
void Preparation::leaveBelow(OutlineRow& newRow) {
  forEachRow(newRow, [&](OutlineRow& row) {
    if (&row != &newRow) {
      _findings.left.push_back(RowFields::item(row));
    }
  });
}

// --- rows by themselves

bool Preparation::isToBeComparedAlone(OutlineRow& row) {
  return &row != &_input.top && !isGone(row) && _findings.compared.insert(&row).second;
}

/// Rows whose children were compared may have become groups, or stopped being expandable.
void Preparation::compareOwners() {
  if (_hasFoundOthers) {
    // A level does not say that it has compared rows that seemed to have no children.
    for (const auto& changed : _findings.changed) {
      _findings.compared.insert(changed.row);
    }
    for (const auto& entry : _findings.equalStates) {
      _findings.compared.insert(entry.first);
    }
  }
  for (OutlineRow* const row : _owners) {
    if (isToBeComparedAlone(*row)) {
      compareAlone(*row);
    }
  }
}

void Preparation::compareWithProperties() {
  if (_input.journals.withProperties.empty()) {
    return;
  }
  // Another item may stand for these by now.
  _findings.compared.reserve(_findings.compared.size() + _findings.equalEvents.size());
  for (const auto& entry : _findings.equalEvents) {
    _findings.compared.insert(entry.first);
  }
  std::vector<OutlineRow*> rows;
  for (const Item* const address : _input.journals.withProperties) {
    _input.rowsByItem.forEachRowOf(*address, [&](OutlineRow& row) {
      if (!_findings.compared.contains(&row)) {
        rows.push_back(&row);
      }
    });
  }
  std::ranges::sort(rows, {}, &OutlineRow::number);  // not in the order of addresses
  for (OutlineRow* const row : rows) {
    if (isToBeComparedAlone(*row)) {
      compareAlone(*row);
    }
  }
}

/// Compares a row that keeps its place and its item.
void Preparation::compareAlone(OutlineRow& row) {
  const auto item = row.item();
  if (!item) {
    return;
  }
  RowState after = RowStateFields::withOccurrence(_tree.stateOf(*item), row.occurrence());
  if (!Identity::isOf(row, item, after, row.occurrence())) {
    throw IdentityChanged();
  }
  if (!RowStateFields::areTheSame(row.state(), after)) {
    _findings.noteState(row, std::move(after));
  }
}

}  // namespace vexil::detail
