// SPDX-License-Identifier: Apache-2.0
// A naive model of a set of rows: a list of paths.
#pragma once

#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/outline/OutlineUpdate.h>
#include <vexil/outline/RowState.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace test {

/// The identity of a row among its siblings.
struct PathPart {
  vexil::platform::Value uniqueID;
  std::uint32_t occurrence;
  std::weak_ptr<KRAVTWVItemVexil> item = {};  // when it has no identifier
  bool operator==(const PathPart& other) const {
    return uniqueID == other.uniqueID && occurrence == other.occurrence &&
           !item.owner_before(other.item) && !other.item.owner_before(item);
  }
};
/// The identities of all rows from the first level down to one.
using Path = std::vector<PathPart>;

inline bool begins(const Path& path, const Path& beginning) {
  return path.size() >= beginning.size() &&
         std::equal(beginning.begin(), beginning.end(), path.begin());
}
inline bool isIdentified(const Path& path) {
  return std::ranges::none_of(path, [](const PathPart& part) { return part.uniqueID.isAbsent(); });
}
inline Path pathOf(const std::vector<vexil::RowState>& above, const vexil::RowState& row,
                   std::uint32_t occurrence) {
  Path path;
  for (const vexil::RowState& state : above) {
    path.push_back({state.uniqueID(), state.occurrence()});
  }
  path.push_back({row.uniqueID(), occurrence});
  return path;
}
inline Path pathOf(const vexil::OutlineRow& row) {
  Path path;
  for (const vexil::OutlineRow* next = &row; !next->isTop(); next = next->parent()) {
    const auto item = next->uniqueID().isAbsent() ? next->item() : nullptr;
    path.push_back({next->uniqueID(), next->occurrence(), item});
  }
  std::ranges::reverse(path);
  return path;
}

inline void collectRows(vexil::OutlineRow& row, std::vector<vexil::OutlineRow*>& all) {
  for (std::size_t i = 0; i < row.childCount(); ++i) {
    all.push_back(row.child(i));
    collectRows(*row.child(i), all);
  }
}
inline std::vector<vexil::OutlineRow*> rowsOf(const vexil::Outline& outline) {
  std::vector<vexil::OutlineRow*> all;
  collectRows(outline.top(), all);
  return all;
}

/// Whether a row without an identifier has outlived its item. Then no set can have the path.
inline bool hasEnded(const Path& path) {
  return std::ranges::any_of(
      path, [](const PathPart& part) { return part.uniqueID.isAbsent() && part.item.expired(); });
}

/// A set of paths that follows moves as `RowSet` says, each path by itself.
class NaiveSet {
 public:
  void insert(const Path& path) {
    if (!contains(path) && !hasEnded(path)) {
      _paths.push_back(path);
    }
  }
  [[nodiscard]] bool contains(const Path& path) const {
    return !hasEnded(path) && std::ranges::find(_paths, path) != _paths.end();
  }
  void follow(const vexil::OutlineUpdate& update) {
    for (const vexil::OutlineStep& step : update.steps()) {
      if (step.kind != vexil::OutlineStep::Kind::moved || step.parent == step.newParent) {
        continue;
      }
      std::vector<Path> moved;
      for (std::size_t i = 0; i < step.count; ++i) {
        const Path from = pathOf(step.above, step.rows[i], step.rows[i].occurrence());
        const Path to = pathOf(step.newAbove, step.rows[i], step.newOccurrences[i]);
        if (isIdentified(from) && isIdentified(to)) {
          take(from, to, moved);
        }
      }
      std::ranges::for_each(moved, [&](const Path& path) { insert(path); });
    }
  }

 private:
  void take(const Path& from, const Path& to, std::vector<Path>& moved) {
    std::vector<Path> left;
    for (const Path& path : _paths) {
      if (begins(path, from)) {
        Path other = to;
        other.insert(other.end(), path.begin() + static_cast<std::ptrdiff_t>(from.size()),
                     path.end());
        moved.push_back(other);
      } else {
        left.push_back(path);
      }
    }
    _paths = left;
  }
  std::vector<Path> _paths;
};

}  // namespace test
