// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <string>
#include <vector>

#include "monitor/Runs.h"
#include "monitor/Tables.h"
#include "monitor/Zone.h"

namespace monitor {

/// Queued trigger records: one for each enabled job, with the next time it is due after `now`. The
/// earliest comes first; jobs that are due at the same time are in the order of the tables. A job
/// that is never due has no trigger. `events` are the event records of the same tables.
///
/// The job and the time identify a trigger. So when one fires, its record is gone and the job's
/// next trigger is a new record, and all others stay the same.
[[nodiscard]] vexil::platform::Value pendingRecords(const Tables& tables,
                                                    const vexil::platform::Value& events,
                                                    Instant now, const Zone& zone);

/// The active event record of a process that runs an event. Both identify it. The activity is a
/// text, "PID 812, since 14:05"; the day stands before the time when it is not today.
[[nodiscard]] vexil::platform::Value activeRecord(const vexil::platform::Value& event,
                                                  const Process& process, Instant now,
                                                  const Zone& zone);

/// The same for runs, in their order. `events` are the event records of the tables that hold the
/// runs' jobs.
[[nodiscard]] vexil::platform::Value activeRecords(const std::vector<JobRun>& runs,
                                                   const vexil::platform::Value& events,
                                                   Instant now, const Zone& zone);

/// An instant as a date that records hold, and back.
[[nodiscard]] vexil::platform::Date dateOf(Instant instant);
[[nodiscard]] Instant instantOf(vexil::platform::Date date);

}  // namespace monitor
