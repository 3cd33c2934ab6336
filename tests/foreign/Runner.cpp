// SPDX-License-Identifier: Apache-2.0
#include "Runner.h"

#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define FOREIGN_FINDS_LEAKS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FOREIGN_FINDS_LEAKS 1
#endif
#endif
#ifdef FOREIGN_FINDS_LEAKS
#include <sanitizer/lsan_interface.h>
#endif

namespace foreign {

namespace {

/// How many jobs run between two searches for leaks. A search takes longer than a job.
constexpr std::size_t jobsInOneChild = 500;
/// How much processor time a job may take. Jobs take some milliseconds.
constexpr int secondsOfOneJob = 60;

constexpr int exitAfterAll = 0;
constexpr int exitWithLeaks = 77;

bool hasLeaks() {
#ifdef FOREIGN_FINDS_LEAKS
  return __lsan_do_recoverable_leak_check() != 0;
#else
  return false;
#endif
}

enum class Event : std::uint8_t { begun, ended };

struct Message {
  Event event;
  std::uint8_t neededRemedy;
  std::uint32_t job;
  std::uint32_t length;  // of the problem that follows
};

void writeAll(int file, const void* data, std::size_t count) {
  const auto* bytes = static_cast<const char*>(data);
  while (count > 0) {
    const ssize_t written = ::write(file, bytes, count);
    if (written < 0 && errno != EINTR) {
      std::_Exit(1);
    }
    bytes += std::max<ssize_t>(written, 0);
    count -= static_cast<std::size_t>(std::max<ssize_t>(written, 0));
  }
}

bool readAll(int file, void* data, std::size_t count) {
  auto* bytes = static_cast<char*>(data);
  while (count > 0) {
    const ssize_t got = ::read(file, bytes, count);
    if (got == 0 || (got < 0 && errno != EINTR)) {
      return false;
    }
    bytes += std::max<ssize_t>(got, 0);
    count -= static_cast<std::size_t>(std::max<ssize_t>(got, 0));
  }
  return true;
}

[[noreturn]] void runInChild(const std::vector<Job>& jobs, std::size_t first, std::size_t end,
                             int pipe, int errors) {
  ::dup2(errors, STDERR_FILENO);
  for (std::size_t i = first; i < end; ++i) {
    // What an earlier job wrote does not matter.
    (void)!::ftruncate(errors, 0);
    ::lseek(errors, 0, SEEK_SET);
    itimerval limit{};
    limit.it_value.tv_sec = secondsOfOneJob;
    ::setitimer(ITIMER_PROF, &limit, nullptr);
    const Message begun{Event::begun, 0, static_cast<std::uint32_t>(i), 0};
    writeAll(pipe, &begun, sizeof begun);
    const Outcome outcome = jobs[i].run();
    const Message ended{Event::ended, static_cast<std::uint8_t>(outcome.neededRemedy ? 1 : 0),
                        static_cast<std::uint32_t>(i),
                        static_cast<std::uint32_t>(outcome.problem.size())};
    writeAll(pipe, &ended, sizeof ended);
    writeAll(pipe, outcome.problem.data(), outcome.problem.size());
  }
  const itimerval none{};
  ::setitimer(ITIMER_PROF, &none, nullptr);
  (void)!::ftruncate(errors, 0);
  ::lseek(errors, 0, SEEK_SET);
  std::_Exit(hasLeaks() ? exitWithLeaks : exitAfterAll);
}

/// The most important lines of a sanitizer's report: what is wrong, and where in this project.
std::string essenceOf(std::FILE* errors) {
  std::rewind(errors);
  std::string essence;
  std::array<char, 4096> line{};
  int lines = 0;
  while (lines < 24 && std::fgets(line.data(), line.size(), errors) != nullptr) {
    const std::string_view text(line.data());
    const bool isTelling = text.find("ERROR:") != std::string_view::npos ||
                           text.find("runtime error") != std::string_view::npos ||
                           text.find("terminate") != std::string_view::npos ||
                           text.find("what()") != std::string_view::npos ||
                           text.find("freed by") != std::string_view::npos ||
                           text.find("Direct leak") != std::string_view::npos ||
                           text.find("frameworks/") != std::string_view::npos ||
                           (text.starts_with("    #") && text.find("(/") != std::string_view::npos);
    if (isTelling) {
      essence += text;
      ++lines;
    }
  }
  return essence;
}

struct Share {
  std::size_t next;  // the first job that was not run
  bool leaked = false;
};

/// Runs jobs in one child process until it ends.
Share runShare(const std::vector<Job>& jobs, std::size_t first, std::size_t end, Report& report) {
  std::array<int, 2> pipe{};
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> errors(std::tmpfile(), &std::fclose);
  if (!errors || ::pipe(pipe.data()) != 0) {
    throw std::runtime_error("a child process cannot be heard");
  }
  std::cout.flush();
  const pid_t child = ::fork();
  if (child < 0) {
    throw std::runtime_error("there cannot be a child process");
  }
  if (child == 0) {
    ::close(pipe[0]);
    runInChild(jobs, first, end, pipe[1], ::fileno(errors.get()));
  }
  ::close(pipe[1]);
  std::size_t next = first;
  bool isAtWork = false;
  Message message{};
  while (readAll(pipe[0], &message, sizeof message)) {
    isAtWork = message.event == Event::begun;
    if (isAtWork) {
      continue;
    }
    std::string problem(message.length, '\0');
    if (!readAll(pipe[0], problem.data(), problem.size())) {
      break;
    }
    next = message.job + std::size_t{1};
    ++report.ran;
    report.neededRemedy += message.neededRemedy;
    if (!problem.empty()) {
      report.failures.push_back({jobs[message.job].name, std::move(problem)});
    }
  }
  ::close(pipe[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == exitAfterAll) {
    return {end};
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == exitWithLeaks) {
    if (end - first == 1) {
      report.failures.push_back({jobs[first].name, "leaks\n" + essenceOf(errors.get())});
    }
    return {end, true};
  }
  const std::string how = WIFSIGNALED(status)
                              ? std::string("ended by ") + ::strsignal(WTERMSIG(status))
                              : "exited with " + std::to_string(WEXITSTATUS(status));
  const std::string name = isAtWork ? jobs[next].name : "the end of a child process";
  report.failures.push_back({name, how + "\n" + essenceOf(errors.get())});
  return {next + 1};
}

}  // namespace

bool findsLeaks() {
#ifdef FOREIGN_FINDS_LEAKS
  return true;
#else
  return false;
#endif
}

Report runJobs(const std::vector<Job>& jobs) {
  Report report;
  for (std::size_t first = 0; first < jobs.size();) {
    const std::size_t end = std::min(first + jobsInOneChild, jobs.size());
    const Share share = runShare(jobs, first, end, report);
    if (share.leaked && end - first > 1) {
      // Finds out which of them it was.
      Report again;
      for (std::size_t i = first; i < end; ++i) {
        runShare(jobs, i, i + 1, again);
      }
      std::erase_if(again.failures,
                    [](const Failure& failure) { return !failure.problem.starts_with("leaks"); });
      if (again.failures.empty()) {
        again.failures.push_back({jobs[first].name, "or one after it leaks, though none alone"});
      }
      std::ranges::move(again.failures, std::back_inserter(report.failures));
    }
    first = share.next;
  }
  return report;
}

Report runCells(const std::vector<Cell>& cells) {
  std::vector<Job> jobs;
  jobs.reserve(cells.size());
  for (const Cell& cell : cells) {
    jobs.push_back({cell.name(), [cell] { return foreign::run(cell); }});
  }
  return runJobs(jobs);
}

}  // namespace foreign
