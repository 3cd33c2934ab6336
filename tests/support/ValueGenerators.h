// SPDX-License-Identifier: Apache-2.0
// Random values for property tests, and values that equal them but are made otherwise.
#pragma once

#include <rapidcheck.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace vexil::platform {

// RapidCheck and GoogleTest find these by the argument's namespace and print counterexamples.
inline void showValue(const Value& value, std::ostream& out) {
  out << value.description();
}
inline void PrintTo(const Value& value, std::ostream* out) {
  *out << value.description();
}

}  // namespace vexil::platform

namespace test {

/// Numbers of every type, most of them where types and roundings meet.
inline rc::Gen<vexil::platform::Value> anyNumber() {
  using vexil::platform::Value;
  constexpr double twoTo53 = 9007199254740992.0;
  constexpr double twoTo63 = 9223372036854775808.0;
  constexpr std::int64_t exact53 = std::int64_t{1} << 53;
  constexpr std::uint64_t exact63 = std::uint64_t{1} << 63;
  return rc::gen::oneOf(
      rc::gen::map(rc::gen::arbitrary<bool>(), [](bool b) { return Value(b); }),
      rc::gen::map(rc::gen::inRange(-3, 4), [](int i) { return Value(i); }),
      rc::gen::map(rc::gen::inRange(-6, 7), [](int i) { return Value(i / 2.0); }),
      rc::gen::map(rc::gen::resize(100, rc::gen::arbitrary<std::int64_t>()),
                   [](std::int64_t i) { return Value(i); }),
      rc::gen::map(rc::gen::resize(100, rc::gen::arbitrary<double>()),
                   [](double d) { return Value(d); }),
      rc::gen::element(Value(exact53 - 1), Value(exact53), Value(exact53 + 1), Value(twoTo53),
                       Value(twoTo53 + 2), Value(-exact53 - 1), Value(-twoTo53), Value(INT64_MAX),
                       Value(INT64_MIN), Value(twoTo63), Value(-twoTo63),
                       Value(std::nextafter(twoTo63, 0.0)), Value(exact63), Value(exact63 + 1),
                       Value(UINT64_MAX), Value(2 * twoTo63),
                       Value(std::nextafter(2 * twoTo63, 0.0)), Value(-0.0),
                       Value(std::numeric_limits<double>::quiet_NaN()),
                       Value(-std::numeric_limits<double>::quiet_NaN()),
                       Value(std::numeric_limits<double>::infinity()),
                       Value(-std::numeric_limits<double>::infinity()),
                       Value(std::numeric_limits<double>::denorm_min()), Value(1e300)));
}

inline rc::Gen<vexil::platform::Value> anyString() {
  // Lengths that a value does and does not hold in itself. They are few, so that strings repeat.
  return rc::gen::oneOf(
      rc::gen::map(rc::gen::element(0, 1, 2, 22, 23, 24, 40),
                   [](int length) {
                     return vexil::platform::Value(
                         std::string(static_cast<std::size_t>(length), 'x'));
                   }),
      rc::gen::map(rc::gen::arbitrary<std::string>(),
                   [](const std::string& text) { return vexil::platform::Value(text); }));
}

inline rc::Gen<vexil::platform::Value> anyScalar() {
  using vexil::platform::Value;
  return rc::gen::oneOf(
      rc::gen::element(Value::null(), Value("1"), Value(vexil::platform::Date{0})), anyNumber(),
      anyString(),
      rc::gen::map(rc::gen::arbitrary<double>(),
                   [](double d) { return Value(vexil::platform::Date{d}); }),
      rc::gen::map(rc::gen::element(0.0, -0.0, 1.0, std::numeric_limits<double>::quiet_NaN()),
                   [](double d) { return Value(vexil::platform::Date{d}); }),
      rc::gen::map(rc::gen::arbitrary<std::string>(), [](const std::string& bytes) {
        return Value::data(std::as_bytes(std::span(bytes)));
      }));
}

/// Has a generator make values of few parts.
template <class T>
rc::Gen<T> small(rc::Gen<T> generator) {
  return rc::gen::resize(6, std::move(generator));
}

/// Any value without objects, nested up to `depth` containers deep.
inline rc::Gen<vexil::platform::Value> anyValue(int depth = 3) {
  using vexil::platform::Value;
  if (depth == 0) {
    return rc::gen::oneOf(anyScalar(), rc::gen::just(Value()));
  }
  const rc::Gen<Value> element = anyValue(depth - 1);
  const auto key = rc::gen::map(rc::gen::inRange(0, 20),
                                [](int i) { return std::string("key") + std::to_string(i); });
  return rc::gen::oneOf(
      anyScalar(),
      rc::gen::map(small(rc::gen::container<std::vector<Value>>(element)),
                   [](std::vector<Value> elements) { return Value::array(std::move(elements)); }),
      rc::gen::map(small(rc::gen::container<std::vector<std::pair<std::string, Value>>>(
                       rc::gen::pair(key, element))),
                   [](const std::vector<std::pair<std::string, Value>>& entries) {
                     return Value::dictionary(std::vector<std::pair<vexil::platform::Key, Value>>(
                         entries.begin(), entries.end()));
                   }));
}

/// A number of the same numeric value and of another type, where there is one.
inline vexil::platform::Value sameNumberOtherwise(const vexil::platform::Value& number) {
  using vexil::platform::Value;
  if (const auto boolean = number.boolean()) {
    return {*boolean ? 1 : 0};
  }
  if (const auto integer = number.integer()) {
    const bool isExact = *integer >= -(std::int64_t{1} << 53) && *integer <= std::int64_t{1} << 53;
    return isExact ? Value(static_cast<double>(*integer)) : number;
  }
  if (const auto real = number.real()) {
    if (*real == 0 || *real == 1) {
      return {*real == 1};
    }
    const bool isWhole = std::abs(*real) < 1e15 && *real == std::trunc(*real);
    return isWhole ? Value(static_cast<std::int64_t>(*real)) : number;
  }
  return number;
}

/// A value equal to `value` that shares nothing with it: keys turned round, numbers of other types.
inline vexil::platform::Value equalButMadeOtherwise(const vexil::platform::Value& value) {
  using vexil::platform::Value;
  switch (value.kind()) {
    case Value::Kind::string:
      return std::string(value.string());
    case Value::Kind::data:
      return Value::data(value.bytes());
    case Value::Kind::array: {
      std::vector<Value> elements;
      std::ranges::transform(value.elements(), std::back_inserter(elements), equalButMadeOtherwise);
      return Value::array(std::move(elements));
    }
    case Value::Kind::dictionary: {
      std::vector<std::pair<vexil::platform::Key, Value>> entries;
      for (std::size_t i = value.keys().size(); i > 0; --i) {
        entries.emplace_back(value.keys()[i - 1], equalButMadeOtherwise(value.values()[i - 1]));
      }
      return Value::dictionary(std::move(entries));
    }
    default:
      return sameNumberOtherwise(value);
  }
}

}  // namespace test

template <>
struct rc::Arbitrary<vexil::platform::Value> {
  static Gen<vexil::platform::Value> arbitrary() { return test::anyValue(); }
};
