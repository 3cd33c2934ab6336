// SPDX-License-Identifier: Apache-2.0
// In every calendar and zone, a day can be made again from its numbers, and days follow one another
// without a gap.
#include <gtest/gtest.h>
#include <vexil/platform/Calendar.h>
#include "tests/support/DateTesting.h"

#include <optional>

#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::Calendar;
using platform::Date;
using test::User;

/// A locale for each calendar there is.
const char* anyLocale() {
  return *rc::gen::elementOf(std::vector<const char*>{
      "en_US", "th_TH", "fa_IR", "ja_JP@calendar=japanese", "zh_CN@calendar=chinese",
      "ko_KR@calendar=dangi", "he_IL@calendar=hebrew", "ar_EG@calendar=islamic",
      "ar_EG@calendar=islamic-civil", "ar_EG@calendar=islamic-tbla", "ar_SA@calendar=islamic-rgsa",
      "ar_SA@calendar=islamic-umalqura", "ar_EG@calendar=coptic", "am_ET@calendar=ethiopic",
      "am_ET@calendar=ethiopic-amete-alem", "hi_IN@calendar=indian", "zh_TW@calendar=roc",
      "de_DE@calendar=iso8601"});
}

const char* anyZone() {
  return *rc::gen::elementOf(std::vector<const char*>{
      "UTC", "America/Sao_Paulo", "Pacific/Apia", "Pacific/Kwajalein", "America/Havana",
      "America/St_Johns", "Europe/Berlin", "Asia/Beirut", "Asia/Kathmandu", "Australia/Lord_Howe",
      "America/Scoresbysund", "Pacific/Kiritimati"});
}

/// From about 1900 to 2100, to the second.
Date anyDate() {
  return {static_cast<double>(*rc::gen::inRange<std::int64_t>(-3'187'296'000, 3'124'224'000))};
}

PROPERTY(AnyCalendar, FindsBackTheDayThatItSplit, ()) {
  const User user(anyLocale(), anyZone());
  const Calendar calendar = Calendar::current();
  const Date date = anyDate();
  const auto start = calendar.startOfDay(date);
  RC_ASSERT(start.has_value());
  RC_ASSERT(start->seconds <= date.seconds);
  RC_ASSERT(date.seconds - start->seconds < 50 * 3600);
  RC_ASSERT(calendar.components(*start) == calendar.components(date));
  RC_ASSERT(calendar.startOfDay(*start)->seconds == start->seconds);
}

PROPERTY(AnyCalendar, HasADayUntilItsEndAndThenAnother, ()) {
  const User user(anyLocale(), anyZone());
  const Calendar calendar = Calendar::current();
  const Date date = anyDate();
  const auto day = calendar.components(date);
  const auto end = calendar.endOfDay(date);
  RC_ASSERT(end.has_value());
  RC_ASSERT(end->seconds > date.seconds);
  RC_ASSERT(calendar.components(*end) != day);
  for (int step = 0; step < 100; ++step) {
    const double before = (end->seconds - date.seconds) * step / 100;
    RC_ASSERT(calendar.components(date + before) == day);
  }
  RC_ASSERT(calendar.components(*end + -0.001) == day);
}

PROPERTY(AnyCalendar, CountsOnFromAnyDayToTheNext, ()) {
  const User user(anyLocale(), anyZone());
  const Calendar calendar = Calendar::current();
  const Date date = anyDate();
  const auto end = calendar.endOfDay(date).value();
  // If clocks are set back over midnight, the next day is the day before.
  RC_PRE(calendar.startOfDay(end)->seconds == end.seconds);
  auto next = calendar.components(date).value();
  next.day += 1;
  RC_ASSERT(calendar.date(next)->seconds == end.seconds);
}

PROPERTY(AnyCalendar, BeginsDaysAtMidnightWithinAHundredThousandYears, ()) {
  const User user(anyLocale(), "UTC");
  const Calendar calendar = Calendar::current();
  const int day = *rc::gen::inRange(-37'000'000, 37'000'000);
  const Date date{day * 86'400.0 + *rc::gen::inRange(0, 86'400)};
  RC_ASSERT(calendar.startOfDay(date) == Date{day * 86'400.0});
  RC_ASSERT(calendar.endOfDay(date) == Date{(day + 1) * 86'400.0});
  const int further = *rc::gen::inRange(-10'000, 10'000);
  RC_ASSERT(calendar.startOfDay(date, further) == Date{(day + further) * 86'400.0});
}

}  // namespace
