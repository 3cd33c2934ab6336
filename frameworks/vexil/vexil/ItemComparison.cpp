// SPDX-License-Identifier: Apache-2.0
#include <vexil/ItemComparison.h>

#include <typeinfo>

namespace detail {

ItemComparison::Verdict ItemComparison::judge(const Item& left, const Item& right) {
  if (&left == &right) {
    return Verdict::equal;
  }
  const Item& receiver = left;
  const Item& other = right;
  if (typeid(receiver) != typeid(other) && !left.isKindOfReceiversClass(right)) {
    return Verdict::unequal;
  }
  return judgeContent(left, right);
}

ItemComparison::Verdict ItemComparison::judgeContent(const Item& left, const Item& right) {
  if (left._representedObject.isAbsent() || left._representedObject != right._representedObject ||
      left._childrenState == Item::Children::absent ||
      right._childrenState == Item::Children::absent ||
      left.currentChildren().size() != right.currentChildren().size()) {
    return Verdict::unequal;
  }
  return left.currentChildren().empty() ? Verdict::equal : Verdict::childrenDecide;
}

bool ItemComparison::equal(const Item& left, const Item& right) {
  const Verdict verdict = judge(left, right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  _open.push_back({&left, &right, 0, false, false});
  return compareOpen();
}

bool ItemComparison::equal(const ItemPointer& left, const ItemPointer& right) {
  if (const auto known = _answers.find(left.get());
      known != _answers.end() && known->second.right == right.get()) {
    return known->second.equal;
  }
  const Verdict verdict = judge(*left, *right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  const bool isPrivateToParents = isPrivate(left, right);
  _open.push_back({left.get(), right.get(), 0, isPrivateToParents, isPrivateToParents});
  return compareOpen();
}

bool ItemComparison::equalContent(const Item& left, const Item& right) {
  const Verdict verdict = judgeContent(left, right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  _open.push_back({&left, &right, 0, false, false});
  return compareOpen();
}

bool ItemComparison::isPrivate(const ItemPointer& left, const ItemPointer& right) const {
  // A represented object can be another item, which may be changed from elsewhere.
  return _memory == Memory::remembers && left.use_count() == 1 && right.use_count() == 1 &&
         !left->_representedObject.isObject() && !right->_representedObject.isObject();
}

bool ItemComparison::compareOpen() {
  while (!_open.empty()) {
    Pair& pair = _open.back();
    const KRAVTWVItemArray& children = pair.left->currentChildren();
    if (pair.next == children.size()) {
      const Pair done = pair;
      _open.pop_back();
      remember(done, true);
      if (!_open.empty()) {
        _open.back().allArePrivate &= done.allArePrivate;
      }
      continue;
    }
    const ItemPointer& left = children[pair.next];
    const ItemPointer& right = pair.right->currentChildren()[pair.next];
    ++pair.next;
    if (const auto known = _answers.find(left.get());
        known != _answers.end() && known->second.right == right.get()) {
      if (!known->second.equal) {
        return closeUnequal(true);
      }
      continue;
    }
    const bool isPrivateToParents = isPrivate(left, right);
    switch (judge(*left, *right)) {
      case Verdict::equal:
        pair.allArePrivate &= isPrivateToParents;
        break;
      case Verdict::unequal:
        return closeUnequal(isPrivateToParents);
      case Verdict::childrenDecide:
        _open.push_back({left.get(), right.get(), 0, isPrivateToParents, isPrivateToParents});
    }
  }
  return true;
}

/// Two items differ, so all the pairs that are open do.
bool ItemComparison::closeUnequal(bool isPrivateToParents) {
  for (; !_open.empty(); _open.pop_back()) {
    isPrivateToParents = isPrivateToParents && _open.back().isPrivate;
    if (isPrivateToParents) {
      _open.back().allArePrivate = true;
      remember(_open.back(), false);
    }
  }
  return false;
}

void ItemComparison::remember(const Pair& pair, bool equal) {
  if (_memory == Memory::remembers && pair.allArePrivate) {
    _answers.insert_or_assign(pair.left, Answer{pair.right, equal});
  }
}

}  // namespace detail
