// SPDX-License-Identifier: Apache-2.0
// The user of a test, who has a locale and a time zone. Dates and their texts, made by ICU alone.
#pragma once

#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#include <vexil/platform/Value.h>

#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

namespace vexil::platform {

// What tests do with dates: compare them, move on, print them.
inline bool operator==(Date a, Date b) {
  return a.seconds == b.seconds;
}
/// The instant so many seconds later.
inline Date operator+(Date date, double seconds) {
  return {date.seconds + seconds};
}
inline void PrintTo(Date date, std::ostream* out) {
  *out << std::fixed << date.seconds;
}

}  // namespace vexil::platform

namespace test {

/// Sets the user of the program. The destructor sets the previous user again.
class User {
 public:
  User(const char* locale, const char* zone) : _zoneBefore(icu::TimeZone::createDefault()) {
    UErrorCode error = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale(locale), error);
    setZone(zone);
  }
  User(const User&) = delete;
  User& operator=(const User&) = delete;
  ~User() {
    UErrorCode error = U_ZERO_ERROR;
    icu::Locale::setDefault(_localeBefore, error);
    icu::TimeZone::setDefault(*_zoneBefore);
  }

  /// The user travels to another time zone.
  static void setZone(const char* zone) {
    std::unique_ptr<icu::TimeZone> fresh(icu::TimeZone::createTimeZone(zone));
    if (*fresh == icu::TimeZone::getUnknown()) {
      throw std::invalid_argument(zone);
    }
    icu::TimeZone::adoptDefault(fresh.release());
  }

 private:
  const icu::Locale _localeBefore = icu::Locale::getDefault();
  const std::unique_ptr<icu::TimeZone> _zoneBefore;
};

inline UDate icuDate(vexil::platform::Date date) {
  return (date.seconds + 978'307'200) * 1000;
}

/// The first instant at which the user's clock shows this, in the Gregorian calendar. The year
/// before year 1 is 0.
inline vexil::platform::Date at(int year, int month, int day, int hour = 0, int minute = 0,
                                int second = 0) {
  UErrorCode error = U_ZERO_ERROR;
  icu::GregorianCalendar calendar(error);
  calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  calendar.clear();
  calendar.set(UCAL_EXTENDED_YEAR, year);
  calendar.set(UCAL_MONTH, month - 1);
  calendar.set(UCAL_DATE, day);
  calendar.set(UCAL_HOUR_OF_DAY, hour);
  calendar.set(UCAL_MINUTE, minute);
  calendar.set(UCAL_SECOND, second);
  return {calendar.getTime(error) / 1000 - 978'307'200};
}

/// The date as ICU writes it for the user, or for somebody else.
inline std::string icuText(vexil::platform::Date date, icu::DateFormat::EStyle day,
                           icu::DateFormat::EStyle time, const char* locale = nullptr,
                           const char* zone = nullptr) {
  const std::unique_ptr<icu::DateFormat> format(icu::DateFormat::createDateTimeInstance(
      day, time, locale == nullptr ? icu::Locale::getDefault() : icu::Locale(locale)));
  if (zone != nullptr) {
    format->adoptTimeZone(icu::TimeZone::createTimeZone(zone));
  }
  icu::UnicodeString text;
  std::string result;
  return format->format(icuDate(date), text).toUTF8String(result);
}

inline std::string shortTime(vexil::platform::Date date) {
  return icuText(date, icu::DateFormat::kNone, icu::DateFormat::kShort);
}

inline std::string shortDateAndTime(vexil::platform::Date date) {
  return icuText(date, icu::DateFormat::kShort, icu::DateFormat::kShort);
}

}  // namespace test
