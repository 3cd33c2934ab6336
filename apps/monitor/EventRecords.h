// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <string>
#include <string_view>

#include "monitor/Scripts.h"
#include "monitor/Tables.h"

namespace monitor {

/// The monitor's own keys of an event record, in addition to those of the host engine library.
extern const std::string_view kMonitorSchedule;   ///< string: the schedule as written
extern const std::string_view kMonitorCommand;    ///< string
extern const std::string_view kMonitorUser;       ///< string
extern const std::string_view kMonitorTableName;  ///< string: the table's name for people

/// Domain records of all tables, in their order: the table's identifier and its name. The library
/// translates names that its strings tables have as a key ("System crontab"), so these are not
/// translated here. The name of a user's table is in the language of whoever runs the monitor.
[[nodiscard]] vexil::platform::Value domainRecords(const Tables& tables);

/// Event records of all jobs, in the order of the tables: identifier, name, enabled, the domain
/// (the table's identifier), and the keys above. Equal jobs give equal records.
[[nodiscard]] vexil::platform::Value eventRecords(const Tables& tables);

/// Event records of scripts that may be run on demand, in their order. They are always enabled, and
/// have no schedule and no user. Their domain and table are the directory that they are in.
[[nodiscard]] vexil::platform::Value eventRecords(const Scripts& scripts);

/// The library's text for a key in the user's language, or the key when there is none. `argument`
/// replaces "%@" in it.
[[nodiscard]] std::string localized(std::string_view key, std::string_view argument = {});

/// A record's text for a key. Empty when there is none.
[[nodiscard]] std::string textOf(const vexil::platform::Value& record, std::string_view key);

}  // namespace monitor
