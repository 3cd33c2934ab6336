// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/Occurrences.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace vexil::detail {

ChildStates readChildren(TreeReading& tree, const KRAVTWVItemVexil& item,
                         bool areKnownToBeDistinct) {
  ChildStates states;
  const std::size_t count = TreeReading::childCount(item);
  states.children.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    TreeReading::prefetch(item, i);
    const std::shared_ptr<KRAVTWVItemVexil>& child = TreeReading::child(item, i);
    states.children.push_back({child, {}});
    states.children.back().state = tree.stateOf(*child);
  }
  if (areKnownToBeDistinct || count < 2) {
    return states;
  }
  std::vector<std::uint64_t> hashes;
  hashes.reserve(count);
  for (const ChildState& child : states.children) {
    hashes.push_back(RowStateFields::hasIdentifier(child.state)
                         ? Identity::hashOf(child.state.uniqueID())
                         : Occurrences::absent);
  }
  const auto occurrences = Occurrences::number(hashes, [&](std::size_t a, std::size_t b) {
    return Identity::areEqual(states.children[a].state.uniqueID(),
                              states.children[b].state.uniqueID());
  });
  tree.requireUnchanged();
  states.areDistinct = occurrences.empty();
  for (std::size_t i = 0; i < occurrences.size(); ++i) {
    states.children[i].state =
        RowStateFields::withOccurrence(states.children[i].state, occurrences[i]);
  }
  return states;
}

DetachedRow NewRows::makeAlone(ChildState child) {
  RowStateFields::setNumber(child.state, ++*_lastNumber);
  return DetachedRow(RowFields::make(std::move(child.state), child.item));
}

DetachedRow NewRows::make(ChildState child) {
  DetachedRow row = makeAlone(std::move(child));
  _open.assign(1, row.get());
  while (!_open.empty()) {
    OutlineRow* const parent = _open.back();
    _open.pop_back();
    makeChildren(*parent);
  }
  return row;
}

void NewRows::makeChildren(OutlineRow& row) {
  const auto item = row.item();
  if (!item || ItemFields::hasNoChildren(*item)) {
    return;
  }
  ChildStates states = readChildren(*_tree, *item, false);
  std::vector<DetachedRow> made;
  made.reserve(states.children.size());
  const std::size_t firstOpen = _open.size();
  for (ChildState& child : states.children) {
    const bool isOpen = !ItemFields::hasNoChildren(*child.item);
    made.push_back(makeAlone(std::move(child)));
    if (isOpen) {
      _open.push_back(made.back().get());
    }
  }
  std::reverse(_open.begin() + static_cast<std::ptrdiff_t>(firstOpen), _open.end());
  std::vector<OutlineRow*> rows;
  rows.reserve(made.size());
  std::ranges::transform(made, std::back_inserter(rows), [](auto& child) { return child.get(); });
  RowList& list = RowFields::childrenForAdding(row);
  list.insert(0, rows);
  list.setDistinct(states.areDistinct);
  for (DetachedRow& child : made) {
    if (const auto childItem = child.release()->item()) {
      _watch(childItem);
    }
  }
}

}  // namespace vexil::detail
