// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowSet.h>
#include <vexil/outline/sets/RowTrie.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil {

using detail::RowIdentity;
using detail::RowNode;
using detail::RowNodePointer;
using detail::RowPath;

namespace {

void computeHashes(RowPath& path) {
  std::ranges::for_each(path, &RowIdentity::computeHash);
}

/// A row that moves to another parent: where it stands before all moves, and after them.
struct Moved {
  RowPath from;
  RowPath to;
};

/// The rows that an update moves to other parents. A step names the rows above as they stand at its
/// moment, when some of them have moved and others have not.
class MovedRows {
 public:
  explicit MovedRows(const OutlineUpdate& update) {
    for (const OutlineStep& step : update.steps()) {
      if (step.kind != OutlineStep::Kind::moved || step.newParent == step.parent ||
          step.rows.size() != step.newOccurrences.size()) {
        continue;
      }
      for (std::size_t i = 0; i < step.rows.size(); ++i) {
        const auto [row, isNew] = _places.try_emplace(step.rows[i].number(), _rows.size());
        if (isNew) {
          _rows.push_back({&step, i, &step, i});
        } else {
          _rows[row->second].last = &step;
          _rows[row->second].indexInLast = i;
        }
      }
    }
  }

  /// The paths of all rows that have identifiers, and whose rows above have, before and afterwards.
  [[nodiscard]] std::vector<Moved> paths() const {
    std::vector<Moved> paths;
    for (const Row& row : _rows) {
      Moved moved{before(row), after(row)};
      const auto isOfItem = [](const RowIdentity& identity) { return identity.isOfItem(); };
      if (std::ranges::none_of(moved.from, isOfItem) && std::ranges::none_of(moved.to, isOfItem)) {
        paths.push_back(std::move(moved));
      }
    }
    return paths;
  }

 private:
  struct Row {
    const OutlineStep* first;
    std::size_t indexInFirst;
    const OutlineStep* last;
    std::size_t indexInLast;
  };

  [[nodiscard]] RowPath before(const Row& row) const {
    const RowState& state = row.first->rows[row.indexInFirst];
    RowPath path{{state.uniqueID(), state.occurrence()}};
    // Up to a row that has moved already. It stood there before, with what is below it.
    addAbove(path, row.first->above, [&](const Row& above) -> const std::vector<RowState>* {
      if (above.first > row.first ||
          (above.first == row.first && above.indexInFirst >= row.indexInFirst)) {
        return nullptr;
      }
      const RowState& own = above.first->rows[above.indexInFirst];
      path.back() = {own.uniqueID(), own.occurrence()};
      return &above.first->above;
    });
    return path;
  }
  [[nodiscard]] RowPath after(const Row& row) const {
    const RowState& state = row.last->rows[row.indexInLast];
    RowPath path{{state.uniqueID(), row.last->newOccurrences[row.indexInLast]}};
    addAbove(path, row.last->newAbove, [&](const Row& above) {
      const RowState& own = above.last->rows[above.indexInLast];
      path.back() = {own.uniqueID(), above.last->newOccurrences[above.indexInLast]};
      return &above.last->newAbove;
    });
    return path;
  }

  /// Adds the rows above, from the innermost on, and then reverses the path. For one that moves,
  /// `follow` corrects its identity and returns what is above it instead.
  template <class Follow>
  void addAbove(RowPath& path, const std::vector<RowState>& rows, const Follow& follow) const {
    const std::vector<RowState>* above = &rows;
    // No row is above itself. But an update that somebody made up could say so.
    std::size_t followed = 0;
    for (std::size_t i = above->size(); i > 0; --i) {
      const RowState& row = (*above)[i - 1];
      path.emplace_back(row.uniqueID(), row.occurrence());
      const auto moved = _places.find(row.number());
      if (moved != _places.end() && followed++ < _rows.size()) {
        if (const std::vector<RowState>* const others = follow(_rows[moved->second])) {
          above = others;
          i = above->size() + 1;
        }
      }
    }
    std::ranges::reverse(path);
  }

  std::vector<Row> _rows;
  std::unordered_map<RowNumber, std::size_t> _places;
};

/// Puts the rows aside, one after the other, and then where they belong. So no row comes to where
/// another one has not left yet.
void moveAll(const RowNodePointer& top, std::vector<Moved>& moves) {
  const std::shared_ptr<KRAVTWVItemVexil> owner(std::make_shared<char>(), nullptr);
  const auto aside = [&](std::size_t i) {
    RowIdentity identity(owner, static_cast<std::uint32_t>(i));
    identity.hash = i;
    return RowPath{identity};
  };
  // Those further below leave first, or they would leave with those above.
  std::ranges::stable_sort(moves, std::ranges::greater(),
                           [](const Moved& move) { return move.from.size(); });
  try {
    for (std::size_t i = 0; i < moves.size(); ++i) {
      detail::moveNode(top, moves[i].from, aside(i));
    }
    for (std::size_t i = 0; i < moves.size(); ++i) {
      detail::moveNode(top, aside(i), moves[i].to);
    }
  } catch (...) {
    for (std::size_t i = 0; i < moves.size(); ++i) {
      try {
        detail::moveNode(top, aside(i), moves[i].from);
      } catch (...) {
        // The others go back all the same. This one counts as a row whose item is gone.
      }
    }
    throw;
  }
}

}  // namespace

RowSet::RowSet() = default;

RowSet::RowSet(const RowSet& other) : _top(other._top ? detail::copyOf(*other._top) : nullptr) {}

RowSet::RowSet(RowSet&& other) noexcept = default;

RowSet& RowSet::operator=(RowSet other) noexcept {
  _top.swap(other._top);
  return *this;
}

RowSet::~RowSet() = default;

RowNodePointer RowSet::heldTop() const {
  return _top ? _top : std::make_shared<RowNode>();
}

std::size_t RowSet::count() const noexcept {
  return _top ? _top->count : 0;
}

void RowSet::clear() {
  if (_top) {
    RowNode gone;
    gone.below.swap(_top->below);
    _top->count = 0;
    _top->itemsAdded = 0;
  }
}

void RowSet::follow(const OutlineUpdate& update) {
  const RowNodePointer top = heldTop();
  std::vector<Moved> moves = MovedRows(update).paths();
  for (Moved& move : moves) {
    computeHashes(move.from);
    computeHashes(move.to);
  }
  if (moves.size() == 1) {
    detail::moveNode(top, moves.front().from, moves.front().to);
  } else if (!moves.empty()) {
    moveAll(top, moves);
  }
}

}  // namespace vexil
