// SPDX-License-Identifier: Apache-2.0
// Internal to the outline: compares all rows that may differ from the tree.
#pragma once

#include <vexil/outline/changes/Journals.h>
#include <vexil/outline/matching/Findings.h>
#include <vexil/outline/matching/LevelMatch.h>
#include <vexil/outline/matching/NewRows.h>
#include <vexil/outline/matching/TreeReading.h>
#include <vexil/outline/planning/CrossMoves.h>
#include <vexil/outline/rows/RowsByItem.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace vexil::detail {

/// One comparison of the rows with the tree. It changes neither. It throws `TreeChanged` when
/// foreign code has changed the tree in the middle; then the next one begins anew.
class Preparation {
 public:
  using Item = KRAVTWVItemVexil;

  struct Input {
    OutlineRow& top;
    std::shared_ptr<Item> root;  // may be null: there is nothing to show
    const Journals& journals;
    const RowsByItem& rowsByItem;
    RowNumber& lastNumber;
    const std::uint64_t& version;  ///< counted up by each announcement
    platform::detail::ManyWatches& watches;
  };
  explicit Preparation(const Input& input);

  /// Finds out what has to be done.
  void run();

  /// What was found; also when `run` has thrown, so that the items are known that are watched.
  [[nodiscard]] Findings& findings() { return _findings; }
  /// When `run` has thrown: calls `visit` with each item that is watched for the sake of a row that
  /// will not be.
  void forEachItemWatchedForNothing(const std::function<void(Item&)>& visit) const;

 private:
  struct Work {
    std::shared_ptr<Item> item;            // null: all rows go
    const ItemJournal* journal = nullptr;  // null: all is compared
  };

  void addWork(OutlineRow& row, Work work);
  void compareBelow(OutlineRow& row, const std::shared_ptr<Item>& item, bool isOther);
  void collectWork();
  void collectJournal(const Item& address, const ItemJournal& journal);
  void doWork();
  void takeUpPostponed();
  void doWorkOn(OutlineRow& row, const Work& work);
  void removeAllBelow(OutlineRow& row);
  [[nodiscard]] static bool mayStandTwice(const std::shared_ptr<Item>& item);
  [[nodiscard]] bool findRowsOfOtherItems();
  void leaveBelow(OutlineRow& newRow);
  [[nodiscard]] std::size_t depthOf(OutlineRow& row);
  [[nodiscard]] bool isGone(OutlineRow& row);
  void compareOwners();
  void compareWithProperties();
  [[nodiscard]] bool isToBeComparedAlone(OutlineRow& row);
  void compareAlone(OutlineRow& row);

  Input _input;
  TreeReading _tree;
  Findings _findings;
  NewRows _newRows;
  LevelMatch::Context _context;
  CrossMoves _crossMoves;
  std::map<std::size_t, std::vector<OutlineRow*>> _rowsByDepth;  // with work
  std::unordered_map<OutlineRow*, Work> _work;
  std::vector<std::unordered_map<OutlineRow*, Work>::node_type> _postponed;  // of rows that go
  std::unordered_set<const OutlineRow*> _done;
  std::unordered_map<const OutlineRow*, std::size_t> _depths;
  std::vector<const LevelChange*> _levelsDone;  // whose rows are not in the next yet
  std::unordered_set<const OutlineRow*> _removedRows;
  std::unordered_set<const OutlineRow*> _movedElsewhere;  // with all that is below them
  std::unordered_map<const OutlineRow*, bool> _areGone;   // answers that are known
  std::unordered_set<const Item*> _comparedItems;         // whose rows were found
  std::vector<std::shared_ptr<Item>> _withoutRow;  // items with journals that are no known parents
  bool _hasFoundOthers = false;                    // rows of such items
  std::vector<OutlineRow*> _owners;                // rows whose children were compared
};

}  // namespace vexil::detail
