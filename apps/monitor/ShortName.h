// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace monitor {

/// A command in a few words, for a job that no comment names: the program and what it is about.
///
/// What only prepares the ground is passed over: changing the directory, tests that guard the
/// command, waiting, assignments to the environment, programs that run another one (nice, ionice,
/// flock, timeout, sudo, env, ...), and a shell that is handed its command as an argument. Of the
/// command that is left, the program's name stands without its directory, followed by its first
/// argument that is no option, or by its first option where there is no other argument; pipes and
/// redirections are left out:
///
///     cd / && run-parts --report /etc/cron.hourly           run-parts /etc/cron.hourly
///     test -x /usr/sbin/anacron || ( cd / && run-parts … )  run-parts …
///     [ -x /usr/bin/certbot ] && certbot -q renew           certbot renew
///     LANG=C nice -n 19 /opt/backup/bin/nightly >/dev/null  nightly
///     /usr/sbin/postqueue -f                                postqueue -f
///
/// This is not a shell: the text is read for its words only, whatever bytes it holds. If nothing
/// is left the command itself stands, so the result is empty only where the command is. It has
/// 48 characters at most, the last of them "…" where something was cut off. `command` is valid
/// UTF-8, and so is the result.
std::string shortNameOf(std::string_view command);

}  // namespace monitor
