// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Lines.h"

#include <gtest/gtest.h>
#include <vexil/platform/Log.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>

namespace platform = vexil::platform;

namespace {

using test::Lines;

class Log : public testing::Test {
 protected:
  void SetUp() override { _before = platform::setLogSink(nullptr); }
  void TearDown() override { platform::setLogSink(std::move(_before)); }

  platform::LogSink into(Lines& lines) {
    return [&lines](std::string_view line) { lines.emplace_back(line); };
  }

 private:
  platform::LogSink _before;
};

TEST_F(Log, GoesLineByLineToTheSinkThatWasSet) {
  Lines lines;
  platform::setLogSink(into(lines));
  platform::log("first");
  platform::log("");
  platform::log("100 %s of it");
  EXPECT_EQ(lines, (Lines{"first", "", "100 %s of it"}));
}

TEST_F(Log, GoesToStandardErrorWhenNoSinkIsSet) {
  testing::internal::CaptureStderr();
  platform::log("50 %d and no more");
  platform::log("second");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "50 %d and no more\nsecond\n");
}

TEST_F(Log, SaysNothingOnStandardErrorWhenASinkIsSet) {
  Lines lines;
  platform::setLogSink(into(lines));
  testing::internal::CaptureStderr();
  platform::log("line");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Log, HandsBackTheSinkBefore) {
  Lines first;
  Lines second;
  EXPECT_FALSE(platform::setLogSink(into(first)));
  platform::LogSink before = platform::setLogSink(into(second));
  platform::log("a");
  ASSERT_TRUE(before);
  platform::setLogSink(std::move(before));
  platform::log("b");
  EXPECT_EQ(first, (Lines{"b"}));
  EXPECT_EQ(second, (Lines{"a"}));
}

TEST_F(Log, MayBeWrittenToAndRedirectedByItsSink) {
  Lines lines;
  platform::setLogSink([&](std::string_view line) {
    lines.emplace_back("outer " + std::string(line));
    platform::setLogSink(into(lines));
    platform::log("from the sink");
  });
  platform::log("line");
  EXPECT_EQ(lines, (Lines{"outer line", "from the sink"}));
}

TEST_F(Log, KeepsASinkUntilItsLastCallIsOver) {
  // The sink replaces itself while it runs, and still needs what it holds.
  Lines lines;
  const auto word = std::make_shared<std::string>("held");
  platform::setLogSink([&lines, word](std::string_view) {
    platform::setLogSink(nullptr);
    lines.push_back(*word);
  });
  platform::log("line");
  EXPECT_EQ(lines, (Lines{"held"}));
  EXPECT_EQ(word.use_count(), 1);
}

TEST_F(Log, TakesLinesFromSeveralThreads) {
  std::atomic<int> count = 0;
  platform::setLogSink([&count](std::string_view) { ++count; });
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 4; ++thread) {
    threads.emplace_back([] {
      for (int i = 0; i < 250; ++i) {
        platform::log("line");
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 1000);
}

}  // namespace
