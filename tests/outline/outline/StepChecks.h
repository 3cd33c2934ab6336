// SPDX-License-Identifier: Apache-2.0
// What must be true of each step of an update at its moment.
#pragma once

#include "tests/outline/NaiveOutline.h"

#include <vexil/outline/OutlineCopy.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowState.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace test {

/// What is found wrong, as an exception, so that a scene ends with its first fault.
struct Fault : std::runtime_error {
  using std::runtime_error::runtime_error;
};
inline void require(bool holds, const std::string& what) {
  if (!holds) {
    throw Fault(what);
  }
}

// --- values

inline bool isStorable(const vexil::platform::Value& value) {
  return !value.isObject() && value != vexil::platform::Value::null() &&
         std::ranges::all_of(value.elements(), isStorable) &&
         std::ranges::all_of(value.values(), isStorable);
}
inline bool isStorable(const vexil::RowState& state) {
  return isStorable(state.uniqueID()) && isStorable(state.label()) &&
         isStorable(state.representedObject());
}
inline bool isStorable(const vexil::OutlineStep& step) {
  const auto isIt = [](const vexil::RowState& state) { return isStorable(state); };
  return std::ranges::all_of(step.rows, isIt) && std::ranges::all_of(step.above, isIt) &&
         std::ranges::all_of(step.newAbove, isIt) &&
         std::ranges::all_of(step.inserted, isIt, &vexil::InsertedRow::state) &&
         std::ranges::all_of(step.changes, isIt, &vexil::RowChange::before) &&
         std::ranges::all_of(step.changes, isIt, &vexil::RowChange::after);
}

// --- steps

/// Looks at each step of an update at its moment.
class StepChecks {
 public:
  StepChecks(const vexil::OutlineUpdate& update, const vexil::OutlineCopy& before)
      : _steps(update.steps()), _before(before) {}

  void requireOrder() const {
    const auto isMove = [](const vexil::OutlineStep& step) {
      return step.kind == vexil::OutlineStep::Kind::moved;
    };
    const auto firstMove = std::ranges::find_if(_steps, isMove);
    const auto lastMove = std::find_if(_steps.rbegin(), _steps.rend(), isMove).base();
    // removed, inserted for moves, moved, removed after moves, inserted, changed
    int phase = 0;
    for (auto step = _steps.begin(); step != _steps.end(); ++step) {
      int its = 0;
      if (step->kind == vexil::OutlineStep::Kind::removed) {
        its = step < firstMove ? 0 : 3;
      } else if (step->kind == vexil::OutlineStep::Kind::inserted) {
        its = step < firstMove && firstMove != _steps.end() ? 1 : 4;
      } else {
        its = step->kind == vexil::OutlineStep::Kind::moved ? 2 : 5;
      }
      require(its >= phase, "steps in another order");
      phase = its;
      if (its == 1) {
        require(std::any_of(
                    firstMove, lastMove,
                    [&](const vexil::OutlineStep& move) { return inserts(*step, move.newParent); }),
                "rows are inserted too early");
      }
      if (step->kind == vexil::OutlineStep::Kind::removed && its == 3 &&
          firstMove != _steps.end()) {
        require(std::any_of(
                    firstMove, lastMove,
                    [&](const vexil::OutlineStep& move) { return removes(*step, move.parent); }),
                "rows are removed too late");
      }
    }
  }

  void requireFits(const vexil::OutlineStep& step, const vexil::OutlineCopy& copy) const {
    require(step.count != 0, "a step of nothing");
    if (step.kind == vexil::OutlineStep::Kind::inserted) {
      require(step.rowCount == step.inserted.size(), "rowCount of an insertion");
      return;
    }
    const std::vector<vexil::RowState>& rows = step.rows;
    for (std::size_t i = 0; i < step.count; ++i) {
      const vexil::RowNumber number = copy.children(step.parent).at(step.first + i);
      const vexil::RowState& named =
          step.kind == vexil::OutlineStep::Kind::changed ? step.changes.at(i).before : rows.at(i);
      require(copy.state(number) == named, "a step names a row as it is not");
    }
    if (step.kind == vexil::OutlineStep::Kind::removed) {
      std::size_t count = 0;
      for (const vexil::RowState& row : rows) {
        count += 1 + countBelow(copy, row.number());
      }
      require(step.rowCount == count, "rowCount of a removal");
    } else {
      require(step.rowCount == step.count, "rowCount of a step");
    }
    if (step.kind == vexil::OutlineStep::Kind::moved && step.parent != step.newParent) {
      require(step.above == rowsAbove(copy, step.parent), "others above a move");
      require(step.newAbove == rowsAbove(copy, step.newParent), "others above a move's place");
      require(step.newOccurrences.size() == step.count, "occurrences of a move");
    } else {
      require(step.above.empty() && step.newAbove.empty() && step.newOccurrences.empty(),
              "a step has what only a move to another parent has");
    }
  }

  /// `before` is the copy before the first of two successive steps, and `after` behind the second.
  static void requireApart(const vexil::OutlineStep& a, const vexil::OutlineStep& b,
                           const vexil::OutlineCopy& before, const vexil::OutlineCopy& after) {
    if (a.kind != b.kind || a.parent != b.parent || a.newParent != b.newParent) {
      return;
    }
    const auto numbersOf = [](const vexil::OutlineStep& step) {
      std::vector<vexil::RowNumber> numbers;
      if (step.kind == vexil::OutlineStep::Kind::inserted) {
        for (std::size_t i = 0, next = 0; i < step.count; ++i) {
          numbers.push_back(step.inserted[next].state.number());
          for (std::size_t open = 1; open > 0; --open, ++next) {
            open += step.inserted[next].childCount;
          }
        }
      } else if (step.kind == vexil::OutlineStep::Kind::changed) {
        for (const auto& change : step.changes) {
          numbers.push_back(change.after.number());
        }
      } else {
        for (const vexil::RowState& row : step.rows) {
          numbers.push_back(row.number());
        }
      }
      return numbers;
    };
    const auto stand = [](const std::vector<vexil::RowNumber>& in,
                          const std::vector<vexil::RowNumber>& rows) {
      return !std::ranges::search(in, rows).empty();
    };
    for (const bool turned : {false, true}) {
      std::vector<vexil::RowNumber> both = numbersOf(turned ? b : a);
      const auto others = numbersOf(turned ? a : b);
      both.insert(both.end(), others.begin(), others.end());
      const bool stoodTogether =
          a.kind == vexil::OutlineStep::Kind::inserted || stand(before.children(a.parent), both);
      const vexil::RowNumber parent =
          a.kind == vexil::OutlineStep::Kind::moved ? a.newParent : a.parent;
      const bool standTogether =
          a.kind == vexil::OutlineStep::Kind::removed || stand(after.children(parent), both);
      require(!stoodTogether || !standTogether, "two steps that could have been one");
    }
  }

 private:
  static bool inserts(const vexil::OutlineStep& step, vexil::RowNumber row) {
    return std::ranges::any_of(step.inserted, [&](const vexil::InsertedRow& inserted) {
      return inserted.state.number() == row;
    });
  }
  [[nodiscard]] bool removes(const vexil::OutlineStep& step, vexil::RowNumber row) const {
    while (row != 0) {
      for (const vexil::RowState& removed : step.rows) {
        if (removed.number() == row) {
          return true;
        }
      }
      row = _before.contains(row) ? _before.parent(row) : 0;
    }
    return false;
  }
  static std::size_t countBelow(const vexil::OutlineCopy& copy, vexil::RowNumber row) {
    std::size_t count = 0;
    for (const vexil::RowNumber child : copy.children(row)) {
      count += 1 + countBelow(copy, child);
    }
    return count;
  }
  static std::vector<vexil::RowState> rowsAbove(const vexil::OutlineCopy& copy,
                                                vexil::RowNumber row) {
    std::vector<vexil::RowState> rows;
    for (; row != 0; row = copy.parent(row)) {
      rows.push_back(copy.state(row));
    }
    std::ranges::reverse(rows);
    return rows;
  }

  const std::vector<vexil::OutlineStep>& _steps;
  const vexil::OutlineCopy& _before;
};

inline void requireAspects(const vexil::RowChange& change, const NaiveRow& before,
                           const NaiveRow& after) {
  using vexil::RowAspects;
  const auto has = [&](RowAspects aspect) { return contains(change.aspects(), aspect); };
  const NaiveShown& old = before.shown;
  const NaiveShown& now = after.shown;
  require(has(RowAspects::label) == (old.label != now.label), "aspect label");
  require(has(RowAspects::enabled) == (old.enabled != now.enabled), "aspect enabled");
  require(has(RowAspects::supportsEnabled) == (old.supportsEnabled != now.supportsEnabled),
          "aspect supportsEnabled");
  require(has(RowAspects::group) == (old.isGroup != now.isGroup), "aspect group");
  require(has(RowAspects::expandable) == (old.isExpandable != now.isExpandable),
          "aspect expandable");
  require(has(RowAspects::representedObject) == (old.object != now.object), "aspect object");
  std::set<std::string> keys;
  if (old.object.isDictionary() && now.object.isDictionary()) {
    for (const vexil::platform::Value& record : {old.object, now.object}) {
      for (const vexil::platform::Key& key : record.keys()) {
        if (old.object[key] != now.object[key]) {
          keys.insert(std::string(key.text()));
        }
      }
    }
  }
  for (const vexil::KeyChange& changed : change.changedKeys()) {
    require(keys.erase(std::string(changed.key.text())) == 1, "a key that did not change");
    require(changed.oldValue == old.object[changed.key], "the old value of a key");
    require(changed.newValue == now.object[changed.key], "the new value of a key");
  }
  require(keys.empty(), "a changed key is missing");
}

}  // namespace test
