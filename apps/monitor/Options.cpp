// SPDX-License-Identifier: Apache-2.0
#include "monitor/Options.h"

#include <cstddef>

namespace monitor {

const char* const usage =
    R"(usage: ternwood-monitor [--root DIR] [--follow [--announcements]] [--colour WHEN]

Shows the cron tables below a directory as an outline of their jobs.

  --root DIR        read DIR/etc/crontab, DIR/etc/cron.d and DIR/var/spool/cron/crontabs;
                    the default is /, this machine's own
  --follow          then watch the tables and tell what happens, one line a job, until interrupted
  --announcements   tell the outline's announcements as they come instead
  --colour WHEN     auto (on a terminal, the default), always or never
  --help            this text

Exit status: 0 in order, 1 when there are no tables to be read, 2 wrong usage. A line of a table that
cannot be understood is a warning on standard error; the other lines are used.
)";

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
    } else if (argument == "--follow") {
      options.follow = true;
    } else if (argument == "--announcements") {
      options.announcements = true;
    } else if (argument == "--colour") {
      const std::string& when = value();
      if (when != "auto" && when != "always" && when != "never") {
        throw WrongUsage("--colour takes auto, always or never, not " + when);
      }
      options.colour = when == "auto"     ? Options::Colour::automatic
                       : when == "always" ? Options::Colour::always
                                          : Options::Colour::never;
    } else if (argument == "--help") {
      options.help = true;
    } else {
      throw WrongUsage("unknown argument " + argument);
    }
  }
  if (options.announcements && !options.follow) {
    throw WrongUsage("--announcements goes with --follow");
  }
  return options;
}

}  // namespace monitor
