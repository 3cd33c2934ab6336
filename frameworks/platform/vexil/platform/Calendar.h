// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <memory>
#include <optional>

namespace vexil::platform {

/// A day in the numbers of a calendar.
///
/// The era and the leap month are needed to tell days apart in every calendar. Years start from one
/// again with each emperor in the Japanese calendar, every sixty years in the Chinese one, and
/// count backwards before the year 1 in the Gregorian one. A Chinese leap month has the number of
/// the month before it.
struct DayComponents {
  int era = 0;
  int year = 0;
  int month = 0;           ///< from 1
  bool leapMonth = false;  ///< whether it is the leap month after the month of that number
  int day = 0;             ///< of the month, from 1
  int weekday = 0;         ///< from 1, which is Sunday

  friend bool operator==(const DayComponents&, const DayComponents&) = default;
};

/// A calendar with a time zone. It tells which day an instant falls on, and when days begin.
///
/// A calendar is cheap to copy, and any number of threads may use one. It covers 100,000 years into
/// past and future. For an instant beyond, and for NaN, there is no day.
///
///     const Calendar calendar = Calendar::current();
///     calendar.startOfDay(currentDate(), 1);   // when tomorrow begins
///     DayComponents day = calendar.components(currentDate()).value();
///     day.day += 1;
///     calendar.date(day);                      // the same, also on the last of a month
class Calendar {
 public:
  /// The user's calendar and time zone at this moment: the calendar of ICU's default locale, which
  /// need not be Gregorian, and ICU's default time zone. When these defaults change later, the
  /// returned calendar stays as it is.
  [[nodiscard]] static Calendar current();

  /// The day that an instant falls on; nothing when the instant is out of reach.
  [[nodiscard]] std::optional<DayComponents> components(Date date) const;

  /// The instant at which a day begins: its midnight. When there are two midnights, the first. When
  /// the clocks skip midnight, the moment at which they are set forward.
  ///
  /// Numbers beyond their range count on: the 32nd of January is the 1st of February. A day that
  /// the zone skipped, as some zones did at the date line, begins with the day after it. The
  /// weekday is ignored. Returns nothing when the day is out of reach, or when a single number is
  /// far out of range.
  ///
  /// From 1900 to 2100, in every calendar of ICU, this finds each day again from the numbers that
  /// `components` returned. Far from today it does not in some calendars: the Indian one before the
  /// year -19,000, the Chinese and the Korean one after 65,000 and on single days before.
  /// `startOfDay` is right everywhere.
  [[nodiscard]] std::optional<Date> date(const DayComponents& components) const;

  /// The instant at which a day begins: the day `daysLater` days after the one that `date` falls
  /// on, or before it when `daysLater` is negative. Midnight is the one that `date(components)`
  /// chooses.
  ///
  /// Days begin at the same instants in all calendars, so this asks no calendar for its numbers.
  [[nodiscard]] std::optional<Date> startOfDay(Date date, int daysLater = 0) const;

  /// The first instant after `date` that falls on another day.
  ///
  /// Usually that is the start of the next day. When clocks are set back over midnight, it can also
  /// be the day before again, which then ends a second time.
  [[nodiscard]] std::optional<Date> endOfDay(Date date) const;

 private:
  struct System;
  explicit Calendar(std::shared_ptr<const System> system);
  std::shared_ptr<const System> _system;
};

}  // namespace vexil::platform
