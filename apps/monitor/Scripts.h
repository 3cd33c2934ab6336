// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Crontab.h"

namespace monitor {

/// The directories, below the root, whose scripts the system's table runs.
inline constexpr std::array<std::string_view, 4> kScriptPlaces = {
    "etc/cron.hourly", "etc/cron.daily", "etc/cron.weekly", "etc/cron.monthly"};

/// A script that cron runs together with the others of its directory, and that can be run on
/// demand.
struct Script {
  std::string place;    ///< "etc/cron.daily"
  std::string name;     ///< "logrotate"
  std::string command;  ///< "/etc/cron.daily/logrotate"

  /// "etc/cron.daily/logrotate". No other script has it. No job has it either, because a job's
  /// identifier has "|".
  [[nodiscard]] std::string identifier() const { return place + "/" + name; }

  bool operator==(const Script&) const = default;
};

struct Scripts {
  std::vector<Script> scripts;    ///< by place, from hourly to monthly, then by name
  std::vector<Warning> warnings;  ///< of directories that could not be read
};

/// The scripts below `root`: the regular files that somebody may execute and whose names run-parts
/// accepts (letters, digits, `_` and `-`). Links are followed. Any of the directories may be
/// missing.
[[nodiscard]] Scripts readScripts(const std::filesystem::path& root);

}  // namespace monitor
