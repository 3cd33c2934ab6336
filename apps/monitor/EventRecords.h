// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vexil/platform/Value.h>

#include <string>
#include <string_view>

#include "monitor/Scripts.h"
#include "monitor/Tables.h"

namespace monitor {

/// The monitor's own keys of an event record, beside those of the host library.
extern const std::string_view kMonitorSchedule;   ///< string: the schedule as written
extern const std::string_view kMonitorCommand;    ///< string
extern const std::string_view kMonitorUser;       ///< string
extern const std::string_view kMonitorTableName;  ///< string: the table's name for people

/// Domain records of all tables, in their order: the table's identifier, and its name. A name that
/// the library's strings tables have as a key ("System crontab") is left to the library to
/// translate; the name of a user's table comes in the user's language.
[[nodiscard]] vexil::platform::Value domainRecords(const Tables& tables);

/// Event records of all jobs, in the order of the tables: identifier, name, enabled, the domain,
/// which is the table's identifier, and the keys above. Equal jobs give equal records.
[[nodiscard]] vexil::platform::Value eventRecords(const Tables& tables);

/// Event records of scripts that may be run on demand, in their order: always enabled, their domain
/// and table being the directory they are in, without schedule and user.
[[nodiscard]] vexil::platform::Value eventRecords(const Scripts& scripts);

/// What the library's strings tables have under a key in the user's language, else the key; with
/// `argument` in place of "%@".
[[nodiscard]] std::string localized(std::string_view key, std::string_view argument = {});

/// A record's text under a key, empty when there is none.
[[nodiscard]] std::string textOf(const vexil::platform::Value& record, std::string_view key);

}  // namespace monitor
