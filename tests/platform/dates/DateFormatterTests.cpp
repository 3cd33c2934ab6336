// SPDX-License-Identifier: Apache-2.0
// ICU computes the expected texts, because its locale data change from year to year. Tests write
// down a text only for a locale and a zone that have not changed for long.
#include "tests/support/Property.h"

#include <gtest/gtest.h>
#include <vexil/platform/DateFormatter.h>
#include <vexil/platform/Error.h>
#include "tests/support/DateTesting.h"

#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace platform = vexil::platform;

namespace {

using icu::DateFormat;
using platform::Date;
using platform::DateFormatter;
using platform::FormatStyle;
using platform::FormatterBehavior;
using test::at;
using test::icuText;
using test::User;

static_assert(!std::is_copy_constructible_v<DateFormatter>);
static_assert(static_cast<int>(FormatStyle::none) == 0);
static_assert(static_cast<int>(FormatStyle::shortStyle) == 1);
static_assert(static_cast<int>(FormatterBehavior::styles) == 1040);

std::shared_ptr<DateFormatter> formatter(FormatStyle date, FormatStyle time) {
  auto made = std::make_shared<DateFormatter>();
  made->setDateStyle(date);
  made->setTimeStyle(time);
  return made;
}

std::string shown(Date date, FormatStyle dateStyle, FormatStyle timeStyle) {
  return formatter(dateStyle, timeStyle)->stringFromDate(date).value();
}

TEST(DateFormatter, WritesNothingAtFirst) {
  const DateFormatter fresh;
  EXPECT_EQ(fresh.dateStyle(), FormatStyle::none);
  EXPECT_EQ(fresh.timeStyle(), FormatStyle::none);
  EXPECT_EQ(fresh.formatterBehavior(), FormatterBehavior::standard);
  EXPECT_EQ(fresh.localeIdentifier(), "");
  EXPECT_EQ(fresh.timeZoneName(), "");
  EXPECT_EQ(fresh.stringFromDate(Date{0}), "");
}

TEST(DateFormatter, KeepsWhatItIsSetTo) {
  DateFormatter formatter;
  formatter.setDateStyle(FormatStyle::fullStyle);
  formatter.setTimeStyle(FormatStyle::longStyle);
  formatter.setFormatterBehavior(FormatterBehavior::styles);
  formatter.setLocaleIdentifier("de_AT");
  formatter.setTimeZoneName("Europe/Vienna");
  EXPECT_EQ(formatter.dateStyle(), FormatStyle::fullStyle);
  EXPECT_EQ(formatter.timeStyle(), FormatStyle::longStyle);
  EXPECT_EQ(formatter.formatterBehavior(), FormatterBehavior::styles);
  EXPECT_EQ(formatter.localeIdentifier(), "de_AT");
  EXPECT_EQ(formatter.timeZoneName(), "Europe/Vienna");
}

TEST(DateFormatter, WritesEachStyleAsIcuDoes) {
  const User user("en_US", "America/New_York");
  const Date date = at(2026, 1, 31, 14, 42, 7);
  const std::vector<std::pair<FormatStyle, DateFormat::EStyle>> styles = {
      {FormatStyle::none, DateFormat::kNone},
      {FormatStyle::shortStyle, DateFormat::kShort},
      {FormatStyle::mediumStyle, DateFormat::kMedium},
      {FormatStyle::longStyle, DateFormat::kLong},
      {FormatStyle::fullStyle, DateFormat::kFull}};
  DateFormatter one;
  for (const auto& [dateStyle, icuDateStyle] : styles) {
    for (const auto& [timeStyle, icuTimeStyle] : styles) {
      if (dateStyle != FormatStyle::none || timeStyle != FormatStyle::none) {
        one.setDateStyle(dateStyle);
        one.setTimeStyle(timeStyle);
        EXPECT_EQ(one.stringFromDate(date), icuText(date, icuDateStyle, icuTimeStyle));
      }
    }
  }
}

TEST(DateFormatter, WritesTheShortFormsOfTheUsersLocale) {
  for (const char* locale : {"en_US", "en_GB", "de_DE", "fr_FR", "sv_SE", "ar_EG", "th_TH", "fa_IR",
                             "ja_JP@calendar=japanese", "zh_CN", "xx"}) {
    const User user(locale, "Europe/Berlin");
    const Date date = at(2026, 1, 31, 14, 42);
    EXPECT_EQ(shown(date, FormatStyle::none, FormatStyle::shortStyle), test::shortTime(date))
        << locale;
    EXPECT_EQ(shown(date, FormatStyle::shortStyle, FormatStyle::shortStyle),
              test::shortDateAndTime(date))
        << locale;
  }
}

TEST(DateFormatter, WritesWhatGermansAndSwedesHaveLongWritten) {
  const User user("de_DE", "Europe/Berlin");
  const Date date = at(2026, 1, 31, 14, 42);
  EXPECT_EQ(shown(date, FormatStyle::none, FormatStyle::shortStyle), "14:42");
  EXPECT_EQ(shown(date, FormatStyle::shortStyle, FormatStyle::none), "31.01.26");
  const User swede("sv_SE", "Europe/Berlin");
  EXPECT_EQ(shown(date, FormatStyle::shortStyle, FormatStyle::shortStyle), "2026-01-31 14:42");
}

TEST(DateFormatter, FollowsTheUserFromOneCallToTheNext) {
  const auto following = formatter(FormatStyle::shortStyle, FormatStyle::shortStyle);
  const User user("en_US", "UTC");
  const Date date = at(2026, 1, 31, 14, 42);
  EXPECT_EQ(following->stringFromDate(date), test::shortDateAndTime(date));
  User::setZone("Asia/Tokyo");
  EXPECT_EQ(following->stringFromDate(date), test::shortDateAndTime(date));
  const User german("de_DE", "Europe/Berlin");
  EXPECT_EQ(following->stringFromDate(date), "31.01.26, 15:42");
}

TEST(DateFormatter, StaysWhereItIsPinned) {
  const auto pinned = formatter(FormatStyle::shortStyle, FormatStyle::shortStyle);
  pinned->setLocaleIdentifier("sv_SE");
  pinned->setTimeZoneName("Asia/Tokyo");
  const User user("en_US", "UTC");
  EXPECT_EQ(pinned->stringFromDate(at(2026, 1, 31, 20)), "2026-02-01 05:00");
  pinned->setTimeZoneName("");
  EXPECT_EQ(pinned->stringFromDate(at(2026, 1, 31, 20)), "2026-01-31 20:00");
  pinned->setLocaleIdentifier("");
  EXPECT_EQ(pinned->stringFromDate(at(2026, 1, 31, 20)),
            test::shortDateAndTime(at(2026, 1, 31, 20)));
}

TEST(DateFormatter, UnderstandsBothWaysOfNamingALocale) {
  const User user("en_US", "UTC");
  const Date date = at(2026, 1, 31);
  const auto dateOnly = formatter(FormatStyle::shortStyle, FormatStyle::none);
  for (const char* name : {"de_DE", "de-DE"}) {
    dateOnly->setLocaleIdentifier(name);
    EXPECT_EQ(dateOnly->stringFromDate(date), "31.01.26") << name;
  }
  for (const char* name : {"th_TH@calendar=gregorian", "th-TH-u-ca-gregory"}) {
    dateOnly->setLocaleIdentifier(name);
    EXPECT_EQ(dateOnly->stringFromDate(date),
              icuText(date, DateFormat::kShort, DateFormat::kNone, "th_TH@calendar=gregorian"))
        << name;
  }
  dateOnly->setLocaleIdentifier("th_TH");
  EXPECT_EQ(dateOnly->stringFromDate(date),
            icuText(date, DateFormat::kShort, DateFormat::kNone, "th_TH"));
  EXPECT_NE(icuText(date, DateFormat::kShort, DateFormat::kNone, "th_TH"),
            icuText(date, DateFormat::kShort, DateFormat::kNone, "th_TH@calendar=gregorian"));
}

/// Texts that are not locales. Hosts get such texts from settings and files.
const std::vector<std::string>& noLocales() {
  static const std::vector<std::string> texts = {
      "German (Germany)",
      "abcdefghijkl",
      "de@=",
      "de@a=b;c",
      "de@calendar=",
      "de@calendar=;numbers=latn",
      "de@numbers=traditio",  // a locale, for which there are no formats
      "de@calendar=islamic;numbers=nonsense",
      "de_DE_" + std::string(300, 'Y'),
      std::string(160, 'a'),
      std::string(100'000, 'a'),
      std::string("de\0", 3),
      std::string("\0de", 3),
      std::string("de\0_AT", 6),
      "\xff\xfe" + std::string(20, '\xc3'),
  };
  return texts;
}

TEST(DateFormatter, TakesWhatIsNoLocaleForTheRootLocale) {
  const User user("en_US", "UTC");
  const Date date = at(2026, 1, 31, 14, 42, 7);
  for (const std::string& text : noLocales()) {
    const auto made = formatter(FormatStyle::fullStyle, FormatStyle::shortStyle);
    made->setLocaleIdentifier(text);
    EXPECT_EQ(made->localeIdentifier(), text);
    EXPECT_EQ(made->stringFromDate(date), icuText(date, DateFormat::kFull, DateFormat::kShort, ""))
        << text.substr(0, 40);
    made->setLocaleIdentifier("sv_SE");
    EXPECT_EQ(made->stringFromDate(date),
              icuText(date, DateFormat::kFull, DateFormat::kShort, "sv_SE"));
  }
}

TEST(DateFormatter, TakesAUsersLocaleThatIsNoneForTheRootLocale) {
  // ICU reads it from the environment once, so this needs processes of their own.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const char* text : {"German (Germany)", "abcdefghijkl"}) {
    EXPECT_EXIT(
        {
          ::setenv("LC_ALL", text, 1);
          const auto made = formatter(FormatStyle::mediumStyle, FormatStyle::mediumStyle);
          const auto shown = made->stringFromDate(Date{0});
          made->setLocaleIdentifier("root");
          const bool isRoot = shown == made->stringFromDate(Date{0});
          std::exit(icu::Locale::getDefault().isBogus() && isRoot ? 0 : 1);
        },
        testing::ExitedWithCode(0), "")
        << text;
  }
}

/// Texts of what locales consist of, in any order.
rc::Gen<std::string> anyAlmostLocale() {
  const auto part = rc::gen::oneOf(
      rc::gen::elementOf(std::vector<std::string>{
          "de",      "zh",     "ar",       "he",      "DE",      "Hans",        "_",
          "-",       "@",      "=",        ";",       "-u-",     "-x-",         "-t-",
          "ca",      "nu",     "calendar", "numbers", "chinese", "islamic",     "indian",
          "dangi",   "hebrew", "japanese", "native",  "finance", "traditional", "roman",
          "hanidec", "hc",     "rg",       "uszzzz",  "_POSIX",  ".UTF-8",      "euro",
          "root",    "und",    "i-klingon"}),
      rc::gen::container<std::string>(rc::gen::arbitrary<char>()));
  return rc::gen::map(rc::gen::container<std::vector<std::string>>(part),
                      [](const std::vector<std::string>& parts) {
                        std::string text;
                        for (const std::string& one : parts) {
                          text += one;
                        }
                        return text;
                      });
}

PROPERTY(DateFormatter, WritesDatesInWhateverItIsPinnedTo, ()) {
  const auto made = formatter(FormatStyle::fullStyle, FormatStyle::fullStyle);
  made->setLocaleIdentifier(*anyAlmostLocale());
  const double day = *rc::gen::inRange(-1'000'000, 1'000'000) * 86'400.0;
  RC_ASSERT(made->stringFromDate(Date{day}).value_or("") != "");
}

TEST(DateFormatter, RefusesAZoneThatThereIsNot) {
  DateFormatter formatter;
  formatter.setTimeZoneName("Asia/Tokyo");
  for (const std::string& name :
       {std::string("Europe/Atlantis"), std::string("europe/berlin"), std::string("Etc/Unknown"),
        std::string("GMT+25"), std::string("GMT+1:99"), std::string("UTC\0", 4),
        std::string("UTC\0x", 5), std::string("\0", 1), std::string("UTC\xff"), std::string(" "),
        std::string(100'000, 'x')}) {
    EXPECT_THROW(formatter.setTimeZoneName(name), platform::InvalidArgument) << name.substr(0, 40);
  }
  EXPECT_EQ(formatter.timeZoneName(), "Asia/Tokyo");
}

TEST(DateFormatter, FormatsAlikeByAnyBehaviour) {
  const User user("en_US", "UTC");
  const auto made = formatter(FormatStyle::shortStyle, FormatStyle::shortStyle);
  const auto before = made->stringFromDate(Date{0});
  made->setFormatterBehavior(FormatterBehavior::styles);
  EXPECT_EQ(made->stringFromDate(Date{0}), before);
}

TEST(DateFormatter, WritesTheFirstYearAndTheLastOfFourDigits) {
  const User user("sv_SE", "UTC");
  EXPECT_EQ(shown(at(1, 1, 1), FormatStyle::shortStyle, FormatStyle::none), "1-01-01");
  EXPECT_EQ(shown(at(9999, 12, 31, 23, 59, 59), FormatStyle::shortStyle, FormatStyle::shortStyle),
            "9999-12-31 23:59");
}

TEST(DateFormatter, NeverShowsTheNextMinuteEarly) {
  const User user("de_DE", "UTC");
  const Date midnight = at(2026, 2, 1);
  EXPECT_EQ(shown({std::nextafter(midnight.seconds, 0.0)}, FormatStyle::shortStyle,
                  FormatStyle::mediumStyle),
            "31.01.26, 23:59:59");
  EXPECT_EQ(shown({std::nextafter(0.0, -1.0)}, FormatStyle::none, FormatStyle::shortStyle),
            "23:59");
}

TEST(DateFormatter, WritesNothingOfWhatIsNoInstantOrTooFarAway) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const auto made = formatter(FormatStyle::fullStyle, FormatStyle::fullStyle);
  for (const double seconds : {infinity, -infinity, std::nan(""), 1e300, -1e300, 3.3e12, -3.3e12}) {
    EXPECT_EQ(made->stringFromDate({seconds}), std::nullopt) << seconds;
  }
  for (const double seconds : {3.1e12, -3.1e12}) {
    EXPECT_NE(made->stringFromDate({seconds}).value_or(""), "") << seconds;
  }
}

/// A formatter with a text of its own.
class Spoken : public DateFormatter {
 public:
  [[nodiscard]] std::optional<std::string> stringFromDate(Date /*date*/) const override {
    return "soon";
  }
};

TEST(DateFormatter, MayBeReplacedByAHostsOwn) {
  const std::shared_ptr<DateFormatter> spoken = std::make_shared<Spoken>();
  EXPECT_EQ(spoken->stringFromDate(Date{0}), "soon");
}

}  // namespace
