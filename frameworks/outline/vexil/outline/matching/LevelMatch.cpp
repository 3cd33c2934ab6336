// SPDX-License-Identifier: Apache-2.0
#include <vexil/order/PlaceTable.h>
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/matching/LevelMatch.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace vexil::detail {

LevelMatch::LevelMatch(OutlineRow& parent, const std::shared_ptr<Item>& item, Context& context)
    : _parent(&parent),
      _item(item),
      _context(&context),
      _rows(RowFields::children(parent)),
      _oldCount(parent.childCount()),
      _rowAt(_rows) {
  const auto level = context.findings.levels.find(&parent);
  if (level != context.findings.levels.end()) {
    for (const auto& entry : level->second->gone) {
      _movedAway.push_back(entry.old);
    }
  }
}

void LevelMatch::compareAll() {
  _areAllCompared = true;
  if (_oldCount == 0) {
    makeAll();
    return;
  }
  const std::vector<bool> areWatched = watchOthers();
  const std::vector<std::uint32_t> occurrences = occurrencesOfChildren(_context->tree, *_item);
  _areDistinct = occurrences.empty();
  const std::size_t count = TreeReading::childCount(*_item);
  for (std::size_t now = 0; now < count; ++now) {
    TreeReading::prefetch(*_item, now);
    Child child{now, TreeReading::child(*_item, now), {}};
    child.identifier = _context->tree.uniqueIDOf(*child.item);
    child.occurrence = occurrences.empty() ? 0 : occurrences[now];
    child.isWatched = now < areWatched.size() && areWatched[now];
    if (!findNearby(child)) {
      _notFound.push_back(std::move(child));
    }
  }
  finish();
}

/// Watches the children that are not seen at once to be those of rows, before they are read. So no
/// change is missed that foreign code makes to them in between. Does nothing where there is no such
/// code.
std::vector<bool> LevelMatch::watchOthers() {
  const std::size_t count = TreeReading::childCount(*_item);
  bool mayRunForeignCode = false;
  for (std::size_t now = 0; now < count && !mayRunForeignCode; ++now) {
    mayRunForeignCode = StateReader::mayRunForeignCode(*TreeReading::child(*_item, now));
  }
  std::vector<bool> areWatched(mayRunForeignCode ? count : 0);
  std::size_t offset = 0;  // wraps around
  for (std::size_t now = 0; now < areWatched.size(); ++now) {
    const std::shared_ptr<Item>& item = TreeReading::child(*_item, now);
    areWatched[now] = true;
    for (const std::size_t old : {now + offset, now + offset + 1, now + offset - 1}) {
      if (old < _oldCount && Identity::areOfOneOwner(RowFields::item(_rowAt(old)), item)) {
        offset = old - now;
        areWatched[now] = false;
        break;
      }
    }
    if (areWatched[now]) {
      _context->watch(item);
    }
  }
  return areWatched;
}

void LevelMatch::watch(Child& child) {
  if (!child.isWatched) {
    _context->watch(child.item);
    child.isWatched = true;
  }
}

/// Where no rows are, all are new.
void LevelMatch::makeAll() {
  NewRows::Children children = _context->newRows.makeChildren(*_item);
  if (children.rows.empty()) {
    return;
  }
  LevelChange& level = _context->findings.levelOf(*_parent);
  _context->findings.levelsWithNewRows.push_back(&level);
  level.areDistinct = children.areDistinct;
  level.come.reserve(children.rows.size());
  for (DetachedRow& row : children.rows) {
    const auto now = static_cast<std::uint32_t>(level.come.size());
    level.come.push_back({now, false, true, row.release()});
  }
}

void LevelMatch::compareWhatChanged(const ItemJournal& journal) {
  // Identifiers are looked for among the rows that were touched. That will do when no other row
  // can have them.
  _areKnownToDiffer = journal.isIdentified() && areRowsDistinct();
  if (!_areKnownToDiffer && (!journal.come().empty() || !doDirtyOnesKeepIdentity(journal))) {
    compareAll();
    return;
  }
  _areDistinct = areRowsDistinct();
  // The rows must stand for the list before.
  const EventLineage* const lineage = journal.lineage();
  if (_areKnownToDiffer && lineage != nullptr && _rows != nullptr && _rows->list() != 0 &&
      _rows->list() == lineage->listBefore && _oldCount == lineage->countBefore &&
      TreeReading::childCount(*_item) == lineage->origins.size()) {
    _lineage = lineage;
  }
  goThrough(journal);
  finish();
}

bool LevelMatch::doDirtyOnesKeepIdentity(const ItemJournal& journal) {
  if (!journal.gone().empty() && !areRowsDistinct()) {
    return false;  // occurrences may change
  }
  bool areSame = true;
  forEachDirty(journal, [&](std::size_t now, std::size_t old) {
    OutlineRow& row = _rowAt(old);
    const std::shared_ptr<Item> child = TreeReading::child(*_item, now);
    areSame = areSame &&
              (isUntouched(row, *child) ||
               Identity::isOf(row, child, _context->tree.uniqueIDOf(*child), row.occurrence()));
  });
  _context->tree.requireUnchanged();
  return areSame;
}

/// Calls `visit` with the positions now and before of all children that stayed and are dirty.
template <class Visit>
void LevelMatch::forEachDirty(const ItemJournal& journal, const Visit& visit) {
  auto come = journal.come().begin();
  auto gone = journal.gone().begin();
  std::size_t comeBefore = 0;
  std::size_t goneBefore = 0;
  for (const auto& range : journal.dirty()) {
    for (std::size_t now = range.first; now < range.end(); ++now) {
      while (come != journal.come().end() && come->end() <= now) {
        comeBefore += (come++)->count;
      }
      if (come != journal.come().end() && come->first <= now) {
        continue;  // it came
      }
      const std::size_t rank = now - comeBefore;
      while (gone != journal.gone().end() && gone->first <= rank + goneBefore) {
        goneBefore += (gone++)->count;
      }
      visit(now, rank + goneBefore);
    }
  }
}

/// Goes through both sides at once: what came, what went, and what stayed in between.
void LevelMatch::goThrough(const ItemJournal& journal) {
  _dirty = journal.dirty().begin();
  _dirtyEnd = journal.dirty().end();
  auto come = journal.come().begin();
  auto gone = journal.gone().begin();
  std::size_t now = 0;
  std::size_t old = 0;
  while (true) {
    if (gone != journal.gone().end() && gone->first == old) {
      goThroughGone(*gone);
      old = (gone++)->end();
    } else if (come != journal.come().end() && come->first == now) {
      goThroughCome(*come);
      now = (come++)->end();
    } else if (old == _oldCount) {
      break;
    } else {
      const std::size_t untilGone =
          gone == journal.gone().end() ? _oldCount - old : gone->first - old;
      const std::size_t untilCome = come == journal.come().end() ? untilGone : come->first - now;
      const std::size_t count = std::min(untilGone, untilCome);
      goThroughKept(now, old, count);
      now += count;
      old += count;
    }
  }
}

void LevelMatch::goThroughGone(const platform::IndexSet::Range& range) {
  for (std::size_t old = range.first; old < range.end(); ++old) {
    _loose.push_back(old);
    _context->findings.left.push_back(RowFields::item(_rowAt(old)));
  }
}

void LevelMatch::goThroughCome(const platform::IndexSet::Range& range) {
  for (std::size_t now = range.first; now < range.end(); ++now) {
    TreeReading::prefetch(*_item, now);
    Child child{now, TreeReading::child(*_item, now), {}};
    requireRecordOfList(*child.item, now);
    watch(child);
    child.identifier = _context->tree.uniqueIDOf(*child.item);
    child.isKnownNew = _lineage != nullptr;
    if (child.isKnownNew && _lineage->origins[now] != PlaceTable::nowhere) {
      throw IdentityChanged();
    }
    if (child.isKnownNew || !findNearby(child)) {
      _notFound.push_back(std::move(child));
    }
  }
}

void LevelMatch::goThroughKept(std::size_t now, std::size_t old, std::size_t count) {
  const std::size_t end = now + count;
  while (now < end) {
    while (_dirty != _dirtyEnd && _dirty->end() <= now) {
      ++_dirty;
    }
    const bool isAnyDirty = _dirty != _dirtyEnd && _dirty->first < end;
    const std::size_t cleanEnd = isAnyDirty ? std::max(now, _dirty->first) : end;
    _survivors.add(now, old, cleanEnd - now);
    old += cleanEnd - now;
    now = cleanEnd;
    for (; isAnyDirty && now < std::min(end, _dirty->end()); ++now, ++old) {
      TreeReading::prefetch(*_item, now);
      requireRecordOfList(*TreeReading::child(*_item, now), now);
      if (_lineage != nullptr) {
        examineByLineage(now, old);
      } else {
        examineDirty(now, old);
      }
    }
  }
}

/// Where a merge of records tells that identifiers differ, a host may have given an item another
/// one since. Then the item does not refer to a record of the list any more.
void LevelMatch::requireRecordOfList(const Item& item, std::size_t now) const {
  if (!_areKnownToDiffer) {
    return;
  }
  const RecordAddress record = ItemFields::equalRecord(item);
  const bool isOfList = _lineage == nullptr
                            ? record.list() != 0
                            : record.list() == _lineage->list && record.place() == now;
  if (!isOfList || !ItemFields::isPlainEvent(item)) {
    throw IdentityChanged();
  }
}

void LevelMatch::examineDirty(std::size_t now, std::size_t old) {
  OutlineRow& row = _rowAt(old);
  const std::shared_ptr<Item>& item = TreeReading::child(*_item, now);
  const bool isOther = !Identity::areOfOneOwner(RowFields::item(row), item);
  if (!isOther && isUntouched(row, *item)) {
    _survivors.add(now, old);
    return;
  }
  Child child{now, item, {}};
  if (isOther) {  // a host has put another item there
    _context->findings.left.push_back(RowFields::item(row));
    watch(child);
  }
  child.identifier = _context->tree.uniqueIDOf(*child.item);
  child.occurrence = row.occurrence();  // as long as it stays where it is
  if (Identity::isOf(row, child.item, child.identifier, child.occurrence)) {
    _survivors.add(now, old);
    keep(row, child);
    return;
  }
  child.occurrence = 0;
  _loose.push_back(old);
  if (!findNearby(child)) {
    _notFound.push_back(std::move(child));
  }
}

/// The same where the library says at which place the record stood before, and so which row is the
/// one of a child, and mostly also whether the record is equal. Then only what the merge removed
/// goes, and only what it inserted is new.
void LevelMatch::examineByLineage(std::size_t now, std::size_t old) {
  prefetchForLineage(now);
  const std::shared_ptr<Item>& item = TreeReading::child(*_item, now);
  const EventLineage::Place origin = _lineage->origins[now];
  const std::size_t place = origin & EventLineage::placeBits;
  if (origin == PlaceTable::nowhere || place >= _oldCount) {
    throw IdentityChanged();
  }
  OutlineRow& row = _rowAt(place);
  _survivors.add(now, place);
  const bool isPlain = ItemFields::isPlainEvent(*item) &&
                       RowStateFields::isPlainEvent(row.state()) &&
                       RowFields::children(row) == nullptr;
  if (isPlain && origin == place) {
    if (place != old || !isUntouched(row, *item)) {
      _context->findings.equalEvents.emplace_back(&row, item);
    }
    return;
  }
  Child child{now, item, _context->tree.uniqueIDOf(*item)};
  if (!Identity::isOf(row, child.item, child.identifier, child.occurrence)) {
    throw IdentityChanged();
  }
  keep(row, child);
}

void LevelMatch::prefetchForLineage(std::size_t now) const {
  constexpr std::size_t ahead = 8;
  const auto& origins = _lineage->origins;
  if (now + 2 * ahead < origins.size()) {
    _rowAt.prefetch(origins[now + 2 * ahead] & EventLineage::placeBits);
    _rowAt.prefetchRecord(origins[now + ahead] & EventLineage::placeBits);
  }
}

/// Whether the row of a plain event shows this item's very record.
bool LevelMatch::isUntouched(OutlineRow& row, const Item& item) {
  return RowStateFields::isPlainEvent(row.state()) && row.childCount() == 0 &&
         ItemFields::isPlainEvent(item) &&
         row.representedObject().sharesStorageWith(ItemFields::representedObject(item));
}

/// Whether a row has been found to move to another parent. Then it is no child any more.
bool LevelMatch::hasMovedAway(std::size_t old) const {
  return !_movedAway.empty() && std::ranges::binary_search(_movedAway, old);
}

/// Where one row is found, its neighbours mostly are.
bool LevelMatch::findNearby(Child& child) {
  const std::size_t old = child.now + static_cast<std::size_t>(_offset);  // wraps around
  return keepIfSame(child, old) || keepIfSame(child, old + 1) || keepIfSame(child, old - 1);
}

bool LevelMatch::keepIfSame(Child& child, std::size_t old) {
  if (old >= _oldCount || hasMovedAway(old)) {
    return false;
  }
  OutlineRow& row = _rowAt(old);
  if (!Identity::isOf(row, child.item, child.identifier, child.occurrence)) {
    return false;
  }
  _offset = static_cast<std::ptrdiff_t>(old - child.now);
  _found.push_back(old);
  _survivors.add(child.now, old);
  keep(row, child);
  return true;
}

void LevelMatch::keep(OutlineRow& row, Child& child) {
  const std::shared_ptr<Item>& item = child.item;
  const bool isOther = !Identity::areOfOneOwner(RowFields::item(row), item);
  if (_context->findings.areMovesKnown) {
    _context->findings.staying.insert(&row);
  }
  if (_context->isCalledForEachRow || RowFields::children(row) != nullptr ||
      !ItemFields::isPlainEvent(*item)) {
    _context->compareBelow(row, item, isOther);
  }
  if (!isUntouched(row, *item)) {
    RowState after = RowStateFields::withOccurrence(_context->tree.stateOf(*item, row.state()),
                                                    child.occurrence);
    if (!RowStateFields::areTheSame(row.state(), after)) {
      _context->findings.noteState(row, std::move(after), child.now);
    }
  }
  if (_areAllCompared && (isOther || child.isWatched)) {
    _context->findings.left.push_back(RowFields::item(row));  // of that place
    watch(child);
  }
  if (isOther) {
    _context->findings.itemsOfRows.emplace_back(&row, item);
  }
}

/// Looks for the rows of the other children among all rows that were not found.
void LevelMatch::findOthers() {
  if (std::ranges::all_of(_notFound, &Child::isKnownNew)) {
    return;
  }
  std::vector<std::size_t> candidates;
  PlaceTable places(_loose.size());
  std::map<std::weak_ptr<Item>, std::vector<std::size_t>, std::owner_less<>> byItem;
  for (const std::size_t old : _loose) {
    if (hasMovedAway(old)) {
      continue;
    }
    OutlineRow& row = _rowAt(old);
    if (RowStateFields::hasIdentifier(row.state())) {
      places.insert(Identity::hashOf(row.uniqueID()),
                    static_cast<PlaceTable::Place>(candidates.size()));
      candidates.push_back(old);
    } else {
      byItem[RowFields::item(row)].push_back(old);
    }
  }
  Survivors others;
  std::vector<Child> newOnes;
  for (Child& child : _notFound) {
    std::size_t old = _oldCount;
    if (child.isKnownNew) {
      // No row has its identifier.
    } else if (!child.identifier.isAbsent()) {
      const PlaceTable::Place place =
          places.find(Identity::hashOf(child.identifier), [&](PlaceTable::Place candidate) {
            return Identity::isOf(_rowAt(candidates[candidate]), child.item, child.identifier,
                                  child.occurrence);
          });
      old = place == PlaceTable::nowhere ? _oldCount : candidates[place];
    } else if (const auto found = byItem.find(child.item); found != byItem.end()) {
      const auto row = std::ranges::find_if(found->second, [&](std::size_t candidate) {
        return _rowAt(candidate).occurrence() == child.occurrence;
      });
      old = row == found->second.end() ? _oldCount : *row;
    }
    if (old == _oldCount) {
      newOnes.push_back(std::move(child));
      continue;
    }
    _found.push_back(old);
    others.add(child.now, old);
    keep(_rowAt(old), child);
  }
  _survivors.merge(std::move(others));
  _notFound = std::move(newOnes);
}

void LevelMatch::finish() {
  if (!std::ranges::is_sorted(_found)) {
    std::ranges::sort(_found);
  }
  if (_areAllCompared) {
    // All rows that were not found may have to go.
    auto found = _found.begin();
    for (std::size_t old = 0; old < _oldCount; ++old) {
      if (found != _found.end() && *found == old) {
        ++found;
      } else {
        _loose.push_back(old);
      }
    }
    _found.clear();
  }
  removeFoundFromLoose();
  findOthers();
  _context->tree.requireUnchanged();
  if (!_areAllCompared && _survivors.isAnyTwice()) {
    throw IdentityChanged();  // children that were known to differ have one identifier by now
  }
  std::ranges::sort(_found);
  removeFoundFromLoose();
  _survivors.decideWhoMoves();
  if (_loose.empty() && _notFound.empty() && _survivors.areInOrder()) {
    return;
  }
  LevelChange& level = _context->findings.levelOf(*_parent);
  level.areDistinct = _areDistinct;
  addGone(level);
  addCome(level);
}

void LevelMatch::removeFoundFromLoose() {
  if (!_found.empty()) {
    std::vector<std::size_t> loose;
    std::ranges::set_difference(_loose, _found, std::back_inserter(loose));
    _loose = std::move(loose);
    _found.clear();
  }
}

void LevelMatch::addGone(LevelChange& level) {
  // Rows that move to another parent may have left already.
  const std::size_t leftBefore = level.gone.size();
  const auto add = [&](std::size_t old, bool moves) {
    const auto end = level.gone.begin() + static_cast<std::ptrdiff_t>(leftBefore);
    if (!std::binary_search(level.gone.begin(), end,
                            LevelChange::Gone{static_cast<std::uint32_t>(old)},
                            [](const auto& a, const auto& b) { return a.old < b.old; })) {
      level.gone.push_back({static_cast<std::uint32_t>(old), moves, &_rowAt(old)});
    }
  };
  for (const std::size_t old : _loose) {
    add(old, false);
    if (_areAllCompared) {
      _context->findings.left.push_back(RowFields::item(_rowAt(old)));
    }
  }
  for (const Run& run : _survivors.runs()) {
    for (std::size_t i = 0; run.moves && i < run.count; ++i) {
      add(run.old + i, true);
    }
  }
  if (leftBefore != 0 || !_survivors.areInOrder()) {
    std::ranges::sort(level.gone, {}, &LevelChange::Gone::old);
  }
}

void LevelMatch::addCome(LevelChange& level) {
  level.come.reserve(_notFound.size());
  if (!_notFound.empty()) {
    _context->findings.levelsWithNewRows.push_back(&level);
  }
  if (_areAllCompared) {
    // Others take a place, and are watched, or stand where they stood. All come first, because
    // foreign code may run when rows are made.
    std::ranges::for_each(_notFound, [&](Child& child) { watch(child); });
  }
  for (const Child& child : _notFound) {
    level.come.push_back({static_cast<std::uint32_t>(child.now), false, false, nullptr});
    level.come.back().row =
        _context->newRows
            .make(child.item, RowStateFields::withOccurrence(_context->tree.stateOf(*child.item),
                                                             child.occurrence))
            .release();
  }
  if (_survivors.areInOrder()) {
    return;
  }
  for (const Run& run : _survivors.runs()) {
    for (std::size_t i = 0; run.moves && i < run.count; ++i) {
      level.come.push_back(
          {static_cast<std::uint32_t>(run.now + i), true, false, &_rowAt(run.old + i)});
    }
  }
  std::ranges::sort(level.come, {}, &LevelChange::Come::now);
}

}  // namespace vexil::detail
