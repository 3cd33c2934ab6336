// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: what an item has announced about its children.
#pragma once

#include <vexil/order/EventLineage.h>
#include <vexil/outline/changes/Ranges.h>
#include <vexil/platform/Observable.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

class KRAVTWVItemVexil;

namespace vexil::detail {

/// The changes of one item's children since the rows were last prepared, put together to one: some
/// of the old children are gone, some of the present ones have come, and all others are the same
/// objects in the same order. Of these, some may have other content.
class ItemJournal {
 public:
  explicit ItemJournal(std::weak_ptr<KRAVTWVItemVexil> item) : _item(std::move(item)) {}

  /// The item; null when it is gone.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> item() const noexcept { return _item.lock(); }
  [[nodiscard]] bool isOfDeadItem() const noexcept { return _item.expired(); }

  void begin() noexcept { ++_open; }
  /// A change has been made. `isIdentified`: it is part of a merge of records whose identifiers are
  /// known to differ. `lineage`: theirs, if they are a whole list.
  void end(const platform::ChangeRecord& change, bool isIdentified,
           std::shared_ptr<const EventLineage> lineage);
  void drop() noexcept;
  /// Nothing is known any more: all children must be compared.
  void forget() noexcept;

  /// Whether it is known what has happened between so many old children and so many present ones.
  [[nodiscard]] bool explains(std::size_t oldCount, std::size_t count) const noexcept;
  [[nodiscard]] const Ranges& gone() const noexcept { return _gone; }    // of the old positions
  [[nodiscard]] const Ranges& come() const noexcept { return _come; }    // of the present ones
  [[nodiscard]] const Ranges& dirty() const noexcept { return _dirty; }  // of the present ones
  /// Whether all identifiers differ, if they did before.
  [[nodiscard]] bool isIdentified() const noexcept { return _isIdentified; }
  /// The lineage of the children, if all that happened was one merge of a list; null otherwise.
  [[nodiscard]] const EventLineage* lineage() const noexcept {
    return _isOneMerge && _isMergeComplete ? _lineage.get() : nullptr;
  }
  /// The number of the list that the children are the items of, in its order; 0 when that is not
  /// known.
  [[nodiscard]] std::uint64_t list() const noexcept {
    return _isMergeComplete && _lineage ? _lineage->list : 0;
  }

 private:
  void apply(const platform::ChangeRecord& change);

  std::weak_ptr<KRAVTWVItemVexil> _item;
  Ranges _gone;
  Ranges _come;
  Ranges _dirty;
  unsigned _open = 0;  // changes that have begun and not ended
  bool _isKnown = true;
  bool _isIdentified = true;
  std::shared_ptr<const EventLineage> _lineage;  // of the merge that came last
  bool _isOneMerge = true;
  bool _isMergeComplete = false;
};

}  // namespace vexil::detail
