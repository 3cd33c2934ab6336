// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unicode/utypes.h>
#include <vexil/platform/Value.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vexil::platform::detail {

/// A date as ICU counts it, in milliseconds since 1970. Returns nothing for dates more than 100,000
/// years away: there some calendars of ICU no longer find a day again from its numbers.
inline std::optional<UDate> calendarInstant(Date date) {
  constexpr double farthest = 3.2e12;
  constexpr double secondsTo2001 = 978'307'200;
  // Written so that NaN fails the test too.
  if (!(std::abs(date.seconds) <= farthest)) {
    return std::nullopt;
  }
  // The fraction is rounded separately, so that the sum is never rounded up into the next day.
  const double whole = std::floor(date.seconds);
  const double milliseconds = std::min(std::floor((date.seconds - whole) * 1000), 999.0);
  return (whole + secondsTo2001) * 1000 + milliseconds;
}

inline Date dateOfCalendarInstant(UDate instant) {
  return {instant / 1000 - 978'307'200};
}

}  // namespace vexil::platform::detail
