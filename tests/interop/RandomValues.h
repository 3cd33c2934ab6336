// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace interop {

/// Traits of random values. Some programs cannot carry some of these.
namespace trait {
inline constexpr std::string_view booleans = "booleans";
inline constexpr std::string_view integers = "integers";
inline constexpr std::string_view reals = "reals";
inline constexpr std::string_view dates = "dates";
inline constexpr std::string_view data = "data";
inline constexpr std::string_view integersOf16Bytes = "integers-of-16-bytes";
inline constexpr std::string_view negativeZero = "negative-zero";  // of reals and of dates
inline constexpr std::string_view nan = "nan";
inline constexpr std::string_view infinity = "infinity";
inline constexpr std::string_view realsOf17Digits = "reals-of-17-digits";  // more than 15
inline constexpr std::string_view fractionsOfSeconds = "fractions-of-seconds";
inline constexpr std::string_view fractionsOfMicroseconds = "fractions-of-microseconds";
inline constexpr std::string_view farDates = "far-dates";      // outside of the years 1 to 9999
inline constexpr std::string_view earlyDates = "early-dates";  // in the years 1 to 999
inline constexpr std::string_view emptyKeys = "empty-keys";
inline constexpr std::string_view nul = "nul";
inline constexpr std::string_view controlCharacters = "control-characters";  // XML has not
inline constexpr std::string_view carriageReturns = "carriage-returns";
inline constexpr std::string_view noncharacters = "noncharacters";      // U+FFFE and U+FFFF
inline constexpr std::string_view byteOrderMarks = "byte-order-marks";  // wherever
inline constexpr std::string_view astralCharacters = "astral-characters";
inline constexpr std::string_view otherThanASCII = "other-than-ascii";
inline constexpr std::string_view sharedContainers = "shared-containers";
}  // namespace trait

/// Random values of property lists. A seed gives the same ones on every machine. Most numbers and
/// lengths are near those at which the encoding changes. Earlier values sometimes come again.
class RandomValues {
 public:
  /// Throws `std::invalid_argument` when there is no such trait.
  RandomValues(std::uint64_t seed, std::set<std::string, std::less<>> without);

  vexil::platform::Value next();

 private:
  [[nodiscard]] bool has(std::string_view trait) const { return !_without.contains(trait); }
  std::uint64_t below(std::uint64_t end) { return _random() % end; }
  bool oneIn(std::uint64_t count) { return below(count) == 0; }

  vexil::platform::Value value(int depth);
  vexil::platform::Value container(int depth);
  vexil::platform::Value scalar();
  vexil::platform::Value integer();
  vexil::platform::Value real();
  vexil::platform::Value date();
  std::string text();
  void appendCharacter(std::string& text);
  std::size_t length();
  std::vector<std::byte> bytes();

  std::mt19937_64 _random;
  std::set<std::string, std::less<>> _without;
  std::size_t _left = 0;  // how many objects the value may still have
  std::vector<vexil::platform::Value> _earlier;
  std::vector<std::string> _keys;
};

}  // namespace interop
