// SPDX-License-Identifier: Apache-2.0
#include "RandomValues.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace platform = vexil::platform;

namespace interop {

using platform::Date;
using platform::Value;

namespace {

constexpr std::array traits = {
    trait::booleans,
    trait::integers,
    trait::reals,
    trait::dates,
    trait::data,
    trait::integersOf16Bytes,
    trait::negativeZero,
    trait::nan,
    trait::infinity,
    trait::realsOf17Digits,
    trait::fractionsOfSeconds,
    trait::fractionsOfMicroseconds,
    trait::earlyDates,
    trait::byteOrderMarks,
    trait::farDates,
    trait::emptyKeys,
    trait::nul,
    trait::controlCharacters,
    trait::carriageReturns,
    trait::noncharacters,
    trait::astralCharacters,
    trait::otherThanASCII,
    trait::sharedContainers,
};

constexpr std::size_t mostObjects = 60;

void appendUTF8(std::string& text, std::uint64_t character) {
  const auto add = [&](std::uint64_t byte) { text += static_cast<char>(byte); };
  if (character < 0x80) {
    add(character);
  } else if (character < 0x800) {
    add(0xC0 | (character >> 6));
    add(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    add(0xE0 | (character >> 12));
    add(0x80 | ((character >> 6) & 0x3F));
    add(0x80 | (character & 0x3F));
  } else {
    add(0xF0 | (character >> 18));
    add(0x80 | ((character >> 12) & 0x3F));
    add(0x80 | ((character >> 6) & 0x3F));
    add(0x80 | (character & 0x3F));
  }
}

/// Whether 15 digits tell a real from all others.
bool isShort(double real) {
  char text[32];
  std::snprintf(text, sizeof text, "%.15g", real);
  return std::strtod(text, nullptr) == real;
}

}  // namespace

RandomValues::RandomValues(std::uint64_t seed, std::set<std::string, std::less<>> without)
    : _random(seed), _without(std::move(without)) {
  for (const std::string& name : _without) {
    if (std::ranges::find(traits, name) == traits.end()) {
      throw std::invalid_argument("no trait of values: " + name);
    }
  }
}

Value RandomValues::next() {
  _left = mostObjects;
  _earlier.clear();
  _keys.clear();
  constexpr int mostDepth = 5;
  return oneIn(10) ? scalar() : container(mostDepth);
}

Value RandomValues::value(int depth) {
  if (!_earlier.empty() && oneIn(8)) {
    return _earlier[below(_earlier.size())];
  }
  const bool isContainer = depth > 0 && _left > 0 && !oneIn(3);
  Value made = isContainer ? container(depth - 1) : scalar();
  if (!isContainer || has(trait::sharedContainers)) {
    _earlier.push_back(made);
  }
  return made;
}

Value RandomValues::container(int depth) {
  // Now and then more than fits into the marker.
  const std::size_t count = std::min<std::size_t>(_left, oneIn(12) ? 12 + below(8) : below(7));
  _left -= count;
  std::vector<Value> contents;
  for (std::size_t i = 0; i < count; ++i) {
    contents.push_back(value(depth));
  }
  if (oneIn(2)) {
    return Value::array(std::move(contents));
  }
  std::vector<std::pair<platform::Key, Value>> entries;
  for (Value& content : contents) {
    if (_keys.empty() || oneIn(2)) {
      _keys.push_back(text());
      if (_keys.back().empty() && !has(trait::emptyKeys)) {
        _keys.back() = "key";
      }
    }
    entries.emplace_back(platform::Key(_keys[below(_keys.size())]), std::move(content));
  }
  return Value::dictionary(std::move(entries));
}

Value RandomValues::scalar() {
  switch (below(7)) {
    case 0:
      return has(trait::booleans) ? Value(oneIn(2)) : Value(text());
    case 1:
      return has(trait::integers) ? integer() : Value(text());
    case 2:
      return has(trait::reals) ? real() : Value(text());
    case 3:
      return has(trait::dates) ? date() : Value(text());
    case 4:
      return has(trait::data) ? Value::data(bytes()) : Value(text());
    default:
      return text();
  }
}

Value RandomValues::integer() {
  // A power of two or one of its neighbours.
  const std::uint64_t power = std::uint64_t{1} << below(64);
  const std::uint64_t number = oneIn(3) ? _random() >> below(64) : power + below(3) - 1;
  const bool isLarge = number >> 63 != 0;
  if (isLarge && has(trait::integersOf16Bytes) && oneIn(2)) {
    return number;
  }
  const auto small = static_cast<std::int64_t>(number & ~(std::uint64_t{1} << 63));
  return isLarge ? -small - 1 : small;
}

Value RandomValues::real() {
  constexpr std::array<double, 12> corners = {0.0,
                                              1.0,
                                              -1.0,
                                              0.1,
                                              1.5,
                                              1e16,
                                              1e22,
                                              123456789.123,
                                              1e308,
                                              5e-324,
                                              2.2250738585072014e-308,
                                              9007199254740993.0};
  switch (below(4)) {
    case 0:
      return has(trait::realsOf17Digits) ? corners[below(corners.size())] : 1e300;
    case 1:
      return (static_cast<double>(below(2'000'001)) - 1e6) / 1000;
    case 2: {
      const double special = std::array{-0.0, HUGE_VAL, -HUGE_VAL}[below(3)];
      const bool isCarried = has(special == 0 ? trait::negativeZero : trait::infinity);
      return isCarried ? special : 0.25;
    }
    default: {
      // Any bits at all: NaN with its payload, subnormal numbers, all exponents.
      const auto any = std::bit_cast<double>(oneIn(8) ? _random() | 0x7FF0000000000001 : _random());
      const bool isCarried = std::isnan(any)   ? has(trait::nan)
                             : std::isinf(any) ? has(trait::infinity)
                                               : has(trait::realsOf17Digits) || isShort(any);
      return isCarried ? any : 0.75;
    }
  }
}

Value RandomValues::date() {
  constexpr double firstOfYear1 = -63113904000;
  constexpr double firstOfYear1000 = -31588531200;
  constexpr double endOfYear9999 = 252423993600;
  const double first = has(trait::earlyDates) ? firstOfYear1 : firstOfYear1000;
  double seconds = 0;
  switch (below(4)) {
    case 0:
      seconds = static_cast<double>(below(1'000'000'000));
      break;
    case 1:
      seconds =
          first + static_cast<double>(below(static_cast<std::uint64_t>(endOfYear9999 - first)));
      break;
    case 2:
      seconds =
          std::array{first, endOfYear9999 - 1, -978307200.0, 0.0, -1.0, 3155760000.0}[below(6)];
      break;
    default:
      if (has(trait::farDates)) {
        seconds = std::array{endOfYear9999, firstOfYear1 - 1, 999999999999.0, -1e12}[below(4)];
      }
  }
  if (seconds == 0 && oneIn(2) && has(trait::negativeZero)) {
    return Date{-0.0};
  }
  if (std::abs(seconds) < 1e9 && oneIn(2) && has(trait::fractionsOfSeconds)) {
    seconds = (seconds * 1e6 + static_cast<double>(below(1'000'000))) / 1e6;
    if (oneIn(2) && has(trait::fractionsOfMicroseconds)) {
      seconds += std::ldexp(1.0, -24);
    }
  }
  return Date{seconds};
}

std::size_t RandomValues::length() {
  constexpr std::array<std::size_t, 10> corners = {0, 1, 14, 15, 16, 22, 23, 24, 255, 256};
  return oneIn(4) ? corners[below(corners.size())] : below(12);
}

std::string RandomValues::text() {
  std::string text;
  const bool isPlain = oneIn(2);
  for (std::size_t count = length(); count > 0; --count) {
    if (isPlain) {
      text += static_cast<char>('a' + below(26));
    } else {
      appendCharacter(text);
    }
  }
  return text;
}

void RandomValues::appendCharacter(std::string& text) {
  constexpr std::array<std::uint64_t, 12> others = {0x80,   0xE9,   0x301,  0x7FF,  0x800,  0x2028,
                                                    0x231B, 0xD7FF, 0xE000, 0xFEFF, 0xFFFD, 0xA0};
  constexpr std::string_view punctuation = "\t\n \"\\'<>&;,=(){}/*";
  const auto unless = [this](std::string_view trait, std::uint64_t character) {
    return has(trait) ? character : 'x';
  };
  std::uint64_t character = 0;
  switch (below(10)) {
    case 0:
      character = unless(trait::otherThanASCII, others[below(others.size())]);
      character = character == 0xFEFF ? unless(trait::byteOrderMarks, character) : character;
      break;
    case 1:
      character = unless(trait::otherThanASCII, 0xA0 + below(0x2000));
      break;
    case 2:
      character = unless(trait::astralCharacters, 0x10000 + below(0x100000 - 2));
      break;
    case 3:
      character = unless(trait::controlCharacters, 1 + below(31));
      character = character == '\r' ? '\n' : character;
      break;
    case 4:
      character = static_cast<unsigned char>(punctuation[below(punctuation.size())]);
      break;
    case 5: {
      constexpr std::array<std::pair<std::string_view, std::uint64_t>, 4> rare = {
          {{trait::nul, 0},
           {trait::carriageReturns, '\r'},
           {trait::noncharacters, 0xFFFE},
           {trait::noncharacters, 0xFFFF}}};
      const auto& [trait, rarity] = rare[below(rare.size())];
      character = unless(trait, rarity);
      break;
    }
    default:
      character = ' ' + below(95);
  }
  appendUTF8(text, character);
}

std::vector<std::byte> RandomValues::bytes() {
  std::vector<std::byte> bytes(length());
  for (std::byte& byte : bytes) {
    byte = static_cast<std::byte>(below(256));
  }
  return bytes;
}

}  // namespace interop
