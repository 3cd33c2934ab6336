// SPDX-License-Identifier: Apache-2.0
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/RowSet.h>
#include <vexil/outline/sets/RowTrie.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <utility>

namespace vexil {

using detail::PathEnd;
using detail::RowIdentity;
using detail::RowNode;
using detail::RowNodePointer;
using detail::RowPath;

namespace {

/// The path of a row; empty for the top, and for a row that has no identity any more.
RowPath pathOf(const OutlineRow& row) {
  RowPath path;
  for (const OutlineRow* next = &row; !next->isTop(); next = next->parent()) {
    if (!next->uniqueID().isAbsent()) {
      path.emplace_back(next->uniqueID(), next->occurrence());
    } else if (const auto item = next->item()) {
      path.emplace_back(item, next->occurrence());
    } else {
      return {};
    }
  }
  std::ranges::reverse(path);
  // Last, because a host's code may take the rows away.
  std::ranges::for_each(path, &RowIdentity::computeHash);
  return path;
}

/// A row, its position, and its node.
struct Found {
  std::size_t index;
  OutlineRow* row;
  RowNodePointer node;
};

/// Whether the rows are those that they were at first.
class RowsGuard {
 public:
  explicit RowsGuard(const std::uint64_t& version) : _version(version), _began(version) {}
  [[nodiscard]] bool areUnchanged() const noexcept { return _version == _began; }

 private:
  const std::uint64_t& _version;
  std::uint64_t _began;
};

/// The rows of a level that have a node below `node`, from the first to the last.
class Level {
 public:
  Level(const OutlineRow& parent, const RowNode& node, const RowsGuard& guard)
      : _parent(parent), _guard(guard) {
    _nodes.reserve(node.below.size());
    for (const auto& [hash, child] : node.below) {
      _nodes.push_back(child);
    }
  }

  /// Nothing when a host's code has changed the rows.
  std::optional<std::vector<Found>> rows() {
    for (RowNodePointer& node : _nodes) {
      OutlineRow* const row = rowOf(node->identity);
      if (!_guard.areUnchanged()) {
        return std::nullopt;
      }
      if (row != nullptr) {
        _found.push_back({row->index(), row, std::move(node)});
      }
    }
    std::ranges::sort(_found, {}, &Found::index);
    return std::move(_found);
  }

 private:
  OutlineRow* rowOf(const RowIdentity& identity) {
    if (!identity.isOfItem()) {
      const platform::Value uniqueID = identity.uniqueID;
      return _parent.childWithUniqueID(uniqueID, identity.occurrence);
    }
    const auto item = identity.item.lock();
    if (!item) {
      return nullptr;
    }
    if (!_isLookedThrough) {
      lookThrough();
    }
    const auto found = _rowsOfItems.find({item.get(), identity.occurrence});
    return found == _rowsOfItems.end() ? nullptr : found->second;
  }

  void lookThrough() {
    for (std::size_t i = 0; i < _parent.childCount(); ++i) {
      OutlineRow* const row = _parent.child(i);
      if (row->uniqueID().isAbsent()) {
        _rowsOfItems.emplace(
            std::pair<const void*, std::uint32_t>(row->item().get(), row->occurrence()), row);
      }
    }
    _isLookedThrough = true;
  }

  const OutlineRow& _parent;
  const RowsGuard& _guard;
  std::vector<RowNodePointer> _nodes;
  std::vector<Found> _found;
  std::map<std::pair<const void*, std::uint32_t>, OutlineRow*> _rowsOfItems;
  bool _isLookedThrough = false;
};

/// The rows below the top that are in a set. Nothing when a host's code has changed the rows.
std::optional<std::vector<OutlineRow*>> rowsBelow(OutlineRow& top, const RowNodePointer& nodes,
                                                  const RowsGuard& guard) {
  std::vector<OutlineRow*> rows;
  std::vector<Found> open = {{0, &top, nodes}};
  while (!open.empty()) {
    const Found next = std::move(open.back());
    open.pop_back();
    if (next.node->isIn) {
      rows.push_back(next.row);
    }
    std::optional<std::vector<Found>> below = Level(*next.row, *next.node, guard).rows();
    if (!below) {
      return std::nullopt;
    }
    std::move(below->rbegin(), below->rend(), std::back_inserter(open));
  }
  return rows;
}

}  // namespace

// Each operation holds the nodes: a host's code may assign to the set, or destroy it.

void RowSet::insert(const OutlineRow& row) {
  const RowNodePointer top = _top = heldTop();
  const RowPath path = pathOf(row);
  if (path.empty()) {
    return;
  }
  const PathEnd end = detail::endOfPath(top, path);
  if (end.depth == path.size()) {
    end.node->setIn(true);
    return;
  }
  const detail::Chain chain = detail::chainOf(std::span(path).subspan(end.depth));
  chain.last->setIn(true);
  const auto dropped = detail::attach(*end.node, chain.first);
}

void RowSet::remove(const OutlineRow& row) {
  const RowNodePointer top = heldTop();
  const RowPath path = pathOf(row);
  const PathEnd end = detail::endOfPath(top, path);
  if (!path.empty() && end.depth == path.size()) {
    end.node->setIn(false);
    const RowNodePointer dropped = detail::prune(*end.node);
  }
}

bool RowSet::contains(const OutlineRow& row) const {
  const RowNodePointer top = heldTop();
  const RowPath path = pathOf(row);
  const PathEnd end = detail::endOfPath(top, path);
  return !path.empty() && end.depth == path.size() && end.node->isIn;
}

std::vector<OutlineRow*> RowSet::rowsOf(const Outline& outline) const {
  const auto version = outline.rowsVersion();
  OutlineRow& top = outline.top();
  const RowNodePointer nodes = heldTop();
  constexpr int attempts = 5;
  for (int attempt = 0; attempt < attempts && *version != 0; ++attempt) {
    if (auto rows = rowsBelow(top, nodes, RowsGuard(*version))) {
      return std::move(*rows);
    }
  }
  return {};
}

}  // namespace vexil
