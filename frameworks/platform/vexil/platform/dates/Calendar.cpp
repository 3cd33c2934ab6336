// SPDX-License-Identifier: Apache-2.0
#include <unicode/basictz.h>
#include <unicode/calendar.h>
#include <unicode/tztrans.h>
#include <vexil/platform/Calendar.h>
#include <vexil/platform/dates/CalendarInstant.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexil::platform {

struct Calendar::System {
  std::unique_ptr<const icu::Calendar> calendar;

  /// A copy to set a time on, because ICU keeps that time in the calendar itself.
  [[nodiscard]] std::unique_ptr<icu::Calendar> copy() const {
    return std::unique_ptr<icu::Calendar>(calendar->clone());
  }

  [[nodiscard]] std::optional<DayComponents> components(UDate instant) const {
    const auto splitting = copy();
    UErrorCode error = U_ZERO_ERROR;
    splitting->setTime(instant, error);
    DayComponents components;
    components.era = splitting->get(UCAL_ERA, error);
    components.year = splitting->get(UCAL_YEAR, error);
    components.month = splitting->get(UCAL_MONTH, error) + 1;
    components.leapMonth = splitting->get(UCAL_IS_LEAP_MONTH, error) != 0;
    components.day = splitting->get(UCAL_DATE, error);
    components.weekday = splitting->get(UCAL_DAY_OF_WEEK, error);
    return U_SUCCESS(error) ? std::optional(components) : std::nullopt;
  }

  /// The number of the day that an instant falls on. It is the same in all calendars, and grows by
  /// one each day.
  [[nodiscard]] int dayNumber(UDate instant, UErrorCode& error) const {
    const auto splitting = copy();
    splitting->setTime(instant, error);
    return splitting->get(UCAL_JULIAN_DAY, error);
  }

  /// The next instant at which the day can change: local midnight, or a change of the clocks.
  [[nodiscard]] UDate nextBoundary(UDate instant, UErrorCode& error) const {
    const icu::TimeZone& zone = calendar->getTimeZone();
    int32_t raw = 0;
    int32_t savings = 0;
    zone.getOffset(instant, 0, raw, savings, error);
    const double offset = static_cast<double>(raw) + savings;
    const double day = std::floor((instant + offset) / U_MILLIS_PER_DAY);
    const UDate midnight = (day + 1) * U_MILLIS_PER_DAY - offset;
    icu::TimeZoneTransition change;
    const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(&zone);
    return basic != nullptr && basic->getNextTransition(instant, 0, change)
               ? std::min(midnight, change.getTime())
               : midnight;
  }
};

Calendar::Calendar(std::shared_ptr<const System> system) : _system(std::move(system)) {}

Calendar Calendar::current() {
  UErrorCode error = U_ZERO_ERROR;
  std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(error));
  if (U_FAILURE(error)) {
    throw std::runtime_error(std::string("calendar: ") + u_errorName(error));
  }
  calendar->setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  calendar->setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
  return Calendar(std::make_shared<const System>(System{std::move(calendar)}));
}

std::optional<DayComponents> Calendar::components(Date date) const {
  const auto instant = detail::calendarInstant(date);
  return instant ? _system->components(*instant) : std::nullopt;
}

namespace {

/// Whether each number is small enough for ICU, whose 32-bit integers would wrap around.
bool isWithinReach(const DayComponents& components) {
  const auto isWithin = [](int number, int most) { return number >= -most && number <= most; };
  return isWithin(components.era, 20'000) && isWithin(components.year, 1'000'000) &&
         isWithin(components.month, 3'000'000) && isWithin(components.day, 100'000'000);
}

/// The date a calendar was set to; nothing when it is out of reach.
std::optional<Date> dateOf(const icu::Calendar& calendar) {
  UErrorCode error = U_ZERO_ERROR;
  const Date date = detail::dateOfCalendarInstant(calendar.getTime(error));
  return U_SUCCESS(error) && detail::calendarInstant(date) ? std::optional(date) : std::nullopt;
}

}  // namespace

std::optional<Date> Calendar::date(const DayComponents& components) const {
  if (!isWithinReach(components)) {
    return std::nullopt;
  }
  const auto calendar = _system->copy();
  calendar->clear();
  calendar->set(UCAL_ERA, components.era);
  calendar->set(UCAL_YEAR, components.year);
  calendar->set(UCAL_MONTH, components.month - 1);
  if (components.leapMonth) {
    calendar->set(UCAL_IS_LEAP_MONTH, 1);
  }
  calendar->set(UCAL_DATE, components.day);
  return dateOf(*calendar);
}

std::optional<Date> Calendar::startOfDay(Date date, int daysLater) const {
  const auto instant = detail::calendarInstant(date);
  constexpr int mostDays = 100'000'000;
  if (!instant || daysLater < -mostDays || daysLater > mostDays) {
    return std::nullopt;
  }
  UErrorCode error = U_ZERO_ERROR;
  const int day = _system->dayNumber(*instant, error) + daysLater;
  const auto calendar = _system->copy();
  calendar->clear();
  calendar->set(UCAL_JULIAN_DAY, day);
  return U_SUCCESS(error) ? dateOf(*calendar) : std::nullopt;
}

std::optional<Date> Calendar::endOfDay(Date date) const {
  const auto instant = detail::calendarInstant(date);
  if (!instant) {
    return std::nullopt;
  }
  UErrorCode error = U_ZERO_ERROR;
  const int day = _system->dayNumber(*instant, error);
  UDate next = *instant;
  // A boundary does not always end the day: clocks are changed at noon, too, and a midnight can
  // come twice.
  do {
    next = _system->nextBoundary(next, error);
  } while (U_SUCCESS(error) && _system->dayNumber(next, error) == day);
  return U_SUCCESS(error) ? std::optional(detail::dateOfCalendarInstant(next)) : std::nullopt;
}

}  // namespace vexil::platform
