// SPDX-License-Identifier: Apache-2.0
#include "monitor/Schedule.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "TableSupport.h"
#include "tests/support/Property.h"

namespace monitor {
namespace {

static_assert(std::is_nothrow_move_constructible_v<Schedule>);
static_assert(std::is_copy_assignable_v<Schedule>);

std::string problemOf(const std::string& text) {
  const auto parsed = parseSchedule(text);
  const auto* problem = std::get_if<Problem>(&parsed);
  return problem ? problem->reason : "none";
}

template <std::size_t Size>
std::vector<int> setIn(const std::bitset<Size>& bits) {
  std::vector<int> result;
  for (std::size_t i = 0; i < Size; ++i) {
    if (bits[i]) {
      result.push_back(static_cast<int>(i));
    }
  }
  return result;
}

using Values = std::vector<int>;

TEST(Schedule, SetsWhatNumbersListsRangesAndStepsSay) {
  const struct {
    const char* field;
    Values minutes;
  } cases[] = {
      {"0", {0}},           {"59", {59}},           {"007", {7}},
      {"1,2,4", {1, 2, 4}}, {"4,1,4", {1, 4}},      {"8-11", {8, 9, 10, 11}},
      {"7-7", {7}},         {"*/20", {0, 20, 40}},  {"1-10/3", {1, 4, 7, 10}},
      {"50-59/100", {50}},  {"*/99999999999", {0}}, {"0-4/2,30,58-59", {0, 2, 4, 30, 58, 59}},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(setIn(scheduleOf(each.field + std::string(" * * * *")).minutes()), each.minutes)
        << each.field;
  }
}

TEST(Schedule, StarSetsTheWholeRangeOfAField) {
  const Schedule all = scheduleOf("* * * * *");
  EXPECT_EQ(all.minutes().count(), 60U);
  EXPECT_EQ(all.hours().count(), 24U);
  EXPECT_EQ(all.daysOfMonth().count(), 31U);
  EXPECT_FALSE(all.daysOfMonth()[0]);
  EXPECT_EQ(all.months().count(), 12U);
  EXPECT_FALSE(all.months()[0]);
  EXPECT_EQ(all.daysOfWeek().count(), 7U);
  EXPECT_FALSE(all.isReboot());
}

TEST(Schedule, StepsCountFromTheFirstValueOfTheField) {
  const Schedule schedule = scheduleOf("*/25 */9 */10 */5 */3");
  EXPECT_EQ(setIn(schedule.minutes()), (Values{0, 25, 50}));
  EXPECT_EQ(setIn(schedule.hours()), (Values{0, 9, 18}));
  EXPECT_EQ(setIn(schedule.daysOfMonth()), (Values{1, 11, 21, 31}));
  EXPECT_EQ(setIn(schedule.months()), (Values{1, 6, 11}));
  EXPECT_EQ(setIn(schedule.daysOfWeek()), (Values{0, 3, 6}));
}

TEST(Schedule, NamesStandForMonthsAndDaysInAnyCase) {
  EXPECT_EQ(setIn(scheduleOf("0 0 1 Feb *").months()), (Values{2}));
  EXPECT_EQ(setIn(scheduleOf("0 0 1 JAN-mar,dec *").months()), (Values{1, 2, 3, 12}));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * sat").daysOfWeek()), (Values{6}));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * Mon-FRI/2").daysOfWeek()), (Values{1, 3, 5}));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * sun,2,thu").daysOfWeek()), (Values{0, 2, 4}));
}

TEST(Schedule, SevenIsSundayToo) {
  EXPECT_EQ(scheduleOf("0 0 * * 7"), scheduleOf("0 0 * * 0"));
  EXPECT_EQ(scheduleOf("0 0 * * 7"), scheduleOf("0 0 * * SUN"));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * 5-7").daysOfWeek()), (Values{0, 5, 6}));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * 1-7/2").daysOfWeek()), (Values{0, 1, 3, 5}));
  EXPECT_EQ(setIn(scheduleOf("0 0 * * 0-7").daysOfWeek()).size(), 7U);
}

TEST(Schedule, NamedSchedulesEqualTheirFields) {
  EXPECT_EQ(scheduleOf("@yearly"), scheduleOf("0 0 1 1 *"));
  EXPECT_EQ(scheduleOf("@annually"), scheduleOf("0 0 1 1 *"));
  EXPECT_EQ(scheduleOf("@monthly"), scheduleOf("0 0 1 * *"));
  EXPECT_EQ(scheduleOf("@weekly"), scheduleOf("0 0 * * 0"));
  EXPECT_EQ(scheduleOf("@daily"), scheduleOf("0 0 * * *"));
  EXPECT_EQ(scheduleOf("@midnight"), scheduleOf("0 0 * * *"));
  EXPECT_EQ(scheduleOf(" @hourly\t"), scheduleOf("0 * * * *"));
}

TEST(Schedule, RebootIsNoTimeOfTheClock) {
  const Schedule reboot = scheduleOf("@reboot");
  EXPECT_TRUE(reboot.isReboot());
  EXPECT_EQ(reboot, Schedule::atReboot());
  EXPECT_NE(reboot, Schedule());
  EXPECT_TRUE(reboot.minutes().none());
  EXPECT_FALSE(reboot.matchesDay(1, 1, 0));
  EXPECT_FALSE(reboot.matchesTime(0, 0));
}

TEST(Schedule, BlanksMayBeTabsAndStandAround) {
  EXPECT_EQ(scheduleOf("\t5  4\t*\t* \tmon "), scheduleOf("5 4 * * 1"));
}

TEST(Schedule, SpelledOutRangesEqualStarsExceptWhereTheStarDecidesARule) {
  EXPECT_EQ(scheduleOf("* * * 1-12 *"), scheduleOf("* * * * *"));
  EXPECT_EQ(scheduleOf("* 0-23 * * *"), scheduleOf("* * * * *"));
  EXPECT_EQ(scheduleOf("0-59 * * * *"), scheduleOf("* * * * *"));
  EXPECT_NE(scheduleOf("0-59 0-23 * * *"), scheduleOf("* * * * *"));
  EXPECT_NE(scheduleOf("0 0 1-31 * *"), scheduleOf("0 0 * * *"));
  EXPECT_NE(scheduleOf("0 0 * * 0-6"), scheduleOf("0 0 * * *"));
}

TEST(Schedule, AStarInFrontIsRememberedOfTheDayFields) {
  const Schedule none = scheduleOf("* * 1 * 1");
  EXPECT_FALSE(none.daysOfMonthStarred());
  EXPECT_FALSE(none.daysOfWeekStarred());
  const Schedule both = scheduleOf("1 1 */2 1 *,5");
  EXPECT_TRUE(both.daysOfMonthStarred());
  EXPECT_TRUE(both.daysOfWeekStarred());
  EXPECT_FALSE(scheduleOf("* * 5,* * *").daysOfMonthStarred());
}

TEST(Schedule, AStarInFrontIsRememberedOfTheTimeFieldsTogether) {
  EXPECT_FALSE(scheduleOf("0-59 1 * * *").timeStarred());
  EXPECT_TRUE(scheduleOf("*/5 1 * * *").timeStarred());
  EXPECT_TRUE(scheduleOf("0 */2 * * *").timeStarred());
  EXPECT_TRUE(scheduleOf("@hourly").timeStarred());
  EXPECT_FALSE(scheduleOf("@daily").timeStarred());
}

TEST(Schedule, TwoRestrictedDayFieldsAreAlternatives) {
  const Schedule unlucky = scheduleOf("0 0 13 * fri");
  EXPECT_TRUE(unlucky.matchesDay(3, 13, 2)) << "a 13th that is a Tuesday";
  EXPECT_TRUE(unlucky.matchesDay(3, 2, 5)) << "a Friday";
  EXPECT_TRUE(unlucky.matchesDay(3, 13, 5));
  EXPECT_FALSE(unlucky.matchesDay(3, 2, 2));
}

TEST(Schedule, AStarredDayFieldRestrictsTheOther) {
  const Schedule fridays = scheduleOf("0 0 * * fri");
  EXPECT_TRUE(fridays.matchesDay(3, 2, 5));
  EXPECT_FALSE(fridays.matchesDay(3, 2, 2));
  const Schedule oddFridays = scheduleOf("0 0 */2 * fri");
  EXPECT_TRUE(oddFridays.matchesDay(3, 3, 5));
  EXPECT_FALSE(oddFridays.matchesDay(3, 4, 5)) << "even date";
  EXPECT_FALSE(oddFridays.matchesDay(3, 3, 4)) << "Thursday";
}

TEST(Schedule, DaysOfOtherMonthsDoNotMatch) {
  const Schedule schedule = scheduleOf("0 0 13 mar fri");
  EXPECT_TRUE(schedule.matchesDay(3, 13, 1));
  EXPECT_FALSE(schedule.matchesDay(4, 13, 5));
}

TEST(Schedule, DaysAndTimesThatDoNotExistNeverMatch) {
  const Schedule all = scheduleOf("* * * * *");
  EXPECT_TRUE(all.matchesDay(12, 31, 6));
  EXPECT_FALSE(all.matchesDay(0, 1, 0));
  EXPECT_FALSE(all.matchesDay(13, 1, 0));
  EXPECT_FALSE(all.matchesDay(1, 0, 0));
  EXPECT_FALSE(all.matchesDay(1, 32, 0));
  EXPECT_FALSE(all.matchesDay(1, 1, -1));
  EXPECT_FALSE(all.matchesDay(1, 1, 7));
  EXPECT_TRUE(all.matchesTime(23, 59));
  EXPECT_FALSE(all.matchesTime(24, 0));
  EXPECT_FALSE(all.matchesTime(0, 60));
  EXPECT_FALSE(all.matchesTime(-1, 0));
  EXPECT_FALSE(all.matchesTime(0, -1));
}

TEST(Schedule, TimesMatchByHourAndMinute) {
  const Schedule schedule = scheduleOf("*/15 8-9 * * *");
  EXPECT_TRUE(schedule.matchesTime(8, 0));
  EXPECT_TRUE(schedule.matchesTime(9, 45));
  EXPECT_FALSE(schedule.matchesTime(10, 0));
  EXPECT_FALSE(schedule.matchesTime(8, 1));
}

TEST(Schedule, MistakesAreNamed) {
  const struct {
    const char* text;
    const char* reason;
  } cases[] = {
      {"60 * * * *", "minute 60 is out of range 0-59"},
      {"0 24 * * *", "hour 24 is out of range 0-23"},
      {"0 0 0 * *", "day of month 0 is out of range 1-31"},
      {"0 0 32 * *", "day of month 32 is out of range 1-31"},
      {"0 0 * 0 *", "month 0 is out of range 1-12"},
      {"0 0 * 13 *", "month 13 is out of range 1-12"},
      {"0 0 * * 8", "day of week 8 is out of range 0-7"},
      {"5-61 * * * *", "minute 61 is out of range 0-59"},
      {"123456789012345678901234567890 * * * *",
       "minute 123456789012345678901234567890 is out of range 0-59"},
      {"1,,2 * * * *", "minute has an empty entry in '1,,2'"},
      {"0 5, * * *", "hour has an empty entry in '5,'"},
      {", * * * *", "minute has an empty entry in ','"},
      {"0 18-8 * * *", "hour range '18-8' runs backwards"},
      {"0 0 * * fri-sun", "day of week range 'fri-sun' runs backwards"},
      {"0 0 * nov-feb *", "month range 'nov-feb' runs backwards"},
      {"*/0 * * * *", "minute step is 0 in '*/0'"},
      {"0 1-5/00 * * *", "hour step is 0 in '1-5/00'"},
      {"*/ * * * *", "minute step is missing in '*/'"},
      {"*/x * * * *", "minute step 'x' is not a number"},
      {"*/5/5 * * * *", "minute step '5/5' is not a number"},
      {"0 0 * jan-dec/feb *", "month step 'feb' is not a number"},
      {"5/10 * * * *", "minute step needs a range or * in '5/10'"},
      {"0 0 * * mon/2", "day of week step needs a range or * in 'mon/2'"},
      {"1-2-3 * * * *", "minute '2-3' is not a number"},
      {"-5 * * * *", "minute '-5' is not a number"},
      {"5- * * * *", "minute '5-' is not a number"},
      {"+5 * * * *", "minute '+5' is not a number"},
      {"1.5 * * * *", "minute '1.5' is not a number"},
      {"** * * * *", "minute '**' is not a number"},
      {"*-5 * * * *", "minute '*' is not a number"},
      {"mon * * * *", "minute 'mon' is not a number"},
      {"0 0 * mai *", "month 'mai' is neither a number nor a name"},
      {"0 0 * january *", "month 'january' is neither a number nor a name"},
      {"0 0 * * montag", "day of week 'montag' is neither a number nor a name"},
      {"0 0 * * feb", "day of week 'feb' is neither a number nor a name"},
      {"", "minute is missing"},
      {"1", "hour is missing"},
      {"1 1", "day of month is missing"},
      {"1 1 1", "month is missing"},
      {"1 1 1 1", "day of week is missing"},
      {"1 1 1 1 1 1", "'1' behind day of week"},
      {"61 99", "minute 61 is out of range 0-59"},
      {"@often", "'@often' is not a schedule's name"},
      {"@Daily", "'@Daily' is not a schedule's name"},
      {"@", "'@' is not a schedule's name"},
      {"@daily twice", "'twice' behind @daily"},
      {"@reboot twice", "'twice' behind @reboot"},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(problemOf(each.text), each.reason) << each.text;
  }
}

TEST(Schedule, LongTextIsCutInWhatIsSaidOfIt) {
  EXPECT_EQ(problemOf(std::string(100, 'x') + " * * * *"),
            "minute '" + std::string(39, 'x') + "…' is not a number");
}

/// A field made of random entries, and the values a reader of crontab(5) expects of it.
struct MadeField {
  std::string text;
  std::set<int> values;
};

MadeField madeField(int low, int high) {
  MadeField field;
  const int entries = *rc::gen::inRange(1, 4);
  for (int i = 0; i < entries; ++i) {
    const int a = *rc::gen::inRange(low, high + 1);
    const int b = *rc::gen::inRange(a, high + 1);
    const int step = *rc::gen::inRange(1, 9);
    field.text += i > 0 ? "," : "";
    switch (*rc::gen::inRange(0, 3)) {
      case 0:
        field.text += std::to_string(a);
        field.values.insert(a);
        break;
      case 1:
        field.text += std::to_string(a) + "-" + std::to_string(b) + "/" + std::to_string(step);
        for (int value = low; value <= high; ++value) {
          if (value >= a && value <= b && (value - a) % step == 0) {
            field.values.insert(value);
          }
        }
        break;
      default:
        field.text += "*/" + std::to_string(step);
        for (int value = low; value <= high; ++value) {
          if ((value - low) % step == 0) {
            field.values.insert(value);
          }
        }
    }
  }
  return field;
}

PROPERTY(Schedule, EveryWellFormedFieldSetsItsValues, ()) {
  const MadeField minutes = madeField(0, 59);
  const MadeField hours = madeField(0, 23);
  const MadeField days = madeField(1, 31);
  const MadeField months = madeField(1, 12);
  const MadeField weekdays = madeField(0, 6);
  const auto parsed = parseSchedule(minutes.text + " " + hours.text + " " + days.text + " " +
                                    months.text + " " + weekdays.text);
  RC_ASSERT(std::holds_alternative<Schedule>(parsed));
  const Schedule& schedule = std::get<Schedule>(parsed);
  const auto agree = [](const auto& bits, const MadeField& field) {
    return setIn(bits) == Values(field.values.begin(), field.values.end());
  };
  RC_ASSERT(agree(schedule.minutes(), minutes));
  RC_ASSERT(agree(schedule.hours(), hours));
  RC_ASSERT(agree(schedule.daysOfMonth(), days));
  RC_ASSERT(agree(schedule.months(), months));
  RC_ASSERT(agree(schedule.daysOfWeek(), weekdays));
  RC_ASSERT(schedule.daysOfMonthStarred() == (days.text.front() == '*'));
  RC_ASSERT(schedule.daysOfWeekStarred() == (weekdays.text.front() == '*'));
}

PROPERTY(Schedule, TextOfItsOwnAlphabetIsReadOrRefused, ()) {
  const auto text =
      *rc::gen::container<std::string>(rc::gen::elementOf(std::string("0123456789*/-, @amondjs")));
  const auto parsed = parseSchedule(text);
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    RC_ASSERT(!problem->reason.empty());
  } else {
    RC_ASSERT(std::get<Schedule>(parsed).minutes().any());
  }
}

}  // namespace
}  // namespace monitor
