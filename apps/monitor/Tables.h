// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "monitor/Crontab.h"

/// Finds a machine's cron tables below a root directory and reads them.
namespace monitor {

/// The three places a table can be in, below the root.
inline constexpr std::string_view kSystemTable = "etc/crontab";
inline constexpr std::string_view kSystemTables = "etc/cron.d";
inline constexpr std::string_view kUserTables = "var/spool/cron/crontabs";

/// There is nothing to read: the root is no directory, or none of the three places is below it.
/// `what()` says which, with the root's path.
class TablesNotFound : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Table {
  TableInfo info;
  std::vector<Job> jobs;
};

/// What was found. Tables come in a fixed order: the system's table, those of etc/cron.d, then
/// those of the users, the latter two by name (byte by byte). A table without jobs is among them,
/// one that could not be read is not. Warnings come in the order of the tables.
struct Tables {
  std::vector<Table> tables;
  std::vector<Warning> warnings;
};

/// Reads all tables below `root` ("/" for this machine's own).
///
/// Places that are not there are fine as long as one of them is, else `TablesNotFound` is raised.
/// What is there and cannot be read gives one warning, and the rest is used: a directory or a pipe
/// where a file should be (nothing is ever waited for), a missing permission, a link that leads
/// nowhere, a file larger than `kLargestTable`. A file that vanishes during the reading is one that
/// is not there.
///
/// Links are followed. Who owns a file, and who else may write it, is not looked at, although cron
/// refuses some: this reads copies of a machine's tables just as well.
Tables readTables(const std::filesystem::path& root);

/// Whether a file in etc/cron.d is a table: letters, digits, `_` and `-` only, the rule of
/// run-parts(8). So no backups ("backup~"), no package leftovers ("backup.dpkg-old").
bool isSystemTableName(std::string_view fileName);

/// Whether a file among the tables of the users is one: a user can be called that, and it is not
/// the draft of an edit in progress ("tmp.").
bool isUserTableName(std::string_view fileName);

}  // namespace monitor
