// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "monitor/Schedule.h"
#include "monitor/Zone.h"

namespace monitor {

/// What a search cost.
struct SearchCost {
  int days = 0;     ///< days examined; a month that the schedule leaves out counts as one
  int periods = 0;  ///< periods between clock changes examined
};

/// The first minute after an instant at which a schedule is due by the clocks of a zone.
///
/// When clocks change by less than three hours, the rules are those that cron(8) documents for
/// Debian. They depend on how the time is written:
///
/// - A job with `*` in front of its minute or hour (`timeStarred`) follows the clock: it misses the
///   times that the clock skips, and runs twice at the times that the clock repeats.
/// - Any other job with times that the clock skips is due once at the moment of the change, no
///   matter how many of its times are skipped. At times that the clock repeats it is due only the
///   first time.
///
/// When clocks change by three hours or more, all jobs follow the clock.
///
/// Returns nothing for `@reboot`. Returns nothing when the schedule is not due within the next 40
/// years: 29 February takes that long to fall on a certain weekday when 2100 is in between. So it
/// returns nothing for a schedule that is never due ("0 0 30 2 *").
///
/// Cost: it examines the days in months that the schedule names until one matches, and at most two
/// clock changes. It adds that to `cost` when that is given.
[[nodiscard]] std::optional<Instant> nextDue(const Schedule& schedule, Instant after,
                                             const Zone& zone, SearchCost* cost = nullptr);

}  // namespace monitor
