// SPDX-License-Identifier: Apache-2.0
#include "monitor/Simulation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "TableSupport.h"
#include "TemporaryRoot.h"

namespace monitor {
namespace {

class SimulatedRoot : public testing::Test {
 protected:
  [[nodiscard]] Lines run(int hours) const {
    Lines lines;
    Simulation simulation(_root.path(), Style(false),
                          [&](const std::string& line) { lines.push_back(line); });
    simulation.run(std::chrono::hours(hours));
    return lines;
  }

  /// The lines that hold a text.
  static Lines with(Lines lines, std::string_view text) {
    std::erase_if(lines,
                  [&](const std::string& line) { return line.find(text) == std::string::npos; });
    return lines;
  }

  TemporaryRoot _root;
};

TEST_F(SimulatedRoot, RunsWhatComesDueAndEndsItBeforeItIsDueAgain) {
  _root.write("etc/cron.d/x", "# Edited\n0 12 * * * root e\n# A\n*/5 * * * * root a\n");
  const Lines lines = with(run(1), " A (");
  // 01:30 to 01:55 and 03:00 to 03:25.
  EXPECT_EQ(with(lines, "▶").size(), 12U);
  EXPECT_EQ(lines.front(), "01:30:00  ▶ A (cron.d/x): started, PID 2001, since 01:30");
  bool running = false;
  for (const std::string& line : lines) {
    const bool starts = line.find("▶") != std::string::npos;
    EXPECT_NE(starts, running) << line;
    running = starts;
  }
}

TEST_F(SimulatedRoot, MakesUpForTheHourThatSummerTimeSkips) {
  _root.write("etc/cron.d/x", "# Edited\n0 12 * * * root e\n# A\n15,45 2 * * * root a\n");
  // The edited job runs at 01:50 and at 03:00, before this one.
  EXPECT_EQ(with(run(1), " A (").front(),
            "03:00:00  ▶ A (cron.d/x): started, PID 2003, since 03:00");
}

TEST_F(SimulatedRoot, TellsTheDayWhenItBegins) {
  _root.write("etc/cron.d/x", "# Edited\n0 12 * * * root e\n# A\n0 0 * * * root a\n");
  Lines days = run(48);
  std::erase_if(days, [](const std::string& line) { return !line.starts_with("2026-"); });
  EXPECT_EQ(days, (Lines{"2026-03-29", "2026-03-30", "2026-03-31"}));
}

TEST_F(SimulatedRoot, AddsUpWhatViewsHadToDo) {
  // Nothing is ever due, and there is nothing to be edited: a service comes and goes.
  _root.write("etc/cron.d/x", "# A\n@reboot root a\n");
  const Lines lines = run(1);
  EXPECT_EQ(Lines(lines.end() - 4, lines.end()),
            (Lines{"Summary  1 hour, in which 0 jobs started and 0 ended, at 4 moments",
                   "  updates    1 insertion, 1 removal, 0 moves, 0 changes",
                   "  touched    4 rows of a view: 2 inserted, 2 removed, 0 moved, 0 changed",
                   // A, three groups; and for two of the four moments the service and its domain.
                   "  shown      4 rows; showing all of them anew at each moment would have been "
                   "20"}));
}

TEST_F(SimulatedRoot, TakesTheEditBack) {
  _root.write("etc/cron.d/x", "# A\n0 12 * * * root a\n");
  EXPECT_EQ(with(run(1), " ~ "),
            (Lines{"01:43:00  ~ A (more often) (cron.d/x): renamed from A to A (more often), "
                   "schedule changed from 0 12 * * * to */10 * * * *",
                   "03:12:00  ~ A (cron.d/x): renamed from A (more often) to A, "
                   "schedule changed from */10 * * * * to 0 12 * * *"}));
}

TEST_F(SimulatedRoot, MissesNoRunInTheMinuteOfTheEdit) {
  _root.write("etc/cron.d/x", "# A\n0 12 * * * root a\n# B\n* * * * * root b\n");
  const Lines lines = with(run(1), "▶ B (");
  EXPECT_EQ(lines.size(), 60U);
  EXPECT_EQ(with(lines, "01:43:00").size(), 1U);
  EXPECT_EQ(with(lines, "03:12:00").size(), 1U);
}

TEST_F(SimulatedRoot, IsTheSameEachTime) {
  _root.write("etc/cron.d/x", "*/7 * * * * root a\n@hourly root b\n30 2 * * * root c\n");
  EXPECT_EQ(run(30), run(30));
}

TEST_F(SimulatedRoot, MustHaveTables) {
  EXPECT_THROW((void)run(1), TablesNotFound);
}

}  // namespace
}  // namespace monitor
