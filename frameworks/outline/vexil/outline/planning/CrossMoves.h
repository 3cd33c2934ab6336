// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: rows that move to another parent.
#pragma once

#include <vexil/outline/matching/Findings.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <typeinfo>
#include <unordered_map>
#include <vector>

namespace vexil::detail {

/// Finds rows that would be removed in one place and made anew in another: those whose identifier
/// and class occur once among all rows that would be removed, and once among all new ones.
class CrossMoves {
 public:
  using Item = KRAVTWVItemVexil;

  struct Actions {
    /// Called with each row that moves and its item now.
    std::function<void(OutlineRow&, const std::shared_ptr<Item>&)> compareBelow;
    /// Called with the parent of a row that moves away, when that seemed to go too. It may turn out
    /// to stay, and then another child stands in that place.
    std::function<void(OutlineRow&)> compareIfItStays;
    /// Called with each row that was made for nothing, before it is destroyed. What is below it is
    /// watched.
    std::function<void(OutlineRow&)> unwatch;
  };
  CrossMoves(Findings& findings, Actions actions)
      : _findings(&findings), _actions(std::move(actions)) {}

  /// Looks at all new rows that it has not looked at yet. To be called again when more levels have
  /// been compared.
  void find();

 private:
  struct Key {
    platform::Value identifier;
    const std::type_info* type;
    bool operator==(const Key& other) const;
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };
  struct Entry {
    OutlineRow* removed = nullptr;
    std::size_t removedCount = 0;
    std::size_t newCount = 0;
  };

  [[nodiscard]] bool canThereBeAny() const;
  void countRemovedAndNew();
  [[nodiscard]] OutlineRow* take(const OutlineRow& newRow, const OutlineRow& parent);
  void lookAt(LevelChange& level);
  void lookBelow(OutlineRow& newRow);
  void move(OutlineRow& row, LevelChange& level, std::size_t entry, DetachedRow newRow);
  void leave(OutlineRow& row);

  Findings* _findings;
  Actions _actions;
  bool _areCounted = false;
  std::unordered_map<Key, Entry, Hash> _entries;
};

}  // namespace vexil::detail
