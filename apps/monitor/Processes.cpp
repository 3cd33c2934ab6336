// SPDX-License-Identifier: Apache-2.0
#include "monitor/Processes.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <map>
#include <string_view>
#include <utility>
#include <variant>

#include "monitor/Files.h"
#include "monitor/Text.h"

namespace monitor {

namespace {

namespace fs = std::filesystem;

/// Only a command line can be longer than this, and a process with such a one is left out.
constexpr std::size_t kLargest = 4U << 20U;

/// Indexes of fields in PROC/PID/stat. Field 0 is the first one after the name.
constexpr std::size_t kParentField = 1;
constexpr std::size_t kStartField = 19;

template <class Number>
std::optional<Number> numberFrom(std::string_view digits) {
  Number number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool whole = end == digits.data() + digits.size();
  return error == std::errc() && whole ? std::optional(number) : std::nullopt;
}

bool isProcessDirectory(std::string_view name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), isDigit);
}

std::optional<std::string> textOf(const fs::path& path) {
  auto contents = contentsOf(path, kLargest);
  auto* const text = std::get_if<std::string>(&contents);
  return text ? std::optional(std::move(*text)) : std::nullopt;
}

/// The rest of the first line that begins with `label`.
std::optional<std::string_view> valueIn(std::string_view text, std::string_view label) {
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    if (line.starts_with(label)) {
      return trimmed(line.substr(label.size()));
    }
  }
  return std::nullopt;
}

struct Entry {
  Process process;
  std::int64_t startTicks = 0;
};

/// Reads `812 (cron) S 1 ...`. The name can hold any characters, also parentheses and newlines.
std::optional<Entry> entryFrom(std::string_view stat) {
  const std::size_t open = stat.find('(');
  const std::size_t close = stat.rfind(')');
  if (open == std::string_view::npos || close == std::string_view::npos || close < open) {
    return std::nullopt;
  }
  const auto id = numberFrom<int>(trimmed(stat.substr(0, open)));
  std::vector<std::string_view> fields;
  std::string_view rest = stat.substr(close + 1);
  while (rest.ends_with('\n')) {
    rest.remove_suffix(1);
  }
  while (!trimmed(rest).empty()) {
    fields.push_back(takeWord(rest));
  }
  if (!id || fields.size() <= kStartField) {
    return std::nullopt;
  }
  const auto parent = numberFrom<int>(fields[kParentField]);
  const auto ticks = numberFrom<std::int64_t>(fields[kStartField]);
  if (!parent || !ticks) {
    return std::nullopt;
  }
  Entry entry;
  entry.process.id = *id;
  entry.process.parent = *parent;
  entry.process.name = stat.substr(open + 1, close - open - 1);
  entry.startTicks = *ticks;
  return entry;
}

using Entries = std::map<int, Entry>;

Entries readEntries(const fs::path& proc) {
  Entries entries;
  const auto names = namesIn(proc, isProcessDirectory);
  if (std::holds_alternative<Problem>(names)) {
    return entries;
  }
  for (const std::string& name : std::get<std::vector<std::string>>(names)) {
    const auto stat = textOf(proc / name / "stat");
    if (auto entry = stat ? entryFrom(*stat) : std::nullopt) {
      const int id = entry->process.id;
      entries.emplace(id, *std::move(entry));
    }
  }
  return entries;
}

bool isDaemon(const Process& process) {
  return process.name == "cron" || process.name == "crond";
}

bool isBelowDaemon(const Entries& entries, const Process& process) {
  // The steps are limited, because parents can form a ring: processes are read one after another,
  // and the system uses numbers again.
  std::size_t steps = 0;
  for (auto parent = entries.find(process.parent);
       parent != entries.end() && steps <= entries.size();
       parent = entries.find(parent->second.process.parent), ++steps) {
    if (isDaemon(parent->second.process)) {
      return true;
    }
  }
  return false;
}

/// Names of users by their numbers, from a file as in passwd(5).
std::map<std::string, std::string, std::less<>> readUsers(const fs::path& passwd) {
  std::map<std::string, std::string, std::less<>> users;
  const std::string contents = textOf(passwd).value_or("");
  for (std::string_view text = contents; !text.empty();) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    const std::string_view name = line.substr(0, line.find(':'));
    for (int i = 0; i < 2; ++i) {
      line.remove_prefix(std::min(line.size(), std::min(line.find(':'), line.size() - 1) + 1));
    }
    users.emplace(line.substr(0, line.find(':')), name);
  }
  return users;
}

std::vector<std::string> argumentsFrom(std::string_view line) {
  std::vector<std::string> arguments;
  while (!line.empty()) {
    const std::string_view argument = line.substr(0, line.find('\0'));
    arguments.emplace_back(argument);
    line.remove_prefix(std::min(line.size(), argument.size() + 1));
  }
  return arguments;
}

}  // namespace

std::vector<Process> readCronProcesses(const fs::path& proc, const fs::path& passwd) {
  const Entries entries = readEntries(proc);
  const auto users = readUsers(passwd);
  const auto booted =
      numberFrom<std::int64_t>(valueIn(textOf(proc / "stat").value_or(""), "btime ").value_or(""));
  const std::int64_t ticksPerSecond = std::max<std::int64_t>(::sysconf(_SC_CLK_TCK), 1);
  std::vector<Process> processes;
  for (const auto& [id, entry] : entries) {
    if (!isBelowDaemon(entries, entry.process)) {
      continue;
    }
    const fs::path directory = proc / std::to_string(id);
    const auto status = textOf(directory / "status");
    const auto line = textOf(directory / "cmdline");
    if (!status || !line) {
      continue;
    }
    Process process = entry.process;
    process.arguments = argumentsFrom(*line);
    std::string_view numbers = valueIn(*status, "Uid:").value_or("");
    if (const auto user = users.find(takeWord(numbers)); user != users.end()) {
      process.user = user->second;
    }
    if (booted) {
      process.started = Instant(std::chrono::seconds(*booted + entry.startTicks / ticksPerSecond));
    }
    processes.push_back(std::move(process));
  }
  return processes;
}

}  // namespace monitor
