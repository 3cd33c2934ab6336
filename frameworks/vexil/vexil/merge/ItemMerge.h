// SPDX-License-Identifier: Apache-2.0
// Internal to items: how a live tree takes over a fresh one.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/items/ItemComparison.h>
#include <vexil/merge/FreshList.h>

#include <memory>
#include <optional>
#include <vector>

namespace vexil::detail {

/// One `replaceChildren` with all the nested ones it leads to, without recursion: a level is what
/// the nested call would have on the stack.
class ItemMerge {
 public:
  /// Whether nobody but the caller holds the items of `fresh`, directly or in some array, is for
  /// the caller to say, as ItemComparison has it.
  void run(KRAVTWVItemVexil& receiver, FreshList fresh, bool isPrivate);

 private:
  using Item = KRAVTWVItemVexil;

  /// A node whose children are being replaced, at its last step: the replacement in place.
  struct Level {
    std::shared_ptr<Item> receiver;
    FreshList fresh;
    platform::IndexSet changed;
    std::size_t run = 0;    // of those of `changed`, the one that is being worked through
    std::size_t inRun = 0;  // and what was done of it
    bool isPrivate;         // the receiver and the fresh items' owner, as ItemComparison has it
    platform::PendingChange replacement;
  };

  /// The steps up to the replacement; opens a level when there is something to replace.
  void open(std::shared_ptr<Item> receiver, FreshList fresh, bool isPrivate);
  /// Yields the positions of what was inserted.
  platform::IndexSet removeAndInsert(Item& receiver, const FreshList& fresh);
  [[nodiscard]] platform::IndexSet changedIndexes(const Item& receiver, const FreshList& fresh,
                                                  const platform::IndexSet& inserted,
                                                  bool isPrivate);
  /// Whether the child at `index` equals the fresh item there.
  [[nodiscard]] bool isEqual(const KRAVTWVItemArray& children, const FreshList& fresh,
                             std::size_t index, bool isPrivate);
  /// Takes over the content of the next item of the innermost level, and goes into its children.
  void replaceNext();
  /// Makes a change of `item` that is announced; whether an observer can have had its hands in.
  template <class Change>
  bool announce(const Item& item, Change&& change);

  ItemComparison _comparison;
  std::vector<Level> _levels;
  // What the tree lets go of while answers are remembered: destructors can be foreign code.
  std::vector<platform::Value> _letGoLast;
};

}  // namespace vexil::detail
