// SPDX-License-Identifier: Apache-2.0
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>

#include "monitor/Changes.h"
#include "monitor/Host.h"
#include "monitor/Options.h"
#include "monitor/Outline.h"
#include "monitor/Watch.h"

namespace {

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int /*signal*/) {
  interrupted = 1;
}

/// Without SA_RESTART, so that a wait ends.
void endOnSignals() {
  struct sigaction action = {};
  action.sa_handler = interrupt;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

void complain(const std::string& what) {
  std::cerr << "ternwood-monitor: " + what + "\n";
}

void warn(const monitor::Host::Report& report) {
  for (const monitor::Warning& warning : report.newWarnings) {
    complain(warning.text());
  }
}

void tell(const monitor::Host::Report& report, bool announcements, const monitor::Style& style) {
  // What the observer heard nothing of did not happen to the outline.
  if (report.announcements.empty()) {
    return;
  }
  const auto lines =
      announcements ? report.announcements : monitor::changes(report.before, report.after, style);
  for (const std::string& line : lines) {
    std::cout << line + "\n";
  }
  std::cout.flush();
}

void follow(monitor::Host& host, monitor::Watcher& watcher, const monitor::Options& options,
            const monitor::Style& style) {
  constexpr std::chrono::hours once(1);
  while (interrupted == 0) {
    if (!watcher.wait(once)) {
      continue;
    }
    try {
      const auto report = host.refresh();
      warn(report);
      tell(report, options.announcements, style);
    } catch (const monitor::TablesNotFound& error) {
      // They may come back, while a package is being replaced for instance.
      complain(error.what());
    }
  }
}

int show(const monitor::Options& options) {
  const monitor::Style style(
      options.colour == monitor::Options::Colour::always ||
      (options.colour == monitor::Options::Colour::automatic && isatty(STDOUT_FILENO) != 0));
  monitor::Host host(options.root);
  if (!options.follow) {
    warn(host.refresh());
    std::cout << monitor::outline(host.eventRoot(), style);
    return EXIT_SUCCESS;
  }
  endOnSignals();
  // Before the tables are read, so that no change in between is missed.
  monitor::Watcher watcher(options.root);
  warn(host.refresh());
  std::cout << monitor::outline(host.eventRoot(), style)
            << "Watching for changes; interrupt to end.\n"
            << std::flush;
  follow(host, watcher, options, style);
  return EXIT_SUCCESS;
}

}  // namespace

int main(int argc, char** argv) try {
  const monitor::Options options = monitor::parseOptions({argv + 1, argv + argc});
  if (options.help) {
    std::cout << monitor::usage;
    return EXIT_SUCCESS;
  }
  return show(options);
} catch (const monitor::WrongUsage& error) {
  complain(error.what());
  std::cerr << monitor::usage;
  return 2;
} catch (const std::exception& error) {
  complain(error.what());
  return EXIT_FAILURE;
}
