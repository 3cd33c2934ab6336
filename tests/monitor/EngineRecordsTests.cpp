// SPDX-License-Identifier: Apache-2.0
#include "monitor/EngineRecords.h"

#include <gtest/gtest.h>
#include <ternwood/Ternwood.h>

#include <chrono>
#include <set>
#include <string>
#include <string_view>

#include "TableSupport.h"
#include "monitor/EventRecords.h"

namespace platform = vexil::platform;

namespace monitor {
namespace {

using namespace std::chrono;
using platform::Value;

const Zone kBerlin = Zone::named("Europe/Berlin");
const Instant kNoon = sys_days(2026y / 5 / 4) + 10h;  // a Monday, 12:00 in Berlin

Value pendingOf(const Tables& tables, Instant now) {
  return pendingRecords(tables, eventRecords(tables), now, kBerlin);
}

/// "NAME at TIME" of each trigger, by the clocks of Berlin.
Lines linesOf(const Value& triggers) {
  Lines lines;
  for (const Value& trigger : triggers.elements()) {
    const auto date = trigger[kTWQueuedTriggerTrigger][kTWTriggerDate].date();
    lines.push_back(textOf(trigger[kTWQueuedTriggerEvent], kTWEventName) + " at " +
                    kBerlin.text(instantOf(date.value())));
  }
  return lines;
}

std::set<std::string> identifiersOf(const Value& triggers) {
  std::set<std::string> identifiers;
  for (const Value& trigger : triggers.elements()) {
    identifiers.insert(textOf(trigger, kTWQueuedTriggerTriggerID));
  }
  return identifiers;
}

TEST(PendingTriggers, AreTheNextOfEachEnabledJobEarliestFirst) {
  EXPECT_EQ(linesOf(pendingOf(tablesOf("# A\n0 3 * * * root a\n# B\n30 12 * * * root b\n"
                                       "# Off\n#5 12 * * * root off\n# Start\n@reboot root s\n"
                                       "# Never\n0 0 30 2 * root n\n# C\n0 3 * * * root c\n"),
                              kNoon)),
            (Lines{"B at 2026-05-04 12:30", "A at 2026-05-05 03:00", "C at 2026-05-05 03:00"}));
}

TEST(PendingTriggers, GoWhenTheyFireAndTheOthersStay) {
  const Tables tables = tablesOf("0 3 * * * root a\n30 12 * * * root b\n*/20 * * * * root c\n");
  const auto before = identifiersOf(pendingOf(tables, kNoon));
  EXPECT_EQ(before, (std::set<std::string>{"etc/cron.d/x|root|1|a@2026-05-05 01:00",
                                           "etc/cron.d/x|root|1|b@2026-05-04 10:30",
                                           "etc/cron.d/x|root|1|c@2026-05-04 10:20"}));
  // A moment before the first is due, all are the same. Then only the first is another.
  EXPECT_EQ(identifiersOf(pendingOf(tables, kNoon + 20min - 1s)), before);
  EXPECT_EQ(identifiersOf(pendingOf(tables, kNoon + 20min)),
            (std::set<std::string>{"etc/cron.d/x|root|1|a@2026-05-05 01:00",
                                   "etc/cron.d/x|root|1|b@2026-05-04 10:30",
                                   "etc/cron.d/x|root|1|c@2026-05-04 10:40"}));
}

TEST(PendingTriggers, AreDifferentInBothPassesOfARepeatedHour) {
  const Tables tables = tablesOf("*/30 2 * * * root a\n");
  const Instant first = sys_days(2026y / 10 / 25);  // 02:00, for the first time
  EXPECT_NE(identifiersOf(pendingOf(tables, first - 1min)),
            identifiersOf(pendingOf(tables, first + 59min)));
}

TEST(PendingTriggers, HoldTheEventRecordOfTheirJob) {
  const Tables tables = tablesOf("# A\n5 * * * * root a\n# B\n1 * * * * root b\n");
  const Value events = eventRecords(tables);
  const Value triggers = pendingRecords(tables, events, kNoon, kBerlin);
  ASSERT_EQ(triggers.elements().size(), 2U);
  EXPECT_EQ(triggers.elements()[0][kTWQueuedTriggerEvent], events.elements()[1]);
  EXPECT_EQ(triggers.elements()[1][kTWQueuedTriggerEvent], events.elements()[0]);
}

TEST(PendingTriggers, EqualThoseOfAMomentBefore) {
  const Tables tables = tablesOf("# A\n5 * * * * root a\n");
  EXPECT_EQ(pendingOf(tables, kNoon), pendingOf(tables, kNoon + 1min));
}

TEST(ActiveEvents, AreIdentifiedByJobAndProcessAndTellSinceWhen) {
  const Tables tables = tablesOf("# A\n5 * * * * root a\n");
  const Value events = eventRecords(tables);
  Process process;
  process.id = 812;
  process.started = kNoon - 3min;
  const Value active =
      activeRecords({{&tables.tables[0].jobs[0], process}}, events, kNoon, kBerlin).elements()[0];
  EXPECT_EQ(active[kTWActiveEventActiveID], Value("etc/cron.d/x|root|1|a|812"));
  EXPECT_EQ(active[kTWActiveEventActivity], Value("PID 812, since 11:57"));
  EXPECT_EQ(active[kTWActiveEventEvent], events.elements()[0]);
}

TEST(ActiveEvents, TellTheDayWhenItIsNotToday) {
  Process process;
  process.id = 7;
  // 23:30 of the day before in Berlin; of the same day in Greenwich.
  process.started = sys_days(2026y / 5 / 3) + 21h + 30min;
  EXPECT_EQ(activeRecord(Value(), process, kNoon, kBerlin)[kTWActiveEventActivity],
            Value("PID 7, since 2026-05-03 23:30"));
  process.started = std::nullopt;
  EXPECT_EQ(activeRecord(Value(), process, kNoon, kBerlin)[kTWActiveEventActivity], Value("PID 7"));
}

TEST(Dates, OfRecordsAreThoseOfTheClock) {
  EXPECT_EQ(dateOf(sys_days(2001y / 1 / 1)).seconds, 0.0);
  EXPECT_EQ(dateOf(sys_days(1970y / 1 / 1)).seconds, -978307200.0);
  EXPECT_EQ(instantOf(dateOf(kNoon)), kNoon);
}

}  // namespace
}  // namespace monitor
