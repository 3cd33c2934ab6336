// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace monitor {

/// A command in a few words, for a job that no comment names: the program and its main argument.
///
/// What only prepares the command is left out: changing the directory, tests that guard the
/// command, waiting, assignments to the environment, programs that run another one (nice, ionice,
/// flock, timeout, sudo, env, ...), and a shell that gets the command as an argument. The name is
/// then the program without its directory, and its first argument that is no option; without such
/// an argument, its first option. Pipes and redirections are left out:
///
///     cd / && run-parts --report /etc/cron.hourly           run-parts /etc/cron.hourly
///     test -x /usr/sbin/anacron || ( cd / && run-parts … )  run-parts …
///     [ -x /usr/bin/certbot ] && certbot -q renew           certbot renew
///     LANG=C nice -n 19 /opt/backup/bin/nightly >/dev/null  nightly
///     /usr/sbin/postqueue -f                                postqueue -f
///
/// This is not a shell: it only splits the text into words, and accepts any text. When nothing is
/// left, the name is the command itself, so it is empty only when the command is. It has at most 48
/// characters; when something was cut off, the last is "…". `command` must be valid UTF-8, and the
/// result is.
std::string shortNameOf(std::string_view command);

}  // namespace monitor
