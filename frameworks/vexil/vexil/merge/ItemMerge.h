// SPDX-License-Identifier: Apache-2.0
// Internal to the merge: how a live tree takes over a fresh list.
#pragma once

#include <vexil/items/ItemComparison.h>
#include <vexil/kinds/Item.h>
#include <vexil/merge/FreshEvents.h>
#include <vexil/merge/FreshItems.h>
#include <vexil/merge/FreshRows.h>
#include <vexil/merge/IdentifierDifference.h>
#include <vexil/platform/IndexSet.h>
#include <vexil/platform/Observable.h>
#include <vexil/platform/Value.h>
#include <vexil/platform/detail/Operation.h>

#include <cstddef>
#include <memory>
#include <variant>
#include <vector>

namespace vexil::detail {

/// What a merge brings in. Collections hand over records where they can, because most refreshes
/// bring what is there already: then only the items that are inserted are made. An observer sees
/// only the fresh items that are inserted, so it cannot tell (one exception: `FreshRows`).
using FreshSource = std::variant<FreshItems, FreshEvents, FreshRows>;

/// One `replaceChildren` with all the nested ones that it leads to. It keeps a list of levels
/// instead of recursing. A level is one receiver whose replacement is not finished.
class ItemMerge {
 public:
  using Item = KRAVTWVItemVexil;

  ItemMerge() = default;
  ItemMerge(const ItemMerge&) = delete;
  ItemMerge& operator=(const ItemMerge&) = delete;
  ~ItemMerge();

  void perform(Item& receiver, FreshSource fresh);

 private:
  /// A receiver whose children are being replaced in place.
  struct Level {
    std::shared_ptr<Item> receiver;
    FreshSource fresh;
    platform::IndexSet changed;
    platform::PendingChange replacement;
    std::size_t nextRange = 0;  // of `changed`
    std::size_t doneOfRange = 0;

    [[nodiscard]] bool isDone() const { return nextRange == changed.ranges().size(); }
    /// The next of the changed positions.
    std::size_t next();
  };

  /// The identifiers on both sides.
  struct Identifiers {
    std::vector<platform::Value> old;
    std::vector<platform::Value> fresh;
  };

  /// Removes and inserts, finds out what must be replaced, and opens a level for that.
  void open(std::shared_ptr<Item> receiver, FreshSource fresh);
  void closeLevel();

  /// Returns where to replace.
  template <class Source>
  [[nodiscard]] platform::IndexSet mergeUpToReplacement(Item& receiver, const Source& fresh);
  /// Reads the identifiers on both sides and compares them.
  template <class Source>
  [[nodiscard]] IdentifierDifference readDifference(const Item& receiver, const Source& fresh,
                                                    Identifiers& identifiers);
  /// Returns whether observers may have got a notice of it.
  template <class Source>
  bool remove(Item& receiver, const Source& fresh, const platform::IndexSet& indexes);
  template <class Source>
  void insert(Item& receiver, const Source& fresh, const platform::IndexSet& indexes);

  template <class Source>
  [[nodiscard]] platform::IndexSet changedIndexes(const Item& receiver, const Source& fresh,
                                                  const platform::IndexSet& inserted);
  template <class Source>
  void addChangedIndexes(const Item& receiver, const Source& fresh, std::size_t from,
                         std::size_t to, platform::IndexSet& changed);
  void addChangedIndexes(const Item& receiver, const FreshEvents& fresh, std::size_t from,
                         std::size_t to, platform::IndexSet& changed);
  template <class Source>
  [[nodiscard]] bool isChildEqual(const Item& receiver, const Source& fresh, std::size_t index);
  [[nodiscard]] bool isEqual(const KRAVTWVItemArray& children, const FreshItems& fresh,
                             std::size_t index);
  template <class Source>
  [[nodiscard]] bool isEqual(const KRAVTWVItemArray& children, const Source& fresh,
                             std::size_t index);

  /// Makes the next child of the innermost level take over the content of the fresh item.
  void replaceNext();
  void replace(const KRAVTWVItemArray& children, const FreshItems& fresh, std::size_t index);
  void replace(const KRAVTWVItemArray& children, const FreshEvents& fresh, std::size_t index);
  void replace(const KRAVTWVItemArray& children, const FreshRows& fresh, std::size_t index);

  /// Makes a change of `item` that is announced. Returns whether observers may have got a notice,
  /// and so may have done anything.
  template <class Change>
  bool announce(const Item& item, Change&& change);

  platform::detail::Operation _operation;  // ends after all others have been let go of
  ItemComparison _comparison;
  std::vector<Level> _levels;
  // What the tree lets go of while answers are remembered: its destructors may run foreign code.
  std::vector<platform::Value> _letGoLast;
};

}  // namespace vexil::detail
