// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bitset>
#include <string>
#include <string_view>
#include <variant>

/// When a cron job is due, as read from the time fields of a table's line.
namespace monitor {

/// Why a text could not be understood, as a clause without a full stop: "minute 61 is out of range
/// 0-59". Text taken from the file stands between single quotes, cut at 40 characters.
struct Problem {
  std::string reason;

  bool operator==(const Problem&) const = default;
};

/// The minutes at which a job is due, or that it is due once when the machine has started.
///
/// A value: copied freely, compared by content. Two schedules are equal when they are due at the
/// same times by the same rule, so "0 0 * * *" equals "@daily", and "1-12" in the month field
/// equals "*"; the star flags of the other fields count, because they decide the rule.
///
/// `nextDue` finds the next time a job is due. There may be none at all ("0 0 30 2 *" is a valid
/// line).
class Schedule {
 public:
  /// Due once after the machine has started, never by the clock: no bit is set.
  static Schedule atReboot();

  /// Nothing is due. A start for assignment, not something a line can say.
  Schedule() = default;

  [[nodiscard]] bool isReboot() const { return _reboot; }

  /// The times set. The index is the value itself: bits 0 to 59, 0 to 23, 1 to 31, 1 to 12, and 0
  /// (Sunday) to 6. Bit 0 of the days of the month and of the months is never set.
  [[nodiscard]] const std::bitset<60>& minutes() const { return _minutes; }
  [[nodiscard]] const std::bitset<24>& hours() const { return _hours; }
  [[nodiscard]] const std::bitset<32>& daysOfMonth() const { return _daysOfMonth; }
  [[nodiscard]] const std::bitset<13>& months() const { return _months; }
  [[nodiscard]] const std::bitset<7>& daysOfWeek() const { return _daysOfWeek; }

  /// Whether the field was written with a star in front ("*", "*/2", "*,5"). crontab(5) calls a
  /// field without one restricted.
  [[nodiscard]] bool daysOfMonthStarred() const { return _daysOfMonthStarred; }
  [[nodiscard]] bool daysOfWeekStarred() const { return _daysOfWeekStarred; }

  /// Whether the minute or the hour was written with a star in front. cron(8) runs such a job by
  /// the clock as it stands; any other is made up for when the clock skips its time, and not run
  /// again when the clock repeats it.
  [[nodiscard]] bool timeStarred() const { return _timeStarred; }

  /// Whether the job is due on such a day. `day` is 1 to 31, `month` 1 to 12, `weekday` 0 (Sunday)
  /// to 6; anything else is never due.
  ///
  /// The month has to be set in any case. If both day fields are restricted, one of them is enough
  /// ("0 0 13 * 5" is every 13th and every Friday); otherwise both have to be set.
  [[nodiscard]] bool matchesDay(int month, int day, int weekday) const;

  /// Whether the job is due at that minute of a day that matches.
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
/// A field is a list of entries separated by commas. An entry is `*`, a number, or a range `a-b`;
/// `*` and ranges may have a step `/n` behind them. The rules are those of crontab(5), and where it
/// leaves room, those of the daemon Debian installs:
///
/// - Months and days of the week may be given by the first three letters of their English name, in
///   any case. crontab(5) forbids names in lists and ranges, the daemon has always taken them
///   ("mon-fri", "jan,jul"), and tables in the wild rely on it: they are taken here.
/// - 0 and 7 are both Sunday, also at the end of a range ("5-7"). The name "sun" is 0, so "fri-sun"
///   runs backwards.
/// - A range that runs backwards is a mistake, not a wrap around.
/// - A step of 0 is a mistake; one larger than the range leaves its first value.
/// - A step behind a single number ("5/10") is a mistake. Some daemons read it as 5-59/10, others
///   as 5 alone, so whoever wrote it does not get what is meant everywhere.
///
/// The names are @reboot, @yearly and @annually (0 0 1 1 *), @monthly (0 0 1 * *), @weekly
/// (0 0 * * 0), @daily and @midnight (0 0 * * *) and @hourly (0 * * * *), in lower case only.
///
/// Returns the first mistake from the left if there is one. A field that is not there "is missing";
/// a sixth one is a mistake as well.
std::variant<Schedule, Problem> parseSchedule(std::string_view text);

}  // namespace monitor
