// SPDX-License-Identifier: Apache-2.0
#include "monitor/Crontab.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "TableSupport.h"
#include "monitor/Text.h"
#include "tests/support/Property.h"

namespace monitor {
namespace {

using namespace std::string_literals;

Lines systemJobs(std::string_view text) {
  const ParsedTable parsed = parseTable(kSystemInfo, text);
  EXPECT_EQ(textsOf(parsed.warnings), Lines()) << text;
  return linesOf(parsed.jobs);
}

Lines userJobs(std::string_view text) {
  const ParsedTable parsed = parseTable(kUserInfo, text);
  EXPECT_EQ(textsOf(parsed.warnings), Lines()) << text;
  return linesOf(parsed.jobs);
}

TEST(Crontab, SystemTablesNameTheUserInEachLine) {
  const ParsedTable parsed = parseTable(kSystemInfo, "*/5 8-18 * * mon-fri  root  /opt/sync now\n");
  ASSERT_EQ(parsed.jobs.size(), 1U);
  const Job& job = parsed.jobs.front();
  EXPECT_EQ(job.identifier, "etc/cron.d/x|root|1|/opt/sync now");
  EXPECT_EQ(job.table, "etc/cron.d/x");
  EXPECT_EQ(job.line, 1U);
  EXPECT_EQ(job.name, "sync now");
  EXPECT_EQ(job.scheduleText, "*/5 8-18 * * mon-fri");
  EXPECT_EQ(job.schedule, std::get<Schedule>(parseSchedule("*/5 8-18 * * 1-5")));
  EXPECT_EQ(job.user, "root");
  EXPECT_EQ(job.command, "/opt/sync now");
  EXPECT_TRUE(job.enabled);
}

TEST(Crontab, UserTablesBelongToTheirUser) {
  const ParsedTable parsed = parseTable(kUserInfo, "@daily root is a word here\n");
  ASSERT_EQ(parsed.jobs.size(), 1U);
  EXPECT_EQ(parsed.jobs.front().identifier, "crontabs/alice|alice|1|root is a word here");
  EXPECT_EQ(parsed.jobs.front().user, "alice");
  EXPECT_EQ(parsed.jobs.front().command, "root is a word here");
}

TEST(Crontab, BlankLinesCommentsAndSettingsAreNoJobs) {
  EXPECT_EQ(systemJobs("\n \t \n# a comment\n  # another\n#\nSHELL=/bin/sh\n"), Lines());
  EXPECT_EQ(systemJobs(""), Lines());
}

TEST(Crontab, SettingsHaveManyForms) {
  EXPECT_EQ(systemJobs("A=b\n"
                       "  A = b c d \n"
                       "A=\n"
                       "MAILTO=\"\"\n"
                       "A = ' b '\n"
                       "\"A B\" = \"c 'd'\"\n"
                       "'A'='b'\n"
                       "A\t=\tb=c\n"
                       "PATH=/bin:$PATH # no comment\n"
                       "A=b\"c\n"),
            Lines());
}

TEST(Crontab, BlanksMayStandAnywhereBetweenFields) {
  EXPECT_EQ(systemJobs("\t 5\t4  *\t\t* mon \troot\t  /bin/a  b\t\n"),
            Lines{"1 + [a b] 5 4 * * mon | root | /bin/a  b"});
}

TEST(Crontab, CommandsKeepPercentAndHashSigns) {
  EXPECT_EQ(userJobs("0 0 * * * mail -s tea bob%Now # or later%\n"),
            Lines{"1 + [mail tea] 0 0 * * * | alice | mail -s tea bob%Now # or later%"});
}

TEST(Crontab, NamedSchedulesStandForFields) {
  EXPECT_EQ(systemJobs("@reboot root a\n @hourly\troot b\n"),
            (Lines{"1 + [a] @reboot | root | a", "2 + [b] @hourly | root | b"}));
  const ParsedTable parsed = parseTable(kUserInfo, "@reboot a\n@weekly b");
  ASSERT_EQ(parsed.jobs.size(), 2U);
  EXPECT_TRUE(parsed.jobs[0].schedule.isReboot());
  EXPECT_TRUE(parsed.jobs[1].schedule.matchesDay(5, 17, 0));
}

TEST(Crontab, TheLastLineMayLackItsNewline) {
  EXPECT_EQ(userJobs("@daily a\n@daily b"),
            (Lines{"1 + [a] @daily | alice | a", "2 + [b] @daily | alice | b"}));
}

TEST(Crontab, CarriageReturnsAtTheEndOfLinesDoNotCount) {
  EXPECT_EQ(userJobs("# Tea\r\n@daily a\r\n\r\nA=\"b\"\r\n@daily b\r"),
            (Lines{"2 + [Tea] @daily | alice | a", "5 + [b] @daily | alice | b"}));
}

TEST(Crontab, ACarriageReturnWithinALineIsShownAsAMark) {
  EXPECT_EQ(userJobs("@daily a\rb\n"), Lines{"1 + [a\uFFFDb] @daily | alice | a\uFFFDb"});
}

TEST(Crontab, TextThatCannotBeShownIsReplaced) {
  EXPECT_EQ(userJobs("# Caf\xE9\n@daily brew \xFF\0 now\n"s),
            Lines{"2 + [Caf\uFFFD] @daily | alice | brew \uFFFD\uFFFD now"});
}

TEST(Crontab, LinesMayBeVeryLong) {
  const std::string tail(2'000'000, 'x');
  const ParsedTable parsed = parseTable(kUserInfo, "@daily " + tail + "\n@daily b\n");
  ASSERT_EQ(parsed.jobs.size(), 2U);
  EXPECT_EQ(parsed.jobs[0].command, tail);
  EXPECT_EQ(parsed.jobs[0].name, std::string(47, 'x') + "…");
  EXPECT_EQ(parsed.jobs[1].line, 2U);
}

TEST(Crontab, ATableThatIsTooLargeIsOneWarning) {
  const ParsedTable parsed = parseTable(kUserInfo, "@daily a\n" + std::string(kLargestTable, '#'));
  EXPECT_EQ(parsed.jobs.size(), 0U);
  EXPECT_EQ(textsOf(parsed.warnings), Lines{kUserInfo.path + ": is larger than 4 MiB"});
}

TEST(Crontab, TheLargestTableIsRead) {
  std::string text = "@daily a\n";
  text.append(kLargestTable - text.size(), '#');
  EXPECT_EQ(userJobs(text), Lines{"1 + [a] @daily | alice | a"});
}

TEST(Crontab, MistakesAreNamedWithFileAndLine) {
  const struct {
    const char* line;
    const char* warning;
  } cases[] = {
      {"61 * * * * root a", "minute 61 is out of range 0-59"},
      {"0 0 * * 8 root a", "day of week 8 is out of range 0-7"},
      {"0 0 * foo * root a", "month 'foo' is neither a number nor a name"},
      {"*/0 * * * * root a", "minute step is 0 in '*/0'"},
      {"9-5 * * * * root a", "minute range '9-5' runs backwards"},
      {"1, * * * * root a", "minute has an empty entry in '1,'"},
      {"5/5 * * * * root a", "minute step needs a range or * in '5/5'"},
      {"* * * * *", "user is missing"},
      {"* * * *", "day of week is missing"},
      {"*", "hour is missing"},
      {"* * * * * root", "command is missing"},
      {"@daily", "user is missing"},
      {"@daily root \t", "command is missing"},
      {"* * * * * /usr/bin/backup", "'/usr/bin/backup' is not a user's name"},
      {"* * * * * /usr/bin/backup now", "'/usr/bin/backup' is not a user's name"},
      {"* * * * * * root a", "'*' is not a user's name"},
      {"0 0 1 1 1 2025 a", "'2025' is not a user's name"},
      {"@noon root a", "'@noon' is not a schedule's name"},
      {"backup every night", "minute 'backup' is not a number"},
      {"<<<<<<< HEAD", "minute '<<<<<<<' is not a number"},
      {"export A=b", "minute 'export' is not a number"},
      {"=b", "a setting has no name"},
      {"'' = b", "a setting has no name"},
      {"A = \"b", "the value of 'A' has no closing quote"},
      {"A = 'b\"", "the value of 'A' has no closing quote"},
      {"A = \"b\" c", "the value of 'A' goes on behind its closing quote"},
      {"\"A = b", "minute '\"A' is not a number"},
      {"\"A\" b", "minute '\"A\"' is not a number"},
      {"\xEF\xBB\xBF@daily root a", "minute '\uFEFF@daily' is not a number"},
      {"\x01", "minute '\uFFFD' is not a number"},
      {"\u00A0", "minute '\u00A0' is not a number"},
  };
  for (const auto& each : cases) {
    const std::string text =
        "\n@daily root before\n" + std::string(each.line) + "\n@daily root after";
    const ParsedTable parsed = parseTable(kSystemInfo, text);
    EXPECT_EQ(textsOf(parsed.warnings), Lines{std::string("etc/cron.d/x:3: ") + each.warning})
        << each.line;
    EXPECT_EQ(linesOf(parsed.jobs),
              (Lines{"2 + [before] @daily | root | before", "4 + [after] @daily | root | after"}))
        << each.line;
  }
}

TEST(Crontab, MistakesInUserTablesCarryTheirPath) {
  const ParsedTable parsed = parseTable(kUserInfo, "@daily\n* * * * *\n0 25 * * * a\n");
  EXPECT_EQ(textsOf(parsed.warnings), (Lines{"var/spool/cron/crontabs/alice:1: command is missing",
                                             "var/spool/cron/crontabs/alice:2: command is missing",
                                             "var/spool/cron/crontabs/alice:3: hour 25 is out of "
                                             "range 0-23"}));
  EXPECT_EQ(parsed.jobs.size(), 0U);
}

TEST(Crontab, UserNamesAreToldFromCommands) {
  for (const char* name :
       {"root", "www-data", "_apt", "j.doe", "host$", "3com", "a@corp", "A_b+c"}) {
    EXPECT_TRUE(isUserName(name)) << name;
  }
  for (const char* name : {"", "$", "42", "-x", ".x", "/bin/a", "a/b", "a b", "ü", "<user>", "*",
                           "abcdefghijklmnopqrstuvwxyz1234567", "a$b"}) {
    EXPECT_FALSE(isUserName(name)) << name;
  }
}

TEST(JobNames, ComeFromTheCommentRightAbove) {
  EXPECT_EQ(userJobs("# first of two\n##  Nightly \t backup #\n@daily a\n"),
            Lines{"3 + [Nightly backup] @daily | alice | a"});
}

TEST(JobNames, EmptyCommentsDoNotCount) {
  EXPECT_EQ(userJobs("########\n# Backup\n########\n#\n@daily a\n"),
            Lines{"5 + [Backup] @daily | alice | a"});
}

TEST(JobNames, AreForOneJobOnly) {
  EXPECT_EQ(userJobs("# Backup\n@daily a\n@daily b\n"),
            (Lines{"2 + [Backup] @daily | alice | a", "3 + [b] @daily | alice | b"}));
}

TEST(JobNames, DoNotReachOverOtherLines) {
  EXPECT_EQ(userJobs("# one\n\n@daily a\n# two\nA=b\n@daily b\n"),
            (Lines{"3 + [a] @daily | alice | a", "6 + [b] @daily | alice | b"}));
  const ParsedTable parsed = parseTable(kUserInfo, "# three\nrubbish\n@daily c\n");
  EXPECT_EQ(linesOf(parsed.jobs), Lines{"3 + [c] @daily | alice | c"});
}

TEST(JobNames, AreNotTakenFromJobsThatAreSwitchedOff) {
  EXPECT_EQ(userJobs("# Tea\n#@daily a\n@daily b\n"),
            (Lines{"2 - [Tea] @daily | alice | a", "3 + [b] @daily | alice | b"}));
}

TEST(JobNames, AreNotTakenFromLegends) {
  EXPECT_EQ(systemJobs("# m h dom mon dow user command\n@daily root a\n"),
            Lines{"2 + [a] @daily | root | a"});
  EXPECT_EQ(systemJobs("# Backups\n# | | |\n@daily root a\n"), Lines{"3 + [a] @daily | root | a"});
  EXPECT_EQ(systemJobs("# Tea\n# * * * * * user-name command\n@daily root a\n"),
            Lines{"3 + [a] @daily | root | a"});
}

TEST(DisabledJobs, AreJobLinesBehindACommentSign) {
  EXPECT_EQ(systemJobs("#*/5 * * * * root cmd\n"
                       "# 0 3 * * 1 user cmd\n"
                       " ## #\t@reboot www-data /opt/warm cache\n"),
            (Lines{"1 - [cmd] */5 * * * * | root | cmd", "2 - [cmd] 0 3 * * 1 | user | cmd",
                   "3 - [warm cache] @reboot | www-data | /opt/warm cache"}));
  EXPECT_EQ(userJobs("# 5 4 * * sun echo \"run at 5 after 4 every sunday\"\n"),
            Lines{"1 - [echo run at 5 after 4 every sunday] 5 4 * * sun | alice | "
                  "echo \"run at 5 after 4 every sunday\""});
}

TEST(DisabledJobs, AreWhateverHasTheSignRightBeforeASchedule) {
  // `sed 's/^/#/'` makes a switched-off job of every job, whatever its text and the lines above.
  EXPECT_EQ(systemJobs("#0 6 * * * root snapshot keep only 5\n0 7 * * * root /bin/next\n"),
            (Lines{"1 - [snapshot keep] 0 6 * * * | root | snapshot keep only 5",
                   "2 + [next] 0 7 * * * | root | /bin/next"}));
  EXPECT_EQ(systemJobs("# Examples:\n#0 5 * * * root /usr/sbin/renew\n"),
            Lines{"2 - [Examples:] 0 5 * * * | root | /usr/sbin/renew"});
  EXPECT_EQ(systemJobs("# .-- nightly --.\n#0 5 * * * root /usr/sbin/renew\n"),
            Lines{"2 - [renew] 0 5 * * * | root | /usr/sbin/renew"});
}

TEST(DisabledJobs, MayHaveNamesInWhichThereIsAnExample) {
  EXPECT_EQ(
      systemJobs("# Renew certificate of the example site\n# 0 5 * * * root /usr/sbin/renew\n"),
      Lines{"2 - [Renew certificate of the example site] 0 5 * * * | root | /usr/sbin/renew"});
}

TEST(DisabledJobs, HaveNamesLikeOthers) {
  EXPECT_EQ(userJobs("# Tea\n#0 16 * * * brew\n#0 17 * * * brew\n"),
            (Lines{"2 - [Tea] 0 16 * * * | alice | brew", "3 - [brew] 0 17 * * * | alice | brew"}));
}

TEST(DisabledJobs, AreNoneWithAMistakeAndNobodyIsWarned) {
  EXPECT_EQ(systemJobs("#61 * * * * root cmd\n# 0 3 * * 1 /bin/cmd\n#@noon root cmd\n"
                       "#* * * * * root\n# 5 apples\n# A=\"b\n"),
            Lines());
}

TEST(DisabledJobs, AreNotTheLegendOfTheSystemTable) {
  EXPECT_EQ(systemJobs("# Example of job definition:\n"
                       "# .---------------- minute (0 - 59)\n"
                       "# |  .------------- hour (0 - 23)\n"
                       "# |  |  .---------- day of month (1 - 31)\n"
                       "# |  |  |  .------- month (1 - 12) OR jan,feb,mar,apr ...\n"
                       "# |  |  |  |  .---- day of week (0 - 6) (Sunday=0 or 7)\n"
                       "# |  |  |  |  |\n"
                       "# *  *  *  *  * user-name command to be executed\n"
                       "17 *\t* * *\troot\tcd / && run-parts --report /etc/cron.hourly\n"),
            Lines{"9 + [run-parts /etc/cron.hourly] 17 * * * * | root | "
                  "cd / && run-parts --report /etc/cron.hourly"});
}

TEST(DisabledJobs, AreNotLegendsOfOtherTables) {
  EXPECT_EQ(systemJobs("# * * * * * user-name command to be executed\n"
                       "# * * * * * user command\n"
                       "# * * * * * <user> <command>\n"
                       "# m h dom mon dow user command\n"
                       "# ┌───── minute\n"
                       "# │ ┌─── hour\n"
                       "# * * * * * root /path/to/script\n"),
            Lines());
  EXPECT_EQ(userJobs("# * * * * * command to be executed\n"
                     "# 0-59 0-23 1-31 1-12 0-7 command\n"
                     "# * * * * * user-name command\n"
                     "# | | | | |\n"
                     "# * * * * * /bin/script\n"),
            Lines());
}

TEST(DisabledJobs, AreNotExamples) {
  EXPECT_EQ(userJobs("# For example, you can run a backup of all your user accounts\n"
                     "# at 5 a.m every week with:\n"
                     "# 0 5 * * 1 tar -zcf /var/backups/home.tgz /home/\n"
                     "# 0 6 * * 1 tar -zcf /var/backups/srv.tgz /srv/\n"),
            Lines());
}

TEST(DisabledJobs, MayFollowExamplesInAnotherParagraph) {
  const Lines off = {"3 - [backup] 0 5 * * 1 | alice | backup"};
  EXPECT_EQ(userJobs("# For example: ...\n#\n# 0 5 * * 1 backup\n"), off);
  EXPECT_EQ(userJobs("# For example: ...\n\n# 0 5 * * 1 backup\n"), off);
  EXPECT_EQ(userJobs("# For example: ...\n# m h dom mon dow command\n# 0 5 * * 1 backup\n"), off);
  EXPECT_EQ(userJobs("# For example: ...\nA=b\n# 0 5 * * 1 backup\n"), off);
}

TEST(DisabledJobs, AreNotSentencesAboutSchedules) {
  EXPECT_EQ(userJobs("# @daily is the same as 0 0 * * *\n"
                     "# 0 0 * * * means every midnight\n"
                     "# @reboot jobs run hourly.\n"
                     "# 0 0 * * 0 - every Sunday\n"),
            Lines());
  EXPECT_EQ(
      systemJobs("# @daily jobs are in /etc/cron.daily\n# @hourly is the same as 0 * * * *\n"),
      Lines());
}

TEST(DisabledJobs, SentencesAboutSchedulesAreNamesLikeOtherComments) {
  EXPECT_EQ(userJobs("# @daily is when the cows come home\n@daily milk\n"),
            Lines{"2 + [@daily is when the cows come home] @daily | alice | milk"});
}

TEST(DisabledJobs, MayBelongToAUserCalledLikeAPlaceholder) {
  TableInfo info = kUserInfo;
  info.user = "username";
  EXPECT_EQ(linesOf(parseTable(info, "#@daily a\n").jobs), Lines{"1 - [a] @daily | username | a"});
}

PROPERTY(Crontab, AnyBytesAreRead, (const std::string& bytes)) {
  for (const TableInfo& info : {kSystemInfo, kUserInfo}) {
    const ParsedTable parsed = parseTable(info, bytes);
    for (const Job& job : parsed.jobs) {
      RC_ASSERT(!job.name.empty() && printable(job.command) == job.command);
    }
    for (const Warning& warning : parsed.warnings) {
      RC_ASSERT(printable(warning.text()) == warning.text());
    }
  }
}

/// Text that looks enough like a table to get past the first field.
rc::Gen<std::string> tableLikeText() {
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(
                          rc::gen::elementOf(std::vector<std::string>{"*",
                                                                      "0",
                                                                      "*/5",
                                                                      "1-5",
                                                                      "mon",
                                                                      "@daily",
                                                                      "@reboot",
                                                                      " ",
                                                                      " ",
                                                                      " ",
                                                                      "\t",
                                                                      "\n",
                                                                      "\n",
                                                                      "\r\n",
                                                                      "#",
                                                                      "# ",
                                                                      "=",
                                                                      "A=",
                                                                      "\"",
                                                                      "'",
                                                                      "root ",
                                                                      "/bin/x",
                                                                      "\\",
                                                                      "%",
                                                                      "&& ",
                                                                      "cd / && ",
                                                                      "\xC3",
                                                                      "\xFF",
                                                                      "ü",
                                                                      "|",
                                                                      ".--",
                                                                      "example ",
                                                                      "command",
                                                                      "* * * * * ",
                                                                      "0 0 * * 1 root ",
                                                                      std::string(1, '\0')})),
                      [](const std::vector<std::string>& parts) {
                        std::string text;
                        for (const std::string& part : parts) {
                          text += part;
                        }
                        return text;
                      });
}

PROPERTY(Crontab, EveryLineIsAJobOrAWarningOrPassedOver, ()) {
  const std::string text = *tableLikeText();
  for (const TableInfo& info : {kSystemInfo, kUserInfo}) {
    const ParsedTable parsed = parseTable(info, text);
    std::vector<std::size_t> lines;
    for (const Job& job : parsed.jobs) {
      lines.push_back(job.line);
      RC_ASSERT(std::holds_alternative<Schedule>(parseSchedule(job.scheduleText)));
      RC_ASSERT(std::get<Schedule>(parseSchedule(job.scheduleText)) == job.schedule);
      RC_ASSERT(isUserName(job.user));
      RC_ASSERT(!job.command.empty() && !job.name.empty());
    }
    for (const Warning& warning : parsed.warnings) {
      lines.push_back(warning.line);
    }
    std::sort(lines.begin(), lines.end());
    RC_ASSERT(std::adjacent_find(lines.begin(), lines.end()) == lines.end());
    const auto last = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    const bool inside = lines.empty() || (lines.front() >= 1 && lines.back() <= last);
    RC_ASSERT(inside);
  }
}

}  // namespace
}  // namespace monitor
