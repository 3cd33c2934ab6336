// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <string>
#include <vector>

#include "monitor/Runs.h"
#include "monitor/Tables.h"
#include "monitor/Zone.h"

namespace monitor {

/// Queued trigger records: for each enabled job the next time it is due after `now`, earliest
/// first, jobs that are due at the same time in the order of the tables. A job that is never due
/// has none. `events` are the event records of the same tables.
///
/// A trigger is identified by its job and its time, so one that fires goes and the job's next one
/// comes, and all others stay the same.
[[nodiscard]] vexil::platform::Value pendingRecords(const Tables& tables,
                                                    const vexil::platform::Value& events,
                                                    Instant now, const Zone& zone);

/// The active event record of a process that runs an event, identified by both. The activity is a
/// text, "PID 812, since 14:05", with the day in front of the time where it is not today's.
[[nodiscard]] vexil::platform::Value activeRecord(const vexil::platform::Value& event,
                                                  const Process& process, Instant now,
                                                  const Zone& zone);

/// The same of runs, in their order. `events` are the event records of the tables that the runs'
/// jobs are in.
[[nodiscard]] vexil::platform::Value activeRecords(const std::vector<JobRun>& runs,
                                                   const vexil::platform::Value& events,
                                                   Instant now, const Zone& zone);

/// The same instant as a value of records, and back.
[[nodiscard]] vexil::platform::Date dateOf(Instant instant);
[[nodiscard]] Instant instantOf(vexil::platform::Date date);

}  // namespace monitor
