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

/// Who else can change an item during an operation on it.
enum class Ownership : std::uint8_t {
  /// Nobody: every item and every array, from the top of the operation down to this item, is held
  /// by its parent alone, and no represented object refers to an object, which could be an item.
  parentAlone,
  /// Anybody else who holds the item, or an item above it.
  shared
};

/// Compares subtrees without recursion and, for a merge, remembers what it found.
///
/// A merge compares the children of a node, subtree by subtree. On its way down to what differs it
/// compares them again, level by level. Remembering the answers makes that linear in the subtree.
///
/// But the merge changes items meanwhile. So an answer is remembered only for two items that are
/// owned by their parents alone, and only if all items that were compared for it are, too: nothing
/// that the merge does elsewhere changes them. Foreign code can do anything, so the code that lets
/// it run must call `forget`.
///
/// A comparison itself runs foreign code where a represented object must be asked whether it is
/// equal, or an item of another class whether it is of the receiver's kind. Before it asks, it
/// holds all items that it has open. After that it reads counts and positions again. Children that
/// became more or fewer meanwhile are not equal.
class ItemComparison {
 public:
  using Item = KRAVTWVItemVexil;
  using ItemPointer = std::shared_ptr<KRAVTWVItemVexil>;

  /// `left.isEqual(right)`.
  [[nodiscard]] static bool areEqual(const Item& left, const Item& right);
  /// `left.isEqualToItem(right)`.
  [[nodiscard]] static bool haveEqualContent(const Item& left, const Item& right);

  /// `left->isEqual(*right)`, for elements of two arrays of children. `ofParents` is the ownership
  /// of the two parents.
  [[nodiscard]] bool equal(const ItemPointer& left, const ItemPointer& right, Ownership ofParents);

  /// The ownership of two elements of arrays of children. The caller must not hold them.
  [[nodiscard]] static Ownership ownership(const ItemPointer& left, const ItemPointer& right,
                                           Ownership ofParents);

  void forget();
  [[nodiscard]] bool remembersAny() const { return !_answers.empty(); }

 private:
  enum class Verdict : std::uint8_t { equal, unequal, childrenDecide };
  using HeldItem = std::shared_ptr<const platform::Observable>;
  struct Pair {
    const Item* left;
    const Item* right;
    std::size_t next = 0;        // the children to be compared next
    Ownership ownership;         // of the two
    Ownership ownershipOfBelow;  // of all below that were compared so far
  };
  struct Answer {
    const Item* right;
    bool equal;
  };

  /// What can be decided about two items without running foreign code.
  static std::optional<Verdict> judgeAtOnce(const Item& left, const Item& right);
  static std::optional<Verdict> judgeContentAtOnce(const Item& left, const Item& right);
  /// The same, also by running foreign code. The caller holds both items.
  static Verdict judge(const Item& left, const Item& right);
  static Verdict judgeContent(const Item& left, const Item& right);
  static Verdict judgeChildren(const Item& left, const Item& right);
  /// `judge`, while the two items and all that are open are held.
  [[nodiscard]] Verdict judgeByAsking(const ItemPointer& left, const ItemPointer& right);

  [[nodiscard]] std::optional<bool> remembered(const ItemPointer& left,
                                               const ItemPointer& right) const;
  /// Compares the children of the pair that is open, and all below.
  [[nodiscard]] bool compareOpen();
  void closeEqual();
  [[nodiscard]] bool closeUnequal(Ownership ofThoseThatDiffer);

  std::vector<Pair> _open;
  std::vector<std::pair<HeldItem, HeldItem>> _held;  // holds the first pairs of `_open`
  bool _foreignCodeRan = false;  // during this comparison; if so, nothing of it is remembered
  std::vector<std::pair<const Item*, Answer>> _found;  // during this comparison
  std::unordered_map<const Item*, Answer> _answers;
};

}  // namespace vexil::detail
