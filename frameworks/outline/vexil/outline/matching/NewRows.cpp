// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/Occurrences.h>

#include <algorithm>
#include <iterator>

namespace vexil::detail {

void SiblingIdentifiers::add(const RowState& state) {
  _hashes.push_back(RowStateFields::hasIdentifier(state) ? Identity::quickHashOf(state.uniqueID())
                                                         : Occurrences::absent);
}

template <class StateAt>
bool SiblingIdentifiers::number(const StateAt& stateAt) const {
  if (_hashes.size() < 2) {
    return true;
  }
  const auto occurrences = Occurrences::number(_hashes, [&](std::size_t a, std::size_t b) {
    return Identity::areEqual(stateAt(a).uniqueID(), stateAt(b).uniqueID());
  });
  for (std::size_t i = 0; i < occurrences.size(); ++i) {
    stateAt(i) = RowStateFields::withOccurrence(stateAt(i), occurrences[i]);
  }
  return occurrences.empty();
}

ChildStates readChildren(TreeReading& tree, const KRAVTWVItemVexil& item) {
  ChildStates states;
  const std::size_t count = TreeReading::childCount(item);
  SiblingIdentifiers identifiers(count);
  states.children.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    TreeReading::prefetch(item, i);
    states.children.emplace_back(TreeReading::child(item, i), RowState());
    auto& [child, state] = states.children.back();
    state = tree.stateOf(*child);
    identifiers.add(state);
  }
  states.areDistinct =
      identifiers.number([&](std::size_t i) -> RowState& { return states.children[i].second; });
  tree.requireUnchanged();
  return states;
}

DetachedRow NewRows::makeAlone(const std::shared_ptr<Item>& item, RowState state) {
  RowStateFields::setNumber(state, ++*_lastNumber);
  return DetachedRow(RowFields::make(std::move(state), item));
}

DetachedRow NewRows::make(const std::shared_ptr<Item>& item, RowState state) {
  DetachedRow row = makeAlone(item, std::move(state));
  if (!ItemFields::hasNoChildren(*item)) {
    _open.assign(1, row.get());
    try {
      makeBelow();
    } catch (...) {
      _abandoned.emplace_back(std::move(row), false);
      throw;
    }
  }
  return row;
}

NewRows::Children NewRows::makeChildren(const Item& item) {
  _open.clear();
  Children children = makeOneLevel(item);
  try {
    makeBelow();
  } catch (...) {
    for (DetachedRow& row : children.rows) {
      _abandoned.emplace_back(std::move(row), true);
    }
    throw;
  }
  return children;
}

/// Makes the rows of an item's children, and adds those that have children themselves to `_open`.
NewRows::Children NewRows::makeOneLevel(const Item& item) {
  Children made;
  const std::size_t count = TreeReading::childCount(item);
  const std::size_t firstOpen = _open.size();
  SiblingIdentifiers identifiers(count);
  made.rows.reserve(count);
  try {
    for (std::size_t i = 0; i < count; ++i) {
      TreeReading::prefetch(item, i);
      RowState state = _tree->stateOf(*TreeReading::child(item, i));
      identifiers.add(state);
      // Looked up again, because a host's kind was asked.
      const std::shared_ptr<Item>& child = TreeReading::child(item, i);
      made.rows.push_back(makeAlone(child, std::move(state)));
      _watches->addTo(*child);
      if (!ItemFields::hasNoChildren(*child)) {
        _open.push_back(made.rows.back().get());
      }
    }
    made.areDistinct = identifiers.number(
        [&](std::size_t i) -> RowState& { return RowFields::state(*made.rows[i]); });
    _tree->requireUnchanged();
  } catch (...) {
    for (DetachedRow& row : made.rows) {
      _abandoned.emplace_back(std::move(row), true);
    }
    throw;
  }
  std::reverse(_open.begin() + static_cast<std::ptrdiff_t>(firstOpen), _open.end());
  return made;
}

void NewRows::makeBelow() {
  while (!_open.empty()) {
    OutlineRow& row = *_open.back();
    _open.pop_back();
    const auto item = row.item();
    if (!item) {
      throw TreeChanged();
    }
    Children children = makeOneLevel(*item);
    std::vector<OutlineRow*> rows;
    rows.reserve(children.rows.size());
    std::ranges::transform(children.rows, std::back_inserter(rows),
                           [](const auto& child) { return child.get(); });
    RowList& list = RowFields::childrenForAdding(row);
    list.insert(0, rows);
    list.setDistinct(children.areDistinct);
    std::ranges::for_each(children.rows, [](auto& child) { (void)child.release(); });
  }
}

}  // namespace vexil::detail
