// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "monitor/Processes.h"
#include "monitor/Tables.h"

namespace monitor {

/// A job that runs, and the process that it is.
struct JobRun {
  const Job* job;
  Process process;
};

/// The runs of jobs among the processes of a cron daemon, by process number. The jobs are those of
/// `tables`, which must outlive the result.
///
/// A process runs a job when it is a shell that was handed the job's command (`/bin/sh -c COMMAND`,
/// as cron starts every job), or what such a shell has become: for a command without any sign of
/// shell but redirections at its end, most shells put the program in their own place, and the
/// kernel puts a script's interpreter in front of it. A job's own child processes are no further
/// runs of it. The user has to be the job's, where the process's is known. Of several jobs of one
/// user and command the first one that is enabled is taken, else the first.
[[nodiscard]] std::vector<JobRun> runsOf(const Tables& tables,
                                         const std::vector<Process>& processes);

/// What cron hands to the shell of a command: up to the first `%`, where the job's input begins,
/// with `%` in place of each `\%`.
[[nodiscard]] std::string shellCommandOf(std::string_view command);

}  // namespace monitor
