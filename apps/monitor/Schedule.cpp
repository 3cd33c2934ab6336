// SPDX-License-Identifier: Apache-2.0
#include "monitor/Schedule.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

#include "monitor/Text.h"

namespace monitor {

namespace {

constexpr std::array<std::string_view, 12> kMonthNames = {"jan", "feb", "mar", "apr", "may", "jun",
                                                          "jul", "aug", "sep", "oct", "nov", "dec"};
constexpr std::array<std::string_view, 7> kDayNames = {"sun", "mon", "tue", "wed",
                                                       "thu", "fri", "sat"};

struct Field {
  std::string_view name;
  int low;
  int high;
  /// Names of the values from `low` on.
  std::span<const std::string_view> names;
};

constexpr Field kMinute = {"minute", 0, 59, {}};
constexpr Field kHour = {"hour", 0, 23, {}};
constexpr Field kDayOfMonth = {"day of month", 1, 31, {}};
constexpr Field kMonth = {"month", 1, 12, kMonthNames};
constexpr Field kDayOfWeek = {"day of week", 0, 7, kDayNames};

constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kNamed = {{
    {"@yearly", "0 0 1 1 *"},
    {"@annually", "0 0 1 1 *"},
    {"@monthly", "0 0 1 * *"},
    {"@weekly", "0 0 * * 0"},
    {"@daily", "0 0 * * *"},
    {"@midnight", "0 0 * * *"},
    {"@hourly", "0 * * * *"},
}};

std::string quoted(std::string_view text) {
  return "'" + shortened(text, 40) + "'";
}

bool isNumber(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isDigit);
}

/// The number that `digits` spell. INT_MAX, which is out of every range, when it is larger.
int numberFrom(std::string_view digits) {
  int number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return error == std::errc() ? number : std::numeric_limits<int>::max();
}

}  // namespace

/// Reads the fields one after the other and remembers the first mistake.
class ScheduleReader {
 public:
  explicit ScheduleReader(std::string_view text) : _rest(text) {}

  std::variant<Schedule, Problem> read() {
    Schedule schedule;
    bool minuteStarred = false;
    bool hourStarred = false;
    bool monthStarred = false;
    const bool good = readField(kMinute, schedule._minutes, minuteStarred) &&
                      readField(kHour, schedule._hours, hourStarred) &&
                      readField(kDayOfMonth, schedule._daysOfMonth, schedule._daysOfMonthStarred) &&
                      readField(kMonth, schedule._months, monthStarred) &&
                      readField(kDayOfWeek, schedule._daysOfWeek, schedule._daysOfWeekStarred) &&
                      readEnd("day of week");
    if (!good) {
      return Problem{std::move(_reason)};
    }
    schedule._timeStarred = minuteStarred || hourStarred;
    return schedule;
  }

  std::variant<Schedule, Problem> readNamed() {
    const std::string_view name = takeWord(_rest);
    const auto known = std::find_if(kNamed.begin(), kNamed.end(),
                                    [&](const auto& each) { return each.first == name; });
    if (known == kNamed.end() && name != "@reboot") {
      return Problem{quoted(name) + " is not a schedule's name"};
    }
    if (!readEnd(name)) {
      return Problem{std::move(_reason)};
    }
    return known == kNamed.end() ? Schedule::atReboot() : ScheduleReader(known->second).read();
  }

  static Schedule reboot() {
    Schedule schedule;
    schedule._reboot = true;
    return schedule;
  }

 private:
  bool failed(std::string reason) {
    _reason = std::move(reason);
    return false;
  }

  bool readEnd(std::string_view last) {
    const std::string_view extra = trimmed(_rest);
    return extra.empty() || failed(quoted(extra) + " behind " + std::string(last));
  }

  template <std::size_t Size>
  bool readField(const Field& field, std::bitset<Size>& bits, bool& starred) {
    std::string_view text = takeWord(_rest);
    if (text.empty()) {
      return failed(std::string(field.name) + " is missing");
    }
    starred = text.front() == '*';
    const std::string_view whole = text;
    for (bool more = true; more;) {
      const std::size_t comma = text.find(',');
      const std::string_view entry = text.substr(0, comma);
      more = comma != std::string_view::npos;
      if (more) {
        text.remove_prefix(comma + 1);
      }
      if (entry.empty()) {
        return failed(std::string(field.name) + " has an empty entry in " + quoted(whole));
      }
      if (!readEntry(field, entry, bits)) {
        return false;
      }
    }
    return true;
  }

  template <std::size_t Size>
  bool readEntry(const Field& field, std::string_view entry, std::bitset<Size>& bits) {
    const std::size_t slash = entry.find('/');
    const std::string_view range = entry.substr(0, slash);
    const std::size_t dash = range.find('-');
    const bool hasStep = slash != std::string_view::npos;
    const bool hasRange = dash != std::string_view::npos;
    int first = field.low;
    int last = field.high;
    if (range != "*") {
      if (!readValue(field, range, range.substr(0, dash), first)) {
        return false;
      }
      last = first;
      if (hasRange && !readValue(field, range, range.substr(dash + 1), last)) {
        return false;
      }
      if (first > last) {
        return failed(std::string(field.name) + " range " + quoted(range) + " runs backwards");
      }
      if (hasStep && !hasRange) {
        return failed(std::string(field.name) + " step needs a range or * in " + quoted(entry));
      }
    }
    int step = 1;
    if (hasStep && !readStep(field, entry, entry.substr(slash + 1), step)) {
      return false;
    }
    // Day of the week 7 is the same bit as 0. In the other fields every value has its own bit.
    const int modulus = field.high == 7 ? 7 : field.high + 1;
    for (int value = first; value <= last; value += std::min(step, field.high + 1)) {
      bits.set(static_cast<std::size_t>(value % modulus));
    }
    return true;
  }

  bool readValue(const Field& field, std::string_view range, std::string_view text, int& value) {
    if (isNumber(text)) {
      value = numberFrom(text);
      if (value >= field.low && value <= field.high) {
        return true;
      }
      return failed(std::string(field.name) + " " + shortened(text, 40) + " is out of range " +
                    std::to_string(field.low) + "-" + std::to_string(field.high));
    }
    const auto name = std::find(field.names.begin(), field.names.end(), lowercased(text));
    if (name != field.names.end()) {
      value = field.low + static_cast<int>(name - field.names.begin());
      return true;
    }
    return failed(std::string(field.name) + " " + quoted(text.empty() ? range : text) +
                  (field.names.empty() ? " is not a number" : " is neither a number nor a name"));
  }

  bool readStep(const Field& field, std::string_view entry, std::string_view text, int& step) {
    if (text.empty()) {
      return failed(std::string(field.name) + " step is missing in " + quoted(entry));
    }
    if (!isNumber(text)) {
      return failed(std::string(field.name) + " step " + quoted(text) + " is not a number");
    }
    step = numberFrom(text);
    return step > 0 || failed(std::string(field.name) + " step is 0 in " + quoted(entry));
  }

  std::string_view _rest;
  std::string _reason;
};

Schedule Schedule::atReboot() {
  return ScheduleReader::reboot();
}

bool Schedule::matchesDay(int month, int day, int weekday) const {
  if (month < 1 || month > 12 || day < 1 || day > 31 || weekday < 0 || weekday > 6) {
    return false;
  }
  if (!_months[static_cast<std::size_t>(month)]) {
    return false;
  }
  const bool byDate = _daysOfMonth[static_cast<std::size_t>(day)];
  const bool byWeekday = _daysOfWeek[static_cast<std::size_t>(weekday)];
  return _daysOfMonthStarred || _daysOfWeekStarred ? byDate && byWeekday : byDate || byWeekday;
}

bool Schedule::matchesTime(int hour, int minute) const {
  return hour >= 0 && hour < 24 && minute >= 0 && minute < 60 &&
         _hours[static_cast<std::size_t>(hour)] && _minutes[static_cast<std::size_t>(minute)];
}

std::variant<Schedule, Problem> parseSchedule(std::string_view text) {
  ScheduleReader reader(text);
  return trimmed(text).starts_with('@') ? reader.readNamed() : reader.read();
}

}  // namespace monitor
