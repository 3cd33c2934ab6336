// SPDX-License-Identifier: Apache-2.0
#include <platform/PropertyListScalars.h>
#include <platform/TextEncoding.h>

#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <vector>

namespace platform::detail {

namespace {

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

/// Takes a sign off the front; whether it was a minus.
bool takeSign(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  return isNegative;
}

/// Takes the digits off the front.
std::string_view takeDigits(std::string_view& text) {
  std::size_t count = 0;
  while (count < text.size() && isDigit(text[count])) {
    ++count;
  }
  const std::string_view digits = text.substr(0, count);
  text.remove_prefix(count);
  return digits;
}

bool take(std::string_view& text, char character) {
  const bool isThere = text.starts_with(character);
  text.remove_prefix(isThere ? 1 : 0);
  return isThere;
}

/// Takes exactly two digits and the character behind them.
std::optional<unsigned> takePair(std::string_view& text, char separator) {
  const std::string_view digits = takeDigits(text);
  if (digits.size() != 2 || !take(text, separator)) {
    return std::nullopt;
  }
  return *digit(digits[0], 10) * 10 + *digit(digits[1], 10);
}

/// Whether it is what a real may look like: that the conversion understands more is not ours.
bool looksLikeReal(std::string_view text) {
  const std::size_t whole = takeDigits(text).size();
  const std::size_t fraction = take(text, '.') ? takeDigits(text).size() : 0;
  if (whole + fraction == 0) {
    return false;
  }
  if (take(text, 'e') || take(text, 'E')) {
    takeSign(text);
    if (takeDigits(text).empty()) {
      return false;
    }
  }
  return text.empty();
}

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> words) {
  for (const std::string_view word : words) {
    if (text.size() == word.size() &&
        std::equal(text.begin(), text.end(), word.begin(), [](char a, char b) {
          return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b;
        })) {
      return true;
    }
  }
  return false;
}

/// Days from 2001-01-01 to a date, or nothing when there is no such day.
std::optional<std::int64_t> daysTo(std::int64_t year, unsigned month, unsigned day) {
  // The calendar repeats every 400 years, and its type reaches only some 80 such cycles.
  constexpr std::int64_t yearsInCycle = 400;
  constexpr std::int64_t daysInCycle = 146097;
  const std::int64_t yearOfCycle = ((year % yearsInCycle) + yearsInCycle) % yearsInCycle;
  const std::chrono::year_month_day date(std::chrono::year(2000 + static_cast<int>(yearOfCycle)),
                                         std::chrono::month(month), std::chrono::day(day));
  if (!date.ok()) {
    return std::nullopt;
  }
  const std::int64_t cycles = (year - yearOfCycle - 2000) / yearsInCycle;
  constexpr std::chrono::sys_days reference =
      std::chrono::year(2001) / std::chrono::January / std::chrono::day(1);
  return (std::chrono::sys_days(date) - reference).count() + cycles * daysInCycle;
}

}  // namespace

std::optional<Value> integerFromText(std::string_view text) {
  const bool isNegative = takeSign(text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (isHexadecimal) {
    text.remove_prefix(2);
  }
  std::uint64_t magnitude = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, magnitude, isHexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end) {
    return std::nullopt;
  }
  constexpr std::uint64_t twoTo63 = std::uint64_t{1} << 63;
  if (!isNegative) {
    return Value(magnitude);
  }
  if (magnitude > twoTo63) {
    return std::nullopt;
  }
  return Value(static_cast<std::int64_t>(0 - magnitude));
}

std::optional<Value> realFromText(std::string_view text) {
  const bool isNegative = takeSign(text);
  if (isOneOf(text, {"nan"})) {
    return Value(std::nan(""));
  }
  if (isOneOf(text, {"inf", "infinity"})) {
    return Value(isNegative ? -HUGE_VAL : HUGE_VAL);
  }
  if (!looksLikeReal(text)) {
    return std::nullopt;
  }
  double magnitude = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), magnitude);
  if (error != std::errc()) {
    return std::nullopt;
  }
  return Value(isNegative ? -magnitude : magnitude);
}

std::optional<Value> dateFromText(std::string_view text) {
  const bool isNegative = take(text, '-');
  const std::string_view digits = takeDigits(text);
  constexpr std::size_t mostDigits = 9;
  if (digits.size() < 4 || digits.size() > mostDigits || !take(text, '-') ||
      (digits.size() > 4 && digits.front() == '0')) {
    return std::nullopt;
  }
  std::int64_t year = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), year);
  if (isNegative && year == 0) {
    return std::nullopt;
  }
  const auto month = takePair(text, '-');
  const auto day = month ? takePair(text, 'T') : std::nullopt;
  const auto hour = day ? takePair(text, ':') : std::nullopt;
  const auto minute = hour ? takePair(text, ':') : std::nullopt;
  const auto second = minute ? takePair(text, 'Z') : std::nullopt;
  if (!second || !text.empty() || *hour > 23 || *minute > 59 || *second > 59) {
    return std::nullopt;
  }
  const auto days = daysTo(isNegative ? -year : year, *month, *day);
  if (!days) {
    return std::nullopt;
  }
  const std::int64_t seconds = *days * 86400 + *hour * 3600 + *minute * 60 + *second;
  constexpr std::int64_t mostExact = std::int64_t{1} << 53;
  if (seconds < -mostExact || seconds > mostExact) {
    return std::nullopt;
  }
  return Value(Date{static_cast<double>(seconds)});
}

std::optional<Value> dataFromBase64(std::string_view text) {
  constexpr std::string_view alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  static constexpr auto values = [alphabet] {
    std::array<std::int8_t, 256> table{};
    table.fill(-1);
    for (std::size_t i = 0; i < alphabet.size(); ++i) {
      table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
    }
    return table;
  }();
  std::vector<std::byte> bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned characters = 0;  // of the group of four
  unsigned padding = 0;
  for (const char character : text) {
    if (isXMLSpace(character)) {
      continue;
    }
    const int value = values[static_cast<unsigned char>(character)];
    if (character == '=' && characters >= 2) {
      ++padding;
    } else if (value < 0 || padding > 0) {
      return std::nullopt;
    }
    bits = (bits << 6) | (character == '=' ? 0U : static_cast<std::uint32_t>(value));
    if (++characters == 4) {
      // The bits that padding leaves over must be zero, so that one data has one text.
      if ((bits & ((1U << (8 * padding)) - 1)) != 0) {
        return std::nullopt;
      }
      for (unsigned i = 0; i < 3 - padding; ++i) {
        bytes.push_back(static_cast<std::byte>(bits >> (16 - 8 * i)));
      }
      characters = 0;
      bits = 0;
    }
  }
  if (characters != 0) {
    return std::nullopt;
  }
  return Value::data(bytes);
}

}  // namespace platform::detail
