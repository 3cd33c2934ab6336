// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <string>
#include <string_view>
#include <variant>

/// When a cron job is due, read from the time fields of its line.
namespace monitor {

/// Why a text could not be understood, as a clause without a full stop: "minute 61 is out of range
/// 0-59". Text from the file is cut to 40 characters and stands in single quotes.
struct Problem {
  std::string reason;

  bool operator==(const Problem&) const = default;
};

/// The minutes at which a job is due. Or the job is due once, when the machine has started.
///
/// A value. Two schedules are equal when they are due at the same times by the same rule. So "0 0 *
/// * *" equals "@daily", and "1-12" in the month field equals "*". The star flags of the other
/// fields count, because they decide the rule.
///
/// `nextDue` finds the next time a job is due. There may be none ("0 0 30 2 *" is a valid line).
class Schedule {
 public:
  /// Due once after the machine has started, and never by the clock. No bit is set.
  static Schedule atReboot();

  /// Never due, and to be assigned to. No line of a table gives this schedule.
  Schedule() = default;

  [[nodiscard]] bool isReboot() const { return _reboot; }

  /// The times that are set. The index of a bit is the value: 0 to 59, 0 to 23, 1 to 31, 1 to 12,
  /// and 0 (Sunday) to 6. Bit 0 of the days of the month and of the months is never set.
  [[nodiscard]] const std::bitset<60>& minutes() const { return _minutes; }
  [[nodiscard]] const std::bitset<24>& hours() const { return _hours; }
  [[nodiscard]] const std::bitset<32>& daysOfMonth() const { return _daysOfMonth; }
  [[nodiscard]] const std::bitset<13>& months() const { return _months; }
  [[nodiscard]] const std::bitset<7>& daysOfWeek() const { return _daysOfWeek; }

  /// Whether the field was written with a star in front ("*", "*/2", "*,5"). crontab(5) calls a
  /// field without such a star restricted.
  [[nodiscard]] bool daysOfMonthStarred() const { return _daysOfMonthStarred; }
  [[nodiscard]] bool daysOfWeekStarred() const { return _daysOfWeekStarred; }

  /// Whether the minute or the hour was written with a star in front. Such a job follows the clock,
  /// as cron(8) says. Any other job is made up for when the clock skips its time, and does not run
  /// again when the clock repeats it.
  [[nodiscard]] bool timeStarred() const { return _timeStarred; }

  /// Whether the job is due on such a day. `day` is 1 to 31, `month` 1 to 12, `weekday` 0 (Sunday)
  /// to 6. For other numbers the job is not due.
  ///
  /// The month must be set. When both day fields are restricted, one of them is enough ("0 0 13 *
  /// 5" is every 13th and every Friday). Otherwise both must be set.
  [[nodiscard]] bool matchesDay(int month, int day, int weekday) const;

  /// Whether the job is due at this minute of a day on which it is due.
  [[nodiscard]] bool matchesTime(int hour, int minute) const;

  bool operator==(const Schedule&) const = default;

 private:
  friend class ScheduleReader;

  std::bitset<60> _minutes;
  std::bitset<24> _hours;
  std::bitset<32> _daysOfMonth;
  std::bitset<13> _months;
  std::bitset<7> _daysOfWeek;
  bool _daysOfMonthStarred = false;
  bool _daysOfWeekStarred = false;
  bool _timeStarred = false;
  bool _reboot = false;
};

/// Reads five time fields separated by blanks, or a name that begins with "@".
///
/// A field is a list of entries separated by commas. An entry is `*`, a number, or a range `a-b`. A
/// step `/n` may follow `*` and ranges. The rules are those of crontab(5). Where it leaves room,
/// the rules are those of the daemon that Debian installs:
///
/// - Months and days of the week may be the first three letters of their English name, in upper or
///   lower case. crontab(5) forbids names in lists and ranges, but the daemon has always accepted
///   them ("mon-fri", "jan,jul") and people's tables have them. So they are accepted here.
/// - 0 and 7 are both Sunday, also at the end of a range ("5-7"). The name "sun" is 0, so "fri-sun"
///   runs backwards.
/// - A range that runs backwards is a mistake. It does not wrap around.
/// - A step of 0 is a mistake. A step larger than the range leaves only the first value.
/// - A step after a single number ("5/10") is a mistake. Some daemons read it as 5-59/10, others as
///   5 alone, so it does not mean the same everywhere.
///
/// The names are @reboot, @yearly and @annually (0 0 1 1 *), @monthly (0 0 1 * *), @weekly
/// (0 0 * * 0), @daily and @midnight (0 0 * * *) and @hourly (0 * * * *), in lower case only.
///
/// Returns the first mistake from the left when there is one. A field that is not there "is
/// missing". A sixth field is a mistake as well.
std::variant<Schedule, Problem> parseSchedule(std::string_view text);

}  // namespace monitor
