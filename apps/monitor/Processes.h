// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "monitor/Zone.h"

namespace monitor {

struct Process {
  int id = 0;
  int parent = 0;
  std::string name;                    ///< as the kernel has it, at most 15 bytes: "cron"
  std::vector<std::string> arguments;  ///< as the program got them; a zombie has none
  std::string user;                    ///< the user it runs as; empty when not known
  std::optional<Instant> started;      ///< absent when the start of the machine is not known

  bool operator==(const Process&) const = default;
};

/// The processes below a cron daemon (a process called cron or crond), sorted by number. `proc` is
/// a directory laid out as in proc(5): `PROC/stat`, `PROC/PID/stat`, `PROC/PID/status` and
/// `PROC/PID/cmdline`. The daemon itself is not among the processes, but its copies that wait for a
/// job are.
///
/// `passwd` is the file that gives user numbers their names. It may be missing.
///
/// Processes start and end while they are read. A process is left out when a file of it can no
/// longer be read. Without the directory there are no processes. Nothing is an error.
[[nodiscard]] std::vector<Process> readCronProcesses(const std::filesystem::path& proc,
                                                     const std::filesystem::path& passwd);

}  // namespace monitor
