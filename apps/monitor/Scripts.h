// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Crontab.h"

namespace monitor {

/// The directories whose scripts the system's table runs, below the root.
inline constexpr std::array<std::string_view, 4> kScriptPlaces = {
    "etc/cron.hourly", "etc/cron.daily", "etc/cron.weekly", "etc/cron.monthly"};

/// A script that is run with its directory, and that anybody may run at any time.
struct Script {
  std::string place;    ///< "etc/cron.daily"
  std::string name;     ///< "logrotate"
  std::string command;  ///< "/etc/cron.daily/logrotate"

  /// "etc/cron.daily/logrotate"; no other script has it, and no job, whose identifier has "|".
  [[nodiscard]] std::string identifier() const { return place + "/" + name; }

  bool operator==(const Script&) const = default;
};

struct Scripts {
  std::vector<Script> scripts;    ///< by place, from hourly to monthly, then by name
  std::vector<Warning> warnings;  ///< of directories that could not be read
};

/// The scripts below `root`: the regular files that somebody may execute and whose names run-parts
/// takes (letters, digits, `_` and `-`). Links are followed. Nothing need be there.
[[nodiscard]] Scripts readScripts(const std::filesystem::path& root);

}  // namespace monitor
