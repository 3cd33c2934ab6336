// SPDX-License-Identifier: Apache-2.0
// A text is right until the instant that the transformer tells, and not longer, for every user.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Clock.h>
#include "tests/support/DateTesting.h"

#include <unicode/basictz.h>
#include <unicode/tztrans.h>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "tests/support/Property.h"

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::ScopedClock;
using platform::Value;
using test::User;

constexpr double kDay = 86'400;

const char* anyLocale() {
  return *rc::gen::elementOf(std::vector<const char*>{
      "en_US", "de_DE", "th_TH", "fa_IR", "ja_JP@calendar=japanese", "zh_CN@calendar=chinese",
      "he_IL@calendar=hebrew", "ar_SA@calendar=islamic-umalqura", "am_ET@calendar=ethiopic"});
}

/// Zones that have changed their clocks at midnight, over midnight, over a day, by half an hour,
/// and zones that never did.
const char* anyZone() {
  return *rc::gen::elementOf(std::vector<const char*>{
      "UTC", "America/Sao_Paulo", "Pacific/Apia", "Pacific/Kwajalein", "America/Havana",
      "America/St_Johns", "Europe/Berlin", "Asia/Beirut", "Asia/Kathmandu", "Australia/Lord_Howe",
      "America/Scoresbysund", "Pacific/Kiritimati", "America/Juneau", "Asia/Manila"});
}

/// An instant from about 1840 to 2100, most of them near one at which the user's clocks are
/// changed.
Date anyDate() {
  const Date any{
      static_cast<double>(*rc::gen::inRange<std::int64_t>(-5'080'000'000, 3'124'224'000))};
  const std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createDefault());
  const auto* basic = dynamic_cast<const icu::BasicTimeZone*>(zone.get());
  icu::TimeZoneTransition change;
  if (basic != nullptr && *rc::gen::inRange(0, 4) != 0 &&
      basic->getPreviousTransition(test::icuDate(any), 1, change)) {
    const Date changed{change.getTime() / 1000 - 978'307'200};
    return changed + *rc::gen::inRange(-3 * 86'400, 3 * 86'400);
  }
  return any;
}

/// Days before or after, mostly few.
double anyDistance() {
  return *rc::gen::oneOf(rc::gen::inRange(-4 * 86'400, 4 * 86'400),
                         rc::gen::inRange(-400 * 86'400, 400 * 86'400));
}

Value textAt(const KRAVTWVRelativeDateTransformer& dates, Date now, Date date) {
  const ScopedClock clock(now);
  return dates.transformedValue(date);
}

PROPERTY(AnyRelativeDate, HasOneTextUntilTheInstantThatIsToldAndThenAnother, ()) {
  const User user(anyLocale(), anyZone());
  const KRAVTWVRelativeDateTransformer dates;
  const Date now = anyDate();
  const Date date = now + anyDistance();
  const Value text = textAt(dates, now, date);
  const auto until = [&] {
    const ScopedClock clock(now);
    return dates.validUntil(date);
  }();
  const double end = until ? until->seconds : std::max(now.seconds, date.seconds) + 10 * kDay;
  RC_ASSERT(end > now.seconds);
  if (until) {
    RC_ASSERT(textAt(dates, *until, date) != text);
    RC_ASSERT(textAt(dates, *until + -0.001, date) == text);
  }
  for (int step = 0; step < 50; ++step) {
    RC_ASSERT(textAt(dates, now + (end - now.seconds) * step / 50, date) == text);
  }
  // Something can happen only near the date's own day.
  for (double before = -2 * kDay; before < 2 * kDay; before += kDay / 12) {
    const Date between = date + before;
    if (between.seconds >= now.seconds && between.seconds < end) {
      RC_ASSERT(textAt(dates, between, date) == text);
    }
  }
}

PROPERTY(AnyRelativeDate, IsTodayExactlyWhenTheClockShowsTheSameDay, ()) {
  const char* const zone = anyZone();
  const User user("en_US", zone);
  const KRAVTWVRelativeDateTransformer dates;
  const Date now = anyDate();
  const Date date = now + anyDistance();
  const auto dayOf = [&](Date instant) {
    return test::icuText(instant, icu::DateFormat::kFull, icu::DateFormat::kNone);
  };
  const ScopedClock clock(now);
  RC_ASSERT((dates.relativeDaysAway(date) == 0) == (dayOf(date) == dayOf(now)));
}

PROPERTY(AnyRelativeDate, HasOneOfThreeAnswersAndThreeTexts, (double seconds)) {
  const KRAVTWVRelativeDateTransformer dates;
  const Date date{seconds};
  const ScopedClock clock(Date{0});
  const std::int32_t away = dates.relativeDaysAway(date);
  RC_ASSERT(away == 0 || away == 1 || away == 2'147'483'647);
  RC_ASSERT(dates.transformedValue(date).isString());
}

}  // namespace
