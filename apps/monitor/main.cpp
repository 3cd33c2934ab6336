// SPDX-License-Identifier: Apache-2.0
#include <sys/ioctl.h>
#include <unistd.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Clock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

#include "monitor/Announcements.h"
#include "monitor/Changes.h"
#include "monitor/EngineRecords.h"
#include "monitor/Exchange.h"
#include "monitor/Host.h"
#include "monitor/Options.h"
#include "monitor/Outline.h"
#include "monitor/ServicesSource.h"
#include "monitor/Simulation.h"
#include "monitor/Watch.h"

namespace platform = vexil::platform;

namespace {

using monitor::Options;
using monitor::Snapshot;
using monitor::Style;

volatile std::sig_atomic_t interrupted = 0;

void interrupt(int /*signal*/) {
  interrupted = 1;
}

/// Without SA_RESTART, so that a signal ends a wait.
void endOnSignals() {
  struct sigaction action = {};
  action.sa_handler = interrupt;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

void complain(const std::string& what) {
  std::cerr << "ternwood-monitor: " + what + "\n";
}

void warn(const std::vector<monitor::Warning>& warnings) {
  for (const monitor::Warning& warning : warnings) {
    complain(warning.text());
  }
}

monitor::Instant currentInstant() {
  return monitor::instantOf(platform::currentDate());
}

Style styleFor(const Options& options) {
  const bool onTerminal = isatty(STDOUT_FILENO) != 0;
  winsize size = {};
  const bool sized = onTerminal && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return Style(options.colour == Options::Colour::always ||
                   (options.colour == Options::Colour::automatic && onTerminal),
               sized ? size.ws_col : Style::anyWidth);
}

/// Copies the item that the options name, or shows the paths of all items.
void showItems(const Options& options, const monitor::Items& roots, const Style& style) {
  if (options.copied) {
    std::cout << monitor::copied(monitor::itemAt(*options.copied, roots), style);
    return;
  }
  for (const auto& root : roots) {
    std::cout << monitor::pathsOutline(*root, style);
  }
}

/// Shows the outlines of a root, and follows their changes.
class Program {
 public:
  explicit Program(const Options& options)
      : _options(options),
        _style(styleFor(options)),
        _host(options.root, monitor::Zone::ofMachine()) {
    // ICU itself does not understand a rule in TZ.
    _host.zone().makeDefault();
    if (options.services) {
      _services = std::make_unique<monitor::ServicesSource>(*options.services,
                                                            _host.collections().services);
    }
  }

  void show() {
    warn(_host.refresh(currentInstant()));
    findServices();
    if (_options.copied || _options.paths) {
      showItems(_options, shownRoots(), _style);
      return;
    }
    const monitor::Collections& collections = _host.collections();
    std::string text;
    const auto add = [&](Options::Outline which, const std::string& outline) {
      if (_options.shows(which)) {
        text += (text.empty() ? "" : "\n") + outline;
      }
    };
    add(Options::Outline::events, eventsOutline(*collections.events, _style));
    add(Options::Outline::engine, engineOutline(*collections.engine, *_dates, _style));
    add(Options::Outline::services, servicesOutline(*collections.services, _style));
    std::cout << text;
  }

  void follow(monitor::Watcher& watcher) {
    if (_options.announcements) {
      _announcements = std::make_unique<monitor::Announcements>(announcingRoot());
    }
    auto tick = nextMinute();
    while (interrupted == 0) {
      const Snapshot before(_host.collections());
      if (wait(watcher, tick)) {
        refreshTables();
      }
      if (std::chrono::system_clock::now() >= tick) {
        warn(_host.refreshEngine(currentInstant()));
        tick = nextMinute();
      }
      tell(before);
    }
  }

 private:
  using Clock = std::chrono::system_clock;

  /// One second into the next minute, when cron has started what is due.
  static Clock::time_point nextMinute() {
    using std::chrono::seconds;
    return std::chrono::floor<std::chrono::minutes>(Clock::now() - seconds(1)) +
           std::chrono::minutes(1) + seconds(1);
  }

  /// Waits until the tables have changed, services have come or gone, or `end`. Returns whether the
  /// tables have changed.
  bool wait(monitor::Watcher& watcher, Clock::time_point end) {
    using std::chrono::milliseconds;
    // At most a minute, because the clock may be set while this waits.
    const auto left = std::clamp(std::chrono::ceil<milliseconds>(end - Clock::now()),
                                 milliseconds(0), milliseconds(std::chrono::minutes(1)));
    if (!_services) {
      return watcher.wait(left);
    }
    _services->wait(left, watcher.descriptor());
    return watcher.drain();
  }

  [[nodiscard]] monitor::Items shownRoots() {
    const monitor::Collections& collections = _host.collections();
    monitor::Items roots;
    const auto add = [&](Options::Outline which, const KRAVTWVItemsVexil& collection) {
      if (_options.shows(which)) {
        roots.push_back(collection.root());
      }
    };
    add(Options::Outline::events, *collections.events);
    add(Options::Outline::engine, *collections.engine);
    add(Options::Outline::services, *collections.services);
    return roots;
  }

  void findServices() {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (_services && !_services->settled() && interrupted == 0 &&
           std::chrono::steady_clock::now() < end) {
      _services->wait(std::chrono::milliseconds(200));
    }
  }

  void refreshTables() {
    try {
      warn(_host.refresh(currentInstant()));
    } catch (const monitor::TablesNotFound& error) {
      // They may come back, for instance when a package is being replaced.
      complain(error.what());
    }
  }

  /// The root of the outline whose announcements are told.
  [[nodiscard]] std::shared_ptr<KRAVTWVItemVexil> announcingRoot() {
    const monitor::Collections& collections = _host.collections();
    switch (_options.outline) {
      case Options::Outline::engine:
        return collections.engine->root();
      case Options::Outline::services:
        return collections.services->root();
      case Options::Outline::all:
      case Options::Outline::events:
        break;
    }
    return collections.events->root();
  }

  [[nodiscard]] std::vector<std::string> changesSince(const Snapshot& before) {
    const Snapshot after(_host.collections());
    switch (_options.outline) {
      case Options::Outline::events:
        return monitor::changes(before.events, after.events, _style);
      case Options::Outline::engine:
        return monitor::runChanges(before.active, after.active, _style);
      case Options::Outline::services:
        return monitor::serviceChanges(before.services, after.services, _style);
      case Options::Outline::all:
        break;
    }
    return monitor::changes(before, after, _style);
  }

  void tell(const Snapshot& before) {
    for (const std::string& line :
         _announcements ? _announcements->takeLines() : changesSince(before)) {
      std::cout << line + "\n";
    }
    std::cout.flush();
  }

  const Options& _options;
  Style _style;
  monitor::Host _host;
  const std::shared_ptr<KRAVTWVRelativeDateTransformer> _dates =
      std::make_shared<KRAVTWVRelativeDateTransformer>();
  std::unique_ptr<monitor::ServicesSource> _services;
  std::unique_ptr<monitor::Announcements> _announcements;  // null unless they are told
};

void show(const Options& options) {
  if (!options.follow) {
    Program(options).show();
    return;
  }
  endOnSignals();
  // Made before the tables are read, so that no change in between is missed.
  monitor::Watcher watcher(options.root);
  Program program(options);
  program.show();
  std::cout << "Watching for changes; interrupt to end.\n" << std::flush;
  program.follow(watcher);
}

void open(const Options& options) {
  const auto schedule = monitor::openedSchedule(*options.opened);
  if (options.copied || options.paths) {
    showItems(options, {schedule}, styleFor(options));
  } else {
    std::cout << monitor::scheduleOutline(*schedule, styleFor(options));
  }
}

void simulate(const Options& options) {
  monitor::Simulation simulation(options.root, styleFor(options),
                                 [](const std::string& line) { std::cout << line << '\n'; });
  warn(simulation.warnings());
  simulation.run(*options.simulated);
}

}  // namespace

int main(int argc, char** argv) try {
  const Options options = monitor::parseOptions({argv + 1, argv + argc});
  if (options.help) {
    std::cout << monitor::usage;
  } else if (options.simulated) {
    simulate(options);
  } else if (options.opened) {
    open(options);
  } else {
    show(options);
  }
  if (!std::cout.flush()) {
    throw std::runtime_error("the output could not be written");
  }
  return EXIT_SUCCESS;
} catch (const monitor::WrongUsage& error) {
  complain(error.what());
  std::cerr << monitor::usage;
  return 2;
} catch (const std::exception& error) {
  complain(error.what());
  return EXIT_FAILURE;
}
