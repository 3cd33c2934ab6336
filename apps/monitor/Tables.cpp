// SPDX-License-Identifier: Apache-2.0
#include "monitor/Tables.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <system_error>
#include <utility>
#include <variant>

#include "monitor/Files.h"
#include "monitor/Text.h"

namespace monitor {

namespace {

namespace fs = std::filesystem;

class TablesReader {
 public:
  explicit TablesReader(const fs::path& root) : _root(root) {}

  Tables read() {
    std::error_code ignored;
    if (!fs::is_directory(_root, ignored)) {
      throw TablesNotFound(_root.string() + " is not a directory");
    }
    const std::array places = {kSystemTable, kSystemTables, kUserTables};
    if (std::all_of(places.begin(), places.end(),
                    [&](std::string_view place) { return isGone(_root / place); })) {
      throw TablesNotFound(_root.string() + " has no cron tables: neither etc/crontab nor " +
                           "etc/cron.d nor var/spool/cron/crontabs is there");
    }

    if (!isGone(_root / kSystemTable)) {
      readTable({std::string(kSystemTable), "System crontab", std::string(kSystemTable), {}});
    }
    for (const std::string& name : tablesIn(kSystemTables, isSystemTableName)) {
      const std::string path = std::string(kSystemTables) + "/" + name;
      readTable({path, "cron.d/" + name, path, {}});
    }
    for (const std::string& name : tablesIn(kUserTables, isUserTableName)) {
      const std::string path = std::string(kUserTables) + "/" + name;
      readTable({"crontabs/" + name, "Crontab of " + name, path, name});
    }
    return std::move(_result);
  }

 private:
  std::vector<std::string> tablesIn(std::string_view place, bool (*isTable)(std::string_view)) {
    auto names = namesIn(_root / place, isTable);
    if (const auto* const problem = std::get_if<Problem>(&names)) {
      warn(place, problem->reason);
      return {};
    }
    return std::get<std::vector<std::string>>(std::move(names));
  }

  void readTable(TableInfo info) {
    const fs::path path = _root / info.path;
    const auto contents = contentsOf(path, kLargestTable);
    if (const auto* const problem = std::get_if<Problem>(&contents)) {
      if (!isGone(path)) {
        warn(info.path, problem->reason);
      }
      return;
    }
    ParsedTable parsed = parseTable(info, std::get<std::string>(contents));
    std::move(parsed.warnings.begin(), parsed.warnings.end(), std::back_inserter(_result.warnings));
    _result.tables.push_back({std::move(info), std::move(parsed.jobs)});
  }

  void warn(std::string_view file, std::string reason) {
    _result.warnings.push_back({std::string(file), 0, std::move(reason)});
  }

  fs::path _root;
  Tables _result;
};

}  // namespace

Tables readTables(const fs::path& root) {
  return TablesReader(root).read();
}

bool isSystemTableName(std::string_view fileName) {
  return !fileName.empty() && std::all_of(fileName.begin(), fileName.end(), [](char c) {
    return isLetter(c) || isDigit(c) || c == '_' || c == '-';
  });
}

bool isUserTableName(std::string_view fileName) {
  return isUserName(fileName) && !fileName.starts_with("tmp.");
}

}  // namespace monitor
