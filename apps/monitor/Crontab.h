// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "monitor/Schedule.h"

/// Reads one cron table: bytes in, jobs and warnings out. Does not use the file system.
///
/// The format is that of crontab(5) as Debian's cron reads it. A line is one of these: a blank
/// line, a comment (it begins with `#`), a setting of the environment (`NAME = value`), or a job. A
/// job has a schedule (see `Schedule.h`), in tables of the system the user that it runs as, and a
/// command. Blanks are spaces and tabs; any line may begin with them. A `#` further on and a `%`
/// belong to the command. Settings are checked and otherwise ignored.
///
/// This reader accepts more than cron, because a line that people can read should be shown:
/// - The last line may lack its newline. A carriage return before a newline is ignored.
/// - Lines and commands may be of any length.
/// - Text need not be UTF-8. What cannot be shown is replaced (see `printable`), also NULs.
///
/// No content of a file makes it throw.
namespace monitor {

/// What identifies a table and names it in messages.
struct TableInfo {
  /// Unique among the tables, and constant as long as the table is there: "etc/crontab",
  /// "etc/cron.d/backup", "crontabs/alice". It has no "|".
  std::string identifier;
  /// The name shown to people: "System crontab", "cron.d/backup", "Crontab of alice".
  std::string name;
  /// The file's path below the root, as warnings give it: "var/spool/cron/crontabs/alice".
  std::string path;
  /// The user who owns the table. Absent for a table of the system, where each line names a user.
  std::optional<std::string> user;

  bool operator==(const TableInfo&) const = default;
};

/// One line that could not be used. Line 0 stands for a whole file or directory.
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
  /// NUMBER counts the jobs of the table that have the same user and command, from 1 and in the
  /// order of the lines. Jobs that are switched off count too. So the identifier stays the same
  /// when other lines are added, removed or moved, and when this job gets another schedule or name,
  /// or is switched off or on. No two jobs of a machine share an identifier, because neither a
  /// table's identifier nor a user's name has a "|".
  std::string identifier;
  /// The identifier of its table.
  std::string table;
  /// Its line, from 1.
  std::size_t line = 0;
  /// The comment above it, or else the command in a few words (see `shortNameOf`). Never empty.
  ///
  /// A comment names the job on the next line. Only comment lines without a letter or digit may
  /// stand between the two; after a blank line or another job, for instance, the comment no longer
  /// counts. Drawings and headings that explain the columns name nothing.
  std::string name;
  /// The schedule as written, with one space between fields: "*/5 8-18 * * mon-fri", "@daily".
  std::string scheduleText;
  Schedule schedule;
  /// The user that it runs as.
  std::string user;
  /// The command as written, with each "%", without the blanks around it.
  std::string command;
  /// False when somebody has switched the job off by making its line a comment.
  ///
  /// A comment is such a job when the text behind its `#`s and blanks is a job line without any
  /// mistake, its user and command are no placeholders ("user-name", "command"), and either nothing
  /// but one `#` stands before that text, or all of these hold:
  /// - The command is written like a command and not like a sentence (see `readsLikeCommand`).
  /// - The line above is no line of a drawing; otherwise this is the drawing's last line.
  /// - No earlier line of the same paragraph of comments introduces an example. A paragraph ends at
  ///   a comment line without a letter or digit, and at a heading over the columns.
  /// No other comment gives a warning, whatever mistake it has.
  bool enabled = true;

  bool operator==(const Job&) const = default;
};

/// What was read from a table. Both lists are in the order of the lines.
struct ParsedTable {
  std::vector<Job> jobs;
  std::vector<Warning> warnings;
};

/// The largest table that is read, in bytes. A larger file does not count as a table.
inline constexpr std::size_t kLargestTable = 4U << 20U;

/// Reads a table. A line with a mistake gives one warning and no job; the other lines are used. A
/// table larger than `kLargestTable` gives one warning and no jobs.
ParsedTable parseTable(const TableInfo& table, std::string_view bytes);

/// Whether a text can be a user's name: at most 32 letters, digits and `_ . - @ +`, then perhaps a
/// `$`. The first must be a letter, a digit or `_`, and the name must not be a number. The user
/// need not exist, because tables of another machine are read too.
bool isUserName(std::string_view text);

}  // namespace monitor
