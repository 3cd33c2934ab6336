// SPDX-License-Identifier: Apache-2.0
// The words around the time of a date of today or tomorrow. Those of a module that a host loads are
// tested with the module.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>
#include <vexil/platform/Bundle.h>
#include <vexil/platform/Clock.h>
#include "tests/support/DateTesting.h"

#include <array>
#include <string>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::ScopedClock;
using test::at;
using test::shortTime;
using test::User;

/// Tables as a careless translator leaves them.
constexpr std::array tables = std::to_array<platform::EmbeddedStrings>({
    {"qaa", R"("today.%@" = ""; "tomorrow.%@" = "Some time tomorrow";)"},
    {"qab", R"table("today.%@" = "%@ (%@)"; "tomorrow.%@" = "100 %: %@";)table"},
});
const platform::BundleRegistration registration(&tables, tables);

class RelativeDateWords : public testing::Test {
 protected:
  ~RelativeDateWords() override { platform::setPreferredLanguage(""); }

  [[nodiscard]] std::string text(Date date) const {
    const ScopedClock clock(at(2026, 1, 14, 12));
    return KRAVTWVRelativeDateTransformer().transformedValue(date).displayText();
  }
  const User _user{"de_DE", "Europe/Berlin"};
  const Date _today = at(2026, 1, 14, 14, 42);
  const Date _tomorrow = at(2026, 1, 15, 14, 42);
};

TEST_F(RelativeDateWords, AreThoseOfTheUsersLanguage) {
  EXPECT_EQ(text(_today), "Heute, 14:42");
  EXPECT_EQ(text(_tomorrow), "Morgen, 14:42");
  EXPECT_EQ(text(at(2026, 1, 16, 14, 42)), "16.01.26, 14:42");
  const User french("fr_CA", "Europe/Berlin");
  EXPECT_EQ(text(_tomorrow), "Demain, " + shortTime(_tomorrow));
}

TEST_F(RelativeDateWords, AreEnglishForALanguageThatHasNone) {
  const User user("sv_SE", "Europe/Berlin");
  EXPECT_EQ(text(_today), "Today, 14:42");
}

TEST_F(RelativeDateWords, HaveTheTimeInEveryLanguage) {
  for (const char* language : {"de", "en", "es", "fr", "ja", "zh"}) {
    const User user(language, "Europe/Berlin");
    for (const Date date : {_today, _tomorrow}) {
      EXPECT_NE(text(date).find(shortTime(date)), std::string::npos) << text(date);
      EXPECT_GT(text(date).size(), shortTime(date).size()) << text(date);
      EXPECT_EQ(text(date).find("%@"), std::string::npos) << text(date);
    }
    EXPECT_NE(text(_today), text(_tomorrow)) << language;
  }
}

TEST_F(RelativeDateWords, HaveTheTimeOnceAndAreNoFormatOtherwise) {
  platform::setPreferredLanguage("qab");
  EXPECT_EQ(text(_today), "14:42 (%@)");
  EXPECT_EQ(text(_tomorrow), "100 %: 14:42");
}

TEST_F(RelativeDateWords, MayLeaveOutTheTime) {
  platform::setPreferredLanguage("qaa");
  EXPECT_EQ(text(_tomorrow), "Some time tomorrow");
}

TEST_F(RelativeDateWords, ThatAreNoneLeaveTheTimeAlone) {
  platform::setPreferredLanguage("qaa");
  EXPECT_EQ(text(_today), "14:42");
}

/// A formatter whose time looks like a format.
class Confusing : public platform::DateFormatter {
 public:
  [[nodiscard]] std::optional<std::string> stringFromDate(Date /*date*/) const override {
    return "%@ o'clock %d";
  }
};

TEST_F(RelativeDateWords, AreNotLookedForInTheTime) {
  KRAVTWVRelativeDateTransformer dates;
  dates.setDateFormatter(std::make_shared<Confusing>());
  const ScopedClock clock(_today);
  EXPECT_EQ(dates.transformedValue(_today).displayText(), "Heute, %@ o'clock %d");
}

}  // namespace
