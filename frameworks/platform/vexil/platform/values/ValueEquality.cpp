// SPDX-License-Identifier: Apache-2.0
// Equality of values.
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>
#include <unordered_set>

namespace vexil::platform {

using detail::Container;

namespace {

/// How deep equality recurses. What lies deeper goes to `_pending`.
constexpr int recursionDepth = 16;

/// How many values are compared before the pairs that were found equal are remembered. The host of
/// a list of records holds it too, so all records are shared, and remembering each of them would
/// cost more than comparing it. A comparison begins with `lookedAtFreely` values. It gains
/// `lookedAtForEach` values for each element of the outermost container, and for each element of a
/// container that it remembers. So the total stays linear in what there is.
constexpr std::size_t lookedAtFreely = 1024;
constexpr std::size_t lookedAtForEach = 32;

}  // namespace

/// One comparison of two values, side by side.
class Value::Comparison {
 public:
  enum class Objects { note, ask };

  explicit Comparison(Objects objects) : _objects(objects) {}

  /// Returns nothing when only objects that must be asked are left to decide.
  std::optional<bool> compare(const Value& a, const Value& b) {
    bool equal = areEqual(a, b, 0);
    while (equal && !_pending.empty()) {
      const auto [left, right] = _pending.back();
      _pending.pop_back();
      equal = areEqual(*left, *right, 1);
    }
    return equal && _isUnsure ? std::nullopt : std::optional(equal);
  }

 private:
  using Pair = std::pair<const Container*, const Container*>;
  struct HashOfPair {
    std::size_t operator()(const Pair& pair) const {
      return detail::mixedHash(std::hash<const void*>{}(pair.first),
                               std::hash<const void*>{}(pair.second));
    }
  };

  bool areEqual(const Value& a, const Value& b, int depth);
  bool areEqual(const Container& left, const Container& right, int depth);
  bool areEqualObjects(const Value& a, const Value& b);
  bool isKnown(const Container& left, const Container& right);
  const Container* representative(const Container* container);

  Objects _objects;
  bool _isUnsure = false;
  std::size_t _lookedAt = 0;
  std::size_t _allowed = lookedAtFreely;
  // Pairs that lie deeper than the recursion goes. All of them must be equal, so their order does
  // not matter.
  std::vector<std::pair<const Value*, const Value*>> _pending;
  std::unordered_map<const Container*, const Container*> _equals;
  std::unordered_set<Pair, HashOfPair> _pairs;
};

/// Whether these two were compared before, or are being compared. Doing it again is useless: if
/// they had been different, the comparison would be over. Remembers them.
bool Value::Comparison::isKnown(const Container& left, const Container& right) {
  if (_objects == Objects::ask) {
    // An object's `isEqual` need not be transitive, so only the very same pair counts as known.
    return !_pairs.insert({&left, &right}).second;
  }
  // Plain equality is transitive, so containers that were found equal form a group. Comparing two
  // containers of one group is not necessary. That is why there are never more pairs to compare
  // than containers, even when containers stand at many places.
  const Container* const one = representative(&left);
  const Container* const other = representative(&right);
  if (one == other) {
    return true;
  }
  _equals.emplace(one, other);
  return false;
}

/// The container that represents all containers that count as equal to this one.
const Container* Value::Comparison::representative(const Container* container) {
  const Container* last = container;
  for (auto next = _equals.find(last); next != _equals.end(); next = _equals.find(last)) {
    last = next->second;
  }
  while (container != last) {
    container = std::exchange(_equals.find(container)->second, last);
  }
  return last;
}

/// Equality, except that it puts pairs too deep to recurse into on `_pending` and counts them as
/// equal.
bool Value::Comparison::areEqual(const Value& a, const Value& b, int depth) {
  if (a._tag != b._tag || a._tag < tagArray) {
    return areEqualLeaves(a, b);
  }
  if (a.sharesStorageWith(b)) {
    return true;
  }
  if (a._tag == tagObject) {
    return areEqualObjects(a, b);
  }
  if (depth == recursionDepth) {
    _pending.emplace_back(&a, &b);
    return true;
  }
  return areEqual(*a.load<const Container*>(), *b.load<const Container*>(), depth);
}

bool Value::Comparison::areEqual(const Container& left, const Container& right, int depth) {
  const std::uint32_t count = left.count();
  if (count != right.count()) {
    return false;
  }
  if (_lookedAt > _allowed && (left.references.isShared() || right.references.isShared())) {
    if (isKnown(left, right)) {
      return true;
    }
    _allowed += lookedAtForEach * (count + std::size_t{1});
  } else if (depth == 0) {
    _allowed += lookedAtForEach * count;
  }
  _lookedAt += count + std::size_t{1};
  const Value* const ours = left.values().data();
  const Value* const theirs = right.values().data();
  const bool sameOrder = left.shape == right.shape;
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint32_t j = i;
    if (!sameOrder) {
      j = right.shape->find(left.shape->keys()[i]);
      if (j == count) {
        return false;
      }
    }
    if (!ours[i].hasBitsOf(theirs[j]) && !areEqual(ours[i], theirs[j], depth + 1)) {
      return false;
    }
  }
  return true;
}

bool Value::Comparison::areEqualObjects(const Value& a, const Value& b) {
  if (_objects == Objects::ask) {
    return a.object()->isEqual(*b.object());
  }
  _isUnsure = true;  // a difference elsewhere still decides
  return true;
}

/// Equality of two values that are not both arrays, both dictionaries or both objects.
[[gnu::noinline]] bool Value::areEqualLeaves(const Value& a, const Value& b) noexcept {
  if (a.isString() && b.isString()) {
    return a.string() == b.string();
  }
  if (a.isNumber() && b.isNumber()) {
    return a.compareNumber(b) == 0;
  }
  if (a._tag != b._tag) {
    return false;
  }
  switch (a._tag) {
    case tagDate: {
      const double ours = a.load<double>();
      const double theirs = b.load<double>();
      return ours == theirs || (std::isnan(ours) && std::isnan(theirs));
    }
    case tagData:
      return a.load<const detail::Bytes*>()->text() == b.load<const detail::Bytes*>()->text();
    default:
      return true;  // absent and null
  }
}

/// The quick answer for most comparisons: a few plain values under the same keys. Returns nothing
/// when it would take more than that. Looks at `parts` values at most.
std::optional<bool> Value::equalAtOnce(const Value& a, const Value& b, int& parts) {
  if (a._tag == b._tag && (a._tag == tagDictionary || a._tag == tagArray)) {
    return equalAtOnce(*a.load<const Container*>(), *b.load<const Container*>(), parts);
  }
  return equalLeavesAtOnce(a, b);
}

/// A function of its own, so that the path for containers saves no registers for it.
[[gnu::noinline]] std::optional<bool> Value::equalLeavesAtOnce(const Value& a,
                                                               const Value& b) noexcept {
  return a._tag == b._tag && a._tag == tagObject ? std::nullopt
                                                 : std::optional(areEqualLeaves(a, b));
}

std::optional<bool> Value::equalAtOnce(const Container& left, const Container& right, int& parts) {
  const std::uint32_t count = left.count();
  if (left.shape != right.shape) {
    return std::nullopt;
  }
  if (left.shape == nullptr && count != right.ownCount) {
    return false;
  }
  parts -= static_cast<int>(std::min<std::uint32_t>(count, INT32_MAX / 2));
  if (parts < 0) {
    return std::nullopt;
  }
  const Value* ours = left.values().data();
  const Value* theirs = right.values().data();
  for (const Value* const end = ours + count; ours != end; ++ours, ++theirs) {
    if (!ours->hasBitsOf(*theirs)) {
      const std::optional<bool> equal = equalAtOnce(*ours, *theirs, parts);
      if (equal != true) {
        return equal;
      }
    }
  }
  return true;
}

/// A function of its own, so that the frequent questions do not pay for it.
[[gnu::noinline]] std::optional<bool> Value::equalWithoutAsking(const Value& a, const Value& b) {
  return Comparison(Comparison::Objects::note).compare(a, b);
}

bool Value::equal(const Value& a, const Value& b) {
  if (const std::optional<bool> answer = a.plainlyEquals(b)) {
    return *answer;
  }
  // The objects that are asked may assign to the two values, or destroy them.
  const Value left(a);
  const Value right(b);
  return *Comparison(Comparison::Objects::ask).compare(left, right);
}

}  // namespace vexil::platform
