// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Value.h>

#include <string>
#include <vector>

#include "monitor/Terminal.h"

namespace monitor {

/// What a person would say happened between two lists of event records: one line a job that
/// appeared, vanished, or is another now, told apart by identifier. First what vanished, in the
/// order of `before`, then the rest in the order of `after`; nothing when only the order differs.
///
///     + Nightly backup (cron.d/backup): appeared, 30 1 * * mon
///     - Old report (Crontab of anna): vanished
///     ~ Report (Crontab of anna): renamed from Weekly report to Report, now disabled
///     ~ Scan (cron.d/disk-health): schedule changed from @daily to @weekly
[[nodiscard]] std::vector<std::string> changes(const platform::Value& before,
                                               const platform::Value& after, const Style& style);

}  // namespace monitor
