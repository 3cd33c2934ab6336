// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/matching/Identity.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/Occurrences.h>
#include <vexil/outline/rows/RowWalk.h>

#include <algorithm>
#include <functional>
#include <iterator>

namespace vexil::detail {

namespace {

/// An item without an identifier is identified by itself, and may stand in many places.
std::uint64_t hashOf(const platform::Value& identifier, const void* item) {
  return identifier.isAbsent() ? std::hash<const void*>()(item) : Identity::quickHashOf(identifier);
}

bool areEqual(const platform::Value& a, const void* itemOfA, const platform::Value& b,
              const void* itemOfB) {
  return a.isAbsent() || b.isAbsent() ? a.isAbsent() && b.isAbsent() && itemOfA == itemOfB
                                      : Identity::areEqual(a, b);
}

}  // namespace

std::vector<std::uint32_t> occurrencesOfChildren(TreeReading& tree, const KRAVTWVItemVexil& item) {
  const std::size_t count = TreeReading::childCount(item);
  if (count < 2) {
    return {};
  }
  const auto child = [&](std::size_t i) { return TreeReading::child(item, i); };
  std::vector<std::uint64_t> hashes;
  hashes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    TreeReading::prefetch(item, i);
    const auto held = child(i);
    hashes.push_back(hashOf(tree.uniqueIDOf(*held), held.get()));
  }
  auto occurrences = Occurrences::number(hashes, [&](std::size_t a, std::size_t b) {
    const auto left = child(a);
    const auto right = child(b);
    return areEqual(tree.uniqueIDOf(*left), left.get(), tree.uniqueIDOf(*right), right.get());
  });
  tree.requireUnchanged();
  return occurrences;
}

DetachedRow NewRows::makeAlone(const std::shared_ptr<Item>& item, RowState state) {
  RowStateFields::setNumber(state, ++*_lastNumber);
  return DetachedRow(RowFields::make(std::move(state), item));
}

/// Numbers a row and all below it in the order in which a view shows them.
void NewRows::renumber(OutlineRow& row) {
  forEachRow(row, [&](OutlineRow& below) {
    RowStateFields::setNumber(RowFields::state(below), ++*_lastNumber);
  });
}

DetachedRow NewRows::make(const std::shared_ptr<Item>& item, RowState state) {
  const RowNumber last = *_lastNumber;
  DetachedRow row = makeAlone(item, std::move(state));
  if (!ItemFields::hasNoChildren(*item)) {
    _open.assign(1, row.get());
    try {
      makeBelow();
    } catch (...) {
      _abandoned.emplace_back(std::move(row), false);
      throw;
    }
    *_lastNumber = last;
    renumber(*row);
  }
  return row;
}

NewRows::Children NewRows::makeChildren(const Item& item) {
  _open.clear();
  const RowNumber last = *_lastNumber;
  Children children = makeOneLevel(item);
  if (_open.empty()) {
    return children;
  }
  try {
    makeBelow();
  } catch (...) {
    for (DetachedRow& row : children.rows) {
      _abandoned.emplace_back(std::move(row), true);
    }
    throw;
  }
  *_lastNumber = last;
  std::ranges::for_each(children.rows, [&](const DetachedRow& row) { renumber(*row); });
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
      hashes.push_back(hashOf(state.uniqueID(), TreeReading::child(item, i).get()));
      // Looked up again, because a host's kind was asked.
      const std::shared_ptr<Item>& child = TreeReading::child(item, i);
      made.rows.push_back(makeAlone(child, std::move(state)));
      _unread.reset();
      if (!ItemFields::hasNoChildren(*child)) {
        _open.push_back(made.rows.back().get());
      }
    }
    const auto occurrences = Occurrences::number(hashes, [&](std::size_t a, std::size_t b) {
      const OutlineRow& left = *made.rows[a];
      const OutlineRow& right = *made.rows[b];
      return areEqual(left.uniqueID(), RowFields::itemAddress(left), right.uniqueID(),
                      RowFields::itemAddress(right));
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
