// SPDX-License-Identifier: Apache-2.0
// Internal to items: their equality by content.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace vexil::detail {

/// Compares subtrees without recursion and, for a merge, remembers what it found.
///
/// A merge compares the children of a node, subtree by subtree, and then again level by level on
/// its way down to what differs. Remembering the answers makes that linear in the subtree.
///
/// But the merge changes items while it goes on. So an answer is remembered only of items that are
/// private: from the top of the merge down to them and to all that they were compared by, every
/// item and every array is held by its parent alone, and no represented object refers to an object,
/// which could be an item. Nothing that the merge does elsewhere changes such items. Foreign code
/// can do anything, and whoever lets it run calls `forget`.
///
/// A comparison runs foreign code itself where a represented object has to be asked whether it is
/// equal, or an item of another class whether it is of the receiver's kind. Before that, all that
/// the comparison has open is held; after it, counts and positions are read again. Children that
/// became more or fewer meanwhile are not equal.
class ItemComparison {
 public:
  using Item = KRAVTWVItemVexil;
  using ItemPointer = std::shared_ptr<KRAVTWVItemVexil>;

  /// `left.isEqual(right)` and `left.isEqualToItem(right)`.
  [[nodiscard]] static bool areEqual(const Item& left, const Item& right);
  [[nodiscard]] static bool haveEqualContent(const Item& left, const Item& right);

  /// `left->isEqual(*right)` for elements of two arrays of children, whose owners are private or
  /// not.
  [[nodiscard]] bool equal(const ItemPointer& left, const ItemPointer& right,
                           bool parentsArePrivate);

  /// Whether two elements of arrays are private when their parents are.
  [[nodiscard]] static bool isPrivate(const ItemPointer& left, const ItemPointer& right);

  void forget();
  [[nodiscard]] bool remembersAny() const { return !_answers.empty(); }

 private:
  enum class Verdict : std::uint8_t { equal, unequal, childrenDecide };
  using HeldItem = std::shared_ptr<const platform::Observable>;
  struct Pair {
    const Item* left;
    const Item* right;
    std::size_t next = 0;  // the children to be compared next
    bool isPrivate;        // the two and all above
    bool allArePrivate;    // and all below, as far as they were compared
  };
  struct Answer {
    const Item* right;
    bool equal;
  };

  /// Two items, as far as that can be told without running foreign code.
  static std::optional<Verdict> judgeAtOnce(const Item& left, const Item& right);
  static std::optional<Verdict> judgeContentAtOnce(const Item& left, const Item& right);
  /// The same, with whatever runs. The caller holds both items.
  static Verdict judge(const Item& left, const Item& right);
  static Verdict judgeContent(const Item& left, const Item& right);
  static Verdict judgeChildren(const Item& left, const Item& right);
  [[nodiscard]] std::optional<bool> remembered(const ItemPointer& left,
                                               const ItemPointer& right) const;
  /// Compares the children of the one pair that is open.
  [[nodiscard]] bool compareOpen();
  [[nodiscard]] bool closeUnequal(bool remember);
  /// `judge` of two items, while they and all that is open are held.
  [[nodiscard]] Verdict judgeByAsking(const ItemPointer& left, const ItemPointer& right);

  std::vector<Pair> _open;
  std::vector<std::pair<HeldItem, HeldItem>>
      _held;                     // those of them that are held, from the first on
  bool _foreignCodeRan = false;  // in this comparison, which is not remembered then
  std::vector<std::pair<const Item*, Answer>> _found;  // in this comparison, and to be remembered
  std::unordered_map<const Item*, Answer> _answers;
};

}  // namespace vexil::detail
