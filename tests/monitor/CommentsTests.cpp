// SPDX-License-Identifier: Apache-2.0
#include "monitor/Comments.h"

#include <gtest/gtest.h>

namespace monitor {
namespace {

TEST(CommentText, IsWhatStandsBehindTheSigns) {
  EXPECT_EQ(commentText("# Nightly backup"), "Nightly backup");
  EXPECT_EQ(commentText("##\t# Nightly  backup \t"), "Nightly  backup");
  EXPECT_EQ(commentText("#0 3 * * * x"), "0 3 * * * x");
  EXPECT_EQ(commentText("#"), "");
  EXPECT_EQ(commentText("# # #"), "");
}

TEST(CommentText, LosesTheRightSideOfABox) {
  EXPECT_EQ(commentText("# Backup        #"), "Backup");
  EXPECT_EQ(commentText("## Backup ##"), "Backup");
  EXPECT_EQ(commentText("# Written in C#"), "Written in C#");
  EXPECT_EQ(commentText("# Channel #ops"), "Channel #ops");
}

TEST(Comments, SayNothingWithoutALetterOrDigit) {
  for (const char* text : {"", "-----", "=== ===", "─────────", "* * *", "—", "….", "┌──┐"}) {
    EXPECT_TRUE(saysNothing(text)) << text;
  }
  for (const char* text : {"a", "-- 1 --", "ü", "天気", "─ é ─", "🎫"}) {
    EXPECT_FALSE(saysNothing(text)) << text;
  }
}

TEST(Comments, DrawingsBeginWithAStrokeOrACorner) {
  for (const char* text : {".---- minute (0 - 59)", "|  .---- hour", "| | | |", "+--- month",
                           "`---- day", "┌──── minute", "│ ┌── hour", "└ day"}) {
    EXPECT_TRUE(isDrawing(text)) << text;
  }
  for (const char* text : {"", "- minute", ". etc", "minute |", "+1 day", "*/5 * * * *", "—"}) {
    EXPECT_FALSE(isDrawing(text)) << text;
  }
}

TEST(Comments, HeadingsConsistOfTheColumnsNames) {
  for (const char* text :
       {"m h dom mon dow user command", "m h  dom mon dow   command",
        "m h dom mon dow user\tcommand", "Minute Hour Day Month Weekday Command",
        "min hour mday month wday who command(s)",
        "minute | hour | day-of-month | month | day-of-week | user-name | command"}) {
    EXPECT_TRUE(isHeading(text)) << text;
  }
  for (const char* text : {"", "user command", "day of month", "Every day of the week an hour",
                           "m h dom mon dow user command and so on"}) {
    EXPECT_FALSE(isHeading(text)) << text;
  }
}

TEST(Comments, AnExampleIsAnnouncedByAWord) {
  EXPECT_TRUE(announcesExample("For example, you can run a backup"));
  EXPECT_TRUE(announcesExample("EXAMPLES:"));
  EXPECT_TRUE(announcesExample("Schedules (e.g. every five minutes)"));
  EXPECT_FALSE(announcesExample("Fetch the mail from example.org"));
  EXPECT_TRUE(announcesExample("Some more examples:"));
  EXPECT_FALSE(announcesExample("A counterexample"));
  EXPECT_FALSE(announcesExample("Renew certificate of the example site"));
  EXPECT_FALSE(announcesExample(""));
}

TEST(Comments, PlaceholdersStandForWhatIsToBeWritten) {
  for (const char* text : {"user-name", "username", "USER_NAME", "command to be executed",
                           "Command", "commands", "command(s) to run", "command-to-be-executed",
                           "[command]", "<command>", "<path to script>"}) {
    EXPECT_TRUE(isPlaceholder(text)) << text;
  }
  for (const char* text :
       {"root", "user", "cmd", "command -v x && x", "commander sync", "", "backup"}) {
    EXPECT_FALSE(isPlaceholder(text)) << text;
  }
}

TEST(Comments, CommandsAreToldFromSentences) {
  for (const char* text : {"/usr/bin/backup",
                           "backup",
                           "cmd",
                           "certbot renew",
                           "certbot -q renew",
                           "tar cf x .",
                           "./run the thing",
                           "~/bin/x",
                           "$HOME/bin/x",
                           "[ -x /a ] && a",
                           "( cd / && a )",
                           "{ a; b; }",
                           "echo run at 5 after 4 every sunday",
                           "logger the night begins.",
                           "LANG=C sort the list",
                           "for f in *; do x $f; done",
                           "if true; then x; fi",
                           "find /srv in vain",
                           "mail -s \"to all\"",
                           "run 'this and that'",
                           ". /etc/env",
                           ": > /tmp/x",
                           "`which a` the b",
                           "3proxy"}) {
    EXPECT_TRUE(readsLikeCommand(text)) << text;
  }
  for (const char* text :
       {"", "is the same as 0 0 * * *", "means every five minutes", "jobs are in /etc/cron.daily",
        "- every midnight", "= midnight", "→ Mitternacht", "(midnight)", "[optional]",
        "jobs run hourly.", "backups, reports:", "Überprüfung", "for all users", "if needed",
        "* means any", "Once a day", "run (only) today"}) {
    EXPECT_FALSE(readsLikeCommand(text)) << text;
  }
}

TEST(Comments, NamesHaveSingleSpaces) {
  EXPECT_EQ(nameFrom("Nightly \t backup"), "Nightly backup");
}

}  // namespace
}  // namespace monitor
