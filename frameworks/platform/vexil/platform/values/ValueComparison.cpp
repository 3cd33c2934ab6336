// SPDX-License-Identifier: Apache-2.0
// The order of values.
#include <vexil/platform/Value.h>

#include <cmath>

namespace vexil::platform {

namespace {

/// 2^63, the smallest real above every 64-bit signed integer.
constexpr double twoTo63 = 9223372036854775808.0;
constexpr double twoTo64 = 18446744073709551616.0;

std::weak_ordering order(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) {
    return static_cast<int>(!std::isnan(a)) <=> static_cast<int>(!std::isnan(b));
  }
  return a < b ? std::weak_ordering::less
               : (a > b ? std::weak_ordering::greater : std::weak_ordering::equivalent);
}

/// Exact: the integer is not rounded to a real, because that would make neighbours above 2^53
/// equal.
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
  return largeInteger <=>
         static_cast<std::uint64_t>(real);  // a real of this size is a whole number
}

std::weak_ordering reversed(std::weak_ordering order) {
  return 0 <=> order;
}

/// The position of a kind in the order. Booleans, integers and reals have the same one.
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

}  // namespace

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
    // In UTF-8, the order of the bytes is the order of the code points.
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

}  // namespace vexil::platform
