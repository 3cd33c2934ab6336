// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <unicode/calendar.h>
#include <unicode/strenum.h>
#include <vexil/platform/Calendar.h>
#include "tests/support/DateTesting.h"

#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Calendar;
using platform::Date;
using platform::DayComponents;
using test::at;
using test::User;

constexpr double kDay = 86'400;
constexpr double kHour = 3'600;

/// The day of a date in the user's calendar.
DayComponents dayOf(Date date) {
  return Calendar::current().components(date).value();
}

/// The beginning of the day that is `days` later.
Date startOfDayAfter(Date date, int days) {
  DayComponents components = dayOf(date);
  components.day += days;
  return Calendar::current().date(components).value();
}

std::optional<Date> startOfDay(Date date) {
  return Calendar::current().startOfDay(date);
}

std::optional<Date> endOfDay(Date date) {
  return Calendar::current().endOfDay(date);
}

TEST(Calendar, SplitsAnInstantIntoTheNumbersOfItsDay) {
  const User user("en_US", "Europe/Berlin");
  const DayComponents day = dayOf(at(2026, 1, 31, 23, 59, 59));
  EXPECT_EQ(day, (DayComponents{.era = 1, .year = 2026, .month = 1, .day = 31, .weekday = 7}));
}

TEST(Calendar, TellsTheDayOfTheUsersZone) {
  const User user("en_US", "UTC");
  const Date instant = at(2026, 1, 31, 23, 30);
  EXPECT_EQ(dayOf(instant).day, 31);
  User::setZone("Asia/Tokyo");
  EXPECT_EQ(dayOf(instant).day, 1);
  EXPECT_EQ(dayOf(instant).month, 2);
}

TEST(Calendar, OnceTakenKeepsItsZoneAndItsNumbers) {
  const User user("en_US", "UTC");
  const Calendar calendar = Calendar::current();
  const Date instant = at(2026, 1, 31, 23, 30);
  const User other("th_TH", "Asia/Tokyo");
  EXPECT_EQ(calendar.components(instant)->day, 31);
  EXPECT_EQ(calendar.components(instant)->year, 2026);
  EXPECT_EQ(Calendar::current().components(instant)->day, 1);
  EXPECT_EQ(Calendar::current().components(instant)->year, 2569);
}

TEST(Calendar, CountsAsTheUsersLocaleDoes) {
  const Date newYear = [] {
    const User user("en_US", "UTC");
    return at(2026, 1, 1);
  }();
  const auto yearIn = [&](const char* locale) {
    const User user(locale, "UTC");
    return dayOf(newYear).year;
  };
  EXPECT_EQ(yearIn("en_US"), 2026);
  EXPECT_EQ(yearIn("th_TH"), 2569);
  EXPECT_EQ(yearIn("fa_IR"), 1404);
  EXPECT_EQ(yearIn("ja_JP"), 2026);
  EXPECT_EQ(yearIn("ja_JP@calendar=japanese"), 8);
  EXPECT_EQ(yearIn("he_IL@calendar=hebrew"), 5786);
}

TEST(Calendar, PutsTheNumbersBackTogetherToTheDaysMidnight) {
  const User user("en_US", "America/New_York");
  EXPECT_EQ(startOfDay(at(2026, 1, 31, 14, 42, 7)), at(2026, 1, 31));
  EXPECT_EQ(startOfDay(at(2026, 1, 31)), at(2026, 1, 31));
  EXPECT_EQ(startOfDay(at(2026, 1, 31) + -0.001), at(2026, 1, 30));
}

TEST(Calendar, KeepsAnInstantJustBeforeMidnightInItsDay) {
  const User user("en_US", "UTC");
  const Date midnight = at(2026, 2, 1);
  const Date before{std::nextafter(midnight.seconds, 0.0)};
  EXPECT_EQ(dayOf(before).day, 31);
  EXPECT_EQ(dayOf(midnight).day, 1);
  // Here doubles are closer together than those of the years since 1970 are.
  EXPECT_EQ(dayOf({std::nextafter(0.0, -1.0)}).year, 2000);
  EXPECT_EQ(dayOf({0}).year, 2001);
}

TEST(Calendar, TakesADayBehindTheEndOfAMonthForOneOfTheNext) {
  const User user("en_US", "Europe/Berlin");
  for (const int year : {2023, 2024}) {
    for (int month = 1; month <= 12; ++month) {
      const Date first = at(month == 12 ? year + 1 : year, month % 12 + 1, 1);
      EXPECT_EQ(startOfDayAfter(first + -1, 1), first) << year << "-" << month;
    }
  }
  EXPECT_EQ(startOfDayAfter(at(2026, 1, 31, 12), 400), at(2027, 3, 7));
  EXPECT_EQ(startOfDayAfter(at(2026, 1, 31, 12), -31), at(2025, 12, 31));
}

TEST(Calendar, DoesNotLookAtTheWeekday) {
  const User user("en_US", "UTC");
  DayComponents day = dayOf(at(2026, 1, 31));
  day.weekday = 3;
  EXPECT_EQ(Calendar::current().date(day), at(2026, 1, 31));
}

TEST(Calendar, PassesFromOneReckoningToTheNext) {
  const User user("en_US", "UTC");
  // The day after the 4th of October 1582 was the 15th.
  EXPECT_EQ(startOfDayAfter(at(1582, 10, 4), 1), at(1582, 10, 15));
  EXPECT_EQ(endOfDay(at(1582, 10, 4)), at(1582, 10, 15));
}

// --- eras and leap months

TEST(Calendar, TellsYearsBeforeTheFirstFromThoseAfter) {
  const User user("en_US", "UTC");
  const Date before = at(0, 5, 6);  // 1 BC
  const Date after = at(1, 5, 6);
  EXPECT_EQ(dayOf(before).year, dayOf(after).year);
  EXPECT_NE(dayOf(before).era, dayOf(after).era);
  EXPECT_EQ(startOfDay(before), before);
  EXPECT_EQ(startOfDay(after), after);
  EXPECT_EQ(startOfDayAfter(at(0, 12, 31), 1), at(1, 1, 1));
}

TEST(Calendar, TellsYearsOfOneEmperorFromThoseOfAnother) {
  const User user("ja_JP@calendar=japanese", "Asia/Tokyo");
  const Date reiwa8 = at(2026, 3, 4);
  const Date heisei8 = at(1996, 3, 4);
  EXPECT_EQ(dayOf(reiwa8).year, 8);
  EXPECT_EQ(dayOf(heisei8).year, 8);
  EXPECT_EQ(startOfDay(reiwa8), reiwa8);
  EXPECT_EQ(startOfDay(heisei8), heisei8);
}

TEST(Calendar, CountsOnFromTheLastDayOfAnEmperor) {
  const User user("ja_JP@calendar=japanese", "Asia/Tokyo");
  EXPECT_EQ(startOfDayAfter(at(1989, 1, 7, 12), 1), at(1989, 1, 8));
  EXPECT_EQ(startOfDayAfter(at(2019, 4, 30, 12), 1), at(2019, 5, 1));
  EXPECT_NE(dayOf(at(2019, 4, 30)).era, dayOf(at(2019, 5, 1)).era);
}

TEST(Calendar, TellsAYearFromTheOneSixtyYearsLater) {
  const User user("zh_CN@calendar=chinese", "Asia/Shanghai");
  // New Year of a year of the snake, and of the one before it in the same place of the cycle.
  const Date now = at(2025, 1, 29);
  const Date then = at(1965, 2, 2);
  EXPECT_EQ(dayOf(now).year, dayOf(then).year);
  EXPECT_EQ(startOfDay(now), now);
  EXPECT_EQ(startOfDay(then), then);
}

TEST(Calendar, TellsALeapMonthFromTheOneBeforeIt) {
  const User user("zh_CN@calendar=chinese", "Asia/Shanghai");
  // 2023 had a second second month, from 22 March on.
  const Date second = at(2023, 2, 20);
  const Date leap = at(2023, 3, 22);
  EXPECT_EQ(dayOf(second).month, 2);
  EXPECT_EQ(dayOf(leap).month, 2);
  EXPECT_FALSE(dayOf(second).leapMonth);
  EXPECT_TRUE(dayOf(leap).leapMonth);
  EXPECT_EQ(startOfDay(second), second);
  EXPECT_EQ(startOfDay(leap), leap);
  EXPECT_EQ(startOfDayAfter(at(2023, 3, 21), 1), leap);
}

// --- clocks that are changed

TEST(Calendar, BeginsADayWithoutMidnightWhereItsClocksBegin) {
  const User user("pt_BR", "America/Sao_Paulo");
  const Date one = at(2018, 11, 4, 1);
  EXPECT_EQ(startOfDay(at(2018, 11, 4, 12)), one);
  EXPECT_EQ(startOfDayAfter(at(2018, 11, 3, 12), 1), one);
  EXPECT_EQ(endOfDay(at(2018, 11, 3, 12)), one);
  EXPECT_EQ(endOfDay(one), at(2018, 11, 5));
}

TEST(Calendar, BeginsADayWithTwoMidnightsAtTheFirst) {
  const User user("es_CU", "America/Havana");
  const Date first = at(2018, 11, 4);
  EXPECT_EQ(startOfDay(at(2018, 11, 4, 12)), first);
  EXPECT_EQ(startOfDay(first + kHour), first) << "the second midnight";
  EXPECT_EQ(endOfDay(at(2018, 11, 3, 12)), first);
  EXPECT_EQ(endOfDay(first)->seconds, first.seconds + 25 * kHour);
}

TEST(Calendar, BeginsADayThatAZoneSkippedWithTheNext) {
  const User user("en_WS", "Pacific/Apia");
  EXPECT_EQ(startOfDayAfter(at(2011, 12, 29, 12), 1), at(2011, 12, 31));
  EXPECT_EQ(startOfDayAfter(at(2011, 12, 29, 12), 2), at(2011, 12, 31));
  EXPECT_EQ(endOfDay(at(2011, 12, 29, 12)), at(2011, 12, 31));
  EXPECT_EQ(at(2011, 12, 31).seconds - at(2011, 12, 29).seconds, kDay);
}

TEST(Calendar, CountsADayThatAZoneHadTwiceAsOne) {
  const User user("en_MH", "Pacific/Kwajalein");
  // After the end of 30 September 1969, the same day came again from one o'clock on.
  const Date start = at(1969, 9, 30);
  EXPECT_EQ(endOfDay(start)->seconds, start.seconds + 47 * kHour);
  EXPECT_EQ(startOfDay(start + 40 * kHour), start);
}

TEST(Calendar, ReturnsToTheDayBeforeWhereClocksAreSetBackOverMidnight) {
  const User user("en_CA", "America/St_Johns");
  // At one minute past midnight it was one minute past eleven again.
  const Date midnight = at(2010, 11, 7);
  EXPECT_EQ(endOfDay(at(2010, 11, 6, 12)), midnight);
  EXPECT_EQ(dayOf(midnight).day, 7);
  EXPECT_EQ(endOfDay(midnight)->seconds, midnight.seconds + 60);
  EXPECT_EQ(dayOf(midnight + 60).day, 6);
  EXPECT_EQ(endOfDay(midnight + 60)->seconds, midnight.seconds + kHour);
  EXPECT_EQ(dayOf(midnight + kHour).day, 7);
  EXPECT_EQ(startOfDay(midnight + kHour), midnight);
}

TEST(Calendar, PassesAChangeOfTheClocksWithinADay) {
  const User user("de_DE", "Europe/Berlin");
  EXPECT_EQ(endOfDay(at(2026, 3, 29, 1)), at(2026, 3, 30));
  EXPECT_EQ(at(2026, 3, 30).seconds - at(2026, 3, 29).seconds, kDay - kHour);
}

// --- far away

TEST(Calendar, ReachesFromTheFirstYearToTheLastOfFourDigits) {
  const User user("en_US", "UTC");
  EXPECT_EQ(dayOf(at(1, 1, 1)).year, 1);
  EXPECT_EQ(startOfDay(at(1, 1, 1, 5)), at(1, 1, 1));
  EXPECT_EQ(dayOf(at(9999, 12, 31)).year, 9999);
  EXPECT_EQ(startOfDayAfter(at(9999, 12, 31, 5), 1), at(10000, 1, 1));
  EXPECT_EQ(endOfDay(at(9999, 12, 31, 5)), at(10000, 1, 1));
}

TEST(Calendar, HasNoDayForWhatIsNoInstantOrTooFarAway) {
  const User user("en_US", "UTC");
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const Calendar calendar = Calendar::current();
  for (const double seconds : {infinity, -infinity, std::nan(""), 1e300, -1e300, 3.3e12, -3.3e12}) {
    EXPECT_EQ(calendar.components({seconds}), std::nullopt) << seconds;
    EXPECT_EQ(calendar.startOfDay({seconds}), std::nullopt) << seconds;
    EXPECT_EQ(calendar.endOfDay({seconds}), std::nullopt) << seconds;
  }
  EXPECT_NE(calendar.components({3.1e12}), std::nullopt);
  EXPECT_NE(calendar.components({-3.1e12}), std::nullopt);
  EXPECT_EQ(calendar.date({.era = 1, .year = 200'000, .month = 1, .day = 1}), std::nullopt);
}

// --- every calendar that ICU has

/// A locale with each.
std::vector<std::string> localesOfEveryCalendar() {
  UErrorCode error = U_ZERO_ERROR;
  const std::unique_ptr<icu::StringEnumeration> names(
      icu::Calendar::getKeywordValuesForLocale("calendar", icu::Locale::getRoot(), false, error));
  std::vector<std::string> locales;
  while (const char* name = names->next(nullptr, error)) {
    locales.push_back("en@calendar=" + std::string(name));
  }
  return locales;
}

TEST(EveryCalendar, IsOneOfMany) {
  EXPECT_GE(localesOfEveryCalendar().size(), 18U);
}

TEST(EveryCalendar, BeginsAndEndsItsDaysAtMidnight) {
  for (const std::string& locale : localesOfEveryCalendar()) {
    for (const char* zone : {"Asia/Kathmandu", "America/Sao_Paulo"}) {
      const User user(locale.c_str(), zone);
      const Calendar calendar = Calendar::current();
      for (int day = 1; day < 201 * 365; day += 411) {
        const Date start = at(1900, 1, day);
        const Date end = at(1900, 1, day + 1);
        const Date within = start + (end.seconds - start.seconds) * 0.7;
        ASSERT_EQ(calendar.startOfDay(within), start) << locale << " " << zone << " " << day;
        ASSERT_EQ(calendar.endOfDay(within), end) << locale << " " << zone << " " << day;
        ASSERT_EQ(calendar.startOfDay(within, 1), end) << locale << " " << zone << " " << day;
        auto components = calendar.components(within).value();
        ASSERT_EQ(calendar.date(components), start) << locale << " " << zone << " " << day;
        components.day += 1;
        ASSERT_EQ(calendar.date(components), end) << locale << " " << zone << " " << day;
      }
    }
  }
}

TEST(EveryCalendar, BeginsAndEndsDaysAtMidnightAsFarAsItReaches) {
  for (const std::string& locale : localesOfEveryCalendar()) {
    const User user(locale.c_str(), "UTC");
    const Calendar calendar = Calendar::current();
    // ICU puts the numbers of these days together as those of others: the Indian one far in the
    // past, the Chinese and the Korean one far in the future.
    for (const double midnight :
         {-3.1104e12, -1.8144e12, -6.912e11, 0.0, 2.16e12, 2.7648e12, 3.1104e12}) {
      EXPECT_EQ(calendar.startOfDay({midnight + 40'000}), Date{midnight}) << locale;
      EXPECT_EQ(calendar.startOfDay({midnight + 40'000}, -2), Date{midnight - 2 * kDay}) << locale;
      EXPECT_EQ(calendar.startOfDay({midnight + 40'000}, 1), Date{midnight + kDay}) << locale;
      EXPECT_EQ(calendar.endOfDay({midnight + 40'000}), Date{midnight + kDay}) << locale;
    }
  }
}

TEST(EveryCalendar, HasNoDayWhereANumberLeadsTooFar) {
  for (const std::string& locale : localesOfEveryCalendar()) {
    const User user(locale.c_str(), "Europe/Berlin");
    const Calendar calendar = Calendar::current();
    const Date noon = at(2026, 1, 31, 12);
    for (const int number :
         {std::numeric_limits<int>::min(), std::numeric_limits<int>::min() + 1, -300'000'000,
          300'000'000, std::numeric_limits<int>::max() - 1, std::numeric_limits<int>::max()}) {
      for (int DayComponents::*field : {&DayComponents::era, &DayComponents::year,
                                        &DayComponents::month, &DayComponents::day}) {
        DayComponents day = calendar.components(noon).value();
        day.*field = number;
        EXPECT_EQ(calendar.date(day), std::nullopt) << locale << " " << number;
      }
      EXPECT_EQ(calendar.startOfDay(noon, number), std::nullopt) << locale << " " << number;
      DayComponents day = calendar.components(noon).value();
      day.weekday = number;
      EXPECT_EQ(calendar.date(day), at(2026, 1, 31)) << locale << " " << number;
    }
  }
}

TEST(EveryCalendar, TakesAnyNumbers) {
  // Extreme numbers, one at a time and all at once: the result is a day in the range, or none.
  for (const std::string& locale : localesOfEveryCalendar()) {
    const User user(locale.c_str(), "UTC");
    const Calendar calendar = Calendar::current();
    for (const int year : {-1'000'000, 1'000'000}) {
      for (const int month : {-3'000'000, 3'000'000}) {
        for (const int day : {-100'000'000, 100'000'000}) {
          for (const int era : {-20'000, 0, 1, 20'000}) {
            const auto date = calendar.date({era, year, month, false, day, 0});
            EXPECT_TRUE(!date || calendar.components(*date)) << locale;
          }
        }
      }
    }
  }
}

}  // namespace
