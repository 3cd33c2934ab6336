// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <platform/Value.h>

#include <string_view>

#include "monitor/Tables.h"

namespace monitor {

/// The monitor's own keys of an event record, beside those of the host library.
extern const std::string_view kMonitorSchedule;   ///< string: the schedule as written
extern const std::string_view kMonitorCommand;    ///< string
extern const std::string_view kMonitorUser;       ///< string
extern const std::string_view kMonitorTableName;  ///< string: the table's name for people

/// Event records of all jobs, in the order of the tables: identifier, name, enabled, the domain,
/// which is the table's identifier, and the keys above. Equal jobs give equal records.
[[nodiscard]] platform::Value eventRecords(const Tables& tables);

}  // namespace monitor
