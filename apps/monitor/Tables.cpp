// SPDX-License-Identifier: Apache-2.0
#include "monitor/Tables.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iterator>
#include <system_error>
#include <utility>
#include <variant>

#include "monitor/Descriptor.h"
#include "monitor/Text.h"

namespace monitor {

namespace {

namespace fs = std::filesystem;

/// Why something could not be read.
std::string unreadable(int error) {
  return "cannot be read: " + std::generic_category().message(error);
}

bool isGone(const fs::path& path) {
  std::error_code ignored;
  return fs::symlink_status(path, ignored).type() == fs::file_type::not_found;
}

/// The bytes of a file, or why there are none.
std::variant<std::string, Problem> contentsOf(const fs::path& path) {
  // Without O_NONBLOCK, opening a pipe would wait for somebody to write to it.
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  struct stat status = {};
  if (!file || ::fstat(file.number(), &status) != 0)
    return Problem{unreadable(errno)};
  if (S_ISDIR(status.st_mode))
    return Problem{"is a directory"};
  if (!S_ISREG(status.st_mode))
    return Problem{"is not a regular file"};

  std::string contents;
  std::array<char, 65536> buffer;
  while (contents.size() <= kLargestTable) {
    const ssize_t count = ::read(file.number(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0)
      return Problem{unreadable(errno)};
    if (count == 0)
      break;
    contents.append(buffer.data(), static_cast<std::size_t>(count));
  }
  if (contents.size() > kLargestTable)
    return Problem{"is larger than " + std::to_string(kLargestTable >> 20U) + " MiB"};
  return contents;
}

class TablesReader {
 public:
  explicit TablesReader(const fs::path& root) : _root(root) {}

  Tables read() {
    std::error_code ignored;
    if (!fs::is_directory(_root, ignored))
      throw TablesNotFound(_root.string() + " is not a directory");
    const std::array places = {kSystemTable, kSystemTables, kUserTables};
    if (std::all_of(places.begin(), places.end(),
                    [&](std::string_view place) { return isGone(_root / place); }))
      throw TablesNotFound(_root.string() + " has no cron tables: neither etc/crontab nor " +
                           "etc/cron.d nor var/spool/cron/crontabs is there");

    if (!isGone(_root / kSystemTable))
      readTable({std::string(kSystemTable), "System crontab", std::string(kSystemTable), {}});
    for (const std::string& name : namesIn(kSystemTables, isSystemTableName)) {
      const std::string path = std::string(kSystemTables) + "/" + name;
      readTable({path, "cron.d/" + name, path, {}});
    }
    for (const std::string& name : namesIn(kUserTables, isUserTableName)) {
      const std::string path = std::string(kUserTables) + "/" + name;
      readTable({"crontabs/" + name, "Crontab of " + name, path, name});
    }
    return std::move(_result);
  }

 private:
  std::vector<std::string> namesIn(std::string_view place, bool (*isTable)(std::string_view)) {
    std::vector<std::string> names;
    const fs::path directory = _root / place;
    if (isGone(directory))
      return names;
    std::error_code error;
    for (fs::directory_iterator each(directory, error), end; !error && each != end;
         each.increment(error)) {
      std::string name = each->path().filename().string();
      if (isTable(name))
        names.push_back(std::move(name));
    }
    if (error)
      warn(place, unreadable(error.value()));
    std::sort(names.begin(), names.end());
    return names;
  }

  void readTable(TableInfo info) {
    const fs::path path = _root / info.path;
    const auto contents = contentsOf(path);
    if (const auto* const problem = std::get_if<Problem>(&contents)) {
      if (!isGone(path))
        warn(info.path, problem->reason);
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
