// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "monitor/Processes.h"
#include "monitor/Tables.h"

namespace monitor {

/// A job that is running, and its process.
struct JobRun {
  const Job* job;
  Process process;
};

/// Finds the processes of a cron daemon that run a job, sorted by process number. The jobs are
/// those of `tables`, which must outlive the result.
///
/// A process runs a job when it is a shell that got the job's command (`/bin/sh -c COMMAND`, as
/// cron starts every job), or the program that such a shell was replaced by. Most shells let the
/// program replace them when the command has no sign of shell except redirections at its end. When
/// the program is a script, the kernel puts its interpreter in front of it. The process's user must
/// be the job's, when it is known. Processes below a run are not runs themselves. When several jobs
/// have the same user and command, the first enabled one counts, or the first when none is enabled.
[[nodiscard]] std::vector<JobRun> runsOf(const Tables& tables,
                                         const std::vector<Process>& processes);

/// The part of a command that cron gives to the shell: everything before the first `%`, where the
/// job's input begins, with `%` in place of each `\%`.
[[nodiscard]] std::string shellCommandOf(std::string_view command);

}  // namespace monitor
