// SPDX-License-Identifier: Apache-2.0
// When triggers are due, in the words of the outline: by the clock that is set, in the zone that
// was made the user's. The texts of times are those of ICU itself.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Clock.h>
#include "tests/support/DateTesting.h"

#include <chrono>
#include <string>

#include "TableSupport.h"
#include "TemporaryRoot.h"
#include "monitor/EngineRecords.h"
#include "monitor/Host.h"
#include "monitor/Outline.h"

namespace platform = vexil::platform;

namespace monitor {
namespace {

using namespace std::chrono;
using test::shortDateAndTime;
using test::shortTime;

class DueText : public testing::Test {
 protected:
  DueText() { platform::setPreferredLanguage("en"); }
  ~DueText() override { platform::setPreferredLanguage(""); }

  /// The rows of what is pending in the table, by the clocks of `zone`, without what surrounds the
  /// name and the time.
  [[nodiscard]] Lines rows(const char* zone, const char* table, Instant now) const {
    _root.write("etc/cron.d/x", table);
    Host host(_root.path(), Zone::named(zone));
    host.zone().makeDefault();
    const platform::ScopedClock clock(dateOf(now));
    EXPECT_TRUE(host.refresh(instantOf(platform::currentDate())).empty());
    const std::string text = engineOutline(*host.collections().engine, _dates, Style(false));
    Lines lines;
    std::size_t at = text.find("  Pending\n");
    while ((at = text.find("\n      ", at)) != std::string::npos) {
      at += std::string_view("\n      ").size();
      lines.push_back(text.substr(at, text.find("  cron.d/x", at) - at));
    }
    return lines;
  }
  static std::string row(const char* name, const std::string& due) {
    return std::string(name) + "  " + due;
  }

  const TemporaryRoot _root;
  const test::User _user{"en_US", "UTC"};
  const KRAVTWVRelativeDateTransformer _dates;
};

TEST_F(DueText, IsRelativeForTodayAndTomorrowAndTheDateForOthers) {
  // In Berlin it is two o'clock.
  const Lines all = rows("Europe/Berlin",
                         "# A\n30 23 * * * root a\n# B\n0 0 * * * root b\n"
                         "# C\n59 23 5 5 * root c\n# D\n0 0 6 5 * root d\n",
                         sys_days(2026y / 5 / 4) + 12h);
  const std::string a = "Today, " + shortTime(test::at(2026, 5, 4, 23, 30));
  const std::string b = "Tomorrow, " + shortTime(test::at(2026, 5, 5));
  const std::string c = "Tomorrow, " + shortTime(test::at(2026, 5, 5, 23, 59));
  const std::string d = shortDateAndTime(test::at(2026, 5, 6));
  const std::size_t width = std::max({columns(a), columns(b), columns(c), columns(d)});
  EXPECT_EQ(all, (Lines{row("A", fitted(a, width)), row("B", fitted(b, width)),
                        row("C", fitted(c, width)), row("D", fitted(d, width))}));
}

TEST_F(DueText, GoesByTheClocksOfTheZone) {
  const char* const table = "# A\n0 9 * * * root a\n";
  const Instant now = sys_days(2026y / 5 / 4) + 12h;
  EXPECT_EQ(rows("Asia/Tokyo", table, now),
            Lines{row("A", "Tomorrow, " + shortTime(test::at(2026, 5, 5, 9)))});
  EXPECT_EQ(shortTime(test::at(2026, 5, 5, 9)).substr(0, 4), "9:00");
  EXPECT_EQ(rows("America/New_York", table, now),
            Lines{row("A", "Today, " + shortTime(test::at(2026, 5, 4, 9)))});
}

TEST_F(DueText, MovesOnWithTheClock) {
  const char* const table = "# A\n0 9 6 5 * root a\n";
  const auto at = [&](Instant now) { return rows("UTC", table, now).at(0); };
  const std::string nine = shortTime(test::at(2026, 5, 6, 9));
  EXPECT_EQ(at(sys_days(2026y / 5 / 5) - 1s), row("A", shortDateAndTime(test::at(2026, 5, 6, 9))));
  EXPECT_EQ(at(sys_days(2026y / 5 / 5)), row("A", "Tomorrow, " + nine));
  EXPECT_EQ(at(sys_days(2026y / 5 / 6)), row("A", "Today, " + nine));
}

TEST_F(DueText, IsInTheUsersLanguage) {
  const test::User german("de_DE", "UTC");
  platform::setPreferredLanguage("de");
  _root.write("etc/cron.d/x", "# A\n0 9 * * * root a\n");
  Host host(_root.path(), Zone::named("Europe/Berlin"));
  host.zone().makeDefault();
  const platform::ScopedClock clock(dateOf(sys_days(2026y / 5 / 4) + 1h));
  (void)host.refresh(instantOf(platform::currentDate()));
  EXPECT_NE(engineOutline(*host.collections().engine, _dates, Style(false)).find("Heute, 09:00"),
            std::string::npos);
}

}  // namespace
}  // namespace monitor
