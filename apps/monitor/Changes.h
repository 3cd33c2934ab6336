// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/KRAVTWVItemsVexil.h>
#include <vexil/platform/Value.h>

#include <string>
#include <vector>

#include "monitor/Collections.h"
#include "monitor/Terminal.h"

namespace monitor {

/// Says in words what differs between two lists of event records, one line for each job that
/// appeared, vanished or changed. The identifier decides which records are one job. Jobs that
/// vanished come first, in the order of `before`, then the others in the order of `after`. No lines
/// when only the order differs.
///
///     + Nightly backup (cron.d/backup): appeared, 30 1 * * mon
///     - Old report (Crontab of anna): vanished
///     ~ Report (Crontab of anna): renamed from Weekly report to Report, now disabled
///     ~ Scan (cron.d/disk-health): schedule changed from @daily to @weekly
[[nodiscard]] std::vector<std::string> changes(const vexil::platform::Value& before,
                                               const vexil::platform::Value& after,
                                               const Style& style);

/// The same for two lists of active event records: first what ended, then what started.
///
///     ■ Nightly backup (cron.d/backup): ended
///     ▶ Report (Crontab of anna): started, PID 812, since 14:05
[[nodiscard]] std::vector<std::string> runChanges(const vexil::platform::Value& before,
                                                  const vexil::platform::Value& after,
                                                  const Style& style);

/// The same for network services: first those that are gone, then those that were found.
///
///     - Office (_ipp._tcp., local.): gone
///     + Lobby (_ipp._tcp., local.): found
[[nodiscard]] std::vector<std::string> serviceChanges(const KRAVTWVNetServiceArray& before,
                                                      const KRAVTWVNetServiceArray& after,
                                                      const Style& style);

/// All three, in this order.
[[nodiscard]] std::vector<std::string> changes(const Snapshot& before, const Snapshot& after,
                                               const Style& style);

}  // namespace monitor
