// SPDX-License-Identifier: Apache-2.0
// Internal to items: their equality by content.
#pragma once

#include <vexil/KRAVTWVItemVexil.h>

#include <memory>
#include <unordered_map>
#include <vector>

namespace detail {

/// Compares subtrees without recursion and, when asked to, remembers what it found.
///
/// A merge compares the children of a node, subtree by subtree, and then again level by level on its
/// way down to what differs. Remembering the answers makes that linear in the subtree. An answer is
/// remembered only for subtrees that nobody but their own parents holds, so that nothing the merge
/// does to another item can make it wrong; and whoever lets foreign code run, which may do anything,
/// calls `forget`.
class ItemComparison {
 public:
  enum class Memory : bool { none, remembers };
  explicit ItemComparison(Memory memory) : _memory(memory) {}

  using Item = KRAVTWVItemVexil;
  using ItemPointer = std::shared_ptr<KRAVTWVItemVexil>;

  /// `left.isEqual(right)`.
  [[nodiscard]] bool equal(const Item& left, const Item& right);
  /// The same for elements of two arrays of children.
  [[nodiscard]] bool equal(const ItemPointer& left, const ItemPointer& right);
  /// `left.isEqualToItem(right)`.
  [[nodiscard]] bool equalContent(const Item& left, const Item& right);

  void forget() { _answers.clear(); }

 private:
  enum class Verdict : std::uint8_t { equal, unequal, childrenDecide };
  struct Pair {
    const Item* left;
    const Item* right;
    std::size_t next = 0;  // the children to be compared next
    bool isPrivate;        // held by their own parents alone
    bool allArePrivate;    // and all below, as far as they were compared
  };
  struct Answer {
    const Item* right;
    bool equal;
  };

  static Verdict judge(const Item& left, const Item& right);
  static Verdict judgeContent(const Item& left, const Item& right);
  [[nodiscard]] bool isPrivate(const ItemPointer& left, const ItemPointer& right) const;
  /// Compares the children of the one pair that is open.
  [[nodiscard]] bool compareOpen();
  [[nodiscard]] bool closeUnequal(bool isPrivate);
  void remember(const Pair& pair, bool equal);

  Memory _memory;
  std::vector<Pair> _open;
  std::unordered_map<const Item*, Answer> _answers;
};

}  // namespace detail
