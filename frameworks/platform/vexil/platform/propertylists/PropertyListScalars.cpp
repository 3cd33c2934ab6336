// SPDX-License-Identifier: Apache-2.0
#include <vexil/platform/propertylists/PropertyListScalars.h>
#include <vexil/platform/texts/TextEncoding.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <vector>

namespace vexil::platform::detail {

namespace {

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

/// Takes a sign off the front and returns whether it was a minus.
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

/// Whether the text looks as a real must. `std::from_chars` accepts more than XML property lists
/// do.
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

// The calendar repeats every 400 years. `std::chrono` covers only some 80 such cycles.
constexpr std::int64_t yearsInCycle = 400;
constexpr std::int64_t daysInCycle = 146097;
constexpr std::chrono::sys_days reference =
    std::chrono::year(2001) / std::chrono::January / std::chrono::day(1);

// Doubles represent all whole seconds up to here.
constexpr std::int64_t mostExactSeconds = std::int64_t{1} << 53;
constexpr std::int64_t secondsInDay = 86400;

constexpr std::string_view base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The days from 2001-01-01 to a date; nothing when there is no such date.
std::optional<std::int64_t> daysTo(std::int64_t year, unsigned month, unsigned day) {
  const std::int64_t yearOfCycle = ((year % yearsInCycle) + yearsInCycle) % yearsInCycle;
  const std::chrono::year_month_day date(std::chrono::year(2000 + static_cast<int>(yearOfCycle)),
                                         std::chrono::month(month), std::chrono::day(day));
  if (!date.ok()) {
    return std::nullopt;
  }
  const std::int64_t cycles = (year - yearOfCycle - 2000) / yearsInCycle;
  return (std::chrono::sys_days(date) - reference).count() + cycles * daysInCycle;
}

/// Appends a number as `std::to_chars` writes it.
template <class Number>
void appendNumber(std::string& text, Number number) {
  std::array<char, 32> buffer{};
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  text.append(buffer.data(), written.ptr);
}

/// Appends a number, with zeros in front when it has fewer digits, and the character `separator`.
void appendPadded(std::string& text, std::uint64_t number, std::size_t digits, char separator) {
  const std::size_t start = text.size();
  appendNumber(text, number);
  const std::size_t length = text.size() - start;
  text.insert(start, digits - std::min(digits, length), '0');
  text += separator;
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
  const std::int64_t seconds = *days * secondsInDay + *hour * 3600 + *minute * 60 + *second;
  if (seconds < -mostExactSeconds || seconds > mostExactSeconds) {
    return std::nullopt;
  }
  return Value(Date{static_cast<double>(seconds)});
}

std::optional<Value> dataFromBase64(std::string_view text) {
  static constexpr auto values = [] {
    std::array<std::int8_t, 256> table{};
    table.fill(-1);
    for (std::size_t i = 0; i < base64Alphabet.size(); ++i) {
      table[static_cast<unsigned char>(base64Alphabet[i])] = static_cast<std::int8_t>(i);
    }
    return table;
  }();
  std::vector<std::byte> bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned characters = 0;  // in the group of four
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
      // The bits that padding leaves over must be zero, so that each data has only one text.
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

void appendInteger(std::string& text, const Value& integer) {
  if (const auto number = integer.unsignedInteger()) {
    appendNumber(text, *number);
  } else {
    appendNumber(text, *integer.integer());
  }
}

void appendReal(std::string& text, double real) {
  if (std::isnan(real)) {
    text += "nan";
  } else {
    appendNumber(text, real);  // infinities as "inf" and "-inf"
  }
}

bool hasDateText(double seconds) {
  return std::abs(seconds) <= static_cast<double>(mostExactSeconds) &&
         seconds == std::trunc(seconds);
}

void appendDate(std::string& text, double seconds) {
  const auto whole = static_cast<std::int64_t>(seconds);
  const std::int64_t second = ((whole % secondsInDay) + secondsInDay) % secondsInDay;
  const std::int64_t days = (whole - second) / secondsInDay;
  const std::int64_t dayOfCycle = ((days % daysInCycle) + daysInCycle) % daysInCycle;
  const std::chrono::year_month_day date(reference + std::chrono::days(dayOfCycle));
  const std::int64_t year = int{date.year()} + (days - dayOfCycle) / daysInCycle * yearsInCycle;
  if (year < 0) {
    text += '-';
  }
  appendPadded(text, static_cast<std::uint64_t>(std::abs(year)), 4, '-');
  appendPadded(text, unsigned{date.month()}, 2, '-');
  appendPadded(text, unsigned{date.day()}, 2, 'T');
  appendPadded(text, static_cast<std::uint64_t>(second / 3600), 2, ':');
  appendPadded(text, static_cast<std::uint64_t>(second / 60 % 60), 2, ':');
  appendPadded(text, static_cast<std::uint64_t>(second % 60), 2, 'Z');
}

void appendBase64(std::string& text, std::span<const std::byte> bytes) {
  for (; !bytes.empty(); bytes = bytes.subspan(std::min<std::size_t>(3, bytes.size()))) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      bits = (bits << 8) | (i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[i]) : 0U);
    }
    for (std::size_t i = 0; i < 4; ++i) {
      text += i <= bytes.size() ? base64Alphabet[(bits >> (18 - 6 * i)) & 0x3F] : '=';
    }
  }
}

}  // namespace vexil::platform::detail
