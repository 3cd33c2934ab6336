// SPDX-License-Identifier: Apache-2.0
#include "monitor/Options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <utility>

namespace monitor {

const char* const usage =
    R"(usage: ternwood-monitor [--root DIR] [--outline WHICH] [--services TYPE]
                        [--follow [--announcements]] [--colour WHEN]
       ternwood-monitor [--root DIR] [--outline WHICH] [--paths | --copy PATH]
       ternwood-monitor --open FILE [--paths | --copy PATH]
       ternwood-monitor [--root DIR] --simulate HOURS [--colour WHEN]

Shows cron at work as outlines: the jobs of all tables (events); what runs now, what can be run on
demand and what is due next (engine); and what is on the network (services).

  --root DIR        read DIR/etc/crontab, DIR/etc/cron.d, DIR/var/spool/cron/crontabs, the scripts
                    of DIR/etc/cron.hourly, daily, weekly and monthly, and the processes in
                    DIR/proc; the default is /, this machine's own
  --outline WHICH   show only events, engine or services
  --services TYPE   browse the network for services of a type, such as _ipp._tcp
  --follow          then watch and tell what happens, one line a job, until interrupted: of the
                    tables at once, of processes, scripts and the clock once a minute
  --announcements   tell the announcements of an outline as they come instead: those of the events,
                    or of the one that --outline names
  --paths           show for each item of the outlines its path, a tab and its name
  --copy PATH       put the item at a path of the outlines shown on the pasteboard, and tell for
                    each type what somebody who pastes it gets, the file in a new directory for
                    temporary ones included; the first outline that has such an item counts
  --open FILE       show the jobs of a schedule file, such as the one that --copy tells the URL of
  --simulate HOURS  run the jobs of the tables through so many hours in fast motion, from a fixed
                    night in Berlin on, and print every change and what it cost
  --colour WHEN     auto (on a terminal, the default), always or never
  --help            this text

Exit status: 0 in order, 1 when there are no tables or no schedule to be read, services cannot be
browsed or there is nothing to be copied, 2 wrong usage. A line of a table that cannot be understood
is a warning on standard error; the other lines are used.
)";

namespace {

template <class Choice, std::size_t Count>
using Choices = std::array<std::pair<std::string_view, Choice>, Count>;

constexpr Choices<Options::Outline, 3> outlines = {{{"events", Options::Outline::events},
                                                    {"engine", Options::Outline::engine},
                                                    {"services", Options::Outline::services}}};
constexpr Choices<Options::Colour, 3> colours = {{{"auto", Options::Colour::automatic},
                                                  {"always", Options::Colour::always},
                                                  {"never", Options::Colour::never}}};

template <class Choice, std::size_t Count>
Choice chosen(const Choices<Choice, Count>& choices, const std::string& argument,
              const std::string& value) {
  const auto found = std::ranges::find(choices, value, &Choices<Choice, Count>::value_type::first);
  if (found == choices.end()) {
    throw WrongUsage(argument + " takes " + std::string(choices[0].first) + ", " +
                     std::string(choices[1].first) + " or " + std::string(choices[2].first) +
                     ", not " + value);
  }
  return found->second;
}

std::chrono::hours hoursFrom(const std::string& text) {
  constexpr int most = 366 * 24;
  int hours = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), hours);
  if (error != std::errc() || end != text.data() + text.size() || hours < 1 || hours > most) {
    throw WrongUsage("--simulate takes a number of hours from 1 to " + std::to_string(most) +
                     ", not " + text);
  }
  return std::chrono::hours(hours);
}

void checkTogether(const Options& options, bool hasRoot) {
  if (options.announcements && !options.follow) {
    throw WrongUsage("--announcements goes with --follow");
  }
  const bool exchanges = options.opened || options.copied || options.paths;
  const bool selects = options.services || options.outline != Options::Outline::all;
  if (options.simulated && (options.follow || selects || exchanges)) {
    throw WrongUsage("--simulate goes with --root and --colour only");
  }
  if (options.opened && (hasRoot || selects)) {
    throw WrongUsage("--open goes with --paths, --copy and --colour only");
  }
  if (exchanges && options.follow) {
    throw WrongUsage("--follow goes without --open, --copy and --paths");
  }
  if (options.copied && options.paths) {
    throw WrongUsage("--copy goes without --paths");
  }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  bool hasRoot = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto value = [&]() -> const std::string& {
      if (++i == arguments.size()) {
        throw WrongUsage(argument + " needs a value");
      }
      return arguments[i];
    };
    if (argument == "--root") {
      options.root = value();
      hasRoot = true;
    } else if (argument == "--outline") {
      options.outline = chosen(outlines, argument, value());
    } else if (argument == "--services") {
      options.services = value();
    } else if (argument == "--simulate") {
      options.simulated = hoursFrom(value());
    } else if (argument == "--open") {
      options.opened = value();
    } else if (argument == "--copy") {
      options.copied = value();
    } else if (argument == "--paths") {
      options.paths = true;
    } else if (argument == "--follow") {
      options.follow = true;
    } else if (argument == "--announcements") {
      options.announcements = true;
    } else if (argument == "--colour") {
      options.colour = chosen(colours, argument, value());
    } else if (argument == "--help") {
      options.help = true;
    } else {
      throw WrongUsage("unknown argument " + argument);
    }
  }
  checkTogether(options, hasRoot);
  return options;
}

}  // namespace monitor
