// SPDX-License-Identifier: Apache-2.0
#include "monitor/NextDue.h"

#include <algorithm>
#include <cstddef>

namespace monitor {

namespace {

namespace chrono = std::chrono;
using LocalMinute = chrono::local_time<chrono::minutes>;

constexpr chrono::years kSearchedYears(41);
/// A clock change that is not smaller than this is a correction. Jobs are not made up for after it.
constexpr chrono::hours kLeastCorrection(3);
/// The UTC offsets of two periods differ by less than this.
constexpr chrono::days kOffsetMargin(2);

std::optional<chrono::minutes> firstTime(const Schedule& schedule, chrono::minutes from) {
  const auto firstHour = static_cast<std::size_t>(from / chrono::hours(1));
  std::size_t minute = static_cast<std::size_t>((from % chrono::hours(1)).count());
  for (std::size_t hour = firstHour; hour < schedule.hours().size(); ++hour, minute = 0) {
    if (!schedule.hours()[hour]) {
      continue;
    }
    for (; minute < schedule.minutes().size(); ++minute) {
      if (schedule.minutes()[minute]) {
        return chrono::hours(hour) + chrono::minutes(minute);
      }
    }
  }
  return std::nullopt;
}

/// The first local minute at or after `from` that the schedule names, on the day `last` or before.
std::optional<LocalMinute> firstMatch(const Schedule& schedule, LocalMinute from,
                                      chrono::local_days last, SearchCost& cost) {
  auto day = chrono::floor<chrono::days>(from);
  chrono::minutes time = from - day;
  while (day <= last) {
    ++cost.days;
    const chrono::year_month_day date(day);
    if (!schedule.months()[static_cast<unsigned>(date.month())]) {
      day = chrono::local_days((date.year() / date.month() + chrono::months(1)) / 1);
    } else {
      const bool matches =
          schedule.matchesDay(static_cast<int>(static_cast<unsigned>(date.month())),
                              static_cast<int>(static_cast<unsigned>(date.day())),
                              static_cast<int>(chrono::weekday(day).c_encoding()));
      if (const auto found = matches ? firstTime(schedule, time) : std::nullopt) {
        return day + *found;
      }
      day += chrono::days(1);
    }
    time = chrono::minutes(0);
  }
  return std::nullopt;
}

LocalMinute localMinute(Instant instant, chrono::seconds offset) {
  return chrono::ceil<chrono::minutes>(LocalTime(instant.time_since_epoch() + offset));
}

}  // namespace

std::optional<Instant> nextDue(const Schedule& schedule, Instant after, const Zone& zone,
                               SearchCost* cost) {
  SearchCost uncounted;
  SearchCost& counted = cost != nullptr ? *cost : uncounted;
  if (schedule.isReboot()) {
    return std::nullopt;
  }
  const chrono::local_days last(chrono::year_month_day(chrono::local_days(
                                    chrono::floor<chrono::days>(after).time_since_epoch())) +
                                kSearchedYears);
  Instant from = after + chrono::seconds(1);
  while (true) {
    ++counted.periods;
    const Zone::Period period = zone.periodAt(from);
    const chrono::seconds change = period.offset - period.offsetBefore;
    const bool madeUpFor = !schedule.timeStarred() && chrono::abs(change) < kLeastCorrection;
    LocalMinute begin = localMinute(from, period.offset);
    if (madeUpFor && change.count() != 0) {
      const LocalMinute resumed = localMinute(period.begin, period.offsetBefore);
      if (change.count() > 0 && from == period.begin) {
        const auto skipped = firstMatch(schedule, resumed, last, counted);
        if (skipped && *skipped < localMinute(period.begin, period.offset)) {
          return period.begin;
        }
      }
      begin = std::max(begin, resumed);
    }
    const auto match = firstMatch(schedule, begin, last, counted);
    if (!match) {
      return std::nullopt;
    }
    const Instant due(match->time_since_epoch() - period.offset);
    if (due < period.end) {
      return due;
    }
    // The schedule is not due at any local time before the match, so clock changes well before the
    // match do not matter.
    from = std::max(period.end, due - kOffsetMargin);
  }
}

}  // namespace monitor
