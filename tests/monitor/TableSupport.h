// SPDX-License-Identifier: Apache-2.0
// Tables, jobs and schedules written as text.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "monitor/Crontab.h"
#include "monitor/Schedule.h"
#include "monitor/Tables.h"
#include "tests/support/Lines.h"

namespace monitor {

using test::Lines;

/// A table of the system and one of a user, for parsing texts as them.
inline const TableInfo kSystemInfo = {"etc/cron.d/x", "cron.d/x", "etc/cron.d/x", {}};
inline const TableInfo kUserInfo = {"crontabs/alice", "Crontab of alice",
                                    "var/spool/cron/crontabs/alice", "alice"};

/// Tables with one table of the system, which holds this text.
inline Tables tablesOf(std::string_view text) {
  Tables tables;
  tables.tables.push_back({kSystemInfo, parseTable(kSystemInfo, text).jobs});
  return tables;
}

/// The schedule that a text stands for. If it stands for none, the test fails and the schedule is
/// empty.
inline Schedule scheduleOf(std::string_view text) {
  const auto parsed = parseSchedule(text);
  if (const auto* problem = std::get_if<Problem>(&parsed)) {
    ADD_FAILURE() << text << ": " << problem->reason;
    return {};
  }
  return std::get<Schedule>(parsed);
}

inline Lines textsOf(const std::vector<Warning>& warnings) {
  Lines texts;
  for (const Warning& each : warnings) {
    texts.push_back(each.text());
  }
  return texts;
}

/// Jobs as comparable lines: "3 + [name] schedule | user | command", "-" where switched off.
inline Lines linesOf(const std::vector<Job>& jobs) {
  Lines lines;
  for (const Job& job : jobs) {
    lines.push_back(std::to_string(job.line) + (job.enabled ? " + [" : " - [") + job.name + "] " +
                    job.scheduleText + " | " + job.user + " | " + job.command);
  }
  return lines;
}

inline Lines identifiersOf(const std::vector<Job>& jobs) {
  Lines identifiers;
  for (const Job& job : jobs) {
    identifiers.push_back(job.identifier);
  }
  return identifiers;
}

}  // namespace monitor
