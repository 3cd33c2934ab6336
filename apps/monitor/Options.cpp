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
  --simulate HOURS  run the jobs of the tables through so many hours in fast motion, from a fixed
                    night in Berlin on, and print every change and what it cost
  --colour WHEN     auto (on a terminal, the default), always or never
  --help            this text

Exit status: 0 in order, 1 when there are no tables to be read or services cannot be browsed, 2 wrong
usage. A line of a table that cannot be understood is a warning on standard error; the other lines
are used.
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

void checkTogether(const Options& options) {
  if (options.announcements && !options.follow) {
    throw WrongUsage("--announcements goes with --follow");
  }
  if (options.simulated &&
      (options.follow || options.services || options.outline != Options::Outline::all)) {
    throw WrongUsage("--simulate goes with --root and --colour only");
  }
}

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
  Options options;
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
    } else if (argument == "--outline") {
      options.outline = chosen(outlines, argument, value());
    } else if (argument == "--services") {
      options.services = value();
    } else if (argument == "--simulate") {
      options.simulated = hoursFrom(value());
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
  checkTogether(options);
  return options;
}

}  // namespace monitor
