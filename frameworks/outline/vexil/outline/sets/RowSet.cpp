// SPDX-License-Identifier: Apache-2.0
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowSet.h>
#include <vexil/outline/sets/RowTrie.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace vexil {

using detail::RowIdentity;
using detail::RowNode;
using detail::RowNodePointer;
using detail::RowPath;

namespace {

void computeHashes(RowPath& path) {
  std::ranges::for_each(path, &RowIdentity::computeHash);
}

/// The path to rows that are known by their states; nothing when one has no identifier.
std::optional<RowPath> pathOf(const std::vector<RowState>& rows) {
  RowPath path;
  for (const RowState& row : rows) {
    if (row.uniqueID().isAbsent()) {
      return std::nullopt;
    }
    path.emplace_back(row.uniqueID(), row.occurrence());
  }
  return path;
}

/// Rows that move from one parent to another.
struct Move {
  RowPath from;
  RowPath to;
  std::vector<RowIdentity> rows;
  std::vector<std::uint32_t> newOccurrences;
};

std::optional<Move> moveOf(const OutlineStep& step) {
  if (step.kind != OutlineStep::Kind::moved || step.newParent == step.parent ||
      step.rows.size() != step.newOccurrences.size()) {
    return std::nullopt;
  }
  std::optional<RowPath> from = pathOf(step.above);
  std::optional<RowPath> to = pathOf(step.newAbove);
  if (!from || !to) {
    return std::nullopt;
  }
  Move move{std::move(*from), std::move(*to), {}, step.newOccurrences};
  for (const RowState& row : step.rows) {
    move.rows.emplace_back(row.uniqueID(), row.occurrence());
  }
  return move;
}

void perform(const RowNodePointer& top, Move& move) {
  computeHashes(move.from);
  if (detail::endOfPath(top, move.from).depth < move.from.size()) {
    return;
  }
  computeHashes(move.to);
  for (std::size_t i = 0; i < move.rows.size(); ++i) {
    RowIdentity& row = move.rows[i];
    if (row.isOfItem()) {
      continue;
    }
    RowPath from = move.from;
    RowPath to = move.to;
    from.push_back(row);
    to.emplace_back(row.uniqueID, move.newOccurrences[i]);
    from.back().computeHash();
    to.back().computeHash();
    detail::moveNode(top, from, to);
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
  std::vector<Move> moves;
  for (const OutlineStep& step : update.steps()) {
    if (std::optional<Move> move = moveOf(step)) {
      moves.push_back(std::move(*move));
    }
  }
  for (Move& move : moves) {
    perform(top, move);
  }
}

}  // namespace vexil
