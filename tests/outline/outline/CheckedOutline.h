// SPDX-License-Identifier: Apache-2.0
// An outline that is compared with a naive model at each update.
#pragma once

#include "NaiveSet.h"
#include "StepChecks.h"
#include "tests/outline/NaiveOutline.h"
#include "tests/outline/RandomScene.h"

#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineCopy.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowSet.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace test {

struct Figures {
  std::size_t refreshes = 0;
  std::size_t updates = 0;
  std::size_t steps = 0;
  std::size_t moves = 0;
  std::size_t movesToOtherParents = 0;
};

inline void requireRowsOfCopy(const vexil::OutlineRow& row, const vexil::OutlineCopy& copy) {
  const auto& children = copy.children(row.number());
  require(row.childCount() == children.size(), "the copy has other children");
  for (std::size_t i = 0; i < children.size(); ++i) {
    const vexil::OutlineRow& child = *row.child(i);
    require(child.number() == children[i], "the copy has other rows");
    require(child.state() == copy.state(child.number()), "the copy has other states");
    requireRowsOfCopy(child, copy);
  }
}

inline void requireShows(const vexil::OutlineRow& row, const NaiveRow& expected) {
  const NaiveShown& shown = expected.shown;
  const std::string name = " of " + shown.uniqueID.description();
  require(row.uniqueID() == shown.uniqueID, "another identifier" + name);
  require(row.occurrence() == expected.occurrence, "another occurrence" + name);
  require(row.label() == shown.label, "another label" + name);
  require(row.representedObject() == shown.object, "another represented object" + name);
  require(row.supportsEnabled() == shown.supportsEnabled, "another supportsEnabled" + name);
  require(row.enabled() == shown.enabled, "another enabled" + name);
  require(row.isGroup() == shown.isGroup, "another isGroup" + name);
  require(row.isExpandable() == shown.isExpandable, "another isExpandable" + name);
  require(row.state().className() == shown.className, "another class" + name);
  require(row.item() == expected.item.lock(), "another item" + name);
}

/// An outline of a scene, with a model of it, a copy, and a set of its rows.
class CheckedOutline {
 public:
  CheckedOutline(RandomScene& scene, bool follows, Figures& figures)
      : _scene(scene), _figures(figures), _rows(std::make_unique<NaiveRow>()) {
    vexil::OutlineOptions options{.followsProperties = follows,
                                  .outOfDate = [this] { ++_callsOutOfDate; }};
    _outline = scene.collection() ? std::make_unique<vexil::Outline>(scene.collection(), options)
                                  : std::make_unique<vexil::Outline>(scene.root(), options);
  }

  [[nodiscard]] vexil::Outline& outline() { return *_outline; }
  [[nodiscard]] const Lines& descriptions() const { return _descriptions; }

  /// Called in the middle of an operation.
  void requireRefused() {
    _wasRefused = true;
    const std::size_t count = _outline->rowCount();
    require(_outline->update().isEmpty(), "an update in the middle of an operation");
    require(_outline->rowCount() == count, "rows in the middle of an operation");
  }

  /// To be called before an operation that may change the tree, and after it.
  void noteWhetherOutOfDate() {
    _wasOutOfDate = _outline->isOutOfDate();
    _callsBefore = _callsOutOfDate;
    _wasRefused = false;
  }
  void requireCalledOnce() const {
    const std::size_t calls = _callsOutOfDate - _callsBefore;
    const bool becameOutOfDate = !_wasOutOfDate && _outline->isOutOfDate();
    require(_wasRefused || calls == (becameOutOfDate ? 1U : 0U),
            "called " + std::to_string(calls) + " times");
    require(!_wasRefused || calls >= 1, "not called after an update was refused");
  }

  /// Updates and checks everything. `betweenSteps` may change the tree, and says whether it has.
  void update(const std::function<bool()>& betweenSteps) {
    ++_figures.updates;
    _hasTreeChanged = false;
    const vexil::OutlineCopy before = _copy;
    const auto isPending = [&] { return _outline->nextStep() != nullptr; };
    require(!isPending(), "a step before an update");
    const vexil::OutlineUpdate update = _outline->prepare();
    HostThing::nextLabel = nullptr;
    requireRowsOfCopy(_outline->top(), before);  // nothing has changed yet
    auto after = naiveRows(_scene.root());
    NaiveRefresh refresh(*_rows, *after);

    const StepChecks checks(update, before);
    checks.requireOrder();
    std::vector<vexil::OutlineCopy> copies{before};
    for (const vexil::OutlineStep& step : update.steps()) {
      require(isPending() && *_outline->nextStep() == step, "another next step");
      require(_outline->nextParent()->number() == step.parent, "another next parent");
      const bool moves = step.kind == vexil::OutlineStep::Kind::moved;
      require((_outline->nextNewParent() != nullptr) == moves, "whether there is a new parent");
      require(!moves || _outline->nextNewParent()->number() == step.newParent, "a new parent");
      checks.requireFits(step, _copy);
      _copy.apply(step);
      _outline->applyNext();
      requireRowsOfCopy(_outline->top(), _copy);
      copies.push_back(_copy);
      _hasTreeChanged = betweenSteps();
    }
    require(!isPending(), "a step behind an update");
    for (std::size_t i = 0; i + 1 < update.steps().size(); ++i) {
      StepChecks::requireApart(update.steps()[i], update.steps()[i + 1], copies[i], copies[i + 2]);
    }

    require(_outline->rowCount() == after->countBelow(), "rowCount");
    require(update.rowsAfterwards() == after->countBelow(), "rowsAfterwards");
    requireRows(refresh, _outline->top(), *after);
    requireSteps(refresh, update, *after);
    requireText(update);
    requireSet(refresh, update, *after);
    _rows = std::move(after);
  }

  void requireNothingToDo() {
    require(!_outline->isOutOfDate(), "out of date after an update");
    require(_outline->update().isEmpty(), "an update right after another");
    const std::size_t calls = _callsOutOfDate;
    _outline->refreshAll();
    require(_callsOutOfDate == calls + 1, "not called when refreshed");
    const vexil::OutlineUpdate update = _outline->update();
    require(update.isEmpty(), "an update of nothing: " + update.description());
    require(update.rowsAfterwards() == _outline->rowCount(), "rowsAfterwards of nothing");
  }

 private:
  /// The rows are those of the tree, and rows are the same objects if their identities are.
  void requireRows(const NaiveRefresh& refresh, vexil::OutlineRow& row, NaiveRow& expected) {
    require(row.childCount() == expected.children.size(), "another number of children");
    for (std::size_t i = 0; i < row.childCount(); ++i) {
      vexil::OutlineRow& child = *row.child(i);
      NaiveRow& place = *expected.children[i];
      requireShows(child, place);
      require(child.parent() == &row && child.index() == i && !child.isTop(), "another place");
      const NaiveRow* const before = refresh.before(place);
      const std::string name = " of " + place.shown.uniqueID.description();
      if (before != nullptr) {
        require(child.number() == before->number, "another number" + name);
        require(&child == before->row, "another row" + name);
      } else {
        require(child.number() > _lastNumber, "an old number" + name);
      }
      if (place.hasIdentifier()) {
        require(row.childWithUniqueID(place.shown.uniqueID, place.occurrence) == &child,
                "another row by identifier" + name);
      }
      place.number = child.number();
      place.row = &child;
      requireRows(refresh, child, place);
    }
  }

  void requireSteps(const NaiveRefresh& refresh, const vexil::OutlineUpdate& update,
                    NaiveRow& after) {
    std::size_t inserted = 0;
    std::size_t removed = 0;
    std::map<vexil::RowNumber, std::pair<const NaiveRow*, const NaiveRow*>> changed;
    std::map<vexil::RowNumber, const NaiveRow*> placesByNumber;
    after.forEachBelow([&](NaiveRow& row) {
      const NaiveRow* const before = refresh.before(row);
      inserted += before == nullptr ? 1U : 0U;
      placesByNumber[row.number] = &row;
      if (before != nullptr && before->shown.differsFrom(row.shown)) {
        changed[row.number] = {before, &row};
      }
      _lastNumber = std::max(_lastNumber, row.number);
    });
    _rows->forEachBelow([&](NaiveRow& row) { removed += refresh.after(row) == nullptr ? 1U : 0U; });
    std::size_t moved = 0;
    std::size_t movedToOthers = 0;
    const std::size_t changes = changed.size();
    for (const vexil::OutlineStep& step : update.steps()) {
      if (step.kind == vexil::OutlineStep::Kind::moved) {
        (step.parent == step.newParent ? moved : movedToOthers) += step.count;
        for (std::size_t i = 0; i < step.newOccurrences.size(); ++i) {
          require(step.newOccurrences[i] == placesByNumber.at(step.rows[i].number())->occurrence,
                  "another occurrence where a row moved to");
        }
      }
      for (const vexil::RowChange& change : step.changes) {
        const auto row = changed.find(change.after.number());
        require(row != changed.end(), "a row is changed that shows the same");
        requireAspects(change, *row->second.first, *row->second.second);
        changed.erase(row);
      }
    }
    require(changed.empty(), "a changed row is missing");
    require(moved == refresh.leastMovesWithinLevels(),
            "rows that move within levels: " + std::to_string(moved) + " instead of " +
                std::to_string(refresh.leastMovesWithinLevels()));
    require(movedToOthers == refresh.movesToOtherParents(), "rows that move to other parents");
    require(update.rowsTouched() == inserted + removed + moved + movedToOthers + changes,
            "rowsTouched");
    _figures.steps += update.steps().size();
    _figures.moves += moved;
    _figures.movesToOtherParents += movedToOthers;
  }

  void requireText(const vexil::OutlineUpdate& update) {
    _descriptions.push_back(update.description());
    if (std::ranges::all_of(update.steps(),
                            [](const vexil::OutlineStep& step) { return isStorable(step); })) {
      const auto read = vexil::OutlineUpdate::fromPropertyList(update.propertyList());
      require(read && *read == update, "another update from the property list");
      require(read->description() == _descriptions.back(), "another text of an equal update");
    }
  }

  /// A set follows the update. Rows that stay, or move and have identifiers, stay in it.
  void requireSet(const NaiveRefresh& refresh, const vexil::OutlineUpdate& update,
                  NaiveRow& after) {
    _set.follow(update);
    std::vector<PathsOfMove> moves;
    after.forEachBelow([&](NaiveRow& row) {
      const NaiveRow* const before = refresh.before(row);
      if (before != nullptr && before->parent != refresh.before(*row.parent)) {
        moves.push_back({pathOf(*before), pathOf(row)});
      }
    });
    _naiveSet.follow(moves);
    std::vector<vexil::OutlineRow*> selected;
    for (vexil::OutlineRow* const row : rowsOf(*_outline)) {
      const Path path = pathOf(*row);
      require(_set.contains(*row) == _naiveSet.contains(path),
              "whether the set has " + row->uniqueID().description());
      if (_set.contains(*row)) {
        selected.push_back(row);
      }
    }
    require(_set.rowsOf(*_outline) == selected, "the rows of the set");
    // What moves by way of a row without an identifier is not followed.
    const bool isFollowed = std::ranges::all_of(update.steps(), [](const auto& step) {
      const auto hasIdentifier = [](const auto& state) { return !state.uniqueID().isAbsent(); };
      return std::ranges::all_of(step.above, hasIdentifier) &&
             std::ranges::all_of(step.newAbove, hasIdentifier);
    });
    after.forEachBelow([&](NaiveRow& row) {
      const NaiveRow* const before = refresh.before(row);
      if (isFollowed && before != nullptr && _selectedNumbers.contains(row.number) &&
          isIdentified(pathOf(*row.row)) && _identifiedNumbers.contains(row.number)) {
        require(_set.contains(*row.row), "a row has left the set");
      }
    });
    restoreSet();
    change(selected);
  }

  void restoreSet() {
    const auto restored = vexil::RowSet::fromPropertyList(_set.propertyList());
    require(restored.has_value(), "the property list of a set");
    const auto root = _scene.root();
    if (!root || _hasTreeChanged || _figures.updates % 5 != 0) {
      return;
    }
    vexil::Outline other(root);
    (void)other.update();
    const auto rows = rowsOf(*_outline);
    const auto others = rowsOf(other);
    require(rows.size() == others.size(), "another outline of the same tree");
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const Path path = pathOf(*rows[i]);
      const bool isSaved =
          isIdentified(path) &&
          std::ranges::all_of(path, [](const PathPart& part) { return isStorable(part.uniqueID); });
      require(restored->contains(*others[i]) == (isSaved && _set.contains(*rows[i])),
              "a restored set has others selected");
    }
  }

  /// Some rows enter the set.
  void change(const std::vector<vexil::OutlineRow*>& selected) {
    if (selected.size() > 12) {
      _set.clear();
      _naiveSet = NaiveSet();
    }
    _selectedNumbers.clear();
    _identifiedNumbers.clear();
    std::size_t next = _figures.updates;
    for (vexil::OutlineRow* const row : rowsOf(*_outline)) {
      const Path path = pathOf(*row);
      if (++next % 5 == 0) {
        _set.insert(*row);
        _naiveSet.insert(path);
      }
      if (_set.contains(*row)) {
        _selectedNumbers.insert(row->number());
      }
      if (isIdentified(path)) {
        _identifiedNumbers.insert(row->number());
      }
    }
  }

  RandomScene& _scene;
  Figures& _figures;
  std::unique_ptr<vexil::Outline> _outline;
  std::unique_ptr<NaiveRow> _rows;
  vexil::OutlineCopy _copy;
  vexil::RowNumber _lastNumber = 0;
  std::size_t _callsOutOfDate = 0;
  std::size_t _callsBefore = 0;
  bool _wasOutOfDate = true;
  bool _wasRefused = false;
  bool _hasTreeChanged = false;  // since the update was prepared
  vexil::RowSet _set;
  NaiveSet _naiveSet;
  std::set<vexil::RowNumber> _selectedNumbers;
  std::set<vexil::RowNumber> _identifiedNumbers;
  Lines _descriptions;
};

}  // namespace test
