// SPDX-License-Identifier: Apache-2.0
#include <vexil/items/ItemComparison.h>
#include <vexil/items/ItemFields.h>

#include <algorithm>
#include <typeinfo>

namespace vexil::detail {

namespace {

/// Whether a value can refer to an object. True also for a value with too many parts to look at.
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

// Inlined, because the comparison of a deep tree asks this of each pair.
[[gnu::always_inline]] inline ItemComparison::Verdict ItemComparison::judgeChildren(
    const Item& left, const Item& right) {
  const std::size_t count = ItemFields::currentChildren(left).size();
  if (ItemFields::areChildrenAbsent(left) || ItemFields::areChildrenAbsent(right) ||
      count != ItemFields::currentChildren(right).size()) {
    return Verdict::unequal;
  }
  return count == 0 ? Verdict::equal : Verdict::childrenDecide;
}

std::optional<ItemComparison::Verdict> ItemComparison::judgeAtOnce(const Item& left,
                                                                   const Item& right) {
  if (&left == &right) {
    return Verdict::equal;
  }
  const Item& receiver = left;
  const Item& other = right;
  if (typeid(receiver) != typeid(other)) {
    if (!ItemFields::isOwnKind(left)) {
      return std::nullopt;  // a host's kind may have its own class test
    }
    if (!ItemFields::isKindOfReceiversClass(left, right)) {
      return Verdict::unequal;
    }
  }
  return judgeContentAtOnce(left, right);
}

std::optional<ItemComparison::Verdict> ItemComparison::judgeContentAtOnce(const Item& left,
                                                                          const Item& right) {
  const platform::Value& object = ItemFields::representedObject(left);
  if (object.isAbsent()) {
    return Verdict::unequal;
  }
  const std::optional<bool> areEqual = object.plainlyEquals(ItemFields::representedObject(right));
  if (!areEqual) {
    return std::nullopt;
  }
  return *areEqual ? judgeChildren(left, right) : Verdict::unequal;
}

ItemComparison::Verdict ItemComparison::judge(const Item& left, const Item& right) {
  const Item& receiver = left;
  const Item& other = right;
  if (typeid(receiver) != typeid(other) && !ItemFields::isKindOfReceiversClass(left, right)) {
    return Verdict::unequal;
  }
  return judgeContent(left, right);
}

ItemComparison::Verdict ItemComparison::judgeContent(const Item& left, const Item& right) {
  // Copies: an object that is asked may give the items other ones.
  const platform::Value object = ItemFields::representedObject(left);
  const platform::Value other = ItemFields::representedObject(right);
  return !object.isAbsent() && object == other ? judgeChildren(left, right) : Verdict::unequal;
}

bool ItemComparison::areEqual(const Item& left, const Item& right) {
  std::optional<Verdict> verdict = judgeAtOnce(left, right);
  HeldItem heldLeft;
  HeldItem heldRight;
  if (!verdict) {
    heldLeft = left.weak_from_this().lock();
    heldRight = right.weak_from_this().lock();
    verdict = judge(left, right);
  }
  if (*verdict != Verdict::childrenDecide) {
    return *verdict == Verdict::equal;
  }
  ItemComparison comparison;
  comparison._open.push_back({&left, &right, 0, Ownership::shared, Ownership::shared});
  return comparison.compareOpen();
}

bool ItemComparison::haveEqualContent(const Item& left, const Item& right) {
  const HeldItem heldLeft = left.weak_from_this().lock();
  const HeldItem heldRight = right.weak_from_this().lock();
  const Verdict verdict = judgeContent(left, right);
  if (verdict != Verdict::childrenDecide) {
    return verdict == Verdict::equal;
  }
  ItemComparison comparison;
  comparison._open.push_back({&left, &right, 0, Ownership::shared, Ownership::shared});
  return comparison.compareOpen();
}

bool ItemComparison::equal(const ItemPointer& left, const ItemPointer& right, Ownership ofParents) {
  if (const auto known = remembered(left, right)) {
    return *known;
  }
  _foreignCodeRan = false;
  std::optional<Verdict> verdict = judgeAtOnce(*left, *right);
  Pair pair{left.get(), right.get(), 0, Ownership::shared, Ownership::shared};
  if (verdict == Verdict::childrenDecide) {
    pair.ownership = ownership(left, right, ofParents);
  } else if (!verdict) {
    verdict = judgeByAsking(left, right);
  }
  if (*verdict != Verdict::childrenDecide) {
    _held.clear();
    return *verdict == Verdict::equal;
  }
  _open.push_back(pair);
  const bool areEqual = compareOpen();
  if (!areEqual && !_foreignCodeRan) {
    // For equal items, nobody will ask what lies below.
    for (const auto& [item, answer] : _found) {
      _answers.insert_or_assign(item, answer);
    }
  }
  _found.clear();
  _held.clear();
  return areEqual;
}

Ownership ItemComparison::ownership(const ItemPointer& left, const ItemPointer& right,
                                    Ownership ofParents) {
  const auto isHeldByItsParentAlone = [](const ItemPointer& item) {
    int partsToLookAt = 250;
    return item.use_count() == 1 && ItemFields::isArrayOfChildrenHeldOnce(*item) &&
           !canReferToObject(ItemFields::representedObject(*item), partsToLookAt);
  };
  return ofParents == Ownership::parentAlone && isHeldByItsParentAlone(left) &&
                 isHeldByItsParentAlone(right)
             ? Ownership::parentAlone
             : Ownership::shared;
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

ItemComparison::Verdict ItemComparison::judgeByAsking(const ItemPointer& left,
                                                      const ItemPointer& right) {
  while (_held.size() < _open.size()) {
    const Pair& pair = _open[_held.size()];
    _held.emplace_back(pair.left->weak_from_this().lock(), pair.right->weak_from_this().lock());
  }
  _held.emplace_back(left, right);
  _foreignCodeRan = true;
  forget();  // what was found before may be otherwise by now
  return judge(static_cast<const Item&>(*_held.back().first),
               static_cast<const Item&>(*_held.back().second));
}

bool ItemComparison::compareOpen() {
  while (!_open.empty()) {
    if (_held.size() > _open.size()) {
      // The pair that was asked last was not opened. Letting go of it may run destructors.
      _held.resize(_open.size());
    }
    Pair& pair = _open.back();
    const KRAVTWVItemArray& children = ItemFields::currentChildren(*pair.left);
    const KRAVTWVItemArray& others = ItemFields::currentChildren(*pair.right);
    if (_foreignCodeRan && children.size() != others.size()) {
      return closeUnequal(Ownership::shared);  // they were as many when they were opened
    }
    if (pair.next >= children.size()) {
      closeEqual();
      continue;
    }
    const ItemPointer& left = children[pair.next];
    const ItemPointer& right = others[pair.next];
    ++pair.next;
    if (const auto known = remembered(left, right)) {
      if (!*known) {
        return closeUnequal(pair.ownership);
      }
      continue;
    }
    Pair inner{left.get(), right.get(), 0, Ownership::shared, Ownership::shared};
    std::optional<Verdict> verdict = judgeAtOnce(*left, *right);
    if (verdict) {
      inner.ownership = inner.ownershipOfBelow = ownership(left, right, pair.ownership);
    } else {
      verdict = judgeByAsking(left, right);
    }
    if (*verdict == Verdict::unequal) {
      return closeUnequal(inner.ownership);
    }
    if (*verdict == Verdict::childrenDecide) {
      _open.push_back(inner);
    } else if (inner.ownership == Ownership::shared) {
      pair.ownershipOfBelow = Ownership::shared;
    }
  }
  return true;
}

/// The innermost pair that is open is equal.
void ItemComparison::closeEqual() {
  const Pair pair = _open.back();
  _open.pop_back();
  if (pair.ownershipOfBelow == Ownership::parentAlone && !_foreignCodeRan) {
    _found.push_back({pair.left, {pair.right, true}});
  } else if (!_open.empty()) {
    _open.back().ownershipOfBelow = Ownership::shared;
  }
}

/// Two items differ, so all the pairs that are open do.
bool ItemComparison::closeUnequal(Ownership ofThoseThatDiffer) {
  // Nobody asks for the outermost pair again.
  for (; _open.size() > 1; _open.pop_back()) {
    if (ofThoseThatDiffer == Ownership::parentAlone && !_foreignCodeRan) {
      _found.push_back({_open.back().left, {_open.back().right, false}});
    }
  }
  _open.clear();
  return false;
}

}  // namespace vexil::detail
