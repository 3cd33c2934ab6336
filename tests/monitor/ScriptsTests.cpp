// SPDX-License-Identifier: Apache-2.0
#include "monitor/Scripts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string_view>

#include "TableSupport.h"
#include "TemporaryRoot.h"

namespace monitor {
namespace {

namespace fs = std::filesystem;

class ScriptsBelowARoot : public testing::Test {
 protected:
  void writeScript(std::string_view path, fs::perms mode = fs::perms(0755)) const {
    _root.write(path, "#!/bin/sh\n");
    fs::permissions(_root / path, mode);
  }
  [[nodiscard]] Lines identifiers() const {
    Lines lines;
    for (const Script& script : readScripts(_root.path()).scripts) {
      lines.push_back(script.identifier());
    }
    return lines;
  }

  TemporaryRoot _root;
};

TEST_F(ScriptsBelowARoot, AreThereFromHourlyToMonthlyAndByName) {
  for (const char* path : {"etc/cron.monthly/a", "etc/cron.weekly/a", "etc/cron.daily/b",
                           "etc/cron.daily/a", "etc/cron.hourly/z"}) {
    writeScript(path);
  }
  EXPECT_EQ(identifiers(), (Lines{"etc/cron.hourly/z", "etc/cron.daily/a", "etc/cron.daily/b",
                                  "etc/cron.weekly/a", "etc/cron.monthly/a"}));
}

TEST_F(ScriptsBelowARoot, AreWhatRunPartsWouldRun) {
  for (const char* name : {"good", "Good-2_x", "with.dot", "copy~", ".hidden", "a.dpkg-old"}) {
    writeScript("etc/cron.daily/" + std::string(name));
  }
  EXPECT_EQ(identifiers(), (Lines{"etc/cron.daily/Good-2_x", "etc/cron.daily/good"}));
}

TEST_F(ScriptsBelowARoot, CanBeExecutedBySomebody) {
  writeScript("etc/cron.daily/plain", fs::perms(0644));
  writeScript("etc/cron.daily/owner", fs::perms(0700));
  writeScript("etc/cron.daily/others", fs::perms(0601));
  EXPECT_EQ(identifiers(), (Lines{"etc/cron.daily/others", "etc/cron.daily/owner"}));
}

TEST_F(ScriptsBelowARoot, AreFilesOrLinksToFiles) {
  writeScript("opt/tool");
  _root.makeDirectory("etc/cron.daily/directory");
  fs::create_symlink("../../opt/tool", _root / "etc/cron.daily/link");
  fs::create_symlink("nowhere", _root / "etc/cron.daily/broken");
  EXPECT_EQ(identifiers(), Lines{"etc/cron.daily/link"});
}

TEST_F(ScriptsBelowARoot, HaveTheCommandThatRunsThem) {
  writeScript("etc/cron.daily/a");
  EXPECT_EQ(readScripts(_root.path()).scripts,
            (std::vector<Script>{{"etc/cron.daily", "a", "/etc/cron.daily/a"}}));
}

TEST_F(ScriptsBelowARoot, NeedNotBeThere) {
  EXPECT_EQ(identifiers(), Lines());
  EXPECT_TRUE(readScripts(_root.path()).warnings.empty());
}

TEST_F(ScriptsBelowARoot, AreWarnedAboutWhereAFileIsInTheWay) {
  _root.write("etc/cron.daily", "no directory");
  writeScript("etc/cron.weekly/a");
  const Scripts scripts = readScripts(_root.path());
  EXPECT_EQ(textsOf(scripts.warnings), Lines{"etc/cron.daily: cannot be read: Not a directory"});
  EXPECT_EQ(scripts.scripts.size(), 1U);
}

}  // namespace
}  // namespace monitor
