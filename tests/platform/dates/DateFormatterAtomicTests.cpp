// SPDX-License-Identifier: Apache-2.0
// Formatters that several threads set and use at once. Most of what this can find shows under a
// thread sanitizer only.
#include <gtest/gtest.h>
#include <vexil/platform/DateFormatter.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace platform = vexil::platform;

namespace {

using platform::Date;
using platform::DateFormatter;
using platform::FormatStyle;

TEST(AtomicDateFormatter, FormatsByItsSettingsOfOneMoment) {
  DateFormatter formatter;
  formatter.setTimeZoneName("UTC");
  formatter.setLocaleIdentifier("sv_SE");
  formatter.setTimeStyle(FormatStyle::shortStyle);
  const Date noon{12.0 * 3600};
  std::atomic<int> mistakes = 0;
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    for (int i = 0; i < 2000; ++i) {
      formatter.setDateStyle(i % 2 == 0 ? FormatStyle::shortStyle : FormatStyle::none);
    }
  });
  threads.emplace_back([&] {
    for (int i = 0; i < 2000; ++i) {
      formatter.setTimeZoneName(i % 2 == 0 ? "Etc/GMT-1" : "Etc/GMT+9");
      formatter.setTimeZoneName("UTC");
      mistakes += formatter.localeIdentifier() == "sv_SE" ? 0 : 1;
    }
  });
  for (int number = 0; number < 2; ++number) {
    threads.emplace_back([&] {
      for (int i = 0; i < 2000; ++i) {
        const std::string text = formatter.stringFromDate(noon).value();
        const bool whole = text.size() == 5 || text.starts_with("2001-01-01 ");
        mistakes += whole && text.ends_with(":00") ? 0 : 1;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(mistakes, 0);
}

}  // namespace
