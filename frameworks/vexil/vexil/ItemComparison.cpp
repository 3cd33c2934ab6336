// SPDX-License-Identifier: Apache-2.0
#include <vexil/ItemComparison.h>

#include <algorithm>
#include <typeinfo>

namespace detail {

namespace {

/// Whether a value can refer to an object. One with too many parts to look at is taken to.
bool canReferToObject(const platform::Value& value, int& partsToLookAt) {
  if (value.isObject() || --partsToLookAt < 0) {
    return true;
  }
  const auto canRefer = [&](const platform::Value& part) {
    return canReferToObject(part, partsToLookAt);
  };
  return std::ranges::any_of(value.elements(), canRefer) ||
         std::ranges::any_of(value.values(), canRefer);
}

}  // namespace

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

bool ItemComparison::equalContent(const Item& left, const Item& right) {
  const Verdict verdict = judgeContent(left, right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  _open.push_back({&left, &right, 0, false, false});
  return compareOpen();
}

bool ItemComparison::equal(const ItemPointer& left, const ItemPointer& right,
                           bool parentsArePrivate) {
  if (const auto known = remembered(left, right)) {
    return *known;
  }
  const Verdict verdict = judge(*left, *right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  _open.push_back({left.get(), right.get(), 0, parentsArePrivate && isPrivate(left, right), false});
  const bool areEqual = compareOpen();
  if (!areEqual) {
    // Of equal items, nobody will ask what lies below.
    for (const auto& [item, answer] : _found) {
      _answers.insert_or_assign(item, answer);
    }
  }
  _found.clear();
  return areEqual;
}

bool ItemComparison::isPrivate(const ItemPointer& left, const ItemPointer& right) {
  const auto isHeldOnce = [](const ItemPointer& item) {
    int partsToLookAt = 250;
    return item.use_count() == 1 && (!item->_rare || item->_rare->_children.use_count() <= 1) &&
           !canReferToObject(item->_representedObject, partsToLookAt);
  };
  return isHeldOnce(left) && isHeldOnce(right);
}

void ItemComparison::forget() {
  // Not cleared: that takes time for the largest number of answers there ever was.
  if (!_answers.empty()) {
    _answers = {};
  }
}

std::optional<bool> ItemComparison::remembered(const ItemPointer& left,
                                               const ItemPointer& right) const {
  if (_answers.empty()) {
    return std::nullopt;
  }
  const auto known = _answers.find(left.get());
  return known != _answers.end() && known->second.right == right.get()
             ? std::optional(known->second.equal)
             : std::nullopt;
}

bool ItemComparison::compareOpen() {
  while (!_open.empty()) {
    Pair& pair = _open.back();
    const KRAVTWVItemArray& children = pair.left->currentChildren();
    if (pair.next == children.size()) {
      const Pair done = pair;
      _open.pop_back();
      if (done.allArePrivate) {
        _found.push_back({done.left, {done.right, true}});
      } else if (!_open.empty()) {
        _open.back().allArePrivate = false;
      }
      continue;
    }
    const ItemPointer& left = children[pair.next];
    const ItemPointer& right = pair.right->currentChildren()[pair.next];
    ++pair.next;
    if (const auto known = remembered(left, right)) {
      if (!*known) {
        return closeUnequal(pair.isPrivate);
      }
      continue;
    }
    switch (judge(*left, *right)) {
      case Verdict::equal:
        pair.allArePrivate = pair.allArePrivate && isPrivate(left, right);
        break;
      case Verdict::unequal:
        return closeUnequal(pair.isPrivate && isPrivate(left, right));
      case Verdict::childrenDecide: {
        const bool areAllPrivate = pair.isPrivate && isPrivate(left, right);
        _open.push_back({left.get(), right.get(), 0, areAllPrivate, areAllPrivate});
      }
    }
  }
  return true;
}

/// Two items differ, so all the pairs that are open do.
bool ItemComparison::closeUnequal(bool remember) {
  // The first of them is asked for just once.
  for (; _open.size() > 1; _open.pop_back()) {
    if (remember) {
      _found.push_back({_open.back().left, {_open.back().right, false}});
    }
  }
  _open.clear();
  return false;
}

}  // namespace detail
