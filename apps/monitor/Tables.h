// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "monitor/Crontab.h"

/// Finds a machine's cron tables below a root directory and reads them.
namespace monitor {

/// The three places, below the root, where a table can be.
inline constexpr std::string_view kSystemTable = "etc/crontab";
inline constexpr std::string_view kSystemTables = "etc/cron.d";
inline constexpr std::string_view kUserTables = "var/spool/cron/crontabs";

/// There is nothing to read: the root is no directory, or none of the three places is there.
/// `what()` says which, and gives the root's path.
class TablesNotFound : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Table {
  TableInfo info;
  std::vector<Job> jobs;
};

/// What was found. The order of the tables is fixed: first the system's table, then those of
/// etc/cron.d, then those of the users. The last two groups are sorted by name, byte by byte. A
/// table without jobs is included. One that could not be read is not. Warnings are in the same
/// order.
struct Tables {
  std::vector<Table> tables;
  std::vector<Warning> warnings;
};

/// Reads all tables below `root` ("/" for this machine's own).
///
/// Throws `TablesNotFound` when none of the places is there. Missing places are fine otherwise.
/// What is there but cannot be read gives one warning, and the rest is used. Examples are a
/// directory or a pipe in place of a file (this never waits), a missing permission, a link that
/// leads nowhere, and a file larger than `kLargestTable`. A file that vanishes while it is read
/// counts as missing.
///
/// Links are followed. Owners and permissions to write are not checked, although cron refuses some
/// files for them. So this can also read copies of a machine's tables.
Tables readTables(const std::filesystem::path& root);

/// Whether a file in etc/cron.d is a table. It is when its name has only letters, digits, `_` and
/// `-`, as in run-parts(8). So backups ("backup~") and package leftovers ("backup.dpkg-old") are
/// not.
bool isSystemTableName(std::string_view fileName);

/// Whether a file in the users' place is a table. It is when its name can be a user's name and is
/// not that of an edit in progress ("tmp.").
bool isUserTableName(std::string_view fileName);

}  // namespace monitor
