// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Schedule.h"

/// Reads one cron table: bytes in, jobs and warnings out. Knows nothing of the file system.
///
/// The format is that of crontab(5) as Debian's cron reads it. A line is blank, a comment (`#`
/// first), a setting of the environment (`NAME = value`), or a job: a schedule (see `Schedule.h`),
/// in tables of the system the user it runs as, and the command. Blanks are spaces and tabs; they
/// may stand in front of any line. A `#` further on and a `%` belong to the command. Settings are
/// checked and passed over.
///
/// More generous than cron, because a line that is plain to read should be shown:
/// - the last line may lack its newline, and a carriage return before a newline is no part of it;
/// - lines and commands may be of any length;
/// - text need not be UTF-8: whatever cannot be shown is replaced (see `printable`), NULs included.
///
/// Nothing in a file raises anything.
namespace monitor {

/// Which table it is, for what is said of it and its jobs.
struct TableInfo {
  /// The same as long as the table is there, and no other table's: "etc/crontab",
  /// "etc/cron.d/backup", "crontabs/alice". Without "|".
  std::string identifier;
  /// For people: "System crontab", "cron.d/backup", "Crontab of alice".
  std::string name;
  /// Where the file is below the root: "var/spool/cron/crontabs/alice". Warnings call it that.
  std::string path;
  /// Whose table it is. Absent for a table of the system, where each line names its user.
  std::optional<std::string> user;

  bool operator==(const TableInfo&) const = default;
};

/// One line that could not be used, or (line 0) a whole file or directory.
struct Warning {
  std::string file;
  std::size_t line = 0;
  /// A clause without a full stop: "minute 61 is out of range 0-59".
  std::string reason;

  /// "etc/cron.d/x:7: minute 61 is out of range 0-59", "etc/cron.d/x: is a directory".
  [[nodiscard]] std::string text() const;

  bool operator==(const Warning&) const = default;
};

/// One job. All texts are valid UTF-8 without control characters (the command may hold tabs).
struct Job {
  /// `TABLE|USER|NUMBER|COMMAND`, for instance "etc/cron.d/backup|root|1|/opt/backup/bin/nightly".
  ///
  /// NUMBER counts, from 1 and in the order of the lines, the jobs of the table that have the same
  /// user and command, switched off or not. So the identifier stays when other lines come, go or
  /// move, and when this job gets another schedule, another name, or is switched off or on. Neither
  /// a table's identifier nor a user's name has a "|", so no two jobs of a machine share one.
  std::string identifier;
  /// The identifier of its table.
  std::string table;
  /// Where it stands, from 1.
  std::size_t line = 0;
  /// The comment above it, or the command in a few words (see `shortNameOf`); never empty.
  ///
  /// A comment names the job on the next line. Comment lines without a letter or digit may stand
  /// between the two; anything else, a blank line or another job for instance, may not. Drawings
  /// and headings that explain the columns name nothing.
  std::string name;
  /// The schedule as written, one space between fields: "*/5 8-18 * * mon-fri", "@daily".
  std::string scheduleText;
  Schedule schedule;
  /// Who it runs as.
  std::string user;
  /// The command as written, "%" included, without the blanks around it.
  std::string command;
  /// False for a job that has been switched off by making a comment of its line.
  ///
  /// A comment is such a job if the text behind its `#`s and blanks is a job line without any
  /// mistake, and
  /// - is written like a command and not like a sentence (see `readsLikeCommand`);
  /// - has no placeholder as its user or command ("user-name", "command");
  /// - does not stand right below a line of a drawing, whose last line it would be;
  /// - does not stand in a paragraph of comments in which an earlier line announces an example. An
  ///   empty comment line ends a paragraph, and so does a heading over the columns.
  /// A comment that is not is never warned about, whatever mistake it has.
  bool enabled = true;

  bool operator==(const Job&) const = default;
};

/// What a table holds. Both lists are in the order of the lines.
struct ParsedTable {
  std::vector<Job> jobs;
  std::vector<Warning> warnings;
};

/// The largest table that is read, in bytes. A larger file is no table.
inline constexpr std::size_t kLargestTable = 4U << 20U;

/// Reads a table. A line with a mistake gives one warning and no job, the others are used. A table
/// larger than `kLargestTable` gives one warning and no jobs.
ParsedTable parseTable(const TableInfo& table, std::string_view bytes);

/// Whether a user can be called that: letters, digits and `_ . - @ +`, a `$` at the end, 32
/// characters at most, beginning with a letter, a digit or `_`, and not a number. Whether there is
/// such a user is not asked: tables of another machine are read as well.
bool isUserName(std::string_view text);

}  // namespace monitor
