// SPDX-License-Identifier: Apache-2.0
#include "monitor/Tables.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "TableSupport.h"
#include "TemporaryRoot.h"

namespace monitor {
namespace {

namespace fs = std::filesystem;

Lines identifiersOf(const Tables& tables) {
  Lines result;
  for (const Table& table : tables.tables) {
    result.push_back(table.info.identifier);
  }
  return result;
}

std::string errorOf(const fs::path& root) {
  try {
    readTables(root);
  } catch (const TablesNotFound& error) {
    return error.what();
  }
  return "none";
}

// root
// ├── etc
// │   ├── crontab
// │   └── cron.d: zeta, alpha
// └── var/spool/cron/crontabs: bob, alice
TEST(Tables, AreFoundInThreePlacesInAFixedOrder) {
  const TemporaryRoot root;
  root.write("var/spool/cron/crontabs/bob", "@daily mow\n");
  root.write("var/spool/cron/crontabs/alice", "@daily brew\n#@weekly bake\n");
  root.write("etc/cron.d/zeta", "# nothing\n");
  root.write("etc/cron.d/alpha", "@daily www-data feed\n");
  root.write("etc/crontab", "@daily root tidy\n");

  const Tables found = readTables(root.path());
  EXPECT_EQ(textsOf(found.warnings), Lines());
  ASSERT_EQ(found.tables.size(), 5U);
  EXPECT_EQ(found.tables[0].info, (TableInfo{"etc/crontab", "System crontab", "etc/crontab", {}}));
  EXPECT_EQ(found.tables[1].info,
            (TableInfo{"etc/cron.d/alpha", "cron.d/alpha", "etc/cron.d/alpha", {}}));
  EXPECT_EQ(found.tables[2].info.identifier, "etc/cron.d/zeta");
  EXPECT_EQ(found.tables[3].info, (TableInfo{"crontabs/alice", "Crontab of alice",
                                             "var/spool/cron/crontabs/alice", "alice"}));
  EXPECT_EQ(found.tables[4].info.identifier, "crontabs/bob");

  EXPECT_EQ(linesOf(found.tables[0].jobs), Lines{"1 + [tidy] @daily | root | tidy"});
  EXPECT_EQ(linesOf(found.tables[1].jobs), Lines{"1 + [feed] @daily | www-data | feed"});
  EXPECT_EQ(linesOf(found.tables[2].jobs), Lines());
  EXPECT_EQ(linesOf(found.tables[3].jobs),
            (Lines{"1 + [brew] @daily | alice | brew", "2 - [bake] @weekly | alice | bake"}));
}

TEST(Tables, HaveNamesThatArePlainInTheSystemsDirectory) {
  for (const char* name : {"backup", "e2scrub_all", "A-b_9", "-"}) {
    EXPECT_TRUE(isSystemTableName(name)) << name;
  }
  for (const char* name : {"", ".placeholder", "backup~", "backup.bak", "backup.dpkg-old", "a b",
                           "#backup#", "bäckup", "a+b"}) {
    EXPECT_FALSE(isSystemTableName(name)) << name;
  }
}

TEST(Tables, AreCalledLikeTheirUsers) {
  for (const char* name : {"root", "www-data", "j.doe", "_apt", "tmp"}) {
    EXPECT_TRUE(isUserTableName(name)) << name;
  }
  for (const char* name : {"", ".root", "tmp.1234", "root~", "#root#", "42", "a b"}) {
    EXPECT_FALSE(isUserTableName(name)) << name;
  }
}

TEST(Tables, OtherFilesArePassedOver) {
  const TemporaryRoot root;
  root.write("etc/cron.d/good", "");
  root.write("etc/cron.d/.placeholder", "rubbish\n");
  root.write("etc/cron.d/good~", "rubbish\n");
  root.write("etc/cron.d/good.dpkg-new", "rubbish\n");
  root.write("var/spool/cron/crontabs/tmp.Xa12", "rubbish\n");
  const Tables found = readTables(root.path());
  EXPECT_EQ(identifiersOf(found), Lines{"etc/cron.d/good"});
  EXPECT_EQ(textsOf(found.warnings), Lines());
}

TEST(Tables, OnePlaceIsEnough) {
  for (const char* file : {"etc/crontab", "etc/cron.d/a", "var/spool/cron/crontabs/a"}) {
    const TemporaryRoot root;
    root.write(file, "");
    const Tables found = readTables(root.path());
    EXPECT_EQ(found.tables.size(), 1U) << file;
    EXPECT_EQ(textsOf(found.warnings), Lines()) << file;
  }
}

TEST(Tables, AnEmptyPlaceIsNoMistake) {
  const TemporaryRoot root;
  root.makeDirectory("etc/cron.d");
  const Tables found = readTables(root.path());
  EXPECT_EQ(found.tables.size(), 0U);
  EXPECT_EQ(found.warnings.size(), 0U);
}

TEST(Tables, ARootThatIsNoDirectoryIsAnError) {
  const TemporaryRoot root;
  root.write("file", "");
  EXPECT_EQ(errorOf(root / "none"), (root / "none").string() + " is not a directory");
  EXPECT_EQ(errorOf(root / "file"), (root / "file").string() + " is not a directory");
}

TEST(Tables, ARootWithoutAnyPlaceIsAnError) {
  const TemporaryRoot root;
  root.makeDirectory("etc");
  root.makeDirectory("var/spool/cron");
  EXPECT_EQ(errorOf(root.path()), root.path().string() +
                                      " has no cron tables: neither etc/crontab nor etc/cron.d nor "
                                      "var/spool/cron/crontabs is there");
}

TEST(Tables, WhatIsNoFileIsOneWarning) {
  const TemporaryRoot root;
  root.makeDirectory("etc/crontab");
  root.makeDirectory("etc/cron.d/folder");
  root.write("etc/cron.d/good", "@daily root a\n");
  ASSERT_EQ(::mkfifo((root / "etc/cron.d/pipe").c_str(), 0600), 0);
  fs::create_symlink("nowhere", root / "etc/cron.d/stale");
  root.write("var/spool/cron/crontabs", "not a directory");

  const Tables found = readTables(root.path());
  EXPECT_EQ(textsOf(found.warnings),
            (Lines{"etc/crontab: is a directory", "etc/cron.d/folder: is a directory",
                   "etc/cron.d/pipe: is not a regular file",
                   "etc/cron.d/stale: cannot be read: No such file or directory",
                   "var/spool/cron/crontabs: cannot be read: Not a directory"}));
  EXPECT_EQ(identifiersOf(found), Lines{"etc/cron.d/good"});
}

TEST(Tables, AMissingPermissionIsOneWarning) {
  const TemporaryRoot root;
  root.write("etc/cron.d/good", "@daily root a\n");
  root.write("etc/cron.d/secret", "@daily root b\n");
  root.makeDirectory("var/spool/cron/crontabs");
  fs::permissions(root / "etc/cron.d/secret", fs::perms::none);
  fs::permissions(root / "var/spool/cron/crontabs", fs::perms::none);
  // A user who may read everything gets no error, which is right as well.
  const bool mayReadAll = ::access((root / "etc/cron.d/secret").c_str(), R_OK) == 0;

  const Tables found = readTables(root.path());
  EXPECT_EQ(textsOf(found.warnings),
            mayReadAll ? Lines()
                       : (Lines{"etc/cron.d/secret: cannot be read: Permission denied",
                                "var/spool/cron/crontabs: cannot be read: Permission denied"}));
  EXPECT_EQ(identifiersOf(found), mayReadAll ? (Lines{"etc/cron.d/good", "etc/cron.d/secret"})
                                             : Lines{"etc/cron.d/good"});
  fs::permissions(root / "var/spool/cron/crontabs", fs::perms::owner_all);
}

TEST(Tables, AFileThatIsTooLargeIsOneWarning) {
  const TemporaryRoot root;
  root.write("etc/cron.d/log", std::string(kLargestTable + 1, '#'));
  root.write("etc/cron.d/long", std::string(kLargestTable, '#'));
  const Tables found = readTables(root.path());
  EXPECT_EQ(textsOf(found.warnings), Lines{"etc/cron.d/log: is larger than 4 MiB"});
  EXPECT_EQ(identifiersOf(found), Lines{"etc/cron.d/long"});
}

TEST(Tables, LinksAreFollowed) {
  const TemporaryRoot root;
  root.write("opt/tables/web", "@daily root a\n");
  root.makeDirectory("etc");
  fs::create_directory_symlink(root / "opt/tables", root / "etc/cron.d");
  fs::create_symlink(root / "opt/tables/web", root / "etc/crontab");
  EXPECT_EQ(identifiersOf(readTables(root.path())), (Lines{"etc/crontab", "etc/cron.d/web"}));
}

TEST(Tables, MistakesInLinesAreCollectedInTheOrderOfTheTables) {
  const TemporaryRoot root;
  root.write("var/spool/cron/crontabs/ann", "x\n");
  root.write("etc/cron.d/b", "@daily root a\n\n99 * * * * root a\n");
  root.write("etc/cron.d/a", "99 * * * * root a");
  EXPECT_EQ(textsOf(readTables(root.path()).warnings),
            (Lines{"etc/cron.d/a:1: minute 99 is out of range 0-59",
                   "etc/cron.d/b:3: minute 99 is out of range 0-59",
                   "var/spool/cron/crontabs/ann:1: minute 'x' is not a number"}));
}

TEST(Tables, EqualJobsOfDifferentTablesHaveIdentifiersOfTheirOwn) {
  const TemporaryRoot root;
  root.write("etc/crontab", "@daily root a\n");
  root.write("etc/cron.d/root", "@daily root a\n");
  root.write("var/spool/cron/crontabs/root", "@daily a\n");
  Lines identifiers;
  for (const Table& table : readTables(root.path()).tables) {
    identifiers.push_back(table.jobs.at(0).identifier);
  }
  EXPECT_EQ(identifiers,
            (Lines{"etc/crontab|root|1|a", "etc/cron.d/root|root|1|a", "crontabs/root|root|1|a"}));
}

}  // namespace
}  // namespace monitor
