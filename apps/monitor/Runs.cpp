// SPDX-License-Identifier: Apache-2.0
#include "monitor/Runs.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <string_view>

#include "monitor/Text.h"

namespace monitor {

namespace {

using Words = std::vector<std::string>;

/// The kernel puts the interpreter's name before a script, and at most one option.
constexpr std::size_t kMostInterpreterWords = 2;

bool isAssignment(std::string_view word) {
  const std::size_t sign = word.find('=');
  return sign != 0 && sign != std::string_view::npos &&
         std::all_of(word.begin(), word.begin() + static_cast<std::ptrdiff_t>(sign),
                     [](char c) { return isLetter(c) || isDigit(c) || c == '_'; });
}

/// The program and its arguments, when the command has nothing else that matters. Empty otherwise.
Words plainWordsOf(std::string_view command) {
  Words words;
  while (!trimmed(command).empty()) {
    const std::string_view word = takeWord(command);
    const std::size_t sign = word.find_first_not_of("012");
    const bool redirects = sign != std::string_view::npos && word[sign] == '>';
    if (redirects && word.find_first_not_of("012>") == std::string_view::npos) {
      takeWord(command);
    } else if (!redirects && (!words.empty() || !isAssignment(word))) {
      words.emplace_back(word);
    }
  }
  const auto saysMore = [](std::string_view word) {
    const std::size_t begin = word.starts_with("$HOME/") ? 1 : 0;
    return word.find_first_of("|&;()<>\"'`$*?[\\", begin) != std::string_view::npos;
  };
  return std::any_of(words.begin(), words.end(), saysMore) ? Words() : words;
}

bool isWord(std::string_view argument, std::string_view word) {
  constexpr std::string_view home = "$HOME";
  return word.starts_with("$HOME/") ? argument.ends_with(word.substr(home.size()))
                                    : argument == word;
}

bool isProgramOf(std::span<const std::string> arguments, const Words& words) {
  if (words.empty()) {
    return false;
  }
  for (std::size_t skipped = 0; skipped <= kMostInterpreterWords; ++skipped) {
    if (arguments.size() != words.size() + skipped) {
      continue;
    }
    const auto rest = arguments.subspan(skipped);
    // The shell looks for the script, and then runs it by its full path.
    const bool program = isWord(rest.front(), words.front()) ||
                         (skipped > 0 && rest.front().ends_with("/" + words.front()));
    return program && std::equal(rest.begin() + 1, rest.end(), words.begin() + 1, isWord);
  }
  return false;
}

bool isShellOf(const Words& arguments, std::string_view command) {
  return arguments.size() == 3 && arguments[1] == "-c" &&
         trimmed(printable(arguments[2])) == command;
}

class Matcher {
 public:
  explicit Matcher(const Tables& tables) {
    for (const Table& table : tables.tables) {
      for (const Job& job : table.jobs) {
        const std::string command(trimmed(shellCommandOf(job.command)));
        _candidates.push_back({&job, command, plainWordsOf(command)});
      }
    }
    std::stable_sort(
        _candidates.begin(), _candidates.end(),
        [](const Candidate& a, const Candidate& b) { return a.job->enabled && !b.job->enabled; });
  }

  [[nodiscard]] const Job* jobOf(const Process& process) const {
    const auto found =
        std::find_if(_candidates.begin(), _candidates.end(), [&](const Candidate& each) {
          return (process.user.empty() || process.user == each.job->user) &&
                 (isShellOf(process.arguments, each.command) ||
                  isProgramOf(process.arguments, each.words));
        });
    return found == _candidates.end() ? nullptr : found->job;
  }

 private:
  struct Candidate {
    const Job* job;
    std::string command;
    Words words;
  };
  std::vector<Candidate> _candidates;
};

}  // namespace

std::string shellCommandOf(std::string_view command) {
  std::string result;
  for (std::size_t i = 0; i < command.size() && command[i] != '%'; ++i) {
    if (command[i] == '\\' && i + 1 < command.size() && command[i + 1] == '%') {
      ++i;
    }
    result += command[i];
  }
  return result;
}

std::vector<JobRun> runsOf(const Tables& tables, const std::vector<Process>& processes) {
  const Matcher matcher(tables);
  std::map<int, const Process*> byNumber;
  std::map<int, const Job*> jobs;
  for (const Process& process : processes) {
    byNumber.emplace(process.id, &process);
    if (const Job* const job = matcher.jobOf(process)) {
      jobs.emplace(process.id, job);
    }
  }
  const auto isBelowRun = [&](const Process& process) {
    std::size_t steps = 0;
    for (auto parent = byNumber.find(process.parent);
         parent != byNumber.end() && steps <= processes.size();
         parent = byNumber.find(parent->second->parent), ++steps) {
      if (jobs.contains(parent->first)) {
        return true;
      }
    }
    return false;
  };
  std::vector<JobRun> runs;
  for (const auto& [id, job] : jobs) {
    if (!isBelowRun(*byNumber.at(id))) {
      runs.push_back({job, *byNumber.at(id)});
    }
  }
  return runs;
}

}  // namespace monitor
