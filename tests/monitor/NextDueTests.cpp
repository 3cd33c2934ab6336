// SPDX-License-Identifier: Apache-2.0
#include "monitor/NextDue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <charconv>
#include <chrono>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "TableSupport.h"

namespace monitor {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

Instant utc(year_month_day date, minutes time) {
  return sys_days(date) + time;
}

/// The due times after `after`, as the zone's clocks show them.
std::vector<std::string> dueTimes(std::string_view text, Instant after, const Zone& zone,
                                  std::size_t count) {
  std::vector<std::string> times;
  for (auto due = nextDue(scheduleOf(text), after, zone); due && times.size() < count;
       due = nextDue(scheduleOf(text), *due, zone)) {
    times.push_back(zone.text(*due));
  }
  return times;
}

using Times = std::vector<std::string>;

// --- the second source: a clock that ticks through the minutes, and the daemon that looks at it

/// A zone by its rule: how far ahead of UTC it is in winter, and when summer begins and ends.
struct Clock {
  const char* name;
  hours winter;
  Instant summerBegins;
  Instant summerEnds;

  /// What the clock on the wall shows, in minutes since 1970.
  [[nodiscard]] std::int64_t minuteAt(Instant instant) const {
    const bool summer = instant >= summerBegins && instant < summerEnds;
    return duration_cast<minutes>(instant.time_since_epoch() + winter + hours(summer ? 1 : 0))
        .count();
  }
};

/// The rules of both zones for the year 2026: in Europe clocks are changed at 01:00 UTC of the last
/// Sundays of March and October, in the United States at 02:00 of the second Sunday of March and
/// of the first of November.
const std::array<Clock, 2> kClocks = {
    {{"Europe/Berlin", 1h, utc(2026y / 3 / 29, 1h), utc(2026y / 10 / 25, 1h)},
     {"America/New_York", -5h, utc(2026y / 3 / 8, 7h), utc(2026y / 11 / 1, 6h)}}};

int numberIn(std::string_view text) {
  int number = -1;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

using Values = std::bitset<60>;

/// The values of one field of numbers, stars, ranges and steps.
Values valuesIn(std::string_view field, int low, int high) {
  Values values;
  while (!field.empty()) {
    const std::string_view entry = field.substr(0, field.find(','));
    field.remove_prefix(std::min(field.size(), entry.size() + 1));
    const std::size_t slash = entry.find('/');
    const std::string_view range = entry.substr(0, slash);
    const int step = slash == std::string_view::npos ? 1 : numberIn(entry.substr(slash + 1));
    const std::size_t dash = range.find('-');
    const int first = range == "*" ? low : numberIn(range);
    const int last = range == "*"                     ? high
                     : dash == std::string_view::npos ? first
                                                      : numberIn(range.substr(dash + 1));
    for (int value = first; value <= last; value += step) {
      values.set(static_cast<std::size_t>(value));
    }
  }
  return values;
}

/// A schedule taken word by word from its text.
struct Plain {
  explicit Plain(std::string_view text) {
    for (std::string& field : fields) {
      field = text.substr(0, text.find(' '));
      text.remove_prefix(std::min(text.size(), field.size() + 1));
    }
    const std::array<std::pair<int, int>, 5> ranges = {
        {{0, 59}, {0, 23}, {1, 31}, {1, 12}, {0, 7}}};
    for (std::size_t i = 0; i < fields.size(); ++i) {
      values[i] = valuesIn(fields[i], ranges[i].first, ranges[i].second);
    }
    if (values[4][7]) {
      values[4].set(0);
    }
  }

  [[nodiscard]] bool starred(std::size_t field) const { return fields[field].starts_with('*'); }
  [[nodiscard]] bool goesByTheClock() const { return starred(0) || starred(1); }

  [[nodiscard]] bool isDueAt(std::int64_t minute) const {
    const auto inDay = static_cast<std::size_t>(minute % 1440);
    if (!values[0][inDay % 60] || !values[1][inDay / 60]) {
      return false;
    }
    const std::int64_t day = minute / 1440;
    const year_month_day date{sys_days(days(day))};
    const bool byDate = values[2][unsigned(date.day())];
    const bool byWeekday = values[4][static_cast<std::size_t>((day + 4) % 7)];
    const bool dayFits = starred(2) || starred(4) ? byDate && byWeekday : byDate || byWeekday;
    return values[3][unsigned(date.month())] && dayFits;
  }

  std::array<std::string, 5> fields;
  std::array<Values, 5> values;
};

/// When a daemon that wakes up every minute would run the job, from `begin` up to `end`.
std::vector<Instant> minuteByMinute(const Plain& schedule, const Clock& clock, Instant begin,
                                    Instant end, std::size_t most) {
  std::vector<Instant> due;
  std::int64_t reached = clock.minuteAt(begin - 1min);
  for (Instant now = begin; now < end && due.size() < most; now += 1min) {
    const std::int64_t shown = clock.minuteAt(now);
    bool run = false;
    if (schedule.goesByTheClock()) {
      run = schedule.isDueAt(shown);
    } else {
      for (; reached < shown; ++reached) {
        run = schedule.isDueAt(reached + 1) || run;
      }
    }
    if (run) {
      due.push_back(now);
    }
  }
  return due;
}

// clang-format off
const std::array<const char*, 76> kSchedules = {
    "* * * * *", "*/2 * * * *", "*/7 * * * *", "0 * * * *", "59 * * * *", "30 * * * *",
    "5,35 * * * *", "10-50/20 * * * *", "0-59 * * * *", "* 2 * * *", "*/15 2 * * *", "* 1-3 * * *",
    "0 0 * * *", "30 0 * * *", "0 1 * * *", "30 1 * * *", "59 1 * * *", "0 2 * * *", "1 2 * * *",
    "15 2 * * *", "30 2 * * *", "59 2 * * *", "0 3 * * *", "1 3 * * *", "30 3 * * *", "0 4 * * *",
    "59 23 * * *", "0 0-23 * * *", "0-59 0-23 * * *", "30 0-23/2 * * *", "30 1-23/2 * * *",
    "10,50 1,2,3 * * *", "0 */2 * * *", "0 */6 * * *", "15 */12 * * *", "*/20 1-3 * * *",
    "0 12 1 * *", "0 12 15 * *", "0 12 31 * *", "0 12 28-31 * *", "0 12 */2 * *", "30 2 29 * *",
    "30 2 25 * *", "30 2 8 * *", "30 1 1 * *", "0 12 * * 0", "0 12 * * 7", "0 12 * * 1-5",
    "0 12 * * 6,7", "30 2 * * 0", "30 1 * * 0", "30 2 * * 1-6", "0 12 13 * 5", "0 0 1,15 * 3",
    "0 0 */10 * 5", "0 0 1 * */2", "0 0 */2 * */2", "30 2 1 * 0", "30 2 29 * 1", "0 12 * 1 *",
    "0 12 * 3,10 *", "0 12 * 11 *", "0 0 1 1 *", "0 0 31 12 *", "0 12 29 3 *", "30 2 29 3 *",
    "30 2 25 10 *", "30 1 1 11 *", "30 2 8 3 *", "30 1 * 11 0", "30 2 * 3 0", "0 0 1 */3 *",
    "17 5 5-9 5-9 *", "23 23 31 1,3,5 6", "0 6 1-7 * 1", "*/30 0-23/3 * 2-12/2 1-5/2",
};
// clang-format on

/// The window that begins two days before an instant and ends two days after it.
void expectTheSameAround(Instant change, const Clock& clock) {
  const Zone zone = Zone::named(clock.name);
  const Instant begin = change - days(2);
  const Instant end = change + days(2);
  for (const char* text : kSchedules) {
    std::vector<Instant> found;
    const Schedule schedule = scheduleOf(text);
    for (auto due = nextDue(schedule, begin - 1min, zone); due && *due < end;
         due = nextDue(schedule, *due, zone)) {
      found.push_back(*due);
    }
    EXPECT_EQ(found, minuteByMinute(Plain(text), clock, begin, end, SIZE_MAX))
        << text << " in " << clock.name;
  }
}

TEST(NextDue, AgreesWithADaemonThatWakesEveryMinuteWhenSummerBegins) {
  for (const Clock& clock : kClocks) {
    expectTheSameAround(clock.summerBegins, clock);
  }
}

TEST(NextDue, AgreesWithADaemonThatWakesEveryMinuteWhenSummerEnds) {
  for (const Clock& clock : kClocks) {
    expectTheSameAround(clock.summerEnds, clock);
  }
}

TEST(NextDue, AgreesWithADaemonThatWakesEveryMinuteThroughTheYear) {
  const Instant end = utc(2027y / 1 / 1, 0min);
  for (const Clock& clock : kClocks) {
    const Zone zone = Zone::named(clock.name);
    for (const char* text : kSchedules) {
      for (unsigned each = 1; each <= 12; each += 3) {
        // In the middle of a minute, which counts as the minute itself.
        const Instant after = utc(2026y / month(each) / 27, 13h + 7min) + 30s;
        const auto expected = minuteByMinute(Plain(text), clock, after + 30s, end, 1);
        const auto found = nextDue(scheduleOf(text), after, zone);
        if (!expected.empty()) {
          EXPECT_EQ(found, expected.front()) << text << " in " << clock.name << ", month " << each;
        } else {
          EXPECT_TRUE(found && *found >= end - 6h) << text << " in " << clock.name;
        }
      }
    }
  }
}

// --- by hand

const Zone kBerlin = Zone::named("Europe/Berlin");
const Instant kNoon = utc(2026y / 3 / 27, 11h);  // Friday, 12:00 in Berlin

TEST(NextDue, IsAfterTheInstantAndNeverIt) {
  const Zone zone = Zone::named("UTC");
  const Instant noon = utc(2026y / 5 / 4, 12h);
  EXPECT_EQ(nextDue(scheduleOf("0 12 * * *"), noon, zone), noon + days(1));
  EXPECT_EQ(nextDue(scheduleOf("0 12 * * *"), noon - 1s, zone), noon);
  EXPECT_EQ(nextDue(scheduleOf("* * * * *"), noon, zone), noon + 1min);
  EXPECT_EQ(nextDue(scheduleOf("* * * * *"), noon + 59s, zone), noon + 1min);
}

TEST(NextDue, OneOfTwoRestrictedDayFieldsIsEnough) {
  EXPECT_EQ(
      dueTimes("0 8 30 * 6", kNoon, kBerlin, 4),
      (Times{"2026-03-28 08:00", "2026-03-30 08:00", "2026-04-04 08:00", "2026-04-11 08:00"}));
}

TEST(NextDue, BothDayFieldsCountWhenOneBeginsWithAStar) {
  // Odd days that are Sundays: the star in front makes it "and", although the step restricts.
  EXPECT_EQ(dueTimes("0 8 */2 * 0", kNoon, kBerlin, 3),
            (Times{"2026-03-29 08:00", "2026-04-05 08:00", "2026-04-19 08:00"}));
}

TEST(NextDue, AnHourThatSummerTimeSkipsIsMadeUpForAtOnce) {
  EXPECT_EQ(dueTimes("30 2 * * *", kNoon, kBerlin, 3),
            (Times{"2026-03-28 02:30", "2026-03-29 03:00", "2026-03-30 02:30"}));
}

TEST(NextDue, AJobWithSeveralMinutesInTheSkippedHourIsMadeUpForOnce) {
  EXPECT_EQ(dueTimes("10,40 2-3 29 3 *", kNoon, kBerlin, 3),
            (Times{"2026-03-29 03:00", "2026-03-29 03:10", "2026-03-29 03:40"}));
}

TEST(NextDue, AJobDueAtTheChangeItselfIsNotDueTwice) {
  EXPECT_EQ(dueTimes("0 2,3 29 3 *", kNoon, kBerlin, 2),
            (Times{"2026-03-29 03:00", "2027-03-29 02:00"}));
}

TEST(NextDue, AStarInTheMinuteMissesTheSkippedHour) {
  EXPECT_EQ(dueTimes("*/30 2 * * *", kNoon, kBerlin, 3),
            (Times{"2026-03-28 02:00", "2026-03-28 02:30", "2026-03-30 02:00"}));
}

TEST(NextDue, AnHourlyJobRunsEveryHourOfARepeatedOne) {
  const Instant night = utc(2026y / 10 / 24, 23h + 30min);
  EXPECT_EQ(nextDue(scheduleOf("@hourly"), night, kBerlin), night + 30min);
  EXPECT_EQ(
      dueTimes("@hourly", night, kBerlin, 4),
      (Times{"2026-10-25 02:00", "2026-10-25 02:00", "2026-10-25 03:00", "2026-10-25 04:00"}));
}

TEST(NextDue, AnHourThatIsRepeatedRunsAJobTheFirstTime) {
  const Instant night = utc(2026y / 10 / 24, 20h);
  EXPECT_EQ(nextDue(scheduleOf("30 2 * * *"), night, kBerlin), utc(2026y / 10 / 25, 30min));
  EXPECT_EQ(dueTimes("30 2 * * *", night, kBerlin, 2),
            (Times{"2026-10-25 02:30", "2026-10-26 02:30"}));
  // Asked in the second pass, the first one is over.
  EXPECT_EQ(nextDue(scheduleOf("30 2 * * *"), utc(2026y / 10 / 25, 1h + 5min), kBerlin),
            utc(2026y / 10 / 26, 1h + 30min));
}

TEST(NextDue, ADayThatAZoneLeavesOutIsNotMadeUpFor) {
  // Samoa went across the date line: its clocks never showed 30 December 2011.
  const Zone apia = Zone::named("Pacific/Apia");
  const Instant before = utc(2011y / 12 / 29, 12h);
  EXPECT_EQ(dueTimes("0 8 * * *", before, apia, 2),
            (Times{"2011-12-29 08:00", "2011-12-31 08:00"}));
  EXPECT_EQ(dueTimes("0 8 30 * *", before, apia, 1), Times{"2012-01-30 08:00"});
}

TEST(NextDue, AChangeOfHalfAnHourCountsLikeAnyOther) {
  const Zone lordHowe = Zone::named("Australia/Lord_Howe");
  // From 02:00 to 02:30, on the first Sunday of October.
  EXPECT_EQ(dueTimes("15 2 4 10 *", utc(2026y / 10 / 1, 0min), lordHowe, 1),
            Times{"2026-10-04 02:30"});
}

TEST(NextDue, TheTwentyNinthOfFebruaryComesInLeapYears) {
  EXPECT_EQ(dueTimes("0 0 29 2 *", kNoon, kBerlin, 2),
            (Times{"2028-02-29 00:00", "2032-02-29 00:00"}));
  EXPECT_EQ(dueTimes("0 0 29 2 *", utc(2096y / 3 / 1, 0min), kBerlin, 1),
            Times{"2104-02-29 00:00"});
  // On a Sunday, as the star says "and": across 2100 it takes 40 years.
  EXPECT_EQ(dueTimes("0 0 29 2 */7", utc(2088y / 3 / 1, 0min), kBerlin, 1),
            Times{"2128-02-29 00:00"});
}

TEST(NextDue, ADayThatNoMonthHasNeverComes) {
  EXPECT_EQ(nextDue(scheduleOf("0 0 30 2 *"), kNoon, kBerlin), std::nullopt);
  EXPECT_EQ(nextDue(scheduleOf("0 0 31 2,4,6,9,11 *"), kNoon, kBerlin), std::nullopt);
  EXPECT_EQ(nextDue(Schedule(), kNoon, kBerlin), std::nullopt);
}

TEST(NextDue, ARebootIsNotDueByTheClock) {
  EXPECT_EQ(nextDue(scheduleOf("@reboot"), kNoon, kBerlin), std::nullopt);
}

TEST(NextDue, LooksAtDaysAndNotAtMinutesForSchedulesThatAreDueRarely) {
  // Of each year the days of February, and once each other month.
  constexpr int looksInAYear = 29 + 11;
  constexpr int years = 42;
  SearchCost never;
  EXPECT_FALSE(nextDue(scheduleOf("0 0 30 2 *"), kNoon, kBerlin, &never));
  EXPECT_GT(never.days, 40 * (looksInAYear - 1));
  EXPECT_LE(never.days, years * looksInAYear);
  EXPECT_EQ(never.periods, 1);
  // It is found once from each period that is looked at.
  SearchCost rarely;
  EXPECT_TRUE(nextDue(scheduleOf("0 0 29 2 */7"), kNoon, kBerlin, &rarely));
  EXPECT_LE(rarely.periods, 3);
  EXPECT_LE(rarely.days, rarely.periods * years * looksInAYear);
  SearchCost often;
  EXPECT_TRUE(nextDue(scheduleOf("* * * * *"), kNoon, kBerlin, &often));
  EXPECT_EQ(often.days, 1);
  EXPECT_EQ(often.periods, 1);
}

TEST(Zone, HasTheChangesOfItsYears) {
  const Zone::Period summer = kBerlin.periodAt(utc(2026y / 7 / 1, 0min));
  EXPECT_EQ(summer.begin, utc(2026y / 3 / 29, 1h));
  EXPECT_EQ(summer.end, utc(2026y / 10 / 25, 1h));
  EXPECT_EQ(summer.offset, 2h);
  EXPECT_EQ(summer.offsetBefore, 1h);
  EXPECT_EQ(kBerlin.periodAt(summer.begin).offset, 2h);
  EXPECT_EQ(kBerlin.periodAt(summer.begin - 1s).offset, 1h);
}

TEST(Zone, WithoutChangesIsOnePeriod) {
  const Zone::Period always = Zone::named("UTC").periodAt(kNoon);
  EXPECT_EQ(always.begin, Instant::min());
  EXPECT_EQ(always.end, Instant::max());
  EXPECT_EQ(always.offset, 0s);
}

TEST(Zone, ShowsWhatItsClocksShow) {
  EXPECT_EQ(kBerlin.text(utc(2026y / 3 / 29, 1h + 5min) + 9s), "2026-03-29 03:05");
  EXPECT_EQ(kBerlin.text(utc(2026y / 3 / 29, 1h + 5min) + 9s, true), "2026-03-29 03:05:09");
  EXPECT_EQ(kBerlin.name(), "Europe/Berlin");
}

TEST(Zone, ThatDoesNotExistIsRefused) {
  EXPECT_THROW((void)Zone::named("Europe/Atlantis"), UnknownZone);
  EXPECT_NO_THROW((void)Zone::ofMachine());
}

}  // namespace
}  // namespace monitor
