// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/Occurrences.h>

#include <algorithm>
#include <iterator>

namespace vexil::detail {

namespace {

std::uint64_t hashOf(const platform::Value& identifier) {
  return identifier.isAbsent() ? Occurrences::absent : Identity::quickHashOf(identifier);
}

}  // namespace

std::vector<std::uint32_t> occurrencesOfChildren(TreeReading& tree, const KRAVTWVItemVexil& item) {
  const std::size_t count = TreeReading::childCount(item);
  if (count < 2) {
    return {};
  }
  std::vector<std::uint64_t> hashes;
  hashes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    TreeReading::prefetch(item, i);
    hashes.push_back(hashOf(tree.uniqueIDOf(*TreeReading::child(item, i))));
  }
  const auto identifier = [&](std::size_t i) {
    return tree.uniqueIDOf(*TreeReading::child(item, i));
  };
  auto occurrences = Occurrences::number(hashes, [&](std::size_t a, std::size_t b) {
    return Identity::areEqual(identifier(a), identifier(b));
  });
  tree.requireUnchanged();
  return occurrences;
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

/// An item is watched before it is read, so that no change is missed that foreign code makes in
/// between.
RowState NewRows::watchAndRead(const std::shared_ptr<Item>& item) {
  _unread = item;
  _watches->addTo(*item);
  return _tree->stateOf(*item);
}

/// Makes the rows of an item's children, and adds those that have children themselves to `_open`.
NewRows::Children NewRows::makeOneLevel(const Item& item) {
  Children made;
  const std::size_t count = TreeReading::childCount(item);
  const std::size_t firstOpen = _open.size();
  std::vector<std::uint64_t> hashes;
  hashes.reserve(count);
  made.rows.reserve(count);
  try {
    for (std::size_t i = 0; i < count; ++i) {
      TreeReading::prefetch(item, i);
      RowState state = watchAndRead(TreeReading::child(item, i));
      hashes.push_back(hashOf(state.uniqueID()));
      // Looked up again, because a host's kind was asked.
      const std::shared_ptr<Item>& child = TreeReading::child(item, i);
      made.rows.push_back(makeAlone(child, std::move(state)));
      _unread.reset();
      if (!ItemFields::hasNoChildren(*child)) {
        _open.push_back(made.rows.back().get());
      }
    }
    const auto occurrences = Occurrences::number(hashes, [&](std::size_t a, std::size_t b) {
      return Identity::areEqual(made.rows[a]->uniqueID(), made.rows[b]->uniqueID());
    });
    made.areDistinct = occurrences.empty();
    for (std::size_t i = 0; i < occurrences.size(); ++i) {
      RowState& state = RowFields::state(*made.rows[i]);
      state = RowStateFields::withOccurrence(std::move(state), occurrences[i]);
    }
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
