// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "monitor/Schedule.h"
#include "monitor/Zone.h"

namespace monitor {

/// What a search took.
struct SearchCost {
  int days = 0;     ///< looks at a day, or at a month without one
  int periods = 0;  ///< looks at a period between changes of the clock
};

/// The first minute after an instant at which a schedule is due by the clocks of a zone.
///
/// Where clocks are changed by less than three hours, the rules are those that cron(8) documents
/// for Debian, and they differ by how the time is written:
///
/// - A job with `*` in front of its minute or hour (`timeStarred`) goes by the clock as it stands:
///   it misses what is skipped and runs in both passes of what is repeated.
/// - Any other job that would be due in a skipped stretch is due at the moment of the change, once
///   however many of its minutes are skipped; in a repeated stretch it is due the first time only.
///
/// After a greater change all jobs go by the clock as it stands.
///
/// Nothing for `@reboot`, and nothing for a schedule that is not due for the next 40 years: that is
/// how long 29 February takes to fall on a certain weekday across a year 2100. So nothing is a
/// schedule that never comes ("0 0 30 2 *").
///
/// Cost: a look at each day in question until one matches, and at most two changes of the clock. It
/// is added to `cost` where that is given.
[[nodiscard]] std::optional<Instant> nextDue(const Schedule& schedule, Instant after,
                                             const Zone& zone, SearchCost* cost = nullptr);

}  // namespace monitor
