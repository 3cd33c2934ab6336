// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <memory>
#include <optional>

namespace vexil::platform {

/// A day in the numbers of some calendar.
///
/// Era and leap month are what makes them tell one day from another in every calendar: years count
/// from one again with each emperor in the Japanese one, every sixty years in the Chinese one and
/// backwards before the year 1 in the Gregorian one, and a Chinese leap month has the number of the
/// month before it.
struct DayComponents {
  int era = 0;
  int year = 0;
  int month = 0;           ///< from 1 on
  bool leapMonth = false;  ///< whether it is a month put in after the one of that number
  int day = 0;             ///< of the month, from 1 on
  int weekday = 0;         ///< from 1 on, which is Sunday

  friend bool operator==(const DayComponents&, const DayComponents&) = default;
};

/// A calendar with a time zone: which day an instant falls on, and when days begin.
///
/// A value, cheap to copy, used on any threads. It reaches 100,000 years into past and future;
/// there is no day for an instant beyond, nor for NaN.
///
///     const Calendar calendar = Calendar::current();
///     calendar.startOfDay(currentDate(), 1);   // when tomorrow begins
///     DayComponents day = calendar.components(currentDate()).value();
///     day.day += 1;
///     calendar.date(day);                      // the same, also on the last of a month
class Calendar {
 public:
  /// The user's calendar and time zone as they are now: those of ICU's default locale, which need
  /// not be Gregorian, and ICU's default zone. A change of these later does not change it.
  [[nodiscard]] static Calendar current();

  /// The day that an instant falls on.
  [[nodiscard]] std::optional<DayComponents> components(Date date) const;

  /// The instant at which a day begins: its midnight, the first where there are two, and the moment
  /// at which clocks are set forward where that skips midnight.
  ///
  /// Numbers beyond their range count on: the 32nd of January is the 1st of February. A day that
  /// the zone skipped, as some did at the date line, begins with the day after it. The weekday is
  /// not looked at. Absent where the day is out of reach, or a number alone leads out of it.
  ///
  /// From 1900 to 2100 this finds back each day that `components` split, in each calendar that ICU
  /// has. Far away some calendars of ICU do not: the Indian one before the year -19,000, the
  /// Chinese and the Korean one after 65,000 and on single days before. `startOfDay` does
  /// everywhere.
  [[nodiscard]] std::optional<Date> date(const DayComponents& components) const;

  /// The instant at which the day begins that `date` falls on, or that comes `daysLater` after it
  /// (before it where negative), as `date` says for its numbers.
  ///
  /// Days begin at the same instants in all calendars, and none is asked for its numbers here.
  [[nodiscard]] std::optional<Date> startOfDay(Date date, int daysLater = 0) const;

  /// The first instant after `date` that falls on another day.
  ///
  /// Mostly that is the next day's start. Where clocks are set back over midnight, though, it can
  /// be the day before again, which then ends a second time.
  [[nodiscard]] std::optional<Date> endOfDay(Date date) const;

 private:
  struct System;
  explicit Calendar(std::shared_ptr<const System> system);
  std::shared_ptr<const System> _system;
};

}  // namespace vexil::platform
