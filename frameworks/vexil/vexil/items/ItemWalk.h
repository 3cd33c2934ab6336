// SPDX-License-Identifier: Apache-2.0
// Internal to items.
#pragma once

#include <vexil/items/ItemFields.h>

#include <memory>
#include <vector>

namespace vexil::detail {

/// Walks through subtrees in post-order, every item after its own descendants, siblings in their
/// order. No tree may change meanwhile.
class ItemWalk {
 public:
  /// Calls `visit` with the pointer to each descendant of `item`. Takes memory in proportion to the
  /// depth; a flat list takes none.
  template <class Visit>
  static void throughDescendantsOf(const KRAVTWVItemVexil& item, Visit&& visit) {
    Siblings siblings = childrenOf(item);
    std::vector<Siblings> above;  // the levels that were left for those below, topmost first
    while (true) {
      while (siblings.next != siblings.end) {
        const Siblings children = childrenOf(**siblings.next);
        if (children.next == children.end) {
          visit(*siblings.next++);
        } else {
          above.push_back(siblings);
          siblings = children;
        }
      }
      if (above.empty()) {
        return;
      }
      siblings = above.back();
      above.pop_back();
      visit(*siblings.next++);
    }
  }

  /// The same, and then calls `visit` with `item` itself.
  template <class Visit>
  static void throughTree(KRAVTWVItemVexil& item, Visit&& visit) {
    throughDescendantsOf(item, [&](const auto& descendant) { visit(*descendant); });
    visit(item);
  }

 private:
  /// Children of one item that are still to be walked through.
  struct Siblings {
    const std::shared_ptr<KRAVTWVItemVexil>* next;
    const std::shared_ptr<KRAVTWVItemVexil>* end;
  };
  static Siblings childrenOf(const KRAVTWVItemVexil& item) {
    const KRAVTWVItemArray* const children = ItemFields::currentChildrenOrNull(item);
    return children == nullptr ? Siblings{nullptr, nullptr}
                               : Siblings{children->data(), children->data() + children->size()};
  }
};

}  // namespace vexil::detail
