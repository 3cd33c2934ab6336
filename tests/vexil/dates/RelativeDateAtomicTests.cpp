// SPDX-License-Identifier: Apache-2.0
// The formatter of a transformer, set while other threads take it. Most of what this can find shows
// under a thread sanitizer only.
#include <gtest/gtest.h>
#include <vexil/KRAVTWVRelativeDateTransformer.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

namespace platform = vexil::platform;

namespace {

TEST(AtomicRelativeDate, HandsOutItsFormatterWhileItIsReplaced) {
  const auto dates = std::make_shared<KRAVTWVRelativeDateTransformer>();
  std::atomic<int> mistakes = 0;
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&, number] {
      for (int round = 0; round < 2000; ++round) {
        if (number == 0) {
          const auto formatter = std::make_shared<platform::DateFormatter>();
          formatter->setTimeStyle(platform::FormatStyle::shortStyle);
          dates->setDateFormatter(formatter);
        } else {
          const auto formatter = dates->dateFormatter();
          mistakes += formatter->timeStyle() == platform::FormatStyle::shortStyle ? 0 : 1;
        }
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(mistakes, 0);
}

}  // namespace
