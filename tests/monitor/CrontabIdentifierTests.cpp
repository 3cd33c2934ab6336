// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "TableSupport.h"
#include "monitor/Crontab.h"
#include "tests/support/Property.h"

namespace monitor {
namespace {

Lines identifiersIn(std::string_view text) {
  return identifiersOf(parseTable(kSystemInfo, text).jobs);
}

TEST(JobIdentifiers, CountTwinsInTheOrderOfTheirLines) {
  EXPECT_EQ(identifiersIn("@daily root a\n@daily root b\n@weekly root a\n@daily ann a\n"),
            (Lines{"etc/cron.d/x|root|1|a", "etc/cron.d/x|root|1|b", "etc/cron.d/x|root|2|a",
                   "etc/cron.d/x|ann|1|a"}));
}

TEST(JobIdentifiers, CountTwinsThatAreSwitchedOff) {
  EXPECT_EQ(identifiersIn("#@daily root a\n@daily root a\n"),
            identifiersIn("@daily root a\n@daily root a\n"));
}

TEST(JobIdentifiers, StayWhenScheduleNameOrStateAreEdited) {
  const Lines before = identifiersIn("# Tea\n0 16 * * * root brew tea\n");
  EXPECT_EQ(identifiersIn("# Tea\n0 17 * * 1-5 root brew tea\n"), before);
  EXPECT_EQ(identifiersIn("# Tea\n@daily\troot   brew tea  \n"), before);
  EXPECT_EQ(identifiersIn("# More tea\n0 16 * * * root brew tea\n"), before);
  EXPECT_EQ(identifiersIn("0 16 * * * root brew tea"), before);
  EXPECT_EQ(identifiersIn("# Tea\n#0 16 * * * root brew tea\n"), before);
}

TEST(JobIdentifiers, ChangeWithUserCommandAndTable) {
  const Lines before = identifiersIn("@daily root brew tea\n");
  EXPECT_NE(identifiersIn("@daily ann brew tea\n"), before);
  EXPECT_NE(identifiersIn("@daily root brew  tea\n"), before);
  TableInfo other = kSystemInfo;
  other.identifier = "etc/cron.d/y";
  EXPECT_NE(identifiersOf(parseTable(other, "@daily root brew tea\n").jobs), before);
}

TEST(JobIdentifiers, CannotBeForgedByACommand) {
  const Lines all =
      identifiersIn("@daily root a\n@daily root a\n@daily root 2|a\n@daily root |1|a\n");
  EXPECT_EQ(std::set(all.begin(), all.end()).size(), 4U);
}

TEST(JobIdentifiers, StayApartWhereTextWasReplaced) {
  const Lines all = identifiersIn("@daily root a\xFE\n@daily root a\xFF\n");
  EXPECT_EQ(all, (Lines{"etc/cron.d/x|root|1|a\uFFFD", "etc/cron.d/x|root|2|a\uFFFD"}));
}

/// A job line in its parts, so that a property can edit one of them.
struct Made {
  std::string schedule;
  std::string user;
  std::string command;
  bool enabled = true;

  std::string line() const { return (enabled ? "" : "# ") + schedule + " " + user + " " + command; }
};

rc::Gen<Made> madeJob() {
  using rc::gen::elementOf;
  return rc::gen::build<Made>(
      rc::gen::set(&Made::schedule, elementOf(std::vector<std::string>{"@daily", "*/5 * * * *",
                                                                       "0 3 1 * mon", "@reboot"})),
      rc::gen::set(&Made::user, elementOf(std::vector<std::string>{"root", "ann", "www-data"})),
      rc::gen::set(&Made::command,
                   elementOf(std::vector<std::string>{"/bin/a", "/bin/b -v", "cd / && ./c",
                                                      "echo ü|1|", "/bin/a x"})),
      rc::gen::set(&Made::enabled));
}

std::string textOf(const std::vector<Made>& jobs) {
  std::string text;
  for (const Made& job : jobs) {
    text += job.line() + "\n";
  }
  return text;
}

std::vector<Made> madeTable() {
  return *rc::gen::container<std::vector<Made>>(madeJob());
}

PROPERTY(JobIdentifiers, AreUniqueOverTables, ()) {
  std::set<std::string> seen;
  for (const char* table : {"etc/crontab", "etc/cron.d/a", "etc/cron.d/a1", "crontabs/a"}) {
    TableInfo info = kSystemInfo;
    info.identifier = table;
    const std::vector<Made> made = madeTable();
    const std::vector<Job> jobs = parseTable(info, textOf(made)).jobs;
    RC_ASSERT(jobs.size() == made.size());
    for (const Job& job : jobs) {
      RC_ASSERT(seen.insert(job.identifier).second);
    }
  }
}

PROPERTY(JobIdentifiers, StayWhenTheOwnScheduleOrStateIsEdited, ()) {
  std::vector<Made> made = madeTable();
  RC_PRE(!made.empty());
  const Lines before = identifiersIn(textOf(made));
  Made& edited = made[*rc::gen::inRange<std::size_t>(0, made.size())];
  edited.schedule = "17 4 * * 2";
  edited.enabled = !edited.enabled;
  RC_ASSERT(identifiersIn(textOf(made)) == before);
}

PROPERTY(JobIdentifiers, StayWhenOtherLinesAreShuffled, ()) {
  const std::vector<Made> made = madeTable();
  std::vector<Made> shuffled = made;
  for (std::size_t i = shuffled.size(); i > 1; --i) {
    std::swap(shuffled[i - 1], shuffled[*rc::gen::inRange<std::size_t>(0, i)]);
  }

  // A job without a twin keeps its identifier for itself; twins keep theirs among them.
  const auto byUserAndCommand = [](const std::vector<Made>& jobs) {
    std::map<std::pair<std::string, std::string>, std::set<std::string>> result;
    const Lines identifiers = identifiersIn(textOf(jobs));
    for (std::size_t i = 0; i < jobs.size(); ++i) {
      result[{jobs[i].user, jobs[i].command}].insert(identifiers.at(i));
    }
    return result;
  };
  RC_ASSERT(byUserAndCommand(made) == byUserAndCommand(shuffled));
}

PROPERTY(JobIdentifiers, StayWhenLinesThatAreNoTwinsComeAndGo, ()) {
  const std::vector<Made> made = madeTable();
  const Lines before = identifiersIn(textOf(made));
  std::string text;
  for (const Made& job : made) {
    text += *rc::gen::element<std::string>("", "# a comment\n", "\n", "A=b\n", "rubbish\n",
                                           "@daily root another\n", "#@daily root another\n");
    text += job.line() + "\n";
  }
  Lines after;
  for (const std::string& identifier : identifiersIn(text)) {
    if (!identifier.ends_with("|another")) {
      after.push_back(identifier);
    }
  }
  RC_ASSERT(after == before);
}

}  // namespace
}  // namespace monitor
