// SPDX-License-Identifier: Apache-2.0
// Equality, hash and order of values.
#include <platform/Value.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <memory>
#include <unordered_set>

namespace platform {

namespace {

/// 2^63, the first real above every 64-bit signed integer.
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;

/// The hash of a number that is a whole one, whatever its type.
std::size_t hashOfInteger(std::uint64_t bits) {
  bits ^= bits >> 32;
  bits *= 0x9e3779b97f4a7c15U;
  return bits ^ (bits >> 29);
}

std::size_t hashOfReal(double real) {
  if (std::isnan(real)) {
    return hashOfInteger(0x7ff8);
  }
  if (real == std::trunc(real)) {
    if (real >= -twoTo63 && real < twoTo63) {
      return hashOfInteger(static_cast<std::uint64_t>(static_cast<std::int64_t>(real)));
    }
    if (real > 0 && real < twoTo64) {
      return hashOfInteger(static_cast<std::uint64_t>(real));
    }
  }
  return hashOfInteger(std::bit_cast<std::uint64_t>(real));
}

std::weak_ordering order(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) {
    return static_cast<int>(!std::isnan(a)) <=> static_cast<int>(!std::isnan(b));
  }
  return a < b ? std::weak_ordering::less
               : (a > b ? std::weak_ordering::greater : std::weak_ordering::equivalent);
}

/// Exact: the integer is not rounded to a real, which would make neighbours above 2^53 equal.
std::weak_ordering order(std::int64_t integer, double real) {
  if (std::isnan(real)) {
    return std::weak_ordering::greater;
  }
  if (real >= twoTo63) {
    return std::weak_ordering::less;
  }
  if (real < -twoTo63) {
    return std::weak_ordering::greater;
  }
  const double whole = std::trunc(real);
  const auto difference = integer <=> static_cast<std::int64_t>(whole);
  return difference != 0 ? std::weak_ordering(difference) : order(whole, real);
}

/// The same for an integer of 2^63 or more.
std::weak_ordering order(std::uint64_t largeInteger, double real) {
  if (std::isnan(real) || real < twoTo63) {
    return std::weak_ordering::greater;
  }
  if (real >= twoTo64) {
    return std::weak_ordering::less;
  }
  return largeInteger <=> static_cast<std::uint64_t>(real);  // such a real is a whole number
}

std::weak_ordering reversed(std::weak_ordering order) {
  return 0 <=> order;
}

/// The place of a type among the others; booleans, integers and reals share one.
int rank(Value::Kind kind) {
  switch (kind) {
    case Value::Kind::absent:
      return 0;
    case Value::Kind::null:
      return 1;
    case Value::Kind::boolean:
    case Value::Kind::integer:
    case Value::Kind::real:
      return 2;
    case Value::Kind::string:
      return 3;
    case Value::Kind::date:
      return 4;
    case Value::Kind::data:
      return 5;
    case Value::Kind::array:
      return 6;
    case Value::Kind::dictionary:
      return 7;
    case Value::Kind::object:
      return 8;
  }
  return 9;
}

/// How deep equality looks by recursion before it notes the rest down.
constexpr int equalityDepth = 16;
/// How many containers equality looks into before it remembers them, and from which depth on. A
/// list of records is held by its host too, so all of it is shared; to remember each record would
/// cost more than to compare it, and only parts of parts can multiply.
constexpr std::size_t equalityMemoryless = 64;
constexpr int equalityMemoryDepth = 2;
/// How deep a hash looks, and into how large containers below the outermost one. Both bound what
/// a value can cost that holds the same parts over and over.
constexpr int hashDepth = 3;
constexpr std::uint32_t hashWidth = 64;

}  // namespace

/// What one question for equality has come across.
struct Value::Comparison {
  using Pair = std::pair<const void*, const void*>;
  struct HashOfPair {
    std::size_t operator()(const Pair& pair) const {
      return std::hash<const void*>{}(pair.first) * 31 + std::hash<const void*>{}(pair.second);
    }
  };

  /// What lies deeper than the recursion goes; all of it must be equal, so the order is free.
  std::vector<std::pair<const Value*, const Value*>> pending;
  std::size_t entered = 0;
  std::unique_ptr<std::unordered_set<Pair, HashOfPair>> known;

  /// Whether these two containers have been taken up before. Whatever came of it, there is nothing
  /// to gain from doing it again: had they been different, all would be over.
  bool knows(const detail::Container& left, const detail::Container& right, int depth) {
    if (++entered <= equalityMemoryless || depth < equalityMemoryDepth ||
        !left.references.isShared() || !right.references.isShared()) {
      return false;
    }
    if (!known) {
      known = std::make_unique<std::unordered_set<Pair, HashOfPair>>();
    }
    return !known->insert({&left, &right}).second;
  }
};

std::weak_ordering Value::compareNumber(const Value& other) const noexcept {
  if (_tag == tagReal) {
    return other._tag == tagReal ? order(load<double>(), other.load<double>())
                                 : reversed(other.compareNumber(*this));
  }
  if (_tag == tagLargeInteger) {
    if (other._tag == tagReal) {
      return order(load<std::uint64_t>(), other.load<double>());
    }
    return other._tag == tagLargeInteger ? load<std::uint64_t>() <=> other.load<std::uint64_t>()
                                         : std::weak_ordering::greater;
  }
  if (other._tag == tagReal) {
    return order(load<std::int64_t>(), other.load<double>());
  }
  return other._tag == tagLargeInteger ? std::weak_ordering::less
                                       : load<std::int64_t>() <=> other.load<std::int64_t>();
}

std::weak_ordering Value::compare(const Value& other) const noexcept {
  if (isString() && other.isString()) {
    // UTF-8 was made so that the order of its bytes is the order of its code points.
    return string() <=> other.string();
  }
  if (isNumber() && other.isNumber()) {
    return compareNumber(other);
  }
  if (_tag == tagDate && other._tag == tagDate) {
    return order(load<double>(), other.load<double>());
  }
  if (_tag == tagData && other._tag == tagData) {
    return load<const detail::Bytes*>()->text() <=> other.load<const detail::Bytes*>()->text();
  }
  return rank(kind()) <=> rank(other.kind());
}

/// The answer for what most comparisons are about, a few plain values of the same types under the
/// same keys; nothing where it takes more to answer. Looks at `parts` values at most.
std::optional<bool> Value::equalAtOnce(const Value& a, const Value& b, int& parts) {
  if (a._tag == b._tag && (a._tag == tagDictionary || a._tag == tagArray)) {
    return equalAtOnce(*a.load<const detail::Container*>(), *b.load<const detail::Container*>(),
                       parts);
  }
  if (a.isString() && b.isString()) {
    return a.string() == b.string();
  }
  // Of one type that its bits decide.
  return a._tag == b._tag && (a._tag == tagInteger || a._tag == tagBoolean) ? std::optional(false)
                                                                            : std::nullopt;
}

std::optional<bool> Value::equalAtOnce(const detail::Container& left,
                                       const detail::Container& right, int& parts) {
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

bool Value::equal(const Value& a, const Value& b) {
  if (const std::optional<bool> answer = a.plainlyEquals(b)) {
    return *answer;
  }
  Comparison comparison;
  if (!equalButFor(a, b, 0, comparison)) {
    return false;
  }
  while (!comparison.pending.empty()) {
    const auto [left, right] = comparison.pending.back();
    comparison.pending.pop_back();
    if (!equalButFor(*left, *right, equalityMemoryDepth, comparison)) {
      return false;
    }
  }
  return true;
}

/// Equality, except that pairs too deep to recurse into are left pending.
bool Value::equalButFor(const Value& a, const Value& b, int depth, Comparison& comparison) {
  if (a.isNumber() && b.isNumber()) {
    return a.compareNumber(b) == 0;
  }
  if (a.isString() && b.isString()) {
    return a.string() == b.string();
  }
  if (a._tag != b._tag) {
    return false;
  }
  if (a.sharesStorageWith(b)) {
    return true;
  }
  switch (a._tag) {
    case tagDate:
      return order(a.load<double>(), b.load<double>()) == 0;
    case tagData:
      return a.load<const detail::Bytes*>()->text() == b.load<const detail::Bytes*>()->text();
    case tagObject:
      return a.object()->isEqual(*b.object());
    case tagArray:
    case tagDictionary:
      break;
    default:
      return true;  // absent and null
  }
  const detail::Container& left = *a.load<const detail::Container*>();
  const detail::Container& right = *b.load<const detail::Container*>();
  if (left.count() != right.count()) {
    return false;
  }
  if (depth == equalityDepth) {
    comparison.pending.emplace_back(&a, &b);
    return true;
  }
  if (comparison.knows(left, right, depth)) {
    return true;
  }
  const std::span<const Value> ours = left.values();
  const std::span<const Value> theirs = right.values();
  const bool sameOrder = left.shape == right.shape;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    std::size_t j = i;
    if (!sameOrder) {
      j = right.shape->find(left.shape->keys()[i]);
      if (j == theirs.size()) {
        return false;
      }
    }
    if (!ours[i].hasBitsOf(theirs[j]) && !equalButFor(ours[i], theirs[j], depth + 1, comparison)) {
      return false;
    }
  }
  return true;
}

std::size_t Value::hashOfNumber() const noexcept {
  return _tag == tagReal ? hashOfReal(load<double>()) : hashOfInteger(load<std::uint64_t>());
}

/// Containers that lie too deep or are too large count by their size alone.
std::size_t Value::hash(int depth) const {
  if (isString()) {
    return hashOfText(string());
  }
  if (isNumber()) {
    return hashOfNumber();
  }
  switch (_tag) {
    case tagDate:
      return hashOfReal(load<double>()) ^ static_cast<std::size_t>(tagDate);
    case tagData:
      return hashOfText(load<const detail::Bytes*>()->text()) + 1;
    case tagObject:
      return object()->hash();
    case tagArray:
    case tagDictionary:
      break;
    default:
      return isNull() ? 1 : 0;
  }
  const detail::Container& container = *load<const detail::Container*>();
  const std::uint32_t count = container.count();
  std::size_t result = count;
  if (depth == hashDepth || (depth > 0 && count > hashWidth)) {
    return result;
  }
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::size_t element = container.values()[i].hash(depth + 1);
    if (_tag == tagArray) {
      result = result * 31 + element;
    } else {
      // A sum, because equal dictionaries may have their keys in another order.
      result += hashOfInteger(container.shape->keys()[i].hash() + element * 31);
    }
  }
  return result;
}

}  // namespace platform
