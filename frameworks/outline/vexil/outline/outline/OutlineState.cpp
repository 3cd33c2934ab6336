// SPDX-License-Identifier: Apache-2.0
#include <vexil/detail/IdentifiedMerge.h>
#include <vexil/items/ItemFields.h>
#include <vexil/outline/outline/OutlineState.h>
#include <vexil/outline/rows/QuietLog.h>
#include <vexil/platform/Error.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

namespace vexil::detail {

using platform::ChangeRecord;
using platform::Key;
using platform::Observable;
using platform::detail::ManyUnwatches;
using platform::detail::ManyWatches;
using platform::detail::Operation;
using platform::detail::Watching;

namespace {

const Key& rootKey() {
  static const Key key(KRAVTWVItemsVexilKeyPathRoot);
  return key;
}

/// Names the registration for the end of an object.
const Key& endKey() {
  static const Key key("outline.end");
  return key;
}

/// How often an update begins anew when the tree changes meanwhile.
constexpr int attempts = 5;

/// Whether the callback of any outline is being called on this thread. Such calls are not nested.
constinit thread_local bool isCalling = false;

/// How many outlines of this thread are being prepared.
constinit thread_local int preparations = 0;

struct PreparationInProgress {
  PreparationInProgress() noexcept { ++preparations; }
  PreparationInProgress(const PreparationInProgress&) = delete;
  PreparationInProgress& operator=(const PreparationInProgress&) = delete;
  ~PreparationInProgress() { --preparations; }
};

}  // namespace

// --- life

OutlineState::OutlineState(OutlineOptions options)
    : _options(std::move(options)),
      _top(RowFields::make(RowState(), nullptr)),
      _rowsByItem(_options.followsProperties) {}

std::shared_ptr<OutlineState> OutlineState::make(
    const std::shared_ptr<KRAVTWVItemsVexil>& collection, const std::shared_ptr<Item>& root,
    OutlineOptions options) {
  if (!collection && !root) {
    throw platform::InvalidArgument("an outline needs a collection or an item to follow");
  }
  std::shared_ptr<OutlineState> state(new OutlineState(std::move(options)));
  state->_root = root;
  state->_journals.mustCompareAll = true;
  (void)RowFields::childrenForAdding(*state->_top);
  if (collection) {
    state->_collection = collection;
    state->_collectionAddress = collection.get();
    ManyWatches(state, rootKey(), Watching::oneKey).addTo(*collection);
    ManyWatches(state, endKey(), Watching::end).addTo(*collection);
  } else {
    ManyWatches(state, endKey(), Watching::end).addTo(*root);
  }
  return state;
}

void OutlineState::close() noexcept {
  _isClosed = true;
  _rowsVersion = 0;
  // All registrations end with this object. The collection may live much longer, so those on it are
  // taken out at once, if there is memory for that.
  try {
    if (const auto collection = _collection.lock()) {
      ManyUnwatches(shared_from_this(), rootKey()).removeFrom(*collection);
      ManyUnwatches(shared_from_this(), endKey()).removeFrom(*collection);
    }
  } catch (...) {
    // The collection does not tell an object that is gone.
  }
}

std::shared_ptr<KRAVTWVItemVexil> OutlineState::root() const {
  if (_collectionAddress == nullptr) {
    return _root.lock();
  }
  const auto collection = _collection.lock();
  return collection ? collection->root() : nullptr;
}

Watching OutlineState::watching() const noexcept {
  return _options.followsProperties ? Watching::everyKey : Watching::oneKey;
}

OutlineState::~OutlineState() {
  for (std::size_t i = _nextStep; i < _stepRows.size(); ++i) {
    if (_update.steps()[i].kind == OutlineStep::Kind::inserted) {
      std::ranges::for_each(_stepRows[i].rows, RowFields::destroy);
    }
  }
}

// --- what is announced

void OutlineState::becomeOutOfDate() noexcept {
  ++_version;
  if (!_isOutOfDate) {
    _isOutOfDate = true;
    _mustCall = true;
  }
  // Several outlines may have callbacks that update all of them. What foreign code announces in
  // such an update calls no outline again that has given up, or they would be called for ever.
  const bool isForNothing = _hasGivenUp && isCalling && preparations != 0;
  if (_mustCall && !isForNothing && Operation::isInProgress()) {
    waitForEnd();
  }
}

void OutlineState::operationIsOver() noexcept {
  const auto self = shared_from_this();
  if (!std::exchange(_mustCall, false) || _isClosed || !_options.outOfDate) {
    return;
  }
  isCalling = true;
  try {
    _options.outOfDate();  // held by this object, also when it destroys the outline
  } catch (...) {
    logCaughtException("the callback of an outline");
  }
  isCalling = false;
}

bool OutlineState::isCollection(const Observable& object) const noexcept {
  return &object == _collectionAddress;
}

ItemJournal& OutlineState::journalOf(const Observable& object) {
  const auto* const item = static_cast<const Item*>(&object);
  const auto found = _journals.ofItems.find(item);
  if (found != _journals.ofItems.end() && !found->second.isOfDeadItem()) {
    return found->second;
  }
  const auto reference = std::const_pointer_cast<Observable>(object.weak_from_this().lock());
  ItemJournal journal(std::static_pointer_cast<Item>(reference));
  if (found == _journals.ofItems.end()) {
    return _journals.ofItems.emplace(item, std::move(journal)).first->second;
  }
  journal.forget();  // the address was that of another item
  return found->second = std::move(journal);
}

/// Notes something about the children of an item. Where there is no memory for it, all will be
/// compared.
template <class Note>
void OutlineState::note(const Observable& object, const Note& note) noexcept {
  if (!isCollection(object)) {
    try {
      note(journalOf(object));
    } catch (...) {
      _journals.mustCompareAll = true;
    }
  }
  becomeOutOfDate();
}

void OutlineState::willChange(const Observable& object, const ChangeRecord&) noexcept {
  if (isCollection(object)) {
    return;
  }
  try {
    journalOf(object).begin();
  } catch (...) {
    _journals.mustCompareAll = true;
  }
}

void OutlineState::didChange(const Observable& object, const ChangeRecord& change) noexcept {
  note(object, [&](ItemJournal& journal) {
    journal.end(change, IdentifiedMerge::isOf(object), IdentifiedMerge::lineageOf(object));
  });
}

void OutlineState::didDrop(const Observable& object, const ChangeRecord&) noexcept {
  note(object, [](ItemJournal& journal) { journal.drop(); });
}

void OutlineState::didSet(const Observable& object, const Key& key) noexcept {
  static const Key parentKey("parent");
  if (key == parentKey || isCollection(object)) {
    return;
  }
  try {
    _journals.withProperties.insert(static_cast<const Item*>(&object));
  } catch (...) {
    _journals.mustCompareAll = true;
  }
  becomeOutOfDate();
}

void OutlineState::didEnd(const Observable&) noexcept {
  becomeOutOfDate();
}

void OutlineState::refreshAll() {
  _journals.mustCompareAll = true;
  const Operation operation;  // so that the callback runs at its end
  becomeOutOfDate();
}

// --- preparing

const OutlineUpdate& OutlineState::prepare() {
  if (hasStep()) {
    return _update;
  }
  if (Operation::isInProgress()) {
    // Not `_update`, because `update` may be about to return that.
    _refused = OutlineUpdate({}, _rowCount);
    refuse();
    return _refused;
  }
  const auto self = shared_from_this();
  const Operation operation;
  (void)prepareNext();
  return _update;
}

/// Returns false when foreign code changes the tree whenever it is read. Then the update is empty.
bool OutlineState::prepareNext() {
  takeUpApplied();
  _update = OutlineUpdate({}, _rowCount);
  _stepRows.clear();
  _nextStep = 0;
  _mustCall = false;
  _hasGivenUp = false;
  for (int attempt = 0; attempt < attempts; ++attempt) {
    if (prepareOnce()) {
      return true;
    }
  }
  // A callback that updates at once is not called for ever, also when it updates another outline:
  // then the next announcement calls it.
  _mustCall = true;
  _hasGivenUp = true;
  if (!isCalling) {
    waitForEnd();
  }
  return false;
}

/// The host may try again when it is called.
void OutlineState::refuse() noexcept {
  _mustCall = true;
  waitForEnd();
}

/// Returns false when foreign code has changed the tree meanwhile.
bool OutlineState::prepareOnce() {
  const PreparationInProgress inProgress;
  if (MergeAttempt::failures() != _failedMerges) {
    _journals.mustCompareAll = true;  // what was announced as identified may not be
  }
  ManyWatches watches(shared_from_this(), ItemFields::childrenKey(), watching());
  // Taken out, because foreign code in the middle may announce more. If the preparation ends early,
  // nothing is known any more.
  const Journals journals = std::exchange(_journals, {});
  _journals.mustCompareAll = true;
  Preparation preparation({*_top, root(), journals, _rowsByItem, _lastNumber, _version, watches});
  try {
    preparation.run();
  } catch (const TreeChanged&) {
    giveUp(preparation);
    return false;
  } catch (const IdentityChanged&) {
    giveUp(preparation);
    return false;
  }
  // Where there is no memory, what is watched for nothing stays watched. It is not known what the
  // last item was, and an item too many only costs a comparison.
  try {
    commit(preparation.findings());
  } catch (...) {
    // Some rows refer to other items now, and the table may have rows that never will be.
    _rowsByItem.clear();
    _isTableLost = true;
    _journals.mustCompareAll = true;
    throw;
  }
  return true;
}

void OutlineState::giveUp(const Preparation& preparation) {
  ManyUnwatches unwatches(shared_from_this(), ItemFields::childrenKey());
  preparation.forEachItemWatchedForNothing([&](Item& item) { unwatches.removeFrom(item); });
}

/// Where there is no memory for it, some items stay watched for nothing.
void OutlineState::unwatch(const std::vector<std::weak_ptr<Item>>& items) noexcept {
  try {
    ManyUnwatches unwatches(shared_from_this(), ItemFields::childrenKey());
    for (const std::weak_ptr<Item>& reference : items) {
      if (const auto item = reference.lock()) {
        unwatches.removeFrom(*item);
      }
    }
  } catch (...) {
    // They make the outline out of date, and the update is empty.
  }
}

/// The rows refer to other items from now on, and the tree's next announcements are about what the
/// rows will be. What rows show is left as it is.
void OutlineState::commit(Findings& findings) {
  StepPlan plan(findings);
  PlannedSteps planned = plan.make();
  if (_isTableLost) {
    addToTable(*_top);
    _isTableLost = false;
  }
  std::vector<OutlineRow*> newParents;
  for (LevelChange* const level : findings.levelsInOrder) {
    if (RowFields::children(*level->parent) == nullptr) {
      newParents.push_back(level->parent);
    }
  }
  for (std::size_t i = 0; i < planned.steps.size(); ++i) {
    for (OutlineRow* const row : planned.rows[i].rows) {
      if (planned.steps[i].kind == OutlineStep::Kind::inserted) {
        addToTable(*row);
      }
    }
  }
  removeFromTable(findings);
  for (const auto& [row, item] : findings.itemsOfRows) {
    _rowsByItem.setItem(*row, item);
  }
  takeOverEqualEvents(findings);
  for (LevelChange* const level : findings.levelsInOrder) {
    RowFields::childrenForAdding(*level->parent).setDistinct(level->areDistinct);
  }
  if (!_rowsByItem.hasAllRows()) {
    std::ranges::for_each(newParents, [&](OutlineRow* row) { _rowsByItem.add(*row); });
  }
  std::size_t rowsAfterwards = _rowCount;
  for (const OutlineStep& step : planned.steps) {
    rowsAfterwards += step.kind == OutlineStep::Kind::inserted ? step.rowCount : 0;
    rowsAfterwards -= step.kind == OutlineStep::Kind::removed ? step.rowCount : 0;
  }
  for (auto& [row, state] : findings.equalStates) {
    state = RowStateFields::withOccurrence(std::move(state), row->occurrence());
    std::swap(RowFields::state(*row), state);  // the old one goes last: that may run foreign code
  }
  for (const auto& [parent, list] : findings.lists) {
    if (RowList* const children = RowFields::children(*parent)) {
      children->setList(list);
    }
  }
  for (LevelChange* const level : findings.levelsInOrder) {
    level->come.clear();  // the steps own the new rows now
  }
  _journals.clear();
  _failedMerges = MergeAttempt::failures();
  _isOutOfDate = false;
  _mustCall = false;
  _update = OutlineUpdate(std::move(planned.steps), rowsAfterwards);
  _stepRows = std::move(planned.rows);
  _nextStep = 0;
  unwatch(findings.left);
}

void OutlineState::takeOverEqualEvents(Findings& findings) {
  auto& events = findings.equalEvents;
  StateReader reader;
  findings.letGo.reserve(events.size());
  for (std::size_t i = 0; i < events.size(); ++i) {
    constexpr std::size_t ahead = 8;
    if (i + 2 * ahead < events.size()) {
      __builtin_prefetch(events[i + 2 * ahead].first);
      ItemFields::prefetch(events[i + 2 * ahead].second.get());
      events[i + ahead].first->representedObject().prefetch(1);
      ItemFields::prefetchRecord(events[i + ahead].second.get(), 1);
    }
    auto& [row, item] = events[i];
    RowState state = reader.read(*item);
    RowStateFields::setNumber(state, row->number());
    std::swap(RowFields::state(*row), state);
    _rowsByItem.setItem(*row, item);
    findings.letGo.push_back(std::move(state));  // that may run foreign code
  }
}

void OutlineState::addToTable(OutlineRow& newRow) {
  std::vector<OutlineRow*> open{&newRow};
  while (!open.empty()) {
    OutlineRow& row = *open.back();
    open.pop_back();
    _rowsByItem.add(row);
    for (std::size_t i = 0; i < row.childCount(); ++i) {
      if (_rowsByItem.isFor(*row.child(i))) {
        open.push_back(row.child(i));
      }
    }
  }
}

/// Rows that move away from below a row that is removed stay in the table.
void OutlineState::removeFromTable(const Findings& findings) {
  std::vector<OutlineRow*> open;
  std::unordered_set<const OutlineRow*> moving;
  for (const LevelChange* const level : findings.levelsInOrder) {
    for (const auto& entry : level->gone) {
      if (entry.moves) {
        moving.insert(entry.row);
      } else if (_rowsByItem.isFor(*entry.row)) {
        open.push_back(entry.row);
      }
    }
  }
  while (!open.empty()) {
    OutlineRow& row = *open.back();
    open.pop_back();
    _rowsByItem.remove(row);
    for (std::size_t i = 0; i < row.childCount(); ++i) {
      OutlineRow* const child = row.child(i);
      if (_rowsByItem.isFor(*child) && !moving.contains(child)) {
        open.push_back(child);
      }
    }
  }
}

// --- applying

const OutlineStep* OutlineState::nextStep() const noexcept {
  return hasStep() ? &_update.steps()[_nextStep] : nullptr;
}

const StepRows* OutlineState::nextStepRows() const noexcept {
  return hasStep() ? &_stepRows[_nextStep] : nullptr;
}

void OutlineState::applyNext() {
  if (!hasStep()) {
    return;
  }
  const auto self = shared_from_this();
  const Operation operation;
  // Destroyed last, because this may run foreign code: rows and states that are not shown any more.
  std::vector<DetachedRow> removed;
  std::vector<RowState> states;

  _rowsVersion += _isClosed ? 0 : 1;
  const OutlineStep& step = _update.steps()[_nextStep];
  StepRows& rows = _stepRows[_nextStep];
  RowList& children = RowFields::childrenForAdding(*rows.parent);
  std::vector<OutlineRow*> taken;
  switch (step.kind) {
    case OutlineStep::Kind::removed:
      taken.reserve(step.count);
      removed.reserve(step.count);
      children.take(step.first, step.count, taken);
      std::ranges::for_each(taken, [&](OutlineRow* row) { removed.emplace_back(row); });
      _rowCount -= step.rowCount;
      break;
    case OutlineStep::Kind::inserted:
      children.insert(step.first, rows.rows);
      rows.rows.clear();  // the list owns them now
      _rowCount += step.rowCount;
      break;
    case OutlineStep::Kind::moved:
      states = moveRows(step, rows);
      break;
    case OutlineStep::Kind::changed:
      states.reserve(step.count);
      for (std::size_t i = 0; i < step.count; ++i) {
        RowState& state = RowFields::state(*rows.rows[i]);
        states.push_back(std::exchange(state, step.changes[i].after));
      }
      children.dropIndex();
      break;
  }
  ++_nextStep;
}

void OutlineState::applyRest() {
  const auto self = shared_from_this();
  while (hasStep()) {
    applyNext();
  }
}

/// Returns the states that the rows had, if they have others now.
std::vector<RowState> OutlineState::moveRows(const OutlineStep& step, const StepRows& rows) {
  RowList& from = *RowFields::children(*rows.parent);
  RowList& to = RowFields::childrenForAdding(*rows.newParent);
  std::vector<OutlineRow*> moved;
  moved.reserve(step.count);
  std::vector<RowState> states;
  states.reserve(step.newOccurrences.size());
  for (std::size_t i = 0; i < step.count; ++i) {
    moved.push_back(&from.at(step.first + i));
  }
  for (std::size_t i = 0; i < step.newOccurrences.size(); ++i) {
    states.push_back(RowStateFields::withOccurrence(moved[i]->state(), step.newOccurrences[i]));
  }
  from.move(step.first, moved, to, step.newFirst);
  for (std::size_t i = 0; i < states.size(); ++i) {
    std::swap(RowFields::state(*moved[i]), states[i]);
  }
  return states;
}

OutlineUpdate OutlineState::update() {
  if (Operation::isInProgress()) {
    refuse();
    return {{}, _rowCount};
  }
  const auto self = shared_from_this();
  {
    const Operation operation;  // so that who waits is called when all is applied
    takeUpApplied();
    // Foreign code that runs when steps are applied may change the tree. So may have done others,
    // after steps were prepared.
    for (int attempt = 0; attempt < attempts; ++attempt) {
      if (!hasStep() && !prepareNext()) {
        break;
      }
      applyAndNote();
      takeUpApplied();
      if (!_isOutOfDate) {
        break;
      }
    }
  }
  // A callback that has run just now may have updated, and that has returned these steps then: they
  // come before its own.
  return _applied.isEmpty() ? OutlineUpdate({}, _rowCount) : std::exchange(_applied, {});
}

/// Applies the steps that are left, and notes which ones were applied, also when it throws.
void OutlineState::applyAndNote() {
  _firstToReturn = _nextStep;
  try {
    applyRest();
  } catch (...) {
    _endToReturn = _nextStep;
    throw;
  }
  _endToReturn = _nextStep;
}

/// Adds the steps that were noted to those that the next `update` to end returns. Throws
/// `std::bad_alloc` with nothing changed.
void OutlineState::takeUpApplied() {
  if (_firstToReturn == _endToReturn) {
    return;
  }
  const std::vector<OutlineStep>& all = _update.steps();
  if (_applied.isEmpty() && _firstToReturn == 0 && _endToReturn == all.size()) {
    _applied = std::exchange(_update, OutlineUpdate({}, _rowCount));
  } else {
    std::vector<OutlineStep> steps = _applied.steps();
    steps.insert(steps.end(), all.begin() + static_cast<std::ptrdiff_t>(_firstToReturn),
                 all.begin() + static_cast<std::ptrdiff_t>(_endToReturn));
    _applied = OutlineUpdate(std::move(steps), _rowCount);
  }
  _firstToReturn = _endToReturn;
}

}  // namespace vexil::detail
