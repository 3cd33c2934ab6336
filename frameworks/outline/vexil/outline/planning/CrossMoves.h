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

  /// `compareBelow` is called with each row that moves and its item now. `unwatch` is called with
  /// each row that was made for nothing, before it is destroyed; what is below it is watched.
  CrossMoves(Findings& findings,
             std::function<void(OutlineRow&, const std::shared_ptr<Item>&)> compareBelow,
             std::function<void(OutlineRow&)> unwatch)
      : _findings(&findings),
        _compareBelow(std::move(compareBelow)),
        _unwatch(std::move(unwatch)) {}

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
  std::function<void(OutlineRow&, const std::shared_ptr<Item>&)> _compareBelow;
  std::function<void(OutlineRow&)> _unwatch;
  bool _areCounted = false;
  std::unordered_map<Key, Entry, Hash> _entries;
};

}  // namespace vexil::detail
