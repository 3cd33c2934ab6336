// SPDX-License-Identifier: Apache-2.0
// A naive model of a set of rows: a list of paths.
#pragma once

#include "tests/outline/NaiveOutline.h"

#include <vexil/outline/Outline.h>
#include <vexil/outline/OutlineRow.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
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
inline Path pathOf(const NaiveRow& row) {
  Path path;
  for (const NaiveRow* next = &row; next->parent != nullptr; next = next->parent) {
    const bool hasIdentifier = next->hasIdentifier();
    path.push_back({next->shown.uniqueID, next->occurrence,
                    hasIdentifier ? std::weak_ptr<KRAVTWVItemVexil>() : next->item});
  }
  std::ranges::reverse(path);
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

/// Where a row that moves to another parent stood before, and stands afterwards.
struct PathsOfMove {
  Path from;
  Path to;
};

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
  /// Each path goes with the innermost of its rows that moves.
  void follow(const std::vector<PathsOfMove>& moves) {
    for (Path& path : std::exchange(_paths, {})) {
      const PathsOfMove* innermost = nullptr;
      for (const PathsOfMove& move : moves) {
        if (isIdentified(move.from) && isIdentified(move.to) && begins(path, move.from) &&
            (innermost == nullptr || innermost->from.size() < move.from.size())) {
          innermost = &move;
        }
      }
      if (innermost != nullptr) {
        const auto rest = path.begin() + static_cast<std::ptrdiff_t>(innermost->from.size());
        Path other = innermost->to;
        other.insert(other.end(), rest, path.end());
        path = std::move(other);
      }
      insert(path);
    }
  }

 private:
  std::vector<Path> _paths;
};

}  // namespace test
