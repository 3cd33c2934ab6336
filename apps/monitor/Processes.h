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
  std::string name;                    ///< the kernel's, 15 bytes at most: "cron"
  std::vector<std::string> arguments;  ///< as the program was given them; none of a zombie
  std::string user;                    ///< whom it runs as; empty where that is not known
  std::optional<Instant> started;      ///< absent when it is not known when the machine started

  bool operator==(const Process&) const = default;
};

/// The processes below a cron daemon (a process called cron or crond), by number, from a directory
/// laid out like proc(5): `PROC/stat`, `PROC/PID/stat`, `PROC/PID/status` and `PROC/PID/cmdline`.
/// The daemon itself is not among them, its copies that wait for a job are.
///
/// `passwd` is the file that gives user numbers their names; it need not be there.
///
/// Processes come and go while they are read. One of which something can no longer be read is left
/// out; without the directory there are none. Nothing is an error.
[[nodiscard]] std::vector<Process> readCronProcesses(const std::filesystem::path& proc,
                                                     const std::filesystem::path& passwd);

}  // namespace monitor
