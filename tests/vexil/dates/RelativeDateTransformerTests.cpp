// SPDX-License-Identifier: Apache-2.0
// Dates of today, of tomorrow and of other days, with a clock that does not run. ICU itself makes
// the expected texts of dates and times.
#include <gtest/gtest.h>
#include <ternwood/Ternwood.h>
#include <unicode/simpletz.h>
#include <vexil/KRAVTWVItemVexil.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Clock.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/Observing.h>
#include "tests/support/DateTesting.h"

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::DateFormatter;
using platform::FormatStyle;
using platform::ScopedClock;
using platform::Value;
using test::at;
using test::shortDateAndTime;
using test::shortTime;
using test::User;

using Transformer = KRAVTWVRelativeDateTransformer;

constexpr std::int32_t kNeither = 2147483647;

static_assert(std::is_base_of_v<platform::ValueTransformer, Transformer>);
static_assert(!std::is_copy_constructible_v<Transformer>);
static_assert(Transformer::neither == kNeither);

class RelativeDate : public testing::Test {
 protected:
  RelativeDate() { platform::setPreferredLanguage("en"); }
  ~RelativeDate() override { platform::setPreferredLanguage(""); }

  /// The text of a date when the clock stands at `now`.
  [[nodiscard]] Value textAt(Date now, const Value& date) const {
    const ScopedClock clock(now);
    return _dates->transformedValue(date);
  }
  [[nodiscard]] std::int32_t daysAt(Date now, Date date) const {
    const ScopedClock clock(now);
    return _dates->relativeDaysAway(date);
  }
  static std::string today(Date date) { return "Today, " + shortTime(date); }
  static std::string tomorrow(Date date) { return "Tomorrow, " + shortTime(date); }

  const User _user{"en_US", "Europe/Berlin"};
  const std::shared_ptr<Transformer> _dates = std::make_shared<Transformer>();
};

// --- what it is

TEST_F(RelativeDate, BeginsWithAFormatterOfShortTimes) {
  const auto formatter = _dates->dateFormatter();
  ASSERT_NE(formatter, nullptr);
  EXPECT_EQ(static_cast<int>(formatter->formatterBehavior()), 1040);
  EXPECT_EQ(formatter->timeStyle(), FormatStyle::shortStyle);
  EXPECT_EQ(formatter->dateStyle(), FormatStyle::none);
  EXPECT_NE(formatter, std::make_shared<Transformer>()->dateFormatter()) << "its own";
}

TEST_F(RelativeDate, YieldsStrings) {
  EXPECT_EQ(_dates->transformedValueClass(), Value::Kind::string);
  EXPECT_TRUE(_dates->transformedValue(platform::currentDate()).isString());
}

TEST_F(RelativeDate, RefusesReverseTransformation) {
  EXPECT_FALSE(_dates->allowsReverseTransformation());
  EXPECT_THROW((void)_dates->reverseTransformedValue("Today, 2:42 PM"), platform::InvalidArgument);
  EXPECT_THROW((void)_dates->reverseTransformedValue(""), platform::InvalidArgument);
}

// --- today, tomorrow and other days

TEST_F(RelativeDate, LaterTodayIsTodayWithItsTimeAlone) {
  const Date date = at(2026, 1, 14, 22, 30);
  EXPECT_EQ(textAt(at(2026, 1, 14, 9), date), Value(today(date)));
  EXPECT_EQ(today(date).find('/'), std::string::npos) << "no date part";
}

TEST_F(RelativeDate, EarlierTodayIsTodayAsWell) {
  const Date midnight = at(2026, 1, 14);
  EXPECT_EQ(textAt(at(2026, 1, 14, 23, 59, 59), midnight), Value(today(midnight)));
  EXPECT_EQ(textAt(midnight, midnight), Value(today(midnight)));
}

TEST_F(RelativeDate, FirstAndLastSecondOfTomorrowAreTomorrow) {
  for (const Date now : {at(2026, 1, 14), at(2026, 1, 14, 12), at(2026, 1, 14, 23, 59, 59)}) {
    for (const Date date : {at(2026, 1, 15), at(2026, 1, 15, 23, 59, 59)}) {
      EXPECT_EQ(textAt(now, date), Value(tomorrow(date)));
      EXPECT_EQ(daysAt(now, date), 1);
    }
  }
}

TEST_F(RelativeDate, LastSecondOfTodayAndFirstOfTheDayAfterTomorrowAreNot) {
  const Date now = at(2026, 1, 14, 12);
  EXPECT_EQ(daysAt(now, at(2026, 1, 14, 23, 59, 59)), 0);
  EXPECT_EQ(daysAt(now, Date{std::nextafter(at(2026, 1, 15).seconds, 0.0)}), 0);
  EXPECT_EQ(daysAt(now, at(2026, 1, 16)), kNeither);
}

TEST_F(RelativeDate, YesterdayIsShownByDateAndTime) {
  const Date now = at(2026, 1, 14);
  for (const Date date : {now + -1, at(2026, 1, 13, 12), at(2026, 1, 13)}) {
    EXPECT_EQ(textAt(now, date), Value(shortDateAndTime(date)));
    EXPECT_EQ(daysAt(now, date), kNeither);
  }
}

TEST_F(RelativeDate, TwoDaysAheadIsShownByDateAndTime) {
  const Date now = at(2026, 1, 14, 23, 59, 59);
  for (const Date date : {at(2026, 1, 16), at(2026, 1, 16, 10, 30), at(2027, 1, 15, 10, 30),
                          at(2026, 2, 15, 10, 30)}) {
    EXPECT_EQ(textAt(now, date), Value(shortDateAndTime(date)));
    EXPECT_EQ(daysAt(now, date), kNeither);
  }
}

TEST_F(RelativeDate, FirstOfTheNextMonthIsTomorrowOnTheLastOfEveryMonth) {
  for (const int year : {2023, 2024, 1900, 2000}) {
    for (int month = 1; month <= 12; ++month) {
      const Date first = at(month == 12 ? year + 1 : year, month % 12 + 1, 1);
      const Date now = first + -3600;
      EXPECT_EQ(daysAt(now, first), 1) << year << "-" << month;
      EXPECT_EQ(daysAt(now, first + 23 * 3600), 1) << year << "-" << month;
      EXPECT_EQ(daysAt(now, first + (-24 * 3600 - 1800)), kNeither) << year << "-" << month;
      EXPECT_EQ(daysAt(now, now), 0) << year << "-" << month;
      EXPECT_EQ(textAt(now, first), Value(tomorrow(first))) << year << "-" << month;
    }
  }
}

TEST_F(RelativeDate, SameDayOfAnotherMonthOrYearIsNotToday) {
  const Date now = at(2026, 3, 14, 12);
  for (const Date date : {at(2026, 2, 14, 12), at(2026, 4, 14, 12), at(2025, 3, 14, 12),
                          at(2027, 3, 14, 12), at(2026, 3, 7, 12), at(2026, 3, 21, 12)}) {
    EXPECT_EQ(daysAt(now, date), kNeither);
  }
}

TEST_F(RelativeDate, WhatIsNoDateIsEmpty) {
  const Value record = Value::dictionary({{"date", Date{0}}});
  for (const Value& value : {Value(), Value::null(), Value(true), Value(0), Value(7.5), Value("x"),
                             Value(""), Value("2026-01-14"), Value::array({Date{0}}), record}) {
    const Value text = _dates->transformedValue(value);
    EXPECT_TRUE(text.isString()) << value.description();
    EXPECT_EQ(text, Value("")) << value.description();
  }
}

TEST_F(RelativeDate, WhatIsNoInstantIsNeitherAndEmpty) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  for (const double seconds : {infinity, -infinity, std::nan(""), 1e300, -1e300}) {
    EXPECT_EQ(_dates->relativeDaysAway({seconds}), kNeither) << seconds;
    EXPECT_EQ(_dates->transformedValue(Date{seconds}), Value("")) << seconds;
    EXPECT_EQ(_dates->validUntil({seconds}), std::nullopt) << seconds;
    EXPECT_EQ(daysAt({seconds}, at(2026, 1, 14)), kNeither) << "by a clock out of order";
    EXPECT_EQ(daysAt({seconds}, {seconds}), kNeither) << seconds;
    const ScopedClock clock(Date{seconds});
    EXPECT_EQ(_dates->validUntil(at(2026, 1, 14)), std::nullopt) << seconds;
  }
}

TEST_F(RelativeDate, ReachesFromTheFirstYearToTheLastOfFourDigits) {
  EXPECT_EQ(daysAt(at(1, 1, 1, 9), at(1, 1, 1, 22)), 0);
  EXPECT_EQ(daysAt(at(1, 1, 1, 9), at(1, 1, 2)), 1);
  EXPECT_EQ(daysAt(at(9999, 12, 31, 9), at(9999, 12, 31, 22)), 0);
  EXPECT_EQ(daysAt(at(9999, 12, 31, 9), at(10000, 1, 1)), 1);
  const Date last = at(9999, 12, 31, 22);
  EXPECT_EQ(textAt(last, last), Value(today(last)));
  EXPECT_EQ(textAt(at(2026, 1, 1), last), Value(shortDateAndTime(last)));
}

TEST_F(RelativeDate, ShowsTheDateOfATrigger) {
  const Date date = at(2026, 1, 15, 3);
  const auto trigger = KRAVTWVQueuedTriggerVexil::itemWithQueuedTrigger(
      Value::dictionary({{kTWQueuedTriggerTriggerID, "t"},
                         {kTWQueuedTriggerTrigger, Value::dictionary({{kTWTriggerDate, date}})}}));
  EXPECT_EQ(textAt(at(2026, 1, 14), trigger->triggerDate()), Value(tomorrow(date)));
}

// --- clocks

TEST_F(RelativeDate, ReadsTheTimeTwiceAtEachCall) {
  int reads = 0;
  const Date now = at(2026, 1, 14, 12);
  const ScopedClock clock([&] {
    ++reads;
    return now;
  });
  EXPECT_EQ(_dates->relativeDaysAway(now), 0);
  EXPECT_EQ(reads, 2);
  EXPECT_EQ(_dates->relativeDaysAway(now + 86'400), 1);
  EXPECT_EQ(reads, 4) << "also when the first comparison was right";
  EXPECT_EQ(_dates->relativeDaysAway(now + 10 * 86'400), kNeither);
  EXPECT_EQ(reads, 6);
  (void)_dates->relativeDaysAway({std::nan("")});
  EXPECT_EQ(reads, 8);
}

TEST_F(RelativeDate, ComparesWithTomorrowFirstAndThenWithToday) {
  const Date before = at(2026, 1, 14, 23, 59, 59);
  int reads = 0;
  // Midnight passes between the two.
  const ScopedClock clock([&] { return before + (reads++ % 2); });
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 15, 10)), 0) << "tomorrow, and then today";
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 16, 10)), kNeither);
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 14, 10)), kNeither);
}

TEST_F(RelativeDate, ComparesWithTomorrowByTheFirstReadingAlone) {
  const Date after = at(2026, 1, 15, 0, 0, 0);
  int reads = 0;
  // The clock is set back in between.
  const ScopedClock clock([&] { return after + -(reads++ % 2); });
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 16, 10)), 1);
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 15, 10)), kNeither);
  EXPECT_EQ(_dates->relativeDaysAway(at(2026, 1, 14, 10)), 0);
}

TEST_F(RelativeDate, TakesTheCalendarOnceForACall) {
  const Date now = at(2026, 1, 14, 23, 30);  // already the 15th in Tokyo
  const ScopedClock clock([&] {
    User::setZone("Asia/Tokyo");
    return now;
  });
  EXPECT_EQ(_dates->relativeDaysAway(now), 0) << "both by the clocks of Berlin";
  User::setZone("Europe/Berlin");
  EXPECT_EQ(_dates->relativeDaysAway(now + 3600), 1);
  User::setZone("Europe/Berlin");
  EXPECT_EQ(_dates->relativeDaysAway(now + 16 * 3600), 1);
}

TEST_F(RelativeDate, FollowsTheUserFromOneCallToTheNext) {
  const Date now = at(2026, 1, 14, 23, 30);
  const Date date = at(2026, 1, 15, 2);
  EXPECT_EQ(textAt(now, date), Value(tomorrow(date)));
  User::setZone("Asia/Tokyo");
  EXPECT_EQ(textAt(now, date), Value(today(date)));
  User::setZone("America/New_York");
  EXPECT_EQ(textAt(now, date), Value(today(date))) << "still the 14th";
}

TEST_F(RelativeDate, CountsDaysAndNotHours) {
  // 23 hours and 25 hours long.
  EXPECT_EQ(daysAt(at(2026, 3, 28, 23, 30), at(2026, 3, 29, 23, 59)), 1);
  EXPECT_EQ(daysAt(at(2026, 3, 29), at(2026, 3, 29) + 23 * 3600), 1);
  EXPECT_EQ(daysAt(at(2026, 10, 25), at(2026, 10, 25) + 24 * 3600), 0);
  EXPECT_EQ(daysAt(at(2026, 10, 25), at(2026, 10, 25) + 25 * 3600), 1);
  EXPECT_EQ(daysAt(at(2026, 10, 24), at(2026, 10, 26) + -1), 1) << "almost 49 hours ahead";
}

TEST_F(RelativeDate, KnowsDaysWithoutMidnight) {
  User::setZone("America/Sao_Paulo");
  const Date start = at(2018, 11, 4, 1);
  EXPECT_EQ(daysAt(at(2018, 11, 3, 23, 59, 59), start), 1);
  EXPECT_EQ(daysAt(start + -1, start), 1);
  EXPECT_EQ(daysAt(start, at(2018, 11, 4, 23, 59, 59)), 0);
  EXPECT_EQ(daysAt(start, start), 0);
  EXPECT_EQ(daysAt(start, start + -1), kNeither);
  EXPECT_EQ(textAt(start + -1, start), Value(tomorrow(start)));
  EXPECT_EQ(daysAt(at(2018, 11, 2, 12), at(2018, 11, 4, 12)), kNeither);
}

TEST_F(RelativeDate, KnowsDaysWithTwoMidnights) {
  User::setZone("America/Havana");
  const Date first = at(2018, 11, 4);
  EXPECT_EQ(daysAt(first + -1, first + 3600), 1);
  EXPECT_EQ(daysAt(first, first + 3600), 0);
  EXPECT_EQ(daysAt(first + 3600, first), 0);
  EXPECT_EQ(daysAt(first + 3600, first + 25 * 3600), 1);
}

TEST_F(RelativeDate, PassesOverADayThatTheZoneSkipped) {
  struct Skip {
    const char* zone;
    Date (*before)();
    Date (*after)();
  };
  const Skip skips[] = {
      {"Pacific/Apia", [] { return at(2011, 12, 29); }, [] { return at(2011, 12, 31); }},
      {"Pacific/Kwajalein", [] { return at(1993, 8, 20); }, [] { return at(1993, 8, 22); }},
  };
  for (const Skip& skip : skips) {
    User::setZone(skip.zone);
    const Date before = skip.before();
    const Date after = skip.after();
    EXPECT_EQ(after.seconds - before.seconds, 86'400) << skip.zone;
    EXPECT_EQ(daysAt(before + 12 * 3600, after), 1) << skip.zone;
    EXPECT_EQ(daysAt(before + 12 * 3600, after + 86'399), 1) << skip.zone;
    EXPECT_EQ(daysAt(before + 12 * 3600, after + 86'400), kNeither) << skip.zone;
    EXPECT_EQ(daysAt(after, after + -1), kNeither) << skip.zone;
    EXPECT_EQ(daysAt(before + -1, after), kNeither) << skip.zone;
  }
}

// --- calendars

TEST_F(RelativeDate, IsTheSameDayInEveryCalendar) {
  for (const char* locale :
       {"en_US", "th_TH", "fa_IR", "ja_JP@calendar=japanese", "zh_CN@calendar=chinese",
        "ko_KR@calendar=dangi", "he_IL@calendar=hebrew", "ar_SA@calendar=islamic-umalqura",
        "ar_EG@calendar=coptic", "am_ET@calendar=ethiopic", "hi_IN@calendar=indian"}) {
    const User user(locale, "Europe/Berlin");
    // Over more than a year, and so over the last day of each month and of the year.
    for (Date start = at(2023, 1, 1); start.seconds < at(2024, 4, 1).seconds;
         start = start + 86'400) {
      EXPECT_EQ(daysAt(start, start + 3600), 0) << locale << start.seconds;
      EXPECT_EQ(daysAt(start, start + 26 * 3600), 1) << locale << start.seconds;
      EXPECT_EQ(daysAt(start, start + 50 * 3600), kNeither) << locale << start.seconds;
      EXPECT_EQ(daysAt(start, start + -2 * 3600), kNeither) << locale << start.seconds;
    }
    const Date date = at(2023, 4, 3, 10, 30);
    EXPECT_EQ(textAt(at(2023, 4, 3), date), Value(today(date))) << locale;
    EXPECT_EQ(textAt(at(2023, 4, 1), date), Value(shortDateAndTime(date))) << locale;
  }
}

TEST_F(RelativeDate, OfAnotherEraIsNotToday) {
  EXPECT_EQ(daysAt(at(1, 5, 6), at(0, 5, 6)), kNeither) << "1 BC";
  EXPECT_EQ(daysAt(at(0, 5, 6), at(1, 5, 6)), kNeither);
  EXPECT_EQ(daysAt(at(0, 12, 31), at(1, 1, 1)), 1);
  const User japanese("ja_JP@calendar=japanese", "Asia/Tokyo");
  EXPECT_EQ(daysAt(at(2026, 3, 4), at(1996, 3, 4)), kNeither) << "both the 8th year of an emperor";
  EXPECT_EQ(daysAt(at(1989, 1, 7, 12), at(1989, 1, 8)), 1);
  EXPECT_EQ(daysAt(at(2019, 4, 30, 12), at(2019, 5, 1)), 1);
  const User chinese("zh_CN@calendar=chinese", "Asia/Shanghai");
  EXPECT_EQ(daysAt(at(2025, 1, 29), at(1965, 2, 2)), kNeither) << "sixty years before";
}

TEST_F(RelativeDate, OfALeapMonthIsNotToday) {
  const User user("zh_CN@calendar=chinese", "Asia/Shanghai");
  EXPECT_EQ(daysAt(at(2023, 2, 20), at(2023, 3, 22)), kNeither);
  EXPECT_EQ(daysAt(at(2023, 3, 22), at(2023, 2, 20)), kNeither);
  EXPECT_EQ(daysAt(at(2023, 3, 21), at(2023, 3, 22)), 1);
}

// --- its formatter

TEST_F(RelativeDate, SetsTheDateStyleOfItsFormatterAtEachCall) {
  const Date now = at(2026, 1, 14, 12);
  const auto formatter = _dates->dateFormatter();
  (void)textAt(now, now + 7 * 86'400);
  EXPECT_EQ(formatter->dateStyle(), FormatStyle::shortStyle);
  (void)textAt(now, now);
  EXPECT_EQ(formatter->dateStyle(), FormatStyle::none);
  formatter->setDateStyle(FormatStyle::fullStyle);
  EXPECT_EQ(textAt(now, now), Value(today(now)));
  formatter->setDateStyle(FormatStyle::fullStyle);
  EXPECT_EQ(textAt(now, now + 7 * 86'400), Value(shortDateAndTime(now + 7 * 86'400)));
  EXPECT_EQ(formatter->timeStyle(), FormatStyle::shortStyle) << "as it was";
}

TEST_F(RelativeDate, LeavesItsFormatterAloneForWhatIsNoDate) {
  _dates->dateFormatter()->setDateStyle(FormatStyle::fullStyle);
  (void)_dates->transformedValue("x");
  (void)_dates->transformedValue({});
  EXPECT_EQ(_dates->dateFormatter()->dateStyle(), FormatStyle::fullStyle);
}

TEST_F(RelativeDate, UsesAFormatterThatAHostHasSet) {
  const auto formatter = std::make_shared<DateFormatter>();
  formatter->setLocaleIdentifier("de_DE");
  formatter->setTimeZoneName("Asia/Tokyo");
  formatter->setTimeStyle(FormatStyle::mediumStyle);
  _dates->setDateFormatter(formatter);
  EXPECT_EQ(_dates->dateFormatter(), formatter);
  const Date now = at(2026, 1, 14, 12);
  EXPECT_EQ(textAt(now, at(2026, 1, 14, 14, 42, 7)), Value("Today, 22:42:07"));
  EXPECT_EQ(textAt(now, at(2026, 1, 16, 14, 42, 7)), Value("16.01.26, 22:42:07"));
  EXPECT_EQ(textAt(now, at(2026, 1, 14, 20)), Value("Today, 04:00:00")) << "the user's day";
}

TEST_F(RelativeDate, WithoutAFormatterHasNoTimeToShow) {
  _dates->setDateFormatter(nullptr);
  const Date now = at(2026, 1, 14, 12);
  EXPECT_EQ(textAt(now, now), Value("Today, (null)"));
  EXPECT_EQ(textAt(now, now + 7 * 86'400), Value(""));
  EXPECT_EQ(textAt(now, "x"), Value(""));
}

TEST_F(RelativeDate, HasItsFormatterUnderAKey) {
  EXPECT_EQ(_dates->valueForKey("dateFormatter").object(), _dates->dateFormatter());
  const auto formatter = std::make_shared<DateFormatter>();
  _dates->setValueForKey(formatter, "dateFormatter");
  EXPECT_EQ(_dates->dateFormatter(), formatter);
  EXPECT_THROW(_dates->setValueForKey("x", "dateFormatter"), platform::InvalidArgument);
  EXPECT_THROW(_dates->setValueForKey(_dates, "dateFormatter"), platform::InvalidArgument);
  EXPECT_EQ(_dates->dateFormatter(), formatter);
  _dates->setValueForKey({}, "dateFormatter");
  EXPECT_EQ(_dates->dateFormatter(), nullptr);
}

TEST_F(RelativeDate, AnnouncesThatItsFormatterIsSetAndNoTransformation) {
  int heard = 0;
  const auto observation =
      platform::observe(_dates, "dateFormatter", platform::ObservingOptions::both,
                        [&](const platform::ChangeRecord& change) {
                          ++heard;
                          EXPECT_EQ(change.kind, platform::ChangeKind::setting);
                          EXPECT_TRUE(change.oldValue.isObject());
                          EXPECT_TRUE(change.newValue.isNull());
                        });
  (void)_dates->transformedValue(platform::currentDate());
  EXPECT_EQ(heard, 0);
  _dates->setDateFormatter(nullptr);
  EXPECT_EQ(heard, 1);
}

// --- subclasses

/// Knows one more day, yesterday, and shows only the time of its dates.
class WithYesterday : public Transformer {
 public:
  [[nodiscard]] std::int32_t relativeDaysAway(Date date) const override {
    const std::int32_t away = Transformer::relativeDaysAway(date);
    return away == neither && Transformer::relativeDaysAway({date.seconds + 86'400}) == 0 ? -1
                                                                                          : away;
  }
};

/// Takes every date for one of tomorrow.
class Procrastinating : public Transformer {
 public:
  [[nodiscard]] std::int32_t relativeDaysAway(Date /*date*/) const override { return 1; }
};

TEST_F(RelativeDate, AsksTheRuleOfItsOwnClass) {
  const auto procrastinating = std::make_shared<Procrastinating>();
  const Date date = at(2020, 5, 5, 10, 30);
  EXPECT_EQ(procrastinating->transformedValue(date), Value(tomorrow(date)));
}

TEST_F(RelativeDate, OfADayThatOnlyASubclassKnowsIsTheTimeAlone) {
  const auto dates = std::make_shared<WithYesterday>();
  const ScopedClock clock(at(2026, 1, 14, 12));
  const Date yesterday = at(2026, 1, 13, 10, 30);
  EXPECT_EQ(dates->transformedValue(yesterday), Value(shortTime(yesterday)));
  const Date before = at(2026, 1, 12, 10, 30);
  EXPECT_EQ(dates->transformedValue(before), Value(shortDateAndTime(before)));
}

// --- until when

class RelativeDateUntil : public RelativeDate {
 protected:
  [[nodiscard]] std::optional<Date> untilAt(Date now, Date date) const {
    const ScopedClock clock(now);
    return _dates->validUntil(date);
  }
};

TEST_F(RelativeDateUntil, ItsDayIsTomorrowThenTodayThenPast) {
  const Date date = at(2026, 3, 6, 14, 42);
  EXPECT_EQ(untilAt(at(2025, 1, 30, 12), date), at(2026, 3, 5)) << "400 days ahead";
  EXPECT_EQ(untilAt(at(2026, 3, 1, 12), date), at(2026, 3, 5));
  EXPECT_EQ(untilAt(at(2026, 3, 4, 23, 59, 59), date), at(2026, 3, 5));
  EXPECT_EQ(untilAt(at(2026, 3, 5), date), at(2026, 3, 6));
  EXPECT_EQ(untilAt(at(2026, 3, 5, 23, 59, 59), date), at(2026, 3, 6));
  EXPECT_EQ(untilAt(at(2026, 3, 6), date), at(2026, 3, 7));
  EXPECT_EQ(untilAt(at(2026, 3, 6, 23, 59, 59), date), at(2026, 3, 7)) << "also after the date";
  EXPECT_EQ(untilAt(at(2026, 3, 7), date), std::nullopt);
  EXPECT_EQ(untilAt(at(2036, 3, 7), date), std::nullopt);
}

/// The zone of universal time. It counts how often it is asked for its offset.
class CountingZone : public icu::SimpleTimeZone {
 public:
  CountingZone() : SimpleTimeZone(0, "Counting") {}
  [[nodiscard]] CountingZone* clone() const override { return new CountingZone(*this); }
  void getOffset(UDate date, UBool local, std::int32_t& raw, std::int32_t& daylight,
                 UErrorCode& error) const override {
    ++asked;
    SimpleTimeZone::getOffset(date, local, raw, daylight, error);
  }
  static inline int asked = 0;
};

TEST_F(RelativeDateUntil, TheMomentIsFoundWithoutALookAtTheDaysBefore) {
  icu::TimeZone::adoptDefault(new CountingZone);
  const auto askedFor = [&](Date now, Date date, std::optional<Date> until) {
    CountingZone::asked = 0;
    EXPECT_EQ(untilAt(now, date), until);
    return CountingZone::asked;
  };
  const int ofToday = askedFor(at(2026, 3, 6), at(2026, 3, 6, 12), at(2026, 3, 7));
  EXPECT_GT(ofToday, 0);
  EXPECT_LE(askedFor(at(1, 1, 1), at(9999, 12, 31, 12), at(9999, 12, 30)), 10 * ofToday);
  EXPECT_LE(askedFor(at(9999, 12, 31), at(1, 1, 1), std::nullopt), 10 * ofToday);
}

TEST_F(RelativeDateUntil, ADayWithoutMidnightBeginsWhereItsClocksDo) {
  User::setZone("America/Sao_Paulo");
  const Date start = at(2018, 11, 4, 1);
  EXPECT_EQ(untilAt(at(2018, 11, 3, 12), at(2018, 11, 4, 12)), start);
  EXPECT_EQ(untilAt(at(2018, 11, 3, 12), at(2018, 11, 3, 23)), start);
  EXPECT_EQ(untilAt(at(2018, 11, 1), at(2018, 11, 5)), start);
}

TEST_F(RelativeDateUntil, ADayIsAheadOfTheOneBehindASkippedOne) {
  User::setZone("Pacific/Apia");
  const Date date = at(2011, 12, 31, 12);
  EXPECT_EQ(untilAt(at(2011, 12, 20), date), at(2011, 12, 29));
  EXPECT_EQ(untilAt(at(2011, 12, 29), date), at(2011, 12, 31));
  EXPECT_EQ(untilAt(at(2011, 12, 31), date), at(2012, 1, 1));
}

TEST_F(RelativeDateUntil, TodayComesTwiceWhereClocksAreSetBackOverMidnight) {
  User::setZone("America/St_Johns");
  const Date midnight = at(2010, 11, 7);
  const Date date = at(2010, 11, 7, 12);
  EXPECT_EQ(untilAt(at(2010, 11, 6, 12), date), midnight);
  EXPECT_EQ(untilAt(midnight, date), midnight + 60) << "the 6th again";
  EXPECT_EQ(textAt(midnight + 60, date), Value(tomorrow(date)));
  EXPECT_EQ(untilAt(midnight + 60, date), midnight + 3600);
  EXPECT_EQ(untilAt(midnight + 3600, date), at(2010, 11, 8));
  // And a date of the 6th is of today once more.
  EXPECT_EQ(untilAt(midnight, at(2010, 11, 6, 12)), midnight + 60);
}

}  // namespace
