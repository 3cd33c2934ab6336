// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "monitor/Crontab.h"

namespace monitor {

/// A table of the system and one of a user, for parsing texts as them.
inline const TableInfo kSystemInfo = {"etc/cron.d/x", "cron.d/x", "etc/cron.d/x", {}};
inline const TableInfo kUserInfo = {"crontabs/alice", "Crontab of alice",
                                    "var/spool/cron/crontabs/alice", "alice"};

inline std::vector<std::string> textsOf(const std::vector<Warning>& warnings) {
  std::vector<std::string> texts;
  for (const Warning& each : warnings) {
    texts.push_back(each.text());
  }
  return texts;
}

/// Jobs as comparable lines: "3 + [name] schedule | user | command", "-" where switched off.
inline std::vector<std::string> linesOf(const std::vector<Job>& jobs) {
  std::vector<std::string> lines;
  for (const Job& job : jobs) {
    lines.push_back(std::to_string(job.line) + (job.enabled ? " + [" : " - [") + job.name + "] " +
                    job.scheduleText + " | " + job.user + " | " + job.command);
  }
  return lines;
}

inline std::vector<std::string> identifiersOf(const std::vector<Job>& jobs) {
  std::vector<std::string> identifiers;
  for (const Job& job : jobs) {
    identifiers.push_back(job.identifier);
  }
  return identifiers;
}

using Lines = std::vector<std::string>;

}  // namespace monitor
