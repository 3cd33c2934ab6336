// SPDX-License-Identifier: Apache-2.0
#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>
#include <vexil/platform/DateFormatter.h>
#include <vexil/platform/Error.h>
#include <vexil/platform/dates/CalendarInstant.h>

#include <map>
#include <stdexcept>
#include <utility>

namespace vexil::platform {

namespace {

using icu::DateFormat;

DateFormat::EStyle styleOf(FormatStyle style) {
  switch (style) {
    case FormatStyle::shortStyle:
      return DateFormat::kShort;
    case FormatStyle::mediumStyle:
      return DateFormat::kMedium;
    case FormatStyle::longStyle:
      return DateFormat::kLong;
    case FormatStyle::fullStyle:
      return DateFormat::kFull;
    case FormatStyle::none:
      break;
  }
  return DateFormat::kNone;
}

std::unique_ptr<icu::TimeZone> zoneNamed(const std::string& name) {
  return std::unique_ptr<icu::TimeZone>(
      name.empty() ? icu::TimeZone::createDefault()
                   : icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name)));
}

/// The locale of a name, or the user's when the name is empty. A bogus locale, which ICU made of a
/// name it could not read, must not be given to ICU again: ICU crashes.
icu::Locale localeNamed(const std::string& name) {
  // ICU takes a name to end at its first NUL, so it would read another name.
  if (name.find('\0') != std::string::npos) {
    return icu::Locale::getRoot();
  }
  const icu::Locale locale = name.empty() ? icu::Locale::getDefault() : icu::Locale(name.c_str());
  return locale.isBogus() ? icu::Locale::getRoot() : locale;
}

std::unique_ptr<DateFormat> formatOf(FormatStyle date, FormatStyle time,
                                     const icu::Locale& locale) {
  return std::unique_ptr<DateFormat>(
      DateFormat::createDateTimeInstance(styleOf(date), styleOf(time), locale));
}

}  // namespace

/// Keeps formats, because making one takes fifty times as long as using it, and a list of dates
/// alternates between two.
struct DateFormatter::Formats {
  std::string locale;
  std::map<std::pair<FormatStyle, FormatStyle>, std::unique_ptr<DateFormat>> byStyles;

  [[nodiscard]] DateFormat& forSettings(const Settings& settings) {
    const icu::Locale wanted = localeNamed(settings.locale);
    if (locale != wanted.getName()) {
      byStyles.clear();
      locale = wanted.getName();
    }
    auto& format = byStyles[{settings.dateStyle, settings.timeStyle}];
    if (!format) {
      format = formatOf(settings.dateStyle, settings.timeStyle, wanted);
    }
    // ICU has locales without formats, such as "de@numbers=traditio".
    if (!format) {
      format = formatOf(settings.dateStyle, settings.timeStyle, icu::Locale::getRoot());
    }
    if (!format) {
      throw std::runtime_error("there are no date formats");
    }
    auto zone = zoneNamed(settings.timeZone);
    if (format->getTimeZone() != *zone) {
      format->adoptTimeZone(zone.release());
    }
    return *format;
  }
};

DateFormatter::DateFormatter() : _formats(std::make_unique<Formats>()) {}

DateFormatter::~DateFormatter() = default;

DateFormatter::Settings DateFormatter::settings() const {
  const std::lock_guard lock(_mutex);
  return _settings;
}

template <class T>
void DateFormatter::set(T Settings::*setting, T value) {
  const std::lock_guard lock(_mutex);
  _settings.*setting = std::move(value);
}

void DateFormatter::setDateStyle(FormatStyle style) {
  set(&Settings::dateStyle, style);
}

void DateFormatter::setTimeStyle(FormatStyle style) {
  set(&Settings::timeStyle, style);
}

void DateFormatter::setFormatterBehavior(FormatterBehavior behavior) {
  set(&Settings::behavior, behavior);
}

void DateFormatter::setLocaleIdentifier(std::string identifier) {
  set(&Settings::locale, std::move(identifier));
}

void DateFormatter::setTimeZoneName(std::string name) {
  // ICU returns this zone for any name that it does not know.
  icu::UnicodeString known;
  if (!name.empty() &&
      zoneNamed(name)->getID(known) == UNICODE_STRING_SIMPLE(UCAL_UNKNOWN_ZONE_ID)) {
    throw InvalidArgument("no time zone: " + name);
  }
  set(&Settings::timeZone, std::move(name));
}

std::optional<std::string> DateFormatter::stringFromDate(Date date) const {
  const auto instant = detail::calendarInstant(date);
  if (!instant) {
    return std::nullopt;
  }
  const std::lock_guard lock(_mutex);
  std::string text;
  if (_settings.dateStyle != FormatStyle::none || _settings.timeStyle != FormatStyle::none) {
    icu::UnicodeString formatted;
    _formats->forSettings(_settings).format(*instant, formatted).toUTF8String(text);
  }
  return text;
}

}  // namespace vexil::platform
