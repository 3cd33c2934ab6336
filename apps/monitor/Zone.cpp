// SPDX-License-Identifier: Apache-2.0
#include "monitor/Zone.h"

#include <unicode/basictz.h>
#include <unicode/simpletz.h>
#include <unicode/timezone.h>
#include <unicode/tzrule.h>
#include <unicode/tztrans.h>
#include <unicode/unistr.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>
#include <utility>

namespace monitor {

namespace {

using std::chrono::seconds;

UDate dateOf(Instant instant) {
  return static_cast<UDate>(instant.time_since_epoch().count()) * U_MILLIS_PER_SECOND;
}

Instant instantOf(UDate date) {
  return Instant(seconds(static_cast<std::int64_t>(date / U_MILLIS_PER_SECOND)));
}

/// A zone of the database. Null when there is none with that name.
std::unique_ptr<icu::BasicTimeZone> zoneNamed(const std::string& name) {
  std::unique_ptr<icu::BasicTimeZone> zone(dynamic_cast<icu::BasicTimeZone*>(
      icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(name))));
  return zone && *zone != icu::TimeZone::getUnknown() ? std::move(zone) : nullptr;
}

seconds offsetOf(const icu::TimeZoneRule& rule) {
  return seconds((rule.getRawOffset() + rule.getDSTSavings()) / U_MILLIS_PER_SECOND);
}

}  // namespace

struct Zone::Rules {
  std::unique_ptr<icu::BasicTimeZone> zone;
};

Zone::Zone(std::shared_ptr<const Rules> rules) : _rules(std::move(rules)) {}

Zone Zone::ofMachine() {
  const char* const variable = std::getenv("TZ");
  std::string_view name = variable == nullptr ? std::string_view() : variable;
  name.remove_prefix(name.starts_with(':') ? 1 : 0);
  if (!name.empty() && !name.starts_with('/') && !zoneNamed(std::string(name))) {
    // ICU ignores a rule in place of a name ("IST-5:30"). The C library understands it; its present
    // offset is right until the clocks change.
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    return Zone(std::make_shared<const Rules>(std::make_unique<icu::SimpleTimeZone>(
        static_cast<std::int32_t>(local.tm_gmtoff) * U_MILLIS_PER_SECOND,
        icu::UnicodeString::fromUTF8(local.tm_zone))));
  }
  // All of ICU's own zones are a `BasicTimeZone`.
  return Zone(std::make_shared<const Rules>(std::unique_ptr<icu::BasicTimeZone>(
      dynamic_cast<icu::BasicTimeZone*>(icu::TimeZone::createDefault()))));
}

Zone Zone::named(const std::string& name) {
  auto zone = zoneNamed(name);
  if (!zone) {
    throw UnknownZone("there is no time zone " + name);
  }
  return Zone(std::make_shared<const Rules>(std::move(zone)));
}

Zone::Period Zone::periodAt(Instant instant) const {
  const icu::BasicTimeZone& zone = *_rules->zone;
  std::int32_t raw = 0;
  std::int32_t savings = 0;
  UErrorCode error = U_ZERO_ERROR;
  zone.getOffset(dateOf(instant), 0, raw, savings, error);
  const seconds offset((raw + savings) / U_MILLIS_PER_SECOND);
  Period period{Instant::min(), Instant::max(), offset, offset};
  icu::TimeZoneTransition change;
  if (zone.getPreviousTransition(dateOf(instant), 1, change)) {
    period.begin = instantOf(change.getTime());
    period.offsetBefore = offsetOf(*change.getFrom());
  }
  if (zone.getNextTransition(dateOf(instant), 0, change)) {
    period.end = instantOf(change.getTime());
  }
  return period;
}

LocalTime Zone::localTime(Instant instant) const {
  return LocalTime(instant.time_since_epoch() + periodAt(instant).offset);
}

std::string Zone::text(Instant instant, bool withSeconds) const {
  using namespace std::chrono;
  const LocalTime local = localTime(instant);
  const auto day = floor<days>(local);
  const year_month_day date(day);
  const hh_mm_ss time(local - day);
  std::array<char, 40> text;
  const int length = std::snprintf(
      text.data(), text.size(), "%04d-%02u-%02u %02d:%02d:%02d", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()));
  constexpr int secondsLength = 3;
  return {text.data(), static_cast<std::size_t>(withSeconds ? length : length - secondsLength)};
}

void Zone::makeDefault() const {
  icu::TimeZone::setDefault(*_rules->zone);
}

std::string Zone::name() const {
  icu::UnicodeString identifier;
  std::string name;
  _rules->zone->getID(identifier).toUTF8String(name);
  return name;
}

}  // namespace monitor
