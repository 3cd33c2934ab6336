// SPDX-License-Identifier: Apache-2.0
#include "monitor/Crontab.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>
#include <variant>

#include "monitor/Comments.h"
#include "monitor/ShortName.h"
#include "monitor/Text.h"

namespace monitor {

namespace {

struct JobLine {
  std::string scheduleText;
  Schedule schedule;
  std::string user;
  std::string command;
};

std::string quoted(std::string_view text) {
  return "'" + shortened(text, 40) + "'";
}

std::string_view takeSchedule(std::string_view& rest) {
  rest = trimmed(rest);
  const std::string_view from = rest;
  const int words = from.starts_with('@') ? 1 : 5;
  for (int i = 0; i < words; ++i) {
    takeWord(rest);
  }
  return from.substr(0, from.size() - rest.size());
}

std::variant<JobLine, Problem> parseJobLine(std::string_view line,
                                            const std::optional<std::string>& owner) {
  const std::string_view written = takeSchedule(line);
  auto schedule = parseSchedule(written);
  if (auto* const problem = std::get_if<Problem>(&schedule)) {
    return std::move(*problem);
  }
  JobLine job{singleSpaced(written), std::get<Schedule>(schedule), {}, {}};
  if (owner) {
    job.user = *owner;
  } else {
    const std::string_view user = takeWord(line);
    if (user.empty()) {
      return Problem{"user is missing"};
    }
    if (!isUserName(user)) {
      return Problem{quoted(user) + " is not a user's name"};
    }
    job.user = user;
  }
  job.command = trimmed(line);
  if (job.command.empty()) {
    return Problem{"command is missing"};
  }
  return job;
}

bool isQuote(char c) {
  return c == '"' || c == '\'';
}

/// The name of the setting that a line makes; its value is left in `line`. Absent when the line
/// makes no setting.
std::optional<std::string_view> takeSettingName(std::string_view& line) {
  std::string_view rest = line;
  std::string_view name;
  if (isQuote(rest.front())) {
    const std::size_t close = rest.find(rest.front(), 1);
    if (close == std::string_view::npos) {
      return std::nullopt;
    }
    name = rest.substr(1, close - 1);
    rest.remove_prefix(close + 1);
  } else {
    name = rest.substr(0, rest.find_first_of(" \t="));
    rest.remove_prefix(name.size());
  }
  rest = trimmed(rest);
  if (!rest.starts_with('=')) {
    return std::nullopt;
  }
  line = trimmed(rest.substr(1));
  return name;
}

std::optional<Problem> problemOfSetting(std::string_view name, std::string_view value) {
  if (name.empty()) {
    return Problem{"a setting has no name"};
  }
  if (value.empty() || !isQuote(value.front())) {
    return std::nullopt;
  }
  const std::size_t close = value.find(value.front(), 1);
  if (close == std::string_view::npos) {
    return Problem{"the value of " + quoted(name) + " has no closing quote"};
  }
  if (close + 1 < value.size()) {
    return Problem{"the value of " + quoted(name) + " goes on behind its closing quote"};
  }
  return std::nullopt;
}

class TableParser {
 public:
  explicit TableParser(const TableInfo& table) : _table(table) {}

  ParsedTable parse(std::string_view bytes) {
    if (bytes.size() > kLargestTable) {
      warn("is larger than " + std::to_string(kLargestTable >> 20U) + " MiB");
      return std::move(_result);
    }
    while (!bytes.empty()) {
      ++_line;
      const std::size_t end = std::min(bytes.find('\n'), bytes.size());
      std::string_view line = bytes.substr(0, end);
      bytes.remove_prefix(std::min(end + 1, bytes.size()));
      if (line.ends_with('\r')) {
        line.remove_suffix(1);
      }
      parseLine(printable(line));
    }
    return std::move(_result);
  }

 private:
  void parseLine(std::string_view line) {
    line = trimmed(line);
    if (line.starts_with('#')) {
      const std::string_view text = commentText(line);
      parseComment(text, line.size() == text.size() + 1);
    } else {
      parseContent(line);
    }
  }

  void parseContent(std::string_view line) {
    const std::string name = std::exchange(_name, {});
    _belowDrawing = false;
    _inExample = false;
    if (line.empty()) {
      return;
    }
    if (const auto setting = takeSettingName(line)) {
      if (auto problem = problemOfSetting(*setting, line)) {
        warn(std::move(problem->reason));
      }
      return;
    }
    auto job = parseJobLine(line, _table.user);
    if (auto* const problem = std::get_if<Problem>(&job)) {
      warn(std::move(problem->reason));
    } else {
      add(std::get<JobLine>(std::move(job)), name, true);
    }
  }

  /// When `isBare`, nothing but one `#` stands around the text. That is how an editor or sed
  /// switches a job off. Explanations have a blank behind the `#`, so only texts that are not bare
  /// are examined further.
  void parseComment(std::string_view text, bool isBare) {
    const bool belowDrawing = std::exchange(_belowDrawing, isDrawing(text));
    if (_belowDrawing) {
      _name.clear();
      return;
    }
    if (saysNothing(text)) {
      if (std::exchange(_inExample, false)) {
        _name.clear();
      }
      return;
    }
    if (isHeading(text)) {
      _name.clear();
      _inExample = false;
      return;
    }
    auto job = parseJobLine(text, _table.user);
    const auto* const found = std::get_if<JobLine>(&job);
    if (!found) {
      _inExample = _inExample || announcesExample(text);
      _name = nameFrom(text);
    } else if ((!isBare && (_inExample || belowDrawing)) || isPlaceholder(found->command) ||
               (!_table.user && isPlaceholder(found->user))) {
      _name.clear();
    } else if (!isBare && !readsLikeCommand(found->command)) {
      _name = nameFrom(text);
    } else {
      add(std::get<JobLine>(std::move(job)), std::exchange(_name, {}), false);
    }
  }

  void add(JobLine line, std::string name, bool enabled) {
    const std::size_t number = ++_jobCounts[{line.user, line.command}];
    if (name.empty()) {
      name = shortNameOf(line.command);
    }
    _result.jobs.push_back({.identifier = _table.identifier + "|" + line.user + "|" +
                                          std::to_string(number) + "|" + line.command,
                            .table = _table.identifier,
                            .line = _line,
                            .name = std::move(name),
                            .scheduleText = std::move(line.scheduleText),
                            .schedule = line.schedule,
                            .user = std::move(line.user),
                            .command = std::move(line.command),
                            .enabled = enabled});
  }

  void warn(std::string reason) {
    _result.warnings.push_back({_table.path, _line, std::move(reason)});
  }

  const TableInfo& _table;
  ParsedTable _result;
  std::map<std::pair<std::string, std::string>, std::size_t> _jobCounts;  // by user and command
  std::size_t _line = 0;
  /// The name that the comments above give to the next job.
  std::string _name;
  bool _belowDrawing = false;
  bool _inExample = false;
};

}  // namespace

std::string Warning::text() const {
  return file + (line == 0 ? "" : ":" + std::to_string(line)) + ": " + reason;
}

ParsedTable parseTable(const TableInfo& table, std::string_view bytes) {
  return TableParser(table).parse(bytes);
}

bool isUserName(std::string_view text) {
  if (text.ends_with('$')) {
    text.remove_suffix(1);
  }
  if (text.empty() || text.size() > 32 || std::all_of(text.begin(), text.end(), isDigit)) {
    return false;
  }
  const char first = text.front();
  return (isLetter(first) || isDigit(first) || first == '_') &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return isLetter(c) || isDigit(c) ||
                  std::string_view("_.-@+").find(c) != std::string_view::npos;
         });
}

}  // namespace monitor
