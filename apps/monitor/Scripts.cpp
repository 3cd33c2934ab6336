// SPDX-License-Identifier: Apache-2.0
#include "monitor/Scripts.h"

#include <sys/stat.h>

#include <variant>

#include "monitor/Files.h"
#include "monitor/Tables.h"

namespace monitor {

namespace {

/// Judged by the mode and not by our own permissions, because cron runs scripts as root.
bool isExecutable(const std::filesystem::path& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         (status.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0;
}

}  // namespace

Scripts readScripts(const std::filesystem::path& root) {
  Scripts result;
  for (const std::string_view each : kScriptPlaces) {
    const std::string place(each);
    // A table's name and a script's follow the same rule.
    const auto names = namesIn(root / place, isSystemTableName);
    if (const auto* const problem = std::get_if<Problem>(&names)) {
      result.warnings.push_back({place, 0, problem->reason});
      continue;
    }
    for (const std::string& name : std::get<std::vector<std::string>>(names)) {
      if (isExecutable(root / place / name)) {
        std::string command = "/" + place;
        command += "/" + name;
        result.scripts.push_back({place, name, std::move(command)});
      }
    }
  }
  return result;
}

}  // namespace monitor
