// SPDX-License-Identifier: Apache-2.0
#include "monitor/Host.h"

#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Bundle.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

#include "TableSupport.h"
#include "TemporaryRoot.h"
#include "monitor/Announcements.h"
#include "monitor/Changes.h"
#include "monitor/Outline.h"
#include "monitor/Views.h"

namespace platform = vexil::platform;

namespace monitor {
namespace {

using namespace std::chrono;

/// Labels in the order of the rows, two blanks for each step down.
void addLabels(Lines& lines, const KRAVTWVItemVexil& item, const std::string& indent) {
  for (const auto& child : *item.children()) {
    lines.push_back(indent + child->label().displayText());
    addLabels(lines, *child, indent + "  ");
  }
}

Lines labelsOf(const KRAVTWVItemsVexil& collection) {
  Lines lines;
  addLabels(lines, *collection.root(), "");
  return lines;
}

class HostOfARoot : public testing::Test {
 protected:
  HostOfARoot() { platform::setPreferredLanguage("en"); }
  ~HostOfARoot() override { platform::setPreferredLanguage(""); }

  void refresh() { EXPECT_TRUE(_host.refresh(_now).empty()); }
  [[nodiscard]] Collections& collections() { return _host.collections(); }

  TemporaryRoot _root;
  Host _host{_root.path(), Zone::named("UTC")};
  Views _views{_host.collections()};
  Instant _now = sys_days(2026y / 5 / 4) + 12h;
  const Style _plain{false};
  const KRAVTWVRelativeDateTransformer _dates;
};

TEST_F(HostOfARoot, ShowsADomainATable) {
  _root.write("etc/crontab", "# A\n5 * * * * root a\n");
  _root.write("etc/cron.d/x", "# C\n5 * * * * root c\n# B\n5 * * * * root b\n");
  _root.write("var/spool/cron/crontabs/anna", "");
  refresh();
  EXPECT_EQ(labelsOf(*collections().events),
            (Lines{"System crontab", "  A", "cron.d/x", "  B", "  C", "Crontab of anna"}));
}

TEST_F(HostOfARoot, ShowsTheNamesOfTablesInTheUsersLanguage) {
  platform::setPreferredLanguage("de");
  _root.write("etc/crontab", "");
  _root.write("var/spool/cron/crontabs/anna", "");
  refresh();
  EXPECT_EQ(labelsOf(*collections().events), (Lines{"Systemweite Crontab", "Crontab von anna"}));
}

TEST_F(HostOfARoot, ShowsWhatRunsWhatCanBeRunAndWhatIsDue) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a\n# B\n2 * * * * root b\n");
  _root.write("etc/cron.daily/script", "#!/bin/sh\n");
  std::filesystem::permissions(_root / "etc/cron.daily/script", std::filesystem::perms(0755));
  _root.write("proc/10/stat", "10 (cron) S 1 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 50 0 0\n");
  _root.write("proc/11/stat", "11 (sh) S 10 1 1 0 -1 0 0 0 0 0 0 0 0 0 20 0 1 0 60 0 0\n");
  _root.write("proc/11/status", "Uid:\t0\t0\t0\t0\n");
  _root.write("proc/11/cmdline", std::string_view("/bin/sh\0-c\0a\0", 13));
  refresh();
  EXPECT_EQ(labelsOf(*collections().engine),
            (Lines{"Running", "  A", "On Demand", "  script", "Pending", "  B", "  A"}));
  EXPECT_EQ(engineOutline(*collections().engine, _dates, _plain).substr(0, 45),
            "Engine  1 running, 1 on demand, 2 pending\n  R");
}

TEST_F(HostOfARoot, MovesOnWithTheClockAlone) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a\n# B\n2 * * * * root b\n");
  refresh();
  Announcements ofEvents(collections().events->root());
  Announcements ofEngine(collections().engine->root());
  _now += 1min;
  EXPECT_TRUE(_host.refreshEngine(_now).empty());
  EXPECT_EQ(ofEngine.takeLines(), Lines());
  _now += 1min;
  EXPECT_TRUE(_host.refreshEngine(_now).empty());
  // B fires: its trigger goes, the next one comes at the end, and the group has other children.
  EXPECT_EQ(ofEngine.takeLines(), (Lines{"removal in /scheduler.pending at {0}: B",
                                         "insertion in /scheduler.pending at {1}: B",
                                         "replacement in /root at {2}: Pending"}));
  EXPECT_EQ(ofEvents.takeLines(), Lines());
}

TEST_F(HostOfARoot, AnnouncesNothingWhenNothingHasChanged) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a\n");
  refresh();
  Announcements ofEvents(collections().events->root());
  Announcements ofEngine(collections().engine->root());
  refresh();
  EXPECT_EQ(ofEvents.takeLines(), Lines());
  EXPECT_EQ(ofEngine.takeLines(), Lines());
}

TEST_F(HostOfARoot, MakesViewsDoWhatHasChanged) {
  const auto job = [](const char* name, const char* minute, const char* command) {
    return std::string("# ") + name + '\n' + minute + " * * * * root " + command + '\n';
  };
  const auto updated = [&] {
    refresh();
    ViewWork work;
    _views.update(work);
    EXPECT_EQ(work.rowsAnew, _views.rowCount());
    return work;
  };
  const auto part = [](std::size_t steps, std::size_t rows) { return ViewWork::Part{steps, rows}; };

  _root.write("etc/cron.d/x", job("A", "5", "a") + job("B", "6", "b"));
  _root.write("etc/cron.d/y", job("C", "7", "c"));
  ViewWork work = updated();
  // x, A, B, y, C; and three groups, with three triggers in the last one.
  EXPECT_EQ(work.inserted, part(2, 11));
  EXPECT_EQ(work.rowsTouched(), 11U);
  EXPECT_EQ(_views.rowCount(), 11U);

  // The job and its trigger. Nothing about the table's row has changed.
  _root.write("etc/cron.d/x", job("A", "5", "a"));
  work = updated();
  EXPECT_EQ(work.removed, part(2, 2));
  EXPECT_EQ(work.rowsTouched(), 2U);

  _root.write("etc/cron.d/x", job("A", "5", "a") + job("B", "6", "b"));
  work = updated();
  EXPECT_EQ(work.inserted, part(2, 2));
  EXPECT_EQ(work.rowsTouched(), 2U);

  // Under its new name A stands behind B, but it is still due before B.
  _root.write("etc/cron.d/x", job("D", "5", "a") + job("B", "6", "b"));
  work = updated();
  EXPECT_EQ(work.moved, part(1, 1));
  EXPECT_EQ(work.changed, part(2, 2));
  EXPECT_EQ(work.rowsTouched(), 3U);

  work = updated();
  EXPECT_EQ(work.rowsTouched(), 0U);
  EXPECT_EQ(work.rowsAnew, 11U);
}

TEST_F(HostOfARoot, WarnsOnceOfWhatStaysWrong) {
  _root.write("etc/cron.d/x", "61 * * * * root a\n");
  _root.write("etc/cron.daily", "in the way");
  EXPECT_EQ(textsOf(_host.refresh(_now)),
            (Lines{"etc/cron.d/x:1: minute 61 is out of range 0-59",
                   "etc/cron.daily: cannot be read: Not a directory"}));
  EXPECT_EQ(textsOf(_host.refresh(_now)), Lines());
  _root.write("etc/cron.d/x", "62 * * * * root a\n");
  EXPECT_EQ(textsOf(_host.refresh(_now)), Lines{"etc/cron.d/x:1: minute 62 is out of range 0-59"});
}

TEST_F(HostOfARoot, KeepsWhatItShowsWhenTheTablesAreGone) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a\n");
  refresh();
  _root.remove("etc");
  EXPECT_THROW((void)_host.refresh(_now), TablesNotFound);
  EXPECT_EQ(labelsOf(*collections().events), Lines{"A"});
}

TEST_F(HostOfARoot, ShowsTheOnlyTableWithoutARowOfItsOwn) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a --x\n# B\n#6 * * * * root b --y\n");
  refresh();
  EXPECT_EQ(eventsOutline(*collections().events, _plain),
            "Events  2 jobs in 1 table, 1 disabled\n"
            "    ● A  5 * * * *  root  a --x\n"
            "    ○ B  6 * * * *  root  b --y\n");
}

TEST_F(HostOfARoot, CutsRowsAtTheEdgeOfTheTerminal) {
  _root.write("etc/cron.d/x", "# A\n5 * * * * root a --with --many --options\n");
  refresh();
  EXPECT_EQ(eventsOutline(*collections().events, Style(false, 32)),
            "Events  1 job in 1 table\n"
            "    ● A  5 * * * *  root  a --w…\n");
  EXPECT_EQ(eventsOutline(*collections().events, Style(false, 10)),
            "Events  1 job in 1 table\n"
            "    ● A  5 * * * *  root\n");
}

TEST_F(HostOfARoot, ShowsServicesBelowTheirDomain) {
  const auto add = [this](const char* name, const char* domain) {
    collections().services->addService(
        std::make_shared<platform::NetService>(name, "_ipp._tcp.", domain));
  };
  EXPECT_EQ(servicesOutline(*collections().services, _plain), "Services  no services\n");
  const Snapshot before(collections());
  add("Office", "local.");
  add("Lobby", "local.");
  EXPECT_EQ(servicesOutline(*collections().services, _plain),
            "Services  2 services\n"
            "  local.\n"
            "      Lobby   _ipp._tcp.\n"
            "      Office  _ipp._tcp.\n");
  const Snapshot after(collections());
  EXPECT_EQ(changes(before, after, _plain),
            (Lines{"+ Lobby (_ipp._tcp., local.): found", "+ Office (_ipp._tcp., local.): found"}));
  EXPECT_EQ(changes(after, before, _plain),
            (Lines{"- Lobby (_ipp._tcp., local.): gone", "- Office (_ipp._tcp., local.): gone"}));
}

}  // namespace
}  // namespace monitor
