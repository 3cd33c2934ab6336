// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "TableSupport.h"
#include "monitor/Runs.h"
#include "monitor/Scripts.h"
#include "monitor/Tables.h"

namespace monitor {
namespace {

class Sample : public testing::Test {
 protected:
  Sample() : _tables(readTables(MONITOR_SAMPLE)) {
    for (const Table& table : _tables.tables) {
      _jobs.insert(_jobs.end(), table.jobs.begin(), table.jobs.end());
    }
  }

  Tables _tables;
  std::vector<Job> _jobs;
};

TEST_F(Sample, GivesNoWarnings) {
  EXPECT_EQ(textsOf(_tables.warnings), Lines());
}

TEST_F(Sample, HasTheTablesOfASmallServer) {
  std::map<std::string, std::size_t> jobs;
  for (const Table& table : _tables.tables) {
    jobs[table.info.identifier] = table.jobs.size();
  }
  const std::map<std::string, std::size_t> expected = {
      {"etc/crontab", 5},         {"etc/cron.d/backup", 8},      {"etc/cron.d/certificates", 4},
      {"etc/cron.d/database", 5}, {"etc/cron.d/disk-health", 4}, {"etc/cron.d/logs", 6},
      {"etc/cron.d/mail", 6},     {"etc/cron.d/monitoring", 7},  {"crontabs/anna", 5},
      {"crontabs/deploy", 4},     {"crontabs/tomas", 4},         {"crontabs/www-data", 4}};
  EXPECT_EQ(jobs, expected);
}

TEST_F(Sample, HasJobsThatAreSwitchedOff) {
  std::set<std::string> names;
  for (const Job& job : _jobs) {
    if (!job.enabled) {
      names.insert(job.table + ": " + job.name);
    }
  }
  EXPECT_EQ(names, (std::set<std::string>{
                       "crontabs/anna: remind Timesheets, please",
                       "crontabs/deploy: Restart the staging site",
                       "etc/cron.d/backup: Copy to the other site",
                       "etc/cron.d/certificates: Renew certificates of the old web shop",
                       "etc/cron.d/database: Copy of production for the test system",
                       "etc/cron.d/logs: Web statistics", "etc/cron.d/mail: Greylist clean-up",
                       "etc/cron.d/monitoring: Still alive"}));
}

TEST_F(Sample, HasJobsThatShareAName) {
  std::map<std::string, int> count;
  for (const Job& job : _jobs) {
    ++count[job.name];
  }
  EXPECT_EQ(count["Web statistics"], 3);
  EXPECT_EQ(count["Nightly backup"], 2);
  EXPECT_EQ(count["Flush the mail queue"], 2);
  EXPECT_EQ(count["Still alive"], 2);
}

TEST_F(Sample, HasTwinsWithIdentifiersOfTheirOwn) {
  std::set<std::string> identifiers;
  for (const Job& job : _jobs) {
    EXPECT_TRUE(identifiers.insert(job.identifier).second) << job.identifier;
  }
  EXPECT_TRUE(identifiers.contains("etc/cron.d/mail|root|2|/usr/sbin/postqueue -f"));
}

TEST_F(Sample, NamesJobsOfTheSystemTableByTheirCommand) {
  Lines names;
  for (const Job& job : _tables.tables.at(0).jobs) {
    names.push_back(job.name);
  }
  EXPECT_EQ(names, (Lines{"run-parts /etc/cron.hourly", "run-parts /etc/cron.daily",
                          "run-parts /etc/cron.weekly", "run-parts /etc/cron.monthly",
                          "Set the clock after a power cut"}));
}

TEST_F(Sample, HasNamesInSeveralScripts) {
  for (const char* name :
       {"Záloha fotografií", "Προετοιμασία του δελτίου", "Wochenübersicht an die Geschäftsleitung",
        "天気予報 (weather for the balcony display)", "Ticket reminders 🎫"}) {
    EXPECT_TRUE(std::any_of(_jobs.begin(), _jobs.end(), [&](const Job& job) {
      return job.name == name;
    })) << name;
  }
}

TEST_F(Sample, HasScriptsToBeRunOnDemand) {
  Lines identifiers;
  for (const Script& script : readScripts(MONITOR_SAMPLE).scripts) {
    identifiers.push_back(script.identifier());
  }
  EXPECT_EQ(identifiers, (Lines{"etc/cron.hourly/clock-drift", "etc/cron.daily/man-index",
                                "etc/cron.daily/package-lists", "etc/cron.daily/passwords",
                                "etc/cron.weekly/file-index", "etc/cron.weekly/trim-disks",
                                "etc/cron.monthly/disk-report"}));
}

TEST_F(Sample, HasJobsThatRun) {
  const std::filesystem::path sample(MONITOR_SAMPLE);
  Lines runs;
  for (const JobRun& run :
       runsOf(_tables, readCronProcesses(sample / "proc", sample / "etc/passwd"))) {
    runs.push_back(std::to_string(run.process.id) + " " + run.process.user + " " + run.job->name);
  }
  EXPECT_EQ(runs, (Lines{"18091 backup Home directories", "18121 deploy Refresh the mirrors",
                         "18141 www-data Thumbnails"}));
}

}  // namespace
}  // namespace monitor
