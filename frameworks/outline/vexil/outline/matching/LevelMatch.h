// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: compares the children of one row with those of an item.
#pragma once

#include <vexil/outline/changes/ItemJournal.h>
#include <vexil/outline/matching/Findings.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/Survivors.h>
#include <vexil/outline/matching/TreeReading.h>
#include <vexil/outline/rows/RowList.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace vexil::detail {

/// Finds out which rows stay, which go, and for which items rows must be made. Rows are found by
/// their identities. Where the item's journal explains what happened, only what it names is looked
/// at.
class LevelMatch {
 public:
  using Item = KRAVTWVItemVexil;

  /// What the comparison of one level asks of the whole.
  struct Context {
    TreeReading& tree;
    NewRows& newRows;
    Findings& findings;
    platform::detail::ManyWatches& watches;
    /// Called with each item that takes a place in the level, but for those of new rows.
    std::function<void(const std::shared_ptr<Item>&)> watch;
    /// Called with each row that stays and may have other children, with its item now, and whether
    /// another item stood for it before.
    std::function<void(OutlineRow&, const std::shared_ptr<Item>&, bool)> compareBelow;
    /// Whether it is called with rows that cannot have children, too.
    bool isCalledForEachRow;
  };
  LevelMatch(OutlineRow& parent, const std::shared_ptr<Item>& item, Context& context);

  void compareAll();
  /// The journal must explain what happened.
  void compareWhatChanged(const ItemJournal& journal);

 private:
  /// A child that is compared, and where it stands.
  struct Child {
    std::size_t now;
    std::shared_ptr<Item> item;
    platform::Value identifier;
    std::uint32_t occurrence = 0;
    bool isWatched = false;   // already, as one that takes a place
    bool isKnownNew = false;  // there is no row for it
  };

  [[nodiscard]] bool areRowsDistinct() const { return _rows == nullptr || _rows->areDistinct(); }
  [[nodiscard]] bool doDirtyOnesKeepIdentity(const ItemJournal& journal);
  template <class Visit>
  void forEachDirty(const ItemJournal& journal, const Visit& visit);
  void goThrough(const ItemJournal& journal);
  void goThroughKept(std::size_t now, std::size_t old, std::size_t count);
  void goThroughCome(const platform::IndexSet::Range& range);
  void goThroughGone(const platform::IndexSet::Range& range);
  void examineDirty(std::size_t now, std::size_t old);
  void examineByLineage(std::size_t now, std::size_t old);
  void prefetchForLineage(std::size_t now) const;
  void requireRecordOfList(const Item& item, std::size_t now) const;
  [[nodiscard]] std::vector<bool> watchOthers();
  void watch(Child& child);
  [[nodiscard]] bool hasMovedAway(std::size_t old) const;
  [[nodiscard]] static bool isUntouched(OutlineRow& row, const Item& item);
  [[nodiscard]] bool findNearby(Child& child);
  [[nodiscard]] bool keepIfSame(Child& child, std::size_t old);
  void keep(OutlineRow& row, Child& child);
  void makeAll();
  void findOthers();
  void finish();
  void removeFoundFromLoose();
  void addGone(LevelChange& level);
  void addCome(LevelChange& level);

  OutlineRow* _parent;
  std::shared_ptr<Item> _item;
  Context* _context;

  RowList* _rows;  // null when there are none
  std::size_t _oldCount;
  RowList::Reader _rowAt;
  std::vector<std::size_t> _movedAway;     // positions before, of rows that move to other parents
  bool _areAllCompared = false;            // and so each row accounts for its item
  bool _areDistinct = true;                // the children now
  bool _areKnownToDiffer = false;          // those of their identifiers that a list of records has
  const EventLineage* _lineage = nullptr;  // says which row is whose, if it is there
  Ranges::const_iterator _dirty;           // the next range that is dirty, and their end
  Ranges::const_iterator _dirtyEnd;
  std::ptrdiff_t _offset = 0;       // from a position now to that before, of the row found last
  Survivors _survivors;             // in their new order
  std::vector<Child> _notFound;     // children whose rows are not nearby, in their order
  std::vector<std::size_t> _loose;  // positions before whose rows may have to go, in their order
  std::vector<std::size_t> _found;  // those of them that were found elsewhere
};

}  // namespace vexil::detail
